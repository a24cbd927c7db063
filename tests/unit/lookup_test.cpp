/// Which row a request comes to, and what is served when the platform's answer is an odd one.
#include "column.h"
#include "entity_mib.h"
#include "model_switch.h"

#include <sys/time.h>

using namespace testing;

namespace {

class Lookup : public WholeSwitchTest {
protected:
    const Oid entity = {1, 3, 6, 1, 2, 1, 47, 1};
    const Oid descr = entity + Oid{1, 1, 1, 2};
    const Oid main = {1, 3, 6, 1, 4, 1, ENTERPRISE_MAIN, 9};
    const Oid module = main + Oid{117, 1, 2, 1, 1};
    const Oid value = main + Oid{91, 1, 1, 1, 1};
    const Oid serial = main + Oid{195, 1, 4, 1, 1};
    const Oid led = main + Oid{195, 1, 3, 1, 2};
    const Oid clei = {1, 3, 6, 1, 4, 1, ENTERPRISE_ALT, 9, 92, 1, 1, 1, 11};
};

TEST_F(Lookup, OfPhysicalEntitiesTakesWhatThePlatformAnswers)
{
    const struct {
        const char* what;
        Oid instance; ///< after the column
        bool exact;
        int32_t result;
        int64_t response; ///< its index, negative for none
        uint32_t asked;   ///< index of the platform's request
        bool served;
        Oid name; ///< after the column, as the lookup leaves it
    } cases[] = {
        {"further sub-identifiers are ignored", {5, 9}, false, 0, 6, 5, true, {6}},
        {"a refused GET", {5}, true, 1, -1, 5, false, {5}},
        {"a refused GET with a response", {5}, true, 1, 6, 5, false, {5}},
        {"success without a response", {}, false, 0, -1, 0, true, {}},
        {"no sensor from here on", {25813}, false, 0, 300000, 287958, true, {300000}},
        {"nor at the end of the range", {287957}, false, 0, 300000, 287958, true, {300000}},
        {"a GET in the range resumes too", {25814}, true, 0, 287958, 287958, true, {287958}},
        {"and fails", {25814}, true, 1, -1, 287958, false, {287958}},
        {"a failure there names a row", {25814}, true, 1, 300001, 287958, false, {300001}},
        {"a row led into the range", {5}, false, 0, 25813, 5, true, {25813}},
        {"but not for a GET", {5}, true, 0, 25813, 5, false, {5}},
        {"a failure led into the range", {25000}, false, 1, 25813, 25000, false, {25000}},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.what);
        platform.calls.clear();
        PlatformAnswer answer = {test.result, {}};
        if (test.response >= 0) {
            answer.response =
                model_row(physical_table, {static_cast<uint32_t>(test.response), 0}, 0);
        }
        platform.always_answer(answer);
        const Answer found = agent.ask(descr + test.instance, test.exact);
        EXPECT_EQ(found.value.has_value(), test.served);
        EXPECT_EQ(found.name, descr + test.name);
        ASSERT_EQ(platform.calls.size(), 1U);
        EXPECT_EQ(platform.calls[0].operation, test.exact ? 1 : 2);
        EXPECT_EQ(wire_word(*platform.calls[0].payload, 0), test.asked);
    }
    platform.ports[port_at(0, 0)] = port_with_diagnostics({});
    platform.always_answer({0, model_row(physical_table, {25813, 0}, 0)});
    const Answer led_over = agent.next(descr + Oid{5});
    EXPECT_EQ(led_over.name, descr + Oid{25816});
    EXPECT_EQ(led_over.text(), "Port0/0(volt)");
}

TEST_F(Lookup, OfANameOutsideTheColumn)
{
    const struct {
        Oid column, name;
        std::optional<Oid> row; ///< after the column
    } cases[] = {
        {module + Oid{2}, module + Oid{1, 21600}, {{1}}},
        {module + Oid{2}, module + Oid{3, 1}, {}}, // the one table that does not start over
        {module + Oid{2}, module + Oid{2, 1, 9}, {{21600}}},
        {descr, entity + Oid{1, 1, 1, 3, 21600}, {{1}}},
        {value + Oid{4}, value + Oid{5, 21600}, {{1}}},
        {serial, main + Oid{195, 1, 4, 1, 2, 21600}, {{1}}},
        {serial, serial + Oid{1, 9}, {{21600}}},
        {led, main + Oid{195, 1, 3, 1, 3, 21600}, {{1, 2}}},
        {led, led + Oid{21600}, {{21600, 2}}},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(PrintToString(test.name));
        platform.calls.clear();
        const Answer found = ask(*agent.variable_for(test.column), test.name, false);
        EXPECT_EQ(found.value.has_value(), test.row.has_value());
        EXPECT_EQ(found.name, test.row ? test.column + *test.row : test.name);
        EXPECT_EQ(platform.calls.size(), test.row ? 1U : 0U);
    }
}

