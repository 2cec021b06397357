// The Simulation Log Viewer: the bar and the lines on view for row counts at the mode limits,
// scrolling, the columns cut from a row, ".log" files opened (good, corrupt, unreadable, huge) and
// saved, and the viewer and "log.txt" beside a run of the main window.
#include "core/execute.h"
#include "sim/form1.h"
#include "sim/machinestate.h"
#include "sim/settings.h"
#include "sim/toolrouter.h"
#include "tools/form16.h"

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QMessageBox>
#include <QProcess>
#include <QPushButton>
#include <QScrollBar>
#include <QSettings>
#include <QTableView>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QWheelEvent>

#include "tests/common/dialogdriver.h"
#include "tests/common/shot.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

using namespace kelvane;

namespace {

MachineState& st()
{
    return machinestate();
}

// A row of 64 characters with counter n.
std::string row(size_t n)
{
    std::string r = std::to_string(n);
    r.resize(7, ' ');
    return r + "0100  MOV A,B         3C 01000100  00 00 00 00 00 00 FFF0";
}

std::string rowsfile(size_t count, const char* end = "\r\n")
{
    std::string text;
    text.reserve(count * 66);
    for (size_t i = 1; i <= count; ++i)
        text += row(i) + end;
    return text;
}

// Answers every message box that comes up while it lives with `button`, keeping the texts.
class BoxAnswer {
public:
    explicit BoxAnswer(QMessageBox::StandardButton button)
    {
        QObject::connect(&timer_, &QTimer::timeout, [this, button] {
            if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
                texts.push_back(box->text());
                if (QAbstractButton* b = box->button(button))
                    b->click();
                else
                    box->accept();
            }
        });
        timer_.start(10);
    }
    std::vector<QString> texts;

private:
    QTimer timer_;
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
        st().lastpath = folder.path().toStdString() + "/";
        make();
    }
    void TearDown() override
    {
        if (viewer)
            viewer->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    void make()
    {
        if (viewer) {
            viewer->close();
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        }
        viewer = new Form16;
        viewer->show();
    }
    // Rows of a run show at the next frame.
    static void settle() { QTest::qWait(40); }
    void addrows(size_t count, size_t from = 1)
    {
        for (size_t i = from; i < from + count; ++i)
            viewer->logadd(row(i));
    }
    QString line(int i, int column = 0) const { return viewer->model()->text(i, column); }
    // The counter shown on line i (0 when the line is empty).
    long counter(int i) const { return line(i).trimmed().toLong(); }
    int shownlines() const
    {
        int n = 0;
        for (int i = 0; i < loglines; ++i)
            n += line(i).isEmpty() ? 0 : 1;
        return n;
    }
    QString put(const QString& name, const std::string& bytes)
    {
        const QString path = folder.filePath(name);
        QFile f(path);
        f.open(QIODevice::WriteOnly | QIODevice::Truncate);
        f.write(bytes.data(), static_cast<qint64>(bytes.size()));
        return path;
    }
    void openfile(const QString& path)
    {
        viewer->choosefile = [path](QWidget*, bool) { return path; };
        viewer->menuopen();
    }
    QScrollBar* bar() const { return viewer->pozicijav(); }
    QWidget* viewport() const { return viewer->findChild<QTableView*>("logtable")->viewport(); }
    void wheel(int angle)
    {
        QWheelEvent ev(QPointF(20, 20), QPointF(20, 20), QPoint(), QPoint(0, angle), Qt::NoButton, Qt::NoModifier,
                       Qt::NoScrollPhase, false);
        QApplication::sendEvent(viewport(), &ev);
    }

    QTemporaryDir folder;
    QPointer<Form16> viewer;
};

