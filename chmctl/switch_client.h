/// The connection to a running switch.
#pragma once

#include <nlohmann/json.hpp>

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

/// The default control socket of a lab switch of this user.
std::string default_socket();

/// Sends a request to the switch at a socket and waits for the result, at most ten seconds. Throws
/// NoSwitch or Refused.
nlohmann::json ask_switch(const std::string& socket, const nlohmann::json& request);
