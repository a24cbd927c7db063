#include "model/interface.h"

namespace sim {

uint32_t address_block(std::string_view serial)
{
    uint32_t hash = 2166136261;
    for (const char byte : serial) {
        hash = (hash ^ static_cast<unsigned char>(byte)) * 16777619;
    }
    return hash & 0xffffff;
}

Counters Traffic::at(Clock::time_point time, const Load& load) const
{
    if (!since_) {
        return counted_;
    }
    const double seconds = std::chrono::duration<double>(time - *since_).count();
    const auto counted = [seconds](uint64_t before, double per_second) {
        return before + static_cast<uint64_t>(seconds * per_second);
    };
    const double octets_per_second = load.bits_per_second / 8;
    return {.octets = counted(counted_.octets, octets_per_second),
            .packets = counted(counted_.packets, octets_per_second / load.packet_size),
            .errors = counted(counted_.errors, load.errors_per_second),
            .discards = counted(counted_.discards, load.discards_per_second)};
}

void Traffic::stop(Clock::time_point time, const Load& load)
{
    counted_ = at(time, load);
    since_.reset();
}

} // namespace sim
