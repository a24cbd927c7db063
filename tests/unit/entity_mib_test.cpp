/// ENTITY-MIB, driven through its registered variables.
#include "entity_mib.h"
#include "scripted_agent.h"

#include <regex>

#include <sys/time.h>

using namespace testing;

extern "C" void init_entity_mib();
extern "C" void deinit_entity_mib();

namespace {

const Oid table = {1, 3, 6, 1, 2, 1, 47, 1, 1, 1, 1};
const Oid last_change_time = {1, 3, 6, 1, 2, 1, 47, 1, 4, 1};

Oid column(oid number)
{
    return table + Oid{number};
}

/// A row as the platform sends it; what lies between its fields and behind its texts is no zeros.
Bytes row_of(uint32_t index)
{
    Bytes row(2780);
    for (size_t i = 0; i < row.size(); ++i) {
        row[i] = static_cast<uint8_t>(1 + i % 251);
    }
    const std::pair<size_t, const char*> texts[] = {
        {4, "Line card"},   {788, "name"},    {1043, "hardware"}, {1298, "firmware"},
        {1553, "software"}, {1808, "serial"}, {1841, "maker"},    {2096, "model"},
        {2351, "alias"},    {2384, "asset"}};
    for (const auto& [offset, text] : texts) {
        put_text(row, offset, std::string(text) + '\0');
    }
    put_wire_word(row, 0, index);
    for (uint32_t i = 0; i < 128; ++i) {
        put_wire_word(row, 260 + 4 * i, 1 + i);
    }
    put_wire_word(row, 772, 3);
    put_wire_word(row, 776, 0x01020304);
    put_wire_word(row, 780, 9);
    put_wire_word(row, 784, static_cast<uint32_t>(-1));
    put_text(row, 2420, "\x11\x22\x33\x44");
    return row;
}

/// A trace of the lookup in short: "@" for the function's name and the line, the rest of an
/// everyday trace left out.
std::string in_short(const std::string& trace)
{
    static const std::pair<std::regex, const char*> shortened[] = {
        {std::regex("^header_entPhysicalTable/\\d+: entPhyIndex = (\\d+) $"), "@ $1"},
        {std::regex("^header_entPhysicalTable/\\d+: entPhyIndex = (\\d+,? ret_code[^]*)$"), "@ $1"},
        {std::regex("^header_entPhysicalTable/\\d+: ret_entry->entPhysicalIndex = -?\\d+ $"),
         "@ response"},
        {std::regex("^header_entPhysicalTable:\\d+, call transceiver mib msg_type:(\\d), "
                    "entPhysicalIndex:25813,ret_code:\\d\n$"),
         "@ transceiver $1"},
    };
    for (const auto& [pattern, text] : shortened) {
        if (std::regex_match(trace, pattern)) {
            return std::regex_replace(trace, pattern, text);
        }
    }
    return trace;
}

class EntityMib : public ModuleTest {
protected:
    EntityMib() : ModuleTest(init_entity_mib, deinit_entity_mib) {}

