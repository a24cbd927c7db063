/// All MIB modules in front of a platform that answers from the input: requests for any instance,
/// writes of any value, events with any payload.
#include "scripted_agent.h"
#include "wire/events.h"

#include <algorithm>
#include <cassert>

#include <fuzzer/FuzzedDataProvider.h>

namespace {

using Input = FuzzedDataProvider;

constexpr int most_rows = 100; ///< consecutive, for any request

bool perhaps(Input& input, float probability)
{
    return input.ConsumeProbability<float>() < probability;
}

uint32_t word_below(Input& input, uint32_t limit)
{
    return input.ConsumeIntegralInRange<uint32_t>(0, limit - 1);
}

/// An index, often an existing one: a row at the edge of a range, or a transceiver's sensor.
uint32_t drawn_index(Input& input)
{
    switch (word_below(input, 4)) {
    case 0:
        return input.ConsumeIntegral<uint32_t>();
    case 1:
        return 25813 + word_below(input, 3) * 4096 + word_below(input, 64);
    default:
        return input.PickValueInArray<uint32_t>(
            {0, 0, 1, 2, 1001, 25685, 25812, 25813, 287957, 287958, UINT32_MAX});
    }
}

/// The same word again and again, in wire order, but for a part: blocks are large, inputs small.
Bytes drawn_bytes(Input& input, size_t length)
{
    const auto word = input.PickValueInArray<uint32_t>({0, 0, 1, 2, 0x78787878, UINT32_MAX});
    Bytes bytes(length);
    for (size_t i = 0; i < length; ++i) {
        bytes[i] = static_cast<uint8_t>(word >> (24 - 8 * (i % 4)));
    }
    const auto offset = input.ConsumeIntegralInRange<size_t>(0, length);
    const std::string part = input.ConsumeRandomLengthString(length - offset);
    std::copy(part.begin(), part.end(), bytes.begin() + static_cast<ptrdiff_t>(offset));
    return bytes;
}

PlatformAnswer drawn_answer(Input& input)
{
    PlatformAnswer answer;
    answer.result = perhaps(input, 0.9F) ? input.PickValueInArray({0, 0, 0, 1, 2})
                                         : input.ConsumeIntegral<int32_t>();
    if (perhaps(input, 0.8F)) {
        answer.response = drawn_bytes(input, word_below(input, 4000));
    }
    return answer;
}

/// The answers in turn, starting over after the last, so that no loop of the library ends for lack
/// of input. Some are rows with a drawn index, some rows a drawn distance after the requested one;
/// only the latter come to an end.
auto drawn_answers(Input& input)
{
    enum class Row { any, of_index, step };
    std::vector<std::tuple<PlatformAnswer, Row, uint32_t>> answers;
    for (auto count = 1 + word_below(input, 6); count > 0; --count) {
        answers.emplace_back(drawn_answer(input), static_cast<Row>(word_below(input, 3)),
                             drawn_index(input));
    }
    return [answers, next = size_t{0}, rows = 0](uint32_t asked) mutable {
        auto [answer, row, index] = answers[next++ % answers.size()];
        if (row == Row::step && ++rows > most_rows) {
            return PlatformAnswer{1, {}};
        }
        if (row != Row::any && answer.response && answer.response->size() >= 4) {
            put_wire_word(*answer.response, 0, row == Row::step ? asked + index : index);
        }
        return answer;
    };
}

ScriptedPort drawn_port(Input& input)
{
    ScriptedPort port;
    port.config.response->at(211) = 1;                 // there is a transceiver
    port.info.response->at(101) = input.ConsumeBool(); // whether it has diagnostics
    port.lanes = word_below(input, 9);
    port.diagnostics.response = drawn_bytes(input, size_t{172} * port.lanes);
    port.has_auxiliary = input.ConsumeBool();
    for (PlatformAnswer* answer : {&port.config, &port.info, &port.diagnostics}) {
        if (perhaps(input, 0.2F)) {
            *answer = drawn_answer(input);
        }
    }
    return port;
}

void draw_platform(Input& input)
{
    platform.history_on = input.ConsumeBool();
    platform.debug_on = input.ConsumeBool();
    platform.switchover_reason = input.ConsumeIntegralInRange(-1, 7);
    platform.supervisor_state = input.ConsumeIntegralInRange(-1, 7);
    platform.chassis_type = word_below(input, 50);
    platform.uptime = input.ConsumeIntegral<uint32_t>();
    platform.answer = [answer = drawn_answers(input)](const PlatformCall& call) mutable {
        return answer(call.payload && call.length >= 4 ? wire_word(*call.payload, 0) : 0);
    };
    platform.port_type = input.PickValueInArray<uint8_t>({26, 26, 26, 1, 2, 0});
    for (auto count = word_below(input, 6); count > 0; --count) {
        const bool usual = perhaps(input, 0.8F);
        const uint32_t slot = word_below(input, usual ? 3 : 66);
        const uint32_t port = word_below(input, usual ? 4 : 256);
        platform.ports[uint32_t{platform.port_type} << 24 | slot << 16 | port << 8] =
            drawn_port(input);
    }
    if (perhaps(input, 0.2F)) {
        platform.next_port = drawn_answers(input);
    }
}

RegisteredVariable& drawn_variable(Input& input, bool writable)
{
    std::vector<RegisteredVariable*> all = agent.variables();
    std::erase_if(all, [&](auto* one) { return writable && one->record.acl != RWRITE; });
    return *all[word_below(input, static_cast<uint32_t>(all.size()))];
}

/// The name of an instance, or a similar one.
Oid drawn_name(Input& input, const Oid& column)
{
    Oid name = column;
    if (perhaps(input, 0.1F)) {
        name.resize(1 + word_below(input, static_cast<uint32_t>(column.size())));
        name.back() = input.ConsumeIntegral<uint32_t>();
    }
    for (auto more = perhaps(input, 0.6F) ? 1 : word_below(input, 4); more > 0; --more) {
        name.push_back(drawn_index(input));
    }
    if (perhaps(input, 0.05F)) {
        name.resize(MAX_OID_LEN, 1);
    }
    return name;
}

void check_value(u_char type, const Bytes& value, size_t longest_text)
{
    if (type == ASN_OCTET_STR) {
        assert(value.size() <= longest_text);
    } else if (type == ASN_OBJECT_ID) {
        assert(value.size() % sizeof(oid) == 0 && value.size() <= 128 * sizeof(oid));
    } else {
        assert(value.size() == sizeof(int32_t));
    }
}

/// No answer leads a walk backwards or out of the variable. Only a success that brought no row
/// leaves the name as it was; and names beyond the variable, which no agent asks it for, may start
/// its table over.
void check_name(const Oid& column, const Oid& asked, const Oid& name)
{
    const auto in_column = [&](const Oid& one) {
        return one.size() > column.size() && std::equal(column.begin(), column.end(), one.begin());
    };
    const bool beyond = asked > column && !in_column(asked);
    assert(name == asked || ((name > asked || beyond) && in_column(name)));
}

void read(Input& input)
{
    RegisteredVariable& variable = drawn_variable(input, false);
    const Oid column = variable.full_oid();
    const Oid name = drawn_name(input, column);
    const bool exact = input.ConsumeBool();
    const Answer answer = ask(variable.record, name, exact);
    assert(platform.calls.size() <= 2);
    if (answer.value) {
        const Oid clei_code = {1, 3, 6, 1, 4, 1, ENTERPRISE_ALT, 9, 92, 1, 1, 1, 11};
        const Oid message = {1, 3, 6, 1, 4, 1, ENTERPRISE_ALT, 2, 9, 7};
        const size_t longest_text = column == clei_code ? 271 : column == message ? 260 : 254;
        const auto type = static_cast<u_char>(variable.record.type);
        check_value(type, *answer.value, longest_text);
        if (!exact) {
            check_name(column, name, answer.name);
        }
    }
}

void write(Input& input)
{
    const RegisteredVariable& variable = drawn_variable(input, true);
    const Oid name = drawn_name(input, variable.full_oid());
    const auto type = perhaps(input, 0.9F) ? static_cast<u_char>(variable.record.type)
                                           : input.ConsumeIntegral<u_char>();
    const uint32_t limit = perhaps(input, 0.6F) ? 34 : 600;
    const int status = type == ASN_INTEGER && perhaps(input, 0.8F)
                           ? agent.set(name, input.ConsumeIntegralInRange<long>(-1, 5))
                           : agent.set(name, type, drawn_bytes(input, word_below(input, limit)));
    const bool wrong = status == SNMP_ERR_WRONGTYPE || status == SNMP_ERR_WRONGLENGTH ||
                       status == SNMP_ERR_WRONGVALUE;
    const auto sent = std::count_if(platform.calls.begin(), platform.calls.end(),
                                    [](const PlatformCall& call) { return call.operation == 3; });
    assert(status >= -1 && status <= MAX_SNMP_ERR && sent <= (wrong ? 0 : 1));
}

void send_event(Input& input)
{
    const EventCode event = input.PickValueInArray(platform_events);
    Message message;
    if (perhaps(input, 0.9F)) {
        message.payload = drawn_bytes(input, event.record_size);
    }
    const Notification notification = deliver(event, perhaps(input, 0.95F) ? &message : nullptr);
    assert(platform.calls.size() <= 3 * most_rows); // three walks, each as far as its rows go up
    assert(notification.sent ? !notification.name.empty() : notification.bindings.empty());
    for (const auto& [name, type, value] : notification.bindings) {
        assert(type != ASN_OCTET_STR || value.size() <= 257);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    Input input(data, size);
    testing::GTEST_FLAG(break_on_failure) = true; // what the scripted agent expects holds as well
    init_modules();
    draw_platform(input);
    while (input.remaining_bytes() > 0) {
        platform.calls.clear();
        platform.uptime += word_below(input, 7000);
        constexpr void (*actions[])(Input&) = {read, read, read, write, send_event};
        input.PickValueInArray(actions)(input);
    }
    deinit_modules();
    assert(agent.registrations.empty() && platform.handlers.empty());
    // Nothing is kept, so that the leak detection sees only the leaks of this input.
    platform_blocks().clear();
    platform = {};
    agent = {};
    return 0;
}
