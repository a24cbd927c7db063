/// Physical entities as the platform manager's record ent_phys_entry carries them.
#pragma once

#include "model/chassis.h"
#include "records/record_fields.h"
#include "wire/records.h"

#include <cstddef>
#include <vector>

namespace sim {

/// One text of an entity.
struct EntityText : TextField<Entity> {
    bool settable = false; ///< an operator may write it through SNMP
};

using Row = ent_phys_entry;
inline constexpr EntityText entity_texts[] = {
    {{"description", &Entity::description, offsetof(Row, entPhysicalDescr),
      sizeof(Row::entPhysicalDescr) - 1}},
    {{"name", &Entity::name, offsetof(Row, entPhysicalName), sizeof(Row::entPhysicalName) - 1}},
    {{"hardware-revision", &Entity::hardware_revision, offsetof(Row, entPhysicalHardwareRev),
      sizeof(Row::entPhysicalHardwareRev) - 1}},
    {{"firmware-revision", &Entity::firmware_revision, offsetof(Row, entPhysicalFirmwareRev),
      sizeof(Row::entPhysicalFirmwareRev) - 1}},
    {{"software-revision", &Entity::software_revision, offsetof(Row, entPhysicalSoftwareRev),
      sizeof(Row::entPhysicalSoftwareRev) - 1}},
    {{"serial", &Entity::serial, offsetof(Row, entPhysicalSerialNum),
      sizeof(Row::entPhysicalSerialNum) - 1}},
    {{"manufacturer", &Entity::manufacturer, offsetof(Row, entPhysicalMfgName),
      sizeof(Row::entPhysicalMfgName) - 1}},
    {{"model", &Entity::model, offsetof(Row, entPhysicalModelName),
      sizeof(Row::entPhysicalModelName) - 1}},
    {{"alias", &Entity::alias, offsetof(Row, entPhysicalAlias), sizeof(Row::entPhysicalAlias) - 1},
     true},
    {{"asset-id", &Entity::asset_id, offsetof(Row, entPhysicalAssetID),
      sizeof(Row::entPhysicalAssetID) - 1},
     true},
    {{"second-serial", &Entity::second_serial, offsetof(Row, second_serial_num),
      sizeof(Row::second_serial_num) - 1},
     true},
    {{"part-revision", &Entity::part_revision, offsetof(Row, part_revision),
      sizeof(Row::part_revision) - 1}},
    {{"clei-code", &Entity::clei_code, offsetof(Row, clei_code), sizeof(Row::clei_code) - 1}},
};

/// Whether chmctl may set a text: those that an operator may set, and those of the switch itself.
constexpr bool chmctl_sets(const EntityText& text)
{
    return text.settable || text.text == &Entity::description;
}

/// Fills a cleared record with an entity of the chassis.
void encode(const Chassis& chassis, const Entity& entity, ent_phys_entry& record);

/// The settable texts that a record carries, each cut where its field ends.
std::vector<TextChange> decode_settable_texts(const ent_phys_entry& record);

} // namespace sim
