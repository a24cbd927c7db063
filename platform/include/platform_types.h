/* What the records and numbers of the platform are written with, for C11 and C++. */
#ifndef PLATFORM_TYPES_H
#define PLATFORM_TYPES_H

#include <assert.h>
#include <stddef.h>
#include <stdint.h>

#if defined(__cplusplus) && __cplusplus >= 202002L

#include <bit>
#include <concepts>

/** A 32-bit integer, big-endian in memory, read and assigned as a host integer. */
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

#else

/**
 * A 32-bit integer, big-endian in memory. In C, and in C++ before C++20, it is the bare word: read
 * it with ntohl() and write it with htonl().
 */
typedef uint32_t be_uint32;
/** The same for a signed integer: (int32_t)ntohl(word), htonl((uint32_t)value). */
typedef uint32_t be_int32;

#endif

/* The type of an enumeration, which only C++ lets one choose. */
#ifdef __cplusplus
#define CHM_OF_TYPE(type) : type
#else
#define CHM_OF_TYPE(type)
#endif

/* A record's size and a field's place in it, in bytes: the same in every program. */
#define CHM_RECORD_SIZE(record, size)                                                              \
    static_assert(sizeof(struct record) == (size), #record " has another size")
#define CHM_RECORD_FIELD(record, field, offset)                                                    \
    static_assert(offsetof(struct record, field) == (offset), #record "." #field " is elsewhere")

#endif
