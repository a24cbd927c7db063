#include "arguments.h"

using nlohmann::json;

CLI::Option* add_named(CLI::App& command, const Arguments& arguments, const char* what,
                       const char* key, const std::string& help)
{
    CLI::Option* added = command.add_option_function<std::string>(
        what,
        [=](const std::string& text) {
            uint32_t number = 0;
            const bool is_number = CLI::detail::lexical_cast(text, number);
            arguments->values[key] = is_number ? json(number) : json(text);
        },
        help);
    arguments->keys[added] = key;
    return added->required();
}

CLI::Option* add_entity(CLI::App& command, const Arguments& arguments, const char* what,
                        const char* help)
{
    return add_named(command, arguments, what, "entity", help);
}

void add_flag(CLI::App& command, const Arguments& arguments, const std::string& name,
              const char* help)
{
    command.add_flag_callback(
        "--" + name, [=] { arguments->values[name] = true; }, help);
}

void add_state(CLI::App& command, const Arguments& arguments)
{
    command
        .add_option_function<std::string>(
            "STATE", [=](const std::string& state) { arguments->values["on"] = state == "on"; },
            "on or off")
        ->required()
        ->check(CLI::IsMember({"on", "off"}));
}
