// The machine's state after a kelvane-cli run as JSON (--dump), and the expected values a
// grader gives (--expect): reading them with their refusals, and the list of differences.
// An expect file has the shape of a dump, any part of it left out.
#pragma once
#include "core/machine.h"

#include <cstdint>
#include <string>
#include <vector>

namespace kelvane::cli {

// Addresses first-last, both in 0000-FFFF.
struct MemoryRange {
    int32_t first = 0;
    int32_t last = 0;
};

// Parses "HHHH-HHHH" (four hex digits each, any case, the first not above the second).
bool parsememoryrange(const std::string& text, MemoryRange& out);

// The dump: registers, flags, counters, the memory ranges asked for and the terminal text, as
// indented JSON ending in a line end. f must be composed (freshenpanelvalues) beforehand.
std::string statejson(const MachineState& st, const std::vector<MemoryRange>& ranges);

// One value an expect file asks for.
struct ExpectedValue {
    std::string label;                           // "register A", "memory 2000H", "flag Z"
    int32_t MachineState::* field = nullptr;     // a register, flag or counter; null for memory
    int32_t address = -1;                        // the memory byte
    int32_t mask = -1;                           // the bits compared: FF, FFFF, or all
    int digits = 0;                              // hex digits shown, 0 for decimal
    int64_t value = 0;
};

struct Expectation {
    std::vector<ExpectedValue> values;
    bool hasterminal = false;
    std::string terminal;  // bytes, as the terminal takes them
    size_t terminalat = 0; // where it stands among the values, in the file's order
};

// Reads an expect file's text. On a fault returns false with a plain message in error.
bool readexpectation(const std::string& text, Expectation& out, std::string& error);

// The differences between the expectation and the machine, one line each; empty when all match.
std::vector<std::string> differences(const Expectation& expected, const MachineState& st);

} // namespace kelvane::cli
