/// Units: the contents of the slots and bays of a chassis, and their state.
#pragma once

#include "model/clock.h"
#include "model/entity.h"
#include "model/named.h"

#include <cstdint>
#include <vector>

namespace sim {

enum class UnitType { module, power_supply, fan_tray };

inline constexpr Named<UnitType> unit_types[] = {{"module", UnitType::module},
                                                 {"power-supply", UnitType::power_supply},
                                                 {"fan-tray", UnitType::fan_tray}};

/// The role of a module, as in its record.
enum class ModuleRole : uint8_t { supervisor = 1, line_card = 2 };

inline constexpr Named<ModuleRole> module_roles[] = {{"supervisor", ModuleRole::supervisor},
                                                     {"line-card", ModuleRole::line_card}};

/// The administrative status of a module.
enum class AdminStatus : int32_t {
    on = 1,
    off = 2,
    restart = 3, ///< goes off and starts again; reads as `on` afterwards
    standby = 4, ///< powered and healthy, but carries no traffic
};

/// The values that persist.
inline constexpr Named<AdminStatus> admin_statuses[] = {
    {"on", AdminStatus::on}, {"off", AdminStatus::off}, {"standby", AdminStatus::standby}};

/// The administrative status of the power of a module or a fan tray.
enum class PowerAdminStatus : int32_t {
    on = 1, ///< a failed unit comes back by itself when it is repaired
    off = 2,
    cycle = 3,            ///< goes off and on again; reads as `on` afterwards
    on_until_failure = 4, ///< a failure turns this to `off`: once repaired, the unit waits
};

/// The values that persist.
inline constexpr Named<PowerAdminStatus> power_admin_statuses[] = {
    {"on", PowerAdminStatus::on},
    {"off", PowerAdminStatus::off},
    {"on-until-failure", PowerAdminStatus::on_until_failure}};

/// Most watts that a unit may draw or deliver.
inline constexpr uint32_t max_watts = 100000;

/// One unit. The entity with its index describes it.
struct Unit {
    UnitType type = UnitType::module;
    uint32_t index = 0;  ///< entPhysicalIndex
    uint32_t number = 0; ///< of its slot or bay, from 1
    ModuleRole role = ModuleRole::line_card;
    uint32_t watts = 0; ///< drawn while it has power; of a power supply: delivered
    AdminStatus admin_status = AdminStatus::on; ///< of a module; other units are always `on`
    PowerAdminStatus power_admin_status = PowerAdminStatus::on; ///< of a power supply always `on`
    EntityStatus status = EntityStatus::off;
    bool powered = false; ///< so is one that starts, or that failed with a part of its only
    Clock::time_point status_changed{};
    Clock::time_point went_into_service{}; ///< last time
    Clock::time_point ready_at{};          ///< when it is done with starting
    uint32_t starts = 0;
};

/// A unit with its entity and those of its parts, as it is pulled and inserted.
struct Assembly {
    Unit unit;
    std::vector<Entity> entities;
};

/// The status of a unit's power: without power, off or failed like the unit.
constexpr EntityStatus power_status(const Unit& unit)
{
    return unit.powered ? EntityStatus::ok : unit.status;
}

/// The watts that a unit now draws or delivers.
constexpr uint32_t watts_now(const Unit& unit)
{
    return unit.powered ? unit.watts : 0;
}

constexpr bool is_supervisor(const Unit& unit)
{
    return unit.type == UnitType::module && unit.role == ModuleRole::supervisor;
}

} // namespace sim
