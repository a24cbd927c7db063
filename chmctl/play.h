/// Scenarios: files of timed commands to a switch.
#pragma once

#include <cstddef>
#include <string>
#include <utility>

/// Whether a file is a scenario rather than a chassis file. Throws std::runtime_error when it
/// cannot be read.
bool is_scenario(const std::string& file);

/// Checks a scenario file, without a switch. Throws std::runtime_error with all errors.
/// @return the number of its steps, and the seconds that it takes
std::pair<size_t, double> check_scenario(const std::string& file);

/// Plays a scenario file, after checking all of it. Throws std::runtime_error; errors in the file
/// name the line.
/// @param speed relative to the file
void play(const std::string& file, double speed, const std::string& socket);
