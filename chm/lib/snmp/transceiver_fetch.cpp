#include "transceiver_fetch.h"

#include "agent_ext.h"
#include "bounded_copy.h"
#include "diagnostics_cache.h"
#include "diagnostics_conversion.h"
#include "rcode.h"
#include "request_channel.h"
#include "sensor_index.h"
#include "trace.h"

#include <cstring>
#include <optional>

namespace {

/// A fetch on its way to a sensor. Its steps trace in the name of the fetch.
struct Fetch {
    const char* name;
    uint32_t queue;
    bool exact;
    uint32_t next_arg;
    uint32_t index;    ///< of the sensor that it has come to
    uint32_t if_index; ///< of the sensor's port
    int32_t code;
    SlotPort place = {}; ///< of the port, once it has come to one
};

/// The answer of the port manager for a port. A block has no length: it is trusted to be as long as
/// the port manager's contract says. Its integers are in host order.
struct PortAnswer {
    int32_t result;
    PlatformBlock block;

    bool has_block() const { return result == PLATFORM_OK && block; }
    const uint8_t* bytes() const { return static_cast<const uint8_t*>(block.get()); }

    uint32_t word_at(size_t offset) const
    {
        uint32_t word = 0;
        memcpy(&word, bytes() + offset, sizeof word);
        return word;
    }
};

using PortQuery = decltype(pm_cmi_get_port_config);

PortAnswer ask(PortQuery* query, const Fetch& fetch, chm_req_operation operation, uint32_t arg,
               uint32_t* count)
{
    uint32_t if_index = fetch.if_index;
    void* response = nullptr;
    const int32_t result =
        query(fetch.queue, operation, arg, &if_index, count, &response, USUAL_REQ_CLASS);
    return {result, PlatformBlock(response)};
}

PortAnswer ask_port_config(const Fetch& fetch)
{
    uint32_t count = 1;
    return ask(pm_cmi_get_port_config, fetch, CHM_REQ_GET, 1, &count);
}

bool has_readable_sensors(const Fetch& fetch)
{
    const PortAnswer config = ask_port_config(fetch);
    const uint32_t error = config.has_block() ? config.word_at(PM_PORT_CONFIG_ERROR) : 0;
    if (error != 0) {
        chm_log_snmp_error(static_cast<int32_t>(error));
    }
    return config.has_block() && error == 0 && config.bytes()[PM_PORT_CONFIG_TRANSCEIVER] != 0;
}

/// A failed query; the text names one call for all of them.
uint32_t failed(const Fetch& fetch, int32_t result)
{
    CHM_TRACE("%s: pm_get_next_port_fcot_info_with_ddm call failed, ret_val = 0x%x, "
              "if_index = 0x%x\n",
              fetch.name, result, fetch.if_index);
    return static_cast<uint32_t>(result);
}

/// Moves on to the first sensor of the next port that has some. A port manager that names the same
/// port again, or an earlier one, would lead a walk around for ever.
uint32_t move_to_next_port(Fetch& fetch)
{
    uint32_t count = 1;
    const PortAnswer next =
        ask(pm_get_next_port_fcot_info_with_ddm, fetch, CHM_REQ_GETNEXT, fetch.next_arg, &count);
    if (!next.has_block()) {
        return next.result != PLATFORM_OK ? failed(fetch, next.result) : FETCH_STUCK;
    }
    const uint32_t next_if_index = next.word_at(0);
    if (next_if_index == fetch.if_index) {
        CHM_TRACE("%s: pm_get_next_port_fcot_info_with_ddm call success but with same "
                  "if_indices!, if_index = 0x%x\n",
                  fetch.name, fetch.if_index);
        return FETCH_STUCK;
    }
    CHM_TRACE("%s: pm_get_next_port_fcot_info_with_ddm call success ret_val = 0x%x, "
              "if_index = 0x%x, n_if_index = 0x%x\n",
              fetch.name, next.result, fetch.if_index, next_if_index);
    const uint32_t passed = fetch.index;
    fetch.if_index = next_if_index;
    fetch.index = get_entPhyIndex_from_if_index(next_if_index);
    fetch.code = get_port_sensor_type_from_entPhyIndex(&fetch.index);
    while (fetch.index <= ENTITY_PORT_SFP_SENSOR_END &&
           !chm_is_port_sfp_sens_type_valid(fetch.code)) {
        ++fetch.index;
        fetch.code = get_port_sensor_type_from_entPhyIndex(&fetch.index);
    }
    const bool moved_on = fetch.index > passed && is_transceiver_sensor(fetch.index);
    return moved_on ? FETCH_OK : FETCH_STUCK;
}

/// The sensor itself, whose port must be there.
uint32_t find_this_sensor(const Fetch& fetch)
{
    const PortAnswer config = ask_port_config(fetch);
    if (config.has_block()) {
        return FETCH_OK;
    }
    CHM_TRACE("%s: pm_cmi_get_port_config failed, err %s(%x) if_index (0x%x)\n", fetch.name,
              rcode2str(static_cast<uint32_t>(config.result)), config.result, fetch.if_index);
    return FETCH_NOT_FOUND;
}

/// The first sensor from there on: another one of the port, else the first one of the next port.
uint32_t find_next_sensor(Fetch& fetch)
{
    const SensorPlace place = sensor_place_of(fetch.index);
    fetch.if_index = place.if_index;
    fetch.code = place.code;
    while (!chm_is_port_sfp_sens_type_valid(fetch.code) &&
           fetch.index <= ENTITY_PORT_SFP_SENSOR_END && fetch.code <= LAST_SENSOR_CODE + 1) {
        ++fetch.code;
        ++fetch.index;
    }
    const bool here = fetch.code <= LAST_SENSOR_CODE && has_readable_sensors(fetch);
    return here ? FETCH_OK : move_to_next_port(fetch);
}

/// Comes to the sensor of the request. An index outside the range is refused on purpose: a slot
/// has 8 bits, so that beyond it the same sensors would appear again, without end.
uint32_t find_sensor(Fetch& fetch)
{
    if (!is_transceiver_sensor(fetch.index)) {
        return FETCH_NOT_FOUND;
    }
    return fetch.exact ? find_this_sensor(fetch) : find_next_sensor(fetch);
}

/// The result of reading a port.
struct PortRead {
    uint32_t status = FETCH_OK;
    bool converted = true; ///< false when what was read could not be
};

/// Reads a port's diagnostics into its entry of the cache.
/// @param reached called once they are read
PortRead read_port(const Fetch& fetch, ent_cache_sensor traced, auto reached)
{
    void* diag = nullptr;
    void* aux = nullptr;
    uint32_t num_of_lanes = 0;
    const int32_t result =
        pm_get_sfp_diag_info(fetch.queue, fetch.if_index, &diag, &aux, &num_of_lanes);
    const uint32_t now = get_snmp_user_uptime();
    const PlatformBlock lanes(diag);
    const PlatformBlock auxiliary(aux);
    if (result != PLATFORM_OK) {
        constexpr uint32_t diagnostics_failed = 0x4029002a;
        CHM_TRACE("%s: pm_get_sfp_diag_info callfailed, ret_val = 0x%x, 0x%x\n", fetch.name, result,
                  diagnostics_failed);
        return {static_cast<uint32_t>(result)};
    }
    const auto [slot, port] = fetch.place;
    CHM_TRACE("%s: pm_get_sfp_diag_info call success, ent_phyI = %d,slot_num:%d,port_num:%d, "
              "num_of_lanes:%d \n",
              fetch.name, fetch.index, slot, port, num_of_lanes);
    reached();
    sfp_cache_entry& entry = ent_cache_entry(slot, port);
    ent_cache_clear_entry(slot, port);
    // Lanes without an array cannot be converted.
    if ((diag == nullptr && num_of_lanes > 0) ||
        ent_parse_sfp_diag_values_flex(static_cast<const diag_info*>(diag), &entry, num_of_lanes)) {
        CHM_TRACE("%s: Failed in parse to cache\n", fetch.name);
        return {FETCH_STUCK, false};
    }
    ent_cache_mark_read(slot, port, fetch.if_index, now);
    CHM_TRACE("%s: timestamp update: %lu slot: %d port: %d if_index: 0x%x\n", fetch.name,
              static_cast<unsigned long>(entry.timestamp), slot, port, entry.if_index);
    const cached_value& value = entry.values[traced];
    CHM_TRACE("%s: type = %d, value = %d, scale = %d\n, update_rate = %d\n", fetch.name, value.type,
              value.value, value.scale, SFP_UPDATE_RATE);
    return {};
}

/// Makes sure that the cache holds the diagnostics of the fetch's port.
PortRead read_port_if_old(Fetch& fetch, ent_cache_sensor traced, auto reached)
{
    const uint32_t now = get_snmp_user_uptime();
    fetch.place = slot_port_of(fetch.if_index);
    CHM_TRACE("%s: slot and port for if_index = 0x%x are %dand %d\n", fetch.name, fetch.if_index,
              fetch.place.slot, fetch.place.port);
    if (chm_is_sfp_cache_entry_present_and_current(fetch.if_index, now) == 1) {
        CHM_TRACE("%s: obtaining data from cache for if_index = 0x%x\n", fetch.name,
                  fetch.if_index);
        return {};
    }
    return read_port(fetch, traced, reached);
}

/// The number of the fetch's sensor in the cache; none for an index that is no sensor.
inline std::optional<uint32_t> cached_sensor(const Fetch& fetch)
{
    const auto sensor = static_cast<uint32_t>(chm_match_ent_sensor_type(fetch.code));
    if (sensor >= CACHE_SENSORS) {
        CHM_TRACE("%s: invalid cache sensor\n", fetch.name);
        return std::nullopt;
    }
    return sensor;
}

/// Reads the information block of the port's transceiver.
uint32_t read_transceiver_info(const Fetch& fetch, uint32_t* count, uint8_t* fcot_res)
{
    const PortAnswer info = ask(pm_cmi_get_fcot_info, fetch, CHM_REQ_GET, 1, count);
    if (info.result != PLATFORM_OK) {
        return failed(fetch, info.result);
    }
    if (info.block) {
        CHM_TRACE("%s:Copying values in fcot_res \n", fetch.name);
        __memcpy_to_buf(PM_FCOT_INFO_SIZE, fcot_res, info.block.get(), PM_FCOT_INFO_SIZE);
    }
    return FETCH_OK;
}

} // namespace

