// chmctl: looks at a running simulated switch and changes it.

#include "chassis_file.h"
#include "switch_client.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <functional>
#include <iostream>
#include <memory>
#include <unistd.h>

namespace {

using nlohmann::json;

enum ExitCode { DONE = 0, REFUSED = 1, WRONG_USAGE = 2, NO_SWITCH = 3 };

/// Texts of the switch and of files may hold anything; a terminal gets no control characters.
std::string printable(std::string text)
{
    std::ranges::replace_if(
        text, [](unsigned char c) { return c < ' ' || c == 0x7f; }, '?');
    return text;
}

std::string text_of(const json& object, const char* key)
{
    return printable(object.at(key).get<std::string>());
}

/// Columns that a UTF-8 text takes.
size_t width(const std::string& text)
{
    return static_cast<size_t>(
        std::ranges::count_if(text, [](char c) { return (c & 0xc0) != 0x80; }));
}

/// One line of the inventory's tree.
struct TreeLine {
    uint32_t index;
    std::string name; ///< indented by its depth
    std::string description;
};

void add_subtree(const std::multimap<uint32_t, const json*>& children, uint32_t parent,
                 size_t depth, std::vector<TreeLine>& lines)
{
    const auto [first, last] = children.equal_range(parent);
    for (auto child = first; child != last; ++child) {
        const json& entity = *child->second;
        const auto index = entity.at("index").get<uint32_t>();
        lines.push_back({index, std::string(2 * depth, ' ') + text_of(entity, "name"),
                         text_of(entity, "description")});
        add_subtree(children, index, depth + 1, lines);
    }
}

void print_inventory(const json& entities)
{
    std::multimap<uint32_t, const json*> children;
    for (const json& entity : entities) {
        children.emplace(entity.at("parent").get<uint32_t>(), &entity);
    }
    std::vector<TreeLine> lines;
    add_subtree(children, 0, 0, lines);
    size_t widest = 0;
    for (const TreeLine& line : lines) {
        widest = std::max(widest, width(line.name));
    }
    for (const TreeLine& line : lines) {
        const std::string gap(widest - width(line.name) + 2, ' ');
        std::printf("%6u  %s%s%s\n", line.index, line.name.c_str(), gap.c_str(),
                    line.description.c_str());
    }
}

void print_history(const json& records)
{
    for (const json& record : records) {
        std::printf("%s  %s\n", text_of(record, "time").c_str(), text_of(record, "text").c_str());
    }
}

void print_trace(const json& switches)
{
    for (const char* name : {"history", "debug"}) {
        std::printf("%s %s\n", name, switches.at(name).get<bool>() ? "on" : "off");
    }
}

void print_status(const json& status)
{
    if (status.contains("chassis")) {
        std::printf("chassis      %s\n", text_of(status, "chassis").c_str());
        std::printf("entities     %zu\n", status.at("entities").get<size_t>());
        std::printf("last change  %s\n", text_of(status, "last-change").c_str());
    } else {
        std::puts("chassis      none");
    }
    std::printf("process      %d\n", status.at("pid").get<int>());
    print_trace(status.at("trace"));
}

void print_nothing(const json& /*result*/) {}

using Arguments = std::shared_ptr<json>;

/// Adds an argument of the command line that goes into the request under its name.
template <typename Value>
CLI::Option* add_argument(CLI::App& command, const std::string& option, const Arguments& arguments,
                          const char* key, const char* help)
{
    return command.add_option_function<Value>(
        option, [=](const Value& value) { (*arguments)[key] = value; }, help);
}

void no_options(CLI::App& /*command*/, const Arguments& /*arguments*/) {}

void set_options(CLI::App& command, const Arguments& arguments)
{
    command
        .add_option_function<std::string>(
            "ENTITY",
            [=](const std::string& entity) {
                uint32_t index = 0;
                const bool number = CLI::detail::lexical_cast(entity, index);
                (*arguments)["entity"] = number ? json(index) : json(entity);
            },
            "The entity, by its index or its name")
        ->required();
    add_argument<std::string>(command, "FIELD", arguments, "field",
                              "alias, asset-id, second-serial or description")
        ->required();
    add_argument<std::string>(command, "VALUE", arguments, "value", "Its new value")->required();
}

void trace_options(CLI::App& command, const Arguments& arguments)
{
    add_argument<std::string>(command, "WHAT", arguments, "what", "history, debug or all")
        ->required()
        ->check(CLI::IsMember({"history", "debug", "all"}));
    command
        .add_option_function<std::string>(
            "STATE", [=](const std::string& state) { (*arguments)["on"] = state == "on"; },
            "on or off")
        ->required()
        ->check(CLI::IsMember({"on", "off"}));
}

void history_options(CLI::App& command, const Arguments& arguments)
{
    (*arguments)["last"] = 50;
    add_argument<uint32_t>(command, "--last", arguments, "last", "Number of records")
        ->type_name("N")
        ->default_str("50");
}

/// A command that asks the switch: the verb of the request, its arguments, and how to print.
struct Verb {
    const char* name;
    const char* help;
    void (*add_options)(CLI::App& command, const Arguments& arguments);
    void (*print)(const json& result);
};

constexpr Verb verbs[] = {
    {"inventory", "Show what the chassis is made of", no_options, print_inventory},
    {"set", "Change a text of an entity", set_options, print_nothing},
    {"announce", "Announce a change of the inventory", no_options, print_nothing},
    {"trace", "Switch tracing on or off", trace_options, print_trace},
    {"history", "Show the event history", history_options, print_history},
    {"status", "Show how the switch is", no_options, print_status},
};

void check_chassis(const std::string& file)
{
    const sim::Chassis chassis = sim::load_chassis(file);
    std::printf("%s: good, %zu entities\n", file.c_str(), chassis.entities().size());
}

int complain(const char* what, ExitCode code)
{
    std::fprintf(stderr, "chmctl: %s\n", printable(what).c_str());
    return code;
}

int run(int argc, char** argv)
{
    CLI::App app{"Looks at a running simulated switch and changes it."};
    app.require_subcommand(0, 1);
    app.fallthrough();
    bool raw = false;
    std::string socket = default_socket();
    app.add_flag("--json", raw, "Print the raw result");
    app.add_option("--socket", socket, "The switch's control socket")
        ->envname("CHM_SOCKET")
        ->capture_default_str();

    for (const Verb& verb : verbs) {
        CLI::App* command = app.add_subcommand(verb.name, verb.help);
        auto request = std::make_shared<json>(json{{"verb", verb.name}});
        verb.add_options(*command, request);
        command->final_callback([=, &verb, &raw, &socket] {
            const json result = ask_switch(socket, *request);
            if (raw) {
                std::puts(result.dump(2).c_str());
            } else {
                verb.print(result);
            }
        });
    }
    std::string file;
    CLI::App* check = app.add_subcommand("check", "Check a chassis file, without a switch");
    check->add_option("FILE", file, "The chassis file")->required();
    check->final_callback([&] { check_chassis(file); });

    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& help) {
        return app.exit(help);
    } catch (const CLI::ParseError& error) {
        return complain(error.what(), WRONG_USAGE);
    }
    if (app.get_subcommands().empty()) {
        return complain("no command is given; see chmctl --help", WRONG_USAGE);
    }
    return std::fflush(stdout) == 0 ? DONE : complain("cannot write the result", REFUSED);
}

} // namespace

int main(int argc, char** argv)
{
    // Whoever reads the output may stop reading at any line.
    std::signal(SIGPIPE, [](int) { _exit(DONE); });
    try {
        return run(argc, argv);
    } catch (const NoSwitch& error) {
        return complain(error.what(), NO_SWITCH);
    } catch (const std::exception& error) {
        return complain(error.what(), REFUSED);
    }
}
