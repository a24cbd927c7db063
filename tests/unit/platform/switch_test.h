/// A switch in the test's process: chassis files, and requests as the MIB modules send them.
#pragma once

#include "c_boundary.h"
#include "chassis_file.h"
#include "event_queue.h"
#include "platform_manager.h"

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <utility>
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

inline void put_word(Bytes& bytes, size_t offset, uint32_t value)
{
    for (size_t i = 0; i < 4; ++i) {
        bytes.at(offset + i) = static_cast<uint8_t>(value >> (24 - 8 * i));
    }
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
    put_word(key, 0, index);
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

inline std::vector<Bytes> payloads; ///< of the events that were delivered last
inline std::string told; ///< their opcodes, and the unit and its status or output if they have them

template <uint32_t Opcode, size_t Size, size_t Offset>
netsnmp_variable_list* note(void* message, oid* /*trap*/, size_t* /*length*/, int* send)
{
    *send = 0;
    const auto* payload = static_cast<const uint8_t*>(ipcx_payload_get(message));
    EXPECT_EQ(payload == nullptr, Size == 0) << Opcode;
    const Bytes& bytes = payloads.emplace_back(payload, payload + Size);
    told += (told.empty() ? "" : ", ") + std::to_string(Opcode);
    if (Size != 0) {
        told += " " + std::to_string(wire_word(bytes, 0));
        told += " " + std::to_string(wire_word(bytes, Offset));
    }
    return nullptr;
}

constexpr std::pair<uint32_t, ipcx_event_handler*> handlers[] = {
    {1033, note<1033, 0, 0>},       {1034, note<1034, 316, 8>},     {1035, note<1035, 16, 8>},
    {1036, note<1036, 2780, 2428>}, {1037, note<1037, 2780, 2428>}, {1038, note<1038, 16, 12>},
    {1043, note<1043, 0, 0>},       {1047, note<1047, 8, 4>},       {1121, note<1121, 520, 516>},
    {3224, note<3224, 2780, 2428>}};

/// A switch with a chassis, a clock, and ears for its events.
class SwitchTest : public testing::Test {
protected:
    explicit SwitchTest(const char* chassis) : file_(chassis)
    {
        sim::place_chassis(sim::load_chassis(file_.path, [this] { return now; }));
        for (const auto& [opcode, handler] : handlers) {
            register_for_notification(opcode, handler);
        }
        events();
    }
    ~SwitchTest() override
    {
        for (const auto& [opcode, handler] : handlers) {
            unregister_for_notification(opcode);
        }
    }

    /// Lets time pass. The events since the last call.
    std::string events(std::chrono::seconds time = {})
    {
        now += time;
        sim::chassis_in_place()->advance();
        payloads.clear();
        told.clear();
        sim::deliver_events();
        return told;
    }

    sim::Clock::time_point now{std::chrono::seconds(1000000000) +
                               std::chrono::microseconds(250000)};

private:
    ChassisFile file_;
};
