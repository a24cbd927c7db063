/// The agent as the tests play it: takes the modules' registrations and calls into their variables
/// the way the agent does for GET, GETNEXT and SET.
#pragma once

#include "agent.h"
#include "mib_modules.h"
#include "scripted_platform.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#define DECLARE(module) void init_##module(), deinit_##module();
extern "C" {
MIB_MODULES(DECLARE)
}
#undef DECLARE

/// Have all modules register with the agent, and take that back.
void init_modules();
void deinit_modules();

using Oid = std::vector<oid>;

/// Two OIDs as one.
Oid operator+(Oid name, const Oid& more);

/// The bytes of an OID's sub-identifiers, which are the value of an OBJECT IDENTIFIER.
std::string bytes_of(const Oid& name);

/// A registered variable under its full OID, as a callback sees it.
struct RegisteredVariable {
    variable record;
    Oid full_oid() const { return {record.name, record.name + record.namelen}; }
};

struct Registration {
    size_t entry_size;
    std::vector<RegisteredVariable> variables;
};

/// What a read callback did with a request.
struct Answer {
    Oid name;                   ///< as the callback left it
    std::optional<Bytes> value; ///< none for no such instance
    WriteMethod* write_method;

    explicit operator bool() const { return value.has_value(); }
    std::string text() const { return value ? std::string(value->begin(), value->end()) : "none"; }
    uint32_t integer() const { return host_word(value.value(), 0); }
};

struct ScriptedAgent {
    std::map<Oid, Registration> registrations; ///< by root
    int register_status = MIB_REGISTERED_OK;
    bool whole_tables = true; ///< a table is taken back by its root, else variable by variable
    std::vector<Oid> unregistered;
    std::vector<std::string> details; ///< texts given to snmp_set_detail

    /// Every registered variable, to be called until something is registered or taken back.
    std::vector<RegisteredVariable*> variables();

    /// Read one variable: an instance, and the one that follows in the variable.
    Answer get(const Oid& name) { return ask(name, true); }
    Answer next(const Oid& name) { return ask(name, false); }
    Answer ask(const Oid& name, bool exact);

    /// A SET through all its phases. @return the first error status, -1 when nothing is writable
    int set(const Oid& name, u_char type, const Bytes& value);
    int set(const Oid& name, long value);

    /// The registered variable that serves an instance, or that a column or scalar itself is; null
    /// for none.
    variable* variable_for(const Oid& name);
};

/// Calls the read callback of one variable.
Answer ask(variable& var, const Oid& name, bool exact);

/// Every instance of a variable by GETNEXT; fails the test on a name that does not increase, save
/// where a success may bring no row: that leaves the name of the request as it was, and it is the
/// client that ends the walk.
std::vector<Answer> walk(variable& var, bool may_repeat = false);

extern ScriptedAgent agent;

/// A binding: its OID, its type and its value as text.
using Binding = std::tuple<Oid, int, std::string>;

/// A notification as an event handler hands it back.
struct Notification {
    bool sent;
    Oid name;
    std::vector<Binding> bindings;
};

/// Hands a message to the handler registered for an event, or null.
Notification deliver(uint32_t event, Message* message);
Notification deliver(uint32_t event, const Bytes& payload);

/// All modules behind a fresh agent, in front of a fresh platform; what their entry points print
/// is captured.
class ModulesTest : public testing::Test {
protected:
    ModulesTest();
    ~ModulesTest() override;
};

/// What `action` writes to standard output.
template <typename Action>
std::string standard_output_of(Action action)
{
    testing::internal::CaptureStdout();
    action();
    return testing::internal::GetCapturedStdout();
}

/// Does `action`, which writes much to standard output: the end of that when the test fails.
template <typename Action>
void quietly(Action action)
{
    const std::string output = standard_output_of(action);
    if (testing::Test::HasFailure()) {
        puts(output.substr(output.size() - std::min<size_t>(output.size(), 5000)).c_str());
    }
}

/// What `action` writes to standard error.
template <typename Action>
std::string standard_error_of(Action action)
{
    testing::internal::CaptureStderr();
    action();
    return testing::internal::GetCapturedStderr();
}
