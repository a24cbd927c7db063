#include "libraries/c_boundary.h"
#include "libraries/event_log.h"
#include "libraries/heartbeat.h"
#include "libraries/notification_sender.h"
#include "libraries/request_user.h"
#include "wire/records.h"

#include <net-snmp/agent/net-snmp-agent-includes.h>

#include <cstring>
#include <string>
#include <utility>

const char* get_snmp_username(void* /*null*/)
{
    const auto& user = sim::request_user();
    return user ? user->c_str() : nullptr;
}

uint32_t get_snmp_sessionid(void* /*null*/)
{
    return sim::request_session();
}

uint32_t get_snmp_user_uptime()
{
    return static_cast<uint32_t>(netsnmp_get_agent_uptime());
}

void log_snmp_error(const void* record)
{
    snmp_error_record error;
    std::memcpy(&error, record, sizeof error);
    sim::guard([&] {
        sim::record_history("write failed with result " + std::to_string(error.code) + ": " +
                            std::string(error.text, strnlen(error.text, sizeof error.text)));
    });
}

netsnmp_variable_list* build_varbind(netsnmp_variable_list* prev, const void* value, u_char type,
                                     size_t value_length, const oid* name, size_t name_length)
{
    netsnmp_variable_list* binding = nullptr;
    snmp_varlist_add_variable(&binding, name, name_length, type, value, value_length);
    if (binding != nullptr && prev != nullptr) {
        binding->next_variable = prev->next_variable;
        prev->next_variable = binding;
    }
    return binding;
}

void send_connUnitStatusChange_notif(int32_t status)
{
    static const oid name[] = {1, 3, 6, 1, 4, 1, ENTERPRISE_ALT, 9, 116, 0, 1};
    static const oid unit_status[] = {1, 3, 6, 1, 4, 1, ENTERPRISE_ALT, 9, 116, 1, 1, 0};
    sim::guard([&] {
        sim::Bindings bindings(build_varbind(nullptr, &status, ASN_INTEGER, sizeof status,
                                             unit_status, std::size(unit_status)),
                               snmp_free_varbind);
        sim::send_notification(name, std::size(name), std::move(bindings));
    });
}

void snmp_heartbeat_send()
{
    sim::guard([] { sim::beat(); });
}
