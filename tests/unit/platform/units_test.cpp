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

constexpr sim::Clock::time_point start_of_test{1000000000s + 250000us};

void put_word(Bytes& bytes, size_t offset, uint32_t value)
{
    for (size_t i = 0; i < 4; ++i) {
        bytes.at(offset + i) = static_cast<uint8_t>(value >> (24 - 8 * i));
    }
}

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
        const uint32_t told = word_of(opcode, index, offset);
        EXPECT_TRUE(told == 0 || told == status) << opcode << " " << index;
    }
    EXPECT_EQ(status == 0 && ask(1028, 1, index).result == 0, false) << index;
    return status;
}

struct Told {
    std::string event; ///< opcode, index, status or output
    Bytes payload;
};

std::vector<Told> told;

template <uint32_t Opcode, size_t Size, size_t Offset>
netsnmp_variable_list* note(void* message, oid* /*trap*/, size_t* /*length*/, int* send)
{
    *send = 0;
    const auto* payload = static_cast<const uint8_t*>(ipcx_payload_get(message));
    EXPECT_EQ(payload == nullptr, Size == 0) << Opcode;
    Told event{std::to_string(Opcode), {}};
    if (payload != nullptr) {
        event.payload.assign(payload, payload + Size);
        for (const size_t offset : {size_t{0}, Offset}) {
            event.event += " " + std::to_string(wire_word(event.payload, offset));
        }
    }
    told.push_back(std::move(event));
    return nullptr;
}

constexpr std::pair<uint32_t, ipcx_event_handler*> handlers[] = {
    {1033, note<1033, 0, 0>},       {1034, note<1034, 316, 8>},     {1035, note<1035, 16, 8>},
    {1036, note<1036, 2780, 2428>}, {1037, note<1037, 2780, 2428>}, {1047, note<1047, 8, 4>},
    {1121, note<1121, 520, 516>},   {3224, note<3224, 2780, 2428>}};

/// What chmctl asks for, with an entity by its name or its index and maybe more arguments.
std::string order(const std::string& verb, const std::string& arguments)
{
    return sim::answer_request("{\"verb\": \"" + verb + "\", \"entity\": " + arguments + "}");
}

struct Step {
    const char* verb;
    const char* arguments;
    std::string events;                                  ///< within 3 seconds
    std::vector<std::pair<uint32_t, uint32_t>> statuses; ///< by entity, 0 for one that is gone
};

class Units : public testing::Test {
protected:
    Units()
    {
        sim::place_chassis(sim::load_chassis(file.path, [this] { return now; }));
        for (const auto& [opcode, handler] : handlers) {
            register_for_notification(opcode, handler);
        }
        events();
    }
    ~Units() override
    {
        for (const auto& [opcode, handler] : handlers) {
            unregister_for_notification(opcode);
        }
    }

    /// Lets time pass. The events since the last call.
    std::string events(std::chrono::seconds time = 0s)
    {
        now += time;
        sim::chassis_in_place()->advance();
        told.clear();
        sim::deliver_events();
        std::string list;
        for (const Told& one : told) {
            list += (list.empty() ? "" : ", ") + one.event;
        }
        return list;
    }

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

    ChassisFile file{four_slots};
    sim::Clock::time_point now = start_of_test;
};

TEST_F(Units, SendTheirRecordsByteForByte)
{
    // clang-format off
    const std::tuple<uint32_t, uint32_t, Bytes> cases[] = {
        {1027, 1, record(284, {{0, 1}, {4, 1}, {264, 1500}, {268, 520}},
                         {{8, "3 power supplies of 4 bays, 1500 W"}})},
        {1028, 3001, record(16, {{0, 3001}, {4, 1}, {8, 2}, {12, 20}})},
        {1029, 1002, record(316, {{0, 1002}, {4, 1}, {8, 2}, {12, 1}, {16, 1000000000},
                                  {20, 250000}, {24, 1000000000}, {28, 250000}, {304, 2},
                                  {308, 300}},
                            {{32, "in service"}, {298, "\2"}})},
        {1046, 3001, record(8, {{0, 3001}, {4, 2}})},
        {3270, 2002, record(8, {{0, 2002}, {4, 2}})},
    };
    // clang-format on
    for (const auto& [opcode, index, bytes] : cases) {
        EXPECT_EQ(ask(opcode, 1, index).block, bytes) << opcode;
    }
    EXPECT_EQ(ask(1029, 1, 1001).block->at(298), 1) << "a supervisor";
}

