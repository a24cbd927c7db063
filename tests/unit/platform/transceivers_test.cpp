// Transceivers: what the port manager tells of them, and what happens to them.

#include "switch_test.h"
#include "verbs.h"

#include <bit>
#include <memory>
#include <tuple>

namespace {

using namespace std::chrono_literals;

const char* const two_cards = R"(
module = [{ slot = 1, type = "card" }, { slot = 3, type = "card" }, { slot = 4, role = "supervisor" }]
[chassis]
serial = "S"
slots = 4
type-code = 39
[transceivers]
internal = { model = "M-1", revision = "B", alias = "west", temperature = { low = -5, high = -5 }, voltage = { low = 3.3, high = 3.3, high-warning = 3.4 }, bias-current = { low = 35, high = 35 }, transmit-power = { low = -3, high = -3 }, receive-power = { low = -12, high = -12 } }
external = { diagnostics = "external", lanes = 4, transmit-power = { low = -3.0103, high = -3.0103 }, receive-power = "none" }
plain = { diagnostics = "none" }
[types.card]
ports = 8
electrical = "8"
transceivers = [{ ports = "1, 4", type = "internal" }, { ports = "2", type = "plain" },
                { ports = "6-7", type = "external" }]
)";

class Transceivers : public SwitchTest {
protected:
    Transceivers() : SwitchTest(two_cards) {}

    std::string order(const std::string& request)
    {
        return sim::answer_request("{" + request + "}");
    }
};

constexpr uint32_t interface(uint32_t slot, uint32_t port) // numbered from 0
{
    return 26U << 24 | slot << 16 | port << 8;
}

using Block = std::unique_ptr<uint8_t, decltype(&std::free)>;

uint32_t host_word(const uint8_t* bytes, size_t offset)
{
    uint32_t word = 0;
    std::memcpy(&word, bytes + offset, 4);
    return word;
}

/// The block of a query, null when the query failed.
Block ask(decltype(pm_cmi_get_fcot_info)* query, int32_t operation, uint32_t if_index)
{
    void* response = nullptr;
    uint32_t count = 1;
    const int32_t result = query(ipcx_response_q, operation, 1, &if_index, &count, &response, 5);
    EXPECT_EQ(result == 0, response != nullptr) << std::hex << if_index;
    return {static_cast<uint8_t*>(response), &std::free};
}

/// 0 after the last.
uint32_t next_port(uint32_t if_index)
{
    const Block block = ask(pm_get_next_port_fcot_info_with_ddm, 2, if_index);
    return block ? host_word(block.get(), 0) : 0;
}

/// The words of all lanes under each other, 43 of each; none when the read failed.
std::vector<uint32_t> lanes(uint32_t if_index)
{
    void* diag = nullptr;
    void* aux = nullptr;
    uint32_t number = 0;
    const int32_t result = pm_get_sfp_diag_info(39, if_index, &diag, &aux, &number);
    EXPECT_TRUE(result == 0 || number == 0);
    std::vector<uint32_t> words(size_t{43} * number);
    if (number != 0) {
        std::memcpy(words.data(), diag, words.size() * 4);
    }
    std::free(diag);
    std::free(aux);
    return words;
}

uint32_t real(float value)
{
    return std::bit_cast<uint32_t>(value);
}

TEST_F(Transceivers, ReportIntegersRealsAndNoLight)
{
    using Words = std::vector<std::pair<size_t, uint32_t>>; // by offset in the lane's record
    const auto check = [](uint32_t port, size_t number, size_t lane, const Words& expected) {
        const std::vector<uint32_t> words = lanes(port);
        ASSERT_EQ(words.size(), 43 * number);
        for (const auto& [offset, word] : expected) {
            EXPECT_EQ(words[43 * lane + offset / 4], word) << lane << " " << offset;
        }
    };
    // Below the low alarm of temperature lies nothing; receive power is below its low warning.
    check(interface(0, 0), 1, 0,
          {{8, 1},
           {12, static_cast<uint32_t>(-5000)},
           {16, 3300000},
           {20, 35},
           {24, 501},
           {28, 63},
           {32, 0},
           {36, 0x202},
           {92, 75000},
           {96, static_cast<uint32_t>(-5000)},
           {108, 3630000},
           {116, 3400000},
           {136, 10},
           {140, 1585},
           {164, 1259},
           {168, 79}});
    const Words thresholds = {{92, real(75000)}, {108, real(3630000)}, {136, real(10)}};
    check(interface(0, 5), 4, 3, {{8, 2}, {24, real(500)}, {28, 0}, {32, 0x200}, {36, 0x200}});
    check(interface(0, 5), 4, 2, {{8, 2}, {24, 0x43ffd2c0}, {28, 0}});
    check(interface(0, 5), 4, 3, thresholds);
    order(R"("verb": "chassis-type", "code": 40)");
    check(interface(0, 5), 4, 3, {{8, 2}, {24, 500}, {28, 0}});
    check(interface(0, 5), 4, 3, thresholds);
    uint32_t type = 0;
    EXPECT_EQ(pdb_get_chassis_type(&type), 0);
    EXPECT_EQ(type, 40U);
    check(interface(0, 1), 0, 0, {}); // without diagnostics
}

