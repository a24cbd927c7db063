/// FRU control, driven through its registered variables and handlers.
#include "scripted_agent.h"

#include <cstring>

#include <sys/stat.h>
#include <sys/time.h>

using namespace testing;

extern "C" void init_entityfru_mib();
extern "C" void deinit_entityfru_mib();

namespace {

bool marker_exists; ///< the file that has power events report the unit status

} // namespace

extern "C" int __wrap_stat(const char* path, struct stat*) // NOLINT(*-reserved-identifier,cert-*)
{
    return marker_exists && strcmp(path, "/mnt/nvdb/chm_nvdb_hack") == 0 ? 0 : -1;
}

namespace {

const Oid root = {1, 3, 6, 1, 4, 1, ENTERPRISE_MAIN, 9, 117};
const Oid power_group = root + Oid{1, 1, 1, 1};
const Oid power_status = root + Oid{1, 1, 2, 1};
const Oid module_table = root + Oid{1, 2, 1, 1};
const Oid fan_tray = root + Oid{1, 4, 1, 1};
const Oid physical = root + Oid{1, 5, 1, 1};
const Oid entity = {1, 3, 6, 1, 2, 1, 47, 1, 1, 1, 1};

/// A record whose words at the given offsets are `base` + offset, its index apart.
Bytes record(size_t size, uint32_t index, const std::vector<size_t>& words, uint32_t base)
{
    Bytes bytes(size, 0x5a);
    put_wire_word(bytes, 0, index);
    for (const size_t offset : words) {
        put_wire_word(bytes, offset, base + static_cast<uint32_t>(offset));
    }
    return bytes;
}

Bytes module_row(uint32_t index, uint32_t base = 0x01020000)
{
    Bytes row = record(316, index, {4, 8, 12, 16, 20, 24, 28, 288, 292, 304, 308}, base);
    put_text(row, 32, std::string("in service") + '\0');
    return row;
}

Bytes group_row(uint32_t index)
{
    Bytes row = record(284, index, {4, 264, 268, 272, 276, 280}, 0x01020000);
    put_text(row, 8, std::string("all supplies") + '\0');
    return row;
}

Bytes status_row(uint32_t index, uint32_t status, size_t size = 16, size_t offset = 8)
{
    Bytes row(size);
    put_wire_word(row, 0, index);
    put_wire_word(row, offset, status);
    return row;
}

class EntityFruMib : public ModuleTest {
protected:
    EntityFruMib() : ModuleTest(init_entityfru_mib, deinit_entityfru_mib)
    {
        marker_exists = false;
        gettimeofday(&start_, nullptr);
        netsnmp_set_agent_starttime(&start_);
    }

