// The Breakpoints Manager offscreen: listing lines and their fields, the listing's lookup and its
// making by the disassembler, clicks and the ten-entry list, Hold PC after each instruction, runs
// that end at breakpoints, the function keys, Load and Clear, resizing and the wheel.
#include "core/hexutil.h"
#include "sim/form1.h"
#include "sim/machinestate.h"
#include "sim/programfiles_ui.h"
#include "shell/messages.h"
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

#include <memory>
#include <string>
#include <vector>

using namespace kelvane;

namespace {

// ---------------------------------------------------------------------------------------------
// Lines on their own

struct FieldCase {
    const char* line;
    int width;       // characters the window shows (the caption is cut there)
    int32_t address; // characters 8-11, -1 when they don't parse
    bool code;
};

const FieldCase fieldcases[] = {
    {"0001   0000 3E 05               MVI A,05H", 80, 0x0000, true},
    {"0002   0002 C3 02 00    L0001:  JMP L0001", 80, 0x0002, true},
    {"0003   0010 21\tLXI H,0", 80, 0x0010, true},       // a tab behind the code byte
    {"0001\t0000 3E 05", 80, -1, false},                 // a tab moves the address to column 9
    {"0001   0010\t21 00", 80, 0x0010, false},           // ... and the code byte to column 17
    {"0001   00ab 3e 05", 80, -1, false},                 // lower-case hex
    {"0001   00AB 3e 05", 80, 0x00AB, false},
    {"0001   00AB", 80, 0x00AB, false},                   // short lines
    {"0001   00AB 3", 80, 0x00AB, false},
    {"0001   00AB 3E", 80, 0x00AB, true},
    {"0001   00AB 3E 05", 14, 0x00AB, true},               // a cut caption still holds the byte
    {"0001   00AB 3E 05", 13, 0x00AB, false},              // ... or no longer does
    {"0001   00AB 3E 05", 10, -1, false},
    {"0005   0100                     ; a comment", 80, 0x0100, false},
    {"0006   0100                     .ORG 0100H", 80, 0x0100, false},
    {"Line   Addr Opcodes     Label   Instruction", 80, -1, false},
    {"Number of errors = 0", 80, -1, false},
    {"0007 Error: Unknown instruction.", 80, -1, false},
    {"", 80, -1, false},
    {"\xC3\xA4" "001   0010 3E", 80, 0x0010, true}, // characters, not bytes, are counted
    {"0001   00\xC3\xA4" "0 3E", 80, -1, false},
};

TEST(Form8Lines, FieldsOfACaption)
{
    for (const FieldCase& c : fieldcases) {
        const std::string line = expandtabs(c.line);
        const LineFields f = linefields(firstcharacters(line, c.width));
        EXPECT_EQ(f.address, c.address) << c.line << " width " << c.width;
        EXPECT_EQ(f.codeline(), c.code) << c.line << " width " << c.width;
    }
}

TEST(Form8Lines, TabStopsEveryEightCharacters)
{
    const struct {
        const char* in;
        const char* out;
    } cases[] = {
        {"\tX", "        X"},
        {"1234567\tX", "1234567 X"},
        {"12345678\tX", "12345678        X"},
        {"A\t\tB", "A               B"},
        {"\xC3\xA4\tX", "\xC3\xA4       X"}, // a two-byte character is one column
        {"", ""},
    };
    for (const auto& c : cases)
        EXPECT_EQ(expandtabs(c.in), c.out) << c.in;
}

TEST(Form8Lines, SplitAtEveryLineEndAndReadLatin1)
{
    const struct {
        std::string bytes;
        std::vector<std::string> lines;
    } cases[] = {
        {"", {}},
        {"a", {"a"}},
        {"a\r\n", {"a"}},
        {"a\r\nb\nc\rd", {"a", "b", "c", "d"}},
        {"\n\n", {"", ""}},
        {"a\r\r\nb", {"a", "", "b"}},
        {std::string("x\0y\n", 4), {std::string("x\0y", 3)}},
        {"\xE4\xFF\n", {"\xC3\xA4\xC3\xBF"}},        // not UTF-8: Latin-1
        {"\xC3\xA4\xC3\n", {"\xC3\xA4\xC3\x83"}},    // a cut sequence: its byte is Latin-1
        {"\xED\xA0\x80", {"\xC3\xAD\xC2\xA0\xC2\x80"}}, // a surrogate is not UTF-8
    };
    for (const auto& c : cases) {
        ListingLines l;
        l.assign(c.bytes);
        ASSERT_EQ(l.count(), static_cast<int32_t>(c.lines.size())) << c.bytes;
        for (size_t i = 0; i < c.lines.size(); ++i)
            EXPECT_EQ(l.line(static_cast<int32_t>(i) + 1), c.lines[i]) << c.bytes;
    }
}

TEST(Form8Lines, IndexOfAddressesToLines)
{
    ListingLines l;
    l.assign("Line   Addr Opcodes\n"
             "0001   0010                     LOOP:\n" // line 2: address, no code byte
             "0002   0010 3E 01               MVI A,1\n"
             "0003   0012 C3 10 00            JMP LOOP\n"
             "0004   0010 00                  NOP\n" // another line of the same address
             "0005   0fff 00\n");
    EXPECT_EQ(l.firstline(0x0010), 2);
    EXPECT_EQ(l.firstline(0x0012), 4);
    EXPECT_EQ(l.firstline(0x0FFF), 0);
    EXPECT_EQ(l.codeaddress(2), -1);
    EXPECT_EQ(l.codeaddress(3), 0x0010);
}

TEST(Form8Lines, AnyFileIsAListing)
{
    // Binary bytes, a line of a megabyte, a million lines: shown as they stand.
    std::string binary;
    for (int i = 0; i < 65536; ++i)
        binary.push_back(static_cast<char>((i * 7919) & 0xFF));
    std::string longline(1 << 20, 'A');
    std::string many;
    for (int i = 0; i < 1000000; ++i)
        many += "0001   0000 00\n";
    for (const std::string* bytes : {&binary, &longline}) {
        ListingLines l;
        l.assign(*bytes);
        EXPECT_GT(l.count(), 0);
        EXPECT_LE(firstcharacters(l.line(1), 60).size(), 60u * 4);
    }
    ListingLines l;
    l.assign(many);
    EXPECT_EQ(l.count(), 1000000);
    EXPECT_EQ(l.firstline(0), 1);
    EXPECT_EQ(l.codeaddress(1000000), 0);
}

// ---------------------------------------------------------------------------------------------
// The window

// The Hold PC listing: line 1 a header, line n (2-60) a code line at address n, except line 40,
// which has the address 41 (0x29) and no code byte, so that no line has the address 40 (0x28).
std::string holdpclisting()
{
    std::string text = "Line   Addr Opcodes     Label   Instruction\r\n";
    for (int n = 2; n <= 60; ++n) {
        char row[64];
        if (n == 40)
            std::snprintf(row, sizeof row, "%04d   %04X                     LOOP:\r\n", n, 41);
        else
            std::snprintf(row, sizeof row, "%04d   %04X 00                  NOP\r\n", n, n);
        text += row;
    }
    return text;
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
        st().optlogging = "OFF";
        st().opthalt = "ON";
        st().optrefreshbreakpoints = "ON";
        st().startaddress = 0;
        st().lastpath = (folder.path() + "/").toStdString();
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
    void writelisting(const QString& name, const std::string& text)
    {
        QFile f(lastpath() + name);
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        f.write(text.data(), static_cast<qint64>(text.size()));
    }
    Form8* open() { return qobject_cast<Form8*>(toolrouter().show(Tool::Form8)); }
    std::vector<std::string> points() const
    {
        std::vector<std::string> v;
        for (int i = 0; i < 10; ++i)
            v.push_back(st().breakpointaddress[i]);
        return v;
    }
    // The row on view whose caption holds the address at characters 8-11, -1 if none.
    static int rowof(Form8* w, const char* address)
    {
        for (int i = 0; i < Form8::rows; ++i)
            if (w->linija(i).mid(7, 4) == QLatin1String(address))
                return i;
        return -1;
    }
    QAction* act(const char* name) { return main->action(name); }

    QTemporaryDir folder;
    std::unique_ptr<Form1> main;
    std::vector<std::string> messages;
};

TEST_F(Form8Test, RefusedWithoutAProgram)
{
    test::BoxCloser boxes;
    act("menubreak")->trigger();
    EXPECT_EQ(toolrouter().window(Tool::Form8), nullptr);
    ASSERT_EQ(boxes.texts.size(), 1u);
    EXPECT_EQ(boxes.texts[0], "Please load program file first.");
}

TEST_F(Form8Test, ListingFoundInLastPathByTheNameBeforeTheFirstDot)
{
    const struct {
        const char* qstaza;
        const char* file;
    } cases[] = {
        {"/elsewhere/prog.hex", "prog.lst"},
        {"/elsewhere/prog.v2.final.hex", "prog.lst"},
        {"/elsewhere/Prog.hex", "PROG.LST"}, // the exact name first, then any case
        {"/elsewhere/noext", "noext.lst"},
    };
    for (const auto& c : cases) {
        for (const QString& f : QDir(lastpath()).entryList(QDir::Files))
            QFile::remove(lastpath() + f);
        writelisting(c.file, "Line   Addr Opcodes\r\n0001   0000 00        NOP\r\n");
        program({0x00}, c.qstaza);
        test::BoxCloser boxes;
        Form8* w = open();
        ASSERT_NE(w, nullptr);
        EXPECT_TRUE(st().Form8);
        EXPECT_TRUE(boxes.texts.empty()) << c.qstaza;
        EXPECT_EQ(w->imelabela(), lastpath() + c.file);
        EXPECT_EQ(w->listingcount(), 2);
        EXPECT_EQ(w->linija(1), "0001   0000 00        NOP");
        w->close();
    }
}

TEST_F(Form8Test, MissingListingIsMadeByTheDisassemblerAndFoundNextTime)
{
    program(countdown, "/elsewhere/count.down.hex");
    test::BoxCloser boxes;
    Form8* w = open();
    ASSERT_EQ(boxes.texts.size(), 1u);
    EXPECT_EQ(boxes.texts[0], "Breakpoints Manager could not find corresponding listing file \n" + lastpath() +
                                  "count.lst created by assembler.\n"
                                  "The listing file will be created by Kelvane disassembler.\n"
                                  "Please, be patient.");
    EXPECT_EQ(boxes.titles[0], titletext());
    EXPECT_EQ(w->imelabela(), lastpath() + "count.lst");
    EXPECT_TRUE(QFile::exists(lastpath() + "count.lst"));
    EXPECT_FALSE(QFile::exists(lastpath() + "8085_disassembler_temporary_file"));
    EXPECT_EQ(w->linija(2), "Line   Addr Opcodes     Label   Instruction");
    EXPECT_EQ(w->linija(5), "0001   0000 06 03               MVI B,03H");
    EXPECT_EQ(w->linija(8), "0004   0006 76                  HLT");
    w->close();

    w = open();
    EXPECT_EQ(boxes.texts.size(), 1u); // no second message
    EXPECT_EQ(w->listingcount(), 16);
}

TEST_F(Form8Test, ListingMadeInTheDataFolderWhenLastPathCantBeWritten)
{
    program(countdown);
    st().lastpath = "/nonexistent-folder/";
    test::BoxCloser boxes;
    Form8* w = open();
    EXPECT_EQ(boxes.texts.size(), 1u);
    EXPECT_EQ(w->imelabela(), QString::fromStdString(apppath()) + "prog.lst");
    EXPECT_EQ(w->linija(5), "0001   0000 06 03               MVI B,03H");
}

TEST_F(Form8Test, BarRangeByLineCount)
{
    const struct {
        int lines, maximum;
        bool enabled;
    } cases[] = {{10, 1, false}, {20, 1, false}, {21, 2, true}, {60, 41, true}};
    program({0x00});
    for (const auto& c : cases) {
        std::string text;
        for (int n = 1; n <= c.lines; ++n)
            text += "line " + std::to_string(n) + "\n";
        writelisting("prog.lst", text);
        Form8* w = open();
        EXPECT_EQ(w->vscrollbar1()->maximum(), c.maximum) << c.lines;
        EXPECT_EQ(w->vscrollbar1()->isEnabled(), c.enabled) << c.lines;
        EXPECT_EQ(w->linija(std::min(c.lines, 20) - 1), QString("line %1").arg(std::min(c.lines, 20)));
        if (c.lines < 20)
            EXPECT_EQ(w->linija(c.lines), "");
        w->close();
    }
}

TEST_F(Form8Test, ClicksSetAndRemoveBreakpointsInOrder)
{
    writelisting("prog.lst", "Line   Addr Opcodes     Label   Instruction\r\n"
                             "0001   0100 3E 01               MVI A,1\r\n"
                             "0002   0102                     ; comment\r\n"
                             "0003   0102 c3 00 01            jmp\r\n"
                             "\r\n"
                             "0004   0050 00                  NOP\r\n"
                             "0005   0200 00\tNOP\r\n");
    program({0x00});
    Form8* w = open();
    const struct {
        int row;
        std::vector<std::string> after;
    } clicks[] = {
        {1, {"0100", "", "", "", "", "", "", "", "", ""}},
        {0, {"0100", "", "", "", "", "", "", "", "", ""}},     // header
        {2, {"0100", "", "", "", "", "", "", "", "", ""}},     // comment
        {3, {"0100", "", "", "", "", "", "", "", "", ""}},     // lower-case code byte
        {4, {"0100", "", "", "", "", "", "", "", "", ""}},     // blank
        {12, {"0100", "", "", "", "", "", "", "", "", ""}},    // below the last line
        {6, {"0100", "0200", "", "", "", "", "", "", "", ""}},
        {5, {"0050", "0100", "0200", "", "", "", "", "", "", ""}},
        {1, {"0050", "0200", "", "", "", "", "", "", "", ""}}, // a second click removes
    };
    for (const auto& c : clicks) {
        QTest::mouseClick(w->lineview(), Qt::LeftButton, {}, w->linerect(c.row).center());
        EXPECT_EQ(points(), c.after) << "row " << c.row;
        for (int i = 0; i < 10; ++i)
            EXPECT_EQ(w->prekidlabela(i).toStdString(), c.after[static_cast<size_t>(i)]);
    }
    EXPECT_TRUE(w->prekidsimbol(5));
    EXPECT_TRUE(w->prekidsimbol(6));
    EXPECT_FALSE(w->prekidsimbol(1));
    test::saveshot(w, "form8-clicks");

    w->Command1()->click();
    EXPECT_EQ(points(), std::vector<std::string>(10));
    EXPECT_FALSE(w->prekidsimbol(5));
    EXPECT_EQ(w->prekidlabela(0), "");
}

TEST_F(Form8Test, TheArrowStandsAtTheLastLineOfItsAddress)
{
    writelisting("prog.lst", "Line   Addr Opcodes\n"
                             "0001   0010                     LOOP:\n"
                             "0002   0010 3E 01               MVI A,1\n"
                             "0003   0012 C3 10 00            JMP LOOP\n"
                             "0004   0010 00                  NOP\n");
    program({0x00});
    Form8* w = open();
    st().pc = 0x10;
    w->drawlines();
    EXPECT_EQ(w->pcsimbol(), 4);
    w->linija_Click(2);
    EXPECT_EQ(points()[0], "0010");
    const bool marks[] = {false, false, true, false, true};
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(w->prekidsimbol(i), marks[i]) << i;
    st().pc = 0x12;
    w->drawlines();
    EXPECT_EQ(w->pcsimbol(), 3);
}

TEST_F(Form8Test, TheEleventhIsRefusedAndTheTenStay)
{
    writelisting("prog.lst", holdpclisting());
    program({0x00});
    Form8* w = open();
    test::BoxCloser boxes;
    for (int row = 19; row >= 10; --row)
        w->linija_Click(row);
    EXPECT_TRUE(boxes.texts.empty());
    const std::vector<std::string> ten = {"000B", "000C", "000D", "000E", "000F",
                                          "0010", "0011", "0012", "0013", "0014"};
    EXPECT_EQ(points(), ten);
    w->linija_Click(2);
    ASSERT_EQ(boxes.texts.size(), 1u);
    EXPECT_EQ(boxes.texts[0], "You can not define more than 10 breakpoints.");
    EXPECT_EQ(points(), ten);
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(w->prekidlabela(i).toStdString(), ten[static_cast<size_t>(i)]);

    // They outlive the window, and the next one shows them.
    w->close();
    EXPECT_EQ(points(), ten);
    w = open();
    EXPECT_EQ(w->prekidlabela(9), "0014");
    EXPECT_TRUE(w->prekidsimbol(19));
    EXPECT_FALSE(w->prekidsimbol(8));
}

// Hold PC after each instruction: (PC, bar's value, arrow's row) from a start at value 1.
struct HoldStep {
    int32_t pc;
    int bar;
    int arrow;
};

void runholdpc(Form8* w, const std::vector<HoldStep>& steps, const char* what)
{
    w->setbarvalue(1);
    for (const HoldStep& s : steps) {
        machinestate().pc = s.pc;
        toolrouter().drawlines();
        EXPECT_EQ(w->barvalue(), s.bar) << what << " pc " << s.pc;
        EXPECT_EQ(w->pcsimbol(), s.arrow) << what << " pc " << s.pc;
    }
}

TEST_F(Form8Test, HoldPcKeepsThePcLineInView)
{
    writelisting("prog.lst", holdpclisting());
    program({0x00});
    Form8* w = open();
    ASSERT_EQ(w->vscrollbar1()->maximum(), 41);
    st().running = true;
    runholdpc(w,
              {
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
              },
              "running");
    // The control shows the value at the next repaint.
    QTest::qWait(40);
    EXPECT_EQ(w->vscrollbar1()->value(), 37);

    w->Check2()->click();
    EXPECT_EQ(w->holdpc(), 0);
    EXPECT_EQ(regread("Hold PC In Focus", "1"), "0");
    runholdpc(w, {{5, 1, 4}, {19, 1, 18}, {30, 1, -1}}, "Hold PC off");

    w->Check2()->click();
    st().running = false; // after Stop
    runholdpc(w, {{5, 1, 4}, {19, 1, 18}, {30, 1, -1}}, "after Stop");
}

// Runs to the breakpoint on the HLT of countdown at each rate: seven instructions, B counted out.
class Form8RunTest : public Form8Test, public ::testing::WithParamInterface<int> {};

TEST_P(Form8RunTest, RunEndsAtTheBreakpoint)
{
    const int rate = GetParam();
    program(countdown);
    test::BoxCloser boxes;
    Form8* w = open();
    w->linija_Click(rowof(w, "0006"));
    ASSERT_EQ(st().breakpointaddress[0], "0006");
    act(("menuspeed" + std::to_string(rate)).c_str())->trigger();
    act("menustart")->trigger();
    while (rate == 1 && st().pc != 6 && st().instructioncount < 20)
        act("menustep")->trigger();
    EXPECT_EQ(st().pc, 6);
    EXPECT_EQ(st().instructioncount, 7);
    EXPECT_EQ(st().b, 0);
    EXPECT_EQ(st().simrate, 1);
    EXPECT_EQ(regread("Simulation Rate", ""), "1");
    EXPECT_TRUE(st().running);
    EXPECT_TRUE(act("menustep")->isEnabled());
    EXPECT_EQ(w->pcsimbol(), rowof(w, "0006"));
    EXPECT_TRUE(w->prekidsimbol(rowof(w, "0006")));
    test::saveshot(w, "form8-breakpoint");
    act("menustop")->trigger();
}

INSTANTIATE_TEST_SUITE_P(Rates, Form8RunTest, ::testing::Values(1, 5, 6));

TEST_F(Form8Test, StepByStepMovesTheArrow)
{
    program(countdown);
    test::BoxCloser boxes;
    Form8* w = open();
    act("menuspeed1")->trigger();
    act("menustart")->trigger();
    // Rows of 0000 MVI, 0002 DCR, 0003 JNZ, 0006 HLT are 5, 6, 7, 8.
    const int rows[] = {6, 7, 6, 7, 6, 7, 8};
    for (int expected : rows) {
        act("menustep")->trigger();
        EXPECT_EQ(w->pcsimbol(), expected) << "instruction " << st().instructioncount;
    }
    act("menustop")->trigger();
}

TEST_F(Form8Test, BreakpointAtTheStartIsFoundAfterAnInstruction)
{
    program({0x00, 0xC3, 0x00, 0x00}); // NOP / JMP 0000
    test::BoxCloser boxes;
    Form8* w = open();
    w->linija_Click(rowof(w, "0000"));
    act("menuspeed5")->trigger();
    act("menustart")->trigger();
    EXPECT_EQ(st().pc, 0);
    EXPECT_EQ(st().instructioncount, 2);
    act("menustop")->trigger();
}

TEST_F(Form8Test, BreakpointReachedThroughAnInterruptVector)
{
    // MVI A,08H / SIM / EI / loop: JMP loop ... 003C: HLT
    std::vector<int32_t> bytes(0x3D, 0);
    const int32_t code[] = {0x3E, 0x08, 0x30, 0xFB, 0xC3, 0x04, 0x00};
    std::copy(std::begin(code), std::end(code), bytes.begin());
    bytes[0x3C] = 0x76;
    program(bytes);
    test::BoxCloser boxes;
    Form8* w = open();
    w->setbarvalue(w->barmaximum());
    ASSERT_GE(rowof(w, "003C"), 0);
    w->linija_Click(rowof(w, "003C"));
    for (int rate : {5, 6}) {
        act(("menuspeed" + std::to_string(rate)).c_str())->trigger();
        QTimer::singleShot(50, main.get(), [this] { main->interruptbutton_Click(3); }); // RST 7.5
        act("menustart")->trigger();
        EXPECT_EQ(st().pc, 0x3C) << rate;
        EXPECT_EQ(st().simrate, 1);
        EXPECT_EQ(st().mem[static_cast<size_t>(st().sp)], 0x04) << "the loop's address was pushed";
        act("menustop")->trigger();
    }
}

TEST_F(Form8Test, FunctionKeysReachTheMainWindow)
{
    program(countdown);
    test::BoxCloser boxes;
    Form8* w = open();
    w->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(w));
    auto key = [w](Qt::Key k, Qt::KeyboardModifiers m = Qt::NoModifier) { QTest::keyClick(w, k, m); };

