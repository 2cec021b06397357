// The Peripheral Devices window offscreen: the port prompt, OUT and IN with the window open and
// closed, lamps by mouse and keyboard, directions, the value text, the settings, the terminal and
// a run at Ultimate rate that stops with lamps and text current.
#include "core/execute.h"
#include "core/hexutil.h"
#include "shell/messages.h"
#include "sim/form1.h"
#include "sim/machinestate.h"
#include "sim/portdialogs.h"
#include "sim/settings.h"
#include "tests/common/datatable.h"
#include "tests/common/shot.h"
#include "tests/common/windowtest.h"
#include "tools/form5.h"
#include "tools/form5lamp.h"
#include "tools/form5terminal.h"

#include <QTest>
#include <QtWidgets>

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <tuple>

using namespace kelvane;

namespace {

MachineState& st() { return machinestate(); }

// The machine's device calls go to the router, as the main window's hooks send them.
class RoutedHooks : public MachineHooks {
    void devicerefresh(MachineState&, int n, int32_t value) override { toolrouter().devicerefresh(n, value); }
};

class Form5Test : public ::testing::Test {
protected:
    void SetUp() override
    {
        QSettings(QSettings::NativeFormat, QSettings::UserScope, settingsname).clear();
        st().~MachineState();
        new (&st()) MachineState();
        initialisestate(st());
        st().optconfirm = "ON"; // "Wrong entry." in a message box, which the tests read
        setmachinehooks(&hooks);
        open();
    }
    void TearDown() override { delete form.data(); setmachinehooks(nullptr); }
    void open() { (form = new Form5)->show(); }
    void close()
    {
        form->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        ASSERT_TRUE(form.isNull());
    }
    // Clicks device n's toggle (5: the terminal's) and answers the port prompt; returns its title|text.
    QString toggle(int n, const QString& port, bool ok = true)
    {
        QString shown;
        driver.on<QInputDialog>([&shown, port, ok](QInputDialog* d) {
            shown = d->windowTitle() + "|" + d->labelText();
            d->setTextValue(port);
            ok ? d->accept() : d->reject();
        });
        form->commandclick(n);
        return shown;
    }
    void turnon(int n, const QString& port, bool input = false)
    {
        ASSERT_FALSE(toggle(n, port).isEmpty());
        if (input)
            form->optionin(n)->click();
    }
    // What device n holds, as its value, its lamps (read back from their colours) and its text.
    void expectshown(int n, int32_t v)
    {
        int32_t lamps = 0;
        for (int b = 0; b < 8; ++b)
            lamps += form->lamp(n, b)->lit() ? 1 << b : 0;
        EXPECT_EQ(std::tuple(st().devvalue[static_cast<size_t>(n)], lamps, form->label(n)->text().toStdString()),
                  std::tuple(v, v, hexbyte(v) + "H"))
            << "device " << n;
    }
    void press(int n, int bit, QPoint at = {}) { QTest::mouseClick(form->lamp(n, bit), Qt::LeftButton, {}, at); }
    void out(int port, const std::string& bytes)
    {
        for (char ch : bytes)
            portwrite(st(), hooks, port, static_cast<unsigned char>(ch));
    }

    RoutedHooks hooks;
    QPointer<Form5> form;
    test::DialogDriver driver;
};

} // namespace

TEST_F(Form5Test, PortPromptAnswers)
{
    for (int n : {1, 5}) {
        const bool term = n == 5;
        for (const QStringList& r : test::datatable("form5/portprompt.txt")) {
            SCOPED_TRACE((r[0] + " " + r[1] + ", device " + QString::number(n)).toStdString());
            driver.texts.clear();
            const QString answer = QString::fromLatin1(QByteArray::fromPercentEncoding(r[0].toLatin1()));
            EXPECT_EQ(toggle(n, answer, r[1] == "OK"), titletext() + "|Enter I/O port number for this device [00-FF].");
            EXPECT_EQ(driver.texts, r[3] == "1" ? std::vector<QString>{"Wrong entry."} : std::vector<QString>{});
            const int32_t port = r[2].toInt();
            const bool on = port >= 0;
            const QString caption = on ? QString::fromStdString("I/O port " + hexbyte(port) + "H") : "I/O port";
            EXPECT_EQ(std::tuple(term ? st().termenabled : st().devenabled[1], term ? st().termport : st().devport[1],
                                 form->command(n)->text(), term ? form->label(10)->text() : form->frame(1)->title(),
                                 term ? form->command6()->isEnabled() : form->frame(1)->isEnabled()),
                      std::tuple(on, on ? port : 0, QString(on ? "ON" : "OFF"), caption, on));
            if (on)
                form->commandclick(n); // off again for the next case
        }
    }
}

