/// ENTITY-MIB, driven through its registered variables.
#include "entity_mib.h"
#include "scripted_agent.h"

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

/// A row as the platform sends it: every byte says where it is, the index is given.
Bytes row_of(uint32_t index)
{
    Bytes row(2780);
    put_wire_word(row, 0, index);
    put_text(row, 4, "Line card");
    put_wire_word(row, 772, 3);
    for (uint32_t i = 0; i < 128; ++i) {
        put_wire_word(row, 260 + 4 * i, 1 + i);
    }
    put_wire_word(row, 776, 0x01020304);
    put_wire_word(row, 780, 9);
    put_wire_word(row, 784, static_cast<uint32_t>(-1));
    put_text(row, 788, "name");
    put_text(row, 1043, "hardware");
    put_text(row, 1298, "firmware");
    put_text(row, 1553, "software");
    put_text(row, 1808, "serial");
    put_text(row, 1841, "maker");
    put_text(row, 2096, "model");
    put_text(row, 2351, "alias");
    put_text(row, 2384, "asset");
    put_text(row, 2420, "\x11\x22\x33\x44");
    put_wire_word(row, 2428, 0x0a0b0c0d);
    return row;
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
    EXPECT_EQ(agent.variable_of(column(11)).acl, 2);
    EXPECT_EQ(agent.variable_of(column(14)).acl, 2);
    EXPECT_EQ(agent.variable_of(column(13)).acl, 1);
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

/// One lookup: what is asked, what the platform answers, what it was asked for, what came out.
struct LookupCase {
    const char* what;
    Oid instance; ///< after the column
    bool exact;
    int32_t result;
    std::optional<uint32_t> response_index;
    std::vector<uint32_t> asked; ///< indexes of the platform requests
    std::optional<Oid> found;    ///< the instance served
};

TEST_F(EntityMib, LooksRowsUp)
{
    const LookupCase cases[] = {
        {"first row", {}, false, 0, 5, {0}, Oid{5}},
        {"next row", {5}, false, 0, 6, {5}, Oid{6}},
        {"further sub-identifiers of a GETNEXT are ignored", {5, 9, 9}, false, 0, 6, {5}, Oid{6}},
        {"one row", {5}, true, 0, 5, {5}, Oid{5}},
        {"too long a GET is no row", {5, 1}, true, 0, 5, {}, {}},
        {"a refused GET", {5}, true, 1, {}, {5}, {}},
        {"a refused GET with a response", {5}, true, 1, 6, {5}, {}},
        {"success without a response", {5}, true, 0, {}, {5}, Oid{5}},
        {"last row before the range", {25812}, false, 0, 287959, {25812}, Oid{287959}},
        {"a GETNEXT in the range resumes", {25813}, false, 0, 287960, {287958}, Oid{287960}},
        {"to its end", {287957}, false, 0, 287960, {287958}, Oid{287960}},
        {"a GET in the range resumes too", {25814}, true, 0, 287958, {287958}, Oid{287958}},
        {"and fails", {25814}, true, 1, {}, {287958}, {}},
        {"after the range", {287958}, false, 0, 287960, {287958}, Oid{287960}},
        {"a row led into the range", {5}, false, 0, 25813, {5}, Oid{25813}},
        {"but not for a GET", {5}, true, 0, 25813, {5}, {}},
        {"a failure led into the range", {25000}, false, 1, 25813, {25000}, {}},
    };
    for (const LookupCase& test : cases) {
        SCOPED_TRACE(test.what);
        platform.calls.clear();
        answer(test.result,
               test.response_index ? std::optional(row_of(*test.response_index)) : std::nullopt);
        // The last column of the module's table, so that no other one answers after it.
        variable& var = agent.variable_of(column(2));
        oid name[MAX_OID_LEN];
        const Oid asked = column(2) + test.instance;
        std::copy(asked.begin(), asked.end(), name);
        size_t length = asked.size();
        size_t value_length = 0;
        WriteMethod* write_method = nullptr;
        const bool served =
            var.findVar(&var, name, &length, test.exact, &value_length, &write_method) != nullptr;

        EXPECT_EQ(served, test.found.has_value());
        if (test.found) {
            EXPECT_EQ(Oid(name, name + length), column(2) + *test.found);
        }
        ASSERT_EQ(platform.calls.size(), test.asked.size());
        for (size_t i = 0; i < test.asked.size(); ++i) {
            EXPECT_EQ(platform.calls[i].opcode, 1026u);
            EXPECT_EQ(platform.calls[i].operation, test.exact ? 1 : 2);
            EXPECT_EQ(platform.calls[i].length, 2780u);
            EXPECT_EQ(wire_word(*platform.calls[i].payload, 0), test.asked[i]);
        }
    }
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

TEST_F(EntityMib, SurvivesResponsesOfAnyLength)
{
    for (const size_t length : {0u, 1u, 3u, 4u, 779u, 2779u, 2780u, 2781u, 60000u}) {
        for (const int32_t result : {0, 1, 99}) {
            for (const oid index : {5u, 25813u, 300000u}) {
                answer(result, Bytes(length, 0xff));
                for (oid number = 2; number <= 16; ++number) {
                    agent.next(column(number) + Oid{index});
                    agent.get(column(number) + Oid{index});
                    agent.set(column(number) + Oid{index}, "x");
                }
            }
        }
    }
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
        EXPECT_EQ(standard_error_of([&] { EXPECT_EQ(agent.set(name, std::string(33, 'v')), 8); }),
                  "write to " + object + ": bad length\n");
        EXPECT_EQ(standard_error_of([&] { EXPECT_EQ(agent.set(name, 5), 7); }),
                  "write to " + object + " not ASN_OCTET_STR\n");
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
        platform.failed_writes.clear();
        bool readable = true; // the agent reads the instance before it writes
        platform.answer = [&](const PlatformCall& call) -> PlatformAnswer {
            if (call.operation == 3) {
                return {test.write, {}};
            }
            const int32_t result = readable ? 0 : test.lookup;
            readable = false;
            return {result, row_of(7)};
        };
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
    const Notification notification = deliver(1033, {});
    EXPECT_TRUE(notification.sent);
    EXPECT_EQ(notification.name, (Oid{1, 3, 6, 1, 2, 1, 47, 2, 0, 1}));
    EXPECT_THAT(notification.bindings, IsEmpty());
    EXPECT_THAT(platform.calls, IsEmpty());
}

TEST_F(EntityMib, TracesTheLookup)
{
    platform.debug_on = true;
    answer(1, row_of(25813));
    agent.next(column(16) + Oid{25000});
    EXPECT_THAT(
        platform.debug_output,
        ElementsAre(
            MatchesRegex(
                "header_entPhysicalTable/[0-9]+: ret_entry->entPhysicalIndex = -714866688 "),
            MatchesRegex("header_entPhysicalTable/[0-9]+: entPhyIndex = 25813 "),
            MatchesRegex("header_entPhysicalTable:[0-9]+, call transceiver mib msg_type:2, "
                         "entPhysicalIndex:25813,ret_code:1\n")));
}

} // namespace
