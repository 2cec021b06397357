// The main window offscreen: Start, Step and Stop at the six rates, the re-entrant paths of the
// loop (rate changes, Stop and breakpoints from inside it), and direct entry on the panel.
#include "core/execute.h"
#include "core/hexutil.h"
#include "sim/form1.h"
#include "sim/machinestate.h"

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

using namespace kelvane;

namespace {

// Programs as bytes from address 0.
const std::vector<int32_t> haltprogram = {0x3E, 0x12, 0x06, 0x34, 0x76};        // MVI A,12H; MVI B,34H; HLT
const std::vector<int32_t> endlessloop = {0x0B, 0x78, 0xB1, 0xC2, 0x00, 0x00, 0xC3, 0x00, 0x00}; // delay loop
const std::vector<int32_t> eiloop = {0xFB, 0x00, 0xC3, 0x01, 0x00};               // EI; loop: NOP; JMP loop

class Form1Test : public ::testing::Test {
protected:
    void SetUp() override
    {
        st().~MachineState();
        new (&st()) MachineState();
        initialisestate(st());
        form = std::make_unique<Form1>(); // reads the options from the test's own settings
        st().optlogging = "OFF";
        st().opthalt = "ON";
        st().optffdefaults = "ON";
        st().optinprompt = "OFF";
        st().optinlog = "OFF";
        st().startaddress = 0;
        st().clockmhz = 4.0f;
        form->messagesink = [this](const std::string& t) { messages.push_back(t); };
        form->viewersink = [this](const QString& path) { viewed.push_back(path); };
        form->show();
    }
    void TearDown() override { form.reset(); }

    static MachineState& st() { return machinestate(); }

    void load(const std::vector<int32_t>& bytes)
    {
        std::fill(st().mem.begin(), st().mem.end(), 0);
        for (size_t i = 0; i < bytes.size(); ++i)
            st().mem[i] = bytes[i];
        st().programsize = static_cast<int32_t>(bytes.size());
    }
    QAction* act(const char* name) { return form->action(name); }
    QString text(const char* name) { return form->label(name)->text(); }
    // Runs fn after ms milliseconds of the event loop that is running then (the run loop's pumps).
    void later(int ms, std::function<void()> fn) { QTimer::singleShot(ms, form.get(), std::move(fn)); }
    void startat(int rate)
    {
        act(("menuspeed" + std::to_string(rate)).c_str())->trigger();
        act("menustart")->trigger();
    }
    long executed() const { return st().instructioncount; }

    std::unique_ptr<Form1> form;
    std::vector<std::string> messages;
    std::vector<QString> viewed;
};

TEST_F(Form1Test, StartAtStepByStepExecutesNothingUntilStep)
{
    load(haltprogram);
    startat(1);
    EXPECT_TRUE(st().running);
    EXPECT_EQ(executed(), 0);
    EXPECT_TRUE(act("menustep")->isEnabled());
    EXPECT_TRUE(act("menustep2")->isVisible());
    EXPECT_FALSE(act("menustart")->isEnabled());
    EXPECT_TRUE(act("menustop")->isEnabled());
    EXPECT_EQ(text("qinstrukcijanext"), "MVI A,12H");
    EXPECT_EQ(text("qinstrukcija"), "");

    act("menustep")->trigger();
    EXPECT_EQ(executed(), 1);
    EXPECT_EQ(text("qa"), "12");
    EXPECT_EQ(text("qpc"), "0002");
    EXPECT_EQ(text("qinstrukcija"), "MVI A,12H");
    EXPECT_EQ(text("qinstrukcijanext"), "MVI B,34H");
    EXPECT_EQ(text("qinst"), "1");
    EXPECT_EQ(text("qtaktvreme"), "7");
    act("menustep2")->trigger();
    EXPECT_EQ(text("qb"), "34");
    EXPECT_TRUE(messages.empty());
}

TEST_F(Form1Test, StopAtStepByStepFinishesAtOnce)
{
    load(haltprogram);
    startat(1);
    act("menustep")->trigger();
    act("menustop")->trigger();
    EXPECT_FALSE(st().running);
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0].rfind("Total number of executed instructions is 1.\r\n", 0), 0u) << messages[0];
    EXPECT_TRUE(act("menustart")->isEnabled());
    EXPECT_FALSE(act("menustop")->isEnabled());
    EXPECT_FALSE(act("menustep")->isEnabled());
    EXPECT_FALSE(act("menustep2")->isVisible());
    for (int i = 1; i <= 7; ++i)
        EXPECT_FALSE(form->command(i)->isEnabled()) << i;
    // The last instruction and the counters stay on the panel.
    EXPECT_EQ(text("qinstrukcija"), "MVI A,12H");
    EXPECT_EQ(text("qinst"), "1");
}

