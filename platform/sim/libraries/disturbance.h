/// What the faults that are set make of the requests to the chassis in place.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace sim {

/// What the faults make of one request, besides the time that it takes.
struct Disturbance {
    std::optional<int32_t> result{}; ///< with which the request is answered without being served
    ptrdiff_t more_bytes = 0;        ///< of the block, or fewer

    /// The size of a block of so many bytes.
    size_t disturbed(size_t size) const
    {
        const auto whole = static_cast<ptrdiff_t>(size) + more_bytes;
        return whole > 0 ? static_cast<size_t>(whole) : 0;
    }
};

/// Has the faults strike one request: waits as long as they say. Comes before every answer.
Disturbance disturb(std::string_view request, int32_t operation);

/// The same for a request of the platform manager.
Disturbance disturb(uint32_t opcode, int32_t operation);

} // namespace sim
