/// Chassis files: the description of a chassis in TOML. docs/chassis-file.md tells the format.
#pragma once

#include "model/chassis.h"

#include <stdexcept>
#include <string>

namespace sim {

/// What is wrong in a chassis file, as "FILE:LINE: what".
class ChassisFileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Reads a chassis file. Throws ChassisFileError.
Chassis load_chassis(const std::string& file, Chassis::TimeSource now = Clock::now);

/// Makes a unit of one of the file's types, switched off yet, that fits into a place by the index
/// of the container. Throws ChassisFileError.
Assembly load_unit(const std::string& file, uint32_t place, const std::string& type);

/// Makes a transceiver of one of the file's types for a port. Throws ChassisFileError.
Transceiver load_transceiver(const std::string& file, const Entity& port, const std::string& type);

} // namespace sim
