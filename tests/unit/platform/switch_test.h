/// A switch in the test's process: a chassis, a clock, ears for its events, and requests as the MIB
/// modules and chmctl send them.
#pragma once

#include "../bytes.h"
#include "control/verbs.h"
#include "files/chassis_file.h"
#include "libraries/c_boundary.h"
#include "libraries/event_queue.h"
#include "libraries/platform_manager.h"
#include "wire/requests.h"

#include <array>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <regex>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

inline std::string temporary_path(const std::string& name)
{
    // Tests run at the same time, each in a process of its own.
    return testing::TempDir() + "chm-" + std::to_string(getpid()) + "-" + name;
}

/// A chassis file that goes with the test.
struct ChassisFile {
    explicit ChassisFile(const std::string& text) { std::ofstream(path) << text; }
    ~ChassisFile() { std::remove(path.c_str()); }

    static inline uint32_t made = 0;
    const std::string path = temporary_path("chassis-" + std::to_string(++made) + ".toml");
};

inline std::string text_at(const Bytes& bytes, size_t offset)
{
    return reinterpret_cast<const char*>(&bytes.at(offset));
}

/// A record by what is not 0 in it, words in wire order and texts by offset: "0=1001 8='on'".
inline Bytes record(size_t size, const std::string& contents)
{
    static const std::regex field(R"((\d+)=(?:(\d+)|'([^']*)'))");
    Bytes bytes(size);
    for (std::sregex_iterator found(contents.begin(), contents.end(), field), end; found != end;
         ++found) {
        const size_t offset = std::stoul((*found)[1]);
        if ((*found)[2].matched) {
            put_wire_word(bytes, offset, static_cast<uint32_t>(std::stoul((*found)[2])));
        } else {
            const std::string text = (*found)[3];
            std::ranges::copy(text, &bytes.at(offset + text.size() - 1) - text.size() + 1);
        }
    }
    return bytes;
}

struct Answer {
    int32_t result;
    Bytes block; ///< empty for none
};

inline Answer request(uint32_t opcode, int32_t operation, Bytes payload)
{
    void* block = nullptr;
    auto length = static_cast<uint32_t>(payload.size());
    const int32_t result = cmi_req_resp(
        opcode, operation, payload.empty() ? nullptr : payload.data(),
        operation == 3 ? nullptr : &block, &length, nullptr, 0, 39, ipcx_response_q, 5);
    const auto* bytes = static_cast<const uint8_t*>(block);
    Answer answer{result, bytes == nullptr ? Bytes() : Bytes(bytes, bytes + length)};
    std::free(block);
    return answer;
}

/// The tables: opcode of their requests and size of their records.
inline const std::map<uint32_t, size_t> tables = [] {
    std::map<uint32_t, size_t> all;
    for (const RequestCode& request : platform_requests) {
        if (request.indexes > 0) {
            all[request.opcode] = request.record_size;
        }
    }
    return all;
}();

/// The record that asks for a row by its index, and by its second index where a table has one.
inline Bytes key_of(uint32_t opcode, uint32_t index, uint32_t second)
{
    Bytes key(tables.at(opcode));
    put_wire_word(key, 0, index);
    put_wire_word(key, 4, second);
    return key;
}

inline Answer ask(uint32_t opcode, int32_t operation, uint32_t index, uint32_t second = 0)
{
    return request(opcode, operation, key_of(opcode, index, second));
}

inline Bytes row(uint32_t opcode, uint32_t index, uint32_t second = 0)
{
    return ask(opcode, 1, index, second).block;
}

/// The numbers that follow the first word of a command, and 0 for those that are not there.
inline std::array<uint32_t, 5> numbers_in(const std::string& command)
{
    std::istringstream words(command.substr(command.find(' ')));
    std::array<uint32_t, 5> numbers{};
    for (uint32_t& number : numbers) {
        words >> number;
    }
    return numbers;
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

/// A switch with slots 3 and 4, power supply bay 4 and the first fan tray bay empty.
class SwitchTest : public testing::Test {
protected:
    SwitchTest()
    {
        sim::place_chassis(sim::load_chassis(box, [this] { return now; }));
        for (const auto& [opcode, handler] : handlers) {
            register_for_notification(opcode, handler);
        }
        events();
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

    /// Why a command is refused, nothing when it is done:
    ///   write OPCODE INDEX OFFSET VALUE [SECOND]   a row as it was read but for one word
    ///   VERB ENTITY[, "ARGUMENT": VALUE]           as chmctl asks
    static std::string refusal(const std::string& command)
    {
        const size_t blank = command.find(' ');
        const std::string verb = command.substr(0, blank);
        if (verb == "write") {
            const auto [opcode, index, offset, value, second] = numbers_in(command);
            Bytes bytes = row(opcode, index, second);
            bytes = bytes.empty() ? key_of(opcode, index, second) : bytes;
            put_wire_word(bytes, offset, value);
            const int32_t result = request(opcode, 3, bytes).result;
            return result == 0 ? "" : std::to_string(result);
        }
        const std::string answer = sim::answer_request(R"({"verb": ")" + verb + R"(", "entity":)" +
                                                       command.substr(blank) + "}");
        return answer.find(R"("ok":true)") != std::string::npos
                   ? ""
                   : answer.substr(10, answer.rfind(R"(","ok")") - 10); // after {"error":"
    }

    /// What comes of a command within 3 seconds, as events, or why it is refused. One more command
    /// reads a word of a row: word OPCODE INDEX OFFSET [SECOND]
    std::string outcome(const std::string& command)
    {
        if (command.starts_with("word ")) {
            const auto [opcode, index, offset, second, none] = numbers_in(command);
            return std::to_string(wire_word(row(opcode, index, second), offset));
        }
        const std::string refused = refusal(command);
        return refused.empty() ? events(std::chrono::seconds(3)) : refused;
    }

    /// Status of an entity, which all tables tell alike; of a module also the administrative ones,
    /// its own and that of its power.
    static std::string shown(uint32_t index)
    {
        const auto word = [=](uint32_t opcode, size_t offset) {
            const Bytes bytes = row(opcode, index);
            return bytes.empty() ? "" : std::to_string(wire_word(bytes, offset));
        };
        const std::string status = word(1026, 2428);
        for (const auto& other : {word(1029, 8), word(1046, 4), word(3270, 4)}) {
            EXPECT_TRUE(other.empty() || other == status) << index;
        }
        const std::string admin = word(1029, 4);
        return admin.empty() ? status : status + "/" + admin + "/" + word(1028, 4);
    }

    /// Follows a script of lines COMMAND -> OUTCOME [| INDEX=STATUS...], with statuses as shown().
    void follow(const std::string& script)
    {
        static const std::regex step("(.+?) ->(?: ([^|]+?))?(?: \\| (.+))?");
        std::istringstream lines(script);
        for (std::string line; std::getline(lines, line);) {
            std::smatch parts;
            if (line.empty()) {
                continue;
            }
            ASSERT_TRUE(std::regex_match(line, parts, step)) << line;
            EXPECT_EQ(outcome(parts[1]), parts[2]) << line;
            std::istringstream statuses(parts[3]);
            for (std::string status; statuses >> status;) {
                const size_t equals = status.find('=');
                EXPECT_EQ(shown(static_cast<uint32_t>(std::stoul(status))),
                          status.substr(equals + 1))
                    << line;
            }
        }
    }

    sim::Clock::time_point now{std::chrono::seconds(1000000000) +
                               std::chrono::microseconds(250000)};
    const std::string box = BOX;
};
