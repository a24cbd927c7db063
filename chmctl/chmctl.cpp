// chmctl: looks at a running simulated switch and changes it.

#include "chassis_file.h"
#include "switch_client.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cinttypes>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <functional>
#include <iostream>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

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

std::string right_aligned(uint32_t number, size_t columns)
{
    const std::string digits = std::to_string(number);
    return std::string(columns - std::min(columns, digits.size()), ' ') + digits;
}

/// Lines of texts under each other, each column as wide as its widest text.
class Columns {
public:
    void add(std::vector<std::string> line)
    {
        widths_.resize(std::max(widths_.size(), line.size()));
        for (size_t i = 0; i < line.size(); ++i) {
            widths_[i] = std::max(widths_[i], width(line[i]));
        }
        lines_.push_back(std::move(line));
    }

    void print() const
    {
        for (const auto& line : lines_) {
            std::string text;
            for (size_t i = 0; i < line.size(); ++i) {
                text += line[i] + std::string(widths_[i] - width(line[i]) + 2, ' ');
            }
            std::puts(text.substr(0, text.find_last_not_of(' ') + 1).c_str());
        }
    }

private:
    std::vector<std::vector<std::string>> lines_;
    std::vector<size_t> widths_;
};

void add_subtree(const std::multimap<uint32_t, const json*>& children, uint32_t parent,
                 size_t depth, Columns& columns)
{
    const auto [first, last] = children.equal_range(parent);
    for (auto child = first; child != last; ++child) {
        const json& entity = *child->second;
        const auto index = entity.at("index").get<uint32_t>();
        columns.add({right_aligned(index, 6), std::string(2 * depth, ' ') + text_of(entity, "name"),
                     text_of(entity, "description")});
        add_subtree(children, index, depth + 1, columns);
    }
}

void print_inventory(const json& entities)
{
    std::multimap<uint32_t, const json*> children;
    for (const json& entity : entities) {
        children.emplace(entity.at("parent").get<uint32_t>(), &entity);
    }
    Columns columns;
    add_subtree(children, 0, 0, columns);
    columns.print();
}

