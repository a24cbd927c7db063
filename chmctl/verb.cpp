#include "verb.h"

using nlohmann::json;

void add_verbs(CLI::App& app, const std::function<void(const Verb&, const json&)>& run)
{
    const auto add = [&run](CLI::App& parent, const Verb& verb, const char* title) {
        CLI::App* command = parent.add_subcommand(verb.name, verb.help)->group(title);
        auto request = std::make_shared<json>(json{{"verb", verb.name}});
        verb.add_options(*command, request);
        add_example(*command, verb.example);
        command->final_callback([=, &verb] { run(verb, *request); });
    };
    CLI::App* show = app.add_subcommand("show", "Same as a verb that shows: show faults is faults");
    show->group(platform_verbs.title)->require_subcommand(1);
    add_example(*show, "faults");
    for (const VerbGroup* group :
         {&unit_verbs, &reading_verbs, &interface_verbs, &switch_verbs, &platform_verbs}) {
        for (const Verb& verb : group->verbs) {
            add(app, verb, group->title);
            if (std::string_view(verb.help).starts_with("Show ")) {
                add(*show, verb, group->title);
            }
        }
    }
}

void add_example(CLI::App& command, const std::string& arguments)
{
    command.footer("Example:\n  chmctl " + command.get_name() + (arguments.empty() ? "" : " ") +
                   arguments);
}
