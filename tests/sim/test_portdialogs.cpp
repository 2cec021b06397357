// The port entry dialogs offscreen: entry rules, "Wrong entry.", the ASCII Keyboard's keys and
// small letters, the focus on Enter after the keyboard, and the step-rate check box with IN.
#include "core/execute.h"
#include "sim/portdialogs.h"
#include "sim/settings.h"

#include <QApplication>
#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QSettings>
#include <QTimer>

#include "tests/common/dialogdriver.h"

#include <gtest/gtest.h>

#include <functional>

using namespace kelvane;

namespace {

// Acts on the modal windows that come up while it lives: message boxes are closed (their texts
// kept), and the first window of type T is handed to `act`.
template <typename T>
class ModalDriver {
public:
    explicit ModalDriver(std::function<void(T*)> act = {})
        : act_(std::move(act))
    {
        QObject::connect(&timer_, &QTimer::timeout, [this] {
            QWidget* w = test::frontwindow<T>(); // the IN prompt waits without being modal
            if (auto* box = qobject_cast<QMessageBox*>(w)) {
                boxes.push_back(box->text());
                titles.push_back(box->windowTitle());
                box->accept();
            } else if (auto* t = qobject_cast<T*>(w); t != nullptr && act_) {
                ++acted;
                auto act = std::move(act_);
                act_ = {};
                act(t);
            }
        });
        timer_.start(10);
    }
    std::vector<QString> boxes, titles;
    int acted = 0;

private:
    std::function<void(T*)> act_;
    QTimer timer_;
};

} // namespace

TEST(EntryValue, OneOrTwoHexDigitsInEitherCase)
{
    struct Case {
        const char* text;
        int32_t value;
    } cases[] = {
        {"7", 0x07}, {"a5", 0xA5}, {"A5", 0xA5}, {"ff", 0xFF}, {"00", 0},  {"0", 0},   {"G1", -1},
        {"", -1},    {"123", -1},  {" 7", -1},   {"7 ", -1},   {"-1", -1}, {"g", -1},
    };
    for (const Case& c : cases)
        EXPECT_EQ(entryvalue(QString::fromLatin1(c.text)), c.value) << '"' << c.text << '"';
}

TEST(Keyboard, SeventyOneKeysAndTheirCodes)
{
    ASSERT_EQ(keycaptions.size(), 71u);
    EXPECT_STREQ(keycaptions[0], "Q");
    EXPECT_STREQ(keycaptions[25], "M");
    EXPECT_STREQ(keycaptions[26], "1");
    EXPECT_STREQ(keycaptions[35], "0");
    EXPECT_STREQ(keycaptions[36], "(space)");
    EXPECT_STREQ(keycaptions[37], "`");
    EXPECT_STREQ(keycaptions[45], "&&");
    EXPECT_STREQ(keycaptions[58], "\"");
    EXPECT_STREQ(keycaptions[67], "\\");
    EXPECT_STREQ(keycaptions[68], "|");
    EXPECT_STREQ(keycaptions[69], "(enter)");
    EXPECT_STREQ(keycaptions[70], "(tab)");
    EXPECT_EQ(keycode(QStringLiteral("(space)")), 32);
    EXPECT_EQ(keycode(QStringLiteral("(tab)")), 8);
    EXPECT_EQ(keycode(QStringLiteral("(enter)")), 13);
    EXPECT_EQ(keycode(QStringLiteral("&&")), -1);
    EXPECT_EQ(keycode(QStringLiteral("q")), 113);
    EXPECT_EQ(keycode(QStringLiteral("~")), 126);
}

TEST(Keyboard, EachKeyGivesItsCodeAndCloses)
{
    regwrite("Keyboard Small Letters", "0");
    struct Case {
        int key;
        int32_t code;
    } cases[] = {{0, 'Q'}, {25, 'M'}, {26, '1'}, {35, '0'}, {36, 32}, {37, '`'}, {44, '^'}, {45, 0},
                 {53, '/'}, {58, '"'}, {67, '\\'}, {68, '|'}, {69, 13}, {70, 8}};
    for (const Case& c : cases) {
        MachineState st;
        AsciiKeyboard keyboard(st);
        keyboard.key(c.key)->click();
        EXPECT_EQ(st.invalue, c.code) << c.key;
        EXPECT_EQ(keyboard.result(), QDialog::Accepted) << c.key;
    }
    MachineState st;
    st.invalue = 0;
    AsciiKeyboard keyboard(st);
    keyboard.command1()->click();
    EXPECT_EQ(st.invalue, 0);
    EXPECT_EQ(keyboard.result(), QDialog::Rejected);
}

