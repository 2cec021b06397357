// The Peripheral Devices window offscreen: the port prompt's answers, OUT and IN through the real
// port path with the window open and closed, direction changes, lamp presses by mouse and by
// keyboard, off and on again, two devices on one port, the fourteen settings, the terminal's
// text, Clear and off, and a run at Ultimate rate stopped with lamps and text current.
#include "core/execute.h"
#include "core/hexutil.h"
#include "shell/messages.h"
#include "sim/form1.h"
#include "sim/machinestate.h"
#include "sim/portdialogs.h"
#include "sim/settings.h"
#include "sim/toolrouter.h"
#include "tools/form5.h"
#include "tools/form5lamp.h"
#include "tools/form5terminal.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QGroupBox>
#include <QInputDialog>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollBar>
#include <QSet>
#include <QSettings>
#include <QTest>
#include <QTimer>

#include "tests/common/dialogdriver.h"
#include "tests/common/shot.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

using namespace kelvane;

namespace {

// The machine's device and port-editor calls go to the router, as the main window's hooks do.
class RoutedHooks : public MachineHooks {
public:
    void devicerefresh(MachineState& st, int n, int32_t value) override
    {
        (void)st;
        toolrouter().devicerefresh(n, value);
    }
};

MachineState& st()
{
    return machinestate();
}

// Answers the next port prompt: the text typed, then OK (or Cancel).
class PortAnswer {
public:
    PortAnswer(QString text, bool ok) : text_(std::move(text)), ok_(ok)
    {
        QObject::connect(&timer_, &QTimer::timeout, [this] {
            auto* d = qobject_cast<QInputDialog*>(QApplication::activeModalWidget());
            if (!d || done)
                return;
            done = true;
            label = d->labelText();
            title = d->windowTitle();
            d->setTextValue(text_);
            if (ok_)
                d->accept();
            else
                d->reject();
        });
        timer_.start(5);
    }
    bool done = false;
    QString label, title;

private:
    QString text_;
    bool ok_;
    QTimer timer_;
};

// The value the eight lamps show, read back from their colours.
int32_t lampvalue(const Form5& f, int n)
{
    int32_t v = 0;
    for (int b = 0; b < 8; ++b)
        if (f.lamp(n, b)->lit())
            v += 1 << b;
    return v;
}

class Form5Test : public ::testing::Test {
protected:
    void SetUp() override
    {
        QSettings(QSettings::NativeFormat, QSettings::UserScope, settingsname).clear();
        st().~MachineState();
        new (&st()) MachineState();
        initialisestate(st());
        st().optconfirm = "ON";
        st().optinlog = "OFF";
        st().optrefreshmemory = "ON";
        setmachinehooks(&hooks);
        form = new Form5;
        form->show();
    }
    void TearDown() override
    {
        delete form.data();
        setmachinehooks(nullptr);
    }
    // Turns device n (5: the terminal) on at a port by its toggle and the prompt.
    void turnon(int n, const QString& port)
    {
        PortAnswer answer(port, true);
        form->commandclick(n);
        ASSERT_TRUE(answer.done);
    }
    RoutedHooks hooks;
    QPointer<Form5> form;
};

} // namespace

// ---------------------------------------------------------------------------------------------

