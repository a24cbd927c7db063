/// The platform's records as the MIB modules exchange them, each with its wire order.
///
/// A record is in host order between exchanges; swap_wire_order() turns it to the order in which it
/// travels and back. Fields that it does not name travel as the platform wrote them.
#pragma once

#include "wire_order.h"

#include <cstddef>
#include <cstdint>

/// A physical entity: one row of entPhysicalTable and of the tables that extend it. Texts are
/// NUL-terminated by the platform, but no reader relies on that.
struct ent_phys_entry {
    uint32_t entPhysicalIndex;
    char entPhysicalDescr[256];
    uint32_t entPhysicalVendorType[128];
    uint32_t vendor_type_len; ///< sub-identifiers used in entPhysicalVendorType
    int32_t entPhysicalContainedIn;
    int32_t entPhysicalClass;
    int32_t entPhysicalParentRelPos;
    char entPhysicalName[255];
    char entPhysicalHardwareRev[255];
    char entPhysicalFirmwareRev[255];
    char entPhysicalSoftwareRev[255];
    char entPhysicalSerialNum[33];
    char entPhysicalMfgName[255];
    char entPhysicalModelName[255];
    char entPhysicalAlias[33];
    char entPhysicalAssetID[33];
    char padding_2417[3];
    int32_t entPhysicalIsFRU; ///< in host order on the wire too
    char platform_bytes_2424[4];
    int32_t physical_status;
    char second_serial_num[33];
    char platform_bytes_2465[20];
    char part_revision[24];
    char clei_code[15];
    char container_name[256]; ///< name of the containing entity
};
static_assert(sizeof(ent_phys_entry) == 2780);
static_assert(offsetof(ent_phys_entry, entPhysicalVendorType) == 260);
static_assert(offsetof(ent_phys_entry, vendor_type_len) == 772);
static_assert(offsetof(ent_phys_entry, entPhysicalName) == 788);
static_assert(offsetof(ent_phys_entry, entPhysicalSerialNum) == 1808);
static_assert(offsetof(ent_phys_entry, entPhysicalAlias) == 2351);
static_assert(offsetof(ent_phys_entry, entPhysicalAssetID) == 2384);
static_assert(offsetof(ent_phys_entry, entPhysicalIsFRU) == 2420);
static_assert(offsetof(ent_phys_entry, physical_status) == 2428);
static_assert(offsetof(ent_phys_entry, part_revision) == 2485);
static_assert(offsetof(ent_phys_entry, clei_code) == 2509);
static_assert(offsetof(ent_phys_entry, container_name) == 2524);

constexpr void swap_wire_order(ent_phys_entry& row)
{
    swap_all(row.entPhysicalIndex, row.entPhysicalVendorType, row.vendor_type_len,
             row.entPhysicalContainedIn, row.entPhysicalClass, row.entPhysicalParentRelPos,
             row.physical_status);
}

/// A point in time as the platform reports it.
struct platform_time {
    uint32_t seconds;
    uint32_t microseconds;
};
static_assert(sizeof(platform_time) == 8);

constexpr void swap_wire_order(platform_time& time)
{
    swap_all(time.seconds, time.microseconds);
}

/// What log_snmp_error records of a failed write.
struct snmp_error_record {
    char unused[260]; ///< not this library's to fill; zeros
    int32_t code;     ///< the platform's result code
    char text[200];   ///< its text, NUL-terminated
};
static_assert(sizeof(snmp_error_record) == 464);
static_assert(offsetof(snmp_error_record, code) == 260);
static_assert(offsetof(snmp_error_record, text) == 264);
