/// The platform manager's opcodes: what the MIB modules ask it for, and the events it sends them.
#pragma once

#include <cstdint>

/// What a request asks for; each opcode has one record.
enum class Opcode : uint32_t {
    terminal_message = 1016,
    physical_entity = 1026,
    power_supply_group = 1027,
    fru_power_status = 1028,
    module = 1029,
    max_default_in_line_power = 1030,
    sensor_value = 1031,
    sensor_threshold = 1032,
    last_change_time = 1039,
    enable_status_notification = 1040,
    redundancy = 1042,
    fan_tray_status = 1046,
    led = 3242,
    power_supply_status = 3270,
};

/// What a request does with the record of its opcode.
enum chm_req_operation : int32_t {
    CHM_REQ_GET = 1,     ///< read the row whose key is in the record, or the scalar
    CHM_REQ_GETNEXT = 2, ///< read the first row after that key
    CHM_REQ_SET = 3,     ///< write the whole record
};

/// Result codes of the platform with a fixed meaning; every other non-zero code is a failure too.
enum platform_result : int32_t {
    PLATFORM_OK = 0,
    PLATFORM_NO_SUCH_ENTRY = 1,
    PLATFORM_NOT_WRITABLE = 2,
};

/// Events of the platform manager.
enum class Event : uint32_t {
    inventory_change = 1033,
    module_status_change = 1034,
    power_status_change = 1035,
    fru_inserted = 1036,
    fru_removed = 1037,
    sensor_threshold_crossed = 1038,
    redundancy = 1043,
    fan_tray_status_change = 1047,
    power_supply_output_change = 1121,
    unrecognized_fru = 3224,
};
