/// Entity sensor MIB: the platform's own sensors and those of the optical transceivers, their
/// values and their thresholds.
#include "entitysensor_mib_folvex.h"

#include "column_value.h"
#include "diagnostics_cache.h"
#include "module_frame.h"
#include "notification.h"
#include "port_manager.h"
#include "request_channel.h"
#include "row_lookup.h"
#include "sensor_index.h"
#include "trace.h"
#include "transceiver_fetch.h"
#include "write_method.h"

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <tuple>

namespace {

enum entitysensor_mib_object : u_char {
    entSensorType = 3,
    entSensorScale = 4,
    entSensorPrecision = 5,
    entSensorValue = 6,
    entSensorStatus = 7,
    entSensorValueTimeStamp = 8,
    entSensorValueUpdateRate = 9,
    entSensorMeasuredEntity = 10,
    entSensorThresholdSeverity = 13,
    entSensorThresholdRelation = 14,
    entSensorThresholdValue = 15,
    entSensorThresholdEvaluation = 16,
    entSensorThresholdNotificationEnable = 17,
};

FindVarMethod get_entSensorValueTable, get_entSensorThresholdTable;
WriteMethod set_entSensorThresholdNotificationEnable;
ipcx_event_handler handle_noti_entSensorThresholdNotification;

// The module's root, and below it the columns.
#define ENTITYSENSOR_MIB 1, 3, 6, 1, 4, 1, ENTERPRISE_MAIN, 9, 91

constexpr oid entitysensor_mib_variables_oid[] = {ENTITYSENSOR_MIB};

// clang-format off
constexpr variable7 entitysensor_mib_variables[] = {
    {entSensorType, ASN_INTEGER, RONLY, get_entSensorValueTable, 5, {1, 1, 1, 1, 1}},
    {entSensorScale, ASN_INTEGER, RONLY, get_entSensorValueTable, 5, {1, 1, 1, 1, 2}},
    {entSensorPrecision, ASN_INTEGER, RONLY, get_entSensorValueTable, 5, {1, 1, 1, 1, 3}},
    {entSensorValue, ASN_INTEGER, RONLY, get_entSensorValueTable, 5, {1, 1, 1, 1, 4}},
    {entSensorStatus, ASN_INTEGER, RONLY, get_entSensorValueTable, 5, {1, 1, 1, 1, 5}},
    {entSensorValueTimeStamp, ASN_TIMETICKS, RONLY, get_entSensorValueTable, 5, {1, 1, 1, 1, 6}},
    {entSensorValueUpdateRate, ASN_INTEGER, RONLY, get_entSensorValueTable, 5, {1, 1, 1, 1, 7}},
    {entSensorMeasuredEntity, ASN_INTEGER, RONLY, get_entSensorValueTable, 5, {1, 1, 1, 1, 8}},
    {entSensorThresholdSeverity, ASN_INTEGER, RONLY, get_entSensorThresholdTable, 5, {1, 2, 1, 1, 2}},
    {entSensorThresholdRelation, ASN_INTEGER, RONLY, get_entSensorThresholdTable, 5, {1, 2, 1, 1, 3}},
    {entSensorThresholdValue, ASN_INTEGER, RONLY, get_entSensorThresholdTable, 5, {1, 2, 1, 1, 4}},
    {entSensorThresholdEvaluation, ASN_INTEGER, RONLY, get_entSensorThresholdTable, 5, {1, 2, 1, 1, 5}},
    {entSensorThresholdNotificationEnable, ASN_INTEGER, RWRITE, get_entSensorThresholdTable, 5, {1, 2, 1, 1, 6}},
};
// clang-format on

constexpr EventHandler entitysensor_mib_handlers[] = {
    {Event::sensor_threshold_crossed, handle_noti_entSensorThresholdNotification},
};

constexpr MibModule entitysensor_mib("entitysensor_mib", entitysensor_mib_variables,
                                     entitysensor_mib_variables_oid, entitysensor_mib_handlers);

constexpr oid value_column[] = {ENTITYSENSOR_MIB, 1, 1, 1, 1, 4};
constexpr oid threshold_value_column[] = {ENTITYSENSOR_MIB, 1, 2, 1, 1, 4};

/// Sub-identifiers of every column's OID.
constexpr size_t sensor_column_length = std::size(value_column);

/// No sensor has a higher index.
constexpr uint32_t SENSOR_INDEX_MAX = 255025684;

// Both tables have rows of the platform and rows of the transceivers' sensors, and one way to find
// them. What each table says of its own is a description below: its record, its index, how a walk
// steps from one transceiver sensor's row to the next, the fetch, and its traces.
//
// A step from anywhere below the transceivers' range leads to its start. The platform's own sensors
// end well before it; an index of the gap between them has no port of its own to go on from.

struct ValueTable {
    using Row = ent_sensor_value_rec;
    using Index = RowIndex<1>;
    static constexpr Opcode opcode = Opcode::sensor_value;
    static constexpr const char* lookup = "header_entSensorValueTable";
    static constexpr const char* trans_sensor = "entSensorValueTable_trans_sensor";

