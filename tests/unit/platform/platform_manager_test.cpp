#include "switch_test.h"

#include <set>
#include <tuple>

namespace {

const char* const two_slots = R"(
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

[[module]]
slot = 2
type = "card"
alias = "uplink"
second-serial = "S2"
)";

int events = 0; ///< inventory changes delivered so far

netsnmp_variable_list* count_event(void* message, oid* /*trap*/, size_t* /*length*/, int* send)
{
    EXPECT_EQ(ipcx_payload_get(message), nullptr);
    ++events;
    *send = 0;
    return nullptr;
}

class PlatformManager : public testing::Test {
protected:
    PlatformManager()
    {
        sim::place_chassis(sim::load_chassis(ChassisFile(two_slots).path));
        register_for_notification(1033, count_event);
        changes();
    }
    ~PlatformManager() override { unregister_for_notification(1033); }

    /// Inventory changes since the last call.
    static int changes()
    {
        const int before = events;
        sim::deliver_events();
        return events - before;
    }
};

TEST_F(PlatformManager, SendsAnEntityByteForByte)
{
    const Answer answer = get_entity(1002);
    ASSERT_EQ(answer.result, 0);
    ASSERT_TRUE(answer.block);
    const Bytes& row = *answer.block;
    ASSERT_EQ(row.size(), 2780U);

    const uint32_t vendor_type[] = {1, 3, 6, 1, 4, 1, ENTERPRISE_MAIN, 12, 3, 1, 9, 7, 0};
    for (size_t i = 0; i < std::size(vendor_type); ++i) {
        EXPECT_EQ(wire_word(row, 260 + 4 * i), vendor_type[i]) << i;
    }
    const std::pair<size_t, uint32_t> words[] = {{0, 1002}, {772, 12}, {776, 102},
                                                 {780, 9},  {784, 1},  {2428, 2}};
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
    const struct {
        int32_t operation;
        uint32_t key;
        uint32_t found; ///< 0 for nothing
    } cases[] = {
        {1, 1, 1},          {1, 0, 0},          {1, 1001, 0},        {1, 25813, 0},
        {2, 0, 1},          {2, 1, 101},        {2, 102, 1002},      {2, 1002, 21717},
        {2, 21717, 302001}, {2, 25813, 302001}, {2, 287958, 302001}, {2, 302001, 302002},
        {2, 302002, 0},     {2, UINT32_MAX, 0},
    };
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
    EXPECT_EQ(changes(), 0);
}

TEST_F(PlatformManager, KeepsWhatIsWrittenAndTellsSoOnce)
{
    const struct {
        const char* what;
        uint32_t index;
        size_t offset;
        std::string text;
        int32_t result;
        std::string kept;
        int changes;
    } cases[] = {
        {"alias", 1002, 2351, "front", 0, "front", 1},
        {"the same again", 1002, 2351, "front", 0, "front", 0},
        {"asset identifier", 1, 2384, std::string(32, 'a'), 0, std::string(32, 'a'), 1},
        {"second serial number", 302001, 2432, "S9", 0, "S9", 1},
        {"no terminator", 101, 2351, std::string(33, 'x'), 0, std::string(32, 'x'), 1},
        {"a read-only text", 1002, 4, "Something else", 0, "Card", 0},
        {"a sensor", 21717, 2351, "x", 2, "", 0},
    };
    for (const auto& [what, index, offset, text, result, kept, changed] : cases) {
        Bytes row = *get_entity(index).block;
        std::memset(&row[offset], 0, 33);
        std::memcpy(&row[offset], text.data(), text.size());
        const Answer time_before = request(1039, 1, {});
        EXPECT_EQ(request(1026, 3, row).result, result) << what;
        EXPECT_EQ(text_at(*get_entity(index).block, offset), kept) << what;
        EXPECT_EQ(changes(), changed) << what;
        EXPECT_EQ(request(1039, 1, {}).block != time_before.block, changed == 1) << what;
    }
    EXPECT_EQ(request(1026, 3, entity_key(1001)).result, 1);
    EXPECT_EQ(request(1026, 3, entity_key(25814)).result, 1);
}

TEST_F(PlatformManager, DatesTheLastChange)
{
    const Answer answer = request(1039, 1, {});
    ASSERT_TRUE(answer.block);
    ASSERT_EQ(answer.block->size(), 8U);
    const auto now = static_cast<uint32_t>(std::time(nullptr));
    EXPECT_LE(now - wire_word(*answer.block, 0), 60U);
    EXPECT_LT(wire_word(*answer.block, 4), 1000000U);
}

TEST_F(PlatformManager, TellsOfAChassisThatTakesThePlaceOfAnother)
{
    sim::place_chassis(sim::load_chassis(ChassisFile("[chassis]\n").path));
    EXPECT_EQ(next_entity(1).result, 1);
    EXPECT_EQ(changes(), 1);
}

class SampleChassis : public testing::TestWithParam<std::pair<const char*, size_t>> {};

TEST_P(SampleChassis, IsWalkedWholeAndInOrder)
{
    const auto& [name, size] = GetParam();
    sim::place_chassis(sim::load_chassis(std::string(CHASSIS_DIR) + "/" + name));
    std::set<uint32_t> seen = {0};
    std::set<std::tuple<uint32_t, uint32_t, uint32_t>> places;
    Answer row = next_entity(0);
    while (row.result == 0) {
        const uint32_t index = wire_word(*row.block, 0);
        ASSERT_GT(index, *seen.rbegin());
        EXPECT_FALSE(index >= 25813 && index <= 287958) << index;
        EXPECT_EQ(wire_word(*row.block, 780) == 8, index >= 21589 && index <= 25685) << index;
        EXPECT_EQ(get_entity(index).block, row.block) << index;
        const uint32_t container = wire_word(*row.block, 776);
        EXPECT_TRUE(container == 0 || get_entity(container).result == 0) << index;
        EXPECT_TRUE(
            places.insert({container, wire_word(*row.block, 780), wire_word(*row.block, 784)})
                .second)
            << index << " has the position of a sibling";
        seen.insert(index);
        row = next_entity(index);
    }
    EXPECT_EQ(row.result, 1);
    EXPECT_FALSE(row.block);
    EXPECT_EQ(seen.size() - 1, size);
}

INSTANTIATE_TEST_SUITE_P(All, SampleChassis,
                         testing::Values(std::pair("small.toml", 21),
                                         std::pair("ten-slot.toml", 246),
                                         std::pair("eighteen-slot.toml", 1294)));

} // namespace
