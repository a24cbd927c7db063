/// The processes of a fleet, from their start to their end.
#pragma once

#include "state_directory.h"

#include <string>
#include <vector>

/// One process of a fleet: a switch, or the agent in front of them.
struct Member {
    std::string name;
    StateDirectory state;
    bool is_switch = true;
    std::vector<std::string> command{}; ///< executes snmpd, whose files are in the state directory

    enum class Phase { waiting, starting, running, ended } phase = Phase::waiting;
    pid_t process = 0;        ///< 0 unless starting or running
    int64_t heartbeat = 0;    ///< time of the last one that was seen, in nanoseconds
    unsigned silent = 0;      ///< seconds since then, or since the start
    bool was_running = false; ///< at any time
};

/// Prints a text on standard error, control characters replaced, with the name of the command
/// before each line.
void report(const std::string& text);

/// Keeps the signals that end a fleet pending until supervise() takes them: to be called before
/// there is a state directory, which they would leave behind.
void hold_signals();

/// Starts all members, as many at once as the machine has use for, shows the progress, and prints
/// `greeting` when all are ready. From then on it reports each member that ends or hangs, and
/// starts it again if `restarts`. Returns the exit status of the command when a signal ends it or
/// no switch is left; all processes and state directories are gone then. Throws std::system_error.
int supervise(std::vector<Member> members, const std::string& greeting, bool restarts);
