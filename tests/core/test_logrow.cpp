// The log row written into a caller's buffer: rows of states at the edges, the buffer's bound, and
// no allocation.
#include "machine_test.h"

#include <gtest/gtest.h>

#include <atomic>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <new>

namespace {
std::atomic<int> allocations{0};
} // namespace

void* operator new(std::size_t size)
{
    ++allocations;
    if (void* p = std::malloc(size == 0 ? 1 : size))
        return p;
    throw std::bad_alloc();
}
// The replaced operator new takes its memory from malloc, so free is its match (GCC can't tell).
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
#endif
void operator delete(void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }

using namespace kelvane;

TEST(LogRowBuffer, RowsAtTheEdges)
{
    const struct {
        std::function<void(MachineState&)> set;
        int32_t address;
        const char* row;
    } cases[] = {
        {[](MachineState& s) { s.instructioncount = 2, s.lastinstruction = "TRAP", s.sp = 0xFFFD; }, 0x0024,
         "2      0024  TRAP            00 00000000  00 00 00 00 00 00 FFFD"},
        {[](MachineState& s) {
             s.instructioncount = 9999999, s.a = 0xAB, s.fs = s.fz = s.fcy = 1;
             s.lastinstruction.setexecuted(0xCC, 0x00, 0xA0);
         },
         0xFFFF, "9999999FFFF  CZ A000H        AB 11000001  00 00 00 00 00 00 0000"},
        {[](MachineState& s) { s.instructioncount = 10000000, s.lastinstruction.setexecuted(0x31, 0xFF, 0xFF); },
         0x1234, "100000001234  LXI SP,0FFFFH   00 00000000  00 00 00 00 00 00 0000"},
        {[](MachineState& s) { s.instructioncount = INT_MIN; }, 0,
         "-21474836480000                  00 00000000  00 00 00 00 00 00 0000"},
        {[](MachineState& s) { // values outside the byte range show their low digits
             s.instructioncount = 1, s.a = 256, s.b = -1, s.sp = 0x12345;
             s.lastinstruction.setnext(0x3E, 0x1FF, 0);
         },
         0x10000, "1      0000  MVI A,0FFH      00 00000000  FF 00 00 00 00 00 2345"},
        {[](MachineState& s) { s.instructioncount = 3, s.lastinstruction = "RESET", s.fz = 2, s.fcy = -1; }, 0,
         "3      0000  RESET           00 0200000-1  00 00 00 00 00 00 0000"},
    };
    for (const auto& c : cases) {
        auto st = std::make_unique<MachineState>();
        c.set(*st);
        char buf[logrowmax];
        EXPECT_EQ(std::string(buf, putlogrow(buf, *st, c.address)), c.row);
    }
}

TEST(LogRowBuffer, TheWidestStateStaysInsideTheBufferAndNothingIsAllocated)
{
    auto owner = std::make_unique<MachineState>();
    MachineState& st = *owner;
    st.instructioncount = INT_MIN;
    for (int32_t* f : {&st.fs, &st.fz, &st.f5, &st.fac, &st.f3, &st.fp, &st.f1, &st.fcy})
        *f = INT_MIN;
    const std::string longword(64, 'X'); // cut at fieldmax
    st.lastinstruction = longword.c_str();
    char buf[logrowmax + 8];
    std::memset(buf, '#', sizeof buf);
    const auto plain = std::make_unique<MachineState>();
    allocations = 0;
    char* end = putlogrow(buf, st, -1);
    char usual[logrowmax];
    putlogrow(usual, *plain, 3);
    EXPECT_EQ(allocations, 0);
    EXPECT_LE(end - buf, static_cast<std::ptrdiff_t>(logrowmax));
    EXPECT_EQ(std::string(buf + logrowmax, 8), "########");
}

