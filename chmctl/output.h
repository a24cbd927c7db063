/// How chmctl prints.
#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <string>
#include <vector>

/// A text of the switch or of a file, with control characters replaced for a terminal.
std::string printable(std::string text);

/// A text of an object, printable.
std::string text_of(const nlohmann::json& object, const char* key);

/// A status of an object, coloured by its severity; see paint().
std::string status_of(const nlohmann::json& object, const char* key);

std::string right_aligned(uint32_t number, size_t columns);

/// Seconds as days, hours, minutes and seconds.
std::string duration(uint64_t seconds);

/// A quantity in its unit, without zeros at its end.
std::string quantity(const nlohmann::json& value, const std::string& unit);

enum class Paint { good, warning, bad, faint, heading };

/// A text in colour where the output is a terminal, unless the environment's NO_COLOR is set.
std::string paint(Paint paint, const std::string& text);

/// Lines of texts under each other, each column as wide as its widest text.
class Columns {
public:
    void add(std::vector<std::string> line);
    void print() const;

private:
    std::vector<std::vector<std::string>> lines_;
    std::vector<size_t> widths_;
};
