/// The synthetic physical indexes of the transceivers' sensors: from a slot, a port and a sensor
/// code to an index, and back.
///
/// Slots and ports are numbered as the interface-index codec numbers them. The arithmetic is
/// defined for any index; one outside the range decodes to places that do not exist.
#pragma once

#include "wire/physical_index.h"

#include <cstdint>

/// A sensor's number within the converted diagnostics of its port.
enum ent_cache_sensor : uint32_t {
    CACHE_VOLTAGE,
    CACHE_CURRENT,
    CACHE_TEMPERATURE,
    CACHE_RX_POWER,
    CACHE_TX_POWER,
    CACHE_SENSORS,
    CACHE_SENSOR_INVALID = 6,
};

/// Thresholds of one sensor, numbered from 1: high alarm, high warning, low alarm, low warning.
inline constexpr uint32_t SENSOR_THRESHOLDS = 4;

#pragma GCC visibility push(default)
extern "C" {

/// The slot of an index.
int32_t chm_snmp_entity_to_sensor_slot_num(const uint32_t* entPhyIndex);

/// The port of an index in its slot.
int32_t chm_snmp_entity_to_port_num(const uint32_t* entPhyIndex, const uint32_t* slot);

/// The sensor code of an index, 1 to 16 in the range; 0 for the index just before it.
int32_t get_port_sensor_type_from_entPhyIndex(const uint32_t* entPhyIndex);

/// 1 when a code stands for a sensor, else 0.
int32_t chm_is_port_sfp_sens_type_valid(int32_t code);

/// The ent_cache_sensor of a code, CACHE_SENSOR_INVALID when it stands for no sensor.
int32_t chm_match_ent_sensor_type(int32_t code);

/// 1 for the number of a threshold, else 0.
int32_t chm_is_entity_sensor_threshold_value_valid(int32_t threshold);

/// The interface index of an index's port, 0 when there can be none.
uint32_t get_if_index_from_entPhyIndex(const uint32_t* entPhyIndex);

/// The first index of a port's block, which is no sensor.
uint32_t get_entPhyIndex_from_if_index(uint32_t if_index);
}
#pragma GCC visibility pop

/// Where a port is.
struct SlotPort {
    uint8_t slot = 0;
    uint8_t port = 0;
};

/// The slot and port of an interface index, 0 and 0 for one that the codec does not know.
SlotPort slot_port_of(uint32_t if_index);

/// What the index of a transceiver's sensor stands for.
struct SensorPlace {
    uint32_t if_index = 0; ///< of the sensor's port
    int32_t code = 0;
};

SensorPlace sensor_place_of(uint32_t index);

/// The type of a port as the interface-index codec has it, 0 for a port that it does not know.
uint8_t port_type_of(uint32_t if_index);

/// True for the types of ports whose transceivers have sensors.
constexpr bool may_hold_transceiver(uint8_t port_type)
{
    return port_type == 1 || port_type == 2 || port_type == 26;
}
