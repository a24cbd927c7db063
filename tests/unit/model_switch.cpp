#include "model_switch.h"

Bytes model_row(uint32_t opcode, RowKey key, uint32_t seed)
{
    Bytes row(request_of(opcode).record_size);
    for (size_t i = 0; i < row.size(); ++i) {
        row[i] = static_cast<uint8_t>(seed % 2 == 0 ? 1 + (seed + i) % 251 : (seed + i) % 509);
    }
    if (!is_scalar(opcode)) {
        put_wire_word(row, 0, key.first);
    }
    if (has_two_indexes(opcode)) {
        put_wire_word(row, 4, key.second);
    }
    if (opcode == physical_table) {
        put_wire_word(row, 772, seed % 150); // sub-identifiers of the vendor type, or too many
    }
    return row;
}

ModelSwitch::ModelSwitch()
{
    for (const uint32_t opcode : platform_requests) {
        if (is_scalar(opcode)) {
            tables[opcode][{}] = model_row(opcode, {}, opcode);
            continue;
        }
        for (const uint32_t index : {1U, 21600U, 300000U}) {
            const RowKey key = {index, has_two_indexes(opcode) ? 2 : 0};
            Bytes& row = tables[opcode][key] = model_row(opcode, key, index);
            put_wire_word(row, row.size() == 8 ? 4 : 8, 2); // the status of a unit: all are well
        }
    }
}

PlatformAnswer ModelSwitch::answer(const PlatformCall& call)
{
    auto& rows = tables.at(call.opcode);
    RowKey key = {};
    if (call.payload) {
        EXPECT_EQ(call.length, request_of(call.opcode).record_size);
    }
    if (!is_scalar(call.opcode)) {
        key.first = wire_word(call.payload.value(), 0);
        key.second = has_two_indexes(call.opcode) ? wire_word(*call.payload, 4) : 0;
    }
    const auto row = call.operation == 2 ? rows.upper_bound(key) : rows.find(key);
    const bool to_transceivers = call.operation == 2 && key.first < 25813 &&
                                 (row == rows.end() || row->first.first > 25813) &&
                                 !platform.ports.empty();
    if (to_transceivers && call.opcode == physical_table) {
        return {1, model_row(physical_table, {25813, 0}, 0)};
    }
    if (row == rows.end() || (to_transceivers && (call.opcode == sensor_value_table ||
                                                  call.opcode == sensor_threshold_table))) {
        return {1, {}};
    }
    if (call.operation == 3) {
        row->second = call.payload.value();
    }
    return {0, row->second};
}

WholeSwitchTest::WholeSwitchTest()
{
    platform.answer = [this](const PlatformCall& call) {
        const bool first = platform.calls.size() == 1;
        const int32_t refusal = call.operation == 3 ? write_result : first ? 0 : lookup_result;
        return refusal != 0 ? PlatformAnswer{refusal, {}} : model.answer(call);
    };
}
