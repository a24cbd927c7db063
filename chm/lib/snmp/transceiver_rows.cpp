#include "transceiver_rows.h"

#include "ipcx.h"
#include "physical_sensor_row.h"
#include "port_manager.h"
#include "request_channel.h"
#include "row_lookup.h"
#include "sensor_index.h"
#include "sensor_table_trace.h"
#include "transceiver_fetch.h"

namespace {

// A table describes its half: the record that the fetch finds, how a walk steps from one row to the
// next, the fetch, and what becomes the table's row.
//
// A step from anywhere below the transceivers' range leads to its start: an index between the
// platform's own sensors and that range stands for no port to go on from.

/// The fetch of a sensor's value, and of its transceiver's information.
struct ValueFetch {
    ent_sensor_value_rec found = {};
    uint8_t fcot_res[PM_FCOT_INFO_SIZE] = {};
    uint32_t count = 1;

    uint32_t fetch(chm_req_operation operation, uint32_t index, const SensorPlace& place)
    {
        return ent_cmi_get_fcot_info(ipcx_response_q, operation, 1, &index, &place.if_index,
                                     &place.code, &count, fcot_res, &found);
    }
};

struct PhysicalHalf : ValueFetch {
    using Trace = PhysicalTrace;

    static RowIndex<ent_sensor_value_rec> next(const RowIndex<ent_sensor_value_rec>& index)
    {
        constexpr uint32_t start = ENTITY_PORT_SFP_SENSOR_START;
        return {index[0] > start ? index[0] + 1 : start};
    }

    void deliver(ent_phys_entry& row) const
    {
        write_sensor_row(found.entPhysicalIndex, fcot_res, row);
    }
};

struct ValueHalf : ValueFetch {
    using Trace = ValueTrace;

    static RowIndex<ent_sensor_value_rec> next(const RowIndex<ent_sensor_value_rec>& index)
    {
        constexpr uint32_t start = ENTITY_PORT_SFP_SENSOR_START;
        return {index[0] < start ? start : index[0] + 1};
    }

    void deliver(ent_sensor_value_rec& row) const { row = found; }
};

struct ThresholdHalf {
    using Trace = ThresholdTrace;
    ent_sensor_thresh_rec found = {};

    static RowIndex<ent_sensor_thresh_rec> next(const RowIndex<ent_sensor_thresh_rec>& index)
    {
        if (index[0] < ENTITY_PORT_SFP_SENSOR_START) {
            return {ENTITY_PORT_SFP_SENSOR_START, 1};
        }
        const bool more = index[1] < SENSOR_THRESHOLDS; // unsigned, as sub-identifiers are
        return more ? RowIndex<ent_sensor_thresh_rec>{index[0], index[1] + 1}
                    : RowIndex<ent_sensor_thresh_rec>{index[0] + 1, 1};
    }

    uint32_t fetch(chm_req_operation operation, uint32_t index, const SensorPlace& place)
    {
        const auto threshold = static_cast<int32_t>(found.sensor_thrsh.value());
        uint32_t count = 1;
        return ent_cmi_get_fcot_threshold(ipcx_response_q, operation, 1, &index, &place.if_index,
                                          &threshold, &place.code, &count, nullptr, &found);
    }

    void deliver(ent_sensor_thresh_rec& row) const { row = found; }
};

template <typename Half, typename Row>
int32_t find_transceiver_row(chm_req_operation operation, Row& row)
{
    using Trace = typename Half::Trace;
    Half half;
    auto index = index_of(row);
    Trace::transceiver_request(index[0]);
    if (operation == CHM_REQ_GETNEXT) {
        index = Half::next(index);
        Trace::step(index);
    }
    set_index(half.found, index);
    if (index[0] <= ENTITY_SENSOR_END) {
        Trace::below_range(index[0]);
        return no_row;
    }
    const SensorPlace place = sensor_place_of(index[0]);
    Trace::place(index[0], place);
    const uint8_t port_type = port_type_of(place.if_index);
    Trace::port(index[0], place, port_type);
    if (!may_hold_transceiver(port_type)) {
        Trace::unmatched_port(index[0], place, port_type);
        return PLATFORM_NO_SUCH_ENTRY;
    }
    const uint32_t status = half.fetch(operation, index[0], place);
    if (status != FETCH_OK) {
        Trace::failed_fetch(half.found.entPhysicalIndex, status);
        return chm_log_snmp_error(static_cast<int32_t>(status));
    }
    Trace::fetched(half, place, port_type);
    half.deliver(row);
    return 0;
}

} // namespace

int32_t entPhysicalTable_trans_sensor(chm_req_operation op, ent_phys_entry* row)
{
    return find_transceiver_row<PhysicalHalf>(op, *row);
}

int32_t entSensorValueTable_trans_sensor(chm_req_operation op, ent_sensor_value_rec* row)
{
    return find_transceiver_row<ValueHalf>(op, *row);
}

int32_t entSensorThresholdTable_trans_sensor(chm_req_operation op, ent_sensor_thresh_rec* row)
{
    return find_transceiver_row<ThresholdHalf>(op, *row);
}