TEST_F(Form1Test, StartEnablesResetTrapAndSidOnly)
{
    load(endlessloop);
    startat(1);
    const bool expected[] = {false, true, true, false, false, false, false, true};
    for (int i = 1; i <= 7; ++i)
        EXPECT_EQ(form->command(i)->isEnabled(), expected[i]) << "Command" << i;
    act("menustop")->trigger();
}

// HLT with "HLT Stops Simulation" on ends the run after that instruction at every rate.
class HaltAtRate : public Form1Test, public ::testing::WithParamInterface<int> {};

TEST_P(HaltAtRate, HaltStopsTheRun)
{
    load(haltprogram);
    const int rate = GetParam();
    startat(rate);
    if (rate == 1) {
        for (int i = 0; i < 3; ++i)
            act("menustep")->trigger();
    }
    EXPECT_FALSE(st().running);
    EXPECT_FALSE(form->loopactive());
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0].rfind("Total number of executed instructions is 3.\r\n", 0), 0u) << messages[0];
    EXPECT_EQ(text("qinstrukcija"), "HLT");
    EXPECT_EQ(text("qb"), "34");
    EXPECT_FALSE(form->ultimatetimer()->isActive());
}

INSTANTIATE_TEST_SUITE_P(Rates, HaltAtRate, ::testing::Values(1, 2, 3, 4, 5, 6));

TEST_F(Form1Test, HaltWithOptionOffRunsUntilStop)
{
    st().opthalt = "OFF";
    load(haltprogram);
    later(150, [this] { act("menustop")->trigger(); });
    startat(5);
    EXPECT_FALSE(st().running);
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_GT(executed(), 3);
    EXPECT_EQ(st().pc, 4);
}

// Stop from a handler that runs inside the loop's pumps, at each looping rate.
class StopInsideLoop : public Form1Test, public ::testing::WithParamInterface<int> {};

TEST_P(StopInsideLoop, StopEndsTheLoopWithOneMessage)
{
    load(endlessloop);
    // A second Stop while the first is still winding the loop down gives no second message.
    later(100, [this] {
        act("menustop")->trigger();
        if (act("menustop")->isEnabled())
            act("menustop")->trigger();
    });
    startat(GetParam());
    EXPECT_FALSE(st().running);
    EXPECT_FALSE(form->loopactive());
    EXPECT_TRUE(st().stoprequest); // stays set until the next Start
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_GT(executed(), 0);
    EXPECT_EQ(text("qinst"), QString::number(executed()));
}

INSTANTIATE_TEST_SUITE_P(Rates, StopInsideLoop, ::testing::Values(2, 3, 4, 5, 6));

TEST_F(Form1Test, RateChangesDuringARunActOnTheRunningLoop)
{
    load(endlessloop);
    long at3 = 0;
    later(60, [this] { act("menuspeed6")->trigger(); });
    later(160, [this] { EXPECT_TRUE(form->ultimatetimer()->isActive()); });
    later(200, [&] {
        at3 = executed();
        act("menuspeed3")->trigger();
    });
    later(330, [this] { act("menustop")->trigger(); });
    startat(5);
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_FALSE(st().running);
    EXPECT_EQ(st().simrate, 3);
    EXPECT_TRUE(act("menuspeed3")->isChecked());
    EXPECT_FALSE(act("menuspeed6")->isChecked());
    EXPECT_GT(at3, 10000); // the Ultimate stretch ran fast
    // At Normal each instruction waits about 120 ms: a few instructions at most after the change.
    EXPECT_LE(executed() - at3, 4);
}

