#include "libraries/request_user.h"

#include "libraries/c_boundary.h"

#include <net-snmp/agent/net-snmp-agent-includes.h>

#include <net-snmp/agent/agent_callbacks.h>

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

const std::optional<std::string>& request_user()
{
    return user;
}

uint32_t request_session()
{
    return session;
}

} // namespace sim
