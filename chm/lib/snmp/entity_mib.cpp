/// ENTITY-MIB: the physical inventory of the chassis.
#include "entity_mib.h"

#include "column.h"
#include "module_frame.h"
#include "notification.h"
#include "request_channel.h"
#include "row_lookup.h"
#include "trace.h"
#include "transceiver_rows.h"
#include "wire/physical_index.h"
#include "write_method.h"

#include <bit>
#include <cstddef>
#include <cstdint>

namespace {

enum entity_mib_object : u_char {
    entPhysicalDescr = 4,
    entPhysicalVendorType = 5,
    entPhysicalContainedIn = 6,
    entPhysicalClass = 7,
    entPhysicalParentRelPos = 8,
    entPhysicalName = 9,
    entPhysicalHardwareRev = 10,
    entPhysicalFirmwareRev = 11,
    entPhysicalSoftwareRev = 12,
    entPhysicalSerialNum = 13,
    entPhysicalMfgName = 14,
    entPhysicalModelName = 15,
    entPhysicalAlias = 16,
    entPhysicalAssetID = 17,
    entPhysicalIsFRU = 18,
    entLogicalDescr = 22,
    entLogicalType = 23,
    entLogicalCommunity = 24,
    entLogicalTAddress = 25,
    entLogicalTDomain = 26,
    entLogicalContextEngineID = 27,
    entLogicalContextName = 28,
    entLPPhysicalIndex = 31,
    entAliasMappingIdentifier = 35,
    entPhysicalChildIndex = 38,
    entLastChangeTime = 39,
};

constexpr const char* row_lookup_name = "header_entPhysicalTable";

inline void trace_index(uint32_t index, int line = __builtin_LINE())
{
    CHM_TRACE("%s/%d: entPhyIndex = %d ", row_lookup_name, line, index);
}

/// A request inside the transceiver range. After the last sensor the platform's rows go on; what
/// the platform answers there replaces the row and names the instance even when it fails.
RowFound find_sensor(chm_req_operation operation, ent_phys_entry& row)
{
    trace_index(row.entPhysicalIndex);
    const int32_t result = entPhysicalTable_trans_sensor(operation, &row);
    CHM_TRACE("%s/%d: entPhyIndex = %d ret_code %d", row_lookup_name, __LINE__,
              row.entPhysicalIndex.value(), result);
    if (result == 0) {
        return {0, true};
    }
    trace_index(row.entPhysicalIndex);
    row.entPhysicalIndex = PLATFORM_ROWS_RESUME;
    const Reply reply =
        exchange(physical_table, operation, row, Requester::snmp_request, TakeResponse::always);
    return {reply.result, true};
}

/// A request for a row of the platform. An answer with an index inside the transceiver range, be it
/// a failure, is how the platform leads a walk over to the sensors: the one there, or the next one,
/// takes the place of its row.
RowFound find_platform_row(chm_req_operation operation, ent_phys_entry& row)
{
    const uint32_t requested = row.entPhysicalIndex;
    Reply reply = exchange(physical_table, operation, row);
    if (!reply.answered) {
        return {reply.result, false};
    }
    if (reply.succeeded()) {
        trace_index(requested);
    } else {
        reply.take_into(&row.entPhysicalIndex, sizeof row.entPhysicalIndex);
        CHM_TRACE("%s/%d: ret_entry->entPhysicalIndex = %d ", row_lookup_name, __LINE__,
                  std::bit_cast<uint32_t>(row.entPhysicalIndex)); // as it came
    }
    if (!is_transceiver_sensor(row.entPhysicalIndex)) {
        return {reply.result, reply.succeeded()};
    }

    trace_index(row.entPhysicalIndex);
    const int32_t result = entPhysicalTable_trans_sensor(operation, &row);
    CHM_TRACE("%s:%d, call transceiver mib msg_type:%d, entPhysicalIndex:%d,ret_code:%d\n",
              row_lookup_name, __LINE__, operation, row.entPhysicalIndex.value(), result);
    if (result == 0) {
        trace_index(row.entPhysicalIndex);
    } else if (reply.succeeded() && operation == CHM_REQ_GETNEXT) {
        CHM_TRACE("%s/%d: entPhyIndex = %d, ret_code: %d\n", row_lookup_name, __LINE__,
                  row.entPhysicalIndex.value(), result);
        return {0, true}; // no sensor from there on: the platform's row as received
    }
    return {result, result == 0};
}

/// Row lookup of entPhysicalTable: the index says whether the row is the platform's or a sensor's.
int32_t header_entPhysicalTable(const oid* vp_name, size_t vp_name_length, oid* name,
                                size_t* length, int exact, ent_phys_entry* row)
{
    return look_up({vp_name, vp_name_length, name, length, exact != 0}, NameBeyond::starts_over,
                   *row, [](chm_req_operation operation, ent_phys_entry& asked) {
                       const RowFound found = is_transceiver_sensor(asked.entPhysicalIndex)
                                                  ? find_sensor(operation, asked)
                                                  : find_platform_row(operation, asked);
                       if (found.names_row) {
                           trace_index(asked.entPhysicalIndex);
                       }
                       return found;
                   });
}

constexpr size_t column_length = 12;
constexpr size_t longest_label = 32; ///< that an operator writes

constexpr WriteRule alias_rule =
    text_rule(0, longest_label, "write to entPhysicalAlias not ASN_OCTET_STR\n",
              "write to entPhysicalAlias: bad length\n");
constexpr WriteMethod& set_entPhysicalAlias =
    write_column<alias_rule, physical_table, header_entPhysicalTable,
                 &ent_phys_entry::entPhysicalAlias, column_length, NotWritable::general_error>;

constexpr WriteRule asset_id_rule =
    text_rule(0, longest_label, "write to entPhysicalAssetID not ASN_OCTET_STR\n",
              "write to entPhysicalAssetID: bad length\n");
constexpr WriteMethod& set_entPhysicalAssetID =
    write_column<asset_id_rule, physical_table, header_entPhysicalTable,
                 &ent_phys_entry::entPhysicalAssetID, column_length, NotWritable::general_error>;

constexpr Column<ent_phys_entry> physical_columns[] = {
    {entPhysicalDescr, field<&ent_phys_entry::entPhysicalDescr>},
    {entPhysicalVendorType, field<&ent_phys_entry::entPhysicalVendorType>},
    {entPhysicalContainedIn, field<&ent_phys_entry::entPhysicalContainedIn>},
    {entPhysicalClass, field<&ent_phys_entry::entPhysicalClass>},
    {entPhysicalParentRelPos, field<&ent_phys_entry::entPhysicalParentRelPos>},
    {entPhysicalName, field<&ent_phys_entry::entPhysicalName>},
    {entPhysicalHardwareRev, field<&ent_phys_entry::entPhysicalHardwareRev>},
    {entPhysicalFirmwareRev, field<&ent_phys_entry::entPhysicalFirmwareRev>},
    {entPhysicalSoftwareRev, field<&ent_phys_entry::entPhysicalSoftwareRev>},
    {entPhysicalSerialNum, field<&ent_phys_entry::entPhysicalSerialNum>},
    {entPhysicalMfgName, field<&ent_phys_entry::entPhysicalMfgName>},
    {entPhysicalModelName, field<&ent_phys_entry::entPhysicalModelName>},
    {entPhysicalAlias, field<&ent_phys_entry::entPhysicalAlias>, set_entPhysicalAlias},
    {entPhysicalAssetID, field<&ent_phys_entry::entPhysicalAssetID>, set_entPhysicalAssetID},
    {entPhysicalIsFRU, field<&ent_phys_entry::entPhysicalIsFRU>},
};
constexpr FindVarMethod& get_entPhysicalTable = serve<header_entPhysicalTable, physical_columns>;

// Tables that this switch has no rows for.
constexpr FindVarMethod& get_entLogicalTable = serve_no_rows;
constexpr FindVarMethod& get_entLPMappingTable = serve_no_rows;
constexpr FindVarMethod& get_entAliasMappingTable = serve_no_rows;
constexpr FindVarMethod& get_entPhysicalContainsTable = serve_no_rows;

/// A time that the platform does not report is served as 0.
u_char* get_entityMIB(variable* vp, oid* name, size_t* length, int exact, size_t* var_len,
                      WriteMethod** write_method)
{
    static uint32_t last_change;

    if (header_generic(vp, name, length, exact, var_len, write_method) == MATCH_FAILED) {
        return nullptr;
    }
    if (vp->magic != entLastChangeTime) {
        return unknown_object();
    }
    last_change = uptime_at(read_scalar(last_change_time).value_or(platform_time{}));
    return integer_value(last_change, var_len);
}

constexpr oid entity_mib_variables_oid[] = {1, 3, 6, 1, 2, 1, 47};

// clang-format off
constexpr variable7 entity_mib_variables[] = {
    {entPhysicalDescr, ASN_OCTET_STR, RONLY, get_entPhysicalTable, 5, {1, 1, 1, 1, 2}},
    {entPhysicalVendorType, ASN_OBJECT_ID, RONLY, get_entPhysicalTable, 5, {1, 1, 1, 1, 3}},
    {entPhysicalContainedIn, ASN_INTEGER, RONLY, get_entPhysicalTable, 5, {1, 1, 1, 1, 4}},
    {entPhysicalClass, ASN_INTEGER, RONLY, get_entPhysicalTable, 5, {1, 1, 1, 1, 5}},
    {entPhysicalParentRelPos, ASN_INTEGER, RONLY, get_entPhysicalTable, 5, {1, 1, 1, 1, 6}},
    {entPhysicalName, ASN_OCTET_STR, RONLY, get_entPhysicalTable, 5, {1, 1, 1, 1, 7}},
    {entPhysicalHardwareRev, ASN_OCTET_STR, RONLY, get_entPhysicalTable, 5, {1, 1, 1, 1, 8}},
    {entPhysicalFirmwareRev, ASN_OCTET_STR, RONLY, get_entPhysicalTable, 5, {1, 1, 1, 1, 9}},
    {entPhysicalSoftwareRev, ASN_OCTET_STR, RONLY, get_entPhysicalTable, 5, {1, 1, 1, 1, 10}},
    {entPhysicalSerialNum, ASN_OCTET_STR, RWRITE, get_entPhysicalTable, 5, {1, 1, 1, 1, 11}},
    {entPhysicalMfgName, ASN_OCTET_STR, RONLY, get_entPhysicalTable, 5, {1, 1, 1, 1, 12}},
    {entPhysicalModelName, ASN_OCTET_STR, RONLY, get_entPhysicalTable, 5, {1, 1, 1, 1, 13}},
    {entPhysicalAlias, ASN_OCTET_STR, RWRITE, get_entPhysicalTable, 5, {1, 1, 1, 1, 14}},
    {entPhysicalAssetID, ASN_OCTET_STR, RWRITE, get_entPhysicalTable, 5, {1, 1, 1, 1, 15}},
    {entPhysicalIsFRU, ASN_INTEGER, RONLY, get_entPhysicalTable, 5, {1, 1, 1, 1, 16}},
    {entLogicalDescr, ASN_OCTET_STR, RONLY, get_entLogicalTable, 5, {1, 2, 1, 1, 2}},
    {entLogicalType, ASN_OBJECT_ID, RONLY, get_entLogicalTable, 5, {1, 2, 1, 1, 3}},
    {entLogicalCommunity, ASN_OCTET_STR, RONLY, get_entLogicalTable, 5, {1, 2, 1, 1, 4}},
    {entLogicalTAddress, ASN_OCTET_STR, RONLY, get_entLogicalTable, 5, {1, 2, 1, 1, 5}},
    {entLogicalTDomain, ASN_OBJECT_ID, RONLY, get_entLogicalTable, 5, {1, 2, 1, 1, 6}},
    {entLogicalContextEngineID, ASN_OCTET_STR, RONLY, get_entLogicalTable, 5, {1, 2, 1, 1, 7}},
    {entLogicalContextName, ASN_OCTET_STR, RONLY, get_entLogicalTable, 5, {1, 2, 1, 1, 8}},
    {entLPPhysicalIndex, ASN_INTEGER, RONLY, get_entLPMappingTable, 5, {1, 3, 1, 1, 1}},
    {entAliasMappingIdentifier, ASN_OBJECT_ID, RONLY, get_entAliasMappingTable, 5, {1, 3, 2, 1, 2}},
    {entPhysicalChildIndex, ASN_INTEGER, RONLY, get_entPhysicalContainsTable, 5, {1, 3, 3, 1, 1}},
    {entLastChangeTime, ASN_TIMETICKS, RONLY, get_entityMIB, 3, {1, 4, 1}},
};
// clang-format on

/// The inventory changed: entConfigChange, which has no bindings; the event itself says no more.
netsnmp_variable_list* handle_noti_entConfigChange(void*, oid* trap_oid, size_t* trap_oid_length,
                                                   int* send)
{
    *send = 1;
    name_notification({entity_mib_variables_oid, 1}, trap_oid, trap_oid_length);
    return nullptr;
}

constexpr EventHandler entity_mib_handlers[] = {
    {inventory_change, handle_noti_entConfigChange},
};

constexpr MibModule entity_mib("entity_mib", entity_mib_variables, entity_mib_variables_oid,
                               entity_mib_handlers);

} // namespace

int set_entPhysicalSerialNum(int, u_char*, u_char, size_t, u_char*, oid*, size_t)
{
    return SNMP_ERR_NOTWRITABLE;
}

CHM_ENTRY_POINT void init_entity_mib()
{
    init_module(entity_mib);
}

CHM_ENTRY_POINT void deinit_entity_mib()
{
    deinit_module(entity_mib);
}
