// The Simulation Log Viewer: the bar and the lines on view at the mode limits, scrolling, the
// columns cut from a row, ".log" files opened and saved, and the viewer and "log.txt" beside runs
// of the main window, whose rows must be those of kelvane-cli run --trace.
#include "sim/form1.h"
#include "sim/machinestate.h"
#include "sim/settings.h"
#include "tools/form16.h"

#include <QtTest>
#include <QtWidgets>

#include "tests/common/datatable.h"
#include "tests/common/shot.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <filesystem>

using namespace kelvane;

namespace {

MachineState& st() { return machinestate(); }

// A row of 64 characters with counter n.
std::string row(size_t n)
{
    std::string r = std::to_string(n);
    r.resize(7, ' ');
    return r + "0100  MOV A,B         3C 01000100  00 00 00 00 00 00 FFF0";
}

std::string rowsfile(size_t count)
{
    std::string text;
    for (size_t i = 1; i <= count; ++i)
        text += row(i) + "\r\n";
    return text;
}

// Answers every message box that comes up while it lives with `button`, keeping the texts.
struct BoxAnswer {
    explicit BoxAnswer(QMessageBox::StandardButton button = QMessageBox::Ok)
    {
        QObject::connect(&timer, &QTimer::timeout, [this, button] {
            if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
                texts.push_back(box->text());
                box->button(button) ? box->button(button)->click() : box->accept();
            }
        });
        timer.start(10);
    }
    std::vector<QString> texts;
    QTimer timer;
};

