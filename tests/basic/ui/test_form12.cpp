// The BASIC editor window: names typed in Save As and the files and captions they give, Compile
// in each of its outcomes with the order of its steps, Replace All and Definition, a folder that
// can't be written, a binary file, the position settings.
#include "sim/settings.h"

#include <QAction>
#include <QMenu>
#include <QMessageBox>
#include <QScreen>
#include <QTimer>

#include "tests/basic/ui/basicuitest.h"
#include "tests/common/shot.h"

using namespace kelvane;
using kelvane::test::choose;
using kelvane::test::Form12Test;

namespace {

// What the window looked like when a message box came up: the box's text, whether the editor
// and the menus were enabled, and the caret's line. Every box is answered with OK.
struct BoxWatch {
    struct Seen {
        QString text;
        bool editor, menus;
        int line;
    };
    std::vector<Seen> seen;
    QTimer timer;
    explicit BoxWatch(Form12* w)
    {
        QObject::connect(&timer, &QTimer::timeout, [this, w] {
            if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
                seen.push_back({box->text(), w->edittextboxpro1()->isEnabled(),
                                w->menu("menu3")->menuAction()->isEnabled(), w->edittextboxpro1()->currentline()});
                box->accept();
            }
        });
        timer.start(5);
    }
};

TEST_F(Form12Test, SaveAsNamesGiveBasFilesAndCaptions)
{
    const std::vector<std::pair<QString, QString>> cases = {
        {"prog", "prog.bas"}, {"a.b.c", "a.bas"}, {"test.txt", "test.bas"}, {"x.d/p.q", "x.d/p.bas"}};
    QDir().mkpath(path("x.d"));
    for (const auto& [typed, saved] : cases) {
        editor()->settextbytes(("' " + typed + "\n").toStdString());
        choose(*driver, path(typed));
        w->menusaveas_Click();
        EXPECT_EQ(read(saved), "' " + typed.toUtf8() + "\n") << typed.toStdString();
        EXPECT_EQ(w->windowTitle(), "BASIC Compiler - " + QFileInfo(saved).fileName());
        EXPECT_EQ(machinestate().lastpath, QFileInfo(path(saved)).path().toStdString() + "/");
        EXPECT_EQ(lastbox(), "File " + path(saved) + " saved.");
    }
    // New drops the text unasked.
    w->menunew_Click();
    EXPECT_EQ(w->windowTitle(), "BASIC Compiler - UNTITLED");
    EXPECT_TRUE(editor()->isempty());
}

TEST_F(Form12Test, AnOpenedFileKeepsItsNameAndFolderButCompilesToAsm)
{
    named("sub/test.txt", "End");
    editor()->append("\nEnd\n");
    // lastpath moves on in another window; Save and Compile stay in the file's folder.
    machinestate().lastpath = dir.path().toStdString() + "/";
    w->menusave_Click();
    EXPECT_EQ(read("sub/test.txt"), "End\nEnd\n");
    w->menucompile_Click();
    EXPECT_EQ(w->windowTitle(), "BASIC Compiler - test.txt");
    EXPECT_TRUE(exists("sub/test.asm"));
    EXPECT_FALSE(exists("test.asm"));
    EXPECT_EQ(lastbox(), "The compilation process was successful.\nTotal 11 lines of assembler source "
                         "generated.\nOutput saved as " +
                             path("sub/test.asm"));
}

TEST_F(Form12Test, CompileInEachOutcome)
{
    struct Case {
        QString name; // "" untitled
        QByteArray source;
        QString box;
        bool enabled; // editor and menus while the box stands
        int line;     // caret after the compile
        std::vector<int> marks;
    };
    const QString good = "The compilation process was successful.\nTotal 9 lines of assembler source generated.\n"
                         "Output saved as " +
                         path("c.asm");
    const std::vector<Case> cases = {
        {"", "End\n", "Please save the file first.", true, 1, {1}},
        {"c.bas", "", "The editor is empty.", true, 1, {1}},
        {"c.bas", "Dim b As Boolean\nb = True\nx  = 1\nEnd\n", "Error in line 3: Syntax error.", false, 3, {3}},
        {"c.bas", "Dim b As Boolean\nWhile b\nb = False\n", "Error in line 4: Wend is missing.", false, 1, {}},
        {"c.bas", "End", good, true, 1, {}},
    };
    driver.reset();
    for (const Case& c : cases) {
        w->menunew_Click();
        write("c.asm", "old");
        if (!c.name.isEmpty())
            named(c.name, c.source);
        else
            editor()->settextbytes(c.source.toStdString());
        editor()->markline(1); // a mark of an earlier compile goes when a compile runs
        BoxWatch watch(w);
        w->menucompile_Click();
        ASSERT_EQ(watch.seen.size(), 1u) << c.box.toStdString();
        EXPECT_EQ(watch.seen[0].text, c.box);
        EXPECT_EQ(watch.seen[0].editor, c.enabled) << c.box.toStdString();
        EXPECT_EQ(watch.seen[0].menus, c.enabled) << c.box.toStdString();
        EXPECT_EQ(watch.seen[0].line, 1) << "the caret moves after the box";
        EXPECT_EQ(editor()->currentline(), c.line) << c.box.toStdString();
        EXPECT_EQ(editor()->markedlines(), c.marks) << c.box.toStdString();
        EXPECT_EQ(read("c.asm") == "old", c.box != good) << c.box.toStdString();
        EXPECT_TRUE(editor()->isEnabled());
        EXPECT_TRUE(w->menu("menu1")->menuAction()->isEnabled());
        if (c.line == 3)
            kelvane::test::saveshot(w, "form12-error");
    }
}