TEST_F(Units, AreFoundByTheirIndexAndInTheirOrder)
{
    // clang-format off
    const std::pair<uint32_t, std::vector<uint32_t>> tables[] = {
        {1027, {1}}, {1028, {1001, 1002, 3001}}, {1029, {1001, 1002}}, {1046, {3001}},
        {3270, {2001, 2002, 2003}}};
    // clang-format on
    for (const auto& [opcode, indexes] : tables) {
        std::vector<uint32_t> walked;
        for (const Bytes& row : rows(opcode)) {
            walked.push_back(wire_word(row, 0));
            EXPECT_EQ(ask(opcode, 1, walked.back()).block, row) << opcode;
        }
        EXPECT_EQ(walked, indexes) << opcode;
        for (const uint32_t stranger : {0U, 2U, 1003U, 2004U, 4017U, UINT32_MAX}) {
            EXPECT_EQ(ask(opcode, 1, stranger).result, 1) << opcode << " " << stranger;
        }
        EXPECT_EQ(ask(opcode, 2, UINT32_MAX).result, 1) << opcode;
    }
    for (const auto& [opcode, index] : {std::pair{1028U, 2001U}, {1029U, 3001U}, {1046U, 1001U}}) {
        EXPECT_EQ(ask(opcode, 1, index).result, 1) << opcode << " of another type";
    }
}

TEST_F(Units, StayAsTheyAreWhenAChangeIsRefused)
{
    const std::vector<Bytes> before = everything();
    const struct {
        uint32_t opcode;
        uint32_t index;
        uint32_t value;
        int32_t result;
    } writes[] = {{1029, 1001, 2, 2},  {1029, 1001, 3, 2},           {1029, 1001, 4, 2},
                  {1028, 1001, 2, 2},  {1028, 1001, 3, 2},           {1027, 1, 3, 2},
                  {1046, 3001, 2, 2},  {3270, 2001, 2, 2},           {1029, 1003, 2, 1},
                  {1029, 3001, 2, 1},  {1028, 2001, 2, 1},           {1027, 0, 1, 1},
                  {1027, 2, 1, 1},     {1046, 2001, 2, 1},           {1029, 1002, 0, 20},
                  {1029, 1002, 5, 20}, {1029, 1002, UINT32_MAX, 20}, {1028, 1002, 0, 20},
                  {1028, 1002, 5, 20}, {1028, 3001, 5, 20},          {1027, 1, 0, 20},
                  {1027, 1, 4, 20}};
    for (const auto& [opcode, index, value, result] : writes) {
        EXPECT_EQ(write(opcode, index, value), result) << opcode << " " << index << " " << value;
    }
    for (const auto& [opcode, size] : record_sizes) {
        for (const int32_t operation : {1, 2, 3}) {
            EXPECT_EQ(request(opcode, operation, Bytes(size - 1)).result, 19) << opcode;
        }
        EXPECT_EQ(request(opcode, 0, Bytes(size)).result, 18) << opcode;
        EXPECT_EQ(request(opcode, 4, Bytes(size)).result, 18) << opcode;
    }
    EXPECT_EQ(everything(), before);
    EXPECT_EQ(events(), "");
}

TEST_F(Units, KeepTheScalarsThatAreWritten)
{
    const struct {
        uint32_t opcode;
        uint32_t value;
        int32_t result;
        uint32_t kept;
    } cases[] = {{1030, 0, 0, 0},          {1030, 12500, 0, 12500},
                 {1030, 12501, 20, 12500}, {1030, 0xffffffff, 20, 12500},
                 {1030, 7, 0, 7},          {1040, 2, 0, 2},
                 {1040, 0, 20, 2},         {1040, 3, 20, 2},
                 {1040, 1, 0, 1}};
    EXPECT_EQ(request(1030, 1, {}).block, (Bytes{0, 0, 0x30, 0xd4}));
    EXPECT_EQ(request(1040, 1, {}).block, (Bytes{0, 0, 0, 1}));
    for (const auto& [opcode, value, result, kept] : cases) {
        EXPECT_EQ(request(opcode, 3, record(4, {{0, value}})).result, result) << value;
        EXPECT_EQ(request(opcode, 1, {}).block, record(4, {{0, kept}})) << opcode << " " << value;
    }
    for (const uint32_t opcode : {1030U, 1040U}) {
        EXPECT_EQ(request(opcode, 3, Bytes(3)).result, 19);
        EXPECT_EQ(request(opcode, 2, Bytes(4)).result, 18);
    }
}

