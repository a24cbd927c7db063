/// The platform manager and the port manager of the benchmarks: every call answers in constant time
/// with a malloc'd copy of one record in wire order. Preloaded into an agent, they replace those of
/// the simulated switch; everything else stays the same.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

namespace constant_platform {

using Calls = std::vector<std::function<void()>>;

/// Records the calls that leave the agent during an action, for repetition.
Calls calls_of(const std::function<void()>& action);

} // namespace constant_platform
