/// The platform's records, with the same layout in memory and in messages. Big-endian integers have
/// a type of their own; plain integers are in host order.
#pragma once

#include "big_endian.h"

#include <cstddef>
#include <cstdint>
#include <type_traits>

/// True for a record of a size that can be sent from where it lies and filled where it lies.
template <typename Record, size_t Size>
inline constexpr bool
    is_record_of = sizeof(Record) ==
                   Size&& std::is_standard_layout_v<Record>&& std::is_trivially_copyable_v<Record>;

/// How many fields are a row's index, in their order in a name. They come first in the record. None
/// are in a record that there is once.
template <typename Row>
inline constexpr size_t row_key = 1;
template <>
inline constexpr size_t row_key<be_int32> = 0;

/// A physical entity: one row of entPhysicalTable and of the tables that extend it. Texts are
/// NUL-terminated by the platform, but no reader relies on that.
struct ent_phys_entry {
    be_uint32 entPhysicalIndex;
    char entPhysicalDescr[256];
    be_uint32 entPhysicalVendorType[128];
    be_uint32 vendor_type_len; ///< sub-identifiers used in entPhysicalVendorType
    be_int32 entPhysicalContainedIn;
    be_int32 entPhysicalClass;
    be_int32 entPhysicalParentRelPos;
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
    int32_t entPhysicalIsFRU; ///< in host order, unlike its neighbours
    char platform_bytes_2424[4];
    be_int32 physical_status;
    char second_serial_num[33];
    char platform_bytes_2465[20];
    char part_revision[24];
    char clei_code[15];
    char container_name[256]; ///< name of the containing entity
};
static_assert(is_record_of<ent_phys_entry, 2780>);
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

/// A point in time as the platform reports it.
struct platform_time {
    be_uint32 seconds;
    be_uint32 microseconds;
};
static_assert(is_record_of<platform_time, 8>);
template <>
inline constexpr size_t row_key<platform_time> = 0;

/// A module of the chassis. The platform defines the columns without a name.
struct module_record {
    be_uint32 index;
    be_int32 admin_status;
    be_int32 oper_status; ///< 2 when the module is healthy
    be_int32 column_3;
    platform_time status_changed; ///< when oper_status last changed
    platform_time column_5;
    char text[256];
    be_uint32 platform_words_288[2];
    char platform_bytes_296[2];
    uint8_t module_type;
    char platform_bytes_299[5];
    be_uint32 module_number;
    be_uint32 column_8;
    char platform_bytes_312[4];
};
static_assert(is_record_of<module_record, 316>);
static_assert(offsetof(module_record, status_changed) == 16);
static_assert(offsetof(module_record, text) == 32);
static_assert(offsetof(module_record, platform_words_288) == 288);
static_assert(offsetof(module_record, module_type) == 298);
static_assert(offsetof(module_record, module_number) == 304);
static_assert(offsetof(module_record, column_8) == 308);

/// A group of power supplies.
struct power_supply_group_record {
    be_uint32 index;
    be_int32 redundancy_mode;
    char text[256];
    be_int32 column_3;
    be_int32 column_4;
    be_uint32 platform_words_272[3];
};
static_assert(is_record_of<power_supply_group_record, 284>);
static_assert(offsetof(power_supply_group_record, column_3) == 264);
static_assert(offsetof(power_supply_group_record, platform_words_272) == 272);

/// The power of one field-replaceable unit.
struct power_status_record {
    be_uint32 index;
    be_int32 admin_status;
    be_int32 oper_status; ///< 2 when the unit's power is healthy
    be_int32 column_3;
};
static_assert(is_record_of<power_status_record, 16>);

/// One unit and its status: a fan tray, or a power supply.
struct unit_status_record {
    be_uint32 index;
    be_int32 status; ///< of a power supply: 2 when it is healthy
};
static_assert(is_record_of<unit_status_record, 8>);

/// A change of a power supply's output, as its event reports it.
struct power_supply_output_record {
    be_uint32 index; ///< entPhysicalIndex of the power supply
    char name[255];
    char model_name[257];
    be_int32 output;
};
static_assert(is_record_of<power_supply_output_record, 520>);
static_assert(offsetof(power_supply_output_record, model_name) == 259);
static_assert(offsetof(power_supply_output_record, output) == 516);

/// One LED of a physical entity.
struct led_entry {
    be_uint32 entity; ///< entPhysicalIndex
    be_uint32 led;    ///< number of the LED within the entity
    be_int32 value;
};
static_assert(is_record_of<led_entry, 12>);
template <>
inline constexpr size_t row_key<led_entry> = 2;

