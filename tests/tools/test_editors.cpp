// The Memory Editor and the I/O Ports Editor: entry walks by keys, the click map, what makes the
// table follow memory and ports (by cause, with the refresh option on and off), the input devices
// fed from the ports editor, the wheel, the focus and the window positions.
#include "core/hexutil.h"
#include "sim/form1.h"
#include "sim/machinestate.h"
#include "sim/portdialogs.h"
#include "sim/programfiles_ui.h"
#include "sim/settings.h"
#include "sim/toolrouter.h"
#include "tools/form2.h"
#include "tools/form20.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QFile>
#include <QImage>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPointer>
#include <QScreen>
#include <QScrollBar>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QWheelEvent>

#include "tests/common/shot.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

using namespace kelvane;

namespace {

// Odd, so that the programs below, which store even values only, always change what they touch.
constexpr int32_t memfill = 0x11, portfill = 0x23;

MachineState& st()
{
    return machinestate();
}

// A point inside a cell in the table's units (column 16: the sliver right of column F).
QPointF cellunits(int row, int column)
{
    return {column < 16 ? 630.0 + 315 * column + 150 : 5690.0, 225.0 * row + 110};
}

// Keys typed into whatever has the focus. A script is words divided by blanks: "<Enter>",
// "<Esc>", "<Left>" ... press and release; "<Enter*3>" and "<Down*3>" are held keys (a press,
// two auto-repeat release/press pairs and the release); anything else is typed as text.
void typekeys(QWidget* window, const std::string& script)
{
    static const std::vector<std::pair<std::string, Qt::Key>> names = {
        {"Enter", Qt::Key_Return}, {"Esc", Qt::Key_Escape}, {"Left", Qt::Key_Left},
        {"Right", Qt::Key_Right},  {"Up", Qt::Key_Up},      {"Down", Qt::Key_Down}};
    std::istringstream in(script);
    std::string word;
    while (in >> word) {
        QWidget* target = QApplication::focusWidget() ? QApplication::focusWidget() : window;
        if (word.front() != '<') {
            QTest::keyClicks(target, QString::fromStdString(word));
            continue;
        }
        const auto star = word.find('*');
        const std::string name = word.substr(1, (star == std::string::npos ? word.size() - 1 : star) - 1);
        const int held = star == std::string::npos ? 1 : std::stoi(word.substr(star + 1));
        Qt::Key key = Qt::Key_unknown;
        for (const auto& [n, k] : names)
            if (n == name)
                key = k;
        ASSERT_NE(key, Qt::Key_unknown) << word;
        const QString text = key == Qt::Key_Return ? QStringLiteral("\r") : QString();
        auto send = [&](QEvent::Type type, bool repeat) {
            QKeyEvent e(type, key, Qt::NoModifier, text, repeat);
            QApplication::sendEvent(QApplication::focusWidget() ? QApplication::focusWidget() : window, &e);
        };
        send(QEvent::KeyPress, false);
        for (int i = 1; i < held; ++i) {
            send(QEvent::KeyRelease, true);
            send(QEvent::KeyPress, true);
        }
        send(QEvent::KeyRelease, false);
    }
}

class Editors : public ::testing::Test {
public:
    void SetUp() override
    {
        QSettings(QSettings::NativeFormat, QSettings::UserScope, settingsname).clear();
        initialisestate(st());
        st().optrefreshmemory = "ON";
        st().optsavepositions = "ON";
        st().optinprompt = "OFF";
        st().optinlog = "OFF";
        st().mem.fill(memfill);
        st().ports.fill(portfill);
        toolrouter().recompute();
    }
    void TearDown() override
    {
        toolrouter().unloadall();
        main.reset();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    template <typename T>
    T* open()
    {
        auto* w = new T;
        w->show();
        w->activateWindow();
        EXPECT_TRUE(QTest::qWaitForWindowActive(w));
        return w;
    }
    // The main window, for runs and the File menu's commands.
    Form1& form1()
    {
        if (!main) {
            main = std::make_unique<Form1>();
            main->messagesink = [](const std::string&) {};
            main->viewersink = [](const QString&) {};
            main->show();
            st().optinprompt = "OFF";
        }
        return *main;
    }
    void setrefresh(bool on)
    {
        QAction* a = form1().action("menurefreshmemoryeditor");
        if (a->isChecked() != on)
            a->trigger();
        ASSERT_EQ(st().optrefreshmemory, on ? "ON" : "OFF");
    }
    static void waitframes(int ms = 80) { QTest::qWait(ms); }

    std::unique_ptr<Form1> main;
};

// ---------------------------------------------------------------------------------------------
// Entry walks

struct Walk {
    const char* name;
    bool ports;   // the I/O Ports Editor, else the Memory Editor
    int top;      // the view's top row before
    int row, column; // the cell clicked
    const char* keys;
    std::vector<std::pair<int32_t, int32_t>> writes; // (address or port, value)
    int boxrow, boxcolumn; // where the box stands after; -1: hidden
    int topafter;
};

const Walk walks[] = {
    {"empty Enter writes 00", false, 0, 0, 0, "<Enter>", {{0x00, 0x00}}, 0, 1, 0},
    {"A writes 0A", false, 0, 2, 3, "A <Enter>", {{0x23, 0x0A}}, 2, 4, 0},
    {"ff writes FF", false, 0, 2, 3, "ff <Enter>", {{0x23, 0xFF}}, 2, 4, 0},
    {"G1 hides the box silently", false, 0, 2, 3, "G1 <Enter>", {}, -1, -1, 0},
    {"three characters keep two", false, 0, 2, 3, "123 <Enter>", {{0x23, 0x12}}, 2, 4, 0},
    {"held Enter fills with zeros", false, 0, 0, 14, "<Enter*4>", {{0x0E, 0}, {0x0F, 0}, {0x10, 0}, {0x11, 0}}, 1, 2, 0},
    {"an arrow drops what was typed", false, 0, 5, 5, "7 <Left>", {}, 5, 4, 0},
    {"left never wraps", false, 0, 5, 0, "<Left>", {}, 5, 0, 0},
    {"right never wraps", false, 0, 5, 15, "<Right>", {}, 5, 15, 0},
    {"right then an entry", false, 0, 5, 5, "<Right> 9 <Enter>", {{0x56, 0x09}}, 5, 7, 0},
    {"held arrow moves one cell", false, 0, 5, 5, "<Down*4>", {}, 6, 5, 0},
    {"Esc stores nothing", false, 0, 4, 4, "5 <Esc>", {}, -1, -1, 0},
    {"up at the top of memory stays", false, 0, 0, 4, "<Up>", {}, 0, 4, 0},
    {"up at the view's top scrolls", false, 10, 0, 4, "<Up> 3 <Enter>", {{9 * 16 + 4, 3}}, 0, 5, 9},
    {"down at the view's bottom scrolls", false, 0, 15, 2, "<Down> 4 <Enter>", {{0x102, 4}}, 15, 3, 1},
    {"down on the last page stays", false, 4080, 15, 2, "<Down>", {}, 15, 2, 4080},
    {"Enter at the last cell of the last page goes to FF00", false, 4080, 15, 15, "<Enter> <Enter>",
     {{0xFFFF, 0}, {0xFF00, 0}}, 0, 1, 4080},
    {"Enter at the last cell elsewhere scrolls a row", false, 0, 15, 15, "<Enter> <Enter>", {{0xFF, 0}, {0x100, 0}},
     15, 1, 1},
    {"column 16 is the next row's first byte", false, 0, 3, 16, "5 <Enter>", {{0x40, 5}}, 4, 0, 0},
    {"column 16 of the last page is 65536", false, 4080, 15, 16, "<Enter>", {{65536, 0}}, 0, 0, 4080},
    {"left from column 16", false, 0, 3, 16, "<Left> 1 <Enter>", {{0x3F, 1}}, 4, 0, 0},
    {"right in column 16 stays", false, 0, 3, 16, "<Right>", {}, 3, 16, 0},
    {"down from column 16", false, 0, 3, 16, "<Down> 6 <Enter>", {{0x50, 6}}, 5, 0, 0},

    {"port: empty Enter writes 00", true, 0, 0, 0, "<Enter>", {{0, 0}}, 0, 1, 0},
    {"port: Enter at the last port goes to port 00", true, 0, 15, 15, "<Enter> 1 <Enter>", {{255, 0}, {0, 1}}, 0, 1, 0},
    {"port: up at row 0 stays", true, 0, 0, 3, "<Up>", {}, 0, 3, 0},
    {"port: down at row 15 stays", true, 0, 15, 3, "<Down>", {}, 15, 3, 0},
    {"port: column 16 is the next row's first port", true, 0, 3, 16, "7 <Enter>", {{0x40, 7}}, 4, 0, 0},
    {"port: no port 256 below column 16", true, 0, 14, 16, "<Down> 8 <Enter>", {{0xF0, 8}}, 15, 0, 0},
    {"port: column 16 of the last row is no cell", true, 0, 15, 16, "", {}, -1, -1, 0},
    {"port: G1 hides the box", true, 0, 2, 2, "G1 <Enter>", {}, -1, -1, 0},
    {"port: held Enter", true, 0, 1, 15, "<Enter*2>", {{0x1F, 0}, {0x20, 0}}, 2, 1, 0},
};

TEST_F(Editors, EntryWalks)
{
    for (const Walk& w : walks) {
        SCOPED_TRACE(w.name);
        SetUp();
        HexEditorWindow* editor = nullptr;
        Form2* memory = nullptr;
        if (w.ports) {
            editor = open<Form20>();
        } else {
            editor = memory = open<Form2>();
            memory->scrollbar()->setValue(w.top);
        }
        editor->tabla_MouseUp(cellunits(w.row, w.column));
        typekeys(editor, w.keys);

        auto expected = std::make_unique<MachineState>();
        expected->mem.fill(memfill);
        expected->ports.fill(portfill);
        for (const auto& [where, value] : w.writes)
            (w.ports ? expected->ports[static_cast<size_t>(where)] : expected->mem[static_cast<size_t>(where)]) = value;
        EXPECT_TRUE(st().mem == expected->mem);
        EXPECT_TRUE(st().ports == expected->ports);
        for (const auto& [where, value] : w.writes)
            EXPECT_EQ(w.ports ? st().ports[static_cast<size_t>(where)] : st().mem[static_cast<size_t>(where)], value)
                << where;

        EXPECT_EQ(editor->entryopen(), w.boxrow >= 0);
        if (w.boxrow >= 0) {
            EXPECT_EQ(editor->entryrow(), w.boxrow);
            EXPECT_EQ(editor->entrycolumn(), w.boxcolumn);
            EXPECT_TRUE(editor->entrybox()->hasFocus());
            EXPECT_TRUE(editor->entrybox()->text().isEmpty());
            // The box stands over its cell.
            QRect cell = editor->grid()->entryrect(w.boxrow, w.boxcolumn);
            cell.moveTopLeft(editor->grid()->mapTo(editor, cell.topLeft()));
            EXPECT_EQ(editor->entrybox()->geometry(), cell);
        }
        if (memory) {
            EXPECT_EQ(memory->scrollbar()->value(), w.topafter);
            EXPECT_EQ(memory->toprow(), w.topafter);
        }
        // What an entry wrote shows at once.
        for (const auto& [where, value] : w.writes) {
            const int32_t cell = w.ports ? where : where - (memory ? memory->toprow() * 16 : 0);
            if (cell >= 0 && cell < 256)
                EXPECT_EQ(editor->grid()->shownvalue(cell), value) << where;
        }
        TearDown();
    }
}

TEST_F(Editors, EnterWithNoEntryOpensTheFirstCellOnView)
{
    Form2* memory = open<Form2>();
    memory->scrollbar()->setValue(0x20);
    ASSERT_TRUE(memory->scrollbar()->hasFocus());
    typekeys(memory, "<Enter> 4 <Enter>");
    EXPECT_EQ(st().mem[0x200], 4);
    EXPECT_EQ(memory->entryrow(), 0);
    EXPECT_EQ(memory->entrycolumn(), 1);
    Form20* ports = open<Form20>();
    ASSERT_TRUE(ports->ontopbox()->hasFocus());
    typekeys(ports, "<Enter> 5 <Enter>");
    EXPECT_EQ(st().ports[0], 5);
}

TEST_F(Editors, TabReachesTheBarAndAlwaysOnTop)
{
    Form2* memory = open<Form2>();
    EXPECT_TRUE(memory->scrollbar()->hasFocus());
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    EXPECT_TRUE(memory->ontopbox()->hasFocus());
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    EXPECT_TRUE(memory->scrollbar()->hasFocus());
    // With no entry open the arrow and page keys scroll the view.
    QTest::keyClick(memory->scrollbar(), Qt::Key_PageDown);
    QTest::keyClick(memory->scrollbar(), Qt::Key_Down);
    EXPECT_EQ(memory->toprow(), 17);
    EXPECT_EQ(memory->grid()->shownlabel(0), "0110: ");
}

TEST_F(Editors, TheBoxHidesWhenTheFocusGoesElsewhereInTheProgram)
{
    Form2* memory = open<Form2>();
    // To another control of the window.
    memory->tabla_MouseUp(cellunits(1, 1));
    typekeys(memory, "4");
    memory->ontopbox()->setFocus(Qt::TabFocusReason);
    EXPECT_FALSE(memory->entryopen());
    // A click on the table hides it too, before the release opens the next cell.
    memory->tabla_MouseUp(cellunits(1, 1));
    QTest::mousePress(memory->grid(), Qt::LeftButton, {}, memory->grid()->cellrect(0, 0).center());
    EXPECT_FALSE(memory->entryopen());
    // To another window of the program.
    memory->tabla_MouseUp(cellunits(2, 2));
    typekeys(memory, "4");
    Form20* ports = open<Form20>();
    EXPECT_FALSE(memory->entryopen());
    // A switch to another application keeps it, text and all.
    ports->tabla_MouseUp(cellunits(3, 3));
    typekeys(ports, "a");
    QApplication::setActiveWindow(nullptr);
    EXPECT_TRUE(ports->entryopen());
    QApplication::setActiveWindow(ports);
    EXPECT_TRUE(ports->entryopen());
    EXPECT_TRUE(ports->entrybox()->hasFocus());
    EXPECT_EQ(ports->entrybox()->text(), "a");
    typekeys(ports, "<Enter>");
    EXPECT_EQ(st().ports[0x33], 0x0A);
    EXPECT_EQ(st().mem[0x22], memfill);
    EXPECT_EQ(st().mem[0x11], memfill);
}

TEST_F(Editors, ARedrawLeavesAnOpenBoxAndItsTextAlone)
{
    Form2* memory = open<Form2>();
    memory->tabla_MouseUp(cellunits(4, 4));
    typekeys(memory, "c");
    st().mem[0x44] = 0x99;
    toolrouter().memorijaprint();
    memory->grid()->refresh();
    waitframes();
    EXPECT_EQ(memory->grid()->shownvalue(0x44), 0x99);
    EXPECT_TRUE(memory->entryopen());
    EXPECT_EQ(memory->entrybox()->text(), "c");
}

// ---------------------------------------------------------------------------------------------
// Clicks

TEST_F(Editors, ClickMapInUnits)
{
    struct Row {
        double x, y;
        HexCell cell;
    };
    const HexCell none;
    const Row rows[] = {
        {0, 0, none},          {629.9, 100, none},    {630, 100, none},      {630.1, 0, {0, 0}},
        {944.9, 224.9, {0, 0}}, {945, 225, {1, 1}},   {5669.9, 10, {0, 15}}, {5670, 10, {0, 16}},
        {5714, 10, {0, 16}},   {5714, 3599, {15, 16}}, {5715, 10, none},     {700, 3599.9, {15, 0}},
        {700, 3600, none},     {700, -0.5, none},     {5680, 1600, {7, 16}},
    };
    for (const Row& r : rows)
        EXPECT_TRUE(hexcellat(r.x, r.y) == r.cell) << r.x << "," << r.y;
    // The sliver on every row.
    for (int row = 0; row < 16; ++row)
        EXPECT_TRUE(hexcellat(5700, 225.0 * row + 200) == (HexCell{row, 16})) << row;
}

TEST_F(Editors, ClicksMapByTheFontsMetrics)
{
    Form2* memory = open<Form2>();
    HexGrid* grid = memory->grid();
    const int cw = grid->characterwidth();
    struct Row {
        double chars, lines; // a point in characters and lines from the table's first character
        int row, column;     // -1: no entry
    };
    const Row rows[] = {{7, 0.5, 0, 0}, {8.9, 0.5, 0, 0}, {9.1, 3.5, 3, 1}, {53.5, 15.5, 15, 15},
                        {54.2, 2.5, 2, 16}, {5.5, 4.5, -1, -1}, {3, 0.5, -1, -1}};
    const QPoint origin = grid->cellrect(0, 0).topLeft() - QPoint(6 * cw, 0);
    for (const Row& r : rows) {
        memory->ontopbox()->setFocus(); // no entry open
        const QPoint p = origin + QPoint(static_cast<int>(r.chars * cw), static_cast<int>(r.lines * grid->lineheight()));
        QTest::mouseClick(grid, Qt::LeftButton, {}, p);
        EXPECT_EQ(memory->entryopen(), r.row >= 0) << r.chars << "," << r.lines;
        if (r.row >= 0) {
            EXPECT_EQ(memory->entryrow(), r.row);
            EXPECT_EQ(memory->entrycolumn(), r.column);
            EXPECT_EQ(memory->entryaddress(), r.row * 16 + r.column);
        }
    }
}

// ---------------------------------------------------------------------------------------------
// What the table shows

// Fills memory at 0 with a program and puts it in front of the loop.
void program(const std::vector<int32_t>& bytes)
{
    for (size_t i = 0; i < bytes.size(); ++i)
        st().mem[i] = bytes[i];
}

// MVI A,5AH; STA 0020H; OUT 03H; IN 04H; HLT
const std::vector<int32_t> stepper = {0x3E, 0x5A, 0x32, 0x20, 0x00, 0xD3, 0x03, 0xDB, 0x04, 0x76};
// MVI A,0; loop: ADI 2; STA 0021H; OUT 03H; NOP; JMP loop. Five instructions a pass, so that the
// value at the end of a run's time slice (a power of two instructions) changes from slice to slice.
const std::vector<int32_t> filler = {0x3E, 0x00, 0xC6, 0x02, 0x32, 0x21, 0x00, 0xD3, 0x03, 0x00, 0xC3, 0x02, 0x00};

TEST_F(Editors, TheTableFollowsByCause)
{
    struct Cause {
        const char* name;
        std::function<void(Editors&, Form2*, Form20*)> act;
        bool ports;  // the cell is a port, else a memory address on the first page
        int cell;
        bool followson, followsoff;
    };
    auto step = [](Editors& t, int n) {
        for (int i = 0; i < n; ++i)
            t.form1().action("menustep")->trigger();
    };
    auto startstep = [](Editors& t) {
        program(stepper);
        t.form1().action("menuspeed1")->trigger();
        t.form1().action("menustart")->trigger();
    };
    auto run = [](Editors& t, int rate) {
        program(filler);
        t.form1().action(("menuspeed" + std::to_string(rate)).c_str())->trigger();
        QTimer::singleShot(300, [&t] { t.form1().action("menustop")->trigger(); });
        t.form1().action("menustart")->trigger();
    };
    const Cause causes[] = {
        {"Step writes memory", [&](Editors& t, Form2*, Form20*) { startstep(t); step(t, 2); }, false, 0x20, true, false},
        {"Step does OUT", [&](Editors& t, Form2*, Form20*) { startstep(t); step(t, 3); }, true, 3, true, false},
        {"Step does IN",
         [&](Editors& t, Form2*, Form20*) {
             st().optinprompt = "ON";
             startstep(t);
             step(t, 3);
             auto* timer = new QTimer(&t.form1());
             QObject::connect(timer, &QTimer::timeout, [timer] {
                 for (QWidget* w : QApplication::topLevelWidgets()) {
                     auto* d = qobject_cast<InEntryDialog*>(w);
                     if (d && d->isVisible()) {
                         timer->stop();
                         d->text1()->setText("77");
                         d->enterclicked();
                         return;
                     }
                 }
             });
             timer->start(10);
             step(t, 1);
         },
         true, 4, true, false},
        {"rate 5", [&](Editors& t, Form2*, Form20*) { run(t, 5); }, false, 0x21, true, false},
        {"rate 5 OUT", [&](Editors& t, Form2*, Form20*) { run(t, 5); }, true, 3, true, false},
        {"rate 6", [&](Editors& t, Form2*, Form20*) { run(t, 6); }, false, 0x21, true, false},
        {"rate 6 OUT", [&](Editors& t, Form2*, Form20*) { run(t, 6); }, true, 3, true, false},
        {"Clear", [](Editors& t, Form2*, Form20*) {
             menuclear_Click(st(), &t.form1(), toolrouter().maincommands.filemenuhooks()); },
         false, 0x30, true, false},
        {"Load",
         [](Editors& t, Form2*, Form20*) {
             QTemporaryDir dir;
             const QString path = dir.filePath("prog.obj");
             QFile f(path);
             ASSERT_TRUE(f.open(QIODevice::WriteOnly));
             f.write(QByteArray(0x40, '\x5c'));
             f.close();
             loadchosenfile(st(), &t.form1(), toolrouter().maincommands.filemenuhooks(), path, 1);
         },
         false, 0x30, true, false},
        {"Timer1",
         [](Editors&, Form2* m, Form20* p) {
             st().mem[0x30] = 0x66;
             st().ports[0x30] = 0x66;
             m->timer()->start();
             p->timer()->start();
             QTest::qWait(650);
         },
         false, 0x30, true, true},
        {"Timer1 ports",
         [](Editors&, Form2* m, Form20* p) {
             st().ports[0x31] = 0x67;
             m->timer()->start();
             p->timer()->start();
             QTest::qWait(650);
         },
         true, 0x31, true, true},
        {"scroll",
         [](Editors&, Form2* m, Form20*) {
             st().mem[0x130] = 0x68;
             m->scrollbar()->setValue(0x10);
         },
         false, 0x30, true, true},
    };
    for (const Cause& c : causes) {
        for (const bool on : {true, false}) {
            SCOPED_TRACE(std::string(c.name) + (on ? " ON" : " OFF"));
            SetUp();
            setrefresh(on);
            Form2* memory = open<Form2>();
            Form20* ports = open<Form20>();
            // Timer1 keeps every table current by itself; the causes are told apart without it.
            memory->timer()->stop();
            ports->timer()->stop();
            HexEditorWindow* editor = c.ports ? static_cast<HexEditorWindow*>(ports) : memory;
            const int32_t before = editor->grid()->shownvalue(c.cell);
            c.act(*this, memory, ports);
            waitframes();
            if (st().running)
                form1().action("menustop")->trigger();
            const int32_t now = c.ports ? st().ports[static_cast<size_t>(c.cell)]
                                        : st().mem[static_cast<size_t>(memory->toprow() * 16 + c.cell)];
            ASSERT_NE(now, before) << "the cause changed nothing";
            EXPECT_EQ(editor->grid()->shownvalue(c.cell) == now, on ? c.followson : c.followsoff);
            TearDown();
        }
    }
}

TEST_F(Editors, TheTableMovesDuringARunAtEveryFastRate)
{
    for (int rate : {5, 6}) {
        SCOPED_TRACE(rate);
        SetUp();
        setrefresh(true);
        Form2* memory = open<Form2>();
        Form20* ports = open<Form20>();
        program(filler);
        std::set<int32_t> seenmem, seenport;
        long paints = 0;
        QTimer sample;
        QObject::connect(&sample, &QTimer::timeout, [&] {
            seenmem.insert(memory->grid()->shownvalue(0x21));
            seenport.insert(ports->grid()->shownvalue(3));
        });
        sample.start(25);
        const long paintsbefore = memory->grid()->paints();
        form1().action(("menuspeed" + std::to_string(rate)).c_str())->trigger();
        QTimer::singleShot(400, [this] { form1().action("menustop")->trigger(); });
        form1().action("menustart")->trigger();
        paints = memory->grid()->paints() - paintsbefore;
        EXPECT_GE(seenmem.size(), 3u);
        EXPECT_GE(seenport.size(), 3u);
        // Repainted at a frame's pace, never once per instruction.
        EXPECT_GE(paints, 3);
        EXPECT_LT(paints, 400 / 8);
        TearDown();
    }
}

TEST_F(Editors, AnIdleTableRepaintsNothingAtItsTick)
{
    Form2* memory = open<Form2>();
    waitframes();
    const long paints = memory->grid()->paints();
    QTest::qWait(1100); // two ticks of Timer1
    EXPECT_EQ(memory->grid()->paints(), paints);
    st().mem[0x05] = 0x42;
    QTest::qWait(600);
    EXPECT_GT(memory->grid()->paints(), paints);
    EXPECT_EQ(memory->grid()->shownvalue(0x05), 0x42);
}

TEST_F(Editors, TheGrabbedPixelsShowTheValues)
{
    st().mem[0] = 0x3C;
    st().mem[5] = 0x3C;
    st().mem[6] = 0xC3;
    Form2* memory = open<Form2>();
    HexGrid* grid = memory->grid();
    auto cellimage = [grid](int column) {
        const QImage all = grid->grab().toImage();
        const qreal s = all.devicePixelRatio();
        const QRect r = grid->cellrect(0, column);
        return all.copy(QRect(QPoint(qRound(r.x() * s), qRound(r.y() * s)), r.size() * s));
    };
    EXPECT_EQ(cellimage(0), cellimage(5));
    EXPECT_NE(cellimage(0), cellimage(6));
    st().mem[6] = 0x3C;
    memory->grid()->refresh();
    EXPECT_EQ(cellimage(0), cellimage(6));
    // A cell's pixels are not the same for every value: the blank cell differs.
    EXPECT_NE(cellimage(0), cellimage(16));
}

TEST_F(Editors, AnEntryDuringARunIsSeenByTheNextInstruction)
{
    // LDA 0030H; OUT 05H; JMP 0
    program({0x3A, 0x30, 0x00, 0xD3, 0x05, 0xC3, 0x00, 0x00});
    Form2* memory = open<Form2>();
    Form20* ports = open<Form20>();
    form1().action("menuspeed1")->trigger();
    form1().action("menustart")->trigger();
    memory->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(memory));
    memory->tabla_MouseUp(cellunits(3, 0));
    typekeys(memory, "77 <Enter>");
    form1().action("menustep")->trigger();
    EXPECT_EQ(st().a, 0x77);
    form1().action("menustep")->trigger();
    EXPECT_EQ(st().ports[5], 0x77);
    // A port entered during the run is what IN reads next.
    ports->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(ports));
    ports->tabla_MouseUp(cellunits(0, 6));
    typekeys(ports, "e1 <Enter>");
    st().mem[3] = 0xDB;
    st().mem[4] = 0x06; // IN 06H at the next pass
    form1().action("menustep")->trigger();
    form1().action("menustep")->trigger();
    form1().action("menustep")->trigger();
    EXPECT_EQ(st().a, 0xE1);
    form1().action("menustop")->trigger();
}

