/// Integers of platform records that travel big-endian.
#pragma once

#include <bit>
#include <concepts>
#include <cstdint>

/// A 32-bit integer, big-endian in memory, read and assigned as a host integer.
template <std::integral Host>
requires(sizeof(Host) == 4) class BigEndian {
public:
    // Trivial, as an integer's: records must be.
    // cppcheck-suppress uninitMemberVar
    BigEndian() = default;
    constexpr BigEndian(Host value) : wire(turned(static_cast<uint32_t>(value))) {}

    constexpr Host value() const { return static_cast<Host>(turned(wire)); }
    constexpr operator Host() const { return value(); }

private:
    static constexpr uint32_t turned(uint32_t word)
    {
        return std::endian::native == std::endian::little ? __builtin_bswap32(word) : word;
    }

    uint32_t wire;
};

using be_uint32 = BigEndian<uint32_t>;
using be_int32 = BigEndian<int32_t>;