TEST_F(Form16Test, BarAndLinesFollowTheRowCount)
{
    struct Case {
        const char* name;
        size_t rows;
        bool keeplast;
        int valuebeforelast; // the bar moved before the last row came; 0: left alone
        bool enabled;
        int maximum, value;
        long first; // counter on line 0 (0: empty)
        int shown;
    } cases[] = {
        {"no rows", 0, false, 0, false, 1, 1, 0, 0},
        {"15 rows without a bar", 15, false, 0, false, 1, 1, 1, 15},
        {"the 16th row enables the bar", 16, false, 0, true, 2, 1, 1, 15},
        {"16 rows keeping the last", 16, true, 0, true, 2, 2, 2, 15},
        {"30,000 rows in line mode", 30000, false, 0, true, 29986, 1, 1, 15},
        {"30,000 rows at the end", 30000, true, 0, true, 29986, 29986, 29986, 15},
        {"30,001 rows with the value above 2001", 30001, false, 2500, true, 2001, 2001, 30001, 1},
        {"30,001 rows with the value below 2001", 30001, false, 1500, true, 2001, 1500, 1499 * 15 + 1, 15},
        {"30,001 rows keeping the last", 30001, true, 0, true, 2001, 2001, 30001, 1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        make();
        viewer->findChild<QCheckBox*>("Check2")->setChecked(c.keeplast);
        if (c.rows > 0) {
            addrows(c.rows - 1);
            settle();
            if (c.valuebeforelast > 0)
                bar()->setValue(c.valuebeforelast);
            addrows(1, c.rows);
        }
        settle();
        EXPECT_EQ(bar()->isEnabled(), c.enabled);
        EXPECT_EQ(bar()->minimum(), 1);
        EXPECT_EQ(bar()->maximum(), c.maximum);
        EXPECT_EQ(bar()->value(), c.value);
        EXPECT_EQ(counter(0), c.first);
        EXPECT_EQ(shownlines(), c.shown);
        if (c.shown == 15)
            EXPECT_EQ(counter(14), c.first + 14);
    }
}

TEST_F(Form16Test, CleanAtStartResetsTheBarAndAFileShownKeepsItsRows)
{
    addrows(40);
    settle();
    bar()->setValue(20);
    viewer->logclean();
    EXPECT_FALSE(bar()->isEnabled());
    EXPECT_EQ(bar()->maximum(), 1);
    EXPECT_EQ(bar()->value(), 1);
    EXPECT_EQ(shownlines(), 0);

    openfile(put("twenty.log", rowsfile(20)));
    EXPECT_EQ(viewer->windowTitle(), "Simulation Log Viewer - twenty.log");
    EXPECT_TRUE(bar()->isEnabled());
    EXPECT_EQ(bar()->maximum(), 6);
    EXPECT_FALSE(viewer->takesrows());
    viewer->logadd(row(99));
    viewer->logclean();
    settle();
    EXPECT_EQ(viewer->logcount(), 20u);
    EXPECT_EQ(counter(0), 1);
}

TEST_F(Form16Test, WheelAndKeysMoveTheBar)
{
    struct Step {
        const char* name;
        std::function<void()> act;
        int value;
    };
    const Step linemode[] = {
        {"a notch towards the user moves 3 forward", [this] { wheel(-120); }, 4},
        {"half notches add up", [this] { wheel(-60); wheel(-60); }, 7},
        {"a notch away moves back", [this] { wheel(120); }, 4},
        {"held at the minimum", [this] { wheel(360 * 4); }, 1},
        {"Page Down is 15", [this] { QTest::keyClick(viewer, Qt::Key_PageDown); }, 16},
        {"held at the maximum", [this] { wheel(-120 * 10); }, 26},
        {"Home", [this] { QTest::keyClick(viewer, Qt::Key_Home); }, 1},
        {"End", [this] { QTest::keyClick(viewer, Qt::Key_End); }, 26},
    };
    addrows(40);
    settle();
    for (const Step& s : linemode) {
        SCOPED_TRACE(s.name);
        s.act();
        EXPECT_EQ(bar()->value(), s.value);
        EXPECT_EQ(counter(0), s.value);
    }
    // In page mode a notch is 3 pages.
    make();
    addrows(30001);
    settle();
    wheel(-120);
    EXPECT_EQ(bar()->value(), 4);
    EXPECT_EQ(counter(0), 3 * 15 + 1);
    // Keep Last holds the view at the end whatever the wheel does.
    viewer->findChild<QCheckBox*>("Check2")->click();
    EXPECT_EQ(bar()->value(), 2001);
    wheel(120);
    EXPECT_EQ(bar()->value(), 2001);
}

TEST_F(Form16Test, ColumnsAreSlicesOfTheRow)
{
    const std::string trap = "12345670024  TRAP            00 00000000  01 02 03 04 05 06 FFFD";
    viewer->logadd(trap);
    viewer->logadd("10000000" + row(1).substr(7)); // a counter of eight digits pushes the row on
    settle();
    const char* expected[12] = {"123456", "0024 ", "TRAP           ", "00", "00000000 ", "01",
                                "02",     "03",    "04",              "05", "06",        "FFFD"};
    for (int c = 0; c < 12; ++c)
        EXPECT_EQ(line(0, c), expected[c]) << logcolumns[static_cast<size_t>(c)].name;
    EXPECT_EQ(line(1, 0), "100000");
    EXPECT_EQ(line(1, 1), "00100");
    EXPECT_EQ(line(2, 0), "");
    test::saveshot(viewer, "form16-rows");
}

TEST_F(Form16Test, OpeningFiles)
{
    const std::string r = row(1);
    std::string binary;
    for (int i = 0; i < 5000; ++i)
        binary += static_cast<char>((i * 7919) % 256);
    const QString fifo = folder.filePath("pipe.log");
    ASSERT_EQ(::mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);
    ASSERT_TRUE(QDir(folder.path()).mkdir("sub.log"));
    struct Case {
        const char* name;
        QString path;
        size_t rows;
        const char* message; // empty: none
        bool titled;         // the caption names the file
        bool menu;           // "&File" enabled afterwards
    } cases[] = {
        {"empty", put("empty.log", ""), 0, "", true, true},
        {"63 bytes", put("short.log", r.substr(0, 63) + "\r\n"), 0, "The log file is corrupted.", false, false},
        {"64 with CR LF", put("crlf.log", r + "\r\n"), 1, "", true, true},
        {"64 with LF", put("lf.log", r + "\n"), 1, "", true, true},
        {"64 with CR", put("cr.log", r + "\r"), 1, "", true, true},
        {"64 with no line end", put("none.log", r), 1, "", true, true},
        {"65 bytes", put("long.log", r + " \r\n"), 0, "The log file is corrupted.", false, false},
        {"binary", put("binary.log", binary), 0, "The log file is corrupted.", false, false},
        {"NUL bytes", put("nul.log", std::string(64, '\0') + "\r\n"), 1, "", true, true},
        {"log.txt", put("log.txt", "Simulation started at 2026-11-22 21:05:07.\r\n" + r + "\r\n"), 0,
         "The log file is corrupted.", false, false},
        {"missing", folder.filePath("missing.log"), 0,
         "The log file missing.log can't be read: No such file or directory.", false, true},
        {"a folder", folder.filePath("sub.log"), 0, "The log file sub.log can't be read: it is a folder.", false, true},
        {"a FIFO", fifo, 0, "The log file pipe.log can't be read: it is not a plain file.", false, true},
        {"a read error", "/proc/self/mem", 0, "The log file mem can't be read: Input/output error.", false, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        make();
        test::BoxCloser boxes;
        openfile(c.path);
        EXPECT_EQ(viewer->logcount(), c.rows);
        EXPECT_EQ(viewer->logfileopen(), c.titled);
        const QString name = c.path.mid(c.path.lastIndexOf('/') + 1);
        EXPECT_EQ(viewer->windowTitle(), c.titled ? "Simulation Log Viewer - " + name : "Simulation Log Viewer");
        EXPECT_EQ(viewer->action("menu1")->isEnabled(), c.menu);
        ASSERT_EQ(boxes.texts.size(), *c.message ? 1u : 0u);
        if (*c.message)
            EXPECT_EQ(boxes.texts[0], c.message);
        EXPECT_EQ(QString::fromStdString(st().lastpath), c.path.left(c.path.lastIndexOf('/') + 1));
    }
    // NUL bytes show as blanks.
    make();
    openfile(put("nul.log", std::string(64, '\0')));
    EXPECT_EQ(line(0, 0), "      ");
}

TEST_F(Form16Test, OpenEmptiesTheViewerEvenWhenCancelled)
{
    addrows(20);
    openfile(QString());
    EXPECT_EQ(viewer->logcount(), 0u);
    EXPECT_EQ(viewer->windowTitle(), "Simulation Log Viewer");
    EXPECT_TRUE(viewer->action("menu1")->isEnabled());
    EXPECT_TRUE(viewer->takesrows());
}

TEST_F(Form16Test, AFileOfMoreRowsThanPagesOfASixteenBitBarOpensToItsEnd)
{
    const size_t count = 491506; // 32,768 pages
    openfile(put("big.log", rowsfile(count)));
    ASSERT_EQ(viewer->logcount(), count);
    EXPECT_EQ(bar()->maximum(), 32768);
    QTest::keyClick(viewer, Qt::Key_End);
    EXPECT_EQ(bar()->value(), 32768);
    EXPECT_EQ(counter(0), static_cast<long>(count));
    EXPECT_EQ(shownlines(), 1);
    bar()->setValue(32767);
    EXPECT_EQ(counter(14), static_cast<long>(count - 1));
    test::saveshot(viewer, "form16-bigfile");
}

TEST_F(Form16Test, ClosingDuringAReadStopsItAndClosesTheFile)
{
    const QString path = put("big.log", rowsfile(491506));
    const auto openfiles = [] { return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}); };
    const auto before = openfiles();
    bool closed = false;
    viewer->choosefile = [&](QWidget*, bool) {
        QTimer::singleShot(30, viewer, [&] { closed = viewer->close(); });
        return path;
    };
    viewer->menuopen();
    EXPECT_TRUE(closed);
    EXPECT_FALSE(st().Form16);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(viewer.isNull());
    EXPECT_EQ(openfiles(), before);
}

