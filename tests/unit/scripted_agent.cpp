#include "scripted_agent.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

ScriptedAgent agent;

Answer ask(variable& var, const Oid& name, bool exact)
{
    oid buffer[MAX_OID_LEN];
    std::copy(name.begin(), name.end(), buffer);
    size_t length = name.size();
    size_t value_length = 0;
    Answer answer = {};
    const u_char* value =
        var.findVar(&var, buffer, &length, exact, &value_length, &answer.write_method);
    answer.name.assign(buffer, buffer + length);
    if (value) {
        answer.value = Bytes(value, value + value_length);
    }
    return answer;
}

std::vector<Answer> walk(variable& var, bool may_repeat)
{
    std::vector<Answer> found;
    Oid name(var.name, var.name + var.namelen);
    for (Answer next = ask(var, name, false); next; next = ask(var, name, false)) {
        if (next.name == name && may_repeat) {
            break;
        }
        EXPECT_GT(next.name, name);
        if (next.name <= name || found.size() == 1000) {
            ADD_FAILURE() << "the walk does not end";
            break;
        }
        name = next.name;
        found.push_back(next);
    }
    return found;
}

std::vector<RegisteredVariable*> ScriptedAgent::variables()
{
    std::vector<RegisteredVariable*> all;
    for (auto& [root, registration] : registrations) {
        for (RegisteredVariable& var : registration.variables) {
            all.push_back(&var);
        }
    }
    return all;
}

variable* ScriptedAgent::variable_for(const Oid& name)
{
    for (RegisteredVariable* var : variables()) {
        if (name.size() >= var->record.namelen &&
            std::equal(name.begin(), name.begin() + var->record.namelen, var->record.name)) {
            return &var->record;
        }
    }
    return nullptr;
}

Answer ScriptedAgent::ask(const Oid& name, bool exact)
{
    variable* var = variable_for(name);
    return var ? ::ask(*var, name, exact) : Answer();
}

int ScriptedAgent::set(const Oid& name, u_char type, const Bytes& value)
{
    // The read callback hands out the write method, whether or not it finds the instance.
    WriteMethod* write_method = get(name).write_method;
    if (!write_method) {
        return -1;
    }
    Bytes data = value;
    data.resize(std::max<size_t>(data.size(), sizeof(long)));
    oid buffer[MAX_OID_LEN];
    std::copy(name.begin(), name.end(), buffer);
    const auto call_in = [&](int phase) {
        return write_method(phase, data.data(), type, value.size(), nullptr, buffer, name.size());
    };
    for (const int phase : {0, 1, 2, 3}) {
        const int status = call_in(phase);
        if (status != SNMP_ERR_NOERROR) {
            call_in(phase == 2 ? 5 : 4);
            return status;
        }
    }
    return SNMP_ERR_NOERROR;
}

int ScriptedAgent::set(const Oid& name, long value)
{
    Bytes bytes(sizeof value);
    memcpy(bytes.data(), &value, sizeof value);
    return set(name, ASN_INTEGER, bytes);
}

Oid operator+(Oid name, const Oid& more)
{
    name.insert(name.end(), more.begin(), more.end());
    return name;
}

std::string bytes_of(const Oid& name)
{
    return {reinterpret_cast<const char*>(name.data()), name.size() * sizeof(oid)};
}

Notification deliver(uint32_t event, const Bytes& payload)
{
    ::Message message = {payload};
    return deliver(event, &message);
}

Notification deliver(uint32_t event, ::Message* message)
{
    oid trap[MAX_OID_LEN] = {};
    size_t length = 0;
    int send = 7;
    netsnmp_variable_list* first = platform.handlers.at(event)(message, trap, &length, &send);
    Notification notification = {send == 1, {trap, trap + length}, {}};
    for (const auto* var = first; var; var = var->next_variable) {
        const auto* bytes = reinterpret_cast<const char*>(var->val.string);
        const bool text = var->type == ASN_OCTET_STR || var->type == ASN_OBJECT_ID;
        notification.bindings.emplace_back(Oid{var->name, var->name + var->name_length}, var->type,
                                           text ? std::string(bytes, var->val_len)
                                                : std::to_string(*var->val.integer));
    }
    snmp_free_varbind(first);
    EXPECT_TRUE(send == 0 || send == 1);
    return notification;
}

#define INIT(module) init_##module();
#define DEINIT(module) deinit_##module();

void init_modules()
{
    MIB_MODULES(INIT)
}

void deinit_modules(){MIB_MODULES(DEINIT)}

ModulesTest::ModulesTest()
{
    platform = {};
    agent = {};
    standard_output_of(init_modules);
}

ModulesTest::~ModulesTest()
{
    standard_output_of(deinit_modules);
    EXPECT_THAT(agent.registrations, testing::IsEmpty());
    EXPECT_THAT(platform.handlers, testing::IsEmpty());
}

extern "C" {

int register_mib(const char* name, const variable* variables, size_t entry_size, size_t count,
                 const oid* root, size_t root_length)
{
    Registration registration = {entry_size, {}};
    for (size_t i = 0; i < count; ++i) {
        // Long and short form share all but the room for the OID.
        const auto* entry = reinterpret_cast<const variable1*>(
            reinterpret_cast<const u_char*>(variables) + i * entry_size);
        RegisteredVariable var = {};
        var.record.magic = entry->magic;
        var.record.type = static_cast<char>(entry->type);
        var.record.acl = entry->acl;
        var.record.findVar = entry->findVar;
        var.record.namelen = static_cast<u_char>(root_length + entry->namelen);
        std::copy_n(root, root_length, var.record.name);
        std::copy_n(&entry->name[0], entry->namelen, var.record.name + root_length);
        registration.variables.push_back(var);
    }
    printf("[register_mib %s]\n", name);
    if (agent.register_status == MIB_REGISTERED_OK) {
        agent.registrations[{root, root + root_length}] = registration;
    }
    return agent.register_status;
}

int unregister_mib(oid* root, size_t root_length)
{
    const Oid name = {root, root + root_length};
    puts("[unregister_mib]");
    agent.unregistered.push_back(name);
    return agent.registrations.erase(name) == 1 && agent.whole_tables ? MIB_UNREGISTERED_OK
                                                                      : MIB_NO_SUCH_REGISTRATION;
}

void snmp_set_detail(const char* detail)
{
    agent.details.emplace_back(detail);
}

} // extern "C"
