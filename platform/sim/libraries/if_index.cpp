#include "libraries/c_boundary.h"

#include <cinttypes>
#include <cstdio>

// From the most significant byte down: type, slot, port, 0.

namespace {

constexpr uint8_t physical_ethernet = 26;
constexpr uint32_t management = 5U << 24;

uint8_t type_of(uint32_t if_index)
{
    return static_cast<uint8_t>(if_index >> 24);
}
uint8_t slot_of(uint32_t if_index)
{
    return static_cast<uint8_t>(if_index >> 16);
}
uint8_t port_of(uint32_t if_index)
{
    return static_cast<uint8_t>(if_index >> 8);
}

bool is_physical_ethernet(uint32_t if_index)
{
    return type_of(if_index) == physical_ethernet && (if_index & 0xff) == 0;
}

} // namespace

int if_index_get_slot(uint32_t if_index, uint8_t* slot)
{
    if (!is_physical_ethernet(if_index)) {
        return -1;
    }
    *slot = slot_of(if_index);
    return 0;
}

int if_index_get_port(uint32_t if_index, uint8_t* port)
{
    if (!is_physical_ethernet(if_index)) {
        return -1;
    }
    *port = port_of(if_index);
    return 0;
}

int if_index_get_type(uint32_t if_index, uint8_t* type)
{
    *type = type_of(if_index);
    return 0;
}

int if_index_phy_ethernet_init(uint32_t* if_index, uint8_t slot, uint8_t port, uint8_t zero)
{
    if (zero != 0) {
        return -1;
    }
    *if_index = uint32_t{physical_ethernet} << 24 | uint32_t{slot} << 16 | uint32_t{port} << 8;
    return 0;
}

void sprintf_if_index(char* buffer, uint32_t if_index)
{
    if (if_index == management) {
        std::snprintf(buffer, IF_INDEX_TEXT_SIZE, "mgmt0");
        return;
    }
    if (!is_physical_ethernet(if_index)) {
        std::snprintf(buffer, IF_INDEX_TEXT_SIZE, "interface 0x%08" PRIx32, if_index);
        return;
    }
    // Front panels number slots and ports from 1.
    std::snprintf(buffer, IF_INDEX_TEXT_SIZE, "Ethernet%d/%d", slot_of(if_index) + 1,
                  port_of(if_index) + 1);
}
