// The log row written into a caller's buffer: the texts it gives for states at the edges, the
// instruction field against the instruction's text, the buffer's bound, and no allocation.
#include "machine_test.h"

#include "core/execute.h"
#include "core/instrtext.h"

#include <gtest/gtest.h>

#include <atomic>
#include <climits>
#include <cstring>
#include <cstdlib>
#include <functional>
#include <new>
#include <string>

namespace {

std::atomic<bool> countallocations{false};
std::atomic<int> allocations{0};

} // namespace

// Counts the allocations made while countallocations is set.
void* operator new(std::size_t size)
{
    if (countallocations)
        ++allocations;
    if (void* p = std::malloc(size == 0 ? 1 : size))
        return p;
    throw std::bad_alloc();
}
void operator delete(void* p) noexcept
{
    std::free(p);
}
void operator delete(void* p, std::size_t) noexcept
{
    std::free(p);
}

using namespace kelvane;

namespace {

std::string putrow(const MachineState& st, int32_t address)
{
    char buf[logrowmax];
    return std::string(buf, putlogrow(buf, st, address));
}

} // namespace

TEST(LogRowBuffer, RowsAtTheEdges)
{
    struct Case {
        const char* name;
        std::function<void(MachineState&)> set;
        int32_t address;
        const char* row;
    } cases[] = {
        {"TRAP shows its vector",
         [](MachineState& s) {
             s.instructioncount = 2;
             s.lastinstruction = "TRAP";
             s.sp = 0xFFFD;
         },
         0x0024, "2      0024  TRAP            00 00000000  00 00 00 00 00 00 FFFD"},
        {"seven digits fill the count field",
         [](MachineState& s) {
             s.instructioncount = 9999999;
             s.lastinstruction.setexecuted(0xCC, 0x00, 0xA0);
             s.a = 0xAB;
             s.fs = s.fz = s.fcy = 1;
         },
         0xFFFF, "9999999FFFF  CZ A000H        AB 11000001  00 00 00 00 00 00 0000"},
        {"ten million runs past 64",
         [](MachineState& s) {
             s.instructioncount = 10000000;
             s.lastinstruction.setexecuted(0x31, 0xFF, 0xFF);
         },
         0x1234, "100000001234  LXI SP,0FFFFH   00 00000000  00 00 00 00 00 00 0000"},
        {"a negative count after the counter wraps",
         [](MachineState& s) { s.instructioncount = INT_MIN; },
         0, "-21474836480000                  00 00000000  00 00 00 00 00 00 0000"},
        {"values outside the byte range show their low digits",
         [](MachineState& s) {
             s.instructioncount = 1;
             s.lastinstruction.setnext(0x3E, 0x1FF, 0);
             s.a = 256;
             s.b = -1;
             s.sp = 0x12345;
         },
         0x10000, "1      0000  MVI A,0FFH      00 00000000  FF 00 00 00 00 00 2345"},
        {"a flag outside 0 and 1 widens the row",
         [](MachineState& s) {
             s.instructioncount = 3;
             s.lastinstruction = "RESET";
             s.fz = 2;
             s.fcy = -1;
         },
         0, "3      0000  RESET           00 0200000-1  00 00 00 00 00 00 0000"},
        {"an empty text is sixteen blanks",
         [](MachineState& s) { s.instructioncount = 1; },
         0, "1      0000                  00 00000000  00 00 00 00 00 00 0000"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        MachineState st;
        c.set(st);
        const std::string row = putrow(st, c.address);
        EXPECT_EQ(row, c.row);
        EXPECT_EQ(row, formatlogrow(st, c.address));
    }
}

TEST(LogRowBuffer, InstructionFieldMatchesTheTextForEveryOpcode)
{
    // The field comes from its own padded table; it must agree with the instruction's text.
    for (int op = 0; op < 256; ++op) {
        for (auto [b1, b2] : {std::pair{0x00, 0x00}, std::pair{0x9F, 0xA0}, std::pair{0xFF, 0xFF}, std::pair{0x0A, 0x12}}) {
            for (bool executed : {false, true}) {
                InstrText t;
                if (executed)
                    t.setexecuted(op, b1, b2);
                else
                    t.setnext(op, b1, b2);
                std::string expected = t.str();
                expected.resize(16, ' ');
                char buf[InstrText::fieldmax];
                EXPECT_EQ(std::string(buf, t.putfield(buf)), expected) << op << ' ' << b1 << ' ' << b2;
            }
        }
    }
    // A word longer than the field runs on, and is cut at fieldmax.
    const std::string longword(40, 'W');
    InstrText t(longword.c_str());
    char buf[InstrText::fieldmax];
    EXPECT_EQ(std::string(buf, t.putfield(buf)), std::string(InstrText::fieldmax, 'W'));
}

TEST(LogRowBuffer, WidestStateStaysInsideTheBuffer)
{
    MachineState st;
    st.instructioncount = INT_MIN;
    for (int32_t* f : {&st.fs, &st.fz, &st.f5, &st.fac, &st.f3, &st.fp, &st.f1, &st.fcy})
        *f = INT_MIN;
    const std::string longword(64, 'X');
    st.lastinstruction = longword.c_str();
    char buf[logrowmax + 8];
    std::memset(buf, '#', sizeof buf);
    char* end = putlogrow(buf, st, -1);
    EXPECT_LE(end - buf, static_cast<std::ptrdiff_t>(logrowmax));
    for (size_t i = logrowmax; i < sizeof buf; ++i)
        EXPECT_EQ(buf[i], '#');
}

TEST(LogRowBuffer, ComposingAllocatesNothing)
{
    test::Machine m({0x31, 0x00, 0x20, 0xCD, 0x00, 0x10}, 0, true); // LXI SP, CALL 1000H
    MachineState& st = m.st;
    char buf[logrowmax];
    allocations = 0;
    countallocations = true;
    char* end = putlogrow(buf, st, 0);
    st.lastinstruction.setexecuted(0xCD, 0x00, 0x10);
    end = putlogrow(buf, st, 3);
    st.lastinstruction = "RST 7.5";
    end = putlogrow(buf, st, 0x3C);
    countallocations = false;
    EXPECT_EQ(allocations, 0);
    EXPECT_EQ(std::string(buf, end).substr(0, 29), "0      003C  RST 7.5         ");
}
