#include "libraries/c_boundary.h"
#include "libraries/event_log.h"
#include "libraries/notification_log.h"
#include "libraries/notification_sender.h"
#include "libraries/request_user.h"
#include "records.h"

#include <net-snmp/agent/net-snmp-agent-includes.h>

#include <net-snmp/agent/agent_callbacks.h>

#include <cstring>
#include <optional>
#include <span>
#include <string>
#include <utility>

namespace sim {
namespace {

std::optional<std::string> user; ///< of the request being served
uint32_t session = 0;
uint32_t requests = 0;

std::string user_of(const netsnmp_pdu& pdu)
{
    if (pdu.version == SNMP_VERSION_3) {
        return {pdu.securityName, pdu.securityNameLen};
    }
    return {reinterpret_cast<const char*>(pdu.community), pdu.community_len};
}

std::string text_of(std::span<const oid> name)
{
    std::string text;
    for (const oid number : name) {
        text += (text.empty() ? "" : ".") + std::to_string(number);
    }
    return text;
}

/// The agent checks the access of each request before any handler sees it; this looks on.
int on_access_check(int /*major*/, int /*minor*/, void* arguments, void* /*unused*/)
{
    const auto* parameters = static_cast<const view_parameters*>(arguments);
    guard([&] {
        leave_request();
        user = user_of(*parameters->pdu);
        session = ++requests == 0 ? ++requests : requests;
    });
    return SNMPERR_SUCCESS;
}

} // namespace

void start_tracking_requests()
{
    snmp_register_callback(SNMP_CALLBACK_APPLICATION, SNMPD_CALLBACK_ACM_CHECK_INITIAL,
                           on_access_check, nullptr);
}

void stop_tracking_requests()
{
    leave_request();
    snmp_unregister_callback(SNMP_CALLBACK_APPLICATION, SNMPD_CALLBACK_ACM_CHECK_INITIAL,
                             on_access_check, nullptr, 0);
}

void leave_request()
{
    user.reset();
    session = 0;
}

void send_notification(const oid* name, size_t length, Bindings bindings)
{
    static const oid snmp_trap_oid[] = {1, 3, 6, 1, 6, 3, 1, 1, 4, 1, 0};
    netsnmp_variable_list* first = build_varbind(nullptr, name, ASN_OBJECT_ID, length * sizeof(oid),
                                                 snmp_trap_oid, std::size(snmp_trap_oid));
    if (first == nullptr) {
        throw std::bad_alloc();
    }
    const netsnmp_variable_list* about = bindings.get();
    while (about != nullptr && about->next_variable != nullptr) {
        about = about->next_variable;
    }
    log_notification(text_of({name, length}),
                     about == nullptr ? 0
                                      : static_cast<uint32_t>(about->name[about->name_length - 1]));
    first->next_variable = bindings.release();
    bindings.reset(first);
    send_v2trap(first);
}

} // namespace sim

const char* get_snmp_username(void* /*null*/)
{
    return sim::user ? sim::user->c_str() : nullptr;
}

uint32_t get_snmp_sessionid(void* /*null*/)
{
    return sim::session;
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
