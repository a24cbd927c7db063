#include "switch_test.h"

#include <set>
#include <tuple>

namespace {

const char* const two_slots = R"(
module = [{ slot = 2, type = "card", alias = "uplink", second-serial = "S2" }]
[chassis]
name = "Box"
serial = "S1"
slots = 2
[types.card]
description = "Card"
model = "M-1"
clei-code = "C1"
part-revision = "P1"
vendor-type = 7
ports = 2
sensors = [{ name = "inlet" }]
)";

class PlatformManager : public SwitchTest {
protected:
    PlatformManager() : SwitchTest(two_slots) {}
};

TEST_F(PlatformManager, SendsAnEntityByteForByte)
{
    const Bytes row = get_entity(1002).block.value();
    ASSERT_EQ(row.size(), 2780U);
    // clang-format off
    const std::pair<size_t, uint32_t> words[] = {
        {0, 1002}, {260, 1}, {264, 3}, {268, 6}, {272, 1}, {276, 4}, {280, 1},
        {284, ENTERPRISE_MAIN}, {288, 12}, {292, 3}, {296, 1}, {300, 9}, {304, 7}, {308, 0},
        {772, 12}, {776, 102}, {780, 9}, {784, 1}, {2428, 2}};
    // clang-format on
    for (const auto& [offset, value] : words) {
        EXPECT_EQ(wire_word(row, offset), value) << offset;
    }
    uint32_t replaceable = 0; // the one word that travels in host order
    std::memcpy(&replaceable, &row[2420], 4);
    EXPECT_EQ(replaceable, 1U);
    const std::pair<size_t, const char*> texts[] = {
        {4, "Card"},       {788, "Module 2"}, {1043, ""},    {1298, ""},       {1553, ""},
        {1808, "S1-1002"}, {1841, ""},        {2096, "M-1"}, {2351, "uplink"}, {2384, ""},
        {2432, "S2"},      {2485, "P1"},      {2509, "C1"},  {2524, "Slot 2"}};
    for (const auto& [offset, value] : texts) {
        EXPECT_EQ(text_at(row, offset), value) << offset;
    }
    EXPECT_EQ(wire_word(*get_entity(1).block, 784), 0xffffffffU);
    EXPECT_EQ(text_at(*get_entity(1).block, 2524), "");
}

TEST_F(PlatformManager, FindsRowsByTheirIndexAndInTheirOrder)
{
    // clang-format off
    const std::tuple<int32_t, uint32_t, uint32_t> cases[] = { // operation, key, found or 0
        {1, 1, 1}, {1, 0, 0}, {1, 1001, 0}, {1, 25813, 0}, {2, 0, 1}, {2, 1, 101},
        {2, 102, 1002}, {2, 1002, 21717}, {2, 25813, 302001}, {2, 287958, 302001},
        {2, 302001, 302002}, {2, 302002, 0}, {2, UINT32_MAX, 0}};
    // clang-format on
    for (const auto& [operation, key, found] : cases) {
        const Answer answer = request(1026, operation, entity_key(key));
        EXPECT_EQ(answer.result, found == 0 ? 1 : 0) << operation << " " << key;
        EXPECT_EQ(answer.block ? wire_word(*answer.block, 0) : 0, found) << operation << " " << key;
    }
}

TEST_F(PlatformManager, RefusesWhatItDoesNotUnderstand)
{
    const std::tuple<uint32_t, int32_t, size_t> requests[] = {
        {1026, 1, 0}, {1026, 2, 2779}, {1026, 3, 4}, {1026, 4, 2780},   {1026, 0, 2780},
        {1039, 2, 0}, {1039, 3, 8},    {0, 1, 2780}, {UINT32_MAX, 1, 0}};
    for (const auto& [opcode, operation, size] : requests) {
        const Answer answer = request(opcode, operation, Bytes(size));
        EXPECT_GT(answer.result, 2) << opcode << " " << operation << " " << size;
        EXPECT_FALSE(answer.block);
    }
    EXPECT_EQ(events(), "");
}

