/// The interfaces of the switch for managers: IF-MIB's tables of the ports, linkUp and linkDown.
#pragma once

#include "model/chassis.h"

namespace sim {

/// Serves the interfaces of a chassis, in place of those served before. Throws std::runtime_error
/// when the agent does not take them.
void serve_interfaces(Chassis& chassis);

/// Takes the tables back from the agent, which unloads modules in any order.
void stop_serving_interfaces();

} // namespace sim
