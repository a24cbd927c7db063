/// Transceivers as the port manager's information block carries them.
#pragma once

#include "model/transceiver.h"

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

namespace sim {

/// The block: PM_FCOT_INFO_SIZE bytes.
using InformationBlock = std::array<char, 471>;

/// One text of a transceiver: its name in chassis files and for chmctl, and its place in the block,
/// where it is NUL-terminated.
struct TransceiverText {
    std::string_view key;
    std::string Transceiver::*text;
    size_t offset;
    size_t capacity; ///< longest text in bytes, the NUL not counted
};

inline constexpr TransceiverText transceiver_texts[] = {
    {"manufacturer", &Transceiver::manufacturer, 0, 31},
    {"model", &Transceiver::model, 32, 31},
    {"revision", &Transceiver::revision, 64, 23},
    // PM_FCOT_DIAG_MON_TYPE lies between.
    {"serial", &Transceiver::serial, 128, 32},
    {"alias", &Transceiver::alias, 192, 32},
};

InformationBlock encode_information(const Transceiver& transceiver);

/// A text out of a block, cut where its field ends.
std::string decode_text(const void* block, const TransceiverText& text);

} // namespace sim
