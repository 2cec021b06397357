// The BASIC editor window and its editor's BASIC mode: Format Text, typing, Save As names, Compile
// in each outcome and the order of its steps, Replace All, Definition, failures, the Edit menu.
#include "basic/basic.h"
#include "basic/ui/form12.h"
#include "shell/sourceeditor.h"
#include "sim/settings.h"

#include <QContextMenuEvent>
#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMenu>
#include <QMessageBox>
#include <QPointer>
#include <QTest>
#include <QTimer>

#include "tests/common/datatable.h"
#include "tests/common/shot.h"
#include "tests/common/windowtest.h"

#include <fstream>
#include <numeric>

using namespace kelvane;

namespace {

TEST(BasicMode, FormatTextAsRecordedAndEveryProgramCompilesAlikeAfterIt)
{
    const auto formatted = [](const std::string& text) { return formatblocktext(text, formatbasicline, basicblocks); };
    // tests/data/basicui/format.txt: pairs of texts, "\t" and "\s" written out.
    std::vector<std::pair<std::string, std::string>> cases;
    std::ifstream data(std::string(KELVANE_TEST_DATA) + "/basicui/format.txt");
    std::string* into = nullptr;
    for (std::string line; std::getline(data, line);) {
        if (line.rfind("@@", 0) == 0)
            into = line == "@@ formatted" ? &cases.back().second : &cases.emplace_back().first;
        else if (into != nullptr && line.rfind('#', 0) != 0)
            *into += QString::fromStdString(line).replace("\\t", "\t").replace("\\s", " ").toStdString() + "\n";
    }
    ASSERT_EQ(cases.size(), 3u);
    const auto crlf = [](const std::string& s) { return QString::fromStdString(s).replace("\n", "\r\n").toStdString(); };
    for (const auto& [typed, expected] : cases) {
        EXPECT_EQ(formatted(typed), expected);
        EXPECT_EQ(formatted(expected), expected);
        EXPECT_EQ(formatted(crlf(typed)), crlf(expected));
    }
    std::ifstream in(std::string(KELVANE_TEST_DATA) + "/basic/programs.jsonl");
    basic::BasicCompiler before, after;
    int programs = 0;
    for (std::string line; std::getline(in, line); ++programs) {
        const std::string source =
            QJsonDocument::fromJson(QByteArray::fromStdString(line)).object().value("source").toString().toStdString();
        ASSERT_TRUE(before.compiletext(source) && after.compiletext(formatted(source))) << after.errortext;
        EXPECT_EQ(after.asmtext(), before.asmtext()) << programs;
    }
    EXPECT_EQ(programs, 300);
}

struct Form12Test : test::WindowTest {
    Form12Test() { reopen(); }
    ~Form12Test() override { closewindow(w); }
    void reopen()
    {
        closewindow(w);
        (w = new Form12)->show();
    }
    SourceEditor* editor() const { return w->edittextboxpro1(); }
    QString text() const { return QString::fromStdString(editor()->textbytes()); }
    // The window with a file of this name and text, as Open leaves it.
    void named(const QString& name, const QByteArray& bytes)
    {
        QDir().mkpath(QFileInfo(path(name)).path());
        ASSERT_TRUE(w->openpath(write(name, bytes)));
    }
    QPointer<Form12> w;
};

TEST_F(Form12Test, TypingSetsKeywordCaseAndIndents)
{
    const std::vector<QStringList> rows = test::datatable("basicui/typing.txt");
    ASSERT_EQ(rows.size(), 5u);
    for (const QStringList& row : rows) {
        const QStringList f = row.join('|').replace("\\n", "\n").replace("\\t", "\t").split('|');
        regwrite("C Auto Format Text Enabled", f[0].toStdString());
        regwrite("C Auto Case Control Enabled", f[1].toStdString());
        reopen();
        for (const QChar ch : f[2])
            ch == '\n' ? QTest::keyClick(editor(), Qt::Key_Return) : QTest::keyClicks(editor(), QString(ch));
        EXPECT_EQ(text(), f.value(3)) << f[2].toStdString();
    }
    // An opened file keeps its spelling; Format Text changes no word and is one undo step.
    const QString file = "dim x as integer\r\n  While b\r\nx  =  1\r\nPrint 1,  \"a  b\"   ' note\r\nwend\r\nWend\r\n";
    named("lower.bas", file.toUtf8());
    w->menuformat_Click();
    // The comment stands "C Comment Space" (2) blanks behind its statement.
    EXPECT_EQ(text(), "dim x as integer\r\nWhile b\r\n\tx = 1\r\n\tPrint 1, \"a  b\"  ' note\r\n\twend\r\nWend\r\n");
    test::saveshot(w, "form12-formatted");
    w->menuundo_Click();
    EXPECT_EQ(text(), file);
}

TEST_F(Form12Test, SaveAsGivesBasFilesAndAnOpenedFileKeepsItsName)
{
    QDir().mkpath(path("x.d"));
    for (const auto& [typed, saved] :
         std::vector<std::pair<QString, QString>>{{"prog", "prog.bas"}, {"a.b.c", "a.bas"}, {"x.d/p.q", "x.d/p.bas"}}) {
        editor()->settextbytes(typed.toStdString());
        test::choose(*driver, path(typed));
        w->menusaveas_Click();
        EXPECT_EQ(read(saved), typed.toUtf8());
        EXPECT_EQ(w->windowTitle(), "BASIC Compiler - " + QFileInfo(saved).fileName());
        EXPECT_EQ(lastbox(), "File " + path(saved) + " saved.");
    }
    // test.txt saves as itself in its own folder, wherever lastpath has gone, and compiles to test.asm.
    named("sub/test.txt", "End");
    editor()->append("\nEnd\n");
    machinestate().lastpath = dir.path().toStdString() + "/";
    w->menucompile_Click();
    EXPECT_EQ(read("sub/test.txt"), "End\nEnd\n");
    EXPECT_EQ(w->windowTitle(), "BASIC Compiler - test.txt");
    EXPECT_EQ(lastbox(), "The compilation process was successful.\nTotal 11 lines of assembler source generated.\n"
                         "Output saved as " + path("sub/test.asm"));
    w->menunew_Click(); // drops the text unasked
    EXPECT_EQ(w->windowTitle(), "BASIC Compiler - UNTITLED");
    EXPECT_TRUE(editor()->isempty());
}

TEST_F(Form12Test, CompileInEachOutcome)
{
    const QString good = "The compilation process was successful.\nTotal 9 lines of assembler source generated.\n"
                         "Output saved as " + path("c.asm");
    // The file's name ("" untitled), its text, the box, whether editor and menus are off while the
    // box stands, the caret's line after the compile, the marked lines.
    const std::vector<std::tuple<QString, QString, QString, bool, int, std::vector<int>>> cases = {
        {"", "End\n", "Please save the file first.", false, 1, {1}},
        {"c.bas", "", "The editor is empty.", false, 1, {1}},
        {"c.bas", "Dim b As Boolean\nb = True\nx  = 1\nEnd\n", "Error in line 3: Syntax error.", true, 3, {3}},
        {"c.bas", "Dim b As Boolean\nWhile b\nb = False\n", "Error in line 4: Wend is missing.", true, 1, {}},
        {"c.bas", "End", good, false, 1, {}},
    };
    driver.reset(); // the boxes are watched here: what stood when each came
    QStringList seen;
    QTimer watch;
    QObject::connect(&watch, &QTimer::timeout, [&] {
        if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
            const bool open = editor()->isEnabled() || w->menu("menu3")->menuAction()->isEnabled();
            seen << QStringLiteral("%1|%2|%3").arg(box->text()).arg(int(!open)).arg(editor()->currentline());
            box->accept();
        }
    });
    watch.start(5);
    for (const auto& [name, source, box, disabled, line, marks] : cases) {
        w->menunew_Click();
        write("c.asm", "old");
        name.isEmpty() ? editor()->settextbytes(source.toStdString()) : named(name, source.toUtf8());
        editor()->markline(1); // a mark of an earlier compile goes when a compile runs
        seen.clear();
        w->menucompile_Click();
        SCOPED_TRACE(box.toStdString());
        EXPECT_EQ(seen, QStringList(QStringLiteral("%1|%2|1").arg(box).arg(int(disabled))));
        EXPECT_EQ(editor()->currentline(), line);
        EXPECT_EQ(editor()->markedlines(), marks);
        EXPECT_EQ(read("c.asm") == "old", box != good);
        EXPECT_TRUE(editor()->isEnabled() && w->menu("menu1")->menuAction()->isEnabled());
        if (line == 3)
            test::saveshot(w, "form12-error");
    }
}

