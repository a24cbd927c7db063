/// The verbs of chmctl by theme, and their shared functions.
#pragma once

#include "model/chassis.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace sim {

/// A verb and its function, which takes the request and returns the result. Invalid arguments and
/// refusals throw a std::exception.
struct Verb {
    std::string_view name;
    nlohmann::json (*run)(const nlohmann::json& arguments);

    /// What an argument can be, by the other arguments of the request, for completion: names of
    /// entities, other words, numbers. Null for a verb without such an argument.
    std::vector<std::string> (*choices)(const nlohmann::json& arguments,
                                        std::string_view argument) = nullptr;
};

extern const std::span<const Verb> unit_verbs;
extern const std::span<const Verb> reading_verbs;
extern const std::span<const Verb> interface_verbs;
extern const std::span<const Verb> setting_verbs;
extern const std::span<const Verb> switch_verbs;
extern const std::span<const Verb> platform_verbs;
extern const std::span<const Verb> fault_verbs;
extern const std::span<const Verb> choice_verbs;

/// Runs the verb of a request.
nlohmann::json run_verb(const nlohmann::json& request);

/// The chassis in place. Throws std::runtime_error when there is none.
Chassis& the_chassis();

/// A time in UTC, with milliseconds.
std::string time_text(std::chrono::system_clock::time_point time);

} // namespace sim
