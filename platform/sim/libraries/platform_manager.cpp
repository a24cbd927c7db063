#include "libraries/platform_manager.h"

#include "libraries/disturbance.h"
#include "libraries/event_log.h"
#include "libraries/event_queue.h"
#include "libraries/result_code.h"
#include "model/led.h"
#include "model/ports.h"
#include "model/terminals.h"
#include "records/entity_record.h"
#include "records/record_fields.h"
#include "records/sensor_record.h"
#include "records/unit_record.h"
#include "wire/physical_index.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <optional>

namespace sim {
namespace {

/// A record as the answer to a request, made in place.
/// @param fill fills the cleared record
template <typename Record>
Answer answer_with(auto fill, ResultCode result = ResultCode::ok)
{
    Answer answer{result, decltype(Answer::block)(std::calloc(1, sizeof(Record))), sizeof(Record)};
    if (!answer.block) {
        throw std::bad_alloc();
    }
    fill(*static_cast<Record*>(answer.block.get()));
    return answer;
}

/// The record that a request carries, null when the request is too short for it.
template <typename Record>
const Record* record_of(std::span<const std::byte> request)
{
    return request.size() < sizeof(Record) ? nullptr
                                           : reinterpret_cast<const Record*>(request.data());
}

bool is_known(int32_t operation)
{
    return operation >= CHM_REQ_GET && operation <= CHM_REQ_SET;
}

/// The row of a table that an operation requests by its index; null for none.
template <typename Thing>
const Thing* find_in(const std::map<uint32_t, Thing>& things, int32_t operation, uint32_t index,
                     auto is_in_table)
{
    const auto in_table = [&](const auto& entry) { return is_in_table(entry.second); };
    if (operation == CHM_REQ_GETNEXT) {
        const auto next = std::find_if(things.upper_bound(index), things.end(), in_table);
        return next == things.end() ? nullptr : &next->second;
    }
    const auto found = things.find(index);
    return found == things.end() || !in_table(*found) ? nullptr : &found->second;
}

Answer read_entity(const Chassis& chassis, const Entity* entity)
{
    if (entity == nullptr) {
        return {ResultCode::no_such_entry};
    }
    return answer_with<ent_phys_entry>([&](ent_phys_entry& row) { encode(chassis, *entity, row); });
}

/// The rows of the transceivers' sensors are not the platform's, but lie between its own: a walk
/// that reaches their start is directed there by a failure whose block has that index.
Answer next_entity(const Chassis& chassis, uint32_t index)
{
    const Entity* next =
        find_in(chassis.entities(), CHM_REQ_GETNEXT, index, [](const Entity&) { return true; });
    const bool passes_start = index < ENTITY_PORT_SFP_SENSOR_START &&
                              (next == nullptr || next->index > ENTITY_PORT_SFP_SENSOR_START);
    if (passes_start && next_port_with_diagnostics(chassis, 0) != nullptr) {
        return answer_with<ent_phys_entry>(
            [](ent_phys_entry& row) { row.entPhysicalIndex = ENTITY_PORT_SFP_SENSOR_START; },
            ResultCode::no_such_entry);
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

Answer serve_physical_table(Chassis& chassis, int32_t operation, std::span<const std::byte> request)
{
    const auto* record = record_of<ent_phys_entry>(request);
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
/// @tparam row gives the row that an operation asks for with a key: the next one for GETNEXT
template <const auto& table,
          std::optional<RecordOf<table>> (*row)(const Chassis&, int32_t operation,
                                                const RecordOf<table>& key),
          Answer (*write)(Chassis&, const RecordOf<table>&)>
Answer serve_table(Chassis& chassis, int32_t operation, std::span<const std::byte> request)
{
    if (!is_known(operation)) {
        return {ResultCode::unknown_operation};
    }
    const auto* record = record_of<RecordOf<table>>(request);
    if (!record) {
        return {ResultCode::request_too_short};
    }
    const auto found = row(chassis, operation, *record);
    if (!found) {
        return {ResultCode::no_such_entry};
    }
    return operation == CHM_REQ_SET
               ? write(chassis, *record)
               : answer_with<RecordOf<table>>([&](RecordOf<table>& answer) { answer = *found; });
}

/// A record without an index: a scalar, or a status.
/// @tparam write null for a read-only one
template <const auto& scalar, RecordOf<scalar> (*read)(const Chassis&),
          Answer (*write)(Chassis&, const RecordOf<scalar>&) = nullptr>
Answer serve_scalar(Chassis& chassis, int32_t operation, std::span<const std::byte> request)
{
    if (operation == CHM_REQ_GET) {
        return answer_with<RecordOf<scalar>>(
            [&](RecordOf<scalar>& answer) { answer = read(chassis); });
    }
    if (operation != CHM_REQ_SET || write == nullptr) {
        return {ResultCode::unknown_operation};
    }
    const auto* record = record_of<RecordOf<scalar>>(request);
    return record ? write(chassis, *record) : Answer{ResultCode::request_too_short};
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

platform_time read_last_change(const Chassis& chassis)
{
    return record_time(chassis.last_change());
}

be_int32 read_in_line_power(const Chassis& chassis)
{
    return chassis.settings().max_default_in_line_power;
}

Answer write_in_line_power(Chassis& chassis, const be_int32& written)
{
    if (written < 0 || written > max_in_line_power) {
        return {ResultCode::value_out_of_range};
    }
    chassis.settings().max_default_in_line_power = written;
    return {};
}

be_int32 read_status_notification(const Chassis& chassis)
{
    return truth_value(chassis.settings().status_notifications);
}

Answer write_status_notification(Chassis& chassis, const be_int32& written)
{
    const auto enable = value_of(written, TruthValue::no);
    if (!enable) {
        return {ResultCode::value_out_of_range};
    }
    chassis.settings().status_notifications = *enable == TruthValue::yes;
    return {};
}

Answer write_redundancy(Chassis& chassis, const rf_status_record& record)
{
    constexpr auto last = static_cast<int32_t>(RedundancyAction::switch_over_and_restart);
    if (record.admin_action < 0 || record.admin_action > last) {
        return {ResultCode::value_out_of_range};
    }
    return try_change([&] { chassis.act(static_cast<RedundancyAction>(record.admin_action)); });
}

ts_info read_message(const Chassis& /*chassis*/)
{
    return terminals().message();
}

Answer write_message(Chassis& /*chassis*/, const ts_info& message)
{
    terminals().write(message);
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
    uint32_t number = key.sensor_thrsh;
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

struct Served {
    uint32_t opcode;
    Answer (*serve)(Chassis& chassis, int32_t operation, std::span<const std::byte> request);
};

/// A table of all units of some types.
template <const auto& table, RecordOf<table> (*encode)(const Unit&),
          Answer (*write)(Chassis&, const RecordOf<table>&), UnitType... types>
constexpr Served units = {table,
                          serve_table<table, unit_row<RecordOf<table>, encode, types...>, write>};

constexpr Served all_served[] = {
    {terminal_message, serve_scalar<terminal_message, read_message, write_message>},
    {physical_table, serve_physical_table},
    {power_supply_group_table,
     serve_table<power_supply_group_table, power_supply_group_row, write_power_supply_group>},
    units<power_status_table, encode_power, write_power, UnitType::module, UnitType::fan_tray>,
    units<module_table, encode_module, write_module, UnitType::module>,
    {max_default_in_line_power,
     serve_scalar<max_default_in_line_power, read_in_line_power, write_in_line_power>},
    {sensor_value_table, serve_table<sensor_value_table, sensor_row, write_nothing>},
    {sensor_threshold_table, serve_table<sensor_threshold_table, threshold_row, write_threshold>},
    {last_change_time, serve_scalar<last_change_time, read_last_change>},
    {enable_status_notification,
     serve_scalar<enable_status_notification, read_status_notification, write_status_notification>},
    {redundancy_status, serve_scalar<redundancy_status, encode_redundancy, write_redundancy>},
    units<fan_tray_table, encode_status, write_nothing, UnitType::fan_tray>,
    units<power_supply_table, encode_status, write_nothing, UnitType::power_supply>,
    {led_table, serve_table<led_table, led_row, write_nothing>},
};

std::unique_ptr<Chassis> chassis_placed;

/// Cuts a block, or pads it with zeros. One without bytes is none.
void resize(Answer& answer, size_t size)
{
    void* block = size == 0 ? nullptr : std::calloc(1, size);
    if (block != nullptr) {
        std::memcpy(block, answer.block.get(), std::min(size, answer.size));
    } else if (size != 0) {
        throw std::bad_alloc();
    }
    answer.block.reset(block);
    answer.size = size;
}

/// Posts the event of an occurrence with the record that it carries.
void post(const Chassis& chassis, const Occurrence& occurrence)
{
    const uint32_t index = occurrence.index;
    const auto unit = [&]() -> const Unit& { return chassis.units().at(index); };
    const auto entity = [&] {
        ent_phys_entry row{};
        encode(chassis, chassis.entities().at(index), row);
        return row;
    };
    switch (occurrence.event) {
    case module_status_change:
        return post_event(module_status_change, encode_module(unit()));
    case power_status_change:
        return post_event(power_status_change, encode_power(unit()));
    case fan_tray_status_change:
        return post_event(fan_tray_status_change, encode_status(unit()));
    case power_supply_output_change:
        return post_event(power_supply_output_change, encode_output(chassis, unit()));
    case fru_inserted:
        return post_event(fru_inserted, entity());
    case fru_removed:
        return post_event(fru_removed, entity());
    case unrecognized_fru:
        return post_event(unrecognized_fru, entity());
    case sensor_threshold_crossed:
        return post_event(sensor_threshold_crossed,
                          encode_crossing(index, occurrence.crossing.value()));
    default:
        post_event(occurrence.event);
    }
}

} // namespace

Answer serve_request(uint32_t opcode, int32_t operation, std::span<const std::byte> request)
{
    if (chassis_placed == nullptr) {
        return {ResultCode::no_chassis};
    }
    const auto* served = std::ranges::find(all_served, opcode, &Served::opcode);
    if (served == std::end(all_served)) {
        return {ResultCode::unknown_opcode};
    }
    const Disturbance disturbance = disturb(opcode, operation);
    if (disturbance.result) {
        return {static_cast<ResultCode>(*disturbance.result)};
    }
    Answer answer = served->serve(*chassis_placed, operation, request);
    if (operation == CHM_REQ_SET && answer.result == ResultCode::ok) {
        chassis_placed->announce_write();
    }
    if (answer.block && disturbance.more_bytes != 0) {
        resize(answer, disturbance.disturbed(answer.size));
    }
    return answer;
}

void place_chassis(Chassis chassis)
{
    const bool exchanged = chassis_placed != nullptr;
    chassis_placed = std::make_unique<Chassis>(std::move(chassis));
    chassis_placed->observe(
        [](const Occurrence& occurrence) { post(*chassis_placed, occurrence); });
    if (exchanged) {
        chassis_placed->announce_change();
    }
}

Chassis* chassis_in_place()
{
    return chassis_placed.get();
}

} // namespace sim
