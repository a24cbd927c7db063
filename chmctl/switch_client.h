/// The connection to a running switch.
#pragma once

#include <nlohmann/json.hpp>

#include <stdexcept>
#include <string>

/// Nobody answers at the socket.
class NoSwitch : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The switch refused, for the reason given.
class Refused : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Where a lab switch of this user listens unless told otherwise.
std::string default_socket();

/// Asks the switch at a socket for one thing and waits for the result, ten seconds at most.
/// Throws NoSwitch or Refused.
nlohmann::json ask_switch(const std::string& socket, const nlohmann::json& request);