uint32_t ent_cmi_get_fcot_info(uint32_t queue, int32_t op, uint32_t next_arg, const uint32_t* in,
                               const uint32_t* if_index, const int32_t* code, uint32_t* count,
                               uint8_t* fcot_res, ent_sensor_value_rec* out)
{
    Fetch fetch = {__func__, queue, op == CHM_REQ_GET, next_arg, *in, *if_index, *code};
    CHM_TRACE("%s: if_index_for_sfp_info = 0x%x\n", fetch.name, fetch.if_index);
    uint32_t status = find_sensor(fetch);
    while (status == FETCH_OK) {
        status = read_transceiver_info(fetch, count, fcot_res);
        if (status != FETCH_OK) {
            return status;
        }
        const PortRead read =
            read_port_if_old(fetch, CACHE_CURRENT, [&] { out->entPhysicalIndex = fetch.index; });
        if (!read.converted && !fetch.exact) {
            // A walk passes by a port that cannot be converted, and keeps nothing of its
            // transceiver.
            memset(fcot_res, 0, PM_FCOT_INFO_SIZE);
            status = move_to_next_port(fetch);
            continue;
        }
        if (read.status != FETCH_OK) {
            return read.status;
        }
        const auto sensor = cached_sensor(fetch);
        if (!sensor) {
            return FETCH_NO_SENSOR;
        }
        ent_get_entry_from_cache(out, fetch.place.slot, fetch.place.port, *sensor);
        out->entPhysicalIndex = fetch.index;
        return FETCH_OK;
    }
    return status;
}