TEST_F(Units, AreSwitchedByWhatIsWritten)
{
    const std::string off = "1035 1002 3, 1034 1002 3";
    const std::string started = "1035 1002 2, 1034 1002 5, 1034 1002 2";
    const std::string tray_off = "1035 3001 3, 1047 3001 3";
    const std::string tray_on = "1035 3001 2, 1047 3001 2";
    const struct {
        uint32_t opcode;
        uint32_t index;
        uint32_t value;
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
        {1029, 1001, 1, 1, 2, "in service", ""},
        {1028, 1001, 4, 4, 2, "in service", ""},
        {1028, 3001, 2, 2, 3, "", tray_off},
        {1028, 3001, 3, 1, 2, "", tray_on},
        {1028, 3001, 3, 1, 2, "", "1035 3001 3, 1047 3001 3, 1035 3001 2, 1047 3001 2"},
    };
    for (const auto& [opcode, index, value, reads, status, text, expected] : steps) {
        const testing::Message what = testing::Message() << opcode << " " << index << " " << value;
        EXPECT_EQ(write(opcode, index, value), 0) << what;
        EXPECT_EQ(word_of(opcode, index, 4), reads) << what;
        EXPECT_EQ(events(3s), expected) << what;
        EXPECT_EQ(status_of(index), status) << what;
        EXPECT_EQ(word_of(1028, index, 8), status) << what;
        EXPECT_EQ(word_of(1028, index, 12) == 0, status == 3) << what;
        if (const Answer module = ask(1029, 1, index); module.block) {
            EXPECT_EQ(text_at(*module.block, 32), text) << what;
        }
    }
}

TEST_F(Units, GoThroughARestartByTheClock)
{
    now += 10s;
    EXPECT_EQ(write(1029, 1002, 3), 0);
    EXPECT_EQ(events(), "1035 1002 3, 1034 1002 3, 1035 1002 2, 1034 1002 5");
    // Each event tells what was so when it happened.
    EXPECT_EQ(wire_word(told[0].payload, 12), 0U);
    EXPECT_EQ(text_at(told[1].payload, 32), "without power");
    EXPECT_EQ(wire_word(told[1].payload, 24), 1000000000U);
    EXPECT_EQ(wire_word(told[2].payload, 12), 300U);
    EXPECT_EQ(told[3].payload, ask(1029, 1, 1002).block);
    EXPECT_EQ(text_at(told[3].payload, 32), "starting");
    EXPECT_EQ(wire_word(told[3].payload, 12), 2U);
    EXPECT_EQ(wire_word(told[3].payload, 16), 1000000010U);
    EXPECT_EQ(status_of(302001), 5U);

    EXPECT_EQ(events(2s), "");
    EXPECT_EQ(word_of(1029, 1002, 24), 1000000000U);
    now += 999ms;
    EXPECT_EQ(events(), "");
    now += 1ms;
    EXPECT_EQ(events(), "1034 1002 2");
    EXPECT_EQ(told[0].payload, ask(1029, 1, 1002).block);
    EXPECT_EQ(word_of(1029, 1002, 12), 2U);
    for (const size_t offset : {16U, 24U}) {
        EXPECT_EQ(word_of(1029, 1002, offset), 1000000013U);
        EXPECT_EQ(word_of(1029, 1002, offset + 4), 250000U);
    }
    EXPECT_EQ(events(100s), "");
}

TEST_F(Units, CoverWhatIsDrawnUnderTheRedundancyMode)
{
    const auto group = [](size_t offset) { return word_of(1027, 1, offset); };
    EXPECT_EQ(write(1027, 1, 2), 0);
    EXPECT_EQ(group(264), 800U) << "without the largest";
    EXPECT_EQ(write(1029, 1002, 2), 0);
    EXPECT_EQ(group(268), 220U);
    EXPECT_EQ(write(1027, 1, 3), 0);
    EXPECT_EQ(group(264), 400U) << "two of three are spare";
    order("fail", "2001");
    EXPECT_EQ(group(264), 400U) << "one of two is spare";
    EXPECT_EQ(text_at(*ask(1027, 1, 1).block, 8), "3 power supplies of 4 bays, 1100 W");
    order("output", R"(2002, "watts": 219)");
    EXPECT_EQ(write(1027, 1, 2), 2);
    order("output", R"(2002, "watts": 220)");
    EXPECT_EQ(write(1027, 1, 2), 0);
}

