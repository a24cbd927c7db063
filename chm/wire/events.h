/// The events that the platform manager reports to the MIB modules.
#pragma once

#include "platform_messages.h"
#include "records.h"

#include <cstddef>
#include <cstdint>
#include <type_traits>

/// An event: its name for lists, its number, to which it converts, and the size of its record in
/// bytes, 0 for none.
struct EventCode {
    const char* name = "";
    uint32_t number = 0;
    size_t record_size = 0;

    constexpr operator uint32_t() const { return number; }
};

/// An event, and the record that it carries.
template <typename CarriedRecord>
struct Event : EventCode {
    using Record = CarriedRecord;
    static_assert(is_record<Record>);

    constexpr Event(const char* its_name, uint32_t its_number)
        : EventCode{its_name, its_number, std::is_empty_v<Record> ? 0 : sizeof(Record)}
    {
    }
};

/// The record of an event that carries none.
struct no_record {};

inline constexpr Event<no_record> inventory_change{"inventory-change", CHM_EVENT_INVENTORY_CHANGE};
inline constexpr Event<module_record> module_status_change{"module-status-change",
                                                           CHM_EVENT_MODULE_STATUS_CHANGE};
inline constexpr Event<power_status_record> power_status_change{"power-status-change",
                                                                CHM_EVENT_POWER_STATUS_CHANGE};
inline constexpr Event<ent_phys_entry> fru_inserted{"fru-inserted", CHM_EVENT_FRU_INSERTED};
inline constexpr Event<ent_phys_entry> fru_removed{"fru-removed", CHM_EVENT_FRU_REMOVED};
inline constexpr Event<sensor_threshold_crossing> sensor_threshold_crossed{
    "sensor-threshold-crossed", CHM_EVENT_SENSOR_THRESHOLD_CROSSED};
inline constexpr Event<no_record> supervisor_switchover{"supervisor-switchover",
                                                        CHM_EVENT_SUPERVISOR_SWITCHOVER};
inline constexpr Event<unit_status_record> fan_tray_status_change{"fan-tray-status-change",
                                                                  CHM_EVENT_FAN_TRAY_STATUS_CHANGE};
inline constexpr Event<power_supply_output_record> power_supply_output_change{
    "power-supply-output-change", CHM_EVENT_POWER_SUPPLY_OUTPUT_CHANGE};
inline constexpr Event<ent_phys_entry> unrecognized_fru{"unrecognized-fru",
                                                        CHM_EVENT_UNRECOGNIZED_FRU};

inline constexpr EventCode platform_events[] = {
    inventory_change,
    module_status_change,
    power_status_change,
    fru_inserted,
    fru_removed,
    sensor_threshold_crossed,
    supervisor_switchover,
    fan_tray_status_change,
    power_supply_output_change,
    unrecognized_fru,
};