// OUT and IN through the port path with the window open, then closed: what the devices show; then
// the terminal cleared and turned off.
TEST_F(Form5Test, PortPathWithTheWindowOpenAndClosedTerminalClearAndOff)
{
    turnon(1, "30");
    turnon(3, "30");
    turnon(2, "20", true);
    press(2, 0);
    press(2, 7);
    turnon(4, "40", true);
    turnon(5, "30");
    st().ports[0x40] = 0x99;
    // OUT of a value, or IN (-1), at a port; then the port, what devices 1-4 show and the terminal's text.
    struct Step { int32_t port, value, ports; std::array<int32_t, 4> shown; const char* termtext; };
    const Step steps[] = {
        {0x20, -1, 0x81, {0, 0x81, 0, 0}, ""},          // the input device's lamps set its port
        {0x40, -1, 0x99, {0, 0x81, 0, 0x99}, ""},       // IN shows what the port holds
        {0x30, 0x41, 0, {0x41, 0x81, 0x41, 0x99}, "A"}, // two output devices and the terminal take it, the port doesn't
        {0x20, 7, 7, {0x41, 0x81, 0x41, 0x99}, "A"},    // OUT to an input device's port: the port only
    };
    for (const Step& s : steps) {
        SCOPED_TRACE(s.port);
        if (s.value < 0)
            EXPECT_EQ(portread(st(), hooks, s.port), s.ports);
        else
            portwrite(st(), hooks, s.port, s.value);
        EXPECT_EQ(st().ports[static_cast<size_t>(s.port)], s.ports);
        for (int n = 1; n <= 4; ++n)
            expectshown(n, s.shown[static_cast<size_t>(n - 1)]);
        EXPECT_EQ(st().termtext, s.termtext);
        EXPECT_EQ(form->terminal()->lines().indexed(), st().termtext.size());
    }
    // Closed, the devices go on working, and the next window shows them as they are.
    close();
    EXPECT_FALSE(st().Form5);
    out(0x30, "\xA7");
    st().ports[0x20] = 0x42;
    EXPECT_EQ(portread(st(), hooks, 0x20), 0x42);
    open();
    for (auto [n, value] : {std::pair{1, 0xA7}, std::pair{2, 0x42}, std::pair{3, 0xA7}, std::pair{4, 0x99}})
        expectshown(n, value);
    EXPECT_TRUE(form->optionin(2)->isChecked() && form->optionin(4)->isChecked());
    const TerminalLines& lines = form->terminal()->lines();
    EXPECT_EQ(lines.indexed(), 2u);
    EXPECT_EQ(form->label(10)->text(), "I/O port 30H");
    // The terminal's Clear empties its text; turned off, it takes nothing more.
    form->command6()->click();
    EXPECT_TRUE(st().termtext.empty() && lines.indexed() == 0);
    out(0x30, "Z");
    EXPECT_EQ(lines.indexed(), 1u);
    form->command(5)->click();
    EXPECT_FALSE(st().termenabled || form->terminal()->isEnabled() || form->command6()->isEnabled());
    EXPECT_TRUE(st().termtext.empty() && lines.indexed() == 0 && st().termport == 0);
    EXPECT_EQ(form->label(10)->text(), "I/O port");
    out(0x30, "Q");
    EXPECT_TRUE(st().termtext.empty() && lines.indexed() == 0);
    expectshown(1, 'Q');
}

