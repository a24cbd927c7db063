/// The platform manager: the tables that requests read and write, over the chassis in place.
#pragma once

#include "model/chassis.h"

namespace sim {

/// Puts a chassis in place of the one there was, if any; exchanging one is an inventory change.
void place_chassis(Chassis chassis);

/// The chassis in place, or null before there is one.
Chassis* chassis_in_place();

} // namespace sim
