/// The connection to a running switch.
#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <stdexcept>
#include <string>

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

/// The control socket of the running switch on a UDP port, or with 0 of the only one: the switches
/// that this user has started with ./run and the packaged service's. Throws NoSwitch, which lists
/// them if there are several.
std::string running_switch(uint32_t port);

/// Sends a request to the switch at a socket and waits for the result, at most ten seconds. Throws
/// NoSwitch or Refused.
nlohmann::json ask_switch(const std::string& socket, const nlohmann::json& request);
