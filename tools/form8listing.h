// The listing that the Breakpoints Manager follows: the file's lines after tab expansion, which of
// them are code lines and at what address, and the index from an address to its first line that
// lets the window bring the PC's line into view in one step, however long the listing is.
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kelvane {

// Tab stops every 8 characters: a tab at character position p (from 1) becomes
// 8 - ((p - 1) mod 8) blanks. Characters are counted as code points of the UTF-8 text.
std::string expandtabs(std::string_view line);

// The first `count` characters (code points) of a UTF-8 line.
std::string_view firstcharacters(std::string_view line, int count);

// What a listing line holds at its fixed columns: characters 8-11 as a four-digit address and
// characters 13-14 as the first code byte, both upper-case hex. -1 where they don't parse.
struct LineFields {
    int32_t address = -1;
    int32_t codebyte = -1;
    bool codeline() const { return address >= 0 && codebyte >= 0; }
};
LineFields linefields(std::string_view line);

class ListingLines {
public:
    // Splits a file's bytes into lines at CR LF, LF or CR (a last terminator makes no empty line),
    // reads bytes that are not UTF-8 as Latin-1, expands the tabs and builds the index.
    void assign(std::string_view bytes);
    void clear();

    // listingcount, and line n (1-based) as UTF-8 text after tab expansion.
    int32_t count() const { return static_cast<int32_t>(begin_.size()) - 1; }
    std::string_view line(int32_t n) const;

    // The address of line n when it is a code line (both fields parse over the whole line), else -1.
    int32_t codeaddress(int32_t n) const { return codeaddress_[static_cast<size_t>(n)]; }

    // The number of the first line whose characters 8-11 read `address` (code byte or not), 0 if none.
    int32_t firstline(int32_t address) const;

private:
    std::string text_;                 // the lines one after the other, without terminators
    std::vector<size_t> begin_{0};     // begin_[n-1]..begin_[n] is line n
    std::vector<int32_t> codeaddress_{-1}; // index 0 unused
    std::vector<int32_t> firstline_;       // 65536 entries once assigned
};

} // namespace kelvane
