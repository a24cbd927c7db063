#include "libraries/fault.h"

#include "libraries/heartbeat.h"

#include <stdexcept>
#include <string>

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
        take_time(std::chrono::milliseconds(fault.amount));
        break;
    }
}

bool concerns(const Fault& fault, uint32_t request, int32_t operation)
{
    return fault.request == request && fault.operation.value_or(operation) == operation;
}

/// What the faults of a kind add up to in one request.
uint32_t sum_of(const FaultKind* kind, uint32_t request, int32_t operation)
{
    uint32_t sum = 0;
    for (const Fault& fault : set_faults) {
        if (fault.kind == kind && concerns(fault, request, operation)) {
            sum += fault.amount;
        }
    }
    return sum;
}

void refuse_without_length(const Fault& fault)
{
    const bool resizes =
        fault.kind->effect == FaultEffect::cut || fault.kind->effect == FaultEffect::pad;
    if (resizes && fault.request <= static_cast<uint32_t>(PortCall::diagnostics)) {
        throw std::invalid_argument("answers to '" +
                                    std::string(key_of(request_names, fault.request)) +
                                    "' come without a length: they cannot be short or long");
    }
}

void refuse_excess(const Fault& fault)
{
    if (set_faults.size() == max_faults) {
        throw std::invalid_argument(std::to_string(max_faults) + " faults are set already");
    }
    if (fault.kind->effect == FaultEffect::fail) {
        return; // the code of the last one counts
    }
    for (const auto& [key, operation] : operation_names) {
        if (!concerns(fault, fault.request, operation)) {
            continue;
        }
        const uint32_t sum = sum_of(fault.kind, fault.request, operation) + fault.amount;
        if (sum > fault.kind->most) {
            const std::string unit(fault.kind->amount);
            throw std::invalid_argument("the faults of a " + std::string(key) +
                                        " would add up to " + std::to_string(sum) + " " + unit +
                                        ", and the most is " + std::to_string(fault.kind->most));
        }
    }
}

} // namespace

const std::vector<Fault>& faults()
{
    return set_faults;
}

uint32_t set_fault(Fault fault)
{
    refuse_without_length(fault);
    refuse_excess(fault);
    fault.number = ++last_number;
    set_faults.push_back(fault);
    return fault.number;
}

bool clear_fault(uint32_t number)
{
    return std::erase_if(set_faults, [=](const Fault& fault) { return fault.number == number; }) !=
           0;
}

Disturbance disturb(uint32_t request, int32_t operation)
{
    Disturbance disturbance;
    for (Fault& fault : set_faults) {
        if (!concerns(fault, request, operation)) {
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

} // namespace sim
