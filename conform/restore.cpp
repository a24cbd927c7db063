#include "restore.h"

#include <algorithm>
#include <sys/mman.h>

namespace conform {
namespace {

struct Pending {
    uint32_t opcode; ///< 0 for nothing
    uint32_t size;
    std::byte record[4096];
};

Pending* pending = nullptr;

} // namespace

void prepare_restoring()
{
    void* pages =
        mmap(nullptr, sizeof(Pending), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (pages == MAP_FAILED) {
        throw std::bad_alloc();
    }
    pending = static_cast<Pending*>(pages);
}

RestoreLater::RestoreLater(const RequestCode& code, const Bytes& record)
{
    std::ranges::copy(record, std::begin(pending->record));
    pending->size = static_cast<uint32_t>(record.size());
    pending->opcode = code.opcode;
}

RestoreLater::~RestoreLater()
{
    pending->opcode = 0;
}

void restore_what_is_left()
{
    const auto* code = std::ranges::find(platform_requests, pending->opcode, &RequestCode::opcode);
    if (code == std::end(platform_requests)) {
        return;
    }
    pending->opcode = 0; // tried once
    const Bytes record(std::begin(pending->record), std::begin(pending->record) + pending->size);
    Line line(std::string(code->name) + ".restore", "SET as it was, after the check had ended",
              "a written row is restored");
    if (const Reply set = Exchange(*code).ask(CHM_REQ_SET, record); set.result != PLATFORM_OK) {
        line.violated(result_text(set.result));
    }
    line.close("restored");
}

} // namespace conform
