#include "control/fault_verbs.h"

#include "control/verb_arguments.h"
#include "model/fault.h"

namespace sim {
namespace {

using nlohmann::json;

/// The one of some choices whose key an argument gives.
template <typename Choice, size_t Count>
const Choice& choice(const json& arguments, const char* name, const Choice (&choices)[Count])
{
    const auto key = argument<std::string>(arguments, name);
    const Choice* found = std::ranges::find(choices, key, &Choice::key);
    if (found == std::end(choices)) {
        std::string keys;
        for (const Choice& one : choices) {
            keys += (keys.empty() ? "" : ", ") + std::string(one.key);
        }
        throw std::runtime_error("there is no " + std::string(name) + " '" + key + "', but " +
                                 keys);
    }
    return *found;
}

/// A request by its name or by its opcode.
uint32_t named_request(const json& arguments)
{
    if (!argument<json>(arguments, "request").is_number()) {
        return choice(arguments, "request", request_names).value;
    }
    const auto opcode = argument<uint32_t>(arguments, "request");
    if (std::ranges::find(request_names, opcode, &Named<uint32_t>::value) ==
        std::end(request_names)) {
        throw std::runtime_error("there is no opcode " + std::to_string(opcode));
    }
    return opcode;
}

json shown(const Fault& fault)
{
    return {{"number", fault.number},
            {"request", key_of(request_names, fault.request)},
            {"operation", fault.operation ? key_of(operation_names, *fault.operation) : "any"},
            {"effect", fault.kind->key},
            {"amount", fault.amount},
            {"unit", fault.kind->amount},
            {"left", fault.left ? json(*fault.left) : json()},
            {"strikes", fault.strikes}};
}

} // namespace

json fault_verb(const json& arguments)
{
    Fault fault{.request = named_request(arguments),
                .kind = &choice(arguments, "effect", fault_kinds)};
    if (fault.kind->most != 0) {
        fault.amount = whole_number(arguments, "amount", 1, fault.kind->most);
    } else if (arguments.contains("amount")) {
        throw std::runtime_error(std::string(fault.kind->key) + " takes no 'amount'");
    }
    if (arguments.contains("operation")) {
        fault.operation = choice(arguments, "operation", operation_names).value;
    }
    if (arguments.contains("count")) {
        fault.left = whole_number(arguments, "count", 1, UINT32_MAX);
    }
    the_chassis().set_fault(fault);
    return shown(the_chassis().faults().back());
}

json faults_verb(const json& /*arguments*/)
{
    json list = json::array();
    for (const Fault& fault : the_chassis().faults()) {
        list.push_back(shown(fault));
    }
    return list;
}

json clear_faults_verb(const json& arguments)
{
    if (arguments.contains("number")) {
        const auto number = argument<uint32_t>(arguments, "number");
        if (std::erase_if(the_chassis().faults(),
                          [=](const Fault& fault) { return fault.number == number; }) == 0) {
            throw std::runtime_error("there is no fault " + std::to_string(number));
        }
    } else {
        the_chassis().faults().clear();
    }
    return faults_verb(arguments);
}

} // namespace sim