TEST_F(Form5Test, PortPromptAnswers)
{
    struct Case {
        const char* answer;
        bool ok;
        int32_t port; // -1: the device stays off
        bool wrong;   // "Wrong entry." is told
    };
    const Case cases[] = {
        {"", true, -1, false},   {"", false, -1, false},   {"3C", false, -1, false}, {"G1", true, -1, true},
        {"123", true, -1, true}, {" ", true, -1, true},    {"7", true, 0x07, false}, {"a5", true, 0xA5, false},
        {"FF", true, 0xFF, false}, {"00", true, 0x00, false},
    };
    for (int n : {1, 5}) {
        for (const Case& c : cases) {
            SCOPED_TRACE(std::string(c.answer) + (c.ok ? " OK" : " Cancel") + " device " + std::to_string(n));
            test::BoxCloser boxes;
            PortAnswer answer(c.answer, c.ok);
            form->commandclick(n);
            ASSERT_TRUE(answer.done);
            EXPECT_EQ(answer.label, "Enter I/O port number for this device [00-FF].");
            EXPECT_EQ(answer.title, titletext());
            QCoreApplication::processEvents();
            EXPECT_EQ(boxes.texts, c.wrong ? std::vector<QString>{"Wrong entry."} : std::vector<QString>{});
            const bool on = n == 5 ? st().termenabled : st().devenabled[1];
            const int32_t port = n == 5 ? st().termport : st().devport[1];
            EXPECT_EQ(on, c.port >= 0);
            EXPECT_EQ(port, c.port >= 0 ? c.port : 0);
            EXPECT_EQ(form->command(n)->text(), c.port >= 0 ? "ON" : "OFF");
            const QString shown = QString::fromStdString("I/O port " + hexbyte(c.port) + "H");
            if (n == 5) {
                EXPECT_EQ(form->label(10)->text(), c.port >= 0 ? shown : "I/O port");
                EXPECT_EQ(form->command6()->isEnabled(), c.port >= 0);
            } else {
                EXPECT_EQ(form->frame(1)->title(), c.port >= 0 ? shown : "I/O port");
                EXPECT_EQ(form->frame(1)->isEnabled(), c.port >= 0);
            }
            if (c.port >= 0)
                form->commandclick(n); // off again for the next case
        }
    }
}

TEST_F(Form5Test, WrongEntryGoesToTheTimedMessageWhenConfirmationsAreOff)
{
    st().optconfirm = "OFF";
    turnon(2, "XY");
    ASSERT_NE(MessageWindow::current(), nullptr);
    EXPECT_EQ(MessageWindow::current()->text(), "Wrong entry.");
    EXPECT_FALSE(st().devenabled[2]);
    MessageWindow::current()->close();
}

