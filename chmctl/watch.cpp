#include "watch.h"

#include "model/sensor.h"
#include "model/transceiver.h"
#include "model/unit.h"
#include "output.h"
#include "switch_client.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <limits>
#include <thread>
#include <unistd.h>

using nlohmann::json;

namespace {

constexpr size_t shown = 5; ///< lines of a long list

void print_heading(const std::string& text)
{
    std::printf("\n%s\n", paint(Paint::heading, text).c_str());
}

json ask(const std::string& socket, const char* verb)
{
    return ask_switch(socket, {{"verb", verb}});
}

void print_power(const json& units)
{
    uint64_t delivered = 0;
    uint64_t drawn = 0;
    Columns columns;
    for (const json& unit : units) {
        const auto watts = unit.at("watts").get<uint32_t>();
        const bool delivers =
            unit.at("type") == sim::key_of(sim::unit_types, sim::UnitType::power_supply);
        (delivers ? delivered : drawn) += watts;
        columns.add({"  " + text_of(unit, "name"), status_of(unit, "status"),
                     right_aligned(watts, 6) + " W",
                     unit.at("active").get<bool>() ? "active supervisor" : ""});
    }
    print_heading("Units: " + std::to_string(delivered) + " W delivered, " + std::to_string(drawn) +
                  " W drawn");
    columns.print();
}

/// A line with its sort key.
struct Watched {
    double margin;
    std::vector<std::string> line;
};

void print_worst(const char* heading, std::vector<Watched> readings)
{
    std::ranges::stable_sort(readings, {}, &Watched::margin);
    readings.resize(std::min(readings.size(), shown));
    print_heading(heading);
    Columns columns;
    for (Watched& reading : readings) {
        columns.add(std::move(reading.line));
    }
    columns.print();
}

bool is_beyond_any(const json& thresholds)
{
    return std::ranges::any_of(thresholds,
                               [](const json& one) { return one.at("beyond").get<bool>(); });
}

std::string value_text(const json& reading)
{
    const std::string text = quantity(reading.at("value"), text_of(reading, "unit"));
    return is_beyond_any(reading.at("thresholds")) ? paint(Paint::bad, text + " *") : text;
}

void print_hottest(const json& sensors)
{
    const std::string_view ok = sim::key_of(sim::sensor_statuses, sim::SensorStatus::ok);
    std::vector<Watched> hottest;
    for (const json& sensor : sensors) {
        if (sensor.at("kind") == sim::temperature_key && sensor.at("status") == ok) {
            hottest.push_back({-sensor.at("value").get<double>(),
                               {"  " + text_of(sensor, "name"), value_text(sensor)}});
        }
    }
    print_worst("Hottest sensors", std::move(hottest));
}

/// Sorted by the distance to the nearest alarm, relative to the distance between the alarms.
void print_worst_optics(const json& transceivers)
{
    std::vector<Watched> worst;
    for (const json& transceiver : transceivers) {
        for (const json& reading : transceiver.at("readings")) {
            const json& thresholds = reading.at("thresholds");
            const auto threshold = [&](sim::ThresholdIndex i) {
                return thresholds.at(i).at("value").get<double>();
            };
            const double high = threshold(sim::high_alarm);
            const double low = threshold(sim::low_alarm);
            const bool dark = reading.at("no-light").get<bool>();
            const double value = reading.at("value").get<double>();
            const double margin = dark ? -std::numeric_limits<double>::infinity()
                                       : std::min(high - value, value - low) / (high - low);
            worst.push_back({margin,
                             {"  " + text_of(transceiver, "port"), text_of(reading, "quantity"),
                              dark ? paint(Paint::bad, "no light") : value_text(reading)}});
        }
    }
    print_worst("Worst optics", std::move(worst));
}

void print_last(const json& notifications)
{
    print_heading("Last notifications");
    Columns columns;
    for (size_t i = notifications.size() - std::min(notifications.size(), shown);
         i < notifications.size(); ++i) {
        const json& one = notifications[i];
        columns.add({"  " + text_of(one, "time"), text_of(one, "name"), text_of(one, "about")});
    }
    columns.print();
}

void draw(const std::string& socket)
{
    const json status = ask(socket, "status");
    const json faults = ask(socket, "faults");
    std::printf("%s%s\n", status.contains("chassis") ? text_of(status, "chassis").c_str() : "none",
                faults.empty() ? ""
                               : paint(Paint::warning,
                                       "  (" + std::to_string(faults.size()) + " faults injected)")
                                     .c_str());
    print_power(ask(socket, "units"));
    print_hottest(ask(socket, "sensors"));
    print_worst_optics(ask(socket, "transceivers"));
    print_last(ask(socket, "notifications"));
    std::fflush(stdout);
}

} // namespace

void watch(const std::string& socket, double seconds, uint32_t count)
{
    const bool in_place = isatty(STDOUT_FILENO) == 1 && count != 1;
    for (uint32_t drawn = 1;; ++drawn) {
        if (in_place) {
            std::fputs("\x1b[H\x1b[2J", stdout);
        }
        draw(socket);
        if (drawn == count) {
            return;
        }
        std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
    }
}
