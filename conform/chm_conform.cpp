// chm-conform: checks a platform's libraries against what the MIB modules expect of them.

#include "help.h"
#include "output.h"
#include "runner.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <filesystem>

namespace {

using conform::Finding, conform::Options, conform::Verdict;
using nlohmann::json;
namespace fs = std::filesystem;

enum ExitCode { ALL_HOLDS = 0, SOME_FAILED = 1, WRONG_USAGE = 2, NOT_LOADED = 3 };

/// A file of the lab switch: as built beside this program, or as installed.
std::string lab_file(const fs::path& built, const fs::path& installed)
{
    const fs::path beside = fs::read_symlink("/proc/self/exe").parent_path() / built;
    return fs::exists(beside) ? fs::canonical(beside) : installed;
}

/// A word of the agent's configuration.
std::string quoted(const std::string& word)
{
    std::string text = "\"";
    for (const char c : word) {
        text += c == '"' || c == '\\' ? std::string("\\") + c : std::string(1, c);
    }
    return text + "\"";
}

void add_lab(Options& options, const std::string& chassis)
{
    options.libraries.push_back(
        lab_file("../lib/libchmplatform.so", LAB_DIRECTORY "/libchmplatform.so"));
    options.modules.insert(options.modules.begin(), "chmplatform");
    const std::string file = chassis.empty() ? lab_file("../../../chassis/ten-slot.toml",
                                                        LAB_CHASSIS_DIRECTORY "/ten-slot.toml")
                                             : chassis;
    options.lines.insert(options.lines.begin(), "chmChassis " + quoted(file));
}

std::string painted(Verdict verdict)
{
    const std::string word = name_of(verdict);
    switch (verdict) {
    case Verdict::ok:
        return paint(Paint::good, word);
    case Verdict::warning:
        return paint(Paint::warning, word);
    case Verdict::failed:
        return paint(Paint::bad, word);
    default:
        return paint(Paint::faint, word);
    }
}

/// The line of a request's duration, which a walk multiplies by its values.
Finding time_finding(const std::string& call, std::vector<std::chrono::microseconds> times)
{
    using std::chrono::milliseconds;
    std::ranges::sort(times);
    const auto median = times[times.size() / 2];
    const auto worst = times.back();
    char came[96];
    std::snprintf(came, sizeof came, "median %.3f ms, worst %.3f ms",
                  static_cast<double>(median.count()) / 1000,
                  static_cast<double>(worst.count()) / 1000);
    const bool slow = median > milliseconds(20) || worst > milliseconds(500);
    return {slow ? Verdict::warning : Verdict::ok, "time." + call,
            std::to_string(times.size()) + " calls", came,
            "the agent waits: median at most 20 ms, worst 500 ms, or a walk's manager gives up"};
}

bool crosses_processes(const std::string& call)
{
    return call.starts_with("cmi_") || call.starts_with("pm_");
}

void print(const std::vector<Finding>& findings)
{
    Columns columns;
    columns.add({"", "check", "asked", "came", "meaning"});
    for (const Finding& finding : findings) {
        columns.add({painted(finding.verdict), printable(finding.check), printable(finding.asked),
                     printable(finding.came), finding.means});
    }
    columns.print();
    std::string summary;
    for (const Verdict verdict :
         {Verdict::ok, Verdict::absent, Verdict::skipped, Verdict::warning, Verdict::failed}) {
        if (const auto count = std::ranges::count(findings, verdict, &Finding::verdict)) {
            summary +=
                (summary.empty() ? "" : ", ") + std::to_string(count) + " " + name_of(verdict);
        }
    }
    std::printf("%zu checks: %s\n", findings.size(), summary.c_str());
}

int check(const Options& options, bool as_json)
{
    std::vector<Finding> findings;
    conform::Outcome outcome =
        run_checks(options, [&](const Finding& finding) { findings.push_back(finding); });
    for (auto& [call, times] : outcome.times) {
        if (crosses_processes(call)) {
            findings.push_back(time_finding(call, std::move(times)));
        }
    }
    const auto failures = std::ranges::count(findings, Verdict::failed, &Finding::verdict);
    if (as_json) {
        const json result = {{"findings", findings}, {"failures", failures}};
        std::puts(result.dump(2).c_str());
    } else {
        print(findings);
    }
    if (!outcome.loaded) {
        return NOT_LOADED;
    }
    return failures == 0 ? ALL_HOLDS : SOME_FAILED;
}

int run(int argc, char** argv)
{
    CLI::App app{
        "Checks a platform's libraries against what the MIB modules expect of them, without "
        "an agent.",
        "chm-conform"};
    app.formatter(std::make_shared<NarrowHelp>());
    Options options;
    std::string chassis;
    bool lab = false;
    bool as_json = false;
    app.add_option("LIBRARY", options.libraries, "Platform libraries, in the order to load them");
    app.add_flag("--lab", lab, "Check the simulated switch, after the libraries given");
    app.add_option("--chassis", chassis, "Its chassis file")
        ->needs("--lab")
        ->check(CLI::ExistingFile);
    app.add_option("--module", options.modules, "Call init_NAME of the libraries, as dlmod does")
        ->type_name("NAME")
        ->allow_extra_args(false);
    app.add_option("--line", options.lines, "A line of snmpd.conf for these modules")
        ->allow_extra_args(false);
    app.add_option("--prepare", options.prepare, "Run a shell command before the checks")
        ->type_name("COMMAND");
    app.add_option("--trigger", options.trigger, "Run a shell command that raises events")
        ->type_name("COMMAND");
    app.add_option("--event-time", options.event_seconds, "Time to wait for events")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.0, 3600.0))
        ->capture_default_str();
    app.add_option("--limit", options.limit_seconds, "Time limit of each call")
        ->type_name("SECONDS")
        ->check(CLI::Range(1, 86400))
        ->capture_default_str();
    app.add_flag("--write", options.write, "Also write, and restore what was written");
    app.add_flag("--json", as_json, "Print the result as JSON");
    app.footer("Exit status: 0 all holds, 1 something failed, 2 wrong usage, 3 not loaded.\n"
               "Example:\n  chm-conform ./libmyplatform.so --write\n"
               "  chm-conform --lab --chassis chassis/small.toml");
    try {
        app.parse(argc, argv);
        if (lab) {
            add_lab(options, chassis);
        }
        if (options.libraries.empty()) {
            throw CLI::RequiredError("LIBRARY or --lab");
        }
    } catch (const CLI::Success& help) {
        return app.exit(help);
    } catch (const CLI::ParseError& error) {
        std::fprintf(stderr, "chm-conform: %s (see chm-conform --help)\n",
                     plain_error(error).c_str());
        return WRONG_USAGE;
    }
    return check(options, as_json);
}

} // namespace

int main(int argc, char** argv)
{
    try {
        return run(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "chm-conform: %s\n", error.what());
        return NOT_LOADED;
    }
}
