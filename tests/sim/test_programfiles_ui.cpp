// The File menu flows offscreen: the filter decides the format, refusals leave memory as it was,
// the resets of a load and a clear, the save name and the overwrite question, the messages.
#include "progfiles/hexfile.h"
#include "progfiles/programload.h"
#include "shell/messages.h"
#include "sim/machinestate.h"
#include "sim/programfiles_ui.h"
#include "sim/settings.h"

#include <QApplication>
#include <QMessageBox>
#include <QSettings>
#include <QTemporaryDir>
#include <QTimer>

#include "tests/common/dialogdriver.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <sys/stat.h>

using namespace kelvane;

namespace {

using test::BoxCloser;

std::string readall(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

void writeall(const std::string& path, const std::string& data)
{
    std::ofstream(path, std::ios::binary) << data;
}

QString shown()
{
    MessageWindow* w = MessageWindow::current();
    return w != nullptr ? w->text() : QString();
}

struct FileMenuFixture : ::testing::Test {
    void SetUp() override
    {
        if (MessageWindow* w = MessageWindow::current())
            w->close();
        machinestate().optconfirm = "OFF";
        st = std::make_unique<MachineState>();
        st->optffdefaults = "ON";
        st->lastpath = "/nowhere/";
        st->programsize = 77;
        st->mem[5] = 0x99;
        st->breakpointaddress.set(0, "0005");
        hooks.setqstaza = [this](const QString& t) { qstaza = t; };
        hooks.clean = [this] {
            ++cleans;
            st->a = 255;
        };
        hooks.enablemenus = [this](bool on) { menus.push_back(on); };
        hooks.memorijaprint = [this] { ++memoryprints; };
        hooks.unloadbreakpoints = [this] { ++breakpointunloads; };
        hooks.choosefile = [this](QWidget*, bool save, const QString& folder, int& filter) {
            ++dialogs;
            lastsave = save;
            dialogfolder = folder;
            filter = chosenfilter;
            return chosen;
        };
        hooks.askoverwrite = [this](QWidget*, const QString& q) {
            questions.push_back(q);
            return answeryes;
        };
        caller.show();
    }
    std::string file(const char* name) const { return dir.filePath(QString::fromLatin1(name)).toStdString(); }
    void choose(const std::string& path, int filter)
    {
        chosen = QString::fromStdString(path);
        chosenfilter = filter;
    }

    QTemporaryDir dir;
    QWidget caller;
    std::unique_ptr<MachineState> st;
    FileMenuHooks hooks;
    QString qstaza = QStringLiteral("old");
    QString chosen, dialogfolder;
    int chosenfilter = 1;
    bool answeryes = true, lastsave = false;
    int cleans = 0, memoryprints = 0, breakpointunloads = 0, dialogs = 0;
    std::vector<bool> menus;
    std::vector<QString> questions;
};

} // namespace

TEST_F(FileMenuFixture, IntelHexUnderTheSecondFilterLoadsWithAllItsResets)
{
    const std::string path = file("prog.hex");
    writeall(path, ":020000003E05BB\r\n:00000001FF\r\n");
    choose(path, 2);
    st->Form2 = st->Form8 = true;
    st->optrefreshmemory = "ON";
    EXPECT_TRUE(menuload_Click(*st, &caller, hooks));
    EXPECT_EQ(dialogfolder, QStringLiteral("/nowhere/"));
    EXPECT_FALSE(lastsave);
    EXPECT_EQ(st->mem[0], 0x3E);
    EXPECT_EQ(st->mem[1], 0x05);
    EXPECT_EQ(st->mem[5], 0); // the rest of memory is cleared
    EXPECT_EQ(st->programsize, 2);
    EXPECT_EQ(qstaza, chosen);
    EXPECT_EQ(cleans, 1);
    EXPECT_EQ(memoryprints, 1);
    EXPECT_EQ(breakpointunloads, 1);
    EXPECT_EQ(st->breakpointaddress[0], "");
    EXPECT_EQ(menus, (std::vector<bool>{false, true}));
    EXPECT_EQ(shown(), QStringLiteral("Operation completed.\r\nTotal 2 (.001K) bytes loaded."));
    EXPECT_EQ(st->lastpath, dir.path().toStdString() + "/");
    EXPECT_EQ(regread("Last Path", ""), st->lastpath);
}

TEST_F(FileMenuFixture, TheFilterAloneDecidesTheFormat)
{
    const std::string path = file("prog.hex");
    const std::string text = ":020000003E05BB\r\n:00000001FF\r\n";
    writeall(path, text);
    for (int filter : {1, 3}) {
        choose(path, filter);
        ASSERT_TRUE(menuload_Click(*st, &caller, hooks)) << filter;
        EXPECT_EQ(st->programsize, static_cast<int32_t>(text.size())) << filter;
        EXPECT_EQ(st->mem[0], ':') << filter;
        EXPECT_EQ(st->mem[1], '0') << filter;
    }
    // Refresh off or editor closed: no redraw.
    EXPECT_EQ(memoryprints, 0);
    EXPECT_EQ(breakpointunloads, 0);
}

TEST_F(FileMenuFixture, AReaderRefusalLeavesEverythingAsItWas)
{
    BoxCloser closer;
    const std::string path = file("bad.hex");
    writeall(path, "; comment\r\n:020000003E05BC\r\n");
    choose(path, 2);
    EXPECT_FALSE(menuload_Click(*st, &caller, hooks));
    ASSERT_EQ(closer.texts.size(), 1u);
    EXPECT_EQ(closer.texts[0], QStringLiteral("Input program file in Intel Hex Format contains errors.\n"
                                              "Line number 2: Invalid 'checksum' field in the record."));
    EXPECT_EQ(st->mem[5], 0x99);
    EXPECT_EQ(st->programsize, 77);
    EXPECT_EQ(qstaza, QStringLiteral("old"));
    EXPECT_EQ(cleans, 0);
    EXPECT_EQ(st->breakpointaddress[0], "0005");
    EXPECT_EQ(menus, (std::vector<bool>{false, true}));
    // The folder is taken even when the load fails.
    EXPECT_EQ(st->lastpath, dir.path().toStdString() + "/");
}

TEST_F(FileMenuFixture, ImageSizesZeroTooLargeAndExactly64K)
{
    struct Case {
        size_t size;
        const char* message;
        bool loaded;
    } cases[] = {
        {0, "The size of the selected file is zero.", false},
        {65537, "The size of the selected file is greater than 64K.", false},
        {65536, "Operation completed.\r\nTotal 65536 (64K) bytes loaded.", true},
        {4098, "Operation completed.\r\nTotal 4098 (4.00K) bytes loaded.", true},
    };
    for (const Case& c : cases) {
        const std::string path = file("image.obj");
        writeall(path, std::string(c.size, '\x11'));
        choose(path, 1);
        st->mem[5] = 0x99;
        st->programsize = 77;
        qstaza = QStringLiteral("old");
        EXPECT_EQ(menuload_Click(*st, &caller, hooks), c.loaded) << c.size;
        EXPECT_EQ(shown(), QString::fromLatin1(c.message)) << c.size;
        EXPECT_EQ(st->mem[5], c.loaded ? 0x11 : 0x99) << c.size;
        EXPECT_EQ(st->programsize, c.loaded ? static_cast<int32_t>(c.size) : 77) << c.size;
        EXPECT_EQ(qstaza, c.loaded ? chosen : QStringLiteral("old")) << c.size;
    }
}

TEST_F(FileMenuFixture, AFileThatCannotBeOpenedGetsAPlainMessage)
{
    BoxCloser closer;
    for (int filter : {1, 2}) {
        choose(file("missing.obj"), filter);
        EXPECT_FALSE(menuload_Click(*st, &caller, hooks));
    }
    ASSERT_EQ(closer.texts.size(), 2u);
    EXPECT_TRUE(closer.texts[0].contains(QStringLiteral("missing.obj"))) << closer.texts[0].toStdString();
    EXPECT_TRUE(closer.texts[1].contains(QStringLiteral("missing.obj"))) << closer.texts[1].toStdString();
    EXPECT_EQ(st->mem[5], 0x99);
    EXPECT_EQ(st->programsize, 77);
}

TEST_F(FileMenuFixture, ACancelledDialogDoesNothing)
{
    choose("", 2);
    EXPECT_FALSE(menuload_Click(*st, &caller, hooks));
    EXPECT_FALSE(menusave_Click(*st, &caller, hooks));
    EXPECT_EQ(dialogs, 2);
    EXPECT_EQ(st->lastpath, "/nowhere/");
    EXPECT_TRUE(menus.empty());
    EXPECT_EQ(st->programsize, 77);
}

TEST_F(FileMenuFixture, ClearEmptiesMemoryAndResets)
{
    st->Form2 = true;
    st->optrefreshmemory = "ON";
    st->mem[65535] = 1;
    menuclear_Click(*st, &caller, hooks);
    for (int32_t a : {0, 5, 65535})
        EXPECT_EQ(st->mem[static_cast<size_t>(a)], 0);
    EXPECT_EQ(st->programsize, 0);
    EXPECT_EQ(qstaza, QString());
    EXPECT_EQ(cleans, 1);
    EXPECT_EQ(memoryprints, 1);
    EXPECT_EQ(breakpointunloads, 0);
    EXPECT_EQ(st->breakpointaddress[0], "");
    EXPECT_EQ(shown(), QString()); // no message
}

TEST_F(FileMenuFixture, SavingAnEmptyMemoryShowsNoDialog)
{
    st->mem.fill(0);
    EXPECT_FALSE(menusave_Click(*st, &caller, hooks));
    EXPECT_EQ(dialogs, 0);
    EXPECT_EQ(shown(), QStringLiteral("The memory is empty."));
}

TEST_F(FileMenuFixture, SaveCutsTheNameAtItsFirstPointAndAddsTheFormatsExtension)
{
    st->mem.fill(0);
    st->mem[0] = 0x3E;
    st->mem[1] = 0x05;
    choose(file("prog.v1.txt"), 2);
    ASSERT_TRUE(menusave_Click(*st, &caller, hooks));
    EXPECT_TRUE(lastsave);
    EXPECT_EQ(readall(file("prog.hex")), ":020000003E05BB\r\n:00000001FF\r\n");
    EXPECT_EQ(qstaza, QString::fromStdString(file("prog.hex")));
    EXPECT_EQ(st->programsize, 2);
    EXPECT_EQ(shown(), QStringLiteral("Operation completed.\r\nTotal 2 (.001K) bytes saved."));
    EXPECT_EQ(cleans, 0); // a save touches neither registers nor breakpoints
    EXPECT_EQ(st->breakpointaddress[0], "0005");
    EXPECT_TRUE(questions.empty());

    choose(file("image"), 3);
    ASSERT_TRUE(menusave_Click(*st, &caller, hooks));
    EXPECT_EQ(readall(file("image.obj")), std::string("\x3E\x05", 2));
}

TEST_F(FileMenuFixture, AnExistingFileIsReplacedOnlyOnYes)
{
    st->mem.fill(0);
    st->mem[0] = 0x01;
    const std::string target = file("prog.obj");
    writeall(target, "old contents");
    choose(target, 1);
    answeryes = false;
    EXPECT_FALSE(menusave_Click(*st, &caller, hooks));
    ASSERT_EQ(questions.size(), 1u);
    EXPECT_EQ(questions[0], QString::fromStdString("Do you want to overwrite existing file " + target + "?"));
    EXPECT_EQ(readall(target), "old contents");
    EXPECT_EQ(st->programsize, 77);
    EXPECT_EQ(qstaza, QStringLiteral("old"));
    EXPECT_TRUE(menus.empty());

    answeryes = true;
    EXPECT_TRUE(menusave_Click(*st, &caller, hooks));
    EXPECT_EQ(readall(target), std::string("\x01", 1));
    EXPECT_EQ(st->programsize, 1);
    EXPECT_EQ(shown(), QString::fromStdString(savedmessage(1)));
}

TEST_F(FileMenuFixture, AFailedWriteKeepsTheOldFileAndTheProgram)
{
    if (::geteuid() == 0)
        GTEST_SKIP() << "a read-only folder does not stop the superuser";
    BoxCloser closer;
    st->mem[0] = 0x01;
    const std::string target = file("prog.obj");
    writeall(target, "old contents");
    ::chmod(dir.path().toLocal8Bit().constData(), 0500);
    choose(target, 1);
    EXPECT_FALSE(menusave_Click(*st, &caller, hooks));
    ::chmod(dir.path().toLocal8Bit().constData(), 0700);
    EXPECT_EQ(readall(target), "old contents");
    EXPECT_EQ(closer.texts.size(), 1u);
    EXPECT_EQ(st->programsize, 77);
    EXPECT_EQ(qstaza, QStringLiteral("old"));
}

TEST_F(FileMenuFixture, ASaveIntoAMissingFolderGetsAPlainMessage)
{
    BoxCloser closer;
    st->mem[0] = 0x01;
    choose(file("no-such-folder/prog.obj"), 1);
    EXPECT_FALSE(menusave_Click(*st, &caller, hooks));
    ASSERT_EQ(closer.texts.size(), 1u);
    EXPECT_TRUE(closer.texts[0].contains(QStringLiteral("prog.obj")));
    EXPECT_EQ(st->programsize, 77);
    EXPECT_EQ(menus, (std::vector<bool>{false, true}));
}

TEST_F(FileMenuFixture, SaveAndLoadKeepMemory)
{
    st->mem.fill(0);
    for (int32_t a = 0; a < 65536; a += 37)
        st->mem[static_cast<size_t>(a)] = (a * 7 + 1) & 0xFF;
    const auto before = st->mem;
    for (int filter : {1, 2}) {
        const std::string name = filter == 2 ? "round.hex" : "round.obj";
        choose(file(name.c_str()), filter);
        ASSERT_TRUE(menusave_Click(*st, &caller, hooks)) << filter;
        st->mem.fill(0x5A);
        ASSERT_TRUE(menuload_Click(*st, &caller, hooks)) << filter;
        for (size_t a = 0; a < 65536; ++a)
            ASSERT_EQ(st->mem[a], before[a]) << filter << " at " << a;
    }
}
