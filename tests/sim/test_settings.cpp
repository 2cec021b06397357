// The settings store and the Options dialogs' answers: defaults created at first read, the
// leading-number conversion, window positions, and the clock, address and Ultimate answers.
#include "core/execute.h"
#include "shell/messages.h"
#include "sim/machinestate.h"
#include "sim/optionsdialogs.h"
#include "sim/settings.h"

#include <QDir>
#include <QGuiApplication>
#include <QScreen>
#include <QSettings>
#include <QWidget>

#include <gtest/gtest.h>

#include <limits>
#include <set>

using namespace kelvane;

namespace {

QSettings& rawstore()
{
    static QSettings s(QSettings::NativeFormat, QSettings::UserScope, settingsname);
    return s;
}

std::string stored(const std::string& name)
{
    rawstore().sync();
    return rawstore().value(QString::fromStdString(name)).toString().toStdString();
}

} // namespace

TEST(LeadingNumber, TakesTheLongestLeadingNumber)
{
    const std::pair<const char*, double> cases[] = {
        {"", 0},     {"abc", 0},      {"  12abc", 12}, {"\t 3", 3}, {"-5", -5},   {".5", 0.5},  {"7.", 7},
        {"1.5e3x", 1500}, {"1e", 1},  {"2E-1", 0.2},  {"-", 0},    {"0x1F", 0},  {"1,5", 1},   {"12.5.6", 12.5},
        {"-.25", -0.25},  {"e5", 0},  {"1a", 1},
    };
    for (const auto& [text, value] : cases)
        EXPECT_DOUBLE_EQ(leadingnumber(text), value) << '"' << text << '"';
    const std::pair<const char*, int32_t> rounded[] = {
        {"2.5", 2}, {"3.5", 4}, {"-2.5", -2}, {"1999.6", 2000}, {"x", 0},
        {"1e20", std::numeric_limits<int32_t>::max()}, {"-1e20", std::numeric_limits<int32_t>::min()},
    };
    for (const auto& [text, value] : rounded)
        EXPECT_EQ(leadingint(text), value) << '"' << text << '"';
}

TEST(Settings, ReadWriteAndTheBufferLimit)
{
    rawstore().remove("Some Value");
    EXPECT_EQ(regread("Some Value", "given"), "given"); // created with the default
    EXPECT_EQ(stored("Some Value"), "given");
    regwrite("Starting Address", 26);
    EXPECT_EQ(stored("Starting Address"), "26");
    regwrite("Last Path", "/home/some, folder/");
    EXPECT_EQ(regread("Last Path", "x"), "/home/some, folder/");
    const std::string fits(254, 'a');
    regwrite("Tasm Path", fits);
    EXPECT_EQ(regread("Tasm Path", "d"), fits);
    regwrite("Tasm Path", std::string(255, 'a')); // too long for the reader: replaced by the default
    EXPECT_EQ(regread("Tasm Path", "d"), "d");
    EXPECT_EQ(stored("Tasm Path"), "d");
}

TEST(Settings, AFirstStartCreatesEveryValueWithItsDefault)
{
    rawstore().clear();
    std::set<std::string> names;
    for (size_t i = 0; i < settingscount; ++i)
        EXPECT_TRUE(names.insert(settingstable[i].name).second) << settingstable[i].name;
    const std::string app = apppath();
    EXPECT_TRUE(QDir(QString::fromStdString(app)).exists());
    EXPECT_EQ(settingdefault("Tasm Path"), app + "tasm.exe");
    MachineState st;
    readoptions(st);
    presetpositions();
    // Read at their first use by the rate, the keyboard, the message window and the modules.
    for (const char* name : {"Ultimate Timer", "Keyboard Small Letters", "Message Duration", "Simulation Rate"})
        regread(name);
    for (int n = 1; n <= 5; ++n)
        regread("External Module " + std::to_string(n));
    for (size_t i = 0; i < settingscount; ++i)
        EXPECT_EQ(stored(settingstable[i].name), settingdefault(settingstable[i].name)) << settingstable[i].name;
    EXPECT_EQ(st.lastpath, app);
    EXPECT_EQ(st.optlogging + st.opthalt + st.optffdefaults + st.optinprompt + st.optinlog + st.optconfirm,
              "OFFONONONOFFOFF");
    EXPECT_FLOAT_EQ(st.clockmhz, 4.0f);
    EXPECT_EQ(st.startaddress, 0);
    // Numbers go through the leading-number conversion; a folder gets its separator.
    regwrite("Clock Frequency", "2.5 MHz");
    regwrite("Starting Address", "1a");
    regwrite("Last Path", "/tmp/no-separator");
    readoptions(st);
    EXPECT_FLOAT_EQ(st.clockmhz, 2.5f);
    EXPECT_EQ(st.startaddress, 1);
    EXPECT_EQ(st.lastpath, "/tmp/no-separator/");
    rawstore().clear();
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
    EXPECT_EQ(w.geometry().topLeft(), QPoint(300, 200));
    EXPECT_EQ(w.size(), QSize(200, 100));
    w.move(120, 45);
    savewindowposition(&w, 2);
    EXPECT_EQ(stored("Window2 Left") + " " + stored("Window2 Top"), "1800 675");
    st.optsavepositions = "OFF";
    placewindow(&w, 2);
    const QRect area = QGuiApplication::primaryScreen()->availableGeometry();
    EXPECT_LE((w.frameGeometry().center() - area.center()).manhattanLength(), 2);
    st.optsavepositions = "ON";
}