TEST_F(Form1Test, ChangeToStepByStepEndsTheLoopAndOtherRateResumesIt)
{
    load(endlessloop);
    later(80, [this] { act("menuspeed1")->trigger(); });
    startat(5);
    // The loop ended at its test; the run waits for Step commands.
    EXPECT_TRUE(st().running);
    EXPECT_FALSE(form->loopactive());
    EXPECT_TRUE(act("menustep")->isEnabled());
    EXPECT_TRUE(act("menustep2")->isVisible());
    const long paused = executed();
    EXPECT_GT(paused, 0);
    act("menustep")->trigger();
    EXPECT_EQ(executed(), paused + 1);

    // From Step By Step to Extremely Fast: the loop starts inside the rate's handler.
    later(80, [this] { act("menustop")->trigger(); });
    act("menuspeed5")->trigger();
    EXPECT_FALSE(st().running);
    EXPECT_GT(executed(), paused + 1);
    ASSERT_EQ(messages.size(), 1u);
}

TEST_F(Form1Test, RateChosenDuringAStepLetsThatStepsLoopRunOn)
{
    load(endlessloop);
    startat(1);
    // The rate change arrives while the Step's instruction refreshes the panel.
    QTimer::singleShot(0, form.get(), [this] { act("menuspeed5")->trigger(); });
    later(100, [this] { act("menustop")->trigger(); });
    act("menustep")->trigger();
    EXPECT_FALSE(st().running);
    EXPECT_FALSE(form->loopactive());
    EXPECT_GT(executed(), 1);
    ASSERT_EQ(messages.size(), 1u);
}

TEST_F(Form1Test, BreakpointSwitchesToStepByStep)
{
    load(haltprogram);
    st().breakpointaddress.set(0, "0002");
    startat(5);
    EXPECT_TRUE(st().running);
    EXPECT_FALSE(form->loopactive());
    EXPECT_EQ(st().simrate, 1);
    EXPECT_TRUE(act("menuspeed1")->isChecked());
    EXPECT_FALSE(act("menuspeed5")->isChecked());
    EXPECT_TRUE(act("menustep")->isEnabled());
    EXPECT_TRUE(act("menustep2")->isVisible());
    EXPECT_EQ(executed(), 1);
    EXPECT_EQ(text("qpc"), "0002");
    EXPECT_EQ(text("qinstrukcijanext"), "MVI B,34H");
    act("menustop")->trigger();
    EXPECT_EQ(messages.size(), 1u);
}

TEST_F(Form1Test, UltimateRefreshesThePanelOnlyOnTheTimer)
{
    load(endlessloop);
    QString seen;
    later(120, [&] { seen = text("qinst"); });
    later(300, [this] { act("menustop")->trigger(); });
    startat(6);
    // The panel showed a count during the run, but it lagged behind the machine between ticks
    // (the timer ticks every 500 ms, so after 120 ms it still shows the Start's zero).
    EXPECT_EQ(seen, "0");
    EXPECT_FALSE(form->ultimatetimer()->isActive());
    EXPECT_EQ(text("qinst"), QString::number(executed())); // the loop's end refreshes it
}

TEST_F(Form1Test, InterruptAtStepByStepIsAcceptedAtOnce)
{
    load(eiloop);
    startat(1);
    act("menustep")->trigger(); // EI
    ASSERT_TRUE(form->command(3)->isEnabled());
    form->command(3)->click(); // RST 7.5
    EXPECT_EQ(st().pc, 0x3C);
    EXPECT_EQ(text("qinstrukcija"), "RST 7.5");
    EXPECT_EQ(st().instructioncount, 2);
    for (int i = 2; i <= 6; ++i)
        EXPECT_FALSE(form->command(i)->isEnabled()) << i;
    act("menustop")->trigger();
}

TEST_F(Form1Test, InterruptPressedDuringALoopIsServedAfterTheInstruction)
{
    // EI, then a loop; the routine at 003C is a HLT.
    load(eiloop);
    st().mem[0x3C] = 0x76;
    later(80, [this] { form->command(3)->click(); });
    startat(5);
    EXPECT_FALSE(st().running);
    EXPECT_EQ(st().pc, 0x3C);
    const int32_t ret = st().mem[0xFFFD] + st().mem[0xFFFE] * 256;
    EXPECT_TRUE(ret == 1 || ret == 2) << ret;
}

