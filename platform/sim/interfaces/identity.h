/// The system group: the agent serves it, with the identity of the switch.
#pragma once

#include "model/chassis.h"

namespace sim {

/// Gives the agent the description, object identifier, contact, name and location of a switch.
void identify(const Chassis& chassis);

/// Has what managers write to the contact, name and location reach the chassis in place, from now
/// on.
void follow_system_writes();

} // namespace sim
