/// A switch in the test's process: chassis files, and requests as the MIB modules send them.
#pragma once

#include "c_boundary.h"
#include "chassis_file.h"
#include "event_queue.h"
#include "platform_manager.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <vector>

using Bytes = std::vector<uint8_t>;

inline std::string temporary_path(const std::string& name)
{
    // Tests run at the same time, each in a process of its own.
    return testing::TempDir() + "chm-" + std::to_string(getpid()) + "-" + name;
}

/// A chassis file that goes with the test.
struct ChassisFile {
    explicit ChassisFile(const std::string& text) : path(temporary_path("chassis.toml"))
    {
        std::ofstream(path) << text;
    }
    ~ChassisFile() { std::remove(path.c_str()); }

    std::string path;
};

inline uint32_t wire_word(const Bytes& bytes, size_t offset)
{
    return uint32_t{bytes.at(offset)} << 24 | uint32_t{bytes.at(offset + 1)} << 16 |
           uint32_t{bytes.at(offset + 2)} << 8 | bytes.at(offset + 3);
}

inline std::string text_at(const Bytes& bytes, size_t offset)
{
    return reinterpret_cast<const char*>(&bytes.at(offset));
}

struct Answer {
    int32_t result;
    std::optional<Bytes> block;
};

inline Answer request(uint32_t opcode, int32_t operation, Bytes payload)
{
    void* block = nullptr;
    auto length = static_cast<uint32_t>(payload.size());
    const int32_t result = cmi_req_resp(
        opcode, operation, payload.empty() ? nullptr : payload.data(),
        operation == 3 ? nullptr : &block, &length, nullptr, 0, 39, ipcx_response_q, 5);
    Answer answer{result, std::nullopt};
    if (block != nullptr) {
        const auto* bytes = static_cast<const uint8_t*>(block);
        answer.block = Bytes(bytes, bytes + length);
        std::free(block);
    }
    return answer;
}

/// The 2780 bytes that ask for a physical entity.
inline Bytes entity_key(uint32_t index)
{
    Bytes key(2780);
    for (size_t i = 0; i < 4; ++i) {
        key[i] = static_cast<uint8_t>(index >> (24 - 8 * i));
    }
    return key;
}

inline Answer get_entity(uint32_t index)
{
    return request(1026, 1, entity_key(index));
}
inline Answer next_entity(uint32_t index)
{
    return request(1026, 2, entity_key(index));
}
