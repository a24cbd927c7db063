#include "libraries/notification_log.h"

#include "mib_objects.h"
#include "model/named.h"

namespace sim {
namespace {

#define NAMED(name, oid) {#name, oid},
constexpr Named<std::string_view> names[] = {NOTIFICATIONS(NAMED)};

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
