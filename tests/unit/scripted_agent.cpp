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

variable& ScriptedAgent::variable_of(const Oid& column)
{
    for (auto& [root, registration] : registrations) {
        for (RegisteredVariable& var : registration.variables) {
            if (var.full_oid() == column) {
                return var.record;
            }
        }
    }
    throw std::out_of_range("no such variable");
}

std::optional<Binding> ScriptedAgent::call(variable& var, const Oid& name, bool exact)
{
    oid buffer[MAX_OID_LEN];
    std::copy(name.begin(), name.end(), buffer);
    size_t length = name.size();
    size_t value_length = 0;
    WriteMethod* write_method = nullptr;
    const u_char* value = var.findVar(&var, buffer, &length, exact, &value_length, &write_method);
    if (!value) {
        return {};
    }
    return Binding{{buffer, buffer + length},
                   static_cast<u_char>(var.type),
                   {value, value + value_length},
                   write_method};
}

std::optional<Binding> ScriptedAgent::get(const Oid& name)
{
    for (auto& [root, registration] : registrations) {
        for (RegisteredVariable& var : registration.variables) {
            const Oid column = var.full_oid();
            if (name.size() >= column.size() &&
                std::equal(column.begin(), column.end(), name.begin())) {
                return call(var.record, name, true);
            }
        }
    }
    return {};
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
    const auto current = get(name);
    if (!current || !current->write_method) {
        return -1;
    }
    Bytes data = value;
    data.resize(std::max<size_t>(data.size(), sizeof(long)));
    oid buffer[MAX_OID_LEN];
    std::copy(name.begin(), name.end(), buffer);
    for (const int phase : {0, 1, 2, 3}) {
        const int status = current->write_method(phase, data.data(), type, value.size(), nullptr,
                                                 buffer, name.size());
        if (status != SNMP_ERR_NOERROR) {
            EXPECT_EQ(current->write_method(phase == 2 ? 5 : 4, data.data(), type, value.size(),
                                            nullptr, buffer, name.size()),
                      SNMP_ERR_NOERROR);
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

Notification deliver(uint32_t event, const std::optional<Bytes>& payload)
{
    oid trap[MAX_OID_LEN] = {};
    size_t length = 0;
    int send = 7;
    // The scripted transport's messages are their payloads, in a block of its own size.
    Bytes message = payload.value_or(Bytes());
    netsnmp_variable_list* first =
        platform.handlers.at(event)(payload ? message.data() : nullptr, trap, &length, &send);
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

ModuleTest::ModuleTest(void (*init)(), void (*deinit)()) : deinit_(deinit)
{
    platform = {};
    agent = {};
    testing::internal::CaptureStdout();
    init();
    testing::internal::GetCapturedStdout();
}

ModuleTest::~ModuleTest()
{
    testing::internal::CaptureStdout();
    deinit_();
    testing::internal::GetCapturedStdout();
    EXPECT_THAT(agent.registrations, testing::IsEmpty());
    EXPECT_THAT(platform.handlers, testing::IsEmpty());
}

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
    platform.log.push_back(std::string("register_mib ") + name);
    if (agent.register_status == MIB_REGISTERED_OK) {
        agent.registrations[registration.root] = registration;
    }
    return agent.register_status;
}

int unregister_mib(oid* root, size_t root_length)
{
    platform.log.emplace_back("unregister_mib");
    return agent.registrations.erase({root, root + root_length}) == 1 ? 0 : 1;
}

int snmp_get_do_debugging()
{
    return agent.debugging;
}

void debugmsgtoken(const char* token, const char*, ...)
{
    platform.log.push_back(std::string("token ") + token);
}

void debugmsg(const char* token, const char* format, ...)
{
    char text[512];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    platform.log.push_back(std::string("debug ") + token + " " + text);
}

void snmp_set_detail(const char* detail)
{
    agent.details.emplace_back(detail);
}

} // extern "C"