TEST_F(Form1Test, ResetDuringARunRestartsFromTheStartAddressAtTheSameRate)
{
    st().optlogging = "ON";
    load(endlessloop);
    later(80, [this] {
        QTest::mousePress(form->command(1), Qt::LeftButton);
        QTest::mouseRelease(form->command(1), Qt::LeftButton);
    });
    later(900, [this] {
        EXPECT_TRUE(st().running);
        EXPECT_TRUE(form->loopactive());
        act("menustop")->trigger();
    });
    startat(5);
    EXPECT_EQ(st().simrate, 5);
    ASSERT_EQ(messages.size(), 1u);
    // The log shows the RESET line, after which the rows count anew from the start address.
    QFile f(QString::fromStdString(form->simlog().path()));
    ASSERT_TRUE(f.open(QIODevice::ReadOnly));
    const QList<QByteArray> lines = f.readAll().split('\n');
    const auto reset = std::find(lines.begin(), lines.end(), QByteArray("RESET\r"));
    ASSERT_NE(reset, lines.end());
    ASSERT_NE(reset + 1, lines.end());
    EXPECT_TRUE((reset + 1)->startsWith("1      0000  DCX B")) << (reset + 1)->constData();
    EXPECT_EQ(QString::number(executed()), text("qinst"));
}

TEST_F(Form1Test, ResetAtStepByStepCleansAndWaitsForStep)
{
    load(haltprogram);
    startat(1);
    act("menustep")->trigger();
    act("menustep")->trigger();
    QTest::mousePress(form->command(1), Qt::LeftButton);
    EXPECT_FALSE(act("menustep")->isEnabled());
    EXPECT_EQ(text("qa"), "FF"); // cleaned while held
    QTest::mouseRelease(form->command(1), Qt::LeftButton);
    EXPECT_EQ(text("qinstrukcija"), "RESET");
    EXPECT_EQ(text("qinstrukcijanext"), "MVI A,12H");
    EXPECT_EQ(text("qpc"), "0000");
    EXPECT_EQ(text("qinst"), "0");
    EXPECT_TRUE(act("menustep")->isEnabled());
    EXPECT_TRUE(form->command(1)->isEnabled());
    EXPECT_TRUE(form->command(2)->isEnabled());
    act("menustep")->trigger();
    EXPECT_EQ(text("qa"), "12");
    act("menustop")->trigger();
}

TEST_F(Form1Test, SidButtonTogglesTheLineAndSodFollowsTheState)
{
    load(haltprogram);
    startat(1);
    form->command(7)->click();
    EXPECT_EQ(st().sid, 1);
    EXPECT_EQ(form->command(7)->text(), "SID = 1");
    st().sod = 1;
    form->ekran();
    EXPECT_EQ(text("sodlabel"), "SOD = 1");
    act("menustop")->trigger();
}

TEST_F(Form1Test, ButtonsFollowEiSimAcceptanceAndStop)
{
    load({0x3E, 0x0B, 0xFB, 0x30, 0x00, 0x00}); // MVI A,0BH; EI; SIM; NOP; NOP
    startat(1);
    auto enabled = [this] {
        std::string e;
        for (int i = 1; i <= 7; ++i)
            e += form->command(i)->isEnabled() ? '1' : '0';
        return e;
    };
    EXPECT_EQ(enabled(), "1100001");
    act("menustep")->trigger();
    act("menustep")->trigger(); // EI
    EXPECT_EQ(enabled(), "1111111");
    act("menustep")->trigger(); // SIM with 0BH: 6.5 and 5.5 masked
    EXPECT_EQ(enabled(), "1110011");
    form->command(3)->click(); // RST 7.5 accepted
    EXPECT_EQ(enabled(), "1000001");
    act("menustop")->trigger();
    EXPECT_EQ(enabled(), "0000000");
}

