#include "platform_manager.h"

#include "c_boundary.h"
#include "entity_record.h"
#include "event_queue.h"
#include "result_code.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>

namespace sim {
namespace {

using Bytes = std::vector<std::byte>;

struct Answer {
    ResultCode result = ResultCode::ok;
    Bytes block = {};
};

/// A record as the answer to a request.
template <typename Record>
Answer answer_with(Record record)
{
    swap_wire_order(record);
    const auto bytes = std::as_bytes(std::span(&record, 1));
    return {ResultCode::ok, Bytes(bytes.begin(), bytes.end())};
}

/// The record that a request carries, none when the request is too short for it.
template <typename Record>
std::optional<Record> record_of(std::span<const std::byte> request)
{
    if (request.size() < sizeof(Record)) {
        return std::nullopt;
    }
    Record record;
    std::memcpy(&record, request.data(), sizeof record);
    swap_wire_order(record);
    return record;
}

Answer read_entity(const Chassis& chassis, const Entity* entity)
{
    if (entity == nullptr) {
        return {ResultCode::no_such_entry};
    }
    return answer_with(encode(*entity, chassis.find(entity->contained_in)));
}

Answer write_entity(Chassis& chassis, const ent_phys_entry& record)
{
    const Entity* entity = chassis.find(record.entPhysicalIndex);
    if (entity == nullptr) {
        return {ResultCode::no_such_entry};
    }
    if (entity->entity_class == EntityClass::sensor) {
        return {ResultCode::not_writable};
    }
    chassis.write(entity->index, decode_settable_texts(record));
    return {};
}

Answer physical_entity(Chassis& chassis, int32_t operation, std::span<const std::byte> request)
{
    const auto record = record_of<ent_phys_entry>(request);
    if (!record) {
        return {ResultCode::request_too_short};
    }
    switch (operation) {
    case CHM_REQ_GET:
        return read_entity(chassis, chassis.find(record->entPhysicalIndex));
    case CHM_REQ_GETNEXT:
        return read_entity(chassis, chassis.next_after(record->entPhysicalIndex));
    case CHM_REQ_SET:
        return write_entity(chassis, *record);
    default:
        return {ResultCode::unknown_operation};
    }
}

Answer last_change_time(Chassis& chassis, int32_t operation, std::span<const std::byte> /*none*/)
{
    using namespace std::chrono;
    if (operation != CHM_REQ_GET) {
        return {ResultCode::unknown_operation};
    }
    const auto time = duration_cast<microseconds>(chassis.last_change().time_since_epoch());
    return answer_with(
        platform_time{static_cast<uint32_t>(time / 1s), static_cast<uint32_t>(time % 1s / 1us)});
}

struct Table {
    Opcode opcode;
    Answer (*serve)(Chassis& chassis, int32_t operation, std::span<const std::byte> request);
};

constexpr Table tables[] = {
    {Opcode::physical_entity, physical_entity},
    {Opcode::last_change_time, last_change_time},
};

std::unique_ptr<Chassis> chassis_placed;

Answer serve(uint32_t opcode, int32_t operation, std::span<const std::byte> request)
{
    if (chassis_placed == nullptr) {
        return {ResultCode::no_chassis};
    }
    const auto* table = std::ranges::find(tables, static_cast<Opcode>(opcode), &Table::opcode);
    if (table == std::end(tables)) {
        return {ResultCode::unknown_opcode};
    }
    return table->serve(*chassis_placed, operation, request);
}

/// The copy of a block that its receiver frees.
void* copy_for_caller(const Bytes& block)
{
    void* copy = std::malloc(block.size());
    if (copy == nullptr) {
        throw std::bad_alloc();
    }
    return std::memcpy(copy, block.data(), block.size());
}

} // namespace

void place_chassis(Chassis chassis)
{
    const bool exchanged = chassis_placed != nullptr;
    chassis_placed = std::make_unique<Chassis>(std::move(chassis));
    chassis_placed->observe([](Event event) { post_event(event); });
    if (exchanged) {
        chassis_placed->announce_change();
    }
}

Chassis* chassis_in_place()
{
    return chassis_placed.get();
}

} // namespace sim

int32_t cmi_req_resp(uint32_t opcode, int32_t operation, void* request, void** response,
                     uint32_t* length, const char* /*user*/, uint32_t /*session*/,
                     uint32_t /*route*/, uint32_t /*queue*/, uint32_t /*req_class*/)
{
    const size_t size = request == nullptr ? 0 : *length;
    *length = 0;
    return sim::guard(static_cast<int32_t>(sim::ResultCode::internal_error), [&] {
        const sim::Answer answer =
            sim::serve(opcode, operation, {static_cast<const std::byte*>(request), size});
        if (response != nullptr && !answer.block.empty()) {
            *response = sim::copy_for_caller(answer.block);
            *length = static_cast<uint32_t>(answer.block.size());
        }
        return static_cast<int32_t>(answer.result);
    });
}
