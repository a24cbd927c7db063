/// The fields of the platform's records, and which values are plausible in them.
#pragma once

#include "platform_records.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>

namespace conform {

enum class FieldKind { number, text };

struct Field {
    const char* name;
    size_t offset;
    size_t size;
    FieldKind kind;
    bool big_endian;
    int64_t least = INT32_MIN;
    int64_t most = INT32_MAX;
    bool varies_ = false; ///< from one reading to the next

    constexpr Field within(int64_t new_least, int64_t new_most) const
    {
        Field field = *this;
        field.least = new_least;
        field.most = new_most;
        return field;
    }
    constexpr Field index() const { return within(1, INT32_MAX); }
    constexpr Field truth() const { return within(1, 2); }
    constexpr Field varies() const
    {
        Field field = *this;
        field.varies_ = true;
        return field;
    }
};

/// The fields of the record of a request or event, empty for an unknown number or no record.
std::span<const Field> fields_of_request(uint32_t opcode);
std::span<const Field> fields_of_event(uint32_t event);

/// A number of a record, in host order.
int32_t number_in(const Field& field, const std::byte* record);

/// Calls `implausible` with the reason for each number that is implausible and each text without a
/// NUL: a number outside its range, or one that is small only with its bytes turned.
void check_numbers(std::span<const Field> fields, const std::byte* record,
                   const std::function<void(const std::string&)>& implausible);
void check_texts(std::span<const Field> fields, const std::byte* record,
                 const std::function<void(const std::string&)>& unterminated);

/// Whether two readings of a record agree but for what varies.
bool same_record(std::span<const Field> fields, std::span<const std::byte> one,
                 std::span<const std::byte> other);

} // namespace conform
