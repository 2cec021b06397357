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

#include <cmath>
#include <limits>
#include <set>

using namespace kelvane;

namespace {

QSettings& rawstore()
{
    static QSettings s(QSettings::NativeFormat, QSettings::UserScope, settingsname);
    return s;
}

void forget(const char* name)
{
    rawstore().remove(QString::fromLatin1(name));
    rawstore().sync();
}

QString stored(const char* name)
{
    rawstore().sync();
    return rawstore().value(QString::fromLatin1(name)).toString();
}

} // namespace

TEST(LeadingNumber, TakesTheLongestLeadingNumber)
{
    struct Case {
        const char* text;
        double value;
    } cases[] = {
        {"", 0},        {"abc", 0},      {"  12abc", 12},  {"\t 3", 3},      {"-5", -5},        {"+5", 5},
        {".5", 0.5},    {"7.", 7},       {"1.5e3x", 1500}, {"1e", 1},        {"2E-1", 0.2},     {"-", 0},
        {".", 0},       {"0x1F", 0},     {"1,5", 1},       {"12.5.6", 12.5}, {"3 4", 3},        {"4 MHz", 4},
        {"-.25", -0.25}, {"e5", 0},      {"00026", 26},    {"1a", 1},        {"  -0", 0},       {"2000ms", 2000},
    };
    for (const Case& c : cases)
        EXPECT_DOUBLE_EQ(leadingnumber(c.text), c.value) << '"' << c.text << '"';
}

TEST(LeadingNumber, IntegerFormRoundsHalvesToEvenAndStaysIn32Bits)
{
    EXPECT_EQ(leadingint("2.5"), 2);
    EXPECT_EQ(leadingint("3.5"), 4);
    EXPECT_EQ(leadingint("-2.5"), -2);
    EXPECT_EQ(leadingint("1999.6"), 2000);
    EXPECT_EQ(leadingint("1e20"), std::numeric_limits<int32_t>::max());
    EXPECT_EQ(leadingint("-1e20"), std::numeric_limits<int32_t>::min());
    EXPECT_EQ(leadingint("x"), 0);
}

TEST(Settings, AMissingValueIsCreatedWithItsDefault)
{
    forget("Simulation Rate");
    EXPECT_EQ(regread("Simulation Rate"), "4");
    EXPECT_EQ(stored("Simulation Rate"), QStringLiteral("4"));
    forget("Some Value");
    EXPECT_EQ(regread("Some Value", "given"), "given");
    EXPECT_EQ(stored("Some Value"), QStringLiteral("given"));
    forget("Some Value");
}

TEST(Settings, AStoredValueIsReadAsItStandsAndNumbersAreDecimalText)
{
    regwrite("Starting Address", 26);
    EXPECT_EQ(stored("Starting Address"), QStringLiteral("26"));
    EXPECT_EQ(regread("Starting Address", "0"), "26");
    regwrite("Last Path", "/home/some, folder/");
    EXPECT_EQ(regread("Last Path", "x"), "/home/some, folder/");
    regwrite("Starting Address", "0");
}

TEST(Settings, ATextTooLongForTheBufferReadsAsMissing)
{
    const std::string fits(254, 'a');
    regwrite("Tasm Path", fits);
    EXPECT_EQ(regread("Tasm Path", "d"), fits);
    regwrite("Tasm Path", std::string(255, 'a'));
    EXPECT_EQ(regread("Tasm Path", "d"), "d");
    EXPECT_EQ(stored("Tasm Path"), QStringLiteral("d"));
}

TEST(Settings, TheTableNamesEachValueOnceWithTheProgramsFolderWhereAsked)
{
    std::set<std::string> names;
    for (size_t i = 0; i < settingscount; ++i)
        EXPECT_TRUE(names.insert(settingstable[i].name).second) << settingstable[i].name;
    const std::string app = apppath();
    EXPECT_EQ(app.back(), '/');
    EXPECT_TRUE(QDir(QString::fromStdString(app)).exists());
    EXPECT_EQ(settingdefault("Last Path"), app);
    EXPECT_EQ(settingdefault("Tasm Path"), app + "tasm.exe");
    EXPECT_EQ(settingdefault("Window1 Left"), "3000");
    EXPECT_EQ(settingdefault("Window1 Top"), "2000");
    for (int n : {2, 5, 6, 8, 9, 12, 16, 17, 20, 21}) {
        EXPECT_EQ(settingdefault("Window" + std::to_string(n) + " Left"), "4000") << n;
        EXPECT_EQ(settingdefault("Window" + std::to_string(n) + " Top"), "3000") << n;
    }
    EXPECT_EQ(settingdefault("Not A Value"), "");
}