    static Index index_of(const Row& row) { return {row.entPhysicalIndex}; }
    static void set_index(Row& row, const Index& index) { row.entPhysicalIndex = index[0]; }

    static void step(Row& row)
    {
        const bool from_below = row.entPhysicalIndex < ENTITY_PORT_SFP_SENSOR_START;
        row.entPhysicalIndex = from_below ? ENTITY_PORT_SFP_SENSOR_START : row.entPhysicalIndex + 1;
    }

    static uint32_t fetch(int32_t operation, Row& row, const SensorPlace& place)
    {
        uint8_t fcot_res[PM_FCOT_INFO_SIZE] = {};
        uint32_t count = 1;
        return ent_cmi_get_fcot_info(ipcx_response_q, operation, 1, &row.entPhysicalIndex,
                                     &place.if_index, &place.code, &count, fcot_res, &row);
    }

    static void complete(Row& row) { row.measured_entity = row.entPhysicalIndex; }

    static bool is_beyond(const RowRequest& /*request*/, const Row& row)
    {
        return row.entPhysicalIndex > SENSOR_INDEX_MAX;
    }

    static void trace_request(chm_req_operation operation, const Row& row)
    {
        if (operation == CHM_REQ_GETNEXT) {
            CHM_TRACE("%s: came with GETNEXT_REQ EPI= %d\n", lookup, row.entPhysicalIndex);
        }
        CHM_TRACE("%s/%d: entPhyIndex = %d ", lookup, __LINE__, row.entPhysicalIndex);
    }

    static void trace_ranges(const char* function)
    {
        CHM_TRACE("%s/%d: ENTITY_SENSOR_START:%d, ENTITY_SENSOR_END:%d\n"
                  "ENTITY_PORT_SFP_SENSOR_START = %d, ENTITY_PORT_SFP_SENSOR_END:%d\n",
                  function, __LINE__, ENTITY_SENSOR_START, ENTITY_SENSOR_END,
                  ENTITY_PORT_SFP_SENSOR_START, ENTITY_PORT_SFP_SENSOR_END);
    }

    static void trace_found(const Row& row, int32_t /*result*/)
    {
        CHM_TRACE("%s/%d: entPhyIndex = %d ", lookup, __LINE__, row.entPhysicalIndex);
    }

    static void trace_not_found(const Row& row, int32_t /*result*/)
    {
        CHM_TRACE("%s/%d: came with no_entry, ent_phy_index = %d\n", lookup, __LINE__,
                  row.entPhysicalIndex);
        trace_ranges(lookup);
    }

    static void trace_transceiver_result(const Row& row, int32_t result)
    {
        CHM_TRACE("%s/%d: entPhyIndex = %d ret_code %d", lookup, __LINE__, row.entPhysicalIndex,
                  result);
    }

    static void trace_transceiver_request(const Row& asked_for, const Row& row)
    {
        CHM_TRACE("%s/%d: entry->entPhysicalIndex = %d sfp_diag_entry.entPhysicalIndex = %d\n",
                  trans_sensor, __LINE__, asked_for.entPhysicalIndex, row.entPhysicalIndex);
        trace_ranges(trans_sensor);
    }

    static void trace_below_range(const Row& row)
    {
        CHM_TRACE("lesser value! %s/%d: sfp_diag_entry.entPhysicalIndex = %d, ", trans_sensor,
                  __LINE__, row.entPhysicalIndex);
    }

    static void trace_place(const Row& row, const SensorPlace& place)
    {
        CHM_TRACE("%s/%d: sfp_diag_entry.entPhysicalIndex = %d, ifIndex = 0x%x, "
                  "sensor_type = %d\n",
                  trans_sensor, __LINE__, row.entPhysicalIndex, place.if_index, place.code);
    }

