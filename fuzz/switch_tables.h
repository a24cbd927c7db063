/// The tables of the simulated switch as the MIB modules ask for them.
#pragma once

#include "cmi.h"
#include "ipcx.h"
#include "opcodes.h"
#include "records.h"

#include <cassert>
#include <cstdlib>
#include <cstring>

/// Walks a table to its end: whole records whose indexes, their first words, increase.
template <typename Record, size_t Indexes = 1>
void walk_table(Opcode opcode)
{
    constexpr size_t key_size = Indexes * 4; // in wire order, so that bytes compare like numbers
    Record record = {};
    for (;;) {
        void* block = nullptr;
        uint32_t length = sizeof record;
        const int32_t result = cmi_req_resp(static_cast<uint32_t>(opcode), CHM_REQ_GETNEXT, &record,
                                            &block, &length, nullptr, 0, 39, ipcx_response_q, 5);
        if (result != PLATFORM_OK) {
            assert(result == PLATFORM_NO_SUCH_ENTRY);
            free(block);
            return;
        }
        assert(block != nullptr && length == sizeof record);
        assert(memcmp(block, &record, key_size) > 0);
        memcpy(&record, block, sizeof record);
        free(block);
    }
}

inline void walk_all_tables()
{
    walk_table<ent_phys_entry>(Opcode::physical_entity);
    walk_table<power_supply_group_record>(Opcode::power_supply_group);
    walk_table<power_status_record>(Opcode::fru_power_status);
    walk_table<module_record>(Opcode::module);
    walk_table<unit_status_record>(Opcode::fan_tray_status);
    walk_table<unit_status_record>(Opcode::power_supply_status);
    walk_table<led_entry, 2>(Opcode::led);
}
