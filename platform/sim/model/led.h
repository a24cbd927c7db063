/// The LEDs of the simulated switch. They follow the state of their entity unless overridden.
#pragma once

#include "model/chassis.h"
#include "model/named.h"
#include "wire/records.h"

#include <optional>

namespace sim {

/// The colour of an LED.
enum class LedColour : int32_t { off = 1, green = 2, amber = 3, red = 4, blinking_green = 5 };

inline constexpr Named<LedColour> led_colours[] = {{"off", LedColour::off},
                                                   {"green", LedColour::green},
                                                   {"amber", LedColour::amber},
                                                   {"red", LedColour::red},
                                                   {"blinking-green", LedColour::blinking_green}};

/// The LEDs of the chassis as a whole and of each unit are numbered from 1: first that of its
/// status, then, on a supervisor, the one that is green while it is active and amber otherwise.
inline constexpr uint32_t status_led = 1;
inline constexpr uint32_t role_led = 2;

inline constexpr Named<uint32_t> led_names[] = {{"status-led", status_led}, {"role-led", role_led}};

/// The number of LEDs of a unit.
uint32_t number_of_leds(const Unit& unit);

/// The colour of an LED, nothing if there is no such LED.
std::optional<led_entry> find_led(const Chassis& chassis, uint32_t entity, uint32_t led);

/// The first LED after the one with these numbers, by entity, then by LED; nothing after the last.
std::optional<led_entry> led_after(const Chassis& chassis, uint32_t entity, uint32_t led);

/// Overrides an LED, or ends the override.
void set_led(Chassis& chassis, uint32_t entity, uint32_t led, std::optional<int32_t> value);

} // namespace sim
