#include "libraries/event_log.h"

#include <algorithm>
#include <utility>

namespace sim {
namespace {

constexpr size_t max_records = 500;

std::deque<HistoryRecord>& records()
{
    static std::deque<HistoryRecord> all;
    return all;
}

} // namespace

const std::deque<HistoryRecord>& history()
{
    return records();
}

void record_history(std::string text, uint32_t type, uint32_t subtype)
{
    if (records().size() == max_records) {
        records().pop_front();
    }
    text.resize(std::min(text.size(), max_history_text));
    records().push_back({std::chrono::system_clock::now(), type, subtype, std::move(text)});
}

TraceSwitches& trace_switches()
{
    static TraceSwitches switches;
    return switches;
}

} // namespace sim
