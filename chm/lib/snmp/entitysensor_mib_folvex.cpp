/// Entity sensor MIB: the platform's own sensors and those of the optical transceivers, their
/// values and their thresholds.
#include "entitysensor_mib_folvex.h"

#include "column.h"
#include "diagnostics_cache.h"
#include "module_frame.h"
#include "notification.h"
#include "request_channel.h"
#include "row_lookup.h"
#include "sensor_table_trace.h"
#include "trace.h"
#include "transceiver_rows.h"
#include "write_method.h"

#include <cstddef>
#include <cstdint>

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

/// No sensor has a higher index.
constexpr uint32_t SENSOR_INDEX_MAX = 255025684;

// Both tables have rows of the platform and rows of the transceivers' sensors, and one way to find
// them. A table says of its own its request, its transceiver half, its traces, and which indexes it
// refuses.

struct ValueTable {
    using Row = ent_sensor_value_rec;
    using Trace = ValueTrace;
    static constexpr const auto& request = sensor_value_table;
    static constexpr auto& trans_sensor = entSensorValueTable_trans_sensor;

    static bool is_beyond(const RowRequest& /*request*/, const Row& row)
    {
        return row.entPhysicalIndex > SENSOR_INDEX_MAX;
    }

    static void complete(Row& row) { row.measured_entity = row.entPhysicalIndex; }
};

struct ThresholdTable {
    using Row = ent_sensor_thresh_rec;
    using Trace = ThresholdTrace;
    static constexpr const auto& request = sensor_threshold_table;
    static constexpr auto& trans_sensor = entSensorThresholdTable_trans_sensor;

    /// Only an index given in full is tested.
    static bool is_beyond(const RowRequest& asked, const Row& row)
    {
        if (!asked.within_column() || *asked.length < asked.column_length + 2) {
            return false;
        }
        CHM_TRACE("%s:entSensorThresholdindex = %d, entPhysicalIndex = %d\n", Trace::lookup,
                  row.sensor_thrsh.value(), row.entPhysicalIndex.value());
        return row.entPhysicalIndex > SENSOR_INDEX_MAX;
    }

    static void complete(Row& /*row*/) {}
};

/// Asks the platform for a row. A success without a response is none.
template <typename Table>
int32_t ask_platform(chm_req_operation operation, typename Table::Row& row)
{
    const Reply reply = exchange(Table::request, operation, row);
    return reply.succeeded() && !reply.answered ? no_row : reply.result;
}

/// The row of a request within the transceivers' range, after whose last row the platform's go on.
template <typename Table>
int32_t find_row_in_range(chm_req_operation operation, typename Table::Row& row)
{
    const int32_t result = Table::trans_sensor(operation, &row);
    Table::Trace::transceiver_result(row, result);
    if (result == 0) {
        return 0;
    }
    row.entPhysicalIndex = PLATFORM_ROWS_RESUME;
    return ask_platform<Table>(operation, row);
}

/// The row of any other request: the platform's, after whose last row the transceivers' go on.
template <typename Table>
int32_t find_row_out_of_range(chm_req_operation operation, typename Table::Row& row)
{
    int32_t result = ask_platform<Table>(operation, row);
    if (result == 0) {
        Table::Trace::platform_row(row);
        return 0;
    }
    Table::Trace::no_platform_row(row, result);
    if (result == PLATFORM_NO_SUCH_ENTRY) {
        result = Table::trans_sensor(operation, &row);
        Table::Trace::transceiver_result(row, result);
    }
    return result;
}

/// Row lookup of both tables.
template <typename Table>
int32_t find_sensor_row(const oid* vp_name, size_t vp_name_length, oid* name, size_t* length,
                        int exact, typename Table::Row* row)
{
    constexpr int32_t index_too_high = 129;

    const RowRequest request = {vp_name, vp_name_length, name, length, exact != 0};
    return look_up(request, NameBeyond::starts_over, *row,
                   [&](chm_req_operation operation, typename Table::Row& asked) -> RowFound {
                       if (Table::is_beyond(request, asked)) {
                           return {index_too_high, false};
                       }
                       Table::Trace::request(operation, asked);
                       const int32_t result = is_transceiver_sensor(asked.entPhysicalIndex)
                                                  ? find_row_in_range<Table>(operation, asked)
                                                  : find_row_out_of_range<Table>(operation, asked);
                       if (result != 0) {
                           return {result, false};
                       }
                       Table::complete(asked);
                       return {0, true};
                   });
}