    /// Writes a time that many seconds after the agent's start.
    void put_time(Bytes& bytes, size_t offset, int32_t seconds_after) const
    {
        put_wire_word(bytes, offset,
                      static_cast<uint32_t>(start_.tv_sec) + static_cast<uint32_t>(seconds_after));
        put_wire_word(bytes, offset + 4, static_cast<uint32_t>(start_.tv_usec));
    }

private:
    timeval start_ = {};
};

struct Table {
    const char* name;
    uint32_t opcode;
    Bytes row;
    Oid entry;
    std::vector<std::pair<oid, uint32_t>> integers; ///< column and value
    oid writable;                                   ///< column, 0 for none
};

std::vector<Table> tables()
{
    // clang-format off
    return {
        {"groups", 1027, group_row(7), power_group,
         {{1, 0x01020004}, {3, 0x01020108}, {4, 0x0102010c}}, 1},
        {"power", 1028, record(16, 7, {4, 8, 12}, 0x01020000), power_status,
         {{1, 0x01020004}, {2, 0x01020008}, {3, 0x0102000c}}, 1},
        {"modules", 1029, module_row(7), module_table,
         {{1, 0x01020004}, {2, 0x01020008}, {3, 0x0102000c}, {8, 0x01020134}}, 1},
        {"fan trays", 1046, record(8, 7, {4}, 0x01020000), fan_tray, {{1, 0x01020004}}, 0},
        {"physical", 1026, record(2780, 7, {2428}, 0x01020000), physical, {{1, 0x0102097c}}, 0},
    };
    // clang-format on
}

TEST_F(EntityFruMib, ServesEachTableFromItsRecord)
{
    for (const Table& table : tables()) {
        SCOPED_TRACE(table.name);
        platform.serve_rows({{7, table.row}});
        for (const auto& [column, value] : table.integers) {
            const auto binding = agent.get(table.entry + Oid{column, 7});
            ASSERT_TRUE(binding) << column;
            EXPECT_EQ(binding->integer(), value);
            EXPECT_EQ(binding->type, table.opcode == 1029 && column == 8 ? 0x42 : 2);
            EXPECT_EQ(binding->write_method != nullptr, column == table.writable);
            EXPECT_EQ(platform.calls.back().opcode, table.opcode);
            EXPECT_EQ(platform.calls.back().length, table.row.size());
            EXPECT_EQ(platform.calls.back().req_class, 5u);
        }
        // The row just read travels along with the next request.
        agent.get(table.entry + Oid{table.integers[0].first, 8});
        Bytes previous = table.row;
        put_wire_word(previous, 0, 8);
        EXPECT_EQ(platform.calls.back().payload, previous);
    }
}

TEST_F(EntityFruMib, LooksRowsUp)
{
    for (const Table& table : tables()) {
        SCOPED_TRACE(table.name);
        Bytes row = table.row;
        put_wire_word(row, 0, 9);
        platform.serve_rows({{7, table.row}, {9, row}});
        const Oid column = table.entry + Oid{table.integers[0].first};
        const auto look_up = [&](const Oid& name, bool exact) {
            platform.calls.clear();
            const Answer answer = ask(*agent.variable_for(column), name, exact);
            return answer.value ? answer.name : Oid();
        };
        Oid smaller = column;
        --smaller.back();
        Oid greater = column;
        ++greater.back();

        EXPECT_EQ(look_up(column, false), column + Oid{7});
        EXPECT_EQ(look_up(column + Oid{7}, false), column + Oid{9});
        EXPECT_EQ(look_up(column + Oid{7, 3}, false), column + Oid{9});
        EXPECT_EQ(look_up(smaller + Oid{7}, false), column + Oid{7});
        EXPECT_EQ(look_up(column + Oid{9}, false), Oid());
        EXPECT_EQ(look_up(column + Oid{9}, true), column + Oid{9});
        EXPECT_EQ(platform.calls.size(), 1u);
        EXPECT_EQ(look_up(greater + Oid{7}, false), Oid());
        EXPECT_THAT(platform.calls, IsEmpty());
        EXPECT_EQ(look_up(column + Oid{9, 1}, true), Oid());
        EXPECT_THAT(platform.calls, IsEmpty());

        platform.answer = [](const PlatformCall&) { return PlatformAnswer{0, {}}; };
        EXPECT_EQ(look_up(column + Oid{7}, false), column + Oid{7}) << "no response, no new name";
        platform.answer = [&](const PlatformCall&) { return PlatformAnswer{5, row}; };
        EXPECT_EQ(look_up(column + Oid{7}, false), Oid());
    }
}

TEST_F(EntityFruMib, CutsTextsAndOnlyAModulesInItsRecord)
{
    for (const auto& [row, column, offset] : {std::tuple{module_row(7), module_table + Oid{6}, 32},
                                              {group_row(7), power_group + Oid{2}, 8}}) {
        for (const size_t length : {0u, 253u, 254u, 255u, 256u}) {
            Bytes changed = row;
            std::fill_n(changed.begin() + offset, 256, uint8_t{0});
            std::fill_n(changed.begin() + offset, length, uint8_t{'t'});
            platform.serve_rows({{7, changed}});
            EXPECT_EQ(agent.get(column + Oid{7})->text(),
                      std::string(std::min<size_t>(length, 254), 't'));
            agent.get(column + Oid{8});
            if (offset == 32) {
                changed[32 + 254] = 0;
            }
            put_wire_word(changed, 0, 8);
            EXPECT_EQ(platform.calls.back().payload, changed) << length;
        }
    }
}

TEST_F(EntityFruMib, ServesTimesAsUptime)
{
    Bytes row = module_row(7);
    put_time(row, 16, 34);
    platform.serve_rows({{7, row}});
    EXPECT_EQ(agent.get(module_table + Oid{4, 7})->integer(), 3400u);
    // The last one is so long ago that its distance wraps 32 bits; 32-bit agents cannot tell.
    for (const int32_t before : {5, 20 * 86400, sizeof(long) == 8 ? 249 * 86400 : 1}) {
        put_time(row, 24, -before);
        platform.serve_rows({{7, row}});
        EXPECT_EQ(agent.get(module_table + Oid{5, 7})->integer(), 0u);
    }
}

TEST_F(EntityFruMib, HasNoPowerSupplyValues)
{
    platform.serve_rows({{7, group_row(7)}});
    for (oid column = 1; column <= 4; ++column) {
        const Oid value = root + Oid{1, 1, 4, 1, column};
        EXPECT_FALSE(agent.get(value + Oid{7}));
        EXPECT_EQ(agent.set(value + Oid{7}, 1), -1);
    }
    EXPECT_THAT(platform.calls, IsEmpty());
}

struct Writable {
    Oid instance;
    uint32_t opcode;
    std::optional<Bytes> row; ///< none for a scalar
    std::vector<long> accepted, refused;
    std::string wrong_type, wrong_length, wrong_value; ///< "write to qefc" left out
};

std::vector<Writable> writables()
{
    // clang-format off
    return {
        {power_group + Oid{1, 7}, 1027, group_row(7), {1, 3}, {0, 4, -1},
         "PowerRedundancyMode not ASN_INTEGER \n", "PowerRedundancyMode: bad length\n", ""},
        {power_status + Oid{1, 7}, 1028, record(16, 7, {4, 8, 12}, 3), {1, 4}, {0, 5, -1},
         "FRUPowerAdminStatus not ASN_INTEGER\n", "FRUPowerAdminStatus: bad length\n", ""},
        {module_table + Oid{1, 7}, 1029, module_row(7), {1, 4}, {0, 5, -1},
         "ModuleAdminStatus not ASN_INTEGER\n", "ModuleAdminStatus: bad length\n", ""},
        {root + Oid{1, 3, 1, 0}, 1040, {}, {1, 2}, {0, 3, -1},
         "MIBEnableStatusNotification not ASN_INTEGER\n",
         "MIBEnableStatusNotification: bad length\n",
         "MIBEnableStatusNotification: invalid range\n"},
        {root + Oid{1, 1, 3, 0}, 1030, {}, {0, 12500}, {12501, -1},
         "MaxDefaultInLinePower not ASN_INTEGER\n", "MaxDefaultInLinePower: bad length\n",
         "MaxDefaultInLinePower: invalid range \n"},
    };
    // clang-format on
}

TEST_F(EntityFruMib, WritesOneWordOfTheWholeRecord)
{
    for (const Writable& object : writables()) {
        SCOPED_TRACE(object.opcode);
        platform.answer = [&](const PlatformCall&) {
            return PlatformAnswer{0, object.row ? *object.row : Bytes{0, 0, 0, 1}};
        };
        for (const long value : object.accepted) {
            platform.calls.clear();
            EXPECT_EQ(agent.set(object.instance, value), 0);
            Bytes expected = object.row.value_or(Bytes(4));
            put_wire_word(expected, object.row ? 4 : 0, static_cast<uint32_t>(value));

            const PlatformCall& write = platform.calls.back();
            EXPECT_EQ(write.opcode, object.opcode);
            EXPECT_EQ(write.operation, 3);
            EXPECT_FALSE(write.wants_response);
            EXPECT_EQ(write.payload, expected);
            if (object.row) {
                ASSERT_EQ(platform.calls.size(), 3u); // the agent's own read, the fetch, the write
                Bytes key(object.row->size());
                put_wire_word(key, 0, 7);
                EXPECT_EQ(platform.calls[1].payload, key) << "nothing stale in the fetch";
            }
        }
    }
}

TEST_F(EntityFruMib, RefusesOtherValues)
{
    for (const Writable& object : writables()) {
        SCOPED_TRACE(object.opcode);
        platform.answer = [&](const PlatformCall&) {
            return PlatformAnswer{0, object.row ? *object.row : Bytes{0, 0, 0, 1}};
        };
        const auto told = [](const std::string& text) {
            return text.empty() ? text : "write to qefc" + text;
        };
        EXPECT_EQ(refusal(object.instance, "1"), std::pair(7, told(object.wrong_type)));
        EXPECT_EQ(refusal(object.instance, Integer(sizeof(long) + 1)),
                  std::pair(8, told(object.wrong_length)));
        for (const long value : object.refused) {
            EXPECT_EQ(refusal(object.instance, value), std::pair(10, told(object.wrong_value)));
        }
        for (const PlatformCall& call : platform.calls) {
            EXPECT_EQ(call.operation, 1) << "nothing was written";
        }
    }
}

TEST_F(EntityFruMib, MapsWhatThePlatformSaysToAWrite)
{
    for (const Writable& object : writables()) {
        const Bytes record = object.row.value_or(Bytes{0, 0, 0, 1});
        for (const auto& [result, status] : {std::pair{1, 2}, {2, 17}, {3, 5}, {-1, 5}}) {
            platform.answer_write(record, 0, result);
            EXPECT_EQ(agent.set(object.instance, 1), status);
            EXPECT_EQ(platform.failed_writes.size(), 1u);
            if (object.row) {
                platform.answer_write(record, result, 0);
                EXPECT_EQ(agent.set(object.instance, 1), status);
                EXPECT_EQ(platform.failed_writes.size(), 0u);
                EXPECT_EQ(platform.calls.back().operation, 1) << "nothing was written";
            }
        }
    }
}

TEST_F(EntityFruMib, ServesAScalarThatThePlatformDoesNotTellAsZero)
{
    const std::pair<PlatformAnswer, uint32_t> cases[] = {
        {{0, Bytes{0, 0, 0x30, 0xd4}}, 12500}, {{0, {}}, 0},
        {{1, Bytes{0, 0, 0x30, 0xd4}}, 0},     {{0, Bytes{1, 2, 3}}, 0},
        {{0, Bytes{0, 0, 0, 2, 9, 9}}, 2},
    };
    for (const auto& [instance, opcode] :
         {std::pair{root + Oid{1, 1, 3, 0}, 1030u}, {root + Oid{1, 3, 1, 0}, 1040u}}) {
        for (const auto& [answer, value] : cases) {
            const PlatformAnswer scripted = answer;
            platform.answer = [scripted](const PlatformCall&) { return PlatformAnswer(scripted); };
            EXPECT_EQ(agent.get(instance)->integer(), value);
            EXPECT_EQ(platform.calls.back().opcode, opcode);
            EXPECT_EQ(platform.calls.back().payload, std::nullopt);
            EXPECT_EQ(platform.calls.back().length, 0u);
        }
    }
}

/// Delivers an event and checks the notification: root.2.0.number with these bindings.
void expect_notification(uint32_t event, const Bytes& payload, oid number,
                         const std::vector<Brief>& bindings)
{
    SCOPED_TRACE(event);
    platform.unit_status.clear();
    const Notification notification = deliver(event, payload);
    EXPECT_TRUE(notification.sent);
    EXPECT_EQ(notification.name, root + (Oid{2, 0, number}));
    EXPECT_EQ(briefly(notification), bindings);
}

TEST_F(EntityFruMib, NotifiesOfModulePowerAndFanStatus)
{
    Bytes module = module_row(7);
    put_wire_word(module, 8, 3);
    for (const auto& [seconds, ticks] : {std::pair{34, "3400"}, {-1, "0"}}) {
        put_time(module, 16, seconds);
        expect_notification(
            1034, module, 1,
            {{module_table + Oid{2, 7}, 2, "3"}, {module_table + Oid{4, 7}, 67, ticks}});
        EXPECT_EQ(platform.unit_status.back(), "status 4");
    }
    Bytes power = status_row(8, 3);
    put_wire_word(power, 4, 1);
    for (const bool marker : {false, true}) {
        marker_exists = marker;
        expect_notification(
            1035, power, 2,
            {{power_status + Oid{2, 8}, 2, "3"}, {power_status + Oid{1, 8}, 2, "1"}});
        EXPECT_EQ(platform.unit_status.size(), marker ? 4u : 0u);
    }
    expect_notification(1047, status_row(9, 3, 8, 4), 6, {{fan_tray + Oid{1, 9}, 2, "3"}});
    EXPECT_EQ(platform.unit_status.back(), "status 4");
}

TEST_F(EntityFruMib, NotifiesOfUnitsAndTheirOutput)
{
    Bytes unit(2780, 'd');
    put_wire_word(unit, 0, 1003);
    put_wire_word(unit, 776, 103);
    for (const auto& [event, number] : {std::pair{1036u, 3u}, {1037u, 4u}}) {
        expect_notification(event, unit, number,
                            {{entity + Oid{4, 1003}, 2, "103"},
                             {entity + Oid{2, 1003}, 4, std::string(254, 'd')},
                             {entity + Oid{7, 103}, 4, std::string(254, 'd')}});
        EXPECT_THAT(platform.unit_status, IsEmpty());
    }
    Bytes change(520, 'o');
    put_wire_word(change, 0, 2001);
    put_wire_word(change, 516, 1500);
    change[4 + 3] = 0;
    expect_notification(1121, change, 7,
                        {{entity + Oid{7, 2001}, 4, "ooo"},
                         {entity + Oid{13, 2001}, 4, std::string(257, 'o')},
                         {root + Oid{1, 6, 2, 1, 2, 2001}, 2, "1500"}});
}

TEST_F(EntityFruMib, NotifiesOfAnUnrecognizedUnit)
{
    Bytes unit(2780, 'm');
    put_wire_word(unit, 0, 1003);
    put_wire_word(unit, 780, 9);
    put_wire_word(unit, 2428, 5);
    for (uint32_t i = 0; i < 128; ++i) {
        put_wire_word(unit, 260 + 4 * i, i);
    }
    for (const auto& [claimed, count] :
         {std::pair{0u, 0u}, {2u, 2u}, {128u, 128u}, {4000u, 128u}}) {
        put_wire_word(unit, 772, claimed);
        std::string vendor_type;
        for (oid i = 0; i < count; ++i) {
            vendor_type.append(reinterpret_cast<const char*>(&i), sizeof i);
        }
        expect_notification(3224, unit, 5,
                            {{entity + Oid{5, 1003}, 2, "9"},
                             {entity + Oid{3, 1003}, 6, vendor_type},
                             {entity + Oid{7, 1003}, 4, std::string(255, 'm')},
                             {entity + Oid{13, 1003}, 4, std::string(255, 'm')},
                             {physical + Oid{1, 1003}, 2, "5"}});
    }
}

TEST_F(EntityFruMib, SendsNothingForAMessageWithoutAPayload)
{
    for (const uint32_t event : {1034u, 1035u, 1036u, 1037u, 3224u, 1047u, 1121u}) {
        ::Message empty;
        for (::Message* message : {static_cast<::Message*>(nullptr), &empty}) {
            const Notification notification = deliver(event, message);
            EXPECT_FALSE(notification.sent);
            EXPECT_THAT(notification.bindings, IsEmpty());
        }
    }
    EXPECT_THAT(platform.unit_status, IsEmpty());
}

TEST_F(EntityFruMib, ComputesTheUnitStatusFromThreeWalks)
{
    using Statuses = std::vector<uint32_t>;
    struct Case {
        const char* what;
        Statuses power, modules, supplies;
        std::string status;
        size_t requests, heartbeats;
    };
    const Case cases[] = {
        {"all is well", {2, 2}, {2, 2}, {2}, "status 3", 8, 3},
        {"no power rows, no modules", {}, {}, {2}, "status 3", 4, 3},
        {"no supply reports", {2}, {2}, {}, "status 4", 5, 3},
        {"a faulty power row ends it all", {3, 2}, {2}, {2}, "status 4", 1, 1},
        {"a faulty module too", {2}, {2, 1}, {2}, "status 4", 4, 2},
        {"a faulty supply", {2}, {2}, {2, 4, 2}, "status 4", 6, 3},
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(test.what);
        platform.calls.clear();
        platform.unit_status.clear();
        platform.answer = [&](const PlatformCall& call) -> PlatformAnswer {
            const Statuses& statuses = call.opcode == 1028   ? test.power
                                       : call.opcode == 1029 ? test.modules
                                                             : test.supplies;
            const uint32_t index = wire_word(*call.payload, 0);
            if (index >= statuses.size()) {
                return {1, Bytes(4)};
            }
            return {0, status_row(index + 1, statuses[index], call.payload->size(),
                                  call.opcode == 3270 ? 4 : 8)};
        };
        EXPECT_TRUE(deliver(1047, status_row(9, 3, 8, 4)).sent);
        EXPECT_EQ(platform.unit_status.back(), test.status);
        EXPECT_EQ(platform.unit_status.size(), test.heartbeats + 1);
        EXPECT_EQ(platform.calls.size(), test.requests);
        for (const PlatformCall& call : platform.calls) {
            EXPECT_EQ(call.operation, 2);
            EXPECT_EQ(call.user, std::nullopt);
            EXPECT_EQ(call.session, 0u);
            EXPECT_EQ(call.length, call.opcode == 1028 ? 16u : call.opcode == 1029 ? 316u : 8u);
        }
    }
    // Two ways to say that there is no more: no response, and the same row again and again.
    for (const bool repeats : {false, true}) {
        platform.answer = [repeats](const PlatformCall& call) -> PlatformAnswer {
            const bool first = wire_word(*call.payload, 0) == 0;
            const Bytes row = status_row(3, 2, call.payload->size(), call.opcode == 3270 ? 4 : 8);
            EXPECT_TRUE(first || *call.payload == row) << "the row received asks for the next";
            return {0, first || repeats ? std::optional(row) : std::nullopt};
        };
        deliver(1047, status_row(9, 3, 8, 4));
        EXPECT_EQ(platform.unit_status.back(), "status 3");
    }
}

TEST_F(EntityFruMib, Traces)
{
    platform.debug_on = true;
    marker_exists = true;
    deliver(1034, module_row(7));
    deliver(1047, status_row(9, 3, 8, 4));
    deliver(1035, status_row(8, 3));
    Bytes row = module_row(7);
    row[298] = 6;
    put_wire_word(row, 304, 11);
    platform.serve_rows({{7, row}});
    agent.get(module_table + Oid{8, 7});
    agent.get(root + Oid{1, 3, 1, 0});
    EXPECT_THAT(
        platform.debug_output,
        ElementsAre("handle_noti_qefcModuleStatusChange: send_connUnitStatusChange_notif called, "
                    "connUnitStatus=4\n",
                    "handle_noti_qefcFanTrayStatusChange: send_connUnitStatusChange_notif called, "
                    "connUnitStatus=4\n",
                    "handle_noti_qefcPowerStatusChange: send_connUnitStatusChange_notif called, "
                    "connUnitStatus=4\n",
                    " send_connUnitStatusChange_notif called, OperStat : 3 AdminStat : 0\n",
                    "get_qefcModuleTable: header_xx()  done \n",
                    "get_qefcModuleTable: mod_no : 11 , type : 6 \n",
                    "get_entityfru_mib: enter : magic -no : 31 \n"));
}

} // namespace
