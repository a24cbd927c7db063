/// Extensions of the physical inventory: asset codes, second serial numbers and LEDs.
#include "column.h"
#include "module_frame.h"
#include "request_channel.h"
#include "row_lookup.h"
#include "trace.h"
#include "write_method.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace {

enum entity_asset_mib_object : u_char {
    qeAssetCLEICode = 10,
};

enum entity_ext_mib_object : u_char {
    qeExtEntityLEDValue = 15,
    entPhysicalSecondSerialNum = 17,
};

/// The last row read, of the asset table or of the extension table.
ent_phys_entry row;

/// The row lookup that both tables share; what the row holds besides its index travels along, and
/// is served when a success comes without a response.
int32_t look_up_entity(const char* lookup, const RowRequest& request, ent_phys_entry& entity)
{
    CHM_TRACE("%s called\n", lookup);
    return look_up(request, NameBeyond::starts_over, entity,
                   [&](chm_req_operation operation, ent_phys_entry& asked) {
                       const RowFound found =
                           outcome_of(exchange(physical_table, operation, asked));
                       if (found.names_row) {
                           CHM_TRACE("%s cmi_req_resp - Success !!  \n", lookup);
                       } else {
                           CHM_TRACE("%s cmi_req_resp NOT Success !!  \n", lookup);
                       }
                       return found;
                   });
}

/// A text with a terminator, for the trace; good until the next call.
const char* terminated(const u_char* text, size_t length)
{
    static char copy[sizeof row + 1];
    memcpy(copy, text, length);
    copy[length] = '\0';
    return copy;
}

u_char* get_qeAssetTable(variable* vp, oid* name, size_t* length, int exact, size_t* var_len,
                         WriteMethod**)
{
    row = {}; // no data of another read is served here
    if (look_up_entity("header_qeAssetTable", {vp->name, vp->namelen, name, length, exact != 0},
                       row) != 0) {
        return nullptr;
    }
    if (vp->magic != qeAssetCLEICode) {
        return unknown_object();
    }
    // The platform defines the width of the field: the code ends at its NUL or with the record.
    constexpr size_t offset = offsetof(ent_phys_entry, clei_code);
    auto* code = reinterpret_cast<u_char*>(&row) + offset;
    *var_len = strnlen(reinterpret_cast<const char*>(code), sizeof row - offset);
    CHM_TRACE("%s -- Asset CLEI code : %s \n", __func__, terminated(code, *var_len));
    return code;
}

int32_t header_qeExtEntPhysicalTable(const oid* vp_name, size_t vp_name_length, oid* name,
                                     size_t* length, int exact, ent_phys_entry* entity)
{
    return look_up_entity(__func__, {vp_name, vp_name_length, name, length, exact != 0}, *entity);
}

constexpr WriteRule second_serial_num_rule = text_rule(0, 32, nullptr, nullptr);

/// Refusals go to the trace here, not to standard error.
int check_second_serial_num(const char* method, const WriteValue& value)
{
    const int status = check_write(second_serial_num_rule, value);
    if (status == SNMP_ERR_WRONGTYPE) {
        CHM_TRACE("%s type Not ASN_OCTET_STR \n", method);
    } else if (status == SNMP_ERR_WRONGLENGTH) {
        CHM_TRACE("%s -- Bad length \n", method);
    }
    return status;
}

int write_second_serial_num(const char* method, const WriteValue& value, oid* name,
                            size_t name_length)
{
    constexpr size_t column_length = 13;
    ent_phys_entry entity = {};
    int32_t result =
        header_qeExtEntPhysicalTable(name, column_length, name, &name_length, 1, &entity);
    if (result != 0) {
        CHM_TRACE("%s -- header_qeExtEntPhysicalTable() Failed !! \n", method);
        return snmp_error_status(result, NotWritable::general_error);
    }
    assign(entity, entity.second_serial_num, value);
    result = exchange(physical_table, CHM_REQ_SET, entity).result;
    if (result == PLATFORM_OK) {
        CHM_TRACE("%s -- cmi_req_resp Success !! \n", method);
    } else {
        CHM_TRACE("%s -- cmi_req_resp Failed !! \n", method);
        log_failed_write(result);
    }
    return snmp_error_status(result, NotWritable::general_error);
}

