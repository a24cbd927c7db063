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
// them.

/// Asks the platform for a row. A success without a response is none.
template <const auto& table>
int32_t ask_platform(chm_req_operation operation, RecordOf<table>& row)
{
    const Reply reply = exchange(table, operation, row);
    return reply.succeeded() && !reply.answered ? no_row : reply.result;
}

/// The row of a request within the transceivers' range, after whose last row the platform's go on.
template <const auto& table, auto& trans_sensor, typename Trace>
int32_t find_row_in_range(chm_req_operation operation, RecordOf<table>& row)
{
    const int32_t result = trans_sensor(operation, &row);
    Trace::transceiver_result(row.entPhysicalIndex, result);
    if (result == 0) {
        return 0;
    }
    row.entPhysicalIndex = PLATFORM_ROWS_RESUME;
    return ask_platform<table>(operation, row);
}

/// The row of any other request: the platform's, after whose last row the transceivers' go on.
template <const auto& table, auto& trans_sensor, typename Trace>
int32_t find_row_out_of_range(chm_req_operation operation, RecordOf<table>& row)
{
    int32_t result = ask_platform<table>(operation, row);
    if (result == 0) {
        Trace::platform_row(row.entPhysicalIndex);
        return 0;
    }
    Trace::no_platform_row(row.entPhysicalIndex, result);
    if (result == PLATFORM_NO_SUCH_ENTRY) {
        result = trans_sensor(operation, &row);
        Trace::transceiver_result(row.entPhysicalIndex, result);
    }
    return result;
}

/// Row lookup of both tables.
template <const auto& table, auto& trans_sensor, typename Trace>
int32_t find_sensor_row(const oid* vp_name, size_t vp_name_length, oid* name, size_t* length,
                        int exact, RecordOf<table>* row)
{
    using Row = RecordOf<table>;
    constexpr int32_t index_too_high = 129;

    const RowRequest request = {vp_name, vp_name_length, name, length, exact != 0};
    const auto find = [&](chm_req_operation operation, Row& asked) -> RowFound {
        // Only an index given in full is tested.
        if (request.within_column && *length >= vp_name_length + row_key<Row>) {
            Trace::given(asked);
            if (asked.entPhysicalIndex > SENSOR_INDEX_MAX) {
                return {index_too_high, false};
            }
        }
        Trace::request(operation, asked.entPhysicalIndex);
        const int32_t result =
            is_transceiver_sensor(asked.entPhysicalIndex)
                ? find_row_in_range<table, trans_sensor, Trace>(operation, asked)
                : find_row_out_of_range<table, trans_sensor, Trace>(operation, asked);
        if constexpr (requires { asked.measured_entity; }) {
            if (result == 0) {
                asked.measured_entity = asked.entPhysicalIndex;
            }
        }
        return {result, result == 0};
    };
    return look_up(request, NameBeyond::starts_over, *row, find);
}

constexpr RowLookup<ent_sensor_value_rec>& header_entSensorValueTable =
    find_sensor_row<sensor_value_table, entSensorValueTable_trans_sensor, ValueTrace>;
constexpr RowLookup<ent_sensor_thresh_rec>& header_entSensorThresholdTable =
    find_sensor_row<sensor_threshold_table, entSensorThresholdTable_trans_sensor, ThresholdTrace>;

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

constexpr WriteRule notification_enable_rule =
    integer_rule(within<1, 2>, "write to entSensorThresholdNotificationEnable not ASN_INTEGER\n",
                 "write to entSensorThresholdNotificationEnable: bad length\n");
constexpr WriteMethod& set_entSensorThresholdNotificationEnable =
    write_column<notification_enable_rule, sensor_threshold_table, header_entSensorThresholdTable,
                 &ent_sensor_thresh_rec::entSensorThresholdNotificationEnable, 14,
                 NotWritable::reported>;

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

constexpr Binding<Crossing> crossing_bindings[] = {
    bind<&Crossing::entSensorThresholdValue, &Crossing::entPhysicalIndex, &Crossing::sensor_thrsh>(
        threshold_value_column),
    bind<&Crossing::entSensorValue>(value_column),
};
constexpr ipcx_event_handler& handle_noti_entSensorThresholdNotification =
    notify<sensor_threshold_crossed, entitysensor_mib_variables_oid, 1, crossing_bindings>;

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
    print_enter();
    ent_cache_init();
    register_variables(entitysensor_mib);
    register_handlers(entitysensor_mib);
    print_exit();
}

CHM_ENTRY_POINT void deinit_entitysensor_mib()
{
    deinit_module(entitysensor_mib);
}
