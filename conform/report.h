/// What the checks report: a line each.
#pragma once

#include <nlohmann/json.hpp>

#include <cstddef>
#include <string>

namespace conform {

enum class Verdict {
    ok,
    absent,  ///< the platform has nothing of the kind, as it may
    skipped, ///< could not be checked
    warning,
    failed,
};

/// The name of a verdict, as it is printed.
const char* name_of(Verdict verdict);

/// One line of the report.
struct Finding {
    Verdict verdict = Verdict::ok;
    std::string check; ///< its name, such as "module.order"
    std::string asked;
    std::string came;
    std::string means; ///< the rule, and what follows when it is broken
};

void to_json(nlohmann::json& object, const Finding& finding);
void from_json(const nlohmann::json& object, Finding& finding);

/// Reports a line from a check.
void report(const Finding& finding);

/// One line in the making: every violation is counted, the first one shown.
class Line {
public:
    Line(std::string check, std::string asked, std::string means)
        : finding_{Verdict::ok, std::move(check), std::move(asked), {}, std::move(means)}
    {
    }

    void violated(const std::string& came, Verdict verdict = Verdict::failed);
    bool holds() const { return violations_ == 0; }

    /// Reports the line. @param came what came when nothing was violated
    void close(const std::string& came, Verdict verdict = Verdict::ok);

private:
    Finding finding_;
    size_t violations_ = 0;
};

} // namespace conform
