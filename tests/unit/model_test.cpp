/// Random operations on the modules and on the switch behind them, each answer compared with what a
/// plain model of the switch says. CHM_TEST_SEED repeats a run.
#include "column.h"
#include "model_switch.h"

#include <cstdlib>
#include <cstring>
#include <random>

using namespace testing;

namespace {

#define ENT_PHYSICAL 1, 3, 6, 1, 2, 1, 47, 1, 1, 1, 1
#define MAIN 1, 3, 6, 1, 4, 1, ENTERPRISE_MAIN, 9
#define ALT 1, 3, 6, 1, 4, 1, ENTERPRISE_ALT

/// How a value stands in its record.
enum class Kind { wire, host, text, vendor_type };
using enum Kind;

struct Place {
    oid column;
    size_t offset;
    Kind kind = wire;
    const char* sensor_value = nullptr; ///< in the row of any transceiver's sensor, if it has some
    size_t longest = 0;                 ///< of a text
};

/// The columns, or the scalars, that are served from a record.
struct Table {
    Oid entry;
    uint32_t opcode;
    std::vector<Place> places;
};

// clang-format off
const Table tables[] = {
    {{ENT_PHYSICAL}, physical_table,
     {{2, 4, text, "name", 254}, {3, 260, vendor_type, "vendor type"}, {4, 776, wire, "0"},
      {5, 780, wire, "8"}, {6, 784, wire, "0"}, {7, 788, text, "name", 254},
      {8, 1043, text, "", 254}, {9, 1298, text, "", 254}, {10, 1553, text, "", 254},
      {11, 1808, text, "serial", 32}, {12, 1841, text, "maker", 254}, {13, 2096, text, "part", 254},
      {14, 2351, text, "another", 32}, {15, 2384, text, "", 32}, {16, 2420, host, "2"}}},
    {{MAIN, 91, 1, 1, 1, 1}, sensor_value_table,
     {{1, 4, wire, "type"}, {2, 8, wire, "8"}, {3, 12, wire, "0"}, {4, 16, wire, "reading"},
      {5, 20, wire, "1"}, {7, 32, wire, "60"}, {8, 0, wire, "index"}}},
    {{MAIN, 91, 1, 2, 1, 1}, sensor_threshold_table,
     {{2, 8, wire, "1"}, {3, 12, wire, "1"}, {4, 16, wire, "0"}, {5, 20, wire, "0"}, {6, 24, wire, "1"}}},
    {{MAIN, 117, 1, 1, 1, 1}, power_supply_group_table, {{1, 4}, {2, 8, text, nullptr, 254}, {3, 264}, {4, 268}}},
    {{MAIN, 117, 1, 1, 2, 1}, power_status_table, {{1, 4}, {2, 8}, {3, 12}}},
    {{MAIN, 117, 1, 1}, max_default_in_line_power, {{3, 0}}},
    {{MAIN, 117, 1, 2, 1, 1}, module_table, {{1, 4}, {2, 8}, {3, 12}, {6, 32, text, nullptr, 254}, {8, 308}}},
    {{MAIN, 117, 1, 3}, enable_status_notification, {{1, 0}}},
    {{MAIN, 117, 1, 4, 1, 1}, fan_tray_table, {{1, 4}}},
    {{MAIN, 117, 1, 5, 1, 1}, physical_table, {{1, 2428}}},
    {{MAIN, 176, 1, 1}, redundancy_status,
     {{1, 4, host}, {2, 12, host}, {3, 8, host}, {4, 16, host}, {6, 0, host}, {7, 24, host}}},
    {{MAIN, 176, 1, 2}, redundancy_status, {{11, 20, host}}},
    {{MAIN, 195, 1, 3, 1}, led_table, {{2, 8}}},
    {{MAIN, 195, 1, 4, 1}, physical_table, {{1, 2432, text, nullptr, 32}}},
    {{ALT, 9, 92, 1, 1, 1}, physical_table, {{11, 2509, text, nullptr, 271}}},
    {{ALT, 2, 9}, terminal_message, {{5, 0, host}, {6, 4, host}, {7, 8, text, nullptr, 260}, {9, 268, host}}},
};
// clang-format on

struct Column : Place {
    Oid name;
    uint32_t opcode;
};

std::vector<Column> all_columns()
{
    std::vector<Column> all;
    for (const Table& table : tables) {
        for (const Place& place : table.places) {
            all.push_back({place, table.entry + Oid{place.column}, table.opcode});
        }
    }
    return all;
}

const std::vector<Column> columns = all_columns();

// clang-format off
/// What the code of a transceiver's sensor makes of its rows.
struct SensorKind { const char *type, *unit; oid vendor_type; };
const std::map<uint32_t, SensorKind> sensor_kinds = {
    {3, {"3", "(volt)", 49}}, {5, {"5", "(ampere)", 48}}, {8, {"8", "(celsius)", 50}},
    {14, {"14", "(Rx-dBm)", 46}}, {15, {"14", "(Tx-dBm)", 47}}};

/// Statuses for the platform's results 1, 2 and 3.
using Statuses = std::array<int, 3>;
constexpr Statuses reported = {2, 17, 5}, general = {2, 5, 5}, any = {5, 5, 5};

struct Writable {
    Oid name;
    std::string object;                  ///< as the texts name it, empty where none are told
    std::vector<long> accepted, refused; ///< numbers, or lengths of a text
    Statuses statuses;
    std::string out_of_range = {}; ///< the text for a number
    std::string type_end = "\n";   ///< of the text for a wrong type
    std::string length_start = {}; ///< of the object in the text for a wrong length
};

const Writable writables[] = {
    {{ENT_PHYSICAL, 14}, "entPhysicalAlias", {0, 3, 32}, {33}, general},
    {{ENT_PHYSICAL, 15}, "entPhysicalAssetID", {0, 3, 32}, {33}, general},
    {{MAIN, 91, 1, 2, 1, 1, 6}, "entSensorThresholdNotificationEnable", {1, 2}, {0, 3, -1}, reported},
    {{MAIN, 117, 1, 1, 1, 1, 1}, "qefcPowerRedundancyMode", {1, 3}, {0, 4, -1}, reported, "", " \n"},
    {{MAIN, 117, 1, 1, 2, 1, 1}, "qefcFRUPowerAdminStatus", {1, 4}, {0, 5, -1}, reported},
    {{MAIN, 117, 1, 1, 3}, "qefcMaxDefaultInLinePower", {0, 12500}, {12501, -1}, reported,
     "write to qefcMaxDefaultInLinePower: invalid range \n"},
    {{MAIN, 117, 1, 2, 1, 1, 1}, "qefcModuleAdminStatus", {1, 4}, {0, 5, -1}, reported},
    {{MAIN, 117, 1, 3, 1}, "qefcMIBEnableStatusNotification", {1, 2}, {0, 3, -1}, reported,
     "write to qefcMIBEnableStatusNotification: invalid range\n"},
    {{MAIN, 176, 1, 2, 11}, "qRFCfgAdminAction", {0, 3}, {4, -1}, any,
     "Out of range value for qRFCfgAdminAction.\n"},
    {{MAIN, 195, 1, 4, 1, 1}, "", {0, 3, 32}, {33}, general},
    {{ALT, 2, 9, 5}, "tsMsgIntervaltim", {1, 9999, -5}, {0, 10000}, any,
     "Out of range value for tsMsgIntervaltim.\n"},
    {{ALT, 2, 9, 6}, "tsMsgDuration", {1, 9999, -5}, {0, 10000}, any,
     "Out of range value for tsMsgDuration.\n"},
    {{ALT, 2, 9, 7}, "tsMsgText", {1, 256}, {0, 257}, any, "", "\n", "_"},
    {{ALT, 2, 9, 9}, "tsMsgSend", {2}, {0, 1, 3, -2}, any, "Out of range value for tsMsgSend.\n"},
};
// clang-format on

const Column& column_of(const Writable& object)
{
    return *std::ranges::find(columns, object.name, &Column::name);
}

/// A value to be written, and what is to come of it.
struct Attempt {
    u_char type;
    Bytes value;
    int refusal = 0;       ///< error status, 0 where the platform is to decide
    std::string told = {}; ///< on standard error
};

/// A number, or a text of that length.
Bytes written_value(bool is_text, long number)
{
    Bytes value = is_text ? Bytes(static_cast<size_t>(number), 'v') : Bytes(sizeof number);
    if (!is_text) {
        memcpy(value.data(), &number, sizeof number);
    }
    return value;
}

std::vector<Attempt> attempts_of(const Writable& object)
{
    const bool is_text = column_of(object).kind == text;
    const u_char type = is_text ? ASN_OCTET_STR : ASN_INTEGER;
    const u_char other = is_text ? ASN_INTEGER : ASN_OCTET_STR;
    const auto told = [&](const std::string& what) { return object.object.empty() ? "" : what; };
    const std::string length =
        told("write to " + object.length_start + object.object + ": bad length\n");
    const std::string wrong_type = told("write to " + object.object + " not ASN_" +
                                        (is_text ? "OCTET_STR" : "INTEGER") + object.type_end);
    std::vector<Attempt> attempts = {{other, Bytes(1), 7, wrong_type}};
    if (!is_text) {
        attempts.push_back({type, Bytes(sizeof(long) + 1), 8, length});
    }
    for (const long value : object.refused) {
        attempts.push_back({type, written_value(is_text, value), is_text ? 8 : 10,
                            is_text ? length : object.out_of_range});
    }
    for (const long value : object.accepted) {
        attempts.push_back({type, written_value(is_text, value)});
    }
    return attempts;
}

bool is_sensor(RowKey key)
{
    return key.first >= 25813 && key.first <= 287957;
}

uint32_t port_of(RowKey key)
{
    return port_at((key.first - 25814) / 4096, (key.first - 25814) % 4096 / 16);
}

uint32_t code_of(RowKey key)
{
    return (key.first - 25814) % 16 + 1;
}

Oid instance(const Column& column, RowKey key)
{
    return column.name +
           (has_two_indexes(column.opcode) ? Oid{key.first, key.second} : Oid{key.first});
}

std::string number(uint32_t word)
{
    return std::to_string(static_cast<int32_t>(word));
}

class Model : public WholeSwitchTest {
public:
    struct Reading {
        uint32_t time;
        std::map<uint32_t, int32_t> values; ///< by code
    };

