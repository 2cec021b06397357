// The external assembler: how it is started (arguments, folder), the fixed wait, the files taken
// or missing, the error count behind the last "=", a child that runs too long, a file that can't
// be started, a wrapper around kelvane-cli, and the "TASM Path" dialog.
#include "assembler/ui/externalassembler.h"
#include "sim/settings.h"

#include <QFileDialog>
#include <QFileSystemModel>
#include <QThread>

#include "tests/assembler/ui/form6test.h"

using namespace kelvane;
using kelvane::test::Form6Test;

namespace {

const QString failed = "Assembly was not successful.\nTASM.EXE failed to generate the expected files t.lst and t.obj!";

struct ExternalTest : Form6Test {
    void SetUp() override
    {
        Form6Test::SetUp();
        externaltickms() = 20;
    }
    void TearDown() override
    {
        externaltickms() = 200;
        Form6Test::TearDown();
    }
    // A program of the test: records its arguments and folder, then runs `body` there.
    void program(const QString& body, bool executable = true)
    {
        const QString script = "#!/bin/sh\nprintf '%s\\n' \"$@\" > '" + path("args") + "'\npwd > '" + path("cwd") +
                               "'\ncp \"$3\" '" + path("copied") + "'\n" + body + "\n";
        write("tasm", script.toUtf8());
        QFile::setPermissions(path("tasm"), executable ? QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner
                                                       : QFile::ReadOwner | QFile::WriteOwner);
        machinestate().tasmpath = path("tasm").toStdString();
    }
};

// A body that writes both files, the listing ending in the count of errors.
std::string writeboth(int errors)
{
    return "printf 'OBJ' > 00000000.obj\nprintf '0001   0000 00 NOP\\r\\nNumber of errors = " + std::to_string(errors) +
           "' > 00000000.lst";
}

TEST_F(ExternalTest, StartedInAPrivateFolderWithTheFixedArguments)
{
    for (const int tick : {20, 200}) { // once with the real tick
        externaltickms() = tick;
        program(QString::fromStdString(writeboth(0)));
        named("t.asm", "\tNOP\n");
        const size_t before = boxcount();
        w->menuassembletasm_Click();
        EXPECT_EQ(boxcount(), before);
        const QString cwd = QString::fromUtf8(read("cwd")).trimmed();
        EXPECT_EQ(QString::fromUtf8(read("args")), "-85\n-b\n" + cwd + "/00000000.asm\n");
        EXPECT_NE(cwd, dir.path());
        EXPECT_FALSE(QFileInfo::exists(cwd)); // removed after the run
        EXPECT_EQ(read("copied"), "\tNOP\n");
        EXPECT_EQ(read("t.obj"), "OBJ");
        EXPECT_EQ(w->edittextboxpro2()->textbytes(), "0001   0000 00 NOP\r\nNumber of errors = 0");
        EXPECT_FALSE(w->action("menu5")->isVisible());
    }
}

TEST_F(ExternalTest, WhatTheProgramLeavesDecides)
{
    struct Case {
        std::string body;
        bool executable;
        QString box;
        bool lst, obj; // left beside the source
    };
    const std::vector<Case> cases = {
        {writeboth(3), true, "Assembly was not successful.\nYour assembler source contains 3 errors.", false, false},
        {"printf 'x' > 00000000.lst", true, failed, false, false},
        {"true", true, failed, false, false},
        {"sleep 3; printf 'x' > 00000000.obj; printf 'x' > 00000000.lst; touch '" + path("late").toStdString() + "'",
         true, failed, false, false},
        {"true", false, failed, false, false},
    };
    for (const Case& c : cases) {
        program(QString::fromStdString(c.body), c.executable);
        named("t.asm", "\tNOP\n");
        write("t.lst", "stale");
        w->menuassembletasm_Click();
        EXPECT_EQ(lastbox(), c.box) << c.body;
        EXPECT_EQ(exists("t.lst"), c.lst);
        EXPECT_EQ(exists("t.obj"), c.obj);
        EXPECT_FALSE(w->action("menu5")->isVisible());
    }
    // The slow child was ended with the wait: its late file never comes.
    QThread::msleep(3500);
    EXPECT_FALSE(exists("late"));
}

TEST_F(ExternalTest, AWrapperAroundTheBuiltInAssembler)
{
    program(QStringLiteral("exec '%1' asm \"$3\"").arg(KELVANE_CLI_PATH));
    named("t.asm", "START:\tMVI A,5\n\tJMP START\n");
    const size_t before = boxcount();
    w->menuassembletasm_Click();
    EXPECT_EQ(boxcount(), before);
    const QByteArray external = read("t.obj");
    EXPECT_EQ(external, QByteArray("\x3e\x05\xc3\x00\x00", 5));
    EXPECT_TRUE(QString::fromStdString(w->edittextboxpro2()->textbytes()).trimmed().endsWith("Number of errors = 0"));

    w->edittextboxpro1()->settextbytes("\tMOV Q,A\n\tJMP NOWHERE\n");
    w->menuassembletasm_Click();
    EXPECT_EQ(lastbox(), "Assembly was not successful.\nYour assembler source contains 2 errors.");
    EXPECT_FALSE(exists("t.obj"));
}

TEST_F(ExternalTest, TasmPathListsEveryFileAndKeepsTheChoice)
{
    program("true");
    write("bin/assembler", "#!/bin/sh\n");
    QString shownfilter;
    QStringList modelfilters;
    driver->on<QFileDialog>([&](QFileDialog* d) {
        shownfilter = d->selectedNameFilter();
        if (auto* model = d->findChild<QFileSystemModel*>())
            modelfilters = model->nameFilters();
        d->selectFile(path("bin/assembler"));
        static_cast<QDialog*>(d)->accept();
    });
    w->menutasmpath_Click();
    EXPECT_EQ(shownfilter, "All files (*.*)");
    EXPECT_EQ(modelfilters, QStringList{"*"});
    EXPECT_EQ(machinestate().tasmpath, path("bin/assembler").toStdString());
    EXPECT_EQ(regread("Tasm Path"), machinestate().tasmpath);

    driver->on<QFileDialog>([](QFileDialog* d) { d->reject(); });
    w->menutasmpath_Click();
    EXPECT_EQ(lastbox(), "The file do not exist.");
    EXPECT_EQ(machinestate().tasmpath, path("bin/assembler").toStdString());
    machinestate().tasmpath = path("nothing").toStdString();
    w->menuassembletasm_Click();
    EXPECT_EQ(lastbox(), "TASM assembler not found.");
}

} // namespace
