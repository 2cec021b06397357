// Editor Setup (Form04): number boxes in and out of range and cancelled, toggles, the font and
// colour dialogs and their cancels, the predefined themes, "Defaults" then "Cancel", the thirty-four
// values after "Save", Tab, Space and Enter; the editors take a change when their window opens
// again, seen in their pixels (font, keyword colour, procedure separator) and text (comment
// space), and open usable whatever the settings hold.
#include "assembler/ui/form6.h"
#include "basic/ui/form12.h"
#include "shell/sourceeditor.h"
#include "shell/sourceeditorsettings.h"
#include "shell/ui/form04.h"
#include "sim/machinestate.h"
#include "sim/settings.h"

#include <QTest>
#include <QtWidgets>

#include "tests/common/datatable.h"
#include "tests/common/dialogdriver.h"
#include "tests/common/keys.h"
#include "tests/common/pixels.h"
#include "tests/common/tempfolder.h"

#include <gtest/gtest.h>

using namespace kelvane;
using kelvane::test::Picture;

namespace {

void clearsettings()
{
    QSettings(QSettings::NativeFormat, QSettings::UserScope, QString::fromLatin1(settingsname)).clear();
}

// The editors' settings in the store, "name=value" a line, sorted.
std::string stored()
{
    QSettings s(QSettings::NativeFormat, QSettings::UserScope, QString::fromLatin1(settingsname));
    QStringList lines;
    for (const QString& key : s.allKeys())
        if (key.startsWith(QLatin1String("A ")) || key.startsWith(QLatin1String("C ")))
            lines << key + QLatin1Char('=') + s.value(key).toString();
    lines.sort();
    return lines.join(QLatin1Char('\n')).toStdString() + "\n";
}

class EditorSetup : public ::testing::Test {
protected:
    void SetUp() override
    {
        clearsettings();
        (form = new Form04)->show();
    }
    void TearDown() override
    {
        if (form)
            form->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    SettingValue* value(const QString& control) const { return form->value(control); }
    // Clicks a control (or button) while the driver answers the input box it opens.
    void answer(QAbstractButton* control, const QString& text, bool ok = true)
    {
        driver.on<QInputDialog>([text, ok, this](QInputDialog* box) {
            prompt = box->labelText();
            box->setTextValue(text);
            ok ? box->accept() : box->reject();
        });
        control->click();
    }
    test::DialogDriver driver;
    QPointer<Form04> form;
    QString prompt;
};

TEST_F(EditorSetup, NumberBoxesTakeOnlyAnswersInTheirRange)
{
    for (const QStringList& c : test::datatable("shell/numberboxes.txt")) {
        form->Command3_Click(); // each case from the defaults
        answer(value(c[0]), c[1], c[2] == "OK");
        EXPECT_EQ(prompt, c[3]) << c[0].toStdString();
        EXPECT_EQ(value(c[0])->text(), c[4]) << c[0].toStdString() << " " << c[1].toStdString();
    }
}

TEST_F(EditorSetup, PredefinedThemesOfEachEditor)
{
    for (const QStringList& c : test::datatable("shell/editorthemes.txt")) {
        answer(c[0] == "A" ? form->selectthemeA() : form->selectthemeC(), c[1]);
        EXPECT_TRUE(prompt.startsWith("Select Predefined Color Theme [1-7]:\n1 - Tessaro (Default)\n") &&
                    prompt.endsWith("\n7 - White Style\n"))
            << prompt.toStdString();
        const QStringList rgb = c[3].split(QLatin1Char(' '));
        EXPECT_EQ(value(c[2])->colour(), QColor(rgb[0].toInt(), rgb[1].toInt(), rgb[2].toInt()))
            << c[0].toStdString() << " " << c[1].toStdString();
    }
}

TEST_F(EditorSetup, TogglesFontsAndColoursAndTheirCancelledDialogs)
{
    value("ccolen")->click();
    value("alnen")->click();
    EXPECT_EQ(value("ccolen")->text() + value("alnen")->text() + value("clnen")->text(), "FalseFalseTrue");
    value("ccolen")->click();
    EXPECT_EQ(value("ccolen")->text(), "True");

    for (bool ok : {true, false}) {
        driver.on<QColorDialog>([ok](QColorDialog* d) {
            d->setCurrentColor(ok ? QColor(10, 20, 30) : QColor(200, 0, 0));
            ok ? d->accept() : d->reject();
        });
        value("ckeycol")->click();
        EXPECT_EQ(value("ckeycol")->colour(), QColor(10, 20, 30));
        EXPECT_EQ(compilereditor().keywordcolor, 10 + 256 * 20 + 65536 * 30);
    }
    // The font dialog starts at the current font and size; its size is kept whole.
    QFont started;
    for (bool ok : {true, false}) {
        driver.on<QFontDialog>([&started, ok](QFontDialog* d) {
            started = d->currentFont();
            QFont f(QStringLiteral("DejaVu Sans"));
            f.setPointSizeF(13.6);
            d->setCurrentFont(f);
            ok ? d->accept() : d->reject();
        });
        value(ok ? "afontsize" : "afontname")->click();
        EXPECT_EQ(value("afontname")->text() + " " + value("afontsize")->text(), "DejaVu Sans 14");
    }
    EXPECT_EQ(started.pointSize(), 14);
    EXPECT_EQ(value("cfontname")->text(), "Courier New");
}

TEST_F(EditorSetup, SaveWritesAllDefaultsThenCancelWritesNothingKeysReachEverything)
{
    answer(value("atabsize"), "6");
    form->command(1)->click(); // Save
    std::ifstream expected(std::string(KELVANE_TEST_DATA) + "/shell/editorsettings.txt");
    EXPECT_EQ(stored(), std::string(std::istreambuf_iterator<char>(expected), {}));
    const std::string saved = stored();
    (form = new Form04)->show();
    EXPECT_EQ(value("atabsize")->text(), "6");
    form->command(3)->click(); // Defaults
    EXPECT_EQ(value("atabsize")->text(), "8");
    // The values, the two theme buttons, Save, Cancel and Defaults; Space and Enter act.
    EXPECT_EQ(test::tabstops(value("cfontname")), 34 + 2 + 3);
    QTest::keyClick(value("ccolen"), Qt::Key_Space);
    EXPECT_EQ(value("ccolen")->text(), "False");
    QTest::keyClick(value("ccolen"), Qt::Key_Return);
    EXPECT_EQ(value("ccolen")->text(), "True");
    QTest::keyClick(form->command(2), Qt::Key_Return); // Cancel
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(form.isNull());
    EXPECT_EQ(stored(), saved);
}

// The editors: a setting reaches an editor when its window opens again.
struct EditorWindows : ::testing::Test {
    void SetUp() override
    {
        clearsettings();
        machinestate().lastpath = folder.at("");
    }
    test::TempFolder folder;
};

// Where a colour shows in an editor's text area: how many pixels, how tall, the longest row.
struct Ink {
    int count = 0, height = 0, longestrow = 0;
};
Ink ink(SourceEditor* editor, QRgb colour)
{
    const Picture p(editor->viewport());
    Ink out;
    int top = -1, bottom = -1;
    for (int y = 0; y < p.image.height(); ++y)
        for (int x = 0, run = 0; x < p.image.width(); ++x) {
            run = p.pixel(x, y) == (colour & 0xFFFFFFu) ? run + 1 : 0;
            out.longestrow = std::max(out.longestrow, static_cast<int>(run / p.ratio));
            if (run > 0) {
                ++out.count;
                top = top < 0 ? y : top;
                bottom = y;
            }
        }
    out.height = top < 0 ? 0 : static_cast<int>((bottom - top + 1) / p.ratio);
    return out;
}

TEST_F(EditorWindows, AssemblerEditorTakesItsFontAndKeywordColourWhenOpenedAgain)
{
    const auto open = [] {
        auto* w = new Form6;
        w->show();
        w->edittextboxpro1()->settextbytes("\tMOV A,B\n");
        QCoreApplication::processEvents();
        return QPointer<Form6>(w);
    };
    QPointer<Form6> before = open();
    regwrite("A Keyword Color", rgbvalue(200, 0, 200));
    regwrite("A Font Size", 20);
    EXPECT_EQ(ink(before->edittextboxpro1(), qRgb(200, 0, 200)).count, 0); // the open one keeps its own
    before->close();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QPointer<Form6> after = open();
    const Ink fresh = ink(after->edittextboxpro1(), qRgb(200, 0, 200));
    EXPECT_GT(fresh.count, 40);
    EXPECT_GE(fresh.height, 15); // capitals of 20 points, not of 10
    after->close();
}

TEST_F(EditorWindows, BasicEditorSpacesCommentsAndSeparatesLabelledLines)
{
    regwrite("C Comment Space", 5);
    regwrite("C Procedure Separator Width", 12);
    regwrite("C Line Numbers Text Color", rgbvalue(255, 0, 128));
    regwrite("C ASM Color", rgbvalue(0, 128, 255));
    QPointer<Form12> w = new Form12;
    w->show();
    SourceEditor* editor = w->findChild<SourceEditor*>();
    editor->settextbytes("x = 1 ' one\nStart: y = 2\n");
    editor->formattext();
    EXPECT_EQ(editor->textbytes(), "x = 1     ' one\nStart: y = 2\n");
    QCoreApplication::processEvents();
    EXPECT_GT(ink(editor, qRgb(0, 128, 255)).count, 10); // the number literals in the ASM colour
    // One line of the number colour above "Start:", twelve characters long.
    const int twelve = QFontMetrics(editor->editorfont()).horizontalAdvance(QString(12, QLatin1Char('0')));
    EXPECT_NEAR(ink(editor, qRgb(255, 0, 128)).longestrow, twelve, 2);
    w->close();
}

// Whatever text the settings hold, both editors and the setup open usable: a size outside 4-200
// shows at 10, a missing font in a really fixed-pitch one, a colour past FFFFFF by its low bytes.
TEST_F(EditorWindows, AnyTextInTheSettingsStillOpensEveryEditor)
{
    for (const char* size : {"0", "5000", "abc", "-3", "3", "201"}) {
        for (const std::string prefix : {"A ", "C "}) {
            regwrite(prefix + "Font Size", size);
            regwrite(prefix + "Font Name", "No Such Font Anywhere");
            regwrite(prefix + "Keyword Color", "99999999999");
            regwrite(prefix + "Tab Size", "x");
            regwrite(prefix + "Undo Levels Number", "-7");
        }
        QPointer<Form6> assembler = new Form6;
        QPointer<Form12> basic = new Form12;
        QPointer<Form04> setup = new Form04;
        for (QWidget* w : std::initializer_list<QWidget*>{assembler, basic, setup})
            w->show();
        for (SourceEditor* e : {assembler->edittextboxpro1(), basic->findChild<SourceEditor*>()}) {
            EXPECT_EQ(e->editorfont().pointSize(), 10) << size;
            EXPECT_TRUE(QFontInfo(e->editorfont()).fixedPitch()) << size;
        }
        EXPECT_EQ(setup->value("afontname")->text(), "No Such Font Anywhere");
        for (QWidget* w : std::initializer_list<QWidget*>{assembler, basic, setup})
            w->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
}

} // namespace
