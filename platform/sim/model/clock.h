/// The time of the simulated switch.
#pragma once

#include <chrono>

namespace sim {

using Clock = std::chrono::system_clock;

} // namespace sim
