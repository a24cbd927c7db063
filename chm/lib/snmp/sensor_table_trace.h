/// What the tables that hold transceivers' sensors trace on their way to a row, apart from that
/// way.
#pragma once

#include "port_manager.h"
#include "row_lookup.h"
#include "sensor_index.h"
#include "trace.h"
#include "wire/physical_index.h"

#include <cstdint>

/// The points of the way; a table traces at some of them.
struct Untraced {
    // The table's lookup.
    static void request(chm_req_operation /*operation*/, const auto& /*row*/) {}
    static void transceiver_result(const auto& /*row*/, int32_t /*result*/) {}
    // Its transceiver half.
    static void transceiver_request(const auto& /*found*/) {}
    static void step(const auto& /*found*/) {}
    static void place(const auto& /*found*/, const SensorPlace& /*place*/) {}
    static void port(const auto& /*found*/, const SensorPlace& /*place*/, uint8_t /*type*/) {}
    static void unmatched_port(const auto& /*found*/, const SensorPlace& /*place*/,
                               uint8_t /*type*/)
    {
    }
    static void fetched(const auto& /*half*/, const SensorPlace& /*place*/, uint8_t /*type*/) {}
};

struct PhysicalTrace : Untraced {
    static constexpr const char* function = "entPhysicalTable_trans_sensor";
    using Found = ent_sensor_value_rec;

    static void transceiver_request(const Found& found)
    {
        CHM_TRACE("%s/%d entry.entPhysicalIndex %d\n", function, __LINE__,
                  found.entPhysicalIndex.value());
    }

    static void step(const Found& found)
    {
        CHM_TRACE("%s/%d entry.entPhysicalIndex %d\n", function, __LINE__,
                  found.entPhysicalIndex.value());
    }

    static void below_range(const Found& found)
    {
        CHM_TRACE("%s/%d RET lesser value!  entPhyIndex = %d, ", function, __LINE__,
                  found.entPhysicalIndex.value());
    }

    static void port(const Found& found, const SensorPlace& place, uint8_t type)
    {
        CHM_TRACE("%s/%d: entPhyIndex = %d, ifIndex = 0x%x, sensor_type = %d,port_type:%d\n",
                  function, __LINE__, found.entPhysicalIndex.value(), place.if_index, place.code,
                  type);
    }

    static void unmatched_port(const Found& found, const SensorPlace& place, uint8_t type)
    {
        CHM_TRACE("%s/%d: entPhyIndex = %d, ifIndex = 0x%x, sensor_type = %d, unmatched port "
                  "type:%d, NO_ENTRY\n",
                  function, __LINE__, found.entPhysicalIndex.value(), place.if_index, place.code,
                  type);
    }

    static void failed_fetch(const Found& /*found*/, uint32_t status)
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
    static constexpr const char* half = "entSensorValueTable_trans_sensor";
    using Row = ent_sensor_value_rec;

    static void request(chm_req_operation operation, const Row& row)
    {
        if (operation == CHM_REQ_GETNEXT) {
            CHM_TRACE("%s: came with GETNEXT_REQ EPI= %d\n", lookup, row.entPhysicalIndex.value());
        }
        CHM_TRACE("%s/%d: entPhyIndex = %d ", lookup, __LINE__, row.entPhysicalIndex.value());
    }

    static void ranges(const char* function)
    {
        CHM_TRACE("%s/%d: ENTITY_SENSOR_START:%d, ENTITY_SENSOR_END:%d\n"
                  "ENTITY_PORT_SFP_SENSOR_START = %d, ENTITY_PORT_SFP_SENSOR_END:%d\n",
                  function, __LINE__, ENTITY_SENSOR_START, ENTITY_SENSOR_END,
                  ENTITY_PORT_SFP_SENSOR_START, ENTITY_PORT_SFP_SENSOR_END);
    }

    static void platform_row(const Row& row)
    {
        CHM_TRACE("%s/%d: entPhyIndex = %d ", lookup, __LINE__, row.entPhysicalIndex.value());
    }