TEST(Settings, AFirstStartCreatesEveryValueWithItsDefault)
{
    rawstore().clear();
    rawstore().sync();
    MachineState st;
    readoptions(st);
    presetpositions();
    // Read at their first use by the rate, the keyboard, the message window and the modules.
    for (const char* name : {"Ultimate Timer", "Keyboard Small Letters", "Message Duration", "Simulation Rate"})
        regread(name);
    for (int n = 1; n <= 5; ++n)
        regread("External Module " + std::to_string(n));
    for (size_t i = 0; i < settingscount; ++i)
        EXPECT_EQ(stored(settingstable[i].name).toStdString(), settingdefault(settingstable[i].name))
            << settingstable[i].name;
    EXPECT_EQ(st.lastpath, apppath());
    EXPECT_EQ(st.optlogging, "OFF");
    EXPECT_EQ(st.opthalt, "ON");
    EXPECT_EQ(st.optffdefaults, "ON");
    EXPECT_EQ(st.optinprompt, "ON");
    EXPECT_EQ(st.optinlog, "OFF");
    EXPECT_EQ(st.optconfirm, "OFF");
    EXPECT_FLOAT_EQ(st.clockmhz, 4.0f);
    EXPECT_EQ(st.startaddress, 0);
}

TEST(Settings, NumbersAreReadWithTheLeadingNumberConversion)
{
    regwrite("Clock Frequency", "2.5 MHz");
    regwrite("Starting Address", "1a");
    regwrite("Last Path", "/tmp/no-separator");
    MachineState st;
    readoptions(st);
    EXPECT_FLOAT_EQ(st.clockmhz, 2.5f);
    EXPECT_EQ(st.startaddress, 1);
    EXPECT_EQ(st.lastpath, "/tmp/no-separator/");
    regwrite("Clock Frequency", "4");
    regwrite("Starting Address", "0");
    regwrite("Last Path", apppath());
}

TEST(Settings, WindowPositionsInTwipsOrCentredWhenNotSaved)
{
    MachineState& st = machinestate();
    const std::string saved = st.optsavepositions;
    QWidget w;
    w.resize(200, 100);
    regwrite("Window2 Left", "4500");
    regwrite("Window2 Top", "3000");
    st.optsavepositions = "ON";
    placewindow(&w, 2);
    EXPECT_EQ(w.pos(), QPoint(300, 200));

    w.move(120, 45);
    savewindowposition(&w, 2);
    EXPECT_EQ(stored("Window2 Left"), QStringLiteral("1800"));
    EXPECT_EQ(stored("Window2 Top"), QStringLiteral("675"));

    st.optsavepositions = "OFF";
    placewindow(&w, 2);
    const QRect area = QGuiApplication::primaryScreen()->availableGeometry();
    EXPECT_EQ(w.frameGeometry().center().x() / 10, area.center().x() / 10);
    EXPECT_EQ(w.frameGeometry().center().y() / 10, area.center().y() / 10);
    st.optsavepositions = saved;
}

// ---------------------------------------------------------------------------------------------
// Options menu

TEST(OptionsToggles, FieldAndSettingFollowTheMark)
{
    MachineState st;
    for (const OptionToggle& t : optiontoggles) {
        toggleoption(st, t, true);
        EXPECT_EQ(st.*(t.field), "ON") << t.caption;
        EXPECT_EQ(stored(t.setting), QStringLiteral("ON")) << t.caption;
        toggleoption(st, t, false);
        EXPECT_EQ(st.*(t.field), "OFF") << t.caption;
        EXPECT_EQ(stored(t.setting), QStringLiteral("OFF")) << t.caption;
    }
    EXPECT_STREQ(optiontoggles[8].caption, "Show Confirmation Boxes");
    EXPECT_STREQ(optiontoggles[8].setting, "Show Confirmations");
}

