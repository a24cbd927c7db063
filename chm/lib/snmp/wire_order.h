/// Byte order of platform records: 32-bit integers travel big-endian, texts and bytes as they are.
#pragma once

#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>

/// An integer field that has a byte order on the wire.
template <typename T>
concept WireInteger = std::integral<T> && sizeof(T) == 4;

/// Turns a field from host to wire order, or back: both are the same turn.
template <WireInteger T>
constexpr void swap_field(T& field)
{
    if constexpr (std::endian::native == std::endian::little) {
        field = static_cast<T>(__builtin_bswap32(static_cast<uint32_t>(field)));
    }
}

template <WireInteger T, size_t N>
constexpr void swap_field(T (&fields)[N])
{
    for (T& field : fields) {
        swap_field(field);
    }
}

/// Turns each of the listed fields; a record's wire order is the list of its fields given here.
constexpr void swap_all(auto&... fields)
{
    (swap_field(fields), ...);
}

/// A scalar that travels by itself.
template <WireInteger T>
constexpr void swap_wire_order(T& scalar)
{
    swap_field(scalar);
}
