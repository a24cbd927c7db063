#include "model_switch.h"

namespace {

#define ALL_MODULES(DO)                                                                            \
    DO(entity_mib), DO(entityfru_mib), DO(entitysensor_mib), DO(quarn_rf_mib),                     \
        DO(quarn_rf_supp_mib), DO(quarn_ts_mib), DO(entity_ext_mib), DO(entity_asset_mib)
#define INIT(module) init_##module()
#define DEINIT(module) deinit_##module()

extern "C" void ALL_MODULES(INIT), ALL_MODULES(DEINIT);

void init_all()
{
    ALL_MODULES(INIT);
}

void deinit_all()
{
    ALL_MODULES(DEINIT);
}

constexpr std::pair<uint32_t, size_t> record_sizes[] = {
    {1026, 2780}, {1027, 284}, {1028, 16}, {1029, 316}, {1031, 40},
    {1032, 28},   {1046, 8},   {3242, 12}, {3270, 8},
};

RowKey key_of(uint32_t opcode, const Bytes& record)
{
    return {wire_word(record, 0), has_two_indexes(opcode) ? wire_word(record, 4) : 0};
}

} // namespace

Bytes model_row(uint32_t opcode, RowKey key, uint8_t filler)
{
    Bytes row(
        std::map<uint32_t, size_t>(std::begin(record_sizes), std::end(record_sizes)).at(opcode),
        filler);
    put_wire_word(row, 0, key.first);
    if (has_two_indexes(opcode)) {
        put_wire_word(row, 4, key.second);
    }
    return row;
}

ModelSwitch::ModelSwitch()
{
    for (const auto& [opcode, size] : record_sizes) {
        for (const uint32_t index : {1U, 21600U, 300000U}) {
            const RowKey key = {index, has_two_indexes(opcode) ? 2 : 0};
            Bytes& row = tables[opcode][key] = model_row(opcode, key, 0x42);
            put_wire_word(row, size == 8 ? 4 : 8, 2); // where units have their status: all are well
        }
    }
    scalars = {{1016, Bytes(272)},
               {1030, Bytes(4)},
               {1039, Bytes(8)},
               {1040, Bytes(4)},
               {1042, Bytes(32)}};
}

PlatformAnswer ModelSwitch::answer(const PlatformCall& call)
{
    if (const auto scalar = scalars.find(call.opcode); scalar != scalars.end()) {
        if (call.operation == 3) {
            scalar->second = call.payload.value();
        }
        return {0, scalar->second};
    }
    auto& rows = tables.at(call.opcode);
    const RowKey key = key_of(call.opcode, call.payload.value());
    const auto row = call.operation == 2 ? rows.upper_bound(key) : rows.find(key);
    const bool to_transceivers = call.operation == 2 && key.first < 25813 &&
                                 (row == rows.end() || row->first.first > 25813) &&
                                 !platform.ports.empty();
    if (to_transceivers && call.opcode == 1026) {
        return {1, model_row(1026, {25813, 0}, 0)};
    }
    if (row == rows.end() || (to_transceivers && (call.opcode == 1031 || call.opcode == 1032))) {
        return {1, {}};
    }
    if (call.operation == 3) {
        row->second = call.payload.value();
    }
    return {0, row->second};
}

WholeSwitchTest::WholeSwitchTest() : ModuleTest(init_all, deinit_all)
{
    platform.answer = [this](const PlatformCall& call) { return model.answer(call); };
}

ScriptedPort port_with_diagnostics(const std::map<size_t, uint32_t>& words)
{
    ScriptedPort port;
    port.info.response->at(101) = 0x68;
    put_host_word(*port.diagnostics.response, 8, 1);
    for (const auto& [offset, word] : words) {
        put_host_word(*port.diagnostics.response, offset, word);
    }
    return port;
}