TEST_F(Form5Test, LampsDirectionOffAndOnAgainAndTheValueText)
{
    turnon(1, "50");
    turnon(2, "51", true);
    for (int b = 0; b < 8; ++b) {
        press(1, b); // an output device's lamp changes nothing
        press(2, b);
        EXPECT_EQ(std::pair(st().devvalue[1], st().ports[0x51]), std::pair(0, 1 << b)) << b;
        expectshown(2, 1 << b);
        press(2, b, QPoint(1, form->lamp(2, b)->height() - 2)); // the edge of the lamp's cell: the same bit
        expectshown(2, 0);
    }
    // Output to input: the value becomes what the port holds; back to output (twice): it stays.
    st().ports[0x50] = 0x5A;
    form->optionin(1)->click();
    expectshown(1, 0x5A);
    form->optionout(1)->click();
    form->optionout(1)->click();
    EXPECT_TRUE(form->optionout(1)->isChecked() && !form->optionin(1)->isChecked() && !st().devinput[1]);
    expectshown(1, 0x5A);
    // Off and on again: an output device with value 0.
    press(2, 7);
    form->commandclick(2);
    EXPECT_FALSE(st().devenabled[2] || st().devinput[2] || st().devport[2] || form->frame(2)->isEnabled());
    EXPECT_EQ(form->frame(2)->title(), "I/O port");
    expectshown(2, 0);
    turnon(2, "71");
    EXPECT_TRUE(st().devenabled[2] && form->optionout(2)->isChecked() && !st().devinput[2]);
    form->labelclick(2); // an output device's value text asks nothing
    // An input device's value text asks for a value; a cancelled entry gives 0 as an entered 0 does.
    form->optionin(2)->click();
    for (auto [typed, value] : {std::pair{"C3", 0xC3}, std::pair{"7", 0x07}, std::pair{"", 0}}) {
        driver.on<HexValueDialog>([typed = typed](HexValueDialog* d) {
            d->text1()->setText(typed);
            *typed ? d->enterclicked() : d->reject();
        });
        QTest::mouseClick(form->label(2), Qt::LeftButton);
        expectshown(2, value);
        EXPECT_EQ(st().ports[0x71], value);
        EXPECT_EQ(st().invalue, 0);
    }
}

TEST_F(Form5Test, SettingsReadAtLoadAndWrittenAtUnload)
{
    const std::vector<QStringList> settings = test::datatable("form5/settings.txt");
    close();
    for (const QStringList& r : settings)
        regwrite(r[0].toStdString(), r[1].toStdString());
    st().ports[255] = 0x2D;
    open();
    EXPECT_EQ(st().devenabled, (std::array<bool, 5>{false, true, true, false, true}));
    EXPECT_EQ(st().devinput, (std::array<bool, 5>{false, false, true, false, false}));
    EXPECT_EQ(st().devport, (std::array<int32_t, 5>{0, 16, 255, 0, 0}));
    EXPECT_TRUE(st().termenabled && st().termport == 128 && form->terminal()->isEnabled());
    expectshown(2, 0x2D);
    EXPECT_TRUE(form->optionin(2)->isChecked() && !form->frame(3)->isEnabled());
    EXPECT_EQ(form->frame(2)->title() + form->label(10)->text(), "I/O port FFHI/O port 80H");
    form->commandclick(1);
    form->optionout(2)->click();
    form->commandclick(5);
    turnon(3, "3f", true);
    close();
    for (const QStringList& r : settings)
        EXPECT_EQ(regread(r[0].toStdString(), "?"), r[2].toStdString()) << r[0].toStdString();
    EXPECT_NE(regread("Window5 Left", "?"), "?");
}

TEST(TerminalLines, BreaksWrappingAndRows)
{
    for (const QStringList& r : test::datatable("form5/terminallines.txt")) {
        std::string text;
        TerminalLines lines;
        lines.setcolumns(r[0].toInt());
        for (const QString& a : r.mid(3))
            lines.sync(text = a.isEmpty() ? std::string()
                                          : text + QByteArray::fromPercentEncoding(a.toLatin1()).toStdString());
        SCOPED_TRACE(text);
        QStringList lengths;
        for (size_t i = 0; i < lines.linecount(); ++i)
            lengths << QString::number(lines.line(i).length);
        EXPECT_EQ(std::tuple(lengths.join(' '), lines.rowcount(), lines.indexed()),
                  std::tuple(r[1], r[2].toULong(), text.size()));
        const size_t last = lines.rowcount() - 1;
        const auto [line, offset] = lines.rowplace(last);
        EXPECT_EQ(lines.rowof(line, offset), last);
    }
}

