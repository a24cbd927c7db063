/// The traces of the tables with transceivers' sensors, kept out of their lookups.
#pragma once

#include "port_manager.h"
#include "sensor_index.h"
#include "trace.h"
#include "wire/requests.h"

#include <cstdint>

/// The points where not every table traces.
struct Untraced {
    static void given(const auto& /*row*/) {}
    static void request(chm_req_operation /*operation*/, uint32_t /*index*/) {}
    static void transceiver_result(uint32_t /*index*/, int32_t /*result*/) {}
    static void transceiver_request(uint32_t /*index*/) {}
    static void step(const auto& /*index*/) {}
    static void place(uint32_t /*index*/, const SensorPlace& /*place*/) {}
    static void port(uint32_t /*index*/, const SensorPlace& /*place*/, uint8_t /*type*/) {}
    static void unmatched_port(uint32_t /*index*/, const SensorPlace& /*place*/, uint8_t /*type*/)
    {
    }
    static void fetched(const auto& /*half*/, const SensorPlace& /*place*/, uint8_t /*type*/) {}
};

struct PhysicalTrace : Untraced {
    static constexpr const char* function = "entPhysicalTable_trans_sensor";

    static void transceiver_request(uint32_t index)
    {
        CHM_TRACE("%s/%d entry.entPhysicalIndex %d\n", function, __LINE__, index);
    }

    static void step(const auto& index) { transceiver_request(index[0]); }

    static void below_range(uint32_t index)
    {
        CHM_TRACE("%s/%d RET lesser value!  entPhyIndex = %d, ", function, __LINE__, index);
    }

    static void port(uint32_t index, const SensorPlace& place, uint8_t type)
    {
        CHM_TRACE("%s/%d: entPhyIndex = %d, ifIndex = 0x%x, sensor_type = %d,port_type:%d\n",
                  function, __LINE__, index, place.if_index, place.code, type);
    }

    static void unmatched_port(uint32_t index, const SensorPlace& place, uint8_t type)
    {
        CHM_TRACE("%s/%d: entPhyIndex = %d, ifIndex = 0x%x, sensor_type = %d, unmatched port "
                  "type:%d, NO_ENTRY\n",
                  function, __LINE__, index, place.if_index, place.code, type);
    }

    static void failed_fetch(uint32_t /*index*/, uint32_t status)
    {
        CHM_TRACE("%s/%d: call to get fcot info failed, retcode = 0x%x\n", function, __LINE__,
                  status);
    }

    static void fetched(const auto& half, const SensorPlace& place, uint8_t type)
    {
        CHM_TRACE("%s/%d: entPhyIndex = %d, ifIndex = 0x%x, sensor_type = %d,port_type:%d, got "
                  "transceiver mib,num_ports:%d, DiagMonType:%d\n",
                  function, __LINE__, half.found.entPhysicalIndex.value(), place.if_index,
                  place.code, type, half.count, half.fcot_res[PM_FCOT_DIAG_MON_TYPE]);
    }
};

struct ValueTrace : Untraced {
    static constexpr const char* lookup = "header_entSensorValueTable";
    static constexpr const char* function = "entSensorValueTable_trans_sensor";

    static void request(chm_req_operation operation, uint32_t index)
    {
        if (operation == CHM_REQ_GETNEXT) {
            CHM_TRACE("%s: came with GETNEXT_REQ EPI= %d\n", lookup, index);
        }
        platform_row(index);
    }

    static void platform_row(uint32_t index)
    {
        CHM_TRACE("%s/%d: entPhyIndex = %d ", lookup, __LINE__, index);
    }

    static void no_platform_row(uint32_t index, int32_t /*result*/)
    {
        CHM_TRACE("%s/%d: came with no_entry, ent_phy_index = %d\n", lookup, __LINE__, index);
        ranges(lookup);
    }

