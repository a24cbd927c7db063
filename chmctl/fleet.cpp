#include "fleet.h"

#include "output.h"
#include "switch_client.h"

#include <cstdio>
#include <filesystem>
#include <fstream>

using nlohmann::json;

namespace {

/// KiB of memory that a process shares with no other one; null when this user may not know.
json own_memory(int process)
{
    std::ifstream rollup("/proc/" + std::to_string(process) + "/smaps_rollup");
    uint64_t own = 0;
    bool found = false;
    for (std::string line; std::getline(rollup, line);) {
        if (line.starts_with("Private_")) {
            own += std::stoull(line.substr(line.find(':') + 1));
            found = true;
        }
    }
    return found ? json(own) : json();
}

/// What a switch reports of itself; only an error if it does not answer.
json report_of(const RunningSwitch& one)
{
    json line = {{"name", one.name}, {"port", one.port}, {"address", one.address}};
    try {
        constexpr std::chrono::seconds patience(1);
        const json status = ask_switch(one.socket, {{"verb", "status"}}, patience);
        const json failed = ask_switch(one.socket, {{"verb", "units"}, {"failed", true}}, patience);
        line["chassis"] = status.value("chassis", "");
        line["pid"] = status.at("pid");
        line["uptime"] = status.value("uptime", 0);
        line["failed-units"] = failed.size();
        line["own-memory"] = own_memory(status.at("pid").get<int>());
    } catch (const std::exception& error) {
        line["error"] = error.what();
    }
    return line;
}

std::vector<std::string> words_of(const json& one)
{
    std::vector<std::string> words = {text_of(one, "name"), text_of(one, "address")};
    if (one.contains("error")) {
        words.push_back(paint(Paint::bad, "does not answer"));
        return words;
    }
    const auto failed = one.at("failed-units").get<size_t>();
    const json& memory = one.at("own-memory");
    words.push_back(std::filesystem::path(text_of(one, "chassis")).filename().string());
    words.push_back(right_aligned(one.at("pid").get<uint32_t>(), 7));
    words.push_back(duration(one.at("uptime").get<uint64_t>()));
    words.push_back(failed == 0 ? "0" : paint(Paint::bad, std::to_string(failed)));
    words.push_back(memory.is_null() ? "" : quantity(memory.get<double>(), "KiB"));
    return words;
}

} // namespace

void show_fleet(bool raw)
{
    json all = json::array();
    for (const RunningSwitch& one : running_switches()) {
        all.push_back(report_of(one));
    }
    if (raw) {
        std::puts(all.dump(2, ' ', false, json::error_handler_t::replace).c_str());
        return;
    }
    Columns columns;
    columns.add({"name", "address", "chassis", "process", "uptime", "failed", "own memory"});
    for (const json& one : all) {
        columns.add(words_of(one));
    }
    columns.print();
}
