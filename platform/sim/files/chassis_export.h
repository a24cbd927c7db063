/// Chassis files of running chassis.
#pragma once

#include "model/chassis.h"

#include <string>

namespace sim {

/// A chassis file of the chassis as it is, faults included, with the types of the file that it came
/// from. Only times are not in it, and what was read of transceivers and sent to terminals. Throws
/// FileError when that file cannot be read any more.
std::string export_chassis(const Chassis& chassis);

} // namespace sim
