/// Platform events on their way to the MIB modules.
#pragma once

#include "opcodes.h"

#include <cstddef>
#include <vector>

namespace sim {

/// Queues an event. Its handler runs from the agent's loop, never from within this call: the MIB
/// modules must not be entered again while they serve a request.
/// @param payload the event's record in wire order, empty for an event without one
void post_event(Event event, std::vector<std::byte> payload = {});

/// Begins and ends the delivery. Events that are queued meanwhile wait for the next start.
void start_event_delivery();
void stop_event_delivery();

/// Number of events that wait for delivery.
size_t waiting_events();

/// Delivers every event that waits.
void deliver_events();

} // namespace sim
