// Supervisors, LEDs and terminals, as the platform manager tells and takes them.

#include "led.h"
#include "switch_test.h"
#include "terminals.h"

#include <tuple>

namespace {

const char* const two_supervisors = R"(
[chassis]
slots = 3
power-supply-bays = 1
start-seconds = 0

[types.supervisor]
role = "supervisor"

[[module]]
slot = [2, 3]
type = "supervisor"

[[module]]
slot = 1

[[power-supply]]
bay = 1
)";

int switchovers = 0; ///< events delivered so far

netsnmp_variable_list* count_switchover(void* /*message*/, oid* /*trap*/, size_t* /*length*/,
                                        int* send)
{
    ++switchovers;
    *send = 0;
    return nullptr;
}

class RedundancyTest : public testing::Test {
protected:
    RedundancyTest()
    {
        sim::place_chassis(sim::load_chassis(ChassisFile(two_supervisors).path));
        register_for_notification(1043, count_switchover);
        sim::deliver_events();
        switchovers = 0;
    }
    ~RedundancyTest() override { unregister_for_notification(1043); }

    static uint32_t word(const Bytes& bytes, size_t offset)
    {
        uint32_t value = 0;
        std::memcpy(&value, &bytes.at(offset + 3) - 3, sizeof value);
        return value;
    }

    /// Slots of the active and the standby supervisor, status of both, state, switchovers.
    static std::vector<uint32_t> roles()
    {
        const Bytes record = request(1042, 1, Bytes(32)).block.value();
        EXPECT_EQ(record.size(), 32U);
        return {word(record, 4),  word(record, 8), word(record, 12),
                word(record, 16), word(record, 0), word(record, 24)};
    }

    static int32_t act(uint32_t action)
    {
        Bytes record = request(1042, 1, {}).block.value();
        std::memcpy(&record[20], &action, sizeof action);
        return request(1042, 3, record).result;
    }

    /// Switchovers since the last call.
    static int events()
    {
        sim::deliver_events();
        return std::exchange(switchovers, 0);
    }
};

using Roles = std::vector<uint32_t>;

TEST_F(RedundancyTest, SwapsTheRolesWhenAskedAndTellsSoOnce)
{
    EXPECT_EQ(roles(), (Roles{2, 3, 2, 2, 2, 0}));
    EXPECT_EQ(hactl_swover_reason_get(), -1);
    const struct {
        uint32_t action;
        int32_t result;
        Roles roles;
        int events;
    } cases[] = {{0, 0, {2, 3, 2, 2, 2, 0}, 0},
                 {1, 0, {3, 2, 2, 2, 2, 1}, 1},
                 {2, 0, {3, 2, 2, 2, 2, 1}, 0},
                 {3, 0, {2, 3, 2, 2, 2, 2}, 1}};
    for (const auto& [action, result, expected, told] : cases) {
        EXPECT_EQ(act(action), result);
        EXPECT_EQ(roles(), expected) << action;
        EXPECT_EQ(events(), told) << action;
        EXPECT_EQ(word(*request(1042, 1, {}).block, 20), action);
    }
    EXPECT_EQ(hactl_swover_reason_get(), 0);
    EXPECT_NE(act(4), 0);
    EXPECT_NE(request(1042, 3, Bytes(31)).result, 0);
    EXPECT_NE(request(1042, 2, Bytes(32)).result, 0);
}

TEST_F(RedundancyTest, TakesOverWhenTheActiveSupervisorFails)
{
    sim::Chassis& chassis = *sim::chassis_in_place();
    chassis.set_failed(1002, true);
    EXPECT_EQ(roles(), (Roles{3, 0, 2, 1, 1, 1}));
    EXPECT_EQ(events(), 1);
    EXPECT_EQ(hactl_swover_reason_get(), 1);
    EXPECT_EQ(hactl_supstate_get(), 1);
    EXPECT_EQ(act(1), 2) << "nobody is on standby";
    EXPECT_EQ(act(2), 2);
    EXPECT_THROW(chassis.pull(1003), sim::Refusal);

    chassis.set_failed(1003, true);
    EXPECT_EQ(roles(), (Roles{0, 0, 1, 1, 1, 1})) << "nobody is left to take over";
    chassis.set_failed(1003, false);
    chassis.set_failed(1002, false);
    EXPECT_EQ(roles(), (Roles{3, 2, 2, 2, 2, 1})) << "the role does not come back";
    EXPECT_EQ(events(), 0);

    chassis.set_supervisor_state(7);
    EXPECT_EQ(hactl_supstate_get(), 7);
    chassis.set_supervisor_state({});
    EXPECT_EQ(hactl_supstate_get(), 2);
}

