// Modules, power supplies and fan trays: their tables, what is written to them, and what happens
// to them with the events that tell of it.

#include "switch_test.h"
#include "verbs.h"

#include <algorithm>
#include <chrono>
#include <tuple>

namespace {

using namespace std::chrono_literals;

const char* const four_slots = R"(
module = [{ slot = 1, type = "supervisor" }, { slot = 2, type = "card", alias = "uplink" }]
power-supply = [{ bay = [1, 2], type = "supply" },
                { bay = 3, type = "supply", output = 700, replaceable = false }]
fan-tray = [{ bay = 1, power = 20, fans = 2 }]
[chassis]
slots = 4
power-supply-bays = 4
fan-tray-bays = 1
start-seconds = 3
[types]
supervisor = { role = "supervisor", power = 200 }
card = { power = 300, ports = 1 }
other = { description = "Other card", power = 50 }
supply = { model = "PS-1", output = 400 }
)";

/// A record by what is not 0 in it.
Bytes record(size_t size, const std::vector<std::pair<size_t, uint32_t>>& words,
             const std::vector<std::pair<size_t, std::string>>& texts = {})
{
    Bytes bytes(size);
    for (const auto& [offset, value] : words) {
        put_word(bytes, offset, value);
    }
    for (const auto& [offset, text] : texts) {
        std::ranges::copy(text, bytes.begin() + static_cast<ptrdiff_t>(offset));
    }
    return bytes;
}

constexpr std::pair<uint32_t, size_t> record_sizes[] = {{1026, 2780}, {1027, 284}, {1028, 16},
                                                        {1029, 316},  {1046, 8},   {3270, 8}};

Answer ask(uint32_t opcode, int32_t operation, uint32_t index)
{
    const auto* size = std::ranges::find(record_sizes, opcode, &std::pair<uint32_t, size_t>::first);
    return request(opcode, operation, record(size->second, {{0, index}}));
}

/// The word at an offset of a row, 0 when there is no such row.
uint32_t word_of(uint32_t opcode, uint32_t index, size_t offset)
{
    const Answer answer = ask(opcode, 1, index);
    return answer.block ? wire_word(*answer.block, offset) : 0;
}

/// Writes back a row as it was read, but for the word at offset 4.
int32_t write(uint32_t opcode, uint32_t index, uint32_t value)
{
    Bytes bytes = ask(opcode, 1, index).block.value_or(record(316, {{0, index}}));
    put_word(bytes, 4, value);
    return request(opcode, 3, bytes).result;
}

std::vector<Bytes> rows(uint32_t opcode)
{
    std::vector<Bytes> all;
    Answer row = ask(opcode, 2, 0);
    while (row.block && all.size() < 100) {
        all.push_back(*row.block);
        row = request(opcode, 2, all.back());
    }
    EXPECT_EQ(row.result, 1) << opcode;
    return all;
}

/// All rows of all tables, and the scalars.
std::vector<Bytes> everything()
{
    std::vector<Bytes> all = {*request(1030, 1, {}).block, *request(1040, 1, {}).block};
    for (const auto& [opcode, size] : record_sizes) {
        std::ranges::move(rows(opcode), std::back_inserter(all));
    }
    return all;
}

/// The status of an entity, after a look at whether all tables tell the same; 0 without a row.
uint32_t status_of(uint32_t index)
{
    const uint32_t status = word_of(1026, index, 2428);
    for (const auto& [opcode, offset] : {std::pair{1029U, 8U}, {1046U, 4U}, {3270U, 4U}}) {
        const uint32_t shown = word_of(opcode, index, offset);
        EXPECT_TRUE(shown == 0 || shown == status) << opcode << " " << index;
    }
    return status;
}

/// What chmctl asks for, with an entity by its name or its index and maybe more arguments.
std::string order(const std::string& verb, const std::string& arguments)
{
    return sim::answer_request(R"({"verb": ")" + verb + R"(", "entity": )" + arguments + "}");
}

struct Step {
    const char* verb;
    const char* arguments;
    std::string events;                                  ///< within 3 seconds
    std::vector<std::pair<uint32_t, uint32_t>> statuses; ///< by entity, 0 for one that is gone
};

class Units : public SwitchTest {
protected:
    Units() : SwitchTest(four_slots) {}

    void follow(const std::vector<Step>& steps)
    {
        for (const auto& [verb, arguments, expected, statuses] : steps) {
            const std::string answer = order(verb, arguments);
            EXPECT_NE(answer.find("\"ok\":true"), std::string::npos) << answer;
            EXPECT_EQ(events(3s), expected) << verb << " " << arguments;
            for (const auto& [index, status] : statuses) {
                EXPECT_EQ(status_of(index), status) << verb << " " << arguments << " " << index;
            }
        }
    }
};

