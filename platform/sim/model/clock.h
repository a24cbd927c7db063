/// The time of the simulated switch.
#pragma once

#include <chrono>

namespace sim {

/// Set from the machine's clock at the start and even from then on: counters and durations do not
/// jump when the machine's clock is set.
struct Clock : std::chrono::system_clock {
    static time_point now()
    {
        using Steady = std::chrono::steady_clock;
        static const auto wall = std::chrono::system_clock::now();
        static const auto start = Steady::now();
        return wall + std::chrono::duration_cast<duration>(Steady::now() - start);
    }
};

} // namespace sim
