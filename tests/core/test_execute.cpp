// Execution: flags, cycles, pc moves and the edges of memory, stack and the top mirror.
#include "machine_test.h"

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <tuple>

using namespace kelvane;
using test::Machine;

namespace {

struct Flags {
    int s, z, ac, p, cy;
};

Flags flagsof(const MachineState& st)
{
    return {st.fs, st.fz, st.fac, st.fp, st.fcy};
}

bool operator==(const Flags& x, const Flags& y)
{
    return x.s == y.s && x.z == y.z && x.ac == y.ac && x.p == y.p && x.cy == y.cy;
}

std::ostream& operator<<(std::ostream& o, const Flags& f)
{
    return o << "S" << f.s << " Z" << f.z << " AC" << f.ac << " P" << f.p << " CY" << f.cy;
}

// One instruction from a prepared state: the result in a and the five computed flags.
struct AluCase {
    const char* name;
    std::initializer_list<int> program;
    std::function<void(MachineState&)> setup;
    int steps;
    int32_t a;
    Flags flags;
    int32_t subflag; // -1: not checked
};

} // namespace

TEST(Execute, AluAndFlags)
{
    const AluCase cases[] = {
        {"XRA A", {0xAF}, [](MachineState& s) { s.a = 0x5C; s.fcy = 1; s.fac = 1; }, 1, 0, {0, 1, 0, 1, 0}, -1},
        {"ANA A sets AC", {0xA7}, [](MachineState& s) { s.a = 0x01; }, 1, 1, {0, 0, 1, 0, 0}, -1},
        {"SUB A", {0x97}, [](MachineState& s) { s.a = 0x3C; }, 1, 0, {0, 1, 0, 1, 0}, 1},
        {"ADD with carry out", {0x80}, [](MachineState& s) { s.a = 0xF0; s.b = 0x20; }, 1, 0x10, {0, 0, 0, 0, 1}, 0},
        {"ADC uses carry", {0x88}, [](MachineState& s) { s.a = 0x0F; s.b = 0x00; s.fcy = 1; }, 1, 0x10,
         {0, 0, 1, 0, 0}, 0},
        {"SBB borrows", {0x98}, [](MachineState& s) { s.a = 0x00; s.b = 0x00; s.fcy = 1; }, 1, 0xFF,
         {1, 0, 1, 1, 1}, 1},
        {"CMP keeps a", {0xFE, 20}, [](MachineState& s) { s.a = 10; }, 1, 10, {1, 0, 0, 1, 1}, -1},
        {"ORI", {0xF6, 0x80}, [](MachineState& s) { s.a = 0x01; s.fcy = 1; }, 1, 0x81, {1, 0, 0, 1, 0}, -1},
        {"DAA after ADI 9AH", {0xC6, 0x00, 0x27}, [](MachineState& s) { s.a = 0x9A; }, 2, 0x00, {0, 1, 1, 1, 1}, 0},
        {"DAA after SUI, AC set", {0xD6, 0x01, 0x27}, [](MachineState& s) { s.a = 0x10; }, 2, 0x09,
         {0, 0, 1, 1, 0}, 1},
        {"CMA then DAA subtracts", {0x2F, 0x27}, [](MachineState& s) { s.a = 0xFF; s.fac = 1; s.fcy = 1; }, 2,
         0x9A, {1, 0, 1, 1, 1}, 1},
        {"RLC", {0x07}, [](MachineState& s) { s.a = 0x81; }, 1, 0x03, {0, 0, 0, 0, 1}, -1},
        {"RRC", {0x0F}, [](MachineState& s) { s.a = 0x01; }, 1, 0x80, {0, 0, 0, 0, 1}, -1},
        {"RAL takes old carry", {0x17}, [](MachineState& s) { s.a = 0x80; s.fcy = 0; }, 1, 0x00, {0, 0, 0, 0, 1}, -1},
        {"RAR takes old carry", {0x1F}, [](MachineState& s) { s.a = 0x00; s.fcy = 1; }, 1, 0x80, {0, 0, 0, 0, 0}, -1},
        {"INR A clears subflag", {0x3C}, [](MachineState& s) { s.a = 0x0F; s.subflag = 1; }, 1, 0x10,
         {0, 0, 1, 0, 0}, 0},
        {"DCR A sets subflag", {0x3D}, [](MachineState& s) { s.a = 0x00; s.fcy = 1; }, 1, 0xFF, {1, 0, 1, 1, 1}, 1},
        {"DCR B keeps subflag", {0x05}, [](MachineState& s) { s.b = 1; s.a = 7; s.subflag = 0; }, 1, 7,
         {0, 1, 0, 1, 0}, 0},
        {"INR B wraps, keeps carry", {0x04}, [](MachineState& s) { s.b = 255; s.fcy = 1; }, 1, 0, {0, 1, 1, 1, 1}, -1},
        {"DCR M wraps", {0x35}, [](MachineState& s) { s.h = 0x80; s.mem[0x8000] = 0; }, 1, 0, {1, 0, 1, 1, 0}, -1},
        {"CMC, STC, CMA keep the other flags", {0x3F, 0x37, 0x2F}, [](MachineState& s) { s.a = 0x0F; s.fz = 1; }, 3,
         0xF0, {0, 1, 0, 0, 1}, 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Machine m(c.program);
        c.setup(m.st);
        m.step(c.steps);
        EXPECT_EQ(m.st.a, c.a);
        EXPECT_EQ(flagsof(m.st), c.flags);
        if (c.subflag >= 0) {
            EXPECT_EQ(m.st.subflag, c.subflag);
        }
    }
}

TEST(Execute, CyclesAndPcMoves)
{
    struct {
        std::initializer_list<int> program;
        std::function<void(MachineState&)> setup;
        int32_t cycles, pc;
    } cases[] = {
        {{0x08}, [](MachineState&) {}, 4, 1},
        {{0x36, 1}, [](MachineState&) {}, 10, 2},
        {{0xC3, 0x34, 0x12}, [](MachineState&) {}, 10, 0x1234},
        {{0xCA, 0x34, 0x12}, [](MachineState& s) { s.fz = 0; }, 7, 3},
        {{0xCA, 0x34, 0x12}, [](MachineState& s) { s.fz = 1; }, 10, 0x1234},
        {{0xCC, 0x34, 0x12}, [](MachineState& s) { s.fz = 0; s.sp = 0x8000; }, 9, 3},
        {{0xCC, 0x34, 0x12}, [](MachineState& s) { s.fz = 1; s.sp = 0x8000; }, 18, 0x1234},
        {{0xC8}, [](MachineState& s) { s.fz = 0; }, 6, 1},
        {{0xE8}, [](MachineState& s) { s.fp = 0; }, 8, 1},
        {{0xE0}, [](MachineState& s) { s.fp = 1; }, 8, 1},
        {{0xE0}, [](MachineState& s) { s.fp = 0; s.sp = 0x8000; s.mem[0x8000] = 0x34; s.mem[0x8001] = 0x12; }, 12,
         0x1234},
        {{0x76}, [](MachineState& s) { s.opthalt = "OFF"; }, 5, 0},
        {{0xE9}, [](MachineState& s) { s.h = 0x12; s.l = 0x34; }, 6, 0x1234},
        {{0xFF}, [](MachineState& s) { s.sp = 0x8000; }, 12, 0x38},
        {{0xCD, 0, 0x20}, [](MachineState& s) { s.sp = 0x8000; }, 18, 0x2000},
        {{0xC9}, [](MachineState& s) { s.sp = 0x8000; s.mem[0x8001] = 0x30; }, 10, 0x3000},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "opcode " << std::hex << *c.program.begin());
        Machine m(c.program);
        c.setup(m.st);
        m.step();
        EXPECT_EQ(m.st.instructioncycles, c.cycles);
        EXPECT_EQ(m.st.cyclecount, c.cycles);
        EXPECT_EQ(m.st.pc, c.pc);
        EXPECT_EQ(m.st.instructioncount, 1);
    }
}

