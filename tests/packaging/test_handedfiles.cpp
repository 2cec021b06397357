// Files handed to the running program, with the main window and the real source and tool windows:
// each ending opens where it belongs, a program waits for the machine to stop, a listing brings
// its program, and the queue keeps its order and waits for a dialog.
#include "app/handedfiles.h"
#include "assembler/ui/form6.h"
#include "basic/ui/form12.h"
#include "core/machine.h"
#include "sim/form1.h"
#include "sim/machinestate.h"
#include "sim/toolrouter.h"
#include "tools/form16.h"
#include "tools/form8.h"

#include <QDialog>
#include <QTest>

#include "tests/common/windowtest.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <vector>

using namespace kelvane;

namespace {

const QString data = QStringLiteral(KELVANE_TEST_DATA "/packaging/");
const QByteArray row = "1      0000  MVI A,05H       05 00000000  00 00 00 00 00 00 FFFF\r\n";

// The files of every case, written into the test's folder.
const struct {
    const char* name;
    QByteArray content;
} files[] = {
    {"prog.hex", ":020000003E05BB\r\n:00000001FF\r\n"},
    {"PROG2.OBJ", "\x06\x07"},
    {"notes.txt", "AB"},
    {"src.asm", "\tMVI A,05H\r\n\tHLT\r\n"},
    {"src.bas", "A = 5\r\n"},
    {"run.log", row + row},
    {"orphan.lst", "0001   0000 76          \tHLT\r\n"},
};

struct HandedCase {
    const char* name;
    bool taken;
    std::vector<int32_t> memory;  // from address 0 after the file was handed over
    std::optional<Tool> window;   // the window that shows it, its caption ending in the file's name
    const char* box;              // the start of the message box, if one comes
};

const HandedCase cases[] = {
    {"prog.hex", true, {0x3E, 0x05}, std::nullopt, "Operation completed."},
    {"PROG2.OBJ", true, {0x06, 0x07}, std::nullopt, "Operation completed."},
    {"notes.txt", true, {0x41, 0x42}, std::nullopt, "Operation completed."}, // any other ending: an image
    {"src.asm", true, {0, 0}, Tool::Form6, nullptr},
    {"src.bas", true, {0, 0}, Tool::Form12, nullptr},
    {"run.log", true, {0, 0}, Tool::Form16, nullptr},
    {"list.lst", true, {0x3E, 0x09, 0x76}, Tool::Form8, "Operation completed."},
    {"orphan.lst", false, {0, 0}, std::nullopt,
     "The listing orphan.lst has no program orphan.obj or orphan.hex beside it."},
};

class HandedFilesTest : public test::WindowTest {
protected:
    void SetUp() override
    {
        ToolRouter& r = toolrouter();
        r.setfactory(Tool::Form6, [] { return new Form6; });
        r.setfactory(Tool::Form8, [] { return new Form8; });
        r.setfactory(Tool::Form12, [] { return new Form12; });
        r.setfactory(Tool::Form16, [] { return new Form16; });
        initialisestate(machinestate());
        form = std::make_unique<Form1>();
        form->show();
        machinestate().optconfirm = "ON"; // results as boxes, which the driver keeps
        for (const auto& f : files)
            write(QString::fromLatin1(f.name), f.content);
        for (const char* name : {"list.lst", "list.obj"})
            QFile::copy(data + QLatin1String(name), path(QLatin1String(name)));
    }
    void TearDown() override
    {
        toolrouter().unloadall();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        form.reset();
    }
    static std::vector<int32_t> memory(size_t n)
    {
        const auto& mem = machinestate().mem;
        return {mem.begin(), mem.begin() + static_cast<std::ptrdiff_t>(n)};
    }
    std::unique_ptr<Form1> form;
};

TEST_F(HandedFilesTest, EachEndingOpensWhereItBelongs)
{
    for (const HandedCase& c : cases) {
        SCOPED_TRACE(c.name);
        std::fill(machinestate().mem.begin(), machinestate().mem.end(), 0);
        driver->texts.clear();
        EXPECT_EQ(openhandedfile(path(QLatin1String(c.name))), c.taken);
        EXPECT_EQ(memory(c.memory.size()), c.memory);
        if (c.window) {
            QWidget* w = toolrouter().window(*c.window);
            ASSERT_NE(w, nullptr);
            if (*c.window != Tool::Form8)
                EXPECT_TRUE(w->windowTitle().endsWith(QLatin1String(c.name))) << w->windowTitle().toStdString();
        }
        if (c.box)
            EXPECT_TRUE(lastbox().startsWith(QLatin1String(c.box))) << lastbox().toStdString();
        else
            EXPECT_TRUE(driver->texts.empty()) << lastbox().toStdString();
        if (c.taken)
            EXPECT_EQ(machinestate().lastpath, (dir.path() + "/").toStdString());
        toolrouter().unloadall();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    // The log viewer holds the file's rows.
    openhandedfile(path(QStringLiteral("run.log")));
    auto* viewer = dynamic_cast<Form16*>(toolrouter().window(Tool::Form16));
    ASSERT_NE(viewer, nullptr);
    EXPECT_EQ(viewer->logcount(), 2u);
}

TEST_F(HandedFilesTest, AProgramWaitsForTheMachineToStopWhileSourcesOpen)
{
    machinestate().running = true;
    EXPECT_FALSE(openhandedfile(path(QStringLiteral("prog.hex"))));
    EXPECT_EQ(lastbox(), QStringLiteral("Stop the simulation before loading prog.hex."));
    EXPECT_EQ(memory(2), std::vector<int32_t>(2, 0));
    EXPECT_TRUE(openhandedfile(path(QStringLiteral("src.asm"))));
    machinestate().running = false;
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
    QTest::qWait(50);
    EXPECT_EQ(memory(2), (std::vector<int32_t>{0x06, 0x07})); // both loaded, the later one last
    EXPECT_EQ(driver->texts.size(), 2u);
}

TEST(HandedPath, ArgumentsBecomeAbsolutePaths)
{
    const struct {
        const char* argument;
        const char* expected;
    } table[] = {
        {"prog.hex", "/home/student/lab/prog.hex"},
        {"../lab2/src.asm", "/home/student/lab2/src.asm"},
        {"/tmp/run.log", "/tmp/run.log"},
        {"file:///tmp/my%20program.hex", "/tmp/my program.hex"},
        {"./a/./b.bas", "/home/student/lab/a/b.bas"},
    };
    for (const auto& t : table)
        EXPECT_EQ(handedpath(QString::fromUtf8(t.argument), QStringLiteral("/home/student/lab")),
                  QString::fromUtf8(t.expected));
}

} // namespace
