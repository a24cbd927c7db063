// Sensors, transceivers and their readings.

#include "control/verb_arguments.h"
#include "files/chassis_file.h"
#include "model/ports.h"
#include "records/transceiver_record.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace sim {
namespace {

using nlohmann::json;

json thresholds(const Chassis& chassis, const Entity& sensor)
{
    json list = json::array();
    for (const SensorThreshold& threshold : sensor.sensor.value().thresholds) {
        list.push_back({{"relation", key_of(relations, threshold.relation())},
                        {"value", threshold.value() / steps_per_unit(*sensor.sensor)},
                        {"severity", key_of(severities, threshold.severity)},
                        {"beyond", chassis.is_beyond(sensor, threshold)},
                        {"notify", threshold.notifies}});
    }
    return list;
}

json sensors(const json& arguments)
{
    const Chassis& chassis = the_chassis();
    const Filter filter(arguments);
    json list = json::array();
    for (const auto& [index, entity] : chassis.entities()) {
        if (!entity.sensor || !filter.admits(chassis, index) ||
            !filter.admits_status(key_of(sensor_statuses, chassis.sensor_status(entity)))) {
            continue;
        }
        const Sensor& sensor = *entity.sensor;
        list.push_back({{"index", index},
                        {"name", entity.name},
                        {"kind", sensor.kind->key},
                        {"unit", sensor.kind->unit},
                        {"value", sensor.value / steps_per_unit(sensor)},
                        {"measured", time_text(sensor.measured)},
                        {"status", key_of(sensor_statuses, chassis.sensor_status(entity))},
                        {"by-hand", sensor.reading.is_by_hand()},
                        {"thresholds", thresholds(chassis, entity)}});
    }
    filter.keep_beyond(list);
    return list;
}

json thresholds_of(const Quantity& quantity, const Measurement& measurement, double raw)
{
    const double steps = std::pow(10, quantity.decimals);
    json list = json::array();
    for (size_t index = 0; index < transceiver_thresholds; ++index) {
        const Threshold& threshold = measurement.thresholds[index];
        list.push_back({{"limit", threshold_keys[index]},
                        {"value", served_value(quantity, threshold.value()) / steps},
                        {"beyond", threshold.is_beyond(raw)}});
    }
    return list;
}

/// The readings of a port's transceiver, as the sensor tables show them after their next read.
json readings_of(const Chassis& chassis, const Port& port)
{
    json list = json::array();
    for (size_t i = 0; i < quantities.size(); ++i) {
        const Quantity& quantity = quantities[i];
        const Measurement& measurement = port.transceiver->measurements[i];
        const double raw = raw_reading(chassis, *port.transceiver, i);
        list.push_back({{"quantity", quantity.key},
                        {"index", sensor_index(port.if_index, quantity)},
                        {"unit", quantity.unit},
                        {"value", served_value(quantity, raw) / std::pow(10, quantity.decimals)},
                        {"no-light", quantity.logarithmic && raw == 0},
                        {"by-hand", measurement.reading.is_by_hand()},
                        {"thresholds", thresholds_of(quantity, measurement, raw)}});
    }
    return list;
}

json transceivers(const json& arguments)
{
    const Chassis& chassis = the_chassis();
    const Filter filter(arguments);
    json list = json::array();
    for (const auto& [index, entity] : chassis.entities()) {
        if (!entity.port || !entity.port->transceiver || !filter.admits(chassis, index) ||
            !filter.admits_status(key_of(entity_statuses, chassis.status(entity)))) {
            continue;
        }
        const Transceiver& transceiver = *entity.port->transceiver;
        json readings =
            has_diagnostics(chassis, entity) ? readings_of(chassis, *entity.port) : json::array();
        filter.keep_beyond(readings);
        if (filter.only_beyond() && readings.empty()) {
            continue;
        }
        json& item = list.emplace_back(
            json{{"index", index},
                 {"port", entity.name},
                 {"status", key_of(entity_statuses, chassis.status(entity))},
                 {"type", transceiver.type},
                 {"diagnostics", key_of(diagnostics_kinds, transceiver.diagnostics)},
                 {"lanes", transceiver.lanes},
                 {"reads", entity.port->diagnostics_reads},
                 {"readings", std::move(readings)}});
        for (const TransceiverText& text : transceiver_texts) {
            item[std::string(text.key)] = transceiver.*text.text;
        }
    }
    return list;
}

constexpr Verb reading_table[] = {{"sensors", sensors, entities_of_list},
                                  {"transceivers", transceivers, entities_of_list}};

} // namespace

const std::span<const Verb> reading_verbs(reading_table);

} // namespace sim
