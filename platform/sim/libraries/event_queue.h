/// Platform events on their way to the MIB modules.
#pragma once

#include "wire/events.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

namespace sim {

/// Queues an event. Its handler runs from the agent's loop, never from within this call: the MIB
/// modules must not be entered again while they serve a request.
/// @param payload the event's record, empty for an event without one
void post_event(uint32_t event, std::span<const std::byte> payload = {});

template <typename Record>
void post_event(const Event<Record>& event, const Record& record)
{
    post_event(event.number, std::as_bytes(std::span(&record, 1)));
}

/// An event on its way.
struct EventMessage {
    uint32_t event;
    std::vector<std::byte> payload;
};

using EventHandler = std::function<void(EventMessage& message)>;

/// Registers the handler for events of an opcode, in place of the previous one.
void handle_events(uint32_t opcode, EventHandler handler);

/// Unregisters the handler of an opcode. @return whether there was one
bool ignore_events(uint32_t opcode);

/// Start and stop the delivery. Events queued in between wait for the next start.
void start_event_delivery();
void stop_event_delivery();

/// Number of events waiting for delivery.
size_t waiting_events();

/// Delivers all waiting events.
void deliver_events();

} // namespace sim
