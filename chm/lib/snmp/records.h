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

inline void swap_wire_order(ent_phys_entry& row)
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

inline void swap_wire_order(platform_time& time)
{
    swap_all(time.seconds, time.microseconds);
}

/// A module of the chassis. What the columns without a name mean is the platform's.
struct module_record {
    uint32_t index;
    int32_t admin_status;
    int32_t oper_status; ///< 2 when the module is healthy
    int32_t column_3;
    platform_time status_changed; ///< when oper_status last changed
    platform_time column_5;
    char text[256];
    uint32_t platform_words_288[2];
    char platform_bytes_296[2];
    uint8_t module_type;
    char platform_bytes_299[5];
    uint32_t module_number;
    uint32_t column_8;
    char platform_bytes_312[4];
};
static_assert(sizeof(module_record) == 316);
static_assert(offsetof(module_record, status_changed) == 16);
static_assert(offsetof(module_record, text) == 32);
static_assert(offsetof(module_record, platform_words_288) == 288);
static_assert(offsetof(module_record, module_type) == 298);
static_assert(offsetof(module_record, module_number) == 304);
static_assert(offsetof(module_record, column_8) == 308);

inline void swap_wire_order(module_record& row)
{
    swap_all(row.index, row.admin_status, row.oper_status, row.column_3, row.status_changed.seconds,
             row.status_changed.microseconds, row.column_5.seconds, row.column_5.microseconds,
             row.platform_words_288, row.module_number, row.column_8);
}

/// A group of power supplies.
struct power_supply_group_record {
    uint32_t index;
    int32_t redundancy_mode;
    char text[256];
    int32_t column_3;
    int32_t column_4;
    uint32_t platform_words_272[3];
};
static_assert(sizeof(power_supply_group_record) == 284);
static_assert(offsetof(power_supply_group_record, column_3) == 264);
static_assert(offsetof(power_supply_group_record, platform_words_272) == 272);

inline void swap_wire_order(power_supply_group_record& row)
{
    swap_all(row.index, row.redundancy_mode, row.column_3, row.column_4, row.platform_words_272);
}

/// The power of one field-replaceable unit.
struct power_status_record {
    uint32_t index;
    int32_t admin_status;
    int32_t oper_status; ///< 2 when the unit's power is healthy
    int32_t column_3;
};
static_assert(sizeof(power_status_record) == 16);

inline void swap_wire_order(power_status_record& row)
{
    swap_all(row.index, row.admin_status, row.oper_status, row.column_3);
}

/// One unit and its status: a fan tray, or a power supply.
struct unit_status_record {
    uint32_t index;
    int32_t status; ///< of a power supply: 2 when it is healthy
};
static_assert(sizeof(unit_status_record) == 8);

inline void swap_wire_order(unit_status_record& row)
{
    swap_all(row.index, row.status);
}

/// A change of a power supply's output, as its event reports it.
struct power_supply_output_record {
    uint32_t index; ///< entPhysicalIndex of the power supply
    char name[255];
    char model_name[257];
    int32_t output;
};
static_assert(sizeof(power_supply_output_record) == 520);
static_assert(offsetof(power_supply_output_record, model_name) == 259);
static_assert(offsetof(power_supply_output_record, output) == 516);

inline void swap_wire_order(power_supply_output_record& record)
{
    swap_all(record.index, record.output);
}

/// One LED of a physical entity.
struct led_entry {
    uint32_t entity; ///< entPhysicalIndex
    uint32_t led;    ///< number of the LED within the entity
    int32_t value;
};
static_assert(sizeof(led_entry) == 12);

inline void swap_wire_order(led_entry& row)
{
    swap_all(row.entity, row.led, row.value);
}

/// The redundancy of the supervisors. Status words without a name mean what the platform says.
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
static_assert(sizeof(rf_status_record) == 32);
static_assert(offsetof(rf_status_record, admin_action) == 20);

/// Travels in host order.
inline void swap_wire_order(rf_status_record&) {}

/// A text message to terminal lines.
struct ts_info {
    int32_t interval;
    int32_t duration;
    char text[260]; ///< at most 256 characters
    int32_t send;
};
static_assert(sizeof(ts_info) == 272);
static_assert(offsetof(ts_info, text) == 8);
static_assert(offsetof(ts_info, send) == 268);