TEST(OptionsClock, OnlyANumberAboveZeroIsStored)
{
    struct Case {
        bool accepted;
        const char* answer;
        bool stored;
        float mhz;
    } cases[] = {
        {true, "2.5", true, 2.5f}, {true, "0", false, 4.0f},  {true, "", false, 4.0f},    {true, "-3", false, 4.0f},
        {true, "abc", false, 4.0f}, {false, "8", false, 4.0f}, {true, "6 MHz", true, 6.0f}, {true, "1e40", false, 4.0f},
    };
    for (const Case& c : cases) {
        MachineState st;
        regwrite("Clock Frequency", "4");
        EXPECT_EQ(applyclockanswer(st, c.accepted, QString::fromLatin1(c.answer)), c.stored) << c.answer;
        EXPECT_FLOAT_EQ(st.clockmhz, c.mhz) << c.answer;
        EXPECT_EQ(stored("Clock Frequency").toStdString(), c.stored ? clocktext(c.mhz) : "4") << c.answer;
    }
}

namespace {
struct CountingHooks : MachineHooks {
    int refreshes = 0;
    void ekran(MachineState& st) override
    {
        ++refreshes;
        MachineHooks::ekran(st);
    }
};
} // namespace

TEST(OptionsAddress, HexAnswersWithZerosInFront)
{
    struct Case {
        const char* answer;
        const char* message;
        int32_t address;
        const char* setting;
    } cases[] = {
        {"1a", "", 0x001A, "26"},     {"12345", "Wrong entry!", 0x0100, "256"}, {"", "", 0x0100, "256"},
        {"ffff", "", 0xFFFF, "65535"}, {"G", "Wrong entry!", 0x0100, "256"},    {"0", "", 0, "0"},
        {" 1", "Wrong entry!", 0x0100, "256"},
    };
    for (const Case& c : cases) {
        MachineState st;
        st.optffdefaults = "OFF";
        st.startaddress = 0x0100;
        st.a = 7;
        regwrite("Starting Address", "256");
        CountingHooks hooks;
        bool changed = false;
        const QString message = applyaddressanswer(st, hooks, QString::fromLatin1(c.answer), &changed);
        EXPECT_EQ(message.toStdString(), c.message) << c.answer;
        EXPECT_EQ(st.startaddress, c.address) << c.answer;
        EXPECT_EQ(stored("Starting Address").toStdString(), c.setting) << c.answer;
        // A new address runs clean at once: pc on it, registers reset, the panel redrawn.
        EXPECT_EQ(changed, hooks.refreshes > 0) << c.answer;
        if (changed) {
            EXPECT_EQ(st.pc, c.address);
            EXPECT_EQ(st.a, 0);
        } else {
            EXPECT_EQ(st.a, 7);
        }
    }
}

TEST(OptionsUltimate, RangeOneToTwoThousand)
{
    struct Case {
        bool accepted;
        const char* answer;
        const char* message;
        const char* setting;
    } cases[] = {
        {true, "250", "", "250"},    {true, "1", "", "1"},           {true, "2000", "", "2000"},
        {true, "2001", "Allowed range 1-2000.", "500"}, {true, "0", "Allowed range 1-2000.", "500"},
        {false, "", "Allowed range 1-2000.", "500"},    {true, "99.5", "", "100"}, {true, "0.4", "Allowed range 1-2000.", "500"},
    };
    for (const Case& c : cases) {
        regwrite("Ultimate Timer", "500");
        EXPECT_EQ(applyultimateanswer(c.accepted, QString::fromLatin1(c.answer)).toStdString(), c.message) << c.answer;
        EXPECT_EQ(stored("Ultimate Timer").toStdString(), c.setting) << c.answer;
    }
    regwrite("Ultimate Timer", "500");
}

TEST(OptionsUltimate, DuringARunSaysStopFirstWithoutAsking)
{
    MachineState st;
    st.running = true;
    const std::string confirmsaved = machinestate().optconfirm;
    machinestate().optconfirm = "OFF";
    QWidget caller;
    caller.show();
    // No input box opens (it would block here); the message goes to the timed window.
    EXPECT_FALSE(menuultimaterefresh_Click(st, &caller));
    ASSERT_NE(MessageWindow::current(), nullptr);
    EXPECT_EQ(MessageWindow::current()->text(), QStringLiteral("Please stop the simulation first."));
    MessageWindow::current()->close();
    machinestate().optconfirm = confirmsaved;
}
