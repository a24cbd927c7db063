/// The commands that send a request to the switch.
#pragma once

#include "arguments.h"

#include <functional>
#include <map>
#include <span>

/// A command that sends a request: its verb, its arguments, and how to print the result.
struct Verb {
    const char* name;
    const char* help;
    const char* example; ///< its arguments, for the help
    void (*add_options)(CLI::App& command, const Arguments& arguments);
    void (*print)(const nlohmann::json& result);
};

inline void no_options(CLI::App& /*command*/, const Arguments& /*arguments*/) {}
inline void print_nothing(const nlohmann::json& /*result*/) {}

/// Verbs under one heading of the help.
struct VerbGroup {
    const char* title;
    std::span<const Verb> verbs;
};

extern const VerbGroup unit_verbs;
extern const VerbGroup reading_verbs;
extern const VerbGroup interface_verbs;
extern const VerbGroup switch_verbs;
extern const VerbGroup platform_verbs;

/// Adds every verb as a command. @param run is called with the verb that was given and its request
/// @return the requests of the commands
std::map<const CLI::App*, Arguments>
add_verbs(CLI::App& app,
          const std::function<void(const Verb& verb, const nlohmann::json& request)>& run);

/// An error of the command line as text, with what may be meant.
/// @param app the parser that refused it
std::string usage_error(const CLI::App& app, const CLI::ParseError& error);

/// The options that choose a switch, for help texts.
inline constexpr const char* switch_options = "--switch, --port or --socket";

/// Ends the help of a command with an example.
/// @param arguments of the command
/// @param common    those of chmctl's own options that have a use with it
void add_example(CLI::App& command, const std::string& arguments, const std::string& common = "");
