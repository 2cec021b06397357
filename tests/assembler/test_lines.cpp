// Line by line: each source of lines.txt assembled, every line's code or error and address as
// recorded (labels, forward references, EQU, directives, operand ranges, refused texts).
#include "assembler/assembler.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

namespace {

std::vector<std::string> split(const std::string& s, const std::string& by)
{
    std::vector<std::string> parts;
    for (size_t at = 0;;) {
        const size_t next = s.find(by, at);
        parts.push_back(s.substr(at, next - at));
        if (next == std::string::npos)
            return parts;
        at = next + by.size();
    }
}

std::string unescape(const std::string& s)
{
    std::string out;
    for (size_t i = 0; i < s.size(); ++i) {
        if (s[i] == '\\' && i + 1 < s.size()) {
            const char c = s[++i];
            out += c == 'n' ? '\n' : c == 't' ? '\t' : c == 'r' ? '\r' : c;
        } else {
            out += s[i];
        }
    }
    return out;
}

// The line's code, or "E:" and its error message.
std::string outcome(const kelvane::Assembler& a, size_t line)
{
    if (!a.asmerrortext[line].empty())
        return "E:" + a.asmerrortext[line];
    std::string c = a.asmcode[line];
    while (!c.empty() && c.back() == ' ')
        c.pop_back();
    return c;
}

TEST(Lines, EveryLineAsRecorded)
{
    std::ifstream in(KELVANE_TEST_DATA "/assembler/lines.txt");
    ASSERT_TRUE(in);
    int cases = 0;
    for (std::string line; std::getline(in, line);) {
        if (line.empty() || line[0] == '#')
            continue;
        ++cases;
        const std::vector<std::string> sides = split(line, " -> ");
        ASSERT_EQ(sides.size(), 2u) << line;
        const std::vector<std::string> parts = split(sides[1], " @ ");
        const std::vector<std::string> outcomes = split(parts[0], " | ");
        std::vector<std::string> addresses;
        if (parts.size() > 1) {
            std::istringstream words(parts[1]);
            for (std::string w; words >> w;)
                addresses.push_back(w);
        }
        kelvane::Assembler a;
        a.assembletext(unescape(sides[0]), 1000);
        ASSERT_EQ(a.linecount, static_cast<int32_t>(outcomes.size())) << line;
        for (size_t i = 0; i < outcomes.size(); ++i) {
            if (outcomes[i] != "*")
                EXPECT_EQ(outcome(a, i + 1), outcomes[i] == "-" ? "" : outcomes[i])
                    << "source [" << sides[0] << "] line " << i + 1;
            if (i < addresses.size() && addresses[i] != "*")
                EXPECT_EQ(a.asmaddress[i + 1], std::stoi(addresses[i], nullptr, 16))
                    << "source [" << sides[0] << "] address of line " << i + 1;
        }
    }
    EXPECT_EQ(cases, 117);
}

} // namespace
