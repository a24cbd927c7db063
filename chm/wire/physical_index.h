/// The ranges of entPhysicalIndex that the tables distinguish, and the indexes of the transceivers'
/// sensors.
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

/// The first index of the block of a port, whose slot and number are as the interface-index codec
/// numbers them. Each port has a block of 16 indexes, one for each sensor code from 1 on, each slot
/// the blocks of 256 ports.
constexpr uint32_t transceiver_block(uint32_t slot, uint32_t port)
{
    return ENTITY_PORT_SFP_SENSOR_START + 1 + (slot * 256 + port) * 16;
}

/// The codes that stand for a sensor.
enum port_sfp_sens_type : int32_t {
    SFP_VOLTAGE = 3,
    SFP_CURRENT = 5,
    SFP_TEMPERATURE = 8,
    SFP_RX_POWER = 14,
    SFP_TX_POWER = 15,
    LAST_SENSOR_CODE = SFP_TX_POWER,
};
