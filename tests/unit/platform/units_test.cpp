// What is written to the switch, what is done to it and what time does, with the events that
// report it.

#include "model/led.h"
#include "model/terminals.h"
#include "switch_test.h"

namespace {

using namespace std::chrono_literals;
using Units = SwitchTest;

TEST_F(Units, StayAsTheyAreWhenAChangeIsRefused)
{
    const auto everything = [] { return sim::answer_request(R"({"verb": "export"})"); };
    outcome(R"(insert 104, "unknown": true)");
    const std::string before = everything();
    const std::pair<const char*, std::vector<const char*>> writes[] = {
        {"1",
         {"1029 1003 4 2", "1029 3002 4 2", "1028 2001 4 2", "1027 2 4 1", "1032 21717 24 1 3",
          "1026 1003 4 1", "1026 25814 4 1"}},
        {"2",
         {"1029 1001 4 2", "1029 1001 4 3", "1029 1001 4 4", "1028 1001 4 2", "1028 1001 4 3",
          "1027 1 4 3", "1046 3002 4 2", "3270 2001 4 2", "3242 1 8 1 1", "1031 21717 4 1"}},
        {"20",
         {"1029 1002 4 0", "1029 1002 4 5", "1028 1002 4 0", "1028 1002 4 5", "1027 1 4 0",
          "1027 1 4 4", "1032 21717 24 3 1"}}};
    for (const auto& [result, all] : writes) {
        for (const std::string one : all) {
            EXPECT_EQ(outcome("write " + one), result) << one;
        }
    }
    follow(R"(
pull 101 -> Module 1 is the active supervisor
pull 103 -> Slot 3 is empty
pull 4033 -> Fan 2/1 is not replaceable
pull 2003 -> Power supply 3 is not replaceable
insert 102, "type": "other" -> Slot 2 is not empty
insert 1002 -> Module 2 is no slot or bay; insert takes the slot or bay
insert 103 -> nothing was pulled from Slot 3; choose a type of unit with --type
insert 103, "type": 7 -> argument 'type' is missing or wrong
insert 104, "type": "other" -> Slot 4 is not empty
repair 1004 -> Unknown unit in Slot 4 is no module, power supply, fan tray or fan
set 2001, "field": "output", "value": -1 -> 'output' takes 0 to 100000 W
set 2001, "field": "output", "value": 9e300 -> 'output' takes 0 to 100000 W
set 2001, "field": "output", "value": "1e" -> 'output' takes 0 to 100000 W
set 2001, "field": "output", "value": 0.5 -> 'output' takes 0 to 100000 W
set 21717, "field": "reading", "value": 1.1e5 -> 'reading' takes -100000 to 100000 V or auto
set 21717, "field": "reading", "value": "none" -> 'reading' takes -100000 to 100000 V or auto
set 1002, "field": "reading", "value": 1 -> Module 2 has no 'reading'; it has description, alias, asset-id, second-serial or status-led
set "modul 2", "field": "alias", "value": "x" -> there is no entity named 'modul 2'; did you mean 'Module 2'?
set 4294967297, "field": "alias", "value": "new" -> there is no entity 4294967297
set 1, "field": "alias", "value": "\u0000" -> 'alias' takes at most 32 bytes, none of them NUL
)");
    EXPECT_EQ(outcome(R"(insert 103, "type": "none")"),
              box + ": there is no [types.none]; there is card or other");
    EXPECT_EQ(outcome(R"(insert 103, "type": "supply")"),
              box + ":20: [types.supply] does not fit: the place takes a module");
    for (const auto& [opcode, value] : {std::pair{1030U, 12501U}, {1040U, 0U}, {1040U, 3U}}) {
        EXPECT_EQ(request(opcode, 3, record(4, "0=" + std::to_string(value))).result, 20) << opcode;
    }
    EXPECT_EQ(request(1030, 1, {}).block, (Bytes{0, 0, 0x30, 0xd4}));
    EXPECT_EQ(everything(), before);
    EXPECT_EQ(events(), "");
}

TEST_F(Units, DoWhatIsWritten)
{
    follow(R"(
write 1029 1002 4 2 -> 1035 1002 3, 1034 1002 3 | 1002=3/2/1
write 1029 1002 4 2 -> | 1002=3/2/1
write 1028 1002 4 1 -> | 1002=3/2/1
write 1029 1002 4 1 -> 1035 1002 2, 1034 1002 5, 1034 1002 2 | 1002=2/1/1
write 1029 1002 4 4 -> | 1002=2/4/1
write 1028 1002 4 2 -> 1035 1002 3, 1034 1002 3 | 1002=3/4/2
write 1029 1002 4 1 -> | 1002=3/1/2 5201=3
write 1028 1002 4 3 -> 1035 1002 2, 1034 1002 5, 1034 1002 2 | 1002=2/1/1 5201=2
write 1028 1001 4 4 -> | 1001=2/1/4
write 1028 3002 4 2 -> 1035 3002 3, 1047 3002 3 | 3002=3
word 1028 3002 12 -> 0
write 1028 3002 4 3 -> 1035 3002 2, 1047 3002 2 | 3002=2
write 1028 3002 4 3 -> 1035 3002 3, 1047 3002 3, 1035 3002 2, 1047 3002 2
write 1027 1 4 3 -> 2
set 2003, "field": "output", "value": 319 -> 1121 2003 319
write 1027 1 4 2 -> 2
set 2003, "field": "output", "value": 320 -> 1121 2003 320
write 1027 1 4 2 ->
word 1027 1 264 -> 720
set "Slot 2", "field": "alias", "value": "new" -> 1033
)");
    for (const auto& [status, text] :
         {std::pair(4U, "standby"), {2U, "switched off by the administrator"}}) {
        outcome("write 1029 1002 4 " + std::to_string(status));
        EXPECT_EQ(text_at(row(1029, 1002), 32), text);
    }
}

TEST_F(Units, GoThroughARestartByTheClock)
{
    now += 10s;
    Bytes written = row(1029, 1002);
    put_wire_word(written, 4, 3);
    EXPECT_EQ(request(1029, 3, written).result, 0);
    EXPECT_EQ(events(), "1035 1002 3, 1034 1002 3, 1035 1002 2, 1034 1002 5");
    // Each event says what was so when it happened.
    EXPECT_EQ(payloads[0], record(16, "0=1002 4=1 8=3"));
    EXPECT_EQ(text_at(payloads[1], 32), "without power");
    EXPECT_EQ(payloads[2], record(16, "0=1002 4=1 8=2 12=300"));
    const std::string module = "0=1002 4=1 12=2 20=250000 28=250000 298='\2' 304=2 308=300 ";
    EXPECT_EQ(payloads[3], record(316, module + "8=5 16=1000000010 24=1000000000 32='starting'"));
    EXPECT_EQ(shown(5201), "5");
    now += 999ms;
    EXPECT_EQ(events(2s), "");
    now += 1ms;
    EXPECT_EQ(events(), "1034 1002 2");
    EXPECT_EQ(row(1029, 1002),
              record(316, module + "8=2 16=1000000013 24=1000000013 32='in service'"));
}

TEST_F(Units, FailAndAreRepaired)
{
    // The power of one with status 4 stays off after a failure; a restart repairs nothing.
    follow(R"(
fail "Power supply 1" -> 1121 2001 0 | 2001=4
fail 2001 -> | 2001=4
set 2001, "field": "output", "value": 600 -> | 2001=4
repair 2001 -> 1121 2001 600 | 2001=2
set 2001, "field": "output", "value": 600 -> | 2001=2
fail 4033 -> 1047 3002 4 | 3002=4 4033=4 4034=2
fail 4034 -> | 3002=4 4034=4
repair 4033 -> | 3002=4 4033=2 4034=4
repair 3002 -> 1047 3002 2 | 3002=2 4034=2
fail 3002 -> 1035 3002 4, 1047 3002 4 | 3002=4 4033=3
repair 3002 -> 1035 3002 2, 1047 3002 2 | 3002=2 4033=2
fail 1002 -> 1035 1002 4, 1034 1002 4 | 1002=4/1/1 5201=3
repair 1002 -> 1035 1002 2, 1034 1002 5, 1034 1002 2 | 1002=2/1/1 5201=2
write 1028 1002 4 4 ->
fail 1002 -> 1035 1002 4, 1034 1002 4 | 1002=4/1/2
write 1029 1002 4 3 -> | 1002=4/1/2
repair 1002 -> 1035 1002 3, 1034 1002 3 | 1002=3/1/2
write 1028 1002 4 1 -> 1035 1002 2, 1034 1002 5, 1034 1002 2 | 1002=2/1/1
set 2001, "field": "output", "value": 65536 -> 1121 2001 65536
)");
    EXPECT_EQ(payloads[0], record(520, "0=2001 4='Power supply 1' 259='PS-1' 516=65536"));
}

TEST_F(Units, ArePulledAndInserted)
{
    follow(R"(
pull 1002 -> 1035 1002 3, 1034 1002 3, 1037 1002 3, 1033 | 1002= 5201= 102=2
insert 102, "unknown": true -> 3224 1002 4, 1033 | 1002=4
pull "Slot 2" -> 1037 1002 4, 1033 | 1002=
insert "Slot 2" -> 1036 1002 3, 1033, 1035 1002 2, 1034 1002 5, 1034 1002 2 | 1002=2/1/1 5201=2
word 1029 1002 12 -> 2
pull "Power supply bay 2" -> 1121 2002 0, 1037 2002 3, 1033 | 2002=
insert 202 -> 1036 2002 3, 1033, 1121 2002 400 | 2002=2
fail 4034 -> 1047 3002 4 | 3002=4
pull 3002 -> 1035 3002 3, 1047 3002 3, 1037 3002 3, 1033 | 3002= 4034=
insert 302 -> 1036 3002 3, 1033, 1035 3002 2, 1047 3002 4 | 3002=4 4033=2 4034=4
pull 1002 -> 1035 1002 3, 1034 1002 3, 1037 1002 3, 1033
)");
    EXPECT_EQ(wire_word(payloads[2], 776), 102U);
    EXPECT_EQ(text_at(payloads[2], 2351) + " of " + text_at(payloads[2], 2524), "uplink of Slot 2");
    follow(R"(
insert 102, "type": "other" -> 1036 1002 3, 1033, 1035 1002 2, 1034 1002 5, 1034 1002 2 | 5201=
word 1029 1002 12 -> 1
word 1029 1002 308 -> 50
)");
    EXPECT_EQ(text_at(row(1026, 1002), 4) + text_at(row(1026, 1002), 2351), "Other card");
}

TEST_F(Units, HaveASupervisorInCharge)
{
    // All in host order: state, active and standby slot, status of both, action, switchovers,
    // reason.
    const auto redundancy = [] {
        const Bytes bytes = request(1042, 1, {}).block;
        std::string words;
        for (size_t offset = 0; offset < bytes.size(); offset += 4) {
            words += std::to_string(static_cast<int32_t>(host_word(bytes, offset))) + " ";
        }
        return words;
    };
    const auto act = [](uint8_t action) {
        Bytes bytes = request(1042, 1, {}).block;
        bytes[20] = action;
        return request(1042, 3, bytes).result;
    };
    EXPECT_EQ(redundancy(), "2 1 5 2 2 0 0 -1 ");
    const std::tuple<uint8_t, std::string, std::string> actions[] = {
        {0, "2 1 5 2 2 0 0 -1 ", ""},
        {1, "2 5 1 2 2 1 1 0 ", "1043"},
        {2, "2 5 1 2 2 2 1 0 ", "1035 1001 3, 1034 1001 3, 1035 1001 2, 1034 1001 5, 1034 1001 2"},
        {3, "2 1 5 2 2 3 2 0 ",
         "1043, 1035 1005 3, 1034 1005 3, 1035 1005 2, 1034 1005 5, 1034 1005 2"}};
    for (const auto& [action, expected, told_of] : actions) {
        EXPECT_EQ(act(action), 0);
        EXPECT_EQ(events(3s), told_of) << action;
        EXPECT_EQ(redundancy(), expected) << action;
    }
    EXPECT_EQ(act(4), 20);
    follow("fail 1001 -> 1035 1001 4, 1034 1001 4, 1043\n"
           "pull 1005 -> Module 5 is the active supervisor\n");
    EXPECT_EQ(redundancy(), "1 5 0 2 1 3 3 1 ");
    EXPECT_EQ(std::pair(hactl_swover_reason_get(), hactl_supstate_get()), std::pair(1, 1));
    EXPECT_EQ(act(1), 2) << "nobody is on standby";
    EXPECT_EQ(act(2), 2);
    follow("fail 1005 -> 1035 1005 4, 1034 1005 4\n");
    EXPECT_EQ(redundancy(), "1 0 0 1 1 3 3 1 ") << "nobody is left to take over";
    follow("repair 1005 -> 1035 1005 2, 1034 1005 5, 1034 1005 2\n"
           "repair 1001 -> 1035 1001 2, 1034 1001 5, 1034 1001 2\n");
    EXPECT_EQ(redundancy(), "2 5 1 2 2 3 3 1 ") << "the role does not come back";
    follow("fail 1001 -> 1035 1001 4, 1034 1001 4\n"
           "fail 1005 -> 1035 1005 4, 1034 1005 4\n"
           "pull 1005 -> 1035 1005 3, 1034 1005 3, 1037 1005 3, 1033\n"
           "insert 105, \"type\": \"other\" -> 1036 1005 3, 1033, 1035 1005 2, 1034 1005 5, "
           "1034 1005 2 | 1005=2/1/1\n");
    EXPECT_EQ(redundancy(), "1 0 0 1 1 3 3 1 ") << "a line card takes no role over";
    follow("repair 1001 -> 1035 1001 2, 1034 1001 5, 1034 1001 2, 1043\n"
           "pull 1005 -> 1035 1005 3, 1034 1005 3, 1037 1005 3, 1033\n");
    EXPECT_EQ(redundancy(), "1 1 0 2 1 3 4 1 ");
    sim::chassis_in_place()->set_supervisor_state(7);
    EXPECT_EQ(hactl_supstate_get(), 7);
}

TEST_F(Units, HaveLedsThatShowHowTheyAre)
{
    const auto leds = [] {
        std::string values;
        for (Answer led = ask(3242, 2, 0); led.result == 0; led = request(3242, 2, led.block)) {
            values += std::to_string(wire_word(led.block, 8));
        }
        return values;
    };
    EXPECT_EQ(leds(), "22222322222");
    outcome("fail 1002");
    sim::chassis_in_place()->switch_over(0);
    set_led(*sim::chassis_in_place(), 2001, 1, 5);
    EXPECT_EQ(leds(), "42342225222");
    outcome("write 1029 1006 4 2");
    sim::chassis_in_place()->set_failed(1002, false);
    EXPECT_EQ(leds(), "32352215222");
}

TEST_F(Units, MeasureWhileTheyAreInService)
{
    follow("set 21717, \"field\": \"reading\", \"value\": 13 -> 1038 21717 2\n");
    EXPECT_EQ(payloads[0], record(16, "0=21717 4=130000 8=126000 12=2"));
    // While the module is off, the value is the last measured. What is beyond a threshold already,
    // or from the start, has not crossed it.
    follow(R"(
set 21717, "field": "reading", "value": 14 ->
set 21717, "field": "reading", "value": 11 -> 1038 21717 1
set 21717, "field": "reading", "value": "auto" ->
write 1032 21717 24 2 2 ->
word 1032 21717 24 2 -> 2
set 21717, "field": "reading", "value": 13 ->
write 1032 21717 24 1 2 ->
set 21717, "field": "reading", "value": "auto" ->
write 1029 1002 4 2 -> 1035 1002 3, 1034 1002 3
set 21717, "field": "reading", "value": 13 ->
word 1031 21717 16 -> 119000
word 1031 21717 20 -> 2
word 1031 21589 20 -> 1
fail 1002 -> 1035 1002 4, 1034 1002 4
word 1031 21717 20 -> 3
pull 1002 -> 1035 1002 3, 1034 1002 3, 1037 1002 3, 1033
insert 102 -> 1036 1002 3, 1033, 1035 1002 4, 1034 1002 4
repair 1002 -> 1035 1002 3, 1034 1002 3
write 1029 1002 4 1 -> 1035 1002 2, 1034 1002 5, 1034 1002 2
word 1031 21717 16 -> 130000
word 1032 21717 20 2 -> 1
)");
}

TEST_F(Units, MeasureWhatMovesSlowlyBetweenItsBounds)
{
    for (const auto& [time, expected] :
         {std::pair(30s, "40"), {30s, "43"}, {45s, "45"}, {155s, "35"}}) {
        events(time);
        EXPECT_EQ(outcome("word 1031 21589 16"), expected);
    }
}

TEST_F(Units, LetAMessageReachTheTerminalsOnce)
{
    const auto write_message = [](const std::string& text, const std::string& trigger) {
        // All numbers are in host order.
        const std::string message = "0='\5' 4='\36' 8='" + text + "' 268='" + trigger + "'";
        return request(1016, 3, record(272, message)).result;
    };
    sim::terminals() = {};
    const auto& delivered = sim::terminals().delivered();
    EXPECT_EQ(write_message("in the making", "\1"), 0);
    EXPECT_TRUE(delivered.empty());
    EXPECT_EQ(write_message(std::string(260, 'x'), "\2"), 0); // no terminator
    // What is kept has the trigger fallen back: writing it again sends nothing.
    EXPECT_EQ(request(1016, 3, request(1016, 1, {}).block).result, 0);
    ASSERT_EQ(delivered.size(), 1U);
    EXPECT_EQ(delivered[0].text, std::string(260, 'x'));
    EXPECT_EQ(std::pair(delivered[0].interval, delivered[0].duration), std::pair(5, 30));
    for (int i = 100; i < 300; ++i) {
        write_message(std::to_string(i), "\2");
    }
    EXPECT_EQ(delivered.size(), 100U);
    EXPECT_EQ(delivered.front().text + delivered.back().text, "200299");
}

} // namespace
