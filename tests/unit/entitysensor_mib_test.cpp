/// Sensors: their index scheme, the cache of diagnostics, both sensor tables and the transceivers'
/// rows of the physical table.
#include "entitysensor_mib_folvex.h"
#include "scripted_agent.h"
#include "sensor_index.h"

#include <regex>
#include <set>

using namespace testing;

extern "C" {
void init_entity_mib();
void deinit_entity_mib();
void init_entitysensor_mib();
void deinit_entitysensor_mib();
}

namespace {

const Oid root = {1, 3, 6, 1, 4, 1, ENTERPRISE_MAIN, 9, 91};
const Oid value_table = root + Oid{1, 1, 1, 1};
const Oid threshold_table = root + Oid{1, 2, 1, 1};
const Oid physical_table = {1, 3, 6, 1, 2, 1, 47, 1, 1, 1, 1};
const Oid value = value_table + Oid{4};
const Oid threshold_value = threshold_table + Oid{4};
const Oid physical_name = physical_table + Oid{7};

uint32_t port(uint32_t slot, uint32_t number)
{
    return 26u << 24 | slot << 16 | number << 8;
}

/// Index of the code-1 row of a port.
oid block(uint32_t slot, uint32_t number)
{
    return 25814 + 4096 * slot + 16 * number;
}

Bytes wire_record(size_t size, const std::vector<uint32_t>& words)
{
    Bytes record(size);
    for (size_t i = 0; i < words.size(); ++i) {
        put_wire_word(record, 4 * i, words[i]);
    }
    return record;
}

/// The platform as the tables see it: a sensor at 21600 with thresholds 1 and 3, and one at 300000
/// that it tells of once a walk is past the transceivers.
PlatformAnswer own_sensors(const PlatformCall& call)
{
    const uint32_t index = wire_word(*call.payload, 0);
    const bool thresholds = call.opcode == 1032;
    const uint64_t asked = uint64_t{index} << 32 | (thresholds ? wire_word(*call.payload, 4) : 1);
    for (const auto& [sensor, number] : {std::pair{21600u, 1u}, {21600u, 3u}, {300000u, 1u}}) {
        const uint64_t row = uint64_t{sensor} << 32 | number;
        if ((!thresholds && number > 1) || (call.operation == 2 ? row <= asked : row != asked)) {
            continue;
        }
        if (sensor == 300000 && index < 25813) {
            break;
        }
        return {0, thresholds            ? wire_record(28, {sensor, number, 20, 4, 75, 2, 1})
                   : call.opcode == 1026 ? wire_record(2780, {sensor})
                                         : wire_record(40, {sensor, 8, 9, 1, 253, 2, 0, 0, 30, 7})};
    }
    const bool leads_over = call.opcode == 1026 && index < 25813;
    return {1, leads_over ? std::optional(wire_record(4, {25813})) : std::nullopt};
}

class EntitySensorMib : public ModuleTest {
protected:
    EntitySensorMib() : ModuleTest(init_entitysensor_mib, deinit_entitysensor_mib)
    {
        standard_output_of(init_entity_mib);
        platform.answer = own_sensors;
        Bytes diagnostics(172);
        const std::pair<size_t, uint32_t> words[] = {{8, 1},    {12, 31000}, {16, 3300000}, {20, 7},
                                                     {24, 500}, {28, 1259},  {112, 3000000}};
        for (const auto& [offset, word] : words) {
            put_host_word(diagnostics, offset, word);
        }
        usual_port.diagnostics.response = diagnostics;
        usual_port.info.response->at(101) = 0x68;
    }
    ~EntitySensorMib() override { standard_output_of(deinit_entity_mib); }

