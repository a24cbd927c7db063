// Verbs of the whole switch: supervisors, LEDs, terminals.

#include "control/verb_arguments.h"
#include "model/led.h"
#include "model/terminals.h"

#include <stdexcept>

namespace sim {
namespace {

using nlohmann::json;

json redundancy(const json& /*arguments*/)
{
    const Chassis& chassis = the_chassis();
    const auto name = [&](const Unit* unit) {
        return unit == nullptr ? json() : json(chassis.entities().at(unit->index).name);
    };
    return {{"active", name(active_supervisor(chassis))},
            {"standby", name(standby_supervisor(chassis))},
            {"state", supervisor_state(chassis)},
            {"switchovers", chassis.redundancy().switchovers},
            {"last-reason", chassis.redundancy().last_reason},
            {"last-action", static_cast<int32_t>(chassis.redundancy().last_action)}};
}

json switchover(const json& arguments)
{
    the_chassis().switch_over(argument<int32_t>(arguments, "reason"));
    return redundancy(arguments);
}

json leds(const json& arguments)
{
    const Chassis& chassis = the_chassis();
    const Filter filter(arguments);
    json list = json::array();
    for (auto led = led_after(chassis, 0, 0); led;
         led = led_after(chassis, led->entity, led->led)) {
        if (!filter.admits(chassis, led->entity)) {
            continue;
        }
        const auto colour = LedColour{led->value.value()};
        const auto* named = std::ranges::find(led_colours, colour, &Named<LedColour>::value);
        list.push_back({{"index", led->entity.value()},
                        {"name", chassis.entities().at(led->entity).name},
                        {"led", key_of(led_names, led->led.value())},
                        {"colour", named == std::end(led_colours) ? json(led->value.value())
                                                                  : json(named->key)}});
    }
    return list;
}

json terminal_messages(const json& /*arguments*/)
{
    json list = json::array();
    for (const DeliveredMessage& message : terminals().delivered()) {
        list.push_back({{"time", time_text(message.time)},
                        {"text", message.text},
                        {"duration", message.duration},
                        {"interval", message.interval}});
    }
    return list;
}

constexpr Verb switch_table[] = {
    {"redundancy", redundancy},
    {"switchover", switchover},
    {"leds", leds, entities_of_list},
    {"terminals", terminal_messages},
};

} // namespace

const std::span<const Verb> switch_verbs(switch_table);

} // namespace sim
