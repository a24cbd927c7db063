/// Row lookup: from the name of a request to the index of a row, and from a row found back to the
/// name. Between the two a table finds its row.
#pragma once

#include "agent.h"
#include "bounded_copy.h"
#include "request_channel.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
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
    /// The name is an instance of the column.
    bool within_column = *length > column_length&& std::equal(column, column + column_length, name);

    chm_req_operation operation() const { return exact ? CHM_REQ_GET : CHM_REQ_GETNEXT; }
};

/// The index of a row: sub-identifiers in their order in a name.
template <typename Row>
using RowIndex = std::array<uint32_t, row_key<Row>>;

template <typename Row>
RowIndex<Row> index_of(const Row& row)
{
    std::array<be_uint32, row_key<Row>> key;
    memcpy(&key, &row, sizeof key);
    RowIndex<Row> index;
    std::ranges::copy(key, index.begin());
    return index;
}

template <typename Row>
void set_index(Row& row, const RowIndex<Row>& index)
{
    std::array<be_uint32, row_key<Row>> key;
    std::ranges::copy(index, key.begin());
    memcpy(&row, &key, sizeof key);
}

/// The answer to a request whose name sorts after the whole column.
enum class NameBeyond { starts_over, has_no_row };

/// The index from which a request starts: the sub-identifiers after the column, 0 for those that
/// the name does not have, and all 0, before the first row, for a name outside the column.
///
/// @return nothing for an exact request with more sub-identifiers than the index has, and for a
///         name beyond the column where that has no row
template <typename Row>
std::optional<RowIndex<Row>> requested_index(const RowRequest& request, NameBeyond beyond)
{
    RowIndex<Row> index = {};
    const size_t given = *request.length - std::min(*request.length, request.column_length);
    if (request.exact && given > index.size()) {
        return std::nullopt;
    }
    if (request.within_column) {
        const oid* first = request.name + request.column_length;
        std::transform(first, first + std::min(given, index.size()), index.begin(),
                       [](oid sub_identifier) { return static_cast<uint32_t>(sub_identifier); });
    } else if (given > 0 && beyond == NameBeyond::has_no_row &&
               snmp_oid_compare(request.name, request.column_length, request.column,
                                request.column_length) > 0) {
        return std::nullopt;
    }
    return index;
}

/// Rewrites the request's name to the instance of a row.
/// @return 0, or no_row, with the name as it was, when a GETNEXT was answered with a row that does
///         not come after the one in its name: a walk never goes back, whatever the platform says
template <size_t Count>
int32_t name_row(const RowRequest& request, const std::array<uint32_t, Count>& index)
{
    oid* const index_in_name = request.name + request.column_length;
    if (!request.exact && request.within_column &&
        !std::lexicographical_compare(index_in_name, request.name + *request.length, index.begin(),
                                      index.end())) {
        return no_row;
    }
    if (request.column != request.name) {
        __memcpy_to_buf(MAX_OID_LEN * sizeof(oid), request.name, request.column,
                        request.column_length * sizeof(oid));
    }
    std::copy(index.begin(), index.end(), index_in_name);
    *request.length = request.column_length + Count;
    return 0;
}

/// The result of a search, and whether the request's name becomes that of the row.
struct RowFound {
    int32_t result; ///< 0, or why there is no row
    bool names_row;
};

/// A row that the platform was asked for. A success without a response leaves the name and serves
/// the row as it is.
inline RowFound outcome_of(const Reply& reply)
{
    return {reply.result, reply.succeeded() && reply.answered};
}

/// The steps of every lookup: the row starts with the requested index, `find` finds it with the
/// request's operation, and the name follows.
/// @return 0, no_row, or why else there is no row
template <typename Row, typename Find>
int32_t look_up(const RowRequest& request, NameBeyond beyond, Row& row, Find find)
{
    set_index(row, {});
    const auto index = requested_index<Row>(request, beyond);
    if (!index) {
        return no_row;
    }
    set_index(row, *index);
    const RowFound found = find(request.operation(), row);
    if (!found.names_row) {
        return found.result;
    }
    const int32_t named = name_row(request, index_of(row));
    return found.result != 0 ? found.result : named;
}

/// A table's row lookup: finds the row of a request and rewrites the request's name to it.
///
/// @param vp_name  OID of the column
/// @param name     the request's name
/// @param row      receives the row. What it holds besides the index travels in the request
/// @return 0, no_row, or why else there is no row
template <typename Row>
using RowLookup = int32_t(const oid* vp_name, size_t vp_name_length, oid* name, size_t* length,
                          int exact, Row* row);

/// Row lookup of a table whose rows are all the platform's.
template <const auto& table, NameBeyond beyond = NameBeyond::has_no_row>
int32_t find_row(const oid* vp_name, size_t vp_name_length, oid* name, size_t* length, int exact,
                 RecordOf<table>* row)
{
    return look_up({vp_name, vp_name_length, name, length, exact != 0}, beyond, *row,
                   [](chm_req_operation operation, RecordOf<table>& asked) {
                       return outcome_of(exchange(table, operation, asked));
                   });
}
