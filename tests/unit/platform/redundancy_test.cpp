// Supervisors, LEDs and terminals, as the platform manager tells and takes them.

#include "led.h"
#include "switch_test.h"
#include "terminals.h"

#include <tuple>

namespace {

const char* const two_supervisors = R"(
module = [{ slot = [2, 3], role = "supervisor" }, { slot = 1 }]
power-supply = [{ bay = 1 }]
chassis = { slots = 3, power-supply-bays = 1, start-seconds = 0 }
)";

using Roles = std::vector<uint32_t>;
using Leds = std::vector<std::tuple<uint32_t, uint32_t, uint32_t>>; // entity, LED, value

class RedundancyTest : public SwitchTest {
protected:
    RedundancyTest() : SwitchTest(two_supervisors) {}

    static uint32_t word(const Bytes& bytes, size_t offset)
    {
        uint32_t value = 0;
        std::memcpy(&value, &bytes.at(offset + 3) - 3, sizeof value);
        return value;
    }

    /// Slots of the active and the standby supervisor, status of both, state, switchovers.
    static Roles roles()
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

    static Answer led(int32_t operation, uint32_t entity, uint32_t number)
    {
        Bytes key(12);
        put_word(key, 0, entity);
        put_word(key, 4, number);
        return request(3242, operation, key);
    }

    static Leds leds()
    {
        Leds all;
        Answer answer = led(2, 0, 0);
        for (; answer.block && all.size() < 100; answer = request(3242, 2, *answer.block)) {
            const Bytes& row = *answer.block;
            all.emplace_back(wire_word(row, 0), wire_word(row, 4), wire_word(row, 8));
            EXPECT_EQ(request(3242, 1, row).block, row);
        }
        EXPECT_EQ(answer.result, 1);
        return all;
    }
};

TEST_F(RedundancyTest, SwapsTheRolesWhenAskedAndTellsSoOnce)
{
    EXPECT_EQ(roles(), (Roles{2, 3, 2, 2, 2, 0}));
    EXPECT_EQ(hactl_swover_reason_get(), -1);
    const auto restart = [](const std::string& unit) {
        return "1035 " + unit + " 3, 1034 " + unit + " 3, 1035 " + unit + " 2, 1034 " + unit +
               " 5, 1034 " + unit + " 2";
    };
    const std::tuple<uint32_t, Roles, std::string> actions[] = {
        {0, {2, 3, 2, 2, 2, 0}, ""},
        {1, {3, 2, 2, 2, 2, 1}, "1043"},
        {2, {3, 2, 2, 2, 2, 1}, restart("1002")},
        {3, {2, 3, 2, 2, 2, 2}, "1043, " + restart("1003")}};
    for (const auto& [action, expected, told_of] : actions) {
        EXPECT_EQ(act(action), 0);
        EXPECT_EQ(roles(), expected) << action;
        EXPECT_EQ(events(), told_of) << action;
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
    EXPECT_EQ(events(), "1035 1002 4, 1034 1002 4, 1043");
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
    EXPECT_EQ(events().find("1043"), std::string::npos);

    chassis.set_supervisor_state(7);
    EXPECT_EQ(hactl_supstate_get(), 7);
    chassis.set_supervisor_state({});
    EXPECT_EQ(hactl_supstate_get(), 2);
}

TEST_F(RedundancyTest, ShowsEveryLedOnce)
{
    // clang-format off
    EXPECT_EQ(leds(), (Leds{{1, 1, 2}, {1001, 1, 2}, {1002, 1, 2}, {1002, 2, 2}, {1003, 1, 2},
                            {1003, 2, 3}, {2001, 1, 2}}));
    sim::Chassis& chassis = *sim::chassis_in_place();
    chassis.switch_over(0);
    chassis.set_failed(1001, true);
    chassis.set_led(2001, 1, 5);
    EXPECT_EQ(leds(), (Leds{{1, 1, 4}, {1001, 1, 4}, {1002, 1, 2}, {1002, 2, 3}, {1003, 1, 2},
                            {1003, 2, 2}, {2001, 1, 5}}));
    // clang-format on
    for (const auto& [entity, number] : {std::pair{1001U, 0U}, {1001U, 2U}, {1U, 2U}, {5U, 1U}}) {
        EXPECT_EQ(led(1, entity, number).result, 1) << entity << " " << number;
    }
    EXPECT_NE(led(3, 1, 1).result, 0);
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
    EXPECT_EQ(write(std::string(260, 'x'), 2), 0); // no terminator
    ASSERT_EQ(delivered.size(), 1U);
    EXPECT_EQ(delivered[0].text, std::string(260, 'x'));
    EXPECT_EQ(std::pair(delivered[0].interval, delivered[0].duration), std::pair(5, 30));

    // What is kept has the trigger fallen back: writing it again sends nothing.
    EXPECT_EQ(request(1016, 3, request(1016, 1, {}).block.value()).result, 0);
    EXPECT_EQ(delivered.size(), 1U);
    EXPECT_NE(request(1016, 3, Bytes(271)).result, 0);
    for (int i = 0; i < 200; ++i) {
        write(std::to_string(i), 2);
    }
    EXPECT_EQ(delivered.size(), 100U);
    EXPECT_EQ(delivered.back().text, "199");
}

} // namespace
