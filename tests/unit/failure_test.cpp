/// Systematic failure: every answer of the platform goes wrong in every way, one at a time.
#include "model_switch.h"

extern "C" void __real_free(void* block); // NOLINT(*-reserved-identifier,cert-*)

extern "C" void __wrap_free(void* block) // NOLINT(*-reserved-identifier,cert-*)
{
    platform_blocks().erase(block);
    __real_free(block);
}

using namespace testing;

namespace {

struct Fault {
    const char* name;
    std::function<void(PlatformAnswer&)> tamper;
};

const Fault faults[] = {
    {"no such entry",
     [](PlatformAnswer& answer) {
         answer = {1, {}};
     }},
    {"not writable",
     [](PlatformAnswer& answer) {
         answer = {2, {}};
     }},
    {"another failure",
     [](PlatformAnswer& answer) {
         answer = {-7, {}};
     }},
    {"failure with block", [](PlatformAnswer& answer) { answer.result = 1; }},
    {"failure with garbage",
     [](PlatformAnswer& answer) {
         answer = {77, Bytes(3000, 0xa5)};
     }},
    {"success without block",
     [](PlatformAnswer& answer) {
         answer = {0, {}};
     }},
    {"empty",
     [](PlatformAnswer& answer) {
         answer = {0, Bytes()};
     }},
    {"short",
     [](PlatformAnswer& answer) {
         answer = {0, Bytes(7, 1)};
     }},
    {"oversized",
     [](PlatformAnswer& answer) {
         answer = {0, Bytes(70000, 1)};
     }},
    {"garbage",
     [](PlatformAnswer& answer) {
         answer = {0, Bytes(500, 0xa5)};
     }},
};

using Log = std::vector<std::tuple<Oid, int, Bytes>>;

/// Walks one variable. A success that brings no row leaves the name of the request as it was; the
/// agent hands that on, and it is the client that ends the walk there.
Log walk(variable& var, bool may_repeat)
{
    Log found;
    Oid name(var.name, var.name + var.namelen);
    for (Answer next = ask(var, name, false); next.value; next = ask(var, name, false)) {
        if (next.name == name && may_repeat) {
            break;
        }
        EXPECT_GT(next.name, name);
        if (next.name <= name || found.size() == 1000) {
            ADD_FAILURE() << "the walk does not end";
            break;
        }
        name = next.name;
        found.emplace_back(next.name, var.type, *next.value);
    }
    return found;
}

Log logged(const Notification& notification)
{
    Log log;
    for (const Binding& binding : notification.bindings) {
        const bool is_now = binding.type == ASN_TIMETICKS;
        log.emplace_back(binding.name, binding.type, is_now ? Bytes() : binding.value);
    }
    return log;
}

class Failure : public WholeSwitchTest {
protected:
    using Action = std::function<Log(bool may_repeat)>;

    Failure()
    {
        for (auto& [root, registration] : agent.registrations) {
            for (RegisteredVariable& var : registration.variables) {
                actions.emplace_back([&](bool may_repeat) { return walk(var.record, may_repeat); });
                if (var.record.acl == RWRITE) {
                    actions.emplace_back([&](bool) { return write(var); });
                }
            }
        }
        constexpr std::pair<uint32_t, size_t> events[] = {
            {1033, 0},  {1034, 316}, {1035, 16}, {1036, 2780}, {1037, 2780},
            {1038, 16}, {1043, 0},   {1047, 8},  {1121, 520},  {3224, 2780}};
        for (const auto& event : events) {
            actions.emplace_back(
                [event](bool) { return logged(deliver(event.first, Bytes(event.second, 1))); });
        }
    }

    static Log write(const RegisteredVariable& var)
    {
        const bool text = var.record.type == ASN_OCTET_STR;
        int worst = SNMP_ERR_NOERROR;
        for (const Oid& index : {Oid{0}, Oid{1}, Oid{1, 2}, Oid{25816}, Oid{25816, 1}}) {
            const Oid name = var.full_oid() + index;
            worst = std::max(worst, text ? agent.set(name, "text") : agent.set(name, 2));
        }
        EXPECT_LE(worst, MAX_SNMP_ERR);
        return {{Oid(), worst, Bytes()}};
    }

    /// Does an action with the switch as it is at first, and old diagnostics.
    Log run(const Action& action, bool may_repeat = false)
    {
        model = {};
        platform.ports = {{port_at(1, 2), port_with_diagnostics({{16, 3300000}})}};
        platform.calls.clear();
        platform.port_calls.clear();
        platform.log.clear();
        platform.uptime += 6100;
        return action(may_repeat);
    }

    /// Does it with the answer of one call tampered with. @return false after the last call
    bool run_with(const Fault& fault, int call, const Action& action)
    {
        int answers = 0;
        platform.tamper = [&](PlatformAnswer& answer) {
            if (answers++ == call) {
                fault.tamper(answer);
            }
        };
        run(action, std::string(fault.name) == "success without block");
        platform.tamper = nullptr;
        EXPECT_THAT(platform_blocks(), IsEmpty());
        return answers > call;
    }

    /// @return how many calls failed
    size_t fail_every_call_of(const Action& action, const std::string& name)
    {
        size_t failed = 0;
        const Log usual = run(action);
        for (const Fault& fault : faults) {
            for (int call = 0; !HasFailure() && run_with(fault, call, action); ++call, ++failed) {
                SCOPED_TRACE(name + ": " + fault.name + " of call " + std::to_string(call));
                EXPECT_EQ(run(action), usual);
            }
        }
        return failed;
    }

    std::vector<Action> actions;
};

TEST_F(Failure, OfAnyCallLeavesNothingBehind)
{
    size_t failed = 0;
    quietly([&] {
        for (size_t number = 0; number < actions.size(); ++number) {
            failed += fail_every_call_of(actions[number], std::to_string(number));
        }
    });
    EXPECT_GT(failed, 5000U); // most actions take several calls
}

} // namespace
