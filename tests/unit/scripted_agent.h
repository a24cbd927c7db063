/// The agent as the tests play it: takes a module's registration and calls into its variables the
/// way the agent does for GET, GETNEXT and SET.
#pragma once

#include "agent.h"
#include "scripted_platform.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

using Oid = std::vector<oid>;

/// A registered variable under its full OID, as a callback sees it.
struct RegisteredVariable {
    variable record;
    Oid full_oid() const { return {record.name, record.name + record.namelen}; }
};

struct Registration {
    std::string name;
    Oid root;
    size_t entry_size;
    std::vector<RegisteredVariable> variables;
};

struct Binding {
    Oid name;
    u_char type;
    Bytes value;
    WriteMethod* write_method;

    std::string text() const { return {value.begin(), value.end()}; }
    uint32_t integer() const; ///< of a value in host order
};

/// An INTEGER of any length, as no agent would send it.
struct Integer : Bytes {
    using Bytes::Bytes;
};

struct ScriptedAgent {
    std::map<Oid, Registration> registrations; ///< by root
    int register_status = MIB_REGISTERED_OK;
    int debugging = 0;
    bool whole_tables = true; ///< a table is taken back by its root, else variable by variable
    std::vector<Oid> unregistered;
    std::vector<std::string> details; ///< texts given to snmp_set_detail

    std::optional<Binding> get(const Oid& name);
    std::optional<Binding> next(const Oid& name);

    /// Every instance below a root by GETNEXT; fails the test on a name that does not increase.
    std::vector<Binding> walk(const Oid& root);

    /// A SET through all its phases. @return the first error status, -1 when nothing is writable
    int set(const Oid& name, u_char type, const Bytes& value);
    int set(const Oid& name, const Integer& value) { return set(name, ASN_INTEGER, value); }
    int set(const Oid& name, long value);
    int set(const Oid& name, const std::string& value);

    /// The registered variable that serves an instance, or that a column or scalar itself is; null
    /// for none.
    variable* variable_for(const Oid& name);

private:
    std::optional<Binding> call(variable& var, const Oid& name, bool exact);
};

/// What a read callback did with a request.
struct Answer {
    Oid name;                   ///< as the callback left it
    std::optional<Bytes> value; ///< none for no such instance
    WriteMethod* write_method;
};

/// Calls the read callback of one variable.
Answer ask(variable& var, const Oid& name, bool exact);

extern ScriptedAgent agent;

/// Two OIDs as one.
Oid operator+(Oid name, const Oid& more);

/// A notification as an event handler hands it back.
struct Notification {
    bool sent;
    Oid name;
    std::vector<Binding> bindings;
};

/// A binding in short: its OID, its type and its value as text.
using Brief = std::tuple<Oid, int, std::string>;
std::vector<Brief> briefly(const Notification& notification);

/// Hands a message to the handler registered for an event, or null.
Notification deliver(uint32_t event, Message* message);
Notification deliver(uint32_t event, const Bytes& payload);

/// A test of one module: fresh platform and agent, the module's entry points run around it, what
/// the library prints captured.
class ModuleTest : public testing::Test {
protected:
    ModuleTest(void (*init)(), void (*deinit)());
    ~ModuleTest() override;

private:
    void (*deinit_)();
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

/// The status of a SET, and what it wrote to standard error.
template <typename Value>
std::pair<int, std::string> refusal(const Oid& instance, const Value& value)
{
    int status = 0;
    std::string error = standard_error_of([&] { status = agent.set(instance, value); });
    return {status, error};
}
