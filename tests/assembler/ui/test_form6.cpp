// The Assembler window: Open and Save As names and captions, the steps of Assemble (refusals, a
// good source, errors with their marks, outputs deleted), Go To Next Error, Load into memory,
// printing, the splitter setting and a close during an assembly.
#include "assembler/assembler.h"
#include "shell/printing.h"
#include "sim/form1.h"
#include "sim/settings.h"

#include <QAction>
#include <QFileDialog>
#include <QGroupBox>
#include <QInputDialog>
#include <QLabel>
#include <QMenu>
#include <QPrinter>
#include <QSplitter>
#include <QTimer>

#include "tests/assembler/ui/form6test.h"
#include "tests/common/shot.h"
#include "tests/shell/pdftext.h"

using namespace kelvane;
using kelvane::test::Form6Test;

namespace {

const QByteArray goodsource = "START:\tMVI A,5\n\tOUT 1\n\tHLT\n";
const QByteArray goodimage("\x3e\x05\xd3\x01\x76", 5);
// Errors on lines 2, 5 and 9, whose error rows in the listing are 3, 7 and 12.
const QByteArray errorsource = "\tNOP\n\tMOV Q,A\n\tNOP\n\tNOP\n\tJMP NOWHERE\n\tNOP\n\tNOP\n\tNOP\n\tMVI A,300\n\tNOP\n";
const std::vector<int> errorlines = {2, 5, 9};
const std::vector<int> errorrows = {3, 7, 12};
const QString threeerrors = "Assembly was not successful.\nYour assembler source contains 3 errors.";

void choose(kelvane::test::DialogDriver& d, const QString& file)
{
    d.on<QFileDialog>([file](QFileDialog* f) {
        f->selectFile(file);
        static_cast<QDialog*>(f)->accept();
    });
}

void answer(kelvane::test::DialogDriver& d, const QStringList& texts)
{
    for (const QString& text : texts)
        d.on<QInputDialog>([text](QInputDialog* box) {
            box->setTextValue(text);
            box->accept();
        });
}

TEST_F(Form6Test, SaveAsCutsTheNameAtTheFilesFirstDot)
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
}

TEST_F(Form6Test, OpenRefusesOutputsAndKeepsItsFile)
{
    named("keep.asm", "\tNOP\n");
    for (const QString name : {"p.hex", "p.OBJ", "p.LST", "p.lst"}) {
        write(name, "x");
        EXPECT_FALSE(w->openpath(path(name)));
        EXPECT_EQ(lastbox(), "This extension is not allowed for assembler source files.");
        EXPECT_EQ(w->windowTitle(), "Assembler - keep.asm");
    }
    // An unreadable file: a plain message, and text and caption stay.
    EXPECT_FALSE(w->openpath(path("missing.asm")));
    EXPECT_TRUE(lastbox().contains("missing.asm"));
    EXPECT_EQ(w->edittextboxpro1()->textbytes(), "\tNOP\n");
    // Through the dialog: the folder becomes lastpath.
    write("sub.d/two.asm", "\tHLT\n");
    choose(*driver, path("sub.d/two.asm"));
    w->menuopen_Click();
    EXPECT_EQ(w->windowTitle(), "Assembler - two.asm");
    EXPECT_EQ(machinestate().lastpath, path("sub.d").toStdString() + "/");
    EXPECT_EQ(w->edittextboxpro1()->textbytes(), "\tHLT\n");
}

TEST_F(Form6Test, AssembleRefusesUntitledAndEmpty)
{
    w->edittextboxpro1()->settextbytes("\tNOP\n");
    w->menuassemble_Click();
    EXPECT_EQ(lastbox(), "Please save the file first.");
    named("empty.asm", "");
    w->menuassemble_Click();
    EXPECT_EQ(lastbox(), "The editor is empty.");
    EXPECT_FALSE(exists("empty.obj"));
}

TEST_F(Form6Test, GoodAssemblySavesShowsTheListingEndAndGivesNoBox)
{
    struct Case {
        QString name, base;
        bool hex;
    };
    for (const Case& c : {Case{"good.asm", "good", false}, Case{"noext", "noext", true}, Case{"a.b.asm", "a", true}}) {
        named(c.name, "old text\n");
        w->edittextboxpro1()->settextbytes(goodsource.toStdString());
        if (w->action("menusavehex")->isChecked() != c.hex)
            w->action("menusavehex")->trigger();
        const size_t before = boxcount();
        w->menuassemble_Click();
        EXPECT_EQ(boxcount(), before) << c.name.toStdString();
        EXPECT_EQ(read(c.name), goodsource);
        EXPECT_EQ(read(c.base + ".obj"), goodimage);
        EXPECT_EQ(exists(c.base + ".hex"), c.hex);
        EXPECT_EQ(regread("Generate HEX File Also"), c.hex ? "ON" : "OFF");
        SourceEditor* listing = w->edittextboxpro2();
        EXPECT_EQ(QByteArray::fromStdString(listing->textbytes()), read(c.base + ".lst"));
        EXPECT_GE(listing->firstvisibleline() + listing->SendScintilla(QsciScintillaBase::SCI_LINESONSCREEN),
                  listing->linecount());
        EXPECT_FALSE(w->action("menu5")->isVisible());
        EXPECT_FALSE(w->frame1()->isVisible());
        EXPECT_TRUE(w->menu("menu1")->menuAction()->isEnabled());
    }
}