// ---------------------------------------------------------------------------------------------
// Options menu

TEST(OptionsToggles, FieldAndSettingFollowTheMark)
{
    MachineState st;
    for (const OptionToggle& t : optiontoggles)
        for (bool on : {true, false}) {
            toggleoption(st, t, on);
            EXPECT_EQ(st.*(t.field), on ? "ON" : "OFF") << t.caption;
            EXPECT_EQ(stored(t.setting), on ? "ON" : "OFF") << t.caption;
        }
}

TEST(OptionsClock, OnlyANumberAboveZeroIsStored)
{
    struct Case {
        bool accepted;
        const char* answer;
        float mhz; // 4: unchanged and not stored
    } cases[] = {{true, "2.5", 2.5f}, {true, "0", 4.0f},   {true, "", 4.0f},      {true, "-3", 4.0f},
                 {true, "abc", 4.0f}, {false, "8", 4.0f},  {true, "6 MHz", 6.0f}, {true, "1e40", 4.0f}};
    for (const Case& c : cases) {
        MachineState st;
        regwrite("Clock Frequency", "4");
        EXPECT_EQ(applyclockanswer(st, c.accepted, QString::fromLatin1(c.answer)), c.mhz != 4.0f) << c.answer;
        EXPECT_FLOAT_EQ(st.clockmhz, c.mhz) << c.answer;
        EXPECT_EQ(stored("Clock Frequency"), clocktext(c.mhz)) << c.answer;
    }
}

TEST(OptionsAddress, HexAnswersWithZerosInFront)
{
    struct Case {
        const char *answer, *message;
        int32_t address;
    } cases[] = {{"1a", "", 0x001A},      {"12345", "Wrong entry!", 0x0100}, {"", "", 0x0100},
                 {"ffff", "", 0xFFFF},    {"G", "Wrong entry!", 0x0100},     {" 1", "Wrong entry!", 0x0100}};
    struct Counting : MachineHooks {
        int refreshes = 0;
        void ekran(MachineState&) override { ++refreshes; }
    };
    for (const Case& c : cases) {
        MachineState st;
        st.optffdefaults = "OFF";
        st.startaddress = 0x0100;
        st.a = 7;
        regwrite("Starting Address", "256");
        Counting hooks;
        bool changed = false;
        EXPECT_EQ(applyaddressanswer(st, hooks, QString::fromLatin1(c.answer), &changed).toStdString(), c.message);
        EXPECT_EQ(st.startaddress, c.address) << c.answer;
        EXPECT_EQ(stored("Starting Address"), std::to_string(c.address)) << c.answer;
        // A new address runs clean at once: pc on it, registers reset, the panel redrawn.
        EXPECT_EQ(changed, c.address != 0x0100) << c.answer;
        EXPECT_EQ(hooks.refreshes > 0, changed) << c.answer;
        EXPECT_EQ(st.a, changed ? 0 : 7) << c.answer;
        EXPECT_EQ(st.pc, changed ? c.address : 0) << c.answer;
    }
}

TEST(OptionsUltimate, RangeOneToTwoThousandAndNotDuringARun)
{
    const char* range = "Allowed range 1-2000.";
    struct Case {
        bool accepted;
        const char *answer, *message, *setting;
    } cases[] = {{true, "250", "", "250"},  {true, "1", "", "1"},       {true, "2000", "", "2000"},
                 {true, "2001", range, "500"}, {true, "0", range, "500"}, {false, "", range, "500"},
                 {true, "99.5", "", "100"}, {true, "0.4", range, "500"}};
    for (const Case& c : cases) {
        regwrite("Ultimate Timer", "500");
        EXPECT_EQ(applyultimateanswer(c.accepted, QString::fromLatin1(c.answer)).toStdString(), c.message) << c.answer;
        EXPECT_EQ(stored("Ultimate Timer"), c.setting) << c.answer;
    }
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
