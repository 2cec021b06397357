// The main window with the pieces wired into it: settings read at load and the rate stored, the
// Options toggles, the IN prompt and the INTR dialog met inside a run, the window position.
#include "core/execute.h"
#include "sim/form1.h"
#include "sim/machinestate.h"
#include "sim/portdialogs.h"
#include "sim/settings.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QInputDialog>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSettings>
#include <QTimer>

#include "tests/common/dialogdriver.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

using namespace kelvane;

namespace {

void clearsettings()
{
    QSettings(QSettings::NativeFormat, QSettings::UserScope, settingsname).clear();
}

class WiredForm : public ::testing::Test {
protected:
    void SetUp() override
    {
        clearsettings();
        initialisestate(st());
        st().simrate = 4;
    }
    void TearDown() override
    {
        form.reset();
        clearsettings();
    }
    void make()
    {
        form = std::make_unique<Form1>();
        form->messagesink = [this](const std::string& t) { messages.push_back(t); };
        form->viewersink = [](const QString&) {};
        form->show();
    }
    static MachineState& st() { return machinestate(); }
    void load(const std::vector<int32_t>& bytes)
    {
        std::fill(st().mem.begin(), st().mem.end(), 0);
        for (size_t i = 0; i < bytes.size(); ++i)
            st().mem[i] = bytes[i];
    }
    // Answers the next modal dialog of type T that comes up, from inside the loop's pumps.
    template <typename T>
    void answer(std::function<void(T*)> fn)
    {
        auto* timer = new QTimer(form.get());
        timer->setInterval(10);
        QObject::connect(timer, &QTimer::timeout, form.get(), [timer, fn] {
            if (auto* d = qobject_cast<T*>(test::frontwindow<T>())) { // the IN prompt is not modal
                timer->stop();
                timer->deleteLater();
                fn(d);
            }
        });
        timer->start();
    }
    QAction* act(const char* name) { return form->action(name); }

