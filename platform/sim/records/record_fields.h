/// What the encoders of the platform manager's records share.
#pragma once

#include "model/unit.h"
#include "wire/records.h"

#include <algorithm>
#include <cstdint>
#include <span>
#include <string_view>

namespace sim {

/// Writes a text into a cleared field, cut so that one byte at least stays the NUL.
inline void put_text(std::span<char> field, std::string_view text)
{
    std::ranges::copy(text.substr(0, field.size() - 1), field.begin());
}

/// Values of SNMP's TruthValue.
enum class TruthValue : int32_t { yes = 1, no = 2 };

/// A condition as records carry it.
constexpr int32_t truth_value(bool condition)
{
    return static_cast<int32_t>(condition ? TruthValue::yes : TruthValue::no);
}

/// A point in time as records carry it.
inline platform_time record_time(Clock::time_point time)
{
    using namespace std::chrono;
    const auto since_epoch = duration_cast<microseconds>(time.time_since_epoch());
    return {static_cast<uint32_t>(since_epoch / 1s), static_cast<uint32_t>(since_epoch % 1s / 1us)};
}

} // namespace sim