TEST_F(Form16Test, Saving)
{
    // An empty viewer has nothing to save and asks for no name.
    {
        test::BoxCloser boxes;
        bool asked = false;
        viewer->choosefile = [&](QWidget*, bool) {
            asked = true;
            return QString();
        };
        viewer->menusave();
        EXPECT_FALSE(asked);
        ASSERT_EQ(boxes.texts.size(), 1u);
        EXPECT_EQ(boxes.texts[0], "Simulation Log Viewer is empty.");
    }
    addrows(3);
    const std::string three = rowsfile(3);
    struct Case {
        const char* name;
        const char* chosen;
        const char* written;
        const char* existing; // the old file at the written name (null: none)
        QMessageBox::StandardButton answer;
        bool replaced;
    } cases[] = {
        {"several dots", "run.1.log.txt", "run.log", nullptr, QMessageBox::Yes, true},
        {"no dot", "plain", "plain.log", nullptr, QMessageBox::Yes, true},
        {"overwrite: Yes", "old.log", "old.log", "old contents", QMessageBox::Yes, true},
        {"overwrite: No", "kept.bak", "kept.log", "old contents", QMessageBox::No, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        if (c.existing)
            put(c.written, c.existing);
        BoxAnswer boxes(c.answer);
        viewer->choosefile = [&](QWidget*, bool save) {
            EXPECT_TRUE(save);
            return folder.filePath(c.chosen);
        };
        viewer->menusave();
        const QString written = folder.filePath(c.written);
        if (c.existing) {
            ASSERT_EQ(boxes.texts.size(), 1u);
            EXPECT_EQ(boxes.texts[0], "Do you want to overwrite existing file " + written + "?");
        } else {
            EXPECT_TRUE(boxes.texts.empty()); // nothing is confirmed
        }
        QFile f(written);
        ASSERT_TRUE(f.open(QIODevice::ReadOnly));
        EXPECT_EQ(f.readAll().toStdString(), c.replaced ? three : std::string(c.existing));
        EXPECT_FALSE(QFile::exists(folder.filePath(c.chosen)) && QString(c.chosen) != c.written);
        // The viewer goes on as before.
        EXPECT_EQ(viewer->windowTitle(), "Simulation Log Viewer");
        EXPECT_EQ(viewer->logcount(), 3u);
        EXPECT_TRUE(viewer->action("menu1")->isEnabled());
    }
}

TEST_F(Form16Test, AFileOpenedAndSavedComesBackByteForByte)
{
    const std::string text = rowsfile(100);
    openfile(put("in.log", text));
    viewer->choosefile = [&](QWidget*, bool) { return folder.filePath("out.log"); };
    viewer->menusave();
    QFile f(folder.filePath("out.log"));
    ASSERT_TRUE(f.open(QIODevice::ReadOnly));
    EXPECT_TRUE(f.readAll().toStdString() == text);
    EXPECT_EQ(viewer->windowTitle(), "Simulation Log Viewer - in.log");
}

TEST_F(Form16Test, TheFileDialogsHaveTheirTitlesAndFilters)
{
    for (bool save : {false, true}) {
        QString title;
        QStringList filters;
        QTimer::singleShot(50, viewer, [&] {
            if (auto* d = qobject_cast<QFileDialog*>(QApplication::activeModalWidget())) {
                title = d->windowTitle();
                filters = d->nameFilters();
                d->reject();
            }
        });
        addrows(1);
        save ? viewer->menusave() : viewer->menuopen();
        EXPECT_EQ(title, save ? "Save Log File As" : "Select Log File");
        EXPECT_EQ(filters, (QStringList{"LOG files (*.log)", "All files (*.*)"}));
    }
}

// ---------------------------------------------------------------------------------------------
// Beside a run of the main window

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
        st().optconfirm = "ON";
        st().optffdefaults = "ON";
        st().opthalt = "ON";
    }
    void TearDown() override
    {
        Form16Test::TearDown();
        form.reset();
    }
    void load(const std::vector<int32_t>& bytes)
    {
        std::fill(st().mem.begin(), st().mem.end(), 0);
        for (size_t i = 0; i < bytes.size(); i += 2)
            st().mem[static_cast<size_t>(bytes[i])] = bytes[i + 1];
    }
    QAction* act(const std::string& name) { return form->action(name.c_str()); }
    void step(int n)
    {
        for (int i = 0; i < n && act("menustep")->isEnabled(); ++i)
            act("menustep")->trigger();
    }
    std::vector<std::string> filelines(const std::string& path)
    {
        QFile f(QString::fromStdString(path));
        std::vector<std::string> lines;
        if (f.open(QIODevice::ReadOnly))
            for (const QByteArray& l : f.readAll().split('\n'))
                lines.push_back(l.toStdString());
        return lines;
    }

    std::unique_ptr<Form1> form;
    std::vector<QString> viewed;
};

