#include "play.h"

#include "output.h"
#include "switch_client.h"
#include "verb.h"

#include <toml++/toml.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <stdexcept>
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

/// Reads one file. Every complaint names the line of what it is about.
class Reader {
public:
    explicit Reader(std::string file) : file_(std::move(file)) {}

    Scenario read() const
    {
        const toml::table root = parse();
        check_keys(root, {"description", "step"});
        Scenario scenario{root["description"].value_or(std::string()), {}};
        const toml::array* steps = root["step"].as_array();
        if (steps == nullptr || steps->empty()) {
            fail(root.source(), "there is no [[step]]");
        }
        for (const toml::node& node : *steps) {
            Step step = read_step(node);
            if (!scenario.steps.empty() && step.at < scenario.steps.back().at) {
                fail(node.source(), "this step is before the one above it");
            }
            scenario.steps.push_back(std::move(step));
        }
        return scenario;
    }

private:
    [[noreturn]] void fail(const toml::source_region& where, const std::string& what) const
    {
        throw std::runtime_error(file_ + ":" + std::to_string(std::max(where.begin.line, 1U)) +
                                 ": " + what);
    }

    toml::table parse() const
    {
        std::ifstream stream(file_);
        if (stream.peek() == std::ifstream::traits_type::eof() && !stream.eof()) {
            throw std::runtime_error(file_ + ": " + std::strerror(errno));
        }
        try {
            return toml::parse(stream, file_);
        } catch (const toml::parse_error& error) {
            fail(error.source(), std::string(error.description()));
        }
    }

    void check_keys(const toml::table& table, std::initializer_list<std::string_view> known) const
    {
        for (const auto& [key, value] : table) {
            if (std::ranges::find(known, key.str()) == known.end()) {
                fail(key.source(), "unknown key '" + std::string(key.str()) + "'");
            }
        }
    }

    Step read_step(const toml::node& node) const
    {
        if (!node.is_table()) {
            fail(node.source(), "a step is a table");
        }
        const toml::table& table = *node.as_table();
        check_keys(table, {"at", "do"});
        const auto at = table["at"].value<double>();
        if (!at || !(*at >= 0 && *at <= 1e6)) {
            fail(node.source(), "a step has 'at', its time in seconds from 0 to 1000000");
        }
        const toml::array* words = table["do"].as_array();
        if (words == nullptr || words->empty() || !words->is_homogeneous(toml::node_type::string)) {
            fail(node.source(), "a step has 'do', the words of a command");
        }
        Step step{.at = *at, .line = words->source().begin.line, .command = {}, .request = {}};
        std::vector<std::string> arguments;
        for (const toml::node& word : *words) {
            arguments.push_back(word.as_string()->get());
            step.command += (step.command.empty() ? "" : " ") + arguments.back();
        }
        step.request = request_of(std::move(arguments), *words);
        return step;
    }

    /// The request of a command, as on the command line.
    json request_of(std::vector<std::string> words, const toml::node& where) const
    {
        json request;
        CLI::App app;
        app.set_help_flag();
        app.require_subcommand(1, 1);
        add_verbs(app, [&](const Verb& /*verb*/, const json& made) { request = made; });
        std::ranges::reverse(words); // as the parser takes them
        try {
            app.parse(std::move(words));
        } catch (const CLI::Error& error) {
            fail(where.source(), error.what());
        }
        return request;
    }

    std::string file_;
};

} // namespace

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