TEST_F(Units, SendTheirRecordsByteForByteAndInTheirOrder)
{
    // clang-format off
    const std::tuple<uint32_t, std::vector<uint32_t>, Bytes> tables[] = { // the last row's bytes
        {1027, {1}, record(284, {{0, 1}, {4, 1}, {264, 1500}, {268, 520}},
                           {{8, "3 power supplies of 4 bays, 1500 W"}})},
        {1028, {1001, 1002, 3001}, record(16, {{0, 3001}, {4, 1}, {8, 2}, {12, 20}})},
        {1029, {1001, 1002},
         record(316, {{0, 1002}, {4, 1}, {8, 2}, {12, 1}, {16, 1000000000}, {20, 250000},
                      {24, 1000000000}, {28, 250000}, {304, 2}, {308, 300}},
                {{32, "in service"}, {298, "\2"}})},
        {1046, {3001}, record(8, {{0, 3001}, {4, 2}})},
        {3270, {2001, 2002, 2003}, record(8, {{0, 2003}, {4, 2}})},
    };
    // clang-format on
    for (const auto& [opcode, indexes, last] : tables) {
        std::vector<uint32_t> walked;
        for (const Bytes& row : rows(opcode)) {
            walked.push_back(wire_word(row, 0));
            EXPECT_EQ(ask(opcode, 1, walked.back()).block, row) << opcode;
        }
        EXPECT_EQ(walked, indexes) << opcode;
        EXPECT_EQ(rows(opcode).back(), last) << opcode;
        for (const uint32_t stranger : {0U, 2U, 1003U, 4017U, UINT32_MAX}) {
            EXPECT_EQ(ask(opcode, 1, stranger).result, 1) << opcode << " " << stranger;
        }
        EXPECT_EQ(ask(opcode, 2, UINT32_MAX).result, 1) << opcode;
    }
    EXPECT_EQ(ask(1029, 1, 1001).block->at(298), 1) << "a supervisor";
}

TEST_F(Units, StayAsTheyAreWhenAChangeIsRefused)
{
    order("plug-unknown", "104");
    events();
    const std::vector<Bytes> before = everything();
    // clang-format off
    const std::tuple<uint32_t, uint32_t, uint32_t, int32_t> writes[] = { // and what comes of them
        {1029, 1001, 2, 2}, {1029, 1001, 3, 2}, {1029, 1001, 4, 2}, {1028, 1001, 2, 2},
        {1028, 1001, 3, 2}, {1027, 1, 3, 2}, {1046, 3001, 2, 2}, {3270, 2001, 2, 2},
        {1029, 1003, 2, 1}, {1029, 3001, 2, 1}, {1028, 2001, 2, 1}, {1027, 2, 1, 1},
        {1029, 1002, 0, 20}, {1029, 1002, 5, 20}, {1029, 1002, UINT32_MAX, 20},
        {1028, 1002, 0, 20}, {1028, 1002, 5, 20}, {1027, 1, 0, 20}, {1027, 1, 4, 20}};
    const std::tuple<const char*, const char*, const char*> orders[] = {
        {"pull", "101", "Slot 1 cannot be pulled"},
        {"pull", "4017", "Fan 1/1 cannot be pulled"},
        {"pull", "2003", "Power supply 3 cannot be pulled"},
        {"insert", R"(102, "type": "other")", "Slot 2 is not empty"},
        {"insert", "1002", "Module 2 is no slot or bay"},
        {"insert", "103", "nothing was pulled from Slot 3; say which type of unit to insert"},
        {"insert", R"(103, "type": "none")", "there is no [types.none]"},
        {"insert", R"(103, "type": "supply")", ":15: unknown key 'output'"},
        {"insert", R"(103, "type": 7)", "argument 'type' is missing or wrong"},
        {"insert", R"(104, "type": "other")", "Slot 4 is not empty"},
        {"repair", "1004", "Unknown unit in Slot 4 is no module, power supply, fan tray or fan"},
        {"output", R"(2001, "watts": -1)", "'watts' is not within 0 to 100000"},
    };
    // clang-format on
    for (const auto& [opcode, index, value, result] : writes) {
        EXPECT_EQ(write(opcode, index, value), result) << opcode << " " << index << " " << value;
    }
    for (const auto& [verb, arguments, error] : orders) {
        const std::string answer = order(verb, arguments);
        EXPECT_NE(answer.find(std::string(error) + "\",\"ok\":false"), std::string::npos)
            << verb << " " << arguments << ": " << answer;
    }
    for (const auto& [opcode, size] : record_sizes) {
        for (const int32_t operation : {1, 2, 3}) {
            EXPECT_EQ(request(opcode, operation, Bytes(size - 1)).result, 19) << opcode;
        }
        EXPECT_EQ(request(opcode, 0, Bytes(size)).result, 18) << opcode;
    }
    for (const auto& [opcode, value] : {std::pair{1030U, 12501U}, {1040U, 0U}, {1040U, 3U}}) {
        EXPECT_EQ(request(opcode, 3, record(4, {{0, value}})).result, 20) << opcode;
        EXPECT_EQ(request(opcode, 3, Bytes(3)).result, 19) << opcode;
    }
    EXPECT_EQ(request(1030, 1, {}).block, (Bytes{0, 0, 0x30, 0xd4}));
    EXPECT_EQ(everything(), before);
    EXPECT_EQ(events(), "");
}

