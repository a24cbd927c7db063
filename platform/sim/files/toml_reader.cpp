#include "files/toml_reader.h"

#include "model/nearest.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <fstream>

namespace sim {
namespace {

constexpr size_t max_file_size = 4U << 20U; ///< far beyond any chassis or scenario

std::string contents_of(const std::string& file)
{
    std::ifstream stream(file, std::ios::binary);
    std::string text;
    std::array<char, 65536> chunk{};
    do {
        stream.read(chunk.data(), chunk.size());
        text.append(chunk.data(), static_cast<size_t>(stream.gcount()));
    } while (stream && text.size() <= max_file_size);
    if (!stream.is_open() || stream.bad()) {
        throw FileError(file + ": " + std::strerror(errno));
    }
    if (text.size() > max_file_size) {
        throw FileError(concat(file, ": has more than ", max_file_size, " bytes"));
    }
    return text;
}

/// Where the string ends that begins at a quote.
size_t end_of_string(std::string_view text, size_t begin)
{
    const char quote = text[begin];
    const bool multi_line = text.substr(begin, 3) == std::string(3, quote);
    const std::string_view closing = text.substr(begin, multi_line ? 3 : 1);
    size_t at = begin + closing.size();
    while (at < text.size() && text.substr(at, closing.size()) != closing) {
        if (!multi_line && text[at] == '\n') {
            return at;
        }
        at += quote == '"' && text[at] == '\\' ? 2 : 1;
    }
    at += closing.size();
    // Two quotes may come before the three that close.
    for (int more = 0; multi_line && more < 2 && at < text.size() && text[at] == quote; ++more) {
        ++at;
    }
    return std::min(at, text.size());
}

/// The line of the first key with too many parts, 0 for none. This does not use the parser, which
/// nests a table for each part and exhausts the stack when it destroys them.
size_t line_of_long_key(std::string_view text)
{
    size_t line = 1;
    size_t parts = 1;
    for (size_t at = 0; at < text.size();) {
        size_t end = at + 1;
        switch (text[at]) {
        case '#':
            end = std::min(text.find('\n', at), text.size());
            break;
        case '"':
        case '\'':
            end = end_of_string(text, at);
            break;
        case '.':
            if (++parts > max_key_parts) {
                return line;
            }
            break;
        case '\n':
        case '=':
        case ',':
        case '[':
        case ']':
        case '{':
        case '}':
            parts = 1;
            break;
        default:
            break;
        }
        line += static_cast<size_t>(std::ranges::count(text.substr(at, end - at), '\n'));
        at = end;
    }
    return 0;
}

toml::table parse(const std::string& file)
{
    const std::string text = contents_of(file);
    if (const size_t line = line_of_long_key(text)) {
        throw FileError(concat(file, ":", line, ": a key has more than ", max_key_parts, " parts"));
    }
    try {
        return toml::parse(text, file);
    } catch (const toml::parse_error& error) {
        throw FileError(concat(file, ":", error.source().begin.line, ": ", error.description()));
    }
}

} // namespace

TomlReader::TomlReader(std::string file) : file_(std::move(file)), root_(parse(file_)) {}

std::vector<const toml::key*> TomlReader::unknown_keys(const toml::table& table, const Keys& known)
{
    std::vector<const toml::key*> unknown;
    for (const auto& [key, value] : table) {
        if (std::ranges::find(known, key.str()) == known.end()) {
            unknown.push_back(&key);
        }
    }
    return unknown;
}

void TomlReader::keep(const toml::source_region& where, std::string_view missing,
                      std::string what) const
{
    sound_ = false;
    if (&where != &nothing_.source()) {
        const size_t line = std::max<size_t>(where.begin.line, 1);
        errors_.emplace(Position(line, where.begin.column, missing), std::move(what));
    }
}

void TomlReader::throw_errors() const
{
    std::string all;
    for (const auto& [position, what] : errors_) {
        const std::string error = concat(file_, ":", std::get<0>(position), ": ", what);
        if (!all.ends_with(error)) { // two values of a line may be wrong alike
            all += (all.empty() ? "" : "\n") + error;
        }
    }
    if (!all.empty()) {
        throw FileError(all);
    }
}

void TomlReader::check_keys(const toml::table& table, const Keys& known) const
{
    for (const toml::key* key : unknown_keys(table, known)) {
        report(key->source(), "unknown key '", key->str(), "'", did_you_mean(key->str(), known));
    }
}

const toml::table& TomlReader::as_table(const toml::node& node, std::string_view what) const
{
    if (!node.is_table()) {
        report(node.source(), "'", what, "' is not a table");
        return nothing_;
    }
    return *node.as_table();
}

std::string TomlReader::text(const toml::node& node, std::string_view what) const
{
    if (!node.is_string()) {
        report(node.source(), "'", what, "' is not a string");
        return {};
    }
    return node.as_string()->get();
}

std::string TomlReader::bytes(const toml::node& node, std::string_view what) const
{
    const toml::table* table = node.as_table();
    if (table == nullptr) {
        return text(node, what);
    }
    check_keys(*table, {"hex"});
    const toml::node& hex = required(*table, "hex", concat("'", what, "'"));
    const std::string digits = text(hex, "hex");
    if (digits.size() % 2 != 0 ||
        digits.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos) {
        report(hex.source(), "'hex' is not pairs of hexadecimal digits such as \"c3a4\"");
        return {};
    }
    std::string value;
    for (size_t i = 0; i < digits.size(); i += 2) {
        value.push_back(static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16)));
    }
    return value;
}