TEST_F(Form1Test, InterruptPressedAtUltimateIsServedAfterTheInstruction)
{
    load(eiloop);
    st().mem[0x24] = 0x76; // the TRAP routine: HLT
    later(60, [this] { form->command(2)->click(); });
    startat(6);
    EXPECT_FALSE(st().running);
    EXPECT_EQ(st().pc, 0x24);
    EXPECT_FALSE(st().pendingtrap);
}

TEST_F(Form1Test, StopWhileResetIsHeldEndsTheRunAtTheRelease)
{
    load(endlessloop);
    // Each event is scheduled once the one before it was handled, so that a slow build keeps
    // their order: press, Stop while held, release.
    later(60, [this] {
        QTest::mousePress(form->command(1), Qt::LeftButton);
        later(60, [this] {
            act("menustop")->trigger();
            later(60, [this] { QTest::mouseRelease(form->command(1), Qt::LeftButton); });
        });
    });
    startat(5); // returns when the loop has seen the press
    EXPECT_TRUE(QTest::qWaitFor([] { return !st().running; }, 5000));
    EXPECT_FALSE(st().resetinprogress);
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0].rfind("Total number of executed instructions is 0.\r\n", 0), 0u) << messages[0];
    EXPECT_FALSE(act("menustop")->isEnabled());
}

TEST_F(Form1Test, ClosingDuringARunEndsItWithoutTheStatistics)
{
    load(endlessloop);
    later(80, [this] { form->close(); });
    startat(5);
    EXPECT_FALSE(form->loopactive());
    EXPECT_TRUE(messages.empty());
}

TEST_F(Form1Test, ClickResetAtStepByStepActsAtOnce)
{
    load(haltprogram);
    startat(1);
    act("menustep")->trigger();
    form->clickreset();
    EXPECT_FALSE(st().resetinprogress);
    EXPECT_FALSE(st().resetrequest);
    EXPECT_EQ(text("qinstrukcija"), "RESET");
    EXPECT_EQ(text("qinst"), "0");
    EXPECT_EQ(text("qa"), "FF");
    EXPECT_TRUE(act("menustep")->isEnabled());
    act("menustop")->trigger();
}

TEST_F(Form1Test, ClickResetDuringALoopWaitsForTheLoopAndRunsOn)
{
    load(endlessloop);
    bool looping = false;
    // clickreset is called only where its callers can reach it: with the loop running and RESET
    // enabled (a slow build may still be inside Start at 60 ms). Stop follows once it acted.
    std::function<void()> press = [&] {
        if (!form->loopactive() || !st().commandenabled[1]) {
            later(20, press);
            return;
        }
        later(740, [&] {
            looping = form->loopactive();
            act("menustop")->trigger();
        });
        form->clickreset();
    };
    later(60, press);
    startat(5);
    EXPECT_TRUE(looping); // the run went on after the reset
    EXPECT_FALSE(st().resetrequest);
    EXPECT_EQ(st().simrate, 5);
    ASSERT_EQ(messages.size(), 1u);
}

TEST_F(Form1Test, IoLogGetsResetLinesAndTwoEmptyLinesAtStop)
{
    const std::string io = st().apppath + "io.txt";
    std::remove(io.c_str());
    st().optinlog = "ON";
    load({0xD3, 0x07, 0x76}); // OUT 07H; HLT
    startat(1);
    act("menustep")->trigger();
    QTest::mousePress(form->command(1), Qt::LeftButton);
    QTest::mouseRelease(form->command(1), Qt::LeftButton);
    act("menustep")->trigger();
    act("menustep")->trigger(); // HLT stops the run
    EXPECT_FALSE(st().running);
    QFile f(QString::fromStdString(io));
    ASSERT_TRUE(f.open(QIODevice::ReadOnly));
    const QList<QByteArray> lines = f.readAll().split('\n');
    ASSERT_EQ(lines.size(), 6); // OUT, RESET, OUT, two empty lines and what follows the last CR LF
    EXPECT_TRUE(lines[0].endsWith("\t0000H: OUT 07H\tData FFH sent to port 07H\r"));
    EXPECT_EQ(lines[1], "RESET\r");
    EXPECT_TRUE(lines[2].contains("sent to port 07H"));
    EXPECT_EQ(lines[3], "\r");
    EXPECT_EQ(lines[4], "\r");
    EXPECT_EQ(lines[5], "");
    f.close();
    std::remove(io.c_str());
}

