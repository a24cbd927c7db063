#include "libraries/notification_log.h"

#include "mib_objects.h"
#include "model/named.h"

namespace sim {
namespace {

#define NAMED(name, oid) {#name, oid},
constexpr Named<std::string_view> names[] = {NOTIFICATIONS(NAMED) // and IF-MIB's
                                             {"linkDown", "1.3.6.1.6.3.1.1.5.3"},
                                             {"linkUp", "1.3.6.1.6.3.1.1.5.4"}};

#define NAMED_OBJECT(table, name, oid) {#name, oid},
constexpr Named<std::string_view> objects[] = {SERVED_OBJECTS(NAMED_OBJECT)};

constexpr size_t max_notifications = 100;

std::deque<SentNotification>& notifications()
{
    static std::deque<SentNotification> all;
    return all;
}

/// The OID of an instance, with its object as a name where the MIB files have it.
std::string instance_name(const std::string& oid)
{
    const auto* object = std::ranges::find_if(objects, [&](const Named<std::string_view>& one) {
        return oid.starts_with(one.value) && oid.substr(one.value.size()).starts_with(".");
    });
    return object == std::end(objects)
               ? oid
               : std::string(object->key) + oid.substr(object->value.size());
}

} // namespace

const std::deque<SentNotification>& sent_notifications()
{
    return notifications();
}

void log_notification(std::string oid, uint32_t about, std::vector<SentBinding> bindings)
{
    static uint64_t number = 0;
    const auto* name = std::ranges::find(names, oid, &Named<std::string_view>::value);
    for (SentBinding& binding : bindings) {
        binding.name = instance_name(binding.name);
    }
    if (notifications().size() == max_notifications) {
        notifications().pop_front();
    }
    notifications().push_back({++number, std::chrono::system_clock::now(),
                               name == std::end(names) ? std::string_view() : name->key,
                               std::move(oid), about, std::move(bindings)});
}

} // namespace sim
