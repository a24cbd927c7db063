#include "model/led.h"

#include <algorithm>

namespace sim {
namespace {

LedColour colour_of(EntityStatus status)
{
    switch (status) {
    case EntityStatus::ok:
        return LedColour::green;
    case EntityStatus::off:
        return LedColour::off;
    case EntityStatus::failed:
        return LedColour::red;
    case EntityStatus::starting:
        return LedColour::blinking_green;
    default:
        return LedColour::amber;
    }
}

/// The chassis shows the worst status of its units.
LedColour colour_of_chassis(const Chassis& chassis)
{
    LedColour colour = LedColour::green;
    for (const auto& [index, unit] : chassis.units()) {
        if (unit.status == EntityStatus::failed) {
            return LedColour::red;
        }
        if (unit.status != EntityStatus::ok) {
            colour = LedColour::amber;
        }
    }
    return colour;
}

led_entry entry(const Chassis& chassis, uint32_t entity, uint32_t led, LedColour colour)
{
    const auto& leds_by_hand = chassis.settings().leds_by_hand;
    const auto by_hand = leds_by_hand.find({entity, led});
    return {entity, led,
            by_hand == leds_by_hand.end() ? static_cast<int32_t>(colour) : by_hand->second};
}

led_entry unit_led(const Chassis& chassis, const Unit& unit, uint32_t led)
{
    if (led == status_led) {
        return entry(chassis, unit.index, led, colour_of(unit.status));
    }
    const bool in_charge = active_supervisor(chassis) == &unit;
    return entry(chassis, unit.index, led, in_charge ? LedColour::green : LedColour::amber);
}

} // namespace

uint32_t number_of_leds(const Unit& unit)
{
    return is_supervisor(unit) ? role_led : status_led;
}

std::optional<led_entry> find_led(const Chassis& chassis, uint32_t entity, uint32_t led)
{
    if (entity == chassis_index && led == status_led) {
        return entry(chassis, entity, led, colour_of_chassis(chassis));
    }
    const Unit* unit = chassis.find_unit(entity);
    if (unit == nullptr || led < status_led || led > number_of_leds(*unit)) {
        return std::nullopt;
    }
    return unit_led(chassis, *unit, led);
}

std::optional<led_entry> led_after(const Chassis& chassis, uint32_t entity, uint32_t led)
{
    if (entity < chassis_index) {
        return find_led(chassis, chassis_index, status_led);
    }
    if (led < role_led) {
        if (const auto next = find_led(chassis, entity, led + 1)) {
            return next;
        }
    }
    const auto unit = chassis.units().upper_bound(entity);
    if (unit == chassis.units().end()) {
        return std::nullopt;
    }
    return unit_led(chassis, unit->second, status_led);
}

void set_led(Chassis& chassis, uint32_t entity, uint32_t led, std::optional<int32_t> value)
{
    auto& by_hand = chassis.settings().leds_by_hand;
    if (value) {
        by_hand[{entity, led}] = *value;
    } else {
        by_hand.erase({entity, led});
    }
}

} // namespace sim
