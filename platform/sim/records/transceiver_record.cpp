#include "records/transceiver_record.h"

#include "port_manager.h"
#include "records/record_fields.h"

#include <cstring>
#include <span>

namespace sim {

static_assert(sizeof(InformationBlock) == PM_FCOT_INFO_SIZE);

InformationBlock encode_information(const Transceiver& transceiver)
{
    InformationBlock block{};
    for (const TransceiverText& text : transceiver_texts) {
        put_text(std::span(block).subspan(text.offset, text.capacity + 1), transceiver.*text.text);
    }
    block[PM_FCOT_DIAG_MON_TYPE] = static_cast<char>(transceiver.diagnostics);
    return block;
}

std::string decode_text(const void* block, const TransceiverText& text)
{
    const char* field = static_cast<const char*>(block) + text.offset;
    return {field, strnlen(field, text.capacity)};
}

} // namespace sim
