// Verbs of the chassis and its units.

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
                     unit.at("active").get<bool>() ? "active supervisor" : ""});
    }
    columns.print();
}

void set_options(CLI::App& command, const Arguments& arguments)
{
    add_entity(command, arguments, "ENTITY", "The entity, by its index or its name");
    std::vector<std::string> fields;
    for (const sim::EntityText& text : sim::entity_texts) {
        if (sim::chmctl_sets(text)) {
            fields.emplace_back(text.key);
        }
    }
    add_argument<std::string>(command, "FIELD", arguments, "field", listed(fields))->required();
    add_argument<std::string>(command, "VALUE", arguments, "value", "Its new value")->required();
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
        "The module, power supply, fan tray or unknown unit, or its slot or bay, by index or "
        "name");
}

void place_options(CLI::App& command, const Arguments& arguments)
{
    add_entity(command, arguments, "PLACE", "The empty slot or bay, by its index or its name");
}

void insert_options(CLI::App& command, const Arguments& arguments)
{
    place_options(command, arguments);
    add_argument<std::string>(command, "--type", arguments, "type",
                              "Insert a new unit of this [types] table of the chassis file")
        ->type_name("TYPE");
}

void output_options(CLI::App& command, const Arguments& arguments)
{
    add_entity(command, arguments, "POWER-SUPPLY", "The power supply, by its index or its name");
    add_argument<uint32_t>(command, "WATTS", arguments, "watts", "The new output")->required();
}

void chassis_type_options(CLI::App& command, const Arguments& arguments)
{
    add_argument<uint32_t>(command, "CODE", arguments, "code",
                           "The type code in the platform database")
        ->required();
}

void print_export(const json& result)
{
    std::fputs(result.at("toml").get<std::string>().c_str(), stdout);
}

constexpr Verb unit_table[] = {
    {"inventory", "Show the entities of the chassis", "", no_options, print_inventory},
    {"units", "Show modules, power supplies and fan trays", "", no_options, print_units},
    {"set", "Change a text of an entity", R"("Slot 3" alias "row 4")", set_options, print_nothing},
    {"announce", "Announce a change of the inventory", "", no_options, print_nothing},
    {"pull", "Pull a unit out of its slot or bay", "\"Module 3\"", pull_options, print_nothing},
    {"insert", "Insert the pulled unit or a new one", "\"Slot 3\"", insert_options, print_nothing},
    {"fail", "Make a unit or a fan fail", "\"Fan 1/2\"", unit_options, print_nothing},
    {"repair", "Repair a unit or a fan", "\"Fan 1/2\"", unit_options, print_nothing},
    {"output", "Change the output of a power supply", "\"Power supply 1\" 1200", output_options,
     print_nothing},
    {"plug-unknown", "Plug in a unit that the switch does not recognize", "\"Slot 3\"",
     place_options, print_nothing},
    {"chassis-type", "Set the type code of the chassis", "10", chassis_type_options, print_nothing},
    {"export", "Print the running chassis as a chassis file", "> mine.toml", no_options,
     print_export},
};

} // namespace

const VerbGroup unit_verbs{"Chassis and units", unit_table};
