/// The conversion of raw diagnostics, lane records and converted entries as plain bytes.
#include "diagnostics_conversion.h"
#include "scripted_agent.h"

#include <bit>
#include <cfenv>
#include <cmath>
#include <limits>

using namespace testing;

namespace {

// Offsets in a lane's record.
constexpr size_t temp = 12, volt = 16, current = 20, tx_pwr = 24, rx_pwr = 28;

enum Sensor { VOLTAGE, CURRENT, TEMP, RX, TX };
constexpr size_t reading_at[] = {volt, current, temp, rx_pwr, tx_pwr};

/// One lane, made of the words that are not zero.
Bytes lane(uint32_t calibration, std::map<size_t, uint32_t> words = {})
{
    words[8] = calibration;
    return *port_with_diagnostics(words).diagnostics.response;
}

/// What lanes are converted to.
struct Converted {
    Bytes entry = Bytes(772);

    explicit Converted(const Bytes& lanes)
    {
        EXPECT_EQ(ent_parse_sfp_diag_values_flex(reinterpret_cast<const diag_info*>(lanes.data()),
                                                 reinterpret_cast<sfp_cache_entry*>(entry.data()),
                                                 static_cast<uint32_t>(lanes.size() / 172)),
                  0);
    }

    int32_t word(size_t offset) const { return static_cast<int32_t>(host_word(entry, offset)); }
    int32_t value(size_t sensor) const { return word(568 + 40 * sensor + 16); }
    /// A word of a threshold: 8 severity, 12 relation, 16 value.
    int32_t threshold(size_t sensor, size_t number, size_t offset = 16) const
    {
        return word(8 + 112 * sensor + 28 * number + offset);
    }
};

uint32_t bits(float real)
{
    return std::bit_cast<uint32_t>(real);
}

uint32_t negative(int32_t number)
{
    return static_cast<uint32_t>(number);
}

class Conversion : public Test {
protected:
    Conversion() { platform = {}; }
};

TEST_F(Conversion, ReadingsOfEachCalibrationAndChassis)
{
    // Chassis, calibration, sensor, raw word, value.
    // clang-format off
    const std::tuple<uint32_t, uint32_t, Sensor, uint32_t, int32_t> cases[] = {
        {0, 1, RX, 500, -3010}, {0, 1, TX, 1259, 1000}, {0, 1, TX, 0, 0}, {0, 1, CURRENT, 70, 70},
        {0, 1, VOLTAGE, 999, 0}, {0, 1, VOLTAGE, 4294967295u, 4294967},
        {0, 1, TEMP, negative(-5000), -5000},
        {39, 2, TX, bits(500), -3010}, {40, 2, TX, bits(500), 60570},
        {39, 2, VOLTAGE, bits(3300999), 3300}, {40, 2, VOLTAGE, 3300999, 3300},
        {43, 2, VOLTAGE, 0xffffffff, 4294967}, {19, 2, CURRENT, 16777217, 16777216},
        {19, 2, CURRENT, 0xffffffff, INT32_MIN}, {39, 2, CURRENT, bits(-1.5f), -1},
        {28, 2, TEMP, negative(-5000), -5000}, {30, 2, TEMP, bits(-5000.7f), -5000},
        {30, 2, TEMP, bits(2147483648.f), INT32_MIN},
        {0, 2, RX, 0, 0}, {0, 2, RX, bits(-1), INT32_MIN},
        {0, 3, VOLTAGE, 3300000, 0}, {0, 3, TEMP, 5000, 0}, {0, 3, TX, 500, 0}};
    // clang-format on
    for (const auto& [chassis, calibration, sensor, word, value] : cases) {
        platform.chassis_type = chassis;
        EXPECT_EQ(Converted(lane(calibration, {{reading_at[sensor], word}})).value(sensor), value)
            << calibration << " " << sensor << ": " << word;
    }
    platform.chassis_type.reset(); // the database does not know
    EXPECT_EQ(Converted(lane(2, {{temp, bits(25)}})).value(TEMP), 25);
}

TEST_F(Conversion, EachThresholdHasItsPlace)
{
    // Of each sensor its offset in the lane, and what 1000 times the number n comes to.
    struct {
        Sensor sensor;
        size_t offset;
        int32_t expected[4];
    } const sensors[] = {
        {TEMP, 92, {1000, 2000, 3000, 4000}},     {VOLTAGE, 108, {1, 2, 3, 4}},
        {CURRENT, 124, {1000, 2000, 3000, 4000}}, {TX, 140, {0, 3010, 4771, 6020}},
        {RX, 156, {0, 3010, 4771, 6020}},
    };
    constexpr size_t in_lane[4] = {0, 8, 4, 12}; // high alarm and warning, low alarm and warning
    platform.chassis_type = 40;                  // thresholds are reals even there
    for (const auto& [sensor, offset, expected] : sensors) {
        std::map<size_t, uint32_t> whole;
        std::map<size_t, uint32_t> real;
        for (uint32_t t = 0; t < 4; ++t) {
            whole[offset + in_lane[t]] = 1000 * (t + 1);
            real[offset + in_lane[t]] = bits(1000.0F * static_cast<float>(t + 1));
        }
        for (size_t t = 0; t < 4; ++t) {
            EXPECT_EQ(Converted(lane(1, whole)).threshold(sensor, t), expected[t]) << sensor << t;
            EXPECT_EQ(Converted(lane(2, real)).threshold(sensor, t), expected[t]) << sensor << t;
        }
    }
    EXPECT_EQ(Converted(lane(1, {{96, negative(-5000)}})).threshold(TEMP, 2), -5000);
    EXPECT_EQ(Converted(lane(3)).threshold(TX, 0), INT32_MIN);
    EXPECT_EQ(Converted(lane(3, {{108, 5000000}})).threshold(VOLTAGE, 0), 0);
}

TEST_F(Conversion, FlagsSetTheConditionOfAllThresholdsOfASensor)
{
    const std::pair<Sensor, uint32_t> sensors[] = {
        {TEMP, 0x1}, {VOLTAGE, 0x4}, {CURRENT, 0x10}, {TX, 0x40}, {RX, 0x100}};
    for (const auto& [sensor, high] : sensors) {
        const uint32_t low = 2 * high;
        // clang-format off
        const std::tuple<uint32_t, uint32_t, int32_t, int32_t> cases[] = {
            {high, low, 20, 3}, {low, high, 10, 3}, {low, 0, 20, 1}, {0, low, 10, 1}, {0, 0, 1, 1},
            {high | low, high | low, 20, 3}, {~(high | low), ~(high | low), 1, 1}};
        // clang-format on
        for (const auto& [alarm, warning, severity, relation] : cases) {
            const Converted converted(lane(1, {{32, alarm}, {36, warning}}));
            for (size_t t = 0; t < 4; ++t) {
                EXPECT_EQ(converted.threshold(sensor, t, 8), severity)
                    << sensor << alarm << warning;
                EXPECT_EQ(converted.threshold(sensor, t, 12), relation) << sensor << alarm;
            }
        }
    }
}

TEST_F(Conversion, WritesTheWholeOfWhatIsItsOwnAndNothingElse)
{
    Bytes two_lanes = lane(1, {{volt, 1000000}});
    const Bytes last = lane(1, {{volt, 3000000}});
    two_lanes.insert(two_lanes.end(), last.begin(), last.end());
    const Converted converted(two_lanes);
    Bytes expected(772);
    constexpr uint32_t types[] = {3, 5, 8, 14, 14};
    for (size_t s = 0; s < 5; ++s) {
        const size_t value = 568 + 40 * s;
        put_host_word(expected, value + 4, types[s]);
        put_host_word(expected, value + 8, 8);
        put_host_word(expected, value + 16, s == VOLTAGE ? 3000 : 0); // the last lane's
        put_host_word(expected, value + 20, 1);
        for (size_t t = 0; t < 4; ++t) {
            const size_t threshold = 8 + 112 * s + 28 * t;
            put_host_word(expected, threshold + 8, 1);
            put_host_word(expected, threshold + 12, 1);
            put_host_word(expected, threshold + 16, s >= RX ? 0x80000000 : 0);
            put_host_word(expected, threshold + 24, 1);
        }
    }
    EXPECT_EQ(converted.entry, expected);
    EXPECT_EQ(Converted(Bytes()).entry, Bytes(772));
}

/// The conversion once more, in extended precision: only what is single precision by definition is.
int32_t whole(long double real)
{
    const bool fits = real > -2147483649.0L && real < 2147483648.0L;
    return fits ? static_cast<int32_t>(std::trunc(real)) : std::numeric_limits<int32_t>::min();
}

int32_t power(long double microwatts)
{
    return whole(1000.0L * static_cast<float>(10 * std::log10(microwatts / 1000)));
}

TEST_F(Conversion, AgreesWithExtendedArithmetic)
{
    const auto expect_alike = [](uint32_t calibration, uint32_t word, long double real) {
        const Converted converted(lane(
            calibration, {{rx_pwr, word}, {140, word}, {108, word}, {124, word}, {volt, word}}));
        ASSERT_EQ(converted.value(RX), word == 0 ? 0 : power(real)) << calibration << " " << word;
        const auto single = static_cast<float>(real);
        ASSERT_EQ(converted.threshold(TX, 0), power(single)) << calibration << " " << word;
        ASSERT_EQ(converted.threshold(VOLTAGE, 0), whole(static_cast<float>(single / 1000.0L)));
        ASSERT_EQ(converted.threshold(CURRENT, 0), whole(single));
        ASSERT_EQ(converted.value(VOLTAGE), whole(real / 1000));
    };
    for (uint32_t microwatts = 1; microwatts <= 65535; ++microwatts) {
        expect_alike(1, microwatts, microwatts);
    }
    for (uint64_t word = 0; word <= UINT32_MAX; word += 65521) { // a prime: all kinds of bits
        const auto pattern = static_cast<uint32_t>(word);
        expect_alike(1, pattern, pattern);
        expect_alike(2, pattern, std::bit_cast<float>(pattern));
    }
    for (const uint32_t pattern : {0x7f800000u, 0xff800000u, 0x7fc00000u, 0xffc00000u, 0x7f800001u,
                                   0x00000001u, 0x80000000u, 0x80000001u, 0x007fffffu}) {
        expect_alike(2, pattern, std::bit_cast<float>(pattern));
    }
}

} // namespace
