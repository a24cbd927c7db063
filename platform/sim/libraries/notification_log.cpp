#include "libraries/notification_log.h"

#include "model/named.h"

namespace sim {
namespace {

#define TEXT_OF(number) #number
#define NUMBER_TEXT(number) TEXT_OF(number)
#define MAIN_ROOT "1.3.6.1.4.1." NUMBER_TEXT(ENTERPRISE_MAIN) ".9."
#define ALT_ROOT "1.3.6.1.4.1." NUMBER_TEXT(ENTERPRISE_ALT) ".9."

constexpr Named<std::string_view> names[] = {
    {"entConfigChange", "1.3.6.1.2.1.47.2.0.1"},
    {"qefcModuleStatusChange", MAIN_ROOT "117.2.0.1"},
    {"qefcPowerStatusChange", MAIN_ROOT "117.2.0.2"},
    {"qefcFRUInserted", MAIN_ROOT "117.2.0.3"},
    {"qefcFRURemoved", MAIN_ROOT "117.2.0.4"},
    {"qefcUnrecognizedFRU", MAIN_ROOT "117.2.0.5"},
    {"qefcFanTrayStatusChange", MAIN_ROOT "117.2.0.6"},
    {"qefcPowerSupplyOutputChange", MAIN_ROOT "117.2.0.7"},
    {"qRFSwitchover", MAIN_ROOT "176.2.0.1"},
    {"entSensorThresholdNotification", MAIN_ROOT "91.2.0.1"},
    {"connUnitStatusChange", ALT_ROOT "116.0.1"},
};

constexpr size_t max_notifications = 100;

std::deque<SentNotification>& notifications()
{
    static std::deque<SentNotification> all;
    return all;
}

} // namespace

const std::deque<SentNotification>& sent_notifications()
{
    return notifications();
}

void log_notification(std::string oid, uint32_t about)
{
    const auto* name = std::ranges::find(names, oid, &Named<std::string_view>::value);
    if (notifications().size() == max_notifications) {
        notifications().pop_front();
    }
    notifications().push_back({std::chrono::system_clock::now(),
                               name == std::end(names) ? std::string_view() : name->key,
                               std::move(oid), about});
}

} // namespace sim