    Model() { platform.uptime = UINT32_MAX - 1000000; } // it wraps within the run

    uint32_t below(uint32_t limit) { return static_cast<uint32_t>(random() % limit); }
    template <typename Choices>
    auto& one_of(Choices& choices)
    {
        return *std::next(std::begin(choices), below(static_cast<uint32_t>(std::size(choices))));
    }

    /// The indexes of the rows that a walk of the column shows.
    std::set<RowKey> rows_of(const Column& column)
    {
        std::set<RowKey> rows;
        for (const auto& [key, row] : model.tables.at(column.opcode)) {
            rows.insert(key);
        }
        const uint32_t thresholds = column.opcode == sensor_threshold_table ? 4 : 0;
        for (const auto& [if_index, port] : platform.ports) {
            const uint32_t block =
                25814 + (if_index >> 16 & 0xff) * 4096 + (if_index >> 8 & 0xff) * 16;
            for (const auto& [code, kind] : sensor_kinds) {
                for (uint32_t threshold = thresholds ? 1 : 0;
                     column.sensor_value && threshold <= thresholds; ++threshold) {
                    rows.insert({block + code - 1, threshold});
                }
            }
        }
        return rows;
    }

    /// What a port told when it was last read, which it is anew after a minute.
    const Reading& reading_at(uint32_t if_index)
    {
        Reading& reading = readings[if_index];
        const bool kept = (if_index >> 8 & 0xff) < 64 && (if_index >> 16 & 0xff) < 18;
        if (reading.values.empty() || !kept || (platform.uptime - reading.time) / 100 >= 60) {
            const Bytes& raw = *platform.ports.at(if_index).diagnostics.response;
            const auto voltage = static_cast<int32_t>(host_word(raw, 16) / 1000);
            const auto bias = static_cast<int32_t>(host_word(raw, 20));
            const auto temperature = static_cast<int32_t>(host_word(raw, 12));
            reading = {platform.uptime,
                       {{3, voltage}, {5, bias}, {8, temperature}, {14, 0}, {15, 0}}};
        }
        return reading;
    }

