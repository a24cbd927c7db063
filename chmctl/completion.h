/// Completion of commands in a shell.
#pragma once

#include <CLI/CLI.hpp>

#include <functional>
#include <string>
#include <vector>

/// Script for bash that completes the words of chmctl.
extern const char* const bash_completion;

/// Completions of the last word, as far as the words determine its argument. Names of entities come
/// from the switch that the words name, or from the one that `find` gives the socket of; there are
/// none without a switch.
std::vector<std::string> completions(const CLI::App& app, const std::vector<std::string>& words,
                                     std::function<std::string()> find);
