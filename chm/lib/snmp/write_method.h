/// Write methods: the check of a value in the agent's RESERVE1 phase, and the write of a row in its
/// ACTION phase. No other phase writes anything, and nothing is undone.
#pragma once

#include "agent.h"
#include "bounded_copy.h"
#include "request_channel.h"
#include "row_lookup.h"

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>

/// A value as the agent hands it to a write method.
struct WriteValue {
    const u_char* data;
    u_char type;   ///< ASN.1 type
    size_t length; ///< in bytes
};

/// The values that an object accepts, and the texts for standard error when a value is refused;
/// null where that is reported elsewhere, or the status is enough.
struct WriteRule {
    u_char type;
    size_t min_length; ///< in bytes
    size_t max_length; ///< in bytes
    const char* wrong_type;
    const char* wrong_length;
    bool (*accepts)(int32_t value) = nullptr; ///< of an INTEGER that may not have every value
    const char* wrong_value = nullptr;
};

/// True for a value within a range, both taken as unsigned: a negative value is above any range.
template <uint32_t Least, uint32_t Most>
constexpr bool within(int32_t value)
{
    return static_cast<uint32_t>(value) - Least <= Most - Least;
}

/// The rule of an INTEGER, which the agent hands over as a long.
constexpr WriteRule integer_rule(bool (*accepts)(int32_t value), const char* wrong_type,
                                 const char* wrong_length, const char* wrong_value = nullptr)
{
    return {ASN_INTEGER, 0, sizeof(long), wrong_type, wrong_length, accepts, wrong_value};
}

/// The rule of a text.
constexpr WriteRule text_rule(size_t min_length, size_t max_length, const char* wrong_type,
                              const char* wrong_length)
{
    return {ASN_OCTET_STR, min_length, max_length, wrong_type, wrong_length};
}

/// Checks a value's type, its length, then its range. @return an SNMP error status
int check_write(const WriteRule& rule, const WriteValue& value);

/// The value of an INTEGER.
int32_t integer_of(const WriteValue& value);

/// The work of a write method in a phase: checks the value, or calls `write`.
/// @return an SNMP error status
template <typename Write>
int in_phase(int action, const WriteRule& rule, const WriteValue& value, Write write)
{
    switch (action) {
    case RESERVE1:
        return check_write(rule, value);
    case ACTION:
        return write();
    default:
        return SNMP_ERR_NOERROR;
    }
}

/// Replaces an INTEGER of a record.
template <typename Record, typename Integer>
requires std::convertible_to<int32_t, Integer>
void assign(Record& /*record*/, Integer& field, const WriteValue& value)
{
    field = integer_of(value);
}

/// Replaces a text of a record by a value of at most one character less than the field holds. The
/// value brings no terminator: the cleared bytes end it, and the field's last byte as it was.
template <typename Record, size_t Width>
void assign(Record& record, char (&field)[Width], const WriteValue& value)
{
    const auto* end = reinterpret_cast<const char*>(&record) + sizeof record;
    memset(field, 0, Width - 1);
    __memcpy_to_buf(static_cast<size_t>(end - field), field, value.data, value.length);
}

/// Write method of a column: fetches the row that the instance names, changes a field and sends all
/// of the row back.
/// @tparam column_length  sub-identifiers of the name that are the column's OID
template <const WriteRule& rule, const auto& table, auto& lookup, auto Field, size_t column_length,
          NotWritable not_writable>
int write_column(int action, u_char* var_val, u_char var_val_type, size_t var_val_len, u_char*,
                 oid* name, size_t name_length)
{
    const WriteValue value = {var_val, var_val_type, var_val_len};
    return in_phase(action, rule, value, [&] {
        RecordOf<table> row = {};
        int32_t result = lookup(name, column_length, name, &name_length, 1, &row);
        if (result == 0) {
            assign(row, row.*Field, value);
            result = write_record(table, row);
        }
        return snmp_error_status(result, not_writable);
    });
}

/// Write method of an INTEGER that travels by itself.
template <const WriteRule& rule, const Request<be_int32>& scalar>
int write_scalar(int action, u_char* var_val, u_char var_val_type, size_t var_val_len, u_char*,
                 oid*, size_t)
{
    const WriteValue value = {var_val, var_val_type, var_val_len};
    return in_phase(action, rule, value, [&] {
        be_int32 number = integer_of(value); // four bytes travel, however long the agent's are
        return snmp_error_status(write_record(scalar, number), NotWritable::reported);
    });
}
