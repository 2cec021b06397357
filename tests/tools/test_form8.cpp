// The Breakpoints Manager offscreen: the listing's lines, fields and making, clicks and the ten
// breakpoints, Hold PC, runs that end at breakpoints, function keys, Load and Clear, size and wheel.
#include "core/hexutil.h"
#include "shell/messages.h"
#include "sim/form1.h"
#include "sim/machinestate.h"
#include "sim/programfiles_ui.h"
#include "sim/settings.h"
#include "tests/common/datatable.h"
#include "tests/common/shot.h"
#include "tests/common/windowtest.h"
#include "tools/form8.h"

#include <QTest>
#include <QtWidgets>

#include <gtest/gtest.h>

#include <memory>
#include <tuple>

using namespace kelvane;

namespace {

TEST(Form8Lines, FieldsOfACaption)
{
    for (const QStringList& r : test::datatable("form8/fields.txt")) {
        const std::string line = QString(r[0]).replace("\\t", "\t").toStdString();
        const LineFields f = linefields(firstcharacters(expandtabs(line), r[1].toInt()));
        EXPECT_EQ(f.address, r[2].toInt(nullptr, 16)) << line << " width " << r[1].toStdString();
        EXPECT_EQ(f.codeline(), r[3] == "1") << line << " width " << r[1].toStdString();
    }
    EXPECT_EQ(expandtabs("12345678\tX\tY"), "12345678        X       Y");
    EXPECT_EQ(expandtabs("\xC3\xA4\tX"), "\xC3\xA4       X"); // a two-byte character is one column
}

TEST(Form8Lines, SplitAtEveryLineEndAndReadLatin1)
{
    const auto bytes = [](const QString& t) { return QByteArray::fromPercentEncoding(t.toLatin1()).toStdString(); };
    for (const QStringList& r : test::datatable("form8/split.txt")) {
        ListingLines l;
        l.assign(bytes(r[0]));
        std::vector<std::string> got, lines;
        for (int32_t n = 1; n <= l.count(); ++n)
            got.emplace_back(l.line(n));
        for (int i = 0; i < r[1].toInt(); ++i)
            lines.push_back(bytes(r.value(i + 2)));
        EXPECT_EQ(got, lines) << r[0].toStdString();
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

// MVI B,3 / loop: DCR B / JNZ loop / HLT.
const std::vector<int32_t> countdown = {0x06, 0x03, 0x05, 0xC2, 0x02, 0x00, 0x76};

class Form8Test : public test::WindowTest {
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

    // The program in memory and the source name the listing is looked for by; opens the window.
    Form8* open(const std::vector<int32_t>& bytes, const QString& qstaza = "/elsewhere/prog.hex")
    {
        std::fill(st().mem.begin(), st().mem.end(), 0);
        std::copy(bytes.begin(), bytes.end(), st().mem.begin());
        st().programsize = static_cast<int32_t>(bytes.size());
        main->label("qstaza")->setText(qstaza);
        return open();
    }
    Form8* open() { return qobject_cast<Form8*>(toolrouter().show(Tool::Form8)); }
    QString lastpath() const { return dir.path() + "/"; }
    // holdpc.lst: line 1 a long header, line n (2-60) a code line at address n, except line 40, which
    // has the address 41 and no code byte, so that no line has the address 40 (0x28).
    void listing(const char* name) { QFile::copy(KELVANE_TEST_DATA "/form8/" + QString(name), path("prog.lst")); }
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
    QAction* act(const char* name) { return main->action(name); }

    std::unique_ptr<Form1> main;
    std::vector<std::string> messages;
};

TEST_F(Form8Test, ListingFoundInLastPathByTheNameBeforeTheFirstDot)
{
    // The program, the listing's name, its lines and the bar's maximum (enabled above 20 lines).
    const std::tuple<const char*, const char*, int, int> cases[] = {
        {"/elsewhere/prog.hex", "prog.lst", 10, 1}, {"/elsewhere/prog.v2.final.hex", "prog.lst", 20, 1},
        {"/elsewhere/Prog.hex", "PROG.LST", 21, 2}, // the exact name first, then any case
        {"/elsewhere/noext", "noext.lst", 60, 41},
    };
    for (const auto& [qstaza, file, lines, maximum] : cases) {
        for (const QString& f : QDir(lastpath()).entryList(QDir::Files))
            QFile::remove(lastpath() + f);
        QByteArray text;
        for (int n = 1; n <= lines; ++n)
            text += "line " + QByteArray::number(n) + "\r\n";
        write(file, text);
        Form8* w = open({0x00}, qstaza);
        EXPECT_TRUE(driver->texts.empty()) << qstaza;
        const QScrollBar* bar = w->vscrollbar1();
        EXPECT_EQ(std::tuple(w->imelabela(), w->listingcount(), bar->maximum(), bar->isEnabled()),
                  std::tuple(lastpath() + file, lines, maximum, maximum > 1));
        EXPECT_EQ(w->linija(std::min(lines, 20) - 1), QString("line %1").arg(std::min(lines, 20)));
        EXPECT_EQ(w->linija(lines), "");
        w->close();
    }
}

TEST_F(Form8Test, MissingListingIsMadeByTheDisassemblerAndFoundNextTime)
{
    Form8* w = open(countdown, "/elsewhere/count.down.hex");
    EXPECT_EQ(driver->texts, std::vector<QString>{"Breakpoints Manager could not find corresponding listing file \n" +
                                                lastpath() +
                                                "count.lst created by assembler.\n"
                                                "The listing file will be created by Kelvane disassembler.\n"
                                                "Please, be patient."});
    EXPECT_EQ(driver->titles, std::vector<QString>{titletext()});
    EXPECT_EQ(w->imelabela(), lastpath() + "count.lst");
    EXPECT_FALSE(QFile::exists(lastpath() + "8085_disassembler_temporary_file"));
    EXPECT_EQ(w->linija(2), "Line   Addr Opcodes     Label   Instruction");
    EXPECT_EQ(w->linija(5), "0001   0000 06 03               MVI B,03H");
    w->close();
    EXPECT_EQ(open()->listingcount(), 16);
    EXPECT_EQ(driver->texts.size(), 1u); // found: no second message
    // Where the folder can't be written, the listing is made in the user's data folder.
    toolrouter().window(Tool::Form8)->close();
    st().lastpath = "/nonexistent-folder/";
    w = open();
    EXPECT_EQ(driver->texts.size(), 2u);
    EXPECT_EQ(w->imelabela(), QString::fromStdString(apppath()) + "count.lst");
    EXPECT_EQ(w->linija(5), "0001   0000 06 03               MVI B,03H");
}

TEST_F(Form8Test, ClicksSetAndRemoveBreakpointsInOrder)
{
    listing("clicks.lst");
    Form8* w = open({0x00});
    const std::pair<int, const char*> clicks[] = { // the row clicked, the ten texts after it
        {1, "0100 - - - - - - - - -"}, {0, "0100 - - - - - - - - -"}, // the header: nothing
        {3, "0100 - - - - - - - - -"},                                 // a lower-case code byte: nothing
        {6, "0100 0200 - - - - - - - -"}, {5, "0050 0100 0200 - - - - - - -"},
        {7, "0050 0200 - - - - - - - -"}, // another line of 0100 removes it
    };
    for (const auto& [row, after] : clicks) {
        QTest::mouseClick(w->lineview(), Qt::LeftButton, {}, w->linerect(row).center());
        EXPECT_EQ(points() + " / " + points(w), std::string(after) + " / " + after) << "row " << row;
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
    EXPECT_EQ(points() + points(w), "- - - - - - - - - -- - - - - - - - - -");
    EXPECT_FALSE(w->prekidsimbol(5));
}

TEST_F(Form8Test, HoldPcKeepsThePcLineInViewTheEleventhBreakpointIsRefused)
{
    listing("holdpc.lst");
    Form8* w = open({0x00});
    ASSERT_EQ(w->vscrollbar1()->maximum(), 41);
    QString group;
    for (const QStringList& r : test::datatable("form8/holdpc.txt")) {
        if (r[0] != group) {
            for (int i = 0; i < 100 && w->vscrollbar1()->value() != w->barvalue(); ++i)
                QTest::qWait(10); // the control shows the value at the next repaint
            EXPECT_EQ(w->vscrollbar1()->value(), w->barvalue()) << group.toStdString();
            group = r[0];
            if (w->Check2()->isChecked() == (group == "off"))
                w->Check2()->click();
            EXPECT_EQ(regread("Hold PC In Focus", "?"), group == "off" ? "0" : "1");
            st().running = group != "stopped";
            w->setbarvalue(1);
        }
        st().pc = r[1].toInt(nullptr, 16);
        toolrouter().drawlines();
        EXPECT_EQ(QString("%1 %2").arg(w->barvalue()).arg(w->pcsimbol()), r.mid(2).join(' '))
            << group.toStdString() << " " << r[1].toStdString();
    }
    // Ten breakpoints outlive the window; an eleventh is refused.
    for (int row = 19; row >= 10; --row)
        w->linija_Click(row);
    w->linija_Click(2);
    EXPECT_EQ(driver->texts, std::vector<QString>{"You can not define more than 10 breakpoints."});
    const std::string ten = "000B 000C 000D 000E 000F 0010 0011 0012 0013 0014";
    EXPECT_EQ(points(), ten);
    EXPECT_EQ(points(w), ten);
    w->close();
    w = open();
    EXPECT_EQ(points(w), ten);
    EXPECT_TRUE(w->prekidsimbol(19));
    EXPECT_FALSE(w->prekidsimbol(8));
}

TEST_F(Form8Test, RunsEndAtTheBreakpointAfterAnInstruction)
{
    // MVI A,08H / SIM / EI / loop: JMP loop ... 003C: HLT, reached through the vector of RST 7.5.
    std::vector<int32_t> vectored = {0x3E, 0x08, 0x30, 0xFB, 0xC3, 0x04, 0x00};
    vectored.resize(0x3C, 0);
    vectored.push_back(0x76);
    // The program, the breakpoint, the rate and the count at the stop (-1: RST 7.5 brings the run there).
    const std::tuple<std::vector<int32_t>, const char*, int, int> runs[] = {
        {vectored, "003C", 5, -1}, {vectored, "003C", 6, -1},
        {{0x00, 0xC3, 0x00, 0x00}, "0000", 5, 2}, // NOP / JMP 0000: the start is found after the JMP
        {countdown, "0006", 5, 7}, {countdown, "0006", 6, 7}, // the last one's picture is kept
    };
    for (const auto& [bytes, at, speed, count] : runs) {
        SCOPED_TRACE(std::string(at) + " at rate " + std::to_string(speed));
        Form8* w = open(bytes, QString("/elsewhere/run%1.hex").arg(speed * count));
        w->Command1_Click();
        w->setbarvalue(w->barmaximum());
        w->linija_Click(rowof(w, at));
        act(("menuspeed" + std::to_string(speed)).c_str())->trigger();
        if (count < 0)
            QTimer::singleShot(50, main.get(), [this] { main->interruptbutton_Click(3); });
        act("menustart")->trigger();
        EXPECT_EQ(std::tuple(st().pc, st().simrate, regread("Simulation Rate", ""), act("menustep")->isEnabled()),
                  std::tuple(parsehexword(at), 1, "1", true));
        EXPECT_EQ(w->pcsimbol(), rowof(w, at));
        if (count >= 0)
            EXPECT_EQ(st().instructioncount, count);
        else
            EXPECT_EQ(st().mem[static_cast<size_t>(st().sp)], 0x04) << "the loop's address was pushed";
        test::saveshot(w, "form8-breakpoint");
        act("menustop")->trigger();
        w->close();
    }
}

TEST_F(Form8Test, FunctionKeysReachTheMainWindow)
{
    Form8* w = open(countdown);
    w->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(w));
    for (const QStringList& r : test::datatable("form8/keys.txt")) {
        const QKeyCombination key = QKeySequence::fromString(r[0])[0];
        QTest::keyClick(w, key.key(), key.keyboardModifiers());
        const QString now = QString("%1 %2 %3").arg(int(st().running)).arg(st().simrate).arg(st().instructioncount);
        EXPECT_EQ(now + " " + QString::number(w->pcsimbol()), r.mid(1).join(' ')) << r[0].toStdString();
    }
    EXPECT_EQ(regread("Simulation Rate", ""), "1");
    EXPECT_EQ(messages.size(), 1u); // the statistics of the Stop
}

TEST_F(Form8Test, LoadAndClearCloseTheWindowAndEmptyTheList)
{
    write("other.obj", "\x76");
    for (bool load : {false, true}) {
        Form8* w = open(countdown);
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
    listing("holdpc.lst");
    regwrite("Window8 Width", std::to_string(pixelstotwips(777)));
    Form8* w = open({0x00});
    EXPECT_EQ(w->width(), 777);
    const int height = w->height();
    w->resize(Form8::minwidth, height);
    const int narrow = w->linewidth();
    EXPECT_GE(narrow, 50); // the header and a code line fit at the narrowest
    const int cases[][2] = {{300, Form8::minwidth}, {800, 800}, {2000, Form8::maxwidth}, {640, 640}};
    for (const auto& [asked, width] : cases) {
        w->resize(asked, height + 100);
        EXPECT_EQ(std::tuple(w->size(), w->linija(0).size(), w->linewidth() > narrow),
                  std::tuple(QSize(width, height), w->linewidth(), width > Form8::minwidth));
    }
    const int wheel[][2] = {{-120, 4}, {-240, 10}, {40, 10}, {40, 10}, {40, 7}, {600, 1}, {-2400, 41}};
    for (const auto& [delta, value] : wheel) { // touchpad parts add up to notches
        w->wheel(delta);
        EXPECT_EQ(std::pair(w->barvalue(), w->vscrollbar1()->value()), std::pair(value, value)) << delta;
    }
    EXPECT_EQ(w->linija(0).left(4), "0041"); // the listing's last 20 lines
    w->close();
    EXPECT_EQ(regread("Window8 Width", ""), std::to_string(pixelstotwips(640)));
}

} // namespace
