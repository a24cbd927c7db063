/// The conversion of raw diagnostics, lane records and converted entries as plain bytes.
#include "diagnostics_conversion.h"
#include "scripted_platform.h"

#include <bit>
#include <cfenv>
#include <cmath>
#include <gmock/gmock.h>
#include <limits>

using namespace testing;

namespace {

// Offsets in a lane's record.
constexpr size_t calib_type = 8, temp = 12, volt = 16, current = 20, tx_pwr = 24, rx_pwr = 28;
constexpr size_t alarm_flags = 32, warn_flags = 36;

enum Sensor { VOLTAGE, CURRENT, TEMPERATURE, RX, TX };

/// One lane, made of the words that are not zero.
struct Lane {
    uint32_t calibration = 1;
    std::vector<std::pair<size_t, uint32_t>> words = {};

    Bytes bytes() const
    {
        Bytes record(172);
        put_host_word(record, calib_type, calibration);
        for (const auto& [offset, word] : words) {
            put_host_word(record, offset, word);
        }
        return record;
    }
};

/// What lanes are converted to.
struct Converted {
    Bytes entry = Bytes(772);

    explicit Converted(const std::vector<Lane>& lanes)
    {
        Bytes records;
        for (const Lane& lane : lanes) {
            const Bytes bytes = lane.bytes();
            records.insert(records.end(), bytes.begin(), bytes.end());
        }
        EXPECT_EQ(ent_parse_sfp_diag_values_flex(reinterpret_cast<const diag_info*>(records.data()),
                                                 reinterpret_cast<sfp_cache_entry*>(entry.data()),
                                                 static_cast<uint32_t>(lanes.size())),
                  0);
    }

    int32_t word(size_t offset) const { return static_cast<int32_t>(host_word(entry, offset)); }
    int32_t value(size_t sensor) const { return word(568 + 40 * sensor + 16); }
    int32_t threshold(size_t sensor, size_t number) const
    {
        return word(8 + 112 * sensor + 28 * number + 16);
    }
    /// Severity and relation.
    std::pair<int32_t, int32_t> condition(size_t sensor, size_t number) const
    {
        return {word(8 + 112 * sensor + 28 * number + 8),
                word(8 + 112 * sensor + 28 * number + 12)};
    }
};

Converted convert(const Lane& lane)
{
    return Converted({lane});
}

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
    struct {
        uint32_t chassis, calibration;
        size_t offset;
        uint32_t word;
        Sensor sensor;
        int32_t value;
    } const cases[] = {
        {0, 1, rx_pwr, 500, RX, -3010},
        {0, 1, rx_pwr, 1000, RX, 0},
        {0, 1, rx_pwr, 2000, RX, 3010},
        {0, 1, rx_pwr, 1, RX, -30000},
        {0, 1, tx_pwr, 1259, TX, 1000},
        {0, 1, tx_pwr, 0, TX, 0},
        {0, 1, volt, 3300000, VOLTAGE, 3300},
        {0, 1, volt, 999, VOLTAGE, 0},
        {0, 1, volt, 4294967295u, VOLTAGE, 4294967},
        {0, 1, current, 70, CURRENT, 70},
        {0, 1, temp, negative(-5000), TEMPERATURE, -5000},
        {39, 2, tx_pwr, bits(500), TX, -3010},
        {40, 2, tx_pwr, bits(500), TX, 60570},
        {39, 2, volt, bits(3300999), VOLTAGE, 3300},
        {40, 2, volt, 3300999, VOLTAGE, 3300},
        {43, 2, volt, 0xffffffff, VOLTAGE, 4294967}, // 2^32 after rounding, a thousandth of it
        {19, 2, current, 16777217, CURRENT, 16777216},
        {19, 2, current, 0xffffffff, CURRENT, INT32_MIN},
        {39, 2, current, bits(-1.5f), CURRENT, -1},
        {28, 2, temp, negative(-5000), TEMPERATURE, -5000},
        {30, 2, temp, bits(-5000.7f), TEMPERATURE, -5000},
        {30, 2, temp, bits(2147483648.f), TEMPERATURE, INT32_MIN},
        {0, 2, rx_pwr, 0, RX, 0},
        {0, 2, rx_pwr, bits(-1), RX, INT32_MIN},
        {0, 3, volt, 3300000, VOLTAGE, 0},
        {0, 3, temp, 5000, TEMPERATURE, 0},
        {0, 3, tx_pwr, 500, TX, 0},
    };
    for (const auto& c : cases) {
        platform.chassis_type = c.chassis;
        EXPECT_EQ(convert({c.calibration, {{c.offset, c.word}}}).value(c.sensor), c.value)
            << c.calibration << " at " << c.offset << ": " << c.word;
    }
    platform.chassis_type.reset(); // the database does not know
    EXPECT_EQ(convert({2, {{temp, bits(25)}}}).value(TEMPERATURE), 25);
}

