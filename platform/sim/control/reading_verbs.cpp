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

json sensors(const json& /*arguments*/)
{
    const Chassis& chassis = the_chassis();
    json list = json::array();
    for (const auto& [index, entity] : chassis.entities()) {
        if (!entity.sensor) {
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
    return list;
}

json reading(const json& arguments)
{
    return change_entity(arguments, [&](Chassis& chassis, uint32_t index) {
        chassis.set_reading(index, by_hand<double>(arguments, "value"));
    });
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

json transceivers(const json& /*arguments*/)
{
    const Chassis& chassis = the_chassis();
    json list = json::array();
    for (const auto& [index, entity] : chassis.entities()) {
        if (!entity.port || !entity.port->transceiver) {
            continue;
        }
        const Transceiver& transceiver = *entity.port->transceiver;
        const bool readable = has_diagnostics(chassis, entity);
        json& item = list.emplace_back(
            json{{"index", index},
                 {"port", entity.name},
                 {"status", key_of(entity_statuses, chassis.status(entity))},
                 {"type", transceiver.type},
                 {"diagnostics", key_of(diagnostics_kinds, transceiver.diagnostics)},
                 {"lanes", transceiver.lanes},
                 {"reads", entity.port->diagnostics_reads},
                 {"readings", readable ? readings_of(chassis, *entity.port) : json::array()}});
        for (const TransceiverText& text : transceiver_texts) {
            item[std::string(text.key)] = transceiver.*text.text;
        }
    }
    return list;
}

json plug(const json& arguments)
{
    return change_entity(arguments, [&](Chassis& chassis, uint32_t index) {
        if (!arguments.contains("type")) {
            chassis.plug(index);
            return;
        }
        const Entity& entity = chassis.entities().at(index);
        if (!entity.port) {
            throw Refusal(entity.name + " is no port");
        }
        const auto type = argument<std::string>(arguments, "type");
        chassis.plug(index, load_transceiver(chassis.file(), entity, type));
    });
}

json unplug(const json& arguments)
{
    return change_entity(arguments,
                         [](Chassis& chassis, uint32_t index) { chassis.unplug(index); });
}

json transceiver_reading(const json& arguments)
{
    return change_entity(arguments, [&](Chassis& chassis, uint32_t index) {
        const Quantity& quantity = choice(arguments, "quantity", quantities);
        const bool dark = argument<json>(arguments, "value") == no_light_key;
        chassis.set_transceiver_reading(index, static_cast<size_t>(&quantity - quantities.data()),
                                        dark ? no_light : by_hand<double>(arguments, "value"));
    });
}

constexpr Verb reading_table[] = {
    {"sensors", sensors}, {"reading", reading}, {"transceivers", transceivers},
    {"plug", plug},       {"unplug", unplug},   {"transceiver-reading", transceiver_reading},
};

} // namespace

const std::span<const Verb> reading_verbs(reading_table);

} // namespace sim
