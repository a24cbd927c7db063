/// Redundancy: the state of the two supervisors, the administrative action, the switchover.
#include "column.h"
#include "hactl.h"
#include "module_frame.h"
#include "notification.h"
#include "request_channel.h"
#include "write_method.h"

#include <cstddef>
#include <cstdint>
#include <iterator>

#include <sys/time.h>

namespace {

/// Status objects are known by their numbers; the platform manager defines their meaning.
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

/// The last record received, which is also what every request sends.
rf_status_record record;

/// Sends the record of the last read, which the agent makes before a write, with the new action. A
/// refused action stays in it until the next read.
int set_qRFCfgAdminAction(int action, u_char* var_val, u_char var_val_type, size_t var_val_len,
                          u_char*, oid*, size_t)
{
    constexpr WriteRule rule = integer_rule(
        within<0, 3>, "write to qRFCfgAdminAction not ASN_INTEGER\n",
        "write to qRFCfgAdminAction: bad length\n", "Out of range value for qRFCfgAdminAction.\n");
    const WriteValue value = {var_val, var_val_type, var_val_len};
    return in_phase(action, rule, value, [&] {
        record.admin_action = integer_of(value);
        return write_record(redundancy_status, record) == PLATFORM_OK ? SNMP_ERR_NOERROR
                                                                      : SNMP_ERR_GENERR;
    });
}

int32_t map_reasonCodes()
{
    return 1;
}

u_char* reason_code(rf_status_record& status, size_t* var_len)
{
    status.reason_code = map_reasonCodes();
    return integer_value(status.reason_code, var_len);
}

constexpr Column<rf_status_record> status_objects[] = {
    {qRFStatus1, field<&rf_status_record::status_1>},
    {qRFStatus2, field<&rf_status_record::status_2>},
    {qRFStatus3, field<&rf_status_record::status_3>},
    {qRFStatus4, field<&rf_status_record::status_4>},
    {qRFStatus6, field<&rf_status_record::status_6>},
    {qRFStatus7, field<&rf_status_record::status_7>},
    {qRFReasonCode, reason_code},
    {qRFCfgAdminAction, field<&rf_status_record::admin_action>, set_qRFCfgAdminAction},
};

u_char* get_quarn_rf_mib(variable* vp, oid* name, size_t* length, int exact, size_t* var_len,
                         WriteMethod** write_method)
{
    if (header_generic(vp, name, length, exact, var_len, write_method) == MATCH_FAILED) {
        return nullptr;
    }
    const auto* object = column_of(status_objects, vp);
    offer_write(object, write_method);
    if (!exchange(redundancy_status, CHM_REQ_GET, record).succeeded()) {
        return nullptr;
    }
    return serve_column(object, record, var_len);
}

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

/// The reason of a switchover as the notification reports it.
int32_t reported_reason(int32_t reason)
{
    constexpr int32_t reported[] = {3, 6, 6, 6, 4, 7};
    const bool known = reason >= 0 && reason < static_cast<int32_t>(std::size(reported));
    return known ? reported[reason] : 1;
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
    static constexpr oid status_1[] = {QUARN_RF_MIB, 1, 1, 1};
    static constexpr oid sys_up_time[] = {1, 3, 6, 1, 2, 1, 1, 3};
    static constexpr oid reason_code[] = {QUARN_RF_MIB, 1, 1, 8};
    static constexpr uint32_t scalar[] = {0};

    *send = 1;
    const int32_t reason = reported_reason(hactl_swover_reason_get());
    rf_status_record current = {};
    Reply reply =
        send_request(redundancy_status, CHM_REQ_GET, sizeof current, Requester::event_handler);
    if (!reply.answered || reply.length < offsetof(rf_status_record, status_3)) {
        *send = 0;
        return nullptr;
    }
    reply.take_into(&current, sizeof current);

    BindingList bindings;
    bindings.add(status_1, scalar, ASN_INTEGER, &current.status_1, sizeof current.status_1);
    const uint32_t uptime = uptime_now();
    bindings.add(sys_up_time, scalar, ASN_TIMETICKS, &uptime, sizeof uptime);
    bindings.add(reason_code, scalar, ASN_INTEGER, &reason, sizeof reason);
    name_notification({quarn_rf_mib_variables_oid, 1}, trap_oid, trap_oid_length);
    return bindings.first;
}

constexpr EventHandler quarn_rf_mib_handlers[] = {
    {supervisor_switchover, handle_notifications},
};

constexpr MibModule quarn_rf_mib("quarn_rf_mib", quarn_rf_mib_variables, quarn_rf_mib_variables_oid,
                                 quarn_rf_mib_handlers);

} // namespace

CHM_ENTRY_POINT void init_quarn_rf_mib()
{
    init_module(quarn_rf_mib);
}

CHM_ENTRY_POINT void deinit_quarn_rf_mib()
{
    print_enter();
    unregister_variables(quarn_rf_mib);
    print_exit();
    unregister_handlers(quarn_rf_mib);
}
