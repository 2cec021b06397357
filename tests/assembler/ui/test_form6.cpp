// The Assembler window: names and captions, the steps of Assemble, Go To Next Error, Load, printing,
// the splitter, a close during a command; the external assembler: how it is started, what its
// program leaves, a wrapper around kelvane-cli, the "TASM Path" dialog.
#include "assembler/ui/externalassembler.h"
#include "assembler/ui/form6.h"
#include "shell/printing.h"
#include "shell/sourceeditor.h"
#include "sim/form1.h"
#include "sim/settings.h"

#include <QAction>
#include <QDir>
#include <QFileSystemModel>
#include <QGroupBox>
#include <QLabel>
#include <QMenu>
#include <QPointer>
#include <QPrinter>
#include <QSplitter>
#include <QThread>
#include <QTimer>

#include "tests/common/shot.h"
#include "tests/common/windowtest.h"
#include "tests/shell/pdftext.h"

using namespace kelvane;
using namespace kelvane::test;

namespace {

const QByteArray goodsource = "START:\tMVI A,5\n\tOUT 1\n\tHLT\n";
const QByteArray goodimage("\x3e\x05\xd3\x01\x76", 5);
// Errors on lines 2, 5 and 9, whose error rows in the listing are 3, 7 and 12.
const QByteArray errorsource = "\tNOP\n\tMOV Q,A\n\tNOP\n\tNOP\n\tJMP NOWHERE\n\tNOP\n\tNOP\n\tNOP\n\tMVI A,300\n\tNOP\n";

struct Form6Test : WindowTest {
    Form6Test()
    {
        machinestate().running = false;
        (w = new Form6)->show();
    }
    ~Form6Test() override { closewindow(w); }
    bool exists(const QString& name) const { return QFileInfo::exists(path(name)); }
    size_t boxcount() const { return driver->texts.size(); }
    // The window with a file of this name and text, as Open leaves it.
    void named(const QString& name, const QByteArray& text) { ASSERT_TRUE(w->openpath(write(name, text))); }
    QPointer<Form6> w;
};

// Printing goes to this PDF file.
void printto(const QString& pdf)
{
    setprintdialog([pdf](QWidget*, QPrinter& p) {
        p.setOutputFormat(QPrinter::PdfFormat);
        p.setOutputFileName(pdf);
        return true;
    });
}

TEST_F(Form6Test, SaveAsCutsTheNameAtTheFilesFirstDotAndOpenRefusesOutputs)
{
    QDir().mkpath(path("x.d"));
    for (const auto& [typed, saved] : std::vector<std::pair<QString, QString>>{
             {"a.b.asm", "a.asm"}, {"noext", "noext.asm"}, {"prog.LST", "prog.asm"}, {"x.d/p.q.r", "x.d/p.asm"}}) {
        w->edittextboxpro1()->settextbytes(("; " + typed + "\n").toStdString());
        choose(*driver, path(typed));
        w->menusaveas_Click();
        EXPECT_EQ(read(saved), "; " + typed.toUtf8() + "\n") << typed.toStdString();
        EXPECT_EQ(w->windowTitle(), "Assembler - " + QFileInfo(saved).fileName());
        EXPECT_EQ(w->folder(), QFileInfo(path(saved)).path() + "/");
        EXPECT_EQ(regread("Last Path"), w->folder().toStdString());
        EXPECT_EQ(lastbox(), "File " + path(saved) + " saved.");
    }
    // Open refuses outputs and keeps its file.
    named("keep.asm", "\tNOP\n");
    for (const QString name : {"p.hex", "p.OBJ", "p.LST", "p.lst"}) {
        EXPECT_FALSE(w->openpath(write(name, "x")));
        EXPECT_EQ(lastbox(), "This extension is not allowed for assembler source files.");
        EXPECT_EQ(w->windowTitle(), "Assembler - keep.asm");
    }
    // An unreadable file: a plain message, and text and caption stay.
    EXPECT_FALSE(w->openpath(path("missing.asm")));
    EXPECT_TRUE(lastbox().contains("missing.asm"));
    EXPECT_EQ(w->edittextboxpro1()->textbytes(), "\tNOP\n");
    // Through the dialog: the folder becomes lastpath.
    choose(*driver, write("x.d/two.asm", "\tHLT\n"));
    w->menuopen_Click();
    EXPECT_EQ(w->windowTitle(), "Assembler - two.asm");
    EXPECT_EQ(machinestate().lastpath, path("x.d").toStdString() + "/");
    EXPECT_EQ(w->edittextboxpro1()->textbytes(), "\tHLT\n");
}

TEST_F(Form6Test, GoodAssemblySavesShowsTheListingEndAndGivesNoBox)
{
    // The file, the base of its outputs, whether a HEX file is asked for too.
    for (const auto& [name, base, hex] : std::vector<std::tuple<QString, QString, bool>>{
             {"good.asm", "good", false}, {"noext", "noext", true}, {"a.b.asm", "a", true}}) {
        named(name, "old text\n");
        w->edittextboxpro1()->settextbytes(goodsource.toStdString());
        if (w->action("menusavehex")->isChecked() != hex)
            w->action("menusavehex")->trigger();
        const size_t before = boxcount();
        w->menuassemble_Click();
        EXPECT_EQ(boxcount(), before) << name.toStdString();
        EXPECT_EQ(read(name), goodsource);
        EXPECT_EQ(read(base + ".obj"), goodimage);
        EXPECT_EQ(exists(base + ".hex"), hex);
        EXPECT_EQ(regread("Generate HEX File Also"), hex ? "ON" : "OFF");
        SourceEditor* listing = w->edittextboxpro2();
        EXPECT_EQ(QByteArray::fromStdString(listing->textbytes()), read(base + ".lst"));
        EXPECT_GE(listing->firstvisibleline() + listing->SendScintilla(QsciScintillaBase::SCI_LINESONSCREEN),
                  listing->linecount());
        EXPECT_FALSE(w->action("menu5")->isVisible() || w->frame1()->isVisible());
        EXPECT_TRUE(w->menu("menu1")->menuAction()->isEnabled());
    }
}

TEST_F(Form6Test, RefusalsAndErrorsAreToldMarkedAndWalkedAndTheirOutputsDeleted)
{
    w->edittextboxpro1()->settextbytes("\tNOP\n");
    w->menuassemble_Click();
    EXPECT_EQ(lastbox(), "Please save the file first.");
    named("empty.asm", "");
    w->menuassemble_Click();
    EXPECT_EQ(lastbox(), "The editor is empty.");
    EXPECT_FALSE(exists("empty.obj"));

    if (w->action("menusavehex")->isChecked())
        w->action("menusavehex")->trigger();
    named("bad.asm", errorsource);
    w->edittextboxpro1()->markline(1); // an old mark goes
    w->menuassemble_Click();
    EXPECT_EQ(lastbox(), "Assembly was not successful.\nYour assembler source contains 3 errors.");
    EXPECT_EQ(w->edittextboxpro1()->markedlines(), (std::vector<int>{2, 5, 9}));
    EXPECT_EQ(w->edittextboxpro2()->markedlines(), (std::vector<int>{3, 7, 12}));
    EXPECT_EQ(std::pair(w->edittextboxpro1()->currentline(), w->edittextboxpro2()->currentline()), std::pair(2, 3));
    EXPECT_FALSE(exists("bad.lst") || exists("bad.obj"));
    EXPECT_TRUE(w->action("menu5")->isVisible());
    saveshot(w, "form6-errors");
    // Go To Next Error, three times: the lines of the source and of the listing after each.
    auto walk = [this] {
        std::vector<int> left, right;
        for (int i = 0; i < 3; ++i) {
            w->action("menu5")->trigger();
            left.push_back(w->edittextboxpro1()->currentline());
            right.push_back(w->edittextboxpro2()->currentline());
        }
        return std::pair{left, right};
    };
    EXPECT_EQ(walk(), std::pair(std::vector<int>{5, 9, 2}, std::vector<int>{7, 12, 3}));
    // Two lines typed at the top move the marks to 4, 7 and 11: the listing goes to that line
    // and on to its own next mark.
    w->edittextboxpro1()->setCursorPosition(0, 0);
    w->edittextboxpro1()->insert("\tNOP\n\tNOP\n");
    EXPECT_EQ(walk(), std::pair(std::vector<int>{4, 7, 11}, std::vector<int>{7, 12, 12}));

    // One error is still "errors".
    named("one.asm", "\tMOV Q,A\n");
    w->menuassemble_Click();
    EXPECT_EQ(lastbox(), "Assembly was not successful.\nYour assembler source contains 1 errors.");
    EXPECT_EQ(w->edittextboxpro1()->markedlines(), std::vector<int>{1});
    // New, Open and Save hide Go To Next Error.
    w->menusave_Click();
    EXPECT_FALSE(w->action("menu5")->isVisible());
}

TEST_F(Form6Test, LoadTakesTheLastGoodObject)
{
    MachineState& st = machinestate();
    const std::string lastpath = st.lastpath;
    const QString loaded = "Operation completed.\nTotal 5 (.004K) bytes loaded.";
    // The source in the editor, whether it is assembled, whether a run goes on, the box, the first
    // bytes of memory after Load (11H as they were).
    const std::vector<std::tuple<QByteArray, bool, bool, QString, QByteArray>> steps = {
        {goodsource, true, false, loaded, goodimage},
        {"\tNOP\n\tNOP\n", false, false, loaded, goodimage},
        {goodsource, false, true, "The simulation is running. Please stop the simulation first.", "\x11"},
        {errorsource, true, false, "The file was not (successfully) assembled.", "\x11"},
    };
    named("load.asm", "");
    for (const auto& [source, assemble, running, message, memory] : steps) {
        std::fill(st.mem.begin(), st.mem.end(), 0x11);
        w->edittextboxpro1()->settextbytes(source.toStdString());
        if (assemble)
            w->menuassemble_Click();
        st.running = running;
        w->menuload_Click();
        st.running = false;
        EXPECT_EQ(lastbox(), message);
        EXPECT_TRUE(std::equal(memory.begin(), memory.end(), st.mem.begin(),
                               [](char a, int32_t b) { return static_cast<uint8_t>(a) == b; }));
    }
    EXPECT_EQ(st.lastpath, lastpath);
    for (const auto& [bytes, message] : std::vector<std::pair<QByteArray, QString>>{
             {"", "The size of the program file is zero."},
             {QByteArray(65537, 1), "The size of the selected file is greater than 64K."}}) {
        write("load.obj", bytes);
        w->menuload_Click();
        EXPECT_EQ(lastbox(), message);
    }
    w->menunew_Click();
    w->menuload_Click();
    EXPECT_EQ(lastbox(), "Please assemble the file first.");
}

TEST_F(Form6Test, FindAndReplaceAllThroughTheirBoxes)
{
    named("find.asm", "\tmov a,b\n\tMOV c,d\n\tremove\n");
    QString offered;
    answer(*driver, "MOV", &offered);
    w->menufind_Click();
    w->menufindnext_Click();
    EXPECT_EQ(w->edittextboxpro1()->selectedText(), "MOV"); // the second one
    answer(*driver, "mov", &offered);
    answer(*driver, "MVI", &offered);
    w->menureplace_Click();
    EXPECT_EQ(lastbox(), "2 words replaced.");
    EXPECT_EQ(w->edittextboxpro1()->textbytes(), "\tMVI a,b\n\tMVI c,d\n\tremove\n");
}

TEST_F(Form6Test, PrintsSourceAndListingEachLineEnded)
{
    const QString pdf = path("out.pdf");
    printto(pdf);
    named("pr.asm", "\tMVI A,5\n\tHLT"); // no line end at the last line
    w->menuprint2_Click();
    EXPECT_EQ(lastbox(), "The listing viewer is empty.");
    w->menuassemble_Click();
    // The menu item, the heading and the last line of its one page.
    for (const auto& [item, heading, lastline] : std::vector<std::tuple<const char*, QString, QString>>{
             {"menuprint", "Page 1          pr.asm", "        HLT"},
             {"menuprint2", "Page 1          pr.lst", "Number of errors = 0"}}) {
        QFile::remove(pdf);
        w->action(item)->trigger();
        const std::vector<QStringList> pages = pdfpages(pdf);
        ASSERT_EQ(pages.size(), 1u);
        EXPECT_EQ(pages[0].first() + "|" + pages[0].last(), heading + "|" + lastline);
    }
    setprintdialog({});
}

TEST_F(Form6Test, SplitterKeepsItsPercentWithinLimits)
{
    for (const auto& [stored, kept] : std::vector<std::pair<const char*, int>>{{"40", 40}, {"10", 25}, {"90", 75}}) {
        closewindow(w);
        regwrite("Window6 Position", stored);
        (w = new Form6)->show();
        QCoreApplication::processEvents();
        const QList<int> sizes = w->razdelnik()->sizes();
        EXPECT_NEAR(sizes[0] * 100.0 / (sizes[0] + sizes[1]), kept, 1.0);
        w->close();
        EXPECT_EQ(regread("Window6 Position"), std::to_string(kept));
    }
}

TEST_F(Form6Test, ProgressShowsWhileTheWindowIsClosedToTheUser)
{
    named("long.asm", QByteArray("\tMVI A,5\n\tNOP\n").repeated(60000));
    QStringList seen;
    // Looked at on the first pass over the lines, whenever the assembly lets events through.
    QTimer look;
    QObject::connect(&look, &QTimer::timeout, [&] {
        if (!seen.isEmpty() || !w->label2()->text().startsWith("Line"))
            return;
        seen << (w->frame1()->isVisible() ? "frame" : "") << w->label1()->text().left(16) << w->label2()->text().left(6)
             << (w->menu("menu3")->menuAction()->isEnabled() ? "menus" : "") << (w->edittextboxpro1()->isEnabled() ? "panes" : "");
        w->action("menuassemble")->trigger(); // refused while one runs
        saveshot(w, "form6-assembling");
    });
    look.start(0);
    w->menuassemble_Click();
    EXPECT_EQ(seen, (QStringList{"frame", "Performing pass ", "Line  ", "", ""}));
    EXPECT_TRUE(w->edittextboxpro1()->isEnabled() && w->menu("menu3")->menuAction()->isEnabled());
}

TEST_F(Form6Test, AnAssemblyDuringAnUltimateRunLeavesTheRunGoing)
{
    named("run.asm", goodsource);
    Form1 main;
    main.show();
    MachineState& st = machinestate();
    st.optconfirm = "ON";
    ASSERT_EQ(main.loadprogramfile(write("delay.obj", QByteArray("\x0b\x78\xb1\xc2\x00\x00\xc3\x00\x00", 9))), "");
    main.messagesink = [](const std::string&) {};
    main.menuspeed_Click(6);
    bool running = false, looping = false;
    int32_t count = 0;
    QTimer::singleShot(50, [&] {
        w->menuassemble_Click();
        running = st.running;
        looping = main.loopactive();
        count = st.instructioncount;
        w->menuload_Click();
        QTimer::singleShot(50, [&] { main.action("menustop")->trigger(); });
    });
    main.action("menustart")->trigger(); // returns when the run has stopped
    EXPECT_TRUE(running && looping);
    EXPECT_GT(st.instructioncount, count); // it ran on after the assembly
    EXPECT_EQ(read("run.obj"), goodimage);
    EXPECT_EQ(lastbox(), "The simulation is running. Please stop the simulation first.");
    EXPECT_EQ(st.mem[0], 0x0b); // the program in memory stayed
}

TEST_F(Form6Test, ClosingDuringACommandEndsItQuietly)
{
    write("tasm", "#!/bin/sh\nsleep 5\n");
    QFile::setPermissions(path("tasm"), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    printto(path("close.pdf"));
    // What runs while the window lets events through, and who closes it then.
    for (const auto& [what, command] : {std::pair{"assembly", &Form6::menuassemble_Click},
                                        std::pair{"external wait", &Form6::menuassembletasm_Click},
                                        std::pair{"print", &Form6::menuprint_Click}})
        for (const bool byform1 : {false, true}) {
            if (!w)
                (w = new Form6)->show();
            named("big.asm", QByteArray("\tMOV Q,A\n\tNOP\n").repeated(30000));
            auto main = std::make_unique<Form1>();
            main->show();
            machinestate().tasmpath = path("tasm").toStdString(); // Form1 read its own at load
            machinestate().optconfirm = "ON";
            bool wasbusy = false;
            QTimer::singleShot(0, [&] {
                wasbusy = w->busy();
                byform1 ? main->close() : w->close();
            });
            const size_t before = boxcount();
            (w->*command)();
            SCOPED_TRACE(std::string(what) + (byform1 ? " closed by Form1" : ""));
            EXPECT_TRUE(wasbusy);
            EXPECT_FALSE(machinestate().Form6);
            EXPECT_EQ(boxcount(), before); // no box for a window that is gone
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
            EXPECT_TRUE(w.isNull());
        }
    setprintdialog({});
}

// ---- The external assembler. ----

const QString failed = "Assembly was not successful.\nTASM.EXE failed to generate the expected files t.lst and t.obj!";

struct ExternalTest : Form6Test {
    ExternalTest() { externaltickms() = 20; }
    ~ExternalTest() override { externaltickms() = 200; }
    // A program of the test: records its arguments and folder, then runs `body` there.
    void program(const QString& body, bool executable = true)
    {
        const QString script = "#!/bin/sh\nprintf '%s\\n' \"$@\" > '" + path("args") + "'\npwd > '" + path("cwd") +
                               "'\ncp \"$3\" '" + path("copied") + "'\n" + body + "\n";
        write("tasm", script.toUtf8());
        QFile::setPermissions(path("tasm"), executable ? QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner
                                                       : QFile::ReadOwner | QFile::WriteOwner);
        machinestate().tasmpath = path("tasm").toStdString();
    }
};

TEST_F(ExternalTest, WhatTheProgramLeavesDecides)
{
    // A body that writes both files, the listing ending in the count of errors.
    const auto writeboth = [](int errors) {
        return "printf 'OBJ' > 00000000.obj\nprintf '0001   0000 00 NOP\\r\\nNumber of errors = " + std::to_string(errors) + "' > 00000000.lst";
    };
    // The wait's tick, the program's body, whether it can be started, the box ("" none). Only a good
    // run leaves a listing and an object beside the source (a stale listing goes).
    const std::vector<std::tuple<int, std::string, bool, QString>> cases = {
        {20, writeboth(3), true, "Assembly was not successful.\nYour assembler source contains 3 errors."},
        {20, "printf 'x' > 00000000.lst", true, failed},
        {20, "true", true, failed},
        {20, "sleep 3; printf 'x' > 00000000.obj; printf 'x' > 00000000.lst; touch '" + path("late").toStdString() + "'",
         true, failed},
        {20, "true", false, failed},
        {20, writeboth(0), true, ""},
        {200, writeboth(0), true, ""}, // once with the real tick
    };
    for (const auto& [tick, body, executable, box] : cases) {
        externaltickms() = tick;
        program(QString::fromStdString(body), executable);
        named("t.asm", "\tNOP\n");
        write("t.lst", "stale");
        const size_t before = boxcount();
        w->menuassembletasm_Click();
        SCOPED_TRACE(body);
        EXPECT_EQ(boxcount() == before ? QString() : lastbox(), box);
        EXPECT_EQ(exists("t.lst") || exists("t.obj"), box.isEmpty());
        EXPECT_FALSE(w->action("menu5")->isVisible());
        if (!box.isEmpty())
            continue;
        // Started in a folder of its own, removed after the run, with the fixed arguments.
        const QString cwd = QString::fromUtf8(read("cwd")).trimmed();
        EXPECT_EQ(QString::fromUtf8(read("args")), "-85\n-b\n" + cwd + "/00000000.asm\n");
        EXPECT_NE(cwd, dir.path());
        EXPECT_FALSE(QFileInfo::exists(cwd));
        EXPECT_EQ(read("copied"), "\tNOP\n");
        EXPECT_EQ(read("t.obj"), "OBJ");
        EXPECT_EQ(w->edittextboxpro2()->textbytes(), "0001   0000 00 NOP\r\nNumber of errors = 0");
    }
    // The slow child was ended with the wait: its late file never comes.
    QThread::msleep(3500);
    EXPECT_FALSE(exists("late"));
}

TEST_F(ExternalTest, AWrapperAroundTheBuiltInAssembler)
{
    program(QStringLiteral("exec '%1' asm \"$3\"").arg(KELVANE_CLI_PATH));
    named("t.asm", "START:\tMVI A,5\n\tJMP START\n");
    const size_t before = boxcount();
    w->menuassembletasm_Click();
    EXPECT_EQ(boxcount(), before);
    EXPECT_EQ(read("t.obj"), QByteArray("\x3e\x05\xc3\x00\x00", 5));
    EXPECT_TRUE(QString::fromStdString(w->edittextboxpro2()->textbytes()).trimmed().endsWith("Number of errors = 0"));

    w->edittextboxpro1()->settextbytes("\tMOV Q,A\n\tJMP NOWHERE\n");
    w->menuassembletasm_Click();
    EXPECT_EQ(lastbox(), "Assembly was not successful.\nYour assembler source contains 2 errors.");
    EXPECT_FALSE(exists("t.obj"));
}

TEST_F(ExternalTest, TasmPathListsEveryFileAndKeepsTheChoice)
{
    program("true");
    QString filters; // the one shown, and those its list of files goes by
    driver->on<QFileDialog>([&filters](QFileDialog* d) {
        if (auto* model = d->findChild<QFileSystemModel*>())
            filters = d->selectedNameFilter() + "|" + model->nameFilters().join(' ');
    });
    choose(*driver, write("assembler", "#!/bin/sh\n"));
    w->menutasmpath_Click();
    EXPECT_EQ(filters, "All files (*.*)|*");
    EXPECT_EQ(machinestate().tasmpath, path("assembler").toStdString());
    EXPECT_EQ(regread("Tasm Path"), machinestate().tasmpath);

    driver->on<QFileDialog>([](QFileDialog* d) { d->reject(); });
    w->menutasmpath_Click();
    EXPECT_EQ(lastbox(), "The file do not exist.");
    EXPECT_EQ(machinestate().tasmpath, path("assembler").toStdString());
    machinestate().tasmpath = path("nothing").toStdString();
    w->menuassembletasm_Click();
    EXPECT_EQ(lastbox(), "TASM assembler not found.");
}

} // namespace