TEST_F(PlatformManager, KeepsWhatIsWrittenAndTellsSoOnce)
{
    const struct {
        uint32_t index;
        size_t offset;
        std::string text;
        int32_t result;
        std::string kept;
        std::string events;
    } cases[] = {
        {1002, 2351, "front", 0, "front", "1033"},
        {1002, 2351, "front", 0, "front", ""},
        {1, 2384, std::string(32, 'a'), 0, std::string(32, 'a'), "1033"},
        {302001, 2432, "S9", 0, "S9", "1033"},
        {101, 2351, std::string(33, 'x'), 0, std::string(32, 'x'), "1033"}, // no terminator
        {1002, 4, "Something else", 0, "Card", ""},                         // read-only
        {21717, 2351, "x", 2, "", ""},                                      // a sensor
    };
    for (const auto& [index, offset, text, result, kept, expected] : cases) {
        Bytes row = *get_entity(index).block;
        std::memset(&row[offset], 0, 33);
        std::memcpy(&row[offset], text.data(), text.size());
        now += std::chrono::seconds(1);
        const Answer time_before = request(1039, 1, {});
        EXPECT_EQ(time_before.block.value().size(), 8U);
        EXPECT_EQ(request(1026, 3, row).result, result) << text;
        EXPECT_EQ(text_at(*get_entity(index).block, offset), kept);
        EXPECT_EQ(events(), expected) << text;
        EXPECT_EQ(request(1039, 1, {}).block == time_before.block, expected.empty()) << text;
    }
    EXPECT_EQ(request(1026, 3, entity_key(1001)).result, 1);
    EXPECT_EQ(request(1026, 3, entity_key(25814)).result, 1);
}

TEST_F(PlatformManager, TellsOfAChassisThatTakesThePlaceOfAnother)
{
    sim::place_chassis(sim::load_chassis(ChassisFile("[chassis]\n").path));
    EXPECT_EQ(next_entity(1).result, 1);
    EXPECT_EQ(events(), "1033");
}

class SampleChassis : public testing::TestWithParam<std::pair<const char*, size_t>> {};

TEST_P(SampleChassis, IsHealthyAndWalkedWholeAndInOrder)
{
    const auto& [name, size] = GetParam();
    sim::place_chassis(sim::load_chassis(std::string(CHASSIS_DIR) + "/" + name));
    const auto next = [](uint32_t index) {
        const Answer answer = next_entity(index);
        return answer.result == 1 && answer.block ? next_entity(287958) : answer;
    };
    std::set<uint32_t> seen = {0};
    std::set<std::tuple<uint32_t, uint32_t, uint32_t>> places;
    Answer row = next(0);
    for (; row.result == 0; row = next(*seen.rbegin())) {
        const uint32_t index = wire_word(*row.block, 0);
        const uint32_t container = wire_word(*row.block, 776);
        const uint32_t type = wire_word(*row.block, 780);
        ASSERT_GT(index, *seen.rbegin());
        EXPECT_EQ(type == 8, index >= 21589 && index <= 25685) << index;
        EXPECT_EQ(wire_word(*row.block, 2428), 2U) << index;
        EXPECT_EQ(get_entity(index).block, row.block) << index;
        EXPECT_TRUE(container == 0 || get_entity(container).result == 0) << index;
        EXPECT_TRUE(places.insert({container, type, wire_word(*row.block, 784)}).second)
            << index << " has the position of a sibling";
        seen.insert(index);
    }
    EXPECT_EQ(row.result, 1);
    EXPECT_EQ(seen.size() - 1, size);

    Bytes power_group(284);
    put_word(power_group, 0, 1);
    power_group = request(1027, 1, power_group).block.value();
    EXPECT_GT(wire_word(power_group, 268), 0U);
    EXPECT_GT(wire_word(power_group, 264), wire_word(power_group, 268));
}

INSTANTIATE_TEST_SUITE_P(All, SampleChassis,
                         testing::Values(std::pair("small.toml", 23),
                                         std::pair("ten-slot.toml", 257),
                                         std::pair("eighteen-slot.toml", 1334)));

} // namespace
