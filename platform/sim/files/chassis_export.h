/// Chassis files of running chassis.
#pragma once

#include "model/chassis.h"

#include <string>

namespace sim {

/// A chassis file of the chassis as it is, with the types of the file that it came from. What LEDs
/// show by hand, the redundancy mode and what was counted are not in it. Throws FileError
/// when that file cannot be read any more.
std::string export_chassis(const Chassis& chassis);

} // namespace sim
