#include "constant_platform.h"

#include "libraries/malloc_copy.h"
#include "wire/physical_index.h"
#include "wire/requests.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <span>

#pragma GCC visibility push(default)
#include "cmi.h"
#include "if_index.h"
#include "pdb.h"
#include "port_client.h"
#include "port_manager.h"
#pragma GCC visibility pop

namespace constant_platform {
namespace {

uint32_t setting(const char* variable, uint32_t otherwise) noexcept
{
    const char* text = getenv(variable);
    return text != nullptr ? static_cast<uint32_t>(strtoul(text, nullptr, 10)) : otherwise;
}

/// Rows of the physical table; the first ones lie below the transceivers' sensors, the others
/// above.
const uint32_t physical_rows = setting("CHM_BENCH_ROWS", 1000);
constexpr uint32_t physical_rows_below = 20000;
/// Ports, each with a transceiver of one lane.
const uint32_t ports = setting("CHM_BENCH_PORTS", 64);
constexpr uint32_t ports_per_slot = 64;
/// Rows of every other table.
constexpr uint32_t small_table = 8;

Calls* recording; ///< null when calls are not recorded

template <typename Block>
void* copy_of(const Block& block)
{
    return sim::malloc_copy(std::as_bytes(std::span(&block, 1)));
}

ent_phys_entry make_entity()
{
    ent_phys_entry row = {};
    const uint32_t vendor_type[] = {1, 3, 6, 1, 4, 1, ENTERPRISE_MAIN, 12, 3, 1, 9, 22};
    std::ranges::copy(vendor_type, row.entPhysicalVendorType);
    row.vendor_type_len = std::size(vendor_type);
    constexpr char value[] = "fourteen chars";
    for (char* text : {row.entPhysicalDescr, row.entPhysicalName, row.entPhysicalHardwareRev,
                       row.entPhysicalFirmwareRev, row.entPhysicalSoftwareRev,
                       row.entPhysicalSerialNum, row.entPhysicalMfgName, row.entPhysicalModelName,
                       row.entPhysicalAlias, row.second_serial_num, row.clei_code}) {
        memcpy(text, value, sizeof value);
    }
    return row;
}

diag_info make_lane()
{
    diag_info lane;
    std::fill_n(reinterpret_cast<uint32_t*>(&lane), sizeof lane / sizeof(uint32_t), 3300);
    lane.calib_type = INTERNAL_CALIBRATION;
    return lane;
}

/// The record of every other request: words of 2, which in a status says that all is well.
std::array<be_uint32, 128> make_words()
{
    std::array<be_uint32, 128> words;
    words.fill(2);
    return words;
}

/// The record that a request is answered with.
std::span<const std::byte> sample_of(const RequestCode& request)
{
    static const ent_phys_entry entity = make_entity();
    static const auto words = make_words();
    return request == physical_table ? std::as_bytes(std::span(&entity, 1))
                                     : std::as_bytes(std::span(words)).first(request.record_size);
}

/// A call of cmi_req_resp with a response.
struct Call {
    const RequestCode& request;
    int32_t operation;
    const void* payload;
    void** response;
    uint32_t* length;

    /// Answers with the request's record, the first words of which are an index.
    int32_t answer(std::span<const be_uint32> index = {}, int32_t result = PLATFORM_OK) const
    {
        *response = sim::malloc_copy(sample_of(request));
        memcpy(*response, index.data(), index.size_bytes());
        *length = static_cast<uint32_t>(request.record_size);
        return result;
    }
};

/// A row of a table whose first indexes are the `count` ones after `base`, and any other one is 1.
int32_t answer_row(const Call& call, uint32_t count, uint32_t base = 0)
{
    std::array<be_uint32, 2> words;
    const std::span index = std::span(words).first(call.request.indexes);
    memcpy(index.data(), call.payload, index.size_bytes());
    // An index cut short has a row after it that begins alike.
    if (call.operation == CHM_REQ_GETNEXT && (index.back() != 0 || index[0] <= base)) {
        index[0] = std::max<uint32_t>(index[0], base) + 1;
    }
    if (index[0] - base - 1 >= count) {
        return PLATFORM_NO_SUCH_ENTRY;
    }
    std::fill(index.begin() + 1, index.end(), 1);
    return call.answer(index);
}

/// A failure directs a walk to the transceivers' sensors.
int32_t answer_physical(const Call& call)
{
    const uint32_t below = std::min(physical_rows, physical_rows_below);
    const uint32_t index = *static_cast<const be_uint32*>(call.payload);
    const bool after_below = call.operation == CHM_REQ_GETNEXT && index >= below;
    if (after_below && ports > 0 && index < ENTITY_PORT_SFP_SENSOR_START) {
        const be_uint32 start[] = {ENTITY_PORT_SFP_SENSOR_START};
        return call.answer(start, PLATFORM_NO_SUCH_ENTRY);
    }
    return after_below || index > physical_rows_below
               ? answer_row(call, physical_rows - below, PLATFORM_ROWS_RESUME)
               : answer_row(call, below);
}

int32_t answer(const Call& call)
{
    if (call.request.indexes == 0) {
        return call.answer();
    }
    switch (call.request) {
    case physical_table:
        return answer_physical(call);
    case sensor_value_table:
    case sensor_threshold_table:
        return answer_row(call, small_table, ENTITY_SENSOR_START);
    default:
        return answer_row(call, small_table);
    }
}

uint32_t port_number(uint32_t if_index)
{
    return (if_index >> 16 & 0xff) * ports_per_slot + (if_index >> 8 & 0xff);
}

/// Answers any query about a port with a block for a transceiver with diagnostics.
template <typename Query>
int32_t answer_port(Query* query, uint32_t if_index, uint32_t port, void** response)
{
    if (recording != nullptr) {
        recording->emplace_back([=]() mutable {
            uint32_t count = 1;
            void* again = nullptr;
            query(0, 0, 1, &if_index, &count, &again, 5);
            free(again);
        });
    }
    if (port >= ports) {
        return PLATFORM_NO_SUCH_ENTRY;
    }
    constexpr uint32_t ethernet = 26;
    const uint32_t start[] = {
        ethernet << 24 | port / ports_per_slot << 16 | port % ports_per_slot << 8, 0};
    static std::array<uint8_t, PM_FCOT_INFO_SIZE> block = {};
    block[PM_PORT_CONFIG_TRANSCEIVER] = block[PM_FCOT_DIAG_MON_TYPE] = 1;
    memcpy(block.data(), start, sizeof start);
    *response = copy_of(block);
    return PLATFORM_OK;
}

} // namespace

Calls calls_of(const std::function<void()>& action)
{
    Calls calls;
    recording = &calls;
    action();
    recording = nullptr;
    return calls;
}

} // namespace constant_platform

