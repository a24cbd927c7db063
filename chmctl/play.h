/// Scenarios: files of commands that are given to a switch one after the other, each at its time.
#pragma once

#include <string>

/// Plays a scenario file. Nothing is played of a file that is not good as a whole. Complaints name
/// the line. Throws std::runtime_error.
/// @param speed how many times as fast as the file says
void play(const std::string& file, double speed, const std::string& socket);
