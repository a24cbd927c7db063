/// Agents and transports of the 32-bit target may keep the stack aligned to 4 bytes only.
#include "model_switch.h"

// call_with_stack_off(bytes, function, seven arguments): calls it with the stack so many bytes off
// the alignment to 16 that today's compilers rely on.
asm(R"(
        .text
call_with_stack_off:
        push    %ebp
        mov     %esp, %ebp
        and     $-16, %esp
        sub     8(%ebp), %esp
        sub     $4, %esp
        mov     $7, %ecx
1:      pushl   12(%ebp,%ecx,4)
        loop    1b
        call    *12(%ebp)
        leave
        ret
)");

extern "C" void* call_with_stack_off(unsigned bytes, void* function, ...);

namespace {

class StackAlignment : public WholeSwitchTest, public testing::WithParamInterface<unsigned> {};

TEST_P(StackAlignment, MayBeThatOfOldAgents)
{
    platform.ports = {{port_at(1, 2), port_with_diagnostics({{16, 3300000}})}};
    int values = 0;
    int bindings = 0;
    quietly([&] {
        for (RegisteredVariable* registered : agent.variables()) {
            variable& var = registered->record;
            oid name[MAX_OID_LEN];
            std::copy_n(var.name, var.namelen, name);
            size_t length = var.namelen;
            size_t value_length = 0;
            WriteMethod* write_method = nullptr;
            auto* read = reinterpret_cast<void*>(var.findVar);
            const auto next = [&] {
                return call_with_stack_off(GetParam(), read, &var, name, &length, 0, &value_length,
                                           &write_method, 0);
            };
            for (int rows = 0; rows < 1000 && next(); ++rows) {
                ++values;
            }
            if (write_method) {
                long value = 2;
                // In the phase that writes.
                call_with_stack_off(GetParam(), reinterpret_cast<void*>(write_method), 2, &value,
                                    ASN_INTEGER, sizeof value, nullptr, name, length);
            }
        }
        for (const auto& [event, handler] : platform.handlers) {
            ::Message message = {Bytes(2780, 1)};
            oid name[MAX_OID_LEN];
            size_t length = 0;
            int send = 0;
            auto* list = static_cast<netsnmp_variable_list*>(
                call_with_stack_off(GetParam(), reinterpret_cast<void*>(handler), &message, name,
                                    &length, &send, nullptr, nullptr, nullptr));
            bindings += count_varbinds(list);
            snmp_free_varbind(list);
        }
    });
    EXPECT_GT(values, 200);
    EXPECT_GT(bindings, 15);
}

INSTANTIATE_TEST_SUITE_P(Off, StackAlignment, testing::Values(0U, 4U, 8U, 12U));

} // namespace
