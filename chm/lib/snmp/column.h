/// Columns as data: how a field of a row is served follows from its type.
#pragma once

#include "agent.h"
#include "row_lookup.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <type_traits>

/// Most texts are served up to this length, whatever their fields hold.
inline constexpr size_t longest_text = 254;

/// Serves a text up to its terminator, but no more than `most` characters of it.
template <size_t Width>
u_char* text_value(char (&text)[Width], size_t most, size_t* var_len)
{
    *var_len = strnlen(text, std::min(most, Width));
    return reinterpret_cast<u_char*>(text);
}

/// Serves a 32-bit integer in host order: an INTEGER, a Gauge32 or TimeTicks.
template <typename Integer>
u_char* integer_value(Integer& value, size_t* var_len)
{
    static_assert(std::is_integral_v<Integer> && sizeof value == 4);
    *var_len = sizeof value;
    return reinterpret_cast<u_char*>(&value);
}

/// The agent's uptime at a point in time in hundredths of a second, 0 for a time before its start.
inline uint32_t uptime_at(const platform_time& time)
{
    if (time.seconds == 0) {
        return 0; // never; so long ago that the difference may not fit the agent's type
    }
    timeval moment = {};
    moment.tv_sec = static_cast<decltype(moment.tv_sec)>(time.seconds.value());
    moment.tv_usec = static_cast<decltype(moment.tv_usec)>(time.microseconds.value());
    const auto uptime = static_cast<long>(netsnmp_timeval_uptime(&moment));
    return uptime < 0 || static_cast<int32_t>(uptime) < 0 ? 0 : static_cast<uint32_t>(uptime);
}

/// What a pointer to a member leads from and to.
template <typename Member>
struct MemberTypes;
template <typename FieldType, typename RowType>
struct MemberTypes<FieldType RowType::*> {
    using Row = RowType;
    using Field = FieldType;
};
template <auto Member>
using RowOf = typename MemberTypes<decltype(Member)>::Row;
template <auto Member>
using FieldOf = typename MemberTypes<decltype(Member)>::Field;

template <typename Field>
inline constexpr bool is_text = std::is_same_v<std::remove_extent_t<Field>, char>;
template <typename Field>
inline constexpr bool is_object_id =
    std::is_same_v<std::remove_extent_t<Field>, be_uint32>&& std::is_array_v<Field>;

/// The ASN.1 type of a field.
template <typename Field>
inline constexpr u_char asn_type_of = is_text<Field>                         ? ASN_OCTET_STR
                                      : is_object_id<Field>                  ? ASN_OBJECT_ID
                                      : std::is_same_v<Field, platform_time> ? ASN_TIMETICKS
                                                                             : ASN_INTEGER;

/// Serves a field of a row from where it lies, or from static storage of its own when the agent
/// takes it in another form. A text leaves its field's last byte to the terminator.
template <auto Member>
u_char* field(RowOf<Member>& row, size_t* var_len)
{
    using Field = FieldOf<Member>;
    Field& value = row.*Member;
    if constexpr (is_text<Field>) {
        return text_value(value, std::min(longest_text, sizeof value - 1), var_len);
    } else if constexpr (is_object_id<Field>) {
        // A vendor type, in the agent's own sub-identifiers, which may be wider than the
        // platform's. At most as many as the record has room for.
        static oid served[std::extent_v<Field>];
        const auto count = std::min<size_t>(row.vendor_type_len, std::size(served));
        std::copy_n(value, count, served);
        *var_len = count * sizeof(oid);
        return reinterpret_cast<u_char*>(served);
    } else if constexpr (std::is_same_v<Field, platform_time>) {
        static uint32_t ticks;
        ticks = uptime_at(value);
        return integer_value(ticks, var_len);
    } else if constexpr (std::is_integral_v<Field>) {
        return integer_value(value, var_len);
    } else {
        static decltype(value.value()) number;
        number = value;
        return integer_value(number, var_len);
    }
}

/// Serves a text in all of its field.
template <auto Member>
u_char* whole_text(RowOf<Member>& row, size_t* var_len)
{
    return text_value(row.*Member, sizeof(FieldOf<Member>), var_len);
}

/// A column of a table, or a scalar of a record.
template <typename ServedRow>
struct Column {
    using Row = ServedRow;

    u_char object; ///< magic of its variable
    u_char* (*value)(Row& row, size_t* var_len);
    WriteMethod* write_method = nullptr;
};

/// The column of a variable, null for none.
template <typename Row, size_t Count>
const Column<Row>* column_of(const Column<Row> (&columns)[Count], const variable* vp)
{
    for (const Column<Row>& column : columns) {
        if (column.object == vp->magic) {
            return &column;
        }
    }
    return nullptr;
}

/// Returns a column's write method, if it has one.
template <typename Row>
void offer_write(const Column<Row>* column, WriteMethod** write_method)
{
    if (column && column->write_method) {
        *write_method = column->write_method;
    }
}

/// The answer for an object that a read callback does not know: no value and no detail.
inline u_char* unknown_object()
{
    snmp_set_detail("");
    return nullptr;
}

template <typename Row>
u_char* serve_column(const Column<Row>* column, Row& row, size_t* var_len)
{
    return column ? column->value(row, var_len) : unknown_object();
}

/// Read callback of a table: its lookup and its columns. The row is the last one that was read, and
/// what it holds travels in the next request. The write method is handed out whether or not there
/// is a row.
/// @tparam found called with each row that was found
template <auto& lookup, const auto& columns, void (*found)() = nullptr>
u_char* serve(variable* vp, oid* name, size_t* length, int exact, size_t* var_len,
              WriteMethod** write_method)
{
    static typename std::remove_cvref_t<decltype(columns[0])>::Row row;

    const auto* column = column_of(columns, vp);
    offer_write(column, write_method);
    if (lookup(vp->name, vp->namelen, name, length, exact, &row) != 0) {
        return nullptr;
    }
    if constexpr (found != nullptr) {
        found();
    }
    return serve_column(column, row, var_len);
}

/// Read callback of a table that this switch has no rows for.
inline u_char* serve_no_rows(variable*, oid*, size_t*, int, size_t*, WriteMethod**)
{
    return nullptr;
}
