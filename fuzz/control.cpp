/// Lines of the control socket, valid requests or not, with time passing between them.
#include "control/verbs.h"
#include "files/chassis_file.h"
#include "libraries/event_queue.h"
#include "libraries/platform_manager.h"
#include "switch_tables.h"

#include <cassert>
#include <nlohmann/json.hpp>

#include <string>
#include <string_view>

namespace {

/// The only verb that changes a file of the machine.
bool is_marker(std::string_view line)
{
    const auto request = nlohmann::json::parse(line, nullptr, false);
    return request.is_object() && request.contains("verb") && request["verb"] == "marker-file";
}

void check_answer(const std::string& answer)
{
    assert(answer.find('\n') == std::string::npos);
    const auto parsed = nlohmann::json::parse(answer, nullptr, false);
    assert(parsed.is_object() && parsed.at("ok").is_boolean());
    assert(parsed.at("ok") ? parsed.contains("result") : parsed.at("error").is_string());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static sim::Clock::time_point now;
    static const sim::Chassis chassis = sim::load_chassis(CHASSIS, [] { return now; });
    now = sim::Clock::time_point(std::chrono::seconds(1000000000));
    sim::place_chassis(chassis);
    std::string_view lines(reinterpret_cast<const char*>(data), size);
    while (!lines.empty()) {
        const std::string_view line = lines.substr(0, lines.find('\n'));
        lines.remove_prefix(std::min(line.size() + 1, lines.size()));
        if (!is_marker(line)) {
            check_answer(sim::answer_request(line));
        }
        now += std::chrono::seconds(1);
        sim::chassis_in_place()->advance();
        sim::deliver_events();
    }
    walk_all_tables();
    return 0;
}