int set_entPhysicalSecondSerialNum(int action, u_char* var_val, u_char var_val_type,
                                   size_t var_val_len, u_char*, oid* name, size_t name_length)
{
    const WriteValue value = {var_val, var_val_type, var_val_len};
    switch (action) {
    case RESERVE1:
        return check_second_serial_num(__func__, value);
    case ACTION:
        return write_second_serial_num(__func__, value, name, name_length);
    default:
        return SNMP_ERR_NOERROR;
    }
}

u_char* get_qeExtEntPhysicalTable(variable* vp, oid* name, size_t* length, int exact,
                                  size_t* var_len, WriteMethod** write_method)
{
    CHM_TRACE("%s called\n", __func__);
    if (header_qeExtEntPhysicalTable(vp->name, vp->namelen, name, length, exact, &row) != 0) {
        return nullptr;
    }
    if (vp->magic != entPhysicalSecondSerialNum) {
        return unknown_object();
    }
    *write_method = set_entPhysicalSecondSerialNum;
    u_char* serial = field<&ent_phys_entry::second_serial_num>(row, var_len);
    CHM_TRACE("%s -- Second Serial Num : %s \n", __func__, terminated(serial, *var_len));
    return serial;
}

constexpr Column<led_entry> led_columns[] = {
    {qeExtEntityLEDValue, field<&led_entry::value>},
};

u_char* get_qeExtEntityLEDTable(variable* vp, oid* name, size_t* length, int exact, size_t* var_len,
                                WriteMethod** write_method)
{
    CHM_TRACE("%s called\n", __func__);
    return serve<find_row<led_table, NameBeyond::starts_over>, led_columns>(vp, name, length, exact,
                                                                            var_len, write_method);
}

constexpr oid entity_asset_mib_variables_oid[] = {1, 3, 6, 1, 4, 1, ENTERPRISE_ALT, 9, 92};
constexpr variable4 entity_asset_mib_variables[] = {
    {qeAssetCLEICode, ASN_OCTET_STR, RONLY, get_qeAssetTable, 4, {1, 1, 1, 11}},
};
constexpr MibModule entity_asset_mib("entity_asset_mib", entity_asset_mib_variables,
                                     entity_asset_mib_variables_oid);

constexpr oid entity_ext_mib_variables_oid[] = {1, 3, 6, 1, 4, 1, ENTERPRISE_MAIN, 9, 195};
constexpr variable4 entity_ext_mib_variables[] = {
    {qeExtEntityLEDValue, ASN_INTEGER, RONLY, get_qeExtEntityLEDTable, 4, {1, 3, 1, 2}},
    {entPhysicalSecondSerialNum, ASN_OCTET_STR, RWRITE, get_qeExtEntPhysicalTable, 4, {1, 4, 1, 1}},
};
constexpr MibModule entity_ext_mib("entity_ext_mib", entity_ext_mib_variables,
                                   entity_ext_mib_variables_oid);

} // namespace

CHM_ENTRY_POINT void init_entity_asset_mib()
{
    CHM_TRACE("%s: Registering Entity Asset MIB ...\n", __func__);
    register_variables(entity_asset_mib);
}

CHM_ENTRY_POINT void deinit_entity_asset_mib()
{
    CHM_TRACE("%s: Unregistering Entity Asset mib ...\n", __func__);
    unregister_variables(entity_asset_mib);
}

CHM_ENTRY_POINT void init_entity_ext_mib()
{
    CHM_TRACE("%s: Registering Entity Ext MIB ...\n", __func__);
    register_variables(entity_ext_mib);
}

CHM_ENTRY_POINT void deinit_entity_ext_mib()
{
    CHM_TRACE("%s: Unregistering Entity Ext mib ...\n", __func__);
    unregister_variables(entity_ext_mib);
}
