#include "libraries/platform_manager.h"

#include "libraries/disturbance.h"
#include "libraries/event_log.h"
#include "libraries/event_queue.h"
#include "libraries/result_code.h"
#include "model/led.h"
#include "model/terminals.h"
#include "physical_index.h"
#include "records/entity_record.h"
#include "records/record_fields.h"
#include "records/sensor_record.h"
#include "records/unit_record.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <optional>

namespace sim {
namespace {

using Bytes = std::vector<std::byte>;

template <typename Record>
Bytes in_wire_order(Record record)
{
    swap_wire_order(record);
    const auto bytes = std::as_bytes(std::span(&record, 1));
    return {bytes.begin(), bytes.end()};
}

/// A record as the answer to a request.
template <typename Record>
Answer answer_with(const Record& record)
{
    return {ResultCode::ok, in_wire_order(record)};
}

/// The record that a request carries, none when the request is too short for it.
template <typename Record>
std::optional<Record> record_of(std::span<const std::byte> request)
{
    if (request.size() < sizeof(Record)) {
        return std::nullopt;
    }
    Record record;
    std::memcpy(&record, request.data(), sizeof record);
    swap_wire_order(record);
    return record;
}

bool is_known(int32_t operation)
{
    return operation >= CHM_REQ_GET && operation <= CHM_REQ_SET;
}

Answer read_entity(const Chassis& chassis, const Entity* entity)
{
    if (entity == nullptr) {
        return {ResultCode::no_such_entry};
    }
    return answer_with(encode(chassis, *entity));
}

/// The rows of the transceivers' sensors are not the platform's, but lie between its own: a walk
/// that has come to where they start is sent there by a failure whose block names that index.
Answer next_entity(const Chassis& chassis, uint32_t index)
{
    const Entity* next = chassis.next_after(index);
    const bool passes_start = index < ENTITY_PORT_SFP_SENSOR_START &&
                              (next == nullptr || next->index > ENTITY_PORT_SFP_SENSOR_START);
    if (passes_start && chassis.next_port_with_diagnostics(0) != nullptr) {
        ent_phys_entry start{};
        start.entPhysicalIndex = ENTITY_PORT_SFP_SENSOR_START;
        return {ResultCode::no_such_entry, in_wire_order(start)};
    }
    return read_entity(chassis, next);
}

Answer write_entity(Chassis& chassis, const ent_phys_entry& record)
{
    const Entity* entity = chassis.find(record.entPhysicalIndex);
    if (entity == nullptr) {
        return {ResultCode::no_such_entry};
    }
    if (entity->entity_class == EntityClass::sensor) {
        return {ResultCode::not_writable};
    }
    chassis.write(entity->index, decode_settable_texts(record));
    return {};
}

Answer physical_entity(Chassis& chassis, int32_t operation, std::span<const std::byte> request)
{
    const auto record = record_of<ent_phys_entry>(request);
    if (!record) {
        return {ResultCode::request_too_short};
    }
    switch (operation) {
    case CHM_REQ_GET:
        return read_entity(chassis, chassis.find(record->entPhysicalIndex));
    case CHM_REQ_GETNEXT:
        return next_entity(chassis, record->entPhysicalIndex);
    case CHM_REQ_SET:
        return write_entity(chassis, *record);
    default:
        return {ResultCode::unknown_operation};
    }
}

Answer last_change_time(Chassis& chassis, int32_t operation, std::span<const std::byte> /*none*/)
{
    return operation == CHM_REQ_GET ? answer_with(record_time(chassis.last_change()))
                                    : Answer{ResultCode::unknown_operation};
}

/// A value of an enumeration whose values are 1 to `last`, nothing for another number.
template <typename Enumeration>
std::optional<Enumeration> value_of(int32_t number, Enumeration last)
{
    if (number < 1 || number > static_cast<int32_t>(last)) {
        return std::nullopt;
    }
    return static_cast<Enumeration>(number);
}

/// Makes a change that the switch may refuse; the reason goes to the event history.
template <typename Change>
Answer try_change(Change change)
{
    try {
        change();
        return {};
    } catch (const Refusal& refusal) {
        record_history(std::string("change refused: ") + refusal.what());
        return {ResultCode::not_writable};
    }
}

Answer write_module(Chassis& chassis, const module_record& record)
{
    const auto status = value_of(record.admin_status, AdminStatus::standby);
    if (!status) {
        return {ResultCode::value_out_of_range};
    }
    return try_change([&] { chassis.set_admin_status(record.index, *status); });
}

Answer write_power(Chassis& chassis, const power_status_record& record)
{
    const auto status = value_of(record.admin_status, PowerAdminStatus::on_until_failure);
    if (!status) {
        return {ResultCode::value_out_of_range};
    }
    return try_change([&] { chassis.set_power_admin_status(record.index, *status); });
}

template <typename Record>
Answer write_nothing(Chassis& /*chassis*/, const Record& /*record*/)
{
    return {ResultCode::not_writable};
}

/// A table of rows that are found by the key in their record.
/// @tparam Row gives the row that an operation asks for with a key: the next one for GETNEXT
template <typename Record,
          std::optional<Record> (*Row)(const Chassis&, int32_t operation, const Record& key),
          Answer (*Write)(Chassis&, const Record&)>
Answer table(Chassis& chassis, int32_t operation, std::span<const std::byte> request)
{
    if (!is_known(operation)) {
        return {ResultCode::unknown_operation};
    }
    const auto record = record_of<Record>(request);
    if (!record) {
        return {ResultCode::request_too_short};
    }
    const auto row = Row(chassis, operation, *record);
    if (!row) {
        return {ResultCode::no_such_entry};
    }
    return operation == CHM_REQ_SET ? Write(chassis, *record) : answer_with(*row);
}

/// What an operation asks for by its index, of those that are in a table; null for none.
template <typename Thing>
const Thing* find_in(const std::map<uint32_t, Thing>& things, int32_t operation, uint32_t index,
                     auto is_in_table)
{
    auto found = things.find(index);
    if (operation == CHM_REQ_GETNEXT) {
        found = std::find_if(things.upper_bound(index), things.end(),
                             [&](const auto& entry) { return is_in_table(entry.second); });
    }
    return found == things.end() || !is_in_table(found->second) ? nullptr : &found->second;
}

/// A row of the table of all units of some types.
template <typename Record, Record (*Encode)(const Unit&), UnitType... Types>
std::optional<Record> unit_row(const Chassis& chassis, int32_t operation, const Record& key)
{
    const Unit* unit = find_in(chassis.units(), operation, key.index, [](const Unit& candidate) {
        return ((candidate.type == Types) || ...);
    });
    return unit == nullptr ? std::nullopt : std::optional(Encode(*unit));
}

Answer write_power_supply_group(Chassis& chassis, const power_supply_group_record& record)
{
    const auto mode = value_of(record.redundancy_mode, RedundancyMode::spare_half);
    if (!mode) {
        return {ResultCode::value_out_of_range};
    }
    return try_change([&] { chassis.set_redundancy_mode(*mode); });
}

/// The table of one row.
std::optional<power_supply_group_record>
power_supply_group_row(const Chassis& chassis, int32_t operation,
                       const power_supply_group_record& key)
{
    const power_supply_group_record row = encode_power_supply_group(chassis);
    const bool found =
        operation == CHM_REQ_GETNEXT ? key.index < row.index : key.index == row.index;
    return found ? std::optional(row) : std::nullopt;
}

/// A number within a range, both ends of which belong to it.
Answer scalar(int32_t operation, std::span<const std::byte> request, int32_t value, int32_t least,
              int32_t most, auto write)
{
    if (operation == CHM_REQ_GET) {
        return answer_with(value);
    }
    if (operation != CHM_REQ_SET) {
        return {ResultCode::unknown_operation};
    }
    const auto written = record_of<int32_t>(request);
    if (!written) {
        return {ResultCode::request_too_short};
    }
    if (*written < least || *written > most) {
        return {ResultCode::value_out_of_range};
    }
    write(*written);
    return {};
}

Answer max_default_in_line_power(Chassis& chassis, int32_t operation,
                                 std::span<const std::byte> request)
{
    int32_t& power = chassis.settings().max_default_in_line_power;
    return scalar(operation, request, power, 0, 12500, [&](int32_t written) { power = written; });
}

Answer enable_status_notification(Chassis& chassis, int32_t operation,
                                  std::span<const std::byte> request)
{
    bool& enabled = chassis.settings().status_notifications;
    return scalar(operation, request, truth_value(enabled), truth_value(true), truth_value(false),
                  [&](int32_t written) { enabled = written == truth_value(true); });
}

Answer write_redundancy(Chassis& chassis, const rf_status_record& record)
{
    constexpr auto last = static_cast<int32_t>(RedundancyAction::switch_over_and_restart);
    if (record.admin_action < 0 || record.admin_action > last) {
        return {ResultCode::value_out_of_range};
    }
    return try_change([&] { chassis.act(static_cast<RedundancyAction>(record.admin_action)); });
}

Answer redundancy(Chassis& chassis, int32_t operation, std::span<const std::byte> request)
{
    if (operation == CHM_REQ_GET) {
        return answer_with(encode_redundancy(chassis));
    }
    if (operation != CHM_REQ_SET) {
        return {ResultCode::unknown_operation};
    }
    const auto record = record_of<rf_status_record>(request);
    return record ? write_redundancy(chassis, *record) : Answer{ResultCode::request_too_short};
}

Answer terminal_message(Chassis& /*chassis*/, int32_t operation, std::span<const std::byte> request)
{
    if (operation == CHM_REQ_GET) {
        return answer_with(terminals().message());
    }
    if (operation != CHM_REQ_SET) {
        return {ResultCode::unknown_operation};
    }
    const auto message = record_of<ts_info>(request);
    if (!message) {
        return {ResultCode::request_too_short};
    }
    terminals().write(*message);
    return {};
}

std::optional<led_entry> led_row(const Chassis& chassis, int32_t operation, const led_entry& key)
{
    return operation == CHM_REQ_GETNEXT ? led_after(chassis, key.entity, key.led)
                                        : find_led(chassis, key.entity, key.led);
}

std::optional<ent_sensor_value_rec> sensor_row(const Chassis& chassis, int32_t operation,
                                               const ent_sensor_value_rec& key)
{
    const Entity* sensor = find_in(chassis.entities(), operation, key.entPhysicalIndex,
                                   [](const Entity& entity) { return entity.sensor.has_value(); });
    return sensor == nullptr ? std::nullopt : std::optional(encode_value(chassis, *sensor));
}

std::optional<ent_sensor_thresh_rec> threshold_row(const Chassis& chassis, int32_t operation,
                                                   const ent_sensor_thresh_rec& key)
{
    const auto has_threshold = [](const Entity& entity, uint32_t number) {
        return number >= 1 && entity.sensor && number <= entity.sensor->thresholds.size();
    };
    auto number = key.sensor_thrsh;
    const Entity* sensor = chassis.find(key.entPhysicalIndex);
    if (operation == CHM_REQ_GETNEXT) {
        ++number;
        if (sensor == nullptr || !has_threshold(*sensor, number)) {
            number = 1;
            sensor = find_in(chassis.entities(), operation, key.entPhysicalIndex,
                             [&](const Entity& entity) { return has_threshold(entity, number); });
        }
    }
    return sensor == nullptr || !has_threshold(*sensor, number)
               ? std::nullopt
               : std::optional(encode_threshold(chassis, *sensor, number));
}

Answer write_threshold(Chassis& chassis, const ent_sensor_thresh_rec& record)
{
    const auto enable = value_of(record.entSensorThresholdNotificationEnable, TruthValue::no);
    if (!enable) {
        return {ResultCode::value_out_of_range};
    }
    chassis.set_threshold_notification(record.entPhysicalIndex, record.sensor_thrsh,
                                       *enable == TruthValue::yes);
    return {};
}

struct Table {
    Opcode opcode;
    Answer (*serve)(Chassis& chassis, int32_t operation, std::span<const std::byte> request);
};

template <typename Record, Record (*Encode)(const Unit&), Answer (*Write)(Chassis&, const Record&),
          UnitType... Types>
constexpr auto units = table<Record, unit_row<Record, Encode, Types...>, Write>;

constexpr Table tables[] = {
    {Opcode::terminal_message, terminal_message},
    {Opcode::physical_entity, physical_entity},
    {Opcode::power_supply_group,
     table<power_supply_group_record, power_supply_group_row, write_power_supply_group>},
    {Opcode::fru_power_status,
     units<power_status_record, encode_power, write_power, UnitType::module, UnitType::fan_tray>},
    {Opcode::module, units<module_record, encode_module, write_module, UnitType::module>},
    {Opcode::max_default_in_line_power, max_default_in_line_power},
    {Opcode::sensor_value, table<ent_sensor_value_rec, sensor_row, write_nothing>},
    {Opcode::sensor_threshold, table<ent_sensor_thresh_rec, threshold_row, write_threshold>},
    {Opcode::last_change_time, last_change_time},
    {Opcode::enable_status_notification, enable_status_notification},
    {Opcode::redundancy, redundancy},
    {Opcode::fan_tray_status,
     units<unit_status_record, encode_status, write_nothing, UnitType::fan_tray>},
    {Opcode::power_supply_status,
     units<unit_status_record, encode_status, write_nothing, UnitType::power_supply>},
    {Opcode::led, table<led_entry, led_row, write_nothing>},
};

std::unique_ptr<Chassis> chassis_placed;

/// What the event of an occurrence carries, in wire order.
Bytes payload_of(const Chassis& chassis, const Occurrence& occurrence)
{
    const uint32_t index = occurrence.index;
    switch (occurrence.event) {
    case Event::module_status_change:
        return in_wire_order(encode_module(chassis.units().at(index)));
    case Event::power_status_change:
        return in_wire_order(encode_power(chassis.units().at(index)));
    case Event::fan_tray_status_change:
        return in_wire_order(encode_status(chassis.units().at(index)));
    case Event::power_supply_output_change:
        return in_wire_order(encode_output(chassis, chassis.units().at(index)));
    case Event::fru_inserted:
    case Event::fru_removed:
    case Event::unrecognized_fru:
        return in_wire_order(encode(chassis, chassis.entities().at(index)));
    case Event::sensor_threshold_crossed:
        return in_wire_order(encode_crossing(index, occurrence.crossing.value()));
    default:
        return {};
    }
}

} // namespace

Answer serve_request(uint32_t opcode, int32_t operation, std::span<const std::byte> request)
{
    if (chassis_placed == nullptr) {
        return {ResultCode::no_chassis};
    }
    const auto* table = std::ranges::find(tables, static_cast<Opcode>(opcode), &Table::opcode);
    if (table == std::end(tables)) {
        return {ResultCode::unknown_opcode};
    }
    const Disturbance disturbance = disturb(opcode, operation);
    if (disturbance.result) {
        return {static_cast<ResultCode>(*disturbance.result)};
    }
    Answer answer = table->serve(*chassis_placed, operation, request);
    if (!answer.block.empty()) {
        answer.block.resize(disturbance.disturbed(answer.block.size()));
    }
    return answer;
}

void place_chassis(Chassis chassis)
{
    const bool exchanged = chassis_placed != nullptr;
    chassis_placed = std::make_unique<Chassis>(std::move(chassis));
    chassis_placed->observe([](const Occurrence& occurrence) {
        post_event(occurrence.event, payload_of(*chassis_placed, occurrence));
    });
    if (exchanged) {
        chassis_placed->announce_change();
    }
}

Chassis* chassis_in_place()
{
    return chassis_placed.get();
}

} // namespace sim
