#include "interfaces/identity.h"

#include "libraries/c_boundary.h"
#include "libraries/platform_manager.h"

#include <net-snmp/agent/net-snmp-agent-includes.h>

#include <string>

namespace sim {
namespace {

/// Sets a value of the agent as a line of its configuration does, after all lines of the files.
void configure_agent(const std::string& token, const std::string& value)
{
    std::string line = token + " " + value;
    netsnmp_config(line.data());
}

/// As a person would introduce the switch; cut to what the object holds.
std::string description_of(const Chassis& chassis)
{
    const System& system = chassis.settings().system;
    const Entity& own = chassis.entities().at(chassis_index);
    if (!system.description.empty()) {
        return system.description;
    }
    const std::string derived = own.description + (own.model.empty() ? "" : ", " + own.model);
    return derived.substr(0, system_texts[0].capacity);
}

/// Sees a write before the agent carries it out, which then cannot fail any more.
int on_system_write(netsnmp_mib_handler* handler, netsnmp_handler_registration* registration,
                    netsnmp_agent_request_info* info, netsnmp_request_info* requests)
{
    const int outcome = netsnmp_call_next_handler(handler, registration, info, requests);
    Chassis* chassis = chassis_in_place();
    if (info->mode == MODE_SET_COMMIT && chassis != nullptr) {
        const auto& text = *static_cast<const SystemText*>(handler->myvoid);
        const netsnmp_variable_list& value = *requests->requestvb;
        guard([&] {
            (chassis->settings().system.*text.text)
                .assign(reinterpret_cast<const char*>(value.val.string), value.val_len);
            chassis->announce_write();
        });
    }
    return outcome;
}

} // namespace

std::vector<oid> object_identifier(const Chassis& chassis)
{
    const Entity& own = chassis.entities().at(chassis_index);
    return {1,
            3,
            6,
            1,
            4,
            1,
            ENTERPRISE_MAIN,
            12,
            3,
            1,
            static_cast<oid>(own.entity_class),
            own.vendor_type};
}

void identify(const Chassis& chassis)
{
    const System& system = chassis.settings().system;
    configure_agent("sysdescr", description_of(chassis));
    std::string name;
    for (const oid number : object_identifier(chassis)) {
        name += "." + std::to_string(number);
    }
    configure_agent("sysobjectid", name);
    configure_agent("sysservices", "2"); // of the data link layer
    // With these lines, unlike those of an administrator, the values stay writable.
    configure_agent("psyscontact", system.contact);
    configure_agent("psyslocation", system.location);
    if (!system.name.empty()) {
        configure_agent("psysname", system.name);
    }
}

void follow_system_writes()
{
    static bool follows = false;
    if (follows) {
        return; // a handler stays for as long as the agent runs
    }
    follows = true;
    for (const SystemText& text : system_texts) {
        oid name[] = {1, 3, 6, 1, 2, 1, 1, text.object, 0};
        netsnmp_subtree* found = netsnmp_subtree_find(name, std::size(name), nullptr, "");
        if (found == nullptr || found->reginfo == nullptr) {
            continue; // the agent runs without its system group
        }
        netsnmp_mib_handler* handler =
            netsnmp_create_handler("system_writes_reach_switch", on_system_write);
        handler->myvoid = const_cast<SystemText*>(&text);
        netsnmp_inject_handler(found->reginfo, handler);
    }
}

} // namespace sim
