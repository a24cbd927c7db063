/// The verbs of the control socket.
#pragma once

#include <string>
#include <string_view>

namespace sim {

/// The answer to one request of the control socket, both a line without its line feed.
std::string answer_request(std::string_view line);

} // namespace sim
