// The Breakpoints Manager offscreen: listing lines and their fields, the listing's lookup and its
// making by the disassembler, clicks and the ten-entry list, Hold PC after each instruction, runs
// that end at breakpoints, the function keys, Load and Clear, resizing and the wheel.
#include "core/hexutil.h"
#include "shell/messages.h"
#include "sim/form1.h"
#include "sim/machinestate.h"
#include "sim/programfiles_ui.h"
#include "sim/settings.h"
#include "tests/common/dialogdriver.h"
#include "tests/common/shot.h"
#include "tools/form8.h"
#include "tools/form8listing.h"

#include <QAction>
#include <QCheckBox>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QPushButton>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

#include <array>
#include <fstream>
#include <memory>
#include <tuple>
#include <string>
#include <vector>

using namespace kelvane;

namespace {

TEST(Form8Lines, FieldsOfACaption)
{
    // A line, the characters the window shows of it, its address (-1: none) and whether it is code.
    const std::tuple<const char*, int, int32_t, bool> cases[] = {
        {"0002   0002 C3 02 00    L0001:  JMP L0001", 80, 0x0002, true},
        {"0003   0010 21\tLXI H,0", 80, 0x0010, true},   // a tab behind the code byte
        {"0001\t0000 3E 05", 80, -1, false},             // a tab moves the address to column 9
        {"0001   0010\t21 00", 80, 0x0010, false},       // ... and the code byte to column 17
        {"0001   00ab 3e 05", 80, -1, false},            // lower-case hex
        {"0001   00AB 3e 05", 80, 0x00AB, false},
        {"0001   00AB", 80, 0x00AB, false},              // short lines
        {"0001   00AB 3E", 80, 0x00AB, true},
        {"0001   00AB 3E 05", 14, 0x00AB, true},         // a cut caption still holds the byte
        {"0001   00AB 3E 05", 13, 0x00AB, false},        // ... or no longer does
        {"0005   0100                     ; a comment", 80, 0x0100, false},
        {"Line   Addr Opcodes     Label   Instruction", 80, -1, false},
        {"", 80, -1, false},
        {"\xC3\xA4" "001   0010 3E", 80, 0x0010, true}, // characters, not bytes, are counted
        {"0001   00\xC3\xA4" "0 3E", 80, -1, false},
    };
    for (const auto& [line, width, address, code] : cases) {
        const LineFields f = linefields(firstcharacters(expandtabs(line), width));
        EXPECT_EQ(f.address, address) << line << " width " << width;
        EXPECT_EQ(f.codeline(), code) << line << " width " << width;
    }
    EXPECT_EQ(expandtabs("12345678\tX\tY"), "12345678        X       Y");
    EXPECT_EQ(expandtabs("\xC3\xA4\tX"), "\xC3\xA4       X"); // a two-byte character is one column
}

TEST(Form8Lines, SplitAtEveryLineEndAndReadLatin1)
{
    const std::pair<std::string, std::vector<std::string>> cases[] = {
        {"", {}},
        {"a\r\nb\nc\rd", {"a", "b", "c", "d"}},
        {"a\r\r\nb\n\n", {"a", "", "b", ""}},
        {std::string("x\0y\n", 4), {std::string("x\0y", 3)}},
        {"\xE4\xFF\n", {"\xC3\xA4\xC3\xBF"}},           // not UTF-8: Latin-1
        {"\xC3\xA4\xC3\n", {"\xC3\xA4\xC3\x83"}},       // a cut sequence: its byte is Latin-1
        {"\xED\xA0\x80", {"\xC3\xAD\xC2\xA0\xC2\x80"}}, // a surrogate is not UTF-8
    };
    for (const auto& [bytes, lines] : cases) {
        ListingLines l;
        l.assign(bytes);
        ASSERT_EQ(l.count(), static_cast<int32_t>(lines.size())) << bytes;
        for (size_t i = 0; i < lines.size(); ++i)
            EXPECT_EQ(l.line(static_cast<int32_t>(i) + 1), lines[i]) << bytes;
    }
}

TEST(Form8Lines, AnyFileIsAListing)
{
    // Binary bytes, a line of a megabyte, a million lines: shown as they stand.
    std::string binary, many;
    for (int i = 0; i < 65536; ++i)
        binary.push_back(static_cast<char>((i * 7919) & 0xFF));
    for (int i = 0; i < 1000000; ++i)
        many += "0001   0000 00\n";
    ListingLines l;
    for (const std::string& bytes : {binary, std::string(1 << 20, 'A'), many}) {
        l.assign(bytes);
        EXPECT_GT(l.count(), 0);
        EXPECT_LE(firstcharacters(l.line(1), 60).size(), 60u * 4);
    }
    EXPECT_EQ(l.count(), 1000000);
    EXPECT_EQ(l.codeaddress(1000000), 0);
}

// holdpc.lst: line 1 a header, line n (2-60) a code line at address n, except line 40, which has
// the address 41 and no code byte, so that no line has the address 40 (0x28).
std::string testlisting(const char* name)
{
    QFile f(QStringLiteral(KELVANE_TEST_DATA "/form8/") + name);
    return f.open(QIODevice::ReadOnly) ? f.readAll().toStdString() : std::string();
}

// MVI B,3 / loop: DCR B / JNZ loop / HLT.
const std::vector<int32_t> countdown = {0x06, 0x03, 0x05, 0xC2, 0x02, 0x00, 0x76};

class Form8Test : public ::testing::Test {
protected:
    void SetUp() override
    {
        st().~MachineState();
        new (&st()) MachineState();
        initialisestate(st());
        regwrite("Hold PC In Focus", "1");
        main = std::make_unique<Form1>();
        main->messagesink = [this](const std::string& t) { messages.push_back(t); };
        st().optconfirm = "ON";
        st().lastpath = lastpath().toStdString();
        toolrouter().setfactory(Tool::Form8, [] { return new Form8; });
        main->show();
    }
    void TearDown() override
    {
        toolrouter().unloadall();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        main.reset();
    }
    static MachineState& st() { return machinestate(); }

