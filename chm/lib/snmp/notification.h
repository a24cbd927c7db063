/// Notifications as data: how event handlers turn a platform event into bindings.
#pragma once

#include "agent.h"
#include "agent_ext.h"
#include "bounded_copy.h"
#include "column.h"
#include "ipcx.h"
#include "wire/events.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <span>

/// The OID of a notification: its module's root, 2.0 and its number.
struct NotificationName {
    std::span<const oid> root;
    oid number;
};

/// Returns the notification's OID to the caller of an event handler.
inline void name_notification(const NotificationName& notification, oid* trap_oid,
                              size_t* trap_oid_length)
{
    const oid last[] = {2, 0, notification.number};
    const oid* end =
        std::ranges::copy(last, std::ranges::copy(notification.root, trap_oid).out).out;
    *trap_oid_length = static_cast<size_t>(end - trap_oid);
}

/// A list of variable bindings under construction. The agent extension copies names and values, so
/// they may be temporary.
struct BindingList {
    netsnmp_variable_list* first = nullptr; ///< what a handler returns; its caller's from then on
    netsnmp_variable_list* last = nullptr;

    /// Adds the instance of a column: the column's OID, then the row's index.
    void add(std::span<const oid> column, std::span<const uint32_t> index, u_char type,
             const void* value, size_t length)
    {
        oid name[MAX_OID_LEN];
        const oid* end = std::ranges::copy(index, std::ranges::copy(column, name).out).out;
        netsnmp_variable_list* binding =
            build_varbind(last, value, type, length, name, static_cast<size_t>(end - name));
        if (binding) {
            last = binding;
            first = first ? first : binding;
        }
    }
};

/// A binding of an event's record: the instance of a column, and what it is bound to.
template <typename Record>
struct Binding {
    std::span<const oid> column;
    u_char type;
    u_char* (*value)(Record& record, size_t* length);
    size_t (*index)(const Record& record, uint32_t* index); ///< @return its sub-identifiers
};

/// The index of an instance: the given fields of the record, else the row's own.
template <typename Record, auto... Fields>
size_t write_index(const Record& record, uint32_t* index)
{
    if constexpr (sizeof...(Fields) == 0) {
        return static_cast<size_t>(std::ranges::copy(index_of(record), index).out - index);
    } else {
        ((*index++ = static_cast<uint32_t>((record.*Fields).value())), ...);
        return sizeof...(Fields);
    }
}

/// Binds an instance of a column to a field of the record.
/// @tparam Index  fields that are the instance's index; the row's own without any
template <auto Member, auto... Index>
constexpr Binding<RowOf<Member>> bind(std::span<const oid> column,
                                      u_char* (*value)(RowOf<Member>&, size_t*) = field<Member>)
{
    return {column, asn_type_of<FieldOf<Member>>, value, write_index<RowOf<Member>, Index...>};
}

/// Turns a message with a record into a notification. One without a payload sends nothing.
template <typename Record>
netsnmp_variable_list* notify_of(const NotificationName& notification,
                                 std::span<const Binding<Record>> bindings,
                                 void (*before)(const Record&), void* message, oid* trap_oid,
                                 size_t* trap_oid_length, int* send)
{
    *send = 0;
    const void* payload = message ? ipcx_payload_get(message) : nullptr;
    if (!payload) {
        return nullptr;
    }
    *send = 1;
    Record record;
    memcpy(&record, payload, sizeof record);
    if (before) {
        before(record);
    }
    BindingList list;
    for (const Binding<Record>& binding : bindings) {
        size_t length = 0;
        const u_char* value = binding.value(record, &length);
        std::array<uint32_t, 2> index;
        list.add(binding.column, std::span(index).first(binding.index(record, index.data())),
                 binding.type, value, length);
    }
    name_notification(notification, trap_oid, trap_oid_length);
    return list.first;
}

/// Event handler of a notification of a module.
/// @tparam before called before the notification
template <const auto& event, const auto& root, oid number, const auto& bindings,
          void (*before)(const RecordOf<event>& record) = nullptr>
netsnmp_variable_list* notify(void* message, oid* trap_oid, size_t* trap_oid_length, int* send)
{
    return notify_of<RecordOf<event>>({root, number}, bindings, before, message, trap_oid,
                                      trap_oid_length, send);
}