// ---------------------------------------------------------------------------------------------
// The ports editor and the devices

// A stand-in for the devices window that notes the refreshes it is asked for.
class DeviceWindow : public QWidget, public ToolWindow {
public:
    DeviceWindow() { toolrouter().opened(Tool::Form5, this, this); }
    ~DeviceWindow() override { toolrouter().closed(Tool::Form5); }
    void devicerefresh(int n, int32_t value) override { refreshed.emplace_back(n, value); }
    std::vector<std::pair<int, int32_t>> refreshed;
};

TEST_F(Editors, APortEntryReachesTheInputDevicesOnThatPort)
{
    struct Row {
        bool enabled, input, sameport, devicewindow;
        bool takes;
    };
    const Row rows[] = {
        {true, true, true, true, true},    {true, true, true, false, true},  {false, true, true, true, false},
        {true, false, true, true, false},  {true, true, false, true, false},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(testing::Message() << r.enabled << r.input << r.sameport << r.devicewindow);
        SetUp();
        // Devices 2 and 4 alike: both take the value, in order.
        for (size_t n : {2u, 4u}) {
            st().devenabled[n] = r.enabled;
            st().devinput[n] = r.input;
            st().devport[n] = r.sameport ? 0x12 : 0x13;
            st().devvalue[n] = 0x55;
        }
        std::unique_ptr<DeviceWindow> devices;
        if (r.devicewindow)
            devices = std::make_unique<DeviceWindow>();
        Form20* ports = open<Form20>();
        ports->tabla_MouseUp(cellunits(1, 2));
        typekeys(ports, "9c <Enter>");
        EXPECT_EQ(st().ports[0x12], 0x9C);
        for (size_t n : {2u, 4u})
            EXPECT_EQ(st().devvalue[n], r.takes ? 0x9C : 0x55) << n;
        EXPECT_EQ(st().devvalue[1], 0);
        if (devices) {
            const std::vector<std::pair<int, int32_t>> expected =
                r.takes ? std::vector<std::pair<int, int32_t>>{{2, 0x9C}, {4, 0x9C}} : std::vector<std::pair<int, int32_t>>{};
            EXPECT_EQ(devices->refreshed, expected);
        }
        TearDown();
    }
}

