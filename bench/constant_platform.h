/// The platform manager and the port manager as the benchmarks play them: every call answers in
/// constant time, with a malloc'd copy of one record, turned to wire order. Preloaded into an agent
/// it takes the place of the simulated switch's; all else stays as there.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

namespace constant_platform {

using Calls = std::vector<std::function<void()>>;

/// The calls that leave the agent while an action runs, as calls that do the same again.
Calls calls_of(const std::function<void()>& action);

} // namespace constant_platform
