// The router of the tool windows: open flags, what the machine calls after each instruction as the
// options and the open windows decide, where each redraw goes, one instance per window, and the
// order in which the main window's unload closes them.
#include "core/execute.h"
#include "sim/machinestate.h"
#include "sim/programfiles_ui.h"
#include "sim/toolrouter.h"

#include <QCloseEvent>
#include <QWidget>

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <vector>

using namespace kelvane;

namespace {

std::vector<std::string> calls; // what the stand-in windows were asked, in order

std::string nameof(Tool t)
{
    return "Form" + std::string(t == Tool::Form04 ? "04" : std::to_string(static_cast<int>(t)));
}

// A tool window that announces itself like a real one and writes down every call it answers.
// It draws at once, unless told to draw at its next frame (and then tells the router when).
class StandIn : public QWidget, public ToolWindow {
public:
    explicit StandIn(Tool t, bool later = false) : tool_(t), later_(later)
    {
        setAttribute(Qt::WA_DeleteOnClose);
        toolrouter().opened(t, this, this);
    }
    void memorijaprint() override { drawn("memorijaprint"); }
    void ioprint() override { drawn("ioprint"); }
    void drawlines() override { note("drawlines"); }
    void logadd(std::string_view row) override { note("logadd " + std::string(row)); }
    void logclean() override { note("logclean"); }
    bool takesrows() const override { return false; }
    void devicerefresh(int n, int32_t value) override
    {
        note("devicerefresh " + std::to_string(n) + " " + std::to_string(value));
    }
    void settheme() override { note("settheme"); }

protected:
    void closeEvent(QCloseEvent* e) override
    {
        calls.push_back("close " + nameof(tool_));
        toolrouter().closed(tool_);
        QWidget::closeEvent(e);
    }

private:
    void note(const std::string& what) { calls.push_back(nameof(tool_) + " " + what); }
    void drawn(const std::string& what)
    {
        note(what);
        if (!later_)
            toolrouter().redrawn(tool_);
    }
    Tool tool_;
    bool later_;
};

const std::initializer_list<Tool> everytool = {Tool::Form2,  Tool::Form5,  Tool::Form6,  Tool::Form8,  Tool::Form9,
                                               Tool::Form12, Tool::Form16, Tool::Form17, Tool::Form20, Tool::Form21,
                                               Tool::Form04, Tool::Form15, Tool::Form60};

class Router : public ::testing::Test {
protected:
    void SetUp() override
    {
        initialisestate(st());
        calls.clear();
        toolrouter().setlogfileopen(false);
    }
    void TearDown() override
    {
        toolrouter().unloadall();
        for (Tool t : everytool)
            toolrouter().setfactory(t, nullptr);
        st().optrefreshmemory = st().optrefreshbreakpoints = "ON";
        toolrouter().recompute();
    }
    static MachineState& st() { return machinestate(); }
    static void open(std::initializer_list<Tool> tools)
    {
        for (Tool t : tools)
            new StandIn(t);
    }
    static void options(const char* memory, const char* breakpoints)
    {
        st().optrefreshmemory = memory;
        st().optrefreshbreakpoints = breakpoints;
        toolrouter().recompute();
    }
};

// ---------------------------------------------------------------------------------------------

TEST_F(Router, OpenFlagsFollowLoadAndUnload)
{
    struct Row {
        Tool tool;
        bool MachineState::*flag;
    };
    const Row rows[] = {{Tool::Form2, &MachineState::Form2},   {Tool::Form5, &MachineState::Form5},
                        {Tool::Form6, &MachineState::Form6},   {Tool::Form8, &MachineState::Form8},
                        {Tool::Form9, &MachineState::Form9},   {Tool::Form12, &MachineState::Form12},
                        {Tool::Form16, &MachineState::Form16}, {Tool::Form17, &MachineState::Form17},
                        {Tool::Form20, &MachineState::Form20}, {Tool::Form21, &MachineState::Form21}};
    for (const Row& r : rows) {
        auto* w = new StandIn(r.tool);
        EXPECT_TRUE(st().*r.flag) << nameof(r.tool);
        EXPECT_EQ(toolrouter().window(r.tool), w);
        w->close();
        EXPECT_FALSE(st().*r.flag) << nameof(r.tool);
        EXPECT_EQ(toolrouter().window(r.tool), nullptr);
        EXPECT_EQ(toolrouter().tool(r.tool), nullptr);
    }
}

TEST_F(Router, ToolsOpenOnlyWhileAWindowWantsEveryInstruction)
{
    struct Row {
        const char* memory;
        const char* breakpoints;
        std::initializer_list<Tool> open;
        bool toolsopen;
    };
    const Row rows[] = {
        {"ON", "ON", {}, false},
        {"ON", "ON", {Tool::Form2}, true},
        {"ON", "ON", {Tool::Form20}, true},
        {"ON", "ON", {Tool::Form8}, true},
        {"OFF", "ON", {Tool::Form2, Tool::Form20}, false},
        {"OFF", "ON", {Tool::Form2, Tool::Form8}, true},
        {"ON", "OFF", {Tool::Form8}, false},
        {"OFF", "OFF", {Tool::Form2, Tool::Form20, Tool::Form8}, false},
        // Windows that draw nothing after an instruction.
        {"ON", "ON", {Tool::Form5, Tool::Form6, Tool::Form9, Tool::Form12, Tool::Form16, Tool::Form17, Tool::Form21},
         false},
        // The options are texts: only "ON" turns them on.
        {"on", "On", {Tool::Form2, Tool::Form8}, false},
    };
    for (const Row& r : rows) {
        options(r.memory, r.breakpoints);
        open(r.open);
        EXPECT_EQ(machinehooks().toolsopen, r.toolsopen) << r.memory << " " << r.breakpoints << " " << r.open.size();
        toolrouter().unloadall();
        EXPECT_FALSE(machinehooks().toolsopen);
    }
}

TEST_F(Router, ToggledOptionIsTakenAtRecompute)
{
    open({Tool::Form2});
    EXPECT_TRUE(machinehooks().toolsopen);
    st().optrefreshmemory = "OFF";
    toolrouter().recompute();
    EXPECT_FALSE(machinehooks().toolsopen);
    st().optrefreshmemory = "ON";
    toolrouter().recompute();
    EXPECT_TRUE(machinehooks().toolsopen);
}

TEST_F(Router, AfterEachInstructionTheOpenWindowsAreAskedInOrder)
{
    struct Row {
        const char* memory;
        const char* breakpoints;
        std::initializer_list<Tool> open;
        std::vector<std::string> expected;
    };
    const Row rows[] = {
        {"ON", "ON", {Tool::Form20, Tool::Form2, Tool::Form8}, {"Form8 drawlines", "Form2 memorijaprint", "Form20 ioprint"}},
        {"ON", "OFF", {Tool::Form20, Tool::Form2, Tool::Form8}, {"Form2 memorijaprint", "Form20 ioprint"}},
        {"OFF", "ON", {Tool::Form20, Tool::Form2, Tool::Form8}, {"Form8 drawlines"}},
        {"ON", "ON", {Tool::Form20, Tool::Form5}, {"Form20 ioprint"}},
        {"ON", "ON", {Tool::Form2}, {"Form2 memorijaprint"}},
    };
    for (const Row& r : rows) {
        options(r.memory, r.breakpoints);
        open(r.open);
        calls.clear();
        toolrouter().toolrefresh(st());
        EXPECT_EQ(calls, r.expected) << r.memory << " " << r.breakpoints;
        toolrouter().unloadall();
    }
}

TEST_F(Router, TheMachinesInstructionReachesTheEditorsThroughItsHooks)
{
    // NOP at 0: the after-work calls toolrefresh when toolsopen says so.
    class Forward : public MachineHooks {
        void toolrefresh(MachineState& s) override { toolrouter().toolrefresh(s); }
        void ioprint(MachineState&) override { toolrouter().ioprint(); }
    } hooks;
    setmachinehooks(&hooks);
    options("ON", "ON");
    open({Tool::Form2, Tool::Form20});
    calls.clear();
    stepinstruction(st(), hooks);
    EXPECT_EQ(calls, (std::vector<std::string>{"Form2 memorijaprint", "Form20 ioprint"}));
    // OUT 7: the port path redraws the ports editor itself, then the after-work both editors.
    st().mem[1] = 0xD3;
    st().mem[2] = 0x07;
    calls.clear();
    stepinstruction(st(), hooks);
    EXPECT_EQ(calls, (std::vector<std::string>{"Form20 ioprint", "Form2 memorijaprint", "Form20 ioprint"}));
    setmachinehooks(nullptr);
}

TEST_F(Router, AnEditorWaitingForItsFrameIsNotAskedAgain)
{
    // Both editors draw at their next frame; the breakpoints window follows each instruction too.
    options("ON", "ON");
    new StandIn(Tool::Form2, true);
    new StandIn(Tool::Form20, true);
    struct Step {
        const char* what;
        void (*act)();
        std::vector<std::string> expected;
        bool toolsopen; // after the step
    };
    const Step steps[] = {
        {"instruction", [] { toolrouter().toolrefresh(st()); }, {"Form2 memorijaprint", "Form20 ioprint"}, false},
        {"instruction while both wait", [] { toolrouter().toolrefresh(st()); }, {}, false},
        {"Clear, OUT while both wait", [] { toolrouter().memorijaprint(); toolrouter().ioprint(); }, {}, false},
        {"memory drawn", [] { toolrouter().redrawn(Tool::Form2); }, {}, true},
        {"instruction", [] { toolrouter().toolrefresh(st()); }, {"Form2 memorijaprint"}, false},
        {"ports drawn", [] { toolrouter().redrawn(Tool::Form20); }, {}, true},
        {"OUT", [] { toolrouter().ioprint(); }, {"Form20 ioprint"}, false},
        {"breakpoints window opened", [] { new StandIn(Tool::Form8); }, {}, true},
        {"instruction", [] { toolrouter().toolrefresh(st()); }, {"Form8 drawlines"}, true},
        {"memory editor closed and opened", [] { toolrouter().window(Tool::Form2)->close(); new StandIn(Tool::Form2, true); },
         {"close Form2"}, true},
        {"instruction", [] { toolrouter().toolrefresh(st()); }, {"Form8 drawlines", "Form2 memorijaprint"}, true},
        {"breakpoints window closed", [] { toolrouter().window(Tool::Form8)->close(); }, {"close Form8"}, false},
        {"refresh option off, both drawn",
         [] {
             options("OFF", "ON");
             toolrouter().redrawn(Tool::Form2);
             toolrouter().redrawn(Tool::Form20);
         },
         {}, false},
    };
    for (const Step& step : steps) {
        calls.clear();
        step.act();
        EXPECT_EQ(calls, step.expected) << step.what;
        EXPECT_EQ(machinehooks().toolsopen, step.toolsopen) << step.what;
    }
}

TEST_F(Router, RedrawsGoOnlyToOpenWindows)
{
    struct Row {
        const char* name;
        void (*call)();
        Tool target;
        std::string expected;
    };
    const Row rows[] = {
        {"memorijaprint", [] { toolrouter().memorijaprint(); }, Tool::Form2, "Form2 memorijaprint"},
        {"ioprint", [] { toolrouter().ioprint(); }, Tool::Form20, "Form20 ioprint"},
        {"drawlines", [] { toolrouter().drawlines(); }, Tool::Form8, "Form8 drawlines"},
        {"logclean", [] { toolrouter().logclean(); }, Tool::Form16, "Form16 logclean"},
        {"devicerefresh", [] { toolrouter().devicerefresh(3, 0x41); }, Tool::Form5, "Form5 devicerefresh 3 65"},
    };
    for (const Row& r : rows) {
        calls.clear();
        r.call();
        EXPECT_TRUE(calls.empty()) << r.name << " with no window";
        // Every other window open: still nobody answers.
        for (Tool t : everytool)
            if (t != r.target)
                new StandIn(t);
        calls.clear();
        r.call();
        EXPECT_TRUE(calls.empty()) << r.name << " with the others open";
        new StandIn(r.target);
        calls.clear();
        r.call();
        EXPECT_EQ(calls, std::vector<std::string>{r.expected}) << r.name;
        toolrouter().unloadall();
    }
}

TEST_F(Router, ClearAndLoadRedrawTheMemoryEditorThroughTheFileMenuHook)
{
    open({Tool::Form2});
    FileMenuHooks h;
    h.clean = [] {};
    h.memorijaprint = [] { toolrouter().memorijaprint(); };
    for (const char* option : {"ON", "OFF"}) {
        options(option, "ON");
        calls.clear();
        menuclear_Click(st(), nullptr, h);
        const std::vector<std::string> expected =
            std::string(option) == "ON" ? std::vector<std::string>{"Form2 memorijaprint"} : std::vector<std::string>{};
        EXPECT_EQ(calls, expected) << option;
    }
}

TEST_F(Router, ShowMakesOneInstanceAndRaisesItAgain)
{
    int made = 0;
    toolrouter().setfactory(Tool::Form20, [&made]() -> QWidget* {
        ++made;
        return new StandIn(Tool::Form20);
    });
    QWidget* first = toolrouter().show(Tool::Form20);
    ASSERT_NE(first, nullptr);
    EXPECT_TRUE(first->isVisible());
    first->showMinimized();
    EXPECT_EQ(toolrouter().show(Tool::Form20), first);
    EXPECT_EQ(made, 1);
    EXPECT_FALSE(first->isMinimized());
    first->close();
    EXPECT_NE(toolrouter().show(Tool::Form20), nullptr);
    EXPECT_EQ(made, 2);
    // A window without a factory is not shown.
    EXPECT_EQ(toolrouter().show(Tool::Form9), nullptr);
}

TEST_F(Router, UnloadClosesTheOpenWindowsInTheMainWindowsOrder)
{
    // Opened in reverse, closed in the fixed order, the windows without an open flag last.
    for (auto it = std::rbegin(everytool); it != std::rend(everytool); ++it)
        new StandIn(*it);
    calls.clear();
    toolrouter().unloadall();
    std::vector<std::string> expected;
    for (Tool t : everytool)
        expected.push_back("close " + nameof(t));
    EXPECT_EQ(calls, expected);
    for (bool flag : {st().Form2, st().Form5, st().Form6, st().Form8, st().Form9, st().Form12, st().Form16,
                      st().Form17, st().Form20, st().Form21})
        EXPECT_FALSE(flag);
    EXPECT_FALSE(machinehooks().toolsopen);
}

TEST_F(Router, ThemeGoesToTheMainWindowAndEveryOpenWindow)
{
    int main = 0;
    toolrouter().themehook = [&main] { ++main; };
    open({Tool::Form2, Tool::Form20});
    calls.clear();
    toolrouter().settheme();
    EXPECT_EQ(main, 1);
    EXPECT_EQ(calls, (std::vector<std::string>{"Form2 settheme", "Form20 settheme"}));
    toolrouter().themehook = nullptr;
}

} // namespace
