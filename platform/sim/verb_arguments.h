/// The arguments of what chmctl asks for.
#pragma once

#include <nlohmann/json.hpp>

#include <stdexcept>
#include <string>

namespace sim {

/// An argument of a request; the error of a missing or wrong one names it.
template <typename Value>
Value argument(const nlohmann::json& arguments, const char* name)
{
    try {
        return arguments.at(name).get<Value>();
    } catch (const nlohmann::json::exception&) {
        throw std::runtime_error(std::string("argument '") + name + "' is missing or wrong");
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