TEST_F(Units, FailAndAreRepaired)
{
    follow({
        {"fail", "\"Power supply 1\"", "1121 2001 0", {{2001, 4}}},
        {"fail", "2001", "", {{2001, 4}}},
        {"output", R"(2001, "watts": 600)", "", {{2001, 4}}},
        {"repair", "2001", "1121 2001 600", {{2001, 2}}},
        {"output", R"(2001, "watts": 600)", "", {{2001, 2}}},
        {"output", R"(2001, "watts": 0)", "1121 2001 0", {{2001, 2}}},
        {"fail", "4017", "1047 3001 4", {{3001, 4}, {4017, 4}, {4018, 2}}},
        {"fail", "4018", "", {{3001, 4}, {4018, 4}}},
        {"repair", "4017", "", {{3001, 4}, {4017, 2}, {4018, 4}}},
        {"repair", "3001", "1047 3001 2", {{3001, 2}, {4018, 2}}},
        {"fail", "3001", "1035 3001 4, 1047 3001 4", {{3001, 4}, {4017, 3}}},
        {"repair", "3001", "1035 3001 2, 1047 3001 2", {{3001, 2}, {4017, 2}}},
        {"fail", "1002", "1035 1002 4, 1034 1002 4", {{1002, 4}, {302001, 3}}},
        {"repair", "1002", "1035 1002 2, 1034 1002 5, 1034 1002 2", {{1002, 2}, {302001, 2}}},
    });
    order("output", R"(2001, "watts": 65536)");
    EXPECT_EQ(events(), "1121 2001 65536");
    EXPECT_EQ(told[0].payload,
              record(520, {{0, 2001}, {516, 65536}}, {{4, "Power supply 1"}, {259, "PS-1"}}));
}

TEST_F(Units, WaitAfterAFailureWhenTheirPowerIsToStayOff)
{
    EXPECT_EQ(write(1028, 1002, 4), 0);
    order("fail", "1002");
    EXPECT_EQ(events(), "1035 1002 4, 1034 1002 4");
    EXPECT_EQ(told[0].payload, record(16, {{0, 1002}, {4, 2}, {8, 4}}));
    EXPECT_EQ(write(1029, 1002, 3), 0);
    EXPECT_EQ(status_of(1002), 4U) << "a restart repairs nothing";
    order("repair", "1002");
    EXPECT_EQ(events(3s), "1035 1002 3, 1034 1002 3");
    EXPECT_EQ(write(1028, 1002, 1), 0);
    EXPECT_EQ(events(3s), "1035 1002 2, 1034 1002 5, 1034 1002 2");
}

TEST_F(Units, ArePulledAndInserted)
{
    const std::string pulled = "1035 1002 3, 1034 1002 3, 1037 1002 3, 1033";
    const std::string inserted = "1036 1002 3, 1033, 1035 1002 2, 1034 1002 5, 1034 1002 2";
    follow({
        {"pull", "\"Module 2\"", pulled, {{1002, 0}, {302001, 0}, {102, 2}}},
        {"plug-unknown", "102", "3224 1002 4, 1033", {{1002, 4}}},
        {"pull", "1002", "1037 1002 4, 1033", {{1002, 0}}},
        {"insert", "\"Slot 2\"", inserted, {{1002, 2}, {302001, 2}}},
        {"pull", "2002", "1121 2002 0, 1037 2002 3, 1033", {{2002, 0}}},
        {"insert", "202", "1036 2002 3, 1033, 1121 2002 400", {{2002, 2}}},
        {"fail", "4018", "1047 3001 4", {{3001, 4}}},
        {"pull", "3001", "1035 3001 3, 1047 3001 3, 1037 3001 3, 1033", {{3001, 0}, {4018, 0}}},
        {"insert",
         "301",
         "1036 3001 3, 1033, 1035 3001 2, 1047 3001 4",
         {{3001, 4}, {4017, 2}, {4018, 4}}},
        {"insert",
         R"(103, "type": "other")",
         "1036 1003 3, 1033, 1035 1003 2, 1034 1003 5, 1034 1003 2",
         {{1003, 2}}},
    });
    EXPECT_EQ(text_at(*get_entity(1002).block, 2351), "uplink");
    EXPECT_EQ(word_of(1029, 1002, 12), 2U);
    EXPECT_EQ(word_of(1029, 1003, 308), 50U);

    order("pull", "1002");
    events();
    EXPECT_EQ(wire_word(told[2].payload, 776), 102U);
    EXPECT_EQ(text_at(told[2].payload, 2524), "Slot 2");
    EXPECT_EQ(text_at(told[2].payload, 2351), "uplink");
    order("insert", R"(102, "type": "other")");
    EXPECT_EQ(events(3s), inserted);
    EXPECT_EQ(text_at(told[0].payload, 4), "Other card");
    EXPECT_EQ(text_at(*get_entity(1002).block, 2351), "");
    EXPECT_EQ(word_of(1029, 1002, 12), 1U);
    EXPECT_EQ(status_of(302001), 0U);
    const std::string units = sim::answer_request(R"({"verb": "units"})");
    EXPECT_NE(units.find(R"({"active":false,"admin-status":"on","index":1002,"name":"Module 2",)"
                         R"("status":"ok","type":"module","watts":50})"),
              std::string::npos)
        << units;
}

