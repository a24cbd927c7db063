#include "control/verbs.h"

#include "control/fault_verbs.h"
#include "control/verb_arguments.h"
#include "files/chassis_export.h"
#include "files/chassis_file.h"
#include "libraries/event_log.h"
#include "libraries/event_queue.h"
#include "libraries/heartbeat.h"
#include "libraries/notification_log.h"
#include "libraries/platform_manager.h"
#include "model/led.h"
#include "model/terminals.h"
#include "records/entity_record.h"
#include "records/transceiver_record.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <optional>
#include <stdexcept>
#include <unistd.h>

namespace sim {

Chassis& the_chassis()
{
    Chassis* chassis = chassis_in_place();
    if (chassis == nullptr) {
        throw std::runtime_error("the switch has no chassis");
    }
    return *chassis;
}

namespace {

using nlohmann::json;

/// While this file exists, the MIB modules report the unit status with power events too.
const char* const marker_file = "/mnt/nvdb/chm_nvdb_hack";

/// In UTC, with milliseconds.
std::string time_text(std::chrono::system_clock::time_point time)
{
    using namespace std::chrono;
    const time_t seconds = system_clock::to_time_t(floor<std::chrono::seconds>(time));
    tm fields{};
    gmtime_r(&seconds, &fields);
    char text[40];
    const size_t length = std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &fields);
    const auto milliseconds = static_cast<int>(time.time_since_epoch() / 1ms % 1000);
    std::snprintf(text + length, sizeof text - length, ".%03dZ", milliseconds);
    return text;
}

json inventory(const json& /*arguments*/)
{
    json list = json::array();
    for (const auto& [index, entity] : the_chassis().entities()) {
        json& item = list.emplace_back(json{{"index", index},
                                            {"parent", entity.contained_in},
                                            {"class", static_cast<int32_t>(entity.entity_class)},
                                            {"position", entity.position},
                                            {"replaceable", entity.replaceable}});
        for (const EntityText& text : entity_texts) {
            item[std::string(text.key)] = entity.*text.text;
        }
    }
    return list;
}

/// The index of the entity that a request names by its index or by its name.
uint32_t named_entity(const json& arguments)
{
    const Chassis& chassis = the_chassis();
    const json entity = argument<json>(arguments, "entity");
    if (entity.is_number_unsigned()) {
        const auto index = entity.get<uint64_t>();
        if (index > UINT32_MAX || chassis.find(static_cast<uint32_t>(index)) == nullptr) {
            throw std::runtime_error("there is no entity " + std::to_string(index));
        }
        return static_cast<uint32_t>(index);
    }
    const auto name = argument<std::string>(arguments, "entity");
    const auto is_named = [&](const auto& entry) { return entry.second.name == name; };
    const auto& entities = chassis.entities();
    const auto found = std::ranges::find_if(entities, is_named);
    if (found == entities.end()) {
        throw std::runtime_error("there is no entity named '" + name + "'");
    }
    if (std::any_of(std::next(found), entities.end(), is_named)) {
        throw std::runtime_error("several entities are named '" + name + "'; give its index");
    }
    return found->first;
}

json set(const json& arguments)
{
    const uint32_t index = named_entity(arguments);
    const auto field = argument<std::string>(arguments, "field");
    const auto value = argument<std::string>(arguments, "value");
    const auto* text = std::ranges::find(entity_texts, field, &EntityText::key);
    if (text == std::end(entity_texts) || !(text->settable || field == "description")) {
        throw std::runtime_error("'" + field + "' is not a field that can be set");
    }
    if (value.size() > text->capacity || value.find('\0') != std::string::npos) {
        throw std::runtime_error("'" + field + "' holds at most " + std::to_string(text->capacity) +
                                 " bytes, none of them NUL");
    }
    const TextChange change{text->text, value};
    the_chassis().write(index, {&change, 1});
    return {{"index", index}};
}

const char* name_of(EntityStatus status)
{
    switch (status) {
    case EntityStatus::ok:
        return "ok";
    case EntityStatus::off:
        return "off";
    case EntityStatus::failed:
        return "failed";
    case EntityStatus::starting:
        return "starting";
    case EntityStatus::unknown:
        break;
    }
    return "unknown";
}

const char* name_of(UnitType type)
{
    switch (type) {
    case UnitType::module:
        return "module";
    case UnitType::power_supply:
        return "power-supply";
    case UnitType::fan_tray:
        break;
    }
    return "fan-tray";
}

/// What a unit is to be, as its two administrative statuses say it together.
const char* admin_name(const Unit& unit)
{
    if (unit.admin_status == AdminStatus::off) {
        return "off";
    }
    if (unit.power_admin_status == PowerAdminStatus::off) {
        return "power-off";
    }
    return unit.admin_status == AdminStatus::standby ? "standby" : "on";
}

json units(const json& /*arguments*/)
{
    const Chassis& chassis = the_chassis();
    json list = json::array();
    for (const auto& [index, unit] : chassis.units()) {
        list.push_back({{"index", index},
                        {"name", chassis.entities().at(index).name},
                        {"type", name_of(unit.type)},
                        {"active", &unit == chassis.active_supervisor()},
                        {"admin-status", admin_name(unit)},
                        {"status", name_of(unit.status)},
                        {"watts", watts_now(unit)}});
    }
    return list;
}

/// Has a change made of the entity that a request names.
template <typename Change>
json change_entity(const json& arguments, Change change)
{
    const uint32_t index = named_entity(arguments);
    change(the_chassis(), index);
    return {{"index", index}};
}

json pull(const json& arguments)
{
    return change_entity(arguments, [](Chassis& chassis, uint32_t index) { chassis.pull(index); });
}

json insert(const json& arguments)
{
    return change_entity(arguments, [&](Chassis& chassis, uint32_t index) {
        if (!arguments.contains("type")) {
            chassis.insert(index);
            return;
        }
        const auto type = argument<std::string>(arguments, "type");
        chassis.insert(index, make_unit(chassis.file(), index, type));
    });
}

json fail(const json& arguments)
{
    return change_entity(arguments,
                         [](Chassis& chassis, uint32_t index) { chassis.set_failed(index, true); });
}

json repair(const json& arguments)
{
    return change_entity(
        arguments, [](Chassis& chassis, uint32_t index) { chassis.set_failed(index, false); });
}

json output(const json& arguments)
{
    return change_entity(arguments, [&](Chassis& chassis, uint32_t index) {
        chassis.set_output(index, whole_number(arguments, "watts", 0, max_watts));
    });
}

json plug_unknown(const json& arguments)
{
    return change_entity(arguments,
                         [](Chassis& chassis, uint32_t index) { chassis.plug_unknown(index); });
}

bool marker_exists()
{
    std::error_code unreadable; // as good as none
    return std::filesystem::exists(marker_file, unreadable);
}

json marker(const json& arguments)
{
    if (argument<bool>(arguments, "on")) {
        std::filesystem::create_directories(std::filesystem::path(marker_file).parent_path());
        if (!std::ofstream(marker_file)) {
            throw std::system_error(errno, std::generic_category(), marker_file);
        }
    } else {
        std::filesystem::remove(marker_file);
    }
    return {{"marker", marker_exists()}};
}

json announce(const json& /*arguments*/)
{
    the_chassis().announce_change();
    return {{"last-change", time_text(the_chassis().last_change())}};
}

json redundancy(const json& /*arguments*/)
{
    const Chassis& chassis = the_chassis();
    const auto name = [&](const Unit* unit) {
        return unit == nullptr ? json() : json(chassis.entities().at(unit->index).name);
    };
    return {{"active", name(chassis.active_supervisor())},
            {"standby", name(chassis.standby_supervisor())},
            {"state", chassis.supervisor_state()},
            {"switchovers", chassis.redundancy().switchovers},
            {"last-reason", chassis.redundancy().last_reason},
            {"last-action", static_cast<int32_t>(chassis.redundancy().last_action)}};
}

json switchover(const json& arguments)
{
    the_chassis().switch_over(argument<int32_t>(arguments, "reason"));
    return redundancy(arguments);
}

/// A number, or null for what the switch makes of it by itself.
template <typename Number = int32_t>
std::optional<Number> by_hand(const json& arguments, const char* name)
{
    if (arguments.contains(name) && arguments.at(name).is_null()) {
        return std::nullopt;
    }
    return argument<Number>(arguments, name);
}

json supervisor_state(const json& arguments)
{
    the_chassis().set_supervisor_state(by_hand(arguments, "state"));
    return redundancy(arguments);
}

json leds(const json& /*arguments*/)
{
    const Chassis& chassis = the_chassis();
    json list = json::array();
    for (auto led = led_after(chassis, 0, 0); led;
         led = led_after(chassis, led->entity, led->led)) {
        list.push_back({{"index", led->entity},
                        {"name", chassis.entities().at(led->entity).name},
                        {"led", led->led},
                        {"value", led->value}});
    }
    return list;
}

json led(const json& arguments)
{
    return change_entity(arguments, [&](Chassis& chassis, uint32_t index) {
        const auto number = argument<uint32_t>(arguments, "led");
        if (!find_led(chassis, index, number)) {
            throw std::runtime_error(chassis.entities().at(index).name + " has no LED " +
                                     std::to_string(number));
        }
        chassis.set_led(index, number, by_hand(arguments, "value"));
    });
}

const char* name_of(SensorStatus status)
{
    switch (status) {
    case SensorStatus::ok:
        return "ok";
    case SensorStatus::unavailable:
        return "unavailable";
    case SensorStatus::nonoperational:
        break;
    }
    return "nonoperational";
}

json thresholds(const Chassis& chassis, const Entity& sensor)
{
    json list = json::array();
    for (const SensorThreshold& threshold : sensor.sensor.value().thresholds) {
        list.push_back({{"relation", key_of(relations, threshold.limit.relation())},
                        {"value", threshold.limit.value() / steps_per_unit(*sensor.sensor)},
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
                        {"status", name_of(chassis.sensor_status(entity))},
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

json limits_of(const Quantity& quantity, const Measurement& measurement, double raw)
{
    const double steps = std::pow(10, quantity.decimals);
    json list = json::array();
    for (size_t limit = 0; limit < limits; ++limit) {
        const Threshold& threshold = measurement.thresholds[limit];
        list.push_back({{"limit", limit_keys[limit]},
                        {"value", served_value(quantity, threshold.value()) / steps},
                        {"beyond", threshold.is_beyond(raw)}});
    }
    return list;
}

/// What a port's transceiver measures, as the sensor tables tell it once they read it anew.
json readings_of(const Chassis& chassis, const Port& port)
{
    json list = json::array();
    for (size_t i = 0; i < quantities.size(); ++i) {
        const Quantity& quantity = quantities[i];
        const Measurement& measurement = port.transceiver->measurements[i];
        const double raw = chassis.raw_reading(*port.transceiver, i);
        list.push_back({{"quantity", quantity.key},
                        {"index", sensor_index(port.if_index, quantity)},
                        {"unit", quantity.unit},
                        {"value", served_value(quantity, raw) / std::pow(10, quantity.decimals)},
                        {"no-light", quantity.logarithmic && raw == 0},
                        {"by-hand", measurement.reading.is_by_hand()},
                        {"thresholds", limits_of(quantity, measurement, raw)}});
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
        const bool readable = chassis.has_diagnostics(entity);
        json& item = list.emplace_back(
            json{{"index", index},
                 {"port", entity.name},
                 {"status", name_of(chassis.status(entity))},
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
        chassis.plug(index, make_transceiver(chassis.file(), entity, type));
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
        const auto key = argument<std::string>(arguments, "quantity");
        const auto* quantity = std::ranges::find(quantities, key, &Quantity::key);
        if (quantity == quantities.end()) {
            throw std::runtime_error("there is no quantity '" + key + "'");
        }
        const bool dark = argument<json>(arguments, "value") == "none";
        chassis.set_transceiver_reading(index, static_cast<size_t>(quantity - quantities.begin()),
                                        dark ? no_light : by_hand<double>(arguments, "value"));
    });
}

json chassis_type(const json& arguments)
{
    the_chassis().settings().type_code = argument<uint32_t>(arguments, "code");
    return {{"type-code", the_chassis().settings().type_code}};
}

json export_file(const json& /*arguments*/)
{
    return {{"toml", export_chassis(the_chassis())}};
}

json terminal_messages(const json& /*arguments*/)
{
    json list = json::array();
    for (const DeliveredMessage& message : terminals().delivered()) {
        list.push_back({{"time", time_text(message.time)},
                        {"text", message.text},
                        {"duration", message.duration},
                        {"interval", message.interval}});
    }
    return list;
}

json trace_state()
{
    return {{"history", trace_switches().history}, {"debug", trace_switches().debug}};
}

json trace(const json& arguments)
{
    const auto what = argument<std::string>(arguments, "what");
    const bool on = argument<bool>(arguments, "on");
    if (what != "history" && what != "debug" && what != "all") {
        throw std::runtime_error("there is no trace '" + what + "'");
    }
    if (what != "debug") {
        trace_switches().history = on;
    }
    if (what != "history") {
        trace_switches().debug = on;
    }
    return trace_state();
}

json event_history(const json& arguments)
{
    const auto& records = history();
    const size_t last = std::min<size_t>(argument<uint32_t>(arguments, "last"), records.size());
    json list = json::array();
    for (auto record = records.end() - static_cast<ptrdiff_t>(last); record != records.end();
         ++record) {
        list.push_back({{"time", time_text(record->time)},
                        {"type", record->type},
                        {"subtype", record->subtype},
                        {"text", record->text}});
    }
    return list;
}

json notifications(const json& /*arguments*/)
{
    const Chassis& chassis = the_chassis();
    json list = json::array();
    for (const SentNotification& one : sent_notifications()) {
        const Entity* entity = chassis.find(one.about);
        list.push_back({{"time", time_text(one.time)},
                        {"oid", one.oid},
                        {"name", one.name},
                        {"index", one.about},
                        {"about", entity == nullptr ? "" : entity->name}});
    }
    return list;
}

json status(const json& /*arguments*/)
{
    json result{{"pid", getpid()},
                {"trace", trace_state()},
                {"history-records", history().size()},
                {"waiting-events", waiting_events()},
                {"heartbeats", heartbeats()},
                {"marker", marker_exists()}};
    if (Chassis* chassis = chassis_in_place()) {
        result["chassis"] = chassis->file();
        result["type-code"] = chassis->settings().type_code;
        result["entities"] = chassis->entities().size();
        result["last-change"] = time_text(chassis->last_change());
    }
    return result;
}

struct Verb {
    std::string_view name;
    json (*run)(const json& arguments);
};

constexpr Verb verbs[] = {
    {"inventory", inventory},
    {"units", units},
    {"set", set},
    {"announce", announce},
    {"pull", pull},
    {"insert", insert},
    {"fail", fail},
    {"repair", repair},
    {"output", output},
    {"plug-unknown", plug_unknown},
    {"marker", marker},
    {"redundancy", redundancy},
    {"switchover", switchover},
    {"supervisor-state", supervisor_state},
    {"leds", leds},
    {"led", led},
    {"sensors", sensors},
    {"reading", reading},
    {"transceivers", transceivers},
    {"plug", plug},
    {"unplug", unplug},
    {"transceiver-reading", transceiver_reading},
    {"chassis-type", chassis_type},
    {"export", export_file},
    {"fault", fault_verb},
    {"faults", faults_verb},
    {"clear-faults", clear_faults_verb},
    {"terminals", terminal_messages},
    {"trace", trace},
    {"history", event_history},
    {"notifications", notifications},
    {"status", status},
};

json run(const json& request)
{
    if (!request.is_object()) {
        throw std::runtime_error("a request is one JSON object on a line");
    }
    const auto name = argument<std::string>(request, "verb");
    const auto* verb = std::ranges::find(verbs, name, &Verb::name);
    if (verb == std::end(verbs)) {
        throw std::runtime_error("unknown verb '" + name + "'");
    }
    return verb->run(request);
}

} // namespace

std::string answer_request(std::string_view line)
{
    json answer;
    try {
        answer = {{"ok", true}, {"result", run(json::parse(line, nullptr, false))}};
    } catch (const std::exception& error) {
        answer = {{"ok", false}, {"error", error.what()}};
    }
    // Texts come from wherever, and need not be UTF-8.
    return answer.dump(-1, ' ', false, json::error_handler_t::replace);
}

} // namespace sim