// Direct entry: label, typed text, the field and the value expected (-1: unchanged).
struct EntryCase {
    const char* label;
    const char* typed;
    int32_t MachineState::*field;
    int32_t expected;
};

void PrintTo(const EntryCase& c, std::ostream* os)
{
    *os << c.label << " '" << c.typed << "'";
}

class DirectEntry : public Form1Test, public ::testing::WithParamInterface<EntryCase> {};

TEST_P(DirectEntry, EnterCommitsByTheBoxLength)
{
    const EntryCase& c = GetParam();
    load(haltprogram);
    startat(1);
    const int32_t before = st().*(c.field);
    const QString nextbefore = text("qinstrukcijanext");
    form->panelclick(c.label);
    ASSERT_TRUE(form->entryopen());
    EXPECT_TRUE(form->entrybox()->text().isEmpty()); // the old value is not offered
    QTest::keyClicks(form->entrybox(), c.typed);
    QTest::keyClick(form->entrybox(), Qt::Key_Return);
    EXPECT_FALSE(form->entryopen());
    EXPECT_TRUE(form->entrybox()->text().isEmpty());
    EXPECT_EQ(st().*(c.field), c.expected < 0 ? before : c.expected);
    // The panel follows a commit at once; the next instruction's text does not.
    EXPECT_EQ(text("qinstrukcijanext"), nextbefore);
    EXPECT_EQ(text("qf"), QString::fromStdString(hexbyte(composeflags(st()))));
    act("menustop")->trigger();
}

INSTANTIATE_TEST_SUITE_P(
    Cases, DirectEntry,
    ::testing::Values(EntryCase{"qa", "F", &MachineState::a, 0x0F}, EntryCase{"qa", "", &MachineState::a, 0},
                      EntryCase{"qb", "ab", &MachineState::b, 0xAB}, EntryCase{"qc", "G1", &MachineState::c, -1},
                      EntryCase{"qd", "123", &MachineState::d, 0x12}, // the box takes two characters only
                      EntryCase{"qh", "7", &MachineState::h, 7}, EntryCase{"ql", "00", &MachineState::l, 0},
                      EntryCase{"qfz", "0", &MachineState::fz, 0}, EntryCase{"qfs", "2", &MachineState::fs, -1},
                      EntryCase{"qfcy", "", &MachineState::fcy, 0}, EntryCase{"qfac", "x", &MachineState::fac, -1},
                      EntryCase{"qfp", "0", &MachineState::fp, 0}, EntryCase{"qsp", "G", &MachineState::sp, -1},
                      EntryCase{"qsp", "12", &MachineState::sp, 0x12}, EntryCase{"qsp", "", &MachineState::sp, 0},
                      EntryCase{"qpc", "fff0", &MachineState::pc, 0xFFF0},
                      EntryCase{"qpc", "12345", &MachineState::pc, 0x1234}));

TEST_F(Form1Test, EscapeAndDismissalsStoreNothing)
{
    load(haltprogram);
    startat(1);
    // Esc.
    form->panelclick("qa");
    QTest::keyClicks(form->entrybox(), "01");
    QTest::keyClick(form->entrybox(), Qt::Key_Escape);
    EXPECT_FALSE(form->entryopen());
    EXPECT_EQ(st().a, 0xFF);
    // A click on a part of the panel that can't be edited.
    for (const char* other : {"qinst", "qf", "qf5", "qhl", "Frame2", "panel", "l_qa", "sodlabel"}) {
        form->panelclick("qb");
        ASSERT_TRUE(form->entryopen()) << other;
        QTest::keyClicks(form->entrybox(), "05");
        form->panelclick(other);
        EXPECT_FALSE(form->entryopen()) << other;
        EXPECT_TRUE(form->entrybox()->text().isEmpty()) << other;
    }
    EXPECT_EQ(st().b, 0xFF);
    // The focus moving to another control of the window.
    form->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(form.get()));
    form->panelclick("qb");
    ASSERT_TRUE(form->entrybox()->hasFocus());
    QTest::keyClicks(form->entrybox(), "05");
    form->command(2)->setFocus(Qt::TabFocusReason);
    EXPECT_FALSE(form->entryopen());
    EXPECT_EQ(st().b, 0xFF);
    // Opening a main menu.
    form->panelclick("qc");
    QTest::keyClicks(form->entrybox(), "05");
    emit form->findChild<QMenu*>("menu3")->aboutToShow();
    EXPECT_FALSE(form->entryopen());
    EXPECT_EQ(st().c, 0xFF);
    // A click on another register moves the box there.
    form->panelclick("qd");
    form->panelclick("qe");
    EXPECT_EQ(form->editedregister(), "qe");
    QTest::keyClicks(form->entrybox(), "3");
    QTest::keyClick(form->entrybox(), Qt::Key_Enter);
    EXPECT_EQ(st().d, 0xFF);
    EXPECT_EQ(st().e, 3);
    act("menustop")->trigger();
}