bool TomlReader::truth(const toml::node& node, std::string_view what) const
{
    if (!node.is_boolean()) {
        report(node.source(), "'", what, "' is not true or false");
        return false;
    }
    return node.as_boolean()->get();
}

const toml::node& TomlReader::required(const toml::table& table, std::string_view what,
                                       std::string_view owner) const
{
    const toml::node* node = table.get(what);
    if (node == nullptr) {
        keep(table.source(), what, concat(owner, " has no '", what, "'"));
        return nothing_;
    }
    return *node;
}

uint32_t TomlReader::count(const InheritingTable& table, std::string_view what, uint32_t most,
                           uint32_t when_not_given) const
{
    const toml::node* node = table.find(what);
    if (node == nullptr) {
        return &table.own == &nothing_ ? most : when_not_given;
    }
    return static_cast<uint32_t>(whole_number(*node, what, 0, most).value_or(most));
}

bool TomlReader::is_set(const InheritingTable& table, std::string_view what,
                        bool when_not_given) const
{
    const toml::node* node = table.find(what);
    return node == nullptr ? when_not_given : truth(*node, what);
}

double TomlReader::real(const toml::table& table, std::string_view what,
                        std::optional<double> when_not_given, double least, double most) const
{
    const toml::node* node = table.get(what);
    if (node == nullptr && !when_not_given) {
        keep(table.source(), what, concat("there is no '", what, "'"));
        return least;
    }
    if (node != nullptr && !node->is_number()) {
        report(node->source(), "'", what, "' is not a number");
        return least;
    }
    const double value = node == nullptr ? *when_not_given : *node->value<double>();
    if (!(value >= least && value <= most)) {
        report((node == nullptr ? table : *node).source(), "'", what, "' is ", value,
               ", not within ", least, " to ", most);
        return least;
    }
    return value + 0.0; // turns -0 into 0, which differ as raw words of reals
}

std::optional<int64_t> TomlReader::whole_number(const toml::node& node, std::string_view what,
                                                int64_t least, int64_t most) const
{
    if (!node.is_integer()) {
        report(node.source(), "'", what, "' is not an integer");
        return std::nullopt;
    }
    const int64_t value = node.as_integer()->get();
    if (value < least || value > most) {
        report(node.source(), "'", what, "' is ", value, ", not within ", least, " to ", most);
        return std::nullopt;
    }
    return value;
}

} // namespace sim
