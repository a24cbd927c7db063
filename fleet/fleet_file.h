/// The switches of a fleet, and the file that describes them; docs/fleet.md gives its format.
#pragma once

#include "model/chassis.h"

#include <cstddef>
#include <string>
#include <vector>

inline constexpr size_t max_switches = 500;

/// What a switch of a fleet is made from.
struct SwitchPlan {
    std::string name;    ///< system name, SNMP engine ID, context
    std::string chassis; ///< path of the chassis file
    std::string state{}; ///< path of the file with what is written to the switch, or empty
    sim::Individual individual;
};

/// Whether a TOML file describes a fleet. Throws sim::FileError.
bool is_fleet_file(const std::string& file);

/// Reads a fleet file; its paths are relative to its directory. Throws sim::FileError.
std::vector<SwitchPlan> read_fleet(const std::string& file);

/// As many switches named switch1 and so on, with these chassis files in turn.
std::vector<SwitchPlan> numbered_fleet(size_t count, const std::vector<std::string>& chassis);
