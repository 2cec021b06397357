// Interrupt acceptance, the buttons' gate, RIM/SIM, RESET and the port path.
#include "machine_test.h"

#include <gtest/gtest.h>

using namespace kelvane;
using test::Machine;

namespace {
std::array<bool, 5> buttons(const MachineState& st)
{
    return {st.commandenabled[2], st.commandenabled[3], st.commandenabled[4], st.commandenabled[5],
            st.commandenabled[6]};
}
} // namespace

TEST(Interrupts, AcceptAtStepByStep)
{
    Machine m({0xFB, 0x00});
    m.st.sp = 0x8000;
    m.st.simrate = 1;
    m.step(); // EI acts at once: the buttons change before the next instruction
    EXPECT_EQ(buttons(m.st), (std::array<bool, 5>{true, true, true, true, true}));
    interruptclick(m.st, m.hooks, 3); // RST 7.5
    EXPECT_EQ(m.st.pc, 0x003C);
    EXPECT_EQ(m.st.mem[0x7FFE], 0x01);
    EXPECT_EQ(m.st.mem[0x7FFF], 0x00);
    EXPECT_EQ(m.st.cyclecount, 4 + 12);
    EXPECT_EQ(m.st.instructioncount, 2);
    EXPECT_EQ(m.st.inte, 0);
    EXPECT_EQ(buttons(m.st), (std::array<bool, 5>{false, false, false, false, false}));
    EXPECT_EQ(m.hooks.rows.back(), "2      003C  RST 7.5         00 00000000  00 00 00 00 00 00 7FFE");
    EXPECT_EQ(m.st.nextinstruction.str(), "NOP"); // not recomputed
}

TEST(Interrupts, PendingAreServedInPanelOrder)
{
    Machine m({0xFB, 0x00, 0x00});
    m.st.sp = 0x8000;
    m.step();
    // At Ultimate rate a click only marks the interrupt.
    interruptclick(m.st, m.hooks, 5); // RST 5.5
    interruptclick(m.st, m.hooks, 2); // TRAP
    EXPECT_EQ(m.st.pc, 1);
    m.step();
    // TRAP first (push 0002, vector 0024), then RST 5.5 (push 0024, vector 002C).
    EXPECT_EQ(m.st.pc, 0x002C);
    EXPECT_EQ(popword(m.st), 0x0024);
    EXPECT_EQ(popword(m.st), 0x0002);
    EXPECT_EQ(m.st.instructioncount, 4);
    EXPECT_FALSE(m.st.pendingtrap || m.st.pendingrst55);
}

TEST(Interrupts, SimMasksAndRim)
{
    Machine m({0xFB, 0x3E, 0x0B, 0x30, 0x20, 0x3E, 0x03, 0x30, 0x20});
    m.step(4); // EI; MVI A,0BH; SIM; RIM
    EXPECT_EQ(buttons(m.st), (std::array<bool, 5>{true, true, false, false, true}));
    EXPECT_EQ(m.st.a, 0x0B); // masks 5.5 and 6.5, inte
    m.step(3); // MVI A,03H; SIM with bit 3 clear: masks stay; RIM
    EXPECT_EQ(m.st.mask55, 1);
    EXPECT_EQ(m.st.a, 0x0B);
    m.st.sid = 1;
    m.st.a = 0xC0; // SOD enabled, 1
    m.st.pc = 3;
    m.step();
    EXPECT_EQ(m.st.sod, 1);
    m.st.simrate = 1;
    interruptclick(m.st, m.hooks, 2);
    m.st.pc = 4;
    m.step(); // RIM right after TRAP: inte clear, SID in bit 7
    EXPECT_EQ(m.st.a, 0x80 + 0x03);
}

