// MachineHooks: everything the machine tells or asks the world outside it (panel refresh, log
// rows, interrupt buttons, rate switch, port prompts and devices, tool and module refresh, the
// event pump). The GUI implements it in sim/, the headless runner in cli/.
#pragma once
#include "core/logrow.h"
#include "core/machine.h"

#include <cstdint>

namespace kelvane {

class MachineHooks {
public:
    virtual ~MachineHooks() = default;

    // The panel refresh. Whatever else it does, it composes f and hlvalue.
    virtual void ekran(MachineState& st) { composepanelvalues(st); }

    // Someone takes log rows (the log file is open, or the log viewer). When true, logrow is
    // called after each instruction and each accepted interrupt; build the text with a
    // LogRowComposer (or formatlogrow). At Ultimate rate f and hlvalue may be stale here.
    bool wantlog = false;
    // While set (and wantlog), instructions write their rows into this block themselves while it
    // has room; logrow is called for a row that finds it full, and for accepted interrupts.
    LogBlock* logblock = nullptr;
    virtual void logrow(const MachineState& st, int32_t address)
    {
        (void)st;
        (void)address;
    }

    // The enabled states in st.commandenabled changed; show them.
    virtual void interruptbuttonschanged(MachineState& st) { (void)st; }

    // menuspeed1_Click: switch to Step By Step (breakpoint, the IN dialog's check box).
    virtual void menuspeed1(MachineState& st) { st.simrate = 1; }

    // Tool windows that follow the run (breakpoint lines, memory and port editors). Called after
    // each instruction while toolsopen is true; the implementation tests its options and windows.
    bool toolsopen = false;
    virtual void toolrefresh(MachineState& st) { (void)st; }

    // The module slots hold live objects. modulesactive: some module answers objectrefresh, which
    // is called after each instruction, and readio/writeio on IN and OUT. modulesio: the modules
    // answer readio or writeio only, so IN and OUT reach them while an instruction costs nothing.
    bool modulesactive = false;
    bool modulesio = false;

    // Let pending window events run.
    virtual void pumpevents() {}

    // RESET let go: the panel keeps showing the reset state for a moment before the run's clock
    // starts anew (the window disables RESET and waits half a second).
    virtual void resetpause(MachineState& st) { (void)st; }

    // The IN prompt: shows the entry dialog for port p, which leaves its answer in st.invalue
    // (0 when the dialog was closed without Enter).
    virtual void inprompt(MachineState& st, int32_t port)
    {
        (void)st;
        (void)port;
    }
    // The INTR dialog: the answer 1-8 (RST 0 - RST 7).
    virtual int32_t intrchoice(MachineState& st)
    {
        (void)st;
        return 1;
    }
    // A device took a byte: n is 1-4 for the bit devices, 5 for the terminal; `value` is the byte
    // (for the terminal, the character just appended to termtext). The device window redraws
    // when it is open (st.Form5).
    virtual void devicerefresh(MachineState& st, int n, int32_t value)
    {
        (void)st;
        (void)n;
        (void)value;
    }
    // ioprint: the I/O Ports Editor redraws (called only while it is open and the refresh option is on).
    virtual void ioprint(MachineState& st) { (void)st; }
    // A line for the simulation log file outside the rows ("RESET"); it reaches log.txt only
    // while the log file is open, which the implementation knows.
    virtual void logline(const char* text) { (void)text; }
};

} // namespace kelvane
