/// FRU control: modules, power and fans of the chassis, and their notifications.
#include "column.h"
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

/// Columns that are known by their numbers only are defined by the platform manager.
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

constexpr size_t column_length = 14;

// Power-supply groups.

constexpr RowLookup<power_supply_group_record>& header_qefcFRUPowerSupplyGroupTable =
    find_row<power_supply_group_table>;

constexpr WriteRule power_redundancy_mode_rule =
    integer_rule(within<1, 3>, "write to qefcPowerRedundancyMode not ASN_INTEGER \n",
                 "write to qefcPowerRedundancyMode: bad length\n");
constexpr WriteMethod& set_qefcPowerRedundancyMode =
    write_column<power_redundancy_mode_rule, power_supply_group_table,
                 header_qefcFRUPowerSupplyGroupTable, &power_supply_group_record::redundancy_mode,
                 column_length, NotWritable::reported>;

constexpr Column<power_supply_group_record> power_supply_group_columns[] = {
    {qefcPowerRedundancyMode, field<&power_supply_group_record::redundancy_mode>,
     set_qefcPowerRedundancyMode},
    {qefcPowerSupplyGroupText, field<&power_supply_group_record::text>},
    {qefcPowerSupplyGroupColumn3, field<&power_supply_group_record::column_3>},
    {qefcPowerSupplyGroupColumn4, field<&power_supply_group_record::column_4>},
};
constexpr FindVarMethod& get_qefcFRUPowerSupplyGroupTable =
    serve<header_qefcFRUPowerSupplyGroupTable, power_supply_group_columns>;

// Power of the field-replaceable units.

constexpr RowLookup<power_status_record>& header_qefcFRUPowerStatusTable =
    find_row<power_status_table>;

constexpr WriteRule fru_power_admin_status_rule =
    integer_rule(within<1, 4>, "write to qefcFRUPowerAdminStatus not ASN_INTEGER\n",
                 "write to qefcFRUPowerAdminStatus: bad length\n");
constexpr WriteMethod& set_qefcFRUPowerAdminStatus =
    write_column<fru_power_admin_status_rule, power_status_table, header_qefcFRUPowerStatusTable,
                 &power_status_record::admin_status, column_length, NotWritable::reported>;

constexpr Column<power_status_record> power_status_columns[] = {
    {qefcFRUPowerAdminStatus, field<&power_status_record::admin_status>,
     set_qefcFRUPowerAdminStatus},
    {qefcFRUPowerOperationalStatus, field<&power_status_record::oper_status>},
    {qefcFRUPowerStatusColumn3, field<&power_status_record::column_3>},
};
constexpr FindVarMethod& get_qefcFRUPowerStatusTable =
    serve<header_qefcFRUPowerStatusTable, power_status_columns>;

constexpr FindVarMethod& get_qefcFRUPowerSupplyValueTable = serve_no_rows;

// Modules.

constexpr RowLookup<module_record>& header_qefcModuleTable = find_row<module_table>;

constexpr WriteRule module_admin_status_rule =
    integer_rule(within<1, 4>, "write to qefcModuleAdminStatus not ASN_INTEGER\n",
                 "write to qefcModuleAdminStatus: bad length\n");
constexpr WriteMethod& set_qefcModuleAdminStatus =
    write_column<module_admin_status_rule, module_table, header_qefcModuleTable,
                 &module_record::admin_status, column_length, NotWritable::reported>;

/// The row travels on in the next request, its text cut.
u_char* cut_text(module_record& row, size_t* var_len)
{
    u_char* text = field<&module_record::text>(row, var_len);
    text[*var_len] = '\0';
    return text;
}

constexpr const char* module_callback = "get_qefcModuleTable";

u_char* traced_column_8(module_record& row, size_t* var_len)
{
    CHM_TRACE("%s: mod_no : %d , type : %d \n", module_callback, row.module_number.value(),
              row.module_type);
    return field<&module_record::column_8>(row, var_len);
}

void trace_module_found()
{
    CHM_TRACE("%s: header_xx()  done \n", module_callback);
}

constexpr Column<module_record> module_columns[] = {
    {qefcModuleAdminStatus, field<&module_record::admin_status>, set_qefcModuleAdminStatus},
    {qefcModuleOperationalStatus, field<&module_record::oper_status>},
    {qefcModuleColumn3, field<&module_record::column_3>},
    {qefcModuleStatusChangeTime, field<&module_record::status_changed>},
    {qefcModuleColumn5, field<&module_record::column_5>},
    {qefcModuleText, cut_text},
    {qefcModuleColumn8, traced_column_8},
};
constexpr FindVarMethod& get_qefcModuleTable =
    serve<header_qefcModuleTable, module_columns, trace_module_found>;

// Fan trays, and the status of every physical entity.

