/// FRU control: modules, power and fans of the chassis, and their notifications.
#include "column_value.h"
#include "module_frame.h"
#include "notification.h"
#include "request_channel.h"
#include "row_lookup.h"
#include "trace.h"
#include "write_method.h"

#include <cstddef>
#include <cstdint>

#include <sys/stat.h>

namespace {

/// Columns that are known by their numbers only carry what the platform manager makes of them.
enum entityfru_mib_object : u_char {
    qefcPowerRedundancyMode = 3,
    qefcPowerSupplyGroupText = 4,
    qefcPowerSupplyGroupColumn3 = 5,
    qefcPowerSupplyGroupColumn4 = 6,
    qefcFRUPowerAdminStatus = 9,
    qefcFRUPowerOperationalStatus = 10,
    qefcFRUPowerStatusColumn3 = 11,
    qefcMaxDefaultInLinePower = 12,
    qefcFRUPowerSupplyValueColumn1 = 15,
    qefcFRUPowerSupplyValueColumn2 = 16,
    qefcFRUPowerSupplyValueColumn3 = 17,
    qefcFRUPowerSupplyValueColumn4 = 18,
    qefcModuleAdminStatus = 21,
    qefcModuleOperationalStatus = 22,
    qefcModuleColumn3 = 23,
    qefcModuleStatusChangeTime = 24,
    qefcModuleColumn5 = 25,
    qefcModuleText = 26,
    qefcModuleColumn8 = 27,
    qefcMIBEnableStatusNotification = 31,
    qefcFanTrayStatus = 33,
    qefcPhysicalStatus = 36,
};

FindVarMethod get_qefcFRUPowerSupplyGroupTable, get_qefcFRUPowerStatusTable,
    get_qefcFRUPowerSupplyValueTable, get_qefcModuleTable, get_qefcFanTrayStatusTable,
    get_qefcPhysicalTable, get_entityfru_mib;
WriteMethod set_qefcPowerRedundancyMode, set_qefcFRUPowerAdminStatus, set_qefcMaxDefaultInLinePower,
    set_qefcModuleAdminStatus, set_qefcMIBEnableStatusNotification;
ipcx_event_handler handle_noti_qefcModuleStatusChange, handle_noti_qefcPowerStatusChange,
    handle_noti_qefcFRUInserted, handle_noti_qefcFRURemoved, handle_noti_qefcUnrecognizedFRU,
    handle_noti_qefcFanTrayStatusChange, handle_noti_qefcPowerSupplyOutputChange;

#define ENTITYFRU_MIB 1, 3, 6, 1, 4, 1, ENTERPRISE_MAIN, 9, 117
constexpr oid entityfru_mib_variables_oid[] = {ENTITYFRU_MIB};

// clang-format off
constexpr variable7 entityfru_mib_variables[] = {
    {qefcPowerRedundancyMode, ASN_INTEGER, RWRITE, get_qefcFRUPowerSupplyGroupTable, 5, {1, 1, 1, 1, 1}},
    {qefcPowerSupplyGroupText, ASN_OCTET_STR, RONLY, get_qefcFRUPowerSupplyGroupTable, 5, {1, 1, 1, 1, 2}},
    {qefcPowerSupplyGroupColumn3, ASN_INTEGER, RONLY, get_qefcFRUPowerSupplyGroupTable, 5, {1, 1, 1, 1, 3}},
    {qefcPowerSupplyGroupColumn4, ASN_INTEGER, RONLY, get_qefcFRUPowerSupplyGroupTable, 5, {1, 1, 1, 1, 4}},
    {qefcFRUPowerAdminStatus, ASN_INTEGER, RWRITE, get_qefcFRUPowerStatusTable, 5, {1, 1, 2, 1, 1}},
    {qefcFRUPowerOperationalStatus, ASN_INTEGER, RONLY, get_qefcFRUPowerStatusTable, 5, {1, 1, 2, 1, 2}},
    {qefcFRUPowerStatusColumn3, ASN_INTEGER, RONLY, get_qefcFRUPowerStatusTable, 5, {1, 1, 2, 1, 3}},
    {qefcMaxDefaultInLinePower, ASN_INTEGER, RWRITE, get_entityfru_mib, 3, {1, 1, 3}},
    {qefcFRUPowerSupplyValueColumn1, ASN_INTEGER, RWRITE, get_qefcFRUPowerSupplyValueTable, 5, {1, 1, 4, 1, 1}},
    {qefcFRUPowerSupplyValueColumn2, ASN_INTEGER, RWRITE, get_qefcFRUPowerSupplyValueTable, 5, {1, 1, 4, 1, 2}},
    {qefcFRUPowerSupplyValueColumn3, ASN_INTEGER, RWRITE, get_qefcFRUPowerSupplyValueTable, 5, {1, 1, 4, 1, 3}},
    {qefcFRUPowerSupplyValueColumn4, ASN_INTEGER, RWRITE, get_qefcFRUPowerSupplyValueTable, 5, {1, 1, 4, 1, 4}},
    {qefcModuleAdminStatus, ASN_INTEGER, RWRITE, get_qefcModuleTable, 5, {1, 2, 1, 1, 1}},
    {qefcModuleOperationalStatus, ASN_INTEGER, RONLY, get_qefcModuleTable, 5, {1, 2, 1, 1, 2}},
    {qefcModuleColumn3, ASN_INTEGER, RONLY, get_qefcModuleTable, 5, {1, 2, 1, 1, 3}},
    {qefcModuleStatusChangeTime, ASN_TIMETICKS, RONLY, get_qefcModuleTable, 5, {1, 2, 1, 1, 4}},
    {qefcModuleColumn5, ASN_TIMETICKS, RONLY, get_qefcModuleTable, 5, {1, 2, 1, 1, 5}},
    {qefcModuleText, ASN_OCTET_STR, RONLY, get_qefcModuleTable, 5, {1, 2, 1, 1, 6}},
    {qefcModuleColumn8, ASN_GAUGE, RONLY, get_qefcModuleTable, 5, {1, 2, 1, 1, 8}},
    {qefcMIBEnableStatusNotification, ASN_INTEGER, RWRITE, get_entityfru_mib, 3, {1, 3, 1}},
    {qefcFanTrayStatus, ASN_INTEGER, RONLY, get_qefcFanTrayStatusTable, 5, {1, 4, 1, 1, 1}},
    {qefcPhysicalStatus, ASN_INTEGER, RONLY, get_qefcPhysicalTable, 5, {1, 5, 1, 1, 1}},
};
// clang-format on

constexpr EventHandler entityfru_mib_handlers[] = {
    {Event::module_status_change, handle_noti_qefcModuleStatusChange},
    {Event::power_status_change, handle_noti_qefcPowerStatusChange},
    {Event::fru_inserted, handle_noti_qefcFRUInserted},
    {Event::fru_removed, handle_noti_qefcFRURemoved},
    {Event::unrecognized_fru, handle_noti_qefcUnrecognizedFRU},
    {Event::fan_tray_status_change, handle_noti_qefcFanTrayStatusChange},
    {Event::power_supply_output_change, handle_noti_qefcPowerSupplyOutputChange},
};

constexpr MibModule entityfru_mib("entityfru_mib", entityfru_mib_variables,
                                  entityfru_mib_variables_oid, entityfru_mib_handlers);

constexpr size_t fru_column_length = 14;

// Row lookups: one shape, each with its opcode and record.

constexpr RowLookup<power_supply_group_record>& header_qefcFRUPowerSupplyGroupTable =
    find_row<Opcode::power_supply_group>;
constexpr RowLookup<power_status_record>& header_qefcFRUPowerStatusTable =
    find_row<Opcode::fru_power_status>;
constexpr RowLookup<module_record>& header_qefcModuleTable = find_row<Opcode::module>;
constexpr RowLookup<unit_status_record>& header_qefcFanTrayStatusTable =
    find_row<Opcode::fan_tray_status>;
/// A name beyond the column has no row here either: a walk never starts over.
constexpr RowLookup<ent_phys_entry>& header_qefcPhysicalTable = find_row<Opcode::physical_entity>;

u_char* get_qefcFRUPowerSupplyGroupTable(variable* vp, oid* name, size_t* length, int exact,
                                         size_t* var_len, WriteMethod** write_method)
{
    static power_supply_group_record row;

    if (vp->magic == qefcPowerRedundancyMode) {
        *write_method = set_qefcPowerRedundancyMode;
    }
    if (header_qefcFRUPowerSupplyGroupTable(vp->name, vp->namelen, name, length, exact, &row)) {
        return nullptr;
    }
    switch (vp->magic) {
    case qefcPowerRedundancyMode:
        return integer_value(row.redundancy_mode, var_len);
    case qefcPowerSupplyGroupText:
        return text_value(row.text, longest_text, var_len);
    case qefcPowerSupplyGroupColumn3:
        return integer_value(row.column_3, var_len);
    case qefcPowerSupplyGroupColumn4:
        return integer_value(row.column_4, var_len);
    default:
        return unknown_object();
    }
}

u_char* get_qefcFRUPowerStatusTable(variable* vp, oid* name, size_t* length, int exact,
                                    size_t* var_len, WriteMethod** write_method)
{
    static power_status_record row;

    if (vp->magic == qefcFRUPowerAdminStatus) {
        *write_method = set_qefcFRUPowerAdminStatus;
    }
    if (header_qefcFRUPowerStatusTable(vp->name, vp->namelen, name, length, exact, &row)) {
        return nullptr;
    }
    switch (vp->magic) {
    case qefcFRUPowerAdminStatus:
        return integer_value(row.admin_status, var_len);
    case qefcFRUPowerOperationalStatus:
        return integer_value(row.oper_status, var_len);
    case qefcFRUPowerStatusColumn3:
        return integer_value(row.column_3, var_len);
    default:
        return unknown_object();
    }
}

/// A table that this switch has no rows for.
u_char* get_qefcFRUPowerSupplyValueTable(variable*, oid*, size_t*, int, size_t*, WriteMethod**)
{
    return nullptr;
}

u_char* get_qefcModuleTable(variable* vp, oid* name, size_t* length, int exact, size_t* var_len,
                            WriteMethod** write_method)
{
    static module_record row;
    static uint32_t ticks;

    if (vp->magic == qefcModuleAdminStatus) {
        *write_method = set_qefcModuleAdminStatus;
    }
    if (header_qefcModuleTable(vp->name, vp->namelen, name, length, exact, &row)) {
        return nullptr;
    }
    CHM_TRACE("%s: header_xx()  done \n", __func__);
    switch (vp->magic) {
    case qefcModuleAdminStatus:
        return integer_value(row.admin_status, var_len);
    case qefcModuleOperationalStatus:
        return integer_value(row.oper_status, var_len);
    case qefcModuleColumn3:
        return integer_value(row.column_3, var_len);
    case qefcModuleStatusChangeTime:
        ticks = uptime_at(row.status_changed);
        return integer_value(ticks, var_len);
    case qefcModuleColumn5:
        ticks = uptime_at(row.column_5);
        return integer_value(ticks, var_len);
    case qefcModuleText: {
        u_char* text = text_value(row.text, longest_text, var_len);
        text[*var_len] = '\0'; // the row travels on in the next request, its text cut
        return text;
    }
    case qefcModuleColumn8:
        CHM_TRACE("%s: mod_no : %d , type : %d \n", __func__, row.module_number, row.module_type);
        return integer_value(row.column_8, var_len);
    default:
        return unknown_object();
    }
}

u_char* get_qefcFanTrayStatusTable(variable* vp, oid* name, size_t* length, int exact,
                                   size_t* var_len, WriteMethod**)
{
    static unit_status_record row;

    if (header_qefcFanTrayStatusTable(vp->name, vp->namelen, name, length, exact, &row)) {
        return nullptr;
    }
    return vp->magic == qefcFanTrayStatus ? integer_value(row.status, var_len) : unknown_object();
}

u_char* get_qefcPhysicalTable(variable* vp, oid* name, size_t* length, int exact, size_t* var_len,
                              WriteMethod**)
{
    static ent_phys_entry row;

    if (header_qefcPhysicalTable(vp->name, vp->namelen, name, length, exact, &row)) {
        return nullptr;
    }
    return vp->magic == qefcPhysicalStatus ? integer_value(row.physical_status, var_len)
                                           : unknown_object();
}

/// A scalar that the platform does not tell is served as 0.
u_char* get_entityfru_mib(variable* vp, oid* name, size_t* length, int exact, size_t* var_len,
                          WriteMethod** write_method)
{
    static int32_t scalar;

    CHM_TRACE("%s: enter : magic -no : %d \n", __func__, vp->magic);
    // A match clears the write method, so that it is set after it.
    const int match = header_generic(vp, name, length, exact, var_len, write_method);
    if (vp->magic == qefcMaxDefaultInLinePower) {
        *write_method = set_qefcMaxDefaultInLinePower;
    } else if (vp->magic == qefcMIBEnableStatusNotification) {
        *write_method = set_qefcMIBEnableStatusNotification;
    }
    if (match == MATCH_FAILED) {
        return nullptr;
    }
    scalar = 0;
    switch (vp->magic) {
    case qefcMaxDefaultInLinePower:
        read_scalar(Opcode::max_default_in_line_power, scalar);
        return integer_value(scalar, var_len);
    case qefcMIBEnableStatusNotification:
        read_scalar(Opcode::enable_status_notification, scalar);
        return integer_value(scalar, var_len);
    default:
        return unknown_object();
    }
}

/// An INTEGER column that may be written.
template <typename Row>
struct WritableColumn {
    WriteRule rule;
    Opcode opcode;
    RowLookup<Row>* lookup;
    int32_t Row::*field;
};

/// An INTEGER scalar that may be written.
struct WritableScalar {
    WriteRule rule;
    Opcode opcode;
};

constexpr WritableColumn<power_supply_group_record> power_redundancy_mode = {
    {ASN_INTEGER, "write to qefcPowerRedundancyMode not ASN_INTEGER \n", sizeof(long),
     "write to qefcPowerRedundancyMode: bad length\n", within<1, 3>},
    Opcode::power_supply_group,
    header_qefcFRUPowerSupplyGroupTable,
    &power_supply_group_record::redundancy_mode,
};
constexpr WritableColumn<power_status_record> fru_power_admin_status = {
    {ASN_INTEGER, "write to qefcFRUPowerAdminStatus not ASN_INTEGER\n", sizeof(long),
     "write to qefcFRUPowerAdminStatus: bad length\n", within<1, 4>},
    Opcode::fru_power_status,
    header_qefcFRUPowerStatusTable,
    &power_status_record::admin_status,
};
constexpr WritableColumn<module_record> module_admin_status = {
    {ASN_INTEGER, "write to qefcModuleAdminStatus not ASN_INTEGER\n", sizeof(long),
     "write to qefcModuleAdminStatus: bad length\n", within<1, 4>},
    Opcode::module,
    header_qefcModuleTable,
    &module_record::admin_status,
};
constexpr WritableScalar mib_enable_status_notification = {
    {ASN_INTEGER, "write to qefcMIBEnableStatusNotification not ASN_INTEGER\n", sizeof(long),
     "write to qefcMIBEnableStatusNotification: bad length\n", within<1, 2>,
     "write to qefcMIBEnableStatusNotification: invalid range\n"},
    Opcode::enable_status_notification,
};
constexpr WritableScalar max_default_in_line_power = {
    {ASN_INTEGER, "write to qefcMaxDefaultInLinePower not ASN_INTEGER\n", sizeof(long),
     "write to qefcMaxDefaultInLinePower: bad length\n", within<0, 12500>,
     "write to qefcMaxDefaultInLinePower: invalid range \n"},
    Opcode::max_default_in_line_power,
};

template <typename Row>
int write_column(const WritableColumn<Row>& column, int action, const WriteValue& value, oid* name,
                 size_t name_length)
{
    return in_phase(action, column.rule, value, [&] {
        return write_row(column.opcode, column.lookup, fru_column_length, name, name_length,
                         NotWritable::reported,
                         [&](Row& row) { row.*column.field = integer_of(value); });
    });
}

int write_scalar(const WritableScalar& scalar, int action, const WriteValue& value)
{
    return in_phase(action, scalar.rule, value, [&] {
        int32_t number = integer_of(value); // four bytes travel, however long the agent's are
        return snmp_error_status(write_record(scalar.opcode, number), NotWritable::reported);
    });
}

int set_qefcPowerRedundancyMode(int action, u_char* var_val, u_char var_val_type,
                                size_t var_val_len, u_char*, oid* name, size_t name_length)
{
    return write_column(power_redundancy_mode, action, {var_val, var_val_type, var_val_len}, name,
                        name_length);
}

int set_qefcFRUPowerAdminStatus(int action, u_char* var_val, u_char var_val_type,
                                size_t var_val_len, u_char*, oid* name, size_t name_length)
{
    return write_column(fru_power_admin_status, action, {var_val, var_val_type, var_val_len}, name,
                        name_length);
}

int set_qefcModuleAdminStatus(int action, u_char* var_val, u_char var_val_type, size_t var_val_len,
                              u_char*, oid* name, size_t name_length)
{
    return write_column(module_admin_status, action, {var_val, var_val_type, var_val_len}, name,
                        name_length);
}

int set_qefcMIBEnableStatusNotification(int action, u_char* var_val, u_char var_val_type,
                                        size_t var_val_len, u_char*, oid*, size_t)
{
    return write_scalar(mib_enable_status_notification, action,
                        {var_val, var_val_type, var_val_len});
}

int set_qefcMaxDefaultInLinePower(int action, u_char* var_val, u_char var_val_type,
                                  size_t var_val_len, u_char*, oid*, size_t)
{
    return write_scalar(max_default_in_line_power, action, {var_val, var_val_type, var_val_len});
}

// Unit status: what connUnitStatusChange reports of the switch as a whole.

constexpr int32_t unit_status_ok = 3;
constexpr int32_t unit_status_warning = 4;
constexpr int32_t healthy = 2;

enum class WalkEnd { no_rows, all_healthy, fault };

/// Walks a table of the platform up to its end or to the first unit that is not healthy.
template <typename Row>
WalkEnd walk_status(Opcode opcode, int32_t Row::*status)
{
    snmp_heartbeat_send();
    Row row = {};
    WalkEnd end = WalkEnd::no_rows;
    for (;;) {
        const uint32_t previous = row.index;
        const Reply reply = exchange(opcode, CHM_REQ_GETNEXT, row, Requester::event_handler);
        if (!reply.succeeded() || !reply.answered) {
            return end;
        }
        if (row.*status != healthy) {
            return WalkEnd::fault;
        }
        if (end != WalkEnd::no_rows && row.index <= previous) {
            return end; // a platform that does not move on would be asked for ever
        }
        end = WalkEnd::all_healthy;
    }
}

void compute_connUnitStatus(int32_t* status)
{
    *status = unit_status_warning;
    if (walk_status(Opcode::fru_power_status, &power_status_record::oper_status) ==
            WalkEnd::fault ||
        walk_status(Opcode::module, &module_record::oper_status) == WalkEnd::fault) {
        return;
    }
    // A switch without any power supply that reports is not well.
    if (walk_status(Opcode::power_supply_status, &unit_status_record::status) ==
        WalkEnd::all_healthy) {
        *status = unit_status_ok;
    }
}

int32_t traced_unit_status(const char* handler)
{
    int32_t status = 0;
    compute_connUnitStatus(&status);
    CHM_TRACE("%s: send_connUnitStatusChange_notif called, connUnitStatus=%d\n", handler, status);
    return status;
}

/// While this file exists, power events report the unit status too.
bool power_events_report_unit_status()
{
    struct stat status = {};
    return stat("/mnt/nvdb/chm_nvdb_hack", &status) == 0;
}

// Columns whose instances the notifications carry.

#define ENT_PHYSICAL_ENTRY 1, 3, 6, 1, 2, 1, 47, 1, 1, 1, 1
constexpr oid ent_physical_descr[] = {ENT_PHYSICAL_ENTRY, 2};
constexpr oid ent_physical_vendor_type[] = {ENT_PHYSICAL_ENTRY, 3};
constexpr oid ent_physical_contained_in[] = {ENT_PHYSICAL_ENTRY, 4};
constexpr oid ent_physical_class[] = {ENT_PHYSICAL_ENTRY, 5};
constexpr oid ent_physical_name[] = {ENT_PHYSICAL_ENTRY, 7};
constexpr oid ent_physical_model_name[] = {ENT_PHYSICAL_ENTRY, 13};
constexpr oid fru_power_admin_status_column[] = {ENTITYFRU_MIB, 1, 1, 2, 1, 1};
constexpr oid fru_power_operational_status_column[] = {ENTITYFRU_MIB, 1, 1, 2, 1, 2};
constexpr oid module_operational_status_column[] = {ENTITYFRU_MIB, 1, 2, 1, 1, 2};
constexpr oid module_status_change_time_column[] = {ENTITYFRU_MIB, 1, 2, 1, 1, 4};
constexpr oid fan_tray_status_column[] = {ENTITYFRU_MIB, 1, 4, 1, 1, 1};
constexpr oid physical_status_column[] = {ENTITYFRU_MIB, 1, 5, 1, 1, 1};
constexpr oid power_supply_output_column[] = {ENTITYFRU_MIB, 1, 6, 2, 1, 2};

netsnmp_variable_list* handle_noti_qefcModuleStatusChange(void* message, oid* trap_oid,
                                                          size_t* trap_oid_length, int* send)
{
    static constexpr oid qefcModuleStatusChange[] = {ENTITYFRU_MIB, 2, 0, 1};
    const char* handler = __func__;
    return notify<module_record>(message, trap_oid, trap_oid_length, send, qefcModuleStatusChange,
                                 [&](const module_record& module, Bindings& bindings) {
                                     send_connUnitStatusChange_notif(traced_unit_status(handler));
                                     bind_integer(bindings, module_operational_status_column,
                                                  module.index, module.oper_status);
                                     bind_time_ticks(bindings, module_status_change_time_column,
                                                     module.index,
                                                     uptime_at(module.status_changed));
                                 });
}

netsnmp_variable_list* handle_noti_qefcPowerStatusChange(void* message, oid* trap_oid,
                                                         size_t* trap_oid_length, int* send)
{
    static constexpr oid qefcPowerStatusChange[] = {ENTITYFRU_MIB, 2, 0, 2};
    const char* handler = __func__;
    return notify<power_status_record>(
        message, trap_oid, trap_oid_length, send, qefcPowerStatusChange,
        [&](const power_status_record& power, Bindings& bindings) {
            if (power_events_report_unit_status()) {
                const int32_t unit_status = traced_unit_status(handler);
                CHM_TRACE(" send_connUnitStatusChange_notif called, OperStat : %d AdminStat : %d\n",
                          power.oper_status, power.admin_status);
                send_connUnitStatusChange_notif(unit_status);
            }
            bind_integer(bindings, fru_power_operational_status_column, power.index,
                         power.oper_status);
            bind_integer(bindings, fru_power_admin_status_column, power.index, power.admin_status);
        });
}

/// What both notifications tell of a unit: where it is, what it is, and the container's name.
void bind_unit(const ent_phys_entry& unit, Bindings& bindings)
{
    const auto container = static_cast<uint32_t>(unit.entPhysicalContainedIn);
    bind_integer(bindings, ent_physical_contained_in, unit.entPhysicalIndex,
                 unit.entPhysicalContainedIn);
    bind_text(bindings, ent_physical_descr, unit.entPhysicalIndex, unit.entPhysicalDescr,
              longest_text);
    bind_text(bindings, ent_physical_name, container, unit.container_name, longest_text);
}

netsnmp_variable_list* handle_noti_qefcFRUInserted(void* message, oid* trap_oid,
                                                   size_t* trap_oid_length, int* send)
{
    static constexpr oid qefcFRUInserted[] = {ENTITYFRU_MIB, 2, 0, 3};
    return notify<ent_phys_entry>(message, trap_oid, trap_oid_length, send, qefcFRUInserted,
                                  bind_unit);
}

netsnmp_variable_list* handle_noti_qefcFRURemoved(void* message, oid* trap_oid,
                                                  size_t* trap_oid_length, int* send)
{
    static constexpr oid qefcFRURemoved[] = {ENTITYFRU_MIB, 2, 0, 4};
    return notify<ent_phys_entry>(message, trap_oid, trap_oid_length, send, qefcFRURemoved,
                                  bind_unit);
}

netsnmp_variable_list* handle_noti_qefcUnrecognizedFRU(void* message, oid* trap_oid,
                                                       size_t* trap_oid_length, int* send)
{
    static constexpr oid qefcUnrecognizedFRU[] = {ENTITYFRU_MIB, 2, 0, 5};
    return notify<ent_phys_entry>(
        message, trap_oid, trap_oid_length, send, qefcUnrecognizedFRU,
        [](const ent_phys_entry& unit, Bindings& bindings) {
            const uint32_t index = unit.entPhysicalIndex;
            oid vendor_type[128];
            const size_t count = vendor_type_of(unit, vendor_type);
            bind_integer(bindings, ent_physical_class, index, unit.entPhysicalClass);
            bind_value(bindings, ent_physical_vendor_type, index, ASN_OBJECT_ID, vendor_type,
                       count * sizeof(oid));
            bind_text(bindings, ent_physical_name, index, unit.entPhysicalName);
            bind_text(bindings, ent_physical_model_name, index, unit.entPhysicalModelName);
            bind_integer(bindings, physical_status_column, index, unit.physical_status);
        });
}

netsnmp_variable_list* handle_noti_qefcFanTrayStatusChange(void* message, oid* trap_oid,
                                                           size_t* trap_oid_length, int* send)
{
    static constexpr oid qefcFanTrayStatusChange[] = {ENTITYFRU_MIB, 2, 0, 6};
    const char* handler = __func__;
    return notify<unit_status_record>(
        message, trap_oid, trap_oid_length, send, qefcFanTrayStatusChange,
        [&](const unit_status_record& fan_tray, Bindings& bindings) {
            send_connUnitStatusChange_notif(traced_unit_status(handler));
            bind_integer(bindings, fan_tray_status_column, fan_tray.index, fan_tray.status);
        });
}

netsnmp_variable_list* handle_noti_qefcPowerSupplyOutputChange(void* message, oid* trap_oid,
                                                               size_t* trap_oid_length, int* send)
{
    static constexpr oid qefcPowerSupplyOutputChange[] = {ENTITYFRU_MIB, 2, 0, 7};
    return notify<power_supply_output_record>(
        message, trap_oid, trap_oid_length, send, qefcPowerSupplyOutputChange,
        [](const power_supply_output_record& change, Bindings& bindings) {
            bind_text(bindings, ent_physical_name, change.index, change.name);
            bind_text(bindings, ent_physical_model_name, change.index, change.model_name);
            bind_integer(bindings, power_supply_output_column, change.index, change.output);
        });
}

} // namespace

CHM_ENTRY_POINT void init_entityfru_mib()
{
    print_enter(__func__);
    register_variables(entityfru_mib, __func__, __FILE__, __LINE__);
    register_handlers(entityfru_mib);
    print_exit(__func__);
}

CHM_ENTRY_POINT void deinit_entityfru_mib()
{
    print_enter(__func__);
    unregister_variables(entityfru_mib);
    unregister_handlers(entityfru_mib);
    print_exit(__func__);
}