/// The redundancy of the supervisors, in host order. The platform defines the status words without
/// a name.
struct rf_status_record {
    int32_t status_6; ///< served as object 1.1.6, and so on
    int32_t status_1;
    int32_t status_3;
    int32_t status_2;
    int32_t status_4;
    int32_t admin_action;
    int32_t status_7;
    int32_t reason_code; ///< the library's own; the platform's is not served
};
static_assert(is_record_of<rf_status_record, 32>);
static_assert(offsetof(rf_status_record, admin_action) == 20);
template <>
inline constexpr size_t row_key<rf_status_record> = 0;

/// A text message to terminal lines, in host order.
struct ts_info {
    int32_t interval;
    int32_t duration;
    char text[260]; ///< at most 256 characters
    int32_t send;
};
static_assert(is_record_of<ts_info, 272>);
static_assert(offsetof(ts_info, text) == 8);
static_assert(offsetof(ts_info, send) == 268);
template <>
inline constexpr size_t row_key<ts_info> = 0;

/// A sensor and its reading: one row of entSensorValueTable.
struct ent_sensor_value_rec {
    be_uint32 entPhysicalIndex;
    be_int32 entSensorType;
    be_int32 entSensorScale;
    be_int32 entSensorPrecision;
    be_int32 entSensorValue;
    be_int32 entSensorStatus;
    platform_time value_time;           ///< when the reading was taken
    be_uint32 entSensorValueUpdateRate; ///< in seconds
    uint32_t measured_entity;           ///< the library's own; the platform's is not served
};
static_assert(is_record_of<ent_sensor_value_rec, 40>);
static_assert(offsetof(ent_sensor_value_rec, entSensorValue) == 16);
static_assert(offsetof(ent_sensor_value_rec, value_time) == 24);
static_assert(offsetof(ent_sensor_value_rec, measured_entity) == 36);

/// One threshold of a sensor: one row of entSensorThresholdTable.
struct ent_sensor_thresh_rec {
    be_uint32 entPhysicalIndex;
    be_uint32 sensor_thrsh; ///< index of the threshold within the sensor, from 1
    be_int32 entSensorThresholdSeverity;
    be_int32 entSensorThresholdRelation;
    be_int32 entSensorThresholdValue;
    be_int32 entSensorThresholdEvaluation;
    be_int32 entSensorThresholdNotificationEnable;
};
static_assert(is_record_of<ent_sensor_thresh_rec, 28>);
template <>
inline constexpr size_t row_key<ent_sensor_thresh_rec> = 2;

/// A sensor's crossing of one of its thresholds, as its event reports it.
struct sensor_threshold_crossing {
    be_uint32 entPhysicalIndex;
    be_int32 entSensorValue;
    be_int32 entSensorThresholdValue;
    be_uint32 sensor_thrsh; ///< index of the threshold within the sensor, from 1
};
static_assert(is_record_of<sensor_threshold_crossing, 16>);

/// The format of the readings and thresholds of a lane.
enum : uint32_t {
    INTERNAL_CALIBRATION = 1, ///< integers
    EXTERNAL_CALIBRATION = 2, ///< single-precision reals; see diagnostics_conversion.h
};

/// One lane's raw diagnostics as the port manager reports them, in host order. Temperatures are
/// signed millidegrees Celsius, voltages microvolts, currents milliamperes, powers microwatts.
struct diag_info {
    uint32_t platform_words_0[2];
    uint32_t calib_type;
    uint32_t temp;
    uint32_t volt;
    uint32_t current;
    uint32_t tx_pwr;
    uint32_t rx_pwr;
    uint32_t alarm_flags; ///< two bits a sensor, in the order of the readings: high, low
    uint32_t warn_flags;  ///< the same
    uint32_t platform_words_40[13];
    uint32_t temp_hi_alarm, temp_lo_alarm, temp_hi_warn, temp_lo_warn;
    uint32_t volt_hi_alarm, volt_lo_alarm, volt_hi_warn, volt_lo_warn;
    uint32_t current_hi_alarm, current_lo_alarm, current_hi_warn, current_lo_warn;
    uint32_t tx_pwr_hi_alarm, tx_pwr_lo_alarm, tx_pwr_hi_warn, tx_pwr_lo_warn;
    uint32_t rx_pwr_hi_alarm, rx_pwr_lo_alarm, rx_pwr_hi_warn, rx_pwr_lo_warn;
};
static_assert(is_record_of<diag_info, 172>);
static_assert(offsetof(diag_info, calib_type) == 8);
static_assert(offsetof(diag_info, warn_flags) == 36);
static_assert(offsetof(diag_info, temp_hi_alarm) == 92);
static_assert(offsetof(diag_info, rx_pwr_lo_warn) == 168);

/// What log_snmp_error records of a failed write.
struct snmp_error_record {
    char unused[260]; ///< not used by this library; zeros
    int32_t code;     ///< the platform's result code
    char text[200];   ///< its text, NUL-terminated
};
static_assert(is_record_of<snmp_error_record, 464>);
static_assert(offsetof(snmp_error_record, code) == 260);
static_assert(offsetof(snmp_error_record, text) == 264);
