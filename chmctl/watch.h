/// The status of the switch on one screen.
#pragma once

#include <cstdint>
#include <string>

/// Shows the status every `seconds`: on a terminal as much as fits its window, in place until q is
/// pressed, elsewhere or once as plain text. Throws std::runtime_error when the switch goes away.
/// @param count how often, 0 for ever
void watch(const std::string& socket, double seconds, uint32_t count);