TEST_F(Form12Test, ReplaceAllOffersTheWordJustEnteredAndNeedsBothAnswers)
{
    struct Case {
        QString what, with;
        QString box; // "" none
        QString text;
    };
    const QString start = "a = b\nb = a\nab = b\n";
    const std::vector<Case> cases = {
        {"b", "cc", "3 words replaced.", "a = cc\ncc = a\nab = cc\n"},
        {"B", "b", "3 words replaced.", start},
        {"zz", "y", "0 words replaced.", start},
        {"", "", "", start},
        {"a", "", "", start},
    };
    for (const Case& c : cases) {
        editor()->settextbytes(start.toStdString());
        editor()->setCursorPosition(1, 0); // on the "b" of line 2
        const size_t boxes = driver->texts.size();
        QString offered1, offered2;
        kelvane::test::answer(*driver, c.what, &offered1);
        if (!c.what.isEmpty())
            kelvane::test::answer(*driver, c.with, &offered2);
        w->menureplace_Click();
        EXPECT_EQ(offered1, "b");
        EXPECT_EQ(offered2, c.what);
        EXPECT_EQ(driver->texts.size(), boxes + (c.box.isEmpty() ? 0 : 1)) << c.what.toStdString();
        if (!c.box.isEmpty())
            EXPECT_EQ(lastbox(), c.box);
        EXPECT_EQ(text(), c.text) << c.what.toStdString() << " -> " << c.with.toStdString();
    }
}

TEST_F(Form12Test, DefinitionFindsLabelConstOrDim)
{
    editor()->settextbytes("Dim x As Integer\nConst k = 1\nloop: x = k\nGoto loop\nx = zz\n");
    // Caret at (line, index) on a word, and the line the definition selects.
    const std::vector<std::tuple<int, int, int>> cases = {{4, 6, 3}, {3, 10, 2}, {5, 0, 1}, {5, 5, 5}};
    for (const auto& [line, index, found] : cases) {
        editor()->setCursorPosition(line - 1, index);
        w->menudefinition_Click();
        EXPECT_EQ(editor()->currentline(), found) << line << ":" << index;
    }
}

TEST_F(Form12Test, AFolderThatCantBeWrittenAndABinaryFile)
{
    // The file's folder is gone: Compile tells why and the text stays.
    named("gone/p.bas", "End\n");
    QDir(path("gone")).removeRecursively();
    w->menucompile_Click();
    EXPECT_TRUE(lastbox().contains("gone")) << lastbox().toStdString();
    EXPECT_EQ(text(), "End\n");
    EXPECT_TRUE(w->menu("menu3")->menuAction()->isEnabled());

    // A binary file opens; its compile ends in the compiler's error box.
    QByteArray bytes;
    for (int i = 0; i < 4096; ++i)
        bytes.append(static_cast<char>((i * 37 + 11) % 256));
    named("bin.obj", bytes);
    w->menucompile_Click();
    EXPECT_TRUE(lastbox().startsWith("Error in line ")) << lastbox().toStdString();
    EXPECT_EQ(read("bin.obj"), bytes);
}

TEST_F(Form12Test, PositionAndSizeBySavePositions)
{
    w->setGeometry(40, 50, 600, 500);
    w->close();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_EQ(regread("Window12 Width"), std::to_string(pixelstotwips(600)));
    for (const char* option : {"ON", "OFF"}) {
        machinestate().optsavepositions = option;
        w = new Form12;
        w->show();
        const QRect screen = w->screen()->availableGeometry();
        if (std::string(option) == "ON") {
            EXPECT_EQ(w->size(), QSize(600, 500));
            EXPECT_EQ(w->geometry().topLeft(), QPoint(40, 50));
        } else {
            EXPECT_EQ(w->size(), QSize(twipstopixels(10500), twipstopixels(8250)));
            EXPECT_NEAR(w->geometry().center().x(), screen.center().x(), 2);
        }
        EXPECT_TRUE(machinestate().Form12);
        w->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        EXPECT_FALSE(machinestate().Form12);
    }
}

} // namespace
