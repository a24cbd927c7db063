/// The arguments of what chmctl asks for.
#pragma once

#include "model/chassis.h"

#include <nlohmann/json.hpp>

#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>

namespace sim {

/// The chassis in place. Throws when there is none.
Chassis& the_chassis();

/// Whether a value is a whole number that fits the type, which conversions do not ask.
template <typename Number>
bool is_whole_number(const nlohmann::json& value)
{
    return value.is_number_unsigned()
               ? std::in_range<Number>(value.get<uint64_t>())
               : value.is_number_integer() && std::in_range<Number>(value.get<int64_t>());
}

/// An argument of a request; the error of a missing or wrong one names it.
template <typename Value>
Value argument(const nlohmann::json& arguments, const char* name)
{
    const std::string error = std::string("argument '") + name + "' is missing or wrong";
    try {
        const nlohmann::json& value = arguments.at(name);
        if constexpr (std::is_integral_v<Value> && !std::is_same_v<Value, bool>) {
            if (!is_whole_number<Value>(value)) {
                throw std::runtime_error(error);
            }
        }
        return value.get<Value>();
    } catch (const nlohmann::json::exception&) {
        throw std::runtime_error(error);
    }
}

/// An argument that is a whole number within a range, both ends of which belong to it.
inline uint32_t whole_number(const nlohmann::json& arguments, const char* name, uint32_t least,
                             uint32_t most)
{
    const auto number = argument<int64_t>(arguments, name);
    if (number < least || number > most) {
        throw std::runtime_error(std::string("'") + name + "' is not within " +
                                 std::to_string(least) + " to " + std::to_string(most));
    }
    return static_cast<uint32_t>(number);
}

} // namespace sim
