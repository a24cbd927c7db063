#include "libraries/notification_sender.h"

#include "libraries/c_boundary.h"
#include "libraries/notification_log.h"

#include <net-snmp/agent/net-snmp-agent-includes.h>

#include <new>
#include <span>
#include <string>

namespace sim {
namespace {

std::string text_of(std::span<const oid> name)
{
    std::string text;
    for (const oid number : name) {
        text += (text.empty() ? "" : ".") + std::to_string(number);
    }
    return text;
}

} // namespace

void send_notification(const oid* name, size_t length, Bindings bindings)
{
    static const oid snmp_trap_oid[] = {1, 3, 6, 1, 6, 3, 1, 1, 4, 1, 0};
    netsnmp_variable_list* first = build_varbind(nullptr, name, ASN_OBJECT_ID, length * sizeof(oid),
                                                 snmp_trap_oid, std::size(snmp_trap_oid));
    if (first == nullptr) {
        throw std::bad_alloc();
    }
    const netsnmp_variable_list* about = bindings.get();
    while (about != nullptr && about->next_variable != nullptr) {
        about = about->next_variable;
    }
    log_notification(text_of({name, length}),
                     about == nullptr ? 0
                                      : static_cast<uint32_t>(about->name[about->name_length - 1]));
    first->next_variable = bindings.release();
    bindings.reset(first);
    send_v2trap(first);
}

} // namespace sim
