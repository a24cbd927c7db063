#include "model/power.h"

#include "model/chassis.h"

#include <algorithm>
#include <functional>
#include <numeric>
#include <vector>

namespace sim {

uint32_t available_watts(const Chassis& chassis, RedundancyMode mode)
{
    std::vector<uint32_t> outputs;
    for (const auto& [index, unit] : chassis.units()) {
        if (unit.type == UnitType::power_supply && unit.powered) {
            outputs.push_back(unit.watts);
        }
    }
    std::ranges::sort(outputs, std::ranges::greater());
    size_t spare = 0;
    if (mode == RedundancyMode::spare_supply) {
        spare = std::min<size_t>(outputs.size(), 1);
    } else if (mode == RedundancyMode::spare_half) {
        spare = (outputs.size() + 1) / 2;
    }
    return std::accumulate(outputs.begin() + static_cast<ptrdiff_t>(spare), outputs.end(),
                           uint32_t{0});
}

uint32_t drawn_watts(const Chassis& chassis)
{
    uint32_t watts = 0;
    for (const auto& [index, unit] : chassis.units()) {
        watts += unit.type == UnitType::power_supply ? 0 : watts_now(unit);
    }
    return watts;
}

} // namespace sim
