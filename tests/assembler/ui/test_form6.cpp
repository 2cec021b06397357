// The Assembler window: Open and Save As names and captions, the steps of Assemble (refusals, a
// good source, errors with their marks, outputs deleted), Go To Next Error, Load into memory,
// printing, the splitter setting and a close during an assembly.
#include "assembler/assembler.h"
#include "shell/printing.h"
#include "sim/settings.h"

#include <QAction>
#include <QFileDialog>
#include <QGroupBox>
#include <QInputDialog>
#include <QLabel>
#include <QMenu>
#include <QMessageBox>
#include <QPrinter>
#include <QPushButton>
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

void answer(kelvane::test::DialogDriver& d, const QString& text)
{
    d.on<QInputDialog>([text](QInputDialog* box) {
        box->setTextValue(text);
        box->accept();
    });
}

// Clicks the button of the next question box; the window's command runs meanwhile.
void clickwhenasked(QMessageBox::StandardButton which)
{
    auto* t = new QTimer;
    QObject::connect(t, &QTimer::timeout, [t, which] {
        if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget()); box && box->button(which)) {
            box->button(which)->click();
            t->deleteLater();
        }
    });
    t->start(2);
}

TEST_F(Form6Test, SaveAsCutsTheNameAtTheFilesFirstDot)
{
    struct Case {
        QString typed, saved;
    };
    const std::vector<Case> cases = {
        {"a.b.asm", "a.asm"},         {"noext", "noext.asm"},        {"prog.LST", "prog.asm"},
        {"x.d/prog", "x.d/prog.asm"}, {"x.d/p.q.r", "x.d/p.asm"},
    };
    for (const Case& c : cases) {
        QDir().mkpath(path("x.d"));
        w->edittextboxpro1()->settextbytes(("; " + c.typed + "\n").toStdString());
        choose(*driver, path(c.typed));
        w->menusaveas_Click();
        EXPECT_EQ(read(c.saved), "; " + c.typed.toUtf8() + "\n") << c.typed.toStdString();
        const QString name = QFileInfo(c.saved).fileName();
        EXPECT_EQ(w->windowTitle(), "Assembler - " + name);
        EXPECT_EQ(w->folder(), QFileInfo(path(c.saved)).path() + "/");
        EXPECT_EQ(machinestate().lastpath, w->folder().toStdString());
        EXPECT_EQ(regread("Last Path"), machinestate().lastpath);
        EXPECT_EQ(lastbox(), "File " + path(c.saved) + " saved.");
    }
}

