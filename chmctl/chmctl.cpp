// chmctl: shows and changes a running simulated switch.

#include "completion.h"
#include "files/chassis_file.h"
#include "fleet.h"
#include "help.h"
#include "output.h"
#include "play.h"
#include "switch_client.h"
#include "verb.h"
#include "watch.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <functional>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <unistd.h>

namespace {

using nlohmann::json;

enum ExitCode { DONE = 0, REFUSED = 1, WRONG_USAGE = 2, NO_SWITCH = 3 };

void check_chassis(const std::string& file)
{
    const sim::Chassis chassis = sim::load_chassis(file);
    const auto units = [&](sim::UnitType type) {
        return std::ranges::count_if(chassis.units(),
                                     [=](const auto& one) { return one.second.type == type; });
    };
    const auto entities = [&](auto&& counts) {
        return std::ranges::count_if(chassis.entities(),
                                     [=](const auto& one) { return counts(one.second); });
    };
    std::printf("%s: good, %zu entities; modules %td, power supplies %td, fan trays %td, sensors "
                "%td, ports %td, transceivers %td\n",
                file.c_str(), chassis.entities().size(), units(sim::UnitType::module),
                units(sim::UnitType::power_supply), units(sim::UnitType::fan_tray),
                entities([](const sim::Entity& one) { return one.sensor.has_value(); }),
                entities([](const sim::Entity& one) { return one.port.has_value(); }),
                entities([](const sim::Entity& one) {
                    return one.port && one.port->transceiver.has_value();
                }));
}

/// Checks a file by its content.
void check_file(const std::string& file)
{
    if (is_scenario(file)) {
        const auto [steps, seconds] = check_scenario(file);
        std::printf("%s: good, a scenario of %zu steps in %g s\n", file.c_str(), steps, seconds);
    } else {
        check_chassis(file);
    }
}

/// Reports errors, each on a line.
int complain(const std::string& what, ExitCode code)
{
    std::istringstream lines(what);
    for (std::string line; std::getline(lines, line);) {
        std::fprintf(stderr, "chmctl: %s\n", printable(line).c_str());
    }
    return code;
}

/// Prints the result of a request.
void print_result(const Verb& verb, const json& result, bool raw)
{
    if (!raw) {
        verb.print(result);
    } else {
        std::puts(result.dump(2).c_str());
    }
    std::fflush(stdout);
}

/// Prints completions, each on a line. Fails where a file is to be named.
int print_completions(const std::optional<std::vector<std::string>>& words)
{
    for (const std::string& word : words.value_or(std::vector<std::string>())) {
        std::puts(word.c_str());
    }
    return words ? DONE : REFUSED;
}

int run(int argc, char** argv)
{
    CLI::App app{"Shows and changes a running simulated switch.", "chmctl"};
    app.formatter(std::make_shared<NarrowHelp>());
    app.require_subcommand(0, 1);
    app.fallthrough();
    bool raw = false;
    std::string socket;
    std::string name;
    uint32_t port = 0;
    app.add_flag("--json", raw, "Print the result as JSON");
    auto* named = app.add_option("--socket", socket,
                                 "The switch's control socket; by default that of "
                                 "the only running switch")
                      ->envname("CHM_SOCKET");
    auto* numbered = app.add_option("--port", port, "The UDP port of the switch, if several run")
                         ->check(CLI::Range(1, 65535))
                         ->excludes(named);
    app.add_option("--switch", name, "The name of the switch, if several run")
        ->type_name("NAME")
        ->excludes(named)
        ->excludes(numbered);

    const auto chosen = [&, named] {
        if (named->count() != 0) {
            return socket;
        }
        return name.empty() ? running_switch(port) : running_switch_named(name);
    };
    const auto requests = add_verbs(app, [&](const Verb& verb, json request) {
        const std::string where = chosen();
        json result = ask_switch(where, request);
        print_result(verb, result, raw);
        while (request.contains("after")) {
            std::this_thread::sleep_for(std::chrono::milliseconds(200));
            request["after"] = result.empty() ? request["after"] : result.back().at("number");
            result = ask_switch(where, request);
            if (!result.empty()) {
                print_result(verb, result, raw);
            }
        }
    });
    /// Runs a command whose output is for people alone.
    const auto run_as_text = [&raw](CLI::App& command, std::function<void()> action) {
        command.final_callback([&raw, &command, action = std::move(action)] {
            if (raw) {
                throw CLI::ValidationError("--json", command.get_name() + " prints no JSON");
            }
            action();
        });
    };
    double seconds = 2;
    uint32_t count = 0;
    CLI::App* view = app.add_subcommand("watch", "Show the state of the switch continuously");
    view->group("Views and scenarios");
    view->add_option("--every", seconds, "Interval between updates")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.1, 3600.0))
        ->capture_default_str();
    auto* counted =
        view->add_option("--count", count, "Number of updates; by default until q or Ctrl-C")
            ->type_name("N")
            ->check(CLI::PositiveNumber);
    view->add_flag_callback(
            "--once", [&] { count = 1; }, "Show the state once")
        ->excludes(counted);
    run_as_text(*view, [&] { watch(chosen(), seconds, count); });
    add_example(*view, "--once", switch_options);

    std::string file;
    double speed = 1;
    CLI::App* scenario = app.add_subcommand("play", "Play a scenario of timed commands");
    scenario->group("Views and scenarios");
    scenario->add_option("FILE", file, "The scenario file")->required();
    scenario->add_option("--speed", speed, "Speed relative to the file")
        ->type_name("TIMES")
        ->check(CLI::Range(0.001, 1e6))
        ->capture_default_str();
    run_as_text(*scenario, [&] { play(file, speed, chosen()); });
    add_example(*scenario, "scenarios/fan-failure.toml --speed 2", switch_options);

    CLI::App* completion = app.add_subcommand(
        "completion", "Print a script that lets bash complete the words of chmctl");
    completion->group("Files");
    run_as_text(*completion, [] { std::fputs(bash_completion, stdout); });
    completion->footer("Example:\n  source <(chmctl completion)");

    CLI::App* fleet = app.add_subcommand("fleet", "Show all running switches of this user");
    fleet->group("Views and scenarios");
    fleet->final_callback([&raw] { show_fleet(raw); });
    add_example(*fleet, "", "--json");

    // For the script of bash_completion.
    std::string line;
    std::string word;
    CLI::App* complete = app.add_subcommand("complete", "Print completions of a word");
    complete->group("");
    complete->add_option("LINE", line, "The command line up to the cursor")->required();
    complete->add_option("WORD", word, "What a completion replaces of it")->required();

    CLI::App* check =
        app.add_subcommand("check", "Check a chassis file or a scenario; needs no switch");
    check->group("Files");
    check->add_option("FILE", file, "The file")->required();
    run_as_text(*check, [&] { check_file(file); });
    add_example(*check, "chassis/small.toml");

    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& help) {
        return app.exit(help);
    } catch (const CLI::ParseError& error) {
        return complain(usage_error(app, error), WRONG_USAGE);
    }
    if (app.get_subcommands().empty()) {
        return complain("no verb is given; see chmctl --help", WRONG_USAGE);
    }
    if (*complete) {
        return print_completions(completions(app, requests, line, word.size(), chosen));
    }
    return std::fflush(stdout) == 0 ? DONE : complain("cannot write the result", REFUSED);
}

} // namespace

int main(int argc, char** argv)
{
    // The reader of the output may stop reading at any line.
    std::signal(SIGPIPE, [](int) { _exit(DONE); });
    try {
        return run(argc, argv);
    } catch (const NoSwitch& error) {
        return complain(error.what(), NO_SWITCH);
    } catch (const std::exception& error) {
        return complain(error.what(), REFUSED);
    }
}
