/// Writing of TOML that TomlReader reads back, whatever the texts are.
#pragma once

#include "files/toml_reader.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace sim {

/// A document, each string on one line.
std::string formatted(const toml::table& table);

void put(toml::table& table, std::string_view key, const auto& value)
{
    table.insert_or_assign(key, value);
}

/// A text; one that is not UTF-8 as a table with its bytes in hexadecimal, see TomlReader::bytes().
void put(toml::table& table, std::string_view key, const std::string& text);

/// A number, without a fraction if it is whole.
void put(toml::table& table, std::string_view key, double value);

void put(toml::table& table, std::string_view key, uint32_t value);

} // namespace sim
