/// What each event of the platform becomes.
#include "model_switch.h"
#include "wire/events.h"

#include <cstring>

#include <sys/stat.h>
#include <sys/time.h>

using namespace testing;

namespace {

bool marker_exists; ///< the file that has power events report the unit status

} // namespace

extern "C" int __wrap_stat(const char* path, struct stat*) // NOLINT(*-reserved-identifier,cert-*)
{
    return marker_exists && strcmp(path, "/mnt/nvdb/chm_nvdb_hack") == 0 ? 0 : -1;
}

namespace {

/// A record of letters with words of its own at some offsets.
Bytes letters(size_t size, char letter, const std::map<size_t, uint32_t>& words)
{
    Bytes record(size, static_cast<uint8_t>(letter));
    for (const auto& [offset, word] : words) {
        put_wire_word(record, offset, word);
    }
    return record;
}

class Notifications : public WholeSwitchTest {
protected:
    const Oid entity = {1, 3, 6, 1, 2, 1, 47, 1, 1, 1, 1};
    const Oid fru = {1, 3, 6, 1, 4, 1, ENTERPRISE_MAIN, 9, 117};
    const Oid redundancy = {1, 3, 6, 1, 4, 1, ENTERPRISE_MAIN, 9, 176};
    const Oid sensors = {1, 3, 6, 1, 4, 1, ENTERPRISE_MAIN, 9, 91};

    Notifications()
    {
        marker_exists = false;
        gettimeofday(&start, nullptr);
        netsnmp_set_agent_starttime(&start);
    }

    /// The seconds, on the platform's clock, so long after the agent's start.
    uint32_t at(int32_t seconds) const
    {
        return static_cast<uint32_t>(start.tv_sec) + static_cast<uint32_t>(seconds);
    }