    std::string sensor_value(const Column& column, RowKey key)
    {
        const SensorKind& kind = sensor_kinds.at(code_of(key));
        const std::string value = column.sensor_value;
        if (value == "reading") {
            return std::to_string(reading_at(port_of(key)).values.at(code_of(key)));
        }
        if (value == "name") {
            return "Port" + std::to_string(port_of(key) >> 16 & 0xff) + "/" +
                   std::to_string(port_of(key) >> 8 & 0xff) + kind.unit;
        }
        if (value == "vendor type") {
            return bytes_of({1, 3, 6, 1, 4, 1, ENTERPRISE_MAIN, 12, 3, 1, 8, kind.vendor_type});
        }
        return value == "type" ? kind.type : value == "index" ? number(key.first) : value;
    }

    std::string value_of(const Column& column, RowKey key)
    {
        const auto found = model.tables.at(column.opcode).find(key);
        if (found == model.tables.at(column.opcode).end()) {
            return sensor_value(column, key);
        }
        const Bytes& row = found->second;
        if (column.kind == text) {
            const auto start = row.begin() + static_cast<ptrdiff_t>(column.offset);
            return {start, std::find(start, start + static_cast<ptrdiff_t>(column.longest), 0)};
        }
        if (column.kind == vendor_type) {
            Oid type;
            while (type.size() < std::min(wire_word(row, 772), 128U)) {
                type.push_back(wire_word(row, column.offset + 4 * type.size()));
            }
            return bytes_of(type);
        }
        return number((column.kind == wire ? wire_word : host_word)(row, column.offset));
    }

