/// Records of the tests as plain bytes, and the 32-bit integers in them.
#pragma once

#include <arpa/inet.h>
#include <cstdint>
#include <cstring>
#include <vector>

using Bytes = std::vector<uint8_t>;

/// The integer at an offset, in wire order or in host order, which must lie within the bytes.
inline uint32_t host_word(const Bytes& bytes, size_t offset)
{
    uint32_t value = 0;
    std::memcpy(&value, &bytes.at(offset + 3) - 3, sizeof value);
    return value;
}

inline uint32_t wire_word(const Bytes& bytes, size_t offset)
{
    return ntohl(host_word(bytes, offset));
}

inline void put_host_word(Bytes& bytes, size_t offset, uint32_t value)
{
    std::memcpy(&bytes.at(offset + 3) - 3, &value, sizeof value);
}

inline void put_wire_word(Bytes& bytes, size_t offset, uint32_t value)
{
    put_host_word(bytes, offset, htonl(value));
}
