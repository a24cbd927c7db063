/// The agent's part: what a platform module registers with Net-SNMP, and the loop that serves it.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace conform {

/// Makes Net-SNMP ready for a platform's modules, as an agent without a port.
void start_agent();

/// Reads lines of the agent's configuration. Net-SNMP prints what is wrong with one.
void configure_agent(const std::vector<std::string>& lines);

/// Serves descriptors and alarms for so long, and until `done` holds.
void serve(
    double seconds, const std::function<bool()>& done = [] { return true; });

/// Runs a command of the shell and serves until it has ended. @return its exit status
int serve_while_running(const std::string& command, double seconds = 0);

} // namespace conform
