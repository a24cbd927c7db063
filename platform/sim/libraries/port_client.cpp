#include "libraries/c_boundary.h"
#include "records/transceiver_record.h"

#include <algorithm>
#include <span>

int32_t pc_sfp_get_vendor_info(const void* fcot_res, char* manufacturer, char* model,
                               char* revision, char* serial, char* alias)
{
    // In the order of transceiver_texts.
    char* const texts[] = {manufacturer, model, revision, serial, alias};
    static_assert(std::size(texts) == std::size(sim::transceiver_texts));
    for (char* text : texts) {
        *text = '\0';
    }
    return sim::guard(-1, [&] {
        char* const* text = texts;
        for (const sim::TransceiverText& field : sim::transceiver_texts) {
            // The caller's room for each text is at least that of the field.
            const std::string value = sim::text_in(fcot_res, field);
            std::ranges::copy_n(value.c_str(), static_cast<ptrdiff_t>(value.size() + 1), *text++);
        }
        return 0;
    });
}
