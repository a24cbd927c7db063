/// The arguments of a command, as they go into the request to the switch.
#pragma once

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <cmath>
#include <cstdint>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

/// The request that the arguments of a command make.
using Arguments = std::shared_ptr<nlohmann::json>;

/// The names in one of the switch's tables, in its order.
template <typename Table>
std::vector<std::string> keys_of(const Table& table)
{
    std::vector<std::string> keys;
    keys.reserve(std::size(table));
    for (const auto& one : table) {
        keys.emplace_back(one.key);
    }
    return keys;
}

/// Words as a sentence lists them: "a, b or c".
std::string listed(const std::vector<std::string>& words);

/// Adds an argument of the command line that goes into the request under its name.
template <typename Value>
CLI::Option* add_argument(CLI::App& command, const std::string& option, const Arguments& arguments,
                          const char* key, const std::string& help)
{
    return command.add_option_function<Value>(
        option, [=](const Value& value) { (*arguments)[key] = value; }, help);
}

/// Adds an argument that is a name or a number.
/// @param what the argument's name in the help
void add_named(CLI::App& command, const Arguments& arguments, const char* what, const char* key,
               const char* help);

/// Adds the entity that a command is about, by its index or its name.
void add_entity(CLI::App& command, const Arguments& arguments, const char* what, const char* help);

/// Adds an argument that is on or off.
void add_state(CLI::App& command, const Arguments& arguments);

/// Adds an argument that is a number, auto for the switch's own value, or `word` unless empty.
template <typename Number>
void add_number_or_auto(CLI::App& command, const Arguments& arguments, const std::string& what,
                        const char* key, const std::string& help, std::string_view word = {})
{
    command
        .add_option_function<std::string>(
            what,
            [=](const std::string& text) {
                Number number{};
                const bool is_number =
                    CLI::detail::lexical_cast(text, number) && std::isfinite(number);
                const bool is_word = !word.empty() && text == word;
                if (!is_number && !is_word && text != "auto") {
                    throw CLI::ValidationError(what, text + " is neither a number nor auto");
                }
                (*arguments)[key] = is_number ? nlohmann::json(number)
                                    : is_word ? nlohmann::json(text)
                                              : nlohmann::json();
            },
            help)
        ->required();
}