    /// Answers every request with one and the same answer.
    void answer(int32_t result, const std::optional<Bytes>& response)
    {
        platform.answer = [=](const PlatformCall&) { return PlatformAnswer{result, response}; };
    }
};

TEST_F(EntityMib, ServesEachColumnFromItsPlaceInTheRecord)
{
    platform.serve_rows({{7, row_of(7)}});
    const std::pair<oid, std::string> texts[] = {
        {2, "Line card"}, {7, "name"},   {8, "hardware"}, {9, "firmware"}, {10, "software"},
        {11, "serial"},   {12, "maker"}, {13, "model"},   {14, "alias"},   {15, "asset"},
    };
    for (const auto& [number, text] : texts) {
        const auto binding = agent.get(column(number) + Oid{7});
        ASSERT_TRUE(binding) << number;
        EXPECT_EQ(binding->type, 4);
        EXPECT_EQ(binding->text(), text);
        EXPECT_EQ(binding->write_method != nullptr, number == 14 || number == 15) << number;
    }
    const std::pair<oid, uint32_t> integers[] = {
        {4, 0x01020304}, {5, 9}, {6, static_cast<uint32_t>(-1)}, {16, 0x44332211}};
    for (const auto& [number, value] : integers) {
        const auto binding = agent.get(column(number) + Oid{7});
        ASSERT_TRUE(binding) << number;
        EXPECT_EQ(binding->type, 2);
        EXPECT_EQ(binding->integer(), value);
    }
    const auto vendor_type = agent.get(column(3) + Oid{7});
    ASSERT_TRUE(vendor_type);
    EXPECT_EQ(vendor_type->type, 6);
    const oid expected[] = {1, 2, 3};
    EXPECT_EQ(vendor_type->value,
              Bytes(reinterpret_cast<const uint8_t*>(expected),
                    reinterpret_cast<const uint8_t*>(expected) + sizeof expected));
    EXPECT_EQ(agent.walk(table).size(), 15u);
}

TEST_F(EntityMib, NeverServesPastAField)
{
    Bytes row(2780, 'x'); // no terminator anywhere, more sub-identifiers than there is room for
    put_wire_word(row, 0, 7);
    platform.serve_rows({{7, row}});
    const std::pair<oid, size_t> lengths[] = {
        {2, 254},  {3, 128 * sizeof(oid)},
        {7, 254},  {8, 254},
        {9, 254},  {10, 254},
        {11, 32},  {12, 254},
        {13, 254}, {14, 32},
        {15, 32},
    };
    for (const auto& [number, length] : lengths) {
        const auto binding = agent.get(column(number) + Oid{7});
        ASSERT_TRUE(binding) << number;
        EXPECT_EQ(binding->value.size(), length) << number;
    }
    put_wire_word(row, 772, 0);
    row[4 + 255] = 0;
    row[1808 + 31] = 0;
    platform.serve_rows({{7, row}});
    EXPECT_EQ(agent.get(column(2) + Oid{7})->value.size(), 254u);
    EXPECT_EQ(agent.get(column(3) + Oid{7})->value.size(), 0u);
    EXPECT_EQ(agent.get(column(11) + Oid{7})->value.size(), 31u);
}

TEST_F(EntityMib, WalksThePlatformsRowsInOrder)
{
    platform.serve_rows({{1, row_of(1)},
                         {25685, row_of(25685)},
                         {25812, row_of(25812)},
                         {287959, row_of(287959)},
                         {4294967295, row_of(4294967295)}});
    const Oid indexes = {1, 25685, 25812, 287959, 4294967295};
    const auto found = agent.walk(table);
    ASSERT_EQ(found.size(), 15 * indexes.size());
    for (size_t i = 0; i < found.size(); ++i) {
        EXPECT_EQ(found[i].name, column(2 + i / indexes.size()) + Oid{indexes[i % indexes.size()]});
    }
}

/// One lookup: what is asked, what the platform answers, and what comes of it. In the traces, "@"
/// stands for the function's name and a line.
struct LookupCase {
    const char* what;
    Oid instance; ///< after the column
    bool exact;
    int32_t result;
    int64_t response_index; ///< negative for no response
    int64_t asked;          ///< index of the platform request, negative for none
    bool served;
    Oid name;           ///< after the column, as the lookup leaves it
    std::string traces; ///< with a bar between them
};

TEST_F(EntityMib, LooksRowsUp)
{
    // clang-format off
    const LookupCase cases[] = {
        {"first row", {}, false, 0, 5, 0, true, {5}, "@ 5|@ 5"},
        {"next row", {5}, false, 0, 6, 5, true, {6}, "@ 6|@ 6"},
        {"further sub-identifiers are ignored", {5, 9}, false, 0, 6, 5, true, {6}, "@ 6|@ 6"},
        {"one row", {5}, true, 0, 5, 5, true, {5}, "@ 5|@ 5"},
        {"too long a GET is no row", {5, 1}, true, 0, 5, -1, false, {5, 1}, ""},
        {"a refused GET", {5}, true, 1, -1, 5, false, {5}, ""},
        {"a refused GET with a response", {5}, true, 1, 6, 5, false, {5}, "@ response"},
        {"success without a response", {}, false, 0, -1, 0, true, {}, ""},
        {"last row before the range", {25812}, false, 0, 300000, 25812, true, {300000},
         "@ 300000|@ 300000"},
        {"a GETNEXT in the range resumes", {25813}, false, 0, 300000, 287958, true, {300000},
         "@ 25813|@ 25813 ret_code 2|@ 25813|@ 300000"},
        {"to its end", {287957}, false, 0, 300000, 287958, true, {300000},
         "@ 287957|@ 287957 ret_code 5|@ 287957|@ 300000"},
        {"a GET in the range resumes too", {25814}, true, 0, 287958, 287958, true, {287958},
         "@ 25814|@ 25814 ret_code 5|@ 25814|@ 287958"},
        {"and fails", {25814}, true, 1, -1, 287958, false, {287958},
         "@ 25814|@ 25814 ret_code 5|@ 25814|@ 287958"},
        {"after the range", {287958}, false, 0, 300000, 287958, true, {300000},
         "@ 300000|@ 300000"},
        {"a row led into the range", {5}, false, 0, 25813, 5, true, {25813},
         "@ 25813|@ 25813|@ transceiver 2|@ 25813, ret_code: 2\n|@ 25813"},
        {"but not for a GET", {5}, true, 0, 25813, 5, false, {5},
         "@ 25813|@ 25813|@ transceiver 1"},
        {"a failure led into the range", {25000}, false, 1, 25813, 25000, false, {25000},
         "@ response|@ 25813|@ transceiver 2"},
    };
    // clang-format on
    platform.debug_on = true;
    for (const LookupCase& test : cases) {
        SCOPED_TRACE(test.what);
        platform.calls.clear();
        platform.debug_output.clear();
        const auto index = static_cast<uint32_t>(test.response_index);
        answer(test.result, test.response_index < 0 ? std::nullopt : std::optional(row_of(index)));
        const Answer found =
            ask(*agent.variable_for(column(2)), column(2) + test.instance, test.exact);

        EXPECT_EQ(found.value.has_value(), test.served);
        EXPECT_EQ(found.name, column(2) + test.name);
        EXPECT_EQ(platform.calls.size(), test.asked < 0 ? 0u : 1u);
        for (const PlatformCall& call : platform.calls) {
            EXPECT_EQ(call.opcode, 1026u);
            EXPECT_EQ(call.operation, test.exact ? 1 : 2);
            EXPECT_EQ(call.length, 2780u);
            EXPECT_EQ(wire_word(*call.payload, 0), test.asked);
        }
        std::string traces;
        for (const std::string& line : platform.debug_output) {
            if (line.starts_with("header_")) {
                traces += (traces.empty() ? "" : "|") + in_short(line);
            }
        }
        EXPECT_EQ(traces, test.traces);
    }
}

TEST_F(EntityMib, KeepsOfAFailedAnswerWhatTheLookupTakes)
{
    const auto body_after = [&](const Oid& instance, int32_t result, const Bytes& response) {
        platform.serve_rows({{7, row_of(7)}});
        agent.get(column(2) + Oid{7});
        answer(result, response);
        agent.get(column(2) + instance);
        agent.get(column(2) + Oid{9});
        Bytes body = platform.calls.back().payload.value();
        put_wire_word(body, 0, 7);
        return body;
    };
    // Of a platform row's failure no more than the index, of one past the sensors all of it.
    EXPECT_EQ(body_after({5}, 1, Bytes(2780, 0xff)), row_of(7));
    Bytes other(2780, 0xff);
    put_wire_word(other, 0, 7);
    EXPECT_EQ(body_after({25814}, 1, Bytes(2780, 0xff)), other);
}

TEST_F(EntityMib, SendsThePreviousRowAlongExactlyAsItCame)
{
    platform.serve_rows({{7, row_of(7)}});
    ASSERT_TRUE(agent.get(column(2) + Oid{7}));
    agent.get(column(2) + Oid{8});
    Bytes previous = row_of(7);
    put_wire_word(previous, 0, 8);
    EXPECT_EQ(platform.calls.back().payload, previous);
}

TEST_F(EntityMib, WritesAliasAndAssetIdAsPartOfTheWholeRow)
{
    for (const auto& [number, offset] : {std::pair{14u, 2351u}, {15u, 2384u}}) {
        for (const std::string& value : {std::string(32, 'v'), std::string("new"), std::string()}) {
            platform.serve_rows({{7, row_of(7)}});
            EXPECT_EQ(agent.set(column(number) + Oid{7}, value), 0);
            Bytes expected = row_of(7);
            std::fill_n(expected.begin() + offset, 32, uint8_t{0});
            put_text(expected, offset, value);
            const PlatformCall& call = platform.calls.back();
            EXPECT_EQ(call.opcode, 1026u);
            EXPECT_EQ(call.operation, 3);
            EXPECT_FALSE(call.wants_response);
            EXPECT_EQ(call.payload, expected);
        }
    }
    EXPECT_THAT(platform.failed_writes, IsEmpty());
}

TEST_F(EntityMib, RefusesWhatIsNoLabel)
{
    platform.serve_rows({{7, row_of(7)}});
    for (const auto& [number, object] :
         {std::pair{14u, std::string("entPhysicalAlias")}, {15u, "entPhysicalAssetID"}}) {
        const Oid name = column(number) + Oid{7};
        EXPECT_EQ(refusal(name, std::string(33, 'v')),
                  std::pair(8, "write to " + object + ": bad length\n"));
        EXPECT_EQ(refusal(name, 5), std::pair(7, "write to " + object + " not ASN_OCTET_STR\n"));
    }
    EXPECT_EQ(agent.set(column(11) + Oid{7}, "serial"), -1);
    for (int phase = 0; phase <= 5; ++phase) {
        EXPECT_EQ(set_entPhysicalSerialNum(phase, nullptr, ASN_OCTET_STR, 0, nullptr, nullptr, 0),
                  17);
    }
    for (const PlatformCall& call : platform.calls) {
        EXPECT_EQ(call.operation, 1);
    }
}

TEST_F(EntityMib, MapsWhatThePlatformSaysToAWrite)
{
    struct Case {
        int32_t lookup, write;
        int status;
        size_t logged;
    };
    const Case cases[] = {{0, 0, 0, 0}, {0, 1, 2, 1}, {0, 2, 5, 1}, {0, 77, 5, 1},
                          {1, 0, 2, 0}, {2, 0, 5, 0}, {77, 0, 5, 0}};
    for (const Case& test : cases) {
        platform.answer_write(row_of(7), test.lookup, test.write);
        EXPECT_EQ(agent.set(column(14) + Oid{7}, "x"), test.status)
            << test.lookup << " " << test.write;
        EXPECT_EQ(platform.failed_writes.size(), test.logged);
        EXPECT_EQ(platform.calls.back().operation, test.lookup == 0 ? 3 : 1);
    }
}

TEST_F(EntityMib, ServesTheTimeOfTheLastChange)
{
    const Oid instance = last_change_time + Oid{0};
    timeval start = {};
    gettimeofday(&start, nullptr);
    netsnmp_set_agent_starttime(&start);
    const auto seconds = static_cast<uint32_t>(start.tv_sec);
    const auto time = [](uint32_t after, uint32_t microseconds) {
        Bytes bytes(8);
        put_wire_word(bytes, 0, after);
        put_wire_word(bytes, 4, microseconds);
        return bytes;
    };
    const auto microseconds = static_cast<uint32_t>(start.tv_usec);

    const struct {
        int32_t result;
        std::optional<Bytes> response;
        uint32_t ticks;
    } cases[] = {{0, time(seconds + 12, microseconds), 1200},
                 {0, time(seconds - 1, 0), 0},
                 {0, time(0, 0), 0},
                 {0, {}, 0},
                 {1, time(seconds + 12, microseconds), 0},
                 {1, {}, 0},
                 {0, Bytes{1}, 0}};
    for (const auto& [result, response, ticks] : cases) {
        answer(result, response);
        const auto binding = agent.get(instance);
        ASSERT_TRUE(binding);
        EXPECT_EQ(binding->type, 0x43);
        EXPECT_EQ(binding->integer(), ticks);
        EXPECT_EQ(platform.calls.back().opcode, 1039u);
        EXPECT_EQ(platform.calls.back().payload, std::nullopt);
        EXPECT_EQ(platform.calls.back().length, 0u);
    }
    EXPECT_FALSE(agent.get(instance + Oid{0}));
    EXPECT_FALSE(agent.next(instance));
}

TEST_F(EntityMib, HasTablesWithoutRows)
{
    answer(0, row_of(7));
    const Oid entity = {1, 3, 6, 1, 2, 1, 47, 1};
    for (const Oid& empty :
         {Oid{2, 1, 1, 2}, {2, 1, 1, 8}, {3, 1, 1, 1}, {3, 2, 1, 2}, {3, 3, 1, 1}}) {
        const auto binding = agent.next(entity + empty);
        ASSERT_TRUE(binding);
        EXPECT_EQ(binding->name, last_change_time + Oid{0});
        EXPECT_FALSE(agent.get(entity + empty + Oid{7}));
    }
    for (const PlatformCall& call : platform.calls) {
        EXPECT_EQ(call.opcode, 1039u);
    }
}

TEST_F(EntityMib, TellsOfAnInventoryChange)
{
    const Notification notification = deliver(1033, nullptr);
    EXPECT_TRUE(notification.sent);
    EXPECT_EQ(notification.name, (Oid{1, 3, 6, 1, 2, 1, 47, 2, 0, 1}));
    EXPECT_THAT(notification.bindings, IsEmpty());
    EXPECT_THAT(platform.calls, IsEmpty());
}

} // namespace
