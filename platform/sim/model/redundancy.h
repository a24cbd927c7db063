/// The two supervisors: which of them is in charge, and how it came to be.
#pragma once

#include <cstdint>
#include <optional>

namespace sim {

class Chassis;
struct Unit;

/// What an operator asks of the supervisors.
enum class RedundancyAction : int32_t {
    none = 0,
    switch_over = 1,
    restart_standby = 2,
    switch_over_and_restart = 3, ///< the supervisor that was in charge starts again
};

/// Why the supervisors switched over, in the codes of the high-availability manager, which knows
/// more of them than the simulated switch uses by itself.
inline constexpr int32_t never_switched_over = -1;
inline constexpr int32_t switchover_requested = 0;
inline constexpr int32_t active_supervisor_failed = 1;

/// State codes of the supervisors together.
inline constexpr int32_t one_supervisor = 1;
inline constexpr int32_t supervisors_redundant = 2;

struct Redundancy {
    uint32_t active = 0; ///< entPhysicalIndex of the supervisor in charge, in service or not
    uint32_t switchovers = 0;
    int32_t last_reason = never_switched_over;
    RedundancyAction last_action = RedundancyAction::none;
    std::optional<int32_t> state_by_hand{}; ///< takes the place of the state as it is
};

/// The supervisor in charge, or null while none is in service. It can be neither switched off nor
/// pulled.
const Unit* active_supervisor(const Chassis& chassis);

/// A supervisor in service that is not in charge, or null.
const Unit* standby_supervisor(const Chassis& chassis);

/// State code of the supervisors, unless it was set by hand.
int32_t supervisor_state(const Chassis& chassis);

} // namespace sim
