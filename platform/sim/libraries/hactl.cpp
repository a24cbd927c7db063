#include "libraries/c_boundary.h"
#include "libraries/platform_manager.h"

int32_t hactl_swover_reason_get()
{
    const sim::Chassis* chassis = sim::chassis_in_place();
    return chassis == nullptr ? sim::never_switched_over : chassis->redundancy().last_reason;
}

int32_t hactl_supstate_get()
{
    const sim::Chassis* chassis = sim::chassis_in_place();
    return chassis == nullptr ? sim::one_supervisor : supervisor_state(*chassis);
}
