// The Disassembler window: the format chosen by the dialog's filter entry, the size limits and
// the refusals that keep the old program, both forms against the recorded texts, the option and
// the extension of a save, the progress frame of a 64K run, printing, a reopened window.
#include "disassembler/ui/form9.h"
#include "shell/messages.h"
#include "shell/printing.h"
#include "sim/machinestate.h"
#include "sim/settings.h"

#include <QAction>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QGroupBox>
#include <QLabel>
#include <QMenu>
#include <QPlainTextEdit>
#include <QPointer>
#include <QPrinter>
#include <QTemporaryDir>
#include <QTimer>

#include "tests/common/dialoganswers.h"
#include "tests/common/shot.h"
#include "tests/shell/pdftext.h"

#include <gtest/gtest.h>

#include <fstream>
#include <memory>
#include <sstream>

using namespace kelvane;

namespace {

const QByteArray program("\x3e\x05\xc3\x02\x00", 5);
const QString loaded5 = "Operation completed.\nTotal 5 (.004K) bytes loaded.";

struct Recorded {
    std::string name;
    QByteArray bytes;
    QString listing, source;
};

// tests/data/disassembler/outputs.txt: "@@ case NAME BYTES...", then "@@ listing" and "@@ source".
std::vector<Recorded> recorded()
{
    std::vector<Recorded> cases;
    std::ifstream in(std::string(KELVANE_TEST_DATA) + "/disassembler/outputs.txt");
    std::string line;
    QString* into = nullptr;
    while (std::getline(in, line)) {
        if (line.rfind("@@ case ", 0) == 0) {
            std::istringstream words(line.substr(8));
            Recorded r;
            words >> r.name;
            for (std::string hex; words >> hex;)
                r.bytes.append(static_cast<char>(std::stoi(hex, nullptr, 16)));
            cases.push_back(r);
        } else if (line == "@@ listing") {
            into = &cases.back().listing;
        } else if (line == "@@ source") {
            into = &cases.back().source;
        } else if (into != nullptr) {
            *into += QString::fromStdString(line) + "\n";
        }
    }
    return cases;
}

struct Form9Test : ::testing::Test {
    void SetUp() override
    {
        MachineState& st = machinestate();
        st.optconfirm = "ON";
        st.lastpath = (dir.path() + "/").toStdString();
        regwrite("Listing Without Opcodes", "OFF");
        driver = std::make_unique<test::DialogDriver>();
        w = new Form9;
        w->show();
    }
    void TearDown() override
    {
        if (w)
            w->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        driver.reset();
    }
    QString path(const QString& name) const { return dir.filePath(name); }
    QString write(const QString& name, const QByteArray& bytes) const
    {
        QFile f(path(name));
        EXPECT_TRUE(f.open(QIODevice::WriteOnly));
        f.write(bytes);
        return path(name);
    }
    QByteArray read(const QString& name) const
    {
        QFile f(path(name));
        return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
    }
    QString pane() const { return w->richtextbox1()->toPlainText(); }
    QString lastbox() const { return driver->texts.empty() ? QString() : driver->texts.back(); }
    void setoption(bool on)
    {
        if (w->action("menunoopcodes")->isChecked() != on)
            w->action("menunoopcodes")->trigger();
    }

