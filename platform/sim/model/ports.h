/// The ports of a chassis and the transceivers in them.
#pragma once

#include "model/chassis.h"

#include <cstddef>
#include <cstdint>

namespace sim {

/// The port with an interface index, or null.
const Entity* find_port(const Chassis& chassis, uint32_t if_index);

/// The same, the management port included.
const Entity* find_interface(const Chassis& chassis, uint32_t if_index);

/// The speed of a port with what is plugged in, in Mbit/s.
uint32_t speed_of(const Port& port);

/// The transceiver of a port whose module is in service, or null.
const Transceiver* transceiver_in_service(const Chassis& chassis, const Entity& port);

/// Whether the diagnostics of a port's transceiver can be read.
bool has_diagnostics(const Chassis& chassis, const Entity& port);

/// The first port after an interface index, be there such a port or not, whose transceiver has
/// diagnostics that can be read; null after the last.
const Entity* next_port_with_diagnostics(const Chassis& chassis, uint32_t if_index);

/// The format of a transceiver's raw readings in a chassis.
WordFormat reading_format(const Chassis& chassis, const Transceiver& transceiver);

/// The current reading of a transceiver's last lane, the one that the sensor tables show, in units
/// of the raw word. @param quantity its place in `quantities`
double raw_reading(const Chassis& chassis, const Transceiver& transceiver, size_t quantity);

} // namespace sim
