/// The indexes of the transceivers' sensors.
#pragma once

#include "platform_indexes.h"

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
