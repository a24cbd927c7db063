// Transceivers, as the port manager tells of them.

#include "switch_test.h"

namespace {

using namespace std::chrono_literals;
using Transceivers = SwitchTest;

constexpr uint32_t interface(uint32_t slot, uint32_t port) // numbered from 0
{
    return 26U << 24 | slot << 16 | port << 8;
}

/// The first bytes of what a query answers, none when it failed.
Bytes ask_port(decltype(pm_cmi_get_fcot_info)* query, uint32_t if_index, size_t size)
{
    void* response = nullptr;
    uint32_t count = 1;
    const int32_t result = query(ipcx_response_q, 1, 1, &if_index, &count, &response, 5);
    EXPECT_EQ(result == 0, response != nullptr) << std::hex << if_index;
    const auto* bytes = static_cast<const uint8_t*>(response);
    Bytes block = bytes == nullptr ? Bytes() : Bytes(bytes, bytes + size);
    std::free(response);
    return block;
}

using Lane = std::vector<uint32_t>;

/// Words of a lane at some offsets, and the number of lanes before them; {0} when there are none.
Lane lane(uint32_t if_index, size_t which, const std::vector<size_t>& offsets)
{
    void* diag = nullptr;
    void* aux = nullptr;
    uint32_t number = 0;
    const int32_t result = pm_get_sfp_diag_info(39, if_index, &diag, &aux, &number);
    EXPECT_TRUE(result == 0 || number == 0);
    const auto* bytes = static_cast<const uint8_t*>(diag);
    const Bytes lanes(bytes, bytes + size_t{172} * number);
    Lane words = {number};
    for (const size_t offset : offsets) {
        words.push_back(host_word(lanes, 172 * which + offset));
    }
    std::free(diag);
    std::free(aux);
    return words;
}

TEST_F(Transceivers, ReportIntegersRealsAndNoLight)
{
    // Below the low alarm of temperature lies nothing; receive power is below its low warning.
    EXPECT_EQ(lane(interface(1, 0), 0,
                   {8, 12, 16, 20, 24, 28, 32, 36, 92, 96, 108, 116, 136, 140, 164, 168}),
              (Lane{1, 1, static_cast<uint32_t>(-5000), 3300000, 35, 501, 63, 0, 0x202, 75000,
                    static_cast<uint32_t>(-5000), 3630000, 3400000, 10, 1585, 1259, 79}));
    // Thresholds are reals, whatever the readings are.
    const std::vector<size_t> offsets = {8, 24, 28, 32, 36, 92, 108, 136};
    EXPECT_EQ(lane(interface(1, 5), 2, {8, 24, 28}), (Lane{4, 2, 0x43ffd2c0, 0}));
    EXPECT_EQ(lane(interface(1, 5), 3, offsets),
              (Lane{4, 2, 0x43fa0000, 0, 0x200, 0x200, 0x47927c00, 0x4a5d8ec0, 0x41200000}));
    outcome(R"(set 1, "field": "type-code", "value": 40)");
    EXPECT_EQ(lane(interface(1, 5), 3, offsets),
              (Lane{4, 2, 500, 0, 0x200, 0x200, 0x47927c00, 0x4a5d8ec0, 0x41200000}));
    EXPECT_EQ(lane(interface(1, 1), 0, {}), (Lane{0})) << "without diagnostics";
    uint32_t type = 0;
    EXPECT_EQ(pdb_get_chassis_type(&type), 0);
    EXPECT_EQ(type, 40U);
}

TEST_F(Transceivers, AreFoundByTheirPortsAndInTheirOrder)
{
    const std::tuple<uint32_t, bool, int, int> ports[] = {
        // port, there, sensors readable, type
        {interface(1, 0), true, 1, 0x60}, {interface(1, 1), true, 0, 0},
        {interface(1, 2), true, 0, -1},   {interface(1, 5), true, 1, 0x50},
        {interface(1, 8), false, 0, -1},  {0, false, 0, -1}};
    for (const auto& [port, exists, readable, type] : ports) {
        const Bytes config = ask_port(pm_cmi_get_port_config, port, 212);
        const Bytes information = ask_port(pm_cmi_get_fcot_info, port, 102);
        ASSERT_EQ(!config.empty(), exists) << std::hex << port;
        EXPECT_EQ(exists ? host_word(config, 4) : 0, 0U);
        EXPECT_EQ(exists ? config[211] : 0, readable) << std::hex << port;
        EXPECT_EQ(information.empty() ? -1 : information[101], type) << std::hex << port;
    }
    char texts[5][255];
    Bytes information = ask_port(pm_cmi_get_fcot_info, interface(5, 3), 471);
    EXPECT_EQ(pc_sfp_get_vendor_info(information.data(), texts[0], texts[1], texts[2], texts[3],
                                     texts[4]),
              0);
    std::string all;
    for (const char* text : texts) {
        all += text + std::string(" ");
    }
    EXPECT_EQ(all, "Maker T-1 B S1-5604 west ");

    const auto next_port = [](uint32_t port) { // 0 after the last
        const Bytes block = ask_port(pm_get_next_port_fcot_info_with_ddm, port, 4);
        return block.empty() ? 0 : host_word(block, 0);
    };
    const std::pair<uint32_t, uint32_t> steps[] = {{0, interface(1, 0)},
                                                   {interface(1, 0), interface(1, 3)},
                                                   {interface(1, 6), interface(5, 0)},
                                                   {interface(5, 6), 0},
                                                   {interface(63, 255), 0}};
    for (const auto& [port, next] : steps) {
        EXPECT_EQ(next_port(port), next) << std::hex << port;
    }
    outcome("pull 1006");
    EXPECT_EQ(next_port(interface(1, 6)), 0U);
    sim::chassis_in_place()->insert(106);
    EXPECT_EQ(next_port(interface(1, 6)), 0U) << "the module starts yet";
    const Bytes starting = ask_port(pm_cmi_get_port_config, interface(5, 0), 212);
    EXPECT_NE(host_word(starting, 4), 0U);
    EXPECT_EQ(starting[211], 0);
    EXPECT_EQ(lane(interface(5, 0), 0, {}), (Lane{0}));
    events(3s);
    EXPECT_EQ(next_port(interface(1, 6)), interface(5, 0));
}

TEST_F(Transceivers, TellOnceOfAThresholdThatTheyCross)
{
    follow("set 5201, \"field\": \"voltage\", \"value\": 3.401 -> 1038 29912 "
           "2\n");
    EXPECT_EQ(payloads[0], record(16, "0=29912 4=3401 8=3400 12=2"));
    follow(R"(
set 5201, "field": "voltage", "value": 3.5 ->
set 5201, "field": "voltage", "value": 3.7 -> 1038 29912 1
set 5201, "field": "voltage", "value": "auto" ->
set 5204, "field": "temperature", "value": -5.001 -> 1038 29965 3
pull 5204 -> 1033
set 5204, "field": "temperature", "value": 1 -> Ethernet2/4 has no transceiver with diagnostics
insert 5204 -> 1033
set 5606, "field": "receive-power", "value": -9 ->
set 5606, "field": "receive-power", "value": "none" -> 1038 46387 3, 1038 46387 4
)");
    EXPECT_EQ(payloads[0], record(16, "0=46387 8=4294954296 12=3"));
}

} // namespace
