// The interrupt buttons' gate, acceptance of TRAP, RST 7.5/6.5/5.5 and INTR, and the serial
// input line.
#include "core/interrupts.h"

#include "core/execute.h"


namespace kelvane {

namespace {

struct InterruptButton {
    bool MachineState::*pending;
    int32_t vector; // -1: INTR, from the dialog
    int32_t cycles;
    const char* text;
};

// Command2 to Command6, in the order in which waiting interrupts are served.
constexpr InterruptButton buttons[5] = {
    {&MachineState::pendingtrap, 36, 11, "TRAP"},
    {&MachineState::pendingrst75, 60, 12, "RST 7.5"},
    {&MachineState::pendingrst65, 52, 12, "RST 6.5"},
    {&MachineState::pendingrst55, 44, 12, "RST 5.5"},
    {&MachineState::pendingintr, -1, 13, "INTR"},
};

} // namespace

void refreshinterruptbuttons(MachineState& st, MachineHooks& hooks)
{
    auto& en = st.commandenabled;
    en[2] = true;
    en[3] = st.inte == 1 && st.mask75 == 0;
    en[4] = st.inte == 1 && st.mask65 == 0;
    en[5] = st.inte == 1 && st.mask55 == 0;
    en[6] = st.inte == 1;
    hooks.interruptbuttonschanged(st);
}

void setinterruptbuttons(MachineState& st, MachineHooks& hooks, bool trap)
{
    st.commandenabled[2] = trap;
    for (int i = 3; i <= 6; ++i)
        st.commandenabled[static_cast<size_t>(i)] = false;
    hooks.interruptbuttonschanged(st);
}

void interruptclick(MachineState& st, MachineHooks& hooks, int command)
{
    if (command < 2 || command > 6)
        return;
    const InterruptButton& b = buttons[command - 2];
    bool& pending = st.*(b.pending);
    if (!pending && st.simrate != 1) {
        pending = true;
        hooks.pumpevents();
        return;
    }
    pending = false;
    pushword(st, st.pc);
    if (b.vector >= 0) {
        st.pc = b.vector;
    } else {
        int32_t answer = hooks.intrchoice(st);
        if (answer < 1 || answer > 8)
            answer = 1;
        st.pc = (answer - 1) * 8;
    }
    setinterruptbuttons(st, hooks, false);
    st.inte = 0;
    st.cyclecount = static_cast<int32_t>(static_cast<uint32_t>(st.cyclecount) + static_cast<uint32_t>(b.cycles));
    st.instructioncount = static_cast<int32_t>(static_cast<uint32_t>(st.instructioncount) + 1u);
    st.lastinstruction = b.text;
    hooks.ekran(st);
    if (hooks.wantlog)
        hooks.logrow(st, st.pc);
}

void servependinginterrupts(MachineState& st, MachineHooks& hooks)
{
    for (int i = 0; i < 5; ++i)
        if (st.*(buttons[i].pending))
            interruptclick(st, hooks, i + 2);
}

void resetpress(MachineState& st, MachineHooks& hooks)
{
    st.resetinprogress = true;
    hooks.pumpevents();
    if (st.simrate == 1) {
        clean(st, hooks);
        setinterruptbuttons(st, hooks, false);
    }
}

void resetrelease(MachineState& st, MachineHooks& hooks)
{
    clean(st, hooks);
    st.lastinstruction = "RESET";
    setnextinstruction(st);
    hooks.ekran(st);
    hooks.resetpause(st);
    st.starttimer = secondssincemidnight() - 0.01f;
    setinterruptbuttons(st, hooks, true);
    hooks.logline("RESET");
    if (st.optinlog == "ON" && st.iologwritten)
        appendiolog(st, "RESET\r\n");
    st.resetinprogress = false;
    hooks.pumpevents();
}

void sidclick(MachineState& st)
{
    st.sid = 1 - st.sid;
}

} // namespace kelvane