    static void no_platform_row(const Row& row, int32_t /*result*/)
    {
        CHM_TRACE("%s/%d: came with no_entry, ent_phy_index = %d\n", lookup, __LINE__,
                  row.entPhysicalIndex.value());
        ranges(lookup);
    }

    static void transceiver_result(const Row& row, int32_t result)
    {
        CHM_TRACE("%s/%d: entPhyIndex = %d ret_code %d", lookup, __LINE__,
                  row.entPhysicalIndex.value(), result);
    }

    static void transceiver_request(const Row& found)
    {
        CHM_TRACE("%s/%d: entry->entPhysicalIndex = %d sfp_diag_entry.entPhysicalIndex = %d\n",
                  half, __LINE__, found.entPhysicalIndex.value(), found.entPhysicalIndex.value());
        ranges(half);
    }

    static void below_range(const Row& found)
    {
        CHM_TRACE("lesser value! %s/%d: sfp_diag_entry.entPhysicalIndex = %d, ", half, __LINE__,
                  found.entPhysicalIndex.value());
    }

    static void place(const Row& found, const SensorPlace& place)
    {
        CHM_TRACE("%s/%d: sfp_diag_entry.entPhysicalIndex = %d, ifIndex = 0x%x, "
                  "sensor_type = %d\n",
                  half, __LINE__, found.entPhysicalIndex.value(), place.if_index, place.code);
    }

    static void unmatched_port(const Row& found, const SensorPlace& place, uint8_t type)
    {
        CHM_TRACE("%s/%d: sfp_diag_entry.entPhysicalIndex = %d, ifIndex = 0x%x, "
                  "sensor_type = %d, unmatched port type:%d, NO_ENTRY\n",
                  half, __LINE__, found.entPhysicalIndex.value(), place.if_index, place.code, type);
    }

    static void failed_fetch(const Row& found, uint32_t status)
    {
        CHM_TRACE("%s/%d: FALIED EPI for sfp_diag_entry.entPhysicalIndex = %d\n", half, __LINE__,
                  found.entPhysicalIndex.value());
        CHM_TRACE("%s/%d: call to get fcot info failed, retcode = 0x%x\n", half, __LINE__, status);
    }
};

struct ThresholdTrace : Untraced {
    static constexpr const char* lookup = "header_entSensorThresholdTable";
    static constexpr const char* half = "entSensorThresholdTable_trans_sensor";
    using Row = ent_sensor_thresh_rec;

    static void platform_row(const Row& row)
    {
        CHM_TRACE("%s: NORMAL, ent_phy_index = %d,ret_code:%d\n", lookup,
                  row.entPhysicalIndex.value(), PLATFORM_OK);
    }

    static void no_platform_row(const Row& row, int32_t result)
    {
        if (result == PLATFORM_NO_SUCH_ENTRY) {
            CHM_TRACE("%s: came with no_entry, ent_phy_index = %d\n", lookup,
                      row.entPhysicalIndex.value());
        }
    }

    static void step(const Row& found)
    {
        CHM_TRACE("%s: sens_thresh = %d, entPhyIndex = %d\n", half, found.sensor_thrsh.value(),
                  found.entPhysicalIndex.value());
    }

    static void below_range(const Row& found)
    {
        CHM_TRACE("lesser value! %s: entPhyIndex = %d, ", half, found.entPhysicalIndex.value());
    }

    static void place(const Row& found, const SensorPlace& place)
    {
        CHM_TRACE("%s: entPhyIndex = %d, ifIndex = 0x%x, sensor_type = %d\n", half,
                  found.entPhysicalIndex.value(), place.if_index, place.code);
    }

    static void failed_fetch(const Row& found, uint32_t status)
    {
        CHM_TRACE("%s: FALIED EPI = %d\n", half, found.entPhysicalIndex.value());
        CHM_TRACE("%s: call to get fcot info failed, retcode = 0x%x\n", half, status);
    }
};