TEST_F(RedundancyTest, ShowsEveryLedOnce)
{
    const auto row = [](uint32_t entity, uint32_t led) {
        Bytes bytes(12);
        for (const auto& [offset, value] : {std::pair{3, entity}, {7, led}}) {
            bytes[static_cast<size_t>(offset)] = static_cast<uint8_t>(value);
            bytes[static_cast<size_t>(offset) - 1] = static_cast<uint8_t>(value >> 8);
        }
        return bytes;
    };
    const auto walk = [&] {
        std::vector<std::tuple<uint32_t, uint32_t, uint32_t>> leds;
        Answer answer = request(3242, 2, Bytes(12));
        while (answer.block && leds.size() < 100) {
            const Bytes& led = *answer.block;
            leds.emplace_back(wire_word(led, 0), wire_word(led, 4), wire_word(led, 8));
            EXPECT_EQ(request(3242, 1, led).block, led);
            answer = request(3242, 2, led);
        }
        EXPECT_EQ(answer.result, 1);
        return leds;
    };
    using Leds = decltype(walk());
    EXPECT_EQ(walk(), (Leds{{1, 1, 2},
                            {1001, 1, 2},
                            {1002, 1, 2},
                            {1002, 2, 2},
                            {1003, 1, 2},
                            {1003, 2, 3},
                            {2001, 1, 2}}));

    sim::Chassis& chassis = *sim::chassis_in_place();
    chassis.switch_over(0);
    chassis.set_failed(1001, true);
    chassis.set_led(2001, 1, 5);
    EXPECT_EQ(walk(), (Leds{{1, 1, 4},
                            {1001, 1, 4},
                            {1002, 1, 2},
                            {1002, 2, 3},
                            {1003, 1, 2},
                            {1003, 2, 2},
                            {2001, 1, 5}}));
    chassis.set_led(2001, 1, {});
    EXPECT_EQ(wire_word(*request(3242, 1, row(2001, 1)).block, 8), 2U);
    for (const auto& [entity, led] : {std::pair{1001U, 0U}, {1001U, 2U}, {1U, 2U}, {5U, 1U}}) {
        EXPECT_EQ(request(3242, 1, row(entity, led)).result, 1);
    }
    EXPECT_NE(request(3242, 3, row(1, 1)).result, 0);
    EXPECT_NE(request(3242, 2, Bytes(11)).result, 0);
}

TEST_F(RedundancyTest, LetsAMessageReachTheTerminalsOnce)
{
    const auto write = [](const std::string& text, int32_t trigger) {
        Bytes message = request(1016, 1, {}).block.value();
        EXPECT_EQ(message.size(), 272U);
        const int32_t times[] = {5, 30};
        std::memcpy(message.data(), times, sizeof times);
        std::memset(&message[8], 0, 260);
        std::memcpy(&message[8], text.data(), text.size());
        std::memcpy(&message[268], &trigger, sizeof trigger);
        return request(1016, 3, message).result;
    };
    const auto& delivered = sim::terminals().delivered();
    EXPECT_EQ(write("in the making", 1), 0);
    EXPECT_TRUE(delivered.empty());
    EXPECT_EQ(write("at noon", 2), 0);
    ASSERT_EQ(delivered.size(), 1U);
    EXPECT_EQ(delivered[0].text, "at noon");
    EXPECT_EQ(delivered[0].interval, 5);
    EXPECT_EQ(delivered[0].duration, 30);

    // What is kept has the trigger fallen back: writing it again sends nothing.
    const Bytes kept = request(1016, 1, {}).block.value();
    EXPECT_STREQ(reinterpret_cast<const char*>(&kept[8]), "at noon");
    EXPECT_EQ(request(1016, 3, kept).result, 0);
    EXPECT_EQ(delivered.size(), 1U);

    EXPECT_EQ(write(std::string(260, 'x'), 2), 0);
    EXPECT_EQ(delivered.back().text.size(), 260U);
    EXPECT_NE(request(1016, 3, Bytes(271)).result, 0);
    for (int i = 0; i < 200; ++i) {
        write(std::to_string(i), 2);
    }
    EXPECT_EQ(delivered.size(), 100U);
    EXPECT_EQ(delivered.back().text, "199");
}

} // namespace
