// Interfaces and their load.

#include "control/verb_arguments.h"
#include "model/ports.h"

namespace sim {
namespace {

using nlohmann::json;

json direction(const Load& load, const Counters& counters)
{
    json shown = {{"octets", counters.octets},
                  {"packets", counters.packets},
                  {"errors", counters.errors},
                  {"discards", counters.discards}};
    for (const LoadRate& rate : load_rates) {
        shown[std::string(rate.key)] = load.*rate.value;
    }
    return shown;
}

json interface_of(const Chassis& chassis, const Entity& port)
{
    const Interface& interface = port.port.value().interface;
    const InterfaceSettings& settings = interface.settings;
    return {{"if-index", port.port->if_index},
            {"name", port.name},
            {"alias", settings.alias},
            {"status", key_of(link_statuses, interface.status)},
            {"admin-status", key_of(link_admins, settings.admin)},
            {"notifications", settings.notifies},
            {"speed", speed_of(*port.port)},
            {"in", direction(settings.in, interface.in.at(chassis.now(), settings.in))},
            {"out", direction(settings.out, interface.out.at(chassis.now(), settings.out))}};
}

json interfaces(const json& /*arguments*/)
{
    const Chassis& chassis = the_chassis();
    json list = {interface_of(chassis, chassis.management())};
    for (const auto& [index, entity] : chassis.entities()) {
        if (entity.port) {
            list.push_back(interface_of(chassis, entity));
        }
    }
    return list;
}

/// The interface that a request names as the port; the management port is no entity.
const Entity& named_interface(const json& arguments)
{
    const Entity& management = the_chassis().management();
    if (arguments.value("entity", json()) == management.name) {
        return management;
    }
    const Entity& entity = the_chassis().entities().at(named_entity(arguments));
    if (!entity.port) {
        throw Refusal(entity.name + " is no port");
    }
    return entity;
}

void set_load(Load& load, const json& arguments, const char* direction)
{
    if (arguments.contains(direction)) {
        load.bits_per_second = argument<double>(arguments, direction);
    }
    for (const LoadRate& rate : load_rates) {
        const std::string key(rate.key);
        if (arguments.contains(key)) {
            load.*rate.value = argument<double>(arguments, key.c_str());
        }
        if (!(load.*rate.value >= rate.least && load.*rate.value <= rate.most)) {
            throw Refusal("'" + key + "' is not within " + json(rate.least).dump() + " to " +
                          json(rate.most).dump());
        }
    }
}

json load(const json& arguments)
{
    const Entity& port = named_interface(arguments);
    InterfaceSettings settings = port.port->interface.settings;
    set_load(settings.in, arguments, "in");
    set_load(settings.out, arguments, "out");
    the_chassis().configure_interface(port.port->if_index, settings);
    return {{"if-index", port.port->if_index}};
}

std::vector<std::string> interfaces_to_load(const json& arguments, std::string_view argument)
{
    std::vector<std::string> names;
    for (const json& one : argument == "entity" ? interfaces(arguments) : json::array()) {
        names.push_back(one.at("name"));
    }
    return names;
}

constexpr Verb interface_table[] = {{"interfaces", interfaces}, {"load", load, interfaces_to_load}};

} // namespace

const std::span<const Verb> interface_verbs(interface_table);

} // namespace sim
