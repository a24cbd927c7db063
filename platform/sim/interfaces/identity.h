/// The system group: the agent serves it, with the identity of the switch.
#pragma once

#include "model/chassis.h"

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#include <vector>

namespace sim {

/// sysObjectID: the vendor type of the chassis.
std::vector<oid> object_identifier(const Chassis& chassis);

/// Gives the agent the description, object identifier, contact, name and location of a switch.
void identify(const Chassis& chassis);

/// Has what managers write to the contact, name and location reach the chassis in place, from now
/// on.
void follow_system_writes();

} // namespace sim
