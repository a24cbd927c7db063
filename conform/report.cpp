#include "report.h"

namespace conform {

void Line::violated(const std::string& came, Verdict verdict)
{
    if (violations_++ == 0) {
        finding_.came = came;
        finding_.verdict = verdict;
    }
}

void Line::close(const std::string& came, Verdict verdict)
{
    if (holds()) {
        finding_.came = came;
        finding_.verdict = verdict;
    } else if (violations_ > 1) {
        finding_.came += " (and " + std::to_string(violations_ - 1) + " more)";
    }
    report(finding_);
}

} // namespace conform
