/// Times the modules' callbacks one by one, and separately the calls of each to the platform.
#include "agent.h"
#include "agent_ext.h"
#include "constant_platform.h"
#include "ipcx.h"
#include "mib_modules.h"
#include "mib_objects.h"
#include "sensor_index.h"
#include "trace.h"
#include "wire/events.h"
#include "wire/physical_index.h"
#include "wire/records.h"

#include <benchmark/benchmark.h>
#include <valgrind/callgrind.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

extern "C" {
#define DECLARE(module) void init_##module();
MIB_MODULES(DECLARE)
}

namespace {

using Oid = std::vector<oid>;

/// The modules' variables as the agent's read callbacks get them, under their full OIDs.
std::vector<variable> variables;

std::map<uint32_t, ipcx_event_handler*> handlers; ///< by event

/// The agent's uptime in hundredths of a second. It stands still, so that what was read stays warm.
uint32_t uptime = 100;

} // namespace

extern "C" {

uint32_t get_snmp_user_uptime()
{
    return uptime;
}

void send_connUnitStatusChange_notif(int32_t /*status*/) {}

void* ipcx_payload_get(void* message)
{
    return message;
}

int register_for_notification(uint32_t opcode, ipcx_event_handler* handler)
{
    handlers[opcode] = handler;
    return 0;
}

int register_mib(const char* /*name*/, const variable* table, size_t entry_size, size_t count,
                 const oid* root, size_t root_length)
{
    for (size_t i = 0; i < count; ++i) {
        const auto* entry = reinterpret_cast<const variable1*>(
            reinterpret_cast<const u_char*>(table) + i * entry_size);
        variable full = {};
        full.magic = entry->magic;
        full.type = static_cast<char>(entry->type);
        full.acl = entry->acl;
        full.findVar = entry->findVar;
        full.namelen = static_cast<u_char>(root_length + entry->namelen);
        std::copy_n(&entry->name[0], entry->namelen, std::copy_n(root, root_length, full.name));
        variables.push_back(full);
    }
    return MIB_REGISTERED_OK;
}

/// What callgrind counts: the callback and nothing around it.
[[gnu::noinline]] const u_char* counted_read(variable* var, oid* name, size_t* length, int exact,
                                             WriteMethod** write_method)
{
    size_t value_length = 0;
    const u_char* value = var->findVar(var, name, length, exact, &value_length, write_method);
    asm volatile("" ::: "memory"); // no tail call
    return value;
}
}