    QTemporaryDir dir;
    QPointer<Form9> w;
    std::unique_ptr<test::DialogDriver> driver;
};

TEST_F(Form9Test, TheFilterEntryChoosesTheFormat)
{
    const QByteArray hex = ":050000003E05C30200F3\r\n:00000001FF\r\n";
    struct Case {
        QString name;
        QByteArray bytes;
        int filter;
        QByteArray image; // the program taken
        QString kilobytes;
    };
    const std::vector<Case> cases = {
        {"p.obj", program, 1, program, ".004"},
        {"p.hex", hex, 2, program, ".004"},
        {"q.hex", hex, 3, hex, ".035"},
        {"noext", program, 3, program, ".004"},
    };
    for (const Case& c : cases) {
        const QString file = write(c.name, c.bytes);
        test::choose(*driver, file, c.filter - 1);
        w->menuopen_Click();
        EXPECT_EQ(w->label1()->text(), file);
        EXPECT_EQ(w->programsize(), c.image.size()) << c.name.toStdString();
        for (int i = 0; i < c.image.size(); ++i)
            EXPECT_EQ(w->program()[static_cast<size_t>(i)], static_cast<uint8_t>(c.image[i])) << c.name.toStdString();
        EXPECT_EQ(lastbox(), QStringLiteral("Operation completed.\nTotal %1 (%2K) bytes loaded.")
                                 .arg(c.image.size())
                                 .arg(c.kilobytes));
    }
}

TEST_F(Form9Test, RefusalsKeepTheOldProgramAndItsText)
{
    ASSERT_TRUE(w->loadprogram(write("good.obj", program), 1));
    w->menudisassemble_Click();
    const QString shown = pane();
    ASSERT_FALSE(shown.isEmpty());
    struct Case {
        QString name;
        QByteArray bytes;
        int filter;
        QString box; // "" for a box that names the file, "reader" for the HEX reader's message
    };
    QDir().mkpath(path("folder.obj"));
    const std::vector<Case> cases = {
        {"zero.obj", "", 1, "The size of the selected file is zero."},
        {"big.obj", QByteArray(65537, '\0'), 3, "The size of the selected file is greater than 64K."},
        {"bad.hex", ":0300000000\r\n", 2, "reader"},
        {"missing.obj", {}, 1, ""},
        {"folder.obj", {}, 1, ""},
    };
    for (const Case& c : cases) {
        if (c.name.startsWith("zero") || c.name.startsWith("big") || c.name.startsWith("bad"))
            write(c.name, c.bytes);
        const size_t boxes = driver->texts.size();
        EXPECT_FALSE(w->loadprogram(path(c.name), c.filter));
        ASSERT_EQ(driver->texts.size(), boxes + 1) << c.name.toStdString();
        if (c.box == "reader") {
            HexBuffer buf;
            EXPECT_EQ(lastbox(), displaytext(QString::fromStdString(readhexfile(path(c.name).toStdString(), buf).message)));
        } else if (c.box.isEmpty()) {
            EXPECT_TRUE(lastbox().contains(c.name)) << lastbox().toStdString();
        } else {
            EXPECT_EQ(lastbox(), c.box);
        }
        EXPECT_EQ(w->label1()->text(), path("good.obj"));
        EXPECT_EQ(w->programsize(), 5);
        EXPECT_EQ(pane(), shown);
        EXPECT_TRUE(w->menu("menu1")->menuAction()->isEnabled());
    }
}

TEST_F(Form9Test, BothFormsAsRecordedWhateverTheSharedEngineHolds)
{
    w->menudisassemble_Click();
    EXPECT_EQ(lastbox(), "Please load program file first.");
    const std::vector<Recorded> cases = recorded();
    ASSERT_GE(cases.size(), 9u);
    for (const Recorded& r : cases) {
        ASSERT_TRUE(w->loadprogram(write("r.obj", r.bytes), 1)) << r.name;
        EXPECT_TRUE(pane().isEmpty());
        for (const bool source : {false, true}) {
            // Another user of the process-wide engine leaves its own program there.
            dasm().loadmemory(std::vector<int32_t>(65536, 0xCD).data(), 4);
            setoption(source);
            w->menudisassemble_Click();
            EXPECT_EQ(pane(), source ? r.source : r.listing) << r.name << (source ? " source" : " listing");
        }
    }
    EXPECT_EQ(QDir(dir.path()).entryList({"8085_disassembler_temporary_file*"}, QDir::Files).size(), 0);
}

TEST_F(Form9Test, TheOptionAtSavingDecidesTheExtension)
{
    ASSERT_TRUE(w->loadprogram(write("p.obj", program), 1));
    w->menusave_Click();
    EXPECT_EQ(lastbox(), "There is no listing to save.");
    w->menudisassemble_Click();
    const QString listing = pane();
    struct Case {
        bool option;
        QString typed, saved, title;
    };
    const std::vector<Case> cases = {
        {false, "out", "out.lst", "Save Disassembler Listing As"},
        {true, "out.lst", "out.asm", "Save Disassembler Listing As Assembler Source"},
        {false, "a.b.c", "a.lst", "Save Disassembler Listing As"},
    };
    for (const Case& c : cases) {
        setoption(c.option);
        EXPECT_EQ(regread("Listing Without Opcodes"), c.option ? "ON" : "OFF");
        QString title;
        driver->on<QFileDialog>([&title](QFileDialog* d) { title = d->windowTitle(); });
        test::choose(*driver, path(c.typed));
        w->menusave_Click();
        EXPECT_EQ(title, c.title);
        EXPECT_EQ(read(c.saved), listing.toUtf8()) << c.saved.toStdString();
        EXPECT_EQ(lastbox(), "File " + path(c.saved) + " saved.");
    }
}

TEST_F(Form9Test, A64KRunShowsItsProgressAndEndsAt10000)
{
    ASSERT_TRUE(w->loadprogram(write("full.obj", QByteArray(65536, '\0')), 1));
    EXPECT_EQ(lastbox(), "Operation completed.\nTotal 65536 (64K) bytes loaded.");
    QStringList seen;
    bool closed = true;
    QTimer probe;
    QObject::connect(&probe, &QTimer::timeout, [&] {
        if (w->frame1()->isVisible()) {
            closed = closed && !w->menu("menu2")->menuAction()->isEnabled();
            seen << w->poruka1()->text() + "|" + w->poruka2()->text();
        }
    });
    probe.start(0);
    w->menudisassemble_Click();
    probe.stop();
    EXPECT_FALSE(seen.isEmpty());
    EXPECT_TRUE(closed);
    EXPECT_TRUE(seen.filter("Performing pass 1.|Line ").size() > 0) << seen.join(",").toStdString();
    EXPECT_FALSE(w->frame1()->isVisible());
    EXPECT_TRUE(w->poruka1()->text().isEmpty());
    const QStringList lines = pane().split('\n', Qt::SkipEmptyParts);
    EXPECT_EQ(lines.size(), 65536 + 4);
    EXPECT_EQ(lines.last(), "5536   FFFF 00" + QString(18, ' ') + "NOP");
    test::saveshot(w, "form9-listing");
}

TEST_F(Form9Test, PrintsThePaneUnderTheProgramsName)
{
    const QString pdf = path("out.pdf");
    setprintdialog([pdf](QWidget*, QPrinter& p) {
        p.setOutputFormat(QPrinter::PdfFormat);
        p.setOutputFileName(pdf);
        return true;
    });
    w->menuprint_Click();
    EXPECT_EQ(lastbox(), "The viewer is empty.");
    ASSERT_TRUE(w->loadprogram(write("pr.obj", program), 1));
    w->menudisassemble_Click();
    w->menuprint_Click();
    const std::vector<QStringList> pages = test::pdfpages(pdf);
    ASSERT_EQ(pages.size(), 1u);
    QStringList expected = {"Page 1          pr.obj", "", ""};
    expected += pane().split('\n');
    expected.removeLast(); // the text ends in a line end
    while (!expected.isEmpty() && expected.last().isEmpty())
        expected.removeLast();
    EXPECT_EQ(pages[0], expected);
    setprintdialog({});
}

TEST_F(Form9Test, AReopenedWindowHasNoProgramButKeepsTheOption)
{
    ASSERT_TRUE(w->loadprogram(write("p.obj", program), 1));
    setoption(true);
    w->close();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_FALSE(machinestate().Form9);
    w = new Form9;
    w->show();
    EXPECT_TRUE(machinestate().Form9);
    EXPECT_TRUE(w->label1()->text().isEmpty());
    EXPECT_TRUE(w->action("menunoopcodes")->isChecked());
    w->menudisassemble_Click();
    EXPECT_EQ(lastbox(), "Please load program file first.");
}

} // namespace
