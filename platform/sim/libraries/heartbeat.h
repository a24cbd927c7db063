/// Signs of life, for the operator and for the service manager that watches over the agent.
#pragma once

#include <chrono>
#include <cstdint>

namespace sim {

/// Learns whether a service manager watches. To be called while the agent starts: it takes the
/// address out of its environment when it has started.
void find_watchdog();

/// Shows the service manager, if there is one, that the agent lives.
void feed_watchdog();

/// Waits as a slow answer has the agent wait, and feeds the watchdog before it does: a
/// request may take many such answers.
void take_time(std::chrono::milliseconds time);

/// Takes a sign of life of the MIB modules, which they give before a longer piece of work.
void beat();

/// How often they gave one.
uint64_t heartbeats();

} // namespace sim
