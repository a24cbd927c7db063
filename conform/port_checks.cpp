// The port manager and port client, the interface-index codec and the platform database.

#include "allocator.h"
#include "checks.h"
#include "exchange.h"
#include "platform_calls.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <optional>
#include <set>
#include <tuple>

namespace conform {
namespace {

/// A buffer for a text, with bytes after it that must stay.
template <size_t Size>
class GuardedText {
public:
    GuardedText() { std::ranges::fill(bytes_, guard); }
    char* data() { return bytes_; }
    bool terminated() const { return std::memchr(bytes_, '\0', Size) != nullptr; }
    bool intact() const
    {
        return std::all_of(bytes_ + Size, std::end(bytes_), [](char c) { return c == guard; });
    }

private:
    static constexpr char guard = '\x5a';
    char bytes_[Size + 64];
};

/// Slot and port of an interface index, nothing when the codec refuses it.
std::optional<std::pair<uint8_t, uint8_t>> place_of(uint32_t if_index)
{
    uint8_t slot = 0;
    uint8_t port = 0;
    if (platform().if_index_get_slot(if_index, &slot) != 0 ||
        platform().if_index_get_port(if_index, &port) != 0) {
        return std::nullopt;
    }
    return std::pair(slot, port);
}

void check_codec()
{
    constexpr uint8_t slots = 18;
    constexpr uint8_t ports = 64;
    Line line("if-index.codec", "the interface index of slots 0 to 17, ports 0 to 63, decoded",
              "each gives back its slot and port, another index for each, and type 1, 2 or 26");
    Line names("if-index.name", "the name of each interface",
               "NUL-terminated within IF_INDEX_TEXT_SIZE bytes, another one for each");
    std::set<uint32_t> indexes;
    std::set<std::string> texts;
    for (uint8_t slot = 0; slot < slots; ++slot) {
        for (uint8_t port = 0; port < ports; ++port) {
            const std::string at =
                "slot " + std::to_string(slot) + ", port " + std::to_string(port);
            uint32_t if_index = 0;
            if (platform().if_index_phy_ethernet_init(&if_index, slot, port, 0) != 0) {
                continue;
            }
            const auto place = place_of(if_index);
            uint8_t type = 0;
            const bool typed = platform().if_index_get_type(if_index, &type) == 0;
            if (!indexes.insert(if_index).second) {
                line.violated("the index of another port for " + at);
            } else if (!place || *place != std::pair(slot, port)) {
                line.violated(place ? "slot " + std::to_string(place->first) + ", port " +
                                          std::to_string(place->second) + " for " + at
                                    : "no slot and port for the index of " + at);
            } else if (!typed || (type != 1 && type != 2 && type != 26)) {
                line.violated("type " + std::to_string(type) + " for " + at);
            }
            GuardedText<IF_INDEX_TEXT_SIZE> text;
            platform().sprintf_if_index(text.data(), if_index);
            if (!text.terminated() || !text.intact()) {
                names.violated("no end within 32 bytes for " + at);
            } else if (!texts.insert(text.data()).second) {
                names.violated(std::string(text.data()) + " again for " + at);
            }
        }
    }
    const Verdict verdict = indexes.empty() ? Verdict::absent : Verdict::ok;
    line.close(std::to_string(indexes.size()) + " ports", verdict);
    names.close(std::to_string(texts.size()) + " names", verdict);
}

using BlockQuery = Imported<std::remove_pointer_t<decltype(&::pm_cmi_get_port_config)>>;

/// One query of the port manager for a block. @param bytes receives its first `least` bytes
int32_t query(const BlockQuery& call, int32_t operation, uint32_t if_index, size_t least,
              Line& blocks, Bytes& bytes)
{
    uint32_t count = 1;
    void* block = nullptr;
    const int32_t result =
        call(response_queue(), operation, 1, &if_index, &count, &block, USUAL_REQ_CLASS);
    if (result == PLATFORM_OK || block != nullptr) {
        bytes = take_block(block, least, blocks);
    }
    if (take_double_frees() > 0) {
        blocks.violated("the platform freed a block that the caller had freed");
    }
    return result;
}

/// The ports with diagnostics, in the order of the port manager.
std::vector<uint32_t> scan_ports(Line& order, Line& blocks)
{
    constexpr size_t most_ports = 65536;
    std::vector<uint32_t> ports;
    uint32_t if_index = 0;
    std::optional<std::pair<uint8_t, uint8_t>> before;
    while (ports.size() < most_ports) {
        Bytes block;
        if (query(platform().pm_get_next_port_fcot_info_with_ddm, CHM_REQ_GETNEXT, if_index,
                  sizeof if_index, blocks, block) != PLATFORM_OK ||
            block.size() < sizeof if_index) {
            break;
        }
        std::memcpy(&if_index, block.data(), sizeof if_index);
        const auto place = place_of(if_index);
        if (!place || (before && *place <= *before)) {
            order.violated(place ? "slot " + std::to_string(place->first) + ", port " +
                                       std::to_string(place->second) + " after a higher one"
                                 : "an interface index that the codec refuses, " +
                                       std::to_string(if_index));
            break;
        }
        before = place;
        ports.push_back(if_index);
    }
    return ports;
}

void check_configuration(uint32_t if_index, Line& line, Line& blocks)
{
    Bytes block;
    const int32_t result = query(platform().pm_cmi_get_port_config, CHM_REQ_GET, if_index,
                                 PM_PORT_CONFIG_SIZE, blocks, block);
    uint32_t error = 0;
    if (result != PLATFORM_OK || block.size() < PM_PORT_CONFIG_SIZE) {
        if (result != PLATFORM_OK) {
            line.violated(result_text(result));
        }
        return;
    }
    std::memcpy(&error, block.data() + PM_PORT_CONFIG_ERROR, sizeof error);
    if (error != 0 || block[PM_PORT_CONFIG_TRANSCEIVER] == std::byte{0}) {
        line.violated("error " + std::to_string(error) + ", byte 211 " +
                      std::to_string(std::to_integer<int>(block[PM_PORT_CONFIG_TRANSCEIVER])));
    }
}

void check_information(uint32_t if_index, Line& line, Line& texts, Line& blocks)
{
    Bytes block;
    const int32_t result = query(platform().pm_cmi_get_fcot_info, CHM_REQ_GET, if_index,
                                 PM_FCOT_INFO_SIZE, blocks, block);
    if (result != PLATFORM_OK || block.size() < PM_FCOT_INFO_SIZE) {
        if (result != PLATFORM_OK) {
            line.violated(result_text(result));
        }
        return;
    }
    if (block[PM_FCOT_DIAG_MON_TYPE] == std::byte{0}) {
        line.violated("byte 101, the diagnostic monitoring type, 0");
    }
    GuardedText<255> manufacturer;
    GuardedText<255> model;
    GuardedText<24> revision;
    GuardedText<33> serial;
    GuardedText<33> alias;
    if (platform().pc_sfp_get_vendor_info(block.data(), manufacturer.data(), model.data(),
                                          revision.data(), serial.data(), alias.data()) != 0) {
        texts.violated("no vendor texts");
    }
    const bool terminated = manufacturer.terminated() && model.terminated() &&
                            revision.terminated() && serial.terminated() && alias.terminated();
    const bool intact = manufacturer.intact() && model.intact() && revision.intact() &&
                        serial.intact() && alias.intact();
    if (!terminated || !intact) {
        texts.violated(intact ? "a text without a NUL" : "a text longer than its room");
    }
}

/// What a reading may be in the unit of its field.
struct Reading {
    const char* name;
    uint32_t diag_info::*value;
    uint32_t diag_info::*thresholds[4]; ///< low alarm, low warning, high warning, high alarm
    bool is_signed;
    double least, most;
    const char* unit;
};

constexpr Reading readings[] = {
    {"temp",
     &diag_info::temp,
     {&diag_info::temp_lo_alarm, &diag_info::temp_lo_warn, &diag_info::temp_hi_warn,
      &diag_info::temp_hi_alarm},
     true,
     -60'000,
     150'000,
     "millidegrees Celsius"},
    {"volt",
     &diag_info::volt,
     {&diag_info::volt_lo_alarm, &diag_info::volt_lo_warn, &diag_info::volt_hi_warn,
      &diag_info::volt_hi_alarm},
     false,
     500'000,
     20'000'000,
     "microvolts"},
    {"current",
     &diag_info::current,
     {&diag_info::current_lo_alarm, &diag_info::current_lo_warn, &diag_info::current_hi_warn,
      &diag_info::current_hi_alarm},
     false,
     0,
     1'000,
     "milliamperes"},
    {"tx_pwr",
     &diag_info::tx_pwr,
     {&diag_info::tx_pwr_lo_alarm, &diag_info::tx_pwr_lo_warn, &diag_info::tx_pwr_hi_warn,
      &diag_info::tx_pwr_hi_alarm},
     false,
     0,
     100'000,
     "microwatts"},
    {"rx_pwr",
     &diag_info::rx_pwr,
     {&diag_info::rx_pwr_lo_alarm, &diag_info::rx_pwr_lo_warn, &diag_info::rx_pwr_hi_warn,
      &diag_info::rx_pwr_hi_alarm},
     false,
     0,
     100'000,
     "microwatts"},
};

/// A word of a lane, as its calibration and the chassis say that it is to be read.
double value_of(uint32_t word, bool is_real, bool is_signed)
{
    if (is_real) {
        return std::bit_cast<float>(word);
    }
    return is_signed ? static_cast<int32_t>(word) : static_cast<double>(word);
}

/// Whether the five readings of an externally calibrated lane are integers nevertheless.
bool chassis_reads_integers()
{
    constexpr uint32_t types[] = {PDB_INTEGER_READING_CHASSIS};
    uint32_t type = 0;
    return platform().pdb_get_chassis_type(&type) == 0 &&
           std::ranges::find(types, type) != std::end(types);
}

void check_lane(const diag_info& lane, bool integers, const std::string& at, Line& units,
                Line& thresholds)
{
    if (lane.calib_type != INTERNAL_CALIBRATION && lane.calib_type != EXTERNAL_CALIBRATION) {
        units.violated("calib_type " + std::to_string(lane.calib_type) + at);
        return;
    }
    const bool real_thresholds = lane.calib_type == EXTERNAL_CALIBRATION;
    const bool real_readings = real_thresholds && !integers;
    for (const Reading& reading : readings) {
        const double value = value_of(lane.*reading.value, real_readings, reading.is_signed);
        // A transceiver without power reads 0.
        if (value != 0 && !(value >= reading.least && value <= reading.most)) {
            units.violated(std::string(reading.name) + " " + std::to_string(value) + " " +
                           reading.unit + at);
        }
        double limits[4];
        std::ranges::transform(reading.thresholds, limits, [&](auto member) {
            return value_of(lane.*member, real_thresholds, reading.is_signed);
        });
        if (!std::ranges::is_sorted(limits)) {
            thresholds.violated(std::string(reading.name) + at);
        }
        if (!(limits[3] <= reading.most && limits[0] >= std::min(reading.least, 0.0))) {
            units.violated(std::string(reading.name) + "_hi_alarm " + std::to_string(limits[3]) +
                           " " + reading.unit + at);
        }
    }
}

void check_diagnostics(uint32_t if_index, bool integers, Line& lanes, Line& units, Line& thresholds,
                       Line& blocks)
{
    constexpr uint32_t most_lanes = 16;
    void* diag = nullptr;
    void* aux = nullptr;
    uint32_t count = 0;
    const int32_t result =
        platform().pm_get_sfp_diag_info(response_queue(), if_index, &diag, &aux, &count);
    if (result != PLATFORM_OK) {
        lanes.violated(result_text(result));
        return;
    }
    if (count == 0 || count > most_lanes) {
        lanes.violated(std::to_string(count) + " lanes");
        return;
    }
    const Bytes diagnostics = take_block(diag, count * sizeof(diag_info), blocks);
    take_block(aux, count * size_t{PM_DIAG_AUX_SIZE}, blocks);
    for (uint32_t lane = 0; (lane + 1) * sizeof(diag_info) <= diagnostics.size(); ++lane) {
        diag_info reading;
        std::memcpy(&reading, diagnostics.data() + lane * sizeof reading, sizeof reading);
        check_lane(reading, integers, " in lane " + std::to_string(lane), units, thresholds);
    }
}

void check_ports()
{
    Line order("ports.order", "the next port with diagnostics, from the first to the end",
               "ports come in increasing order of slot and port, and end with a failure");
    Line blocks("ports.blocks", "each block of the port manager, freed once",
                "a block is malloc's, the caller's, and as long as port_manager.h says: it comes "
                "without a length");
    Line config("ports.configuration", "the configuration of each such port",
                "error 0 and byte 211 not 0, or its sensors are not read");
    Line information("ports.information", "the information of each such transceiver",
                     "byte 101 not 0, as it has diagnostics");
    Line texts("ports.vendor-texts", "the vendor texts of each such transceiver",
               "NUL-terminated within the room for them");
    Line lanes("ports.lanes", "the diagnostics of each such transceiver", "1 lane or more");
    Line units("ports.units", "the readings of each lane",
               "millidegrees, microvolts, milliamperes and microwatts; reals with calibration 2");
    Line thresholds("ports.thresholds", "the thresholds of each lane",
                    "low alarm, low warning, high warning and high alarm increase");
    Line unknown("ports.unknown", "the blocks of an interface index of no port",
                 "a failure, or a port that is not there is served");
    name_calls("");
    const auto ports = scan_ports(order, blocks);
    const bool integers = chassis_reads_integers();
    constexpr size_t most_samples = 64; // reading the diagnostics takes milliseconds
    const size_t step = ports.size() / most_samples + 1;
    for (size_t i = 0; i < ports.size(); i += step) {
        check_configuration(ports[i], config, blocks);
        check_information(ports[i], information, texts, blocks);
        check_diagnostics(ports[i], integers, lanes, units, thresholds, blocks);
    }
    Bytes unused;
    if (query(platform().pm_cmi_get_port_config, CHM_REQ_GET, UINT32_MAX, 0, blocks, unused) ==
            PLATFORM_OK ||
        query(platform().pm_cmi_get_fcot_info, CHM_REQ_GET, UINT32_MAX, 0, blocks, unused) ==
            PLATFORM_OK) {
        unknown.violated("result 0");
    }
    const Verdict verdict = ports.empty() ? Verdict::absent : Verdict::ok;
    order.close(std::to_string(ports.size()) + " ports", verdict);
    blocks.close("as they must be", verdict);
    config.close("can be read", verdict);
    information.close("has diagnostics", verdict);
    texts.close("terminated", verdict);
    lanes.close("1 or more", verdict);
    units.close("plausible", verdict);
    thresholds.close("in order", verdict);
    unknown.close("a failure");
}

void check_database()
{
    Line line("database.modules", "the type of the chassis, the module of slots 0 to 17",
              "0 with the information, or a failure with nothing written");
    uint32_t type = UINT32_MAX;
    if (platform().pdb_get_chassis_type(&type) != 0 && type != UINT32_MAX) {
        line.violated("a failure with chassis type " + std::to_string(type));
    }
    size_t modules = 0;
    for (uint32_t slot = 0; slot < 18; ++slot) {
        constexpr auto guard = std::byte{0x5a};
        Bytes information(PDB_MOD_INFO_SIZE + 64, guard);
        const bool found = platform().pdb_get_mod_info(&slot, information.data(), 2) == 0;
        modules += found ? 1 : 0;
        const auto must_stay = std::span(information).subspan(found ? PDB_MOD_INFO_SIZE : 0);
        if (!std::ranges::all_of(must_stay, [=](std::byte byte) { return byte == guard; })) {
            line.violated(found ? "more than 256 bytes written"
                                : "a failure for slot " + std::to_string(slot) +
                                      " with something written");
        }
    }
    line.close(std::to_string(modules) + " modules", modules == 0 ? Verdict::absent : Verdict::ok);
}

} // namespace

std::vector<Check> port_checks()
{
    return {{"if-index", check_codec}, {"ports", check_ports}, {"database", check_database}};
}

} // namespace conform