using namespace constant_platform;

int32_t cmi_req_resp(uint32_t opcode, int32_t operation, void* request, void** response,
                     uint32_t* length, const char* /*user*/, uint32_t /*session*/,
                     uint32_t /*route*/, uint32_t /*queue*/, uint32_t /*req_class*/)
{
    if (recording != nullptr) {
        std::vector<uint8_t> payload(request != nullptr ? *length : 0);
        std::copy_n(static_cast<const uint8_t*>(request), payload.size(), payload.begin());
        recording->emplace_back([=, asks = response != nullptr]() mutable {
            void* again = nullptr;
            auto size = static_cast<uint32_t>(payload.size());
            cmi_req_resp(opcode, operation, payload.data(), asks ? &again : nullptr, &size, nullptr,
                         0, 0, 0, 0);
            free(again);
        });
    }
    if (response == nullptr) {
        return PLATFORM_OK;
    }
    const auto* known = std::ranges::find(platform_requests, opcode, &RequestCode::opcode);
    return known == std::end(platform_requests)
               ? PLATFORM_NO_SUCH_ENTRY
               : answer({*known, operation, request, response, length});
}

int32_t pm_cmi_get_port_config(uint32_t, int32_t, uint32_t, uint32_t* if_index, uint32_t*,
                               void** response, uint32_t)
{
    return answer_port(pm_cmi_get_port_config, *if_index, port_number(*if_index), response);
}

int32_t pm_get_next_port_fcot_info_with_ddm(uint32_t, int32_t, uint32_t, uint32_t* if_index,
                                            uint32_t*, void** response, uint32_t)
{
    return answer_port(pm_get_next_port_fcot_info_with_ddm, *if_index, port_number(*if_index) + 1,
                       response);
}

int32_t pm_cmi_get_fcot_info(uint32_t, int32_t, uint32_t, uint32_t* if_index, uint32_t*,
                             void** response, uint32_t)
{
    return answer_port(pm_cmi_get_fcot_info, *if_index, port_number(*if_index), response);
}

int32_t pm_get_sfp_diag_info(uint32_t, uint32_t if_index, void** diag, void** aux,
                             uint32_t* num_of_lanes)
{
    if (recording != nullptr) {
        recording->emplace_back([=] {
            void* again[2] = {};
            uint32_t lanes = 0;
            pm_get_sfp_diag_info(0, if_index, &again[0], &again[1], &lanes);
            std::ranges::for_each(again, free);
        });
    }
    *num_of_lanes = 1;
    static const diag_info lane = make_lane();
    *diag = copy_of(lane);
    *aux = malloc(PM_DIAG_AUX_SIZE);
    return port_number(if_index) < ports ? PLATFORM_OK : PLATFORM_NO_SUCH_ENTRY;
}

int pdb_get_mod_info(const uint32_t* /*slot*/, void* info, uint32_t /*two*/)
{
    memset(info, 0, PDB_MOD_INFO_SIZE);
    return 0;
}

void sprintf_if_index(char* buffer, uint32_t /*if_index*/)
{
    memcpy(buffer, "Ethernet1/1", sizeof "Ethernet1/1");
}

int32_t pc_sfp_get_vendor_info(const void* /*fcot_res*/, char* manufacturer, char* model,
                               char* revision, char* serial, char* alias)
{
    for (char* text : {manufacturer, model, revision, serial, alias}) {
        memcpy(text, "a transceiver", sizeof "a transceiver");
    }
    return 0;
}
