/// The row of entPhysicalTable for a transceiver's sensor, which is no entity of the platform.
#pragma once

#include "wire/records.h"

#include <cstdint>

/// Fills the row of a sensor.
/// @param index     of the sensor
/// @param fcot_res  PM_FCOT_INFO_SIZE bytes that the port manager reports of its transceiver
void write_sensor_row(uint32_t index, const uint8_t* fcot_res, ent_phys_entry& row);
