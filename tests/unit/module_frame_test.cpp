/// The frame of the modules: entry points, registration, trace.
#include "column.h"
#include "scripted_agent.h"
#include "trace.h"

#include <sstream>

using namespace testing;

namespace {

/// Whether an entry point's prints enclose all that it does.
enum class Prints { both, exit_first, in_deinit, none };

struct Module {
    const char* name;
    void (*init)();
    void (*deinit)();
    Oid root;
    size_t entry_size_32; ///< of one variable on the 32-bit target
    std::string events;   ///< handled, in their order
    std::string objects;  ///< each relative OID:ASN.1 type, w when it is read-write
    Prints prints;
};

#define MODULE(name) #name, init_##name, deinit_##name

// clang-format off
const Module modules[] = {
    {MODULE(entity_mib), {1, 3, 6, 1, 2, 1, 47}, 40, "inventory-change",
     "1.1.1.1.2:4 1.1.1.1.3:6 1.1.1.1.4:2 1.1.1.1.5:2 1.1.1.1.6:2 1.1.1.1.7:4 1.1.1.1.8:4 "
     "1.1.1.1.9:4 1.1.1.1.10:4 1.1.1.1.11:4w 1.1.1.1.12:4 1.1.1.1.13:4 1.1.1.1.14:4w "
     "1.1.1.1.15:4w 1.1.1.1.16:2 1.2.1.1.2:4 1.2.1.1.3:6 1.2.1.1.4:4 1.2.1.1.5:4 1.2.1.1.6:6 "
     "1.2.1.1.7:4 1.2.1.1.8:4 1.3.1.1.1:2 1.3.2.1.2:6 1.3.3.1.1:2 1.4.1:67", Prints::both},
    {MODULE(entityfru_mib), {1, 3, 6, 1, 4, 1, ENTERPRISE_MAIN, 9, 117}, 40,
     "module-status-change power-status-change fru-inserted fru-removed unrecognized-fru "
     "fan-tray-status-change power-supply-output-change",
     "1.1.1.1.1:2w 1.1.1.1.2:4 1.1.1.1.3:2 1.1.1.1.4:2 1.1.2.1.1:2w 1.1.2.1.2:2 1.1.2.1.3:2 "
     "1.1.3:2w 1.1.4.1.1:2w 1.1.4.1.2:2w 1.1.4.1.3:2w 1.1.4.1.4:2w 1.2.1.1.1:2w 1.2.1.1.2:2 "
     "1.2.1.1.3:2 1.2.1.1.4:67 1.2.1.1.5:67 1.2.1.1.6:4 1.2.1.1.8:66 1.3.1:2w 1.4.1.1.1:2 "
     "1.5.1.1.1:2", Prints::both},
    {MODULE(entitysensor_mib), {1, 3, 6, 1, 4, 1, ENTERPRISE_MAIN, 9, 91}, 40, "sensor-threshold-crossed",
     "1.1.1.1.1:2 1.1.1.1.2:2 1.1.1.1.3:2 1.1.1.1.4:2 1.1.1.1.5:2 1.1.1.1.6:67 1.1.1.1.7:2 "
     "1.1.1.1.8:2 1.2.1.1.2:2 1.2.1.1.3:2 1.2.1.1.4:2 1.2.1.1.5:2 1.2.1.1.6:2w", Prints::both},
    {MODULE(quarn_rf_mib), {1, 3, 6, 1, 4, 1, ENTERPRISE_MAIN, 9, 176}, 40, "supervisor-switchover",
     "1.1.1:2 1.1.2:2 1.1.3:2 1.1.4:2 1.1.6:2 1.1.7:2 1.1.8:2 1.2.11:2w", Prints::exit_first},
    {MODULE(quarn_rf_supp_mib), {1, 3, 6, 1, 4, 1, ENTERPRISE_MAIN, 9, 198}, 40, "",
     "1.1.6:2 1.1.9:2", Prints::in_deinit},
    {MODULE(quarn_ts_mib), {1, 3, 6, 1, 4, 1, ENTERPRISE_ALT, 2, 9}, 28, "",
     "5:2w 6:2w 7:4w 9:2w", Prints::both},
    {MODULE(entity_ext_mib), {1, 3, 6, 1, 4, 1, ENTERPRISE_MAIN, 9, 195}, 28, "",
     "1.3.1.2:2 1.4.1.1:4w", Prints::none},
    {MODULE(entity_asset_mib), {1, 3, 6, 1, 4, 1, ENTERPRISE_ALT, 9, 92}, 28, "",
     "1.1.1.11:4", Prints::none},
};
// clang-format on

/// What an entry point of a module prints, with the calls that it makes in brackets.
std::string printed(const Module& module, const std::string& entry)
{
    const bool init = entry == "init_";
    const bool prints = init ? module.prints <= Prints::exit_first : module.prints != Prints::none;
    const std::string function = entry + module.name + " \n";
    const std::string exit = prints ? "DEBUG : EXIT " + function : "";
    std::string events;
    std::istringstream names(module.events);
    for (std::string name; names >> name;) {
        events += (init ? "[register " : "[unregister ") + name + "]\n";
    }
    return (prints ? "DEBUG : ENTER " + function : "") +
           (init ? "[register_mib " + std::string(module.name) + "]\n" : "[unregister_mib]\n") +
           (module.prints == Prints::exit_first && !init ? exit + events : events + exit);
}

std::string objects_of(const Module& module)
{
    std::string objects;
    for (const RegisteredVariable& var : agent.registrations.at(module.root).variables) {
        std::string relative;
        for (size_t i = module.root.size(); i < var.record.namelen; ++i) {
            relative += (relative.empty() ? "" : ".") + std::to_string(var.record.name[i]);
        }
        objects += (objects.empty() ? "" : " ") + relative + ":" + std::to_string(var.record.type) +
                   (var.record.acl == RWRITE ? "w" : "");
    }
    return objects;
}

class ModuleFrame : public Test {
protected:
    ModuleFrame()
    {
        platform = {};
        agent = {};
    }
};

TEST_F(ModuleFrame, RegistersItsTableAndHandlersAndTakesThemBack)
{
#define NAME(module) #module,
    EXPECT_EQ(std::size(modules), std::initializer_list<const char*>({MIB_MODULES(NAME)}).size());
    for (const Module& module : modules) {
        SCOPED_TRACE(module.name);
        EXPECT_EQ(standard_output_of(module.init), printed(module, "init_"));

        const Registration& registration = agent.registrations.at(module.root);
        if (sizeof(oid) == 4) {
            EXPECT_EQ(registration.entry_size, module.entry_size_32);
        }
        EXPECT_EQ(objects_of(module), module.objects);

        std::vector<Oid> each = {module.root};
        for (const RegisteredVariable& var : registration.variables) {
            each.push_back(var.full_oid());
        }
        EXPECT_EQ(standard_output_of(module.deinit), printed(module, "deinit_"));
        EXPECT_THAT(agent.unregistered, ElementsAre(module.root));

        // An agent that has each variable by itself wants each back.
        agent = {};
        agent.whole_tables = false;
        standard_output_of([&] { module.init(), module.deinit(); });
        EXPECT_EQ(agent.unregistered, each);
        agent = {};
    }
}

TEST_F(ModuleFrame, FailedRegistrationIsOnlyTold)
{
    agent.register_status = MIB_REGISTRATION_FAILED;
    for (const int debugging : {0, 1}) {
        snmp_set_do_debugging(debugging);
        const std::string told = standard_error_of(
            [] { EXPECT_EQ(standard_output_of(init_entity_mib), printed(modules[0], "init_")); });
        EXPECT_THAT(told, MatchesRegex(debugging == 0
                                           ? ""
                                           : R"(trace: init_entity_mib\(\): )"
                                             "chm/lib/snmp/entity_mib.cpp, [0-9]+:\n"
                                             "register_mib: entity_mib registration failed\n"));
    }
    snmp_set_do_debugging(0);
}

using Modules = ModulesTest;

TEST_F(Modules, HaveNoValueAndAnEmptyDetailForAnUnknownMagic)
{
    platform.always_answer({0, Bytes(2780)});
    for (RegisteredVariable* var : agent.variables()) {
        var->record.magic = 200;
        agent.details.clear();
        EXPECT_FALSE(agent.get(var->full_oid() + Oid{0}));
        // The tables without rows do not look at what they are asked.
        const size_t looks = var->record.findVar == serve_no_rows ? 0 : 1;
        EXPECT_EQ(agent.details, std::vector<std::string>(looks));
    }
}

TEST_F(ModuleFrame, TraceGoesToWhicheverSinkIsOn)
{
    int evaluated = 0;
    const auto trace = [&evaluated] { CHM_TRACE("%s %d", "abc", ++evaluated); };
    trace();
    EXPECT_EQ(evaluated, 0);
    platform.history_on = true;
    CHM_TRACE("abc");
    EXPECT_THAT(platform.history, ElementsAre(Bytes{101, 0, 0, 0, 'a', 'b', 'c', 0}));
    EXPECT_THAT(platform.debug_output, IsEmpty());

    platform.debug_on = true;
    trace();
    EXPECT_EQ(evaluated, 2) << "each sink formats for itself";
    EXPECT_THAT(platform.debug_output, ElementsAre("abc 2"));
    CHM_TRACE("%s", std::string(600, 'x').c_str());
    EXPECT_EQ(platform.history.back().size(), 4U + 512U);
    EXPECT_EQ(platform.history.back().back(), 0);
    EXPECT_EQ(platform.debug_output.back(), std::string(600, 'x'));
}

} // namespace