// The composer keeps the last count's digits and each opcode's field between rows: rows in
// sequence must come out as putlogrow writes each one alone, across carries, longer counts,
// repeated and backward counts, texts of the same opcode with other bytes or another kind, words,
// and states that leave the usual 64 characters.
TEST(LogRowComposer, RowsInSequenceAreTheRowsAlone)
{
    using Set = std::function<void(MachineState&)>;
    const auto count = [](int32_t n) { return Set([n](MachineState& s) { s.instructioncount = n; }); };
    const auto executed = [](int32_t op, int32_t b1, int32_t b2) {
        return Set([=](MachineState& s) { s.lastinstruction.setexecuted(op, b1, b2); });
    };
    static const std::string longword(40, 'W');
    const struct {
        const char* name;
        std::vector<Set> steps;
    } cases[] = {
        {"one to twelve", {count(1), count(2), count(3), count(4), count(5), count(6), count(7), count(8), count(9),
                           count(10), count(11), count(12)}},
        {"carries", {count(99), count(100), count(999), count(1000), count(109999), count(110000)}},
        {"seven digits to eight and more",
         {count(9999998), count(9999999), count(10000000), count(10000001), count(99999999), count(100000000),
          count(999999999), count(1000000000), count(2147483647), count(INT_MIN), count(INT_MIN + 1)}},
        {"the same count twice, then back", {count(41), count(41), count(42), count(5), count(6), count(0)}},
        {"one opcode, other bytes and kinds",
         {executed(0xC3, 0x00, 0xA0), executed(0xC3, 0x34, 0xA0), executed(0xC3, 0x34, 0x12), executed(0xC3, 0x00, 0xA0),
          executed(0xCC, 0x00, 0xA0), [](MachineState& s) { s.lastinstruction.setnext(0xCC, 0x00, 0xA0); },
          executed(0xCC, 0x00, 0xA0), executed(0x3E, 0x1FF, 0), executed(0x3E, 0xFF, 0)}},
        {"words among instructions",
         {[](MachineState& s) { s.lastinstruction = "TRAP"; }, executed(0x00, 0, 0),
          [](MachineState& s) { s.lastinstruction = ""; }, [](MachineState& s) { s.lastinstruction = "RESET"; },
          [](MachineState& s) { s.lastinstruction = longword.c_str(); }, executed(0x76, 0, 0)}},
        {"flags and registers off the byte",
         {[](MachineState& s) { s.fz = 2; }, [](MachineState& s) { s.fz = 1, s.fcy = -1; },
          [](MachineState& s) { s.fcy = 1, s.a = 256, s.l = -1, s.sp = 0x12345; },
          [](MachineState& s) { s.fs = s.f5 = s.f3 = s.f1 = s.fp = s.fac = 1; }}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        auto st = std::make_unique<MachineState>();
        LogRowComposer rows;
        int32_t address = 0xFFF0;
        for (const Set& set : c.steps) {
            set(*st);
            ++address; // running over 64K on purpose: the row shows the low four digits
            char alone[logrowmax], composed[logrowmax];
            const std::string expected(alone, putlogrow(alone, *st, address));
            EXPECT_EQ(std::string(composed, rows.put(composed, *st, address)), expected);
        }
    }
}

namespace {

// Hooks whose machine writes rows into a small block itself, as the log's block is written: a
// full block is kept and started afresh in logrow, which also takes the interrupts' rows.
struct BlockHooks : test::RecordingHooks {
    std::string text;
    std::vector<char> buffer = std::vector<char>(3 * (logrowmax + 2) + 7);
    LogBlock block;
    int logrowcalls = 0;
    BlockHooks() { logblock = &block, restart(); }
    void restart()
    {
        text.append(buffer.data(), block.at == nullptr ? 0 : static_cast<size_t>(block.at - buffer.data()));
        block.at = buffer.data();
        block.end = buffer.data() + buffer.size() - (logrowmax + 2) + 1;
    }
    void logrow(const MachineState& st, int32_t address) override
    {
        ++logrowcalls;
        if (!block.room())
            restart();
        block.put(st, address);
    }
};

} // namespace

TEST(LogBlock, RowsTheMachineWritesItselfAreTheRowsOfLogrow)
{
    // A counting loop with a call, run at Ultimate rate with a TRAP taken in the middle (its
    // vector 0024 returns at once).
    const std::initializer_list<int> program = {0x31, 0x00, 0x20, 0x06, 0x30, 0xCD, 0x10, 0x00, 0x05, 0xC2, 0x05, 0x00,
                                                0x76, 0,    0,    0,    0x3C, 0xC9, 0,    0,    0,    0,    0,    0,
                                                0,    0,    0,    0,    0,    0,    0,    0,    0,    0,    0,    0,
                                                0xC9};
    test::Machine plain(program), written(program);
    BlockHooks hooks;
    runsteps(plain.st, plain.hooks, 40);
    runsteps(written.st, hooks, 40);
    interruptclick(plain.st, plain.hooks, 2);
    interruptclick(written.st, hooks, 2);
    runsteps(plain.st, plain.hooks, 400);
    runsteps(written.st, hooks, 400);
    hooks.restart();

    std::string expected;
    for (const std::string& row : plain.hooks.rows)
        expected += row + "\r\n";
    EXPECT_GT(plain.hooks.rows.size(), 150u);
    EXPECT_EQ(hooks.text, expected);
    // Most rows went in without a call: logrow only for a full block and the TRAP.
    EXPECT_LT(hooks.logrowcalls, static_cast<int>(plain.hooks.rows.size()) / 2);
    EXPECT_GT(hooks.logrowcalls, 1);
}