class Form16Test : public ::testing::Test {
protected:
    void SetUp() override
    {
        QSettings(QSettings::NativeFormat, QSettings::UserScope, settingsname).clear();
        st().~MachineState();
        new (&st()) MachineState();
        initialisestate(st());
        st().optconfirm = "ON"; // results in message boxes, which the tests read
        make();
    }
    void TearDown() override { make(false); }
    void make(bool again = true)
    {
        if (viewer)
            viewer->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        if (again)
            (viewer = new Form16)->show();
    }
    static void settle() { QTest::qWait(40); } // the rows of a run show at the next frame
    void addrows(size_t count, size_t from = 1)
    {
        for (size_t i = from; i < from + count; ++i)
            viewer->logadd(row(i));
    }
    QString line(int i, int column = 0) const { return viewer->model()->text(i, column); }
    long counter(int i) const { return line(i).trimmed().toLong(); } // 0 for an empty line
    int shownlines() const
    {
        int n = 0;
        for (int i = 0; i < loglines; ++i)
            n += line(i).isEmpty() ? 0 : 1;
        return n;
    }
    QString put(const QString& name, const std::string& bytes)
    {
        QFile f(folder.filePath(name));
        f.open(QIODevice::WriteOnly | QIODevice::Truncate);
        f.write(bytes.data(), static_cast<qint64>(bytes.size()));
        return f.fileName();
    }
    std::string contents(const QString& name)
    {
        QFile f(folder.filePath(name));
        return f.open(QIODevice::ReadOnly) ? f.readAll().toStdString() : "(none)";
    }
    void openfile(const QString& path)
    {
        viewer->choosefile = [path](QWidget*, bool) { return path; };
        viewer->menuopen();
    }
    QScrollBar* bar() const { return viewer->pozicijav(); }
    void keeplast(bool on) { viewer->findChild<QCheckBox*>("Check2")->setChecked(on); }
    void wheel(int angle)
    {
        QWheelEvent ev({20, 20}, {20, 20}, {}, {0, angle}, Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(viewer->findChild<QTableView*>("logtable")->viewport(), &ev);
    }

    QTemporaryDir folder;
    QPointer<Form16> viewer;
};

TEST_F(Form16Test, BarAndLinesFollowTheRowCount)
{
    for (const QStringList& c : test::datatable("tools/logbar.txt")) {
        ASSERT_EQ(c.size(), 8);
        SCOPED_TRACE(c.join(" | ").toStdString());
        const auto rows = c[0].toULong();
        make();
        keeplast(c[1] == "on");
        if (rows > 0) {
            addrows(rows - 1);
            settle();
            if (c[2] != "-")
                bar()->setValue(c[2].toInt());
            addrows(1, rows);
        }
        settle();
        EXPECT_EQ(bar()->isEnabled(), c[3] == "yes");
        EXPECT_EQ(bar()->maximum(), c[4].toInt());
        EXPECT_EQ(bar()->value(), c[5].toInt());
        EXPECT_EQ(counter(0), c[6].toLong());
        EXPECT_EQ(shownlines(), c[7].toInt());
        if (c[7] == "15")
            EXPECT_EQ(counter(14), c[6].toLong() + 14);
    }
    // A clean at Start resets the bar whatever its value.
    bar()->setValue(1000);
    viewer->logclean();
    EXPECT_EQ(std::make_tuple(bar()->isEnabled(), bar()->maximum(), bar()->value(), shownlines()),
              std::make_tuple(false, 1, 1, 0));
}

TEST_F(Form16Test, AWheelNotchMovesTheBarBy3)
{
    addrows(40);
    settle();
    wheel(-60), wheel(-60); // a notch towards the user goes forward, in as many messages as it takes
    EXPECT_EQ(counter(0), 4);
    wheel(-120 * 10);
    EXPECT_EQ(bar()->value(), 26); // held at the maximum
    // In page mode a notch is 3 pages; Keep Last holds the end whatever the wheel does.
    addrows(30000 - 40 + 1, 41);
    settle();
    bar()->setValue(1);
    wheel(-120);
    EXPECT_EQ(counter(0), 3 * 15 + 1);
    viewer->findChild<QCheckBox*>("Check2")->click();
    wheel(120);
    EXPECT_EQ(bar()->value(), 2001);
}

TEST_F(Form16Test, ColumnsAreSlicesOfTheRow)
{
    viewer->logadd("12345670024  TRAP            00 00000000  01 02 03 04 05 06 FFFD");
    viewer->logadd("10000000" + row(1).substr(7)); // a counter of eight digits pushes the row on
    settle();
    const char* expected[12] = {"123456", "0024 ", "TRAP           ", "00", "00000000 ", "01",
                                "02",     "03",    "04",              "05", "06",        "FFFD"};
    for (int c = 0; c < 12; ++c)
        EXPECT_EQ(line(0, c), expected[c]) << logcolumns[static_cast<size_t>(c)].name;
    EXPECT_EQ(line(1, 0) + line(1, 1), "10000000100");
    test::saveshot(viewer, "form16-rows");
}

TEST_F(Form16Test, OpeningFiles)
{
    const QString fifo = folder.filePath("pipe.log");
    ASSERT_EQ(::mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);
    ASSERT_TRUE(QDir(folder.path()).mkdir("sub.log"));
    const std::string r = row(1);
    const struct {
        QString path;
        size_t rows;
        const char* message; // empty: none
        bool shown;          // the caption names the file
        bool menu;           // "&File" enabled afterwards
    } cases[] = {
        {put("empty.log", ""), 0, "", true, true},
        {put("one.log", r + "\r\n"), 1, "", true, true},
        {put("short.log", r.substr(0, 63) + "\r\n"), 0, "The log file is corrupted.", false, false},
        {folder.filePath("missing.log"), 0, "The log file missing.log can't be read: No such file or directory.",
         false, true},
        {folder.filePath("sub.log"), 0, "The log file sub.log can't be read: it is a folder.", false, true},
        {fifo, 0, "The log file pipe.log can't be read: it is not a plain file.", false, true}, // never waited on
        {"/proc/self/mem", 0, "The log file mem can't be read: Input/output error.", false, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.path.toStdString());
        make();
        addrows(20); // emptied in any case
        BoxAnswer boxes;
        openfile(c.path);
        EXPECT_EQ(viewer->logcount(), c.rows);
        const QString name = c.path.mid(c.path.lastIndexOf('/') + 1);
        EXPECT_EQ(viewer->windowTitle(), c.shown ? "Simulation Log Viewer - " + name : "Simulation Log Viewer");
        EXPECT_EQ(viewer->action("menu1")->isEnabled(), c.menu);
        EXPECT_EQ(viewer->takesrows(), !c.shown);
        EXPECT_EQ(boxes.texts, *c.message ? std::vector<QString>{c.message} : std::vector<QString>{});
        EXPECT_EQ(QString::fromStdString(st().lastpath), c.path.left(c.path.lastIndexOf('/') + 1));
    }
    // NUL bytes show as blanks; a cancelled dialog still empties the viewer.
    openfile(put("nul.log", std::string(64, '\0')));
    EXPECT_EQ(line(0, 0), "      ");
    openfile(QString());
    EXPECT_EQ(viewer->logcount(), 0u);
    EXPECT_EQ(viewer->windowTitle(), "Simulation Log Viewer");
}

TEST_F(Form16Test, AFileOfMoreRowsThanPagesOfASixteenBitBarOpensToItsEndAndClosingDuringAReadStopsIt)
{
    const size_t count = 491506; // 32,768 pages
    const QString path = put("big.log", rowsfile(count));
    openfile(path);
    ASSERT_EQ(viewer->logcount(), count);
    EXPECT_EQ(bar()->maximum(), 32768);
    QTest::keyClick(viewer, Qt::Key_End);
    EXPECT_EQ(counter(0), static_cast<long>(count));
    EXPECT_EQ(shownlines(), 1);
    bar()->setValue(32767);
    EXPECT_EQ(counter(14), static_cast<long>(count - 1));
    test::saveshot(viewer, "form16-bigfile");
    // While a file is shown, runs neither add rows nor empty the viewer.
    EXPECT_FALSE(viewer->takesrows());
    viewer->logadd(row(1));
    viewer->logclean();
    EXPECT_EQ(viewer->logcount(), count);
    // Closed during a read: the log itself stays open nowhere (threads may keep their own handles).
    // Closed at the first pause of the read once rows have come in.
    bool closed = false;
    size_t atclose = 0;
    QTimer look;
    QObject::connect(&look, &QTimer::timeout, [&] {
        if (!closed && viewer && (atclose = viewer->logcount()) > 0)
            closed = viewer->close();
    });
    viewer->choosefile = [&](QWidget*, bool) {
        look.start(0);
        return path;
    };
    viewer->menuopen();
    EXPECT_TRUE(closed);
    EXPECT_LT(atclose, count); // the read was under way
    EXPECT_FALSE(st().Form16);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(viewer.isNull());
    for (const auto& e : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code ec;
        EXPECT_NE(std::filesystem::read_symlink(e.path(), ec), path.toStdString());
    }
}

TEST_F(Form16Test, Saving)
{
    {
        BoxAnswer boxes;
        viewer->menusave(); // nothing to save: no dialog
        EXPECT_EQ(boxes.texts, std::vector<QString>{"Simulation Log Viewer is empty."});
    }
    addrows(3);
    const struct {
        const char *chosen, *written;
        const char* existing; // the old file at the written name
        QMessageBox::StandardButton answer;
    } cases[] = {
        {"run.1.log.txt", "run.log", nullptr, QMessageBox::Yes},
        {"plain", "plain.log", nullptr, QMessageBox::Yes},
        {"old.log", "old.log", "old contents", QMessageBox::Yes},
        {"kept.bak", "kept.log", "old contents", QMessageBox::No},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.chosen);
        if (c.existing)
            put(c.written, c.existing);
        BoxAnswer boxes(c.answer);
        viewer->choosefile = [&](QWidget*, bool save) { return save ? folder.filePath(c.chosen) : QString(); };
        viewer->menusave();
        std::vector<QString> asked; // and nothing is confirmed
        if (c.existing)
            asked.push_back("Do you want to overwrite existing file " + folder.filePath(c.written) + "?");
        EXPECT_EQ(boxes.texts, asked);
        EXPECT_EQ(contents(c.written), c.answer == QMessageBox::No ? c.existing : rowsfile(3));
        EXPECT_EQ(viewer->windowTitle(), "Simulation Log Viewer");
        EXPECT_TRUE(viewer->takesrows());
    }
    // A CR LF file opened and saved comes back byte for byte; the caption stays.
    openfile(put("in.log", rowsfile(100)));
    viewer->choosefile = [&](QWidget*, bool) { return folder.filePath("out.log"); };
    viewer->menusave();
    EXPECT_TRUE(contents("out.log") == rowsfile(100));
    EXPECT_EQ(viewer->windowTitle(), "Simulation Log Viewer - in.log");
}

