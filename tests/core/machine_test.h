// A small harness for core tests: a machine with a program poked in at an address, run as at
// Ultimate rate with hooks that record what the machine told them.
#pragma once
#include "core/execute.h"
#include "core/interrupts.h"
#include "core/machine.h"

#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

namespace kelvane::test {

struct RecordingHooks : MachineHooks {
    std::vector<std::string> rows;
    std::vector<std::string> lines;
    std::vector<std::pair<int, int32_t>> devices;
    int ekrancount = 0;
    int speed1count = 0;
    int32_t promptvalue = 0;
    int32_t intranswer = 1;
    RecordingHooks() { wantlog = true; }
    void ekran(MachineState& st) override
    {
        ++ekrancount;
        composepanelvalues(st);
    }
    void logrow(const MachineState& st, int32_t address) override { rows.push_back(formatlogrow(st, address)); }
    void logline(const char* t) override { lines.emplace_back(t); }
    void menuspeed1(MachineState& st) override
    {
        ++speed1count;
        st.simrate = 1;
    }
    void inprompt(MachineState& st, int32_t) override { st.invalue = promptvalue; }
    int32_t intrchoice(MachineState&) override { return intranswer; }
    void devicerefresh(MachineState&, int n, int32_t v) override { devices.emplace_back(n, v); }
};

struct Machine {
    std::unique_ptr<MachineState> owner = std::make_unique<MachineState>();
    MachineState& st = *owner;
    RecordingHooks hooks;

    explicit Machine(std::initializer_list<int> program = {}, int32_t at = 0, bool ffdefaults = false)
    {
        initialisestate(st);
        int32_t addr = at;
        for (int b : program)
            st.mem[static_cast<size_t>(addr++)] = b;
        st.optffdefaults = ffdefaults ? "ON" : "OFF";
        st.startaddress = at;
        st.simrate = 6;
        start();
    }
    // What Start does to the state.
    void start()
    {
        startrun(st, hooks);
        copytopmirror(st);
    }
    void step(int n = 1)
    {
        for (int i = 0; i < n; ++i)
            stepinstruction(st, hooks);
    }
    std::string last() const { return st.lastinstruction.str(); }
};

} // namespace kelvane::test