TEST_F(Form12Test, ReplaceAllAndDefinition)
{
    const QString start = "a = b\nb = a\nab = b\n";
    for (const auto& [what, with, text] : std::vector<std::tuple<QString, QString, QString>>{
             {"b", "cc", "a = cc\ncc = a\nab = cc\n"}, {"", "", start}, {"a", "", start}}) {
        editor()->settextbytes(start.toStdString());
        editor()->setCursorPosition(1, 0); // on the "b" of line 2
        const size_t boxes = driver->texts.size();
        QString offered1, offered2;
        test::answer(*driver, what, &offered1);
        if (!what.isEmpty())
            test::answer(*driver, with, &offered2);
        w->menureplace_Click();
        EXPECT_EQ(offered1 + "|" + offered2, "b|" + what); // the second box offers the text just entered
        EXPECT_EQ(this->text(), text);
        EXPECT_EQ(driver->texts.size() - boxes, with.isEmpty() ? 0u : 1u);
    }
    EXPECT_EQ(lastbox(), "3 words replaced.");
    editor()->settextbytes("Dim x As Integer\nConst k = 1\nloop: x = k\nGoto loop\nx = zz\n");
    // The caret on a word at (line, index), and the line of its definition.
    for (const auto& [line, index, found] : std::vector<std::tuple<int, int, int>>{{4, 6, 3}, {3, 10, 2}, {5, 0, 1}, {5, 5, 5}}) {
        editor()->setCursorPosition(line - 1, index);
        w->menudefinition_Click();
        EXPECT_EQ(editor()->currentline(), found) << line << ":" << index;
    }
}

