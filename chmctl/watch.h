/// The status of the switch on one screen.
#pragma once

#include <cstdint>
#include <string>

/// Draws the screen every `seconds`, in place on a terminal. @param count how often, 0 for ever
void watch(const std::string& socket, double seconds, uint32_t count);
