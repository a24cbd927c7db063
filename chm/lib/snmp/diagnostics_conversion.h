/// The conversion of a transceiver's raw diagnostics into what the sensor tables serve: millivolts,
/// milliamperes, millidegrees Celsius, and thousandths of a dBm.
#pragma once

#include "diagnostics_cache.h"
#include "wire/records.h"

#include <cstdint>

/// Converts one lane into a port's entry, which must hold zeros only. Writes neither the entry's
/// head nor its valid flag.
/// @return 0
int32_t ent_parse_sfp_diag_values(const diag_info* lane, sfp_cache_entry* entry);

/// Converts the lanes of a port in turn into one entry, which so holds the last lane's values.
/// @param lanes  num_of_lanes records
/// @return 0, or the first status of a lane that is not
int32_t ent_parse_sfp_diag_values_flex(const diag_info* lanes, sfp_cache_entry* entry,
                                       uint32_t num_of_lanes);
