// The main window offscreen: settings at load, Start, Step and Stop at the six rates, the
// re-entrant paths of the loop (rate changes, Stop, RESET, dialogs and breakpoints from inside
// it), direct entry by mouse and keyboard, and the panel's fixed layout.
#include "core/execute.h"
#include "core/hexutil.h"
#include "sim/form1.h"
#include "sim/machinestate.h"
#include "sim/portdialogs.h"
#include "sim/settings.h"

#include <QtTest>
#include <QtWidgets>

#include "tests/common/datatable.h"
#include "tests/common/dialogdriver.h"
#include "tests/common/shot.h"

#include <gtest/gtest.h>

#include <climits>
#include <memory>

using namespace kelvane;

namespace {

using Program = std::vector<int32_t>;
const Program haltprogram = {0x3E, 0x12, 0x06, 0x34, 0x76};                       // MVI A,12H; MVI B,34H; HLT
const Program endlessloop = {0x0B, 0x78, 0xB1, 0xC2, 0x00, 0x00, 0xC3, 0x00, 0x00}; // delay loop
const Program eiloop = {0xFB, 0x00, 0xC3, 0x01, 0x00};                             // EI; NOP; JMP 0001H

MachineState& st() { return machinestate(); }

class Form1Test : public ::testing::Test {
protected:
    void SetUp() override
    {
        QSettings(QSettings::NativeFormat, QSettings::UserScope, settingsname).clear();
        regwrite("Prompt Before IN", "OFF");
        regwrite("Ultimate Timer", "50");
        st().~MachineState();
        new (&st()) MachineState();
        initialisestate(st());
        make();
    }
    void make()
    {
        form.reset();
        form = std::make_unique<Form1>();
        form->messagesink = [this](const std::string& t) { messages.push_back(t); };
        form->viewersink = [this](const QString& path) { viewed.push_back(path); };
        form->show();
    }
    void load(const Program& bytes)
    {
        std::fill(st().mem.begin(), st().mem.end(), 0);
        std::copy(bytes.begin(), bytes.end(), st().mem.begin());
        st().programsize = static_cast<int32_t>(bytes.size());
    }
    QAction* act(const std::string& name) { return form->action(name.c_str()); }
    // What the window shows, divided by "|": the panel's labels by name, and "running", "loop",
    // "step" (Step enabled), "rates" (marks), "buttons" and "menus" (enabled) as 0 and 1.
    std::string look(std::initializer_list<std::string> names)
    {
        static const char* menus[] = {"menuffpowerondefaults", "menuload", "menuclear", "menusave", "menustart",
                                      "menuenablelogging", "menuclock", "menuaddress", "menuinlog",
                                      "menuhaltstopssimulation", "menuconfirm", "menuultimaterefresh", "menuinprompt"};
        std::string out;
        auto bits = [&out](int count, auto on) {
            for (int i = 0; i < count; ++i)
                out += on(i) ? '1' : '0';
        };
        for (const std::string& n : names) {
            out += out.empty() ? "" : "|";
            if (n == "rates")
                bits(6, [this](int i) { return act("menuspeed" + std::to_string(i + 1))->isChecked(); });
            else if (n == "buttons")
                bits(7, [this](int i) { return form->command(i + 1)->isEnabled(); });
            else if (n == "menus")
                bits(13, [this](int i) { return act(menus[i])->isEnabled(); });
            else
                out += n == "running" ? std::to_string(st().running)
                       : n == "loop"  ? std::to_string(form->loopactive())
                       : n == "step"  ? std::to_string(act("menustep")->isEnabled())
                                      : form->label(n.c_str())->text().toStdString();
        }
        return out;
    }
    // Runs fn after ms milliseconds, inside whatever pumps events then (the run loop).
    void later(int ms, std::function<void()> fn) { QTimer::singleShot(ms, form.get(), std::move(fn)); }
    void startat(int rate, const Program& program = {})
    {
        if (!program.empty())
            load(program);
        act("menuspeed" + std::to_string(rate))->trigger();
        act("menustart")->trigger();
    }
    void step() { act("menustep")->trigger(); }
    void stop() { act("menustop")->trigger(); }
    void press() { QTest::mousePress(form->command(1), Qt::LeftButton); }
    void release() { QTest::mouseRelease(form->command(1), Qt::LeftButton); }
    QList<QByteArray> filelines(const std::string& path)
    {
        QFile f(QString::fromStdString(path));
        return f.open(QIODevice::ReadOnly) ? f.readAll().split('\n') : QList<QByteArray>{};
    }
    bool statistics(size_t i, int count)
    {
        return i < messages.size() &&
               messages[i].starts_with("Total number of executed instructions is " + std::to_string(count) + ".\r\n");
    }

