/// Completion of commands in a shell.
#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

/// What bash reads to complete the words of chmctl.
extern const char* const bash_completion;

/// What the last of some words may go on with, as far as the words say which argument it is. Names
/// of entities are asked from the switch at the socket, unless the words name another socket; none
/// when there is no switch.
std::vector<std::string> completions(const CLI::App& app, const std::vector<std::string>& words,
                                     std::string socket);
