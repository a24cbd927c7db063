/// The cache of the transceivers' diagnostics: one entry for each port, converted, read again from
/// the port manager when it is a minute old. Agent thread only; nothing locks it.
#pragma once

#include "sensor_index.h"
#include "wire/records.h"

#include <cstddef>
#include <cstdint>

// What is kept is in host order, laid out as the rows that are made of it. Words that no
// conversion writes are 0.

struct cached_threshold {
    uint32_t reserved_0;
    uint32_t index;
    int32_t severity;
    int32_t relation;
    int32_t value;
    uint32_t evaluation;
    int32_t notification_enable;
};
static_assert(sizeof(cached_threshold) == 28);

struct cached_value {
    uint32_t reserved_0;
    int32_t type;
    int32_t scale;
    int32_t precision;
    int32_t value;
    int32_t status;
    uint32_t seconds; ///< and microseconds: the time of the reading
    uint32_t microseconds;
    uint32_t reserved_32[2];
};
static_assert(sizeof(cached_value) == 40);

/// The converted diagnostics of one port.
struct sfp_cache_entry {
    uint32_t timestamp; ///< agent uptime in hundredths of a second right after the port was read
    uint32_t if_index;
    cached_threshold thresholds[CACHE_SENSORS][SENSOR_THRESHOLDS];
    cached_value values[CACHE_SENSORS];
    uint32_t valid; ///< 1 when the entry holds a complete conversion
};
static_assert(sizeof(sfp_cache_entry) == 772);
static_assert(offsetof(sfp_cache_entry, thresholds) == 8);
static_assert(offsetof(sfp_cache_entry, values) == 568);
static_assert(offsetof(sfp_cache_entry, valid) == 768);

/// Seconds between two readings of a port; every transceiver's sensor reports it as update rate.
inline constexpr uint32_t SFP_UPDATE_RATE = 60;

/// Empties the whole cache.
void ent_cache_init();

/// Empties the entry of a port.
void ent_cache_clear_entry(uint8_t slot, uint8_t port);

/// The entry of a port, to be filled. Ports beyond slot 17 or port 63 have no place in the cache
/// and share one entry that is never valid: they are read for every request.
sfp_cache_entry& ent_cache_entry(uint8_t slot, uint8_t port);

/// Marks the entry of a port as read at a time, the agent's uptime in hundredths of a second.
void ent_cache_mark_read(uint8_t slot, uint8_t port, uint32_t if_index, uint32_t now);

/// The age in whole seconds of what was read at `then`; both in hundredths of a second.
uint32_t chm_cache_calculate_age_of_stats(uint32_t now, uint32_t then);

/// 1 when the entry of a port may be used, 0 when the port must be read.
/// @param now agent uptime in hundredths of a second
int32_t chm_is_sfp_cache_entry_present_and_current(uint32_t if_index, uint32_t now);

/// Copies a sensor's value out of a port's entry; the row's index and measured entity stay.
/// @param sensor below CACHE_SENSORS
void ent_get_entry_from_cache(ent_sensor_value_rec* row, uint8_t slot, uint8_t port,
                              uint32_t sensor);

/// Copies a threshold of a sensor out of a port's entry; the row's physical index stays.
/// @param sensor    below CACHE_SENSORS
/// @param threshold below SENSOR_THRESHOLDS
void ent_get_thrsh_entry_from_cache(ent_sensor_thresh_rec* row, uint8_t slot, uint8_t port,
                                    uint32_t sensor, uint32_t threshold);