TEST(MachineState, CleanPowerOnDefaults)
{
    Machine m({}, 0x0100, true);
    EXPECT_EQ(m.st.f, 0xFF);
    EXPECT_EQ(m.st.a, 255);
    EXPECT_EQ(m.st.sp, 65535);
    EXPECT_EQ(m.st.pc, 0x0100);
    EXPECT_EQ(m.st.hlvalue, m.st.mem[65535]);
    m.st.mem[5] = 7;
    m.st.inte = 1;
    m.st.subflag = 1;
    clean(m.st, m.hooks);
    clean(m.st, m.hooks);
    EXPECT_EQ(m.st.mem[5], 7);
    EXPECT_EQ(m.st.inte, 1);
    EXPECT_EQ(m.st.subflag, 1);
    m.st.optffdefaults = "OFF";
    clean(m.st, m.hooks);
    EXPECT_EQ(m.st.f, 0);
    EXPECT_EQ(m.st.sp, 0);
    EXPECT_EQ(m.st.a, 0);
}

TEST(MachineState, StackWrapsAtBothEnds)
{
    MachineState st;
    st.sp = 0;
    pushword(st, 0x1234);
    EXPECT_EQ(st.mem[65535], 0x12);
    EXPECT_EQ(st.mem[65534], 0x34);
    EXPECT_EQ(st.sp, 65534);
    st.sp = 1;
    pushword(st, 0xABCD);
    EXPECT_EQ(st.mem[0], 0xAB);
    EXPECT_EQ(st.mem[65535], 0xCD);
    EXPECT_EQ(st.sp, 65535);
    st.sp = 65535;
    st.mem[0] = 0x56;
    EXPECT_EQ(popword(st), 0x5600 + 0xCD);
    EXPECT_EQ(st.sp, 1);
}

