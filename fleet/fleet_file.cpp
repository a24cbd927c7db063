#include "fleet_file.h"

#include "files/toml_reader.h"
#include "model/interface.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <map>

namespace {

using sim::concat;

constexpr size_t max_name = 27; ///< bytes that an engine ID has room for
static_assert(max_name <= sim::max_own_serial);

bool is_name(const std::string& text)
{
    return !text.empty() && text.size() <= max_name &&
           text.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"
                                  "0123456789._-") == std::string::npos;
}

/// A text with the number of a switch in the place of each %.
std::string numbered(std::string text, uint32_t number)
{
    for (size_t at = 0; (at = text.find('%', at)) != std::string::npos;) {
        text.replace(at, 1, std::to_string(number));
    }
    return text;
}

class FleetReader : sim::TomlReader {
public:
    using TomlReader::TomlReader;

    std::vector<SwitchPlan> read()
    {
        return read_all([this] {
            for_each_table(root().get("switch"), "switch",
                           [this](const toml::table& group) { add_group(group); });
            check_keys(root(), {"switch"});
            return std::move(plans_);
        });
    }

private:
    void add_group(const toml::table& group)
    {
        check_keys(group, {"name", "chassis", "count", "state", "serial", "load"});
        const toml::node* given = group.get("count");
        const uint32_t count = given == nullptr ? 1 : number(*given, "count", 1, max_switches);
        const std::string name = pattern(group, "name", count);
        const std::string state = pattern(group, "state", count);
        const std::string serial = pattern(group, "serial", count);
        const toml::node& chassis = required(group, "chassis", "[[switch]]");
        const SwitchPlan common{
            .name = name,
            .chassis = path(text(chassis, "chassis")),
            .individual = {.load = this->count({group}, "load", sim::max_load)}};
        if (!std::filesystem::exists(common.chassis)) {
            report(chassis.source(), "there is no chassis file ", common.chassis);
        }
        for (uint32_t number = 1; number <= count; ++number) {
            SwitchPlan plan = common;
            plan.name = numbered(name, number);
            plan.state = state.empty() ? "" : path(numbered(state, number));
            plan.individual.serial = serial.empty() ? plan.name : numbered(serial, number);
            add(group, std::move(plan));
        }
    }

    /// A text that differs between the switches of a group, empty for a missing one.
    std::string pattern(const toml::table& group, std::string_view key, uint32_t count) const
    {
        if (key != "name" && !group.contains(key)) {
            return "";
        }
        const toml::node& node = required(group, key, "[[switch]]");
        std::string value = text(node, key);
        if (count > 1 && value.find('%') == std::string::npos) {
            report(node.source(), "'", key, "' of ", count,
                   " switches has no %, which stands for the number of each");
        }
        return value;
    }

    std::string path(const std::string& relative) const
    {
        return (std::filesystem::absolute(file()).parent_path() / relative).lexically_normal();
    }

    void add(const toml::table& group, SwitchPlan plan)
    {
        // A serial number that is not given is the name.
        const auto at = [&](std::string_view key) {
            const toml::node* node = group.get(group.contains(key) ? key : "name");
            return (node == nullptr ? group : *node).source();
        };
        const std::string& serial = plan.individual.serial;
        if (!is_name(plan.name)) {
            report(at("name"), "'", plan.name, "' is not a name of 1 to ", max_name,
                   " letters, digits, dots, dashes and underscores");
        }
        const auto is_control = [](unsigned char c) { return std::iscntrl(c) != 0; };
        if (serial.size() > sim::max_own_serial || std::ranges::any_of(serial, is_control)) {
            report(at("serial"), "'", serial, "' is not a serial number of 1 to ",
                   sim::max_own_serial, " bytes without control characters");
        }
        if (!plan.state.empty() &&
            !std::filesystem::is_directory(std::filesystem::path(plan.state).parent_path())) {
            report(at("state"), "there is no directory for ", plan.state);
        }
        claim(at("name"), concat("name ", plan.name), plan.name);
        claim(at("state"), concat("state ", plan.state), plan.state);
        // Two serial numbers with one hash would give two switches the same MAC addresses.
        claim(at("serial"), concat("address block ", sim::address_block(serial)), serial);
        if (plans_.size() == max_switches) {
            fail(group.source(), "more than ", max_switches, " switches");
        }
        stop_unless_sound();
        plans_.push_back(std::move(plan));
    }

    /// Reports what another switch has too.
    void claim(const toml::source_region& where, const std::string& what, const std::string& shown)
    {
        if (shown.empty()) {
            return;
        }
        const auto [other, is_first] = claimed_.emplace(what, shown);
        if (!is_first) {
            report(where, "'", shown, "' ",
                   other->second == shown
                       ? "is that of another switch"
                       : concat("gives the MAC addresses of '", other->second, "'"));
        }
    }

    std::vector<SwitchPlan> plans_;
    std::map<std::string, std::string> claimed_;
};

} // namespace

bool is_fleet_file(const std::string& file)
{
    return sim::TomlReader(file).root().contains("switch");
}

std::vector<SwitchPlan> read_fleet(const std::string& file)
{
    return FleetReader(file).read();
}

std::vector<SwitchPlan> numbered_fleet(size_t count, const std::vector<std::string>& chassis)
{
    std::vector<SwitchPlan> plans;
    for (size_t i = 0; i < count; ++i) {
        const std::string name = concat("switch", i + 1);
        plans.push_back({.name = name,
                         .chassis = std::filesystem::absolute(chassis[i % chassis.size()]),
                         .individual = {.serial = name}});
    }
    return plans;
}