constexpr RowLookup<ent_sensor_value_rec>& header_entSensorValueTable = find_sensor_row<ValueTable>;
constexpr RowLookup<ent_sensor_thresh_rec>& header_entSensorThresholdTable =
    find_sensor_row<ThresholdTable>;

constexpr Column<ent_sensor_value_rec> value_columns[] = {
    {entSensorType, field<&ent_sensor_value_rec::entSensorType>},
    {entSensorScale, field<&ent_sensor_value_rec::entSensorScale>},
    {entSensorPrecision, field<&ent_sensor_value_rec::entSensorPrecision>},
    {entSensorValue, field<&ent_sensor_value_rec::entSensorValue>},
    {entSensorStatus, field<&ent_sensor_value_rec::entSensorStatus>},
    {entSensorValueTimeStamp, field<&ent_sensor_value_rec::value_time>},
    {entSensorValueUpdateRate, field<&ent_sensor_value_rec::entSensorValueUpdateRate>},
    {entSensorMeasuredEntity, field<&ent_sensor_value_rec::measured_entity>},
};
constexpr FindVarMethod& get_entSensorValueTable = serve<header_entSensorValueTable, value_columns>;

constexpr WritableColumn notification_enable = {
    integer_rule(within<1, 2>, "write to entSensorThresholdNotificationEnable not ASN_INTEGER\n",
                 "write to entSensorThresholdNotificationEnable: bad length\n"),
    sensor_threshold_table,
    header_entSensorThresholdTable,
    14,
    &ent_sensor_thresh_rec::entSensorThresholdNotificationEnable,
    NotWritable::reported,
};
constexpr WriteMethod& set_entSensorThresholdNotificationEnable = write_column<notification_enable>;

constexpr Column<ent_sensor_thresh_rec> threshold_columns[] = {
    {entSensorThresholdSeverity, field<&ent_sensor_thresh_rec::entSensorThresholdSeverity>},
    {entSensorThresholdRelation, field<&ent_sensor_thresh_rec::entSensorThresholdRelation>},
    {entSensorThresholdValue, field<&ent_sensor_thresh_rec::entSensorThresholdValue>},
    {entSensorThresholdEvaluation, field<&ent_sensor_thresh_rec::entSensorThresholdEvaluation>},
    {entSensorThresholdNotificationEnable,
     field<&ent_sensor_thresh_rec::entSensorThresholdNotificationEnable>,
     set_entSensorThresholdNotificationEnable},
};
constexpr FindVarMethod& get_entSensorThresholdTable =
    serve<header_entSensorThresholdTable, threshold_columns>;

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

using Crossing = sensor_threshold_crossing;
constexpr oid value_column[] = {ENTITYSENSOR_MIB, 1, 1, 1, 1, 4};
constexpr oid threshold_value_column[] = {ENTITYSENSOR_MIB, 1, 2, 1, 1, 4};

constexpr Binding<Crossing> threshold_bindings[] = {
    bind<&Crossing::entSensorThresholdValue>(threshold_value_column),
    bind<&Crossing::entSensorValue, &Crossing::entPhysicalIndex>(value_column),
};
constexpr Notification<Crossing> entSensorThresholdNotification = {{ENTITYSENSOR_MIB, 2, 0, 1},
                                                                   threshold_bindings};
constexpr ipcx_event_handler& handle_noti_entSensorThresholdNotification =
    notify<sensor_threshold_crossed, entSensorThresholdNotification>;

constexpr EventHandler entitysensor_mib_handlers[] = {
    {sensor_threshold_crossed, handle_noti_entSensorThresholdNotification},
};

constexpr MibModule entitysensor_mib("entitysensor_mib", entitysensor_mib_variables,
                                     entitysensor_mib_variables_oid, entitysensor_mib_handlers);

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