    static void trace_unmatched_port(const Row& row, const SensorPlace& place, uint8_t port_type)
    {
        CHM_TRACE("%s/%d: sfp_diag_entry.entPhysicalIndex = %d, ifIndex = 0x%x, "
                  "sensor_type = %d, unmatched port type:%d, NO_ENTRY\n",
                  trans_sensor, __LINE__, row.entPhysicalIndex, place.if_index, place.code,
                  port_type);
    }

    static void trace_failed_fetch(const Row& row, uint32_t status)
    {
        CHM_TRACE("%s/%d: FALIED EPI for sfp_diag_entry.entPhysicalIndex = %d\n", trans_sensor,
                  __LINE__, row.entPhysicalIndex);
        CHM_TRACE("%s/%d: call to get fcot info failed, retcode = 0x%x\n", trans_sensor, __LINE__,
                  status);
    }
};

struct ThresholdTable {
    using Row = ent_sensor_thresh_rec;
    using Index = RowIndex<2>;
    static constexpr Opcode opcode = Opcode::sensor_threshold;
    static constexpr const char* lookup = "header_entSensorThresholdTable";
    static constexpr const char* trans_sensor = "entSensorThresholdTable_trans_sensor";

    static Index index_of(const Row& row) { return {row.entPhysicalIndex, row.sensor_thrsh}; }
    static void set_index(Row& row, const Index& index)
    {
        row.entPhysicalIndex = index[0];
        row.sensor_thrsh = index[1];
    }

    static void step(Row& row)
    {
        if (row.entPhysicalIndex < ENTITY_PORT_SFP_SENSOR_START) {
            set_index(row, {ENTITY_PORT_SFP_SENSOR_START, 1});
        } else if (row.sensor_thrsh < SENSOR_THRESHOLDS) { // unsigned, as sub-identifiers are
            ++row.sensor_thrsh;
        } else {
            set_index(row, {row.entPhysicalIndex + 1, 1});
        }
        CHM_TRACE("%s: sens_thresh = %d, entPhyIndex = %d\n", trans_sensor, row.sensor_thrsh,
                  row.entPhysicalIndex);
    }

    static uint32_t fetch(int32_t operation, Row& row, const SensorPlace& place)
    {
        uint32_t count = 1;
        const auto threshold = static_cast<int32_t>(row.sensor_thrsh);
        return ent_cmi_get_fcot_threshold(ipcx_response_q, operation, 1, &row.entPhysicalIndex,
                                          &place.if_index, &threshold, &place.code, &count, nullptr,
                                          &row);
    }

    static void complete(Row& /*row*/) {}

    /// Only an index given in full is tested.
    static bool is_beyond(const RowRequest& request, const Row& row)
    {
        if (!request.within_column() ||
            *request.length < request.column_length + std::tuple_size_v<Index>) {
            return false;
        }
        CHM_TRACE("%s:entSensorThresholdindex = %d, entPhysicalIndex = %d\n", lookup,
                  row.sensor_thrsh, row.entPhysicalIndex);
        return row.entPhysicalIndex > SENSOR_INDEX_MAX;
    }

    static void trace_request(chm_req_operation /*operation*/, const Row& /*row*/) {}

    static void trace_found(const Row& row, int32_t result)
    {
        CHM_TRACE("%s: NORMAL, ent_phy_index = %d,ret_code:%d\n", lookup, row.entPhysicalIndex,
                  result);
    }

    static void trace_not_found(const Row& row, int32_t result)
    {
        if (result == PLATFORM_NO_SUCH_ENTRY) {
            CHM_TRACE("%s: came with no_entry, ent_phy_index = %d\n", lookup, row.entPhysicalIndex);
        }
    }

    static void trace_transceiver_result(const Row& /*row*/, int32_t /*result*/) {}
    static void trace_transceiver_request(const Row& /*asked_for*/, const Row& /*row*/) {}

    static void trace_below_range(const Row& row)
    {
        CHM_TRACE("lesser value! %s: entPhyIndex = %d, ", trans_sensor, row.entPhysicalIndex);
    }

    static void trace_place(const Row& row, const SensorPlace& place)
    {
        CHM_TRACE("%s: entPhyIndex = %d, ifIndex = 0x%x, sensor_type = %d\n", trans_sensor,
                  row.entPhysicalIndex, place.if_index, place.code);
    }

    static void trace_unmatched_port(const Row& /*row*/, const SensorPlace& /*place*/,
                                     uint8_t /*port_type*/)
    {
    }

