// Editor Setup (Form04): each kind of control with answers in and out of range and cancelled
// dialogs, the predefined themes, "Defaults" and "Cancel", the thirty-four values after "Save";
// the editors take a change when their window opens again, seen in their pixels: the font, a
// keyword's colour, the comment space and the procedure separator.
#include "assembler/ui/form6.h"
#include "basic/ui/form12.h"
#include "shell/sourceeditor.h"
#include "shell/sourceeditorsettings.h"
#include "shell/ui/form04.h"
#include "sim/machinestate.h"
#include "sim/settings.h"

#include <QTest>
#include <QtWidgets>

#include "tests/common/dialogdriver.h"
#include "tests/common/pixels.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>

using namespace kelvane;
using kelvane::test::DialogDriver;
using kelvane::test::Picture;

namespace {

// The thirty-four settings as the store holds them, "name=value" a line in the store's order.
QString stored()
{
    QSettings s(QSettings::NativeFormat, QSettings::UserScope, QString::fromLatin1(settingsname));
    QStringList lines;
    for (const QString& key : s.allKeys())
        if (key.startsWith(QLatin1String("A ")) || key.startsWith(QLatin1String("C ")))
            lines << key + QLatin1Char('=') + s.value(key).toString();
    lines.sort();
    return lines.join(QLatin1Char('\n'));
}

class EditorSetup : public ::testing::Test {
protected:
    void SetUp() override
    {
        QSettings(QSettings::NativeFormat, QSettings::UserScope, QString::fromLatin1(settingsname)).clear();
        form = new Form04;
        form->show();
    }
    void TearDown() override
    {
        if (form)
            form->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    QString shown(const char* control) const { return form->value(QString::fromLatin1(control))->text(); }
    QColor swatch(const char* control) const { return form->value(QString::fromLatin1(control))->colour(); }
    // A click on a control while the driver answers the dialog it opens.
    void click(const char* control)
    {
        form->value(QString::fromLatin1(control))->click();
        QCoreApplication::processEvents();
    }
    void answerbox(const QString& text, bool ok)
    {
        driver.on<QInputDialog>([text, ok, this](QInputDialog* box) {
            prompt = box->labelText();
            box->setTextValue(text);
            ok ? box->accept() : box->reject();
        });
    }
    DialogDriver driver;
    QPointer<Form04> form;
    QString prompt;
};

// Number boxes: the control, the answer (or a cancel), the prompt, and what the control shows.
struct NumberCase {
    const char* control;
    const char* answer;
    bool ok;
    const char* prompt;
    const char* after;
};
const NumberCase numbercases[] = {
    {"ctabsize", "5", true, "Enter new value [2-8]:", "5"},
    {"ctabsize", "1", true, "Enter new value [2-8]:", "3"},
    {"ctabsize", "9", true, "Enter new value [2-8]:", "3"},
    {"ctabsize", "abc", true, "Enter new value [2-8]:", "3"},
    {"atabsize", "2.5 columns", true, "Enter new value [2-8]:", "2"},
    {"cwheelstep", "0", true, "Enter new value [1-30]:", "5"},
    {"awheelstep", "30", true, "Enter new value [1-30]:", "30"},
    {"cundolev", "", false, "Enter new value [0-50]:", "0"},
    {"aundolev", "51", true, "Enter new value [0-50]:", "10"},
    {"ccommspace", "20", true, "Enter new value [1-20]:", "20"},
    {"ccommspace", "", false, "Enter new value [1-20]:", "2"},
    {"cprocsep", "101", true, "Enter new value [1-100]:", "50"},
    {"cprocsep", " 7", true, "Enter new value [1-100]:", "7"},
};

TEST_F(EditorSetup, NumberBoxesTakeOnlyAnswersInTheirRange)
{
    for (const NumberCase& c : numbercases) {
        form->Command3_Click(); // each case from the defaults
        answerbox(QString::fromLatin1(c.answer), c.ok);
        click(c.control);
        EXPECT_EQ(prompt, QString::fromLatin1(c.prompt)) << c.control;
        EXPECT_EQ(shown(c.control), QString::fromLatin1(c.after)) << c.control << " " << c.answer;
    }
}

TEST_F(EditorSetup, TogglesFontsAndColoursAndTheirCancelledDialogs)
{
    click("ccolen");
    EXPECT_EQ(shown("ccolen"), "False");
    click("ccolen");
    EXPECT_EQ(shown("ccolen"), "True");
    click("alnen");
    EXPECT_EQ(shown("alnen"), "False");
    EXPECT_EQ(shown("clnen"), "True");

    driver.on<QColorDialog>([](QColorDialog* d) {
        d->setCurrentColor(QColor(10, 20, 30));
        d->accept();
    });
    click("ckeycol");
    EXPECT_EQ(swatch("ckeycol"), QColor(10, 20, 30));
    EXPECT_EQ(compilereditor().keywordcolor, 10 + 256 * 20 + 65536 * 30);
    driver.on<QColorDialog>([](QColorDialog* d) {
        d->setCurrentColor(QColor(200, 0, 0));
        d->reject();
    });
    click("ckeycol");
    EXPECT_EQ(swatch("ckeycol"), QColor(10, 20, 30));

    // The font dialog starts at the current font and size; its size is kept whole.
    QFont started;
    driver.on<QFontDialog>([&started](QFontDialog* d) {
        started = d->currentFont();
        QFont f(QStringLiteral("DejaVu Sans"));
        f.setPointSizeF(13.6);
        d->setCurrentFont(f);
        d->accept();
    });
    click("afontsize");
    EXPECT_EQ(started.pointSize(), 10);
    EXPECT_EQ(shown("afontname"), "DejaVu Sans");
    EXPECT_EQ(shown("afontsize"), "14");
    EXPECT_EQ(shown("cfontname"), "Courier New");
    driver.on<QFontDialog>([](QFontDialog* d) { d->reject(); });
    click("afontname");
    EXPECT_EQ(shown("afontsize"), "14");
}

// The predefined themes by the box's answer: the colours of a row (typed from the table of
// the editors' themes), the assembler's first row with its own comment colour, 8 nothing.
TEST_F(EditorSetup, PredefinedThemes)
{
    struct ThemeCase {
        bool assembler;
        const char* answer;
        const char* control;
        QColor colour;
    };
    const ThemeCase cases[] = {
        {false, "5", "cbackcol", QColor(0, 0, 0)},       {false, "5", "cstrcol", QColor(255, 255, 250)},
        {false, "2", "casmcol", QColor(146, 75, 114)},   {false, "6", "clnbackcol", QColor(0, 64, 128)},
        {false, "8", "clnbackcol", QColor(0, 64, 128)},  {false, "0", "clnbackcol", QColor(0, 64, 128)},
        {true, "4", "atextcol", QColor(0, 0, 160)},      {true, "1", "acommcol", QColor(0, 64, 64)},
        {true, "7", "acommcol", QColor(0, 128, 0)},      {true, "3", "akeycol", QColor(0, 0, 250)},
    };
    for (const ThemeCase& c : cases) {
        answerbox(QString::fromLatin1(c.answer), true);
        (c.assembler ? form->selectthemeA() : form->selectthemeC())->click();
        EXPECT_TRUE(prompt.startsWith("Select Predefined Color Theme [1-7]:\n1 - Tessaro (Default)\n")) << prompt.toStdString();
        EXPECT_TRUE(prompt.endsWith("7 - White Style\n"));
        EXPECT_EQ(swatch(c.control), c.colour) << c.control << " " << c.answer;
    }
}

TEST_F(EditorSetup, DefaultsThenCancelWritesNothingAndSaveWritesAll)
{
    answerbox("6", true);
    click("atabsize");
    form->command(1)->click(); // Save
    const QString saved = stored();
    std::ifstream expected(std::string(KELVANE_TEST_DATA) + "/shell/editorsettings.txt");
    const std::string want((std::istreambuf_iterator<char>(expected)), {});
    EXPECT_EQ(saved.toStdString() + "\n", want);

    form = new Form04;
    form->show();
    EXPECT_EQ(shown("atabsize"), "6");
    form->command(3)->click(); // Defaults
    EXPECT_EQ(shown("atabsize"), "8");
    form->command(2)->click(); // Cancel
    EXPECT_EQ(stored(), saved);
}

// Keys: every control is a stop of Tab; Space and Enter act on it.
TEST_F(EditorSetup, KeyboardReachesAndUsesEveryControl)
{
    form->activateWindow();
    form->value("cfontname")->setFocus();
    int stops = 0;
    for (QWidget* w = form->focusWidget(); stops < 60; ++stops) {
        QTest::keyClick(w, Qt::Key_Tab);
        w = form->focusWidget();
        if (w == form->value("cfontname"))
            break;
    }
    EXPECT_EQ(stops + 1, 34 + 2 + 3); // the values, the two theme buttons, Save, Cancel, Defaults
    QTest::keyClick(form->value("ccolen"), Qt::Key_Space);
    EXPECT_EQ(shown("ccolen"), "False");
    QTest::keyClick(form->value("ccolen"), Qt::Key_Return);
    EXPECT_EQ(shown("ccolen"), "True");
}

// The editors: a setting reaches an editor when its window is opened again.
struct EditorWindows : ::testing::Test {
    void SetUp() override
    {
        QSettings(QSettings::NativeFormat, QSettings::UserScope, QString::fromLatin1(settingsname)).clear();
        machinestate().lastpath = QDir::tempPath().toStdString() + "/";
    }
};

// The pixels of a colour in the editor's text area and how tall their run is.
struct Ink {
    int count = 0, height = 0, longestrow = 0;
};
Ink ink(SourceEditor* editor, QRgb colour)
{
    const Picture p(editor->viewport());
    Ink out;
    int top = -1, bottom = -1;
    for (int y = 0; y < p.image.height(); ++y) {
        int run = 0;
        for (int x = 0; x < p.image.width(); ++x) {
            const bool hit = p.pixel(x, y) == (colour & 0xFFFFFFu);
            run = hit ? run + 1 : 0;
            out.longestrow = std::max(out.longestrow, run);
            if (hit) {
                ++out.count;
                top = top < 0 ? y : top;
                bottom = y;
            }
        }
    }
    out.height = top < 0 ? 0 : (bottom - top + 1) / p.ratio;
    return out;
}

TEST_F(EditorWindows, AssemblerEditorTakesItsFontAndKeywordColourWhenOpenedAgain)
{
    auto open = [] {
        auto* w = new Form6;
        w->show();
        w->edittextboxpro1()->settextbytes("\tMOV A,B\n");
        QCoreApplication::processEvents();
        return w;
    };
    QPointer<Form6> before = open();
    regwrite("A Keyword Color", rgbvalue(200, 0, 200));
    regwrite("A Font Size", 20);
    const Ink stale = ink(before->edittextboxpro1(), qRgb(200, 0, 200));
    EXPECT_EQ(stale.count, 0); // the open window keeps what it took
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
    QPointer<Form12> w = new Form12;
    w->show();
    SourceEditor* editor = w->findChild<SourceEditor*>();
    ASSERT_NE(editor, nullptr);
    editor->settextbytes("x = 1 ' one\nStart: y = 2\n");
    editor->formattext();
    EXPECT_EQ(editor->textbytes(), "x = 1     ' one\nStart: y = 2\n");
    QCoreApplication::processEvents();
    // One line of the number colour above "Start:", twelve characters long.
    const int twelve = QFontMetrics(editor->editorfont()).horizontalAdvance(QString(12, QLatin1Char('0')));
    EXPECT_NEAR(ink(editor, qRgb(255, 0, 128)).longestrow / Picture(editor->viewport()).ratio, twelve, 2);
    w->close();
}

// Whatever text the settings hold, both editors and the setup open usable: a size outside 4-200
// shows at 10, a missing font in a really fixed-pitch one, a colour past FFFFFF by its low bytes.
TEST_F(EditorWindows, AnyTextInTheSettingsStillOpensEveryEditor)
{
    const char* sizes[] = {"0", "5000", "abc", "-3", "3", "201"};
    for (const char* size : sizes) {
        for (const char* prefix : {"A ", "C "}) {
            regwrite(std::string(prefix) + "Font Size", size);
            regwrite(std::string(prefix) + "Font Name", "No Such Font Anywhere");
            regwrite(std::string(prefix) + "Keyword Color", "99999999999");
            regwrite(std::string(prefix) + "Tab Size", "x");
            regwrite(std::string(prefix) + "Undo Levels Number", "-7");
        }
        QPointer<Form6> assembler = new Form6;
        QPointer<Form12> basic = new Form12;
        QPointer<Form04> setup = new Form04;
        for (QWidget* w : std::initializer_list<QWidget*>{assembler, basic, setup})
            w->show();
        QCoreApplication::processEvents();
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
