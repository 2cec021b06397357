// Files handed to the running program, with the main window and the real windows: each ending
// opens where it belongs, a program waits for the machine to stop, a listing brings its program,
// and the queue keeps its order and waits for a dialog.
#include "app/handedfiles.h"
#include "assembler/ui/form6.h"
#include "basic/ui/form12.h"
#include "sim/form1.h"
#include "tools/form16.h"
#include "tools/form8.h"

#include <QDialog>
#include <QTest>

#include "tests/common/windowtest.h"

#include <optional>

using namespace kelvane;

namespace {

const QByteArray row = "1      0000  MVI A,05H       05 00000000  00 00 00 00 00 00 FFFF\r\n";
const std::pair<const char*, QByteArray> files[] = {
    {"prog.hex", ":020000003E05BB\r\n:00000001FF\r\n"}, {"PROG2.OBJ", "\x06\x07"}, {"notes.txt", "AB"},
    {"src.asm", "\tHLT\r\n"}, {"src.bas", "A = 5\r\n"}, {"run.log", row + row}, {"orphan.lst", "\tHLT\r\n"},
};

struct HandedCase {
    const char* name;
    bool running;
    bool taken;
    std::vector<int32_t> memory; // from address 0 afterwards
    std::optional<Tool> window;  // shows it, its caption ending in the file's name (but Form8's)
    QString box;                 // the start of the message box, if one comes
};

const QString loaded = QStringLiteral("Operation completed.");
const HandedCase cases[] = {
    {"prog.hex", false, true, {0x3E, 0x05}, std::nullopt, loaded},
    {"PROG2.OBJ", false, true, {0x06, 0x07}, std::nullopt, loaded},
    {"notes.txt", false, true, {0x41, 0x42}, std::nullopt, loaded}, // any other ending: an image
    {"src.asm", false, true, {0, 0}, Tool::Form6, {}},
    {"src.bas", false, true, {0, 0}, Tool::Form12, {}},
    {"run.log", false, true, {0, 0}, Tool::Form16, {}},
    {"list.lst", false, true, {0x3E, 0x09, 0x76}, Tool::Form8, loaded},
    {"orphan.lst", false, false, {0, 0}, std::nullopt,
     QStringLiteral("The listing orphan.lst has no program orphan.obj or orphan.hex beside it.")},
    {"prog.hex", true, false, {0, 0}, std::nullopt, QStringLiteral("Stop the simulation before loading prog.hex.")},
    {"src.asm", true, true, {0, 0}, Tool::Form6, {}},
};

struct HandedFilesTest : test::WindowTest {
    void SetUp() override
    {
        toolrouter().setfactory(Tool::Form6, [] { return new Form6; });
        toolrouter().setfactory(Tool::Form8, [] { return new Form8; });
        toolrouter().setfactory(Tool::Form12, [] { return new Form12; });
        toolrouter().setfactory(Tool::Form16, [] { return new Form16; });
        initialisestate(machinestate());
        form = std::make_unique<Form1>();
        form->show();
        machinestate().optconfirm = "ON"; // results as boxes, which the driver keeps
        for (const auto& [name, content] : files)
            write(QLatin1String(name), content);
        for (const char* name : {"list.lst", "list.obj"})
            QFile::copy(QStringLiteral(KELVANE_TEST_DATA "/packaging/") + QLatin1String(name), path(QLatin1String(name)));
    }
    void TearDown() override
    {
        closewindow(nullptr);
        toolrouter().unloadall();
        closewindow(nullptr);
    }
    static std::vector<int32_t> memory(size_t n)
    {
        return {machinestate().mem.begin(), machinestate().mem.begin() + static_cast<std::ptrdiff_t>(n)};
    }
    std::unique_ptr<Form1> form;
};

TEST_F(HandedFilesTest, EachEndingOpensWhereItBelongs)
{
    for (const HandedCase& c : cases) {
        SCOPED_TRACE(std::string(c.name) + (c.running ? " while running" : ""));
        std::fill(machinestate().mem.begin(), machinestate().mem.end(), 0);
        driver->texts.clear();
        machinestate().running = c.running;
        EXPECT_EQ(openhandedfile(path(QLatin1String(c.name))), c.taken);
        machinestate().running = false;
        EXPECT_EQ(memory(c.memory.size()), c.memory);
        QWidget* w = c.window ? toolrouter().window(*c.window) : nullptr;
        EXPECT_EQ(w != nullptr, c.window.has_value());
        if (w != nullptr && c.window != Tool::Form8)
            EXPECT_TRUE(w->windowTitle().endsWith(QLatin1String(c.name))) << w->windowTitle().toStdString();
        EXPECT_EQ(driver->texts.empty(), c.box.isEmpty()) << lastbox().toStdString();
        EXPECT_TRUE(lastbox().startsWith(c.box)) << lastbox().toStdString();
        toolrouter().unloadall();
        closewindow(nullptr);
    }
}

TEST_F(HandedFilesTest, QueueKeepsItsOrderAndWaitsForADialog)
{
    QDialog dialog(form.get());
    dialog.setWindowModality(Qt::ApplicationModal);
    dialog.show();
    handedfiles().open(path(QStringLiteral("prog.hex")));
    handedfiles().open(path(QStringLiteral("PROG2.OBJ")));
    QTest::qWait(300);
    EXPECT_EQ(handedfiles().waiting(), 2u);
    EXPECT_EQ(memory(2), std::vector<int32_t>(2, 0));
    dialog.close();
    EXPECT_TRUE(QTest::qWaitFor([] { return handedfiles().waiting() == 0; }, 5000));
    EXPECT_TRUE(QTest::qWaitFor([this] { return driver->texts.size() == 2; }, 5000));
    EXPECT_EQ(memory(2), (std::vector<int32_t>{0x06, 0x07})); // the later one last
}

TEST(HandedPath, ArgumentsBecomeAbsolutePaths)
{
    const std::pair<const char*, const char*> table[] = {
        {"prog.hex", "/home/student/lab/prog.hex"},       {"../lab2/src.asm", "/home/student/lab2/src.asm"},
        {"/tmp/run.log", "/tmp/run.log"},                 {"file:///tmp/my%20program.hex", "/tmp/my program.hex"},
        {"./a/./b.bas", "/home/student/lab/a/b.bas"},
    };
    for (const auto& [argument, expected] : table)
        EXPECT_EQ(handedpath(QString::fromUtf8(argument), QStringLiteral("/home/student/lab")), QString::fromUtf8(expected));
}

} // namespace