    static void transceiver_result(uint32_t index, int32_t result)
    {
        CHM_TRACE("%s/%d: entPhyIndex = %d ret_code %d", lookup, __LINE__, index, result);
    }

    static void transceiver_request(uint32_t index)
    {
        CHM_TRACE("%s/%d: entry->entPhysicalIndex = %d sfp_diag_entry.entPhysicalIndex = %d\n",
                  function, __LINE__, index, index);
        ranges(function);
    }

    static void ranges(const char* name)
    {
        CHM_TRACE("%s/%d: ENTITY_SENSOR_START:%d, ENTITY_SENSOR_END:%d\n"
                  "ENTITY_PORT_SFP_SENSOR_START = %d, ENTITY_PORT_SFP_SENSOR_END:%d\n",
                  name, __LINE__, ENTITY_SENSOR_START, ENTITY_SENSOR_END,
                  ENTITY_PORT_SFP_SENSOR_START, ENTITY_PORT_SFP_SENSOR_END);
    }

    static void below_range(uint32_t index)
    {
        CHM_TRACE("lesser value! %s/%d: sfp_diag_entry.entPhysicalIndex = %d, ", function, __LINE__,
                  index);
    }

    static void place(uint32_t index, const SensorPlace& place)
    {
        CHM_TRACE("%s/%d: sfp_diag_entry.entPhysicalIndex = %d, ifIndex = 0x%x, "
                  "sensor_type = %d\n",
                  function, __LINE__, index, place.if_index, place.code);
    }

    static void unmatched_port(uint32_t index, const SensorPlace& place, uint8_t type)
    {
        CHM_TRACE("%s/%d: sfp_diag_entry.entPhysicalIndex = %d, ifIndex = 0x%x, "
                  "sensor_type = %d, unmatched port type:%d, NO_ENTRY\n",
                  function, __LINE__, index, place.if_index, place.code, type);
    }

    static void failed_fetch(uint32_t index, uint32_t status)
    {
        CHM_TRACE("%s/%d: FALIED EPI for sfp_diag_entry.entPhysicalIndex = %d\n", function,
                  __LINE__, index);
        CHM_TRACE("%s/%d: call to get fcot info failed, retcode = 0x%x\n", function, __LINE__,
                  status);
    }
};

struct ThresholdTrace : Untraced {
    static constexpr const char* lookup = "header_entSensorThresholdTable";
    static constexpr const char* function = "entSensorThresholdTable_trans_sensor";

    static void given(const ent_sensor_thresh_rec& row)
    {
        CHM_TRACE("%s:entSensorThresholdindex = %d, entPhysicalIndex = %d\n", lookup,
                  row.sensor_thrsh.value(), row.entPhysicalIndex.value());
    }

    static void platform_row(uint32_t index)
    {
        CHM_TRACE("%s: NORMAL, ent_phy_index = %d,ret_code:%d\n", lookup, index, PLATFORM_OK);
    }

    static void no_platform_row(uint32_t index, int32_t result)
    {
        if (result == PLATFORM_NO_SUCH_ENTRY) {
            CHM_TRACE("%s: came with no_entry, ent_phy_index = %d\n", lookup, index);
        }
    }

    static void step(const auto& index)
    {
        CHM_TRACE("%s: sens_thresh = %d, entPhyIndex = %d\n", function, index[1], index[0]);
    }

    static void below_range(uint32_t index)
    {
        CHM_TRACE("lesser value! %s: entPhyIndex = %d, ", function, index);
    }

    static void place(uint32_t index, const SensorPlace& place)
    {
        CHM_TRACE("%s: entPhyIndex = %d, ifIndex = 0x%x, sensor_type = %d\n", function, index,
                  place.if_index, place.code);
    }

    static void failed_fetch(uint32_t index, uint32_t status)
    {
        CHM_TRACE("%s: FALIED EPI = %d\n", function, index);
        CHM_TRACE("%s: call to get fcot info failed, retcode = 0x%x\n", function, status);
    }
};
