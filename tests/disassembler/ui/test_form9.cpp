// The Disassembler window: loads by the filter entry and refusals, both forms as recorded, the
// option and the saved extension, printing, a reopened window, the progress of a 64K run.
#include "disassembler/ui/form9.h"
#include "shell/printing.h"
#include "sim/settings.h"

#include <QAction>
#include <QDir>
#include <QGroupBox>
#include <QLabel>
#include <QMenu>
#include <QPlainTextEdit>
#include <QPointer>
#include <QPrinter>
#include <QRegularExpression>
#include <QTimer>

#include "tests/common/shot.h"
#include "tests/common/windowtest.h"
#include "tests/shell/pdftext.h"

using namespace kelvane;

namespace {

const QByteArray program("\x3e\x05\xc3\x02\x00", 5);

struct Form9Test : test::WindowTest {
    Form9Test()
    {
        regwrite("Listing Without Opcodes", "OFF");
        (w = new Form9)->show();
    }
    ~Form9Test() override { closewindow(w); }
    QString pane() const { return w->richtextbox1()->toPlainText(); }
    void setoption(bool on)
    {
        if (w->action("menunoopcodes")->isChecked() != on)
            w->action("menunoopcodes")->trigger();
    }
    QPointer<Form9> w;
};

TEST_F(Form9Test, TheFilterEntryChoosesTheFormatAndRefusalsKeepTheOldProgram)
{
    const QByteArray hex = ":050000003E05C30200F3\r\n:00000001FF\r\n";
    const QString loaded = "Operation completed.\nTotal %1 bytes loaded.";
    // The file, its bytes, the filter entry, the program taken ("" refused), the box ("" the HEX reader's own).
    const std::vector<std::tuple<QString, QByteArray, int, QByteArray, QString>> cases = {
        {"p.obj", program, 1, program, loaded.arg("5 (.004K)")},
        {"p.hex", hex, 2, program, loaded.arg("5 (.004K)")},
        {"q.hex", hex, 3, hex, loaded.arg("36 (.035K)")},
        {"zero.obj", "", 1, "", "The size of the selected file is zero."},
        {"big", QByteArray(65537, '\0'), 3, "", "The size of the selected file is greater than 64K."},
        {"bad.hex", ":0300000000\r\n", 2, "", ""},
        {"full.obj", QByteArray(65536, '\1'), 1, QByteArray(65536, '\1'), loaded.arg("65536 (64K)")},
    };
    for (const auto& [name, bytes, filter, taken, box] : cases) {
        const QString before = w->label1()->text();
        w->richtextbox1()->setPlainText("shown");
        test::choose(*driver, write(name, bytes), filter - 1);
        w->menuopen_Click();
        EXPECT_EQ(w->label1()->text() + "|" + pane(), taken.isEmpty() ? before + "|shown" : path(name) + "|");
        EXPECT_TRUE(box.isEmpty() ? lastbox().contains("\nLine number 1") : lastbox() == box) << lastbox().toStdString();
        EXPECT_TRUE(taken.isEmpty() || std::equal(taken.begin(), taken.end(), w->program().begin(),
                                                  [](char a, int32_t b) { return static_cast<uint8_t>(a) == b; }))
            << name.toStdString();
        EXPECT_TRUE(w->menu("menu1")->menuAction()->isEnabled());
    }
}

TEST_F(Form9Test, BothFormsAsRecordedWhateverTheSharedEngineHolds)
{
    w->menudisassemble_Click();
    EXPECT_EQ(lastbox(), "Please load program file first.");
    // tests/data/disassembler/outputs.txt: "@@ case NAME BYTES...", then "@@ listing" and "@@ source".
    QFile data(KELVANE_TEST_DATA "/disassembler/outputs.txt");
    ASSERT_TRUE(data.open(QIODevice::ReadOnly));
    const QRegularExpression sections("@@ case \\S+ ([^\\n]*)\\n@@ listing\\n(.*?)@@ source\\n(.*?)(?=@@ case|\\z)",
                                      QRegularExpression::DotMatchesEverythingOption);
    QStringList sources;
    for (const QRegularExpressionMatch& m : sections.globalMatch(QString::fromUtf8(data.readAll()))) {
        sources << m.captured(3);
        ASSERT_TRUE(w->loadprogram(write("r.obj", QByteArray::fromHex(m.captured(1).toLatin1())), 1));
        for (const bool sourceform : {false, true}) {
            dasm().loadmemory(std::vector<int32_t>(65536, 0xCD).data(), 4); // another user of that engine
            setoption(sourceform);
            w->menudisassemble_Click();
            EXPECT_EQ(pane(), m.captured(sourceform ? 3 : 2)) << m.captured(1).toStdString();
        }
    }
    EXPECT_GE(sources.size(), 9);
    EXPECT_TRUE(QDir(dir.path()).entryList({"8085_disassembler_temporary_file*"}).isEmpty());
    // Where the folder of the files can't be written, the run goes on in the user's data folder.
    machinestate().lastpath = path("gone/").toStdString();
    w->menudisassemble_Click();
    EXPECT_EQ(pane(), sources.last());
}

TEST_F(Form9Test, SavedByTheOptionPrintedUnderTheProgramsNameAndAReopenedWindowHasNoProgram)
{
    setprintdialog([this](QWidget*, QPrinter& p) {
        p.setOutputFormat(QPrinter::PdfFormat);
        p.setOutputFileName(path("out.pdf"));
        return true;
    });
    w->menuprint_Click();
    EXPECT_EQ(lastbox(), "The viewer is empty.");
    ASSERT_TRUE(w->loadprogram(write("pr.obj", program), 1));
    w->menusave_Click();
    EXPECT_EQ(lastbox(), "There is no listing to save.");
    w->menudisassemble_Click();
    w->menuprint_Click();
    const QStringList expected = QStringList{"Page 1          pr.obj", "", ""} + pane().remove(QRegularExpression("\\n+$")).split('\n');
    EXPECT_EQ(test::pdfpages(path("out.pdf")), std::vector<QStringList>{expected});
    setprintdialog({});
    for (const bool option : {false, true}) {
        setoption(option);
        EXPECT_EQ(regread("Listing Without Opcodes"), option ? "ON" : "OFF");
        QString title;
        driver->on<QFileDialog>([&title](QFileDialog* d) { title = d->windowTitle(); });
        test::choose(*driver, path("out.lst"));
        w->menusave_Click();
        EXPECT_EQ(title, option ? "Save Disassembler Listing As Assembler Source" : "Save Disassembler Listing As");
        EXPECT_EQ(read(option ? "out.asm" : "out.lst"), pane().toUtf8()); // the listing on view in both
        EXPECT_EQ(lastbox(), "File " + path(option ? "out.asm" : "out.lst") + " saved.");
    }
    closewindow(w);
    EXPECT_FALSE(machinestate().Form9);
    w = new Form9;
    EXPECT_TRUE(machinestate().Form9 && w->action("menunoopcodes")->isChecked());
    w->menudisassemble_Click();
    EXPECT_EQ(lastbox(), "Please load program file first.");
}

TEST_F(Form9Test, A64KRunShowsItsProgressAndEndsAtFFFF)
{
    ASSERT_TRUE(w->loadprogram(write("full.obj", QByteArray(65536, '\0')), 1));
    // Whatever the machine's speed: the menus are off and only the texts of the phases are shown.
    const QRegularExpression texts("^1(|Performing pass 1\\.Line  \\d+|Preparing listing\\.)$");
    QStringList seen;
    QTimer probe;
    QObject::connect(&probe, &QTimer::timeout, [&] {
        if (w->frame1()->isVisible() && seen.size() < 100)
            seen << QString::number(!w->menu("menu2")->menuAction()->isEnabled()) + w->poruka1()->text() + w->poruka2()->text();
        if (seen.size() == 3)
            test::saveshot(w, "form9-progress");
    });
    probe.start(0);
    w->menudisassemble_Click();
    probe.stop();
    EXPECT_FALSE(seen.isEmpty());
    EXPECT_EQ(seen.filter(texts), seen);
    EXPECT_TRUE(w->frame1()->isHidden() && w->poruka1()->text().isEmpty());
    const QStringList lines = pane().split('\n', Qt::SkipEmptyParts);
    EXPECT_EQ(lines.size(), 65536 + 4);
    EXPECT_EQ(lines.last(), "5536   FFFF 00" + QString(18, ' ') + "NOP");
    test::saveshot(w, "form9-listing");
}

} // namespace
