#include "model/nearest.h"

namespace sim {
namespace {

constexpr size_t max_compared = 100; ///< bytes of a name; longer ones are near nothing

char lower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// How much a name changes with a letter. With another number it names something else.
size_t weight(char c)
{
    return c >= '0' && c <= '9' ? max_compared : 1;
}

/// How far a name is from another, by the letters to insert, remove or replace.
size_t distance(std::string_view from, std::string_view to)
{
    std::vector<size_t> costs = {0}; // of the part of `from` so far to each part of `to`
    for (const char c : to) {
        costs.push_back(costs.back() + weight(c));
    }
    for (const char c : from) {
        size_t diagonal = costs[0];
        costs[0] += weight(c);
        for (size_t j = 0; j < to.size(); ++j) {
            const size_t replaced =
                diagonal + (lower(c) == lower(to[j]) ? 0 : std::max(weight(c), weight(to[j])));
            diagonal = costs[j + 1];
            costs[j + 1] = std::min({replaced, diagonal + weight(c), costs[j] + weight(to[j])});
        }
    }
    return costs.back();
}

} // namespace

bool is_same_name(std::string_view one, std::string_view other)
{
    return std::ranges::equal(one, other, {}, lower, lower);
}

std::string did_you_mean(std::string_view word, const std::vector<std::string_view>& names)
{
    if (word.empty() || word.size() > max_compared) {
        return "";
    }
    size_t least = word.size() / 3 + 2; // a third of the letters may be wrong
    std::string_view nearest;
    for (const std::string_view name : names) {
        const size_t far = name.size() > max_compared ? least : distance(word, name);
        if (far < least && far < std::max(word.size(), name.size())) {
            least = far;
            nearest = name;
        }
    }
    return nearest.empty() ? "" : "; did you mean '" + std::string(nearest) + "'?";
}

} // namespace sim
