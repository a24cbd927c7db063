/// The ranges of entPhysicalIndex that the tables tell apart.
#pragma once

#include <cstdint>

enum : uint32_t {
    ENTITY_SENSOR_START = 21589, ///< the platform's own sensors
    ENTITY_SENSOR_END = 25685,
    ENTITY_PORT_SFP_SENSOR_START = 25813, ///< the transceivers' sensors, no rows of the platform
    ENTITY_PORT_SFP_SENSOR_END = 287957,
    PLATFORM_ROWS_RESUME = ENTITY_PORT_SFP_SENSOR_END + 1, ///< the platform's rows go on after it
};

/// True for an index whose row is synthesised from a port's transceiver.
constexpr bool is_transceiver_sensor(uint32_t index)
{
    return index - ENTITY_PORT_SFP_SENSOR_START <=
           ENTITY_PORT_SFP_SENSOR_END - ENTITY_PORT_SFP_SENSOR_START;
}
