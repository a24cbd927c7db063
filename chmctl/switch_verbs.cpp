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
    Columns columns;
    for (const json& led : leds) {
        const json& colour = led.at("colour");
        columns.add({right_aligned(led.at("index").get<uint32_t>(), 6), text_of(led, "name"),
                     text_of(led, "led"),
                     colour.is_string() ? text_of(led, "colour") : colour.dump()});
    }
    columns.print();
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
    arguments->values["reason"] = sim::switchover_requested;
    add_argument<int32_t>(command, "--reason", arguments, "reason",
                          "Reason code of the high-availability manager")
        ->type_name("CODE")
        ->default_str(std::to_string(sim::switchover_requested) + " (requested)");
}

void leds_options(CLI::App& command, const Arguments& arguments)
{
    add_entity(command, arguments, "ENTITY", "Only those of this entity and what is in it")
        ->required(false);
}

constexpr Verb switch_table[] = {
    {"redundancy", "Show the supervisors' roles", "", no_options, print_redundancy},
    {"switchover", "Switch over to the standby supervisor", "--reason 1", switchover_options,
     print_redundancy},
    {"leds", "Show the LEDs", "\"Module 3\"", leds_options, print_leds},
    {"terminals", "Show the messages sent to the terminals", "", no_options, print_terminals},
};

} // namespace

const VerbGroup switch_verbs{"Supervisors, LEDs and terminals", switch_table};
