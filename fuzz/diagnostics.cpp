/// Raw diagnostics of any number of lanes through the conversion.
#include "diagnostics_conversion.h"
#include "scripted_platform.h"

#include <cassert>
#include <cmath>
#include <cstring>
#include <memory>

namespace {

/// A power in microwatts as thousandths of a dBm, rounded towards zero from single precision.
void check_power(uint32_t microwatts, int32_t value)
{
    const double exact = microwatts == 0 ? 0 : 10000 * std::log10(microwatts / 1000.0);
    assert(std::abs(value - exact) <= 1.01);
}

/// Integers are converted by their units.
void check_readings(const diag_info& lane, const sfp_cache_entry& entry)
{
    const auto value = [&](ent_cache_sensor sensor) { return entry.values[sensor].value; };
    assert(value(CACHE_VOLTAGE) == static_cast<int32_t>(lane.volt / 1000));
    assert(value(CACHE_CURRENT) == static_cast<int32_t>(lane.current));
    assert(value(CACHE_TEMPERATURE) == static_cast<int32_t>(lane.temp));
    check_power(lane.rx_pwr, value(CACHE_RX_POWER));
    check_power(lane.tx_pwr, value(CACHE_TX_POWER));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 1 + sizeof(diag_info)) {
        return 0;
    }
    platform = {};
    platform.chassis_type = data[0];
    platform.history_on = platform.debug_on = data[0] % 2 == 0;

    // Exactly the size of the lanes, so that a sanitizer detects reads beyond them.
    const auto count = static_cast<uint32_t>((size - 1) / sizeof(diag_info));
    const auto lanes = std::make_unique<diag_info[]>(count);
    memcpy(lanes.get(), data + 1, count * sizeof(diag_info));

    sfp_cache_entry entry = {};
    assert(ent_parse_sfp_diag_values_flex(lanes.get(), &entry, count) == 0);
    const diag_info& last = lanes[count - 1];
    if (last.calib_type == INTERNAL_CALIBRATION) {
        check_readings(last, entry);
    }
    sfp_cache_entry of_last = {};
    ent_parse_sfp_diag_values(&last, &of_last);
    assert(memcmp(&entry, &of_last, sizeof entry) == 0);
    return 0;
}
