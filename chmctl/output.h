/// How chmctl prints.
#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <string>
#include <vector>

/// A text of the switch or of a file, with control characters and what is not UTF-8 replaced for a
/// terminal.
std::string printable(const std::string& text);

/// A text of an object, printable.
std::string text_of(const nlohmann::json& object, const char* key);

/// A status of an object, coloured by its severity; see paint().
std::string status_of(const nlohmann::json& object, const char* key);

/// The role of a unit that is a supervisor in service: active, standby, or empty for none.
std::string role_of(const nlohmann::json& unit);

/// The name of a notification, or its OID if the MIB files do not have it.
std::string notification_name(const nlohmann::json& notification);

std::string right_aligned(uint32_t number, size_t columns);

/// Seconds as days, hours, minutes and seconds.
std::string duration(uint64_t seconds);

/// A quantity in its unit, without zeros at its end.
std::string quantity(const nlohmann::json& value, const std::string& unit);

enum class Paint { good, warning, bad, faint, heading };

/// A text in colour where the output is a terminal, unless the environment's NO_COLOR is set.
std::string paint(Paint paint, const std::string& text);

/// Whether the output is a terminal that can place text.
bool is_screen();

/// A text with the colours of paint(), filled up to some columns of a terminal or cut to them.
std::string fitted(const std::string& text, size_t columns);

/// Lines of texts under each other, each column as wide as its widest text.
class Columns {
public:
    void add(std::vector<std::string> line);
    void print() const;

    /// The lines within some columns of a terminal; the widest texts are cut first.
    std::vector<std::string> lines(size_t most = SIZE_MAX) const;

private:
    std::vector<std::vector<std::string>> lines_;
    std::vector<size_t> widths_;
};
