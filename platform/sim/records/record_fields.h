/// Shared functions of the encoders of the platform manager's records.
#pragma once

#include "model/unit.h"
#include "wire/records.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <string_view>

namespace sim {

/// Writes a text into a cleared field, cut so that one byte at least stays the NUL.
inline void put_text(std::span<char> field, std::string_view text)
{
    text.copy(field.data(), field.size() - 1);
}

/// A text of something: its name in chassis files and for chmctl, and its place in a record, where
/// it is NUL-terminated.
template <typename Owner>
struct TextField {
    std::string_view key;
    std::string Owner::*text;
    size_t offset;
    size_t capacity; ///< longest text in bytes, the NUL not counted
};

/// Writes a text of its owner into a cleared record.
template <typename Owner>
void put_text(void* record, const TextField<Owner>& field, const Owner& owner)
{
    put_text({static_cast<char*>(record) + field.offset, field.capacity + 1}, owner.*field.text);
}

/// A text out of a record, cut where its field ends.
template <typename Owner>
std::string text_in(const void* record, const TextField<Owner>& field)
{
    const char* text = static_cast<const char*>(record) + field.offset;
    return {text, strnlen(text, field.capacity)};
}

/// Values of SNMP's TruthValue.
enum class TruthValue : int32_t { yes = 1, no = 2 };

/// A condition in a record.
constexpr int32_t truth_value(bool condition)
{
    return static_cast<int32_t>(condition ? TruthValue::yes : TruthValue::no);
}

/// A point in time in a record.
inline platform_time record_time(Clock::time_point time)
{
    using namespace std::chrono;
    const auto since_epoch = duration_cast<microseconds>(time.time_since_epoch());
    return {static_cast<uint32_t>(since_epoch / 1s), static_cast<uint32_t>(since_epoch % 1s / 1us)};
}

} // namespace sim
