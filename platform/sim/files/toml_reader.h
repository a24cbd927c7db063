/// TOML files written by people: every error names the line.
#pragma once

#include "files/file_error.h"

// The library writes numbers in as few digits as they need with this alone: -18.4, not
// -18.399999999999999.
#define TOML_FLOAT_CHARCONV 1
#include <toml++/toml.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace sim {

template <typename... Parts>
std::string concat(const Parts&... parts)
{
    std::ostringstream text;
    (text << ... << parts);
    return text.str();
}

/// A table, and another one, if any, from which it inherits keys.
struct InheritingTable {
    const toml::table& own;
    const toml::table* inherited = nullptr;

    /// The value of a key, or null.
    const toml::node* find(std::string_view key) const
    {
        const toml::node* node = own.get(key);
        return node == nullptr && inherited != nullptr ? inherited->get(key) : node;
    }
};

using Keys = std::vector<std::string_view>;

/// The parts of a dotted key or of a table's name: so few that nesting exhausts no stack.
inline constexpr size_t max_key_parts = 16;

/// One file. Functions that read a value throw FileError if it is not valid; `what` is the key for
/// the error.
class TomlReader {
public:
    /// Parses a file. Throws FileError.
    explicit TomlReader(std::string file);

    const std::string& file() const { return file_; }
    const toml::table& root() const { return root_; }

    [[noreturn]] void fail(const toml::source_region& where, const auto&... what) const
    {
        const size_t line = std::max<size_t>(where.begin.line, 1);
        throw FileError(concat(file_, ":", line, ": ", what...));
    }

    /// The first unknown key of a table, or null.
    static const toml::key* unknown_key(const toml::table& table, const Keys& known);

    /// Refuses a table that has unknown keys.
    void check_keys(const toml::table& table, const Keys& known) const;

    const toml::table& as_table(const toml::node& node, std::string_view what) const;
    std::string text(const toml::node& node, std::string_view what) const;

    /// A text. One that is not UTF-8 is a table with its bytes in hexadecimal.
    std::string bytes(const toml::node& node, std::string_view what) const;

    bool truth(const toml::node& node, std::string_view what) const;

    template <typename Number = uint32_t>
    Number number(const toml::node& node, std::string_view what, std::type_identity_t<Number> least,
                  std::type_identity_t<Number> most) const
    {
        return static_cast<Number>(whole_number(node, what, least, most));
    }

    /// Calls `use` with every table of an array of tables, which may be missing.
    void for_each_table(const toml::node* node, std::string_view what, auto&& use) const
    {
        if (node == nullptr) {
            return;
        }
        if (!node->is_array()) {
            fail(node->source(), "'", what, "' is not an array of tables");
        }
        for (const toml::node& element : *node->as_array()) {
            use(as_table(element, what));
        }
    }

    /// As for_each_table(), each table as an attempt of its own.
    void attempt_each_table(const toml::node* node, std::string_view what, FileErrors& errors,
                            auto&& use) const
    {
        errors.attempt([&] {
            for_each_table(node, what,
                           [&](const toml::table& table) { errors.attempt([&] { use(table); }); });
        });
    }

    /// The value of a required key. @param owner of the key, for the error
    const toml::node& required(const toml::table& table, std::string_view what,
                               std::string_view owner) const;

    /// A whole number that may be missing, from 0 on.
    uint32_t count(const InheritingTable& table, std::string_view what, uint32_t most,
                   uint32_t when_not_given = 0) const;

    /// Whether a setting that may be missing is true.
    bool is_set(const InheritingTable& table, std::string_view what,
                bool when_not_given = false) const;

    /// A number with a fraction or without. One that has no default must be given.
    double real(const toml::table& table, std::string_view what,
                std::optional<double> when_not_given, double least, double most) const;

    /// The one of some choices whose key a setting gives.
    template <typename Choice, size_t Count>
    const Choice& choice(const InheritingTable& table, std::string_view what,
                         std::string_view when_not_given, const Choice (&choices)[Count]) const
    {
        const toml::node* node = table.find(what);
        const auto key =
            node == nullptr ? when_not_given : node->value_exact<std::string_view>().value_or("");
        const Choice* found = std::ranges::find(choices, key, &Choice::key);
        if (found == std::end(choices)) {
            std::string keys;
            for (const Choice& one : choices) {
                keys += concat(keys.empty() ? "'" : ", '", one.key, "'");
            }
            fail(node->source(), "'", what, "' is none of ", keys);
        }
        return *found;
    }

private:
    int64_t whole_number(const toml::node& node, std::string_view what, int64_t least,
                         int64_t most) const;

    std::string file_;
    toml::table root_;
};

} // namespace sim
