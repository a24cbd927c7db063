#include "libraries/c_boundary.h"
#include "libraries/platform_manager.h"

#include <cstring>

namespace {

/// The start of a slot's module information; the rest is zeros.
struct ModuleInformation {
    uint16_t slot; ///< as the interface-index codec numbers it
    uint16_t card_id;
};
static_assert(sizeof(ModuleInformation) <= PDB_MOD_INFO_SIZE);

} // namespace

int pdb_get_chassis_type(uint32_t* chassis_type)
{
    sim::Chassis* chassis = sim::chassis_in_place();
    if (chassis == nullptr) {
        return -1;
    }
    *chassis_type = chassis->settings().type_code;
    return 0;
}

int pdb_get_mod_info(const uint32_t* slot, void* info, uint32_t /*two*/)
{
    return sim::guard(-1, [&] {
        const sim::Chassis* chassis = sim::chassis_in_place();
        const uint32_t index = sim::module_index(*slot + 1);
        const sim::Entity* module = chassis == nullptr ? nullptr : chassis->find(index);
        if (module == nullptr || module->entity_class != sim::EntityClass::module) {
            return -1;
        }
        // A module's vendor type identifies its card.
        const ModuleInformation start = {static_cast<uint16_t>(*slot),
                                         static_cast<uint16_t>(module->vendor_type)};
        std::memset(info, 0, PDB_MOD_INFO_SIZE);
        std::memcpy(info, &start, sizeof start);
        return 0;
    });
}
