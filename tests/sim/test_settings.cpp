// The settings store and the Options dialogs' answers: defaults created at first read, the
// leading-number conversion, window positions, and the clock, address and Ultimate answers.
#include "core/execute.h"
#include "shell/messages.h"
#include "sim/machinestate.h"
#include "sim/optionsdialogs.h"
#include "sim/settings.h"

#include <QtWidgets>

#include <gtest/gtest.h>

#include <limits>
#include <set>

using namespace kelvane;

namespace {

std::string stored(const std::string& name)
{
    QSettings s(QSettings::NativeFormat, QSettings::UserScope, settingsname);
    return s.value(QString::fromStdString(name)).toString().toStdString();
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
    EXPECT_TRUE(QDir(QString::fromStdString(app)).exists());
    EXPECT_EQ(settingdefault("Tasm Path"), app + "tasm.exe");
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
    EXPECT_EQ(st.lastpath + st.optlogging + st.opthalt + st.optffdefaults + st.optinprompt + st.optinlog + st.optconfirm,
              app + "OFFONONONOFFOFF");
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

TEST(OptionsClock, OnlyANumberAboveZeroIsStored)
{
    const std::tuple<bool, const char*, float> cases[] = { // accepted, answer, MHz (4: unchanged, not stored)
        {true, "2.5", 2.5f}, {true, "0", 4.0f}, {true, "", 4.0f}, {true, "-3", 4.0f},
        {true, "abc", 4.0f}, {false, "8", 4.0f}, {true, "6 MHz", 6.0f}, {true, "1e40", 4.0f}};
    for (const auto& [accepted, answer, mhz] : cases) {
        MachineState st;
        regwrite("Clock Frequency", "4");
        EXPECT_EQ(applyclockanswer(st, accepted, QString::fromLatin1(answer)), mhz != 4.0f) << answer;
        EXPECT_EQ(std::pair(st.clockmhz, stored("Clock Frequency")), std::pair(mhz, clocktext(mhz))) << answer;
    }
}

TEST(OptionsAddress, HexAnswersWithZerosInFront)
{
    const std::tuple<const char*, const char*, int32_t> cases[] = { // answer, message, address
        {"1a", "", 0x001A}, {"12345", "Wrong entry!", 0x0100}, {"", "", 0x0100},
        {"ffff", "", 0xFFFF}, {"G", "Wrong entry!", 0x0100}, {" 1", "Wrong entry!", 0x0100}};
    struct Counting : MachineHooks {
        int refreshes = 0;
        void ekran(MachineState&) override { ++refreshes; }
    };
    for (const auto& [answer, message, address] : cases) {
        SCOPED_TRACE(answer);
        MachineState st;
        st.optffdefaults = "OFF";
        st.startaddress = 0x0100;
        st.a = 7;
        regwrite("Starting Address", "256");
        Counting hooks;
        bool changed = false;
        EXPECT_EQ(applyaddressanswer(st, hooks, QString::fromLatin1(answer), &changed).toStdString(), message);
        EXPECT_EQ(std::pair(st.startaddress, stored("Starting Address")), std::pair(address, std::to_string(address)));
        // A new address runs clean at once: pc on it, registers reset, the panel redrawn.
        EXPECT_EQ(changed, address != 0x0100);
        EXPECT_EQ(std::tuple(hooks.refreshes > 0, st.a, st.pc), changed ? std::tuple(true, 0, address) : std::tuple(false, 7, 0));
    }
}

TEST(OptionsUltimate, RangeOneToTwoThousandAndNotDuringARun)
{
    const char* range = "Allowed range 1-2000.";
    const std::tuple<bool, const char*, const char*, const char*> cases[] = { // accepted, answer, message, stored
        {true, "250", "", "250"}, {true, "1", "", "1"}, {true, "2000", "", "2000"}, {true, "2001", range, "500"},
        {true, "0", range, "500"}, {false, "", range, "500"}, {true, "99.5", "", "100"}, {true, "0.4", range, "500"}};
    for (const auto& [accepted, answer, message, setting] : cases) {
        regwrite("Ultimate Timer", "500");
        EXPECT_EQ(applyultimateanswer(accepted, QString::fromLatin1(answer)).toStdString() + "|" + stored("Ultimate Timer"),
                  std::string(message) + "|" + setting);
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
