// Verbs of the whole switch: supervisors, LEDs, terminals.

#include "model/led.h"
#include "model/redundancy.h"
#include "output.h"
#include "verb.h"

#include <algorithm>
#include <cstdio>

using nlohmann::json;

namespace {

void print_redundancy(const json& result)
{
    for (const char* role : {"active", "standby"}) {
        const std::string name = result.at(role).is_null() ? "none" : text_of(result, role);
        std::printf("%-12s %s\n", role, name.c_str());
    }
    for (const char* number : {"state", "switchovers", "last-reason", "last-action"}) {
        std::printf("%-12s %d\n", number, result.at(number).get<int>());
    }
}

void print_leds(const json& leds)
{
    for (const json& led : leds) {
        const auto value = led.at("value").get<int>();
        const auto* colour = std::ranges::find(sim::led_colours, sim::LedColour{value},
                                               &sim::Named<sim::LedColour>::value);
        const bool known = colour != std::end(sim::led_colours);
        const std::string shown = known ? std::string(colour->key) : std::to_string(value);
        std::printf("%6u.%u  %-14s  %s\n", led.at("index").get<uint32_t>(),
                    led.at("led").get<uint32_t>(), shown.c_str(), text_of(led, "name").c_str());
    }
}

void print_terminals(const json& messages)
{
    for (const json& message : messages) {
        std::printf("%s  duration %d, interval %d: %s\n", text_of(message, "time").c_str(),
                    message.at("duration").get<int>(), message.at("interval").get<int>(),
                    text_of(message, "text").c_str());
    }
}

void switchover_options(CLI::App& command, const Arguments& arguments)
{
    (*arguments)["reason"] = sim::switchover_requested;
    add_argument<int32_t>(command, "--reason", arguments, "reason",
                          "Reason code of the high-availability manager")
        ->type_name("CODE")
        ->default_str(std::to_string(sim::switchover_requested) + " (requested)");
}

void supervisor_state_options(CLI::App& command, const Arguments& arguments)
{
    add_number_or_auto<int32_t>(command, arguments, "STATE", "state",
                                "The state's code (" + std::to_string(sim::supervisors_redundant) +
                                    " is redundant), or auto to follow the supervisors");
}

void led_options(CLI::App& command, const Arguments& arguments)
{
    add_entity(command, arguments, "ENTITY", "The entity with the LED, by its index or its name");
    add_argument<uint32_t>(command, "LED", arguments, "led", "Number of the LED, from 1")
        ->required();
    std::vector<std::string> colours = keys_of(sim::led_colours);
    const std::string help = listed(colours) + ", or auto to follow its unit";
    colours.emplace_back("auto");
    command
        .add_option_function<std::string>(
            "COLOUR",
            [=](const std::string& colour) {
                const auto* found =
                    std::ranges::find(sim::led_colours, colour, &sim::Named<sim::LedColour>::key);
                (*arguments)["value"] = found == std::end(sim::led_colours)
                                            ? json()
                                            : json(static_cast<int32_t>(found->value));
            },
            help)
        ->required()
        ->check(CLI::IsMember(colours));
}

constexpr Verb switch_table[] = {
    {"redundancy", "Show the supervisors' roles", "", no_options, print_redundancy},
    {"switchover", "Switch over to the standby supervisor", "--reason 1", switchover_options,
     print_redundancy},
    {"supervisor-state", "Override the supervisors' state code", "4", supervisor_state_options,
     print_redundancy},
    {"leds", "Show the LEDs", "", no_options, print_leds},
    {"led", "Override an LED", "\"Module 3\" 1 amber", led_options, print_nothing},
    {"terminals", "Show the messages sent to the terminals", "", no_options, print_terminals},
};

} // namespace

const VerbGroup switch_verbs{"Supervisors, LEDs and terminals", switch_table};
