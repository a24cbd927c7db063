/// The two supervisors: which one is active, and the last switchover.
#pragma once

#include <cstdint>
#include <optional>

namespace sim {

class Chassis;
struct Unit;

/// Administrative actions of the supervisors.
enum class RedundancyAction : int32_t {
    none = 0,
    switch_over = 1,
    restart_standby = 2,
    switch_over_and_restart = 3, ///< the previously active supervisor restarts
};

/// Reasons of a switchover, in the codes of the high-availability manager. It has more of them than
/// the simulated switch uses by itself.
inline constexpr int32_t never_switched_over = -1;
inline constexpr int32_t switchover_requested = 0;
inline constexpr int32_t active_supervisor_failed = 1;

/// State codes of the supervisors together.
inline constexpr int32_t one_supervisor = 1;
inline constexpr int32_t supervisors_redundant = 2;

struct Redundancy {
    uint32_t active = 0; ///< entPhysicalIndex of the active supervisor, in service or not
    uint32_t switchovers = 0;
    int32_t last_reason = never_switched_over;
    RedundancyAction last_action = RedundancyAction::none;
    std::optional<int32_t> state_by_hand{}; ///< override of the state
};

/// The active supervisor, or null while none is in service. It can be neither switched off nor
/// pulled.
const Unit* active_supervisor(const Chassis& chassis);

/// A supervisor in service that is not active, or null.
const Unit* standby_supervisor(const Chassis& chassis);

/// State code of the supervisors: the override, if any, else their actual state.
int32_t supervisor_state(const Chassis& chassis);

} // namespace sim
