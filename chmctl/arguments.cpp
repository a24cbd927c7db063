#include "arguments.h"

using nlohmann::json;

std::string listed(const std::vector<std::string>& words)
{
    std::string text;
    for (size_t i = 0; i < words.size(); ++i) {
        text += (i == 0 ? "" : i + 1 == words.size() ? " or " : ", ") + words[i];
    }
    return text;
}

void add_named(CLI::App& command, const Arguments& arguments, const char* what, const char* key,
               const char* help)
{
    command
        .add_option_function<std::string>(
            what,
            [=](const std::string& text) {
                uint32_t number = 0;
                const bool is_number = CLI::detail::lexical_cast(text, number);
                (*arguments)[key] = is_number ? json(number) : json(text);
            },
            help)
        ->required();
}

void add_entity(CLI::App& command, const Arguments& arguments, const char* what, const char* help)
{
    add_named(command, arguments, what, "entity", help);
}

void add_state(CLI::App& command, const Arguments& arguments)
{
    command
        .add_option_function<std::string>(
            "STATE", [=](const std::string& state) { (*arguments)["on"] = state == "on"; },
            "on or off")
        ->required()
        ->check(CLI::IsMember({"on", "off"}));
}
