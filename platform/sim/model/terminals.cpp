#include "model/terminals.h"

#include <cstring>

namespace sim {
namespace {

constexpr size_t max_delivered = 100;

} // namespace

void Terminals::write(const ts_info& message)
{
    message_ = message;
    if (message_.send != send_now) {
        return;
    }
    message_.send = idle;
    if (delivered_.size() == max_delivered) {
        delivered_.pop_front();
    }
    delivered_.push_back({std::chrono::system_clock::now(),
                          std::string(message_.text, strnlen(message_.text, sizeof message_.text)),
                          message_.duration, message_.interval});
}

Terminals& terminals()
{
    static Terminals lines;
    return lines;
}

} // namespace sim
