/// Row lookup: from the name of a request to the index of a row, and from a row found back to the
/// name. Between the two a table makes its exchange with the platform.
#pragma once

#include "agent.h"
#include "bounded_copy.h"
#include "opcodes.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

/// Result of a lookup whose request cannot name a row of the column.
inline constexpr int32_t no_row = -1;

/// A request for a row of a column, as the agent makes it.
struct RowRequest {
    const oid* column; ///< the column's OID
    size_t column_length;
    oid* name;      ///< the name asked for; rewritten to the row found; room for MAX_OID_LEN
    size_t* length; ///< of the name in sub-identifiers; rewritten too
    bool exact;     ///< GET, else GETNEXT

    chm_req_operation operation() const { return exact ? CHM_REQ_GET : CHM_REQ_GETNEXT; }
};

/// The sub-identifiers of a row's index, in their order in the name.
template <size_t Count>
using RowIndex = std::array<uint32_t, Count>;

/// The index from which a request starts: the sub-identifiers after the column, 0 for those that
/// the name does not have, and all 0, before the first row, for a name outside the column.
///
/// @return nothing for an exact request with more sub-identifiers than the index has
template <size_t Count>
std::optional<RowIndex<Count>> requested_index(const RowRequest& request)
{
    RowIndex<Count> index = {};
    const size_t column_length = request.column_length;
    const size_t length = *request.length;
    if (length <= column_length) {
        return index;
    }
    if (request.exact && length > column_length + Count) {
        return std::nullopt;
    }
    if (snmp_oid_compare(request.name, column_length, request.column, column_length) == 0) {
        const oid* given = request.name + column_length;
        std::transform(given, given + std::min(length - column_length, Count), index.begin(),
                       [](oid sub_identifier) { return static_cast<uint32_t>(sub_identifier); });
    }
    return index;
}

/// Rewrites the request's name to the instance of a row.
template <size_t Count>
void name_row(const RowRequest& request, const RowIndex<Count>& index)
{
    // The column's OID may be the request's own name.
    oid instance[MAX_OID_LEN];
    const size_t length = request.column_length + Count;
    __memcpy_to_buf(sizeof instance, instance, request.column, request.column_length * sizeof(oid));
    std::copy(index.begin(), index.end(), instance + request.column_length);
    __memcpy_to_buf(sizeof instance, request.name, instance, length * sizeof(oid));
    *request.length = length;
}