constexpr RowLookup<unit_status_record>& header_qefcFanTrayStatusTable = find_row<fan_tray_table>;
constexpr Column<unit_status_record> fan_tray_columns[] = {
    {qefcFanTrayStatus, field<&unit_status_record::status>},
};
constexpr FindVarMethod& get_qefcFanTrayStatusTable =
    serve<header_qefcFanTrayStatusTable, fan_tray_columns>;

/// A name beyond the column has no row here either: a walk never starts over.
constexpr RowLookup<ent_phys_entry>& header_qefcPhysicalTable = find_row<physical_table>;
constexpr Column<ent_phys_entry> physical_columns[] = {
    {qefcPhysicalStatus, field<&ent_phys_entry::physical_status>},
};
constexpr FindVarMethod& get_qefcPhysicalTable = serve<header_qefcPhysicalTable, physical_columns>;

// Scalars.

constexpr WriteRule mib_enable_status_notification_rule =
    integer_rule(within<1, 2>, "write to qefcMIBEnableStatusNotification not ASN_INTEGER\n",
                 "write to qefcMIBEnableStatusNotification: bad length\n",
                 "write to qefcMIBEnableStatusNotification: invalid range\n");
constexpr WriteMethod& set_qefcMIBEnableStatusNotification =
    write_scalar<mib_enable_status_notification_rule, enable_status_notification>;

constexpr WriteRule default_in_line_power_rule =
    integer_rule(within<0, 12500>, "write to qefcMaxDefaultInLinePower not ASN_INTEGER\n",
                 "write to qefcMaxDefaultInLinePower: bad length\n",
                 "write to qefcMaxDefaultInLinePower: invalid range \n");
constexpr WriteMethod& set_qefcMaxDefaultInLinePower =
    write_scalar<default_in_line_power_rule, max_default_in_line_power>;

/// Reads a scalar. One that the platform does not report is served as 0.
template <const Request<be_int32>& request>
u_char* scalar(int32_t& value, size_t* var_len)
{
    value = read_scalar(request).value_or(0);
    return integer_value(value, var_len);
}

constexpr Column<int32_t> scalars[] = {
    {qefcMaxDefaultInLinePower, scalar<max_default_in_line_power>, set_qefcMaxDefaultInLinePower},
    {qefcMIBEnableStatusNotification, scalar<enable_status_notification>,
     set_qefcMIBEnableStatusNotification},
};

u_char* get_entityfru_mib(variable* vp, oid* name, size_t* length, int exact, size_t* var_len,
                          WriteMethod** write_method)
{
    static int32_t value;

    CHM_TRACE("%s: enter : magic -no : %d \n", __func__, vp->magic);
    const auto* object = column_of(scalars, vp);
    // A match clears the write method, so that it is set after it.
    const int match = header_generic(vp, name, length, exact, var_len, write_method);
    offer_write(object, write_method);
    return match == MATCH_FAILED ? nullptr : serve_column(object, value, var_len);
}

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

// Unit status: what connUnitStatusChange reports of the switch as a whole.

constexpr int32_t unit_status_ok = 3;
constexpr int32_t unit_status_warning = 4;
constexpr int32_t healthy = 2;

enum class WalkEnd { no_rows, all_healthy, fault };

/// Walks a table of the platform up to its end or to the first unit that is not healthy. The rows
/// may come in any order. A table whose walk goes round ends, too: a milestone is set at the first,
/// second, fourth, eighth row and so on, and every round comes back to one of them.
template <typename Row>
WalkEnd walk_status(const Request<Row>& table, be_int32 Row::*status)
{
    snmp_heartbeat_send();
    Row row = {};
    uint32_t milestone = 0;
    for (uint64_t rows = 0, next_milestone = 1;; ++rows) {
        const Reply reply = exchange(table, CHM_REQ_GETNEXT, row, Requester::event_handler);
        if (!reply.succeeded() || !reply.answered) {
            return rows == 0 ? WalkEnd::no_rows : WalkEnd::all_healthy;
        }
        if (row.*status != healthy) {
            return WalkEnd::fault;
        }
        if (rows != 0 && row.index == milestone) {
            return WalkEnd::all_healthy;
        }
        if (rows + 1 == next_milestone) {
            milestone = row.index;
            next_milestone *= 2;
        }
    }
}