    timeval start = {};
};

TEST_F(Notifications, NameWhatChanged)
{
    const auto micro = static_cast<uint32_t>(start.tv_usec);
    const Oid status = fru + Oid{1, 1, 2, 1};
    const Oid module = fru + Oid{1, 2, 1, 1};
    const std::string d(254, 'd');
    const std::string m(255, 'm');
    const std::vector<Binding> unit = {{entity + Oid{4, 1003}, 2, "103"},
                                       {entity + Oid{2, 1003}, 4, d},
                                       {entity + Oid{7, 103}, 4, d}};
    Bytes output = letters(520, 'o', {{0, 2001}, {516, 1500}});
    output[4 + 3] = 0;
    Bytes unrecognized = letters(2780, 'm', {{0, 1003}, {772, 2}, {780, 9}, {2428, 5}});
    put_wire_word(unrecognized, 260, 6);
    put_wire_word(unrecognized, 264, 7);
    // clang-format off
    struct Case {
        EventCode event;
        Bytes payload;
        Oid name;
        std::vector<Binding> bindings;
        size_t unit_statuses; ///< sent, with the heartbeats of its walks
    } const cases[] = {
        {inventory_change, {}, {1, 3, 6, 1, 2, 1, 47, 2, 0, 1}, {}, 0},
        {module_status_change, letters(316, 0, {{0, 7}, {4, 1}, {8, 3}, {16, at(34)}, {20, micro}}), fru + Oid{2, 0, 1},
         {{module + Oid{2, 7}, 2, "3"}, {module + Oid{4, 7}, 67, "3400"}}, 4},
        {module_status_change, letters(316, 0, {{0, 7}, {8, 3}, {16, at(-1)}}), fru + Oid{2, 0, 1},
         {{module + Oid{2, 7}, 2, "3"}, {module + Oid{4, 7}, 67, "0"}}, 4},
        {power_status_change, letters(16, 0, {{0, 8}, {4, 1}, {8, 3}}), fru + Oid{2, 0, 2},
         {{status + Oid{2, 8}, 2, "3"}, {status + Oid{1, 8}, 2, "1"}}, 0},
        {fru_inserted, letters(2780, 'd', {{0, 1003}, {776, 103}}), fru + Oid{2, 0, 3}, unit, 0},
        {fru_removed, letters(2780, 'd', {{0, 1003}, {776, 103}}), fru + Oid{2, 0, 4}, unit, 0},
        {unrecognized_fru, unrecognized, fru + Oid{2, 0, 5},
         {{entity + Oid{5, 1003}, 2, "9"}, {entity + Oid{3, 1003}, 6, bytes_of({6, 7})},
          {entity + Oid{7, 1003}, 4, m}, {entity + Oid{13, 1003}, 4, m},
          {fru + Oid{1, 5, 1, 1, 1, 1003}, 2, "5"}}, 0},
        {fan_tray_status_change, letters(8, 0, {{0, 9}, {4, 3}}), fru + Oid{2, 0, 6},
         {{fru + Oid{1, 4, 1, 1, 1, 9}, 2, "3"}}, 4},
        {power_supply_output_change, output, fru + Oid{2, 0, 7},
         {{entity + Oid{7, 2001}, 4, "ooo"}, {entity + Oid{13, 2001}, 4, std::string(257, 'o')},
          {fru + Oid{1, 6, 2, 1, 2, 2001}, 2, "1500"}}, 0},
        {sensor_threshold_crossed, wire_record(16, {25816, 70, 75, 2}), sensors + Oid{2, 0, 1},
         {{sensors + Oid{1, 2, 1, 1, 4, 25816, 2}, 2, "75"},
          {sensors + Oid{1, 1, 1, 1, 4, 25816}, 2, "70"}}, 0},
    };
    // clang-format on
    for (const EventCode& event : platform_events) {
        EXPECT_TRUE(event == supervisor_switchover ||
                    std::ranges::count(cases, event, &Case::event) > 0)
            << event.name;
    }
    for (const auto& test : cases) {
        SCOPED_TRACE(test.event.name);
        for (const bool marker : {false, true}) {
            marker_exists = marker;
            platform.unit_status.clear();
            const Notification notification = deliver(test.event, test.payload);
            EXPECT_TRUE(notification.sent);
            EXPECT_EQ(notification.name, test.name);
            EXPECT_EQ(notification.bindings, test.bindings);
            EXPECT_EQ(platform.unit_status.size(),
                      marker && test.event == power_status_change ? 4 : test.unit_statuses);
        }
        ::Message empty;
        for (::Message* message : {static_cast<::Message*>(nullptr), &empty}) {
            platform.unit_status.clear();
            const Notification notification = deliver(test.event, message);
            EXPECT_EQ(notification.sent, test.event == inventory_change) << "which carries nothing";
            EXPECT_THAT(notification.bindings, IsEmpty());
            EXPECT_THAT(platform.unit_status, IsEmpty());
        }
    }
    put_wire_word(unrecognized, 772, 4000); // more sub-identifiers than there is room for
    EXPECT_EQ(std::get<2>(deliver(unrecognized_fru, unrecognized).bindings.at(1)).size(),
              128 * sizeof(oid));
}

TEST_F(Notifications, OfASwitchover)
{
    start.tv_sec -= 50;
    netsnmp_set_agent_starttime(&start);
    const std::pair<int32_t, std::string> reasons[] = {{0, "3"}, {1, "6"}, {2, "6"}, {3, "6"},
                                                       {4, "4"}, {5, "7"}, {9, "1"}, {-1, "1"}};
    for (const auto& [reason, shown] : reasons) {
        platform.switchover_reason = reason;
        Bytes record(32);
        put_host_word(record, 4, 501);
        platform.always_answer(
            {reason == 9 ? 1 : 0, record}); // a failure with a record is used too
        const Notification notification = deliver(supervisor_switchover, nullptr);
        EXPECT_TRUE(notification.sent);
        EXPECT_EQ(notification.name, redundancy + (Oid{2, 0, 1}));
        const std::string now = std::get<2>(notification.bindings.at(1));
        EXPECT_GE(std::stol(now), 5000);
        EXPECT_THAT(notification.bindings,
                    ElementsAre(Binding{redundancy + Oid{1, 1, 1, 0}, 2, "501"},
                                Binding{Oid{1, 3, 6, 1, 2, 1, 1, 3, 0}, 67, now},
                                Binding{redundancy + Oid{1, 1, 8, 0}, 2, shown}));
        const PlatformCall& call = platform.calls.back();
        EXPECT_EQ(std::tuple(call.opcode, call.operation, call.length, call.for_user),
                  std::tuple(redundancy_status, 1, 32, false));
        EXPECT_EQ(call.payload, std::nullopt);
    }
    for (const std::optional<Bytes>& response : {std::optional<Bytes>(), {Bytes(7)}, {Bytes()}}) {
        platform.always_answer({0, response});
        EXPECT_FALSE(deliver(supervisor_switchover, nullptr).sent);
    }
}

TEST_F(Notifications, ComputeTheUnitStatusFromThreeWalks)
{
    using Words = std::vector<uint32_t>;
    struct {
        const char* what;
        Words power, modules, supplies;
        std::string status;
        size_t requests, heartbeats;
    } const cases[] = {
        {"all is well", {2, 2}, {2, 2}, {2}, "status 3", 8, 3},
        {"no power rows, no modules", {}, {}, {2}, "status 3", 4, 3},
        {"no supply reports", {2}, {2}, {}, "status 4", 5, 3},
        {"a faulty power row ends it all", {3, 2}, {2}, {2}, "status 4", 1, 1},
        {"a faulty module too", {2}, {2, 1}, {2}, "status 4", 4, 2},
        {"a faulty supply", {2}, {2}, {2, 4, 2}, "status 4", 6, 3},
    };
    const auto set_rows = [this](uint32_t opcode, const Words& statuses) {
        model.tables[opcode].clear();
        for (uint32_t index = 1; index <= statuses.size(); ++index) {
            Bytes& row = model.tables[opcode][{index, 0}] = model_row(opcode, {index, 0}, 0);
            put_wire_word(row, opcode == power_supply_table ? 4 : 8, statuses[index - 1]);
        }
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.what);
        set_rows(power_status_table, test.power);
        set_rows(module_table, test.modules);
        set_rows(power_supply_table, test.supplies);
        platform.calls.clear();
        platform.unit_status.clear();
        deliver(fan_tray_status_change, Bytes(8));
        EXPECT_EQ(platform.unit_status.back(), test.status);
        EXPECT_EQ(platform.unit_status.size(), test.heartbeats + 1);
        EXPECT_EQ(platform.calls.size(), test.requests);
        EXPECT_THAT(platform.calls, Each(Field(&PlatformCall::for_user, false)));
    }
    // Two ways to say that there is no more: no response, and the same row again and again.
    for (const bool repeats : {false, true}) {
        platform.answer = [&](const PlatformCall& call) -> PlatformAnswer {
            const bool first = wire_word(*call.payload, 0) == 0;
            const Bytes row =
                letters(call.length, 0, {{0, 3}, {call.opcode == power_supply_table ? 4 : 8, 2}});
            EXPECT_TRUE(first || *call.payload == row) << "the row received asks for the next";
            return {0, first || repeats ? std::optional(row) : std::nullopt};
        };
        deliver(fan_tray_status_change, Bytes(8));
        EXPECT_EQ(platform.unit_status.back(), "status 3");
    }
}

} // namespace
