#include "records/sensor_record.h"

#include "records/record_fields.h"

namespace sim {

ent_sensor_value_rec encode_value(const Chassis& chassis, const Entity& entity)
{
    const Sensor& sensor = entity.sensor.value();
    return {.entPhysicalIndex = entity.index,
            .entSensorType = static_cast<int32_t>(sensor.kind->type),
            .entSensorScale = static_cast<int32_t>(sensor.scale),
            .entSensorPrecision = static_cast<int32_t>(sensor.precision),
            .entSensorValue = sensor.value,
            .entSensorStatus = static_cast<int32_t>(chassis.sensor_status(entity)),
            .value_time = record_time(sensor.measured),
            .entSensorValueUpdateRate = sensor_update_seconds,
            .measured_entity = 0};
}

ent_sensor_thresh_rec encode_threshold(const Chassis& chassis, const Entity& entity,
                                       uint32_t number)
{
    const SensorThreshold& threshold = entity.sensor.value().thresholds.at(number - 1);
    return {.entPhysicalIndex = entity.index,
            .sensor_thrsh = number,
            .entSensorThresholdSeverity = static_cast<int32_t>(threshold.severity),
            .entSensorThresholdRelation = static_cast<int32_t>(threshold.relation()),
            .entSensorThresholdValue = static_cast<int32_t>(threshold.value()),
            .entSensorThresholdEvaluation = truth_value(chassis.is_beyond(entity, threshold)),
            .entSensorThresholdNotificationEnable = truth_value(threshold.notifies)};
}

sensor_threshold_crossing encode_crossing(uint32_t index, const Crossing& crossing)
{
    return {.entPhysicalIndex = index,
            .entSensorValue = crossing.value,
            .entSensorThresholdValue = crossing.threshold_value,
            .sensor_thrsh = crossing.threshold};
}

} // namespace sim
