#include "play.h"

#include "completion.h"
#include "files/toml_reader.h"
#include "output.h"
#include "switch_client.h"
#include "verb.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <optional>
#include <thread>
#include <vector>

using nlohmann::json;

namespace {

struct Step {
    double at; ///< seconds from the start
    size_t line;
    std::string command;
    json request;
};

struct Scenario {
    std::string description;
    std::vector<Step> steps;
};

/// Reads one scenario file.
class Reader : sim::TomlReader {
public:
    explicit Reader(const std::string& file) : TomlReader(file) {}

    Scenario read() const
    {
        return read_all([this] {
            Scenario scenario;
            if (const toml::node* node = root().get("description")) {
                attempt([&] { scenario.description = text(*node, "description"); });
            }
            for_each_table(root().get("step"), "step", [&](const toml::table& table) {
                Step step = read_step(table);
                if (!scenario.steps.empty() && step.at < scenario.steps.back().at) {
                    fail(table.source(), "this step is before the one above it");
                }
                stop_unless_sound();
                scenario.steps.push_back(std::move(step));
            });
            check_keys(root(), {"description", "step"});
            if (scenario.steps.empty()) {
                fail(root().source(), "there is no [[step]]");
            }
            return scenario;
        });
    }

private:
    Step read_step(const toml::table& table) const
    {
        check_keys(table, {"at", "do"});
        const double at = real(table, "at", std::nullopt, 0, 1e6);
        const toml::node& words = required(table, "do", "a step");
        Step step{.at = at, .line = words.source().begin.line, .command = {}, .request = {}};
        if (!words.is_homogeneous(toml::node_type::string)) {
            report(words.source(), "'do' is not a list of the words of a command");
            return step;
        }
        std::vector<std::string> arguments;
        for (const toml::node& word : *words.as_array()) {
            arguments.push_back(text(word, "do"));
            step.command += (step.command.empty() ? "" : " ") + shell_word(arguments.back());
        }
        step.request = request_of(std::move(arguments), words);
        return step;
    }

    /// The request of a command, as on the command line.
    json request_of(std::vector<std::string> words, const toml::node& where) const
    {
        json request;
        CLI::App app;
        app.set_help_flag();
        app.require_subcommand(0, 1);
        add_verbs(app, [&](const Verb& /*verb*/, const json& made) { request = made; });
        std::ranges::reverse(words); // as the parser takes them
        try {
            app.parse(std::move(words));
        } catch (const CLI::ParseError& error) {
            report(where.source(), usage_error(app, error));
        }
        return request;
    }
};

} // namespace

bool is_scenario(const std::string& file)
{
    return sim::TomlReader(file).root().contains("step");
}

std::pair<size_t, double> check_scenario(const std::string& file)
{
    const Scenario scenario = Reader(file).read();
    return {scenario.steps.size(), scenario.steps.back().at};
}

void play(const std::string& file, double speed, const std::string& socket)
{
    const Scenario scenario = Reader(file).read();
    if (!scenario.description.empty()) {
        std::puts(paint(Paint::heading, printable(scenario.description)).c_str());
    }
    const auto start = std::chrono::steady_clock::now();
    for (const Step& step : scenario.steps) {
        std::this_thread::sleep_until(start + std::chrono::duration<double>(step.at / speed));
        std::printf("%7.1f s  %s\n", step.at, printable(step.command).c_str());
        std::fflush(stdout);
        try {
            ask_switch(socket, step.request);
        } catch (const Refused& refused) {
            throw Refused(file + ":" + std::to_string(step.line) + ": " + refused.what());
        }
    }
}