    std::unique_ptr<Form1> form;
    std::vector<std::string> messages;
    std::vector<QString> viewed;
};

TEST_F(Form1Test, SettingsAtLoad)
{
    EXPECT_EQ(look({"rates", "running", "step"}), "000100|0|0");
    EXPECT_TRUE(act("menuhaltstopssimulation")->isChecked() && !act("menuenablelogging")->isChecked() &&
                !act("menustop")->isEnabled() && !act("menustep2")->isVisible());
    EXPECT_EQ(form->windowTitle() + "|" + act("menuabout")->text(), "Kelvane" + QString(18, ' ') + "|About Kelvane");
    // Rate, FF Power On Defaults, start address; the rate marked, A and PC. A rate outside the menu marks none.
    for (const auto& [rate, ff, address, panel] : {std::tuple{"4", "ON", "0", "000100|FF|0000"},
                                                   {"6", "OFF", "26", "000001|00|001A"},
                                                   {"9", "ON", "65535", "000000|FF|FFFF"}}) {
        regwrite("Simulation Rate", rate);
        regwrite("FF Power On Defaults", ff);
        regwrite("Starting Address", address);
        make();
        EXPECT_EQ(look({"rates", "qa", "qpc"}), panel);
        EXPECT_EQ(act("menuffpowerondefaults")->isChecked(), std::string(ff) == "ON");
    }
    act("menuffpowerondefaults")->trigger(); // the toggle cleans at once
    EXPECT_EQ(regread("FF Power On Defaults") + look({"qb"}), "OFF00");
}

TEST_F(Form1Test, StepByStepStartStepStopAndABreakpoint)
{
    startat(1, haltprogram);
    EXPECT_TRUE(st().instructioncount == 0 && act("menustep2")->isVisible());
    // What a run forbids, and what it leaves.
    EXPECT_EQ(look({"step", "menus", "qinstrukcijanext"}), "1|0000000001111|MVI A,12H");
    step();
    EXPECT_EQ(look({"qa", "qpc", "qtaktvreme", "qinstrukcija", "qinstrukcijanext"}), "12|0002|7|MVI A,12H|MVI B,34H");
    act("menustep2")->trigger();
    EXPECT_EQ(look({"qb"}), "34");
    stop(); // no loop pass needed; the counters stay on the panel
    EXPECT_EQ(look({"running", "step", "buttons", "menus", "qinst"}), "0|0|0000000|1111111111111|2");
    EXPECT_TRUE(statistics(0, 2));
    // A breakpoint switches a run to Step By Step and stores that rate.
    st().breakpointaddress.set(0, "0002");
    startat(5);
    EXPECT_EQ(look({"running", "loop", "step", "rates", "qinstrukcijanext"}), "1|0|1|100000|MVI B,34H");
    EXPECT_EQ(regread("Simulation Rate") + std::to_string(st().instructioncount), "11");
    stop();
}

// At every rate: HLT with "HLT Stops Simulation" ends the run after that instruction; in an
// endless loop Stop from a handler inside the loop's pumps ends it, and a second Stop while the
// first winds the loop down gives no second message.
class EveryRate : public Form1Test, public ::testing::WithParamInterface<int> {};

TEST_P(EveryRate, HaltAndStopEndTheRunWithOneMessage)
{
    const int rate = GetParam();
    startat(rate, haltprogram);
    for (int i = 0; i < 3 && rate == 1; ++i)
        step();
    EXPECT_EQ(look({"running", "loop", "qinstrukcija"}), "0|0|HLT");
    EXPECT_TRUE(!form->ultimatetimer()->isActive() && statistics(0, 3));
    if (rate == 1)
        return;
    load(endlessloop);
    later(100, [this] {
        stop();
        if (act("menustop")->isEnabled())
            stop();
    });
    startat(rate);
    EXPECT_EQ(look({"running", "loop", "qinst"}), "0|0|" + std::to_string(st().instructioncount));
    EXPECT_TRUE(st().stoprequest && messages.size() == 2) << messages.size();
}

INSTANTIATE_TEST_SUITE_P(Rates, EveryRate, ::testing::Values(1, 2, 3, 4, 5, 6));

// A change of rate during a run, in every order among the looping rates: the run goes on at the
// new rate and the panel keeps painting its counters.
TEST_F(Form1Test, EveryRateChangeDuringARunKeepsThePanelPainting)
{
    struct PaintCounter : QObject {
        int paints = 0;
        bool eventFilter(QObject*, QEvent* e) override { return paints += e->type() == QEvent::Paint, false; }
    } counter;
    form->label("qinst")->installEventFilter(&counter);
    load(endlessloop);
    for (int from : {3, 4, 5, 6})
        for (int to : {3, 4, 5, 6}) {
            if (from == to)
                continue;
            SCOPED_TRACE(std::to_string(from) + " to " + std::to_string(to));
            int paints = -1;
            std::string before;
            QElapsedTimer since;
            // Looked at again until the counter moved and painted: a loaded machine may deliver
            // the timers together, with no instruction between them.
            std::function<void()> check = [&] {
                if ((look({"qinst"}) == before || counter.paints == 0) && since.elapsed() < 10000)
                    return later(10, check);
                paints = counter.paints;
                EXPECT_NE(look({"qinst"}), before);
                EXPECT_EQ(form->ultimatetimer()->isActive(), to == 6 || from == 6);
                stop();
            };
            later(40, [&, to] { act("menuspeed" + std::to_string(to))->trigger(); });
            later(80, [&] { before = look({"qinst"}), counter.paints = 0, since.start(); });
            later(260, check);
            startat(from);
            EXPECT_GT(paints, 0);
            EXPECT_EQ(std::string(1, look({"rates"})[static_cast<size_t>(to - 1)]) + regread("Simulation Rate"),
                      "1" + std::to_string(to));
        }
    EXPECT_EQ(messages.size(), 12u);
}

TEST_F(Form1Test, StepByStepEndsTheLoopAndAnotherRateResumesItInsideItsHandler)
{
    load(endlessloop);
    later(80, [this] { act("menuspeed1")->trigger(); });
    startat(5);
    EXPECT_EQ(look({"running", "loop"}) + std::to_string(act("menustep2")->isVisible()), "1|01");
    const long paused = st().instructioncount;
    step();
    EXPECT_EQ(st().instructioncount, paused + 1);
    later(80, [this] { stop(); });
    act("menuspeed5")->trigger();
    EXPECT_TRUE(!st().running && st().instructioncount > paused + 1);
    // A rate chosen while a Step's instruction refreshes the panel lets that Step's loop run on.
    startat(1);
    QTimer::singleShot(0, form.get(), [this] { act("menuspeed5")->trigger(); });
    later(100, [this] { stop(); });
    step();
    EXPECT_TRUE(!st().running && st().instructioncount > 1);
    EXPECT_EQ(messages.size(), 2u);
}

TEST_F(Form1Test, ButtonsFollowEiSimAcceptanceAndStop)
{
    startat(1, Program{0x3E, 0x0B, 0xFB, 0x30, 0x00, 0x00}); // MVI A,0BH; EI; SIM; NOP; NOP
    EXPECT_EQ(look({"buttons"}), "1100001");
    step();
    step(); // EI
    EXPECT_EQ(look({"buttons"}), "1111111");
    step(); // SIM with 0BH: 6.5 and 5.5 masked
    EXPECT_EQ(look({"buttons"}), "1110011");
    form->command(3)->click(); // RST 7.5, accepted at once at Step By Step
    EXPECT_EQ(look({"qpc", "qinstrukcija", "buttons"}), "003C|RST 7.5|1000001");
    form->command(7)->click();
    st().sod = 1;
    form->ekran();
    EXPECT_EQ(form->command(7)->text().toStdString() + "|" + look({"sodlabel"}), "SID = 1|SOD = 1");
    stop();
    EXPECT_EQ(look({"buttons"}), "0000000");
}

TEST_F(Form1Test, AnInterruptPressedInTheLoopIsServedAfterTheInstructionUnderWay)
{
    for (const auto& [rate, button, routine] : {std::tuple{5, 3, 0x3C}, {6, 2, 0x24}, {4, 3, 0x3C}}) { // RST 7.5, TRAP
        SCOPED_TRACE(rate);
        load(eiloop);
        st().mem[static_cast<size_t>(routine)] = 0x76; // HLT
        later(80, [this, b = button] { form->command(b)->click(); });
        startat(rate);
        EXPECT_EQ(std::pair(st().running, st().pc), std::pair(false, routine));
        const int32_t ret = st().mem[0xFFFD] + st().mem[0xFFFE] * 256;
        EXPECT_TRUE(ret == 1 || ret == 2) << ret;
    }
}

TEST_F(Form1Test, ResetAtStepByStepCleansAndWaitsForStep)
{
    startat(1, haltprogram);
    step();
    press();
    EXPECT_EQ(look({"step", "qa"}), "0|FF"); // cleaned while held
    release();
    EXPECT_EQ(look({"step", "buttons", "qinstrukcija", "qinstrukcijanext", "qinst"}), "1|1100001|RESET|MVI A,12H|0");
    step();
    EXPECT_EQ(look({"qa"}), "12");
    form->clickreset(); // the click acts at once
    EXPECT_FALSE(st().resetinprogress || st().resetrequest);
    EXPECT_EQ(look({"step", "qinst", "qa"}), "1|0|FF");
    stop();
}

// RESET during a run, by the button's press and release or by a click from outside: the run
// restarts from the start address at the same rate.
class ResetInLoop : public Form1Test, public ::testing::WithParamInterface<bool> {};

TEST_P(ResetInLoop, RestartsFromTheStartAtTheSameRate)
{
    act("menuenablelogging")->trigger();
    load(endlessloop);
    bool looping = false;
    // Only where its callers can reach it: the loop running with RESET enabled.
    std::function<void()> reset = [&] {
        if (!form->loopactive() || !st().commandenabled[1])
            return later(20, reset);
        later(740, [&] { looping = form->loopactive(), stop(); });
        GetParam() ? form->clickreset() : (press(), release());
    };
    later(60, reset);
    startat(5);
    EXPECT_TRUE(looping && !st().resetrequest);
    EXPECT_EQ(std::pair(st().simrate, messages.size()), std::pair(5, size_t(1)));
    EXPECT_TRUE(filelines(form->simlog().path()).join('\n').contains("\nRESET\r\n1      0000  DCX B"));
    EXPECT_EQ(viewed.size(), 1u); // the log opens in the text viewer after the message
}

INSTANTIATE_TEST_SUITE_P(ByPressOrClick, ResetInLoop, ::testing::Bool());

TEST_F(Form1Test, StopWhileResetIsHeldEndsTheRunAtTheRelease)
{
    load(endlessloop);
    // Each event once the one before it was handled, so that a slow build keeps their order.
    later(60, [this] { press(), later(60, [this] { stop(), later(60, [this] { release(); }); }); });
    startat(5);
    EXPECT_TRUE(QTest::qWaitFor([] { return !st().running; }, 5000));
    EXPECT_TRUE(!st().resetinprogress && messages.size() == 1 && statistics(0, 0));
}

TEST_F(Form1Test, IoLogGetsResetLinesAndTwoEmptyLinesAtStop)
{
    const std::string io = st().apppath + "io.txt";
    QFile::remove(QString::fromStdString(io));
    act("menuinlog")->trigger();
    startat(1, Program{0xD3, 0x07, 0x76}); // OUT 07H; HLT
    step();
    press(), release();
    step();
    step(); // HLT stops the run
    const QList<QByteArray> lines = filelines(io);
    ASSERT_EQ(lines.size(), 6);
    EXPECT_TRUE(lines[0].endsWith("\t0000H: OUT 07H\tData FFH sent to port 07H\r"));
    EXPECT_TRUE(lines[2].contains("sent to port 07H"));
    EXPECT_EQ(QList<QByteArray>{lines[1]} + lines.mid(3), (QList<QByteArray>{"RESET\r", "\r", "\r", ""}));
}

TEST_F(Form1Test, DialogsInsideARun)
{
    act("menuinprompt")->trigger();
    load({0xDB, 0x05, 0xFB, 0xC3, 0x00, 0x00}); // IN 05H; EI; JMP 0000H
    test::DialogDriver driver;
    // The IN prompt with its box ticked: the run waits at Step By Step right after the IN.
    driver.on<InEntryDialog>([](InEntryDialog* d) {
        EXPECT_EQ(d->label2()->text(), "Enter data received on port 05H [00-FF].");
        d->check1()->click();
        d->text1()->setText("7");
        d->command1()->click();
    });
    startat(5);
    EXPECT_EQ(look({"running", "step", "rates", "qa"}) + std::to_string(st().simrate), "1|1|100000|071");
    // INTR asks again until the answer is good.
    step(); // EI
    std::vector<QString> prompts;
    for (const char* answer : {"9", "x", "3"})
        driver.on<QInputDialog>([&prompts, answer](QInputDialog* d) {
            prompts.push_back(d->labelText());
            d->setTextValue(answer);
            d->accept();
        });
    form->command(6)->click();
    ASSERT_EQ(prompts.size(), 3u);
    EXPECT_TRUE(prompts[0].startsWith("Enter the choice of instruction supplied by the peripheral device.\n1 - RST 0"));
    EXPECT_TRUE(prompts[1].startsWith("Wrong entry.\nEnter the choice"));
    EXPECT_EQ(look({"qpc", "qinstrukcija"}), "0010|INTR");
    stop();
    // Stop and the rates stay usable while the prompt waits; Stop acts when the IN ends.
    bool free = false;
    driver.on<InEntryDialog>([&](InEntryDialog* d) {
        free = QApplication::activeModalWidget() == nullptr && act("menustop")->isEnabled();
        act("menuspeed3")->trigger();
        stop();
        EXPECT_TRUE(st().running);
        d->text1()->setText("A5");
        d->command1()->click();
    });
    startat(5);
    EXPECT_TRUE(free && !st().running && statistics(1, 1));
    EXPECT_EQ(std::pair(st().a, st().simrate), std::pair(0xA5, 3));
}

// Direct entry through the window system: a click on the label opens the box, keys go into it,
// Enter stores what fits; Escape and clicks elsewhere store nothing.
TEST_F(Form1Test, DirectEntryByMouseAndKeyboard)
{
    load(haltprogram);
    form->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(form.get()));
    auto open = [this](const char* name) {
        QTest::mouseClick(form->label(name), Qt::LeftButton);
        QTest::keyClicks(form->entrybox(), "05");
        return form->entryopen();
    };
    EXPECT_FALSE(open("qa")); // outside a run
    startat(1);
    ASSERT_TRUE(open("qa"));
    QTest::keyClick(form->entrybox(), Qt::Key_Escape);
    EXPECT_FALSE(form->entryopen());
    // A click on what can't be edited: labels, the bare frame and panel.
    for (const char* name : {"qinst", "qf", "qf5", "qf1", "qhl", "l_qa", "sodlabel", "qstaza", "Frame2", "panel"}) {
        ASSERT_TRUE(open("qb")) << name;
        QWidget* other = form->findChild<QWidget*>(name);
        QTest::mouseClick(other, Qt::LeftButton, {}, QPoint(2, other->height() - 3));
        EXPECT_FALSE(form->entryopen() || !form->entrybox()->text().isEmpty()) << name;
    }
    // The focus moving to another control, and opening a main menu.
    ASSERT_TRUE(open("qc"));
    form->command(2)->setFocus(Qt::TabFocusReason);
    EXPECT_FALSE(form->entryopen());
    ASSERT_TRUE(open("qd"));
    emit form->findChild<QMenu*>("menu3")->aboutToShow();
    EXPECT_FALSE(form->entryopen());
    EXPECT_EQ(st().a + st().b + st().c + st().d, 4 * 0xFF);
    // A click on another register moves the box there.
    open("qd");
    QTest::mouseClick(form->label("qe"), Qt::LeftButton);
    EXPECT_EQ(form->editedregister(), "qe");
    QTest::keyClicks(form->entrybox(), "3");
    QTest::keyClick(form->entrybox(), Qt::Key_Enter);
    EXPECT_EQ(st().d * 256 + st().e, 0xFF03);
    for (const QStringList& row : test::datatable("sim/entry.txt")) {
        SCOPED_TRACE(row.join('|').toStdString());
        const std::string name = row[0].toStdString(), shown = row[2].toStdString();
        QTest::mouseClick(form->label(name.c_str()), Qt::LeftButton);
        ASSERT_TRUE(form->entryopen());
        EXPECT_TRUE(form->entrybox()->hasFocus());
        EXPECT_TRUE(form->entrybox()->text().isEmpty()); // the old value is not offered
        QTest::keyClicks(form->entrybox(), row[1]);
        test::saveshot(form.get(), "form1-entry");
        QTest::keyClick(form->entrybox(), Qt::Key_Return);
        EXPECT_FALSE(form->entryopen());
        EXPECT_EQ(look({name}), shown);
        form->ekran(); // the machine holds what the label shows; the next instruction keeps its text
        EXPECT_EQ(look({name, "qinstrukcijanext", "qf"}), shown + "|MVI A,12H|" + hexbyte(composeflags(st())));
    }
    stop();
    bool opened = true; // not at another rate during a run either
    later(50, [&] { opened = open("qa"), stop(); });
    startat(3);
    EXPECT_FALSE(opened);
}

