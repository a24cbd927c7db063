// The interface between MIB modules and platform: history, traces, notifications, status.

#include "control/verb_arguments.h"
#include "libraries/event_log.h"
#include "libraries/event_queue.h"
#include "libraries/heartbeat.h"
#include "libraries/notification_log.h"
#include "libraries/platform_manager.h"
#include "model/ports.h"

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#include <net-snmp/agent/net-snmp-agent-includes.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <system_error>
#include <unistd.h>

namespace sim {
namespace {

using nlohmann::json;

/// While this file exists, the MIB modules report the unit status with power events too. They have
/// their own copy of the path: an operator creates the file, not a platform library.
const char* const marker_file = "/mnt/nvdb/chm_nvdb_hack";

bool marker_exists()
{
    std::error_code unreadable; // counts as missing
    return std::filesystem::exists(marker_file, unreadable);
}

json switch_marker(const json& arguments)
{
    if (argument<bool>(arguments, "on")) {
        std::filesystem::create_directories(std::filesystem::path(marker_file).parent_path());
        if (!std::ofstream(marker_file)) {
            throw std::system_error(errno, std::generic_category(), marker_file);
        }
    } else {
        std::filesystem::remove(marker_file);
    }
    return {{"marker", marker_exists()}};
}

json trace_state()
{
    json state;
    for (const auto& trace : traces) {
        state[std::string(trace.key)] = trace_switches().*trace.value;
    }
    return state;
}

json trace(const json& arguments)
{
    const auto what = argument<std::string>(arguments, "what");
    const bool on = argument<bool>(arguments, "on");
    bool found = false;
    for (const auto& one : traces) {
        if (what == one.key || what == "all") {
            trace_switches().*one.value = on;
            found = true;
        }
    }
    if (!found) {
        throw std::runtime_error("there is no trace '" + what + "'");
    }
    return trace_state();
}

json event_history(const json& arguments)
{
    const auto& records = history();
    const size_t last = std::min<size_t>(argument<uint32_t>(arguments, "last"), records.size());
    json list = json::array();
    for (auto record = records.end() - static_cast<ptrdiff_t>(last); record != records.end();
         ++record) {
        list.push_back({{"time", time_text(record->time)},
                        {"type", record->type},
                        {"subtype", record->subtype},
                        {"text", record->text}});
    }
    return list;
}

json bindings_of(const SentNotification& notification)
{
    json list = json::array();
    for (const SentBinding& binding : notification.bindings) {
        list.push_back({{"name", binding.name}, {"value", binding.value}});
    }
    return list;
}

json notifications(const json& arguments)
{
    const Chassis& chassis = the_chassis();
    const auto after = arguments.contains("after") ? argument<uint64_t>(arguments, "after") : 0;
    json list = json::array();
    for (const SentNotification& one : sent_notifications()) {
        if (one.number <= after) {
            continue;
        }
        const Entity* entity = chassis.find(one.about);
        entity = entity == nullptr ? find_interface(chassis, one.about) : entity;
        list.push_back({{"number", one.number},
                        {"time", time_text(one.time)},
                        {"oid", one.oid},
                        {"name", one.name},
                        {"index", one.about},
                        {"about", entity == nullptr ? "" : entity->name},
                        {"bindings", bindings_of(one)}});
    }
    return list;
}

json status(const json& /*arguments*/)
{
    json result{{"pid", getpid()},
                {"uptime", netsnmp_get_agent_uptime() / 100},
                {"trace", trace_state()},
                {"history-records", history().size()},
                {"waiting-events", waiting_events()},
                {"heartbeats", heartbeats()},
                {"marker", marker_exists()}};
    if (Chassis* chassis = chassis_in_place()) {
        result["chassis"] = chassis->file();
        result["type-code"] = chassis->settings().type_code;
        result["entities"] = chassis->entities().size();
        result["last-change"] = time_text(chassis->last_change());
    }
    return result;
}

constexpr Verb platform_table[] = {
    {"marker-file", switch_marker},   {"trace", trace},   {"history", event_history},
    {"notifications", notifications}, {"status", status},
};

} // namespace

const std::span<const Verb> platform_verbs(platform_table);

} // namespace sim
