/// What the platform manager reports to the MIB modules.
#pragma once

#include "records.h"

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <type_traits>

/// An event: its number, which stands for it wherever one is wanted, and the record that it
/// carries; void for none.
template <typename CarriedRecord>
struct Event {
    using Record = CarriedRecord;

    uint32_t number;

    constexpr operator uint32_t() const { return number; }
};

inline constexpr Event<void> inventory_change{1033};
inline constexpr Event<module_record> module_status_change{1034};
inline constexpr Event<power_status_record> power_status_change{1035};
inline constexpr Event<ent_phys_entry> fru_inserted{1036};
inline constexpr Event<ent_phys_entry> fru_removed{1037};
inline constexpr Event<sensor_threshold_crossing> sensor_threshold_crossed{1038};
inline constexpr Event<void> supervisor_switchover{1043};
inline constexpr Event<unit_status_record> fan_tray_status_change{1047};
inline constexpr Event<power_supply_output_record> power_supply_output_change{1121};
inline constexpr Event<ent_phys_entry> unrecognized_fru{3224};

/// An event by its name, for whoever lists them or takes them by name or number.
struct NamedEvent {
    std::string_view name;
    uint32_t number;
    size_t record_size; ///< in bytes, 0 for none

    template <typename Record>
    constexpr NamedEvent(std::string_view event_name, const Event<Record>& event)
        : name(event_name), number(event), record_size(size_of<Record>())
    {
    }

private:
    template <typename Record>
    static constexpr size_t size_of()
    {
        if constexpr (std::is_void_v<Record>) {
            return 0;
        } else {
            return sizeof(Record);
        }
    }
};

/// All of them, by number.
inline constexpr NamedEvent platform_events[] = {
    {"inventory-change", inventory_change},
    {"module-status-change", module_status_change},
    {"power-status-change", power_status_change},
    {"fru-inserted", fru_inserted},
    {"fru-removed", fru_removed},
    {"sensor-threshold-crossed", sensor_threshold_crossed},
    {"supervisor-switchover", supervisor_switchover},
    {"fan-tray-status-change", fan_tray_status_change},
    {"power-supply-output-change", power_supply_output_change},
    {"unrecognized-fru", unrecognized_fru},
};
