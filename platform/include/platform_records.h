/*
 * The platform's records, with the same layout in memory and in messages. be_uint32 and be_int32
 * are big-endian; plain integers are in host order. Texts are NUL-terminated within their fields.
 * Bytes named padding_ or platform_ are not served.
 */
#ifndef PLATFORM_RECORDS_H
#define PLATFORM_RECORDS_H

#include "platform_types.h"

/**
 * A physical entity: one row of entPhysicalTable and of the tables that extend it. Texts are
 * NUL-terminated by the platform, but no reader relies on that.
 */
struct ent_phys_entry {
    be_uint32 entPhysicalIndex;
    char entPhysicalDescr[256];
    be_uint32 entPhysicalVendorType[128];
    be_uint32 vendor_type_len;        /**< sub-identifiers used in entPhysicalVendorType */
    be_int32 entPhysicalContainedIn;  /**< index of the containing entity, 0 for none */
    be_int32 entPhysicalClass;        /**< of ENTITY-MIB: 3 chassis, 8 sensor, 9 module, 10 port */
    be_int32 entPhysicalParentRelPos; /**< -1 without a position */
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
    int32_t entPhysicalIsFRU; /**< 1 yes, 2 no; in host order, unlike its neighbours */
    char platform_bytes_2424[4];
    be_int32 physical_status; /**< 1 unknown, 2 ok, 3 off, 4 failed, 5 starting */
    char second_serial_num[33];
    char platform_bytes_2465[20];
    char part_revision[24];
    char clei_code[15];
    char container_name[256]; /**< name of the containing entity */
};
CHM_RECORD_SIZE(ent_phys_entry, 2780);
CHM_RECORD_FIELD(ent_phys_entry, entPhysicalVendorType, 260);
CHM_RECORD_FIELD(ent_phys_entry, vendor_type_len, 772);
CHM_RECORD_FIELD(ent_phys_entry, entPhysicalName, 788);
CHM_RECORD_FIELD(ent_phys_entry, entPhysicalSerialNum, 1808);
CHM_RECORD_FIELD(ent_phys_entry, entPhysicalAlias, 2351);
CHM_RECORD_FIELD(ent_phys_entry, entPhysicalAssetID, 2384);
CHM_RECORD_FIELD(ent_phys_entry, entPhysicalIsFRU, 2420);
CHM_RECORD_FIELD(ent_phys_entry, physical_status, 2428);
CHM_RECORD_FIELD(ent_phys_entry, part_revision, 2485);
CHM_RECORD_FIELD(ent_phys_entry, clei_code, 2509);
CHM_RECORD_FIELD(ent_phys_entry, container_name, 2524);

/** A point in time as the platform reports it. */
struct platform_time {
    be_uint32 seconds;
    be_uint32 microseconds;
};
CHM_RECORD_SIZE(platform_time, 8);

/** A module of the chassis. The platform defines the columns without a name. */
struct module_record {
    be_uint32 index;
    be_int32 admin_status; /**< 1 on, 2 off, 3 restart, 4 standby */
    be_int32 oper_status;  /**< values of physical_status */
    be_int32 column_3;
    struct platform_time status_changed; /**< when oper_status last changed */
    struct platform_time column_5;
    char text[256];
    be_uint32 platform_words_288[2];
    char platform_bytes_296[2];
    uint8_t module_type;
    char platform_bytes_299[5];
    be_uint32 module_number;
    be_uint32 column_8;
    char platform_bytes_312[4];
};
CHM_RECORD_SIZE(module_record, 316);
CHM_RECORD_FIELD(module_record, status_changed, 16);
CHM_RECORD_FIELD(module_record, text, 32);
CHM_RECORD_FIELD(module_record, platform_words_288, 288);
CHM_RECORD_FIELD(module_record, module_type, 298);
CHM_RECORD_FIELD(module_record, module_number, 304);
CHM_RECORD_FIELD(module_record, column_8, 308);

/** A group of power supplies. */
struct power_supply_group_record {
    be_uint32 index;
    be_int32 redundancy_mode; /**< 1 all, 2 one spare, 3 half spare */
    char text[256];
    be_int32 column_3;
    be_int32 column_4;
    be_uint32 platform_words_272[3];
};
CHM_RECORD_SIZE(power_supply_group_record, 284);
CHM_RECORD_FIELD(power_supply_group_record, column_3, 264);
CHM_RECORD_FIELD(power_supply_group_record, platform_words_272, 272);

/** The power of one field-replaceable unit. */
struct power_status_record {
    be_uint32 index;
    be_int32 admin_status; /**< 1 on, 2 off, 3 off and on, 4 on until a failure */
    be_int32 oper_status;  /**< values of physical_status */
    be_int32 column_3;
};
CHM_RECORD_SIZE(power_status_record, 16);

/** One unit and its status: a fan tray, or a power supply. */
struct unit_status_record {
    be_uint32 index;
    be_int32 status; /**< values of physical_status */
};
CHM_RECORD_SIZE(unit_status_record, 8);

/** A change of a power supply's output, as its event reports it. */
struct power_supply_output_record {
    be_uint32 index; /**< entPhysicalIndex of the power supply */
    char name[255];
    char model_name[257];
    be_int32 output;
};
CHM_RECORD_SIZE(power_supply_output_record, 520);
CHM_RECORD_FIELD(power_supply_output_record, model_name, 259);
CHM_RECORD_FIELD(power_supply_output_record, output, 516);

/** One LED of a physical entity. */
struct led_entry {
    be_uint32 entity; /**< entPhysicalIndex */
    be_uint32 led;    /**< number of the LED within the entity */
    be_int32 value;   /**< 1 off, 2 green, 3 amber, 4 red, 5 blinking green */
};
CHM_RECORD_SIZE(led_entry, 12);

