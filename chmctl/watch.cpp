#include "watch.h"

#include "model/sensor.h"
#include "model/transceiver.h"
#include "model/unit.h"
#include "output.h"
#include "screen.h"
#include "switch_client.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <limits>
#include <span>
#include <stdexcept>
#include <thread>

using nlohmann::json;

namespace {

constexpr size_t shown = 5;         ///< lines of a long list in plain text
constexpr size_t wide_window = 120; ///< columns from which two lists are side by side

/// A list with the most important line first.
struct Section {
    std::string heading;
    std::vector<std::vector<std::string>> rows;

    /// Its heading and first rows, within some columns.
    std::vector<std::string> lines(size_t count, size_t columns = SIZE_MAX) const
    {
        Columns cells;
        for (size_t i = 0; i < std::min(count, rows.size()); ++i) {
            cells.add(rows[i]);
        }
        std::vector<std::string> result = {paint(Paint::heading, heading)};
        std::ranges::transform(cells.lines(columns - std::min<size_t>(columns, 2)),
                               std::back_inserter(result),
                               [](const std::string& line) { return "  " + line; });
        return result;
    }
};

json ask(const std::string& socket, const char* verb)
{
    return ask_switch(socket, {{"verb", verb}});
}

Section units_section(json units)
{
    const std::string_view ok = sim::key_of(sim::entity_statuses, sim::EntityStatus::ok);
    const auto is_ok = [&](const json& unit) { return unit.at("status") == ok; };
    uint64_t delivered = 0;
    uint64_t drawn = 0;
    for (const json& unit : units) {
        const bool delivers =
            unit.at("type") == sim::key_of(sim::unit_types, sim::UnitType::power_supply);
        (delivers ? delivered : drawn) += unit.at("watts").get<uint32_t>();
    }
    Section section{"Units: " + std::to_string(std::ranges::count_if(units, is_ok)) + " of " +
                        std::to_string(units.size()) + " ok, " + std::to_string(drawn) + " of " +
                        std::to_string(delivered) + " W",
                    {}};
    const auto rank = [&](const json& unit) {
        return std::pair(is_ok(unit), role_of(unit).empty());
    };
    std::stable_sort(units.begin(), units.end(),
                     [&](const json& one, const json& other) { return rank(one) < rank(other); });
    for (const json& unit : units) {
        section.rows.push_back({text_of(unit, "name"), status_of(unit, "status"), role_of(unit),
                                right_aligned(unit.at("watts").get<uint32_t>(), 6) + " W"});
    }
    return section;
}

/// A line with its sort key.
struct Watched {
    double margin;
    std::vector<std::string> line;
};

Section worst_section(const char* heading, std::vector<Watched> readings)
{
    std::ranges::stable_sort(readings, {}, &Watched::margin);
    Section section{heading, {}};
    for (Watched& reading : readings) {
        section.rows.push_back(std::move(reading.line));
    }
    return section;
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

Section hottest_section(const json& sensors)
{
    const std::string_view ok = sim::key_of(sim::sensor_statuses, sim::SensorStatus::ok);
    std::vector<Watched> hottest;
    for (const json& sensor : sensors) {
        if (sensor.at("kind") == sim::temperature_key && sensor.at("status") == ok) {
            hottest.push_back(
                {-sensor.at("value").get<double>(), {text_of(sensor, "name"), value_text(sensor)}});
        }
    }
    return worst_section("Hottest sensors", std::move(hottest));
}

/// Sorted by the distance to the nearest alarm, relative to the distance between the alarms.
Section optics_section(const json& transceivers)
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
                                       : std::min(high - value, value - low) /
                                             std::max(high - low, 1e-9); // equal thresholds
            worst.push_back({margin,
                             {text_of(transceiver, "port"), text_of(reading, "quantity"),
                              dark ? paint(Paint::bad, "no light") : value_text(reading)}});
        }
    }
    return worst_section("Worst optics", std::move(worst));
}

Section notifications_section(const json& notifications)
{
    constexpr size_t date = std::string_view("2000-01-01T").size();
    constexpr size_t time = std::string_view("00:00:00").size();
    Section section{"Last notifications (UTC)", {}};
    for (auto one = notifications.rbegin(); one != notifications.rend(); ++one) {
        section.rows.push_back({text_of(*one, "time").substr(date, time), notification_name(*one),
                                text_of(*one, "about")});
    }
    return section;
}

/// The state of the switch.
struct View {
    std::string title;
    std::vector<Section> sections; ///< the most important first
};

