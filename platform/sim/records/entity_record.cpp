#include "records/entity_record.h"

#include "records/record_fields.h"

#include <algorithm>
#include <cstring>

namespace sim {
namespace {

void put_vendor_type(ent_phys_entry& record, const Entity& entity)
{
    const uint32_t type[] = {1,
                             3,
                             6,
                             1,
                             4,
                             1,
                             ENTERPRISE_MAIN,
                             12,
                             3,
                             1,
                             static_cast<uint32_t>(entity.entity_class),
                             entity.vendor_type};
    std::ranges::copy(type, record.entPhysicalVendorType);
    record.vendor_type_len = std::size(type);
}

} // namespace

ent_phys_entry encode(const Chassis& chassis, const Entity& entity)
{
    ent_phys_entry record{};
    record.entPhysicalIndex = entity.index;
    put_vendor_type(record, entity);
    record.entPhysicalContainedIn = static_cast<int32_t>(entity.contained_in);
    record.entPhysicalClass = static_cast<int32_t>(entity.entity_class);
    record.entPhysicalParentRelPos = entity.position;
    record.entPhysicalIsFRU = truth_value(entity.replaceable);
    record.physical_status = static_cast<int32_t>(chassis.status(entity));
    for (const EntityText& text : entity_texts) {
        put_text(text.field(record), entity.*text.text);
    }
    if (const Entity* container = chassis.find(entity.contained_in)) {
        put_text(record.container_name, container->name);
    }
    return record;
}

std::vector<TextChange> decode_settable_texts(const ent_phys_entry& record)
{
    ent_phys_entry copy = record;
    std::vector<TextChange> texts;
    for (const EntityText& text : entity_texts) {
        if (text.settable) {
            const char* value = text.field(copy).data();
            texts.push_back({text.text, std::string(value, strnlen(value, text.capacity))});
        }
    }
    return texts;
}

} // namespace sim
