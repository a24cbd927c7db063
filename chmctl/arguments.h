/// The arguments of a command, as they go into the request to the switch.
#pragma once

#include "model/nearest.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

/// The request that the arguments of a command make.
struct CommandRequest {
    nlohmann::json values;
    std::map<const CLI::Option*, std::string> keys{}; ///< of the arguments in `values`
};
using Arguments = std::shared_ptr<CommandRequest>;

/// The names in one of the switch's tables, in its order.
template <typename Table>
std::vector<std::string> keys_of(const Table& table)
{
    std::vector<std::string> keys;
    for (const std::string_view key : sim::keys_in(table)) {
        keys.emplace_back(key);
    }
    return keys;
}

/// Adds an argument of the command line that goes into the request under its name.
template <typename Value>
CLI::Option* add_argument(CLI::App& command, const std::string& option, const Arguments& arguments,
                          const char* key, const std::string& help)
{
    CLI::Option* added = command.add_option_function<Value>(
        option, [=](const Value& value) { arguments->values[key] = value; }, help);
    arguments->keys[added] = key;
    return added;
}

/// Adds an argument that is a name or a number.
/// @param what the argument's name in the help
CLI::Option* add_named(CLI::App& command, const Arguments& arguments, const char* what,
                       const char* key, const std::string& help);

/// Adds the entity that a command is about, by its index or its name.
CLI::Option* add_entity(CLI::App& command, const Arguments& arguments, const char* what,
                        const char* help);

/// Adds a flag.
void add_flag(CLI::App& command, const Arguments& arguments, const std::string& name,
              const char* help);

/// Adds an argument that is on or off.
void add_state(CLI::App& command, const Arguments& arguments);