TEST_F(Form1Test, ThePanelKeepsItsSizeForLongPathsAndWideCounts)
{
    QApplication::processEvents();
    const QSize size = form->size(), least = form->minimumSize();
    const QString path = "/home/student/" + QString(40, 'x') + "/" + QString(200, 'y') + "/program.hex";
    form->setprogramlocation(path);
    st().instructioncount = INT_MIN;
    st().cyclecount = INT_MIN + 1;
    form->ekran();
    QApplication::processEvents();
    test::saveshot(form.get(), "form1-wide");
    EXPECT_EQ(std::pair(form->size(), form->minimumSize()), std::pair(size, least));
    QLabel* qstaza = form->label("qstaza");
    EXPECT_EQ(qstaza->text() + qstaza->toolTip(), path + path);
    EXPECT_LE(qstaza->geometry().right(), form->centralWidget()->width());
    for (const char* counter : {"qinst", "qtaktvreme"}) {
        QLabel* l = form->label(counter);
        EXPECT_EQ(l->text().size(), 11);
        EXPECT_LE(l->sizeHint().width(), l->width()) << counter; // border, padding and indent too
    }
}

// Closing during a run ends it without the statistics; the window comes back where it was.
TEST_F(Form1Test, ClosingDuringARunAndLoadingAgain)
{
    form->move(300, 200);
    QApplication::processEvents();
    const QPoint at = form->geometry().topLeft();
    later(80, [this] { form->close(); });
    startat(5, endlessloop);
    EXPECT_TRUE(!form->loopactive() && messages.empty());
    make();
    EXPECT_EQ(form->geometry().topLeft(), at);
}

} // namespace
