// Verbs of the chassis and its units.

#include "control/verb_arguments.h"
#include "files/chassis_export.h"
#include "files/chassis_file.h"
#include "records/entity_record.h"

#include <optional>
#include <string>

namespace sim {
namespace {

using nlohmann::json;

json inventory(const json& arguments)
{
    const Chassis& chassis = the_chassis();
    const Filter filter(arguments);
    json list = json::array();
    for (const auto& [index, entity] : chassis.entities()) {
        if (!filter.admits(chassis, index)) {
            continue;
        }
        json& item = list.emplace_back(json{{"index", index},
                                            {"parent", entity.contained_in},
                                            {"class", key_of(entity_classes, entity.entity_class)},
                                            {"position", entity.position},
                                            {"replaceable", entity.replaceable}});
        for (const EntityText& text : entity_texts) {
            item[std::string(text.key)] = entity.*text.text;
        }
    }
    return list;
}

/// The requested state of a unit, from both of its administrative statuses.
std::string_view admin_name(const Unit& unit)
{
    const bool without_power =
        unit.admin_status != AdminStatus::off && unit.power_admin_status == PowerAdminStatus::off;
    return without_power ? "power-off" : key_of(admin_statuses, unit.admin_status);
}

json list_units(const json& arguments)
{
    const Chassis& chassis = the_chassis();
    const Filter filter(arguments);
    json list = json::array();
    for (const auto& [index, unit] : chassis.units()) {
        if (!filter.admits(chassis, index) ||
            !filter.admits_status(key_of(entity_statuses, unit.status))) {
            continue;
        }
        list.push_back({{"index", index},
                        {"name", chassis.entities().at(index).name},
                        {"type", key_of(unit_types, unit.type)},
                        {"active", &unit == active_supervisor(chassis)},
                        {"standby", &unit == standby_supervisor(chassis)},
                        {"admin-status", admin_name(unit)},
                        {"status", key_of(entity_statuses, unit.status)},
                        {"watts", watts_now(unit)}});
    }
    return list;
}

json pull(const json& arguments)
{
    return change_entity(arguments, [](Chassis& chassis, uint32_t index) {
        if (chassis.entities().at(index).port) {
            chassis.unplug(index);
        } else {
            chassis.pull(index);
        }
    });
}

json insert(const json& arguments)
{
    const auto type = arguments.contains("type")
                          ? std::optional(argument<std::string>(arguments, "type"))
                          : std::nullopt;
    return change_entity(arguments, [&](Chassis& chassis, uint32_t index) {
        const Entity& entity = chassis.entities().at(index);
        if (is_flagged(arguments, "unknown")) {
            chassis.plug_unknown(index);
        } else if (entity.port) {
            chassis.plug(index, type ? std::optional(load_transceiver(chassis, entity, *type))
                                     : std::nullopt);
        } else {
            chassis.insert(index,
                           type ? std::optional(load_unit(chassis, index, *type)) : std::nullopt);
        }
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

json announce_change(const json& /*arguments*/)
{
    the_chassis().announce_change();
    return {{"last-change", time_text(the_chassis().last_change())}};
}

json export_file(const json& /*arguments*/)
{
    return {{"toml", export_chassis(the_chassis())}};
}

using Names = std::vector<std::string>;

Names units_to_pull(const json& /*arguments*/, std::string_view /*argument*/)
{
    const Chassis& chassis = the_chassis();
    return names_of_entities([&](const Entity& entity) {
        const Unit* unit = chassis.find_unit(entity.index);
        const bool in_place = entity.replaceable && chassis.places().contains(entity.contained_in);
        const bool active = unit != nullptr && unit == active_supervisor(chassis);
        return entity.port ? entity.port->transceiver.has_value() : in_place && !active;
    });
}

Names choices_to_insert(const json& arguments, std::string_view argument)
{
    const Chassis& chassis = the_chassis();
    if (argument == "type") {
        return fitting_types(chassis, chassis.entities().at(named_entity(arguments)));
    }
    return names_of_entities([&](const Entity& entity) {
        const auto place = chassis.places().find(entity.index);
        return entity.port ? entity.port->has_cage && !entity.port->transceiver
                           : place != chassis.places().end() &&
                                 chassis.find(place->second.unit_index) == nullptr;
    });
}

Names units_to_fail(const json& /*arguments*/, std::string_view /*argument*/)
{
    return names_of_entities([](const Entity& entity) {
        return !entity.failed && (entity.entity_class == EntityClass::fan ||
                                  the_chassis().find_unit(entity.index) != nullptr);
    });
}

/// A fan tray has failed with its fans, and is repaired with them.
Names units_to_repair(const json& /*arguments*/, std::string_view /*argument*/)
{
    return names_of_entities([](const Entity& entity) {
        return entity.failed || (the_chassis().find_unit(entity.index) != nullptr &&
                                 the_chassis().status(entity) == EntityStatus::failed);
    });
}

constexpr Verb unit_table[] = {
    {"inventory", inventory, entities_of_list}, {"units", list_units, entities_of_list},
    {"announce-change", announce_change},       {"pull", pull, units_to_pull},
    {"insert", insert, choices_to_insert},      {"fail", fail, units_to_fail},
    {"repair", repair, units_to_repair},        {"export", export_file},
};

} // namespace

const std::span<const Verb> unit_verbs(unit_table);

} // namespace sim