TEST(Keyboard, SmallLettersFollowTheStoredBoxAndAreStored)
{
    regwrite("Keyboard Small Letters", "1");
    MachineState st;
    {
        AsciiKeyboard keyboard(st);
        EXPECT_TRUE(keyboard.check1()->isChecked());
        EXPECT_EQ(keyboard.check1()->text(), QStringLiteral("Small Letters"));
        EXPECT_EQ(keyboard.key(0)->text(), QStringLiteral("q"));
        EXPECT_EQ(keyboard.key(26)->text(), QStringLiteral("1"));
        keyboard.key(10)->click();
        EXPECT_EQ(st.invalue, 'a');
    }
    AsciiKeyboard keyboard(st);
    keyboard.check1()->click();
    EXPECT_EQ(keyboard.key(0)->text(), QStringLiteral("Q"));
    EXPECT_EQ(regread("Keyboard Small Letters"), "0");
    keyboard.check1()->click();
    EXPECT_EQ(regread("Keyboard Small Letters"), "1");
    regwrite("Keyboard Small Letters", "0");
}

TEST(InDialog, LabelsCaptionAndTheResetAtLoad)
{
    MachineState st;
    st.pc = 0x1234;
    st.lastinstruction.setexecuted(0x3E, 0x05, 0); // MVI A,05H
    st.switchtostep = true;
    st.invalue = 9;
    InEntryDialog dialog(st, 0x0A);
    EXPECT_EQ(dialog.windowTitle(), QStringLiteral("IN Instruction Entry Dialog"));
    EXPECT_EQ(dialog.label1()->text(), QString::fromStdString("1234H: " + st.lastinstruction.str()));
    EXPECT_EQ(dialog.label2()->text(), QStringLiteral("Enter data received on port 0AH [00-FF]."));
    EXPECT_EQ(dialog.check1()->text(), QStringLiteral("Switch To Step By Step Rate"));
    EXPECT_EQ(dialog.command1()->text(), QStringLiteral("Enter"));
    EXPECT_EQ(dialog.command2()->text(), QStringLiteral("Keyboard"));
    EXPECT_TRUE(dialog.text1()->text().isEmpty());
    EXPECT_FALSE(dialog.check1()->isChecked());
    EXPECT_FALSE(st.switchtostep);
    EXPECT_EQ(st.invalue, 0);
}

TEST(InDialog, AWrongEntryStaysAndAGoodOneCloses)
{
    MachineState st;
    InEntryDialog dialog(st, 1);
    dialog.show();
    ModalDriver<QDialog> driver;
    for (const char* wrong : {"G1", "", "123"}) {
        dialog.text1()->setText(QString::fromLatin1(wrong));
        dialog.command1()->click();
        EXPECT_TRUE(dialog.isVisible()) << wrong;
        EXPECT_EQ(st.invalue, 0) << wrong;
    }
    ASSERT_EQ(driver.boxes.size(), 3u);
    EXPECT_EQ(driver.boxes[0], QStringLiteral("Wrong entry."));
    EXPECT_EQ(driver.titles[0], QString::fromLatin1(programtitle));

    dialog.text1()->setText(QStringLiteral("7"));
    dialog.command1()->click();
    EXPECT_EQ(st.invalue, 0x07);
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
    EXPECT_FALSE(dialog.isVisible());
}

