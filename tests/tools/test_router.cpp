// The router of the tool windows: what the machine calls after each instruction as the options
// and the open windows decide, an editor asked once until it has drawn, and the order in which
// the main window's unload closes the windows.
#include "sim/machinestate.h"
#include "sim/toolrouter.h"

#include <QCloseEvent>
#include <QWidget>

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

using namespace kelvane;

namespace {

std::vector<std::string> calls; // what the stand-in windows were asked, in order

std::string nameof(Tool t)
{
    return "Form" + (t == Tool::Form04 ? std::string("04") : std::to_string(static_cast<int>(t)));
}

// A tool window that announces itself as a real one does and notes the calls it answers. It
// draws at once, or (later) at a frame of its own, of which it tells the router.
class StandIn : public QWidget, public ToolWindow {
public:
    explicit StandIn(Tool t, bool later = false) : tool_(t), later_(later)
    {
        setAttribute(Qt::WA_DeleteOnClose);
        toolrouter().opened(t, this, this);
    }
    void memorijaprint() override { drawn("memorijaprint"); }
    void ioprint() override { drawn("ioprint"); }
    void drawlines() override { calls.push_back(nameof(tool_) + " drawlines"); }

protected:
    void closeEvent(QCloseEvent* e) override
    {
        calls.push_back("close " + nameof(tool_));
        toolrouter().closed(tool_);
        QWidget::closeEvent(e);
    }

private:
    void drawn(const std::string& what)
    {
        calls.push_back(nameof(tool_) + " " + what);
        if (!later_)
            toolrouter().redrawn(tool_);
    }
    Tool tool_;
    bool later_;
};

void options(const char* memory, const char* breakpoints)
{
    machinestate().optrefreshmemory = memory;
    machinestate().optrefreshbreakpoints = breakpoints;
    toolrouter().recompute();
}

void instruction()
{
    if (machinehooks().toolsopen)
        toolrouter().toolrefresh(machinestate());
}

using Calls = std::vector<std::string>;

TEST(Router, WhatEachInstructionCallsFollowsTheOptionsAndTheOpenWindows)
{
    initialisestate(machinestate());
    const Tool m = Tool::Form2, p = Tool::Form20, b = Tool::Form8;
    struct Row {
        const char *memory, *breakpoints;
        std::vector<Tool> open;
        Calls expected;
    };
    const Row rows[] = {
        {"ON", "ON", {}, {}},
        {"ON", "ON", {p, m, b}, {"Form8 drawlines", "Form2 memorijaprint", "Form20 ioprint"}},
        {"ON", "OFF", {p, m, b}, {"Form2 memorijaprint", "Form20 ioprint"}},
        {"OFF", "ON", {p, m, b}, {"Form8 drawlines"}},
        {"OFF", "OFF", {p, m, b}, {}},
        {"ON", "ON", {p, Tool::Form5}, {"Form20 ioprint"}},
        {"ON", "ON", {Tool::Form5, Tool::Form6, Tool::Form9, Tool::Form12, Tool::Form16, Tool::Form17, Tool::Form21}, {}},
        {"on", "On", {m, b}, {}}, // the options are texts: only "ON" is on
    };
    for (const Row& r : rows) {
        options(r.memory, r.breakpoints);
        for (Tool t : r.open)
            new StandIn(t);
        calls.clear();
        instruction();
        EXPECT_EQ(calls, r.expected) << r.memory << " " << r.breakpoints << " " << r.open.size();
        toolrouter().unloadall();
        EXPECT_FALSE(machinehooks().toolsopen);
    }
}

TEST(Router, AnEditorWaitingForItsFrameIsNotAskedAgain)
{
    initialisestate(machinestate());
    options("ON", "ON");
    new StandIn(Tool::Form2, true);
    new StandIn(Tool::Form20, true);
    struct Step {
        const char* what;
        std::function<void()> act;
        Calls expected;
        bool toolsopen; // after the step
    };
    const Step steps[] = {
        {"instruction", instruction, {"Form2 memorijaprint", "Form20 ioprint"}, false},
        {"instruction while both wait", [] { toolrouter().toolrefresh(machinestate()); }, {}, false},
        {"Clear and OUT while both wait", [] { toolrouter().memorijaprint(); toolrouter().ioprint(); }, {}, false},
        {"memory drawn", [] { toolrouter().redrawn(Tool::Form2); }, {}, true},
        {"instruction", instruction, {"Form2 memorijaprint"}, false},
        {"ports drawn, OUT", [] { toolrouter().redrawn(Tool::Form20); toolrouter().ioprint(); }, {"Form20 ioprint"}, false},
        {"breakpoints window opened", [] { new StandIn(Tool::Form8); }, {}, true},
        {"instruction", instruction, {"Form8 drawlines"}, true},
        {"memory editor reopened", [] { toolrouter().window(Tool::Form2)->close(); new StandIn(Tool::Form2, true); },
         {"close Form2"}, true},
        {"instruction", instruction, {"Form8 drawlines", "Form2 memorijaprint"}, true},
        {"breakpoints window closed", [] { toolrouter().window(Tool::Form8)->close(); }, {"close Form8"}, false},
        {"option off, both drawn",
         [] { options("OFF", "ON"); toolrouter().redrawn(Tool::Form2); toolrouter().redrawn(Tool::Form20); }, {}, false},
        {"option on", [] { options("ON", "ON"); }, {}, true},
    };
    for (const Step& step : steps) {
        calls.clear();
        step.act();
        EXPECT_EQ(calls, step.expected) << step.what;
        EXPECT_EQ(machinehooks().toolsopen, step.toolsopen) << step.what;
    }
    toolrouter().unloadall();
}

TEST(Router, UnloadClosesTheOpenWindowsInTheMainWindowsOrder)
{
    initialisestate(machinestate());
    const std::vector<Tool> order = {Tool::Form2, Tool::Form5, Tool::Form6, Tool::Form8, Tool::Form9, Tool::Form12,
        Tool::Form16, Tool::Form17, Tool::Form20, Tool::Form21, Tool::Form04, Tool::Form15, Tool::Form60};
    Calls expected;
    for (auto it = order.rbegin(); it != order.rend(); ++it)
        new StandIn(*it);
    for (Tool t : order)
        expected.push_back("close " + nameof(t));
    const MachineState& st = machinestate();
    const auto flags = [&st] { return std::vector<bool>{st.Form2, st.Form5, st.Form6, st.Form8, st.Form9, st.Form12,
                                                        st.Form16, st.Form17, st.Form20, st.Form21}; };
    EXPECT_EQ(flags(), std::vector<bool>(10, true));
    calls.clear();
    toolrouter().unloadall();
    EXPECT_EQ(calls, expected);
    EXPECT_EQ(flags(), std::vector<bool>(10, false));
}

} // namespace
