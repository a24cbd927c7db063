/// ENTITY-MIB: the physical inventory of the chassis.
#include "entity_mib.h"

#include "column_value.h"
#include "module_frame.h"
#include "notification.h"
#include "physical_index.h"
#include "physical_sensor_row.h"
#include "request_channel.h"
#include "row_lookup.h"
#include "trace.h"
#include "write_method.h"

#include <cstddef>
#include <cstdint>

#include <arpa/inet.h>

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

FindVarMethod get_entPhysicalTable, get_entLogicalTable, get_entLPMappingTable,
    get_entAliasMappingTable, get_entPhysicalContainsTable, get_entityMIB;
WriteMethod set_entPhysicalAlias, set_entPhysicalAssetID;
ipcx_event_handler handle_noti_entConfigChange;

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

constexpr EventHandler entity_mib_handlers[] = {
    {Event::inventory_change, handle_noti_entConfigChange},
};

constexpr MibModule entity_mib("entity_mib", entity_mib_variables, entity_mib_variables_oid,
                               entity_mib_handlers);

constexpr size_t ent_physical_column_length = 12;

/// Serial numbers and the labels that operators write are served up to this length.
constexpr size_t longest_label = 32;

/// What a lookup came to, and whether the request's name becomes that of the row.
struct RowFound {
    int32_t result;
    bool names_row;
};

constexpr const char* row_lookup_name = "header_entPhysicalTable";

void trace_index(int line, const ent_phys_entry* row)
{
    CHM_TRACE("%s/%d: entPhyIndex = %d ", row_lookup_name, line, row->entPhysicalIndex);
}

/// A request inside the transceiver range. After the last sensor the platform's rows go on; what
/// the platform answers there replaces the row and names the instance even when it fails.
RowFound find_sensor(chm_req_operation operation, ent_phys_entry* row)
{
    trace_index(__LINE__, row);
    const int32_t result = entPhysicalTable_trans_sensor(operation, row);
    CHM_TRACE("%s/%d: entPhyIndex = %d ret_code %d", row_lookup_name, __LINE__,
              row->entPhysicalIndex, result);
    if (result == 0) {
        return {0, true};
    }
    trace_index(__LINE__, row);
    row->entPhysicalIndex = PLATFORM_ROWS_RESUME;
    const Reply reply = exchange(Opcode::physical_entity, operation, *row, Requester::snmp_request,
                                 TakeResponse::always);
    return {reply.result, true};
}

/// The platform answered with an index inside the transceiver range: the sensor there, or the next
/// one, takes the place of its row.
int32_t cross_to_sensor(chm_req_operation operation, ent_phys_entry* row)
{
    trace_index(__LINE__, row);
    const int32_t result = entPhysicalTable_trans_sensor(operation, row);
    CHM_TRACE("%s:%d, call transceiver mib msg_type:%d, entPhysicalIndex:%d,ret_code:%d\n",
              row_lookup_name, __LINE__, operation, row->entPhysicalIndex, result);
    if (result == 0) {
        trace_index(__LINE__, row);
    }
    return result;
}

/// A request for a row of the platform. A failure that comes with an index inside the transceiver
/// range is how the platform leads a walk over to the sensors.
RowFound find_platform_row(chm_req_operation operation, ent_phys_entry* row)
{
    Reply reply = exchange(Opcode::physical_entity, operation, *row);
    if (!reply.answered) {
        return {reply.result, false};
    }
    if (!reply.succeeded()) {
        uint32_t index = htonl(row->entPhysicalIndex);
        reply.take_into(index);
        CHM_TRACE("%s/%d: ret_entry->entPhysicalIndex = %d ", row_lookup_name, __LINE__, index);
        row->entPhysicalIndex = ntohl(index);
        if (!is_transceiver_sensor(row->entPhysicalIndex)) {
            return {reply.result, false};
        }
        const int32_t result = cross_to_sensor(operation, row);
        return {result, result == 0};
    }

    trace_index(__LINE__, row);
    if (!is_transceiver_sensor(row->entPhysicalIndex)) {
        return {0, true};
    }
    const int32_t result = cross_to_sensor(operation, row);
    if (result == 0) {
        return {0, true};
    }
    if (operation == CHM_REQ_GET) {
        return {result, false};
    }
    CHM_TRACE("%s/%d: entPhyIndex = %d, ret_code: %d\n", row_lookup_name, __LINE__,
              row->entPhysicalIndex, result);
    return {0, true}; // no sensor from there on: the platform's row as received
}

/// Row lookup of entPhysicalTable: the index says whether the row is the platform's or a sensor's.
int32_t header_entPhysicalTable(const oid* vp_name, size_t vp_name_length, oid* name,
                                size_t* length, int exact, ent_phys_entry* row)
{
    const RowRequest request = {vp_name, vp_name_length, name, length, exact != 0};
    row->entPhysicalIndex = 0;
    const auto index = requested_index<1>(request);
    if (!index) {
        return no_row;
    }
    row->entPhysicalIndex = index->front();

    const chm_req_operation operation = request.operation();
    const RowFound found = is_transceiver_sensor(row->entPhysicalIndex)
                               ? find_sensor(operation, row)
                               : find_platform_row(operation, row);
    if (!found.names_row) {
        return found.result;
    }
    trace_index(__LINE__, row);
    const int32_t named = name_row<1>(request, {row->entPhysicalIndex});
    return found.result != 0 ? found.result : named;
}

u_char* vendor_type_value(const ent_phys_entry& row, size_t* var_len)
{
    static oid vendor_type[128];
    *var_len = vendor_type_of(row, vendor_type) * sizeof(oid);
    return reinterpret_cast<u_char*>(vendor_type);
}

