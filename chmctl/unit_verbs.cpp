// Verbs of the chassis and its units.

#include "model/led.h"
#include "model/transceiver.h"
#include "output.h"
#include "records/entity_record.h"
#include "verb.h"

#include <cstdio>
#include <map>

using nlohmann::json;

namespace {

void add_subtree(const std::multimap<uint32_t, const json*>& children, uint32_t parent,
                 size_t depth, Columns& columns)
{
    const auto [first, last] = children.equal_range(parent);
    for (auto child = first; child != last; ++child) {
        const json& entity = *child->second;
        const auto index = entity.at("index").get<uint32_t>();
        columns.add({right_aligned(index, 6), std::string(2 * depth, ' ') + text_of(entity, "name"),
                     text_of(entity, "description")});
        add_subtree(children, index, depth + 1, columns);
    }
}

void print_inventory(const json& entities)
{
    std::multimap<uint32_t, const json*> children;
    for (const json& entity : entities) {
        children.emplace(entity.at("parent").get<uint32_t>(), &entity);
    }
    Columns columns;
    add_subtree(children, 0, 0, columns);
    columns.print();
}

void print_units(const json& units)
{
    Columns columns;
    columns.add({"index", "name", "status", "admin", " watts"});
    for (const json& unit : units) {
        columns.add({right_aligned(unit.at("index").get<uint32_t>(), 5), text_of(unit, "name"),
                     status_of(unit, "status"), text_of(unit, "admin-status"),
                     right_aligned(unit.at("watts").get<uint32_t>(), 6),
                     role_of(unit).empty() ? "" : role_of(unit) + " supervisor"});
    }
    columns.print();
}

/// An entity to which a list may be restricted.
void within_option(CLI::App& command, const Arguments& arguments)
{
    add_entity(command, arguments, "ENTITY", "Only this entity and what is in it, by index or name")
        ->required(false);
}

void units_options(CLI::App& command, const Arguments& arguments)
{
    within_option(command, arguments);
    add_flag(command, arguments, "failed", "Only those that have failed");
}

void unit_options(CLI::App& command, const Arguments& arguments)
{
    add_entity(command, arguments, "UNIT",
               "The module, power supply, fan tray or fan, by its index or its name");
}

void pull_options(CLI::App& command, const Arguments& arguments)
{
    add_entity(
        command, arguments, "UNIT",
        "The unit, its slot or bay, or the port whose transceiver to pull, by index or name");
}

void insert_options(CLI::App& command, const Arguments& arguments)
{
    add_entity(command, arguments, "PLACE",
               "The empty slot, bay or port, by its index or its name");
    CLI::Option* type = add_argument<std::string>(
        command, "--type", arguments, "type",
        "Insert a new one of this [types] or [transceivers] table of the chassis file");
    type->type_name("TYPE");
    add_flag(command, arguments, "unknown", "Insert a unit that the switch does not recognize");
    command.get_option("--unknown")->excludes(type);
}

void set_options(CLI::App& command, const Arguments& arguments)
{
    add_entity(command, arguments, "ENTITY", "The entity, by its index or its name");
    std::vector<std::string_view> fields;
    for (const sim::EntityText& text : sim::entity_texts) {
        if (sim::chmctl_sets(text)) {
            fields.push_back(text.key);
        }
    }
    add_argument<std::string>(
        command, "FIELD", arguments, "field",
        "Of any entity " + sim::listed(fields) + "; of a sensor reading; of a port " +
            sim::listed(sim::keys_in(sim::quantities)) + ", of its transceiver; of a unit " +
            sim::listed(sim::keys_in(sim::led_names)) +
            "; of a power supply output; of the chassis type-code or supervisor-state")
        ->required();
    add_argument<std::string>(command, "VALUE", arguments, "value",
                              "Its new value, in the unit in which it is shown; auto ends the "
                              "override of a reading, an LED or the state; none is no light")
        ->required();
}

void print_export(const json& result)
{
    std::fputs(result.at("toml").get<std::string>().c_str(), stdout);
}

constexpr Verb unit_table[] = {
    {"inventory", "Show the entities of the chassis", "\"Slot 3\"", within_option, print_inventory},
    {"units", "Show modules, power supplies and fan trays", "--failed", units_options, print_units},
    {"pull", "Pull a unit, or the transceiver of a port", "\"Module 3\"", pull_options,
     print_nothing},
    {"insert", "Insert what was pulled, or a new unit or transceiver", "\"Slot 3\"", insert_options,
     print_nothing},
    {"fail", "Make a unit or a fan fail", "\"Fan 1/2\"", unit_options, print_nothing},
    {"repair", "Repair a unit or a fan", "\"Fan 1/2\"", unit_options, print_nothing},
    {"set", "Set a text, a reading, an LED or another field of an entity",
     "Ethernet1/1 temperature 76", set_options, print_nothing},
    {"announce-change", "Send the notification that the inventory has changed", "", no_options,
     print_nothing},
    {"export", "Print the running chassis as a chassis file", "> mine.toml", no_options,
     print_export},
};

} // namespace

const VerbGroup unit_verbs{"Chassis and units", unit_table};
