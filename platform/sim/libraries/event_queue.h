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

/// Has a handler called for every event of an opcode, in place of the one there was.
void handle_events(uint32_t opcode, EventHandler handler);

/// Takes the handler of an opcode back. @return whether there was one
bool ignore_events(uint32_t opcode);

/// Begins and ends the delivery. Events that are queued meanwhile wait for the next start.
void start_event_delivery();
void stop_event_delivery();

/// Number of events that wait for delivery.
size_t waiting_events();

/// Delivers every event that waits.
void deliver_events();

} // namespace sim