TEST_F(Form6Test, SaveAsAsksBeforeOverwriting)
{
    for (const bool yes : {false, true}) {
        write("old.asm", "old\n");
        w->edittextboxpro1()->settextbytes("new\n");
        choose(*driver, path("old.x"));
        clickwhenasked(yes ? QMessageBox::Yes : QMessageBox::No);
        w->menusaveas_Click();
        EXPECT_EQ(read("old.asm"), yes ? "new\n" : "old\n");
        EXPECT_EQ(w->untitled(), !yes);
        w->menunew_Click();
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
        const size_t before = boxes().size();
        w->menuassemble_Click();
        EXPECT_EQ(boxes().size(), before) << c.name.toStdString();
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
    std::vector<int> left, right;
    for (int i = 0; i < 3; ++i) {
        w->action("menu5")->trigger();
        left.push_back(w->edittextboxpro1()->currentline());
        right.push_back(w->edittextboxpro2()->currentline());
    }
    EXPECT_EQ(left, (std::vector<int>{5, 9, 2}));
    EXPECT_EQ(right, (std::vector<int>{7, 12, 3}));

    // Two lines typed at the top move the marks to 4, 7 and 11: the listing goes to that line
    // and on to its own next mark.
    SourceEditor* src = w->edittextboxpro1();
    src->setCursorPosition(0, 0);
    src->insert("\tNOP\n\tNOP\n");
    EXPECT_EQ(src->markedlines(), (std::vector<int>{4, 7, 11}));
    left.clear();
    right.clear();
    for (int i = 0; i < 3; ++i) {
        w->action("menu5")->trigger();
        left.push_back(src->currentline());
        right.push_back(w->edittextboxpro2()->currentline());
    }
    EXPECT_EQ(left, (std::vector<int>{4, 7, 11}));
    EXPECT_EQ(right, (std::vector<int>{7, 12, 12}));
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
        for (int i = 0; i < s.memory.size(); ++i)
            EXPECT_EQ(st.mem[static_cast<size_t>(i)], static_cast<uint8_t>(s.memory[i])) << i;
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
    answer(*driver, "MOV");
    w->menufind_Click();
    EXPECT_EQ(w->edittextboxpro1()->selectedText(), "mov");
    w->menufindnext_Click();
    EXPECT_EQ(w->edittextboxpro1()->selectedText(), "MOV");
    answer(*driver, "mov");
    answer(*driver, "MVI");
    w->menureplace_Click();
    EXPECT_EQ(lastbox(), "2 words replaced.");
    EXPECT_EQ(w->edittextboxpro1()->textbytes(), "\tMVI a,b\n\tMVI c,d\n\tremove\n");
    // An empty replacement changes nothing.
    answer(*driver, "MVI");
    answer(*driver, "");
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
    w->menuprint_Click();
    EXPECT_EQ(lastbox(), "Please save the file first.");
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
        w->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        regwrite("Window6 Position", stored);
        w = new Form6;
        w->show();
        QCoreApplication::processEvents();
        EXPECT_EQ(w->splitpercent(), kept);
        const QList<int> sizes = w->razdelnik()->sizes();
        EXPECT_NEAR(sizes[0] * 100.0 / (sizes[0] + sizes[1]), kept, 1.0);
        w->close();
        EXPECT_EQ(regread("Window6 Position"), std::to_string(kept));
        w = new Form6;
        w->show();
    }
}

TEST_F(Form6Test, ProgressShowsWhileTheWindowIsClosedToTheUser)
{
    QByteArray big;
    for (int i = 0; i < 60000; ++i)
        big += "\tMVI A,5\n\tNOP\n";
    named("long.asm", big);
    QString phase, line;
    bool framevisible = false, menusenabled = true, panesenabled = true;
    QTimer::singleShot(100, [&] {
        framevisible = w->frame1()->isVisible();
        phase = w->label1()->text();
        line = w->label2()->text();
        menusenabled = w->menu("menu3")->menuAction()->isEnabled();
        panesenabled = w->edittextboxpro1()->isEnabled();
        w->action("menuassemble")->trigger(); // refused while one runs
        kelvane::test::saveshot(w, "form6-assembling");
    });
    w->menuassemble_Click();
    EXPECT_TRUE(framevisible);
    EXPECT_TRUE(phase.startsWith("Performing pass ")) << phase.toStdString();
    EXPECT_TRUE(line.startsWith("Line  ")) << line.toStdString();
    EXPECT_FALSE(menusenabled);
    EXPECT_FALSE(panesenabled);
    EXPECT_TRUE(w->edittextboxpro1()->isEnabled());
    EXPECT_TRUE(w->menu("menu3")->menuAction()->isEnabled());
}

TEST_F(Form6Test, ClosingDuringAnAssemblyEndsItQuietly)
{
    QByteArray big;
    for (int i = 0; i < 60000; ++i)
        big += "\tMOV Q,A\n\tNOP\n";
    named("big.asm", big);
    bool closed = false;
    QTimer::singleShot(0, [&] {
        EXPECT_TRUE(w->busy());
        closed = w->close();
    });
    const size_t before = boxes().size();
    w->menuassemble_Click();
    EXPECT_FALSE(closed); // it waited for the assembly to end
    EXPECT_FALSE(machinestate().Form6);
    EXPECT_EQ(boxes().size(), before); // no box for a window that is gone
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(w.isNull());
}

} // namespace
