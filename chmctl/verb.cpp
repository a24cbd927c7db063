#include "verb.h"

using nlohmann::json;

void add_verbs(CLI::App& app, const std::function<void(const Verb&, const json&)>& run)
{
    for (const VerbGroup* group : {&unit_verbs, &reading_verbs, &switch_verbs, &platform_verbs}) {
        for (const Verb& verb : group->verbs) {
            CLI::App* command = app.add_subcommand(verb.name, verb.help)->group(group->title);
            auto request = std::make_shared<json>(json{{"verb", verb.name}});
            verb.add_options(*command, request);
            add_example(*command, verb.example);
            command->final_callback([=, &verb] { run(verb, *request); });
        }
    }
}

void add_example(CLI::App& command, const std::string& arguments)
{
    command.footer("Example:\n  chmctl " + command.get_name() + (arguments.empty() ? "" : " ") +
                   arguments);
}
