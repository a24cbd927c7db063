/// Runs the checks in processes of their own: a platform that crashes or hangs ends its check, and
/// the next process goes on with the check after it.
#pragma once

#include "checks.h"
#include "platform_calls.h"
#include "report.h"

#include <functional>

namespace conform {

/// What came of all checks.
struct Outcome {
    bool loaded = true; ///< false when the libraries could not be loaded and started
    CallTimes times{};
};

/// Loads the libraries and runs all checks. @param found is called with each finding
Outcome run_checks(const Options& options, const std::function<void(const Finding&)>& found);

} // namespace conform