    void program(const std::vector<int32_t>& bytes, const QString& qstaza = "/elsewhere/prog.hex")
    {
        std::fill(st().mem.begin(), st().mem.end(), 0);
        std::copy(bytes.begin(), bytes.end(), st().mem.begin());
        st().programsize = static_cast<int32_t>(bytes.size());
        main->label("qstaza")->setText(qstaza);
    }
    QString lastpath() const { return folder.path() + "/"; }
    void writefile(const QString& name, const std::string& text)
    {
        std::ofstream((lastpath() + name).toStdString(), std::ios::binary) << text;
    }
    Form8* open() { return qobject_cast<Form8*>(toolrouter().show(Tool::Form8)); }
    // The ten breakpoint texts (or, with a window, its ten labels) in their places, "-" for empty.
    static std::string points(Form8* w = nullptr)
    {
        std::string s;
        for (int i = 0; i < 10; ++i) {
            const std::string t = w ? w->prekidlabela(i).toStdString() : st().breakpointaddress[i];
            s += (i ? " " : "") + (t.empty() ? "-" : t);
        }
        return s;
    }
    // The row on view whose caption holds the address at characters 8-11, -1 if none.
    static int rowof(Form8* w, const char* address)
    {
        for (int i = 0; i < Form8::rows; ++i)
            if (w->linija(i).mid(7, 4) == QLatin1String(address))
                return i;
        return -1;
    }
    void rate(int n) { main->action(("menuspeed" + std::to_string(n)).c_str())->trigger(); }
    QAction* act(const char* name) { return main->action(name); }

