// The File menu flows offscreen: the filter decides the format, refusals leave memory as it was,
// the resets of a load and a clear, the save name and the overwrite question. The formats, their
// limits and the safe save themselves are the readers' and writers' tests.
#include "shell/messages.h"
#include "sim/machinestate.h"
#include "sim/programfiles_ui.h"
#include "sim/settings.h"

#include "tests/common/datatable.h"
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
        EXPECT_EQ(std::pair(st->programsize, st->mem[0]), std::pair(int32_t(hexprogram.size()), int32_t(':')));
    }
    EXPECT_EQ(calls, "-cmb+-c+-c+");
}

TEST_F(FileMenuFixture, RefusalsLeaveEverythingAsItWas)
{
    for (const QStringList& r : test::datatable("sim/loadrefusals.txt")) {
        SCOPED_TRACE(r[0].toStdString());
        test::DialogDriver driver;
        const std::string name = r[0].toStdString(), contents = QString(r[2]).replace("\\r\\n", "\r\n").toStdString();
        choose(r[2] == "-" ? dir.at(name) : dir.put(name, contents), r[1].toInt());
        EXPECT_FALSE(menuload_Click(*st, &caller, hooks));
        const QString told = QString(r[4]).replace("\\n", "\n");
        if (r[3] == "box")
            EXPECT_TRUE(driver.texts.size() == 1 && driver.texts[0].contains(told)) << driver.texts.size();
        else
            EXPECT_EQ(shown(), told);
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

TEST_F(FileMenuFixture, SavesUnderTheFormatsExtensionAndReplacesAFileOnlyOnYes)
{
    st->mem.fill(0);
    st->mem[0] = 0x3E;
    st->mem[1] = 0x05;
    const std::string target = dir.put("prog.hex", "old contents");
    // An existing file, and a name that is a folder's (which can't be replaced, whoever runs the
    // test: told in a box): nothing changes.
    answeryes = false;
    choose(dir.at("prog.v1.txt"), 2); // the name is cut at its first point
    EXPECT_FALSE(menusave_Click(*st, &caller, hooks));
    EXPECT_EQ(questions, std::vector{QString::fromStdString("Do you want to overwrite existing file " + target + "?")});
    EXPECT_EQ(calls + slurp(target), "old contents");
    answeryes = true;
    test::DialogDriver driver;
    std::filesystem::create_directory(dir.at("folder.obj"));
    choose(dir.at("folder.obj"), 1);
    EXPECT_FALSE(menusave_Click(*st, &caller, hooks));
    EXPECT_EQ(std::pair(driver.texts.size(), calls), std::pair(size_t(1), std::string("-+")));
    EXPECT_EQ(std::pair(st->programsize, qstaza), std::pair(77, QStringLiteral("old")));
    choose(dir.at("prog.v1.txt"), 2);
    ASSERT_TRUE(menusave_Click(*st, &caller, hooks));
    EXPECT_EQ(slurp(target), hexprogram);
    EXPECT_EQ(std::pair(qstaza.toStdString(), st->programsize), std::pair(target, 2));
    EXPECT_EQ(shown(), QStringLiteral("Operation completed.\r\nTotal 2 (.001K) bytes saved."));
    EXPECT_EQ(calls + st->breakpointaddress[0], "-+-+0005"); // a save touches neither registers nor breakpoints
    st->mem[4095] = 0x02;
    choose(dir.at("image"), 3);
    ASSERT_TRUE(menusave_Click(*st, &caller, hooks));
    EXPECT_EQ(slurp(dir.at("image.obj")), std::string("\x3E\x05", 2) + std::string(4093, '\0') + "\x02");
    EXPECT_EQ(std::pair(st->programsize, questions.size()), std::pair(4096, size_t(3))); // image.obj: not asked
}
