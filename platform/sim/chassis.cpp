#include "chassis.h"

#include "physical_index.h"

#include <stdexcept>

namespace sim {

void Chassis::add(Entity entity)
{
    const uint32_t index = entity.index;
    // A walk resumes after PLATFORM_ROWS_RESUME, so that a row there would never be seen.
    if (is_transceiver_sensor(index) || index == PLATFORM_ROWS_RESUME) {
        throw std::invalid_argument("index " + std::to_string(index) +
                                    " lies among the transceivers' sensors");
    }
    if (!entities_.emplace(index, std::move(entity)).second) {
        throw std::invalid_argument("index " + std::to_string(index) + " is taken");
    }
}

const Entity* Chassis::find(uint32_t index) const
{
    const auto found = entities_.find(index);
    return found == entities_.end() ? nullptr : &found->second;
}

const Entity* Chassis::next_after(uint32_t index) const
{
    const auto found = entities_.upper_bound(index);
    return found == entities_.end() ? nullptr : &found->second;
}

void Chassis::write(uint32_t index, std::span<const TextChange> changes)
{
    Entity& entity = entities_.at(index);
    bool changed = false;
    for (const TextChange& change : changes) {
        std::string& text = entity.*change.text;
        changed |= text != change.value;
        text = change.value;
    }
    if (changed) {
        announce_change();
    }
}

void Chassis::announce_change()
{
    last_change_ = Clock::now();
    for (const Observer& observer : observers_) {
        observer(Event::inventory_change);
    }
}

} // namespace sim