/**
 * The redundancy of the supervisors, in host order. The platform defines the status words without
 * a name.
 */
struct rf_status_record {
    int32_t status_6; /**< served as object 1.1.6, and so on */
    int32_t status_1;
    int32_t status_3;
    int32_t status_2;
    int32_t status_4;
    int32_t admin_action; /**< 0 none, 1 switch over, 2 restart the standby, 3 both */
    int32_t status_7;
    int32_t reason_code; /**< the library's own; the platform's is not served */
};
CHM_RECORD_SIZE(rf_status_record, 32);
CHM_RECORD_FIELD(rf_status_record, admin_action, 20);

/** A text message to terminal lines, in host order. */
struct ts_info {
    int32_t interval;
    int32_t duration;
    char text[260]; /**< at most 256 characters */
    int32_t send;
};
CHM_RECORD_SIZE(ts_info, 272);
CHM_RECORD_FIELD(ts_info, text, 8);
CHM_RECORD_FIELD(ts_info, send, 268);

/** A sensor and its reading: one row of entSensorValueTable. */
struct ent_sensor_value_rec {
    be_uint32 entPhysicalIndex;
    be_int32 entSensorType;      /**< 3 volts AC, 5 amperes, 8 degrees Celsius, 14 dBm, ... */
    be_int32 entSensorScale;     /**< 8 milli, 9 units */
    be_int32 entSensorPrecision; /**< decimal places of the value */
    be_int32 entSensorValue;
    be_int32 entSensorStatus;           /**< 1 ok, 2 unavailable, 3 nonoperational */
    struct platform_time value_time;    /**< when the reading was taken */
    be_uint32 entSensorValueUpdateRate; /**< in seconds */
    uint32_t measured_entity;           /**< the library's own; the platform's is not served */
};
CHM_RECORD_SIZE(ent_sensor_value_rec, 40);
CHM_RECORD_FIELD(ent_sensor_value_rec, entSensorValue, 16);
CHM_RECORD_FIELD(ent_sensor_value_rec, value_time, 24);
CHM_RECORD_FIELD(ent_sensor_value_rec, measured_entity, 36);

/** One threshold of a sensor: one row of entSensorThresholdTable. */
struct ent_sensor_thresh_rec {
    be_uint32 entPhysicalIndex;
    be_uint32 sensor_thrsh;              /**< index of the threshold within the sensor, from 1 */
    be_int32 entSensorThresholdSeverity; /**< 1 other, 10 minor, 20 major, 30 critical */
    be_int32 entSensorThresholdRelation; /**< 1 less, 2 or equal, 3 greater, 4 or equal */
    be_int32 entSensorThresholdValue;
    be_int32 entSensorThresholdEvaluation;         /**< 1 beyond the threshold, 2 not */
    be_int32 entSensorThresholdNotificationEnable; /**< 1 yes, 2 no */
};
CHM_RECORD_SIZE(ent_sensor_thresh_rec, 28);

/** A sensor's crossing of one of its thresholds, as its event reports it. */
struct sensor_threshold_crossing {
    be_uint32 entPhysicalIndex;
    be_int32 entSensorValue;
    be_int32 entSensorThresholdValue;
    be_uint32 sensor_thrsh; /**< index of the threshold within the sensor, from 1 */
};
CHM_RECORD_SIZE(sensor_threshold_crossing, 16);

/** The format of the readings and thresholds of a lane. */
enum CHM_OF_TYPE(uint32_t) {
    INTERNAL_CALIBRATION = 1, /**< integers */
    EXTERNAL_CALIBRATION = 2, /**< single-precision reals in the same units */
};

/**
 * One lane's raw diagnostics as the port manager reports them, in host order. Temperatures are
 * signed millidegrees Celsius, voltages microvolts, currents milliamperes, powers microwatts.
 */
struct diag_info {
    uint32_t platform_words_0[2];
    uint32_t calib_type;
    uint32_t temp;
    uint32_t volt;
    uint32_t current;
    uint32_t tx_pwr;
    uint32_t rx_pwr;
    uint32_t alarm_flags; /**< two bits a sensor, in the order of the readings: high, low */
    uint32_t warn_flags;  /**< the same */
    uint32_t platform_words_40[13];
    uint32_t temp_hi_alarm, temp_lo_alarm, temp_hi_warn, temp_lo_warn;
    uint32_t volt_hi_alarm, volt_lo_alarm, volt_hi_warn, volt_lo_warn;
    uint32_t current_hi_alarm, current_lo_alarm, current_hi_warn, current_lo_warn;
    uint32_t tx_pwr_hi_alarm, tx_pwr_lo_alarm, tx_pwr_hi_warn, tx_pwr_lo_warn;
    uint32_t rx_pwr_hi_alarm, rx_pwr_lo_alarm, rx_pwr_hi_warn, rx_pwr_lo_warn;
};
CHM_RECORD_SIZE(diag_info, 172);
CHM_RECORD_FIELD(diag_info, calib_type, 8);
CHM_RECORD_FIELD(diag_info, warn_flags, 36);
CHM_RECORD_FIELD(diag_info, temp_hi_alarm, 92);
CHM_RECORD_FIELD(diag_info, rx_pwr_lo_warn, 168);

/** What log_snmp_error records of a failed write. */
struct snmp_error_record {
    char unused[260]; /**< not used by this library; zeros */
    int32_t code;     /**< the platform's result code */
    char text[200];   /**< its text, NUL-terminated */
};
CHM_RECORD_SIZE(snmp_error_record, 464);
CHM_RECORD_FIELD(snmp_error_record, code, 260);
CHM_RECORD_FIELD(snmp_error_record, text, 264);

#endif