TEST_F(Form12Test, AFolderGoneABinaryFileTheEditMenuAndThePosition)
{
    named("gone/p.bas", "End\n");
    QDir(path("gone")).removeRecursively();
    w->menucompile_Click();
    EXPECT_TRUE(lastbox().contains("gone")) << lastbox().toStdString();
    EXPECT_EQ(text(), "End\n");
    QByteArray bytes(4096, 0);
    std::iota(bytes.begin(), bytes.end(), 11);
    named("bin.obj", bytes);
    w->menucompile_Click();
    EXPECT_TRUE(lastbox().startsWith("Error in line ")) << lastbox().toStdString();
    EXPECT_EQ(read("bin.obj"), bytes); // the bytes saved are the bytes read

    // A right click, and the Menu key as the window system tells it.
    for (const auto reason : {QContextMenuEvent::Mouse, QContextMenuEvent::Keyboard}) {
        QContextMenuEvent event(reason, QPoint(20, 20), editor()->viewport()->mapToGlobal(QPoint(20, 20)));
        QCoreApplication::sendEvent(editor()->viewport(), &event);
        EXPECT_TRUE(w->menu("menu2")->isVisible()) << reason;
        w->menu("menu2")->hide();
    }

    // The position is saved at unload and placed at load (centring when positions aren't saved is
    // the settings' own).
    w->setGeometry(40, 50, 600, 500);
    machinestate().optsavepositions = "ON";
    reopen();
    EXPECT_TRUE(machinestate().Form12);
    EXPECT_EQ(w->geometry(), QRect(40, 50, 600, 500));
    closewindow(w);
    EXPECT_FALSE(machinestate().Form12);
}

} // namespace
