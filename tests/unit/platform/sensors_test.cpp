// Sensors, as the platform manager tells of them.

#include "switch_test.h"

#include <algorithm>
#include <tuple>

namespace {

// The sensor of the chassis is number 21589, that of the module 21653.
const char* const two_sensors = R"(
module = [{ slot = 1, sensors = [
    { kind = "voltage", precision = 1, low = 11.9, high = 11.9, thresholds = [
        { value = 11.4, relation = "<", severity = "critical" }, { value = 12.6 }] }] }]
chassis = { slots = 1, start-seconds = 5, sensors = [{ name = "inlet" }] }
)";

class Sensors : public SwitchTest {
protected:
    Sensors() : SwitchTest(two_sensors) {}

    static Answer value(int32_t operation, uint32_t index)
    {
        Bytes key(40);
        put_word(key, 0, index);
        return request(1031, operation, key);
    }

    static Answer threshold(int32_t operation, uint32_t index, uint32_t number, uint32_t enable = 0)
    {
        Bytes key(28);
        put_word(key, 0, index);
        put_word(key, 4, number);
        put_word(key, 24, enable);
        return request(1032, operation, key);
    }

    static uint32_t status(uint32_t index) { return wire_word(value(1, index).block.value(), 20); }

    static void set_reading(std::optional<double> volts)
    {
        sim::chassis_in_place()->set_reading(21653, volts);
    }
};

std::vector<uint32_t> words(const Answer& answer)
{
    std::vector<uint32_t> all;
    for (size_t offset = 0; answer.block && offset < answer.block->size(); offset += 4) {
        all.push_back(wire_word(*answer.block, offset));
    }
    return all;
}

TEST_F(Sensors, AreSentWordForWord)
{
    using Words = std::vector<uint32_t>;
    EXPECT_EQ(words(value(1, 21653)), (Words{21653, 4, 8, 1, 119000, 1, 1000000000, 250000, 1, 0}));
    EXPECT_EQ(words(threshold(1, 21653, 1)), (Words{21653, 1, 30, 1, 114000, 2, 1}));
    set_reading(12.6);
    EXPECT_EQ(words(threshold(1, 21653, 2)), (Words{21653, 2, 10, 4, 126000, 1, 1}));
}

TEST_F(Sensors, AreFoundByTheirIndexAndInTheirOrder)
{
    const std::tuple<int32_t, uint32_t, uint32_t> values[] = {
        // operation, key, found or 0
        {1, 21589, 21589}, {1, 1, 0},     {1, 21590, 0}, {2, 0, 21589},
        {2, 21589, 21653}, {2, 21653, 0}, {2, 287958, 0}};
    for (const auto& [operation, key, found] : values) {
        const Answer answer = value(operation, key);
        EXPECT_EQ(answer.result, found == 0 ? 1 : 0) << operation << " " << key;
        EXPECT_EQ(answer.block ? wire_word(*answer.block, 0) : 0, found) << operation << " " << key;
    }
    using Key = std::pair<uint32_t, uint32_t>;
    const std::tuple<int32_t, Key, uint32_t> thresholds[] = {
        // of 21653: operation, key, found
        {1, {21653, 2}, 2}, {1, {21653, 0}, 0}, {1, {21653, 3}, 0},          {1, {21589, 1}, 0},
        {2, {0, 0}, 1},     {2, {21653, 0}, 1}, {2, {21589, UINT32_MAX}, 1}, {2, {21653, 1}, 2},
        {2, {21653, 2}, 0}, {3, {21653, 3}, 0}, {2, {21653, UINT32_MAX}, 0}};
    for (const auto& [operation, key, found] : thresholds) {
        const Answer answer = threshold(operation, key.first, key.second, 1);
        EXPECT_EQ(answer.result, found == 0 ? 1 : 0) << operation << " " << key.second;
        EXPECT_EQ(answer.block ? wire_word(*answer.block, 4) : 0, found) << key.second;
    }
    EXPECT_EQ(value(3, 21653).result, 2);
}

TEST_F(Sensors, TellOfEachCrossingOnceIfTheyAreToTell)
{
    const auto after = [&](std::optional<double> volts) {
        set_reading(volts);
        return events(std::chrono::seconds(1));
    };
    EXPECT_EQ(after(13), "1038 21653 2");
    EXPECT_EQ(words({0, payloads.at(0)}), (std::vector<uint32_t>{21653, 130000, 126000, 2}));
    EXPECT_EQ(after(14), "");
    EXPECT_EQ(after(11), "1038 21653 1");
    EXPECT_EQ(after({}), "");

    EXPECT_EQ(threshold(3, 21653, 2, 2).result, 0);
    EXPECT_EQ(wire_word(*threshold(1, 21653, 2).block, 24), 2U);
    EXPECT_EQ(after(13), "");
    EXPECT_EQ(threshold(3, 21653, 2, 1).result, 0);
    EXPECT_EQ(after(13), "") << "it is beyond the threshold already";
    EXPECT_GT(threshold(3, 21653, 2, 3).result, 2);
    EXPECT_THROW(set_reading(1.1e5), sim::Refusal);
}

TEST_F(Sensors, MeasureWhileTheirUnitIsInService)
{
    sim::Chassis& chassis = *sim::chassis_in_place();
    chassis.set_admin_status(1001, sim::AdminStatus::off);
    set_reading(13);
    EXPECT_EQ(std::pair(status(21653), status(21589)), std::pair(2U, 1U));
    EXPECT_EQ(wire_word(*value(1, 21653).block, 16), 119000U) << "as it was last measured";
    chassis.set_failed(1001, true);
    EXPECT_EQ(status(21653), 3U);
    chassis.pull(1001);
    EXPECT_EQ(value(1, 21653).result, 1);
    EXPECT_EQ(threshold(2, 0, 0).result, 1);
    chassis.insert(101);
    chassis.set_failed(1001, false);
    chassis.set_admin_status(1001, sim::AdminStatus::on);
    EXPECT_EQ(status(21653), 2U) << "it starts";
    EXPECT_EQ(events(std::chrono::seconds(5)).find("1038"), std::string::npos)
        << "what is beyond a threshold from the start has not crossed it";
    EXPECT_EQ(wire_word(*value(1, 21653).block, 16), 130000U);
    EXPECT_EQ(wire_word(*threshold(1, 21653, 2).block, 20), 1U);
}

TEST_F(Sensors, MoveSlowlyAllTheWayBetweenTheirBounds)
{
    std::vector<int32_t> values;
    for (int second = 0; second < 600; ++second) {
        events(std::chrono::seconds(1));
        values.push_back(static_cast<int32_t>(wire_word(*value(1, 21589).block, 16)));
        EXPECT_LE(std::abs(values.back() - values[values.size() < 2 ? 0 : values.size() - 2]), 1);
    }
    const auto [least, most] = std::ranges::minmax(values);
    EXPECT_EQ(std::pair(least, most), std::pair(35, 45));
}

} // namespace
