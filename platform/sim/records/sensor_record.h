/// Sensors as the platform manager's tables and events carry them, in host order.
#pragma once

#include "model/chassis.h"
#include "wire/records.h"

namespace sim {

/// The value of a sensor of the platform's own, as it was last measured.
ent_sensor_value_rec encode_value(const Chassis& chassis, const Entity& entity);

/// The threshold with a number, counted from 1, of a sensor of the platform's own
ent_sensor_thresh_rec encode_threshold(const Chassis& chassis, const Entity& entity,
                                       uint32_t number);

/// The crossing of a threshold by the sensor with an index, be it a sensor of the platform's own or
/// of a transceiver.
sensor_threshold_crossing encode_crossing(uint32_t index, const Crossing& crossing);

} // namespace sim
