// The settings store and the Options dialogs' answers: defaults created at first read, the
// leading-number conversion, window positions, and the clock, address and Ultimate answers.
#include "core/execute.h"
#include "shell/messages.h"
#include "sim/machinestate.h"
#include "sim/optionsdialogs.h"
#include "sim/settings.h"

#include <QtWidgets>

#include "tests/common/datatable.h"

#include <gtest/gtest.h>

#include <set>

using namespace kelvane;

static std::string stored(const std::string& name)
{
    QSettings s(QSettings::NativeFormat, QSettings::UserScope, settingsname);
    return s.value(QString::fromStdString(name)).toString().toStdString();
}

TEST(LeadingNumber, TakesTheLongestLeadingNumber)
{
    for (const QStringList& r : test::datatable("sim/leadingnumber.txt")) {
        const std::string text = r[0].mid(1, r[0].size() - 2).toStdString();
        EXPECT_DOUBLE_EQ(leadingnumber(text), r[1].toDouble()) << r[0].toStdString();
        EXPECT_EQ(leadingint(text), r[2].toInt()) << r[0].toStdString();
    }
}

TEST(Settings, ReadWriteAndTheBufferLimit)
{
    QSettings(QSettings::NativeFormat, QSettings::UserScope, settingsname).remove("Some Value");
    EXPECT_EQ(regread("Some Value", "given"), "given"); // created with the default
    regwrite("Starting Address", 26);
    regwrite("Last Path", "/home/some, folder/");
    regwrite("Tasm Path", std::string(254, 'a'));
    EXPECT_EQ(stored("Some Value") + stored("Starting Address") + regread("Last Path", "x") + regread("Tasm Path", "d"),
              "given26/home/some, folder/" + std::string(254, 'a'));
    regwrite("Tasm Path", std::string(255, 'a')); // too long for the reader: replaced by the default
    EXPECT_EQ(regread("Tasm Path", "d") + stored("Tasm Path"), "dd");
}

TEST(Settings, AFirstStartCreatesEveryValueWithItsDefault)
{
    QSettings(QSettings::NativeFormat, QSettings::UserScope, settingsname).clear();
    std::set<std::string> names;
    for (size_t i = 0; i < settingscount; ++i)
        EXPECT_TRUE(names.insert(settingstable[i].name).second) << settingstable[i].name;
    const std::string app = apppath();
    EXPECT_TRUE(QDir(QString::fromStdString(app)).exists() && settingdefault("Tasm Path") == app + "tasm.exe");
    MachineState st;
    readoptions(st);
    presetpositions();
    // Read at their first use by the rate, the keyboard, the message window and the modules.
    for (std::string name : {"Ultimate Timer", "Keyboard Small Letters", "Message Duration", "Simulation Rate",
                             "External Module 1", "External Module 2", "External Module 3", "External Module 4",
                             "External Module 5"})
        regread(name);
    for (size_t i = 0; i < settingscount; ++i)
        EXPECT_EQ(stored(settingstable[i].name), settingdefault(settingstable[i].name)) << settingstable[i].name;
    EXPECT_EQ(st.lastpath + st.optlogging + st.opthalt + st.optffdefaults + st.optinprompt + st.optinlog +
                  st.optconfirm, app + "OFFONONONOFFOFF");
    EXPECT_EQ(std::pair(st.clockmhz, st.startaddress), std::pair(4.0f, 0));
    // Numbers go through the leading-number conversion; a folder gets its separator.
    regwrite("Clock Frequency", "2.5 MHz");
    regwrite("Starting Address", "1a");
    regwrite("Last Path", "/tmp/no-separator");
    readoptions(st);
    EXPECT_EQ(std::tuple(st.clockmhz, st.startaddress, st.lastpath), std::tuple(2.5f, 1, "/tmp/no-separator/"));
    QSettings(QSettings::NativeFormat, QSettings::UserScope, settingsname).clear();
}

TEST(Settings, WindowPositionsInTwipsOrCentredWhenNotSaved)
{
    MachineState& st = machinestate();
    QWidget w;
    w.resize(200, 100);
    regwrite("Window2 Left", "4500");
    regwrite("Window2 Top", "3000");
    st.optsavepositions = "ON";
    placewindow(&w, 2);
    EXPECT_EQ(w.geometry(), QRect(300, 200, 200, 100));
    w.move(120, 45);
    savewindowposition(&w, 2);
    EXPECT_EQ(stored("Window2 Left") + " " + stored("Window2 Top"), "1800 675");
    st.optsavepositions = "OFF";
    placewindow(&w, 2);
    st.optsavepositions = "ON";
    EXPECT_LE((w.frameGeometry().center() - QGuiApplication::primaryScreen()->availableGeometry().center())
                  .manhattanLength(), 2);
}

TEST(OptionsToggles, FieldAndSettingFollowTheMark)
{
    MachineState st;
    for (const OptionToggle& t : optiontoggles)
        for (std::string on : {"ON", "OFF"}) {
            toggleoption(st, t, on == "ON");
            EXPECT_EQ(st.*(t.field) + stored(t.setting), on + on) << t.caption;
        }
}

TEST(Options, TheInputBoxesAnswers)
{
    struct Counting : MachineHooks {
        int refreshes = 0;
        void ekran(MachineState&) override { ++refreshes; }
    };
    for (const QStringList& r : test::datatable("sim/options.txt")) {
        SCOPED_TRACE(r.join('|').toStdString());
        const QString answer = r[2].mid(1, r[2].size() - 2);
        MachineState st;
        st.optffdefaults = "OFF";
        st.startaddress = 0x0100;
        st.a = 7;
        regwrite("Clock Frequency", "4");
        regwrite("Starting Address", "256");
        regwrite("Ultimate Timer", "500");
        Counting hooks;
        bool changed = false;
        QString message;
        if (r[0] == "clock")
            changed = applyclockanswer(st, r[1] == "1", answer);
        else if (r[0] == "address")
            message = applyaddressanswer(st, hooks, answer, &changed);
        else
            message = applyultimateanswer(r[1] == "1", answer, &changed);
        EXPECT_EQ(message.toStdString(), r[3] == "-" ? "" : r[3].toStdString());
        const char* setting =
            r[0] == "clock" ? "Clock Frequency" : r[0] == "address" ? "Starting Address" : "Ultimate Timer";
        EXPECT_EQ(stored(setting), r[4].toStdString());
        EXPECT_EQ(changed, r[5] == "1");
        EXPECT_FLOAT_EQ(st.clockmhz, r[0] == "clock" ? r[4].toFloat() : 4.0f);
        // A new address runs clean at once: pc on it, registers reset, the panel redrawn.
        const bool moved = r[0] == "address" && changed;
        EXPECT_EQ(std::tuple(st.startaddress, hooks.refreshes > 0, st.a, st.pc),
                  moved ? std::tuple(r[4].toInt(), true, 0, r[4].toInt()) : std::tuple(0x0100, false, 7, 0));
    }
}

TEST(Options, UltimateNotDuringARun)
{
    MachineState st;
    st.running = true;
    machinestate().optconfirm = "OFF";
    QWidget caller;
    caller.show();
    // No input box opens (it would block here); the message goes to the timed window.
    EXPECT_FALSE(menuultimaterefresh_Click(st, &caller));
    ASSERT_NE(MessageWindow::current(), nullptr);
    EXPECT_EQ(MessageWindow::current()->text(), QStringLiteral("Please stop the simulation first."));
    MessageWindow::current()->close();
}
