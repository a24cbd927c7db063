#include "sensor_index.h"

#include "if_index.h"
#include "pdb.h"
#include "trace.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr uint32_t first_block = transceiver_block(0, 0);
constexpr int32_t indexes_per_port = transceiver_block(0, 1) - first_block;
constexpr int32_t indexes_per_slot = transceiver_block(1, 0) - first_block;

/// The distance of an index from the first block of a slot, negative before the first slot's.
int32_t offset_from(uint32_t slot, uint32_t index)
{
    return static_cast<int32_t>(index - transceiver_block(slot, 0));
}

uint32_t slot_of(uint32_t index)
{
    return static_cast<uint32_t>(offset_from(0, index) / indexes_per_slot);
}

/// In the order of ent_cache_sensor.
constexpr int32_t sensor_codes[CACHE_SENSORS] = {SFP_VOLTAGE, SFP_CURRENT, SFP_TEMPERATURE,
                                                 SFP_RX_POWER, SFP_TX_POWER};

/// The identifier of the card in a slot, 0 for none.
uint16_t card_id_in(uint32_t slot)
{
    uint16_t info[PDB_MOD_INFO_SIZE / sizeof(uint16_t)];
    info[1] = 0;
    pdb_get_mod_info(&slot, info, 2);
    return info[1];
}

} // namespace

int32_t chm_snmp_entity_to_sensor_slot_num(const uint32_t* entPhyIndex)
{
    return static_cast<int32_t>(slot_of(*entPhyIndex));
}

int32_t chm_snmp_entity_to_port_num(const uint32_t* entPhyIndex, const uint32_t* slot)
{
    return offset_from(*slot, *entPhyIndex) / indexes_per_port;
}

int32_t get_port_sensor_type_from_entPhyIndex(const uint32_t* entPhyIndex)
{
    return offset_from(slot_of(*entPhyIndex), *entPhyIndex) % indexes_per_port + 1;
}

int32_t chm_is_port_sfp_sens_type_valid(int32_t code)
{
    CHM_TRACE("%s: ent_sen_type = %d, %d, %d, %d, %d, %d\n", __func__, code, SFP_VOLTAGE,
              SFP_CURRENT, SFP_TEMPERATURE, SFP_RX_POWER, SFP_TX_POWER);
    constexpr uint32_t valid = [] {
        uint32_t codes = 0;
        for (const int32_t known : sensor_codes) {
            codes |= 1U << known;
        }
        return codes;
    }();
    return code >= 0 && code < 32 && (valid >> code & 1) != 0 ? 1 : 0;
}

int32_t chm_match_ent_sensor_type(int32_t code)
{
    const auto* found = std::ranges::find(sensor_codes, code);
    if (found == std::end(sensor_codes)) {
        CHM_TRACE("%s: invalid sens type = %d\n", __func__, code);
        return CACHE_SENSOR_INVALID;
    }
    return static_cast<int32_t>(found - sensor_codes);
}

int32_t chm_is_entity_sensor_threshold_value_valid(int32_t threshold)
{
    return threshold >= 1 && threshold <= static_cast<int32_t>(SENSOR_THRESHOLDS) ? 1 : 0;
}

uint32_t get_if_index_from_entPhyIndex(const uint32_t* entPhyIndex)
{
    const uint32_t slot = slot_of(*entPhyIndex);
    const int32_t port = chm_snmp_entity_to_port_num(entPhyIndex, &slot);
    const uint16_t card_id = card_id_in(slot);
    CHM_TRACE("%s: slot_num= %d, port_num = 0x%xsw_card_id = %d\n", __func__, slot, port, card_id);
    uint32_t if_index = 0;
    if_index_phy_ethernet_init(&if_index, static_cast<uint8_t>(slot), static_cast<uint8_t>(port),
                               0);
    CHM_TRACE("%s: if_index = 0x%x\n", __func__, if_index);
    return if_index;
}

uint32_t get_entPhyIndex_from_if_index(uint32_t if_index)
{
    const SlotPort place = slot_port_of(if_index);
    return transceiver_block(place.slot, place.port);
}

SlotPort slot_port_of(uint32_t if_index)
{
    SlotPort place;
    if_index_get_slot(if_index, &place.slot);
    if_index_get_port(if_index, &place.port);
    return place;
}

SensorPlace sensor_place_of(uint32_t index)
{
    return {get_if_index_from_entPhyIndex(&index), get_port_sensor_type_from_entPhyIndex(&index)};
}

uint8_t port_type_of(uint32_t if_index)
{
    uint8_t type = 0;
    if_index_get_type(if_index, &type);
    return type;
}
