#include "control/verb_arguments.h"

#include <iterator>

namespace sim {

using nlohmann::json;

uint32_t named_entity(const json& arguments)
{
    const Chassis& chassis = the_chassis();
    const json entity = argument<json>(arguments, "entity");
    if (entity.is_number_unsigned()) {
        const auto index = entity.get<uint64_t>();
        if (index > UINT32_MAX || chassis.find(static_cast<uint32_t>(index)) == nullptr) {
            throw std::runtime_error("there is no entity " + std::to_string(index));
        }
        return static_cast<uint32_t>(index);
    }
    const auto name = argument<std::string>(arguments, "entity");
    const auto is_named = [&](const auto& entry) { return entry.second.name == name; };
    const auto& entities = chassis.entities();
    const auto found = std::ranges::find_if(entities, is_named);
    if (found == entities.end()) {
        throw std::runtime_error("there is no entity named '" + name + "'");
    }
    if (std::any_of(std::next(found), entities.end(), is_named)) {
        throw std::runtime_error("several entities are named '" + name + "'; give its index");
    }
    return found->first;
}

} // namespace sim