TEST(Execute, TopOfMemory)
{
    // LDA at FFFD reads its address from 65534/65535, then pc wraps to 0.
    Machine lda({}, 0xFFFD);
    lda.st.mem[0xFFFD] = 0x3A;
    lda.st.mem[0xFFFE] = 0x10;
    lda.st.mem[0xFFFF] = 0x00;
    lda.st.mem[0x0010] = 0x42;
    lda.step();
    EXPECT_EQ(lda.st.a, 0x42);
    EXPECT_EQ(lda.st.pc, 0);

    // JMP at FFFF takes its operand from the top mirror as it stood at Start.
    Machine jmp({}, 0xFFFF);
    jmp.st.mem[0xFFFF] = 0xC3;
    jmp.st.mem[0] = 0x00;
    jmp.st.mem[1] = 0x20;
    jmp.start();
    jmp.st.mem[1] = 0x30; // too late for the mirror
    jmp.step();
    EXPECT_EQ(jmp.st.pc, 0x2000);
    EXPECT_EQ(jmp.last(), "JMP 2000H");

    // HL past FFFF reads the five mirror elements: the first five bytes as they stood at Start.
    const std::array<int32_t, 5> first = {0x11, 0x22, 0x33, 0x44, 0x55};
    for (int32_t l = 0; l < 5; ++l) {
        Machine mov({0x7E}, 0x100);
        std::copy(first.begin(), first.end(), mov.st.mem.begin());
        mov.start();
        mov.st.mem[static_cast<size_t>(l)] = 0x99; // too late for the mirror
        mov.st.h = 256;
        mov.st.l = l;
        mov.step();
        EXPECT_EQ(mov.st.a, first[static_cast<size_t>(l)]) << l;
    }

    // RST 1 at FFFF pushes 65536: 256 in the high element; RET gives 65536 and pc wraps to 0.
    Machine rst({}, 0xFFFF);
    rst.st.mem[0xFFFF] = 0xCF;
    rst.st.mem[0x0008] = 0xC9;
    rst.st.sp = 0x8000;
    rst.step();
    EXPECT_EQ(rst.st.mem[0x7FFF], 256);
    EXPECT_EQ(rst.st.mem[0x7FFE], 0);
    rst.step();
    EXPECT_EQ(rst.st.pc, 0);
    EXPECT_EQ(rst.hooks.rows.back().substr(7, 4), "0008");

    // LHLD at FFFF touches element 65536, not element 0.
    Machine lhld({0x2A, 0xFF, 0xFF});
    lhld.st.mem[0xFFFF] = 0x11;
    lhld.st.mem[65536] = 0x22;
    lhld.st.mem[0] = 0x2A;
    lhld.step();
    EXPECT_EQ(lhld.st.l, 0x11);
    EXPECT_EQ(lhld.st.h, 0x22);
}

TEST(Execute, CallThatOverwritesItsOwnOperand)
{
    // CALL at 0100 with sp 0103: the push of 0103 lands on the operand bytes 0101/0102.
    Machine m({0xCD, 0x00, 0x20}, 0x0100);
    m.st.sp = 0x0103;
    m.step();
    EXPECT_EQ(m.last(), "CALL 2000H"); // the target it read first
    EXPECT_EQ(m.st.pc, 0x0103);        // the overwritten operand: low 03, high 01
    EXPECT_EQ(m.hooks.rows[0].substr(13, 16), "CALL 2000H      ");
}