    /// Any request for a row of a port reads it.
    void note_read(const Column& column, RowKey key)
    {
        const bool exists = column.opcode != sensor_threshold_table || (key.second - 1) < 4;
        if (column.sensor_value && exists && key.first > 25813 && is_sensor(key) &&
            platform.ports.contains(port_of(key))) {
            reading_at(port_of(key));
        }
    }

    RowKey near(const Column& column, const std::set<RowKey>& rows)
    {
        RowKey key = rows.empty() ? RowKey{} : one_of(rows);
        if (below(3) == 0) {
            key.first += below(5) - 2;
        }
        if (has_two_indexes(column.opcode) && below(3) == 0) {
            key.second = below(6);
        }
        return key;
    }

    void expect(const Answer& answer, const Column& column, std::optional<RowKey> row)
    {
        ASSERT_EQ(answer.value.has_value(), row.has_value()) << PrintToString(answer.name);
        if (row) {
            note_read(column, *row);
            EXPECT_EQ(answer.name, instance(column, *row));
            const bool bytes = column.kind == text || column.kind == vendor_type;
            EXPECT_TRUE(bytes || answer.value->size() == 4);
            EXPECT_EQ(bytes ? std::string(answer.value->begin(), answer.value->end())
                            : number(host_word(*answer.value, 0)),
                      value_of(column, *row))
                << PrintToString(answer.name);
        }
    }

