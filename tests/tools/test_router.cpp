// The router: what each instruction calls as the options and the open windows decide, an editor
// asked once until it has drawn, and the order of the main window's unload.
#include "sim/machinestate.h"
#include "sim/toolrouter.h"

#include <QtWidgets>

#include "tests/common/datatable.h"

#include <gtest/gtest.h>

#include <functional>

using namespace kelvane;

namespace {

QStringList calls; // what the stand-in windows were asked, in order

// A tool window that notes the calls it answers; it draws at once, or (later) at a frame of its
// own, of which it tells the router.
class StandIn : public QWidget, public ToolWindow {
public:
    explicit StandIn(Tool t, bool later = false) : tool_(t), later_(later)
    {
        setAttribute(Qt::WA_DeleteOnClose);
        toolrouter().opened(t, this, this);
    }
    void memorijaprint() override { drawn("memorijaprint"); }
    void ioprint() override { drawn("ioprint"); }
    void drawlines() override { calls.push_back(name() + " drawlines"); }
    QString name() const { return "Form" + QString::number(static_cast<int>(tool_)); }

protected:
    void closeEvent(QCloseEvent* e) override
    {
        calls.push_back("close " + name());
        toolrouter().closed(tool_);
        QWidget::closeEvent(e);
    }

private:
    void drawn(const char* what)
    {
        calls.push_back(name() + " " + what);
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

TEST(Router, WhatEachInstructionCallsFollowsTheOptionsAndTheOpenWindows)
{
    initialisestate(machinestate());
    for (const QStringList& r : test::datatable("tools/routercalls.txt")) {
        ASSERT_EQ(r.size(), 4);
        options(qPrintable(r[0]), qPrintable(r[1]));
        for (const QString& n : r[2].split(' ', Qt::SkipEmptyParts))
            new StandIn(static_cast<Tool>(n.toInt()));
        calls.clear();
        instruction();
        EXPECT_EQ(calls.join(", ").toStdString(), r[3].toStdString()) << r.join(" | ").toStdString();
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
    const auto close = [](Tool t) { toolrouter().window(t)->close(); };
    const struct {
        const char* what;
        std::function<void()> act;
        const char* expected;
        bool toolsopen; // after the step
    } steps[] = {
        {"instruction", instruction, "Form2 memorijaprint, Form20 ioprint", false},
        {"instruction while both wait", [] { toolrouter().toolrefresh(machinestate()); }, "", false},
        {"Clear and OUT while both wait", [] { toolrouter().memorijaprint(); toolrouter().ioprint(); }, "", false},
        {"memory drawn", [] { toolrouter().redrawn(Tool::Form2); }, "", true},
        {"instruction", instruction, "Form2 memorijaprint", false},
        {"ports drawn, OUT", [] { toolrouter().redrawn(Tool::Form20); toolrouter().ioprint(); }, "Form20 ioprint", false},
        {"breakpoints window opened", [] { new StandIn(Tool::Form8); }, "", true},
        {"instruction", instruction, "Form8 drawlines", true},
        {"memory editor reopened", [&] { close(Tool::Form2); new StandIn(Tool::Form2, true); }, "close Form2", true},
        {"instruction", instruction, "Form8 drawlines, Form2 memorijaprint", true},
        {"breakpoints window closed", [&] { close(Tool::Form8); }, "close Form8", false},
        {"option off, both drawn",
         [] { options("OFF", "ON"); toolrouter().redrawn(Tool::Form2); toolrouter().redrawn(Tool::Form20); }, "", false},
        {"option on", [] { options("ON", "ON"); }, "", true},
    };
    for (const auto& step : steps) {
        calls.clear();
        step.act();
        EXPECT_EQ(calls.join(", ").toStdString(), step.expected) << step.what;
        EXPECT_EQ(machinehooks().toolsopen, step.toolsopen) << step.what;
    }
    toolrouter().unloadall();
}

TEST(Router, UnloadClosesTheOpenWindowsInTheMainWindowsOrder)
{
    initialisestate(machinestate());
    const MachineState& st = machinestate();
    const auto flags = [&st] { return std::vector<bool>{st.Form2, st.Form5, st.Form6, st.Form8, st.Form9, st.Form12,
                                                        st.Form16, st.Form17, st.Form20, st.Form21}; };
    const std::vector<int> order = {2, 5, 6, 8, 9, 12, 16, 17, 20, 21, 104, 15, 60};
    QStringList expected;
    for (auto n = order.rbegin(); n != order.rend(); ++n) {
        new StandIn(static_cast<Tool>(*n));
        expected.prepend("close Form" + QString::number(*n));
    }
    EXPECT_EQ(flags(), std::vector<bool>(10, true));
    calls.clear();
    toolrouter().unloadall();
    EXPECT_EQ(calls.join(", ").toStdString(), expected.join(", ").toStdString());
    EXPECT_EQ(flags(), std::vector<bool>(10, false));
}

} // namespace
