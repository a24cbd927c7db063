// Interfaces and their load.

#include "model/interface.h"
#include "output.h"
#include "verb.h"

#include <cmath>

using nlohmann::json;

namespace {

/// A load with a prefix as large as it needs: 2.4 Gbit/s.
std::string rate_text(const json& direction)
{
    auto rate = direction.at("bits-per-second").get<double>();
    const char* prefixes[] = {"", "k", "M", "G", "T"};
    size_t prefix = 0;
    for (; rate >= 1000 && prefix + 1 < std::size(prefixes); ++prefix) {
        rate /= 1000;
    }
    return quantity(rate, std::string(prefixes[prefix]) + "bit/s");
}

std::string lost(const json& direction)
{
    return std::to_string(direction.at("errors").get<uint64_t>()) + "/" +
           std::to_string(direction.at("discards").get<uint64_t>());
}

void print_interfaces(const json& interfaces)
{
    Columns columns;
    columns.add({"ifIndex", "name", "alias", "admin", "status", "Mbit/s", "load in", "load out",
                 "octets in", "octets out", "errors/discards in", "out"});
    for (const json& one : interfaces) {
        const json& in = one.at("in");
        const json& out = one.at("out");
        columns.add({right_aligned(one.at("if-index").get<uint32_t>(), 9), text_of(one, "name"),
                     text_of(one, "alias"), text_of(one, "admin-status"), status_of(one, "status"),
                     right_aligned(one.at("speed").get<uint32_t>(), 6), rate_text(in),
                     rate_text(out), std::to_string(in.at("octets").get<uint64_t>()),
                     std::to_string(out.at("octets").get<uint64_t>()), lost(in), lost(out)});
    }
    columns.print();
}

void load_options(CLI::App& command, const Arguments& arguments)
{
    add_entity(command, arguments, "PORT", "The port, by its index or its name, or mgmt0");
    const auto rate =
        CLI::AsNumberWithUnit(std::map<std::string, double>{{"k", 1e3}, {"M", 1e6}, {"G", 1e9}},
                              CLI::AsNumberWithUnit::CASE_SENSITIVE);
    add_argument<double>(command, "IN", arguments, "in", "Received bits per second, such as 2.4G")
        ->required()
        ->transform(rate);
    add_argument<double>(command, "OUT", arguments, "out", "Sent bits per second")
        ->required()
        ->transform(rate);
    add_argument<double>(command, "--packet-size", arguments, "packet-size",
                         "Mean size of the packets of both directions")
        ->type_name("BYTES");
    add_argument<double>(command, "--errors", arguments, "errors-per-second",
                         "Errors in both directions")
        ->type_name("PER-SECOND");
    add_argument<double>(command, "--discards", arguments, "discards-per-second",
                         "Discards in both directions")
        ->type_name("PER-SECOND");
}

constexpr Verb interface_table[] = {
    {"interfaces", "Show the interfaces with their load and counters", "", no_options,
     print_interfaces},
    {"load", "Set the load of an interface", "Ethernet3/1 2.4G 800M", load_options, print_nothing},
};

} // namespace

const VerbGroup interface_verbs{"Interfaces", interface_table};
