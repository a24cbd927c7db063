#include "output.h"

#include "model/entity.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <locale.h>
#include <numeric>
#include <string_view>
#include <unistd.h>

using nlohmann::json;

namespace {

/// The value of a variable of the environment, empty if there is none.
std::string_view environment(const char* name)
{
    const char* value = std::getenv(name);
    return value == nullptr ? "" : value;
}

/// A character of a text, or what sets a colour.
struct Character {
    size_t bytes;
    int columns; ///< that it takes, negative for what a terminal cannot show
};

Character character_at(const std::string& text, size_t at)
{
    static const locale_t utf8 = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    if (text.compare(at, 2, "\x1b[") == 0) {
        return {std::min(text.find('m', at), text.size() - 1) + 1 - at, 0};
    }
    const locale_t before = uselocale(utf8);
    wchar_t character = 0;
    mbstate_t state{};
    const size_t bytes = std::mbrtowc(&character, text.data() + at, text.size() - at, &state);
    const bool valid = bytes != 0 && bytes <= text.size() - at;
    const Character result = valid ? Character{bytes, wcwidth(character)} : Character{1, -1};
    uselocale(before);
    return result;
}

/// Columns that a text takes.
size_t width(const std::string& text)
{
    size_t columns = 0;
    for (size_t at = 0; at < text.size();) {
        const Character character = character_at(text, at);
        columns += static_cast<size_t>(std::max(character.columns, 0));
        at += character.bytes;
    }
    return columns;
}

} // namespace

std::string printable(const std::string& text)
{
    std::string result;
    for (size_t at = 0; at < text.size();) {
        const Character character = text[at] == '\x1b' ? Character{1, -1} : character_at(text, at);
        result += character.columns < 0 ? "?" : text.substr(at, character.bytes);
        at += character.bytes;
    }
    return result;
}

bool is_screen()
{
    const std::string_view terminal = environment("TERM");
    return isatty(STDOUT_FILENO) == 1 && !terminal.empty() && terminal != "dumb";
}

std::string fitted(const std::string& text, size_t columns)
{
    const size_t whole = width(text);
    if (whole <= columns) {
        return text + std::string(columns - whole, ' ');
    }
    std::string result;
    size_t room = columns - std::min<size_t>(columns, 1); // the last one shows the cut
    bool coloured = false;
    for (size_t at = 0; at < text.size();) {
        const Character character = character_at(text, at);
        const auto taken = static_cast<size_t>(std::max(character.columns, 0));
        if (taken > room) {
            break;
        }
        coloured = coloured || text[at] == '\x1b';
        result += text.substr(at, character.bytes);
        room -= taken;
        at += character.bytes;
    }
    result += columns == 0 ? "" : "…";
    return result + (coloured ? "\x1b[0m" : "") + std::string(room, ' ');
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

std::string role_of(const json& unit)
{
    for (const char* role : {"active", "standby"}) {
        if (unit.at(role).get<bool>()) {
            return role;
        }
    }
    return "";
}

std::string notification_name(const json& notification)
{
    const std::string name = text_of(notification, "name");
    return name.empty() ? text_of(notification, "oid") : name;
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
    static const bool coloured = is_screen() && environment("NO_COLOR").empty();
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

std::vector<std::string> Columns::lines(size_t most) const
{
    std::vector<size_t> widths = widths_;
    const size_t gaps = 2 * (widths.size() - std::min<size_t>(widths.size(), 1));
    const auto total = [&] { return std::accumulate(widths.begin(), widths.end(), gaps); };
    while (total() > most && *std::ranges::max_element(widths) > 1) {
        --*std::ranges::max_element(widths);
    }
    std::vector<std::string> result;
    for (const auto& line : lines_) {
        std::string& text = result.emplace_back();
        for (size_t i = 0; i < line.size(); ++i) {
            text += fitted(line[i], widths[i]) + "  ";
        }
        text.erase(text.find_last_not_of(' ') + 1);
    }
    return result;
}

void Columns::print() const
{
    for (const std::string& line : lines()) {
        std::puts(line.c_str());
    }
}
