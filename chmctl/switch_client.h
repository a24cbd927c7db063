/// The connection to a running switch.
#pragma once

#include <nlohmann/json.hpp>

#include <chrono>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

/// No switch answers at the socket.
class NoSwitch : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The switch refused, for the reason given.
class Refused : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A switch that this user has started, alone or in a fleet, or that is the packaged service's.
struct RunningSwitch {
    std::string socket; ///< path of its control socket
    uint32_t port = 0;  ///< which no other one has
    std::string name{};
    std::string address{}; ///< one or more ADDRESS:PORT, with commas between them
};

/// All of them, in the order of their ports.
std::vector<RunningSwitch> running_switches();

/// The control socket of the running switch on a UDP port, or with 0 of the only one, or of the one
/// with a name. Throws NoSwitch, which lists some that run.
std::string running_switch(uint32_t port);
std::string running_switch_named(const std::string& name);

/// The name of the switch at a socket, empty if it has none.
std::string name_of_switch(const std::string& socket);

/// Sends a request to the switch at a socket and waits for the result. Throws NoSwitch or Refused.
nlohmann::json ask_switch(const std::string& socket, const nlohmann::json& request,
                          std::chrono::seconds patience = std::chrono::seconds(10));