TEST_F(Form6Test, ErrorsAreToldMarkedAndTheirOutputsDeleted)
{
    if (w->action("menusavehex")->isChecked())
        w->action("menusavehex")->trigger();
    named("bad.asm", errorsource);
    w->edittextboxpro1()->markline(1); // an old mark goes
    w->menuassemble_Click();
    EXPECT_EQ(lastbox(), threeerrors);
    EXPECT_EQ(w->edittextboxpro1()->markedlines(), errorlines);
    EXPECT_EQ(w->edittextboxpro2()->markedlines(), errorrows);
    EXPECT_EQ(w->edittextboxpro1()->currentline(), errorlines[0]);
    EXPECT_EQ(w->edittextboxpro2()->currentline(), errorrows[0]);
    EXPECT_FALSE(exists("bad.lst"));
    EXPECT_FALSE(exists("bad.obj"));
    EXPECT_TRUE(w->action("menu5")->isVisible());
    kelvane::test::saveshot(w, "form6-errors");

    // One error is still "errors".
    named("one.asm", "\tMOV Q,A\n");
    w->menuassemble_Click();
    EXPECT_EQ(lastbox(), "Assembly was not successful.\nYour assembler source contains 1 errors.");
    EXPECT_EQ(w->edittextboxpro1()->markedlines(), std::vector<int>{1});
    // New, Open and Save hide Go To Next Error.
    w->menusave_Click();
    EXPECT_FALSE(w->action("menu5")->isVisible());
}

TEST_F(Form6Test, GoToNextErrorWalksBothPanes)
{
    named("walk.asm", errorsource);
    w->menuassemble_Click();
    // Three steps: the lines of the source and of the listing after each.
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
}

TEST_F(Form6Test, LoadTakesTheLastGoodObject)
{
    MachineState& st = machinestate();
    const std::string lastpath = st.lastpath;
    struct Step {
        QByteArray source;
        bool assemble;
        bool running;
        QString message;
        QByteArray memory; // the first bytes of memory after the step
    };
    const std::vector<Step> steps = {
        {goodsource, true, false, "Operation completed.\nTotal 5 (.004K) bytes loaded.", goodimage},
        {"\tNOP\n\tNOP\n", false, false, "Operation completed.\nTotal 5 (.004K) bytes loaded.", goodimage},
        {goodsource, false, true, "The simulation is running. Please stop the simulation first.", ""},
        {errorsource, true, false, "The file was not (successfully) assembled.", ""},
    };
    named("load.asm", "");
    for (const Step& s : steps) {
        std::fill(st.mem.begin(), st.mem.end(), 0x11);
        w->edittextboxpro1()->settextbytes(s.source.toStdString());
        if (s.assemble)
            w->menuassemble_Click();
        st.running = s.running;
        w->menuload_Click();
        st.running = false;
        EXPECT_EQ(lastbox(), s.message);
        QByteArray memory;
        for (qsizetype i = 0; i < s.memory.size(); ++i)
            memory += static_cast<char>(st.mem[static_cast<size_t>(i)]);
        EXPECT_EQ(memory, s.memory);
    }
    EXPECT_EQ(st.lastpath, lastpath);

    write("load.obj", "");
    w->menuload_Click();
    EXPECT_EQ(lastbox(), "The size of the program file is zero.");
    write("load.obj", QByteArray(65537, 1));
    w->menuload_Click();
    EXPECT_EQ(lastbox(), "The size of the selected file is greater than 64K.");
    w->menunew_Click();
    w->menuload_Click();
    EXPECT_EQ(lastbox(), "Please assemble the file first.");
}

TEST_F(Form6Test, FindAndReplaceAllThroughTheirBoxes)
{
    named("find.asm", "\tmov a,b\n\tMOV c,d\n\tremove\n");
    answer(*driver, {"MOV"});
    w->menufind_Click();
    w->menufindnext_Click();
    EXPECT_EQ(w->edittextboxpro1()->selectedText(), "MOV"); // the second one
    answer(*driver, {"mov", "MVI"});
    w->menureplace_Click();
    EXPECT_EQ(lastbox(), "2 words replaced.");
    EXPECT_EQ(w->edittextboxpro1()->textbytes(), "\tMVI a,b\n\tMVI c,d\n\tremove\n");
}

