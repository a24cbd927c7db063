/// Chassis files of running chassis.
#pragma once

#include "model/chassis.h"

#include <string>

namespace sim {

/// The chassis as a chassis file, including faults, with the types of the file that it came from.
/// It does not contain times, the counts of transceiver reads and terminal messages. Throws
/// FileError if that file can no longer be read.
std::string export_chassis(const Chassis& chassis);

} // namespace sim
