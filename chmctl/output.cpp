#include "output.h"

#include "model/entity.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

using nlohmann::json;

namespace {

bool has_colours()
{
    const auto is_set = [](const char* value) { return value != nullptr && *value != '\0'; };
    const char* terminal = std::getenv("TERM");
    return isatty(STDOUT_FILENO) == 1 && !is_set(std::getenv("NO_COLOR")) && is_set(terminal) &&
           std::strcmp(terminal, "dumb") != 0;
}

/// Columns that a UTF-8 text takes, its colours left out.
size_t width(const std::string& text)
{
    size_t columns = 0;
    bool escape = false;
    for (const char c : text) {
        escape = escape || c == '\x1b';
        columns += !escape && (c & 0xc0) != 0x80 ? 1 : 0;
        escape = escape && c != 'm';
    }
    return columns;
}

} // namespace

std::string printable(std::string text)
{
    std::ranges::replace_if(
        text, [](unsigned char c) { return c < ' ' || c == 0x7f; }, '?');
    return text;
}

std::string text_of(const json& object, const char* key)
{
    return printable(object.at(key).get<std::string>());
}

std::string status_of(const json& object, const char* key)
{
    using sim::EntityStatus;
    const std::string status = text_of(object, key);
    const auto is = [&](EntityStatus one) {
        return status == sim::key_of(sim::entity_statuses, one);
    };
    if (is(EntityStatus::ok)) { // a sensor's too
        return paint(Paint::good, status);
    }
    if (is(EntityStatus::failed) || is(EntityStatus::unknown) ||
        status == sim::key_of(sim::sensor_statuses, sim::SensorStatus::nonoperational)) {
        return paint(Paint::bad, status);
    }
    return paint(is(EntityStatus::starting) ? Paint::warning : Paint::faint, status);
}

std::string right_aligned(uint32_t number, size_t columns)
{
    const std::string digits = std::to_string(number);
    return std::string(columns - std::min(columns, digits.size()), ' ') + digits;
}

std::string duration(uint64_t seconds)
{
    const std::string days = seconds < 86400 ? "" : std::to_string(seconds / 86400) + "d ";
    char time[16];
    std::snprintf(time, sizeof time, "%02u:%02u:%02u", static_cast<unsigned>(seconds / 3600 % 24),
                  static_cast<unsigned>(seconds / 60 % 60), static_cast<unsigned>(seconds % 60));
    return days + time;
}

std::string quantity(const json& value, const std::string& unit)
{
    char digits[32];
    std::snprintf(digits, sizeof digits, "%.10g ", value.get<double>());
    return digits + unit;
}

std::string paint(Paint paint, const std::string& text)
{
    static const bool coloured = has_colours();
    // In the order of Paint.
    constexpr const char* codes[] = {"32", "33", "31", "2", "1"};
    return coloured
               ? std::string("\x1b[") + codes[static_cast<size_t>(paint)] + "m" + text + "\x1b[0m"
               : text;
}

void Columns::add(std::vector<std::string> line)
{
    widths_.resize(std::max(widths_.size(), line.size()));
    for (size_t i = 0; i < line.size(); ++i) {
        widths_[i] = std::max(widths_[i], width(line[i]));
    }
    lines_.push_back(std::move(line));
}

void Columns::print() const
{
    for (const auto& line : lines_) {
        std::string text;
        for (size_t i = 0; i < line.size(); ++i) {
            text += line[i] + std::string(widths_[i] - width(line[i]) + 2, ' ');
        }
        std::puts(text.substr(0, text.find_last_not_of(' ') + 1).c_str());
    }
}