/// Travels in host order.
inline void swap_wire_order(ts_info&) {}

/// A sensor and its reading: one row of entSensorValueTable.
struct ent_sensor_value_rec {
    uint32_t entPhysicalIndex;
    int32_t entSensorType;
    int32_t entSensorScale;
    int32_t entSensorPrecision;
    int32_t entSensorValue;
    int32_t entSensorStatus;
    platform_time value_time;          ///< when the reading was taken
    uint32_t entSensorValueUpdateRate; ///< in seconds
    uint32_t measured_entity;          ///< the library's own; the platform's is not served
};
static_assert(sizeof(ent_sensor_value_rec) == 40);
static_assert(offsetof(ent_sensor_value_rec, entSensorValue) == 16);
static_assert(offsetof(ent_sensor_value_rec, value_time) == 24);
static_assert(offsetof(ent_sensor_value_rec, measured_entity) == 36);

inline void swap_wire_order(ent_sensor_value_rec& row)
{
    swap_all(row.entPhysicalIndex, row.entSensorType, row.entSensorScale, row.entSensorPrecision,
             row.entSensorValue, row.entSensorStatus, row.value_time.seconds,
             row.value_time.microseconds, row.entSensorValueUpdateRate);
}

/// One threshold of a sensor: one row of entSensorThresholdTable.
struct ent_sensor_thresh_rec {
    uint32_t entPhysicalIndex;
    uint32_t sensor_thrsh; ///< index of the threshold within the sensor, from 1
    int32_t entSensorThresholdSeverity;
    int32_t entSensorThresholdRelation;
    int32_t entSensorThresholdValue;
    int32_t entSensorThresholdEvaluation;
    int32_t entSensorThresholdNotificationEnable;
};
static_assert(sizeof(ent_sensor_thresh_rec) == 28);

inline void swap_wire_order(ent_sensor_thresh_rec& row)
{
    swap_all(row.entPhysicalIndex, row.sensor_thrsh, row.entSensorThresholdSeverity,
             row.entSensorThresholdRelation, row.entSensorThresholdValue,
             row.entSensorThresholdEvaluation, row.entSensorThresholdNotificationEnable);
}

/// A sensor's crossing of one of its thresholds, as its event reports it.
struct sensor_threshold_crossing {
    uint32_t entPhysicalIndex;
    int32_t entSensorValue;
    int32_t entSensorThresholdValue;
    uint32_t sensor_thrsh; ///< index of the threshold within the sensor, from 1
};
static_assert(sizeof(sensor_threshold_crossing) == 16);

inline void swap_wire_order(sensor_threshold_crossing& crossing)
{
    swap_all(crossing.entPhysicalIndex, crossing.entSensorValue, crossing.entSensorThresholdValue,
             crossing.sensor_thrsh);
}

/// How the readings and thresholds of a lane are to be read.
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
    uint32_t temp_hi_alarm;
    uint32_t temp_lo_alarm;
    uint32_t temp_hi_warn;
    uint32_t temp_lo_warn;
    uint32_t volt_hi_alarm;
    uint32_t volt_lo_alarm;
    uint32_t volt_hi_warn;
    uint32_t volt_lo_warn;
    uint32_t current_hi_alarm;
    uint32_t current_lo_alarm;
    uint32_t current_hi_warn;
    uint32_t current_lo_warn;
    uint32_t tx_pwr_hi_alarm;
    uint32_t tx_pwr_lo_alarm;
    uint32_t tx_pwr_hi_warn;
    uint32_t tx_pwr_lo_warn;
    uint32_t rx_pwr_hi_alarm;
    uint32_t rx_pwr_lo_alarm;
    uint32_t rx_pwr_hi_warn;
    uint32_t rx_pwr_lo_warn;
};
static_assert(sizeof(diag_info) == 172);
static_assert(offsetof(diag_info, calib_type) == 8);
static_assert(offsetof(diag_info, warn_flags) == 36);
static_assert(offsetof(diag_info, temp_hi_alarm) == 92);
static_assert(offsetof(diag_info, rx_pwr_lo_warn) == 168);

/// The index of a table's row, the first field of every row.
template <typename Row>
constexpr uint32_t& row_index(Row& row)
{
    return row.index;
}

constexpr uint32_t& row_index(ent_phys_entry& row)
{
    return row.entPhysicalIndex;
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
