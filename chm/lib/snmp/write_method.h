/// Write methods: the check of a value in the agent's RESERVE1 phase, and the write of a row in its
/// ACTION phase. No other phase writes anything, and nothing is undone.
#pragma once

#include "agent.h"
#include "request_channel.h"
#include "row_lookup.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

/// A value as the agent hands it to a write method.
struct WriteValue {
    const u_char* data;
    u_char type;   ///< ASN.1 type
    size_t length; ///< in bytes
};

/// True for a value within a range, both taken as unsigned: a negative value is above any range.
template <uint32_t Least, uint32_t Most>
constexpr bool within(int32_t value)
{
    return static_cast<uint32_t>(value) - Least <= Most - Least;
}

/// What an object accepts, and the text for standard error when a value is something else; null
/// where that is told elsewhere, or the status says it all.
struct WriteRule {
    u_char type;
    const char* wrong_type;
    size_t max_length; ///< in bytes
    const char* wrong_length;
    bool (*accepts)(int32_t value) = nullptr; ///< of an INTEGER that may not have every value
    const char* wrong_value = nullptr;
    size_t min_length = 0; ///< in bytes
};

/// Checks a value's type, its length, then its range. @return an SNMP error status
int check_write(const WriteRule& rule, const WriteValue& value);

/// The value of an INTEGER, which the agent hands over as a long.
int32_t integer_of(const WriteValue& value);

/// Does what a write method has to do in a phase: checks the value, or has `write` write it.
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

/// Replaces a text of a record by a value of at most one character less than the field holds. The
/// value brings no terminator: the cleared bytes end it, and the field's last byte as it was.
template <typename Record, size_t Width>
void replace_text(Record& record, char (&field)[Width], const WriteValue& value)
{
    const auto* end = reinterpret_cast<const char*>(&record) + sizeof record;
    memset(field, 0, Width - 1);
    __memcpy_to_buf(static_cast<size_t>(end - field), field, value.data, value.length);
}

/// Writes a row: fetches the one that an instance names, has it changed and writes all of it back.
///
/// @param lookup         the table's row lookup
/// @param column_length  sub-identifiers of the name that are the column's OID
/// @param change         called with the row as the platform holds it
/// @return an SNMP error status
template <typename Row, typename Change>
int write_row(Opcode opcode, RowLookup<Row>* lookup, size_t column_length, oid* name,
              size_t name_length, NotWritable not_writable, Change change)
{
    Row row = {};
    int32_t result = lookup(name, column_length, name, &name_length, 1, &row);
    if (result == 0) {
        change(row);
        result = write_record(opcode, row);
    }
    return snmp_error_status(result, not_writable);
}
