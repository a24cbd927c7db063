/// Scenarios: files of timed commands to a switch.
#pragma once

#include <string>

/// Plays a scenario file, after checking all of it. Throws std::runtime_error; errors in the file
/// name the line.
/// @param speed relative to the file
void play(const std::string& file, double speed, const std::string& socket);