    key(Qt::Key_F4, Qt::ControlModifier);
    EXPECT_EQ(st().simrate, 4);
    key(Qt::Key_F1, Qt::ControlModifier);
    EXPECT_EQ(st().simrate, 1);
    EXPECT_EQ(regread("Simulation Rate", ""), "1");
    key(Qt::Key_F2); // idle: no Step
    key(Qt::Key_F3); // idle: no Stop
    EXPECT_FALSE(st().running);
    EXPECT_TRUE(messages.empty());
    key(Qt::Key_F1); // Start at Step By Step
    EXPECT_TRUE(st().running);
    EXPECT_EQ(st().instructioncount, 0);
    key(Qt::Key_F1); // no second Start
    key(Qt::Key_F2);
    key(Qt::Key_F2);
    EXPECT_EQ(st().instructioncount, 2);
    EXPECT_EQ(w->pcsimbol(), 7);
    key(Qt::Key_F3);
    EXPECT_FALSE(st().running);
    EXPECT_EQ(messages.size(), 1u);
    key(Qt::Key_F2); // stopped: no Step
    EXPECT_EQ(st().instructioncount, 2);
}

TEST_F(Form8Test, LoadAndClearCloseTheWindowAndEmptyTheList)
{
    test::BoxCloser boxes;
    for (bool load : {false, true}) {
        program(countdown);
        Form8* w = open();
        w->linija_Click(rowof(w, "0002"));
        ASSERT_EQ(st().breakpointaddress[0], "0002");
        const FileMenuHooks hooks = toolrouter().maincommands.filemenuhooks();
        if (load) {
            QFile f(lastpath() + "other.obj");
            ASSERT_TRUE(f.open(QIODevice::WriteOnly));
            f.write("\x76", 1);
            f.close();
            ASSERT_TRUE(loadchosenfile(st(), main.get(), hooks, lastpath() + "other.obj", 1));
        } else {
            menuclear_Click(st(), main.get(), hooks);
        }
        EXPECT_FALSE(st().Form8) << load;
        EXPECT_EQ(toolrouter().window(Tool::Form8), nullptr);
        EXPECT_EQ(points(), std::vector<std::string>(10));
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
}

TEST_F(Form8Test, ResizeKeepsTheHeightAndHoldsTheWidth)
{
    writelisting("prog.lst", std::string(200, 'x') + "\r\n" + holdpclisting());
    program({0x00});
    Form8* w = open();
    const int height = w->height();
    w->resize(Form8::minwidth, height);
    const int narrow = w->linewidth();
    const struct {
        int asked, width;
    } cases[] = {{300, Form8::minwidth}, {800, 800}, {2000, Form8::maxwidth}, {Form8::minwidth, Form8::minwidth}};
    for (const auto& c : cases) {
        w->resize(c.asked, height + 100);
        EXPECT_EQ(w->width(), c.width);
        EXPECT_EQ(w->height(), height);
        EXPECT_EQ(w->linija(0).size(), w->linewidth());
        if (c.width > Form8::minwidth)
            EXPECT_GT(w->linewidth(), narrow);
    }
    EXPECT_GE(narrow, 50); // the header and a code line fit at the narrowest
}

TEST_F(Form8Test, WheelMovesThreeLinesANotchWithinTheBar)
{
    writelisting("prog.lst", holdpclisting());
    program({0x00});
    Form8* w = open();
    const struct {
        int delta, value;
    } steps[] = {{-120, 4}, {-240, 10}, {40, 10}, {40, 10}, {40, 7}, {120, 4}, {600, 1}, {-120 * 20, 41}, {-120, 41}};
    for (const auto& s : steps) {
        w->wheel(s.delta);
        EXPECT_EQ(w->barvalue(), s.value) << s.delta;
        EXPECT_EQ(w->vscrollbar1()->value(), s.value) << s.delta;
    }
    EXPECT_EQ(w->linija(0).left(4), "0041");
}

TEST_F(Form8Test, PositionAndWidthAreKept)
{
    program({0x00});
    writelisting("prog.lst", holdpclisting());
    regwrite("Window8 Width", std::to_string(pixelstotwips(777)));
    Form8* w = open();
    EXPECT_EQ(w->width(), 777);
    w->resize(640, w->height());
    w->close();
    EXPECT_EQ(regread("Window8 Width", ""), std::to_string(pixelstotwips(640)));
    EXPECT_FALSE(st().Form8);
}

} // namespace
