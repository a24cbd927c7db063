#include "records/transceiver_record.h"

#include "port_manager.h"

namespace sim {

static_assert(sizeof(InformationBlock) == PM_FCOT_INFO_SIZE);

InformationBlock encode_information(const Transceiver& transceiver)
{
    InformationBlock block{};
    for (const TransceiverText& text : transceiver_texts) {
        put_text(block.data(), text, transceiver);
    }
    block[PM_FCOT_DIAG_MON_TYPE] = static_cast<char>(transceiver.diagnostics);
    return block;
}

} // namespace sim
