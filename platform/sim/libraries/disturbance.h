/// The effect of the injected faults on requests.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace sim {

/// The effect of the faults on one request, besides delays.
struct Disturbance {
    std::optional<int32_t> result{}; ///< answered without serving the request
    ptrdiff_t more_bytes = 0;        ///< of the block, or fewer

    /// The size of a block of so many bytes.
    size_t disturbed(size_t size) const
    {
        const auto whole = static_cast<ptrdiff_t>(size) + more_bytes;
        return whole > 0 ? static_cast<size_t>(whole) : 0;
    }
};

/// Applies the faults to one request and waits for their delay. To be called before every answer.
Disturbance disturb(std::string_view request, int32_t operation);

/// The same for a request of the platform manager.
Disturbance disturb(uint32_t opcode, int32_t operation);

} // namespace sim