TEST_F(Form6Test, PrintsSourceAndListingEachLineEnded)
{
    const QString pdf = path("out.pdf");
    setprintdialog([pdf](QWidget*, QPrinter& p) {
        p.setOutputFormat(QPrinter::PdfFormat);
        p.setOutputFileName(pdf);
        return true;
    });
    named("pr.asm", "\tMVI A,5\n\tHLT"); // no line end at the last line
    w->menuprint2_Click();
    EXPECT_EQ(lastbox(), "The listing viewer is empty.");
    struct Case {
        const char* item;
        QString heading, lastline;
    };
    w->menuassemble_Click();
    for (const Case& c : {Case{"menuprint", "Page 1          pr.asm", "        HLT"},
                          Case{"menuprint2", "Page 1          pr.lst", "Number of errors = 0"}}) {
        QFile::remove(pdf);
        w->action(c.item)->trigger();
        const std::vector<QStringList> pages = kelvane::test::pdfpages(pdf);
        ASSERT_EQ(pages.size(), 1u);
        EXPECT_EQ(pages[0].first(), c.heading);
        EXPECT_EQ(pages[0].last(), c.lastline);
    }
    setprintdialog({});
}

TEST_F(Form6Test, SplitterKeepsItsPercentWithinLimits)
{
    for (const auto& [stored, kept] : std::vector<std::pair<const char*, int>>{{"40", 40}, {"10", 25}, {"90", 75}}) {
        if (w)
            w->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        regwrite("Window6 Position", stored);
        w = new Form6;
        w->show();
        QCoreApplication::processEvents();
        const QList<int> sizes = w->razdelnik()->sizes();
        EXPECT_NEAR(sizes[0] * 100.0 / (sizes[0] + sizes[1]), kept, 1.0);
        w->close();
        EXPECT_EQ(regread("Window6 Position"), std::to_string(kept));
    }
}

TEST_F(Form6Test, ProgressShowsWhileTheWindowIsClosedToTheUser)
{
    QByteArray big;
    for (int i = 0; i < 60000; ++i)
        big += "\tMVI A,5\n\tNOP\n";
    named("long.asm", big);
    QStringList seen;
    // Looked at on the first pass over the lines, whenever the assembly lets events through.
    QTimer look;
    QObject::connect(&look, &QTimer::timeout, [&] {
        if (!seen.isEmpty() || !w->label2()->text().startsWith("Line"))
            return;
        seen << (w->frame1()->isVisible() ? "frame" : "") << w->label1()->text().left(16) << w->label2()->text().left(6)
             << (w->menu("menu3")->menuAction()->isEnabled() ? "menus" : "") << (w->edittextboxpro1()->isEnabled() ? "panes" : "");
        w->action("menuassemble")->trigger(); // refused while one runs
        kelvane::test::saveshot(w, "form6-assembling");
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
    write("delay.obj", QByteArray("\x0b\x78\xb1\xc2\x00\x00\xc3\x00\x00", 9));
    ASSERT_EQ(main.loadprogramfile(path("delay.obj")), "");
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
    EXPECT_TRUE(running);
    EXPECT_TRUE(looping);
    EXPECT_GT(st.instructioncount, count); // it ran on after the assembly
    EXPECT_EQ(read("run.obj"), goodimage);
    EXPECT_EQ(lastbox(), "The simulation is running. Please stop the simulation first.");
    EXPECT_EQ(st.mem[0], 0x0b); // the program in memory stayed
}

TEST_F(Form6Test, ClosingDuringACommandEndsItQuietly)
{
    // What runs while the window lets events through, and who closes it then.
    struct Case {
        const char* what;
        void (Form6::*command)();
        bool byform1;
    };
    std::vector<Case> cases;
    for (const auto& [what, command] : {std::pair{"assembly", &Form6::menuassemble_Click},
                                        std::pair{"external wait", &Form6::menuassembletasm_Click},
                                        std::pair{"print", &Form6::menuprint_Click}})
        for (const bool byform1 : {false, true})
            cases.push_back({what, command, byform1});
    QByteArray big;
    for (int i = 0; i < 30000; ++i)
        big += "\tMOV Q,A\n\tNOP\n";
    write("tasm", "#!/bin/sh\nsleep 5\n");
    QFile::setPermissions(path("tasm"), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    setprintdialog([this](QWidget*, QPrinter& p) {
        p.setOutputFormat(QPrinter::PdfFormat);
        p.setOutputFileName(path("close.pdf"));
        return true;
    });
    for (const Case& c : cases) {
        if (!w) {
            w = new Form6;
            w->show();
        }
        named("big.asm", big);
        auto main = std::make_unique<Form1>();
        main->show();
        machinestate().tasmpath = path("tasm").toStdString(); // Form1 read its own at load
        machinestate().optconfirm = "ON";
        bool wasbusy = false;
        QTimer::singleShot(0, [&] {
            wasbusy = w->busy();
            if (c.byform1)
                main->close();
            else
                w->close();
        });
        const size_t before = boxcount();
        (w->*c.command)();
        EXPECT_TRUE(wasbusy) << c.what;
        EXPECT_FALSE(machinestate().Form6) << c.what;
        EXPECT_EQ(boxcount(), before) << c.what; // no box for a window that is gone
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        EXPECT_TRUE(w.isNull()) << c.what;
    }
    setprintdialog({});
}

} // namespace
