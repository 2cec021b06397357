#include "core/execute.h"

#include "core/hexutil.h"

#include <array>
#include <bit>
#include <charconv>
#include <cstddef>
#include <cstring>

namespace kelvane {

void setzero(MachineState& st, int32_t v) { st.fz = v == 0 ? 1 : 0; }
void setsign(MachineState& st, int32_t v) { st.fs = (v >> 7) & 1; }
void setparity(MachineState& st, int32_t v) { st.fp = (std::popcount(static_cast<uint32_t>(v) & 0xFFu) & 1) ? 0 : 1; }

namespace {

// Wrapping 32-bit arithmetic: the elements are plain 32-bit sums with no guard.
inline int32_t wadd(int32_t x, int32_t y)
{
    return static_cast<int32_t>(static_cast<uint32_t>(x) + static_cast<uint32_t>(y));
}
inline int32_t wsub(int32_t x, int32_t y)
{
    return static_cast<int32_t>(static_cast<uint32_t>(x) - static_cast<uint32_t>(y));
}

// Clock cycles of each opcode; conditional jumps, calls and returns use their not-taken count
// here and set the taken count themselves.
constexpr std::array<uint8_t, 256> cycletable = [] {
    std::array<uint8_t, 256> t{};
    for (auto& c : t)
        c = 4; // NOP, the undefined opcodes, most one-byte register operations
    for (int d = 0; d < 8; ++d)
        for (int s = 0; s < 8; ++s)
            t[0x40 + d * 8 + s] = (d == 6 || s == 6) ? 7 : 4;
    t[0x76] = 5;
    for (int g = 0; g < 8; ++g) {
        t[0x86 + g * 8] = 7;  // ALU with M
        t[0xC6 + g * 8] = 7;  // ALU immediate
        t[0xC7 + g * 8] = 12; // RST
        t[0x06 + g * 8] = 7;  // MVI
        t[0xC0 + g * 8] = 6;  // conditional return, not taken
        t[0xC2 + g * 8] = 7;  // conditional jump, not taken
        t[0xC4 + g * 8] = 9;  // conditional call, not taken
    }
    t[0x36] = 10;
    t[0x34] = t[0x35] = 10;
    t[0xE0] = t[0xE8] = 8;
    for (int p = 0; p < 4; ++p) {
        t[0x01 + p * 16] = 10; // LXI
        t[0x03 + p * 16] = 6;  // INX
        t[0x0B + p * 16] = 6;  // DCX
        t[0x09 + p * 16] = 10; // DAD
        t[0xC1 + p * 16] = 10; // POP
        t[0xC5 + p * 16] = 12; // PUSH
    }
    t[0x0A] = t[0x1A] = t[0x02] = t[0x12] = 7;
    t[0x3A] = t[0x32] = 13;
    t[0x2A] = t[0x22] = 16;
    t[0xE3] = 16;
    t[0xF9] = 6;
    t[0xE9] = 6;
    t[0xC3] = 10;
    t[0xCD] = 18;
    t[0xC9] = 10;
    t[0xDB] = t[0xD3] = 10;
    return t;
}();

inline int32_t& memat(MachineState& st, int32_t addr)
{
    return st.mem[static_cast<size_t>(memindex(addr))];
}

inline void szp(MachineState& st, int32_t v)
{
    setzero(st, v);
    setsign(st, v);
    setparity(st, v);
}

inline void acadd(MachineState& st, int32_t x, int32_t y)
{
    st.fac = (x % 16) + (y % 16) > 15 ? 1 : 0;
}
inline void acadc(MachineState& st, int32_t x, int32_t y)
{
    st.fac = (x % 16) + (y % 16) + st.fcy > 15 ? 1 : 0;
}
inline void acsub(MachineState& st, int32_t x, int32_t y)
{
    st.fac = (x % 16) - (y % 16) < 0 ? 1 : 0;
}
inline void acsbb(MachineState& st, int32_t x, int32_t y)
{
    st.fac = (x % 16) - (y % 16) - st.fcy < 0 ? 1 : 0;
}

inline void addresult(MachineState& st, int32_t t)
{
    if (t >= 256) {
        t -= 256;
        st.fcy = 1;
    } else {
        st.fcy = 0;
    }
    st.a = t;
    szp(st, t);
}

inline void subresult(MachineState& st, int32_t t)
{
    if (t < 0) {
        t += 256;
        st.fcy = 1;
    } else {
        st.fcy = 0;
    }
    st.a = t;
    szp(st, t);
}

// The five pending flags stand side by side, so one load tests them all.
static_assert(offsetof(MachineState, pendingintr) == offsetof(MachineState, pendingtrap) + 4);
inline bool anypending(const MachineState& st)
{
    uint64_t bits = 0;
    std::memcpy(&bits, &st.pendingtrap, 5);
    return bits != 0;
}

inline bool condition(const MachineState& st, int cc)
{
    switch (cc) {
    case 0: return st.fz == 0;  // NZ
    case 1: return st.fz == 1;  // Z
    case 2: return st.fcy == 0; // NC
    case 3: return st.fcy == 1; // C
    case 4: return st.fp == 0;  // PO
    case 5: return st.fp == 1;  // PE
    case 6: return st.fs == 0;  // P
    default: return st.fs == 1; // M
    }
}

inline void incpair(int32_t& hi, int32_t& lo)
{
    lo = wadd(lo, 1);
    if (lo == 256) {
        lo = 0;
        hi = wadd(hi, 1);
    }
    if (hi == 256)
        hi = 0;
}

inline void decpair(int32_t& hi, int32_t& lo)
{
    lo = wsub(lo, 1);
    if (lo == -1) {
        lo = 255;
        hi = wsub(hi, 1);
    }
    if (hi == -1)
        hi = 255;
}

inline void splitword(int32_t v, int32_t& hi, int32_t& lo)
{
    hi = v / 256;
    lo = v % 256;
}

void daa(MachineState& st)
{
    int32_t k = 0;
    if (st.subflag == 0) {
        int32_t hi = st.a / 16;
        const int32_t lo = st.a % 16;
        if (lo > 9) {
            k += 6;
            hi += 1;
            st.fac = 1;
        } else if (st.fac == 1) {
            k += 6;
        }
        if (hi > 9) {
            k += 96;
            st.fcy = 1;
        } else if (st.fcy == 1) {
            k += 96;
        }
    } else {
        static constexpr int32_t table[2][2] = {{0, 160}, {250, 154}};
        if ((st.fac == 0 || st.fac == 1) && (st.fcy == 0 || st.fcy == 1))
            k = table[st.fac][st.fcy];
    }
    int32_t t = wadd(st.a, k);
    if (t > 255)
        t -= 256;
    st.a = t;
    szp(st, t);
}

} // namespace


int32_t aluinr(MachineState& st, int32_t v)
{
    acadd(st, v, 1);
    int32_t r = wadd(v, 1);
    if (r == 256)
        r = 0;
    szp(st, r);
    return r;
}

int32_t aludcr(MachineState& st, int32_t v)
{
    acsub(st, v, 1);
    const int32_t r = v == 0 ? 255 : wsub(v, 1);
    szp(st, r);
    return r;
}

void aluadd(MachineState& st, int32_t v)
{
    acadd(st, st.a, v);
    addresult(st, wadd(st.a, v));
    st.subflag = 0;
}

void aluadc(MachineState& st, int32_t v)
{
    acadc(st, st.a, v);
    addresult(st, wadd(wadd(st.a, v), st.fcy));
    st.subflag = 0;
}

void alusub(MachineState& st, int32_t v)
{
    acsub(st, st.a, v);
    subresult(st, wsub(st.a, v));
    st.subflag = 1;
}

void alusbb(MachineState& st, int32_t v)
{
    acsbb(st, st.a, v);
    subresult(st, wsub(wsub(st.a, v), st.fcy));
    st.subflag = 1;
}

void aluana(MachineState& st, int32_t v)
{
    st.a &= v;
    st.fac = 1;
    st.fcy = 0;
    szp(st, st.a);
}

void aluxra(MachineState& st, int32_t v)
{
    st.a ^= v;
    st.fac = 0;
    st.fcy = 0;
    szp(st, st.a);
}

void aluora(MachineState& st, int32_t v)
{
    st.a |= v;
    st.fac = 0;
    st.fcy = 0;
    szp(st, st.a);
}

void alucmp(MachineState& st, int32_t v)
{
    acsub(st, st.a, v);
    int32_t t = wsub(st.a, v);
    if (t < 0) {
        t += 256;
        st.fcy = 1;
    } else {
        st.fcy = 0;
    }
    szp(st, t);
}

void aludad(MachineState& st, int32_t v)
{
    int32_t t = wadd(pairvalue(st.h, st.l), v);
    if (t >= 65536) {
        t -= 65536;
        st.fcy = 1;
    } else {
        st.fcy = 0;
    }
    splitword(t, st.h, st.l);
}

void pushword(MachineState& st, int32_t v)
{
    st.sp = wsub(st.sp, 1);
    if (st.sp == -1)
        st.sp = 65535;
    memat(st, st.sp) = v / 256;
    st.sp = wsub(st.sp, 1);
    if (st.sp == -1)
        st.sp = 65535;
    memat(st, st.sp) = v % 256;
}

int32_t popword(MachineState& st)
{
    const int32_t lo = memat(st, st.sp);
    st.sp = wadd(st.sp, 1);
    if (st.sp == 65536)
        st.sp = 0;
    const int32_t hi = memat(st, st.sp);
    st.sp = wadd(st.sp, 1);
    if (st.sp == 65536)
        st.sp = 0;
    return wadd(lo, static_cast<int32_t>(static_cast<uint32_t>(hi) * 256u));
}

void clean(MachineState& st, MachineHooks& hooks)
{
    st.lastinstruction = "";
    st.nextinstruction = "";
    st.instructioncount = 0;
    st.cyclecount = 0;
    st.halted = 0;
    const int32_t v = st.optffdefaults == "OFF" ? 0 : (st.optffdefaults == "ON" ? 255 : -1);
    if (v >= 0) {
        st.a = st.b = st.c = st.d = st.e = st.h = st.l = v;
        const int32_t fl = v ? 1 : 0;
        st.fs = st.fz = st.f5 = st.fac = st.f3 = st.fp = st.f1 = st.fcy = fl;
        st.sp = v ? 65535 : 0;
    }
    st.pc = st.startaddress;
    st.f = 0;
    st.hlvalue = 0;
    st.sid = 0;
    st.sod = 0;
    hooks.ekran(st);
}

void clean1(MachineState& st)
{
    st.starttimer = 0.0f;
    st.stoprequest = false;
    st.pendingtrap = st.pendingrst75 = st.pendingrst65 = st.pendingrst55 = st.pendingintr = false;
    st.resetinprogress = false;
    st.resetrequest = false;
    st.iologwritten = false;
    st.switchtostep = false;
    st.invalue = 0;
    st.subflag = 0;
    st.inte = 0;
    st.mask75 = st.mask65 = st.mask55 = 0;
    st.instructioncycles = 0;
}

// Register operands by their three-bit code: B C D E H L M A.
#define KV_R0 st.b
#define KV_R1 st.c
#define KV_R2 st.d
#define KV_R3 st.e
#define KV_R4 st.h
#define KV_R5 st.l
#define KV_R6 memat(st, pairvalue(st.h, st.l))
#define KV_R7 st.a
#define KV_REG(n) KV_R##n

#define KV_MOV(d, s)                                                                                                   \
    case 0x40 + (d) * 8 + (s):                                                                                         \
        KV_REG(d) = KV_REG(s);                                                                                         \
        break;
#define KV_MOVROW(d)                                                                                                   \
    KV_MOV(d, 0) KV_MOV(d, 1) KV_MOV(d, 2) KV_MOV(d, 3) KV_MOV(d, 4) KV_MOV(d, 5) KV_MOV(d, 6) KV_MOV(d, 7)
#define KV_ALU(g, fn, s)                                                                                               \
    case 0x80 + (g) * 8 + (s):                                                                                         \
        fn(st, KV_REG(s));                                                                                             \
        break;
#define KV_ALUROW(g, fn)                                                                                               \
    KV_ALU(g, fn, 0) KV_ALU(g, fn, 1) KV_ALU(g, fn, 2) KV_ALU(g, fn, 3) KV_ALU(g, fn, 4) KV_ALU(g, fn, 5)            \
        KV_ALU(g, fn, 6) KV_ALU(g, fn, 7)
#define KV_INRDCR(r)                                                                                                   \
    case 0x04 + (r) * 8: {                                                                                             \
        auto& x = KV_REG(r);                                                                                           \
        x = aluinr(st, x);                                                                                             \
        break;                                                                                                         \
    }                                                                                                                  \
    case 0x05 + (r) * 8: {                                                                                             \
        auto& x = KV_REG(r);                                                                                           \
        x = aludcr(st, x);                                                                                             \
        break;                                                                                                         \
    }                                                                                                                  \
    case 0x06 + (r) * 8:                                                                                               \
        KV_REG(r) = b1;                                                                                                \
        npc = pc + 2;                                                                                                  \
        break;
// INR A and DCR A are the only register forms that write subflag.
#define KV_INRDCR_A                                                                                                    \
    case 0x3C:                                                                                                         \
        st.a = aluinr(st, st.a);                                                                                       \
        st.subflag = 0;                                                                                                \
        break;                                                                                                         \
    case 0x3D:                                                                                                         \
        st.a = aludcr(st, st.a);                                                                                       \
        st.subflag = 1;                                                                                                \
        break;                                                                                                         \
    case 0x3E:                                                                                                         \
        st.a = b1;                                                                                                     \
        npc = pc + 2;                                                                                                  \
        break;
#define KV_COND(cc)                                                                                                    \
    case 0xC0 + (cc) * 8:                                                                                              \
        if (condition(st, cc)) {                                                                                       \
            st.instructioncycles = 12;                                                                                 \
            npc = popword(st);                                                                                         \
        }                                                                                                              \
        break;                                                                                                         \
    case 0xC2 + (cc) * 8:                                                                                              \
        if (condition(st, cc)) {                                                                                       \
            st.instructioncycles = 10;                                                                                 \
            npc = pairvalue(b2, b1);                                                                                   \
        } else {                                                                                                       \
            npc = pc + 3;                                                                                              \
        }                                                                                                              \
        break;                                                                                                         \
    case 0xC4 + (cc) * 8:                                                                                              \
        if (condition(st, cc)) {                                                                                       \
            st.instructioncycles = 18;                                                                                 \
            pushword(st, pc + 3);                                                                                      \
            npc = pairvalue(st.mem[static_cast<size_t>(pc + 2)], st.mem[static_cast<size_t>(pc + 1)]);              \
        } else {                                                                                                       \
            npc = pc + 3;                                                                                              \
        }                                                                                                              \
        break;                                                                                                         \
    case 0xC7 + (cc) * 8:                                                                                              \
        pushword(st, pc + 1);                                                                                          \
        npc = (cc) * 8;                                                                                                \
        break;

namespace {

[[gnu::always_inline]] inline void step(MachineState& st, MachineHooks& hooks)
{
    const int32_t pc = st.pc;
    const auto upc = static_cast<size_t>(pc);
    const int32_t b1 = st.mem[upc + 1];
    const int32_t b2 = st.mem[upc + 2];
    const int32_t op = st.mem[upc] & 0xFF;
    st.lastinstruction.setexecuted(op, b1, b2);
    st.instructioncycles = cycletable[static_cast<size_t>(op)];
    int32_t npc = pc + 1;

    switch (op) {
        KV_MOVROW(0)
        KV_MOVROW(1)
        KV_MOVROW(2)
        KV_MOVROW(3)
        KV_MOVROW(4)
        KV_MOVROW(5)
        KV_MOV(6, 0)
        KV_MOV(6, 1)
        KV_MOV(6, 2)
        KV_MOV(6, 3)
        KV_MOV(6, 4)
        KV_MOV(6, 5)
        KV_MOV(6, 7)
        KV_MOVROW(7)
    case 0x76: // HLT stays on itself
        npc = pc;
        if (st.opthalt == "ON")
            st.stoprequest = true;
        break;

        KV_ALUROW(0, aluadd)
        KV_ALUROW(1, aluadc)
        KV_ALUROW(2, alusub)
        KV_ALUROW(3, alusbb)
        KV_ALUROW(4, aluana)
        KV_ALUROW(5, aluxra)
        KV_ALUROW(6, aluora)
        KV_ALUROW(7, alucmp)

    case 0xC6: aluadd(st, b1); npc = pc + 2; break;
    case 0xCE: aluadc(st, b1); npc = pc + 2; break;
    case 0xD6: alusub(st, b1); npc = pc + 2; break;
    case 0xDE: alusbb(st, b1); npc = pc + 2; break;
    case 0xE6: aluana(st, b1); npc = pc + 2; break;
    case 0xEE: aluxra(st, b1); npc = pc + 2; break;
    case 0xF6: aluora(st, b1); npc = pc + 2; break;
    case 0xFE: alucmp(st, b1); npc = pc + 2; break;

        KV_INRDCR(0)
        KV_INRDCR(1)
        KV_INRDCR(2)
        KV_INRDCR(3)
        KV_INRDCR(4)
        KV_INRDCR(5)
        KV_INRDCR(6)
        KV_INRDCR_A

        KV_COND(0)
        KV_COND(1)
        KV_COND(2)
        KV_COND(3)
        KV_COND(4)
        KV_COND(5)
        KV_COND(6)
        KV_COND(7)

    case 0x01: st.c = b1; st.b = b2; npc = pc + 3; break;
    case 0x11: st.e = b1; st.d = b2; npc = pc + 3; break;
    case 0x21: st.l = b1; st.h = b2; npc = pc + 3; break;
    case 0x31: st.sp = pairvalue(b2, b1); npc = pc + 3; break;

    case 0x03: incpair(st.b, st.c); break;
    case 0x13: incpair(st.d, st.e); break;
    case 0x23: incpair(st.h, st.l); break;
    case 0x33:
        st.sp = wadd(st.sp, 1);
        if (st.sp == 65536)
            st.sp = 0;
        break;
    case 0x0B: decpair(st.b, st.c); break;
    case 0x1B: decpair(st.d, st.e); break;
    case 0x2B: decpair(st.h, st.l); break;
    case 0x3B:
        st.sp = wsub(st.sp, 1);
        if (st.sp == -1)
            st.sp = 65535;
        break;

    case 0x09: aludad(st, pairvalue(st.b, st.c)); break;
    case 0x19: aludad(st, pairvalue(st.d, st.e)); break;
    case 0x29: aludad(st, pairvalue(st.h, st.l)); break;
    case 0x39: aludad(st, st.sp); break;

    case 0x0A: st.a = memat(st, pairvalue(st.b, st.c)); break;
    case 0x1A: st.a = memat(st, pairvalue(st.d, st.e)); break;
    case 0x02: memat(st, pairvalue(st.b, st.c)) = st.a; break;
    case 0x12: memat(st, pairvalue(st.d, st.e)) = st.a; break;
    case 0x3A: st.a = memat(st, pairvalue(b2, b1)); npc = pc + 3; break;
    case 0x32: memat(st, pairvalue(b2, b1)) = st.a; npc = pc + 3; break;
    case 0x2A: {
        const int32_t addr = pairvalue(b2, b1);
        st.l = memat(st, addr);
        st.h = memat(st, wadd(addr, 1));
        npc = pc + 3;
        break;
    }
    case 0x22: {
        const int32_t addr = pairvalue(b2, b1);
        memat(st, addr) = st.l;
        memat(st, wadd(addr, 1)) = st.h;
        npc = pc + 3;
        break;
    }
    case 0xEB:
        std::swap(st.d, st.h);
        std::swap(st.e, st.l);
        break;
    case 0xC5: pushword(st, pairvalue(st.b, st.c)); break;
    case 0xD5: pushword(st, pairvalue(st.d, st.e)); break;
    case 0xE5: pushword(st, pairvalue(st.h, st.l)); break;
    case 0xF5:
        freshenpanelvalues(st);
        pushword(st, pairvalue(st.a, st.f));
        break;
    case 0xC1: splitword(popword(st), st.b, st.c); break;
    case 0xD1: splitword(popword(st), st.d, st.e); break;
    case 0xE1: splitword(popword(st), st.h, st.l); break;
    case 0xF1: {
        const int32_t v = popword(st);
        st.a = v / 256;
        const int32_t fl = v % 256;
        st.fs = (fl >> 7) & 1;
        st.fz = (fl >> 6) & 1;
        st.f5 = (fl >> 5) & 1;
        st.fac = (fl >> 4) & 1;
        st.f3 = (fl >> 3) & 1;
        st.fp = (fl >> 2) & 1;
        st.f1 = (fl >> 1) & 1;
        st.fcy = fl & 1;
        break;
    }
    case 0xE3: {
        auto& lo = memat(st, st.sp);
        std::swap(st.l, lo);
        auto& hi = memat(st, wadd(st.sp, 1));
        std::swap(st.h, hi);
        break;
    }
    case 0xF9: st.sp = pairvalue(st.h, st.l); break;

    case 0x07: {
        st.fcy = st.a >= 128 ? 1 : 0;
        st.a = wadd(wsub(wadd(st.a, st.a), st.fcy * 256), st.fcy);
        break;
    }
    case 0x0F: {
        st.fcy = st.a % 2;
        st.a = wadd(wsub(st.a, st.fcy) / 2, st.fcy * 128);
        break;
    }
    case 0x17: {
        const int32_t old = st.fcy;
        st.fcy = st.a >= 128 ? 1 : 0;
        st.a = wadd(wsub(wadd(st.a, st.a), st.fcy * 256), old);
        break;
    }
    case 0x1F: {
        const int32_t old = st.fcy;
        st.fcy = st.a % 2;
        st.a = wadd(wsub(st.a, st.fcy) / 2, static_cast<int32_t>(static_cast<uint32_t>(old) * 128u));
        break;
    }
    case 0x2F: st.a = wsub(255, st.a); st.subflag = 1; break;
    case 0x37: st.fcy = 1; break;
    case 0x3F: st.fcy = wsub(1, st.fcy); break;
    case 0x27: daa(st); break;

    case 0xC3: npc = pairvalue(b2, b1); break;
    case 0xE9: npc = pairvalue(st.h, st.l); break;
    case 0xCD:
        pushword(st, pc + 3);
        npc = pairvalue(st.mem[upc + 2], st.mem[upc + 1]);
        break;
    case 0xC9: npc = popword(st); break;

    case 0xDB:
        st.a = portread(st, hooks, b1 & 0xFF);
        npc = pc + 2;
        break;
    case 0xD3:
        portwrite(st, hooks, b1 & 0xFF, st.a);
        npc = pc + 2;
        break;
    case 0xFB:
        st.inte = 1;
        refreshinterruptbuttons(st, hooks);
        break;
    case 0xF3:
        st.inte = 0;
        refreshinterruptbuttons(st, hooks);
        break;
    case 0x20:
        st.a = st.mask55 + st.mask65 * 2 + st.mask75 * 4 + st.inte * 8 + st.sid * 128;
        break;
    case 0x30:
        if (st.a & 0x40)
            st.sod = (st.a >> 7) & 1;
        if (st.a & 0x08) {
            st.mask75 = (st.a >> 2) & 1;
            st.mask65 = (st.a >> 1) & 1;
            st.mask55 = st.a & 1;
        }
        refreshinterruptbuttons(st, hooks);
        break;
    case 0x00:
        break;
    default: // 08 10 18 28 38 CB D9 DD ED FD: the text is "UNRECOGNIZED" and nothing happens
        break;
    }

    // After-work, in its order.
    st.instructioncount = wadd(st.instructioncount, 1);
    st.cyclecount = wadd(st.cyclecount, st.instructioncycles);
    st.halted = op == 0x76 ? 1 : 0;
    if (static_cast<uint32_t>(npc) > 65535u) {
        if (npc > 65535)
            npc -= 65536;
        // A pc still outside 64K can only come from registers holding values outside the byte range.
        if (static_cast<uint32_t>(npc) > 65535u)
            npc &= 0xFFFF;
    }
    st.pc = npc;
    setnextinstruction(st);

    if (st.simrate < 6) {
        hooks.ekran(st);
    } else {
        st.panelstale = true;
        if (st.refreshrequest) {
            st.refreshrequest = false;
            hooks.ekran(st);
        }
    }
    if (hooks.wantlog) { // the row shows neither f nor hlvalue: they stay for later
        if (LogBlock* block = hooks.logblock; block != nullptr && block->room())
            block->putinline(st, pc);
        else
            hooks.logrow(st, pc);
    }
    if (anypending(st)) {
        freshenpanelvalues(st);
        servependinginterrupts(st, hooks);
    }
    if (st.breakpointaddress.armed() && st.breakpointaddress.matches(st.pc)) {
        freshenpanelvalues(st);
        hooks.menuspeed1(st);
    }
    if (st.switchtostep) {
        freshenpanelvalues(st);
        st.switchtostep = false;
        hooks.menuspeed1(st);
    }
    if (hooks.toolsopen) {
        freshenpanelvalues(st);
        hooks.toolrefresh(st);
    }
    if (hooks.modulesactive) {
        freshenpanelvalues(st);
        for (size_t i = 0; i < 5; ++i) {
            if (st.moduletext[i] != "OFF" && st.moduleobject[i]) {
                try {
                    st.moduleobject[i]->objectrefresh();
                } catch (...) {
                }
            }
        }
    }
}

} // namespace

void stepinstruction(MachineState& st, MachineHooks& hooks)
{
    step(st, hooks);
    freshenpanelvalues(st);
}

uint32_t runsteps(MachineState& st, MachineHooks& hooks, uint32_t maxsteps)
{
    uint32_t n = 0;
    while (n < maxsteps) {
        step(st, hooks);
        ++n;
        if (st.stoprequest || st.resetinprogress || st.simrate != 6)
            break;
    }
    freshenpanelvalues(st);
    return n;
}

std::string formatlogrow(const MachineState& st, int32_t address)
{
    char buf[logrowmax];
    return std::string(buf, putlogrow(buf, st, address));
}

// Widest row: an 11-character count, the text at InstrText::fieldmax and eight flags of 11 digits.
static_assert(logrowmax >= 11 + 4 + 2 + InstrText::fieldmax + 2 + 1 + 8 * 11 + 2 + 6 * 3 + 4);

namespace {

// Two characters per value: hex digits of a byte, decimal digits of 0-99.
constexpr std::array<char, 512> hexpairs = [] {
    std::array<char, 512> t{};
    const char* digits = "0123456789ABCDEF";
    for (size_t i = 0; i < 256; ++i) {
        t[2 * i] = digits[i >> 4];
        t[2 * i + 1] = digits[i & 15];
    }
    return t;
}();
constexpr std::array<char, 200> decimalpairs = [] {
    std::array<char, 200> t{};
    for (size_t i = 0; i < 100; ++i) {
        t[2 * i] = static_cast<char>('0' + i / 10);
        t[2 * i + 1] = static_cast<char>('0' + i % 10);
    }
    return t;
}();

inline char* hex2(char* p, int32_t v)
{
    std::memcpy(p, &hexpairs[2 * (static_cast<uint32_t>(v) & 0xFFu)], 2);
    return p + 2;
}

inline char* hex4(char* p, int32_t v)
{
    hex2(p, static_cast<int32_t>(static_cast<uint32_t>(v) >> 8));
    return hex2(p + 2, v);
}

// The digits of n (below 10,000,000) at the start of out.
inline void putcount(char* out, uint32_t n)
{
    size_t width = 1;
    for (uint32_t limit = 10; width < 7 && n >= limit; limit *= 10)
        ++width;
    char* p = out + width;
    while (n >= 100) {
        p -= 2;
        std::memcpy(p, &decimalpairs[2 * (n % 100)], 2);
        n /= 100;
    }
    if (n >= 10)
        std::memcpy(p - 2, &decimalpairs[2 * n], 2);
    else
        p[-1] = static_cast<char>('0' + n);
}

constexpr std::array<char, 64> blankrow = [] {
    std::array<char, 64> t{};
    t.fill(' ');
    return t;
}();

// The fields of a usual row around its text, at their places from `row`: the address, A, the
// flags (each 0 or 1), B-L and SP. Returns the end.
inline char* putfields(char* row, const MachineState& st, int32_t address)
{
    hex4(row + 7, address);
    hex2(row + 29, st.a);
    row[31] = ' ';
    const int32_t flags[8] = {st.fs, st.fz, st.f5, st.fac, st.f3, st.fp, st.f1, st.fcy};
    if constexpr (std::endian::native == std::endian::little) {
        uint64_t packed = 0x3030303030303030u;
        for (size_t i = 0; i < 8; ++i)
            packed += static_cast<uint64_t>(flags[i]) << (8 * i);
        std::memcpy(row + 32, &packed, 8);
    } else {
        for (size_t i = 0; i < 8; ++i)
            row[32 + i] = static_cast<char>('0' + flags[i]);
    }
    hex2(row + 42, st.b);
    hex2(row + 45, st.c);
    hex2(row + 48, st.d);
    hex2(row + 51, st.e);
    hex2(row + 54, st.h);
    hex2(row + 57, st.l);
    return hex4(row + 60, st.sp);
}

} // namespace

char* putlogrow(char* out, const MachineState& st, int32_t address)
{
    const int32_t flags[8] = {st.fs, st.fz, st.f5, st.fac, st.f3, st.fp, st.f1, st.fcy};
    uint32_t any = 0;
    for (int32_t fl : flags)
        any |= static_cast<uint32_t>(fl);
    const bool bitflags = (any & ~1u) == 0;
    const auto count = static_cast<uint32_t>(st.instructioncount);

    // The usual row: 64 characters at fixed places over a row of blanks.
    if (bitflags && count < 10000000u) {
        std::memcpy(out, blankrow.data(), blankrow.size());
        if (st.lastinstruction.putfield(out + 13) == out + 29) {
            putcount(out, count);
            return putfields(out, st, address);
        }
    }

    // Any other: a count of eight digits or more or below 0, a longer text, flags beyond 0 and 1.
    std::memset(out, ' ', 8);
    char* p = std::to_chars(out, out + 11, st.instructioncount).ptr;
    if (p < out + 7)
        p = out + 7;
    p = hex4(p, address);
    *p++ = ' ';
    *p++ = ' ';
    p = st.lastinstruction.putfield(p);
    p = hex2(p, st.a);
    *p++ = ' ';
    for (int32_t fl : flags)
        p = bitflags ? (*p = static_cast<char>('0' + fl), p + 1) : std::to_chars(p, p + 11, fl).ptr;
    *p++ = ' ';
    *p++ = ' ';
    for (int32_t r : {st.b, st.c, st.d, st.e, st.h, st.l}) {
        p = hex2(p, r);
        *p++ = ' ';
    }
    return hex4(p, st.sp);
}

void LogRowComposer::setcount(uint32_t count)
{
    // After a 9 the digits before the last change (a row in ten), so that reading them as a
    // whole seldom waits on a write; otherwise they are written afresh.
    if (count_ != UINT32_MAX && count_ + 1 == count && last_ == '9') {
        last_ = '0';
        uint32_t i = lastat_;
        while (i > 0 && digits_[i - 1] == '9')
            digits_[--i] = '0';
        if (i > 0) {
            ++digits_[i - 1];
            count_ = count;
            stepnext_ = count + 1;
            return;
        }
    }
    std::memset(digits_, ' ', sizeof digits_);
    const auto width = static_cast<uint32_t>(std::to_chars(digits_, digits_ + sizeof digits_, count).ptr - digits_);
    lastat_ = width - 1;
    rowshift_ = width > 7 ? width - 7 : 0;
    last_ = digits_[lastat_];
    count_ = count;
    stepnext_ = last_ == '9' ? UINT32_MAX : count + 1;
}

char* LogRowComposer::put(char* out, const MachineState& st, int32_t address)
{
    return putinline(out, st, address);
}

[[gnu::always_inline]] inline char* LogRowComposer::putinline(char* out, const MachineState& st, int32_t address)
{
    const auto any = static_cast<uint32_t>(st.fs | st.fz | st.f5 | st.fac | st.f3 | st.fp | st.f1 | st.fcy);
    const bool bitflags = (any & ~1u) == 0;
    if (!bitflags || st.instructioncount < 0)
        return putlogrow(out, st, address);
    const auto count = static_cast<uint32_t>(st.instructioncount);
    if (count == stepnext_) {
        ++last_; // the usual next row: one more in the last digit
        count_ = count;
        stepnext_ = last_ == '9' ? UINT32_MAX : count + 1;
    } else if (count != count_) {
        setcount(count);
    }
    // The count, filled with blanks to 7 characters; a longer one moves the rest of the row on.
    std::memcpy(out, digits_, sizeof digits_);
    out[lastat_] = last_;
    char* row = out + rowshift_;
    const InstrText& text = st.lastinstruction;
    if (text.isword()) {
        if (text.putfield(row + 13) != row + 29)
            return putlogrow(out, st, address); // a word longer than the field
    } else {
        Field& field = fields_[static_cast<size_t>(text.opcode())];
        if (!field.text.sameas(text)) {
            text.putfield(field.chars);
            field.text = text;
        }
        std::memcpy(row + 13, field.chars, 16);
    }
    // The two blanks before the text came with the count's 16 characters; those between the
    // registers come from a row of blanks.
    std::memcpy(row + 40, blankrow.data(), 24);
    return putfields(row, st, address);
}

[[gnu::always_inline]] inline void LogBlock::putinline(const MachineState& st, int32_t address)
{
    endrow(rows.putinline(at, st, address));
}

} // namespace kelvane
