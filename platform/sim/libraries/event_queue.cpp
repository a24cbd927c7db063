#include "libraries/event_queue.h"

#include "libraries/c_boundary.h"
#include "libraries/event_log.h"
#include "libraries/request_user.h"

#include <net-snmp/agent/net-snmp-agent-includes.h>

#include <cerrno>
#include <map>
#include <stdexcept>
#include <sys/eventfd.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace sim {
namespace {

std::vector<EventMessage> queue;
std::map<uint32_t, EventHandler> handlers;
int wakeup = -1; ///< eventfd that is readable while messages wait

void wake_agent()
{
    if (wakeup >= 0) {
        eventfd_write(wakeup, 1);
    }
}

void deliver(EventMessage& message)
{
    const auto handler = handlers.find(message.event);
    if (handler == handlers.end()) {
        record_history("event " + std::to_string(message.event) + " dropped: nobody handles it");
        return;
    }
    handler->second(message);
}

void on_wakeup(int descriptor, void* /*unused*/)
{
    leave_request();
    eventfd_t count = 0;
    eventfd_read(descriptor, &count);
    deliver_events();
}

} // namespace

void post_event(uint32_t event, std::span<const std::byte> payload)
{
    queue.push_back({event, {payload.begin(), payload.end()}});
    wake_agent();
}

void handle_events(uint32_t opcode, EventHandler handler)
{
    handlers[opcode] = std::move(handler);
}

bool ignore_events(uint32_t opcode)
{
    return handlers.erase(opcode) == 1;
}

void start_event_delivery()
{
    wakeup = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (wakeup < 0) {
        throw std::system_error(errno, std::generic_category(), "eventfd");
    }
    if (register_readfd(wakeup, on_wakeup, nullptr) != FD_REGISTERED_OK) {
        throw std::runtime_error("the agent watches no further descriptor");
    }
    if (!queue.empty()) {
        wake_agent();
    }
}

void stop_event_delivery()
{
    if (wakeup >= 0) {
        unregister_readfd(wakeup);
        close(std::exchange(wakeup, -1));
    }
}

size_t waiting_events()
{
    return queue.size();
}

void deliver_events()
{
    // Events that the handlers cause are delivered the next time.
    for (EventMessage& message : std::exchange(queue, {})) {
        guard([&] { deliver(message); });
    }
}

} // namespace sim
