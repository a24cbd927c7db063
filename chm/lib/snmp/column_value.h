/// Values as read callbacks return them: a pointer into static storage, and the length.
#pragma once

#include "agent.h"
#include "records.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>

/// Most texts are served up to this length, whatever their fields hold.
inline constexpr size_t longest_text = 254;

/// Serves a text up to its terminator, but no more than `most` characters of it.
template <size_t Width>
u_char* text_value(char (&text)[Width], size_t most, size_t* var_len)
{
    *var_len = strnlen(text, std::min(most, Width));
    return reinterpret_cast<u_char*>(text);
}

/// Serves a 32-bit integer: an INTEGER, a Gauge32 or TimeTicks.
template <typename Integer>
u_char* integer_value(Integer& value, size_t* var_len)
{
    static_assert(sizeof value == 4);
    *var_len = sizeof value;
    return reinterpret_cast<u_char*>(&value);
}

/// An entity's vendor type in the agent's own sub-identifiers, which may be wider than the
/// platform's. Of more than the record has room for, those that it has.
/// @return the number of sub-identifiers
inline size_t vendor_type_of(const ent_phys_entry& row, oid (&vendor_type)[128])
{
    const size_t count = std::min<size_t>(row.vendor_type_len, std::size(vendor_type));
    std::copy_n(row.entPhysicalVendorType, count, vendor_type);
    return count;
}

/// The agent's uptime at a point in time in hundredths of a second, 0 for a time before its start.
inline uint32_t uptime_at(const platform_time& time)
{
    if (time.seconds == 0) {
        return 0; // never; so long ago that the difference may not fit the agent's type
    }
    timeval moment = {};
    moment.tv_sec = static_cast<decltype(moment.tv_sec)>(time.seconds);
    moment.tv_usec = static_cast<decltype(moment.tv_usec)>(time.microseconds);
    const auto uptime = static_cast<long>(netsnmp_timeval_uptime(&moment));
    return uptime < 0 || static_cast<int32_t>(uptime) < 0 ? 0 : static_cast<uint32_t>(uptime);
}

/// Answers for an object that a read callback does not know: no value, and no detail either.
inline u_char* unknown_object()
{
    snmp_set_detail("");
    return nullptr;
}
