// Events: how they are registered for, and how they come.

#include "agent_loop.h"
#include "allocator.h"
#include "checks.h"
#include "exchange.h"
#include "platform_calls.h"
#include "record_fields.h"
#include "report.h"
#include "wire/events.h"

#include <algorithm>
#include <atomic>
#include <memory>
#include <thread>

namespace conform {
namespace {

/// What the handlers see. A faulty platform may call them on any thread.
struct Seen {
    std::thread::id thread = std::this_thread::get_id(); ///< of the agent
    std::atomic<size_t> by_replaced = 0, events = 0, elsewhere = 0, within_calls = 0;
    Line payloads{"events.payload", "the payload of each event",
                  "the whole record of the event: its length is not sent, so a shorter one is read "
                  "beyond its end"};
    Line numbers{"events.numbers", "the numbers of each payload",
                 "each field has a byte order of its own; see platform_records.h"};
};

/// Stays, as a faulty platform may call a handler at any time.
std::unique_ptr<Seen> seen;

void look_at_payload(const EventCode& event, void* message)
{
    const void* payload = platform().ipcx_payload_get(message);
    if (event.record_size == 0) {
        return;
    }
    if (payload == nullptr) {
        seen->payloads.violated(std::string("none with ") + event.name);
        return;
    }
    const size_t size = bytes_left_at(payload);
    if (size != 0 && size < event.record_size) {
        seen->payloads.violated(std::to_string(size) + " bytes, not " +
                                std::to_string(event.record_size) + ", with " + event.name);
        return;
    }
    const auto implausible = [&](const std::string& what) {
        seen->numbers.violated(what + " with " + event.name);
    };
    check_numbers(fields_of_event(event), static_cast<const std::byte*>(payload), implausible);
    check_texts(fields_of_event(event), static_cast<const std::byte*>(payload), implausible);
}

netsnmp_variable_list* replaced_handler(void* /*message*/, oid* /*trap_oid*/, size_t* length,
                                        int* send)
{
    ++seen->by_replaced;
    *length = 0;
    *send = 0;
    return nullptr;
}

/// The handler of one event of the list.
template <size_t Index>
netsnmp_variable_list* handler(void* message, oid* /*trap_oid*/, size_t* length, int* send)
{
    *length = 0;
    *send = 0;
    ++seen->events;
    if (std::this_thread::get_id() != seen->thread) {
        ++seen->elsewhere;
        return nullptr;
    }
    seen->within_calls += CallNote::any() ? 1 : 0;
    look_at_payload(platform_events[Index], message);
    return nullptr;
}

template <size_t... Index>
void register_all(std::index_sequence<Index...> /*all*/, Line& line)
{
    const auto once = [&](uint32_t event, ipcx_event_handler* function) {
        if (platform().register_for_notification(event, function) != 0) {
            line.violated("refused for event " + std::to_string(event));
        }
    };
    (once(platform_events[Index], replaced_handler), ...);
    (once(platform_events[Index], handler<Index>), ...);
}

void unregister_all(Line& line)
{
    for (const EventCode& event : platform_events) {
        if (platform().unregister_for_notification(event) != 0) {
            line.violated(std::string("refused for ") + event.name);
        }
    }
    for (const EventCode& event : platform_events) {
        if (platform().unregister_for_notification(event) == 0) {
            line.violated(std::string("0 once more for ") + event.name);
        }
    }
}

void check_events(const Options& options)
{
    Line registering("events.register", "a handler for each event, then another in its place",
                     "0, or the events of a module are not handled");
    Line unregistering("events.unregister", "the handlers unregistered, twice",
                       "0, then a failure: there is none any more");
    Line replaced("events.replace", "events after the second registration",
                  "only the last handler is called");
    Line thread("events.thread", "the thread of each handler's call",
                "the agent's: the library has no locks");
    Line within("events.from-loop", "the moment of each handler's call",
                "from the agent's loop, never within a call of the library");
    seen = std::make_unique<Seen>();
    register_all(std::make_index_sequence<std::size(platform_events)>(), registering);
    registering.close("0 for each");
    Exchange(physical_table).ask(CHM_REQ_GETNEXT, Bytes(physical_table.record_size));
    if (options.trigger.empty()) {
        serve(options.event_seconds);
    } else if (const int status = serve_while_running(options.trigger, options.event_seconds);
               status != 0) {
        report({Verdict::failed, "events.trigger", options.trigger,
                "exit status " + std::to_string(status), "the command raises events"});
    }
    unregister_all(unregistering);
    unregistering.close("0, then a failure");

    const size_t events = seen->events;
    const std::string came = std::to_string(events) + " events";
    const Verdict verdict = events == 0 ? Verdict::absent : Verdict::ok;
    const auto expect_none = [&](Line& line, size_t count, const char* what) {
        if (count != 0) {
            line.violated(std::to_string(count) + what);
        }
        line.close(came, verdict);
    };
    expect_none(replaced, seen->by_replaced, " calls of the replaced handler");
    expect_none(thread, seen->elsewhere, " on another thread");
    expect_none(within, seen->within_calls, " within a call");
    seen->payloads.close(came, verdict);
    seen->numbers.close(came, verdict);
}

} // namespace

std::vector<Check> event_checks(const Options& options)
{
    return {{"events", [&] { check_events(options); }}};
}

} // namespace conform
