#include "platform_manager.h"

#include "c_boundary.h"
#include "entity_record.h"
#include "event_log.h"
#include "event_queue.h"
#include "led.h"
#include "record_fields.h"
#include "result_code.h"
#include "sensor_record.h"
#include "terminals.h"
#include "unit_record.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>

namespace sim {
namespace {

using Bytes = std::vector<std::byte>;

struct Answer {
    ResultCode result = ResultCode::ok;
    Bytes block = {};
};

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
        return read_entity(chassis, chassis.next_after(record->entPhysicalIndex));
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

Answer write_nothing(Chassis& /*chassis*/, const unit_status_record& /*record*/)
{
    return {ResultCode::not_writable};
}

/// The table of all units of some types.
template <typename Record, Record (*Encode)(const Unit&), Answer (*Write)(Chassis&, const Record&),
          UnitType... Types>
Answer units(Chassis& chassis, int32_t operation, std::span<const std::byte> request)
{
    if (!is_known(operation)) {
        return {ResultCode::unknown_operation};
    }
    const auto record = record_of<Record>(request);
    if (!record) {
        return {ResultCode::request_too_short};
    }
    const auto in_table = [](const auto& entry) { return ((entry.second.type == Types) || ...); };
    const auto& all = chassis.units();
    auto row = all.find(record->index);
    if (operation == CHM_REQ_GETNEXT) {
        row = std::find_if(all.upper_bound(record->index), all.end(), in_table);
    }
    if (row == all.end() || !in_table(*row)) {
        return {ResultCode::no_such_entry};
    }
    return operation == CHM_REQ_SET ? Write(chassis, *record) : answer_with(Encode(row->second));
}

Answer write_power_supply_group(Chassis& chassis, const power_supply_group_record& record)
{
    const auto mode = value_of(record.redundancy_mode, RedundancyMode::spare_half);
    if (!mode) {
        return {ResultCode::value_out_of_range};
    }
    return try_change([&] { chassis.set_redundancy_mode(*mode); });
}

/// A table of one row.
Answer power_supply_group(Chassis& chassis, int32_t operation, std::span<const std::byte> request)
{
    if (!is_known(operation)) {
        return {ResultCode::unknown_operation};
    }
    const auto record = record_of<power_supply_group_record>(request);
    if (!record) {
        return {ResultCode::request_too_short};
    }
    const power_supply_group_record row = encode_power_supply_group(chassis);
    if (operation == CHM_REQ_GETNEXT ? record->index >= row.index : record->index != row.index) {
        return {ResultCode::no_such_entry};
    }
    return operation == CHM_REQ_SET ? write_power_supply_group(chassis, *record) : answer_with(row);
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
    constexpr int32_t yes = 1;
    constexpr int32_t no = 2;
    bool& enabled = chassis.settings().status_notifications;
    return scalar(operation, request, enabled ? yes : no, yes, no,
                  [&](int32_t written) { enabled = written == yes; });
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

Answer led(Chassis& chassis, int32_t operation, std::span<const std::byte> request)
{
    if (operation != CHM_REQ_GET && operation != CHM_REQ_GETNEXT) {
        return {ResultCode::unknown_operation};
    }
    const auto key = record_of<led_entry>(request);
    if (!key) {
        return {ResultCode::request_too_short};
    }
    const auto found = operation == CHM_REQ_GET ? find_led(chassis, key->entity, key->led)
                                                : led_after(chassis, key->entity, key->led);
    return found ? answer_with(*found) : Answer{ResultCode::no_such_entry};
}

struct Table {
    Opcode opcode;
    Answer (*serve)(Chassis& chassis, int32_t operation, std::span<const std::byte> request);
};

constexpr Table tables[] = {
    {Opcode::terminal_message, terminal_message},
    {Opcode::physical_entity, physical_entity},
    {Opcode::power_supply_group, power_supply_group},
    {Opcode::fru_power_status,
     units<power_status_record, encode_power, write_power, UnitType::module, UnitType::fan_tray>},
    {Opcode::module, units<module_record, encode_module, write_module, UnitType::module>},
    {Opcode::max_default_in_line_power, max_default_in_line_power},
    {Opcode::last_change_time, last_change_time},
    {Opcode::enable_status_notification, enable_status_notification},
    {Opcode::redundancy, redundancy},
    {Opcode::fan_tray_status,
     units<unit_status_record, encode_status, write_nothing, UnitType::fan_tray>},
    {Opcode::power_supply_status,
     units<unit_status_record, encode_status, write_nothing, UnitType::power_supply>},
    {Opcode::led, led},
};

std::unique_ptr<Chassis> chassis_placed;

Answer serve(uint32_t opcode, int32_t operation, std::span<const std::byte> request)
{
    if (chassis_placed == nullptr) {
        return {ResultCode::no_chassis};
    }
    const auto* table = std::ranges::find(tables, static_cast<Opcode>(opcode), &Table::opcode);
    if (table == std::end(tables)) {
        return {ResultCode::unknown_opcode};
    }
    return table->serve(*chassis_placed, operation, request);
}

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

/// The copy of a block that its receiver frees.
void* copy_for_caller(const Bytes& block)
{
    void* copy = std::malloc(block.size());
    if (copy == nullptr) {
        throw std::bad_alloc();
    }
    return std::memcpy(copy, block.data(), block.size());
}

} // namespace

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

int32_t cmi_req_resp(uint32_t opcode, int32_t operation, void* request, void** response,
                     uint32_t* length, const char* /*user*/, uint32_t /*session*/,
                     uint32_t /*route*/, uint32_t /*queue*/, uint32_t /*req_class*/)
{
    const size_t size = request == nullptr ? 0 : *length;
    *length = 0;
    return sim::guard(static_cast<int32_t>(sim::ResultCode::internal_error), [&] {
        const sim::Answer answer =
            sim::serve(opcode, operation, {static_cast<const std::byte*>(request), size});
        if (response != nullptr && !answer.block.empty()) {
            *response = sim::copy_for_caller(answer.block);
            *length = static_cast<uint32_t>(answer.block.size());
        }
        return static_cast<int32_t>(answer.result);
    });
}
