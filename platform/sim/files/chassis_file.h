/// Chassis files: the description of a chassis in TOML. docs/chassis-file.md gives the format.
#pragma once

#include "files/file_error.h"
#include "model/chassis.h"

#include <string>
#include <vector>

namespace sim {

/// Reads a chassis file. Throws FileError.
Chassis load_chassis(const std::string& file, Chassis::TimeSource now = Clock::now,
                     const Individual& individual = {});

/// Makes a unit of one of the types of a chassis's file for a place, by the index of its container;
/// the unit is off. Throws FileError.
Assembly load_unit(const Chassis& chassis, uint32_t place, const std::string& type);

/// The names of the types of units or transceivers of a chassis's file that fit into a place or a
/// port. Throws FileError.
std::vector<std::string> fitting_types(const Chassis& chassis, const Entity& place);

/// Makes a transceiver of one of the types of a chassis's file for a port. Throws FileError.
Transceiver load_transceiver(const Chassis& chassis, const Entity& port, const std::string& type);

} // namespace sim