// ---------------------------------------------------------------------------------------------
// Wheel

TEST_F(Editors, WheelNotchesMoveThreeRows)
{
    struct Row {
        int top;
        std::vector<int> deltas;
        int after;
    };
    const Row rows[] = {
        {10, {120}, 7},           {10, {-120}, 13},         {1, {120}, 0},       {4079, {-120}, 4080},
        {10, {40, 40, 40}, 7},    {10, {60, -60, 60, 60}, 7},  {10, {240}, 4},      {10, {-30, -30, -30, -30}, 13},
    };
    Form2* memory = open<Form2>();
    for (const Row& r : rows) {
        memory->scrollbar()->setValue(r.top);
        for (QWidget* target : {static_cast<QWidget*>(memory->grid()), static_cast<QWidget*>(memory->scrollbar())}) {
            memory->scrollbar()->setValue(r.top);
            for (int d : r.deltas) {
                const QPointF at = QPointF(target->rect().center());
                QWheelEvent e(at, target->mapToGlobal(at), QPoint(), QPoint(0, d), Qt::NoButton, Qt::NoModifier,
                              Qt::NoScrollPhase, false);
                QApplication::sendEvent(target, &e);
            }
            EXPECT_EQ(memory->toprow(), r.after) << r.top << " " << target->objectName().toStdString();
        }
    }
    EXPECT_EQ(memory->grid()->shownlabel(0), QString::fromStdString(hexword(13 * 16)) + ": ");
}