TEST(Execute, PopPswAndPushPsw)
{
    Machine m({0xF1, 0xF1, 0xF5});
    m.st.sp = 0x8000;
    m.st.mem[0x8000] = 0x00;
    m.st.mem[0x8001] = 0x12;
    m.st.mem[0x8002] = 0xFF;
    m.st.mem[0x8003] = 0x34;
    m.st.fs = m.st.fz = m.st.f5 = m.st.fac = m.st.f3 = m.st.fp = m.st.f1 = m.st.fcy = 1;
    m.step();
    EXPECT_EQ(m.st.a, 0x12);
    EXPECT_EQ(composeflags(m.st), 0);
    m.step();
    EXPECT_EQ(m.st.f5 + m.st.f3 + m.st.f1, 3);
    EXPECT_EQ(m.st.f, 0xFF);
    m.step();
    EXPECT_EQ(m.st.mem[0x8002], 0xFF);
    EXPECT_EQ(m.st.mem[0x8003], 0x34);

    // Right after Start with the defaults on, PUSH PSW pushes the composed FF.
    Machine start({0x31, 0x00, 0x80, 0xF5}, 0, true);
    start.step(2);
    EXPECT_EQ(start.st.mem[0x7FFE], 0xFF);
    EXPECT_EQ(start.st.mem[0x7FFF], 0xFF);
}

TEST(Execute, HaltWithOptionOnAndOff)
{
    Machine off({0x76});
    off.st.opthalt = "OFF";
    off.step(3);
    EXPECT_EQ(off.st.instructioncount, 3);
    EXPECT_EQ(off.st.cyclecount, 15);
    EXPECT_EQ(off.st.halted, 1);
    EXPECT_FALSE(off.st.stoprequest);
    EXPECT_EQ(off.st.pc, 0);

    Machine on({0x00, 0x76});
    on.step();
    EXPECT_EQ(on.st.halted, 0);
    on.step();
    EXPECT_TRUE(on.st.stoprequest);
    EXPECT_EQ(on.st.halted, 1);
}

TEST(Execute, RegisterPairsWrapAndDadCarries)
{
    Machine m({0x03, 0x3B, 0x39}); // INX B, DCX SP, DAD SP
    m.st.b = m.st.c = 0xFF;
    m.st.sp = 0;
    m.st.h = 0x80;
    m.st.l = 0x01;
    m.step(3);
    EXPECT_EQ(std::tie(m.st.b, m.st.c, m.st.sp, m.st.h, m.st.l, m.st.fcy), std::tuple(0, 0, 0xFFFF, 0x80, 0x00, 1));
}

TEST(Execute, CountersWrapSilently)
{
    Machine m({0x00});
    m.st.instructioncount = 2147483647;
    m.st.cyclecount = 2147483645;
    m.step();
    EXPECT_EQ(m.st.instructioncount, -2147483647 - 1);
    EXPECT_EQ(m.st.cyclecount, -2147483647);
}

TEST(Execute, BreakpointSwitchesToStepByStep)
{
    Machine m({0x00, 0x00, 0x00});
    m.st.simrate = 5;
    m.st.breakpointaddress.set(3, "0002");
    m.st.breakpointaddress.set(4, "0001"); // the search stops at the first match
    m.step();
    EXPECT_EQ(m.hooks.speed1count, 1);
    EXPECT_EQ(m.st.simrate, 1);
    m.st.breakpointaddress.set(3, "");
    m.st.breakpointaddress.set(4, "0003");
    m.step();
    EXPECT_EQ(m.hooks.speed1count, 1);
}

// The Ultimate-rate run composes f and hlvalue only when something can look at them; over random
// programs it must leave exactly the state that one step at a time leaves.
TEST(Execute, FastRunMatchesSingleSteps)
{
    uint32_t seed = 12345;
    auto next = [&] {
        seed = seed * 1103515245u + 12345u;
        return static_cast<int32_t>((seed >> 16) & 0xFF);
    };
    for (int program = 0; program < 200; ++program) {
        SCOPED_TRACE(program);
        Machine one, fast;
        for (int32_t i = 0; i < 65536; i += (i < 512 ? 1 : 97)) {
            const int32_t b = next();
            one.st.mem[static_cast<size_t>(i)] = b;
            fast.st.mem[static_cast<size_t>(i)] = b;
        }
        for (Machine* m : {&one, &fast}) {
            m->hooks.wantlog = false;
            m->st.opthalt = "OFF";
            m->st.sp = 0x0100 + program; // a stack that runs through the code
            m->start();
        }
        one.step(3000);
        runsteps(fast.st, fast.hooks, 3000);
        const auto& x = one.st;
        const auto& y = fast.st;
        EXPECT_EQ(std::tie(x.a, x.b, x.c, x.d, x.e, x.h, x.l, x.sp, x.pc, x.f, x.hlvalue, x.cyclecount),
                  std::tie(y.a, y.b, y.c, y.d, y.e, y.h, y.l, y.sp, y.pc, y.f, y.hlvalue, y.cyclecount));
        EXPECT_TRUE(x.mem == y.mem);
        EXPECT_EQ(x.lastinstruction.str(), y.lastinstruction.str());
    }
}