u_char* get_entPhysicalTable(variable* vp, oid* name, size_t* length, int exact, size_t* var_len,
                             WriteMethod** write_method)
{
    static ent_phys_entry row;

    if (vp->magic == entPhysicalAlias) {
        *write_method = set_entPhysicalAlias;
    } else if (vp->magic == entPhysicalAssetID) {
        *write_method = set_entPhysicalAssetID;
    }
    if (header_entPhysicalTable(vp->name, vp->namelen, name, length, exact, &row) != 0) {
        return nullptr;
    }
    switch (vp->magic) {
    case entPhysicalDescr:
        return text_value(row.entPhysicalDescr, longest_text, var_len);
    case entPhysicalVendorType:
        return vendor_type_value(row, var_len);
    case entPhysicalContainedIn:
        return integer_value(row.entPhysicalContainedIn, var_len);
    case entPhysicalClass:
        return integer_value(row.entPhysicalClass, var_len);
    case entPhysicalParentRelPos:
        return integer_value(row.entPhysicalParentRelPos, var_len);
    case entPhysicalName:
        return text_value(row.entPhysicalName, longest_text, var_len);
    case entPhysicalHardwareRev:
        return text_value(row.entPhysicalHardwareRev, longest_text, var_len);
    case entPhysicalFirmwareRev:
        return text_value(row.entPhysicalFirmwareRev, longest_text, var_len);
    case entPhysicalSoftwareRev:
        return text_value(row.entPhysicalSoftwareRev, longest_text, var_len);
    case entPhysicalSerialNum:
        return text_value(row.entPhysicalSerialNum, longest_label, var_len);
    case entPhysicalMfgName:
        return text_value(row.entPhysicalMfgName, longest_text, var_len);
    case entPhysicalModelName:
        return text_value(row.entPhysicalModelName, longest_text, var_len);
    case entPhysicalAlias:
        return text_value(row.entPhysicalAlias, longest_label, var_len);
    case entPhysicalAssetID:
        return text_value(row.entPhysicalAssetID, longest_label, var_len);
    case entPhysicalIsFRU:
        return integer_value(row.entPhysicalIsFRU, var_len);
    default:
        return unknown_object();
    }
}

// Tables that this switch has no rows for.

u_char* get_entLogicalTable(variable*, oid*, size_t*, int, size_t*, WriteMethod**)
{
    return nullptr;
}

u_char* get_entLPMappingTable(variable*, oid*, size_t*, int, size_t*, WriteMethod**)
{
    return nullptr;
}

u_char* get_entAliasMappingTable(variable*, oid*, size_t*, int, size_t*, WriteMethod**)
{
    return nullptr;
}

u_char* get_entPhysicalContainsTable(variable*, oid*, size_t*, int, size_t*, WriteMethod**)
{
    return nullptr;
}

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
    platform_time time = {};
    last_change = read_scalar(Opcode::last_change_time, time) ? uptime_at(time) : 0;
    return integer_value(last_change, var_len);
}

/// A label of a row that an operator may write.
struct WritableLabel {
    WriteRule rule;
    char (ent_phys_entry::*field)[longest_label + 1];
};

constexpr WritableLabel alias = {
    {ASN_OCTET_STR, "write to entPhysicalAlias not ASN_OCTET_STR\n", longest_label,
     "write to entPhysicalAlias: bad length\n"},
    &ent_phys_entry::entPhysicalAlias,
};
constexpr WritableLabel asset_id = {
    {ASN_OCTET_STR, "write to entPhysicalAssetID not ASN_OCTET_STR\n", longest_label,
     "write to entPhysicalAssetID: bad length\n"},
    &ent_phys_entry::entPhysicalAssetID,
};

int write_label(const WritableLabel& label, int action, const WriteValue& value, oid* name,
                size_t name_length)
{
    return in_phase(action, label.rule, value, [&] {
        return write_row<ent_phys_entry>(
            Opcode::physical_entity, header_entPhysicalTable, ent_physical_column_length, name,
            name_length, NotWritable::general_error,
            [&](ent_phys_entry& row) { replace_text(row, row.*label.field, value); });
    });
}

int set_entPhysicalAlias(int action, u_char* var_val, u_char var_val_type, size_t var_val_len,
                         u_char*, oid* name, size_t name_length)
{
    return write_label(alias, action, {var_val, var_val_type, var_val_len}, name, name_length);
}

int set_entPhysicalAssetID(int action, u_char* var_val, u_char var_val_type, size_t var_val_len,
                           u_char*, oid* name, size_t name_length)
{
    return write_label(asset_id, action, {var_val, var_val_type, var_val_len}, name, name_length);
}

/// The inventory changed: entConfigChange, which has no bindings; the event itself says no more.
netsnmp_variable_list* handle_noti_entConfigChange(void*, oid* trap_oid, size_t* trap_oid_length,
                                                   int* send)
{
    static constexpr oid entConfigChange[] = {1, 3, 6, 1, 2, 1, 47, 2, 0, 1};
    *send = 1;
    name_notification(entConfigChange, trap_oid, trap_oid_length);
    return nullptr;
}

} // namespace

int set_entPhysicalSerialNum(int, u_char*, u_char, size_t, u_char*, oid*, size_t)
{
    return SNMP_ERR_NOTWRITABLE;
}

CHM_ENTRY_POINT void init_entity_mib()
{
    print_enter(__func__);
    register_variables(entity_mib, __func__, __FILE__, __LINE__);
    register_handlers(entity_mib);
    print_exit(__func__);
}

CHM_ENTRY_POINT void deinit_entity_mib()
{
    print_enter(__func__);
    unregister_variables(entity_mib);
    unregister_handlers(entity_mib);
    print_exit(__func__);
}
