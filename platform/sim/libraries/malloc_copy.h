/// Blocks that the callers of the switch's libraries free.
#pragma once

#include <cstdlib>
#include <cstring>
#include <new>
#include <span>

namespace sim {

/// A malloc'd copy of some bytes, the caller's to free; null for none.
inline void* malloc_copy(std::span<const std::byte> bytes)
{
    if (bytes.empty()) {
        return nullptr;
    }
    void* copy = std::malloc(bytes.size());
    if (copy == nullptr) {
        throw std::bad_alloc();
    }
    return std::memcpy(copy, bytes.data(), bytes.size());
}

} // namespace sim
