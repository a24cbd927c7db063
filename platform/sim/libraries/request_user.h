/// Whose SNMP request is being served.
#pragma once

namespace sim {

/// Begins and ends learning the user of each request from the agent.
void start_tracking_requests();
void stop_tracking_requests();

/// Forgets the request. The agent does not tell when it has answered one, so each entry into the
/// switch that is not a request's begins with this.
void leave_request();

} // namespace sim