TEST(InDialog, TheKeyboardsEnterGives0DAndTheFocusOnEnter)
{
    regwrite("Keyboard Small Letters", "0");
    MachineState st;
    InEntryDialog dialog(st, 1);
    dialog.show();
    ModalDriver<AsciiKeyboard> driver([](AsciiKeyboard* k) { k->key(69)->click(); });
    dialog.command2()->click();
    EXPECT_EQ(driver.acted, 1);
    EXPECT_EQ(dialog.text1()->text(), QStringLiteral("0D"));
    EXPECT_EQ(dialog.focusWidget(), dialog.command1());
    EXPECT_EQ(st.invalue, 0);
    // Cancel on the keyboard leaves the text and still moves the focus.
    dialog.text1()->setFocus();
    ModalDriver<AsciiKeyboard> cancel([](AsciiKeyboard* k) { k->command1()->click(); });
    dialog.command2()->click();
    EXPECT_EQ(dialog.text1()->text(), QStringLiteral("0D"));
    EXPECT_EQ(dialog.focusWidget(), dialog.command1());
    dialog.command1()->click();
    EXPECT_EQ(st.invalue, 0x0D);
}

TEST(InDialog, TheCheckBoxTogglesTheSwitchToStep)
{
    MachineState st;
    InEntryDialog dialog(st, 1);
    dialog.check1()->click();
    EXPECT_TRUE(st.switchtostep);
    dialog.check1()->click();
    EXPECT_FALSE(st.switchtostep);
}

namespace {
// The window's IN prompt, as Form1 installs it.
struct PromptHooks : MachineHooks {
    std::function<void(InEntryDialog*)> answer;
    int rateswitches = 0;
    void inprompt(MachineState& st, int32_t port) override
    {
        ModalDriver<InEntryDialog> driver(answer);
        inentrydialog(st, port, nullptr);
    }
    void menuspeed1(MachineState& st) override
    {
        ++rateswitches;
        MachineHooks::menuspeed1(st);
    }
};
} // namespace

TEST(InDialog, TickedBoxSwitchesToStepByStepAfterTheInstruction)
{
    struct Case {
        int clicks;
        bool switched;
    } cases[] = {{1, true}, {2, false}, {0, false}};
    for (const Case& c : cases) {
        MachineState st;
        st.optinprompt = "ON";
        st.simrate = 5;
        st.mem[0] = 0xDB; // IN 20H
        st.mem[1] = 0x20;
        PromptHooks hooks;
        hooks.answer = [&c](InEntryDialog* d) {
            for (int i = 0; i < c.clicks; ++i)
                d->check1()->click();
            d->text1()->setText(QStringLiteral("a5"));
            d->command1()->click();
        };
        stepinstruction(st, hooks);
        EXPECT_EQ(st.a, 0xA5) << c.clicks;
        EXPECT_EQ(st.ports[0x20], 0xA5) << c.clicks;
        EXPECT_EQ(hooks.rateswitches, c.switched ? 1 : 0) << c.clicks;
        EXPECT_EQ(st.simrate, c.switched ? 1 : 5) << c.clicks;
        EXPECT_FALSE(st.switchtostep);
    }
}

TEST(InDialog, ClosedWithoutEnterGivesZero)
{
    MachineState st;
    st.optinprompt = "ON";
    st.ports[0x20] = 0x55;
    st.mem[0] = 0xDB;
    st.mem[1] = 0x20;
    PromptHooks hooks;
    hooks.answer = [](InEntryDialog* d) { d->reject(); };
    stepinstruction(st, hooks);
    EXPECT_EQ(st.a, 0);
    EXPECT_EQ(st.invalue, 0);
}

TEST(HexValueDialog, CaptionLabelAndEntry)
{
    MachineState st;
    st.invalue = 3;
    HexValueDialog dialog(st);
    EXPECT_EQ(st.invalue, 0);
    EXPECT_EQ(dialog.windowTitle(), QStringLiteral("HEX Value Entry Dialog"));
    EXPECT_EQ(dialog.label1()->text(), QStringLiteral("Enter new value supplied by this device [00-FF]."));
    dialog.show();
    ModalDriver<QDialog> driver;
    dialog.text1()->setText(QStringLiteral("1G"));
    dialog.command1()->click();
    EXPECT_TRUE(dialog.isVisible());
    ASSERT_EQ(driver.boxes.size(), 1u);
    EXPECT_EQ(driver.boxes[0], QStringLiteral("Wrong entry."));
    dialog.text1()->setText(QStringLiteral("c"));
    dialog.command1()->click();
    EXPECT_EQ(st.invalue, 0x0C);
    EXPECT_FALSE(dialog.isVisible());
}
