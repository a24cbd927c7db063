/// A plain model of the switch: the platform's tables as maps of wire records, and all MIB modules
/// in front of it.
#pragma once

#include "scripted_agent.h"

/// A row's index, its second word 0 where there is none.
using RowKey = std::pair<uint32_t, uint32_t>;

/// Whether a table's rows have two indexes.
constexpr bool has_two_indexes(uint32_t opcode)
{
    return opcode == 1032 || opcode == 3242;
}

struct ModelSwitch {
    std::map<uint32_t, std::map<RowKey, Bytes>> tables; ///< rows by opcode
    std::map<uint32_t, Bytes> scalars;                  ///< records by opcode

    /// A few rows in every table, with rows below and above those of the transceivers.
    ModelSwitch();

    /// Answers as the platform manager does: a walk comes to the rows of the transceivers by a
    /// failure, and from beyond them to the rows that follow.
    PlatformAnswer answer(const PlatformCall& call);
};

/// A row of a table with its index in it, other words and bytes as given.
Bytes model_row(uint32_t opcode, RowKey key, uint8_t filler);

/// All modules, in front of a fresh model.
class WholeSwitchTest : public ModuleTest {
protected:
    WholeSwitchTest();

    ModelSwitch model;
};

/// The interface index of a port.
constexpr uint32_t port_at(uint32_t slot, uint32_t number)
{
    return 26U << 24 | slot << 16 | number << 8;
}

/// A port whose transceiver has diagnostics, with raw words by their offset.
ScriptedPort port_with_diagnostics(const std::map<size_t, uint32_t>& words);
