#include "files/toml_writer.h"

#include <cmath>
#include <iomanip>
#include <sstream>

namespace sim {
namespace {

/// Writes each string on one line: the library's other forms cannot hold every text.
constexpr auto format_flags =
    toml::toml_formatter::default_flags &
    ~(toml::format_flags::allow_literal_strings | toml::format_flags::allow_multi_line_strings);

/// Whether a text can be read back after writing, which only UTF-8 can.
bool is_utf8(const std::string& text)
{
    try {
        const toml::table read = toml::parse(formatted(toml::table{{"text", text}}));
        return read["text"].value_exact<std::string>() == text;
    } catch (const toml::parse_error&) {
        return false;
    }
}

} // namespace

std::string formatted(const toml::table& table)
{
    std::ostringstream text;
    text << toml::toml_formatter(table, format_flags) << '\n';
    return text.str();
}

void put(toml::table& table, std::string_view key, const std::string& text)
{
    if (is_utf8(text)) {
        table.insert_or_assign(key, text);
        return;
    }
    std::ostringstream hex;
    hex << std::hex << std::setfill('0');
    for (const char byte : text) {
        hex << std::setw(2) << static_cast<unsigned>(static_cast<unsigned char>(byte));
    }
    toml::table bytes{{"hex", hex.str()}};
    bytes.is_inline(true);
    table.insert_or_assign(key, std::move(bytes));
}

void put(toml::table& table, std::string_view key, double value)
{
    if (value == std::trunc(value) && std::abs(value) < 1e15) {
        table.insert_or_assign(key, static_cast<int64_t>(value));
    } else {
        table.insert_or_assign(key, value);
    }
}

void put(toml::table& table, std::string_view key, uint32_t value)
{
    table.insert_or_assign(key, static_cast<int64_t>(value));
}

} // namespace sim
