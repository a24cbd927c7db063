/// Reads the tables of the simulated switch like the MIB modules.
#pragma once

#include "cmi.h"
#include "ipcx.h"
#include "libraries/platform_manager.h"
#include "port_client.h"
#include "port_manager.h"
#include "wire/requests.h"

#include <cassert>
#include <cstdlib>
#include <cstring>
#include <vector>

/// Walks a table to its end: whole records whose indexes, their first words, increase.
inline void walk_table(const RequestCode& table)
{
    std::vector<uint8_t> record(table.record_size);
    for (;;) {
        void* block = nullptr;
        auto length = static_cast<uint32_t>(record.size());
        const int32_t result =
            cmi_req_resp(table.opcode, CHM_REQ_GETNEXT, record.data(), &block, &length, nullptr, 0,
                         39, ipcx_response_q, table.req_class);
        if (result != PLATFORM_OK) {
            assert(result == PLATFORM_NO_SUCH_ENTRY);
            free(block);
            return;
        }
        assert(block != nullptr && length == record.size());
        // In wire order, bytes compare like numbers.
        assert(memcmp(block, record.data(), table.indexes * 4) > 0);
        memcpy(record.data(), block, record.size());
        free(block);
    }
}

/// Walks the ports with diagnostics, in increasing order, and reads all blocks of each.
inline void walk_ports()
{
    uint32_t one = 1;
    uint32_t if_index = 0;
    void* block = nullptr;
    while (pm_get_next_port_fcot_info_with_ddm(0, CHM_REQ_GETNEXT, 1, &if_index, &one, &block, 5) ==
           PLATFORM_OK) {
        uint32_t next = 0;
        memcpy(&next, block, sizeof next);
        free(block);
        assert(next > if_index);
        if_index = next;

        assert(pm_cmi_get_port_config(0, CHM_REQ_GET, 1, &if_index, &one, &block, 5) == 0);
        free(block);
        assert(pm_cmi_get_fcot_info(0, CHM_REQ_GET, 1, &if_index, &one, &block, 5) == 0);
        char texts[5][256];
        pc_sfp_get_vendor_info(block, texts[0], texts[1], texts[2], texts[3], texts[4]);
        free(block);
        void* auxiliary = nullptr;
        uint32_t lanes = 0;
        assert(pm_get_sfp_diag_info(0, if_index, &block, &auxiliary, &lanes) == 0 && lanes > 0);
        free(block);
        free(auxiliary);
    }
    free(block);
}

inline void walk_all_tables()
{
    sim::chassis_in_place()->settings().diagnostics_delay = {};
    sim::chassis_in_place()->faults().clear();
    walk_ports();
    for (const RequestCode& request : platform_requests) {
        if (request.indexes > 0) {
            walk_table(request);
        }
    }
}
