/// The entity sensor MIB module beyond its entry points.
#pragma once

#include "agent.h"

/// Read callback of the module's scalars, of which it has none: no variable refers to it.
/// @return null
FindVarMethod get_entitySensorMIB;
