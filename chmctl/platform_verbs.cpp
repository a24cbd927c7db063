// The interface between MIB modules and platform: history, traces, notifications, faults.

#include "libraries/event_log.h"
#include "model/fault.h"
#include "output.h"
#include "verb.h"

#include <cinttypes>
#include <cstdio>

using nlohmann::json;

namespace {

void print_history(const json& records)
{
    for (const json& record : records) {
        std::printf("%s  %s\n", text_of(record, "time").c_str(), text_of(record, "text").c_str());
    }
}

void print_trace(const json& switches)
{
    for (const std::string& name : keys_of(sim::traces)) {
        std::printf("%s %s\n", name.c_str(), switches.at(name).get<bool>() ? "on" : "off");
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
    std::printf("uptime       %s\n", duration(status.at("uptime").get<uint64_t>()).c_str());
    std::printf("heartbeats   %" PRIu64 "\n", status.at("heartbeats").get<uint64_t>());
    print_marker(status);
    print_trace(status.at("trace"));
}

void print_notifications(const json& notifications)
{
    for (const json& one : notifications) {
        const std::string about = text_of(one, "about");
        std::printf("%s  %s%s%s\n", text_of(one, "time").c_str(), notification_name(one).c_str(),
                    about.empty() ? "" : "  ", about.c_str());
        for (const json& binding : one.at("bindings")) {
            std::printf("    %s = %s\n", text_of(binding, "name").c_str(),
                        text_of(binding, "value").c_str());
        }
    }
}

/// The effect of a fault as text.
std::string effect_text(const json& fault)
{
    const auto amount = fault.at("amount").get<uint32_t>();
    return text_of(fault, "effect") +
           (amount == 0 ? "" : " " + std::to_string(amount) + " " + text_of(fault, "unit"));
}

void print_faults(const json& faults)
{
    Columns columns;
    columns.add({"number", "request", "operation", "effect", "left", "strikes"});
    for (const json& fault : faults) {
        columns.add({right_aligned(fault.at("number").get<uint32_t>(), 6),
                     text_of(fault, "request"), text_of(fault, "operation"), effect_text(fault),
                     fault.at("left").is_null() ? "until cleared" : fault.at("left").dump(),
                     fault.at("strikes").dump()});
    }
    columns.print();
}

void print_fault(const json& fault)
{
    print_faults(json::array({fault}));
}

void marker_options(CLI::App& command, const Arguments& arguments)
{
    add_state(command, arguments);
}

void trace_options(CLI::App& command, const Arguments& arguments)
{
    std::vector<std::string> traces = keys_of(sim::traces);
    traces.emplace_back("all");
    add_argument<std::string>(command, "WHAT", arguments, "what", sim::listed(traces))
        ->required()
        ->check(CLI::IsMember(traces));
    add_state(command, arguments);
}

void history_options(CLI::App& command, const Arguments& arguments)
{
    arguments->values["last"] = 50;
    add_argument<uint32_t>(command, "--last", arguments, "last", "Number of records")
        ->type_name("N")
        ->default_str("50");
}

void follow_option(CLI::App& command, const Arguments& arguments)
{
    command.add_flag_callback(
        "--follow", [=] { arguments->values["after"] = 0; },
        "Also show those to come, until Ctrl-C");
}

void fault_options(CLI::App& command, const Arguments& arguments)
{
    add_named(command, arguments, "REQUEST", "request",
              sim::listed(keys_of(sim::request_names)) +
                  ", or the opcode of a request to the platform manager");
    std::vector<std::string> effects;
    std::vector<std::string> amounts;
    for (const sim::FaultKind& kind : sim::fault_kinds) {
        const std::string key(kind.key);
        effects.push_back(
            key + (kind.effect == sim::FaultEffect::nothing ? " (success without a block)" : ""));
        if (!kind.amount.empty()) {
            amounts.push_back(std::string(kind.amount) + " of " + key);
        }
    }
    add_argument<std::string>(command, "EFFECT", arguments, "effect", sim::listed(effects))
        ->required()
        ->check(CLI::IsMember(keys_of(sim::fault_kinds)));
    add_argument<uint32_t>(command, "AMOUNT", arguments, "amount", "The " + sim::listed(amounts));
    const std::vector<std::string> operations = keys_of(sim::operation_names);
    add_argument<std::string>(command, "--operation", arguments, "operation",
                              "Only a " + sim::listed(operations))
        ->check(CLI::IsMember(operations));
    add_argument<uint32_t>(command, "--count", arguments, "count",
                           "Number of requests that it strikes; by default all until it is cleared")
        ->type_name("N");
}

void clear_faults_options(CLI::App& command, const Arguments& arguments)
{
    add_argument<uint32_t>(command, "NUMBER", arguments, "number", "Only the fault of this number");
}

constexpr Verb platform_table[] = {
    {"status", "Show the status of the switch", "", no_options, print_status},
    {"history", "Show the event history", "--last 20", history_options, print_history},
    {"notifications", "Show the last notifications sent", "--follow", follow_option,
     print_notifications},
    {"trace", "Switch tracing on or off", "history on", trace_options, print_trace},
    {"marker-file", "Switch the unit status with power events on or off", "on", marker_options,
     print_marker},
    {"inject-fault", "Inject a fault into requests of the MIB modules",
     "module fail 5 --operation set --count 2", fault_options, print_fault},
    {"faults", "Show the injected faults", "", no_options, print_faults},
    {"clear-faults", "Clear all faults or one", "2", clear_faults_options, print_faults},
};

} // namespace

const VerbGroup platform_verbs{"Platform", platform_table};
