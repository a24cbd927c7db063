/// Heartbeats, for the operator and for the watchdog of the service manager.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace sim {

/// Reads the address of the watchdog from the environment. To be called while the agent starts,
/// which removes it later.
void find_watchdog();

/// Makes a file whose time of modification is that of the last notification of the watchdog, for
/// supervisors without a socket. Throws std::system_error.
void keep_heartbeat_file(const std::string& path);

/// Notifies the watchdogs, if there are any.
void feed_watchdog();

/// Waits for a slow answer, and notifies the watchdog before: an SNMP request may take many such
/// answers.
void take_time(std::chrono::milliseconds time);

/// Counts a heartbeat of the MIB modules, which they send before a longer piece of work.
void beat();

/// Number of heartbeats of the MIB modules.
uint64_t heartbeats();

} // namespace sim
