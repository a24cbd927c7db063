#include "control/verbs.h"

#include "control/verb_arguments.h"
#include "libraries/platform_manager.h"

#include <algorithm>
#include <stdexcept>

namespace sim {
namespace {

using nlohmann::json;

const Verb& verb_of(const json& request)
{
    if (!request.is_object()) {
        throw std::runtime_error("a request is one JSON object on a line");
    }
    const auto name = argument<std::string>(request, "verb");
    for (const auto& verbs : {unit_verbs, setting_verbs, reading_verbs, interface_verbs,
                              switch_verbs, platform_verbs, fault_verbs, choice_verbs}) {
        const auto verb = std::ranges::find(verbs, name, &Verb::name);
        if (verb != verbs.end()) {
            return *verb;
        }
    }
    throw std::runtime_error("unknown verb '" + name + "'");
}

/// What an argument of another request can be.
json choices(const json& arguments)
{
    const auto request = argument<json>(arguments, "for");
    const Verb& verb = verb_of(request);
    return verb.choices == nullptr
               ? json::array()
               : json(verb.choices(request, argument<std::string>(arguments, "argument")));
}

constexpr Verb choice_table[] = {{"choices", choices}};

} // namespace

const std::span<const Verb> choice_verbs(choice_table);

json run_verb(const json& request)
{
    json result = verb_of(request).run(request);
    if (const Chassis* chassis = chassis_in_place()) {
        chassis->announce_write();
    }
    return result;
}

std::string answer_request(std::string_view line)
{
    json answer;
    try {
        answer = {{"ok", true}, {"result", run_verb(json::parse(line, nullptr, false))}};
    } catch (const std::exception& error) {
        answer = {{"ok", false}, {"error", error.what()}};
    }
    // Texts may come from any source and need not be UTF-8.
    return answer.dump(-1, ' ', false, json::error_handler_t::replace);
}

} // namespace sim
