/// The transceivers' sensors: their index scheme, the cache of diagnostics, and the walks through
/// the three tables that have rows for them.
#include "diagnostics_cache.h"
#include "model_switch.h"
#include "sensor_index.h"

using namespace testing;

namespace {

/// Index of the code-1 row of a port.
oid block(uint32_t slot, uint32_t number)
{
    return 25814 + 4096 * slot + 16 * number;
}

size_t rows_of(const Oid& column)
{
    return walk(*agent.variable_for(column)).size();
}

class Sensors : public WholeSwitchTest {
protected:
    const Oid root = {1, 3, 6, 1, 4, 1, ENTERPRISE_MAIN, 9, 91};
    const Oid value = root + Oid{1, 1, 1, 1, 4};
    const Oid threshold = root + Oid{1, 2, 1, 1, 4};
    const Oid physical = {1, 3, 6, 1, 2, 1, 47, 1, 1, 1, 1};
    const ScriptedPort usual_port = port_with_diagnostics(
        {{12, 31000}, {16, 3300000}, {20, 7}, {24, 500}, {28, 1259}, {112, 3000000}});
};

TEST_F(Sensors, IndexesAreMadeOfSlotPortAndCode)
{
    for (uint32_t index = 25814; index <= 287957; ++index) {
        const uint32_t slot = (index - 25814) / 4096;
        const uint32_t number = (index - 25814) % 4096 / 16;
        ASSERT_EQ(chm_snmp_entity_to_sensor_slot_num(&index), slot);
        ASSERT_EQ(chm_snmp_entity_to_port_num(&index, &slot), number);
        ASSERT_EQ(get_if_index_from_entPhyIndex(&index), port_at(slot, number));
        ASSERT_EQ(get_port_sensor_type_from_entPhyIndex(&index), (index - 25814) % 16 + 1);
        ASSERT_EQ(get_entPhyIndex_from_if_index(port_at(slot, number)), block(slot, number));
    }
    const uint32_t before = 25813;
    EXPECT_EQ(get_port_sensor_type_from_entPhyIndex(&before), 0);
    const std::map<int32_t, int32_t> cache_sensors = {{3, 0}, {5, 1}, {8, 2}, {14, 3}, {15, 4}};
    for (int32_t code = -3; code < 20; ++code) {
        const bool valid = cache_sensors.contains(code);
        EXPECT_EQ(chm_is_port_sfp_sens_type_valid(code), valid ? 1 : 0);
        EXPECT_EQ(chm_match_ent_sensor_type(code), valid ? cache_sensors.at(code) : 6);
        EXPECT_EQ(chm_is_entity_sensor_threshold_value_valid(code), code >= 1 && code <= 4 ? 1 : 0);
    }
    for (const uint32_t index : {0U, 25812U, 0x80000000U, 0xffffffffU}) {
        get_if_index_from_entPhyIndex(&index); // for the sanitizer to see
        get_port_sensor_type_from_entPhyIndex(&index);
    }
}

TEST_F(Sensors, HaveRowsForWhatTheirTransceiverTells)
{
    platform.ports[port_at(1, 2)] = platform.ports[port_at(1, 3)] = usual_port;
    platform.ports[port_at(1, 2)].info.response->at(470) = 'x'; // every text without an end
    platform.ports[port_at(1, 3)].info.response->at(101) = 0;   // no diagnostics
    const auto text = [this](oid column, oid index) {
        return agent.get(physical + Oid{column, index}).text();
    };
    const oid sensor = block(1, 2) + 2;
    const oid other = block(1, 3) + 2;
    EXPECT_EQ(text(12, sensor), "maker" + std::string(249, 'x'));
    EXPECT_EQ(text(13, sensor), "part" + std::string(250, 'x'));
    EXPECT_EQ(text(11, sensor), "serial" + std::string(26, 'x'));
    EXPECT_EQ(text(14, sensor), "another" + std::string(25, 'x'));
    agent.get(physical + Oid{8, 21600});
    EXPECT_EQ(text(7, other), "");
    EXPECT_EQ(text(8, other), "") << "nothing of another row";
    EXPECT_EQ(text(3, other), bytes_of({1, 3, 6, 1, 4, 1, ENTERPRISE_ALT, 12, 3, 1, 8, 30}));

    EXPECT_EQ(agent.get(value + Oid{sensor + 11}).integer(), 1000U) << "Rx";
    EXPECT_EQ(agent.get(value + Oid{sensor + 12}).integer(), static_cast<uint32_t>(-3010)) << "Tx";
    EXPECT_EQ(agent.get(threshold + Oid{sensor, 3}).integer(), 3000U) << "low alarm";
}

TEST_F(Sensors, AreReadAgainAfterAMinute)
{
    ScriptedPort& read = platform.ports[port_at(17, 63)] = usual_port; // the last that is kept
    const oid sensor = block(17, 63) + 2;
    read.lanes = 2;
    read.diagnostics.response->resize(344);
    // When a sensor is asked for, and how often the port has been read by then.
    const std::pair<uint32_t, int> times[] = {{0, 1},          {5999, 1}, {6000, 2},
                                              {0xffffffff, 3}, {5998, 3}, {5999, 4}};
    for (const auto& [uptime, reads] : times) {
        platform.uptime = uptime;
        EXPECT_TRUE(agent.get(value + Oid{sensor}));
        EXPECT_TRUE(agent.get(threshold + Oid{sensor + 2, 1}));
        EXPECT_EQ(read.reads, reads) << uptime;
    }
    platform.uptime += 6000;
    read.diagnostics.result = 7;
    EXPECT_FALSE(agent.get(value + Oid{sensor})) << "never an old reading";
    read.diagnostics = {0, {}}; // lanes without an array
    EXPECT_FALSE(agent.get(value + Oid{sensor}));
    platform.uptime -= 6000;
    EXPECT_FALSE(agent.get(value + Oid{sensor})) << "the old reading is gone";
}

TEST_F(Sensors, AreNoneElsewhere)
{
    platform.ports[port_at(0, 0)] = usual_port;
    for (const oid index : Oid{0, 5, 25700, 287958}) {
        EXPECT_FALSE(agent.get(value + Oid{index}));
        EXPECT_FALSE(agent.get(threshold + Oid{index, 1}));
    }
    EXPECT_FALSE(agent.get(threshold + Oid{25816, 0}));
    EXPECT_FALSE(agent.get(threshold + Oid{25816, 5}));
    platform.calls.clear();
    EXPECT_FALSE(agent.get(value + Oid{255025685}));
    EXPECT_FALSE(agent.get(threshold + Oid{255025685, 1}));
    EXPECT_THAT(platform.calls, IsEmpty());
    platform.port_type = 3;
    EXPECT_FALSE(agent.get(value + Oid{25816}));
    EXPECT_FALSE(agent.get(physical + Oid{7, 25816}));
    EXPECT_EQ(platform.port_calls, 0);
    platform.port_type = 2;
    platform.ports[2U << 24] = usual_port;
    EXPECT_TRUE(agent.get(value + Oid{25816}));
    platform.ports[2U << 24].config.response.reset();
    EXPECT_FALSE(agent.get(value + Oid{25816})) << "of a port without a configuration";
}

TEST_F(Sensors, WalkForwardFromAnywhere)
{
    platform.ports[port_at(0, 0)] = platform.ports[port_at(0, 1)] = usual_port;
    const std::pair<Oid, Oid> steps[] = {
        {threshold + Oid{25700, 9}, threshold + Oid{25816, 1}},
        {threshold + Oid{25816, 4294967295}, threshold + Oid{25818, 1}},
        {value + Oid{25700}, value + Oid{25816}},
        {value + Oid{287958}, value + Oid{300000}},
        {value + Oid{25814 + 256 * 4096}, value + Oid{25814 + 256 * 4096}}, // slots would repeat
    };
    for (const auto& [from, to] : steps) {
        EXPECT_EQ(agent.next(from).name, to);
    }
    platform.ports[port_at(0, 0)].config.response->at(211) = 0;
    EXPECT_EQ(agent.next(value + Oid{25700}).name, value + Oid{25832}) << "without a transceiver";
}

TEST_F(Sensors, WalksEndWhateverThePortManagerAnswers)
{
    const auto named = [](uint32_t if_index) {
        Bytes answer(4);
        put_host_word(answer, 0, if_index);
        return PlatformAnswer{0, answer};
    };
    // Each after the sensors of the ports 0/0 and 0/1.
    const std::pair<const char*, PlatformAnswer> answers[] = {
        {"the same port", named(port_at(0, 1))},
        {"an earlier port", named(port_at(0, 0))},
        {"no block", {}},
        {"an error with a block", {9, Bytes(64)}},
        {"a slot without indexes", named(port_at(64, 0))},
        {"a port that cannot be read", named(port_at(9, 9))},
    };
    for (const auto& test : answers) {
        SCOPED_TRACE(test.first);
        platform.ports = {{port_at(0, 0), usual_port}, {port_at(0, 1), usual_port}};
        platform.next_port = [&](uint32_t if_index) {
            return if_index == port_at(0, 0) ? named(port_at(0, 1)) : test.second;
        };
        EXPECT_EQ(rows_of(value), 13U);
        EXPECT_EQ(rows_of(physical + Oid{7}), 13U);
        EXPECT_EQ(rows_of(threshold), 43U);
    }
    // A port that goes away in the middle of a walk, and one that makes no sense.
    platform.next_port = nullptr;
    platform.ports.erase(port_at(0, 0));
    EXPECT_EQ(agent.next(value + Oid{25816}).name, value + Oid{25832});
    platform.uptime += 6000;
    platform.ports[port_at(0, 0)] = usual_port;
    platform.ports[port_at(0, 0)].diagnostics.response.reset();
    EXPECT_EQ(agent.next(value + Oid{21600}).name, value + Oid{25832}) << "passes by it";
    EXPECT_FALSE(agent.next(threshold + Oid{21600, 3})) << "ends the column";
}

TEST(DiagnosticsCache, IsAllZeroAtTheStart)
{
    auto* const entry = reinterpret_cast<std::byte*>(&ent_cache_entry(17, 63));
    for (const size_t at : {0U, 567U, 768U}) {
        entry[at] = std::byte{1}; // of a reading that failed, only the last one makes it valid
        ent_cache_init();
        EXPECT_EQ(entry[at], std::byte{0}) << at;
    }
}

} // namespace
