/// What the MIB modules ask the platform manager for.
#pragma once

#include "records.h"

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <type_traits>

/// The class of most requests, those to the port manager included.
inline constexpr uint32_t USUAL_REQ_CLASS = 5;

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

/// A request: its opcode, which stands for it wherever a number is wanted, and the record that it
/// and its answer carry.
template <typename CarriedRecord>
struct Request {
    using Record = CarriedRecord;

    uint32_t opcode;
    uint32_t req_class = USUAL_REQ_CLASS;

    constexpr operator uint32_t() const { return opcode; }
};

inline constexpr Request<ts_info> terminal_message{1016, 4};
inline constexpr Request<ent_phys_entry> physical_table{1026};
inline constexpr Request<power_supply_group_record> power_supply_group_table{1027};
inline constexpr Request<power_status_record> power_status_table{1028};
inline constexpr Request<module_record> module_table{1029};
inline constexpr Request<be_int32> max_default_in_line_power{1030};
inline constexpr Request<ent_sensor_value_rec> sensor_value_table{1031};
inline constexpr Request<ent_sensor_thresh_rec> sensor_threshold_table{1032};
inline constexpr Request<platform_time> last_change_time{1039};
inline constexpr Request<be_int32> enable_status_notification{1040};
inline constexpr Request<rf_status_record> redundancy_status{1042, 4};
inline constexpr Request<unit_status_record> fan_tray_table{1046};
inline constexpr Request<led_entry> led_table{3242};
inline constexpr Request<unit_status_record> power_supply_table{3270};

/// The record of a request or an event that a template takes by reference.
template <const auto& carrier>
using RecordOf = typename std::remove_cvref_t<decltype(carrier)>::Record;

/// A request by its name, for whoever lists them or takes them by name or number.
struct NamedRequest {
    std::string_view name;
    uint32_t opcode;
    size_t record_size; ///< in bytes

    template <typename Record>
    constexpr NamedRequest(std::string_view request_name, const Request<Record>& request)
        : name(request_name), opcode(request), record_size(sizeof(Record))
    {
    }
};

/// All of them, by opcode.
inline constexpr NamedRequest platform_requests[] = {
    {"terminal-message", terminal_message},
    {"physical-entity", physical_table},
    {"power-supply-group", power_supply_group_table},
    {"fru-power-status", power_status_table},
    {"module", module_table},
    {"max-default-in-line-power", max_default_in_line_power},
    {"sensor-value", sensor_value_table},
    {"sensor-threshold", sensor_threshold_table},
    {"last-change-time", last_change_time},
    {"enable-status-notification", enable_status_notification},
    {"redundancy", redundancy_status},
    {"fan-tray-status", fan_tray_table},
    {"led", led_table},
    {"power-supply-status", power_supply_table},
};
