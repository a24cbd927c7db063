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

json set_supervisor_state(const json& arguments)
{
    the_chassis().set_supervisor_state(by_hand(arguments, "state"));
    return redundancy(arguments);
}

json leds(const json& /*arguments*/)
{
    const Chassis& chassis = the_chassis();
    json list = json::array();
    for (auto led = led_after(chassis, 0, 0); led;
         led = led_after(chassis, led->entity, led->led)) {
        list.push_back({{"index", led->entity.value()},
                        {"name", chassis.entities().at(led->entity).name},
                        {"led", led->led.value()},
                        {"value", led->value.value()}});
    }
    return list;
}

json led(const json& arguments)
{
    return change_entity(arguments, [&](Chassis& chassis, uint32_t index) {
        const auto number = argument<uint32_t>(arguments, "led");
        if (!find_led(chassis, index, number)) {
            throw std::runtime_error(chassis.entities().at(index).name + " has no LED " +
                                     std::to_string(number));
        }
        set_led(chassis, index, number, by_hand(arguments, "value"));
    });
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
    {"supervisor-state", set_supervisor_state},
    {"leds", leds},
    {"led", led},
    {"terminals", terminal_messages},
};

} // namespace

const std::span<const Verb> switch_verbs(switch_table);

} // namespace sim
