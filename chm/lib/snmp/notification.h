/// Notifications: what event handlers make of a platform event.
#pragma once

#include "agent.h"
#include "agent_ext.h"
#include "bounded_copy.h"
#include "ipcx.h"
#include "row_lookup.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>

/// Hands the notification's OID to the caller of an event handler.
template <size_t Length>
void name_notification(const oid (&notification)[Length], oid* trap_oid, size_t* trap_oid_length)
{
    __memcpy_to_buf(MAX_OID_LEN * sizeof(oid), trap_oid, notification, sizeof notification);
    *trap_oid_length = Length;
}

/// Variable bindings in the making. The agent extension copies what it is given, so names and
/// values may be temporary.
struct Bindings {
    netsnmp_variable_list* first = nullptr; ///< what a handler returns; its caller's from then on
    netsnmp_variable_list* last = nullptr;
};

/// Adds the instance of a column: the column's OID, then the row's index.
template <size_t Length, size_t Count>
void bind_value(Bindings& bindings, const oid (&column)[Length], const RowIndex<Count>& index,
                u_char type, const void* value, size_t length)
{
    oid name[Length + Count];
    std::copy(index.begin(), index.end(), std::copy_n(column, Length, name));
    netsnmp_variable_list* binding =
        build_varbind(bindings.last, value, type, length, name, std::size(name));
    if (!binding) {
        return;
    }
    bindings.last = binding;
    bindings.first = bindings.first ? bindings.first : binding;
}

/// Adds an instance whose index is one sub-identifier.
template <size_t Length>
void bind_value(Bindings& bindings, const oid (&column)[Length], uint32_t index, u_char type,
                const void* value, size_t length)
{
    bind_value(bindings, column, RowIndex<1>{index}, type, value, length);
}

template <size_t Length, typename Index>
void bind_integer(Bindings& bindings, const oid (&column)[Length], const Index& index,
                  int32_t value)
{
    bind_value(bindings, column, index, ASN_INTEGER, &value, sizeof value);
}

template <size_t Length>
void bind_time_ticks(Bindings& bindings, const oid (&column)[Length], uint32_t index,
                     uint32_t value)
{
    bind_value(bindings, column, index, ASN_TIMETICKS, &value, sizeof value);
}

/// A text up to its terminator, but no more than `most` characters of it.
template <size_t Length, size_t Width>
void bind_text(Bindings& bindings, const oid (&column)[Length], uint32_t index,
               const char (&text)[Width], size_t most = Width)
{
    bind_value(bindings, column, index, ASN_OCTET_STR, text, strnlen(text, most));
}

/// An event handler whose event carries a record: reads it, in host order, for `bind` to make the
/// bindings of. A message without a payload sends nothing.
template <typename Record, size_t Length, typename Bind>
netsnmp_variable_list* notify(void* message, oid* trap_oid, size_t* trap_oid_length, int* send,
                              const oid (&notification)[Length], Bind bind)
{
    *send = 0;
    const void* payload = message ? ipcx_payload_get(message) : nullptr;
    if (!payload) {
        return nullptr;
    }
    *send = 1;
    Record record;
    memcpy(&record, payload, sizeof record);
    swap_wire_order(record);
    Bindings bindings;
    bind(record, bindings);
    name_notification(notification, trap_oid, trap_oid_length);
    return bindings.first;
}
