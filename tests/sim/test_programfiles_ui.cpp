// The File menu flows offscreen: the filter decides the format, refusals leave memory as it was,
// the resets of a load and a clear, the save name and the overwrite question. The formats, their
// limits and the safe save themselves are the readers' and writers' tests.
#include "shell/messages.h"
#include "sim/machinestate.h"
#include "sim/programfiles_ui.h"
#include "sim/settings.h"

#include "tests/common/dialogdriver.h"
#include "tests/common/tempfolder.h"

#include <gtest/gtest.h>

#include <tuple>

using namespace kelvane;
using test::slurp;

namespace {

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
        st->lastpath = "/nowhere/";
        st->programsize = 77;
        st->mem[5] = 0x99;
        st->breakpointaddress.set(0, "0005");
        hooks.setqstaza = [this](const QString& t) { qstaza = t; };
        hooks.clean = [this] { calls += 'c'; };
        hooks.enablemenus = [this](bool on) { calls += on ? '+' : '-'; };
        hooks.memorijaprint = [this] { calls += 'm'; };
        hooks.unloadbreakpoints = [this] { calls += 'b'; };
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
    void choose(const std::string& path, int filter)
    {
        chosen = QString::fromStdString(path);
        chosenfilter = filter;
    }
    // Nothing of the machine or the panel changed.
    void untouched()
    {
        EXPECT_EQ(std::tuple(st->mem[5], st->programsize, qstaza.toStdString(), st->breakpointaddress[0]),
                  std::tuple(0x99, 77, std::string("old"), std::string("0005")));
        EXPECT_EQ(calls.find('c'), std::string::npos);
    }

    test::TempFolder dir;
    QWidget caller;
    std::unique_ptr<MachineState> st = std::make_unique<MachineState>();
    FileMenuHooks hooks;
    QString qstaza = QStringLiteral("old");
    QString chosen, dialogfolder;
    int chosenfilter = 1;
    bool answeryes = true;
    std::string calls; // c: clean, m: memory redrawn, b: breakpoints unloaded, -/+: menus off/on
    std::vector<QString> questions;
};

} // namespace

TEST_F(FileMenuFixture, IntelHexUnderTheSecondFilterLoadsWithAllItsResets)
{
    choose(dir.put("prog.hex", hexprogram), 2);
    st->Form2 = st->Form8 = true;
    st->optrefreshmemory = "ON";
    EXPECT_TRUE(menuload_Click(*st, &caller, hooks));
    EXPECT_EQ(dialogfolder, QStringLiteral("/nowhere/"));
    // The rest of memory is cleared.
    EXPECT_EQ(std::tuple(st->mem[0], st->mem[5], st->programsize, qstaza), std::tuple(0x3E, 0, 2, chosen));
    EXPECT_EQ(calls + st->breakpointaddress[0], "-cmb+");
    EXPECT_EQ(shown(), QStringLiteral("Operation completed.\r\nTotal 2 (.001K) bytes loaded."));
    EXPECT_EQ(regread("Last Path", ""), dir.path.string() + "/");
    // The first and third filters read the same file as a binary image; no redraw without the editor.
    st->Form2 = st->Form8 = false;
    for (int filter : {1, 3}) {
        chosenfilter = filter;
        ASSERT_TRUE(menuload_Click(*st, &caller, hooks)) << filter;
        EXPECT_EQ(std::pair(st->programsize, st->mem[0]), std::pair(int32_t(hexprogram.size()), int32_t(':'))) << filter;
    }
    EXPECT_EQ(calls, "-cmb+-c+-c+");
}

TEST_F(FileMenuFixture, RefusalsLeaveEverythingAsItWas)
{
    const struct {
        const char* name;
        const char* contents; // nullptr: no such file
        int filter;
        const char* box;      // the box's text, or a part of it; nullptr: the timed window
        const char* window;
    } cases[] = {
        {"bad.hex", "; comment\r\n:020000003E05BC\r\n", 2,
         "Input program file in Intel Hex Format contains errors.\nLine number 2: Invalid 'checksum' field in the record.",
         nullptr},
        {"missing.obj", nullptr, 1, "missing.obj", nullptr},
        {"missing.hex", nullptr, 2, "missing.hex", nullptr},
        {"empty.obj", "", 1, nullptr, "The size of the selected file is zero."},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        test::DialogDriver driver;
        choose(c.contents != nullptr ? dir.put(c.name, c.contents) : dir.at(c.name), c.filter);
        EXPECT_FALSE(menuload_Click(*st, &caller, hooks));
        if (c.box != nullptr) {
            ASSERT_EQ(driver.texts.size(), 1u);
            EXPECT_TRUE(driver.texts[0].contains(QString::fromLatin1(c.box))) << driver.texts[0].toStdString();
        } else {
            EXPECT_EQ(shown(), QString::fromLatin1(c.window));
        }
        untouched();
        EXPECT_EQ(st->lastpath, dir.path.string() + "/"); // the folder is taken all the same
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
    EXPECT_EQ(std::tuple(st->programsize, qstaza, calls, st->breakpointaddress[0]), std::tuple(0, QString(), "cm", ""));
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
    choose(dir.at("prog.v1.txt"), 2);
    ASSERT_TRUE(menusave_Click(*st, &caller, hooks));
    EXPECT_EQ(slurp(dir.at("prog.hex")), hexprogram);
    EXPECT_EQ(std::pair(qstaza.toStdString(), st->programsize), std::pair(dir.at("prog.hex"), 2));
    EXPECT_EQ(shown(), QStringLiteral("Operation completed.\r\nTotal 2 (.001K) bytes saved."));
    EXPECT_EQ(calls + st->breakpointaddress[0], "-+0005"); // a save touches neither registers nor breakpoints
    choose(dir.at("image"), 3);
    ASSERT_TRUE(menusave_Click(*st, &caller, hooks));
    EXPECT_EQ(slurp(dir.at("image.obj")), std::string("\x3E\x05", 2));
    EXPECT_TRUE(questions.empty());
}

TEST_F(FileMenuFixture, AnExistingFileIsReplacedOnlyOnYesAndAFailedWriteChangesNothing)
{
    st->mem[0] = 0x01;
    st->mem[4095] = 0x02;
    const std::string target = dir.put("prog.obj", "old contents");
    choose(target, 1);
    answeryes = false;
    EXPECT_FALSE(menusave_Click(*st, &caller, hooks));
    EXPECT_EQ(questions, std::vector<QString>{QString::fromStdString("Do you want to overwrite existing file " + target + "?")});
    EXPECT_EQ(calls, "");
    EXPECT_EQ(slurp(target), "old contents");
    answeryes = true;
    // A name that is a folder's can't be replaced, whoever runs the test: told in a box.
    test::DialogDriver driver;
    std::filesystem::create_directory(dir.at("folder.obj"));
    choose(dir.at("folder.obj"), 1);
    EXPECT_FALSE(menusave_Click(*st, &caller, hooks));
    EXPECT_EQ(driver.texts.size(), 1u);
    untouched();
    EXPECT_EQ(calls, "-+");
    choose(target, 1);
    EXPECT_TRUE(menusave_Click(*st, &caller, hooks));
    EXPECT_EQ(slurp(target).size(), 4096u);
    EXPECT_EQ(st->programsize, 4096);
}