uint32_t ent_cmi_get_fcot_threshold(uint32_t queue, int32_t op, uint32_t next_arg,
                                    const uint32_t* in, const uint32_t* if_index,
                                    const int32_t* thresh, const int32_t* code, uint32_t* /*count*/,
                                    void* /*info*/, ent_sensor_thresh_rec* out)
{
    Fetch fetch = {__func__, queue, op == CHM_REQ_GET, next_arg, *in, *if_index, *code};
    CHM_TRACE("%s: if_index_for_sfp_info = 0x%x\n", fetch.name, fetch.if_index);
    if (!chm_is_entity_sensor_threshold_value_valid(*thresh)) {
        CHM_TRACE("%s: invalid sensor_thrsh = %d\n", fetch.name, *thresh);
        return FETCH_NOT_FOUND;
    }
    const uint32_t asked_for = fetch.index;
    uint32_t status = find_sensor(fetch);
    if (status != FETCH_OK) {
        return status;
    }
    // On another sensor than the requested one the thresholds start over: none is skipped.
    const auto threshold = static_cast<uint32_t>(fetch.index == asked_for ? *thresh : 1);
    const auto reached = [&] {
        out->entPhysicalIndex = fetch.index;
        out->sensor_thrsh = threshold;
    };
    status = read_port_if_old(fetch, CACHE_VOLTAGE, reached).status;
    if (status != FETCH_OK) {
        return status;
    }
    const auto sensor = cached_sensor(fetch);
    if (!sensor) {
        return FETCH_NO_SENSOR;
    }
    const auto [slot, port] = fetch.place;
    ent_get_thrsh_entry_from_cache(out, slot, port, *sensor, threshold - 1);
    CHM_TRACE("%s: get_thrsh_entry_from_cache for slot_num = %d, port_num = %d, "
              "ent_cache_sensor = %d, sensor_thrsh = %d, ",
              fetch.name, slot, port, *sensor, threshold);
    reached();
    return FETCH_OK;
}
