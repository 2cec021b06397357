// The Memory Editor and the I/O Ports Editor: entry walks by keys, the click map, what makes the
// table follow memory and ports, its repaints, the input devices fed from the ports editor, the
// wheel, the focus and the window positions.
#include "sim/form1.h"
#include "sim/machinestate.h"
#include "sim/portdialogs.h"
#include "sim/programfiles_ui.h"
#include "sim/settings.h"
#include "tools/form2.h"
#include "tools/form20.h"

#include <QtTest>
#include <QtWidgets>

#include "tests/common/datatable.h"
#include "tests/common/dialogdriver.h"
#include "tests/common/shot.h"

#include <gtest/gtest.h>

#include <set>
#include <sstream>

using namespace kelvane;

namespace {

// Odd, so that the programs below, which store even values only, always change what they touch.
constexpr int32_t memfill = 0x11, portfill = 0x23;
// MVI A,0; loop: ADI 2; STA 0021H; OUT 03H; NOP; JMP loop: five instructions a pass, so the value
// at the end of a time slice (a power of two instructions) moves on from slice to slice.
const std::vector<int32_t> filler = {0x3E, 0x00, 0xC6, 0x02, 0x32, 0x21, 0x00, 0xD3, 0x03, 0x00, 0xC3, 0x02, 0x00};
// MVI A,5AH; STA 0020H; OUT 03H; IN 04H; HLT
const std::vector<int32_t> stepper = {0x3E, 0x5A, 0x32, 0x20, 0x00, 0xD3, 0x03, 0xDB, 0x04, 0x76};

MachineState& st() { return machinestate(); }

// A point inside a cell in the table's units (column 16: the sliver right of column F).
QPointF cellunits(int row, int column)
{
    return {column < 16 ? 630.0 + 315 * column + 150 : 5690.0, 225.0 * row + 110};
}

// Keys to whatever has the focus: "<Return>", "<Esc>", "<Left>" ... a press and its release,
// "<Down*3>" a key held (auto-repeat release/press pairs between); other words are typed.
void typekeys(QWidget* window, const std::string& script)
{
    std::istringstream in(script);
    for (std::string word; in >> word;) {
        QWidget* target = QApplication::focusWidget() ? QApplication::focusWidget() : window;
        if (word.front() != '<') {
            QTest::keyClicks(target, QString::fromStdString(word));
            continue;
        }
        const auto end = word.find_first_of("*>");
        const Qt::Key key = QKeySequence::fromString(QString::fromStdString(word.substr(1, end - 1)))[0].key();
        const int held = word[end] == '*' ? std::stoi(word.substr(end + 1)) : 1;
        for (int i = 0; i < 2 * held; ++i) { // press, (release, press)..., release
            QKeyEvent e(i % 2 ? QEvent::KeyRelease : QEvent::KeyPress, key, Qt::NoModifier,
                        key == Qt::Key_Return ? "\r" : "", i > 0 && i < 2 * held - 1);
            QApplication::sendEvent(QApplication::focusWidget() ? QApplication::focusWidget() : window, &e);
        }
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
    void fresh() { TearDown(), SetUp(); }
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
    void run(int rate, int ms) // the filler at a rate, stopped after ms
    {
        program(filler);
        act("menuspeed" + std::to_string(rate));
        QTimer::singleShot(ms, [this] { act("menustop"); });
        act("menustart");
    }

    std::unique_ptr<Form1> main;
};

TEST_F(Editors, EntryWalks)
{
    const auto cell = [](const QString& s) { return s == "-" ? QPoint(-1, -1) : QPoint(s.section(',', 0, 0).toInt(), s.section(',', 1).toInt()); };
    for (const QStringList& w : test::datatable("tools/editorwalks.txt")) {
        ASSERT_EQ(w.size(), 8);
        SCOPED_TRACE(w[0].toStdString());
        fresh();
        const bool ports = w[1] == "p";
        const QPoint click = cell(w[3]), box = cell(w[6]);
        Form2* memory = ports ? nullptr : open<Form2>();
        HexEditorWindow* editor = memory ? static_cast<HexEditorWindow*>(memory) : open<Form20>();
        if (memory)
            memory->scrollbar()->setValue(w[2].toInt());
        if (click.x() >= 0)
            editor->tabla_MouseUp(cellunits(click.x(), click.y()));
        typekeys(editor, w[4].toStdString());
        auto mem = st().mem; // nothing else written, in memory or ports
        auto port = st().ports;
        mem.fill(memfill), port.fill(portfill);
        std::vector<std::pair<int32_t, int32_t>> writes;
        for (const QString& p : w[5].split(' ', Qt::SkipEmptyParts)) {
            writes.emplace_back(p.section('=', 0, 0).toInt(nullptr, 16), p.section('=', 1).toInt(nullptr, 16));
            (ports ? port[static_cast<size_t>(writes.back().first)] : mem[static_cast<size_t>(writes.back().first)]) = writes.back().second;
        }
        EXPECT_TRUE(st().mem == mem && st().ports == port);
        ASSERT_EQ(editor->entryopen(), box.x() >= 0);
        if (box.x() >= 0) {
            EXPECT_EQ(QPoint(editor->entryrow(), editor->entrycolumn()), box);
            EXPECT_TRUE(editor->entrybox()->hasFocus() && editor->entrybox()->text().isEmpty());
            QRect over = editor->grid()->entryrect(box.x(), box.y());
            over.moveTopLeft(editor->grid()->mapTo(editor, over.topLeft()));
            EXPECT_EQ(editor->entrybox()->geometry(), over);
        }
        if (memory)
            EXPECT_EQ(memory->toprow(), w[7].toInt());
        for (const auto& [at, value] : writes) { // shown at once
            const int32_t shown = memory ? at - memory->toprow() * 16 : at;
            if (shown >= 0 && shown < 256)
                EXPECT_EQ(editor->grid()->shownvalue(shown), value) << at;
        }
    }
}

TEST_F(Editors, ClickMap)
{
    for (int row = 0; row < 16; ++row) // the sliver on every row
        EXPECT_TRUE(hexcellat(5700, 225.0 * row + 200) == (HexCell{row, 16})) << row;
    Form2* memory = open<Form2>();
    HexGrid* grid = memory->grid();
    const QPoint origin = grid->cellrect(0, 0).topLeft() - QPoint(6 * grid->characterwidth(), 0);
    for (const QStringList& c : test::datatable("tools/clickmap.txt")) {
        ASSERT_EQ(c.size(), 4);
        const double x = c[1].toDouble(), y = c[2].toDouble();
        const HexCell cell = c[3] == "-" ? HexCell{} : HexCell{c[3].section(',', 0, 0).toInt(), c[3].section(',', 1).toInt()};
        if (c[0] == "units") {
            EXPECT_TRUE(hexcellat(x, y) == cell) << x << "," << y;
            continue;
        }
        memory->ontopbox()->setFocus(); // no entry open
        QTest::mouseClick(grid, Qt::LeftButton, {}, origin + QPoint(qRound(x * grid->characterwidth()), qRound(y * grid->lineheight())));
        EXPECT_TRUE((memory->entryopen() ? HexCell{memory->entryrow(), memory->entrycolumn()} : HexCell{}) == cell) << x;
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
    auto in77 = [&] { // the IN prompt answered 77
        st().optinprompt = "ON";
        step(3);
        test::DialogDriver driver;
        driver.on<InEntryDialog>([](InEntryDialog* d) {
            d->text1()->setText("77");
            d->enterclicked();
        });
        act("menustep");
    };
    auto load = [this] {
        QTemporaryDir dir;
        QFile f(dir.filePath("prog.obj"));
        ASSERT_TRUE(f.open(QIODevice::WriteOnly) && f.write(QByteArray(0x40, '\x5c')) == 0x40);
        f.close();
        loadchosenfile(st(), main.get(), toolrouter().maincommands.filemenuhooks(), f.fileName(), 1);
    };
    const struct {
        const char* name;
        std::function<void(Form2*)> act;
        bool port; // the cell shows a port, else memory
        int cell;
        bool always; // also with the refresh option off
    } causes[] = {
        {"Step writes memory", [&](Form2*) { step(2); }, false, 0x20, false},
        {"Step does OUT", [&](Form2*) { step(3); }, true, 3, false},
        {"Step does IN", [&](Form2*) { in77(); }, true, 4, false},
        {"rate 5, memory", [this](Form2*) { run(5, 300); }, false, 0x21, false},
        {"rate 5, OUT", [this](Form2*) { run(5, 300); }, true, 3, false},
        {"rate 6, memory", [this](Form2*) { run(6, 300); }, false, 0x21, false},
        {"rate 6, OUT", [this](Form2*) { run(6, 300); }, true, 3, false},
        {"Clear", [this](Form2*) { menuclear_Click(st(), main.get(), toolrouter().maincommands.filemenuhooks()); },
         false, 0x30, false},
        {"Load", [&](Form2*) { load(); }, false, 0x30, false},
        {"Timer1, memory", [](Form2*) { st().mem[0x30] = 0x66; QTest::qWait(650); }, false, 0x30, true},
        {"Timer1, ports", [](Form2*) { st().ports[0x31] = 0x67; QTest::qWait(650); }, true, 0x31, true},
        {"scroll", [](Form2* m) { st().mem[0x130] = 0x68; m->scrollbar()->setValue(0x10); }, false, 0x30, true},
    };
    for (const auto& c : causes) {
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
        std::set<int32_t> seenmemory, seenports;
        QTimer sample;
        QObject::connect(&sample, &QTimer::timeout, [&] {
            seenmemory.insert(memory->grid()->shownvalue(0x21));
            seenports.insert(ports->grid()->shownvalue(3));
        });
        sample.start(25);
        const long before = memory->grid()->paints();
        run(rate, 400);
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
    const struct {
        bool enabled, input, sameport, devicewindow, takes;
    } rows[] = {{true, true, true, true, true}, {true, true, true, false, true}, {false, true, true, true, false},
                {true, false, true, true, false}, {true, true, false, true, false}};
    for (const auto& r : rows) {
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
        typekeys(ports, "9c <Return>");
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
    typekeys(ports, "<Return>");
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
