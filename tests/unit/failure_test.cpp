/// Systematic failure: every answer of the platform goes wrong in every way, one at a time.
#include "model_switch.h"
#include "wire/events.h"

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
    PlatformAnswer answer;
    bool keeps_block = false; ///< with the block as it was
};

const Fault faults[] = {
    {"no such entry", {1, {}}},
    {"not writable", {2, {}}},
    {"another failure", {-7, {}}},
    {"failure with block", {1, {}}, true},
    {"failure with garbage", {77, Bytes(3000, 0xa5)}},
    {"success without block", {0, {}}},
    {"empty", {0, Bytes()}},
    {"short", {0, Bytes(7, 1)}},
    {"oversized", {0, Bytes(70000, 1)}},
    {"garbage", {0, Bytes(500, 0xa5)}},
};

using Log = std::vector<Binding>;

Log walked(variable& var, bool may_repeat)
{
    Log found;
    for (const Answer& answer : walk(var, may_repeat)) {
        found.emplace_back(answer.name, var.type, answer.text());
    }
    return found;
}

Log write(const RegisteredVariable& var)
{
    const bool text = var.record.type == ASN_OCTET_STR;
    int worst = SNMP_ERR_NOERROR;
    for (const Oid& index : {Oid{0}, Oid{1}, Oid{1, 2}, Oid{25816}, Oid{25816, 1}}) {
        const Oid name = var.full_oid() + index;
        worst = std::max(worst,
                         text ? agent.set(name, ASN_OCTET_STR, Bytes(4, 't')) : agent.set(name, 2));
    }
    EXPECT_LE(worst, MAX_SNMP_ERR);
    return {{Oid(), worst, ""}};
}

Log notified(const EventCode& event)
{
    Log log = deliver(event, Bytes(event.record_size, 1)).bindings;
    for (auto& [name, type, value] : log) {
        value = type == ASN_TIMETICKS ? "now" : value;
    }
    return log;
}

using Action = std::function<Log(bool may_repeat)>;

class Failure : public WholeSwitchTest {
protected:
    Failure()
    {
        for (RegisteredVariable* var : agent.variables()) {
            actions.emplace_back(
                [var](bool may_repeat) { return walked(var->record, may_repeat); });
            if (var->record.acl == RWRITE) {
                actions.emplace_back([var](bool) { return write(*var); });
            }
        }
        for (const EventCode& event : platform_events) {
            actions.emplace_back([event](bool) { return notified(event); });
        }
    }

    /// Does an action with the switch as it is at first, and old diagnostics.
    Log run(const Action& action, bool may_repeat = false)
    {
        model = initial;
        platform.ports = {{port_at(1, 2), port_with_diagnostics({{16, 3300000}})}};
        platform.calls.clear();
        platform.history.clear();
        platform.debug_output.clear();
        platform.uptime += 6100;
        return action(may_repeat);
    }

    /// Does it with the answer of one call tampered with, and with its traces on. @return false
    /// after the last call
    bool run_with(const Fault& fault, int call, const Action& action)
    {
        int answers = 0;
        platform.tamper = [&](PlatformAnswer& answer) {
            if (answers++ == call) {
                answer = {fault.answer.result,
                          fault.keeps_block ? answer.response : fault.answer.response};
            }
        };
        platform.history_on = platform.debug_on = true;
        run(action, fault.answer.result == 0 && !fault.answer.response);
        platform.history_on = platform.debug_on = false;
        platform.tamper = nullptr;
        EXPECT_THAT(platform_blocks(), IsEmpty());
        return answers > call;
    }

    const ModelSwitch initial;
    std::vector<Action> actions;
};

TEST_F(Failure, OfAnyCallLeavesNothingBehind)
{
    int failed = 0;
    quietly([&] {
        for (size_t number = 0; number < actions.size(); ++number) {
            const Log usual = run(actions[number]);
            for (const Fault& fault : faults) {
                for (int call = 0; !HasFailure() && run_with(fault, call, actions[number]);
                     ++call, ++failed) {
                    SCOPED_TRACE(std::to_string(number) + ": " + fault.name + " of call " +
                                 std::to_string(call));
                    EXPECT_EQ(run(actions[number]), usual);
                }
            }
        }
    });
    EXPECT_GT(failed, 5000); // most actions take several calls
}

} // namespace
