#include "records/entity_record.h"

#include <algorithm>

namespace sim {
namespace {

/// The vendor type of every entity but for its class and what is its own.
constexpr be_uint32 vendor_types[] = {1, 3, 6, 1, 4, 1, ENTERPRISE_MAIN, 12, 3, 1};

void put_vendor_type(ent_phys_entry& record, const Entity& entity)
{
    be_uint32* next = std::ranges::copy(vendor_types, record.entPhysicalVendorType).out;
    *next++ = static_cast<uint32_t>(entity.entity_class);
    *next++ = entity.vendor_type;
    record.vendor_type_len = static_cast<uint32_t>(next - record.entPhysicalVendorType);
}

} // namespace

void encode(const Chassis& chassis, const Entity& entity, ent_phys_entry& record)
{
    record.entPhysicalIndex = entity.index;
    put_vendor_type(record, entity);
    record.entPhysicalContainedIn = static_cast<int32_t>(entity.contained_in);
    record.entPhysicalClass = static_cast<int32_t>(entity.entity_class);
    record.entPhysicalParentRelPos = entity.position;
    record.entPhysicalIsFRU = truth_value(entity.replaceable);
    record.physical_status = static_cast<int32_t>(chassis.status(entity));
    for (const EntityText& text : entity_texts) {
        put_text(&record, text, entity);
    }
    if (const Entity* container = chassis.find(entity.contained_in)) {
        put_text(record.container_name, container->name);
    }
}

std::vector<TextChange> decode_settable_texts(const ent_phys_entry& record)
{
    std::vector<TextChange> texts;
    for (const EntityText& text : entity_texts) {
        if (text.settable) {
            texts.push_back({text.text, text_in(&record, text)});
        }
    }
    return texts;
}

} // namespace sim
