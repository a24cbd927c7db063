#include "model/fault.h"

#include "model/chassis.h"
#include "model/nearest.h"

namespace sim {
namespace {

/// The sum of the faults of a kind in one request.
uint32_t sum_of(const std::vector<Fault>& faults, const FaultKind* kind, std::string_view request,
                int32_t operation)
{
    uint32_t sum = 0;
    for (const Fault& fault : faults) {
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
    const bool has_length =
        std::ranges::find(request_names, fault.request, &RequestName::key)->opcode.has_value();
    if (resizes && !has_length) {
        throw Refusal("answers to '" + std::string(fault.request) +
                      "' come without a length: they cannot be short or long");
    }
}

/// Refuses a fault of an operation with which the MIB modules never send the request.
void refuse_without_effect(const Fault& fault)
{
    const auto* request = std::ranges::find(request_names, fault.request, &RequestName::key);
    if (!fault.operation || request->is_sent(*fault.operation)) {
        return;
    }
    std::vector<std::string_view> sent;
    for (const auto& [key, operation] : operation_names) {
        if (request->is_sent(operation)) {
            sent.push_back(key);
        }
    }
    throw Refusal("the MIB modules send '" + std::string(fault.request) + "' only with " +
                  listed(sent));
}

void refuse_excess(const std::vector<Fault>& faults, const Fault& fault)
{
    if (faults.size() == max_faults) {
        throw Refusal(std::to_string(max_faults) + " faults are set already");
    }
    if (fault.kind->effect == FaultEffect::fail) {
        return; // the code of the last one counts
    }
    for (const auto& [key, operation] : operation_names) {
        if (!concerns(fault, fault.request, operation)) {
            continue;
        }
        const uint32_t sum = sum_of(faults, fault.kind, fault.request, operation) + fault.amount;
        if (sum > fault.kind->most) {
            throw Refusal("the faults of a " + std::string(key) + " would add up to " +
                          std::to_string(sum) + " " + std::string(fault.kind->amount) +
                          ", and the most is " + std::to_string(fault.kind->most));
        }
    }
}

} // namespace

void Chassis::set_fault(Fault fault)
{
    refuse_without_length(fault);
    refuse_without_effect(fault);
    refuse_excess(faults_, fault);
    fault.number = ++last_fault_;
    faults_.push_back(fault);
}

} // namespace sim
