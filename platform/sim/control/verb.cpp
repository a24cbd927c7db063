#include "control/verb.h"

#include "libraries/platform_manager.h"

#include <cstdio>
#include <ctime>
#include <stdexcept>

namespace sim {

Chassis& the_chassis()
{
    Chassis* chassis = chassis_in_place();
    if (chassis == nullptr) {
        throw std::runtime_error("the switch has no chassis");
    }
    return *chassis;
}

std::string time_text(std::chrono::system_clock::time_point time)
{
    using namespace std::chrono;
    const time_t seconds = system_clock::to_time_t(floor<std::chrono::seconds>(time));
    tm fields{};
    gmtime_r(&seconds, &fields);
    char text[40];
    const size_t length = std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &fields);
    const auto milliseconds = static_cast<int>(time.time_since_epoch() / 1ms % 1000);
    std::snprintf(text + length, sizeof text - length, ".%03dZ", milliseconds);
    return text;
}

} // namespace sim