TEST_F(Form1Test, EntryOpensOnlyWhileStepping)
{
    load(endlessloop);
    // Outside a run, at rate 1.
    act("menuspeed1")->trigger();
    form->panelclick("qa");
    EXPECT_FALSE(form->entryopen());
    // During a run at Normal rate.
    bool opened = true;
    later(50, [&] {
        form->panelclick("qa");
        opened = form->entryopen();
        act("menustop")->trigger();
    });
    startat(3);
    EXPECT_FALSE(opened);
    // The flag bits without a meaning never open it.
    startat(1);
    for (const char* name : {"qf5", "qf3", "qf1", "qf", "qhl"}) {
        form->panelclick(name);
        EXPECT_FALSE(form->entryopen()) << name;
    }
    act("menustop")->trigger();
}

TEST_F(Form1Test, FlagEntryChangesTheFlagByteAtOnce)
{
    st().optffdefaults = "OFF";
    load(haltprogram);
    startat(1);
    EXPECT_EQ(text("qf"), "00");
    form->panelclick("qfz");
    QTest::keyClicks(form->entrybox(), "1");
    QTest::keyClick(form->entrybox(), Qt::Key_Return);
    EXPECT_EQ(text("qfz"), "1");
    EXPECT_EQ(text("qf"), "40");
    act("menustop")->trigger();
}

TEST_F(Form1Test, StatisticsTellClockAndCycles)
{
    load(haltprogram); // 7 + 7 + 5 cycles
    st().clockmhz = 4.0f;
    startat(5);
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_NE(messages[0].find("Real-time duration of the simulation is 19 clock cycles or 4.75 µs at 4 MHz."),
              std::string::npos)
        << messages[0];
    EXPECT_NE(messages[0].find(" seconds elapsed.\r\n"), std::string::npos);
}

TEST_F(Form1Test, LogFileHoldsHeadingRowsAndFooter)
{
    st().optlogging = "ON";
    load(haltprogram);
    startat(5);
    QFile f(QString::fromStdString(form->simlog().path()));
    ASSERT_TRUE(f.open(QIODevice::ReadOnly));
    const QList<QByteArray> lines = f.readAll().split('\n');
    ASSERT_GE(lines.size(), 9);
    EXPECT_TRUE(lines[0].startsWith("Simulation started at "));
    EXPECT_EQ(lines[1], "No.    PC    Instruction     A  SZ_A_P_C  B  C  D  E  H  L  SP  \r");
    EXPECT_EQ(lines[2], "\r");
    EXPECT_EQ(lines[3].size(), 65); // 64 characters and the CR
    EXPECT_TRUE(lines[3].startsWith("1      0000  MVI A,12H"));
    EXPECT_TRUE(lines[5].startsWith("3      0004  HLT"));
    EXPECT_TRUE(lines[6].startsWith("Simulation stopped at "));
    EXPECT_TRUE(lines[7].endsWith(" seconds elapsed.\r"));
    EXPECT_TRUE(lines[8].startsWith("Real-time duration of the simulation is 19 clock cycles"));
    // After the message the log opens in the text viewer.
    ASSERT_EQ(viewed.size(), 1u);
    EXPECT_EQ(viewed[0], f.fileName());
}

} // namespace
