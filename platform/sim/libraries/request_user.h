/// Whose SNMP request is being served.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace sim {

/// Begins and ends learning the user of each request from the agent.
void start_tracking_requests();
void stop_tracking_requests();

/// Forgets the request. The agent does not report when it has answered one, so each entry into the
/// switch that is not a request's begins with this.
void leave_request();

/// The user of the request (the community of one without users), nothing outside a request.
const std::optional<std::string>& request_user();

/// The session of the request, 0 outside a request.
uint32_t request_session();

} // namespace sim