TEST_F(Units, AreSwitchedByWhatIsWritten)
{
    const std::string off = "1035 1002 3, 1034 1002 3";
    const std::string started = "1035 1002 2, 1034 1002 5, 1034 1002 2";
    const std::string tray_restarted = "1035 3001 3, 1047 3001 3, 1035 3001 2, 1047 3001 2";
    const struct {
        uint32_t opcode, index, value;
        uint32_t reads;  ///< afterwards
        uint32_t status; ///< once 3 seconds are over
        const char* text;
        std::string events;
    } steps[] = {
        {1029, 1002, 2, 2, 3, "switched off by the administrator", off},
        {1029, 1002, 2, 2, 3, "switched off by the administrator", ""},
        {1028, 1002, 1, 1, 3, "switched off by the administrator", ""},
        {1029, 1002, 1, 1, 2, "in service", started},
        {1029, 1002, 4, 4, 2, "standby", ""},
        {1028, 1002, 2, 2, 3, "without power", off},
        {1029, 1002, 1, 1, 3, "without power", ""},
        {1028, 1002, 3, 1, 2, "in service", started},
        {1028, 1001, 4, 4, 2, "in service", ""},
        {1028, 3001, 2, 2, 3, "", "1035 3001 3, 1047 3001 3"},
        {1028, 3001, 3, 1, 2, "", "1035 3001 2, 1047 3001 2"},
        {1028, 3001, 3, 1, 2, "", tray_restarted},
    };
    for (const auto& [opcode, index, value, reads, status, text, expected] : steps) {
        const testing::Message what = testing::Message() << opcode << " " << index << " " << value;
        EXPECT_EQ(write(opcode, index, value), 0) << what;
        EXPECT_EQ(word_of(opcode, index, 4), reads) << what;
        EXPECT_EQ(events(3s), expected) << what;
        EXPECT_EQ(status_of(index), status) << what;
        EXPECT_EQ(word_of(1028, index, 8), status) << what;
        EXPECT_EQ(word_of(1028, index, 12) == 0, status == 3) << what;
        const Bytes module = ask(1029, 1, index).block.value_or(Bytes(316));
        EXPECT_EQ(text_at(module, 32), text) << what;
    }
}

TEST_F(Units, GoThroughARestartByTheClock)
{
    now += 10s;
    EXPECT_EQ(write(1029, 1002, 3), 0);
    EXPECT_EQ(events(), "1035 1002 3, 1034 1002 3, 1035 1002 2, 1034 1002 5");
    // Each event tells what was so when it happened.
    EXPECT_EQ(payloads[0], record(16, {{0, 1002}, {4, 1}, {8, 3}}));
    EXPECT_EQ(text_at(payloads[1], 32), "without power");
    EXPECT_EQ(payloads[2], record(16, {{0, 1002}, {4, 1}, {8, 2}, {12, 300}}));
    EXPECT_EQ(payloads[3], ask(1029, 1, 1002).block);
    EXPECT_EQ(text_at(payloads[3], 32), "starting");
    EXPECT_EQ(wire_word(payloads[3], 12), 2U);
    EXPECT_EQ(wire_word(payloads[3], 16), 1000000010U);
    EXPECT_EQ(wire_word(payloads[3], 24), 1000000000U);
    EXPECT_EQ(status_of(302001), 5U);

    now += 999ms;
    EXPECT_EQ(events(2s), "");
    now += 1ms;
    EXPECT_EQ(events(), "1034 1002 2");
    EXPECT_EQ(word_of(1029, 1002, 12), 2U);
    for (const size_t offset : {16U, 24U}) {
        EXPECT_EQ(word_of(1029, 1002, offset), 1000000013U);
        EXPECT_EQ(word_of(1029, 1002, offset + 4), 250000U);
    }
}

TEST_F(Units, CoverWhatIsDrawnUnderTheRedundancyMode)
{
    EXPECT_EQ(write(1027, 1, 2), 0);
    EXPECT_EQ(word_of(1027, 1, 264), 800U) << "without the largest";
    EXPECT_EQ(write(1027, 1, 3), 2) << "two of three would be spare";
    EXPECT_EQ(write(1027, 1, 1), 0);
    order("output", R"(2003, "watts": 119)");
    EXPECT_EQ(write(1027, 1, 2), 2);
    order("output", R"(2003, "watts": 120)");
    EXPECT_EQ(write(1027, 1, 2), 0);
}