View view_of(const std::string& socket)
{
    const json status = ask(socket, "status");
    const json faults = ask(socket, "faults");
    std::string title = printable(name_of_switch(socket));
    title += title.empty() ? "" : "  ";
    title += status.contains("chassis")
                 ? std::filesystem::path(text_of(status, "chassis")).filename().string()
                 : "no chassis";
    if (!faults.empty()) {
        title +=
            paint(Paint::warning, "  (faults injected: " + std::to_string(faults.size()) + ")");
    }
    return {title,
            {units_section(ask(socket, "units")),
             notifications_section(ask(socket, "notifications")),
             hottest_section(ask(socket, "sensors")), optics_section(ask(socket, "transceivers"))}};
}

void print(const View& view)
{
    std::puts(view.title.c_str());
    for (const Section& section : view.sections) {
        const bool first = &section == &view.sections.front();
        std::puts("");
        for (const std::string& line : section.lines(first ? section.rows.size() : shown)) {
            std::puts(line.c_str());
        }
    }
    std::fflush(stdout);
}

/// How many rows of each section fit, with their headings, into some lines: one of each, then the
/// others in turns, two of the first for one of the others.
std::vector<size_t> shares(std::span<const Section> sections, size_t lines)
{
    std::vector<size_t> counts(sections.size());
    for (size_t i = 0; i < sections.size() && lines >= 2; ++i) {
        counts[i] = 1;
        lines -= 2;
    }
    for (bool grows = true; grows;) {
        grows = false;
        for (size_t turn = 0; turn <= sections.size(); ++turn) {
            const size_t i = turn == 0 ? 0 : turn - 1;
            if (lines > 0 && counts[i] > 0 && counts[i] < sections[i].rows.size()) {
                ++counts[i];
                --lines;
                grows = true;
            }
        }
    }
    return counts;
}

/// Sections under each other, with blank lines between them where there is plenty of room.
std::vector<std::string> stacked(std::span<const Section> sections, size_t columns, size_t lines)
{
    const bool airy = lines >= 12 * sections.size();
    const std::vector<size_t> counts = shares(sections, lines - (airy ? sections.size() - 1 : 0));
    std::vector<std::string> result;
    for (size_t i = 0; i < sections.size() && counts[i] > 0; ++i) {
        if (airy && i > 0) {
            result.emplace_back(columns, ' ');
        }
        for (const std::string& line : sections[i].lines(counts[i], columns)) {
            result.push_back(fitted(line, columns));
        }
    }
    return result;
}

/// What fits a window.
std::vector<std::string> laid_out(const View& view, Screen::Size window)
{
    const std::span sections(view.sections);
    std::vector<std::string> lines = {fitted(view.title, window.columns)};
    const size_t left = window.rows - 1;
    if (window.columns < wide_window) {
        std::ranges::move(stacked(sections, window.columns, left), std::back_inserter(lines));
        return lines;
    }
    const size_t half = window.columns / 2 - 1;
    std::vector<std::string> one = stacked(sections.first(2), half, left);
    std::vector<std::string> other = stacked(sections.subspan(2), half, left);
    one.resize(std::max(one.size(), other.size()), std::string(half, ' '));
    other.resize(one.size());
    for (size_t i = 0; i < one.size(); ++i) {
        lines.push_back(one[i] + "  " + other[i]);
    }
    return lines;
}

/// The view of a switch that has been there.
View next_view(const std::string& socket)
{
    try {
        return view_of(socket);
    } catch (const NoSwitch& error) {
        throw std::runtime_error(std::string("the switch has gone: ") + error.what());
    }
}

void draw_in_place(View view, const std::string& socket, double seconds, uint32_t count)
{
    const Screen screen;
    for (uint32_t shown_for = 0; count == 0 || shown_for < count;) {
        Screen::draw(laid_out(view, Screen::size()));
        const Screen::Wake wake = Screen::wait(seconds);
        if (wake == Screen::Wake::quit) {
            return;
        }
        if (wake == Screen::Wake::time) {
            view = next_view(socket);
            ++shown_for;
        }
    }
}

} // namespace

void watch(const std::string& socket, double seconds, uint32_t count)
{
    View view = view_of(socket);
    if (is_screen() && count != 1) {
        draw_in_place(std::move(view), socket, seconds, count);
        return;
    }
    print(view);
    for (uint32_t printed = 1; printed != count; ++printed) {
        std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
        print(next_view(socket));
    }
}