// Beside runs of the main window.
class Form16RunTest : public Form16Test {
protected:
    void SetUp() override
    {
        Form16Test::SetUp();
        regwrite("Prompt Before IN", "OFF");
        form = std::make_unique<Form1>();
        form->messagesink = [](const std::string&) {};
        form->viewersink = [this](const QString& path) { viewed.push_back(path); };
        form->show();
        st().optffdefaults = st().opthalt = "ON";
    }
    void TearDown() override { Form16Test::TearDown(), form.reset(); }
    void load(const std::vector<int32_t>& pairs) // address, byte pairs
    {
        std::fill(st().mem.begin(), st().mem.end(), 0);
        for (size_t i = 0; i < pairs.size(); i += 2)
            st().mem[static_cast<size_t>(pairs[i])] = pairs[i + 1];
    }
    QAction* act(const char* name) { return form->action(name); }
    void step(int n)
    {
        for (int i = 0; i < n && act("menustep")->isEnabled(); ++i)
            act("menustep")->trigger();
    }
    void ultimate(int32_t count) // runs at rate 6 until the count passes `count`
    {
        QTimer poll;
        QObject::connect(&poll, &QTimer::timeout, [&] {
            if (st().instructioncount > count)
                poll.stop(), act("menustop")->trigger();
        });
        poll.start(5);
        act("menuspeed6")->trigger();
        act("menustart")->trigger();
    }
    std::vector<std::string> loglines()
    {
        QFile f(QString::fromStdString(form->simlog().path()));
        std::vector<std::string> lines;
        if (f.open(QIODevice::ReadOnly))
            for (const QByteArray& l : f.readAll().split('\n'))
                lines.push_back(l.toStdString());
        return lines;
    }

