/// Sensors as the platform manager's tables and events carry them, in host order.
#pragma once

#include "chassis.h"
#include "records.h"

namespace sim {

/// The crossing of a threshold by the sensor with an index, be it a sensor of the platform's own or
/// of a transceiver.
sensor_threshold_crossing encode_crossing(uint32_t index, const Crossing& crossing);

} // namespace sim
