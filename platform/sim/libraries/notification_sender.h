/// Notifications, sent through the agent.
#pragma once

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#include <cstddef>
#include <memory>

namespace sim {

using Bindings = std::unique_ptr<netsnmp_variable_list, decltype(&snmp_free_varbind)>;

/// Sends a notification to the agent's sinks at once. The agent adds sysUpTime.0 before the
/// bindings. Throws std::bad_alloc.
void send_notification(const oid* name, size_t length, Bindings bindings);

} // namespace sim
