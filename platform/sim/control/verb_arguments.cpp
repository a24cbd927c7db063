#include "control/verb_arguments.h"

#include "model/nearest.h"

#include <iterator>
#include <set>

namespace sim {

using nlohmann::json;

namespace {

/// Reports that no entity has a name, and what may be meant: a unit that was pulled, or one of a
/// similar name.
[[noreturn]] void fail_for_name(const Chassis& chassis, const std::string& name)
{
    const auto is_named = [&](const Entity& entity) { return is_same_name(entity.name, name); };
    const auto pulled_from = std::ranges::find_if(chassis.places(), [&](const auto& entry) {
        const auto& pulled = entry.second.pulled;
        return pulled && std::ranges::any_of(pulled->entities, is_named);
    });
    if (pulled_from != chassis.places().end()) {
        const std::string& place = chassis.entities().at(pulled_from->first).name;
        throw std::runtime_error("'" + name + "' was pulled: " + place + " is empty");
    }
    std::vector<std::string_view> names;
    for (const auto& [index, entity] : chassis.entities()) {
        names.push_back(entity.name);
    }
    throw std::runtime_error("there is no entity named '" + name + "'" + did_you_mean(name, names));
}

} // namespace

bool is_flagged(const json& arguments, const char* name)
{
    return arguments.contains(name) && argument<bool>(arguments, name);
}

std::vector<std::string> entities_of_list(const json& arguments, std::string_view /*argument*/)
{
    const Chassis& chassis = the_chassis();
    std::set<uint32_t> indexes;
    for (const json& listed : run_verb(arguments)) {
        const Entity* entity = chassis.find(listed.at("index").get<uint32_t>());
        while (entity != nullptr && indexes.insert(entity->index).second) {
            entity = chassis.find(entity->contained_in);
        }
    }
    return names_of_entities([&](const Entity& entity) { return indexes.contains(entity.index); });
}

Filter::Filter(const json& arguments)
    : within_(arguments.contains("entity") ? std::optional(named_entity(arguments)) : std::nullopt),
      only_failed_(is_flagged(arguments, "failed")),
      only_beyond_(is_flagged(arguments, "beyond-threshold"))
{
}

bool Filter::admits(const Chassis& chassis, uint32_t index) const
{
    const Entity* entity = chassis.find(index);
    while (within_ && entity != nullptr && entity->index != *within_) {
        entity = chassis.find(entity->contained_in);
    }
    return entity != nullptr;
}

bool Filter::admits_status(std::string_view status) const
{
    return !only_failed_ || status == key_of(entity_statuses, EntityStatus::failed) ||
           status == key_of(entity_statuses, EntityStatus::unknown) ||
           status == key_of(sensor_statuses, SensorStatus::nonoperational);
}

void Filter::keep_beyond(json& items) const
{
    if (!only_beyond_) {
        return;
    }
    json kept = json::array();
    for (json& item : items) {
        if (std::ranges::any_of(item.at("thresholds"),
                                [](const json& one) { return one.at("beyond").get<bool>(); })) {
            kept.push_back(std::move(item));
        }
    }
    items = std::move(kept);
}

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
    const auto& entities = chassis.entities();
    const auto is_named = [&](const auto& entry) { return is_same_name(entry.second.name, name); };
    const auto found = std::ranges::find_if(entities, is_named);
    if (found == entities.end()) {
        fail_for_name(chassis, name);
    }
    if (std::any_of(std::next(found), entities.end(), is_named)) {
        throw std::runtime_error("several entities are named '" + name + "'; give its index");
    }
    return found->first;
}

} // namespace sim
