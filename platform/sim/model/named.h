/// Values that have names in chassis files and for chmctl.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace sim {

/// A value with its name in chassis files and for chmctl.
template <typename Value>
struct Named {
    std::string_view key;
    Value value;
};

/// The name of one of some values.
template <typename Value, size_t Count>
constexpr std::string_view key_of(const Named<Value> (&names)[Count], Value value)
{
    return std::ranges::find(names, value, &Named<Value>::value)->key;
}

} // namespace sim
