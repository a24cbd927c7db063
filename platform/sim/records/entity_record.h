/// Physical entities as the platform manager's record ent_phys_entry carries them.
#pragma once

#include "model/chassis.h"
#include "wire/records.h"

#include <span>
#include <string_view>
#include <utility>
#include <vector>

namespace sim {

/// One text of an entity: its name in chassis files and for chmctl, and its field in the record.
struct EntityText {
    std::string_view key;
    std::string Entity::*text;
    bool settable;   ///< an operator may write it through SNMP
    size_t capacity; ///< longest text in bytes, the NUL not counted
    std::span<char> (*field)(ent_phys_entry& record);
};

template <auto Field>
constexpr EntityText entity_text(std::string_view key, std::string Entity::*text,
                                 bool settable = false)
{
    return {key, text, settable, sizeof(std::declval<ent_phys_entry&>().*Field) - 1,
            [](ent_phys_entry& record) { return std::span<char>(record.*Field); }};
}

using Row = ent_phys_entry;
inline constexpr EntityText entity_texts[] = {
    entity_text<&Row::entPhysicalDescr>("description", &Entity::description),
    entity_text<&Row::entPhysicalName>("name", &Entity::name),
    entity_text<&Row::entPhysicalHardwareRev>("hardware-revision", &Entity::hardware_revision),
    entity_text<&Row::entPhysicalFirmwareRev>("firmware-revision", &Entity::firmware_revision),
    entity_text<&Row::entPhysicalSoftwareRev>("software-revision", &Entity::software_revision),
    entity_text<&Row::entPhysicalSerialNum>("serial", &Entity::serial),
    entity_text<&Row::entPhysicalMfgName>("manufacturer", &Entity::manufacturer),
    entity_text<&Row::entPhysicalModelName>("model", &Entity::model),
    entity_text<&Row::entPhysicalAlias>("alias", &Entity::alias, true),
    entity_text<&Row::entPhysicalAssetID>("asset-id", &Entity::asset_id, true),
    entity_text<&Row::second_serial_num>("second-serial", &Entity::second_serial, true),
    entity_text<&Row::part_revision>("part-revision", &Entity::part_revision),
    entity_text<&Row::clei_code>("clei-code", &Entity::clei_code),
};

/// Whether chmctl may set a text: what an operator may, and what the switch itself says of a thing.
constexpr bool chmctl_sets(const EntityText& text)
{
    return text.settable || text.text == &Entity::description;
}

/// The record of an entity of the chassis in host order.
ent_phys_entry encode(const Chassis& chassis, const Entity& entity);

/// The settable texts that a record carries, each cut where its field ends.
std::vector<TextChange> decode_settable_texts(const ent_phys_entry& record);

} // namespace sim