TEST(Interrupts, ResetRestartsFromStartAddress)
{
    Machine m({0x3C, 0x3C, 0x3C}, 0, false);
    m.st.simrate = 5;
    m.st.inte = 1;
    m.step(2);
    resetpress(m.st, m.hooks);
    EXPECT_TRUE(m.st.resetinprogress);
    resetrelease(m.st, m.hooks);
    EXPECT_FALSE(m.st.resetinprogress);
    EXPECT_EQ(m.st.pc, 0);
    EXPECT_EQ(m.st.a, 0);
    EXPECT_EQ(m.st.instructioncount, 0);
    EXPECT_EQ(m.last(), "RESET");
    EXPECT_EQ(m.st.nextinstruction.str(), "INR A");
    EXPECT_EQ(m.st.inte, 1); // left as it stood, while the buttons show the state after Start
    EXPECT_EQ(buttons(m.st), (std::array<bool, 5>{true, false, false, false, false}));
    EXPECT_EQ(m.hooks.lines, std::vector<std::string>{"RESET"});
    EXPECT_EQ(m.st.simrate, 5);
}

namespace {
struct FakeModule : ModuleObject {
    int32_t supply = -1;
    std::vector<std::pair<int32_t, int32_t>> writes;
    int refreshes = 0;
    void objectinit() override {}
    void objectrefresh() override { ++refreshes; }
    void objectterm() override {}
    void readio(int32_t&, int32_t& v) override
    {
        if (supply >= 0)
            v = supply;
    }
    void writeio(int32_t& p, int32_t& v) override { writes.emplace_back(p, v); }
};
} // namespace

TEST(Ports, ReadPathOrder)
{
    // Prompt off, no module: IN returns the port's value.
    Machine plain({0xDB, 0x10});
    plain.st.ports[0x10] = 0x5A;
    plain.step();
    EXPECT_EQ(plain.st.a, 0x5A);

    // Prompt on: the entered value, and the port takes it; an enabled input device follows.
    Machine prompt({0xDB, 0x10});
    prompt.st.optinprompt = "ON";
    prompt.st.ports[0x10] = 0x5A;
    prompt.hooks.promptvalue = 0x07;
    prompt.st.devenabled[2] = true;
    prompt.st.devinput[2] = true;
    prompt.st.devport[2] = 0x10;
    prompt.step();
    EXPECT_EQ(prompt.st.a, 0x07);
    EXPECT_EQ(prompt.st.ports[0x10], 0x07);
    EXPECT_EQ(prompt.st.devvalue[2], 0x07);
    EXPECT_EQ(prompt.st.invalue, 0);

    // A module's value wins over the prompt and no dialog opens.
    Machine mod({0xDB, 0x10});
    auto fm = std::make_shared<FakeModule>();
    fm->supply = 0x33;
    mod.st.moduletext[1] = "some.module";
    mod.st.moduleobject[1] = fm;
    mod.hooks.modulesactive = true;
    mod.st.optinprompt = "ON";
    mod.hooks.promptvalue = 0x99;
    mod.step();
    EXPECT_EQ(mod.st.a, 0x33);
    EXPECT_EQ(fm->refreshes, 1);
}

TEST(Ports, WritePathDevicesAndTerminal)
{
    Machine m({0xD3, 0x20, 0xD3, 0x21, 0xD3, 0x22});
    m.st.a = 0;
    m.st.devenabled[1] = true;
    m.st.devport[1] = 0x20; // output device takes port 20
    m.st.devenabled[3] = true;
    m.st.devinput[3] = true;
    m.st.devport[3] = 0x21; // input device on 21 leaves the write to the port
    m.st.termenabled = true;
    m.st.termport = 0x22;
    auto fm = std::make_shared<FakeModule>();
    m.st.moduletext[0] = "x";
    m.st.moduleobject[0] = fm;
    m.hooks.modulesactive = true;
    m.st.ports[0x20] = 0x77;
    m.st.a = 0x41;
    m.step(3);
    EXPECT_EQ(m.st.devvalue[1], 0x41);
    EXPECT_EQ(m.st.ports[0x20], 0x77);
    EXPECT_EQ(m.st.ports[0x21], 0x41);
    EXPECT_EQ(m.st.devvalue[3], 0);
    EXPECT_EQ(m.st.termtext, "A");
    EXPECT_EQ(m.st.ports[0x22], 0);
    EXPECT_EQ(fm->writes.size(), 3u); // modules see every write, taken or not
    m.st.a = 0;
    m.st.pc = 4;
    m.step();
    EXPECT_EQ(m.st.termtext, std::string("A\0", 2));
}
