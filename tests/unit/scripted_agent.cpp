#include "scripted_agent.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>

ScriptedAgent agent;

uint32_t Binding::integer() const
{
    uint32_t word = 0;
    EXPECT_TRUE(value.size() == 4 || value.size() == sizeof(long));
    memcpy(&word, value.data(), std::min<size_t>(value.size(), 4));
    return word;
}

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

std::optional<Binding> ScriptedAgent::call(variable& var, const Oid& name, bool exact)
{
    const Answer answer = ask(var, name, exact);
    if (!answer.value) {
        return {};
    }
    return Binding{answer.name, static_cast<u_char>(var.type), *answer.value, answer.write_method};
}

variable* ScriptedAgent::variable_for(const Oid& name)
{
    for (auto& [root, registration] : registrations) {
        for (RegisteredVariable& var : registration.variables) {
            const Oid column = var.full_oid();
            if (name.size() >= column.size() &&
                std::equal(column.begin(), column.end(), name.begin())) {
                return &var.record;
            }
        }
    }
    return nullptr;
}

std::optional<Binding> ScriptedAgent::get(const Oid& name)
{
    variable* var = variable_for(name);
    return var ? call(*var, name, true) : std::nullopt;
}

std::optional<Binding> ScriptedAgent::next(const Oid& name)
{
    for (auto& [root, registration] : registrations) {
        for (RegisteredVariable& var : registration.variables) {
            const Oid column = var.full_oid();
            const Oid prefix(name.begin(), name.begin() + static_cast<ptrdiff_t>(std::min(
                                                              name.size(), column.size())));
            if (prefix > column) {
                continue;
            }
            if (auto binding = call(var.record, std::max(name, column), false)) {
                return binding;
            }
        }
    }
    return {};
}

std::vector<Binding> ScriptedAgent::walk(const Oid& root)
{
    std::vector<Binding> found;
    Oid name = root;
    while (auto binding = next(name)) {
        if (!std::equal(root.begin(), root.end(), binding->name.begin())) {
            break;
        }
        if (binding->name <= name) {
            ADD_FAILURE() << "the walk does not move forward";
            break;
        }
        name = binding->name;
        found.push_back(*std::move(binding));
    }
    return found;
}

int ScriptedAgent::set(const Oid& name, u_char type, const Bytes& value)
{
    // The read callback hands out the write method, whether or not it finds the instance.
    variable* var = variable_for(name);
    WriteMethod* write_method = var ? ask(*var, name, true).write_method : nullptr;
    if (!write_method) {
        return -1;
    }
    Bytes data = value;
    data.resize(std::max<size_t>(data.size(), sizeof(long)));
    oid buffer[MAX_OID_LEN];
    std::copy(name.begin(), name.end(), buffer);
    for (const int phase : {0, 1, 2, 3}) {
        const int status =
            write_method(phase, data.data(), type, value.size(), nullptr, buffer, name.size());
        if (status != SNMP_ERR_NOERROR) {
            write_method(phase == 2 ? 5 : 4, data.data(), type, value.size(), nullptr, buffer,
                         name.size());
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

int ScriptedAgent::set(const Oid& name, const std::string& value)
{
    return set(name, ASN_OCTET_STR, Bytes(value.begin(), value.end()));
}

Oid operator+(Oid name, const Oid& more)
{
    name.insert(name.end(), more.begin(), more.end());
    return name;
}

Notification deliver(uint32_t event, const Bytes& payload)
{
    Message message = {payload};
    return deliver(event, &message);
}

Notification deliver(uint32_t event, Message* message)
{
    oid trap[MAX_OID_LEN] = {};
    size_t length = 0;
    int send = 7;
    netsnmp_variable_list* first = platform.handlers.at(event)(message, trap, &length, &send);
    Notification notification = {send == 1, {trap, trap + length}, {}};
    for (const auto* var = first; var; var = var->next_variable) {
        notification.bindings.push_back({{var->name, var->name + var->name_length},
                                         var->type,
                                         {var->val.string, var->val.string + var->val_len},
                                         nullptr});
    }
    snmp_free_varbind(first);
    EXPECT_TRUE(send == 0 || send == 1);
    return notification;
}

std::vector<Brief> briefly(const Notification& notification)
{
    std::vector<Brief> brief;
    for (const Binding& binding : notification.bindings) {
        const bool text = binding.type == ASN_OCTET_STR || binding.type == ASN_OBJECT_ID;
        brief.emplace_back(binding.name, binding.type,
                           text ? binding.text() : std::to_string(binding.integer()));
    }
    return brief;
}

ModuleTest::ModuleTest(void (*init)(), void (*deinit)()) : deinit_(deinit)
{
    platform = {};
    agent = {};
    standard_output_of(init);
}

ModuleTest::~ModuleTest()
{
    standard_output_of(deinit_);
    EXPECT_THAT(agent.registrations, testing::IsEmpty());
    EXPECT_THAT(platform.handlers, testing::IsEmpty());
}

namespace {

[[gnu::format(printf, 3, 0)]] void log_debug_message(const char* kind, const char* token,
                                                     const char* format, va_list arguments)
{
    char text[512];
    vsnprintf(text, sizeof text, format, arguments);
    platform.log.push_back(std::string(kind) + " " + token + " " + text);
}

} // namespace

extern "C" {

int register_mib(const char* name, const variable* variables, size_t entry_size, size_t count,
                 const oid* root, size_t root_length)
{
    Registration registration = {name, {root, root + root_length}, entry_size, {}};
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
    platform.note(std::string("register_mib ") + name);
    if (agent.register_status == MIB_REGISTERED_OK) {
        agent.registrations[registration.root] = registration;
    }
    return agent.register_status;
}

int unregister_mib(oid* root, size_t root_length)
{
    const Oid name = {root, root + root_length};
    platform.note("unregister_mib");
    agent.unregistered.push_back(name);
    return agent.registrations.erase(name) == 1 && agent.whole_tables ? MIB_UNREGISTERED_OK
                                                                      : MIB_NO_SUCH_REGISTRATION;
}

int snmp_get_do_debugging()
{
    return agent.debugging;
}

void debugmsgtoken(const char* token, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    log_debug_message("token", token, format, arguments);
    va_end(arguments);
}

void debugmsg(const char* token, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    log_debug_message("debug", token, format, arguments);
    va_end(arguments);
}

void snmp_set_detail(const char* detail)
{
    agent.details.emplace_back(detail);
}

} // extern "C"
