/// Random operations on the modules and on the switch behind them, each answer compared with what a
/// plain model of the switch says. CHM_TEST_SEED repeats a run.
#include "model_switch.h"

#include <chrono>
#include <cstdlib>
#include <random>

using namespace testing;

namespace {

#define ENT_PHYSICAL 1, 3, 6, 1, 2, 1, 47, 1, 1, 1, 1
#define MAIN 1, 3, 6, 1, 4, 1, ENTERPRISE_MAIN, 9
#define ALT 1, 3, 6, 1, 4, 1, ENTERPRISE_ALT

/// Which rows a table has besides the platform's.
enum class Sensors { none, rows, thresholds };

struct Column {
    Oid name;
    uint32_t opcode;
    Sensors sensors;
    size_t offset;
    size_t longest;                 ///< of a text; 0 for a number
    uint32_t most_written;          ///< length or number that may be written, 0 for none
    std::string sensor_value = "2"; ///< in the row of any transceiver's sensor
};

// clang-format off
const Column columns[] = {
    {{ENT_PHYSICAL, 2}, 1026, Sensors::rows, 4, 254, 0, "name"},
    {{ENT_PHYSICAL, 5}, 1026, Sensors::rows, 780, 0, 0, "8"},
    {{ENT_PHYSICAL, 11}, 1026, Sensors::rows, 1808, 32, 0, "serial"},
    {{ENT_PHYSICAL, 14}, 1026, Sensors::rows, 2351, 32, 32, "another"},
    {{ENT_PHYSICAL, 15}, 1026, Sensors::rows, 2384, 32, 32, ""},
    {{MAIN, 91, 1, 1, 1, 1, 1}, 1031, Sensors::rows, 4, 0, 0, "code"},
    {{MAIN, 91, 1, 1, 1, 1, 4}, 1031, Sensors::rows, 16, 0, 0, "reading"},
    {{MAIN, 91, 1, 2, 1, 1, 4}, 1032, Sensors::thresholds, 16, 0, 0, "0"},
    {{MAIN, 91, 1, 2, 1, 1, 6}, 1032, Sensors::thresholds, 24, 0, 2, "1"},
    {{MAIN, 117, 1, 1, 1, 1, 2}, 1027, Sensors::none, 8, 254, 0},
    {{MAIN, 117, 1, 1, 2, 1, 1}, 1028, Sensors::none, 4, 0, 4},
    {{MAIN, 117, 1, 2, 1, 1, 1}, 1029, Sensors::none, 4, 0, 4},
    {{MAIN, 117, 1, 2, 1, 1, 8}, 1029, Sensors::none, 308, 0, 0},
    {{MAIN, 117, 1, 4, 1, 1, 1}, 1046, Sensors::none, 4, 0, 0},
    {{MAIN, 117, 1, 5, 1, 1, 1}, 1026, Sensors::none, 2428, 0, 0},
    {{MAIN, 195, 1, 3, 1, 2}, 3242, Sensors::none, 8, 0, 0},
    {{MAIN, 195, 1, 4, 1, 1}, 1026, Sensors::none, 2432, 32, 32},
    {{ALT, 9, 92, 1, 1, 1, 11}, 1026, Sensors::none, 2509, 271, 0},
};
// clang-format on

class Model : public WholeSwitchTest {
public:
    struct Reading {
        uint32_t time;
        std::map<uint32_t, int32_t> values; ///< by code
    };

    uint32_t below(uint32_t limit) { return static_cast<uint32_t>(random() % limit); }
    template <typename Choices>
    auto& one_of(Choices& choices)
    {
        return *std::next(std::begin(choices), below(static_cast<uint32_t>(std::size(choices))));
    }
    static bool is_sensor(RowKey key) { return key.first >= 25813 && key.first <= 287957; }
    static uint32_t port_of(RowKey key)
    {
        return port_at((key.first - 25814) / 4096, (key.first - 25814) % 4096 / 16);
    }
    static uint32_t code_of(RowKey key) { return (key.first - 25814) % 16 + 1; }