TEST(TerminalPane, ResizeKeepsTheTopLineOrTheEnd)
{
    std::string text;
    for (int i = 0; i < 100; ++i)
        text += std::string(30, static_cast<char>('A' + i % 26)) + "\r\n";
    TerminalPane pane;
    pane.resize(500, 200);
    pane.show();
    pane.settext(&text);
    for (int width : {300, 150, 600}) {
        pane.resize(width, 200);
        EXPECT_TRUE(pane.atend()) << width;
    }
    pane.verticalScrollBar()->setValue(static_cast<int>(pane.lines().rowof(50, 0)));
    for (QSize size : {QSize(300, 200), QSize(150, 200), QSize(600, 200), QSize(600, 120)}) {
        pane.resize(size);
        EXPECT_EQ(pane.lines().rowplace(static_cast<size_t>(pane.firstrow())).first, 50u) << size.width();
    }
}

TEST_F(Form5Test, KeyboardReachesEveryControlAndSpaceTogglesInputLamps)
{
    for (int n = 1; n <= 4; ++n)
        turnon(n, QString::number(n + 0x10, 16), n == 2);
    turnon(5, "05");
    form->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(form));
    form->command(1)->setFocus();
    QSet<QString> reached;
    for (int i = 0; i < 80; ++i) {
        QWidget* w = QApplication::focusWidget();
        ASSERT_NE(w, nullptr);
        reached.insert(w->objectName());
        QTest::keyClick(w, Qt::Key_Tab);
    }
    // Six toggles and buttons, eight options, four value texts, 32 lamps and the check box; never the pane.
    std::map<QString, int> kinds;
    for (const QString& name : reached)
        ++kinds[name.left(3)];
    EXPECT_EQ(kinds, (std::map<QString, int>{{"Che", 1}, {"Com", 6}, {"Opt", 8}, {"Lab", 4}, {"dev", 32}}));
    for (auto [n, bit, after] : {std::tuple{2, 5, 0x20}, std::tuple{2, 0, 0x21}, std::tuple{1, 3, 0}}) {
        form->lamp(n, bit)->setFocus();
        QTest::keyClick(form->lamp(n, bit), Qt::Key_Space);
        EXPECT_EQ(st().devvalue[static_cast<size_t>(n)], after) << n << " " << bit;
    }
    out(0x11, "\x3C");
    out(5, "KELVANE 8085\r\n> caf\xE9 \xA9 \xB5s\r\n> bell\x07 tab\t esc\x1B del\x7F\r\n> ");
    test::saveshot(form, "form5");
}

// A program that counts on an output device, reads an input device and prints on the terminal in
// a tight loop, run by the main window at Ultimate rate and stopped: everything shown is current.
TEST_F(Form5Test, UltimateRateRunEndsWithEverythingShown)
{
    delete form.data();
    auto main = std::make_unique<Form1>();
    main->messagesink = [](const std::string&) {};
    st().optinprompt = "OFF";
    st().optlogging = "OFF";
    main->show();
    open();
    turnon(1, "10");
    turnon(3, "12", true);
    press(3, 2);
    turnon(5, "11");
    // loop: INR C / MOV A,C / OUT 10H / IN 12H / MOV B,A / MVI A,'*' / OUT 11H / JMP loop
    const int32_t program[] = {0x0C, 0x79, 0xD3, 0x10, 0xDB, 0x12, 0x47, 0x3E, 0x2A, 0xD3, 0x11, 0xC3, 0x00, 0x00};
    std::copy(std::begin(program), std::end(program), st().mem.begin());
    st().programsize = 14;
    main->menuspeed_Click(6);
    QTimer::singleShot(300, main.get(), [&] { main->action("menustop")->trigger(); });
    main->action("menustart")->trigger();
    ASSERT_FALSE(st().running);
    ASSERT_GT(st().termtext.size(), 100u);
    QTest::qWait(60); // the repaint follows at the display's pace
    expectshown(1, st().devvalue[1]);
    EXPECT_EQ(st().b, 0x04);
    EXPECT_TRUE(form->terminal()->lines().indexed() == st().termtext.size() && form->terminal()->atend());
    test::saveshot(form, "form5-after-run");
    delete form.data();
}
