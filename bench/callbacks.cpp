/// Times the modules' callbacks one by one, and separately the calls of each to the platform.
#include "agent.h"
#include "agent_ext.h"
#include "constant_platform.h"
#include "ipcx.h"
#include "mib_modules.h"
#include "sensor_index.h"
#include "trace.h"
#include "wire/events.h"
#include "wire/physical_index.h"
#include "wire/records.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <string>
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

struct Object {
    const char* name;
    Oid instance;
};

#define PHYSICAL 1, 3, 6, 1, 2, 1, 47
#define MAIN 1, 3, 6, 1, 4, 1, ENTERPRISE_MAIN, 9
#define ALT 1, 3, 6, 1, 4, 1, ENTERPRISE_ALT

constexpr oid sensor = ENTITY_SENSOR_START + 1;
/// The voltage of the first port.
constexpr oid transceiver = ENTITY_PORT_SFP_SENSOR_START + static_cast<uint32_t>(SFP_VOLTAGE);

void add_reads()
{
    const Object objects[] = {
        {"entPhysicalTable, text", {PHYSICAL, 1, 1, 1, 1, 2, 3}},
        {"entPhysicalTable, vendor type", {PHYSICAL, 1, 1, 1, 1, 3, 3}},
        {"entPhysicalTable, integer", {PHYSICAL, 1, 1, 1, 1, 5, 3}},
        {"entPhysicalTable, warm transceiver", {PHYSICAL, 1, 1, 1, 1, 2, transceiver}},
        {"entLogicalTable", {PHYSICAL, 1, 2, 1, 1, 2, 1}},
        {"entLPMappingTable", {PHYSICAL, 1, 3, 1, 1, 1, 1}},
        {"entAliasMappingTable", {PHYSICAL, 1, 3, 2, 1, 2, 1}},
        {"entPhysicalContainsTable", {PHYSICAL, 1, 3, 3, 1, 1, 1}},
        {"entLastChangeTime", {PHYSICAL, 1, 4, 1, 0}},
        {"power supply group table", {MAIN, 117, 1, 1, 1, 1, 1, 3}},
        {"FRU power status table", {MAIN, 117, 1, 1, 2, 1, 2, 3}},
        {"power supply value table", {MAIN, 117, 1, 1, 4, 1, 1, 3}},
        {"max default in-line power", {MAIN, 117, 1, 1, 3, 0}},
        {"module table", {MAIN, 117, 1, 2, 1, 1, 2, 3}},
        {"fan tray table", {MAIN, 117, 1, 4, 1, 1, 1, 3}},
        {"physical status table", {MAIN, 117, 1, 5, 1, 1, 1, 3}},
        {"redundancy status", {MAIN, 176, 1, 1, 1, 0}},
        {"running configuration", {MAIN, 198, 1, 1, 6, 0}},
        {"LED table", {MAIN, 195, 1, 3, 1, 2, 3, 1}},
        {"second serial number", {MAIN, 195, 1, 4, 1, 1, 3}},
        {"asset table", {ALT, 9, 92, 1, 1, 1, 11, 3}},
        {"terminal message", {ALT, 2, 9, 5, 0}},
        {"entSensorValueTable", {MAIN, 91, 1, 1, 1, 1, 4, sensor}},
        {"entSensorValueTable, warm transceiver", {MAIN, 91, 1, 1, 1, 1, 4, transceiver}},
        {"entSensorThresholdTable", {MAIN, 91, 1, 2, 1, 1, 4, sensor, 1}},
        {"entSensorThresholdTable, warm transceiver", {MAIN, 91, 1, 2, 1, 1, 4, transceiver, 1}},
    };
    for (const Object& object : objects) {
        variable* var = variable_for(object.instance);
        for (const bool exact : {true, false}) {
            cases.push_back({std::string(exact ? "GET " : "GETNEXT ") + object.name,
                             [=, instance = object.instance] { read(instance, var, exact); }});
        }
    }
    const Oid cold = {MAIN, 91, 1, 1, 1, 1, 4, transceiver};
    cases.push_back({"GET entSensorValueTable, cold transceiver", [cold, var = variable_for(cold)] {
                         uptime += 6000;
                         read(cold, var, true);
                     }});
}

void add_writes()
{
    const Object objects[] = {
        {"entPhysicalAlias", {PHYSICAL, 1, 1, 1, 1, 14, 3}},
        {"entPhysicalAssetID", {PHYSICAL, 1, 1, 1, 1, 15, 3}},
        {"power redundancy mode", {MAIN, 117, 1, 1, 1, 1, 1, 3}},
        {"FRU power admin status", {MAIN, 117, 1, 1, 2, 1, 1, 3}},
        {"max default in-line power", {MAIN, 117, 1, 1, 3, 0}},
        {"module admin status", {MAIN, 117, 1, 2, 1, 1, 1, 3}},
        {"enable status notification", {MAIN, 117, 1, 3, 1, 0}},
        {"redundancy admin action", {MAIN, 176, 1, 2, 11, 0}},
        {"second serial number", {MAIN, 195, 1, 4, 1, 1, 3}},
        {"message interval", {ALT, 2, 9, 5, 0}},
        {"message duration", {ALT, 2, 9, 6, 0}},
        {"message text", {ALT, 2, 9, 7, 0}},
        {"message send", {ALT, 2, 9, 9, 0}},
        {"threshold notification enable", {MAIN, 91, 1, 2, 1, 1, 6, sensor, 1}},
        {"threshold notification enable, warm transceiver",
         {MAIN, 91, 1, 2, 1, 1, 6, transceiver, 1}},
    };
    for (const Object& object : objects) {
        variable* var = variable_for(object.instance);
        cases.push_back({std::string("SET ") + object.name, [=, instance = object.instance] {
                             WriteMethod* write = read(instance, var, true);
                             oid name[MAX_OID_LEN];
                             std::copy(instance.begin(), instance.end(), name);
                             const auto type = static_cast<u_char>(var->type);
                             long value = type == ASN_INTEGER ? 2 : 0x41414141;
                             for (const int phase : {RESERVE1, RESERVE2, ACTION, COMMIT}) {
                                 write(phase, reinterpret_cast<u_char*>(&value), type, sizeof value,
                                       nullptr, name, instance.size());
                             }
                         }});
    }
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
