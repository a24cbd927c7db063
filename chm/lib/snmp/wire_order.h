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

template <WireInteger T, size_t N>
void swap_field(T (&fields)[N])
{
    // Wide instructions do in a few what costs one for each field otherwise: most of a physical row
    // is its vendor type, and it is turned twice a request.
    using Halves [[gnu::vector_size(16)]] = uint16_t;
    constexpr size_t wide = sizeof(Halves) / sizeof(T);
    size_t i = 0;
    if constexpr (std::endian::native == std::endian::little) {
        for (; i + wide <= N; i += wide) {
            Halves halves;
            memcpy(&halves, &fields[i], sizeof halves);
            halves = (halves << 8) | (halves >> 8);
            halves = __builtin_shufflevector(halves, halves, 1, 0, 3, 2, 5, 4, 7, 6);
            memcpy(&fields[i], &halves, sizeof halves);
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
