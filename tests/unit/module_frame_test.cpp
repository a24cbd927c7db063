/// The frame of the modules: entry points, registration, trace.
#include "scripted_agent.h"
#include "trace.h"

#include <sstream>

using namespace testing;

extern "C" {
void init_entity_mib();
void deinit_entity_mib();
void init_entityfru_mib();
void deinit_entityfru_mib();
void init_entitysensor_mib();
void deinit_entitysensor_mib();
void init_quarn_rf_mib();
void deinit_quarn_rf_mib();
void init_quarn_rf_supp_mib();
void deinit_quarn_rf_supp_mib();
void init_quarn_ts_mib();
void deinit_quarn_ts_mib();
void init_entity_ext_mib();
void deinit_entity_ext_mib();
void init_entity_asset_mib();
void deinit_entity_asset_mib();
}

namespace {

enum class Prints { both, exit_first, in_deinit, none };

struct Module {
    const char* name;
    void (*init)();
    void (*deinit)();
    Oid root;
    size_t entry_size_32; ///< of one variable on the 32-bit target
    std::string events;   ///< handled, in their order
    std::string objects;  ///< each magic:relative OID:ASN.1 type:1 read-only or 2 read-write
    Prints prints;
};

// clang-format off
const Module modules[] = {
    {"entity_mib", init_entity_mib, deinit_entity_mib,
     {1, 3, 6, 1, 2, 1, 47}, 40, "1033",
     "4:1.1.1.1.2:4:1 5:1.1.1.1.3:6:1 6:1.1.1.1.4:2:1 7:1.1.1.1.5:2:1 8:1.1.1.1.6:2:1 "
     "9:1.1.1.1.7:4:1 10:1.1.1.1.8:4:1 11:1.1.1.1.9:4:1 12:1.1.1.1.10:4:1 13:1.1.1.1.11:4:2 "
     "14:1.1.1.1.12:4:1 15:1.1.1.1.13:4:1 16:1.1.1.1.14:4:2 17:1.1.1.1.15:4:2 "
     "18:1.1.1.1.16:2:1 22:1.2.1.1.2:4:1 23:1.2.1.1.3:6:1 24:1.2.1.1.4:4:1 25:1.2.1.1.5:4:1 "
     "26:1.2.1.1.6:6:1 27:1.2.1.1.7:4:1 28:1.2.1.1.8:4:1 31:1.3.1.1.1:2:1 35:1.3.2.1.2:6:1 "
     "38:1.3.3.1.1:2:1 39:1.4.1:67:1",
     Prints::both},
    {"entityfru_mib", init_entityfru_mib, deinit_entityfru_mib,
     {1, 3, 6, 1, 4, 1, ENTERPRISE_MAIN, 9, 117}, 40, "1034 1035 1036 1037 3224 1047 1121",
     "3:1.1.1.1.1:2:2 4:1.1.1.1.2:4:1 5:1.1.1.1.3:2:1 6:1.1.1.1.4:2:1 9:1.1.2.1.1:2:2 "
     "10:1.1.2.1.2:2:1 11:1.1.2.1.3:2:1 12:1.1.3:2:2 15:1.1.4.1.1:2:2 16:1.1.4.1.2:2:2 "
     "17:1.1.4.1.3:2:2 18:1.1.4.1.4:2:2 21:1.2.1.1.1:2:2 22:1.2.1.1.2:2:1 23:1.2.1.1.3:2:1 "
     "24:1.2.1.1.4:67:1 25:1.2.1.1.5:67:1 26:1.2.1.1.6:4:1 27:1.2.1.1.8:66:1 31:1.3.1:2:2 "
     "33:1.4.1.1.1:2:1 36:1.5.1.1.1:2:1",
     Prints::both},
    {"entitysensor_mib", init_entitysensor_mib, deinit_entitysensor_mib,
     {1, 3, 6, 1, 4, 1, ENTERPRISE_MAIN, 9, 91}, 40, "1038",
     "3:1.1.1.1.1:2:1 4:1.1.1.1.2:2:1 5:1.1.1.1.3:2:1 6:1.1.1.1.4:2:1 7:1.1.1.1.5:2:1 "
     "8:1.1.1.1.6:67:1 9:1.1.1.1.7:2:1 10:1.1.1.1.8:2:1 13:1.2.1.1.2:2:1 14:1.2.1.1.3:2:1 "
     "15:1.2.1.1.4:2:1 16:1.2.1.1.5:2:1 17:1.2.1.1.6:2:2",
     Prints::both},
    {"quarn_rf_mib", init_quarn_rf_mib, deinit_quarn_rf_mib,
     {1, 3, 6, 1, 4, 1, ENTERPRISE_MAIN, 9, 176}, 40, "1043",
     "1:1.1.1:2:1 2:1.1.2:2:1 3:1.1.3:2:1 4:1.1.4:2:1 6:1.1.6:2:1 7:1.1.7:2:1 8:1.1.8:2:1 "
     "21:1.2.11:2:2",
     Prints::exit_first},
    {"quarn_rf_supp_mib", init_quarn_rf_supp_mib, deinit_quarn_rf_supp_mib,
     {1, 3, 6, 1, 4, 1, ENTERPRISE_MAIN, 9, 198}, 40, "",
     "6:1.1.6:2:1 9:1.1.9:2:1",
     Prints::in_deinit},
    {"quarn_ts_mib", init_quarn_ts_mib, deinit_quarn_ts_mib,
     {1, 3, 6, 1, 4, 1, ENTERPRISE_ALT, 2, 9}, 28, "",
     "36:5:2:2 37:6:2:2 38:7:4:2 40:9:2:2",
     Prints::both},
    {"entity_ext_mib", init_entity_ext_mib, deinit_entity_ext_mib,
     {1, 3, 6, 1, 4, 1, ENTERPRISE_MAIN, 9, 195}, 28, "",
     "15:1.3.1.2:2:1 17:1.4.1.1:4:2",
     Prints::none},
    {"entity_asset_mib", init_entity_asset_mib, deinit_entity_asset_mib,
     {1, 3, 6, 1, 4, 1, ENTERPRISE_ALT, 9, 92}, 28, "",
     "10:1.1.1.11:4:1",
     Prints::none},
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
    std::istringstream numbers(module.events);
    for (std::string number; numbers >> number;) {
        events += (init ? "[register " : "[unregister ") + number + "]\n";
    }
    return (prints ? "DEBUG : ENTER " + function : "") +
           (init ? "[register_mib " + std::string(module.name) + "]\n" : "[unregister_mib]\n") +
           (module.prints == Prints::exit_first && !init ? exit + events : events + exit);
}

std::string objects_of(const Registration& registration)
{
    std::string objects;
    for (const RegisteredVariable& var : registration.variables) {
        std::string relative;
        for (size_t i = registration.root.size(); i < var.record.namelen; ++i) {
            relative += (relative.empty() ? "" : ".") + std::to_string(var.record.name[i]);
        }
        objects += (objects.empty() ? "" : " ") + std::to_string(var.record.magic) + ":" +
                   relative + ":" + std::to_string(var.record.type) + ":" +
                   std::to_string(var.record.acl);
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
    for (const Module& module : modules) {
        SCOPED_TRACE(module.name);
        EXPECT_EQ(standard_output_of(module.init), printed(module, "init_"));

        const Registration& registration = agent.registrations.at(module.root);
        EXPECT_EQ(registration.name, module.name);
        if (sizeof(oid) == 4) {
            EXPECT_EQ(registration.entry_size, module.entry_size_32);
        }
        EXPECT_EQ(objects_of(registration), module.objects);

        EXPECT_EQ(standard_output_of(module.deinit), printed(module, "deinit_"));
        EXPECT_THAT(agent.registrations, IsEmpty());
    }
}

TEST_F(ModuleFrame, TakesEachVariableBackWhereTheAgentWantsThat)
{
    agent.whole_tables = false;
    for (const Module& module : modules) {
        standard_output_of(module.init);
        std::vector<Oid> expected = {module.root};
        for (const RegisteredVariable& var : agent.registrations.at(module.root).variables) {
            expected.push_back(var.full_oid());
        }
        agent.unregistered.clear();
        standard_output_of(module.deinit);
        EXPECT_EQ(agent.unregistered, expected) << module.name;
    }
}

TEST_F(ModuleFrame, FailedRegistrationIsOnlyTold)
{
    agent.register_status = MIB_REGISTRATION_FAILED;
    for (const int debugging : {0, 1}) {
        agent.debugging = debugging;
        platform.log.clear();
        standard_output_of(init_entity_mib);
        EXPECT_EQ(platform.handlers.count(1033), 1u);
        if (debugging) {
            EXPECT_THAT(platform.log,
                        ElementsAre("register_mib entity_mib",
                                    MatchesRegex("token trace init_entity_mib\\(\\): "
                                                 "chm/lib/snmp/entity_mib.cpp, [0-9]+:\n"),
                                    MatchesRegex("debug trace init_entity_mib\\(\\): "
                                                 "chm/lib/snmp/entity_mib.cpp, [0-9]+:\n"),
                                    "token register_mib entity_mib registration failed\n",
                                    "debug register_mib entity_mib registration failed\n",
                                    "register 1033"));
        } else {
            EXPECT_THAT(platform.log, ElementsAre("register_mib entity_mib", "register 1033"));
        }
    }
}

TEST_F(ModuleFrame, UnknownMagicHasNoValueAndAnEmptyDetail)
{
    size_t unknown = 0;
    platform.answer = [](const PlatformCall&) { return PlatformAnswer{0, Bytes(2780)}; };
    for (const Module& module : modules) {
        standard_output_of(module.init);
        for (RegisteredVariable& var : agent.registrations.at(module.root).variables) {
            var.record.magic = 200;
            agent.details.clear();
            standard_output_of([&] { EXPECT_FALSE(agent.get(var.full_oid() + Oid{0})); });
            // The tables without rows do not look at what they are asked.
            EXPECT_THAT(agent.details, AnyOf(IsEmpty(), ElementsAre("")));
            unknown += agent.details.size();
        }
        standard_output_of(module.deinit);
    }
    EXPECT_EQ(unknown, 16u + 18u + 13u + 8u + 2u + 4u + 2u + 1u);
}

/// What a sanitizer watches: every object read, walked and written, and every event handled, with
/// answers and records of any length and content.
TEST_F(ModuleFrame, SurvivesWhateverThePlatformAnswers)
{
    for (const Module& module : modules) {
        standard_output_of(module.init);
        for (const size_t length : {0u, 1u, 3u, 11u, 31u, 270u, 2510u, 2779u, 2780u, 60000u}) {
            for (const auto& [result, fill] : {std::pair{0, 0xff}, {0, 0}, {0, 2}, {1, 0xff}}) {
                const PlatformAnswer answer = {result, Bytes(length, static_cast<uint8_t>(fill))};
                const Bytes payload(2780, static_cast<uint8_t>(fill));
                platform.answer = [answer](const PlatformCall&) { return PlatformAnswer(answer); };
                standard_output_of([&] {
                    for (RegisteredVariable& var : agent.registrations.at(module.root).variables) {
                        for (const Oid& index : {Oid{0}, {7, 1}, {25813}, {4294967295}}) {
                            ask(var.record, var.full_oid() + index, true);
                            ask(var.record, var.full_oid() + index, false);
                            agent.set(var.full_oid() + index, 2);
                            agent.set(var.full_oid() + index, "x");
                        }
                    }
                    std::istringstream events(module.events);
                    for (uint32_t event = 0; events >> event;) {
                        deliver(event, payload);
                    }
                });
            }
        }
        standard_output_of(module.deinit);
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
    ASSERT_EQ(platform.history.size(), 1u);
    EXPECT_EQ(platform.history[0].size(), 8u);
    EXPECT_EQ(platform.history[0], (Bytes{101, 0, 0, 0, 'a', 'b', 'c', 0}));
    EXPECT_THAT(platform.debug_output, IsEmpty());

    platform.debug_on = true;
    trace();
    EXPECT_EQ(evaluated, 2) << "each sink formats for itself";
    EXPECT_THAT(platform.debug_output, ElementsAre("abc 2"));

    const std::string long_text(600, 'x');
    CHM_TRACE("%s", long_text.c_str());
    EXPECT_EQ(platform.history.back().size(), 4u + 512u);
    EXPECT_EQ(platform.history.back().back(), 0);
    EXPECT_EQ(platform.debug_output.back(), long_text);
}

} // namespace