    std::unique_ptr<Form1> form;
    std::vector<QString> viewed;
};

// MVI A,5; INR A; CPI 0AH; JNZ 0002H; HLT; at the TRAP vector MVI B,7; RET.
const std::vector<int32_t> countprogram = {0, 0x3E, 1, 0x05, 2,    0x3C, 3,    0xFE, 4,    0x0A, 5,    0xC2,
                                           6, 0x02, 7, 0x00, 8,    0x76, 0x24, 0x06, 0x25, 0x07, 0x26, 0xC9};
const std::vector<int32_t> jumploop = {0, 0xC3, 1, 0x00, 2, 0x00}; // JMP 0000H

TEST_F(Form16RunTest, LogFileAndViewerOfARunWithTrapAndResetMatchTheTrace)
{
    load(countprogram);
    st().optlogging = "ON";
    act("menuspeed1")->trigger();
    for (int run = 0; run < 2; ++run) { // a second Start replaces the file
        act("menustart")->trigger();
        step(3);
        form->command(2)->click(); // TRAP after the third instruction
        step(4);
        QTest::mousePress(form->command(1), Qt::LeftButton);
        QTest::mouseRelease(form->command(1), Qt::LeftButton);
        step(100);
        ASSERT_FALSE(st().running);
    }
    const std::vector<std::string> lines = loglines();
    ASSERT_GE(lines.size(), 8u);
    const size_t footer = lines.size() - 4;
    const std::pair<size_t, std::string> starts[] = {
        {0, "Simulation started at "}, {1, std::string(logheader) + "\r"}, {2, "\r"},
        {footer, "Simulation stopped at "}, {footer + 2, "Real-time duration of the simulation is "}};
    for (const auto& [i, start] : starts)
        EXPECT_EQ(lines[i].rfind(start, 0), 0u) << lines[i];
    EXPECT_NE(lines[footer + 1].find(" seconds elapsed.\r"), std::string::npos);
    for (size_t i = 0; i + 1 < lines.size(); ++i) // CR LF after every line, the last one too
        EXPECT_TRUE(!lines[i].empty() && lines[i].back() == '\r') << i;
    EXPECT_EQ(lines.back(), "");
    EXPECT_EQ(viewed.size(), 2u);

    // The rows are those of the command-line runner pressing the same buttons.
    std::vector<std::string> logged, traced;
    for (size_t i = 3; i < footer; ++i)
        logged.push_back(lines[i].substr(0, lines[i].size() - 1));
    QByteArray object;
    for (size_t a = 0; a < 0x27; ++a)
        object += static_cast<char>(st().mem[a]);
    QProcess cli;
    cli.start(QCoreApplication::applicationDirPath() + "/kelvane-cli",
              {"run", put("count.obj", object.toStdString()), "--trace", "--ff-defaults", "on", "--interrupt",
               "3:TRAP", "--interrupt", "8:RESET"});
    ASSERT_TRUE(cli.waitForFinished(10000)) << "kelvane-cli is built beside the tests";
    for (const QByteArray& l : cli.readAllStandardOutput().split('\n'))
        if (!l.isEmpty())
            traced.push_back(l.toStdString());
    EXPECT_EQ(logged, traced);
    ASSERT_GT(logged.size(), 9u);
    EXPECT_EQ(logged[3].substr(0, 29), "4      0024  TRAP            ");
    EXPECT_EQ(logged[8], "RESET");

    // The viewer, open during the runs, has the second run's rows without the RESET line.
    settle();
    logged.erase(logged.begin() + 8);
    ASSERT_EQ(viewer->logcount(), logged.size());
    for (size_t i = 0; i < logged.size(); ++i)
        EXPECT_EQ(viewer->logrows()[i], logged[i]);
    EXPECT_EQ(line(3, 1), "0024 ");
}

