#include "libraries/disturbance.h"

#include "libraries/heartbeat.h"
#include "libraries/platform_manager.h"
#include "model/fault.h"

#include <algorithm>
#include <chrono>
#include <iterator>

namespace sim {
namespace {

void strike(const Fault& fault, Disturbance& disturbance)
{
    switch (fault.kind->effect) {
    case FaultEffect::fail:
        disturbance.result = static_cast<int32_t>(fault.amount);
        break;
    case FaultEffect::nothing:
        disturbance.result = PLATFORM_OK;
        break;
    case FaultEffect::cut:
        disturbance.more_bytes -= fault.amount;
        break;
    case FaultEffect::pad:
        disturbance.more_bytes += fault.amount;
        break;
    case FaultEffect::delay:
        take_time(std::chrono::milliseconds(fault.amount));
        break;
    }
}

} // namespace

Disturbance disturb(std::string_view request, int32_t operation)
{
    Disturbance disturbance;
    std::vector<Fault>& faults = chassis_in_place()->faults();
    if (faults.empty()) {
        return disturbance;
    }
    for (Fault& fault : faults) {
        if (!concerns(fault, request, operation)) {
            continue;
        }
        strike(fault, disturbance);
        ++fault.strikes;
        if (fault.left) {
            --*fault.left;
        }
    }
    std::erase_if(faults, [](const Fault& fault) { return fault.left == 0; });
    return disturbance;
}

Disturbance disturb(uint32_t opcode, int32_t operation)
{
    if (chassis_in_place()->faults().empty()) {
        return {};
    }
    const auto* request = std::ranges::find(request_names, opcode, &RequestName::opcode);
    return request == std::end(request_names) ? Disturbance{} : disturb(request->key, operation);
}

} // namespace sim