    void read()
    {
        const Column& column = one_of(columns);
        const std::set<RowKey> rows = rows_of(column);
        const RowKey key = near(column, rows);
        const Oid name = instance(column, key);
        variable& var = *agent.variable_for(name);
        if (below(10) == 0) {
            expect(ask(var, name + Oid{1}, true), column, {});
            EXPECT_THAT(platform.calls, IsEmpty()) << "no such instance";
        }
        if (below(2) == 0) {
            note_read(column, key);
            expect(ask(var, name, true), column,
                   rows.contains(key) ? std::optional(key) : std::nullopt);
            EXPECT_THAT(platform.calls, Each(Field(&PlatformCall::for_user, true)));
            return;
        }
        auto next = rows.upper_bound(key);
        // What the platform answers where the sensors' rows lie ends the other tables of entities.
        const bool ends = !column.sensor_value && column.opcode == physical_table &&
                          key.first < 25813 && !platform.ports.empty() &&
                          (next == rows.end() || next->first > 25813);
        next = ends ? rows.end() : next;
        expect(ask(var, name, false), column,
               next == rows.end() ? std::nullopt : std::optional(*next));
    }

    /// Writes, and compares what comes of it.
    void write(const Writable& object, RowKey key, const Attempt& attempt)
    {
        const Column& column = column_of(object);
        const Oid name = instance(column, key);
        SCOPED_TRACE(PrintToString(name) + PrintToString(attempt.value));
        note_read(column, key);
        auto expected = model.tables;
        const auto row = expected.at(column.opcode).find(key);
        const bool exists = row != expected.at(column.opcode).end();
        const int32_t result = std::max(lookup_result, write_result);
        if (exists && attempt.refusal == 0 && result == 0) {
            const auto field = row->second.begin() + static_cast<ptrdiff_t>(column.offset);
            if (column.kind == text) {
                std::fill_n(field, is_scalar(column.opcode) ? attempt.value.size() + 1 : 32, 0);
                std::ranges::copy(attempt.value, field);
            } else {
                (column.kind == host ? put_host_word : put_wire_word)(row->second, column.offset,
                                                                      host_word(attempt.value, 0));
            }
        }
        platform.calls.clear();
        platform.failed_writes.clear();
        int status = 0;
        const std::string error =
            standard_error_of([&] { status = agent.set(name, attempt.type, attempt.value); });
        EXPECT_TRUE(expected == model.tables);
        if (!exists) {
            EXPECT_NE(status, 0);
            return;
        }
        EXPECT_EQ(error, attempt.told);
        EXPECT_EQ(status, attempt.refusal != 0 ? attempt.refusal
                          : result == 0        ? 0
                                        : object.statuses.at(static_cast<size_t>(result - 1)));
        const auto writes = std::ranges::count(platform.calls, 3, &PlatformCall::operation);
        EXPECT_EQ(writes, attempt.refusal == 0 && lookup_result == 0 ? 1 : 0);
        EXPECT_EQ(platform.failed_writes.size(), writes == 1 && write_result != 0 ? 1U : 0U);
        if (!is_scalar(column.opcode) && writes == 1) {
            EXPECT_EQ(platform.calls.at(1).payload,
                      wire_record(platform.calls[1].length, {key.first, key.second}))
                << "what is fetched first carries nothing stale";
            EXPECT_FALSE(platform.calls.at(2).wants_response);
        }
    }

    void write_anything()
    {
        const Writable& object = one_of(writables);
        const Column& column = column_of(object);
        const std::vector<Attempt> attempts = attempts_of(object);
        // A threshold that the platform does not have may be a transceiver's.
        if (is_scalar(column.opcode) ||
            (column.opcode == sensor_threshold_table && lookup_result == 1)) {
            lookup_result = 0;
        }
        write(object, is_scalar(column.opcode) ? RowKey{} : near(column, rows_of(column)),
              one_of(attempts));
    }

