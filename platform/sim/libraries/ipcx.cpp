#include "libraries/c_boundary.h"
#include "libraries/event_queue.h"
#include "libraries/notification_sender.h"

#include <utility>

namespace {

void notify(ipcx_event_handler* handler, sim::EventMessage& message)
{
    oid trap_oid[MAX_OID_LEN];
    size_t trap_oid_length = 0;
    int send = 0;
    sim::Bindings bindings(handler(&message, trap_oid, &trap_oid_length, &send), snmp_free_varbind);
    if (send != 0) {
        sim::send_notification(trap_oid, trap_oid_length, std::move(bindings));
    }
}

} // namespace

uint32_t ipcx_response_q = 1;

void* ipcx_payload_get(void* message)
{
    auto& payload = static_cast<sim::EventMessage*>(message)->payload;
    return payload.empty() ? nullptr : payload.data();
}

int register_for_notification(uint32_t opcode, ipcx_event_handler* handler)
{
    return sim::guard(-1, [&] {
        sim::handle_events(opcode, [=](sim::EventMessage& message) { notify(handler, message); });
        return 0;
    });
}

int unregister_for_notification(uint32_t opcode)
{
    return sim::guard(-1, [&] { return sim::ignore_events(opcode) ? 0 : -1; });
}