    ScriptedPort usual_port;
};

std::vector<oid> indexes_of(const Oid& column)
{
    std::vector<oid> indexes;
    for (const Binding& binding : agent.walk(column)) {
        indexes.push_back(binding.name.at(column.size()));
    }
    return indexes;
}

TEST_F(EntitySensorMib, IndexesAreMadeOfSlotPortAndCode)
{
    const std::tuple<uint32_t, int32_t, int32_t, int32_t> cases[] = {
        {25816, 0, 0, 3},    {25828, 0, 0, 15}, {29949, 1, 2, 8},
        {96468, 17, 63, 15}, {25813, 0, 0, 0},  {287957, 63, 255, 16}};
    for (const auto& [index, slot, number, code] : cases) {
        EXPECT_EQ(chm_snmp_entity_to_sensor_slot_num(&index), slot);
        const auto of_slot = static_cast<uint32_t>(slot);
        EXPECT_EQ(chm_snmp_entity_to_port_num(&index, &of_slot), number);
        EXPECT_EQ(get_port_sensor_type_from_entPhyIndex(&index), code);
    }
    for (uint32_t slot = 0; slot < 64; ++slot) {
        for (uint32_t number = 0; number < 256; number += 5) {
            for (uint32_t code = 1; code <= 16; ++code) {
                const auto index = static_cast<uint32_t>(block(slot, number) + code - 1);
                ASSERT_EQ(get_if_index_from_entPhyIndex(&index), port(slot, number));
                ASSERT_EQ(get_port_sensor_type_from_entPhyIndex(&index), code);
            }
            ASSERT_EQ(get_entPhyIndex_from_if_index(port(slot, number)), block(slot, number));
        }
    }
    const std::map<int32_t, int32_t> cache_sensors = {{3, 0}, {5, 1}, {8, 2}, {14, 3}, {15, 4}};
    for (int32_t code = -3; code < 20; ++code) {
        const bool valid = cache_sensors.contains(code);
        EXPECT_EQ(chm_is_port_sfp_sens_type_valid(code), valid ? 1 : 0);
        EXPECT_EQ(chm_match_ent_sensor_type(code), valid ? cache_sensors.at(code) : 6);
        EXPECT_EQ(chm_is_entity_sensor_threshold_value_valid(code), code >= 1 && code <= 4 ? 1 : 0);
    }
    for (const uint32_t index : {0u, 25812u, 0x80000000u, 0xffffffffu}) {
        get_if_index_from_entPhyIndex(&index); // for the sanitizer to see
        get_port_sensor_type_from_entPhyIndex(&index);
    }
}

TEST_F(EntitySensorMib, AllTablesWalkTheSameSensors)
{
    // The last two have no place in the cache.
    const std::pair<uint32_t, uint32_t> places[] = {{0, 0}, {0, 5}, {17, 63}, {17, 64}, {63, 255}};
    std::vector<oid> expected = {21600};
    for (const auto& [slot, number] : places) {
        ScriptedPort& added = platform.ports[port(slot, number)] = usual_port;
        if (number == 5) {
            added.lanes = 4;
            added.diagnostics.response->resize(4 * 172);
        }
        for (const oid offset : {2, 4, 7, 13, 14}) {
            expected.push_back(block(slot, number) + offset);
        }
    }
    platform.ports[port(3, 0)] = usual_port; // not to be read now
    platform.ports[port(3, 0)].config.response = ScriptedPort::port_config(0, 0);
    platform.next_port = [](uint32_t if_index) -> PlatformAnswer {
        auto next = platform.ports.upper_bound(if_index);
        if (next != platform.ports.end() && next->first == port(3, 0)) {
            ++next;
        }
        if (next == platform.ports.end()) {
            return {3, {}};
        }
        Bytes answer(4);
        put_host_word(answer, 0, next->first);
        return {0, answer};
    };
    expected.push_back(300000);

    EXPECT_EQ(indexes_of(value), expected);
    EXPECT_EQ(indexes_of(physical_name), expected);
    std::vector<Oid> thresholds = {{21600, 1}, {21600, 3}};
    for (const oid index : std::vector(expected.begin() + 1, expected.end() - 1)) {
        for (oid number = 1; number <= 4; ++number) {
            thresholds.push_back({index, number});
        }
    }
    thresholds.push_back({300000, 1});
    std::vector<Oid> found;
    for (const Binding& binding : agent.walk(threshold_value)) {
        found.emplace_back(binding.name.end() - 2, binding.name.end());
    }
    EXPECT_EQ(found, thresholds);
    EXPECT_EQ(platform.ports.at(port(0, 0)).reads, 1);
    EXPECT_EQ(platform.ports.at(port(0, 5)).reads, 1);
    EXPECT_EQ(platform.ports.at(port(17, 63)).reads, 1);
    EXPECT_GT(platform.ports.at(port(17, 64)).reads, 5);
    for (const std::string& call : platform.port_calls) {
        EXPECT_THAT(call, Not(HasSubstr("wrong")));
    }
}

TEST_F(EntitySensorMib, ServesTheColumnsOfBothKindsOfSensors)
{
    platform.ports[port(1, 2)] = usual_port;
    const oid base = block(1, 2);
    struct {
        oid index;
        int32_t columns[8];
    } const values[] = {
        {21600, {8, 9, 1, 253, 2, 0, 30, 21600}},
        {base + 2, {3, 8, 0, 3300, 1, 0, 60, static_cast<int32_t>(base + 2)}},
        {base + 4, {5, 8, 0, 7, 1, 0, 60, static_cast<int32_t>(base + 4)}},
        {base + 7, {8, 8, 0, 31000, 1, 0, 60, static_cast<int32_t>(base + 7)}},
        {base + 13, {14, 8, 0, 1000, 1, 0, 60, static_cast<int32_t>(base + 13)}},
        {base + 14, {14, 8, 0, -3010, 1, 0, 60, static_cast<int32_t>(base + 14)}},
    };
    for (const auto& [index, columns] : values) {
        for (oid column = 1; column <= 8; ++column) {
            const auto binding = agent.get(value_table + Oid{column, index});
            ASSERT_TRUE(binding) << index;
            EXPECT_EQ(static_cast<int32_t>(binding->integer()), columns[column - 1])
                << index << " " << column;
        }
    }
    const std::tuple<Oid, std::vector<int32_t>> thresholds[] = {
        {{21600, 3}, {20, 4, 75, 2, 1}},
        {{base + 2, 3}, {1, 1, 3000, 0, 1}}, // low alarm
        {{base + 14, 4}, {1, 1, INT32_MIN, 0, 1}},
    };
    for (const auto& [instance, columns] : thresholds) {
        for (oid column = 2; column <= 6; ++column) {
            const auto binding = agent.get(threshold_table + Oid{column} + instance);
            ASSERT_TRUE(binding);
            EXPECT_EQ(static_cast<int32_t>(binding->integer()), columns[column - 2]) << column;
        }
    }
    variable scalar = *agent.variable_for(value);
    scalar.type = 0;
    Oid name(MAX_OID_LEN);
    size_t length = 0, var_len = 0;
    WriteMethod* write_method = nullptr;
    EXPECT_EQ(get_entitySensorMIB(&scalar, name.data(), &length, 0, &var_len, &write_method),
              nullptr);
    EXPECT_THAT(agent.details, ElementsAre(""));
}

TEST_F(EntitySensorMib, PhysicalRowsSayWhatTheTransceiverIs)
{
    usual_port.info.response->at(470) = 'x'; // every text without an end
    platform.ports[port(1, 2)] = usual_port;
    platform.ports[port(1, 3)] = usual_port;
    platform.ports[port(1, 3)].info.response->at(101) = 0; // no diagnostics
    platform.ports[port(1, 3)].info.response->resize(400); // and cut short
    const auto text = [](oid column, oid index) {
        const auto binding = agent.get(physical_table + Oid{column, index});
        return binding ? binding->text() : "none";
    };
    const std::tuple<oid, std::string, oid> rows[] = {
        {2, "Port1/2(volt)", 49},    {4, "Port1/2(ampere)", 48},  {7, "Port1/2(celsius)", 50},
        {13, "Port1/2(Rx-dBm)", 46}, {14, "Port1/2(Tx-dBm)", 47},
    };
    for (const auto& [offset, name, vendor_type] : rows) {
        const oid index = block(1, 2) + offset;
        EXPECT_EQ(text(2, index), name);
        EXPECT_EQ(text(7, index), name);
        const Oid type = {1, 3, 6, 1, 4, 1, ENTERPRISE_MAIN, 12, 3, 1, 8, vendor_type};
        const auto* bytes = reinterpret_cast<const uint8_t*>(type.data());
        EXPECT_EQ(agent.get(physical_table + Oid{3, index})->value,
                  Bytes(bytes, bytes + 12 * sizeof(oid)));
        EXPECT_EQ(agent.get(physical_table + Oid{5, index})->integer(), 8u);
        EXPECT_EQ(text(12, index), "maker" + std::string(249, 'x'));
        EXPECT_EQ(text(13, index), "part" + std::string(250, 'x'));
        EXPECT_EQ(text(11, index), "serial" + std::string(26, 'x'));
        EXPECT_EQ(text(14, index), "another" + std::string(25, 'x'));
    }
    agent.get(physical_table + Oid{8, 21600});
    EXPECT_EQ(text(7, block(1, 3) + 2), "");
    EXPECT_EQ(text(8, block(1, 3) + 2), "") << "nothing of another row";
    const oid unknown[] = {1, 3, 6, 1, 4, 1, ENTERPRISE_ALT, 12, 3, 1, 8, 30};
    const auto* bytes = reinterpret_cast<const uint8_t*>(unknown);
    EXPECT_EQ(agent.get(physical_table + Oid{3, block(1, 3) + 2})->value,
              Bytes(bytes, bytes + sizeof unknown));
}

TEST_F(EntitySensorMib, ReadsAPortAgainAfterAMinute)
{
    ScriptedPort& read = platform.ports[port(0, 0)] = usual_port;
    // When a sensor is asked for, and how often the port has been read by then.
    const std::pair<uint32_t, int> times[] = {
        {0, 1},          {5999, 1}, {6000, 2}, {11999, 2},
        {0xffffffff, 3}, {5998, 3}, {5999, 4}}; // the uptime wrapped
    for (const auto& [uptime, reads] : times) {
        platform.uptime = uptime;
        EXPECT_TRUE(agent.get(value + Oid{25816}));
        EXPECT_TRUE(agent.get(threshold_value + Oid{25818, 1}));
        EXPECT_EQ(read.reads, reads) << uptime;
    }
    platform.uptime += 6000;
    read.diagnostics.result = 7;
    EXPECT_FALSE(agent.get(value + Oid{25816})) << "never an old reading";
    read.diagnostics.result = 0;
    read.lanes = 2; // more than the array holds: makes no sense
    EXPECT_FALSE(agent.get(value + Oid{25816}));
    platform.uptime -= 6000;
    EXPECT_FALSE(agent.get(value + Oid{25816})) << "the old reading is gone";
}

TEST_F(EntitySensorMib, RefusesWhatIsNoSensor)
{
    platform.ports[port(0, 0)] = usual_port;
    for (const oid offset : {0, 1, 3, 5, 6, 8, 9, 10, 11, 12, 15, 16, 18}) {
        EXPECT_FALSE(agent.get(value + Oid{25814 + offset})) << offset;
        EXPECT_FALSE(agent.get(threshold_value + Oid{25814 + offset, 1})) << offset;
    }
    platform.port_calls.clear();
    for (const oid number : {0, 5}) {
        EXPECT_FALSE(agent.get(threshold_value + Oid{25816, number}));
    }
    for (const oid index : {0, 5, 25700, 287958}) {
        EXPECT_FALSE(agent.get(value + Oid{index}));
        EXPECT_FALSE(agent.get(threshold_value + Oid{index, 1}));
    }
    platform.calls.clear();
    EXPECT_FALSE(agent.get(value + Oid{25816, 1}));
    EXPECT_FALSE(agent.get(value + Oid{255025685}));
    EXPECT_FALSE(agent.get(threshold_value + Oid{25816, 1, 1}));
    EXPECT_FALSE(agent.get(threshold_value + Oid{255025685, 1}));
    EXPECT_THAT(platform.calls, IsEmpty());
    EXPECT_THAT(platform.port_calls, IsEmpty());

    platform.port_type = 3;
    EXPECT_FALSE(agent.get(value + Oid{25816}));
    EXPECT_THAT(platform.port_calls, IsEmpty());
    platform.port_type = 2;
    platform.ports[2u << 24] = usual_port;
    EXPECT_TRUE(agent.get(value + Oid{25816}));

    platform.answer = [](const PlatformCall&) { return PlatformAnswer{}; };
    EXPECT_FALSE(agent.next(value)) << "success without a response";
}

TEST_F(EntitySensorMib, WalksForwardFromAnywhere)
{
    platform.ports[port(0, 0)] = platform.ports[port(0, 1)] = usual_port;
    const std::pair<Oid, Oid> thresholds[] = {
        {{25816}, {25816, 1}},     {{25816, 4}, {25818, 1}},          {{25828, 4}, {25832, 1}},
        {{25817, 3}, {25818, 1}},  {{25813, 2}, {25816, 1}},          {{25700, 9}, {25816, 1}},
        {{25844, 4}, {300000, 1}}, {{25816, 4294967295}, {25818, 1}},
    };
    for (const auto& [from, to] : thresholds) {
        EXPECT_EQ(agent.next(threshold_value + from)->name, threshold_value + to);
    }
    const std::pair<oid, oid> values[] = {{25700, 25816}, {25813, 25816},  {25816, 25818},
                                          {25828, 25832}, {25844, 300000}, {287958, 300000}};
    for (const auto& [from, to] : values) {
        EXPECT_EQ(agent.next(value + Oid{from})->name, value + Oid{to});
    }
    // Beyond the range slots would repeat.
    EXPECT_NE(agent.next(value + Oid{25814 + 256 * 4096})->name.at(13), 4u);
}

TEST_F(EntitySensorMib, WalksEndWhateverThePortManagerAnswers)
{
    using NextPort = std::function<PlatformAnswer(uint32_t)>;
    const auto named = [](uint32_t if_index) {
        Bytes answer(4);
        put_host_word(answer, 0, if_index);
        return PlatformAnswer{0, answer};
    };
    // Each after the sensors of the ports 0/0 and 0/1.
    const std::pair<const char*, NextPort> answers[] = {
        {"the same port", [&](uint32_t if_index) { return named(if_index); }},
        {"the first port", [&](uint32_t) { return named(port(0, 0)); }},
        {"an earlier port", [&](uint32_t if_index) { return named(if_index - 256); }},
        {"no block", [](uint32_t) { return PlatformAnswer{}; }},
        {"a short block",
         [](uint32_t) {
             return PlatformAnswer{0, Bytes(1)};
         }},
        {"an error with a block",
         [&](uint32_t) {
             return PlatformAnswer{9, Bytes(64)};
         }},
        {"a slot without indexes", [&](uint32_t) { return named(port(64, 0)); }},
        {"a port that cannot be read", [&](uint32_t) { return named(port(9, 9)); }},
    };
    for (const auto& [what, answer] : answers) {
        SCOPED_TRACE(what);
        platform.ports = {{port(0, 0), usual_port}, {port(0, 1), usual_port}};
        platform.next_port = [&](uint32_t if_index) {
            return if_index == port(0, 0) ? named(port(0, 1)) : answer(if_index);
        };
        EXPECT_EQ(indexes_of(value).size(), 12u);
        EXPECT_EQ(indexes_of(physical_name).size(), 12u);
        EXPECT_EQ(agent.walk(threshold_value).size(), 43u);
    }
    // A port that goes away in the middle of a walk, and ports that make no sense.
    platform.next_port = nullptr;
    platform.ports.erase(port(0, 0));
    EXPECT_EQ(agent.next(value + Oid{25816})->name, value + Oid{25832});
    for (ScriptedPort broken : {ScriptedPort{}, ScriptedPort{}, ScriptedPort{}}) {
        platform.uptime += 6000;
        broken.lanes = 1;
        broken.diagnostics.response.reset();
        platform.ports[port(0, 0)] = broken;
        EXPECT_EQ(agent.next(value)->name, value + Oid{21600});
        EXPECT_EQ(agent.next(value + Oid{21600})->name, value + Oid{25832}) << "passes by it";
        EXPECT_EQ(agent.next(threshold_value + Oid{21600, 3})->name,
                  threshold_table + Oid({5, 21600, 1}))
            << "ends the column";
    }
}

TEST_F(EntitySensorMib, WritesTheNotificationEnable)
{
    const Oid enable = threshold_table + Oid{6};
    platform.answer_write(wire_record(28, {21600, 3, 20, 4, 75, 2, 1}), 0, 0);
    EXPECT_EQ(agent.set(enable + Oid{21600, 3}, 2), 0);
    const PlatformCall& write = platform.calls.back();
    EXPECT_EQ(write.opcode, 1032u);
    EXPECT_EQ(write.operation, 3);
    EXPECT_EQ(*write.payload, wire_record(28, {21600, 3, 20, 4, 75, 2, 2}));
    EXPECT_EQ(write.req_class, 5u);

    const std::pair<int32_t, int> statuses[] = {{1, 2}, {2, 17}, {3, 5}, {129, 5}};
    for (const auto& [result, status] : statuses) {
        platform.answer_write(wire_record(28, {21600, 3}), 0, result);
        EXPECT_EQ(agent.set(enable + Oid{21600, 3}, 1), status);
        EXPECT_EQ(platform.failed_writes.size(), 1u);
    }
    platform.answer_write(wire_record(28, {21600, 3}), 2, 0);
    EXPECT_EQ(agent.set(enable + Oid{21600, 3}, 1), 17) << "a lookup's status";

    const std::string name = "write to entSensorThresholdNotificationEnable";
    EXPECT_THAT(refusal(enable + Oid{21600, 3}, std::string("x")),
                Pair(7, name + " not ASN_INTEGER\n"));
    EXPECT_THAT(refusal(enable + Oid{21600, 3}, Integer(sizeof(long) + 1)),
                Pair(8, name + ": bad length\n"));
    EXPECT_THAT(refusal(enable + Oid{21600, 3}, 3L), Pair(10, ""));
    EXPECT_THAT(refusal(enable + Oid{21600, 3}, 0L), Pair(10, ""));
}

TEST_F(EntitySensorMib, NotifiesOfACrossing)
{
    const Notification sent = deliver(1038, wire_record(16, {25816, 70, 75, 2}));
    EXPECT_TRUE(sent.sent);
    EXPECT_EQ(sent.name, root + Oid({2, 0, 1}));
    EXPECT_THAT(briefly(sent), ElementsAre(Brief{threshold_value + Oid({25816, 2}), 2, "75"},
                                           Brief{value + Oid{25816}, 2, "70"}));
    EXPECT_FALSE(deliver(1038, nullptr).sent);
    ::Message empty;
    EXPECT_FALSE(deliver(1038, &empty).sent);
}

/// What a GETNEXT traces, the lines of sources as "/@".
std::string traces_of(const Oid& instance_before)
{
    static const std::regex source_line("/\\d+(?=:| )");
    static const std::regex long_code(" 0{300} ");
    platform.debug_output.clear();
    agent.next(instance_before);
    std::string traces;
    for (const std::string& trace : platform.debug_output) {
        if (!trace.starts_with("chm_is_port_sfp") && !trace.starts_with("get_if_index") &&
            !trace.starts_with("ent_parse")) {
            traces +=
                std::regex_replace(std::regex_replace(trace, source_line, "/@"), long_code, "");
        }
    }
    return traces;
}

TEST_F(EntitySensorMib, TracesItsWay)
{
    platform.ports[port(0, 0)] = platform.ports[port(0, 1)] = usual_port;
    platform.ports[port(0, 1)].diagnostics.result = 7;
    platform.uptime = 12345;
    platform.debug_on = true;
    EXPECT_EQ(traces_of(value + Oid{25816}),
              R"(header_entSensorValueTable: came with GETNEXT_REQ EPI= 25816
header_entSensorValueTable/@: entPhyIndex = 25816 entSensorValueTable_trans_sensor/@: entry->entPhysicalIndex = 25816 sfp_diag_entry.entPhysicalIndex = 25816
entSensorValueTable_trans_sensor/@: ENTITY_SENSOR_START:21589, ENTITY_SENSOR_END:25685
ENTITY_PORT_SFP_SENSOR_START = 25813, ENTITY_PORT_SFP_SENSOR_END:287957
entSensorValueTable_trans_sensor/@: sfp_diag_entry.entPhysicalIndex = 25817, ifIndex = 0x1a000000, sensor_type = 4
ent_cmi_get_fcot_info: if_index_for_sfp_info = 0x1a000000
ent_cmi_get_fcot_info:Copying values in fcot_res 
ent_cmi_get_fcot_info: slot and port for if_index = 0x1a000000 are 0and 0
chm_is_sfp_cache_entry_present_and_current: age: 12345 exceeded 0, slot: 0 port: 0 if_index: 0x1a000000
chm_is_sfp_cache_entry_present_and_current: not found in cache, age of stats: 123 ret_val:0
ent_cmi_get_fcot_info: pm_get_sfp_diag_info call success, ent_phyI = 25818,slot_num:0,port_num:0, num_of_lanes:1 
ent_cmi_get_fcot_info: timestamp update: 12345 slot: 0 port: 0 if_index: 0x1a000000
ent_cmi_get_fcot_info: type = 5, value = 7, scale = 8
, update_rate = 60
ent_get_entry_from_cache: sensor values are:entSensorType = 5, entSensorScale = 8, entSensorPrecision = 0, entSensorValue = 7, entSensorStatus = 1, entSensorValueUpdateRate = 60.
header_entSensorValueTable/@: entPhyIndex = 25818 ret_code 0)");
    EXPECT_EQ(
        traces_of(threshold_value + Oid{25828, 4}),
        R"(header_entSensorThresholdTable:entSensorThresholdindex = 4, entPhysicalIndex = 25828
entSensorThresholdTable_trans_sensor: sens_thresh = 1, entPhyIndex = 25829
entSensorThresholdTable_trans_sensor: entPhyIndex = 25829, ifIndex = 0x1a000000, sensor_type = 16
ent_cmi_get_fcot_threshold: if_index_for_sfp_info = 0x1a000000
ent_cmi_get_fcot_threshold: pm_get_next_port_fcot_info_with_ddm call success ret_val = 0x0, if_index = 0x1a000000, n_if_index = 0x1a000100
ent_cmi_get_fcot_threshold: slot and port for if_index = 0x1a000100 are 0and 1
chm_is_sfp_cache_entry_present_and_current: age: 12345 exceeded 0, slot: 0 port: 1 if_index: 0x1a000100
chm_is_sfp_cache_entry_present_and_current: not found in cache, age of stats: 123 ret_val:0
ent_cmi_get_fcot_threshold: pm_get_sfp_diag_info callfailed, ret_val = 0x7, 0x4029002a
entSensorThresholdTable_trans_sensor: FALIED EPI = 25829
entSensorThresholdTable_trans_sensor: call to get fcot info failed, retcode = 0x7
chm_log_snmp_error: logging snmp error - code 7
)");
    EXPECT_EQ(
        traces_of(physical_name + Oid{25816}),
        R"(header_entPhysicalTable/@: entPhyIndex = 25816 entPhysicalTable_trans_sensor/@ entry.entPhysicalIndex 25816
entPhysicalTable_trans_sensor/@ entry.entPhysicalIndex 25817
entPhysicalTable_trans_sensor/@: entPhyIndex = 25817, ifIndex = 0x1a000000, sensor_type = 4,port_type:26
ent_cmi_get_fcot_info: if_index_for_sfp_info = 0x1a000000
ent_cmi_get_fcot_info:Copying values in fcot_res 
ent_cmi_get_fcot_info: slot and port for if_index = 0x1a000000 are 0and 0
chm_is_sfp_cache_entry_present_and_current: return from cache, age of stats: 0 ret_val:0
ent_cmi_get_fcot_info: obtaining data from cache for if_index = 0x1a000000
ent_get_entry_from_cache: sensor values are:entSensorType = 5, entSensorScale = 8, entSensorPrecision = 0, entSensorValue = 7, entSensorStatus = 1, entSensorValueUpdateRate = 60.
entPhysicalTable_trans_sensor/@: entPhyIndex = 25818, ifIndex = 0x1a000000, sensor_type = 4,port_type:26, got transceiver mib,num_ports:1, DiagMonType:104
entPhysicalTable_trans_sensor/@: Did not get ent_phy_index_sensor_type... ent_phy_index_sensor_type = 5, if_index = 436207616 
entPhysicalTable_trans_sensor/@: DiagMonType:104, ifIndex 0x1a000000, ifdesc: Port0/0, ifname: Port0/0
entPhysicalTable_trans_sensor/@: FCOT_INFO, entPhysicalIndex = 25818,mfgname:maker
, ModelName:part,PartRevision:revision
, SerialNum:serial,Alias:another,Name:Port0/0(ampere)
header_entPhysicalTable/@: entPhyIndex = 25818 ret_code 0header_entPhysicalTable/@: entPhyIndex = 25818 )");
}

} // namespace