    QTemporaryDir folder;
    std::unique_ptr<Form1> main;
    std::vector<std::string> messages;
    test::BoxCloser boxes;
};

TEST_F(Form8Test, ListingFoundInLastPathByTheNameBeforeTheFirstDot)
{
    // The program, the listing's name, its lines and the bar's maximum (enabled above 20 lines).
    const std::tuple<const char*, const char*, int, int> cases[] = {
        {"/elsewhere/prog.hex", "prog.lst", 10, 1},
        {"/elsewhere/prog.v2.final.hex", "prog.lst", 20, 1},
        {"/elsewhere/Prog.hex", "PROG.LST", 21, 2}, // the exact name first, then any case
        {"/elsewhere/noext", "noext.lst", 60, 41},
    };
    for (const auto& [qstaza, file, lines, maximum] : cases) {
        for (const QString& f : QDir(lastpath()).entryList(QDir::Files))
            QFile::remove(lastpath() + f);
        std::string text;
        for (int n = 1; n <= lines; ++n)
            text += "line " + std::to_string(n) + "\r\n";
        writefile(file, text);
        program({0x00}, qstaza);
        Form8* w = open();
        EXPECT_TRUE(boxes.texts.empty()) << qstaza;
        EXPECT_EQ(w->imelabela(), lastpath() + file);
        EXPECT_EQ(w->listingcount(), lines);
        EXPECT_EQ(w->vscrollbar1()->maximum(), maximum) << lines;
        EXPECT_EQ(w->vscrollbar1()->isEnabled(), maximum > 1) << lines;
        EXPECT_EQ(w->linija(std::min(lines, 20) - 1), QString("line %1").arg(std::min(lines, 20)));
        EXPECT_EQ(w->linija(lines), "");
        w->close();
    }
}

TEST_F(Form8Test, MissingListingIsMadeByTheDisassemblerAndFoundNextTime)
{
    program(countdown, "/elsewhere/count.down.hex");
    Form8* w = open();
    ASSERT_EQ(boxes.texts.size(), 1u);
    EXPECT_EQ(boxes.texts[0], "Breakpoints Manager could not find corresponding listing file \n" + lastpath() +
                                  "count.lst created by assembler.\n"
                                  "The listing file will be created by Kelvane disassembler.\n"
                                  "Please, be patient.");
    EXPECT_EQ(boxes.titles[0], titletext());
    EXPECT_EQ(w->imelabela(), lastpath() + "count.lst");
    EXPECT_FALSE(QFile::exists(lastpath() + "8085_disassembler_temporary_file"));
    EXPECT_EQ(w->linija(2), "Line   Addr Opcodes     Label   Instruction");
    EXPECT_EQ(w->linija(5), "0001   0000 06 03               MVI B,03H");
    w->close();
    w = open();
    EXPECT_EQ(boxes.texts.size(), 1u); // no second message
    EXPECT_EQ(w->listingcount(), 16);

    // Where the folder can't be written, the listing is made in the user's data folder.
    w->close();
    st().lastpath = "/nonexistent-folder/";
    w = open();
    EXPECT_EQ(boxes.texts.size(), 2u);
    EXPECT_EQ(w->imelabela(), QString::fromStdString(apppath()) + "count.lst");
    EXPECT_EQ(w->linija(5), "0001   0000 06 03               MVI B,03H");
}

TEST_F(Form8Test, ClicksSetAndRemoveBreakpointsInOrder)
{
    writefile("prog.lst", testlisting("clicks.lst"));
    program({0x00});
    Form8* w = open();
    const std::pair<int, const char*> clicks[] = { // the row clicked, the ten texts after it
        {1, "0100 - - - - - - - - -"},
        {0, "0100 - - - - - - - - -"}, // header
        {3, "0100 - - - - - - - - -"}, // lower-case code byte
        {6, "0100 0200 - - - - - - - -"},
        {5, "0050 0100 0200 - - - - - - -"},
        {7, "0050 0200 - - - - - - - -"}, // another line of 0100 removes it
    };
    for (const auto& [row, after] : clicks) {
        QTest::mouseClick(w->lineview(), Qt::LeftButton, {}, w->linerect(row).center());
        EXPECT_EQ(points(), after) << "row " << row;
        EXPECT_EQ(points(w), after) << "row " << row;
    }
    w->linija_Click(1);
    const bool marks[] = {false, true, false, false, false, true, true, true};
    for (int i = 0; i < 8; ++i)
        EXPECT_EQ(w->prekidsimbol(i), marks[i]) << i;
    // The arrow stands at the last line on view of its address.
    st().pc = 0x100;
    w->drawlines();
    EXPECT_EQ(w->pcsimbol(), 7);
    test::saveshot(w, "form8-clicks");

    w->Command1()->click();
    EXPECT_EQ(points(), "- - - - - - - - - -");
    EXPECT_EQ(points(w), points());
    EXPECT_FALSE(w->prekidsimbol(5));
}

TEST_F(Form8Test, TheEleventhIsRefusedAndTheTenStay)
{
    writefile("prog.lst", testlisting("holdpc.lst"));
    program({0x00});
    Form8* w = open();
    for (int row = 19; row >= 10; --row)
        w->linija_Click(row);
    EXPECT_TRUE(boxes.texts.empty());
    const std::string ten = "000B 000C 000D 000E 000F 0010 0011 0012 0013 0014";
    EXPECT_EQ(points(), ten);
    w->linija_Click(2);
    ASSERT_EQ(boxes.texts.size(), 1u);
    EXPECT_EQ(boxes.texts[0], "You can not define more than 10 breakpoints.");
    EXPECT_EQ(points(), ten);
    EXPECT_EQ(points(w), ten);

    // They outlive the window, and the next one shows them.
    w->close();
    w = open();
    EXPECT_EQ(points(w), ten);
    EXPECT_TRUE(w->prekidsimbol(19));
    EXPECT_FALSE(w->prekidsimbol(8));
}

// Hold PC after each instruction: (PC, bar's value, arrow's row) from a start at value 1.
void runholdpc(Form8* w, const std::vector<std::array<int, 3>>& steps, const char* what)
{
    w->setbarvalue(1);
    for (const auto& [pc, bar, arrow] : steps) {
        machinestate().pc = pc;
        toolrouter().drawlines();
        EXPECT_EQ(w->barvalue(), bar) << what << " pc " << pc;
        EXPECT_EQ(w->pcsimbol(), arrow) << what << " pc " << pc;
    }
}

TEST_F(Form8Test, HoldPcKeepsThePcLineInView)
{
    writefile("prog.lst", testlisting("holdpc.lst"));
    program({0x00});
    Form8* w = open();
    ASSERT_EQ(w->vscrollbar1()->maximum(), 41);
    st().running = true;
    runholdpc(w,
              {{
                  {5, 1, 4},      // inside lines 2-17 of the view: nothing moves
                  {18, 1, 17},    // the lower edge of the band
                  {19, 16, 3},    // below it: the PC's line becomes the fourth
                  {18, 16, 2},    // the upper edge
                  {17, 14, 3},    // above it
                  {2, 1, 1},      // line 2 wants value -1: held at 1
                  {60, 41, 19},   // held at the maximum
                  {59, 41, 18},   // out of the band but held: stays
                  {41, 37, 4},    // the address's first line (40) has no code byte: 37, arrow on 41
                  {0x28, 37, -1}, // an address no line has: nothing moves
                  {0x2000, 37, -1},
              }},
              "running");
    for (int i = 0; i < 100 && w->vscrollbar1()->value() != 37; ++i)
        QTest::qWait(10); // the control shows the value at the next repaint
    EXPECT_EQ(w->vscrollbar1()->value(), 37);

    w->Check2()->click();
    EXPECT_EQ(regread("Hold PC In Focus", "1"), "0");
    runholdpc(w, {{{5, 1, 4}, {19, 1, 18}, {30, 1, -1}}}, "Hold PC off");
    w->Check2()->click();
    st().running = false; // after Stop
    runholdpc(w, {{{5, 1, 4}, {19, 1, 18}, {30, 1, -1}}}, "after Stop");
}

// Runs to the breakpoint on the HLT of countdown: seven instructions, B counted out, the arrow
// following each Step at rate 1 (rows 5-8 hold 0000, 0002, 0003, 0006).
class Form8RunTest : public Form8Test, public ::testing::WithParamInterface<int> {};

TEST_P(Form8RunTest, RunEndsAtTheBreakpoint)
{
    program(countdown);
    Form8* w = open();
    w->linija_Click(rowof(w, "0006"));
    rate(GetParam());
    act("menustart")->trigger();
    const int arrows[] = {6, 7, 6, 7, 6, 7, 8};
    for (int i = 0; GetParam() == 1 && i < 7; ++i) {
        act("menustep")->trigger();
        EXPECT_EQ(w->pcsimbol(), arrows[i]) << "instruction " << i + 1;
    }
    EXPECT_EQ(st().pc, 6);
    EXPECT_EQ(st().instructioncount, 7);
    EXPECT_EQ(st().b, 0);
    EXPECT_EQ(st().simrate, 1);
    EXPECT_EQ(regread("Simulation Rate", ""), "1");
    EXPECT_TRUE(act("menustep")->isEnabled());
    EXPECT_EQ(w->pcsimbol(), 8);
    EXPECT_TRUE(w->prekidsimbol(8));
    test::saveshot(w, "form8-breakpoint");
    act("menustop")->trigger();
}

INSTANTIATE_TEST_SUITE_P(Rates, Form8RunTest, ::testing::Values(1, 5, 6));

TEST_F(Form8Test, BreakpointsAreFoundAfterAnInstruction)
{
    // MVI A,08H / SIM / EI / loop: JMP loop ... 003C: HLT, reached through the vector of RST 7.5.
    std::vector<int32_t> vectored = {0x3E, 0x08, 0x30, 0xFB, 0xC3, 0x04, 0x00};
    vectored.resize(0x3C, 0);
    vectored.push_back(0x76);
    // The program, the breakpoint, the rate and the count at the stop (-1: RST 7.5 brings the run there).
    const std::tuple<std::vector<int32_t>, const char*, int, int> runs[] = {
        {{0x00, 0xC3, 0x00, 0x00}, "0000", 5, 2}, // NOP / JMP 0000: the start is found after the JMP
        {vectored, "003C", 5, -1},
        {vectored, "003C", 6, -1},
    };
    for (const auto& [bytes, at, speed, count] : runs) {
        program(bytes, QString("/elsewhere/run%1.hex").arg(speed * count));
        Form8* w = open();
        w->Command1_Click();
        w->setbarvalue(w->barmaximum());
        w->linija_Click(rowof(w, at));
        rate(speed);
        if (count < 0)
            QTimer::singleShot(50, main.get(), [this] { main->interruptbutton_Click(3); });
        act("menustart")->trigger();
        EXPECT_EQ(st().pc, parsehexword(at)) << speed;
        EXPECT_EQ(st().simrate, 1);
        if (count >= 0)
            EXPECT_EQ(st().instructioncount, count);
        else
            EXPECT_EQ(st().mem[static_cast<size_t>(st().sp)], 0x04) << "the loop's address was pushed";
        act("menustop")->trigger();
        w->close();
    }
}

TEST_F(Form8Test, FunctionKeysReachTheMainWindow)
{
    program(countdown);
    Form8* w = open();
    w->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(w));
    // A key, its modifiers, and after it: running, the rate, the instructions executed.
    const std::tuple<Qt::Key, Qt::KeyboardModifiers, bool, int, int> keys[] = {
        {Qt::Key_F4, Qt::ControlModifier, false, 4, 0},
        {Qt::Key_F1, Qt::ControlModifier, false, 1, 0},
        {Qt::Key_F2, Qt::NoModifier, false, 1, 0}, // idle: no Step, no Stop
        {Qt::Key_F3, Qt::NoModifier, false, 1, 0},
        {Qt::Key_F1, Qt::NoModifier, true, 1, 0}, // Start at Step By Step
        {Qt::Key_F1, Qt::NoModifier, true, 1, 0}, // no second Start
        {Qt::Key_F2, Qt::NoModifier, true, 1, 1},
        {Qt::Key_F2, Qt::NoModifier, true, 1, 2},
        {Qt::Key_F3, Qt::NoModifier, false, 1, 2},
        {Qt::Key_F2, Qt::NoModifier, false, 1, 2}, // stopped: no Step
    };
    for (const auto& [key, mods, running, simrate, executed] : keys) {
        QTest::keyClick(w, key, mods);
        EXPECT_EQ(st().running, running) << key;
        EXPECT_EQ(st().simrate, simrate) << key;
        EXPECT_EQ(st().instructioncount, executed) << key;
    }
    EXPECT_EQ(regread("Simulation Rate", ""), "1");
    EXPECT_EQ(messages.size(), 1u); // the statistics of the Stop
}

