/// The last notifications of the switch.
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

namespace sim {

/// A binding of a notification.
struct SentBinding {
    std::string name; ///< its object as the MIB files name it, with the instance; else its OID
    std::string value;
};

struct SentNotification {
    uint64_t number; ///< of the switch's notifications, counted from 1
    std::chrono::system_clock::time_point time;
    std::string_view name; ///< in the MIB files or IF-MIB, empty if it is not in them
    std::string oid;
    uint32_t about; ///< last sub-identifier of the last binding of a row, 0 for none
    std::vector<SentBinding> bindings;
};

/// The last 100, oldest first.
const std::deque<SentNotification>& sent_notifications();

/// @param oid      of the notification, as numbers
/// @param about    see SentNotification
/// @param bindings whose names are OIDs as numbers
void log_notification(std::string oid, uint32_t about, std::vector<SentBinding> bindings);

} // namespace sim