TEST_F(Units, StayWhereTheyAreWhenAnOrderIsWrong)
{
    order("plug-unknown", "104");
    events();
    const std::vector<Bytes> before = everything();
    const struct {
        const char* verb;
        const char* arguments;
        const char* error;
    } cases[] = {
        {"pull", "1001", "Module 1 is the active supervisor"},
        {"pull", "101", "Slot 1 cannot be pulled"},
        {"pull", "4017", "Fan 1/1 cannot be pulled"},
        {"pull", "2003", "Power supply 3 cannot be pulled"},
        {"pull", "1003", "there is no entity 1003"},
        {"insert", "102", "Slot 2 is not empty"},
        {"insert", R"(102, "type": "other")", "Slot 2 is not empty"},
        {"insert", "1002", "Module 2 is no slot or bay"},
        {"insert", "103", "nothing was pulled from Slot 3; say which type of unit to insert"},
        {"insert", R"(103, "type": "none")", "there is no [types.none]"},
        {"insert", R"(103, "type": "supply")", ":15: unknown key 'output'"},
        {"insert", R"(103, "type": 7)", "argument 'type' is missing or wrong"},
        {"plug-unknown", "102", "Slot 2 is not empty"},
        {"plug-unknown", "302001", "Ethernet2/1 is no slot or bay"},
        {"insert", R"(104, "type": "other")", "Slot 4 is not empty"},
        {"repair", "1004", "Unknown unit in Slot 4 is no module, power supply, fan tray or fan"},
        {"fail", "102", "Slot 2 is no module, power supply, fan tray or fan"},
        {"repair", "302001", "Ethernet2/1 is no module, power supply, fan tray or fan"},
        {"output", R"(1002, "watts": 5)", "Module 2 is no power supply"},
        {"output", R"(2001, "watts": 100001)", "'watts' is not within 0 to 100000"},
        {"output", R"(2001, "watts": -1)", "'watts' is not within 0 to 100000"},
        {"output", "2001", "argument 'watts' is missing or wrong"},
    };
    for (const auto& [verb, arguments, error] : cases) {
        const std::string answer = order(verb, arguments);
        EXPECT_NE(answer.find(std::string(error) + "\",\"ok\":false"), std::string::npos)
            << verb << " " << arguments << ": " << answer;
    }
    EXPECT_EQ(everything(), before);
    EXPECT_EQ(events(), "");
}

TEST_F(Units, AreNotToldOfWhileNotificationsAreOff)
{
    request(1040, 3, {0, 0, 0, 2});
    const std::pair<const char*, const char*> orders[] = {{"pull", "1002"}, {"plug-unknown", "103"},
                                                          {"pull", "1003"}, {"insert", "102"},
                                                          {"fail", "2001"}, {"fail", "4017"}};
    for (const auto& [verb, index] : orders) {
        order(verb, index);
    }
    EXPECT_EQ(events(3s), "1033, 1033, 1033, 1033");
    EXPECT_EQ(status_of(3001), 4U);
    request(1040, 3, {0, 0, 0, 1});
    order("repair", "2001");
    EXPECT_EQ(events(), "1121 2001 400");
}

TEST(SampleChassisUnits, AreHealthyAndHaveThePowerTheyDraw)
{
    for (const char* name : {"small.toml", "ten-slot.toml", "eighteen-slot.toml"}) {
        sim::place_chassis(sim::load_chassis(std::string(CHASSIS_DIR) + "/" + name));
        for (const auto& [opcode, offset] :
             {std::pair{1028U, 8U}, {1029U, 8U}, {1046U, 4U}, {3270U, 4U}}) {
            EXPECT_FALSE(rows(opcode).empty()) << name << " " << opcode;
            for (const Bytes& row : rows(opcode)) {
                EXPECT_EQ(wire_word(row, offset), 2U) << name << " " << opcode;
            }
        }
        EXPECT_GT(word_of(1027, 1, 268), 0U) << name;
        EXPECT_GT(word_of(1027, 1, 264), word_of(1027, 1, 268)) << name;
    }
}

} // namespace