TEST_F(Units, FailAndAreRepaired)
{
    // clang-format off
    follow({
        {"fail", "\"Power supply 1\"", "1121 2001 0", {{2001, 4}}},
        {"fail", "2001", "", {{2001, 4}}},
        {"output", R"(2001, "watts": 600)", "", {{2001, 4}}},
        {"repair", "2001", "1121 2001 600", {{2001, 2}}},
        {"output", R"(2001, "watts": 600)", "", {{2001, 2}}},
        {"fail", "4017", "1047 3001 4", {{3001, 4}, {4017, 4}, {4018, 2}}},
        {"fail", "4018", "", {{3001, 4}, {4018, 4}}},
        {"repair", "4017", "", {{3001, 4}, {4017, 2}, {4018, 4}}},
        {"repair", "3001", "1047 3001 2", {{3001, 2}, {4018, 2}}},
        {"fail", "3001", "1035 3001 4, 1047 3001 4", {{3001, 4}, {4017, 3}}},
        {"repair", "3001", "1035 3001 2, 1047 3001 2", {{3001, 2}, {4017, 2}}},
        {"fail", "1002", "1035 1002 4, 1034 1002 4", {{1002, 4}, {302001, 3}}},
        {"repair", "1002", "1035 1002 2, 1034 1002 5, 1034 1002 2", {{1002, 2}, {302001, 2}}},
    });
    // clang-format on
    order("output", R"(2001, "watts": 65536)");
    EXPECT_EQ(events(), "1121 2001 65536");
    EXPECT_EQ(payloads[0],
              record(520, {{0, 2001}, {516, 65536}}, {{4, "Power supply 1"}, {259, "PS-1"}}));
}

TEST_F(Units, WaitAfterAFailureWhenTheirPowerIsToStayOff)
{
    EXPECT_EQ(write(1028, 1002, 4), 0);
    follow({{"fail", "1002", "1035 1002 4, 1034 1002 4", {{1002, 4}}}});
    EXPECT_EQ(write(1029, 1002, 3), 0);
    EXPECT_EQ(status_of(1002), 4U) << "a restart repairs nothing";
    follow({{"repair", "1002", "1035 1002 3, 1034 1002 3", {{1002, 3}}}});
    EXPECT_EQ(write(1028, 1002, 1), 0);
    EXPECT_EQ(events(3s), "1035 1002 2, 1034 1002 5, 1034 1002 2");
}

TEST_F(Units, ArePulledAndInserted)
{
    const std::string pulled = "1035 1002 3, 1034 1002 3, 1037 1002 3, 1033";
    const std::string inserted = "1036 1002 3, 1033, 1035 1002 2, 1034 1002 5, 1034 1002 2";
    // clang-format off
    follow({
        {"pull", "\"Module 2\"", pulled, {{1002, 0}, {302001, 0}, {102, 2}}},
        {"plug-unknown", "102", "3224 1002 4, 1033", {{1002, 4}}},
        {"pull", "1002", "1037 1002 4, 1033", {{1002, 0}}},
        {"insert", "\"Slot 2\"", inserted, {{1002, 2}, {302001, 2}}},
        {"pull", "2002", "1121 2002 0, 1037 2002 3, 1033", {{2002, 0}}},
        {"insert", "202", "1036 2002 3, 1033, 1121 2002 400", {{2002, 2}}},
        {"fail", "4018", "1047 3001 4", {{3001, 4}}},
        {"pull", "3001", "1035 3001 3, 1047 3001 3, 1037 3001 3, 1033", {{3001, 0}, {4018, 0}}},
        {"insert", "301", "1036 3001 3, 1033, 1035 3001 2, 1047 3001 4",
         {{3001, 4}, {4017, 2}, {4018, 4}}},
    });
    // clang-format on
    EXPECT_EQ(text_at(*get_entity(1002).block, 2351), "uplink");
    EXPECT_EQ(word_of(1029, 1002, 12), 2U);

    order("pull", "1002");
    events();
    EXPECT_EQ(wire_word(payloads[2], 776), 102U);
    EXPECT_EQ(text_at(payloads[2], 2351), "uplink");
    EXPECT_EQ(text_at(payloads[2], 2524), "Slot 2");
    follow({{"insert", R"(102, "type": "other")", inserted, {{1002, 2}, {302001, 0}}}});
    EXPECT_EQ(text_at(*get_entity(1002).block, 4), "Other card");
    EXPECT_EQ(text_at(*get_entity(1002).block, 2351), "");
    EXPECT_EQ(word_of(1029, 1002, 12), 1U);
    EXPECT_EQ(word_of(1029, 1002, 308), 50U);
}

} // namespace
