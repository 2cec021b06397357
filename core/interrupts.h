// The panel's interrupt buttons as the machine sees them: their gate (st.commandenabled),
// the click handlers of TRAP, RST 7.5, RST 6.5, RST 5.5 and INTR, and the SID line.
#pragma once
#include "core/hooks.h"
#include "core/machine.h"

namespace kelvane {

// Command2_Click to Command6_Click (command 2-6). At a rate other than 1 a first click only
// marks the interrupt as waiting and pumps events; the after-work of the instruction calls it
// again. Otherwise it accepts: push pc, vector, buttons off, inte 0, counters, text, panel, log row.
void interruptclick(MachineState& st, MachineHooks& hooks, int command);

// Command2 enabled as given, Command3-Command6 disabled (Start, RESET, acceptance).
void setinterruptbuttons(MachineState& st, MachineHooks& hooks, bool trap);

// The machine's side of the RESET button. resetpress: RESET is held (resetinprogress; at rate 1
// the processor is cleaned and the interrupt buttons go off at once). resetrelease: RESET is let
// go: clean, "RESET" as last instruction, the next instruction's text, panel, the pause
// (hooks.resetpause), the run's timer restarted, TRAP alone enabled, the "RESET" lines of log.txt
// and io.txt, resetinprogress cleared. Menus and the restart of the loop are the caller's.
void resetpress(MachineState& st, MachineHooks& hooks);
void resetrelease(MachineState& st, MachineHooks& hooks);

// Command7_Click: toggles sid.
void sidclick(MachineState& st);

} // namespace kelvane
