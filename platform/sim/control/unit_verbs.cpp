// Verbs of the chassis and its units.

#include "control/verb_arguments.h"
#include "files/chassis_export.h"
#include "files/chassis_file.h"
#include "records/entity_record.h"

#include <algorithm>
#include <stdexcept>

namespace sim {
namespace {

using nlohmann::json;

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

json set(const json& arguments)
{
    const uint32_t index = named_entity(arguments);
    const auto field = argument<std::string>(arguments, "field");
    const auto value = argument<std::string>(arguments, "value");
    const auto* text = std::ranges::find(entity_texts, field, &EntityText::key);
    if (text == std::end(entity_texts) || !chmctl_sets(*text)) {
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

/// The requested state of a unit, from both of its administrative statuses.
std::string_view admin_name(const Unit& unit)
{
    const bool without_power =
        unit.admin_status != AdminStatus::off && unit.power_admin_status == PowerAdminStatus::off;
    return without_power ? "power-off" : key_of(admin_statuses, unit.admin_status);
}

json list_units(const json& /*arguments*/)
{
    const Chassis& chassis = the_chassis();
    json list = json::array();
    for (const auto& [index, unit] : chassis.units()) {
        list.push_back({{"index", index},
                        {"name", chassis.entities().at(index).name},
                        {"type", key_of(unit_types, unit.type)},
                        {"active", &unit == active_supervisor(chassis)},
                        {"admin-status", admin_name(unit)},
                        {"status", key_of(entity_statuses, unit.status)},
                        {"watts", watts_now(unit)}});
    }
    return list;
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
        chassis.insert(index, load_unit(chassis.file(), index, type));
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

json announce(const json& /*arguments*/)
{
    the_chassis().announce_change();
    return {{"last-change", time_text(the_chassis().last_change())}};
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

constexpr Verb unit_table[] = {
    {"inventory", inventory},
    {"units", list_units},
    {"set", set},
    {"announce", announce},
    {"pull", pull},
    {"insert", insert},
    {"fail", fail},
    {"repair", repair},
    {"output", output},
    {"plug-unknown", plug_unknown},
    {"chassis-type", chassis_type},
    {"export", export_file},
};

} // namespace

const std::span<const Verb> unit_verbs(unit_table);

} // namespace sim
