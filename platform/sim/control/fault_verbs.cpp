// Fault injection.

#include "control/verb_arguments.h"
#include "model/fault.h"

namespace sim {
namespace {

using nlohmann::json;

/// The name of a request, given by name or opcode. Those of the port manager have no opcode.
std::string_view named_request(const json& arguments)
{
    if (!argument<json>(arguments, "request").is_number()) {
        return choice(arguments, "request", request_names).key;
    }
    const auto opcode = argument<uint32_t>(arguments, "request");
    const auto* request = std::ranges::find(request_names, opcode, &RequestName::opcode);
    if (request == std::end(request_names)) {
        throw std::runtime_error(std::to_string(opcode) +
                                 " is not the opcode of a request; give the request's name");
    }
    return request->key;
}

json shown(const Fault& fault)
{
    return {{"number", fault.number},
            {"request", fault.request},
            {"operation", fault.operation ? key_of(operation_names, *fault.operation) : "any"},
            {"effect", fault.kind->key},
            {"amount", fault.amount},
            {"unit", fault.kind->amount},
            {"left", fault.left ? json(*fault.left) : json()},
            {"strikes", fault.strikes}};
}

json inject_fault(const json& arguments)
{
    Fault fault{.request = named_request(arguments),
                .kind = &choice(arguments, "effect", fault_kinds)};
    if (fault.kind->most != 0) {
        if (!arguments.contains("amount")) {
            throw std::runtime_error(std::string(fault.kind->key) + " needs an 'amount' (" +
                                     std::string(fault.kind->amount) + ")");
        }
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

json show_faults(const json& /*arguments*/)
{
    json list = json::array();
    for (const Fault& fault : the_chassis().faults()) {
        list.push_back(shown(fault));
    }
    return list;
}

json clear_faults(const json& arguments)
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
    return show_faults(arguments);
}

std::vector<std::string> requests_to_inject(const json& /*arguments*/, std::string_view argument)
{
    const auto names = keys_in(request_names);
    return argument == "request" ? std::vector<std::string>(names.begin(), names.end())
                                 : std::vector<std::string>();
}

std::vector<std::string> faults_to_clear(const json& /*arguments*/, std::string_view /*argument*/)
{
    std::vector<std::string> numbers;
    for (const Fault& fault : the_chassis().faults()) {
        numbers.push_back(std::to_string(fault.number));
    }
    return numbers;
}

constexpr Verb fault_table[] = {
    {"inject-fault", inject_fault, requests_to_inject},
    {"faults", show_faults},
    {"clear-faults", clear_faults, faults_to_clear},
};

} // namespace

const std::span<const Verb> fault_verbs(fault_table);

} // namespace sim