/// A success without a block serves the row as it stands, under the name that was asked for.
TEST_F(Lookup, ServesWhatItHasWhenASuccessBringsNothing)
{
    model.tables[physical_table][{7, 0}] = model_row(physical_table, {7, 0}, 0);
    put_text(model.tables[physical_table][{7, 0}], 2432, std::string("second") + '\0');
    agent.get(serial + Oid{7});
    agent.get(led + Oid{21600, 2});
    agent.get(module + Oid{6, 21600});
    agent.get(module + Oid{6, 7});
    EXPECT_EQ(platform.calls.back().payload->at(32 + 254), 0) << "the text is cut in its row";
    agent.get(module + Oid{8, 1});
    platform.always_answer({});
    EXPECT_EQ(agent.get(serial + Oid{8}).text(), "second");
    for (const Oid& name : {serial + Oid{9}, clei + Oid{7}, module + Oid{8, 7}, led + Oid{7, 3}}) {
        EXPECT_EQ(agent.next(name).name, name);
    }
    EXPECT_EQ(agent.next(clei + Oid{7}).text(), "") << "nothing that another read left";
    EXPECT_EQ(agent.get(serial + Oid{7}).text(), "") << "the row is one for both tables";
    EXPECT_FALSE(agent.next(value + Oid{4})) << "no row of the sensor tables";
    platform.always_answer({5, Bytes(316)});
    EXPECT_FALSE(agent.next(module + Oid{8, 7}));
}

TEST_F(Lookup, OfTablesWithoutRowsAsksForNothing)
{
    for (const RegisteredVariable* var : agent.variables()) {
        if (var->record.findVar == serve_no_rows) {
            EXPECT_FALSE(agent.next(var->full_oid()));
            EXPECT_EQ(agent.set(var->full_oid() + Oid{7}, 1), -1);
        }
    }
    EXPECT_EQ(set_entPhysicalSerialNum(0, nullptr, ASN_OCTET_STR, 0, nullptr, nullptr, 0), 17);
    EXPECT_THAT(platform.calls, IsEmpty());
}

TEST_F(Lookup, OfTimesComesToTheAgentsUptime)
{
    timeval start = {};
    gettimeofday(&start, nullptr);
    netsnmp_set_agent_starttime(&start);
    const auto seconds = static_cast<uint32_t>(start.tv_sec);
    // The last one is so long ago that its distance wraps 32 bits; 32-bit agents cannot tell.
    const std::pair<uint32_t, uint32_t> times[] = {
        {seconds + 12, 1200},
        {seconds - 5, 0},
        {0, 0},
        {seconds - 20 * 86400, 0},
        {seconds - (sizeof(long) == 8 ? 249 * 86400 : 1), 0}};
    const std::tuple<Oid, uint32_t, size_t> objects[] = {
        {entity + Oid{4, 1, 0}, last_change_time, 0},
        {module + Oid{4, 1}, module_table, 16},
        {module + Oid{5, 1}, module_table, 24},
        {value + Oid{6, 1}, sensor_value_table, 24}};
    for (const auto& [instance, opcode, offset] : objects) {
        for (const auto& [time, ticks] : times) {
            Bytes& row = model.tables.at(opcode).begin()->second;
            put_wire_word(row, offset, time);
            put_wire_word(row, offset + 4, static_cast<uint32_t>(start.tv_usec));
            EXPECT_EQ(agent.get(instance).integer(), ticks);
        }
    }
}

TEST_F(Lookup, OfScalarsThatThePlatformDoesNotTellIsZero)
{
    const PlatformAnswer answers[] = {{0, {}}, {1, Bytes(8, 1)}, {1, {}}, {0, Bytes(3, 1)}};
    for (const Oid& scalar :
         {entity + Oid{4, 1, 0}, main + Oid{117, 1, 1, 3, 0}, main + Oid{117, 1, 3, 1, 0}}) {
        for (const PlatformAnswer& answer : answers) {
            platform.always_answer(answer);
            EXPECT_EQ(agent.get(scalar).integer(), 0U);
        }
        EXPECT_FALSE(agent.next(scalar));
    }
}

/// The trace is where the refusals of this object go.
TEST_F(Lookup, TracesTheWritesOfASecondSerialNumber)
{
    platform.debug_on = true;
    const std::tuple<u_char, size_t, int32_t, const char*> writes[] = {
        {ASN_INTEGER, 4, 0, "type Not ASN_OCTET_STR "},
        {ASN_OCTET_STR, 33, 0, "-- Bad length "},
        {ASN_OCTET_STR, 32, 0, "-- cmi_req_resp Success !! "},
        {ASN_OCTET_STR, 32, 1, "-- cmi_req_resp Failed !! "}};
    for (const auto& [type, length, result, outcome] : writes) {
        write_result = result;
        agent.set(serial + Oid{1}, type, Bytes(length, 'n'));
        EXPECT_THAT(platform.debug_output,
                    Contains(std::string("set_entPhysicalSecondSerialNum ") + outcome + '\n'));
    }
}

} // namespace
