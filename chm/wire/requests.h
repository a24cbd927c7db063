/// The requests of the MIB modules to the platform manager.
#pragma once

#include "records.h"

#include <cstddef>
#include <cstdint>
#include <type_traits>

/// What a request does with its record.
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

/// The class of most requests, those to the port manager included.
inline constexpr uint32_t USUAL_REQ_CLASS = 5;

/// Whether the modules also send a request to write.
enum class Access { read_only, read_write };

/// What a request is sent with, the size of its record in bytes, how many words of it are a row's
/// index (0 for what is no table), and its name for whoever lists requests or takes them by name.
/// The opcode stands for it wherever a number is wanted.
struct RequestCode {
    const char* name = "";
    uint32_t opcode = 0;
    uint32_t req_class = USUAL_REQ_CLASS;
    size_t record_size = 0;
    size_t indexes = 0;
    Access access = Access::read_write;

    constexpr operator uint32_t() const { return opcode; }
};

/// A request, and the record that it and its answer carry.
template <typename CarriedRecord>
struct Request : RequestCode {
    using Record = CarriedRecord;

    constexpr Request(const char* its_name, uint32_t number, uint32_t its_class = USUAL_REQ_CLASS,
                      Access its_access = Access::read_write)
        : RequestCode{its_name, number, its_class, sizeof(Record), row_key<Record>, its_access}
    {
    }
};

inline constexpr Request<ts_info> terminal_message{"terminal-message", 1016, 4};
inline constexpr Request<ent_phys_entry> physical_table{"physical-entity", 1026};
inline constexpr Request<power_supply_group_record> power_supply_group_table{"power-supply-group",
                                                                             1027};
inline constexpr Request<power_status_record> power_status_table{"fru-power-status", 1028};
inline constexpr Request<module_record> module_table{"module", 1029};
inline constexpr Request<be_int32> max_default_in_line_power{"max-default-in-line-power", 1030};
inline constexpr Request<ent_sensor_value_rec> sensor_value_table{
    "sensor-value", 1031, USUAL_REQ_CLASS, Access::read_only};
inline constexpr Request<ent_sensor_thresh_rec> sensor_threshold_table{"sensor-threshold", 1032};
inline constexpr Request<platform_time> last_change_time{"last-change-time", 1039, USUAL_REQ_CLASS,
                                                         Access::read_only};
inline constexpr Request<be_int32> enable_status_notification{"enable-status-notification", 1040};
inline constexpr Request<rf_status_record> redundancy_status{"redundancy", 1042, 4};
inline constexpr Request<unit_status_record> fan_tray_table{"fan-tray-status", 1046,
                                                            USUAL_REQ_CLASS, Access::read_only};
inline constexpr Request<led_entry> led_table{"led", 3242, USUAL_REQ_CLASS, Access::read_only};
inline constexpr Request<unit_status_record> power_supply_table{"power-supply-status", 3270,
                                                                USUAL_REQ_CLASS, Access::read_only};

inline constexpr RequestCode platform_requests[] = {
    terminal_message,
    physical_table,
    power_supply_group_table,
    power_status_table,
    module_table,
    max_default_in_line_power,
    sensor_value_table,
    sensor_threshold_table,
    last_change_time,
    enable_status_notification,
    redundancy_status,
    fan_tray_table,
    led_table,
    power_supply_table,
};

/// The record of a request or an event that a template takes by reference.
template <const auto& carrier>
using RecordOf = typename std::remove_cvref_t<decltype(carrier)>::Record;