namespace {

variable* variable_for(const Oid& instance)
{
    for (variable& var : variables) {
        if (instance.size() > var.namelen &&
            std::equal(var.name, var.name + var.namelen, instance.begin())) {
            return &var;
        }
    }
    fprintf(stderr, "nothing serves an instance\n");
    exit(1);
}

WriteMethod* read(const Oid& instance, variable* var, bool exact)
{
    oid name[MAX_OID_LEN];
    std::copy(instance.begin(), instance.end(), name);
    size_t length = instance.size();
    WriteMethod* write_method = nullptr;
    benchmark::DoNotOptimize(counted_read(var, name, &length, exact, &write_method));
    return write_method;
}

/// A benchmark.
struct Case {
    std::string name;
    std::function<void()> run;
};
std::vector<Case> cases;

/// A column or a scalar as the MIB files define it.
struct Object {
    std::string table; ///< `scalar` for none
    std::string name;
    Oid oid;
};

Oid oid_of(const char* text)
{
    Oid numbers;
    std::istringstream words(text);
    for (std::string word; std::getline(words, word, '.');) {
        numbers.push_back(std::stoul(word));
    }
    return numbers;
}

#define OBJECT(table, name, oid) {#table, #name, oid_of(oid)},
std::vector<Object> all_objects()
{
    return {SERVED_OBJECTS(OBJECT)};
}

/// The first instance of an object, and one that is not there of an object without any.
Oid first_instance(const Object& object)
{
    Oid instance = object.oid;
    instance.push_back(0);
    oid name[MAX_OID_LEN];
    std::ranges::copy(object.oid, name);
    size_t length = object.oid.size();
    WriteMethod* write_method = nullptr;
    counted_read(variable_for(instance), name, &length, 0, &write_method);
    return length == object.oid.size() ? instance : Oid(name, name + length);
}

void add_read(const std::string& name, const Oid& instance)
{
    for (const bool exact : {true, false}) {
        cases.push_back({(exact ? "GET " : "GETNEXT ") + name,
                         [=, var = variable_for(instance)] { read(instance, var, exact); }});
    }
}

#define PHYSICAL 1, 3, 6, 1, 2, 1, 47
#define MAIN 1, 3, 6, 1, 4, 1, ENTERPRISE_MAIN, 9

/// The voltage of the first port.
constexpr oid transceiver = ENTITY_PORT_SFP_SENSOR_START + static_cast<uint32_t>(SFP_VOLTAGE);

/// The callback of each table and scalar once, by the first object, and what differs from that.
void add_reads()
{
    std::set<std::pair<std::string, FindVarMethod*>> seen;
    for (const Object& object : all_objects()) {
        const Oid instance = first_instance(object);
        if (seen.insert({object.table, variable_for(instance)->findVar}).second) {
            add_read(object.table == "scalar" ? object.name : object.table, instance);
        }
    }
    add_read("entPhysicalTable, vendor type", {PHYSICAL, 1, 1, 1, 1, 3, 3});
    add_read("entPhysicalTable, integer", {PHYSICAL, 1, 1, 1, 1, 5, 3});
    add_read("entPhysicalTable, warm transceiver", {PHYSICAL, 1, 1, 1, 1, 2, transceiver});
    const Oid value = {MAIN, 91, 1, 1, 1, 1, 4, transceiver};
    add_read("entSensorValueTable, warm transceiver", value);
    add_read("entSensorThresholdTable, warm transceiver",
             {MAIN, 91, 1, 2, 1, 1, 4, transceiver, 1});
    cases.push_back({"GET entSensorValueTable, cold transceiver", [=, var = variable_for(value)] {
                         uptime += 6000;
                         read(value, var, true);
                     }});
}

void add_write(const std::string& name, const Oid& instance)
{
    variable* var = variable_for(instance);
    if (var->acl != RWRITE || read(instance, var, true) == nullptr) {
        return; // read-only, or of a table without rows
    }
    cases.push_back({"SET " + name, [=] {
                         WriteMethod* write = read(instance, var, true);
                         oid asked[MAX_OID_LEN];
                         std::ranges::copy(instance, asked);
                         const auto type = static_cast<u_char>(var->type);
                         long value = type == ASN_INTEGER ? 2 : 0x41414141;
                         for (const int phase : {RESERVE1, RESERVE2, ACTION, COMMIT}) {
                             write(phase, reinterpret_cast<u_char*>(&value), type, sizeof value,
                                   nullptr, asked, instance.size());
                         }
                     }});
}

void add_writes()
{
    for (const Object& object : all_objects()) {
        add_write(object.name, first_instance(object));
    }
    add_write("entSensorThresholdNotificationEnable, warm transceiver",
              {MAIN, 91, 1, 2, 1, 1, 6, transceiver, 1});
}

void add_handlers()
{
    for (const EventCode& event : platform_events) {
        cases.push_back({std::string("event ") + event.name, [handler = handlers.at(event)] {
                             static std::array<uint32_t, 1024> payload; // holds any event's record
                             oid trap[MAX_OID_LEN];
                             size_t length = 0;
                             int send = 0;
                             snmp_free_varbind(handler(payload.data(), trap, &length, &send));
                         }});
    }
}

/// Reference cases.
void add_measures()
{
    cases.push_back({"disabled trace", [] { CHM_TRACE("%s: %d\n", "bench", 1); }});
    cases.push_back({"three copies of a physical record", [] {
                         static std::array<ent_phys_entry, 4> records;
                         for (size_t i = 0; i + 1 < records.size(); ++i) {
                             records[i + 1] = records[i];
                             benchmark::DoNotOptimize(&records);
                             benchmark::ClobberMemory();
                         }
                     }});
}

void time_case(benchmark::State& state, const Case& timed)
{
    timed.run();
    while (state.KeepRunning()) {
        timed.run();
    }
}

void time_platform(benchmark::State& state, const Case& timed)
{
    timed.run();
    const auto calls = constant_platform::calls_of(timed.run);
    while (state.KeepRunning()) {
        for (const auto& call : calls) {
            call();
        }
    }
}

} // namespace

/// Usage: callbacks [BENCHMARK-OPTION]...      times every case
///        callbacks --count NAME RUNS          runs one case so often, for callgrind
int main(int argc, char** argv)
{
#define INIT(module) init_##module();
    MIB_MODULES(INIT)
    add_reads();
    add_writes();
    add_handlers();
    add_measures();
    if (argc == 4 && strcmp(argv[1], "--count") == 0) {
        const auto found = std::ranges::find(cases, argv[2], &Case::name);
        if (found == cases.end()) {
            fprintf(stderr, "callbacks: no case is called %s\n", argv[2]);
            return 1;
        }
        found->run();
        CALLGRIND_ZERO_STATS; // what has been read until here to find the instances
        for (long i = 0; i < strtol(argv[3], nullptr, 10); ++i) {
            found->run();
        }
        return 0;
    }
    for (const Case& timed : cases) {
        benchmark::RegisterBenchmark(timed.name.c_str(), time_case, timed);
        benchmark::RegisterBenchmark(("platform: " + timed.name).c_str(), time_platform, timed);
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
