/// The checks, in the order in which they run.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace conform {

/// What the command line asks for.
struct Options {
    std::vector<std::string> libraries{};
    std::vector<std::string> modules{}; ///< entry points init_... to call
    std::vector<std::string> lines{};   ///< lines of the agent's configuration, for the modules
    std::string prepare{};              ///< command to run before the checks
    std::string trigger{};              ///< command that makes the platform report events
    double event_seconds = 2;           ///< to wait for events
    int limit_seconds = 30;             ///< for one call
    bool write = false;
};

/// Checks of one part of the platform, which report one line each or several.
struct Check {
    std::string name;
    std::function<void()> run;
};

std::vector<Check> request_checks();
std::vector<Check> write_checks();
std::vector<Check> port_checks();
std::vector<Check> agent_checks();
std::vector<Check> event_checks(const Options& options);

} // namespace conform
