/// Write methods: the check of a value in the agent's RESERVE1 phase, and the write of a row in its
/// ACTION phase. No other phase does anything, and nothing is undone.
#pragma once

#include "agent.h"
#include "request_channel.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

/// A value as the agent hands it to a write method.
struct WriteValue {
    const u_char* data;
    u_char type;   ///< ASN.1 type
    size_t length; ///< in bytes
};

/// What an object accepts, and the text for standard error when a value is something else.
struct WriteRule {
    u_char type;
    const char* wrong_type;
    size_t max_length; ///< in bytes
    const char* wrong_length;
};

/// Checks a value's type, then its length. @return an SNMP error status
int check_write(const WriteRule& rule, const WriteValue& value);

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
/// @param header         the table's row lookup
/// @param column_length  sub-identifiers of the name that are the column's OID
/// @param change         called with the row as the platform holds it
/// @return an SNMP error status
template <typename Record, typename Header, typename Change>
int write_row(Opcode opcode, Header header, size_t column_length, oid* name, size_t name_length,
              NotWritable not_writable, Change change)
{
    Record row = {};
    int32_t result = header(name, column_length, name, &name_length, 1, &row);
    if (result == 0) {
        change(row);
        result = write_record(opcode, row);
    }
    return snmp_error_status(result, not_writable);
}
