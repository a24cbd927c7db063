// Sensors, transceivers and their readings.

#include "model/transceiver.h"
#include "output.h"
#include "verb.h"

#include <algorithm>

using nlohmann::json;

namespace {

/// A threshold as text; a star marks one that the value is beyond.
std::string threshold_text(const json& threshold, const std::string& unit)
{
    return text_of(threshold, "relation") + " " + quantity(threshold.at("value"), unit) + " " +
           text_of(threshold, "severity") +
           (threshold.at("beyond").get<bool>() ? paint(Paint::bad, " *") : "") +
           (threshold.at("notify").get<bool>() ? "" : " (not notified)");
}

void print_sensors(const json& sensors)
{
    Columns columns;
    columns.add({"index", "name", "value", "status", "", "thresholds"});
    for (const json& sensor : sensors) {
        const std::string unit = text_of(sensor, "unit");
        std::string thresholds;
        for (const json& threshold : sensor.at("thresholds")) {
            thresholds += (thresholds.empty() ? "" : ", ") + threshold_text(threshold, unit);
        }
        columns.add({right_aligned(sensor.at("index").get<uint32_t>(), 5), text_of(sensor, "name"),
                     quantity(sensor.at("value"), unit), status_of(sensor, "status"),
                     sensor.at("by-hand").get<bool>() ? "by hand" : "", thresholds});
    }
    columns.print();
}

/// The transceivers, and below them their readings.
void print_transceivers(const json& transceivers)
{
    Columns ports;
    ports.add(
        {"index", "port", "type", "model", "serial", "status", "diagnostics", "lanes", "reads"});
    Columns readings;
    std::vector<std::string> headings = {"index", "port", "quantity", "value", ""};
    for (const std::string_view key : sim::threshold_keys) {
        std::ranges::replace(headings.emplace_back(key), '-', ' ');
    }
    readings.add(headings);
    for (const json& one : transceivers) {
        ports.add({right_aligned(one.at("index").get<uint32_t>(), 5), text_of(one, "port"),
                   text_of(one, "type"), text_of(one, "model"), text_of(one, "serial"),
                   status_of(one, "status"), text_of(one, "diagnostics"),
                   std::to_string(one.at("lanes").get<uint32_t>()),
                   std::to_string(one.at("reads").get<uint64_t>())});
        for (const json& reading : one.at("readings")) {
            const std::string unit = text_of(reading, "unit");
            std::vector<std::string> line = {right_aligned(reading.at("index").get<uint32_t>(), 5),
                                             text_of(one, "port"), text_of(reading, "quantity"),
                                             reading.at("no-light").get<bool>()
                                                 ? "no light"
                                                 : quantity(reading.at("value"), unit),
                                             reading.at("by-hand").get<bool>() ? "by hand" : ""};
            for (const json& threshold : reading.at("thresholds")) {
                line.push_back(quantity(threshold.at("value"), unit) +
                               (threshold.at("beyond").get<bool>() ? paint(Paint::bad, " *") : ""));
            }
            readings.add(std::move(line));
        }
    }
    ports.print();
    std::puts("");
    readings.print();
}

void sensors_options(CLI::App& command, const Arguments& arguments)
{
    add_entity(command, arguments, "ENTITY",
               "Only those of this port or unit, or in this slot or bay, by index or name")
        ->required(false);
    add_flag(command, arguments, "failed", "Only those that have failed");
    add_flag(command, arguments, "beyond-threshold", "Only what is beyond a threshold");
}

constexpr Verb reading_table[] = {
    {"sensors", "Show the sensors with readings and thresholds", "\"Module 3\"", sensors_options,
     print_sensors},
    {"transceivers", "Show the transceivers with readings and thresholds", "Ethernet3/1",
     sensors_options, print_transceivers},
};

} // namespace

const VerbGroup reading_verbs{"Sensors and transceivers", reading_table};