    static void trace_failed_fetch(const Row& row, uint32_t status)
    {
        CHM_TRACE("%s: FALIED EPI = %d\n", trans_sensor, row.entPhysicalIndex);
        CHM_TRACE("%s: call to get fcot info failed, retcode = 0x%x\n", trans_sensor, status);
    }
};

/// The transceiver half of a table: finds the sensor's row for CHM_REQ_GET, the first row after it
/// for CHM_REQ_GETNEXT. A row not found stays as it is.
/// @return 0, no_row for an index below the transceivers', or an SNMP error status
template <typename Table>
int32_t find_transceiver_row(chm_req_operation operation, typename Table::Row* row)
{
    typename Table::Row found = {};
    Table::set_index(found, Table::index_of(*row));
    Table::trace_transceiver_request(*row, found);
    if (operation == CHM_REQ_GETNEXT) {
        Table::step(found);
    }
    if (found.entPhysicalIndex <= ENTITY_SENSOR_END) {
        Table::trace_below_range(found);
        return no_row;
    }
    const SensorPlace place = sensor_place_of(found.entPhysicalIndex);
    Table::trace_place(found, place);
    const uint8_t port_type = port_type_of(place.if_index);
    if (!may_hold_transceiver(port_type)) {
        Table::trace_unmatched_port(found, place, port_type);
        return PLATFORM_NO_SUCH_ENTRY;
    }
    const uint32_t status = Table::fetch(operation, found, place);
    if (status != FETCH_OK) {
        Table::trace_failed_fetch(found, status);
        return chm_log_snmp_error(static_cast<int32_t>(status));
    }
    *row = found;
    return 0;
}

/// Asks the platform for a row. A success without a response is none.
template <typename Table>
int32_t ask_platform(chm_req_operation operation, typename Table::Row* row)
{
    const Reply reply = exchange(Table::opcode, operation, *row);
    return reply.succeeded() && !reply.answered ? no_row : reply.result;
}

/// The row of a request within the transceivers' range, after whose last row the platform's go on.
template <typename Table>
int32_t find_row_in_range(chm_req_operation operation, typename Table::Row* row)
{
    const int32_t result = find_transceiver_row<Table>(operation, row);
    Table::trace_transceiver_result(*row, result);
    if (result == 0) {
        return 0;
    }
    row->entPhysicalIndex = PLATFORM_ROWS_RESUME;
    return ask_platform<Table>(operation, row);
}

/// The row of any other request: the platform's, after whose last row the transceivers' go on.
template <typename Table>
int32_t find_row_out_of_range(chm_req_operation operation, typename Table::Row* row)
{
    int32_t result = ask_platform<Table>(operation, row);
    if (result == 0) {
        Table::trace_found(*row, result);
        return 0;
    }
    Table::trace_not_found(*row, result);
    if (result == PLATFORM_NO_SUCH_ENTRY) {
        result = find_transceiver_row<Table>(operation, row);
        Table::trace_transceiver_result(*row, result);
    }
    return result;
}

/// Row lookup of both tables.
template <typename Table>
int32_t find_sensor_row(const oid* vp_name, size_t vp_name_length, oid* name, size_t* length,
                        int exact, typename Table::Row* row)
{
    constexpr size_t indexes = std::tuple_size_v<typename Table::Index>;
    constexpr int32_t index_too_high = 129;

    const RowRequest request = {vp_name, vp_name_length, name, length, exact != 0};
    Table::set_index(*row, {});
    const auto index = requested_index<indexes>(request);
    if (!index) {
        return no_row;
    }
    Table::set_index(*row, *index);
    if (Table::is_beyond(request, *row)) {
        return index_too_high;
    }
    const chm_req_operation operation = request.operation();
    Table::trace_request(operation, *row);
    const int32_t result = is_transceiver_sensor(row->entPhysicalIndex)
                               ? find_row_in_range<Table>(operation, row)
                               : find_row_out_of_range<Table>(operation, row);
    if (result != 0) {
        return result;
    }
    Table::complete(*row);
    return name_row<indexes>(request, Table::index_of(*row));
}

constexpr RowLookup<ent_sensor_value_rec>& header_entSensorValueTable = find_sensor_row<ValueTable>;
constexpr RowLookup<ent_sensor_thresh_rec>& header_entSensorThresholdTable =
    find_sensor_row<ThresholdTable>;

u_char* get_entSensorValueTable(variable* vp, oid* name, size_t* length, int exact, size_t* var_len,
                                WriteMethod**)
{
    static ent_sensor_value_rec row;
    static uint32_t ticks;

    if (header_entSensorValueTable(vp->name, vp->namelen, name, length, exact, &row) != 0) {
        return nullptr;
    }
    switch (vp->magic) {
    case entSensorType:
        return integer_value(row.entSensorType, var_len);
    case entSensorScale:
        return integer_value(row.entSensorScale, var_len);
    case entSensorPrecision:
        return integer_value(row.entSensorPrecision, var_len);
    case entSensorValue:
        return integer_value(row.entSensorValue, var_len);
    case entSensorStatus:
        return integer_value(row.entSensorStatus, var_len);
    case entSensorValueTimeStamp:
        ticks = uptime_at(row.value_time);
        return integer_value(ticks, var_len);
    case entSensorValueUpdateRate:
        return integer_value(row.entSensorValueUpdateRate, var_len);
    case entSensorMeasuredEntity:
        return integer_value(row.measured_entity, var_len);
    default:
        return unknown_object();
    }
}

void entSensorThresholdTable_set_methods(u_char magic, WriteMethod** write_method)
{
    if (magic == entSensorThresholdNotificationEnable) {
        *write_method = set_entSensorThresholdNotificationEnable;
    }
}

u_char* get_entSensorThresholdTable(variable* vp, oid* name, size_t* length, int exact,
                                    size_t* var_len, WriteMethod** write_method)
{
    static ent_sensor_thresh_rec row;

    entSensorThresholdTable_set_methods(vp->magic, write_method);
    if (header_entSensorThresholdTable(vp->name, vp->namelen, name, length, exact, &row) != 0) {
        return nullptr;
    }
    switch (vp->magic) {
    case entSensorThresholdSeverity:
        return integer_value(row.entSensorThresholdSeverity, var_len);
    case entSensorThresholdRelation:
        return integer_value(row.entSensorThresholdRelation, var_len);
    case entSensorThresholdValue:
        return integer_value(row.entSensorThresholdValue, var_len);
    case entSensorThresholdEvaluation:
        return integer_value(row.entSensorThresholdEvaluation, var_len);
    case entSensorThresholdNotificationEnable:
        return integer_value(row.entSensorThresholdNotificationEnable, var_len);
    default:
        return unknown_object();
    }
}

constexpr WriteRule notification_enable_rule = {
    ASN_INTEGER,  "write to entSensorThresholdNotificationEnable not ASN_INTEGER\n",
    sizeof(long), "write to entSensorThresholdNotificationEnable: bad length\n",
    within<1, 2>,
};

int set_entSensorThresholdNotificationEnable(int action, u_char* var_val, u_char var_val_type,
                                             size_t var_val_len, u_char*, oid* name,
                                             size_t name_length)
{
    const WriteValue value = {var_val, var_val_type, var_val_len};
    return in_phase(action, notification_enable_rule, value, [&] {
        return write_row(Opcode::sensor_threshold, header_entSensorThresholdTable,
                         sensor_column_length, name, name_length, NotWritable::reported,
                         [&](ent_sensor_thresh_rec& row) {
                             row.entSensorThresholdNotificationEnable = integer_of(value);
                         });
    });
}

netsnmp_variable_list* handle_noti_entSensorThresholdNotification(void* message, oid* trap_oid,
                                                                  size_t* trap_oid_length,
                                                                  int* send)
{
    static constexpr oid entSensorThresholdNotification[] = {ENTITYSENSOR_MIB, 2, 0, 1};
    return notify<sensor_threshold_crossing>(
        message, trap_oid, trap_oid_length, send, entSensorThresholdNotification,
        [](const sensor_threshold_crossing& crossing, Bindings& bindings) {
            const uint32_t sensor = crossing.entPhysicalIndex;
            bind_integer(bindings, threshold_value_column,
                         RowIndex<2>{sensor, crossing.sensor_thrsh},
                         crossing.entSensorThresholdValue);
            bind_integer(bindings, value_column, sensor, crossing.entSensorValue);
        });
}

} // namespace

u_char* get_entitySensorMIB(variable* vp, oid* name, size_t* length, int exact, size_t* var_len,
                            WriteMethod** write_method)
{
    if (header_generic(vp, name, length, exact, var_len, write_method) == MATCH_FAILED) {
        return nullptr;
    }
    return unknown_object();
}

CHM_ENTRY_POINT void init_entitysensor_mib()
{
    print_enter(__func__);
    ent_cache_init();
    register_variables(entitysensor_mib, __func__, __FILE__, __LINE__);
    register_handlers(entitysensor_mib);
    print_exit(__func__);
}

CHM_ENTRY_POINT void deinit_entitysensor_mib()
{
    print_enter(__func__);
    unregister_variables(entitysensor_mib);
    unregister_handlers(entitysensor_mib);
    print_exit(__func__);
}