    std::unique_ptr<Form1> form;
    std::vector<std::string> messages;
};

TEST_F(WiredForm, FirstStartCreatesTheDefaultsAndComesUpAtFast)
{
    make();
    EXPECT_EQ(st().simrate, 4);
    EXPECT_TRUE(act("menuspeed4")->isChecked());
    EXPECT_FLOAT_EQ(st().clockmhz, 4.0f);
    EXPECT_EQ(st().startaddress, 0);
    EXPECT_EQ(form->label("qpc")->text(), "0000");
    EXPECT_EQ(form->label("qa")->text(), "FF"); // FF power-on defaults
    const QSettings s(QSettings::NativeFormat, QSettings::UserScope, settingsname);
    for (const char* name : {"Simulation Rate", "Enable Logging", "Show Confirmations", "Window1 Left", "Window21 Top"})
        EXPECT_TRUE(s.contains(name)) << name;
    EXPECT_TRUE(act("menuhaltstopssimulation")->isChecked());
    EXPECT_FALSE(act("menuenablelogging")->isChecked());
    EXPECT_FALSE(act("menustop")->isEnabled());
    EXPECT_FALSE(act("menustep2")->isVisible());
    EXPECT_EQ(form->windowTitle(), QString("Kelvane") + QString(18, ' '));
    EXPECT_EQ(act("menuabout")->text(), "About Kelvane");
}

TEST_F(WiredForm, StoredRateAndOptionsAreReadAtLoad)
{
    regwrite("Simulation Rate", "6");
    regwrite("FF Power On Defaults", "OFF");
    regwrite("Starting Address", "26");
    make();
    EXPECT_EQ(st().simrate, 6);
    EXPECT_TRUE(act("menuspeed6")->isChecked());
    EXPECT_FALSE(act("menuffpowerondefaults")->isChecked());
    EXPECT_EQ(form->label("qa")->text(), "00");
    EXPECT_EQ(form->label("qpc")->text(), "001A");
}

TEST_F(WiredForm, StoredRateOutsideTheMenuLeavesNoItemChecked)
{
    regwrite("Simulation Rate", "9");
    make();
    for (int n = 1; n <= 6; ++n)
        EXPECT_FALSE(act(("menuspeed" + std::to_string(n)).c_str())->isChecked()) << n;
}

TEST_F(WiredForm, RateIsStoredAtEachChangeAlsoWhenABreakpointForcesIt)
{
    make();
    act("menuspeed2")->trigger();
    EXPECT_EQ(regread("Simulation Rate"), "2");
    load({0x00, 0x00, 0x00, 0x76});
    st().breakpointaddress.set(3, "0002");
    act("menuspeed5")->trigger();
    act("menustart")->trigger();
    EXPECT_EQ(st().simrate, 1);
    EXPECT_EQ(regread("Simulation Rate"), "1");
    act("menustop")->trigger();
}

TEST_F(WiredForm, PowerOnDefaultsToggleChangesThePanelAtOnce)
{
    make();
    EXPECT_EQ(form->label("qb")->text(), "FF");
    act("menuffpowerondefaults")->trigger();
    EXPECT_EQ(st().optffdefaults, "OFF");
    EXPECT_EQ(regread("FF Power On Defaults"), "OFF");
    EXPECT_EQ(form->label("qb")->text(), "00");
    EXPECT_EQ(form->label("qf")->text(), "00");
}

TEST_F(WiredForm, ARunDisablesTheMenusThatItForbids)
{
    make();
    load({0x76});
    act("menuspeed1")->trigger();
    act("menustart")->trigger();
    for (const char* name : {"menuffpowerondefaults", "menuload", "menuclear", "menusave", "menustart",
                             "menuenablelogging", "menuclock", "menuaddress", "menuinlog"})
        EXPECT_FALSE(act(name)->isEnabled()) << name;
    for (const char* name : {"menuhaltstopssimulation", "menuconfirm", "menuultimaterefresh", "menuinprompt"})
        EXPECT_TRUE(act(name)->isEnabled()) << name;
    act("menustop")->trigger();
    for (const char* name : {"menuffpowerondefaults", "menuload", "menustart", "menuinlog"})
        EXPECT_TRUE(act(name)->isEnabled()) << name;
}

TEST_F(WiredForm, InPromptWithTheCheckBoxSwitchesToStepAfterTheInstruction)
{
    make();
    st().optinprompt = "ON";
    load({0xDB, 0x05, 0xC3, 0x00, 0x00}); // IN 05H; JMP 0000H
    answer<InEntryDialog>([](InEntryDialog* d) {
        EXPECT_EQ(d->label2()->text(), "Enter data received on port 05H [00-FF].");
        d->check1()->click();
        d->text1()->setText("7");
        d->command1()->click();
    });
    act("menuspeed5")->trigger();
    act("menustart")->trigger();
    // The run waits at Step By Step right after the IN.
    EXPECT_TRUE(st().running);
    EXPECT_EQ(st().simrate, 1);
    EXPECT_EQ(st().instructioncount, 1);
    EXPECT_EQ(form->label("qa")->text(), "07");
    EXPECT_EQ(st().ports[5], 7);
    EXPECT_TRUE(act("menustep")->isEnabled());
    act("menustop")->trigger();
}

TEST_F(WiredForm, StopAndRatesStayUsableDuringTheInPrompt)
{
    make();
    st().optinprompt = "ON";
    load({0xDB, 0x05, 0xC3, 0x00, 0x00}); // IN 05H; JMP 0000H
    bool mainwindowfree = false;
    answer<InEntryDialog>([&](InEntryDialog* d) {
        // The main window takes input while the prompt waits: Stop raises its flag, the rate changes.
        mainwindowfree = QApplication::activeModalWidget() == nullptr && act("menustop")->isEnabled();
        act("menuspeed3")->trigger();
        act("menustop")->trigger();
        EXPECT_TRUE(st().running); // the instruction is still under way
        d->text1()->setText("A5");
        d->command1()->click();
    });
    act("menuspeed5")->trigger();
    act("menustart")->trigger();
    EXPECT_TRUE(mainwindowfree);
    EXPECT_FALSE(st().running); // the Stop acted when the instruction ended
    EXPECT_EQ(st().instructioncount, 1);
    EXPECT_EQ(st().a, 0xA5);
    EXPECT_EQ(st().simrate, 3);
    ASSERT_FALSE(messages.empty());
    EXPECT_EQ(messages.back().rfind("Total number of executed instructions is 1.", 0), 0u);
}

TEST_F(WiredForm, IntrAsksAgainUntilTheAnswerIsGood)
{
    make();
    load({0xFB, 0x00, 0x00});
    act("menuspeed1")->trigger();
    act("menustart")->trigger();
    act("menustep")->trigger(); // EI
    ASSERT_TRUE(form->command(6)->isEnabled());
    std::vector<QString> prompts;
    std::function<void(QInputDialog*)> reply;
    int round = 0;
    reply = [&](QInputDialog* d) {
        prompts.push_back(d->labelText());
        d->setTextValue(round == 0 ? "9" : (round == 1 ? "x" : "3"));
        ++round;
        if (round < 3)
            answer<QInputDialog>(reply);
        d->accept();
    };
    answer<QInputDialog>(reply);
    form->command(6)->click();
    ASSERT_EQ(prompts.size(), 3u);
    EXPECT_TRUE(prompts[0].startsWith("Enter the choice of instruction supplied by the peripheral device.\n1 - RST 0"));
    EXPECT_TRUE(prompts[1].startsWith("Wrong entry.\nEnter the choice"));
    EXPECT_TRUE(prompts[2].startsWith("Wrong entry.\n"));
    EXPECT_EQ(st().pc, 0x10);
    EXPECT_EQ(form->label("qinstrukcija")->text(), "INTR");
    act("menustop")->trigger();
}

TEST_F(WiredForm, ClosingWritesThePosition)
{
    regwrite("Window1 Left", "1500");
    regwrite("Window1 Top", "1500");
    make();
    form->move(300, 200);
    QApplication::processEvents();
    const QPoint at = form->pos();
    form->close();
    EXPECT_EQ(regread("Window1 Left"), std::to_string(pixelstotwips(at.x())));
    EXPECT_EQ(regread("Window1 Top"), std::to_string(pixelstotwips(at.y())));
}

} // namespace