    /// The indexes of the rows that a walk of the column shows.
    std::set<RowKey> rows_of(const Column& column)
    {
        std::set<RowKey> rows;
        for (const auto& [key, row] : model.tables.at(column.opcode)) {
            rows.insert(key);
        }
        const uint32_t thresholds = column.sensors == Sensors::thresholds ? 4 : 0;
        for (const auto& [if_index, port] : platform.ports) {
            const uint32_t block =
                25814 + (if_index >> 16 & 0xff) * 4096 + (if_index >> 8 & 0xff) * 16;
            for (const uint32_t offset : {2U, 4U, 7U, 13U, 14U}) {
                for (uint32_t number = thresholds ? 1 : 0;
                     column.sensors != Sensors::none && number <= thresholds; ++number) {
                    rows.insert({block + offset, number});
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
            const auto current = static_cast<int32_t>(host_word(raw, 20));
            const auto temperature = static_cast<int32_t>(host_word(raw, 12));
            reading = {platform.uptime,
                       {{3, voltage}, {5, current}, {8, temperature}, {14, 0}, {15, 0}}};
        }
        return reading;
    }

    std::string sensor_value(const Column& column, RowKey key)
    {
        if (column.sensor_value == "reading") {
            return std::to_string(reading_at(port_of(key)).values.at(code_of(key)));
        }
        // clang-format off
        const std::map<uint32_t, std::pair<const char*, const char*>> kinds = {
            {3, {"3", "(volt)"}}, {5, {"5", "(ampere)"}}, {8, {"8", "(celsius)"}},
            {14, {"14", "(Rx-dBm)"}}, {15, {"14", "(Tx-dBm)"}}};
        // clang-format on
        const auto& [type, unit] = kinds.at(code_of(key));
        if (column.sensor_value == "name") {
            const uint32_t if_index = port_of(key);
            return "Port" + std::to_string(if_index >> 16 & 0xff) + "/" +
                   std::to_string(if_index >> 8 & 0xff) + unit;
        }
        return column.sensor_value == "code" ? type : column.sensor_value;
    }

    std::string value_of(const Column& column, RowKey key)
    {
        const auto row = model.tables.at(column.opcode).find(key);
        if (row == model.tables.at(column.opcode).end()) {
            return sensor_value(column, key);
        }
        const auto start = row->second.begin() + static_cast<ptrdiff_t>(column.offset);
        const auto end = std::find(start, start + static_cast<ptrdiff_t>(column.longest), 0);
        return column.longest != 0
                   ? std::string(start, end)
                   : std::to_string(static_cast<int32_t>(wire_word(row->second, column.offset)));
    }

    static Oid instance(const Column& column, RowKey key)
    {
        return column.name +
               (has_two_indexes(column.opcode) ? Oid{key.first, key.second} : Oid{key.first});
    }

    /// Any request for a row of a port reads it.
    void note_read(const Column& column, RowKey key)
    {
        const bool exists = column.sensors != Sensors::thresholds || (key.second - 1) < 4;
        if (column.sensors != Sensors::none && exists && key.first > 25813 && is_sensor(key) &&
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
            const std::string text(answer.value->begin(), answer.value->end());
            EXPECT_EQ(column.longest != 0
                          ? text
                          : std::to_string(static_cast<int32_t>(host_word(*answer.value, 0))),
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
        if (below(2) == 0) {
            note_read(column, key);
            expect(ask(var, name, true), column,
                   rows.contains(key) ? std::optional(key) : std::nullopt);
            return;
        }
        auto next = rows.upper_bound(key);
        // What the platform answers where the sensors' rows lie ends the other tables of entities.
        const bool ends = column.sensors == Sensors::none && column.opcode == 1026 &&
                          key.first < 25813 && !platform.ports.empty() &&
                          (next == rows.end() || next->first > 25813);
        next = ends ? rows.end() : next;
        expect(ask(var, name, false), column,
               next == rows.end() ? std::nullopt : std::optional(*next));
    }

    void write()
    {
        const Column& column = one_of(columns);
        if (column.most_written == 0) {
            return;
        }
        const RowKey key = near(column, rows_of(column));
        const uint32_t number = below(column.most_written + 4);
        auto expected = model.tables;
        const auto row = expected.at(column.opcode).find(key);
        const bool exists = row != expected.at(column.opcode).end();
        const bool text = column.longest != 0;
        const bool accepted = number <= column.most_written && (text || number != 0);
        if (exists && accepted && text) {
            std::fill_n(row->second.begin() + static_cast<ptrdiff_t>(column.offset), 32, 0);
            put_text(row->second, column.offset, std::string(number, 'v'));
        } else if (exists && accepted) {
            put_wire_word(row->second, column.offset, number);
        }
        note_read(column, key);
        const Oid name = instance(column, key);
        const int status = text ? agent.set(name, std::string(number, 'v'))
                                : agent.set(name, static_cast<long>(number));
        const int refusal = text ? SNMP_ERR_WRONGLENGTH : SNMP_ERR_WRONGVALUE;
        EXPECT_EQ(status == SNMP_ERR_NOERROR, exists && accepted);
        EXPECT_EQ(exists && status == refusal, exists && !accepted);
        EXPECT_TRUE(expected == model.tables) << PrintToString(name);
    }

    bool all_healthy(uint32_t opcode, size_t offset)
    {
        const auto& rows = model.tables.at(opcode);
        return std::all_of(rows.begin(), rows.end(),
                           [&](const auto& row) { return wire_word(row.second, offset) == 2; });
    }

    void send_event()
    {
        const struct {
            uint32_t event, opcode;
            size_t offset; ///< of what its first binding tells
            bool tells_unit_status;
        } events[] = {{1034, 1029, 8, true},
                      {1035, 1028, 8, false},
                      {1036, 1026, 776, false},
                      {1047, 1046, 4, true}};
        const auto& event = one_of(events);
        const Bytes payload = changed_row(event.opcode, {below(1000), 0});
        platform.unit_status.clear();
        const Notification notification = deliver(event.event, payload);
        ASSERT_TRUE(notification.sent && !notification.bindings.empty());
        EXPECT_EQ(notification.bindings[0].integer(), wire_word(payload, event.offset));
        EXPECT_EQ(notification.bindings[0].name.back(), wire_word(payload, 0));
        if (event.tells_unit_status) {
            const bool well = all_healthy(1028, 8) && all_healthy(1029, 8) &&
                              all_healthy(3270, 4) && !model.tables.at(3270).empty();
            EXPECT_EQ(platform.unit_status.back(), well ? "status 3" : "status 4");
        }
    }

    /// A row whose units are mostly well.
    Bytes changed_row(uint32_t opcode, RowKey key)
    {
        Bytes row = model_row(opcode, key, static_cast<uint8_t>(below(256)));
        for (size_t offset = has_two_indexes(opcode) ? 8 : 4;
             offset < std::min<size_t>(row.size(), 12); offset += 4) {
            put_wire_word(row, offset, below(20) == 0 ? 3 : 2);
        }
        return row;
    }

    void change_row()
    {
        auto& [opcode, rows] = one_of(model.tables);
        if (rows.size() > 4 || (below(2) == 0 && !rows.empty())) {
            rows.erase(one_of(rows).first);
            return;
        }
        const uint32_t starts[] = {1, 21589, 287959, 300000};
        const RowKey key = {one_of(starts) + below(20), has_two_indexes(opcode) ? below(3) : 0};
        rows[key] = changed_row(opcode, key);
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

    /// The one asked for, else another one each time.
    static uint32_t chosen_seed()
    {
        const char* given = getenv("CHM_TEST_SEED");
        const auto now = std::chrono::system_clock::now().time_since_epoch().count();
        return static_cast<uint32_t>(given ? strtoul(given, nullptr, 10)
                                           : static_cast<unsigned long>(now));
    }

    const uint32_t seed = chosen_seed();
    std::mt19937 random{seed};
    std::map<uint32_t, Reading> readings; ///< by interface index
};

TEST_F(Model, AnswersAsTheSwitchIs)
{
    void (Model::*const operations[])() = {
        &Model::read,       &Model::read,        &Model::read,         &Model::read,
        &Model::read,       &Model::write,       &Model::send_event,   &Model::change_row,
        &Model::change_row, &Model::change_port, &Model::let_time_pass};
    quietly([&] {
        for (int number = 0; number < 20000 && !HasFailure(); ++number) {
            SCOPED_TRACE("CHM_TEST_SEED=" + std::to_string(seed) + ", operation " +
                         std::to_string(number));
            (this->*one_of(operations))();
            platform.calls.clear();
            platform.port_calls.clear();
        }
    });
}

} // namespace
