/// The power of the switch: what the supplies deliver and the other units draw.
#pragma once

#include "model/named.h"

#include <cstdint>

namespace sim {

class Chassis;

/// How much of the power supplies' output is kept in reserve.
enum class RedundancyMode : int32_t {
    none = 1,
    spare_supply = 2, ///< the output of one, the largest
    spare_half = 3,   ///< the output of half of them, the larger ones, rounded up
};

inline constexpr Named<RedundancyMode> redundancy_modes[] = {
    {"none", RedundancyMode::none},
    {"spare-supply", RedundancyMode::spare_supply},
    {"spare-half", RedundancyMode::spare_half}};

/// Most watts of default in-line power that an operator may set.
inline constexpr int32_t max_in_line_power = 12500;

/// Watts that the healthy power supplies deliver, without the reserve of the mode.
uint32_t available_watts(const Chassis& chassis, RedundancyMode mode);

/// Watts that modules and fan trays draw.
uint32_t drawn_watts(const Chassis& chassis);

} // namespace sim
