// Execution of one 8085 instruction and its after-work (`stepinstruction`), the ALU and flag
// routines, the power-on reset (`clean`, `clean1`), the log row and the cycle-time text.
#pragma once
#include "core/hooks.h"
#include "core/logrow.h"
#include "core/machine.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace kelvane {

// The machine's side of Start, before the menus: running, clean, clean1, the next instruction's
// text, the panel, RESET, TRAP and SID enabled with the other interrupt buttons off. The top
// mirror is copied by the caller (copytopmirror) when its Start gets that far.
void startrun(MachineState& st, MachineHooks& hooks);
// The run's clock at Stop: starttimer becomes the seconds since Start (a run that passed
// midnight once is counted right) and the elapsed text is returned.
std::string stopclock(MachineState& st, float now);
// Seconds since local midnight, as the run's clock counts them.
float secondssincemidnight();

// Reset of the processor to its power-on values; ends with the panel refresh.
void clean(MachineState& st, MachineHooks& hooks);
// Clears the per-run block at Start.
void clean1(MachineState& st);

// One instruction and its after-work.
void stepinstruction(MachineState& st, MachineHooks& hooks);

// Runs instructions at Ultimate rate: at most maxsteps, ending early after an instruction that
// leaves stoprequest or resetinprogress set or simrate other than 6. Returns the count run.
uint32_t runsteps(MachineState& st, MachineHooks& hooks, uint32_t maxsteps);

// Sets nextinstruction from the bytes at pc.
inline void setnextinstruction(MachineState& st)
{
    const auto pc = static_cast<size_t>(st.pc);
    st.nextinstruction.setnext(st.mem[pc], st.mem[pc + 1], st.mem[pc + 2]);
}

// Cycles as microseconds text at clockmhz: "2.50 µs".
std::string cycletime(int32_t cycles, float clockmhz);
// The clock in its shortest form: "4", "2.5".
std::string clocktext(float clockmhz);
// The three lines of the statistics message, joined by CR LF. `elapsed` is the seconds text.
std::string statisticsmessage(const MachineState& st, const std::string& elapsed);
// Elapsed seconds as the statistics show them: integer part, ".", hundredths without zero fill.
std::string elapsedtext(float seconds);

// Flag and ALU routines, exposed for tests.
void setzero(MachineState& st, int32_t v);
void setsign(MachineState& st, int32_t v);
void setparity(MachineState& st, int32_t v);
int32_t aluinr(MachineState& st, int32_t v);
int32_t aludcr(MachineState& st, int32_t v);
void aluadd(MachineState& st, int32_t v);
void aluadc(MachineState& st, int32_t v);
void alusub(MachineState& st, int32_t v);
void alusbb(MachineState& st, int32_t v);
void aluana(MachineState& st, int32_t v);
void aluxra(MachineState& st, int32_t v);
void aluora(MachineState& st, int32_t v);
void alucmp(MachineState& st, int32_t v);
void aludad(MachineState& st, int32_t v);

// Appends text to "io.txt" in apppath (the file is opened and closed for each write).
void appendiolog(const MachineState& st, const std::string& text);

// The port path of IN and OUT.
int32_t portread(MachineState& st, MachineHooks& hooks, int32_t port);
void portwrite(MachineState& st, MachineHooks& hooks, int32_t port, int32_t value);

// Re-evaluates the enabled state of the five interrupt buttons from inte and the masks.
void refreshinterruptbuttons(MachineState& st, MachineHooks& hooks);

// Waiting interrupts, served after the instruction in the panel's order.
void servependinginterrupts(MachineState& st, MachineHooks& hooks);

} // namespace kelvane
