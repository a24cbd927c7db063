#include "libraries/fault.h"

#include <algorithm>
#include <chrono>
#include <iterator>
#include <thread>

namespace sim {
namespace {

std::vector<Fault> set_faults;
uint32_t last_number = 0;

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
        std::this_thread::sleep_for(std::chrono::milliseconds(fault.amount));
        break;
    }
}

} // namespace

const std::vector<Fault>& faults()
{
    return set_faults;
}

uint32_t set_fault(Fault fault)
{
    fault.number = ++last_number;
    set_faults.push_back(fault);
    return fault.number;
}

bool clear_fault(uint32_t number)
{
    return std::erase_if(set_faults, [=](const Fault& fault) { return fault.number == number; }) !=
           0;
}

Disturbance disturb(std::string_view request, int32_t operation)
{
    Disturbance disturbance;
    for (Fault& fault : set_faults) {
        if (fault.request != request || fault.operation.value_or(operation) != operation) {
            continue;
        }
        strike(fault, disturbance);
        ++fault.strikes;
        if (fault.left) {
            --*fault.left;
        }
    }
    std::erase_if(set_faults, [](const Fault& fault) { return fault.left == 0; });
    return disturbance;
}

Disturbance disturb(uint32_t opcode, int32_t operation)
{
    if (set_faults.empty()) {
        return {};
    }
    const auto* request = std::ranges::find(request_names, opcode, &RequestName::opcode);
    return request == std::end(request_names) ? Disturbance{} : disturb(request->key, operation);
}

} // namespace sim
