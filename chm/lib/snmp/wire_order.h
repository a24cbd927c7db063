/// Byte order of platform records: 32-bit integers travel big-endian, texts and bytes as they are.
#pragma once

#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>

/// An integer field that has a byte order on the wire.
template <typename T>
concept WireInteger = std::integral<T> && sizeof(T) == 4;

/// Turns a field from host to wire order, or back: both are the same turn.
template <WireInteger T>
void swap_field(T& field)
{
    if constexpr (std::endian::native == std::endian::little) {
        field = static_cast<T>(__builtin_bswap32(static_cast<uint32_t>(field)));
    }
}

/// Turns as many fields as a wide register holds.
template <WireInteger T>
void swap_wide(T* fields)
{
    using Halves [[gnu::vector_size(16)]] = uint16_t;
    Halves halves;
    memcpy(&halves, fields, sizeof halves);
    halves = (halves << 8) | (halves >> 8);
    halves = __builtin_shufflevector(halves, halves, 1, 0, 3, 2, 5, 4, 7, 6);
    memcpy(fields, &halves, sizeof halves);
}

template <WireInteger T, size_t N>
void swap_field(T (&fields)[N])
{
    // Most of a physical row is its vendor type, and it is turned twice a request: wide registers,
    // several at a time, do in two instructions a field what takes six otherwise.
    constexpr size_t wide = 4;
    constexpr size_t at_a_time = 4 * wide;
    size_t i = 0;
    if constexpr (std::endian::native == std::endian::little) {
        for (; i + at_a_time <= N; i += at_a_time) {
            swap_wide(fields + i);
            swap_wide(fields + i + wide);
            swap_wide(fields + i + 2 * wide);
            swap_wide(fields + i + 3 * wide);
        }
    }
    for (; i < N; ++i) {
        swap_field(fields[i]);
    }
}

/// Turns each of the listed fields; a record's wire order is the list of its fields given here.
void swap_all(auto&... fields)
{
    (swap_field(fields), ...);
}

/// A scalar that travels by itself.
template <WireInteger T>
void swap_wire_order(T& scalar)
{
    swap_field(scalar);
}
