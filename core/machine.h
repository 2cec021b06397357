// MachineState: the one block of simulated 8085 state, run flags, options and tool fields that
// every part of the program reads and writes. Every register, flag, memory byte and port is a
// 32-bit signed element, so values outside the byte range can stand where the machine puts them.
#pragma once
#include "core/instrtext.h"

#include <array>
#include <cstdint>
#include <memory>
#include <string>

namespace kelvane {

// 64 KB plus the five-element top mirror that Start fills from elements 0-4.
constexpr int32_t memsize = 65541;
constexpr int32_t novalue = 100000;

// The ten breakpoint texts. Kept behind a setter so that the per-instruction search compares
// numbers: an entry matches `hexword(pc)` only when it is exactly four upper-case hex digits.
class BreakpointTexts {
public:
    const std::string& operator[](int i) const { return text_[static_cast<size_t>(i)]; }
    void set(int i, const std::string& t);
    void clear();
    bool armed() const { return armed_; }
    bool matches(int32_t pc) const
    {
        for (int32_t v : value_)
            if (v == pc)
                return true;
        return false;
    }

private:
    std::array<std::string, 10> text_{};
    std::array<int32_t, 10> value_{-1, -1, -1, -1, -1, -1, -1, -1, -1, -1};
    bool armed_ = false;
};

// An external module as the machine calls it. Hosts (D-Bus, tests) implement it; every call may
// fail and its failure is ignored by the caller.
class ModuleObject {
public:
    virtual ~ModuleObject() = default;
    virtual void objectinit() = 0;
    virtual void objectrefresh() = 0;
    virtual void objectterm() = 0;
    virtual void readio(int32_t& port, int32_t& value) = 0;
    virtual void writeio(int32_t& port, int32_t& value) = 0;
};

// The seven panel buttons: Command1 RESET, Command2 TRAP, Command3 RST 7.5, Command4 RST 6.5,
// Command5 RST 5.5, Command6 INTR, Command7 SID. Index 0 is unused.
using CommandStates = std::array<bool, 8>;

struct MachineState {
    // Registers and flags.
    int32_t a = 0, b = 0, c = 0, d = 0, e = 0, h = 0, l = 0;
    int32_t fs = 0, fz = 0, f5 = 0, fac = 0, f3 = 0, fp = 0, f1 = 0, fcy = 0;
    int32_t sp = 0, pc = 0;
    int32_t f = 0, hlvalue = 0;
    int32_t sid = 0, sod = 0, subflag = 0, inte = 0;
    int32_t mask75 = 0, mask65 = 0, mask55 = 0;

    // Counters and instruction texts.
    int32_t instructioncount = 0, cyclecount = 0, instructioncycles = 0, halted = 0;
    InstrText lastinstruction, nextinstruction;

    // Simulation parameters and run flags.
    float clockmhz = 4.0f;
    int32_t startaddress = 0;
    int32_t simrate = 4;
    bool running = false;
    float starttimer = 0.0f;
    bool stoprequest = false, resetinprogress = false, resetrequest = false;
    bool pendingtrap = false, pendingrst75 = false, pendingrst65 = false, pendingrst55 = false, pendingintr = false;
    bool iologwritten = false, switchtostep = false;
    int32_t invalue = 0;
    bool refreshrequest = false;
    // Inside a run of Ultimate-rate steps the after-work leaves composing f and hlvalue until
    // something outside the core can look at them (PUSH PSW, IN, OUT, any hook, the end of the run).
    // They then take exactly the values the after-work would have given them.
    bool panelstale = false;

    // Enabled state of the panel's buttons, the one gate of interrupts and RESET.
    CommandStates commandenabled{};

    // Options and paths: the texts "ON" and "OFF", compared as text.
    std::string optlogging = "OFF", opthalt = "ON", optffdefaults = "ON", optrefreshmemory = "ON",
                optrefreshbreakpoints = "ON", optsavepositions = "ON", optinprompt = "OFF", optinlog = "OFF",
                optconfirm = "OFF";
    std::string apppath, lastpath, tasmpath;

    int32_t programsize = 0;
    BreakpointTexts breakpointaddress;

    // Window-open flags of the tool windows.
    bool Form2 = false, Form5 = false, Form6 = false, Form8 = false, Form9 = false, Form12 = false,
         Form16 = false, Form17 = false, Form20 = false, Form21 = false;

    // Peripheral devices 1-4 (index 0 unused) and the output terminal.
    std::array<bool, 5> devenabled{}, devinput{};
    std::array<int32_t, 5> devport{}, devvalue{};
    bool termenabled = false;
    int32_t termport = 0;
    std::string termtext;

    // Module slots 0-4: the reference text ("OFF" when unused) and the object.
    std::array<std::string, 5> moduletext{};
    std::array<std::shared_ptr<ModuleObject>, 5> moduleobject{};

    // Memory and ports.
    std::array<int32_t, memsize> mem{};
    std::array<int32_t, 256> ports{};
};

// The flag byte from the eight flag variables.
inline int32_t composeflags(const MachineState& st)
{
    return st.fs * 128 + st.fz * 64 + st.f5 * 32 + st.fac * 16 + st.f3 * 8 + st.fp * 4 + st.f1 * 2 + st.fcy;
}

// A register pair's value, high times 256 plus low (wrapping, never overflowing).
inline int32_t pairvalue(int32_t hi, int32_t lo)
{
    return static_cast<int32_t>(static_cast<uint32_t>(hi) * 256u + static_cast<uint32_t>(lo));
}

// A memory element for a computed address. Addresses made from registers that hold values
// outside the byte range may fall outside the array; they are folded into 64K.
inline int32_t memindex(int32_t addr)
{
    return static_cast<uint32_t>(addr) < static_cast<uint32_t>(memsize) ? addr : (addr & 0xFFFF);
}

// What the panel refresh does to the state: f and hlvalue composed.
inline void composepanelvalues(MachineState& st)
{
    st.f = composeflags(st);
    st.hlvalue = st.mem[static_cast<size_t>(memindex(pairvalue(st.h, st.l)))];
    st.panelstale = false;
}

// Brings f and hlvalue up to date when an Ultimate-rate step left them for later.
inline void freshenpanelvalues(MachineState& st)
{
    if (st.panelstale)
        composepanelvalues(st);
}

// Run once before any window exists: memory, ports, window flags, breakpoints, devices, modules.
void initialisestate(MachineState& st);
// Copies elements 0-4 of memory into the top mirror (done at every Start).
void copytopmirror(MachineState& st);
void pushword(MachineState& st, int32_t v);
int32_t popword(MachineState& st);

} // namespace kelvane
