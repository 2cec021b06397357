// The port path of IN and OUT: modules, the ports array, the IN prompt, the peripheral devices,
// the I/O Ports Editor refresh and the I/O log "io.txt".
#include "core/execute.h"
#include "core/hexutil.h"

#include <ctime>
#include <fstream>

namespace kelvane {

namespace {

// "io.txt" lines: date, blank, time, tab, address, "H: ", instruction, tab, the data text.
void logtransfer(MachineState& st, int32_t port, int32_t value, const char* direction)
{
    const std::time_t now = std::time(nullptr);
    std::tm tmv{};
    localtime_r(&now, &tmv);
    char stamp[32];
    std::strftime(stamp, sizeof stamp, "%Y-%m-%d %H:%M:%S", &tmv);
    appendiolog(st, std::string(stamp) + '\t' + hexword(st.pc) + "H: " + st.lastinstruction.str() + "\tData " +
                        hexbyte(value) + direction + hexbyte(port) + "H\r\n");
    st.iologwritten = true;
}

// readio or writeio of each module in slot order, all on one pair of cells: a later module is
// told what an earlier one left. A call that fails leaves the cells as they were before it.
void eachmodule(MachineState& st, void (ModuleObject::*method)(int32_t&, int32_t&), int32_t& port, int32_t& value)
{
    for (size_t i = 0; i < 5; ++i) {
        if (st.moduletext[i] == "OFF" || !st.moduleobject[i])
            continue;
        int32_t p = port;
        int32_t v = value;
        try {
            ((*st.moduleobject[i]).*method)(p, v);
        } catch (...) {
            continue;
        }
        port = p;
        value = v;
    }
}

} // namespace

void appendiolog(const MachineState& st, const std::string& text)
{
    std::ofstream out(st.apppath + "io.txt", std::ios::binary | std::ios::app);
    out << text;
}

int32_t portread(MachineState& st, MachineHooks& hooks, int32_t port)
{
    freshenpanelvalues(st);
    int32_t v = -1;
    if (hooks.modulesactive || hooks.modulesio) {
        int32_t cell = port; // a module may change it; the instruction's own port goes on below
        eachmodule(st, &ModuleObject::readio, cell, v);
    }
    if (v < 0) {
        v = st.ports[static_cast<size_t>(port)];
        if (st.optinprompt == "ON") {
            hooks.inprompt(st, port);
            v = st.invalue;
            st.invalue = 0;
        }
    }
    st.ports[static_cast<size_t>(port)] = v;
    for (int n = 1; n <= 4; ++n) {
        const auto i = static_cast<size_t>(n);
        if (st.devenabled[i] && st.devinput[i] && st.devport[i] == port) {
            st.devvalue[i] = v;
            hooks.devicerefresh(st, n, v);
        }
    }
    if (st.optrefreshmemory == "ON" && st.Form20)
        hooks.ioprint(st);
    if (st.optinlog == "ON")
        logtransfer(st, port, v, "H received on port ");
    return v;
}

void portwrite(MachineState& st, MachineHooks& hooks, int32_t port, int32_t value)
{
    freshenpanelvalues(st);
    if (st.optinlog == "ON")
        logtransfer(st, port, value, "H sent to port ");
    bool taken = false;
    for (int n = 1; n <= 4; ++n) {
        const auto i = static_cast<size_t>(n);
        if (st.devenabled[i] && !st.devinput[i] && st.devport[i] == port) {
            st.devvalue[i] = value;
            hooks.devicerefresh(st, n, value);
            taken = true;
        }
    }
    if (st.termenabled && st.termport == port) {
        st.termtext += static_cast<char>(value & 0xFF);
        hooks.devicerefresh(st, 5, value);
        taken = true;
    }
    if (!taken) {
        st.ports[static_cast<size_t>(port)] = value;
        if (st.optrefreshmemory == "ON" && st.Form20)
            hooks.ioprint(st);
    }
    if (hooks.modulesactive || hooks.modulesio)
        eachmodule(st, &ModuleObject::writeio, port, value);
}

} // namespace kelvane
