/// The frame of the modules: entry points, registration, trace.
#include "scripted_agent.h"
#include "trace.h"

using namespace testing;

extern "C" void init_entity_mib();
extern "C" void deinit_entity_mib();
extern "C" void init_entityfru_mib();
extern "C" void deinit_entityfru_mib();

namespace {

struct Module {
    const char* name;
    void (*init)();
    void (*deinit)();
    Oid root;
    size_t variables;
    size_t entry_size_32;
    std::vector<std::string> log_of_init, log_of_deinit;
    std::string printed_by_init, printed_by_deinit;
};

const Module modules[] = {
    {"entity_mib",
     init_entity_mib,
     deinit_entity_mib,
     {1, 3, 6, 1, 2, 1, 47},
     26,
     40,
     {"register_mib entity_mib", "register 1033"},
     {"unregister_mib", "unregister 1033"},
     "DEBUG : ENTER init_entity_mib \nDEBUG : EXIT init_entity_mib \n",
     "DEBUG : ENTER deinit_entity_mib \nDEBUG : EXIT deinit_entity_mib \n"},
    {"entityfru_mib",
     init_entityfru_mib,
     deinit_entityfru_mib,
     {1, 3, 6, 1, 4, 1, ENTERPRISE_MAIN, 9, 117},
     22,
     40,
     {"register_mib entityfru_mib", "register 1034", "register 1035", "register 1036",
      "register 1037", "register 3224", "register 1047", "register 1121"},
     {"unregister_mib", "unregister 1034", "unregister 1035", "unregister 1036", "unregister 1037",
      "unregister 3224", "unregister 1047", "unregister 1121"},
     "DEBUG : ENTER init_entityfru_mib \nDEBUG : EXIT init_entityfru_mib \n",
     "DEBUG : ENTER deinit_entityfru_mib \nDEBUG : EXIT deinit_entityfru_mib \n"},
};

template <typename Action>
std::string standard_output_of(Action action)
{
    internal::CaptureStdout();
    action();
    return internal::GetCapturedStdout();
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
        platform.log.clear();
        EXPECT_EQ(standard_output_of(module.init), module.printed_by_init);
        EXPECT_EQ(platform.log, module.log_of_init);

        const Registration& registration = agent.registrations.at(module.root);
        EXPECT_EQ(registration.name, module.name);
        EXPECT_EQ(registration.variables.size(), module.variables);
        if (sizeof(oid) == 4) {
            EXPECT_EQ(registration.entry_size, module.entry_size_32);
        }
        for (size_t i = 1; i < registration.variables.size(); ++i) {
            EXPECT_LT(registration.variables[i - 1].full_oid(),
                      registration.variables[i].full_oid());
        }

        platform.log.clear();
        EXPECT_EQ(standard_output_of(module.deinit), module.printed_by_deinit);
        EXPECT_EQ(platform.log, module.log_of_deinit);
        EXPECT_THAT(agent.registrations, IsEmpty());
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
                        ElementsAre("register_mib entity_mib", "token trace",
                                    MatchesRegex("debug trace init_entity_mib\\(\\): "
                                                 "chm/lib/snmp/entity_mib.cpp, [0-9]+:\n"),
                                    "token register_mib",
                                    "debug register_mib entity_mib registration failed\n",
                                    "register 1033"));
        } else {
            EXPECT_THAT(platform.log, ElementsAre("register_mib entity_mib", "register 1033"));
        }
    }
}

TEST_F(ModuleFrame, UnknownMagicHasNoValueAndAnEmptyDetail)
{
    platform.answer = [](const PlatformCall&) { return PlatformAnswer{0, Bytes(2780)}; };
    standard_output_of(init_entity_mib);
    for (const Oid& column :
         {Oid{1, 3, 6, 1, 2, 1, 47, 1, 1, 1, 1, 2}, {1, 3, 6, 1, 2, 1, 47, 1, 4, 1}}) {
        variable& var = agent.variable_of(column);
        var.magic = 200;
        Oid instance = column;
        instance.push_back(0);
        EXPECT_FALSE(agent.get(instance));
        EXPECT_EQ(agent.details, std::vector<std::string>{""});
        agent.details.clear();
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