void compute_connUnitStatus(int32_t* status)
{
    *status = unit_status_warning;
    if (walk_status(power_status_table, &power_status_record::oper_status) == WalkEnd::fault ||
        walk_status(module_table, &module_record::oper_status) == WalkEnd::fault) {
        return;
    }
    // Without any power supply row the switch is in warning.
    if (walk_status(power_supply_table, &unit_status_record::status) == WalkEnd::all_healthy) {
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

template <const auto& handler, typename Record>
void report_unit_status(const Record& /*record*/)
{
    send_connUnitStatusChange_notif(traced_unit_status(handler));
}

constexpr char module_handler[] = "handle_noti_qefcModuleStatusChange";
constexpr char fan_tray_handler[] = "handle_noti_qefcFanTrayStatusChange";

/// Only while the marker file exists.
void report_power_status(const power_status_record& power)
{
    struct stat marker = {};
    if (stat("/mnt/nvdb/chm_nvdb_hack", &marker) != 0) {
        return;
    }
    const int32_t status = traced_unit_status("handle_noti_qefcPowerStatusChange");
    CHM_TRACE(" send_connUnitStatusChange_notif called, OperStat : %d AdminStat : %d\n",
              power.oper_status.value(), power.admin_status.value());
    send_connUnitStatusChange_notif(status);
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

constexpr Binding<module_record> module_status_bindings[] = {
    bind<&module_record::oper_status>(module_operational_status_column),
    bind<&module_record::status_changed>(module_status_change_time_column),
};
constexpr ipcx_event_handler& handle_noti_qefcModuleStatusChange =
    notify<module_status_change, entityfru_mib_variables_oid, 1, module_status_bindings,
           report_unit_status<module_handler>>;

constexpr Binding<power_status_record> power_status_bindings[] = {
    bind<&power_status_record::oper_status>(fru_power_operational_status_column),
    bind<&power_status_record::admin_status>(fru_power_admin_status_column),
};
constexpr ipcx_event_handler& handle_noti_qefcPowerStatusChange =
    notify<power_status_change, entityfru_mib_variables_oid, 2, power_status_bindings,
           report_power_status>;

using Entity = ent_phys_entry;

/// The bindings of both notifications: place and description of a unit, and the container's name.
constexpr Binding<Entity> unit_bindings[] = {
    bind<&Entity::entPhysicalContainedIn>(ent_physical_contained_in),
    bind<&Entity::entPhysicalDescr>(ent_physical_descr),
    bind<&Entity::container_name, &Entity::entPhysicalContainedIn>(ent_physical_name),
};
constexpr ipcx_event_handler& handle_noti_qefcFRUInserted =
    notify<fru_inserted, entityfru_mib_variables_oid, 3, unit_bindings>;
constexpr ipcx_event_handler& handle_noti_qefcFRURemoved =
    notify<fru_removed, entityfru_mib_variables_oid, 4, unit_bindings>;

constexpr Binding<Entity> unrecognized_fru_bindings[] = {
    bind<&Entity::entPhysicalClass>(ent_physical_class),
    bind<&Entity::entPhysicalVendorType>(ent_physical_vendor_type),
    bind<&Entity::entPhysicalName>(ent_physical_name, whole_text<&Entity::entPhysicalName>),
    bind<&Entity::entPhysicalModelName>(ent_physical_model_name,
                                        whole_text<&Entity::entPhysicalModelName>),
    bind<&Entity::physical_status>(physical_status_column),
};
constexpr ipcx_event_handler& handle_noti_qefcUnrecognizedFRU =
    notify<unrecognized_fru, entityfru_mib_variables_oid, 5, unrecognized_fru_bindings>;

constexpr Binding<unit_status_record> fan_tray_bindings[] = {
    bind<&unit_status_record::status>(fan_tray_status_column),
};
constexpr ipcx_event_handler& handle_noti_qefcFanTrayStatusChange =
    notify<fan_tray_status_change, entityfru_mib_variables_oid, 6, fan_tray_bindings,
           report_unit_status<fan_tray_handler>>;

using Output = power_supply_output_record;
constexpr Binding<Output> output_bindings[] = {
    bind<&Output::name>(ent_physical_name, whole_text<&Output::name>),
    bind<&Output::model_name>(ent_physical_model_name, whole_text<&Output::model_name>),
    bind<&Output::output>(power_supply_output_column),
};
constexpr ipcx_event_handler& handle_noti_qefcPowerSupplyOutputChange =
    notify<power_supply_output_change, entityfru_mib_variables_oid, 7, output_bindings>;

constexpr EventHandler entityfru_mib_handlers[] = {
    {module_status_change, handle_noti_qefcModuleStatusChange},
    {power_status_change, handle_noti_qefcPowerStatusChange},
    {fru_inserted, handle_noti_qefcFRUInserted},
    {fru_removed, handle_noti_qefcFRURemoved},
    {unrecognized_fru, handle_noti_qefcUnrecognizedFRU},
    {fan_tray_status_change, handle_noti_qefcFanTrayStatusChange},
    {power_supply_output_change, handle_noti_qefcPowerSupplyOutputChange},
};

constexpr MibModule entityfru_mib("entityfru_mib", entityfru_mib_variables,
                                  entityfru_mib_variables_oid, entityfru_mib_handlers);

} // namespace

CHM_ENTRY_POINT void init_entityfru_mib()
{
    init_module(entityfru_mib);
}

CHM_ENTRY_POINT void deinit_entityfru_mib()
{
    deinit_module(entityfru_mib);
}
