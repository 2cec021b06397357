// Helpers for the assembler tests: assemble a text and read a line's code or error.
#pragma once
#include "assembler/assembler.h"

#include <string>

namespace asmtest {

inline std::string code(const kelvane::Assembler& a, int line)
{
    std::string c = a.asmcode[static_cast<size_t>(line)];
    while (!c.empty() && c.back() == ' ')
        c.pop_back();
    return c;
}

inline const std::string& error(const kelvane::Assembler& a, int line)
{
    return a.asmerrortext[static_cast<size_t>(line)];
}

// The line's code, or "E:" and its error message.
inline std::string outcome(const kelvane::Assembler& a, int line)
{
    if (!error(a, line).empty())
        return "E:" + error(a, line);
    return code(a, line);
}

} // namespace asmtest
