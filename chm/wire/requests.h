/// The requests of the MIB modules to the platform manager.
#pragma once

#include "platform_messages.h"
#include "records.h"

#include <cstddef>
#include <cstdint>
#include <type_traits>

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
    static_assert(is_record<Record>);

    constexpr Request(const char* its_name, uint32_t number, uint32_t its_class = USUAL_REQ_CLASS,
                      Access its_access = Access::read_write)
        : RequestCode{its_name, number, its_class, sizeof(Record), row_key<Record>, its_access}
    {
    }
};

inline constexpr Request<ts_info> terminal_message{"terminal-message", CHM_OPC_TERMINAL_MESSAGE,
                                                   HOST_ORDER_REQ_CLASS};
inline constexpr Request<ent_phys_entry> physical_table{"physical-entity", CHM_OPC_PHYSICAL_ENTITY};
inline constexpr Request<power_supply_group_record> power_supply_group_table{
    "power-supply-group", CHM_OPC_POWER_SUPPLY_GROUP};
inline constexpr Request<power_status_record> power_status_table{"fru-power-status",
                                                                 CHM_OPC_FRU_POWER_STATUS};
inline constexpr Request<module_record> module_table{"module", CHM_OPC_MODULE};
inline constexpr Request<be_int32> max_default_in_line_power{"max-default-in-line-power",
                                                             CHM_OPC_MAX_DEFAULT_IN_LINE_POWER};
inline constexpr Request<ent_sensor_value_rec> sensor_value_table{
    "sensor-value", CHM_OPC_SENSOR_VALUE, USUAL_REQ_CLASS, Access::read_only};
inline constexpr Request<ent_sensor_thresh_rec> sensor_threshold_table{"sensor-threshold",
                                                                       CHM_OPC_SENSOR_THRESHOLD};
inline constexpr Request<platform_time> last_change_time{
    "last-change-time", CHM_OPC_LAST_CHANGE_TIME, USUAL_REQ_CLASS, Access::read_only};
inline constexpr Request<be_int32> enable_status_notification{"enable-status-notification",
                                                              CHM_OPC_ENABLE_STATUS_NOTIFICATION};
inline constexpr Request<rf_status_record> redundancy_status{"redundancy", CHM_OPC_REDUNDANCY,
                                                             HOST_ORDER_REQ_CLASS};
inline constexpr Request<unit_status_record> fan_tray_table{
    "fan-tray-status", CHM_OPC_FAN_TRAY_STATUS, USUAL_REQ_CLASS, Access::read_only};
inline constexpr Request<led_entry> led_table{"led", CHM_OPC_LED, USUAL_REQ_CLASS,
                                              Access::read_only};
inline constexpr Request<unit_status_record> power_supply_table{
    "power-supply-status", CHM_OPC_POWER_SUPPLY_STATUS, USUAL_REQ_CLASS, Access::read_only};

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
