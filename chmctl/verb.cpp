#include "verb.h"

#include "help.h"

using nlohmann::json;

std::map<const CLI::App*, Arguments>
add_verbs(CLI::App& app, const std::function<void(const Verb&, const json&)>& run)
{
    std::map<const CLI::App*, Arguments> requests;
    for (const VerbGroup* group :
         {&unit_verbs, &reading_verbs, &interface_verbs, &switch_verbs, &platform_verbs}) {
        for (const Verb& verb : group->verbs) {
            CLI::App* command = app.add_subcommand(verb.name, verb.help)->group(group->title);
            auto request = std::make_shared<CommandRequest>(CommandRequest{{{"verb", verb.name}}});
            verb.add_options(*command, request);
            add_example(*command, verb.example, std::string(switch_options) + ", and --json");
            command->final_callback([=, &verb] { run(verb, request->values); });
            requests[command] = request;
        }
    }
    return requests;
}

void add_example(CLI::App& command, const std::string& arguments, const std::string& common)
{
    command.footer("Example:\n  chmctl " + command.get_name() + (arguments.empty() ? "" : " ") +
                   arguments +
                   (common.empty() ? "" : "\n\nAlso, before or after the verb: " + common));
}

std::string usage_error(const CLI::App& app, const CLI::ParseError& error)
{
    const std::vector<std::string> extra = app.remaining(true);
    if (dynamic_cast<const CLI::ExtrasError*>(&error) == nullptr || extra.empty()) {
        return plain_error(error);
    }
    const std::string& word = extra.front();
    const auto given = app.get_subcommands();
    const bool is_option = word.starts_with("-");
    if (!given.empty() && !is_option) {
        return "'" + word + "' is one word too many; a name with blanks is quoted: \"Module 3\"";
    }
    std::vector<std::string> names;
    if (is_option) {
        for (const CLI::Option* option : (given.empty() ? &app : given.front())->get_options()) {
            names.push_back(option->get_name());
        }
    } else {
        for (const CLI::App* verb : app.get_subcommands([](const CLI::App*) { return true; })) {
            names.push_back(verb->get_name());
        }
    }
    const std::string nearest = sim::did_you_mean(word, {names.begin(), names.end()});
    return std::string("there is no ") + (is_option ? "option" : "verb") + " '" + word + "'" +
           (nearest.empty() ? "; see chmctl --help" : nearest);
}