// address, byte pairs: MVI A,5; INR A; CPI 0AH; JNZ 0002H; HLT; at the TRAP vector MVI B,7; RET.
const std::vector<int32_t> countprogram = {0,    0x3E, 1,    0x05, 2,    0x3C, 3,    0xFE, 4,    0x0A, 5, 0xC2,
                                           6,    0x02, 7,    0x00, 8,    0x76, 0x24, 0x06, 0x25, 0x07, 0x26, 0xC9};

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
    const std::vector<std::string> lines = filelines(form->simlog().path());
    ASSERT_GE(lines.size(), 8u);
    EXPECT_EQ(lines.back(), ""); // the last line has its line end too
    for (size_t i = 0; i + 1 < lines.size(); ++i)
        EXPECT_TRUE(!lines[i].empty() && lines[i].back() == '\r') << "line " << i << " ends in CR LF";
    EXPECT_EQ(lines[0].rfind("Simulation started at ", 0), 0u);
    EXPECT_EQ(lines[1], std::string(logheader) + "\r");
    EXPECT_EQ(lines[2], "\r");
    const size_t footer = lines.size() - 4;
    EXPECT_EQ(lines[footer].rfind("Simulation stopped at ", 0), 0u);
    EXPECT_NE(lines[footer + 1].find(" seconds elapsed.\r"), std::string::npos);
    EXPECT_EQ(lines[footer + 2].rfind("Real-time duration of the simulation is ", 0), 0u);
    ASSERT_EQ(viewed.size(), 2u);

    // The rows are those of the command-line runner, which presses the same buttons.
    std::vector<std::string> logged;
    for (size_t i = 3; i < footer; ++i)
        logged.push_back(lines[i].substr(0, lines[i].size() - 1));
    QFile obj(folder.filePath("count.obj"));
    ASSERT_TRUE(obj.open(QIODevice::WriteOnly));
    for (int a = 0; a < 0x27; ++a)
        obj.putChar(static_cast<char>(st().mem[static_cast<size_t>(a)]));
    obj.close();
    QProcess cli;
    cli.start(QCoreApplication::applicationDirPath() + "/kelvane-cli",
              {"run", obj.fileName(), "--trace", "--ff-defaults", "on", "--interrupt", "3:TRAP", "--interrupt",
               "8:RESET"});
    ASSERT_TRUE(cli.waitForFinished(10000)) << "kelvane-cli is built beside the tests";
    std::vector<std::string> traced;
    for (const QByteArray& l : cli.readAllStandardOutput().split('\n'))
        if (!l.isEmpty())
            traced.push_back(l.toStdString());
    EXPECT_EQ(logged, traced);
    ASSERT_GT(logged.size(), 9u);
    EXPECT_EQ(logged[3].substr(0, 29), "4      0024  TRAP            ");
    EXPECT_EQ(logged[8], "RESET");

    // The viewer, open during the runs, has the second run's rows without the RESET line.
    settle();
    ASSERT_EQ(viewer->logcount(), logged.size() - 1);
    for (size_t i = 0, j = 0; i < logged.size(); ++i)
        if (logged[i] != "RESET")
            EXPECT_EQ(viewer->logrows()[j++], logged[i]);
    EXPECT_EQ(line(3, 1), "0024 ");
}

