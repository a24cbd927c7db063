/// Transceivers as the port manager's information block carries them.
#pragma once

#include "model/transceiver.h"
#include "records/record_fields.h"

#include <array>

namespace sim {

/// The block: PM_FCOT_INFO_SIZE bytes.
using InformationBlock = std::array<char, 471>;

using TransceiverText = TextField<Transceiver>;

inline constexpr TransceiverText transceiver_texts[] = {
    {"manufacturer", &Transceiver::manufacturer, 0, 31},
    {"model", &Transceiver::model, 32, 31},
    {"revision", &Transceiver::revision, 64, 23},
    // PM_FCOT_DIAG_MON_TYPE lies between.
    {"serial", &Transceiver::serial, 128, 32},
    {"alias", &Transceiver::alias, 192, 32},
};

InformationBlock encode_information(const Transceiver& transceiver);

} // namespace sim