void print_units(const json& units)
{
    Columns columns;
    columns.add({"index", "name", "status", "admin", " watts"});
    for (const json& unit : units) {
        columns.add({right_aligned(unit.at("index").get<uint32_t>(), 5), text_of(unit, "name"),
                     text_of(unit, "status"), text_of(unit, "admin-status"),
                     right_aligned(unit.at("watts").get<uint32_t>(), 6),
                     unit.at("active").get<bool>() ? "active supervisor" : ""});
    }
    columns.print();
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

void print_marker(const json& status)
{
    std::printf("marker       %s\n", status.at("marker").get<bool>() ? "on" : "off");
}

void print_status(const json& status)
{
    if (status.contains("chassis")) {
        std::printf("chassis      %s\n", text_of(status, "chassis").c_str());
        std::printf("type code    %u\n", status.at("type-code").get<uint32_t>());
        std::printf("entities     %zu\n", status.at("entities").get<size_t>());
        std::printf("last change  %s\n", text_of(status, "last-change").c_str());
    } else {
        std::puts("chassis      none");
    }
    std::printf("process      %d\n", status.at("pid").get<int>());
    std::printf("heartbeats   %" PRIu64 "\n", status.at("heartbeats").get<uint64_t>());
    print_marker(status);
    print_trace(status.at("trace"));
}

void print_redundancy(const json& result)
{
    for (const char* role : {"active", "standby"}) {
        const std::string name = result.at(role).is_null() ? "none" : text_of(result, role);
        std::printf("%-12s %s\n", role, name.c_str());
    }
    for (const char* number : {"state", "switchovers", "last-reason", "last-action"}) {
        std::printf("%-12s %d\n", number, result.at(number).get<int>());
    }
}

/// What LEDs show, from 1 on.
constexpr const char* colours[] = {"off", "green", "amber", "red", "blinking-green"};

void print_leds(const json& leds)
{
    for (const json& led : leds) {
        const auto value = led.at("value").get<int>();
        const bool known = value >= 1 && value <= static_cast<int>(std::size(colours));
        std::printf("%6u.%u  %-14s  %s\n", led.at("index").get<uint32_t>(),
                    led.at("led").get<uint32_t>(),
                    known ? colours[value - 1] : std::to_string(value).c_str(),
                    text_of(led, "name").c_str());
    }
}

/// A quantity in its unit, without zeros at its end.
std::string quantity(const json& value, const std::string& unit)
{
    char digits[32];
    std::snprintf(digits, sizeof digits, "%.10g ", value.get<double>());
    return digits + unit;
}

/// A threshold in a few words; a star marks one that the value is beyond.
std::string threshold_text(const json& threshold, const std::string& unit)
{
    return text_of(threshold, "relation") + " " + quantity(threshold.at("value"), unit) + " " +
           text_of(threshold, "severity") + (threshold.at("beyond").get<bool>() ? " *" : "") +
           (threshold.at("notify").get<bool>() ? "" : " (not notified)");
}

void print_sensors(const json& sensors)
{
    Columns columns;
    columns.add({"index", "name", "value", "status", "", "thresholds"});
    for (const json& sensor : sensors) {
        const std::string unit = text_of(sensor, "unit");
        std::string thresholds;
        for (const json& threshold : sensor.at("thresholds")) {
            thresholds += (thresholds.empty() ? "" : ", ") + threshold_text(threshold, unit);
        }
        columns.add({right_aligned(sensor.at("index").get<uint32_t>(), 5), text_of(sensor, "name"),
                     quantity(sensor.at("value"), unit), text_of(sensor, "status"),
                     sensor.at("by-hand").get<bool>() ? "by hand" : "", thresholds});
    }
    columns.print();
}

/// The transceivers, and below them all that they measure.
void print_transceivers(const json& transceivers)
{
    Columns ports;
    ports.add(
        {"index", "port", "type", "model", "serial", "status", "diagnostics", "lanes", "reads"});
    Columns readings;
    readings.add({"index", "port", "quantity", "value", "", "high alarm", "high warning",
                  "low alarm", "low warning"});
    for (const json& one : transceivers) {
        ports.add({right_aligned(one.at("index").get<uint32_t>(), 5), text_of(one, "port"),
                   text_of(one, "type"), text_of(one, "model"), text_of(one, "serial"),
                   text_of(one, "status"), text_of(one, "diagnostics"),
                   std::to_string(one.at("lanes").get<uint32_t>()),
                   std::to_string(one.at("reads").get<uint64_t>())});
        for (const json& reading : one.at("readings")) {
            const std::string unit = text_of(reading, "unit");
            std::vector<std::string> line = {right_aligned(reading.at("index").get<uint32_t>(), 5),
                                             text_of(one, "port"), text_of(reading, "quantity"),
                                             reading.at("no-light").get<bool>()
                                                 ? "no light"
                                                 : quantity(reading.at("value"), unit),
                                             reading.at("by-hand").get<bool>() ? "by hand" : ""};
            for (const json& threshold : reading.at("thresholds")) {
                line.push_back(quantity(threshold.at("value"), unit) +
                               (threshold.at("beyond").get<bool>() ? " *" : ""));
            }
            readings.add(std::move(line));
        }
    }
    ports.print();
    std::puts("");
    readings.print();
}

void print_terminals(const json& messages)
{
    for (const json& message : messages) {
        std::printf("%s  duration %d, interval %d: %s\n", text_of(message, "time").c_str(),
                    message.at("duration").get<int>(), message.at("interval").get<int>(),
                    text_of(message, "text").c_str());
    }
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

void add_entity(CLI::App& command, const Arguments& arguments, const char* what, const char* help)
{
    command
        .add_option_function<std::string>(
            what,
            [=](const std::string& entity) {
                uint32_t index = 0;
                const bool number = CLI::detail::lexical_cast(entity, index);
                (*arguments)["entity"] = number ? json(index) : json(entity);
            },
            help)
        ->required();
}

void add_state(CLI::App& command, const Arguments& arguments)
{
    command
        .add_option_function<std::string>(
            "STATE", [=](const std::string& state) { (*arguments)["on"] = state == "on"; },
            "on or off")
        ->required()
        ->check(CLI::IsMember({"on", "off"}));
}

void set_options(CLI::App& command, const Arguments& arguments)
{
    add_entity(command, arguments, "ENTITY", "The entity, by its index or its name");
    add_argument<std::string>(command, "FIELD", arguments, "field",
                              "alias, asset-id, second-serial or description")
        ->required();
    add_argument<std::string>(command, "VALUE", arguments, "value", "Its new value")->required();
}

void unit_options(CLI::App& command, const Arguments& arguments)
{
    add_entity(command, arguments, "UNIT",
               "The module, power supply, fan tray or fan, by its index or its name");
}

void place_options(CLI::App& command, const Arguments& arguments)
{
    add_entity(command, arguments, "PLACE", "The empty slot or bay, by its index or its name");
}

void insert_options(CLI::App& command, const Arguments& arguments)
{
    place_options(command, arguments);
    add_argument<std::string>(command, "--type", arguments, "type",
                              "Insert a new unit of this [types] table of the chassis file")
        ->type_name("TYPE");
}

void output_options(CLI::App& command, const Arguments& arguments)
{
    add_entity(command, arguments, "POWER-SUPPLY", "The power supply, by its index or its name");
    add_argument<uint32_t>(command, "WATTS", arguments, "watts", "What it is to deliver")
        ->required();
}

void marker_options(CLI::App& command, const Arguments& arguments)
{
    add_state(command, arguments);
}

void switchover_options(CLI::App& command, const Arguments& arguments)
{
    (*arguments)["reason"] = 0;
    add_argument<int32_t>(command, "--reason", arguments, "reason",
                          "Code of the reason that the high-availability manager tells")
        ->type_name("CODE")
        ->default_str("0, which is by request");
}

/// Adds an argument that is a number, or auto for what the switch makes of it by itself, or else a
/// word, if there is one.
template <typename Number>
void add_number_or_auto(CLI::App& command, const Arguments& arguments, const std::string& what,
                        const char* key, const char* help, const char* word = nullptr)
{
    command
        .add_option_function<std::string>(
            what,
            [=](const std::string& text) {
                Number number{};
                const bool is_number =
                    CLI::detail::lexical_cast(text, number) && std::isfinite(number);
                const bool is_word = word != nullptr && text == word;
                if (!is_number && !is_word && text != "auto") {
                    throw CLI::ValidationError(what, text + " is neither a number nor auto");
                }
                (*arguments)[key] = is_number ? json(number) : is_word ? json(text) : json();
            },
            help)
        ->required();
}

void supervisor_state_options(CLI::App& command, const Arguments& arguments)
{
    add_number_or_auto<int32_t>(
        command, arguments, "STATE", "state",
        "The state's code (2 is redundant), or auto to follow the supervisors");
}

void reading_options(CLI::App& command, const Arguments& arguments)
{
    add_entity(command, arguments, "SENSOR", "The sensor, by its index or its name");
    add_number_or_auto<double>(command, arguments, "VALUE", "value",
                               "What it is to measure, in the unit that `sensors` shows, or auto "
                               "to move again");
}

void add_port(CLI::App& command, const Arguments& arguments)
{
    add_entity(command, arguments, "PORT", "The port, by its index or its name");
}

void plug_options(CLI::App& command, const Arguments& arguments)
{
    add_port(command, arguments);
    add_argument<std::string>(command, "--type", arguments, "type",
                              "Plug in a new one of this [transceivers] table of the chassis file")
        ->type_name("TYPE");
}

void transceiver_reading_options(CLI::App& command, const Arguments& arguments)
{
    add_port(command, arguments);
    add_argument<std::string>(
        command, "QUANTITY", arguments, "quantity",
        "temperature (°C), voltage (V), bias-current (mA), transmit-power or receive-power (dBm)")
        ->required();
    add_number_or_auto<double>(command, arguments, "VALUE", "value",
                               "What it is to measure, none for no light, or auto to move again",
                               "none");
}

void chassis_type_options(CLI::App& command, const Arguments& arguments)
{
    add_argument<uint32_t>(command, "CODE", arguments, "code",
                           "The type code in the platform database")
        ->required();
}

void led_options(CLI::App& command, const Arguments& arguments)
{
    add_entity(command, arguments, "ENTITY", "What the LED sits on, by its index or its name");
    add_argument<uint32_t>(command, "LED", arguments, "led", "Number of the LED, from 1")
        ->required();
    command
        .add_option_function<std::string>(
            "COLOUR",
            [=](const std::string& colour) {
                const auto* found = std::ranges::find(colours, colour);
                (*arguments)["value"] =
                    colour == "auto" ? json() : json(found - std::begin(colours) + 1);
            },
            "off, green, amber, red, blinking-green, or auto to follow its unit")
        ->required()
        ->check(CLI::IsMember({"off", "green", "amber", "red", "blinking-green", "auto"}));
}

void trace_options(CLI::App& command, const Arguments& arguments)
{
    add_argument<std::string>(command, "WHAT", arguments, "what", "history, debug or all")
        ->required()
        ->check(CLI::IsMember({"history", "debug", "all"}));
    add_state(command, arguments);
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
    {"units", "Show modules, power supplies and fan trays", no_options, print_units},
    {"set", "Change a text of an entity", set_options, print_nothing},
    {"announce", "Announce a change of the inventory", no_options, print_nothing},
    {"pull", "Pull a unit out of its slot or bay", unit_options, print_nothing},
    {"insert", "Insert what was pulled, or a new unit", insert_options, print_nothing},
    {"fail", "Have a unit or a fan fail", unit_options, print_nothing},
    {"repair", "Repair a unit or a fan", unit_options, print_nothing},
    {"output", "Change what a power supply delivers", output_options, print_nothing},
    {"plug-unknown", "Plug in a unit that the switch does not recognize", place_options,
     print_nothing},
    {"marker", "Have power events report the unit status, or not", marker_options, print_marker},
    {"redundancy", "Show the supervisors' roles", no_options, print_redundancy},
    {"switchover", "Put the standby supervisor in charge", switchover_options, print_redundancy},
    {"supervisor-state", "Set the supervisors' state code", supervisor_state_options,
     print_redundancy},
    {"leds", "Show what the LEDs show", no_options, print_leds},
    {"led", "Set what a LED shows", led_options, print_nothing},
    {"sensors", "Show what the sensors measure, and their thresholds", no_options, print_sensors},
    {"reading", "Set what a sensor measures", reading_options, print_nothing},
    {"transceivers", "Show the transceivers and what they measure", no_options, print_transceivers},
    {"plug", "Plug in what was unplugged, or a new transceiver", plug_options, print_nothing},
    {"unplug", "Unplug a transceiver", add_port, print_nothing},
    {"transceiver-reading", "Set what a transceiver measures", transceiver_reading_options,
     print_nothing},
    {"chassis-type", "Set the type code of the chassis", chassis_type_options, print_nothing},
    {"terminals", "Show the messages that reached the terminals", no_options, print_terminals},
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
