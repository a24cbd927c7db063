/// The ENTITY-MIB module beyond its entry points.
#pragma once

#include "agent.h"

/// Write method of entPhysicalSerialNum for a variable that would offer one: refuses every write.
/// The column is registered read-write without a write method, so the agent refuses by itself.
/// @return notWritable in every phase
WriteMethod set_entPhysicalSerialNum;