TEST_F(Conversion, EachThresholdHasItsPlace)
{
    // Of each sensor its offset in the lane, and what 1000 times the number n comes to.
    struct {
        Sensor sensor;
        size_t offset;
        int32_t expected[4];
    } const sensors[] = {
        {TEMPERATURE, 92, {1000, 2000, 3000, 4000}},
        {VOLTAGE, 108, {1, 2, 3, 4}},
        {CURRENT, 124, {1000, 2000, 3000, 4000}},
        {TX, 140, {0, 3010, 4771, 6020}},
        {RX, 156, {0, 3010, 4771, 6020}},
    };
    constexpr size_t in_lane[4] = {0, 2, 1, 3}; // high alarm and warning, low alarm and warning
    for (const uint32_t calibration : {1u, 2u}) {
        for (const auto& [sensor, offset, expected] : sensors) {
            Lane lane = {calibration};
            for (uint32_t t = 0; t < 4; ++t) {
                const uint32_t number = 1000 * (t + 1);
                lane.words.emplace_back(offset + 4 * in_lane[t],
                                        calibration == 1 ? number
                                                         : bits(static_cast<float>(number)));
            }
            platform.chassis_type = 40; // thresholds are reals even there
            const Converted converted = convert(lane);
            for (size_t t = 0; t < 4; ++t) {
                EXPECT_EQ(converted.threshold(sensor, t), expected[t]) << sensor << " " << t;
            }
        }
    }
    EXPECT_EQ(convert({1, {{96, negative(-5000)}}}).threshold(TEMPERATURE, 2), -5000);
    EXPECT_EQ(convert({1, {{108, 3600000}}}).threshold(VOLTAGE, 0), 3600);
    for (const uint32_t calibration : {1u, 3u}) {
        const Converted zeros = convert({calibration});
        EXPECT_EQ(zeros.threshold(TX, 0), INT32_MIN);
        EXPECT_EQ(zeros.threshold(RX, 3), INT32_MIN);
        EXPECT_EQ(zeros.threshold(VOLTAGE, 1), 0);
    }
}

TEST_F(Conversion, FlagsSetTheConditionOfAllThresholdsOfASensor)
{
    using Condition = std::pair<int32_t, int32_t>;
    const std::pair<Sensor, uint32_t> sensors[] = {
        {TEMPERATURE, 0x1}, {VOLTAGE, 0x4}, {CURRENT, 0x10}, {TX, 0x40}, {RX, 0x100}};
    for (const auto& [sensor, high] : sensors) {
        const uint32_t low = 2 * high;
        const std::tuple<uint32_t, uint32_t, Condition> cases[] = {
            {high, low, {20, 3}},
            {low, high, {10, 3}},
            {low, 0, {20, 1}},
            {0, low, {10, 1}},
            {0, 0, {1, 1}},
            {high | low, high | low, {20, 3}},
            {~(high | low), ~(high | low), {1, 1}},
        };
        for (const auto& [alarm, warning, condition] : cases) {
            const Converted converted = convert({1, {{alarm_flags, alarm}, {warn_flags, warning}}});
            for (size_t t = 0; t < 4; ++t) {
                EXPECT_EQ(converted.condition(sensor, t), condition) << sensor << alarm << warning;
            }
        }
    }
}

TEST_F(Conversion, WritesTheWholeOfWhatIsItsOwnAndNothingElse)
{
    const Converted converted({{1, {{volt, 1000000}}}, {1, {{volt, 3000000}}}});
    EXPECT_EQ(converted.value(VOLTAGE), 3000) << "the last lane's";
    Bytes expected(772);
    constexpr uint32_t types[] = {3, 5, 8, 14, 14};
    for (size_t s = 0; s < 5; ++s) {
        const size_t value = 568 + 40 * s;
        put_host_word(expected, value + 4, types[s]);
        put_host_word(expected, value + 8, 8);
        put_host_word(expected, value + 16, s == VOLTAGE ? 3000 : 0);
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
    EXPECT_EQ(Converted({}).entry, Bytes(772));
}

TEST_F(Conversion, TracesWhatItReadAndWhatCameOfIt)
{
    platform.debug_on = true;
    convert({3, {{current, 7}, {tx_pwr, 7}, {108, 5000}}});
    EXPECT_THAT(
        platform.debug_output,
        ElementsAre("ent_parse_sfp_diag_values: size of element = 772\n",
                    "ent_parse_sfp_diag_values: fTxPwrHiAlarm =         0.00000, fTxPwrLoAlarm = "
                    "        0.00000, fRxPwrLoAlarm =         0.00000, fVoltHiAlarm =         "
                    "0.00000, fVoltLoWarn =         0.00000\n",
                    "ent_parse_sfp_diag_values: fTxPwrHiAlarm =  -inf, fTxPwrLoAlarm =  -inf, "
                    "fRxPwrLoAlarm =  -inf, fVoltHiAlarm = 0.00000, fVoltLoWarn = 0.00000\n",
                    MatchesRegex("ent_parse_sfp_diag_values:[0-9]+ invalid SFP calib type! "
                                 "calib_type:3 for volt\n"),
                    EndsWith("calib_type:3 for curr\n"), EndsWith("calib_type:3 for temp\n"),
                    EndsWith("calib_type:3 for tx_pwr\n"),
                    "ent_parse_sfp_diag_values_flex: LOOP lane_no:0 num_of_lanes:1\n"));
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
        const Converted converted = convert(
            {calibration, {{rx_pwr, word}, {140, word}, {108, word}, {124, word}, {volt, word}}});
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
