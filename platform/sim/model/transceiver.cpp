#include "model/transceiver.h"

#include "if_index.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace sim {
namespace {

uint32_t word_of(double raw, WordFormat format)
{
    return format == WordFormat::integer ? static_cast<uint32_t>(static_cast<int64_t>(raw))
                                         : std::bit_cast<uint32_t>(static_cast<float>(raw));
}

/// Bits of a quantity's condition flags: it is above a threshold, or below one.
constexpr uint32_t high_bit(size_t quantity)
{
    return 1U << (2 * quantity);
}
constexpr uint32_t low_bit(size_t quantity)
{
    return 2U << (2 * quantity);
}

void put_measurement(diag_info& lane, size_t number, const Measurement& measurement, double reading,
                     WordFormat format, WordFormat format_of_thresholds)
{
    const Quantity& quantity = quantities[number];
    const double raw = raw_value(quantity, reading, format);
    lane.*quantity.word = word_of(raw, format);
    const auto flag = [&](ThresholdIndex index, uint32_t bit) {
        return measurement.thresholds[index].is_beyond(raw) ? bit : 0;
    };
    lane.alarm_flags |= flag(high_alarm, high_bit(number)) | flag(low_alarm, low_bit(number));
    lane.warn_flags |= flag(high_warning, high_bit(number)) | flag(low_warning, low_bit(number));
    for (size_t index = 0; index < transceiver_thresholds; ++index) {
        lane.*quantity.threshold_words[index] =
            word_of(measurement.thresholds[index].value(), format_of_thresholds);
    }
}

} // namespace

uint32_t sensor_index(uint32_t if_index, const Quantity& quantity)
{
    uint8_t slot = 0;
    uint8_t port = 0;
    if_index_get_slot(if_index, &slot);
    if_index_get_port(if_index, &port);
    return transceiver_block(slot, port) + static_cast<uint32_t>(quantity.sensor_code) - 1;
}

WordFormat threshold_format(const Transceiver& transceiver)
{
    return transceiver.diagnostics == Diagnostics::external ? WordFormat::real
                                                            : WordFormat::integer;
}

bool has_integer_readings(uint32_t chassis_type)
{
    // Behaviour of the hardware of these types. The MIB modules have their own list, which is not
    // shared, so that a type missing there shows.
    constexpr uint32_t types[] = {19, 20, 21, 22, 27, 28, 29, 36, 37, 38, 40, 41, 42, 43};
    return std::ranges::find(types, chassis_type) != std::end(types);
}

double raw_value(const Quantity& quantity, double reading, WordFormat format)
{
    const double linear = quantity.logarithmic ? std::pow(10, reading / 10) : reading;
    const double raw = linear * quantity.raw_per_unit;
    return format == WordFormat::integer ? std::round(raw) : static_cast<float>(raw);
}

int32_t served_value(const Quantity& quantity, double raw)
{
    if (!quantity.logarithmic) {
        return static_cast<int32_t>(raw / quantity.raw_per_served);
    }
    if (raw == 0) {
        return 0; // no light has no logarithm
    }
    const double decibels = static_cast<float>(10 * std::log10(raw / quantity.raw_per_unit));
    return static_cast<int32_t>(1000 * decibels);
}

bool can_tell(const Quantity& quantity, double reading)
{
    return (reading >= quantity.least && reading <= quantity.most) ||
           (quantity.logarithmic && reading == no_light);
}

void forget_thresholds(Transceiver& transceiver)
{
    for (Measurement& measurement : transceiver.measurements) {
        std::ranges::for_each(measurement.thresholds, &Threshold::forget);
    }
}

Measurement make_measurement(const Quantity& quantity, const ReadingRange& range, WordFormat format,
                             uint32_t seed)
{
    const auto threshold = [&](ThresholdIndex index, Relation relation) {
        return Threshold(raw_value(quantity, range.thresholds[index], format), relation);
    };
    return {Reading(range.low, range.high, seed),
            {threshold(high_alarm, Relation::greater_than),
             threshold(high_warning, Relation::greater_than),
             threshold(low_alarm, Relation::less_than),
             threshold(low_warning, Relation::less_than)},
            range};
}

std::vector<diag_info> read_lanes(const Transceiver& transceiver, Clock::time_point time,
                                  WordFormat format)
{
    if (transceiver.diagnostics == Diagnostics::none) {
        return {};
    }
    const bool external = transceiver.diagnostics == Diagnostics::external;
    std::vector<diag_info> lanes(transceiver.lanes);
    for (uint32_t number = 0; number < transceiver.lanes; ++number) {
        diag_info& lane = lanes[number];
        lane.calib_type = external ? EXTERNAL_CALIBRATION : INTERNAL_CALIBRATION;
        for (size_t i = 0; i < quantities.size(); ++i) {
            const Measurement& measurement = transceiver.measurements[i];
            const double more = quantities[i].lane_step * (transceiver.lanes - 1 - number);
            put_measurement(lane, i, measurement, measurement.reading.at(time) + more, format,
                            threshold_format(transceiver));
        }
    }
    return lanes;
}

} // namespace sim