// ---------------------------------------------------------------------------------------------
// Window

TEST_F(Editors, CaptionsHeaderAndLabels)
{
    Form2* memory = open<Form2>();
    Form20* ports = open<Form20>();
    EXPECT_EQ(memory->windowTitle(), "Memory Editor");
    EXPECT_EQ(ports->windowTitle(), "I/O Ports Editor");
    for (HexEditorWindow* w : {static_cast<HexEditorWindow*>(memory), static_cast<HexEditorWindow*>(ports)}) {
        EXPECT_EQ(w->header()->text(), " 0  1  2  3  4  5  6  7  8  9  A  B  C  D  E  F");
        EXPECT_EQ(w->ontopbox()->text(), "Always On Top");
        EXPECT_EQ(w->timer()->interval(), 500);
        EXPECT_FALSE(w->entryopen());
        EXPECT_EQ(w->entrybox()->maxLength(), 2);
    }
    EXPECT_EQ(memory->scrollbar()->maximum(), 4080);
    EXPECT_EQ(memory->scrollbar()->pageStep(), 16);
    EXPECT_EQ(memory->grid()->shownlabel(0), "0000: ");
    EXPECT_EQ(memory->grid()->shownlabel(15), "00F0: ");
    memory->scrollbar()->setValue(4080);
    EXPECT_EQ(memory->grid()->shownlabel(15), "FFF0: ");
    EXPECT_EQ(ports->grid()->shownlabel(0), "00h:  ");
    EXPECT_EQ(ports->grid()->shownlabel(15), "F0h:  ");
    EXPECT_EQ(ports->grid()->shownvalue(255), portfill);
}

