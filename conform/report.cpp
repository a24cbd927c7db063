#include "report.h"

#include <algorithm>
#include <iterator>

namespace conform {
namespace {

/// In the order of Verdict.
constexpr const char* verdict_names[] = {"ok", "absent", "skipped", "warning", "FAILED"};

} // namespace

const char* name_of(Verdict verdict)
{
    return verdict_names[static_cast<size_t>(verdict)];
}

void to_json(nlohmann::json& object, const Finding& finding)
{
    object = {{"verdict", name_of(finding.verdict)},
              {"check", finding.check},
              {"asked", finding.asked},
              {"came", finding.came},
              {"means", finding.means}};
}

void from_json(const nlohmann::json& object, Finding& finding)
{
    const auto* name = std::ranges::find(verdict_names, object.at("verdict").get<std::string>());
    finding = {static_cast<Verdict>(std::distance(std::begin(verdict_names), name)),
               object.at("check"), object.at("asked"), object.at("came"), object.at("means")};
}

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
