/// TOML files written by people: every error is reported, with its line.
#pragma once

#include "files/file_error.h"

// The library writes numbers in as few digits as they need with this alone: -18.4, not
// -18.399999999999999.
#define TOML_FLOAT_CHARCONV 1
#include <toml++/toml.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
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

/// One file. Functions that read a value report an error if it is not valid and return a stand-in,
/// so that the errors of other values are found too; `what` is the key for the error.
class TomlReader {
public:
    /// Parses a file. Throws FileError.
    explicit TomlReader(std::string file);

    const std::string& file() const { return file_; }
    const toml::table& root() const { return root_; }

    /// Keeps the first error of a place in the file for read_all(), and goes on.
    void report(const toml::source_region& where, const auto&... what) const
    {
        keep(where, "", concat(what...));
    }

    /// Ends the attempt with an error of what depends on several values. It is not reported while
    /// one of them is wrong, because it might follow from that.
    [[noreturn]] void fail(const toml::source_region& where, const auto&... what) const
    {
        if (sound_) {
            report(where, what...);
        }
        throw Stop();
    }

    /// Ends the attempt if something is wrong, before what depends on it.
    void stop_unless_sound() const
    {
        if (!sound_) {
            throw Stop();
        }
    }

    /// Whether the attempt has found no error so far.
    bool sound() const { return sound_; }

    /// Reads a part of the file. Its errors do not keep what follows from being read, and what
    /// depends on the part needs the result: whether it has none.
    /// @param known whether that on which the part depends has none
    bool attempt(auto&& read, bool known = true) const
    {
        const bool outer = std::exchange(sound_, sound_ && known);
        bool good = false;
        try {
            read();
            good = sound_;
        } catch (const Stop&) { // its error is kept
        }
        sound_ = outer;
        return good;
    }

    /// Calls `use` with each of some elements as an attempt of its own. What follows depends on all
    /// of them.
    void attempt_each(auto&& elements, auto&& use) const
    {
        bool all = sound_;
        for (auto&& element : elements) {
            all = attempt([&] { use(element); }) && all;
        }
        sound_ = all;
    }

    /// What `read` makes of the file. Throws all errors as one FileError, in the order of their
    /// lines.
    auto read_all(auto&& read) const
    {
        std::optional<decltype(read())> result;
        attempt([&] { result.emplace(read()); });
        throw_errors();
        return std::move(*result);
    }

    /// The unknown keys of a table.
    static std::vector<const toml::key*> unknown_keys(const toml::table& table, const Keys& known);

    /// Reports the unknown keys of a table.
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
        return static_cast<Number>(whole_number(node, what, least, most).value_or(least));
    }

    /// Calls `use` with every table of an array of tables, which may be missing, as attempt_each().
    /// @param most tables that there may be
    void for_each_table(const toml::node* node, std::string_view what, auto&& use,
                        size_t most = SIZE_MAX) const
    {
        if (node == nullptr) {
            return;
        }
        if (!node->is_array()) {
            report(node->source(), "'", what, "' is not an array of tables");
            return;
        }
        const toml::array& tables = *node->as_array();
        attempt_each(tables, [&](const toml::node& one) { use(as_table(one, what)); });
        if (const toml::node* excess = tables.get(most)) {
            report(excess->source(), "more than ", most, " ", what);
        }
    }

    /// The value of a required key. @param owner of the key, for the error
    const toml::node& required(const toml::table& table, std::string_view what,
                               std::string_view owner) const;

    /// A whole number that may be missing, from 0 on. A wrong one stands for the most, so that
    /// nothing is beyond it.
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
    const Choice& choice(const toml::node& node, std::string_view what,
                         const Choice (&choices)[Count]) const
    {
        const auto key = node.value_exact<std::string_view>().value_or("");
        const Choice* found = std::ranges::find(choices, key, &Choice::key);
        if (found != std::end(choices)) {
            return *found;
        }
        std::string keys;
        for (const Choice& one : choices) {
            keys += concat(keys.empty() ? "'" : ", '", one.key, "'");
        }
        report(node.source(), "'", what, "' is none of ", keys);
        return choices[0];
    }

    /// The same of a setting that may be missing.
    template <typename Choice, size_t Count>
    const Choice& choice(const InheritingTable& table, std::string_view what,
                         std::string_view when_not_given, const Choice (&choices)[Count]) const
    {
        const toml::node* node = table.find(what);
        return node == nullptr ? *std::ranges::find(choices, when_not_given, &Choice::key)
                               : choice(*node, what, choices);
    }

private:
    struct Stop {}; ///< ends an attempt

    /// Line, column, and for what is missing there its key.
    using Position = std::tuple<size_t, size_t, std::string>;

    void keep(const toml::source_region& where, std::string_view missing, std::string what) const;

    void throw_errors() const;
    std::optional<int64_t> whole_number(const toml::node& node, std::string_view what,
                                        int64_t least, int64_t most) const;

    std::string file_;
    toml::table root_;
    toml::table nothing_; ///< stands for what is missing or no table; its errors are that one's
    mutable std::map<Position, std::string> errors_;
    mutable bool sound_ = true; ///< whether the present attempt has found no error
};

} // namespace sim