TEST_F(Form16RunTest, AnUltimateRunLogsEveryRowInOrder)
{
    load(jumploop);
    st().optlogging = "ON";
    ultimate(300000); // the rows pass through many of the log's blocks
    const std::vector<std::string> lines = loglines();
    const auto count = static_cast<size_t>(st().instructioncount);
    ASSERT_EQ(lines.size(), count + 7); // heading, rows, footer, the empty rest after the last line end
    ASSERT_EQ(lines[3].substr(0, 29), "1      0000  JMP 0000H       ");
    for (size_t i = 1; i <= count; ++i)
        ASSERT_EQ(lines[i + 2], row(i).substr(0, 7) + lines[3].substr(7));
    EXPECT_EQ(lines[count + 3].rfind("Simulation stopped at ", 0), 0u);
}

TEST_F(Form16RunTest, ALogThatCantBeCreatedLeavesTheRunAlone)
{
    load(countprogram);
    ASSERT_TRUE(QDir().mkpath(folder.filePath("data/log.txt/inside")));
    st().apppath = folder.filePath("data").toStdString() + "/";
    st().optlogging = "ON";
    act("menuspeed5")->trigger();
    act("menustart")->trigger();
    EXPECT_EQ(st().instructioncount, 17);
    EXPECT_TRUE(viewed.empty()); // no text viewer for a log that isn't there
}

TEST_F(Form16RunTest, AtUltimateRateTheViewerTakes450000RowsAndTheRunGoesOn)
{
    load(jumploop);
    keeplast(true);
    ultimate(2 * static_cast<int32_t>(logviewerlimit));
    EXPECT_EQ(viewer->logcount(), logviewerlimit);
    EXPECT_FALSE(form->hooks().wantlog); // nothing is composed once it is full
    settle();
    EXPECT_EQ(bar()->value(), 30000);
    EXPECT_EQ(counter(14), static_cast<long>(logviewerlimit));
}

} // namespace
