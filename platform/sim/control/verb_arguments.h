/// The arguments of the requests of chmctl.
#pragma once

#include "control/verb.h"
#include "model/nearest.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>

namespace sim {

/// Whether a value is a whole number that fits the type, which conversions do not check.
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

/// An argument that is a whole number within a range, inclusive.
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

/// The one of some choices whose key an argument gives.
template <typename Choices>
const auto& choice(const nlohmann::json& arguments, const char* name, const Choices& choices)
{
    const auto key = argument<std::string>(arguments, name);
    const auto found =
        std::ranges::find_if(choices, [&](const auto& one) { return one.key == key; });
    if (found == std::end(choices)) {
        const auto keys = keys_in(choices);
        const std::string nearest = did_you_mean(key, keys);
        throw std::runtime_error("there is no " + std::string(name) + " '" + key + "'" +
                                 (nearest.empty() ? "; there is " + listed(keys) : nearest));
    }
    return *found;
}

/// The index of the entity that a request names by its index or by its name.
uint32_t named_entity(const nlohmann::json& arguments);

/// Whether a request has a flag set.
bool is_flagged(const nlohmann::json& arguments, const char* name);

/// The names of the entities that fit.
template <typename Fits>
std::vector<std::string> names_of_entities(Fits fits)
{
    std::vector<std::string> names;
    for (const auto& [index, entity] : the_chassis().entities()) {
        if (fits(entity)) {
            names.push_back(entity.name);
        }
    }
    return names;
}

/// The entities to which the list of a request can be restricted: those listed without that, and
/// what they are in.
std::vector<std::string> entities_of_list(const nlohmann::json& arguments,
                                          std::string_view argument);

/// What a request lists: all, or only what is in the entity that it names, what has failed, or what
/// is beyond a threshold.
class Filter {
public:
    explicit Filter(const nlohmann::json& arguments);

    /// Whether an entity is the one that the request names or is within it.
    bool admits(const Chassis& chassis, uint32_t index) const;

    /// Whether the request lists what has this status.
    bool admits_status(std::string_view status) const;

    /// Removes what is not beyond a threshold, if the request wants that.
    /// @param items each with "thresholds"
    void keep_beyond(nlohmann::json& items) const;

    bool only_beyond() const { return only_beyond_; }

private:
    std::optional<uint32_t> within_;
    bool only_failed_;
    bool only_beyond_;
};

/// Changes the entity that a request names.
template <typename Change>
nlohmann::json change_entity(const nlohmann::json& arguments, Change change)
{
    const uint32_t index = named_entity(arguments);
    change(the_chassis(), index);
    return {{"index", index}};
}

} // namespace sim
