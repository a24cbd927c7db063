/// Redundancy: the state of the two supervisors, the administrative action, the switchover.
#include "column_value.h"
#include "hactl.h"
#include "module_frame.h"
#include "notification.h"
#include "request_channel.h"
#include "write_method.h"

#include <cstdint>

#include <sys/time.h>

namespace {

/// Status objects are known by their numbers; what they say is the platform manager's.
enum quarn_rf_mib_object : u_char {
    qRFStatus1 = 1,
    qRFStatus2 = 2,
    qRFStatus3 = 3,
    qRFStatus4 = 4,
    qRFStatus6 = 6,
    qRFStatus7 = 7,
    qRFReasonCode = 8,
    qRFCfgAdminAction = 21,
};

FindVarMethod get_quarn_rf_mib;
WriteMethod set_qRFCfgAdminAction;
ipcx_event_handler handle_notifications;

#define QUARN_RF_MIB 1, 3, 6, 1, 4, 1, ENTERPRISE_MAIN, 9, 176
constexpr oid quarn_rf_mib_variables_oid[] = {QUARN_RF_MIB};

constexpr variable7 quarn_rf_mib_variables[] = {
    {qRFStatus1, ASN_INTEGER, RONLY, get_quarn_rf_mib, 3, {1, 1, 1}},
    {qRFStatus2, ASN_INTEGER, RONLY, get_quarn_rf_mib, 3, {1, 1, 2}},
    {qRFStatus3, ASN_INTEGER, RONLY, get_quarn_rf_mib, 3, {1, 1, 3}},
    {qRFStatus4, ASN_INTEGER, RONLY, get_quarn_rf_mib, 3, {1, 1, 4}},
    {qRFStatus6, ASN_INTEGER, RONLY, get_quarn_rf_mib, 3, {1, 1, 6}},
    {qRFStatus7, ASN_INTEGER, RONLY, get_quarn_rf_mib, 3, {1, 1, 7}},
    {qRFReasonCode, ASN_INTEGER, RONLY, get_quarn_rf_mib, 3, {1, 1, 8}},
    {qRFCfgAdminAction, ASN_INTEGER, RWRITE, get_quarn_rf_mib, 3, {1, 2, 11}},
};

constexpr EventHandler quarn_rf_mib_handlers[] = {
    {Event::redundancy, handle_notifications},
};

constexpr MibModule quarn_rf_mib("quarn_rf_mib", quarn_rf_mib_variables, quarn_rf_mib_variables_oid,
                                 quarn_rf_mib_handlers);

/// The last record received, which is also what every request sends.
rf_status_record record;

int32_t map_reasonCodes()
{
    return 1;
}

u_char* get_quarn_rf_mib(variable* vp, oid* name, size_t* length, int exact, size_t* var_len,
                         WriteMethod** write_method)
{
    if (header_generic(vp, name, length, exact, var_len, write_method) == MATCH_FAILED) {
        return nullptr;
    }
    if (vp->magic == qRFCfgAdminAction) {
        *write_method = set_qRFCfgAdminAction;
    }
    if (!exchange(Opcode::redundancy, CHM_REQ_GET, record).succeeded()) {
        return nullptr;
    }
    switch (vp->magic) {
    case qRFStatus1:
        return integer_value(record.status_1, var_len);
    case qRFStatus2:
        return integer_value(record.status_2, var_len);
    case qRFStatus3:
        return integer_value(record.status_3, var_len);
    case qRFStatus4:
        return integer_value(record.status_4, var_len);
    case qRFStatus6:
        return integer_value(record.status_6, var_len);
    case qRFStatus7:
        return integer_value(record.status_7, var_len);
    case qRFReasonCode:
        record.reason_code = map_reasonCodes();
        return integer_value(record.reason_code, var_len);
    case qRFCfgAdminAction:
        return integer_value(record.admin_action, var_len);
    default:
        return unknown_object();
    }
}

constexpr WriteRule admin_action_rule = {
    ASN_INTEGER,  "write to qRFCfgAdminAction not ASN_INTEGER\n",
    sizeof(long), "write to qRFCfgAdminAction: bad length\n",
    within<0, 3>, "Out of range value for qRFCfgAdminAction.\n",
};

/// Sends the record that the agent has just had read for this request, with the new action in it. A
/// refused action stays in it until a read brings the next record.
int set_qRFCfgAdminAction(int action, u_char* var_val, u_char var_val_type, size_t var_val_len,
                          u_char*, oid*, size_t)
{
    const WriteValue value = {var_val, var_val_type, var_val_len};
    return in_phase(action, admin_action_rule, value, [&] {
        record.admin_action = integer_of(value);
        return write_record(Opcode::redundancy, record) == PLATFORM_OK ? SNMP_ERR_NOERROR
                                                                       : SNMP_ERR_GENERR;
    });
}

/// The reason of a switchover as the notification reports it.
int32_t reported_reason(int32_t reason)
{
    switch (reason) {
    case 0:
        return 3;
    case 1:
    case 2:
    case 3:
        return 6;
    case 4:
        return 4;
    case 5:
        return 7;
    default:
        return 1;
    }
}

uint32_t uptime_now()
{
    timeval now = {};
    gettimeofday(&now, nullptr);
    return static_cast<uint32_t>(netsnmp_timeval_uptime(&now));
}

/// The supervisors switched over. The event itself is not read: the record is asked for, and left
/// apart from the one that the objects are served from.
netsnmp_variable_list* handle_notifications(void*, oid* trap_oid, size_t* trap_oid_length,
                                            int* send)
{
    static constexpr oid switchover[] = {QUARN_RF_MIB, 2, 0, 1};
    static constexpr oid status_1[] = {QUARN_RF_MIB, 1, 1, 1};
    static constexpr oid sys_up_time[] = {1, 3, 6, 1, 2, 1, 1, 3};
    static constexpr oid reason_code[] = {QUARN_RF_MIB, 1, 1, 8};
    constexpr uint32_t scalar_instance = 0;

    *send = 1;
    const int32_t reason = reported_reason(hactl_swover_reason_get());
    rf_status_record current = {};
    Reply reply = send_request(Opcode::redundancy, CHM_REQ_GET, nullptr, sizeof current,
                               Requester::event_handler);
    if (!reply.answered || reply.length < offsetof(rf_status_record, status_3)) {
        *send = 0;
        return nullptr;
    }
    reply.take_into(current);

    Bindings bindings;
    bind_integer(bindings, status_1, scalar_instance, current.status_1);
    bind_time_ticks(bindings, sys_up_time, scalar_instance, uptime_now());
    bind_integer(bindings, reason_code, scalar_instance, reason);
    name_notification(switchover, trap_oid, trap_oid_length);
    return bindings.first;
}

} // namespace

CHM_ENTRY_POINT void init_quarn_rf_mib()
{
    print_enter(__func__);
    register_variables(quarn_rf_mib, __func__, __FILE__, __LINE__);
    register_handlers(quarn_rf_mib);
    print_exit(__func__);
}

CHM_ENTRY_POINT void deinit_quarn_rf_mib()
{
    print_enter(__func__);
    unregister_variables(quarn_rf_mib);
    print_exit(__func__);
    unregister_handlers(quarn_rf_mib);
}