TEST_F(Editors, OneInstanceFromTheToolsMenu)
{
    toolrouter().setfactory(Tool::Form2, [] { return new Form2; });
    toolrouter().setfactory(Tool::Form20, [] { return new Form20; });
    form1().action("menueditor")->trigger();
    form1().action("menuio")->trigger();
    QWidget* memory = toolrouter().window(Tool::Form2);
    QWidget* ports = toolrouter().window(Tool::Form20);
    ASSERT_NE(memory, nullptr);
    ASSERT_NE(ports, nullptr);
    EXPECT_TRUE(st().Form2 && st().Form20);
    form1().action("menueditor")->trigger();
    EXPECT_EQ(toolrouter().window(Tool::Form2), memory);
    EXPECT_EQ(form1().action("menueditor")->shortcut(), QKeySequence("Ctrl+M"));
    EXPECT_EQ(form1().action("menuio")->shortcut(), QKeySequence("Ctrl+I"));
    form1().close();
    EXPECT_FALSE(st().Form2 || st().Form20);
    toolrouter().setfactory(Tool::Form2, nullptr);
    toolrouter().setfactory(Tool::Form20, nullptr);
}

TEST_F(Editors, PositionsReadByTheOptionAndAlwaysWritten)
{
    struct Row {
        bool ports;
        const char* save;
    };
    const Row rows[] = {{false, "ON"}, {false, "OFF"}, {true, "ON"}, {true, "OFF"}};
    for (const Row& r : rows) {
        SCOPED_TRACE(std::string(r.ports ? "Form20 " : "Form2 ") + r.save);
        SetUp();
        const std::string name = r.ports ? "Window20" : "Window2";
        regwrite(name + " Left", 6000);
        regwrite(name + " Top", 4500);
        st().optsavepositions = r.save;
        QWidget* w = r.ports ? static_cast<QWidget*>(open<Form20>()) : static_cast<QWidget*>(open<Form2>());
        const QRect area = w->screen()->availableGeometry();
        const QRect frame = w->frameGeometry();
        if (std::string(r.save) == "ON")
            EXPECT_EQ(w->geometry().topLeft(), QPoint(400, 300));
        else
            EXPECT_LE((frame.center() - area.center()).manhattanLength(), 2);
        w->move(120, 90);
        QApplication::processEvents();
        const QPoint at = w->geometry().topLeft();
        w->close();
        EXPECT_EQ(regread(name + " Left"), std::to_string(pixelstotwips(at.x())));
        EXPECT_EQ(regread(name + " Top"), std::to_string(pixelstotwips(at.y())));
        TearDown();
    }
}

TEST_F(Editors, Screenshots)
{
    for (int i = 0; i < 256; ++i) {
        st().mem[0x100 + static_cast<size_t>(i)] = (i * 37) & 0xFF;
        st().ports[static_cast<size_t>(i)] = i < 16 ? i * 17 : 0;
    }
    Form2* memory = open<Form2>();
    memory->scrollbar()->setValue(0x10);
    memory->tabla_MouseUp(cellunits(3, 5));
    typekeys(memory, "4");
    test::saveshot(memory, "form2-editing");
    memory->tabla_MouseUp(cellunits(6, 16));
    test::saveshot(memory, "form2-column16");
    Form20* ports = open<Form20>();
    ports->tabla_MouseUp(cellunits(15, 15));
    test::saveshot(ports, "form20-editing");
    EXPECT_TRUE(ports->entryopen());
}

} // namespace
