#include "model/redundancy.h"

#include "model/chassis.h"

#include <algorithm>
#include <utility>

namespace sim {

const Unit* active_supervisor(const Chassis& chassis)
{
    const Unit* unit = chassis.find_unit(chassis.redundancy().active);
    // A line card may have come into the slot of a supervisor that failed and was pulled.
    const bool in_service =
        unit != nullptr && is_supervisor(*unit) && unit->status == EntityStatus::ok;
    return in_service ? unit : nullptr;
}

const Unit* standby_supervisor(const Chassis& chassis)
{
    const auto found = std::ranges::find_if(chassis.units(), [&](const auto& entry) {
        const Unit& unit = entry.second;
        return is_supervisor(unit) && unit.status == EntityStatus::ok &&
               unit.index != chassis.redundancy().active;
    });
    return found == chassis.units().end() ? nullptr : &found->second;
}

int32_t supervisor_state(const Chassis& chassis)
{
    const bool redundant =
        active_supervisor(chassis) != nullptr && standby_supervisor(chassis) != nullptr;
    return chassis.redundancy().state_by_hand.value_or(redundant ? supervisors_redundant
                                                                 : one_supervisor);
}

// Changes of the roles.

void Chassis::switch_over(int32_t reason)
{
    const Unit* standby = standby_supervisor(*this);
    if (standby == nullptr) {
        throw Refusal("no supervisor is on standby");
    }
    put_in_charge(standby->index, reason);
}

void Chassis::act(RedundancyAction action)
{
    const uint32_t active = redundancy_.active;
    const Unit* standby = standby_supervisor(*this);
    if (action != RedundancyAction::none && standby == nullptr) {
        throw Refusal("no supervisor is on standby");
    }
    if (action == RedundancyAction::restart_standby) {
        set_admin_status(standby->index, AdminStatus::restart);
    } else if (action != RedundancyAction::none) {
        switch_over(switchover_requested);
    }
    if (action == RedundancyAction::switch_over_and_restart && find_unit(active) != nullptr) {
        set_admin_status(active, AdminStatus::restart);
    }
    redundancy_.last_action = action;
}

void Chassis::refuse_for_active_supervisor(const Unit& unit) const
{
    if (active_supervisor(*this) == &unit) {
        throw Refusal(entities_.at(unit.index).name + " is the active supervisor");
    }
}

/// The active supervisor stays active until it is out of service and another one can take over.
void Chassis::settle_roles()
{
    const Unit* standby = standby_supervisor(*this);
    if (active_supervisor(*this) == nullptr && standby != nullptr) {
        put_in_charge(standby->index, active_supervisor_failed);
    }
}

void Chassis::put_in_charge(uint32_t supervisor, int32_t reason)
{
    const bool first = std::exchange(redundancy_.active, supervisor) == 0;
    if (first) {
        return;
    }
    ++redundancy_.switchovers;
    redundancy_.last_reason = reason;
    notify({supervisor_switchover});
}

} // namespace sim
