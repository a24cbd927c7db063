#include "diagnostics_cache.h"

#include "if_index.h"
#include "trace.h"

#include <cstring>

namespace {

constexpr size_t cached_slots = 18;
constexpr size_t cached_ports = 64;

sfp_cache_entry sfp_cache[cached_slots][cached_ports];
sfp_cache_entry uncached;

bool has_place(uint8_t slot, uint8_t port)
{
    return slot < cached_slots && port < cached_ports;
}

} // namespace

void ent_cache_init()
{
    // Every byte is 0 then. A page that has never been written takes no memory, so what is zero
    // already is only read.
    static const sfp_cache_entry zero{};
    for (auto& ports : sfp_cache) {
        for (sfp_cache_entry& entry : ports) {
            if (memcmp(&entry, &zero, sizeof entry) != 0) {
                memset(&entry, 0, sizeof entry);
            }
        }
    }
    uncached = {};
}

void ent_cache_clear_entry(uint8_t slot, uint8_t port)
{
    ent_cache_entry(slot, port) = {};
}

sfp_cache_entry& ent_cache_entry(uint8_t slot, uint8_t port)
{
    return has_place(slot, port) ? sfp_cache[slot][port] : uncached;
}

void ent_cache_mark_read(uint8_t slot, uint8_t port, uint32_t if_index, uint32_t now)
{
    sfp_cache_entry& entry = ent_cache_entry(slot, port);
    entry.timestamp = now;
    entry.if_index = if_index;
    entry.valid = has_place(slot, port) ? 1 : 0;
}

uint32_t chm_cache_calculate_age_of_stats(uint32_t now, uint32_t then)
{
    return (now - then) / 100;
}

int32_t chm_is_sfp_cache_entry_present_and_current(uint32_t if_index, uint32_t now)
{
    uint8_t slot = 0;
    uint8_t port = 0;
    if_index_get_port(if_index, &port);
    if_index_get_slot(if_index, &slot);
    const sfp_cache_entry& entry = ent_cache_entry(slot, port);
    const uint32_t age = chm_cache_calculate_age_of_stats(now, entry.timestamp);
    if (age < SFP_UPDATE_RATE) {
        if (entry.valid != 1) {
            return 0;
        }
        CHM_TRACE("%s: return from cache, age of stats: %lu ret_val:%d\n", __func__,
                  static_cast<unsigned long>(age), 0);
        return 1;
    }
    CHM_TRACE("%s: age: %lu exceeded %lu, slot: %d port: %d if_index: 0x%x\n", __func__,
              static_cast<unsigned long>(now), static_cast<unsigned long>(entry.timestamp), slot,
              port, if_index);
    CHM_TRACE("%s: not found in cache, age of stats: %lu ret_val:%d\n", __func__,
              static_cast<unsigned long>(age), 0);
    return 0;
}

void ent_get_entry_from_cache(ent_sensor_value_rec* row, uint8_t slot, uint8_t port,
                              uint32_t sensor)
{
    const cached_value& value = ent_cache_entry(slot, port).values[sensor];
    row->entSensorType = value.type;
    row->entSensorScale = value.scale;
    row->entSensorPrecision = value.precision;
    row->entSensorValue = value.value;
    row->entSensorStatus = value.status;
    row->value_time = {value.seconds, value.microseconds};
    row->entSensorValueUpdateRate = SFP_UPDATE_RATE;
    CHM_TRACE("%s: sensor values are:entSensorType = %d, entSensorScale = %d, "
              "entSensorPrecision = %d, entSensorValue = %d, entSensorStatus = %d, "
              "entSensorValueUpdateRate = %d.\n",
              __func__, value.type, value.scale, value.precision, value.value, value.status,
              SFP_UPDATE_RATE);
}

void ent_get_thrsh_entry_from_cache(ent_sensor_thresh_rec* row, uint8_t slot, uint8_t port,
                                    uint32_t sensor, uint32_t threshold)
{
    const cached_threshold& cached = ent_cache_entry(slot, port).thresholds[sensor][threshold];
    const int32_t evaluation = cached.evaluation == 1 ? 1 : 0;
    row->sensor_thrsh = cached.index;
    row->entSensorThresholdSeverity = cached.severity;
    row->entSensorThresholdRelation = cached.relation;
    row->entSensorThresholdValue = cached.value;
    row->entSensorThresholdEvaluation = evaluation;
    row->entSensorThresholdNotificationEnable = cached.notification_enable;
    CHM_TRACE("%s: values are:entSensorThresholdindex = %d, entSensorThresholdSeverity = %d, "
              "entSensorThresholdRelation = %d entSensorThresholdValue = %d, "
              "entSensorThresholdEvaluation = %d, entSensorThresholdNotificationEnable = %d\n",
              __func__, cached.index, cached.severity, cached.relation, cached.value, evaluation,
              cached.notification_enable);
}
