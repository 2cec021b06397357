// The port entry dialogs offscreen: entry rules and "Wrong entry.", the ASCII Keyboard's keys and
// small letters, the focus on Enter after the keyboard, and the IN prompt met by an instruction.
#include "core/execute.h"
#include "sim/portdialogs.h"
#include "sim/settings.h"

#include <QtWidgets>

#include "tests/common/datatable.h"
#include "tests/common/dialogdriver.h"

#include <gtest/gtest.h>

using namespace kelvane;

TEST(EntryValue, OneOrTwoHexDigitsInEitherCase)
{
    for (const QStringList& r : test::datatable("sim/entryvalue.txt"))
        EXPECT_EQ(entryvalue(r[0].mid(1, r[0].size() - 2)), r[1].toInt(nullptr, 16)) << r[0].toStdString();
}

TEST(Keyboard, EachKeyGivesItsCodeAndClosesAndSmallLettersAreStored)
{
    regwrite("Keyboard Small Letters", "0");
    const std::pair<int, int32_t> cases[] = {{0, 'Q'}, {25, 'M'}, {26, '1'},   {36, 32}, {37, '`'},
                                             {45, 0},  {58, '"'}, {67, '\\'}, {69, 13}, {70, 8}};
    for (const auto& [key, code] : cases) {
        MachineState st;
        AsciiKeyboard keyboard(st);
        keyboard.key(key)->click();
        EXPECT_EQ(std::pair(st.invalue, keyboard.result()), std::pair(code, int(QDialog::Accepted))) << key;
    }
    MachineState st;
    AsciiKeyboard keyboard(st);
    keyboard.check1()->click(); // small letters, stored at once
    EXPECT_EQ(regread("Keyboard Small Letters"), "1");
    EXPECT_EQ(keyboard.key(0)->text() + keyboard.key(26)->text(), QStringLiteral("q1"));
    AsciiKeyboard again(st); // the next one opens with the stored box
    again.key(10)->click();
    EXPECT_TRUE(again.check1()->isChecked() && st.invalue == 'a');
    keyboard.command1()->click();
    EXPECT_EQ(keyboard.result(), QDialog::Rejected);
    regwrite("Keyboard Small Letters", "0");
}

TEST(EntryDialogs, AWrongEntryStaysAndAGoodOneCloses)
{
    MachineState st;
    InEntryDialog in(st, 1);
    HexValueDialog hex(st);
    EXPECT_EQ(hex.windowTitle() + "|" + hex.label1()->text(),
              QStringLiteral("HEX Value Entry Dialog|Enter new value supplied by this device [00-FF]."));
    for (EntryDialog* dialog : {static_cast<EntryDialog*>(&in), static_cast<EntryDialog*>(&hex)}) {
        st.invalue = 0;
        dialog->show();
        test::DialogDriver driver;
        for (const char* wrong : {"G1", "", "123"}) {
            dialog->text1()->setText(QString::fromLatin1(wrong));
            dialog->command1()->click();
            EXPECT_TRUE(dialog->isVisible()) << wrong;
        }
        EXPECT_EQ(driver.texts, std::vector<QString>(3, QStringLiteral("Wrong entry.")));
        EXPECT_EQ(driver.titles[0], QString::fromLatin1(programtitle));
        dialog->text1()->setText(QStringLiteral("c"));
        dialog->command1()->click();
        EXPECT_EQ(std::tuple(st.invalue, dialog->result(), dialog->isVisible()),
                  std::tuple(0x0C, int(QDialog::Accepted), false));
    }
}

TEST(InDialog, TheKeyboardsEnterGives0DAndTheFocusGoesToEnter)
{
    regwrite("Keyboard Small Letters", "0");
    MachineState st;
    InEntryDialog dialog(st, 1);
    dialog.show();
    test::DialogDriver driver;
    // Enter on the keyboard; then Cancel on it, which leaves the text and still moves the focus.
    for (int key : {69, -1}) {
        dialog.text1()->setFocus();
        driver.on<AsciiKeyboard>([key](AsciiKeyboard* k) { (key < 0 ? k->command1() : k->key(key))->click(); });
        dialog.command2()->click();
        EXPECT_EQ(dialog.text1()->text(), QStringLiteral("0D"));
        EXPECT_EQ(dialog.focusWidget(), dialog.command1());
    }
    EXPECT_EQ(driver.answered, 2);
    EXPECT_EQ(st.invalue, 0);
}

TEST(InDialog, TheAnswerAndTheTickedBoxActAfterTheInstruction)
{
    // The window's IN prompt, as Form1 installs it.
    struct PromptHooks : MachineHooks {
        std::function<void(InEntryDialog*)> answer;
        int rateswitches = 0;
        void inprompt(MachineState& st, int32_t port) override
        {
            test::DialogDriver driver;
            driver.on<InEntryDialog>(answer);
            inentrydialog(st, port, nullptr);
        }
        void menuspeed1(MachineState& st) override { ++rateswitches, MachineHooks::menuspeed1(st); }
    };
    // Clicks on the check box, and Enter with "a5" or the dialog closed.
    for (const std::pair<int, bool> c : {std::pair{1, true}, {2, true}, {0, true}, {1, false}}) {
        const auto [clicks, enter] = c;
        SCOPED_TRACE(std::to_string(clicks) + (enter ? " enter" : " closed"));
        MachineState st;
        st.optinprompt = "ON";
        st.simrate = 5;
        st.ports[0x20] = 0x55;
        st.mem[0] = 0xDB; // IN 20H
        st.mem[1] = 0x20;
        st.switchtostep = true; // cleared when the dialog opens
        PromptHooks hooks;
        hooks.answer = [c](InEntryDialog* d) {
            EXPECT_EQ(d->label2()->text(), QStringLiteral("Enter data received on port 20H [00-FF]."));
            for (int i = 0; i < c.first; ++i)
                d->check1()->click();
            d->text1()->setText(QStringLiteral("a5"));
            c.second ? d->command1()->click() : d->reject();
        };
        stepinstruction(st, hooks);
        const bool switched = clicks == 1;
        EXPECT_EQ(std::tuple(st.a, hooks.rateswitches, st.simrate, st.switchtostep),
                  std::tuple(enter ? 0xA5 : 0, switched ? 1 : 0, switched ? 1 : 5, false));
    }
}
