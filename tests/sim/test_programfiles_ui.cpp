// The File menu flows offscreen: the filter decides the format, refusals leave memory as it was,
// the resets of a load and a clear, the save name, the overwrite question and atomic saves. The
// formats themselves and their limits are the readers' and writers' tests.
#include "shell/messages.h"
#include "sim/machinestate.h"
#include "sim/programfiles_ui.h"
#include "sim/settings.h"

#include <QDir>
#include <QTemporaryDir>

#include "tests/common/dialogdriver.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <sstream>
#include <tuple>
#include <sys/resource.h>

using namespace kelvane;

namespace {

std::string readall(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

void writeall(const std::string& path, const std::string& data) { std::ofstream(path, std::ios::binary) << data; }

QString shown() { return MessageWindow::current() != nullptr ? MessageWindow::current()->text() : QString(); }

const std::string hexprogram = ":020000003E05BB\r\n:00000001FF\r\n"; // MVI A,05H

struct FileMenuFixture : ::testing::Test {
    void SetUp() override
    {
        if (MessageWindow* w = MessageWindow::current()) {
            w->close();
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        }
        machinestate().optconfirm = "OFF";
        st = std::make_unique<MachineState>();
        st->lastpath = "/nowhere/";
        st->programsize = 77;
        st->mem[5] = 0x99;
        st->breakpointaddress.set(0, "0005");
        hooks.setqstaza = [this](const QString& t) { qstaza = t; };
        hooks.clean = [this] { ++cleans; };
        hooks.enablemenus = [this](bool on) { menus.push_back(on); };
        hooks.memorijaprint = [this] { ++memoryprints; };
        hooks.unloadbreakpoints = [this] { ++breakpointunloads; };
        hooks.choosefile = [this](QWidget*, bool, const QString& folder, int& filter) {
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
    // Nothing of the machine or the panel changed.
    void untouched()
    {
        EXPECT_EQ(std::tuple(st->mem[5], st->programsize, qstaza.toStdString(), cleans, st->breakpointaddress[0]),
                  std::tuple(0x99, 77, std::string("old"), 0, std::string("0005")));
    }

    QTemporaryDir dir;
    QWidget caller;
    std::unique_ptr<MachineState> st;
    FileMenuHooks hooks;
    QString qstaza = QStringLiteral("old");
    QString chosen, dialogfolder;
    int chosenfilter = 1;
    bool answeryes = true;
    int cleans = 0, memoryprints = 0, breakpointunloads = 0;
    std::vector<bool> menus;
    std::vector<QString> questions;
};

} // namespace

TEST_F(FileMenuFixture, IntelHexUnderTheSecondFilterLoadsWithAllItsResets)
{
    const std::string path = file("prog.hex");
    writeall(path, hexprogram);
    choose(path, 2);
    st->Form2 = st->Form8 = true;
    st->optrefreshmemory = "ON";
    EXPECT_TRUE(menuload_Click(*st, &caller, hooks));
    EXPECT_EQ(dialogfolder, QStringLiteral("/nowhere/"));
    EXPECT_EQ(st->mem[0], 0x3E);
    EXPECT_EQ(st->mem[5], 0); // the rest of memory is cleared
    EXPECT_EQ(st->programsize, 2);
    EXPECT_EQ(qstaza, chosen);
    EXPECT_EQ(cleans + memoryprints + breakpointunloads, 3);
    EXPECT_EQ(st->breakpointaddress[0], "");
    EXPECT_EQ(menus, (std::vector<bool>{false, true}));
    EXPECT_EQ(shown(), QStringLiteral("Operation completed.\r\nTotal 2 (.001K) bytes loaded."));
    EXPECT_EQ(regread("Last Path", ""), dir.path().toStdString() + "/");
    // The first and third filters read the same file as a binary image; no redraw without the editor.
    st->Form2 = st->Form8 = false;
    for (int filter : {1, 3}) {
        choose(path, filter);
        ASSERT_TRUE(menuload_Click(*st, &caller, hooks)) << filter;
        EXPECT_EQ(st->programsize, static_cast<int32_t>(hexprogram.size())) << filter;
        EXPECT_EQ(st->mem[0], ':') << filter;
    }
    EXPECT_EQ(memoryprints + breakpointunloads, 2);
}

TEST_F(FileMenuFixture, RefusalsLeaveEverythingAsItWas)
{
    struct Case {
        const char* name;
        const char* contents; // nullptr: no such file
        int filter;
        const char* box;      // the box's text, or a part of it; nullptr: the timed window
        const char* window;
    } cases[] = {
        {"bad.hex", "; comment\r\n:020000003E05BC\r\n", 2,
         "Input program file in Intel Hex Format contains errors.\n"
         "Line number 2: Invalid 'checksum' field in the record.",
         nullptr},
        {"missing.obj", nullptr, 1, "missing.obj", nullptr},
        {"missing.hex", nullptr, 2, "missing.hex", nullptr},
        {"empty.obj", "", 1, nullptr, "The size of the selected file is zero."},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        test::DialogDriver driver;
        if (c.contents != nullptr)
            writeall(file(c.name), c.contents);
        choose(file(c.name), c.filter);
        EXPECT_FALSE(menuload_Click(*st, &caller, hooks));
        if (c.box != nullptr) {
            ASSERT_EQ(driver.texts.size(), 1u);
            EXPECT_TRUE(driver.texts[0].contains(QString::fromLatin1(c.box))) << driver.texts[0].toStdString();
        } else {
            EXPECT_EQ(shown(), QString::fromLatin1(c.window));
        }
        untouched();
        EXPECT_EQ(st->lastpath, dir.path().toStdString() + "/"); // the folder is taken all the same
    }
    choose("", 2); // a cancelled dialog
    EXPECT_FALSE(menuload_Click(*st, &caller, hooks));
    untouched();
}

TEST_F(FileMenuFixture, ClearEmptiesMemoryAndResets)
{
    st->Form2 = true;
    st->optrefreshmemory = "ON";
    st->mem[65535] = 1;
    menuclear_Click(*st, &caller, hooks);
    EXPECT_EQ(std::count(st->mem.begin(), st->mem.begin() + 65536, 0), 65536);
    EXPECT_EQ(st->programsize, 0);
    EXPECT_EQ(qstaza, QString());
    EXPECT_EQ(cleans + memoryprints, 2);
    EXPECT_EQ(st->breakpointaddress[0], "");
    EXPECT_EQ(shown(), QString()); // no message
    EXPECT_FALSE(menusave_Click(*st, &caller, hooks)); // nothing to save: no dialog
    EXPECT_EQ(dialogfolder, QString());
    EXPECT_EQ(shown(), QStringLiteral("The memory is empty."));
}

TEST_F(FileMenuFixture, SaveCutsTheNameAtItsFirstPointAndAddsTheFormatsExtension)
{
    st->mem.fill(0);
    st->mem[0] = 0x3E;
    st->mem[1] = 0x05;
    choose(file("prog.v1.txt"), 2);
    ASSERT_TRUE(menusave_Click(*st, &caller, hooks));
    EXPECT_EQ(readall(file("prog.hex")), hexprogram);
    EXPECT_EQ(qstaza, QString::fromStdString(file("prog.hex")));
    EXPECT_EQ(st->programsize, 2);
    EXPECT_EQ(shown(), QStringLiteral("Operation completed.\r\nTotal 2 (.001K) bytes saved."));
    EXPECT_EQ(cleans, 0); // a save touches neither registers nor breakpoints
    EXPECT_EQ(st->breakpointaddress[0], "0005");
    choose(file("image"), 3);
    ASSERT_TRUE(menusave_Click(*st, &caller, hooks));
    EXPECT_EQ(readall(file("image.obj")), std::string("\x3E\x05", 2));
    EXPECT_TRUE(questions.empty());
}

TEST_F(FileMenuFixture, AnExistingFileIsReplacedOnlyOnYesAndOnlyByACompleteOne)
{
    st->mem[0] = 0x01;
    st->mem[4095] = 0x02;
    const std::string target = file("prog.obj");
    writeall(target, "old contents");
    choose(target, 1);
    answeryes = false;
    EXPECT_FALSE(menusave_Click(*st, &caller, hooks));
    const QString question = QString::fromStdString("Do you want to overwrite existing file " + target + "?");
    EXPECT_EQ(questions, std::vector<QString>{question});
    EXPECT_TRUE(menus.empty());
    answeryes = true;
    // A write that fails halfway, for the superuser too: files may grow to 512 bytes only.
    test::DialogDriver driver;
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit old{};
    getrlimit(RLIMIT_FSIZE, &old);
    rlimit small = old;
    small.rlim_cur = 512;
    setrlimit(RLIMIT_FSIZE, &small);
    const bool saved = menusave_Click(*st, &caller, hooks);
    setrlimit(RLIMIT_FSIZE, &old);
    EXPECT_FALSE(saved);
    EXPECT_EQ(readall(target), "old contents");
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden), QStringList{"prog.obj"}); // no temporary left
    EXPECT_EQ(driver.texts.size(), 1u);
    untouched();
    EXPECT_EQ(menus, (std::vector<bool>{false, true}));
    EXPECT_TRUE(menusave_Click(*st, &caller, hooks));
    EXPECT_EQ(readall(target).size(), 4096u);
    EXPECT_EQ(st->programsize, 4096);
}
