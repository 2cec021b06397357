// The Memory Editor and the I/O Ports Editor: entry walks by keys, the click map, what makes the
// table follow memory and ports (by cause, refresh option on and off), its repaints, the input
// devices fed from the ports editor, the wheel, the focus and the window positions.
#include "sim/form1.h"
#include "sim/machinestate.h"
#include "sim/portdialogs.h"
#include "sim/programfiles_ui.h"
#include "sim/settings.h"
#include "tools/form2.h"
#include "tools/form20.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QFile>
#include <QImage>
#include <QKeyEvent>
#include <QLineEdit>
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
#include <tuple>
#include <utility>
#include <vector>

using namespace kelvane;

namespace {

// Odd, so that the programs below, which store even values only, always change what they touch.
constexpr int32_t memfill = 0x11, portfill = 0x23;
// MVI A,0; loop: ADI 2; STA 0021H; OUT 03H; NOP; JMP loop: five instructions a pass, so the value
// at the end of a time slice (a power of two instructions) moves on from slice to slice.
const std::vector<int32_t> filler = {0x3E, 0x00, 0xC6, 0x02, 0x32, 0x21, 0x00, 0xD3, 0x03, 0x00, 0xC3, 0x02, 0x00};
// MVI A,5AH; STA 0020H; OUT 03H; IN 04H; HLT
const std::vector<int32_t> stepper = {0x3E, 0x5A, 0x32, 0x20, 0x00, 0xD3, 0x03, 0xDB, 0x04, 0x76};

MachineState& st()
{
    return machinestate();
}

// A point inside a cell in the table's units (column 16: the sliver right of column F).
QPointF cellunits(int row, int column)
{
    return {column < 16 ? 630.0 + 315 * column + 150 : 5690.0, 225.0 * row + 110};
}

// Keys to whatever has the focus: "<Enter>", "<Esc>", "<Left>" ... a press and its release,
// "<Down*3>" a key held (auto-repeat release/press pairs between); other words are typed.
void typekeys(QWidget* window, const std::string& script)
{
    const std::vector<std::pair<std::string, Qt::Key>> keys = {{"Enter", Qt::Key_Return}, {"Esc", Qt::Key_Escape},
        {"Left", Qt::Key_Left}, {"Right", Qt::Key_Right}, {"Up", Qt::Key_Up}, {"Down", Qt::Key_Down}};
    const auto target = [window] { return QApplication::focusWidget() ? QApplication::focusWidget() : window; };
    std::istringstream in(script);
    for (std::string word; in >> word;) {
        if (word.front() != '<') {
            QTest::keyClicks(target(), QString::fromStdString(word));
            continue;
        }
        const auto star = word.find('*');
        const int held = star == std::string::npos ? 1 : std::stoi(word.substr(star + 1));
        Qt::Key key = Qt::Key_unknown;
        for (const auto& [name, k] : keys)
            key = word.substr(1, name.size()) == name ? k : key;
        auto send = [&](QEvent::Type type, bool repeat) {
            QKeyEvent e(type, key, Qt::NoModifier, key == Qt::Key_Return ? "\r" : "", repeat);
            QApplication::sendEvent(target(), &e);
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
        st().optrefreshmemory = st().optsavepositions = "ON";
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
    void fresh()
    {
        TearDown();
        SetUp();
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
    // The main window's menu commands (made at the first one).
    void act(const std::string& name)
    {
        if (!main) {
            main = std::make_unique<Form1>();
            main->messagesink = [](const std::string&) {};
            main->show();
            st().optinprompt = "OFF";
        }
        main->action(name.c_str())->trigger();
    }
    static void program(const std::vector<int32_t>& bytes) { std::copy(bytes.begin(), bytes.end(), st().mem.begin()); }

    std::unique_ptr<Form1> main;
};

// ---------------------------------------------------------------------------------------------

struct Walk {
    const char* name;
    bool ports;                                      // the I/O Ports Editor, else the Memory Editor
    int top, row, column;                            // view's top row; cell clicked (-1: none)
    const char* keys;
    std::vector<std::pair<int32_t, int32_t>> writes; // (address or port, value)
    int boxrow, boxcolumn, topafter;                 // where the box stands after (-1: hidden)
};

const Walk walks[] = {
    {"empty Enter writes 00", false, 0, 0, 0, "<Enter>", {{0x00, 0x00}}, 0, 1, 0},
    {"A writes 0A", false, 0, 2, 3, "A <Enter>", {{0x23, 0x0A}}, 2, 4, 0},
    {"ff writes FF", false, 0, 2, 3, "ff <Enter>", {{0x23, 0xFF}}, 2, 4, 0},
    {"G1 hides the box silently", false, 0, 2, 3, "G1 <Enter>", {}, -1, -1, 0},
    {"three characters keep two", false, 0, 2, 3, "123 <Enter>", {{0x23, 0x12}}, 2, 4, 0},
    {"held Enter fills zeros", false, 0, 0, 14, "<Enter*4>", {{0x0E, 0}, {0x0F, 0}, {0x10, 0}, {0x11, 0}}, 1, 2, 0},
    {"Enter with no entry open", false, 0x20, -1, -1, "<Enter> 4 <Enter>", {{0x200, 4}}, 0, 1, 0x20},
    {"an arrow drops what was typed", false, 0, 5, 5, "7 <Left>", {}, 5, 4, 0},
    {"left never wraps", false, 0, 5, 0, "<Left>", {}, 5, 0, 0},
    {"right never wraps", false, 0, 5, 15, "<Right>", {}, 5, 15, 0},
    {"right, then an entry", false, 0, 5, 5, "<Right> 9 <Enter>", {{0x56, 0x09}}, 5, 7, 0},
    {"a held arrow moves one cell", false, 0, 5, 5, "<Down*4>", {}, 6, 5, 0},
    {"Esc stores nothing", false, 0, 4, 4, "5 <Esc>", {}, -1, -1, 0},
    {"up at the top of memory stays", false, 0, 0, 4, "<Up>", {}, 0, 4, 0},
    {"up at the view's top scrolls", false, 10, 0, 4, "<Up> 3 <Enter>", {{9 * 16 + 4, 3}}, 0, 5, 9},
    {"down at the view's bottom scrolls", false, 0, 15, 2, "<Down> 4 <Enter>", {{0x102, 4}}, 15, 3, 1},
    {"down on the last page stays", false, 4080, 15, 2, "<Down>", {}, 15, 2, 4080},
    {"last cell of the last page: on to FF00", false, 4080, 15, 15, "<Enter> <Enter>", {{0xFFFF, 0}, {0xFF00, 0}}, 0, 1, 4080},
    {"last cell elsewhere: a row on", false, 0, 15, 15, "<Enter> <Enter>", {{0xFF, 0}, {0x100, 0}}, 15, 1, 1},
    {"column 16 is the next row's first byte", false, 0, 3, 16, "5 <Enter>", {{0x40, 5}}, 4, 0, 0},
    {"column 16 of the last page is 65536", false, 4080, 15, 16, "<Enter>", {{65536, 0}}, 0, 0, 4080},
    {"left from column 16", false, 0, 3, 16, "<Left> 1 <Enter>", {{0x3F, 1}}, 4, 0, 0},
    {"right in column 16 stays", false, 0, 3, 16, "<Right>", {}, 3, 16, 0},
    {"down from column 16", false, 0, 3, 16, "<Down> 6 <Enter>", {{0x50, 6}}, 5, 0, 0},
    {"port: empty Enter writes 00", true, 0, 0, 0, "<Enter>", {{0, 0}}, 0, 1, 0},
    {"port: Enter with no entry open", true, 0, -1, -1, "<Enter> 5 <Enter>", {{0, 5}}, 0, 1, 0},
    {"port: last port, on to port 00", true, 0, 15, 15, "<Enter> 1 <Enter>", {{255, 0}, {0, 1}}, 0, 1, 0},
    {"port: up at row 0 stays", true, 0, 0, 3, "<Up>", {}, 0, 3, 0},
    {"port: down at row 15 stays", true, 0, 15, 3, "<Down>", {}, 15, 3, 0},
    {"port: column 16 is the next row's first", true, 0, 3, 16, "7 <Enter>", {{0x40, 7}}, 4, 0, 0},
    {"port: no port 256 below column 16", true, 0, 14, 16, "<Down> 8 <Enter>", {{0xF0, 8}}, 15, 0, 0},
    {"port: column 16 of the last row is no cell", true, 0, 15, 16, "", {}, -1, -1, 0},
    {"port: G1 hides the box", true, 0, 2, 2, "G1 <Enter>", {}, -1, -1, 0},
};

TEST_F(Editors, EntryWalks)
{
    for (const Walk& w : walks) {
        SCOPED_TRACE(w.name);
        fresh();
        Form2* memory = w.ports ? nullptr : open<Form2>();
        HexEditorWindow* editor = memory ? static_cast<HexEditorWindow*>(memory) : open<Form20>();
        if (memory)
            memory->scrollbar()->setValue(w.top);
        if (w.row >= 0)
            editor->tabla_MouseUp(cellunits(w.row, w.column));
        typekeys(editor, w.keys);
        auto expected = std::make_unique<MachineState>(); // nothing else written, in mem or ports
        expected->mem.fill(memfill);
        expected->ports.fill(portfill);
        for (const auto& [at, value] : w.writes)
            (w.ports ? expected->ports[static_cast<size_t>(at)] : expected->mem[static_cast<size_t>(at)]) = value;
        EXPECT_TRUE(st().mem == expected->mem && st().ports == expected->ports);
        ASSERT_EQ(editor->entryopen(), w.boxrow >= 0);
        if (w.boxrow >= 0) {
            EXPECT_EQ(std::make_pair(editor->entryrow(), editor->entrycolumn()), std::make_pair(w.boxrow, w.boxcolumn));
            EXPECT_TRUE(editor->entrybox()->hasFocus() && editor->entrybox()->text().isEmpty());
            QRect over = editor->grid()->entryrect(w.boxrow, w.boxcolumn);
            over.moveTopLeft(editor->grid()->mapTo(editor, over.topLeft()));
            EXPECT_EQ(editor->entrybox()->geometry(), over);
        }
        if (memory)
            EXPECT_EQ(memory->toprow(), w.topafter);
        for (const auto& [at, value] : w.writes) { // shown at once
            const int32_t cell = memory ? at - memory->toprow() * 16 : at;
            if (cell >= 0 && cell < 256)
                EXPECT_EQ(editor->grid()->shownvalue(cell), value) << at;
        }
    }
}

TEST_F(Editors, ClickMap)
{
    const HexCell none;
    const std::vector<std::pair<QPointF, HexCell>> units = {{{0, 0}, none}, {{629.9, 100}, none}, {{630, 100}, none},
        {{630.1, 0}, {0, 0}}, {{944.9, 224.9}, {0, 0}}, {{945, 225}, {1, 1}}, {{5669.9, 10}, {0, 15}},
        {{5670, 10}, {0, 16}}, {{5714, 3599}, {15, 16}}, {{5715, 10}, none}, {{700, 3599.9}, {15, 0}},
        {{700, 3600}, none}, {{700, -0.5}, none}};
    for (const auto& [p, cell] : units)
        EXPECT_TRUE(hexcellat(p.x(), p.y()) == cell) << p.x() << "," << p.y();
    for (int row = 0; row < 16; ++row) // the sliver on every row
        EXPECT_TRUE(hexcellat(5700, 225.0 * row + 200) == (HexCell{row, 16})) << row;
    // Real clicks, in characters and lines from the table's first character, by the font's metrics.
    Form2* memory = open<Form2>();
    HexGrid* grid = memory->grid();
    const QPoint origin = grid->cellrect(0, 0).topLeft() - QPoint(6 * grid->characterwidth(), 0);
    const std::vector<std::pair<QPointF, HexCell>> clicks = {
        {{8.9, 0.5}, {0, 0}}, {{9.1, 3.5}, {3, 1}}, {{53.5, 15.5}, {15, 15}}, {{54.2, 2.5}, {2, 16}}, {{5.5, 4.5}, none}};
    for (const auto& [at, cell] : clicks) {
        memory->ontopbox()->setFocus(); // no entry open
        QTest::mouseClick(grid, Qt::LeftButton, {},
                          origin + QPoint(qRound(at.x() * grid->characterwidth()), qRound(at.y() * grid->lineheight())));
        EXPECT_TRUE((memory->entryopen() ? HexCell{memory->entryrow(), memory->entrycolumn()} : none) == cell) << at.x();
    }
}

TEST_F(Editors, TheTableFollowsByCause)
{
    auto step = [this](int steps) {
        program(stepper);
        act("menuspeed1");
        act("menustart");
        for (int i = 0; i < steps; ++i)
            act("menustep");
    };
    auto run = [this](int rate) {
        program(filler);
        act("menuspeed" + std::to_string(rate));
        QTimer::singleShot(300, [this] { act("menustop"); });
        act("menustart");
    };
    auto in77 = [&] { // the IN prompt answered 77
        st().optinprompt = "ON";
        step(3);
        QTimer timer;
        QObject::connect(&timer, &QTimer::timeout, [&timer] {
            for (QWidget* w : QApplication::topLevelWidgets())
                if (auto* d = qobject_cast<InEntryDialog*>(w); d && d->isVisible() && timer.isActive()) {
                    timer.stop();
                    d->text1()->setText("77");
                    d->enterclicked();
                }
        });
        timer.start(10);
        act("menustep");
    };
    auto load = [this] {
        QTemporaryDir dir;
        QFile f(dir.filePath("prog.obj"));
        ASSERT_TRUE(f.open(QIODevice::WriteOnly) && f.write(QByteArray(0x40, '\x5c')) == 0x40);
        f.close();
        loadchosenfile(st(), main.get(), toolrouter().maincommands.filemenuhooks(), f.fileName(), 1);
    };
    struct Cause {
        const char* name;
        std::function<void(Form2*)> act;
        bool port; // the cell shows a port, else memory
        int cell;
        bool always; // also with the refresh option off
    };
    const Cause causes[] = {
        {"Step writes memory", [&](Form2*) { step(2); }, false, 0x20, false},
        {"Step does OUT", [&](Form2*) { step(3); }, true, 3, false},
        {"Step does IN", [&](Form2*) { in77(); }, true, 4, false},
        {"rate 5, memory", [&](Form2*) { run(5); }, false, 0x21, false},
        {"rate 5, OUT", [&](Form2*) { run(5); }, true, 3, false},
        {"rate 6, memory", [&](Form2*) { run(6); }, false, 0x21, false},
        {"rate 6, OUT", [&](Form2*) { run(6); }, true, 3, false},
        {"Clear", [this](Form2*) { menuclear_Click(st(), main.get(), toolrouter().maincommands.filemenuhooks()); },
         false, 0x30, false},
        {"Load", [&](Form2*) { load(); }, false, 0x30, false},
        {"Timer1, memory", [](Form2*) { st().mem[0x30] = 0x66; QTest::qWait(650); }, false, 0x30, true},
        {"Timer1, ports", [](Form2*) { st().ports[0x31] = 0x67; QTest::qWait(650); }, true, 0x31, true},
        {"scroll", [](Form2* m) { st().mem[0x130] = 0x68; m->scrollbar()->setValue(0x10); }, false, 0x30, true},
    };
    for (const Cause& c : causes) {
        for (const bool on : {true, false}) {
            SCOPED_TRACE(std::string(c.name) + (on ? " ON" : " OFF"));
            fresh();
            act("menuspeed4"); // the main window stands
            if (main->action("menurefreshmemoryeditor")->isChecked() != on)
                act("menurefreshmemoryeditor");
            Form2* memory = open<Form2>();
            Form20* ports = open<Form20>();
            HexEditorWindow* editor = c.port ? static_cast<HexEditorWindow*>(ports) : memory;
            if (!c.always || std::string(c.name) == "scroll") { // Timer1 would keep every table current
                memory->timer()->stop();
                ports->timer()->stop();
            }
            const int32_t before = editor->grid()->shownvalue(c.cell);
            c.act(memory);
            QTest::qWait(80); // a few frames
            if (st().running)
                act("menustop");
            const size_t at = static_cast<size_t>(c.port ? c.cell : memory->toprow() * 16 + c.cell);
            const int32_t now = c.port ? st().ports[at] : st().mem[at];
            ASSERT_NE(now, before) << "the cause changed nothing";
            EXPECT_EQ(editor->grid()->shownvalue(c.cell) == now, on || c.always);
        }
    }
}

TEST_F(Editors, RepaintsAtTheFramesPaceDuringARunAndNoneWhenIdle)
{
    for (int rate : {5, 6}) {
        SCOPED_TRACE(rate);
        fresh();
        Form2* memory = open<Form2>();
        Form20* ports = open<Form20>();
        program(filler);
        std::set<int32_t> seenmemory, seenports;
        QTimer sample;
        QObject::connect(&sample, &QTimer::timeout, [&] {
            seenmemory.insert(memory->grid()->shownvalue(0x21));
            seenports.insert(ports->grid()->shownvalue(3));
        });
        sample.start(25);
        const long before = memory->grid()->paints();
        act("menuspeed" + std::to_string(rate));
        QTimer::singleShot(400, [this] { act("menustop"); });
        act("menustart");
        EXPECT_GE(std::min(seenmemory.size(), seenports.size()), 3u);
        EXPECT_GE(memory->grid()->paints() - before, 3); // never once per instruction
        EXPECT_LT(memory->grid()->paints() - before, 400 / 8);
        QTest::qWait(100);
        const long idle = memory->grid()->paints();
        QTest::qWait(1100); // two ticks of Timer1 with nothing changed
        EXPECT_EQ(memory->grid()->paints(), idle);
    }
}

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
        bool enabled, input, sameport, devicewindow, takes;
    };
    const Row rows[] = {{true, true, true, true, true}, {true, true, true, false, true}, {false, true, true, true, false},
                        {true, false, true, true, false}, {true, true, false, true, false}};
    for (const Row& r : rows) {
        SCOPED_TRACE(testing::Message() << r.enabled << r.input << r.sameport << r.devicewindow);
        fresh();
        for (size_t n : {2u, 4u}) { // two devices alike: both take the value, in order
            st().devenabled[n] = r.enabled;
            st().devinput[n] = r.input;
            st().devport[n] = r.sameport ? 0x12 : 0x13;
            st().devvalue[n] = 0x55;
        }
        auto devices = r.devicewindow ? std::make_unique<DeviceWindow>() : nullptr;
        Form20* ports = open<Form20>();
        ports->tabla_MouseUp(cellunits(1, 2));
        typekeys(ports, "9c <Enter>");
        EXPECT_EQ(st().ports[0x12], 0x9C);
        for (size_t n : {1u, 2u, 3u, 4u})
            EXPECT_EQ(st().devvalue[n], n % 2 ? 0 : r.takes ? 0x9C : 0x55) << n;
        using Calls = std::vector<std::pair<int, int32_t>>;
        if (devices)
            EXPECT_EQ(devices->refreshed, (r.takes ? Calls{{2, 0x9C}, {4, 0x9C}} : Calls{}));
        toolrouter().unloadall();
    }
}

TEST_F(Editors, WheelNotchesMoveThreeRows)
{
    const std::vector<std::tuple<int, std::vector<int>, int>> rows = {{10, {120}, 7}, {10, {-120}, 13}, {1, {120}, 0},
        {4079, {-120}, 4080}, {10, {40, 40, 40}, 7}, {10, {60, -60, 60, 60}, 7}, {10, {240}, 4}};
    Form2* memory = open<Form2>();
    for (const auto& [top, deltas, after] : rows)
        for (QWidget* target : {static_cast<QWidget*>(memory->grid()), static_cast<QWidget*>(memory->scrollbar())}) {
            memory->scrollbar()->setValue(top);
            for (int d : deltas) {
                QWheelEvent e({}, {}, {}, {0, d}, Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
                QApplication::sendEvent(target, &e);
            }
            EXPECT_EQ(memory->toprow(), after) << top << " " << target->objectName().toStdString();
        }
    memory->scrollbar()->setValue(4080); // the last line on view
    EXPECT_EQ(memory->grid()->shownlabel(15), "FFF0: ");
}

TEST_F(Editors, FocusKeysAndRedrawsAroundTheEntry)
{
    Form2* memory = open<Form2>();
    EXPECT_TRUE(memory->scrollbar()->hasFocus()); // Tab reaches the bar and the check box
    QTest::keyClick(memory->scrollbar(), Qt::Key_Tab);
    EXPECT_TRUE(memory->ontopbox()->hasFocus());
    // A redraw leaves an open box and its text alone.
    memory->tabla_MouseUp(cellunits(4, 4));
    typekeys(memory, "c");
    st().mem[0x44] = 0x99;
    toolrouter().memorijaprint();
    QTest::qWait(50);
    EXPECT_EQ(memory->grid()->shownvalue(0x44), 0x99);
    EXPECT_TRUE(memory->entryopen() && memory->entrybox()->text() == "c");
    // The focus going to another control, a press on the table, another window: the box hides.
    memory->ontopbox()->setFocus(Qt::TabFocusReason);
    EXPECT_FALSE(memory->entryopen());
    memory->tabla_MouseUp(cellunits(1, 1));
    QTest::mousePress(memory->grid(), Qt::LeftButton, {}, memory->grid()->cellrect(0, 0).center());
    EXPECT_FALSE(memory->entryopen());
    memory->tabla_MouseUp(cellunits(2, 2));
    Form20* ports = open<Form20>();
    EXPECT_FALSE(memory->entryopen());
    // A switch to another application keeps it, text and all.
    ports->tabla_MouseUp(cellunits(3, 3));
    typekeys(ports, "a");
    QApplication::setActiveWindow(nullptr);
    EXPECT_TRUE(ports->entryopen());
    QApplication::setActiveWindow(ports);
    typekeys(ports, "<Enter>");
    EXPECT_EQ(st().ports[0x33], 0x0A);
    EXPECT_EQ(st().mem[0x22], memfill);
}

TEST_F(Editors, PositionsReadByTheOptionAndAlwaysWritten)
{
    for (const auto& [ports, save] : std::vector<std::pair<bool, std::string>>{{false, "ON"}, {false, "OFF"}, {true, "ON"}, {true, "OFF"}}) {
        fresh();
        const std::string name = ports ? "Window20" : "Window2";
        regwrite(name + " Left", 6000);
        regwrite(name + " Top", 4500);
        st().optsavepositions = save;
        QWidget* w = ports ? static_cast<QWidget*>(open<Form20>()) : open<Form2>();
        const QPoint off = save == "ON" ? w->geometry().topLeft() - QPoint(400, 300)
                                        : w->frameGeometry().center() - w->screen()->availableGeometry().center();
        EXPECT_LE(off.manhattanLength(), save == "ON" ? 0 : 2) << name << save;
        w->move(120, 90);
        QApplication::processEvents();
        const QPoint at = w->geometry().topLeft();
        w->close();
        EXPECT_EQ(regread(name + " Left") + regread(name + " Top"),
                  std::to_string(pixelstotwips(at.x())) + std::to_string(pixelstotwips(at.y())));
    }
}

TEST_F(Editors, PixelsAndScreenshots)
{
    for (int i = 0; i < 256; ++i) {
        st().mem[0x100 + static_cast<size_t>(i)] = i == 5 ? 0x3C : (i * 37) & 0xFF; // row 0: 00 25 4A 6F 94 3C ...
        st().ports[static_cast<size_t>(i)] = i < 16 ? i * 17 : 0;
    }
    Form2* memory = open<Form2>();
    memory->scrollbar()->setValue(0x10);
    auto pixels = [grid = memory->grid()](int column) { // a cell as the screen shows it
        const QImage all = grid->grab().toImage();
        const QRect r = grid->cellrect(0, column);
        const qreal s = all.devicePixelRatio();
        return all.copy(QRect(QPoint(qRound(r.x() * s), qRound(r.y() * s)), r.size() * s));
    };
    EXPECT_NE(pixels(5), pixels(6));
    EXPECT_NE(pixels(5), pixels(16)); // the sliver shows nothing
    st().mem[0x106] = 0x3C;
    memory->grid()->refresh();
    EXPECT_EQ(pixels(5), pixels(6));
    memory->tabla_MouseUp(cellunits(3, 5));
    typekeys(memory, "4");
    test::saveshot(memory, "form2-editing");
    memory->tabla_MouseUp(cellunits(6, 16));
    test::saveshot(memory, "form2-column16");
    Form20* ports = open<Form20>();
    ports->tabla_MouseUp(cellunits(15, 15));
    test::saveshot(ports, "form20-editing");
    EXPECT_EQ(ports->header()->text(), " 0  1  2  3  4  5  6  7  8  9  A  B  C  D  E  F");
}

} // namespace
