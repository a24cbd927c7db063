#include "sensor_record.h"

namespace sim {

sensor_threshold_crossing encode_crossing(uint32_t index, const Crossing& crossing)
{
    return {.entPhysicalIndex = index,
            .entSensorValue = crossing.value,
            .entSensorThresholdValue = crossing.threshold_value,
            .sensor_thrsh = crossing.threshold};
}

} // namespace sim