// OUT and IN through the port path, with every device set up as the row says.
TEST_F(Form5Test, PortPathWithTheWindowOpen)
{
    struct Dev {
        int n;
        bool input;
        const char* port;
        int32_t value; // an input device's value, set by pressing its lamps
    };
    struct Case {
        const char* name;
        std::vector<Dev> devices;
        const char* terminal; // port of the terminal, or nullptr
        bool out;
        int32_t port, value;
        int32_t ports;              // ports[port] afterwards
        std::vector<int32_t> shown; // devvalue of devices 1-4 afterwards
        const char* termtext;
    };
    const Case cases[] = {
        {"OUT to an output device", {{1, false, "10", 0}}, nullptr, true, 0x10, 0x3C, 0x55, {0x3C, 0, 0, 0}, ""},
        {"OUT to another port", {{1, false, "10", 0}}, nullptr, true, 0x11, 0x3C, 0x3C, {0, 0, 0, 0}, ""},
        {"IN from an input device", {{2, true, "20", 0x81}}, nullptr, false, 0x20, 0, 0x81, {0, 0x81, 0, 0}, ""},
        {"OUT to an input device's port", {{2, true, "20", 0x81}}, nullptr, true, 0x20, 0x07, 0x07, {0, 0x81, 0, 0}, ""},
        {"two devices and the terminal on one port",
         {{1, false, "30", 0}, {3, false, "30", 0}},
         "30", true, 0x30, 0x41, 0x55, {0x41, 0, 0x41, 0}, "A"},
        {"the terminal alone", {}, "31", true, 0x31, 0xE9, 0x55, {0, 0, 0, 0}, "\xE9"},
        {"IN with input and output devices on the port",
         {{1, false, "40", 0}, {4, true, "40", 0x99}},
         nullptr, false, 0x40, 0, 0x99, {0, 0, 0, 0x99}, ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        TearDown();
        SetUp();
        for (const Dev& d : c.devices) {
            turnon(d.n, d.port);
            if (d.input) {
                form->optioninclick(d.n);
                for (int b = 0; b < 8; ++b)
                    if (d.value & (1 << b))
                        QTest::mouseClick(form->lamp(d.n, b), Qt::LeftButton);
                ASSERT_EQ(st().devvalue[static_cast<size_t>(d.n)], d.value);
            }
        }
        if (c.terminal)
            turnon(5, c.terminal);
        if (c.out)
            st().ports[static_cast<size_t>(c.port)] = 0x55;
        if (c.out) {
            portwrite(st(), hooks, c.port, c.value);
        } else {
            EXPECT_EQ(portread(st(), hooks, c.port), c.ports);
        }
        EXPECT_EQ(st().ports[static_cast<size_t>(c.port)], c.ports);
        for (int n = 1; n <= 4; ++n) {
            const int32_t v = c.shown[static_cast<size_t>(n - 1)];
            EXPECT_EQ(st().devvalue[static_cast<size_t>(n)], v) << "device " << n;
            EXPECT_EQ(lampvalue(*form, n), v) << "device " << n;
            EXPECT_EQ(form->label(n)->text().toStdString(), hexbyte(v) + "H") << "device " << n;
        }
        EXPECT_EQ(st().termtext, c.termtext);
        EXPECT_EQ(form->terminal()->lines().indexed(), st().termtext.size());
    }
}

TEST_F(Form5Test, ClosedWindowLeavesTheDevicesWorking)
{
    turnon(1, "10");
    turnon(2, "20");
    form->optioninclick(2);
    QTest::mouseClick(form->lamp(2, 6), Qt::LeftButton);
    turnon(5, "01");
    form->close();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    ASSERT_TRUE(form.isNull());
    EXPECT_FALSE(st().Form5);

    st().ports[0x10] = 0x55;
    portwrite(st(), hooks, 0x10, 0xA7);
    portwrite(st(), hooks, 0x01, 'o');
    portwrite(st(), hooks, 0x01, 'k');
    EXPECT_EQ(st().devvalue[1], 0xA7);
    EXPECT_EQ(st().ports[0x10], 0x55);
    EXPECT_EQ(portread(st(), hooks, 0x20), 0x40);
    EXPECT_EQ(st().termtext, "ok");

    form = new Form5;
    form->show();
    EXPECT_EQ(form->label(1)->text(), "A7H");
    EXPECT_EQ(lampvalue(*form, 2), 0x40);
    EXPECT_TRUE(form->optionin(2)->isChecked());
    EXPECT_EQ(form->terminal()->lines().indexed(), 2u);
    EXPECT_EQ(form->label(10)->text(), "I/O port 01H");
}

TEST_F(Form5Test, DirectionChangeShowsThePortsValueAndBack)
{
    turnon(3, "40");
    st().ports[0x40] = 0x5A;
    portwrite(st(), hooks, 0x40, 0x11);
    EXPECT_EQ(form->label(3)->text(), "11H");
    form->optionin(3)->click();
    EXPECT_TRUE(st().devinput[3]);
    EXPECT_TRUE(form->optionin(3)->isChecked());
    EXPECT_FALSE(form->optionout(3)->isChecked());
    EXPECT_EQ(form->label(3)->text(), "5AH");
    EXPECT_EQ(lampvalue(*form, 3), 0x5A);
    form->optionout(3)->click();
    EXPECT_FALSE(st().devinput[3]);
    EXPECT_FALSE(form->optionin(3)->isChecked());
    EXPECT_TRUE(form->optionout(3)->isChecked());
    EXPECT_EQ(form->label(3)->text(), "5AH"); // the shown value stays
    form->optionout(3)->click();              // a second click keeps it selected
    EXPECT_TRUE(form->optionout(3)->isChecked());
}

TEST_F(Form5Test, LampPressOnEachBit)
{
    turnon(1, "50"); // output
    turnon(2, "51");
    form->optioninclick(2);
    st().ports[0x50] = 0;
    for (int b = 0; b < 8; ++b) {
        SCOPED_TRACE(b);
        QTest::mouseClick(form->lamp(1, b), Qt::LeftButton);
        EXPECT_EQ(st().devvalue[1], 0);
        EXPECT_FALSE(form->lamp(1, b)->lit());

        QTest::mouseClick(form->lamp(2, b), Qt::LeftButton);
        EXPECT_EQ(st().devvalue[2], 1 << b);
        EXPECT_TRUE(form->lamp(2, b)->lit());
        EXPECT_EQ(st().ports[0x51], 1 << b);
        EXPECT_EQ(form->label(2)->text().toStdString(), hexbyte(1 << b) + "H");
        // A press near the lamp's edge, still over its column, hits the same bit.
        QTest::mouseClick(form->lamp(2, b), Qt::LeftButton, {}, QPoint(1, form->lamp(2, b)->height() - 2));
        EXPECT_EQ(st().devvalue[2], 0);
    }
    EXPECT_EQ(st().ports[0x50], 0);
}

TEST_F(Form5Test, InputValueChangeRedrawsTheOpenPortsEditorUnderItsOption)
{
    struct Editor : ToolWindow {
        int prints = 0;
        void ioprint() override { ++prints; }
    };
    QWidget stand;
    Editor editor;
    toolrouter().opened(Tool::Form20, &stand, &editor);
    turnon(1, "51");
    form->optioninclick(1);
    for (const char* option : {"ON", "OFF"}) {
        st().optrefreshmemory = option;
        toolrouter().opened(Tool::Form20, &stand, &editor); // a fresh editor, waiting for no frame
        editor.prints = 0;
        QTest::mouseClick(form->lamp(1, 3), Qt::LeftButton);
        EXPECT_EQ(editor.prints, std::string(option) == "ON" ? 1 : 0) << option;
    }
    EXPECT_EQ(st().ports[0x51], 0);
    toolrouter().closed(Tool::Form20);
}

TEST_F(Form5Test, ValueLabelAsksForAnInputDevicesValue)
{
    turnon(4, "60");
    form->labelclick(4); // an output device: no dialog
    EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
    form->optioninclick(4);
    struct Case {
        const char* typed;
        bool enter;
        int32_t value;
    };
    for (const Case& c : {Case{"C3", true, 0xC3}, Case{"7", true, 0x07}, Case{"", false, 0}}) {
        SCOPED_TRACE(c.typed);
        st().devvalue[4] = 0x44;
        QTimer::singleShot(20, [&] {
            auto* d = qobject_cast<HexValueDialog*>(QApplication::activeModalWidget());
            ASSERT_NE(d, nullptr);
            d->text1()->setText(c.typed);
            if (c.enter)
                d->enterclicked();
            else
                d->reject();
        });
        QTest::mouseClick(form->label(4), Qt::LeftButton);
        EXPECT_EQ(st().devvalue[4], c.value);
        EXPECT_EQ(st().invalue, 0);
        EXPECT_EQ(st().ports[0x60], c.value);
        EXPECT_EQ(lampvalue(*form, 4), c.value);
    }
}

TEST_F(Form5Test, OffAndOnAgainComesUpAsOutputWithValueZero)
{
    turnon(2, "70");
    form->optioninclick(2);
    QTest::mouseClick(form->lamp(2, 7), Qt::LeftButton);
    ASSERT_EQ(st().devvalue[2], 0x80);
    form->commandclick(2); // off
    EXPECT_FALSE(st().devenabled[2]);
    EXPECT_FALSE(st().devinput[2]);
    EXPECT_EQ(st().devport[2], 0);
    EXPECT_EQ(st().devvalue[2], 0);
    EXPECT_EQ(form->label(2)->text(), "00H");
    EXPECT_EQ(lampvalue(*form, 2), 0);
    EXPECT_FALSE(form->frame(2)->isEnabled());
    EXPECT_EQ(form->frame(2)->title(), "I/O port");
    turnon(2, "71");
    EXPECT_TRUE(st().devenabled[2]);
    EXPECT_FALSE(st().devinput[2]);
    EXPECT_TRUE(form->optionout(2)->isChecked());
    EXPECT_EQ(st().devvalue[2], 0);
    EXPECT_EQ(form->frame(2)->title(), "I/O port 71H");
}

TEST_F(Form5Test, SettingsWrittenAtUnloadAndReadAtLoad)
{
    struct Setting {
        const char* name;
        const char* text;
    };
    const Setting saved[] = {
        {"Device 1", "ON"},  {"Device 1 Input", "OFF"}, {"Device 1 Port Number", "16"},
        {"Device 2", "ON"},  {"Device 2 Input", "ON"},  {"Device 2 Port Number", "255"},
        {"Device 3", "OFF"}, {"Device 3 Input", "OFF"}, {"Device 3 Port Number", "0"},
        {"Device 4", "ON"},  {"Device 4 Input", "OFF"}, {"Device 4 Port Number", "1"},
        {"Device 5", "ON"},  {"Device 5 Port Number", "128"},
    };
    form->close();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    for (const Setting& s : saved)
        regwrite(s.name, s.text);
    st().ports[255] = 0x2D;
    form = new Form5;
    form->show();
    EXPECT_EQ(st().devenabled, (std::array<bool, 5>{false, true, true, false, true}));
    EXPECT_EQ(st().devinput, (std::array<bool, 5>{false, false, true, false, false}));
    EXPECT_EQ(st().devport, (std::array<int32_t, 5>{0, 16, 255, 0, 1}));
    EXPECT_TRUE(st().termenabled);
    EXPECT_EQ(st().termport, 128);
    EXPECT_EQ(st().devvalue[2], 0x2D);
    EXPECT_EQ(form->label(2)->text(), "2DH");
    EXPECT_EQ(form->frame(1)->title(), "I/O port 10H");
    EXPECT_EQ(form->frame(2)->title(), "I/O port FFH");
    EXPECT_TRUE(form->optionin(2)->isChecked());
    EXPECT_FALSE(form->frame(3)->isEnabled());
    EXPECT_EQ(form->label(10)->text(), "I/O port 80H");
    EXPECT_TRUE(form->terminal()->isEnabled());

    form->commandclick(1); // off
    form->optionoutclick(2);
    form->commandclick(5); // off
    turnon(3, "3f");
    form->optioninclick(3);
    form->move(300, 200);
    form->close();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    const Setting written[] = {
        {"Device 1", "OFF"}, {"Device 1 Input", "OFF"}, {"Device 1 Port Number", "0"},
        {"Device 2", "ON"},  {"Device 2 Input", "OFF"}, {"Device 2 Port Number", "255"},
        {"Device 3", "ON"},  {"Device 3 Input", "ON"},  {"Device 3 Port Number", "63"},
        {"Device 4", "ON"},  {"Device 4 Input", "OFF"}, {"Device 4 Port Number", "1"},
        {"Device 5", "OFF"}, {"Device 5 Port Number", "0"},
    };
    for (const Setting& s : written)
        EXPECT_EQ(regread(s.name, "?"), s.text) << s.name;
    EXPECT_NE(regread("Window5 Left", "?"), "?");
}

TEST_F(Form5Test, NothingEnabledBeforeTheFirstLoadAndBadPortsReadAsZero)
{
    delete form.data();
    regwrite("Device 1", "ON");
    regwrite("Device 1 Port Number", "300");
    regwrite("Device 2", "on"); // only the exact text "ON" turns a device on
    EXPECT_FALSE(st().devenabled[1]);
    form = new Form5;
    EXPECT_TRUE(st().devenabled[1]);
    EXPECT_EQ(st().devport[1], 0);
    EXPECT_FALSE(st().devenabled[2]);
}

TEST_F(Form5Test, TerminalTextClearAndOff)
{
    turnon(5, "02");
    const std::string text = "Hi\r\nthere\rX\n\x07\xE9";
    for (char ch : text)
        portwrite(st(), hooks, 2, static_cast<unsigned char>(ch));
    EXPECT_EQ(st().termtext, text);
    const TerminalLines& lines = form->terminal()->lines();
    ASSERT_EQ(lines.linecount(), 4u);
    EXPECT_EQ(lines.line(0).length, 2u);
    EXPECT_EQ(lines.line(1).length, 5u);
    EXPECT_EQ(lines.line(2).length, 1u);
    EXPECT_EQ(lines.line(3).length, 2u);
    EXPECT_TRUE(form->terminal()->atend());

    form->command6()->click();
    EXPECT_EQ(st().termtext, "");
    EXPECT_EQ(lines.indexed(), 0u);
    EXPECT_EQ(lines.linecount(), 1u);
    EXPECT_TRUE(st().termenabled);
    portwrite(st(), hooks, 2, 'Z');
    EXPECT_EQ(lines.indexed(), 1u);

    form->command(5)->click(); // off
    EXPECT_FALSE(st().termenabled);
    EXPECT_EQ(st().termport, 0);
    EXPECT_EQ(st().termtext, "");
    EXPECT_EQ(lines.indexed(), 0u);
    EXPECT_FALSE(form->terminal()->isEnabled());
    EXPECT_FALSE(form->command6()->isEnabled());
    EXPECT_EQ(form->label(10)->text(), "I/O port");
    portwrite(st(), hooks, 2, 'Q');
    EXPECT_EQ(st().termtext, "");
    EXPECT_EQ(st().ports[2], 'Q');
}

TEST(TerminalLines, LineBreaksAndWrapping)
{
    struct Case {
        std::vector<std::string> appends;
        int columns;
        std::vector<size_t> lengths;
        size_t rows;
    };
    const Case cases[] = {
        {{""}, 80, {0}, 1},
        {{"ab\r\ncd"}, 80, {2, 2}, 2},
        {{"ab\rcd"}, 80, {2, 2}, 2},
        {{"ab\ncd"}, 80, {2, 2}, 2},
        {{"ab\n\rcd"}, 80, {2, 0, 2}, 3},
        {{"ab\r", "\ncd"}, 80, {2, 2}, 2},
        {{"ab\r", "\n", "\n"}, 80, {2, 0, 0}, 3},
        {{"\r\n\r\n"}, 80, {0, 0, 0}, 3},
        {{"abcdefghij", "\rxy"}, 4, {10, 2}, 4},
        {{"abcd"}, 4, {4}, 1},
        {{"a\tb\x01\x7f\x85\xff"}, 3, {7}, 3},
        {{"abc", "", "x"}, 80, {1}, 1}, // the text was emptied in between: read anew
    };
    for (const Case& c : cases) {
        std::string text;
        TerminalLines lines;
        lines.setcolumns(c.columns);
        for (const std::string& a : c.appends) {
            text = a.empty() ? std::string() : text + a;
            lines.sync(text);
        }
        SCOPED_TRACE(text);
        std::vector<size_t> lengths;
        for (size_t i = 0; i < lines.linecount(); ++i)
            lengths.push_back(lines.line(i).length);
        EXPECT_EQ(lengths, c.lengths);
        EXPECT_EQ(lines.rowcount(), c.rows);
        EXPECT_EQ(lines.indexed(), text.size());
    }
}

TEST(TerminalLines, RowsFollowTheColumns)
{
    TerminalLines lines;
    const std::string text = std::string(10, 'a') + "\r\n" + std::string(3, 'b') + "\n" + std::string(9, 'c');
    lines.sync(text);
    struct Case {
        int columns;
        size_t rows;
        size_t row;
        std::pair<size_t, size_t> place; // line, offset of the row
    };
    for (const Case& c : {Case{4, 3 + 1 + 3, 5, {2, 4}}, Case{10, 1 + 1 + 1, 1, {1, 0}}, Case{1, 22, 12, {1, 2}},
                          Case{0, 22, 21, {2, 8}}}) {
        SCOPED_TRACE(c.columns);
        lines.setcolumns(c.columns);
        EXPECT_EQ(lines.rowcount(), c.rows);
        EXPECT_EQ(lines.rowplace(c.row), c.place);
        EXPECT_EQ(lines.rowof(c.place.first, c.place.second), c.row);
    }
    EXPECT_EQ(text[lines.line(2).start], 'c');
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
    ASSERT_TRUE(pane.atend());
    for (int width : {300, 150, 600}) {
        pane.resize(width, 200);
        EXPECT_TRUE(pane.atend()) << width;
    }
    pane.verticalScrollBar()->setValue(static_cast<int>(pane.lines().rowof(50, 0)));
    for (int width : {300, 150, 600}) {
        pane.resize(width, 200);
        EXPECT_EQ(pane.lines().rowplace(static_cast<size_t>(pane.firstrow())).first, 50u) << width;
        EXPECT_FALSE(pane.atend()) << width;
    }
    pane.resize(600, 120);
    EXPECT_EQ(pane.lines().rowplace(static_cast<size_t>(pane.firstrow())).first, 50u);
}

TEST(TerminalCells, ControlBytesAsCaretLettersOthersAsLatin1)
{
    struct Case {
        unsigned char byte;
        bool control;
        char16_t shown;
    };
    for (const Case& c : {Case{'A', false, u'A'}, Case{' ', false, u' '}, Case{0, true, u'@'}, Case{7, true, u'G'},
                          Case{9, true, u'I'}, Case{27, true, u'['}, Case{127, true, u'?'}, Case{0x85, true, u'E'},
                          Case{0xA0, false, u'\u00A0'}, Case{0xAD, false, u'-'}, Case{0xE9, false, u'\u00E9'},
                          Case{0xFF, false, u'\u00FF'}}) {
        SCOPED_TRACE(int(c.byte));
        const TerminalCell cell = terminalcell(c.byte);
        EXPECT_EQ(cell.control, c.control);
        EXPECT_TRUE(cell.character == c.shown);
    }
}

TEST_F(Form5Test, KeyboardReachesEveryControlAndSpaceTogglesInputLamps)
{
    for (int n = 1; n <= 4; ++n)
        turnon(n, QString::number(n + 0x10, 16));
    turnon(5, "05");
    form->optioninclick(2);
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
    for (int n = 1; n <= 5; ++n)
        EXPECT_TRUE(reached.contains(QStringLiteral("Command%1").arg(n))) << n;
    for (int n = 1; n <= 4; ++n) {
        EXPECT_TRUE(reached.contains(QStringLiteral("Option%1in").arg(n))) << n;
        EXPECT_TRUE(reached.contains(QStringLiteral("Option%1out").arg(n))) << n;
        EXPECT_TRUE(reached.contains(QStringLiteral("Label%1").arg(n))) << n;
        for (int b = 0; b < 8; ++b)
            EXPECT_TRUE(reached.contains(QStringLiteral("dev%1bit%2").arg(n).arg(b))) << n << " " << b;
    }
    EXPECT_TRUE(reached.contains("Command6"));
    EXPECT_TRUE(reached.contains("Check1"));
    EXPECT_FALSE(reached.contains("RichTextBox1")); // the pane never keeps the focus

    struct Case {
        int n, bit;
        int32_t after;
    };
    for (const Case& c : {Case{2, 5, 0x20}, Case{2, 0, 0x21}, Case{2, 5, 0x01}, Case{1, 3, 0}}) {
        form->lamp(c.n, c.bit)->setFocus();
        QTest::keyClick(form->lamp(c.n, c.bit), Qt::Key_Space);
        EXPECT_EQ(st().devvalue[static_cast<size_t>(c.n)], c.after) << c.n << " " << c.bit;
    }
    // Space on an option selects it.
    form->optionout(2)->setFocus();
    QTest::keyClick(form->optionout(2), Qt::Key_Space);
    EXPECT_FALSE(st().devinput[2]);
}

// A program that counts on an output device and prints on the terminal in a tight loop, run at
// Ultimate rate by the main window and stopped: the lamps, the value and the text are current.
TEST_F(Form5Test, UltimateRateRunEndsWithEverythingShown)
{
    delete form.data();
    auto main = std::make_unique<Form1>();
    main->messagesink = [](const std::string&) {};
    st().optlogging = "OFF";
    st().optinprompt = "OFF";
    st().startaddress = 0;
    main->show();
    form = new Form5;
    form->show();
    turnon(1, "10");
    turnon(3, "12");
    form->optioninclick(3);
    QTest::mouseClick(form->lamp(3, 2), Qt::LeftButton);
    turnon(5, "11");
    // loop: INR A; OUT 10H; IN 12H; MOV B,A; MVI A,'*'; OUT 11H; MOV A,B; ... keep the count in C.
    const std::vector<int32_t> program = {
        0x0C,       // INR C
        0x79,       // MOV A,C
        0xD3, 0x10, // OUT 10H
        0xDB, 0x12, // IN 12H
        0x47,       // MOV B,A
        0x3E, 0x2A, // MVI A,'*'
        0xD3, 0x11, // OUT 11H
        0xC3, 0x00, 0x00, // JMP 0
    };
    std::fill(st().mem.begin(), st().mem.end(), 0);
    std::copy(program.begin(), program.end(), st().mem.begin());
    st().programsize = static_cast<int32_t>(program.size());
    main->menuspeed_Click(6);
    QTimer::singleShot(300, main.get(), [&] { main->action("menustop")->trigger(); });
    main->action("menustart")->trigger();
    ASSERT_FALSE(st().running);
    ASSERT_GT(st().termtext.size(), 100u);
    QTest::qWait(60); // the deferred repaint follows at the display's pace
    EXPECT_EQ(form->label(1)->text().toStdString(), hexbyte(st().devvalue[1]) + "H");
    EXPECT_EQ(lampvalue(*form, 1), st().devvalue[1]);
    EXPECT_EQ(st().b, 0x04);
    EXPECT_EQ(form->terminal()->lines().indexed(), st().termtext.size());
    EXPECT_TRUE(form->terminal()->atend());
    test::saveshot(form, "form5-after-run");
    delete form.data();
    main.reset();
}

TEST_F(Form5Test, Screenshot)
{
    turnon(1, "10");
    turnon(2, "20");
    form->optioninclick(2);
    turnon(3, "21");
    turnon(5, "01");
    portwrite(st(), hooks, 0x10, 0x3C);
    for (int b : {7, 5, 2, 0})
        QTest::mouseClick(form->lamp(2, b), Qt::LeftButton);
    portwrite(st(), hooks, 0x21, 0xF0);
    const std::string text = "KELVANE 8085 TERMINAL\r\n> HELLO, WORLD!\r\n> caf\xE9 \xA9 \xB5s\r\n> bell\x07 tab\t esc\x1B del\x7F\r\n"
                             "> 0123456789ABCDEF0123456789ABCDEF0123456789ABCDEF0123456789\r\n> ";
    for (char ch : text)
        portwrite(st(), hooks, 1, static_cast<unsigned char>(ch));
    form->lamp(2, 4)->setFocus();
    test::saveshot(form, "form5");
    SUCCEED();
}
