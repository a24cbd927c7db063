#include "exchange.h"

#include "allocator.h"
#include "platform_calls.h"

#include <algorithm>
#include <cstring>

namespace conform {
namespace {

const char* operation_name(int32_t operation)
{
    constexpr const char* names[] = {"", "GET", "GETNEXT", "SET"};
    return names[operation];
}

} // namespace

std::string result_text(int32_t result)
{
    const char* text = nullptr;
    if (platform().rcode2str.address != nullptr) {
        text = platform().rcode2str(static_cast<uint32_t>(result));
    }
    return "result " + std::to_string(result) +
           (text == nullptr ? "" : std::string(" (") + text + ")");
}

Bytes take_block(void* block, size_t least, Line& blocks)
{
    if (block == nullptr) {
        blocks.violated("success without a block");
        return {};
    }
    const Block known = block_at(block);
    if (known.state != BlockState::live) {
        blocks.violated(known.state == BlockState::freed
                            ? "a block that the caller had freed before"
                            : "a block that is not malloc's, so free() would abort");
        return {};
    }
    const auto* bytes = static_cast<const std::byte*>(block);
    Bytes taken(bytes, bytes + std::min(least, known.size));
    release(block);
    if (known.size < least) {
        blocks.violated("a block of " + std::to_string(known.size) + " bytes, not " +
                        std::to_string(least));
    }
    return taken;
}

Exchange::Exchange(const RequestCode& code)
    : code_(code), blocks_(std::string(code.name) + ".blocks", "each response, freed once",
                           "a response is a block of malloc as long as *length says, and the "
                           "caller's"),
      lengths_(std::string(code.name) + ".length", "*length after each request",
               "it is the size of the response, 0 without one, also on failure"),
      payloads_(std::string(code.name) + ".payload", "the payload after each request",
                "the payload is the caller's and stays as it is")
{
}

Reply Exchange::ask(int32_t operation, const Bytes& record, uint32_t length)
{
    Bytes payload = record;
    void* response = nullptr;
    const bool is_set = operation == CHM_REQ_SET;
    const std::string request = std::string(code_.name) + " " + operation_name(operation);
    name_calls(request);
    ++requests_;
    const int32_t result =
        platform().cmi_req_resp(code_.opcode, operation, payload.empty() ? nullptr : payload.data(),
                                is_set ? nullptr : &response, &length, nullptr, 0, CHM_REQ_ROUTE,
                                response_queue(), code_.req_class);
    name_calls("");
    if (payload != record) {
        payloads_.violated("changed by " + request);
    }
    Reply reply{result, response != nullptr};
    if (reply.has_block) {
        reply.bytes = take_block(response, length, blocks_);
    } else if (result == PLATFORM_OK && !is_set) {
        blocks_.violated("success without a response to " + request);
    }
    if ((length == 0) == reply.has_block && !is_set) {
        lengths_.violated(std::to_string(length) + (reply.has_block ? " with" : " without") +
                          " a response, after " + request + " with result " +
                          std::to_string(result));
    }
    if (take_double_frees() > 0) {
        blocks_.violated("the platform freed a response that the caller had freed");
    }
    return reply;
}

void Exchange::close()
{
    const std::string all = std::to_string(requests_) + " requests";
    blocks_.close(all);
    lengths_.close(all);
    payloads_.close(all);
}

std::vector<uint32_t> key_of(const RequestCode& code, std::span<const std::byte> row)
{
    std::vector<uint32_t> key;
    for (size_t word = 0; word < code.indexes; ++word) {
        be_uint32 number;
        std::memcpy(&number, row.data() + word * sizeof number, sizeof number);
        key.push_back(number);
    }
    return key;
}

Bytes record_with_key(const RequestCode& code, std::span<const uint32_t> key)
{
    Bytes record(code.record_size);
    for (size_t word = 0; word < key.size(); ++word) {
        const be_uint32 number = key[word];
        std::memcpy(record.data() + word * sizeof number, &number, sizeof number);
    }
    return record;
}

std::string key_text(std::span<const uint32_t> key)
{
    std::string text;
    for (const uint32_t word : key) {
        text += (text.empty() ? "" : ".") + std::to_string(word);
    }
    return text;
}

} // namespace conform
