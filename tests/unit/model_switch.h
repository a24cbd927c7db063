/// A plain model of the switch: the platform's tables as maps of wire records, and all MIB modules
/// in front of it.
#pragma once

#include "scripted_agent.h"
#include "wire/requests.h"

/// A row's index, its second word 0 where there is none; all 0 for the record of scalars.
using RowKey = std::pair<uint32_t, uint32_t>;

constexpr const RequestCode& request_of(uint32_t opcode)
{
    return *std::ranges::find(platform_requests, opcode, &RequestCode::opcode);
}

/// Whether a table's rows have two indexes.
constexpr bool has_two_indexes(uint32_t opcode)
{
    return request_of(opcode).indexes == 2;
}

/// Whether an opcode's one record has scalars, and no index.
constexpr bool is_scalar(uint32_t opcode)
{
    return request_of(opcode).indexes == 0;
}

struct ModelSwitch {
    std::map<uint32_t, std::map<RowKey, Bytes>> tables; ///< rows by opcode

    /// A few rows in every table, with rows below and above those of the transceivers.
    ModelSwitch();

    /// Answers as the platform manager does: a walk comes to the rows of the transceivers by a
    /// failure, and from beyond them to the rows that follow.
    PlatformAnswer answer(const PlatformCall& call);
};

/// A row of a table with its index in it. The rest is a pattern, another one for each seed, in
/// which no two words near each other are alike: without zeros for an even seed, with few for an
/// odd one.
Bytes model_row(uint32_t opcode, RowKey key, uint32_t seed);

/// All modules, in front of a fresh model.
class WholeSwitchTest : public ModulesTest {
protected:
    WholeSwitchTest();

    ModelSwitch model;
    int32_t lookup_result = 0; ///< of each read but a SET's first, instead of what the model says
    int32_t write_result = 0;  ///< of each write
};
