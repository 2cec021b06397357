// Small text helpers of the assembler: ASCII upper case and trimming of blanks (spaces only;
// tabs were turned into blanks when the line was stripped).
#pragma once
#include <string>
#include <string_view>

namespace kelvane::asmtext {

inline char upperchar(char c)
{
    return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c;
}

inline std::string upper(std::string_view s)
{
    std::string u(s);
    for (char& c : u)
        c = upperchar(c);
    return u;
}

inline std::string_view trim(std::string_view s)
{
    size_t b = 0;
    size_t e = s.size();
    while (b < e && s[b] == ' ')
        ++b;
    while (e > b && s[e - 1] == ' ')
        --e;
    return s.substr(b, e - b);
}

inline std::string_view rtrim(std::string_view s)
{
    size_t e = s.size();
    while (e > 0 && s[e - 1] == ' ')
        --e;
    return s.substr(0, e);
}

} // namespace kelvane::asmtext
