/// The event history and the trace switches behind the event log library.
#pragma once

#include "model/named.h"

#include <chrono>
#include <cstdint>
#include <deque>
#include <string>

namespace sim {

/// Longest text of one record in bytes; longer ones are cut.
inline constexpr size_t max_history_text = 1024;

struct HistoryRecord {
    std::chrono::system_clock::time_point time;
    uint32_t type; ///< 0 for what the simulated switch itself records
    uint32_t subtype;
    std::string text;
};

/// The last 500 records, oldest first.
const std::deque<HistoryRecord>& history();

/// Adds a record, whether or not tracing is on. Without a type it comes from the switch itself.
void record_history(std::string text, uint32_t type = 0, uint32_t subtype = 0);

/// Trace switches of the services, initially off.
struct TraceSwitches {
    bool history = false; ///< their events go to the event history
    bool debug = false;   ///< their debug output goes to the agent's log
};

inline constexpr Named<bool TraceSwitches::*> traces[] = {{"history", &TraceSwitches::history},
                                                          {"debug", &TraceSwitches::debug}};

TraceSwitches& trace_switches();

} // namespace sim
