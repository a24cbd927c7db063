/// Chassis files: the description of a chassis in TOML. docs/chassis-file.md tells the format.
#pragma once

#include "chassis.h"

#include <stdexcept>
#include <string>

namespace sim {

/// What is wrong in a chassis file, as "FILE:LINE: what".
class ChassisFileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Reads a chassis file. Throws ChassisFileError.
Chassis load_chassis(const std::string& file);

} // namespace sim