    void change_row()
    {
        auto& [opcode, rows] = one_of(model.tables);
        if (is_scalar(opcode)) {
            rows[{}] = model_row(opcode, {}, below(509));
        } else if (rows.size() > 4 || (below(2) == 0 && !rows.empty())) {
            rows.erase(one_of(rows).first);
        } else {
            const uint32_t starts[] = {1, 21589, 287959, 300000};
            const RowKey key = {one_of(starts) + below(20), has_two_indexes(opcode) ? below(3) : 0};
            rows[key] = model_row(opcode, key, below(509));
        }
    }

    void change_port()
    {
        const uint32_t slots[] = {0, 1, 17, 18, 63};
        const uint32_t numbers[] = {0, 1, 63, 64, 255};
        const uint32_t if_index = port_at(one_of(slots), one_of(numbers));
        if (platform.ports.size() > 5 || (below(3) == 0 && !platform.ports.empty())) {
            platform.ports.erase(one_of(platform.ports).first);
        }
        std::map<size_t, uint32_t> words = {{12, below(90000) - 20000},
                                            {16, below(4000000)},
                                            {20, below(100)},
                                            {24, 1000},
                                            {28, 1000}};
        for (size_t power_threshold = 140; power_threshold <= 168; power_threshold += 4) {
            words[power_threshold] = 1000; // 0 dBm
        }
        platform.ports[if_index] = port_with_diagnostics(words);
    }

    void let_time_pass() { platform.uptime += below(4000); }

    const char* given_seed = getenv("CHM_TEST_SEED");
    const uint32_t seed = given_seed ? static_cast<uint32_t>(strtoul(given_seed, nullptr, 10))
                                     : std::random_device()();
    std::mt19937 random{seed};
    std::map<uint32_t, Reading> readings; ///< by interface index
};

/// What is not found in a record: the tests of the modules have these.
const Oid apart[] = {{MAIN, 176, 1, 1, 8}, {MAIN, 198, 1, 1, 6}, {MAIN, 198, 1, 1, 9}};

TEST_F(Model, HasAllThatIsServed)
{
    for (RegisteredVariable* var : agent.variables()) {
        const Oid name = var->full_oid();
        const bool listed = std::ranges::count(columns, name, &Column::name) == 1;
        EXPECT_TRUE(listed || var->record.findVar == serve_no_rows ||
                    var->record.type == ASN_TIMETICKS || std::ranges::count(apart, name) == 1)
            << PrintToString(name);
        // Serial numbers are registered to be written, and never are.
        const bool writable = var->record.acl == RWRITE && name != Oid{ENT_PHYSICAL, 11};
        EXPECT_EQ(std::ranges::count(writables, name, &Writable::name), listed && writable)
            << PrintToString(name);
    }
}

TEST_F(Model, AnswersAsTheSwitchIs)
{
    // clang-format off
    void (Model::*const operations[])() = {
        &Model::read, &Model::read, &Model::read, &Model::read, &Model::read,
        &Model::write_anything, &Model::change_row, &Model::change_row, &Model::change_port,
        &Model::let_time_pass};
    // clang-format on
    quietly([&] {
        for (int operation = 0; operation < 20000 && !HasFailure(); ++operation) {
            SCOPED_TRACE("CHM_TEST_SEED=" + std::to_string(seed) + ", operation " +
                         std::to_string(operation));
            (this->*one_of(operations))();
            platform.calls.clear();
        }
    });
}

TEST_F(Model, TakesWritesAsThePlatformDoes)
{
    quietly([&] {
        for (int number = 0; number < 10000 && !HasFailure(); ++number) {
            SCOPED_TRACE("CHM_TEST_SEED=" + std::to_string(seed));
            const int32_t result = below(3) == 0 ? 1 + static_cast<int32_t>(below(3)) : 0;
            (below(2) == 0 ? write_result : lookup_result) = result;
            write_anything();
            lookup_result = write_result = 0;
        }
    });
}

} // namespace