TEST_F(Form16RunTest, AnUltimateRunLogsEveryRowInOrder)
{
    load({0, 0x0B, 1, 0x78, 2, 0xB1, 3, 0xC2, 4, 0x00, 5, 0x00, 6, 0xC3, 7, 0x00, 8, 0x00}); // delay loop
    st().optlogging = "ON";
    act("menuspeed6")->trigger();
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, [&] {
        if (st().instructioncount > 300000) {
            poll.stop();
            act("menustop")->trigger();
        }
    });
    poll.start(5);
    act("menustart")->trigger();
    const std::vector<std::string> lines = filelines(form->simlog().path());
    const auto count = static_cast<size_t>(st().instructioncount);
    ASSERT_EQ(lines.size(), count + 7); // heading 3, rows, footer 3, and the empty rest after the last line end
    for (size_t i = 1; i <= count; ++i) {
        const std::string& l = lines[i + 2];
        ASSERT_EQ(l.size(), 65u) << "row " << i;
        ASSERT_EQ(std::stoul(l.substr(0, 7)), i);
    }
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
    EXPECT_FALSE(st().running);
    EXPECT_EQ(st().instructioncount, 17);
    EXPECT_TRUE(viewed.empty()); // no text viewer for a log that isn't there
}

TEST_F(Form16RunTest, AtUltimateRateTheViewerTakes450000RowsAndTheRunGoesOn)
{
    load({0, 0xC3, 1, 0x00, 2, 0x00}); // JMP 0000H
    st().optlogging = "OFF";
    viewer->findChild<QCheckBox*>("Check2")->setChecked(true);
    act("menuspeed6")->trigger();
    bool full = false;
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, [&] {
        if (viewer->logcount() == logviewerlimit && st().instructioncount > 2 * static_cast<int32_t>(logviewerlimit)) {
            full = !form->hooks().wantlog;
            poll.stop();
            act("menustop")->trigger();
        }
    });
    poll.start(20);
    QTimer::singleShot(20000, form.get(), [&] { act("menustop")->trigger(); });
    act("menustart")->trigger();
    EXPECT_TRUE(full);
    EXPECT_EQ(viewer->logcount(), logviewerlimit);
    settle();
    EXPECT_EQ(bar()->maximum(), 30000);
    EXPECT_EQ(bar()->value(), 30000);
    EXPECT_EQ(counter(14), static_cast<long>(logviewerlimit));
    // A clean at the next Start makes room again.
    act("menuspeed1")->trigger();
    act("menustart")->trigger();
    EXPECT_EQ(viewer->logcount(), 0u);
    EXPECT_TRUE(form->hooks().wantlog);
    step(2);
    act("menustop")->trigger();
    EXPECT_EQ(viewer->logcount(), 2u);
}

TEST_F(Form16RunTest, WhileAFileIsShownRunsNeitherAddNorEmpty)
{
    load(countprogram);
    openfile(put("shown.log", rowsfile(5)));
    act("menuspeed1")->trigger();
    act("menustart")->trigger();
    EXPECT_FALSE(form->hooks().wantlog);
    step(3);
    act("menustop")->trigger();
    EXPECT_EQ(viewer->logcount(), 5u);
    EXPECT_EQ(viewer->logrows()[0], row(1));
    test::saveshot(viewer, "form16-file");
}

} // namespace
