#include "libraries/notification_sender.h"

#include "libraries/c_boundary.h"
#include "libraries/notification_log.h"

#include <net-snmp/agent/net-snmp-agent-includes.h>

#include <new>
#include <span>
#include <string>
#include <vector>

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

/// The value of a binding as text.
std::string value_of(const netsnmp_variable_list& binding)
{
    switch (binding.type) {
    case ASN_INTEGER:
        return std::to_string(*binding.val.integer);
    case ASN_GAUGE:
    case ASN_COUNTER:
    case ASN_TIMETICKS:
        return std::to_string(static_cast<uint32_t>(*binding.val.integer));
    case ASN_OBJECT_ID:
        return text_of({binding.val.objid, binding.val_len / sizeof(oid)});
    default:
        return {reinterpret_cast<const char*>(binding.val.string), binding.val_len};
    }
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
    uint32_t about = 0;
    std::vector<SentBinding> sent;
    for (const netsnmp_variable_list* one = bindings.get(); one != nullptr;
         one = one->next_variable) {
        const auto row = static_cast<uint32_t>(one->name[one->name_length - 1]);
        about = row == 0 ? about : row;
        sent.push_back({text_of({one->name, one->name_length}), value_of(*one)});
    }
    log_notification(text_of({name, length}), about, std::move(sent));
    first->next_variable = bindings.release();
    bindings.reset(first);
    send_v2trap(first);
}

} // namespace sim
