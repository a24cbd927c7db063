// The platform manager's tables.

#include "switch_test.h"

namespace {

using PlatformManager = SwitchTest;

TEST_F(PlatformManager, SendsRecordsByteForByte)
{
    sim::chassis_in_place()->set_reading(21717, 12.6);
    const std::string time = "16=1000000000 20=250000 24=1000000000 28=250000 32='in service' ";
    const std::tuple<uint32_t, uint32_t, uint32_t, std::string> cases[] = {
        {1026, 1002, 0,
         "0=1002 4='Card' 260=1 264=3 268=6 272=1 276=4 280=1 284=" +
             std::to_string(ENTERPRISE_MAIN) +
             " 288=12 292=3 296=1 300=9 304=7 772=12 776=102 780=9 784=1 788='Module 2' "
             "1808='S1-1002' 1841='Maker' 2096='M-1' 2351='uplink' 2420='\1' 2428=2 2432='S2' "
             "2485='P1' 2509='C1' 2524='Slot 2'"}, // in host order at 2420, alone of all words
        {1027, 1, 0, "0=1 4=1 8='3 power supplies of 4 bays, 1500 W' 264=1500 268=720"},
        {1028, 3002, 0, "0=3002 4=1 8=2 12=20"},
        {1029, 1002, 0, time + "0=1002 4=1 8=2 12=1 298='\2' 304=2 308=300"},
        {1029, 1001, 0, time + "0=1001 4=1 8=2 12=1 298='\1' 304=1 308=200"},
        {1031, 21973, 0, "0=21973 4=4 8=8 12=1 16=119000 20=1 24=1000000000 28=250000 32=1"},
        {1032, 21717, 1, "0=21717 4=1 8=30 12=1 16=114000 20=2 24=1"},
        {1032, 21717, 2, "0=21717 4=2 8=10 12=4 16=126000 20=1 24=1"},
        {1046, 3002, 0, "0=3002 4=2"},
        {3242, 1005, 2, "0=1005 4=2 8=3"},
        {3270, 2003, 0, "0=2003 4=2"}};
    for (const auto& [opcode, index, second, expected] : cases) {
        EXPECT_EQ(row(opcode, index, second), record(tables.at(opcode), expected)) << opcode;
    }
}

TEST_F(PlatformManager, DescribesEntitiesAsTheirFileTypesAndDefaultsSay)
{
    const std::pair<uint32_t, const char*> cases[] = {
        {1, "Box, Chassis, Maker, S1, 4294967295"},
        {103, "Slot 3, Slot, Maker, , 3"},
        {302, "Fan tray bay 2, Fan tray bay, Maker, , 12"},
        {3002, "Fan tray 2, Fan tray, Other, S1-3002, 1"},
        {4034, "Fan 2/2, Fan, Maker, , 2"},
        {21589, "Box inlet, Inlet temperature, Maker, , 1"},
        {5608, "Ethernet6/8, Ethernet port, Maker, , 8"}};
    for (const auto& [index, expected] : cases) {
        const Bytes entity = row(1026, index);
        EXPECT_EQ(text_at(entity, 788) + ", " + text_at(entity, 4) + ", " + text_at(entity, 1841) +
                      ", " + text_at(entity, 1808) + ", " + std::to_string(wire_word(entity, 784)),
                  expected);
    }
}

TEST_F(PlatformManager, HasEachRowInItsPlace)
{
    const std::pair<uint32_t, std::string> walks[] = {
        {1027, "1"},
        {1028, "1001 1002 1005 1006 3002"},
        {1029, "1001 1002 1005 1006"},
        {1031, "21589 21717 21973"},
        {1032, "21717.1 21717.2 21973.1 21973.2"},
        {1046, "3002"},
        {3242, "1.1 1001.1 1001.2 1002.1 1005.1 1005.2 1006.1 2001.1 2002.1 2003.1 3002.1"},
        {3270, "2001 2002 2003"}};
    for (const auto& [opcode, expected] : walks) {
        std::string walked;
        Answer answer = ask(opcode, 2, 0);
        for (; answer.result == 0; answer = request(opcode, 2, answer.block)) {
            EXPECT_EQ(request(opcode, 1, answer.block).block, answer.block) << walked;
            walked += (walked.empty() ? "" : " ") + std::to_string(wire_word(answer.block, 0));
            if (opcode == 1032 || opcode == 3242) {
                walked += "." + std::to_string(wire_word(answer.block, 4));
            }
        }
        EXPECT_EQ(walked, expected);
        EXPECT_EQ(answer.result, 1) << opcode;
        for (const uint32_t stranger : {0U, 2U, 1003U, 4017U, 25813U, UINT32_MAX}) {
            EXPECT_EQ(ask(opcode, 1, stranger, 1).result, 1) << opcode << " " << stranger;
        }
    }
    sim::chassis_in_place()->add({.index = 300000, .name = "Above the transceivers' sensors"});
    // Opcode, operation, index, second index, and what is found or 0.
    const std::tuple<uint32_t, int32_t, uint32_t, uint32_t, uint32_t> cases[] = {
        {1026, 2, 25813, 0, 300000},
        {1026, 2, 0, 0, 1},
        {1026, 2, 5608, 0, 21589},
        {1026, 2, 300000, 0, 0},
        {1032, 1, 21717, 0, 0},
        {1032, 1, 21717, 3, 0},
        {1032, 2, 21589, UINT32_MAX, 21717},
        {1032, 2, 21717, UINT32_MAX, 21973},
        {3242, 1, 1001, 0, 0},
        {3242, 1, 1002, 2, 0},
        {3242, 1, 1, 2, 0}};
    for (const auto& [opcode, operation, index, second, found] : cases) {
        const Answer answer = ask(opcode, operation, index, second);
        EXPECT_EQ(answer.result == 0 ? wire_word(answer.block, 0) : 0, found) << index << second;
    }
    // The transceivers' sensors lie between, as long as there are any.
    EXPECT_EQ(ask(1026, 2, 21973).block, record(2780, "0=25813"));
    outcome("pull 1002");
    outcome("pull 1006");
    EXPECT_EQ(row(1026, 300000), ask(1026, 2, 21589).block);
}

TEST_F(PlatformManager, RefusesWhatItDoesNotUnderstand)
{
    for (const auto& [opcode, size] : tables) {
        for (const int32_t operation : {1, 2, 3}) {
            EXPECT_EQ(request(opcode, operation, Bytes(size - 1)).result, 19) << opcode;
        }
        EXPECT_EQ(request(opcode, 0, Bytes(size)).result, 18) << opcode;
    }
    for (const auto& [opcode, size] :
         {std::pair{1016U, 272U}, {1030U, 4U}, {1040U, 4U}, {1042U, 32U}}) {
        EXPECT_EQ(request(opcode, 1, {}).block.size(), size) << opcode;
        EXPECT_EQ(request(opcode, 2, Bytes(size)).result, 18) << opcode;
        EXPECT_EQ(request(opcode, 3, Bytes(size - 1)).result, 19) << opcode;
    }
    EXPECT_EQ(request(1039, 3, Bytes(8)).result, 18);
    EXPECT_EQ(request(0, 1, Bytes(2780)).result, 17);
    EXPECT_EQ(request(UINT32_MAX, 1, {}).result, 17);
}

TEST_F(PlatformManager, KeepsWhatIsWrittenAndTellsSoOnce)
{
    const std::tuple<uint32_t, size_t, std::string, int32_t, std::string, std::string> cases[] = {
        // index, offset, text, result, what is kept, events
        {1002, 2351, "front", 0, "front", "1033"},
        {1002, 2351, "front", 0, "front", ""},
        {1, 2384, std::string(32, 'a'), 0, std::string(32, 'a'), "1033"},
        {5201, 2432, "S9", 0, "S9", "1033"},
        {101, 2351, std::string(33, 'x'), 0, std::string(32, 'x'), "1033"}, // no terminator
        {1002, 4, "Something else", 0, "Card", ""},                         // read-only
        {21717, 2351, "x", 2, "", ""}};                                     // a sensor
    for (const auto& [index, offset, text, result, kept, expected] : cases) {
        Bytes written = row(1026, index);
        std::memset(&written[offset], 0, 33);
        std::ranges::copy(text, &written[offset]);
        now += std::chrono::seconds(1);
        const Bytes time_before = request(1039, 1, {}).block;
        EXPECT_EQ(request(1026, 3, written).result, result) << text;
        EXPECT_EQ(text_at(row(1026, index), offset), kept);
        EXPECT_EQ(events(), expected) << text;
        EXPECT_EQ(request(1039, 1, {}).block == time_before, expected.empty()) << text;
    }
    sim::place_chassis(sim::load_chassis(box));
    EXPECT_EQ(events(), "1033") << "a chassis takes the place of another";
}

} // namespace