TEST_F(Transceivers, AreFoundByTheirPortsAndInTheirOrder)
{
    const std::tuple<uint32_t, bool, int, int> ports[] = {
        // information, sensors readable, type
        {interface(0, 0), true, 1, 0x60}, {interface(0, 1), true, 0, 0},
        {interface(0, 2), true, 0, -1},   {interface(0, 5), true, 1, 0x50},
        {interface(0, 7), true, 0, -1},   {interface(0, 8), false, 0, -1},
        {interface(1, 0), false, 0, -1},  {0, false, 0, -1},
    };
    for (const auto& [port, exists, readable, type] : ports) {
        const Block config = ask(pm_cmi_get_port_config, 1, port);
        const Block information = ask(pm_cmi_get_fcot_info, 1, port);
        ASSERT_EQ(config != nullptr, exists) << std::hex << port;
        EXPECT_EQ(exists ? host_word(config.get(), 4) : 0, 0U);
        EXPECT_EQ(exists ? config.get()[211] : 0, readable) << std::hex << port;
        EXPECT_EQ(information ? information.get()[101] : -1, type) << std::hex << port;
    }
    char texts[5][255];
    const Block information = ask(pm_cmi_get_fcot_info, 1, interface(2, 3));
    EXPECT_EQ(
        pc_sfp_get_vendor_info(information.get(), texts[0], texts[1], texts[2], texts[3], texts[4]),
        0);
    EXPECT_STREQ(texts[1], "M-1");
    EXPECT_STREQ(texts[2], "B");
    EXPECT_STREQ(texts[3], "S-303004");
    EXPECT_STREQ(texts[4], "west");

    const std::pair<uint32_t, uint32_t> steps[] = {
        {0, interface(0, 0)},
        {interface(0, 0), interface(0, 3)},
        {interface(0, 4), interface(0, 5)},
        {interface(0, 6), interface(2, 0)},
        {interface(1, 200), interface(2, 0)},
        {interface(2, 6), 0},
        {interface(63, 255), 0},
    };
    for (const auto& [port, next] : steps) {
        EXPECT_EQ(next_port(port), next) << std::hex << port;
    }
    order(R"("verb": "pull", "entity": "Module 3")");
    EXPECT_EQ(next_port(interface(0, 6)), 0U);
    order(R"("verb": "insert", "entity": "Slot 3")");
    EXPECT_EQ(next_port(interface(0, 6)), 0U) << "the module starts yet";
    const Block starting = ask(pm_cmi_get_port_config, 1, interface(2, 0));
    EXPECT_NE(host_word(starting.get(), 4), 0U);
    EXPECT_EQ(starting.get()[211], 0);
    EXPECT_TRUE(lanes(interface(2, 0)).empty());
    events(3s);
    EXPECT_EQ(next_port(interface(0, 6)), interface(2, 0));
}

TEST_F(Transceivers, LieBetweenThePlatformsRowsOfAWalk)
{
    const Answer start = next_entity(1004);
    EXPECT_EQ(start.result, 1);
    EXPECT_EQ(wire_word(start.block.value(), 0), 25813U);
    EXPECT_EQ(next_entity(25812).result, 1);
    for (const uint32_t index : {25813U, 287958U}) {
        EXPECT_EQ(wire_word(next_entity(index).block.value(), 0), 301001U);
    }
    order(R"("verb": "pull", "entity": "Module 1")");
    order(R"("verb": "pull", "entity": "Module 3")");
    const Answer none = next_entity(1004);
    EXPECT_EQ(none.result, 1);
    EXPECT_FALSE(none.block);
}

TEST_F(Transceivers, TellOnceOfAThresholdThatTheyCross)
{
    const auto set = [&](const std::string& port, const char* quantity, const char* value) {
        const std::string answer =
            order(R"("verb": "transceiver-reading", "entity": ")" + port + R"(", "quantity": ")" +
                  quantity + R"(", "value": )" + value);
        EXPECT_NE(answer.find(R"("ok":true)"), std::string::npos) << answer;
        return events(1s);
    };
    // 25814 + slot * 4096 + port * 16 + code - 1, and the number of the threshold
    EXPECT_EQ(set("Ethernet1/1", "voltage", "3.401"), "1038 25816 2");
    EXPECT_EQ(wire_word(payloads.at(0), 4), 3401U);
    EXPECT_EQ(wire_word(payloads.at(0), 8), 3400U);
    EXPECT_EQ(set("Ethernet1/1", "voltage", "3.5"), "");
    EXPECT_EQ(set("Ethernet1/1", "voltage", "3.7"), "1038 25816 1");
    EXPECT_EQ(set("Ethernet1/1", "voltage", "null"), "");
    EXPECT_EQ(set("Ethernet3/6", "receive-power", "-9"), "");
    EXPECT_EQ(set("Ethernet3/6", "receive-power", "\"none\""), "1038 34099 3, 1038 34099 4");
    EXPECT_EQ(wire_word(payloads.at(0), 4), 0U);
    EXPECT_EQ(static_cast<int32_t>(wire_word(payloads.at(0), 8)), -13000);
    EXPECT_EQ(set("Ethernet1/4", "temperature", "-5.001"), "1038 25869 3");
    EXPECT_EQ(static_cast<int32_t>(wire_word(payloads.at(0), 4)), -5001);
    order(R"("verb": "unplug", "entity": "Ethernet1/4")");
    EXPECT_EQ(events(), "1033");
    EXPECT_EQ(next_port(interface(0, 0)), interface(0, 5));
    order(R"("verb": "plug", "entity": "Ethernet1/4")");
    EXPECT_EQ(events(), "1033");
    EXPECT_EQ(next_port(interface(0, 0)), interface(0, 3));
}

} // namespace
