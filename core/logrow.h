// The log row: the text of one instruction or accepted interrupt as the log and the viewer show
// it, written into a caller's buffer without allocating, and the block a run writes rows into.
#pragma once
#include "core/instrtext.h"
#include "core/machine.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace kelvane {

// The log row of the instruction (or accepted interrupt) at `address`, 64 characters for
// counts below 10,000,000 (the count field has no padding from there on).
std::string formatlogrow(const MachineState& st, int32_t address);
// The same row written into `out`, which has room for logrowmax characters, without allocating;
// returns the end (no line end is written).
inline constexpr size_t logrowmax = 192;
char* putlogrow(char* out, const MachineState& st, int32_t address);

// Writes the rows of a run one after another, each as putlogrow would, for a few stores a row:
// it keeps the digits of the last count (the next one is mostly a digit more) and the field of
// the last text of each opcode. Rows off the usual 64 characters go through putlogrow.
class LogRowComposer {
public:
    char* put(char* out, const MachineState& st, int32_t address);
    // The same, inlined where the machine writes into its LogBlock (defined beside the run loop).
    inline char* putinline(char* out, const MachineState& st, int32_t address);

private:
    void setcount(uint32_t count);
    uint32_t count_ = UINT32_MAX; // whose digits stand in digits_; none yet
    // The count after count_ when it only steps the last digit on (not after a 9): the usual
    // next row costs one compare; any other count (and the first) goes through setcount.
    uint32_t stepnext_ = UINT32_MAX;
    uint32_t lastat_ = 0;     // where the last digit stands in the row
    uint32_t rowshift_ = 0;   // digits past 7 move the rest of the row on
    char digits_[16] = {};    // the count's digits, blanks after; the last one stands in last_
    char last_ = '0';
    struct Field {
        InstrText text;
        char chars[16];
    };
    std::array<Field, 256> fields_{};
};

// A block the machine writes rows into itself during a run, with no call per row: while at is
// below end (room for logrowmax and CR LF from at), a row goes in at `at`, ended by CR LF.
// Whoever owns the block moves at and end when it hands a full one on.
struct LogBlock {
    char* at = nullptr;
    char* end = nullptr;
    LogRowComposer rows;
    bool room() const { return at < end; }
    // The row of st; the caller has checked room().
    void put(const MachineState& st, int32_t address)
    {
        endrow(rows.put(at, st, address));
    }
    // The same, inlined in the run loop (defined beside it).
    inline void putinline(const MachineState& st, int32_t address);
    // CR LF after a row that ends at e; the next row goes in after them.
    void endrow(char* e)
    {
        e[0] = '\r';
        e[1] = '\n';
        at = e + 2;
    }
};

} // namespace kelvane
