/// Asset codes, second serial numbers and LEDs, driven through their registered variables.
#include "scripted_agent.h"

using namespace testing;

extern "C" {
void init_entity_asset_mib();
void deinit_entity_asset_mib();
void init_entity_ext_mib();
void deinit_entity_ext_mib();
}

namespace {

const Oid clei = {1, 3, 6, 1, 4, 1, ENTERPRISE_ALT, 9, 92, 1, 1, 1, 11};
const Oid led = {1, 3, 6, 1, 4, 1, ENTERPRISE_MAIN, 9, 195, 1, 3, 1, 2};
const Oid serial = {1, 3, 6, 1, 4, 1, ENTERPRISE_MAIN, 9, 195, 1, 4, 1, 1};

Bytes entity_of(uint32_t index, const std::string& code, const std::string& second_serial)
{
    Bytes row(2780, 0x5a);
    put_wire_word(row, 0, index);
    put_text(row, 2432, second_serial + '\0');
    put_text(row, 2509, code + '\0');
    return row;
}

void init()
{
    init_entity_asset_mib();
    init_entity_ext_mib();
}

void deinit()
{
    deinit_entity_ext_mib();
    deinit_entity_asset_mib();
}

class Extension : public ModuleTest {
protected:
    Extension() : ModuleTest(init, deinit)
    {
        platform.serve_rows({{7, entity_of(7, "CODE000007", "second 7")},
                             {9, entity_of(9, "", std::string(32, 's'))},
                             {300000, entity_of(300000, "X", "")}});
    }
};

TEST_F(Extension, ServesEveryRowOfBothTables)
{
    std::vector<std::string> codes;
    for (const Binding& binding : agent.walk(clei)) {
        codes.push_back(std::to_string(binding.name.back()) + " " + binding.text());
        EXPECT_EQ(binding.name.size(), 14u);
        EXPECT_EQ(binding.write_method, nullptr);
    }
    EXPECT_THAT(codes, ElementsAre("7 CODE000007", "9 ", "300000 X"));

    std::vector<std::string> serials;
    for (const Binding& binding : agent.walk(serial)) {
        serials.push_back(std::to_string(binding.name.back()) + " " + binding.text());
        EXPECT_NE(binding.write_method, nullptr);
    }
    EXPECT_THAT(serials, ElementsAre("7 second 7", "9 " + std::string(32, 's'), "300000 "));
    for (const PlatformCall& call : platform.calls) {
        EXPECT_EQ(call.opcode, 1026u);
        EXPECT_EQ(call.operation, 2);
        EXPECT_EQ(call.length, 2780u);
    }
}

TEST_F(Extension, BoundsWhatItServes)
{
    platform.answer = [](const PlatformCall&) { return PlatformAnswer{0, Bytes(2780, 'x')}; };
    EXPECT_EQ(agent.get(serial + Oid{7})->value.size(), 32u);
    EXPECT_EQ(agent.get(clei + Oid{7})->value.size(), 271u) << "to the end of the record";
}

TEST_F(Extension, LeaksNothingFromOneTableIntoTheOther)
{
    agent.get(serial + Oid{7});
    platform.answer = [](const PlatformCall&) { return PlatformAnswer{0, {}}; };
    // Without a response the extension table answers from what the row held ...
    EXPECT_EQ(agent.get(serial + Oid{8})->text(), "second 7");
    EXPECT_EQ(platform.calls.back().payload->at(2432), 's');
    // ... and the asset table from nothing at all, under the name that was asked for.
    const auto binding = agent.next(clei + Oid{7});
    EXPECT_EQ(binding->text(), "");
    EXPECT_EQ(binding->name, clei + Oid{7});
    Bytes key(2780);
    put_wire_word(key, 0, 7);
    EXPECT_EQ(platform.calls.back().payload, key);
    EXPECT_EQ(agent.get(serial + Oid{7})->text(), "") << "the row is one for both";
}

TEST_F(Extension, AsksForNothingThatCannotBeARow)
{
    EXPECT_FALSE(agent.get(clei + Oid{7, 1}));
    EXPECT_FALSE(agent.get(serial + Oid{7, 1}));
    EXPECT_FALSE(agent.get(led + Oid{7, 1, 1}));
    EXPECT_THAT(platform.calls, IsEmpty());
    for (const Oid& column : {clei, serial}) {
        EXPECT_FALSE(agent.get(column + Oid{8}));
        EXPECT_EQ(agent.next(column + Oid{7, 4})->name, column + Oid{9});
    }
}

TEST_F(Extension, WritesTheSecondSerialNumber)
{
    for (const std::string& value : {std::string(32, 'n'), std::string("new"), std::string()}) {
        EXPECT_EQ(agent.set(serial + Oid{7}, value), 0);
        Bytes expected = entity_of(7, "CODE000007", "second 7");
        std::fill_n(expected.begin() + 2432, 32, uint8_t{0});
        put_text(expected, 2432, value);
        EXPECT_EQ(platform.calls.back().operation, 3);
        EXPECT_EQ(platform.calls.back().payload, expected);
    }
    platform.debug_on = true;
    const auto refused = [&](int status, auto set, const std::string& trace) {
        platform.debug_output.clear();
        EXPECT_EQ(standard_error_of([&] { EXPECT_EQ(set(), status); }), "");
        EXPECT_THAT(platform.debug_output, Contains("set_entPhysicalSecondSerialNum" + trace));
    };
    refused(
        8, [&] { return agent.set(serial + Oid{7}, std::string(33, 'n')); }, " -- Bad length \n");
    refused(
        7, [&] { return agent.set(serial + Oid{7}, 5); }, " type Not ASN_OCTET_STR \n");
    const struct {
        int32_t lookup, write;
        int status;
        const char* trace;
    } cases[] = {{0, 0, 0, " -- cmi_req_resp Success !! \n"},
                 {0, 1, 2, " -- cmi_req_resp Failed !! \n"},
                 {0, 2, 5, " -- cmi_req_resp Failed !! \n"},
                 {1, 0, 2, " -- header_qeExtEntPhysicalTable() Failed !! \n"},
                 {2, 0, 5, " -- header_qeExtEntPhysicalTable() Failed !! \n"}};
    for (const auto& test : cases) {
        platform.answer_write(entity_of(7, "", ""), test.lookup, test.write);
        refused(
            test.status, [&] { return agent.set(serial + Oid{7}, "x"); }, test.trace);
        EXPECT_EQ(platform.calls.back().operation, test.lookup == 0 ? 3 : 1);
        EXPECT_EQ(platform.failed_writes.size(), test.write == 0 ? 0u : 1u);
    }
}

TEST_F(Extension, WalksLedsByBothIndexes)
{
    const std::map<std::pair<uint32_t, uint32_t>, uint32_t> leds = {
        {{7, 1}, 3}, {{7, 2}, 4}, {{9, 1}, 5}};
    platform.answer = [&](const PlatformCall& call) -> PlatformAnswer {
        const std::pair key = {wire_word(*call.payload, 0), wire_word(*call.payload, 4)};
        const auto found = call.operation == 1 ? leds.find(key) : leds.upper_bound(key);
        if (found == leds.end()) {
            return {1, Bytes(12, 0xff)};
        }
        Bytes row(12);
        put_wire_word(row, 0, found->first.first);
        put_wire_word(row, 4, found->first.second);
        put_wire_word(row, 8, found->second);
        return {0, row};
    };
    std::vector<std::pair<Oid, uint32_t>> found;
    for (const Binding& binding : agent.walk(led)) {
        found.emplace_back(binding.name, binding.integer());
    }
    EXPECT_THAT(found, ElementsAre(Pair(led + Oid{7, 1}, 3), Pair(led + Oid{7, 2}, 4),
                                   Pair(led + Oid{9, 1}, 5)));
    EXPECT_EQ(platform.calls[0].opcode, 3242u);
    EXPECT_EQ(platform.calls[0].length, 12u);
    EXPECT_EQ(platform.calls[0].req_class, 5u);

    EXPECT_EQ(agent.get(led + Oid{7, 2})->integer(), 4u);
    EXPECT_EQ(agent.next(led + Oid{7})->name, led + (Oid{7, 1}));
    EXPECT_FALSE(agent.get(led + Oid{7}));
    EXPECT_EQ(*platform.calls.back().payload, (Bytes{0, 0, 0, 7, 0, 0, 0, 0, 0, 0, 0, 3}))
        << "the last value travels along";

    platform.answer = [](const PlatformCall&) { return PlatformAnswer{0, {}}; };
    EXPECT_EQ(ask(*agent.variable_for(led), led + Oid{7, 3}, false).name, led + (Oid{7, 3}));
}

TEST_F(Extension, Traces)
{
    platform.debug_on = true;
    agent.get(clei + Oid{7});
    agent.get(clei + Oid{8});
    agent.get(serial + Oid{7});
    agent.get(serial + Oid{8});
    agent.get(led + Oid{7, 1, 1});
    init_entity_asset_mib();
    deinit_entity_asset_mib();
    init_entity_ext_mib();
    deinit_entity_ext_mib();
    EXPECT_THAT(
        platform.debug_output,
        ElementsAre(
            "header_qeAssetTable called\n", "header_qeAssetTable cmi_req_resp - Success !!  \n",
            "get_qeAssetTable -- Asset CLEI code : CODE000007 \n", "header_qeAssetTable called\n",
            "header_qeAssetTable cmi_req_resp NOT Success !!  \n",
            "get_qeExtEntPhysicalTable called\n", "header_qeExtEntPhysicalTable called\n",
            "header_qeExtEntPhysicalTable cmi_req_resp - Success !!  \n",
            "get_qeExtEntPhysicalTable -- Second Serial Num : second 7 \n",
            "get_qeExtEntPhysicalTable called\n", "header_qeExtEntPhysicalTable called\n",
            "header_qeExtEntPhysicalTable cmi_req_resp NOT Success !!  \n",
            "get_qeExtEntityLEDTable called\n",
            "init_entity_asset_mib: Registering Entity Asset MIB ...\n",
            "deinit_entity_asset_mib: Unregistering Entity Asset mib ...\n",
            "init_entity_ext_mib: Registering Entity Ext MIB ...\n",
            "deinit_entity_ext_mib: Unregistering Entity Ext mib ...\n"));
}

} // namespace
