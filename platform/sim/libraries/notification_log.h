/// The last notifications of the switch.
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>

namespace sim {

struct SentNotification {
    std::chrono::system_clock::time_point time;
    std::string_view name; ///< in the MIB files, empty if it is not in them
    std::string oid;
    uint32_t about; ///< last sub-identifier of the last binding's name, 0 for none
};

/// The last 100, oldest first.
const std::deque<SentNotification>& sent_notifications();

/// @param oid   of the notification, as numbers
/// @param about see SentNotification
void log_notification(std::string oid, uint32_t about);

} // namespace sim
