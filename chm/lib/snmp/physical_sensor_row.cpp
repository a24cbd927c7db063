#include "physical_sensor_row.h"

#include "bounded_copy.h"
#include "if_index.h"
#include "port_client.h"
#include "port_manager.h"
#include "sensor_index.h"
#include "trace.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <iterator>

namespace {

constexpr uint32_t vendor_type_length = 12;

/// Below 1.3.6.1.4.1.
using VendorTypeSuffix = be_uint32[6];

constexpr be_uint32 base_enterprises_oid[6] = {1, 3, 6, 1, 4, 1};
constexpr VendorTypeSuffix qev_sensor_trans_rx_power = {ENTERPRISE_MAIN, 12, 3, 1, 8, 46};
constexpr VendorTypeSuffix qev_sensor_trans_tx_power = {ENTERPRISE_MAIN, 12, 3, 1, 8, 47};
constexpr VendorTypeSuffix qev_sensor_trans_current = {ENTERPRISE_MAIN, 12, 3, 1, 8, 48};
constexpr VendorTypeSuffix qev_sensor_trans_volt = {ENTERPRISE_MAIN, 12, 3, 1, 8, 49};
constexpr VendorTypeSuffix qev_sensor_trans_temp = {ENTERPRISE_MAIN, 12, 3, 1, 8, 50};
constexpr VendorTypeSuffix qev_sensor_unknown = {ENTERPRISE_ALT, 12, 3, 1, 8, 30};

/// The vendor type of a sensor code, and the suffixes of its description and its name.
struct SensorType {
    int32_t code;
    const VendorTypeSuffix& vendor_type;
    const char* unit;
};

/// Codes 4 and 6 are not sensors of a transceiver, but the switch's table has them.
constexpr SensorType sensor_types[] = {
    {3, qev_sensor_trans_volt, "(volt)"},        {4, qev_sensor_trans_volt, "(volt)"},
    {5, qev_sensor_trans_current, "(ampere)"},   {6, qev_sensor_trans_rx_power, "(watt)"},
    {8, qev_sensor_trans_temp, "(celsius)"},     {14, qev_sensor_trans_rx_power, "(Rx-dBm)"},
    {15, qev_sensor_trans_tx_power, "(Tx-dBm)"},
};
constexpr SensorType unknown_type = {0, qev_sensor_unknown, ""};

/// Writes the enterprises' OID and a suffix of it, of `size` bytes.
/// @return 0, or -1 with nothing written when an argument is missing
int32_t build_vendor_type_oid(be_uint32* destination, const be_uint32* suffix, size_t size)
{
    if (destination == nullptr || suffix == nullptr || size == 0) {
        return -1;
    }
    memcpy(destination, base_enterprises_oid, sizeof base_enterprises_oid);
    memcpy(destination + std::size(base_enterprises_oid), suffix, size);
    return 0;
}

/// Ends texts that the platform may have left without an end.
void terminate(auto&... texts)
{
    ((texts[sizeof texts - 1] = '\0'), ...);
}

template <size_t Width>
void append(char (&text)[Width], const char* suffix)
{
    const size_t length = strnlen(text, Width - 1);
    __strcpy_to_buf(Width - length, text + length, suffix);
}

template <size_t Width>
void write_interface_name(char (&text)[Width], uint32_t if_index)
{
    static_assert(Width >= IF_INDEX_TEXT_SIZE);
    sprintf_if_index(text, if_index);
    terminate(text);
}

/// The texts of the transceiver itself.
void write_vendor_texts(const uint8_t* fcot_res, ent_phys_entry& row)
{
    pc_sfp_get_vendor_info(fcot_res, row.entPhysicalMfgName, row.entPhysicalModelName,
                           row.part_revision, row.entPhysicalSerialNum, row.entPhysicalAlias);
    terminate(row.entPhysicalMfgName, row.entPhysicalModelName, row.part_revision,
              row.entPhysicalSerialNum, row.entPhysicalAlias);
}

/// A transceiver's sensor has none of these, and the record held another row before.
void clear_what_sensors_lack(ent_phys_entry& row)
{
    constexpr int32_t no = 2;
    row.entPhysicalHardwareRev[0] = '\0';
    row.entPhysicalFirmwareRev[0] = '\0';
    row.entPhysicalSoftwareRev[0] = '\0';
    row.entPhysicalAssetID[0] = '\0';
    row.entPhysicalIsFRU = no;
    row.physical_status = 0;
}

void write_sensor_type(int32_t code, ent_phys_entry& row)
{
    const auto* known = std::ranges::find(sensor_types, code, &SensorType::code);
    const SensorType& type = known == std::end(sensor_types) ? unknown_type : *known;
    build_vendor_type_oid(row.entPhysicalVendorType, type.vendor_type, sizeof type.vendor_type);
    row.vendor_type_len = vendor_type_length;
    append(row.entPhysicalDescr, type.unit);
    append(row.entPhysicalName, type.unit);
}

} // namespace

void write_sensor_row(uint32_t index, const uint8_t* fcot_res, ent_phys_entry& row)
{
    constexpr const char* function = "entPhysicalTable_trans_sensor";
    constexpr int32_t sensor_class = 8;
    const uint8_t diag_mon_type = fcot_res[PM_FCOT_DIAG_MON_TYPE];

    row.entPhysicalIndex = index;
    write_vendor_texts(fcot_res, row);
    clear_what_sensors_lack(row);
    SensorPlace place = sensor_place_of(index);
    CHM_TRACE("%s/%d: Did not get ent_phy_index_sensor_type... ent_phy_index_sensor_type = %d, "
              "if_index = %d \n",
              function, __LINE__, place.code, place.if_index);
    row.entPhysicalClass = sensor_class;
    row.entPhysicalParentRelPos = 0;
    row.entPhysicalContainedIn = 0;
    if (diag_mon_type != 0) {
        write_interface_name(row.entPhysicalDescr, place.if_index);
        write_interface_name(row.entPhysicalName, place.if_index);
        CHM_TRACE("%s/%d: DiagMonType:%d, ifIndex 0x%x, ifdesc: %s, ifname: %s\n", function,
                  __LINE__, diag_mon_type, place.if_index, row.entPhysicalDescr,
                  row.entPhysicalName);
    } else {
        place.code = 0;
        row.entPhysicalDescr[0] = '\0';
        row.entPhysicalName[0] = '\0';
    }
    write_sensor_type(place.code, row);
    CHM_TRACE("%s/%d: FCOT_INFO, entPhysicalIndex = %u,mfgname:%s\n, ModelName:%s,"
              "PartRevision:%s\n, SerialNum:%s,Alias:%s,Name:%s\n",
              function, __LINE__, index, row.entPhysicalMfgName, row.entPhysicalModelName,
              row.part_revision, row.entPhysicalSerialNum, row.entPhysicalAlias,
              row.entPhysicalName);
}
