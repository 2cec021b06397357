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