TEST_F(Form8Test, LoadAndClearCloseTheWindowAndEmptyTheList)
{
    writefile("other.obj", "\x76");
    for (bool load : {false, true}) {
        program(countdown);
        Form8* w = open();
        w->linija_Click(rowof(w, "0002"));
        ASSERT_EQ(st().breakpointaddress[0], "0002");
        const FileMenuHooks hooks = toolrouter().maincommands.filemenuhooks();
        if (load)
            ASSERT_TRUE(loadchosenfile(st(), main.get(), hooks, lastpath() + "other.obj", 1));
        else
            menuclear_Click(st(), main.get(), hooks);
        EXPECT_FALSE(st().Form8) << load;
        EXPECT_EQ(toolrouter().window(Tool::Form8), nullptr);
        EXPECT_EQ(points(), "- - - - - - - - - -");
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
}

TEST_F(Form8Test, ResizeKeepsTheHeightAndHoldsTheWidthWheelMovesThreeLines)
{
    writefile("prog.lst", std::string(200, 'x') + "\r\n" + testlisting("holdpc.lst"));
    program({0x00});
    regwrite("Window8 Width", std::to_string(pixelstotwips(777)));
    Form8* w = open();
    EXPECT_EQ(w->width(), 777);
    const int height = w->height();
    w->resize(Form8::minwidth, height);
    const int narrow = w->linewidth();
    EXPECT_GE(narrow, 50); // the header and a code line fit at the narrowest
    const int cases[][2] = {{300, Form8::minwidth}, {800, 800}, {2000, Form8::maxwidth}, {640, 640}};
    for (const auto& [asked, width] : cases) {
        w->resize(asked, height + 100);
        EXPECT_EQ(w->width(), width);
        EXPECT_EQ(w->height(), height);
        EXPECT_EQ(w->linija(0).size(), w->linewidth());
        EXPECT_EQ(w->linewidth() > narrow, width > Form8::minwidth);
    }
    const int wheel[][2] = {{-120, 4}, {-240, 10}, {40, 10}, {40, 10}, {40, 7}, {600, 1}, {-2400, 42}};
    for (const auto& [delta, value] : wheel) { // touchpad parts add up to notches
        w->wheel(delta);
        EXPECT_EQ(w->barvalue(), value) << delta;
        EXPECT_EQ(w->vscrollbar1()->value(), value) << delta;
    }
    EXPECT_EQ(w->linija(0).left(4), "0041");
    w->close();
    EXPECT_EQ(regread("Window8 Width", ""), std::to_string(pixelstotwips(640)));
}

} // namespace
