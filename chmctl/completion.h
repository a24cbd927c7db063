/// Words of commands in a shell, and their completion.
#pragma once

#include "arguments.h"

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

/// Script for bash that completes the words of chmctl.
extern const char* const bash_completion;

/// A word as a person types it in a shell, quoted where it needs to be.
std::string shell_word(const std::string& text);

/// Completions of the last word of a command line, quoted as the word is; nothing where a file is
/// to be named. The verbs and their options are those of the parser; the running switch answers
/// which names and values an argument can have. There are none without a switch.
/// @param app      the parser of the command; its options are set as on the line, but nothing runs
/// @param requests of the parser's commands
/// @param line     up to the cursor
/// @param replaced the bytes at its end that a completion replaces
/// @param find     gives the socket of the switch, by the options on the line
std::optional<std::vector<std::string>>
completions(CLI::App& app, const std::map<const CLI::App*, Arguments>& requests,
            const std::string& line, size_t replaced, const std::function<std::string()>& find);
