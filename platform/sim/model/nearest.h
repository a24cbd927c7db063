/// Names that a mistyped one may stand for.
#pragma once

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

namespace sim {

/// Whether two names are the same but for upper and lower case of ASCII letters.
bool is_same_name(std::string_view one, std::string_view other);

/// The end of an error: "; did you mean 'x'?" with the nearest of some names, nothing if none is
/// near.
std::string did_you_mean(std::string_view word, const std::vector<std::string_view>& names);

/// The keys of a table, in its order.
template <typename Table>
std::vector<std::string_view> keys_in(const Table& table)
{
    std::vector<std::string_view> keys;
    std::ranges::transform(table, std::back_inserter(keys),
                           [](const auto& one) { return std::string_view(one.key); });
    return keys;
}

/// Words as a sentence lists them: "a, b or c".
template <typename Words>
std::string listed(const Words& words)
{
    std::string text;
    for (size_t i = 0; i < words.size(); ++i) {
        text += i == 0 ? "" : i + 1 == words.size() ? " or " : ", ";
        text += words[i];
    }
    return text;
}

} // namespace sim
