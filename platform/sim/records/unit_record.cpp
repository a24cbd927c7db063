#include "records/unit_record.h"

#include "records/record_fields.h"

namespace sim {
namespace {

std::string_view module_state(const Unit& unit)
{
    switch (unit.status) {
    case EntityStatus::failed:
        return "failed";
    case EntityStatus::starting:
        return "starting";
    case EntityStatus::ok:
        return unit.admin_status == AdminStatus::standby ? "standby" : "in service";
    default:
        return unit.admin_status == AdminStatus::off ? "switched off by the administrator"
                                                     : "without power";
    }
}

} // namespace

module_record encode_module(const Unit& unit)
{
    module_record record{};
    record.index = unit.index;
    record.admin_status = static_cast<int32_t>(unit.admin_status);
    record.oper_status = static_cast<int32_t>(unit.status);
    record.column_3 = static_cast<int32_t>(unit.starts);
    record.status_changed = record_time(unit.status_changed);
    record.column_5 = record_time(unit.went_into_service);
    put_text(record.text, module_state(unit));
    record.module_type = static_cast<uint8_t>(unit.role);
    record.module_number = unit.number;
    record.column_8 = watts_now(unit);
    return record;
}

power_status_record encode_power(const Unit& unit)
{
    return {.index = unit.index,
            .admin_status = static_cast<int32_t>(unit.power_admin_status),
            .oper_status = static_cast<int32_t>(power_status(unit)),
            .column_3 = static_cast<int32_t>(watts_now(unit))};
}

unit_status_record encode_status(const Unit& unit)
{
    return {.index = unit.index, .status = static_cast<int32_t>(unit.status)};
}

power_supply_output_record encode_output(const Chassis& chassis, const Unit& unit)
{
    const Entity& entity = chassis.entities().at(unit.index);
    power_supply_output_record record{};
    record.index = unit.index;
    put_text(record.name, entity.name);
    put_text(record.model_name, entity.model);
    record.output = static_cast<int32_t>(watts_now(unit));
    return record;
}

power_supply_group_record encode_power_supply_group(const Chassis& chassis)
{
    const auto supplies = std::ranges::count_if(chassis.units(), [](const auto& entry) {
        return entry.second.type == UnitType::power_supply;
    });
    const auto bays = std::ranges::count_if(chassis.places(), [](const auto& entry) {
        return entry.second.type == UnitType::power_supply;
    });
    const uint32_t watts = available_watts(chassis, RedundancyMode::none);

    power_supply_group_record record{};
    record.index = 1;
    record.redundancy_mode = static_cast<int32_t>(chassis.redundancy_mode());
    put_text(record.text, std::to_string(supplies) + " power supplies of " + std::to_string(bays) +
                              " bays, " + std::to_string(watts) + " W");
    record.column_3 = static_cast<int32_t>(available_watts(chassis, chassis.redundancy_mode()));
    record.column_4 = static_cast<int32_t>(drawn_watts(chassis));
    return record;
}

rf_status_record encode_redundancy(const Chassis& chassis)
{
    const auto slot = [](const Unit* unit) {
        return unit == nullptr ? 0 : static_cast<int32_t>(unit->number);
    };
    const auto status = [](const Unit* unit) {
        return static_cast<int32_t>(unit == nullptr ? EntityStatus::unknown : unit->status);
    };
    const Redundancy& redundancy = chassis.redundancy();
    const Unit* active = active_supervisor(chassis);
    const Unit* standby = standby_supervisor(chassis);
    return {.status_6 = supervisor_state(chassis),
            .status_1 = slot(active),
            .status_3 = slot(standby),
            .status_2 = status(active),
            .status_4 = status(standby),
            .admin_action = static_cast<int32_t>(redundancy.last_action),
            .status_7 = static_cast<int32_t>(redundancy.switchovers),
            .reason_code = redundancy.last_reason};
}

} // namespace sim
