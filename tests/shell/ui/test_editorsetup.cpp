// Editor Setup (Form04): its controls, dialogs, themes, buttons and keys; the editors take a change
// when their window opens again (seen in their pixels and text) and open whatever the settings hold.
#include "assembler/ui/form6.h"
#include "basic/ui/form12.h"
#include "shell/sourceeditor.h"
#include "shell/sourceeditorsettings.h"
#include "shell/ui/form04.h"
#include "sim/settings.h"

#include <QTest>
#include <QtWidgets>

#include "tests/common/datatable.h"
#include "tests/common/keys.h"
#include "tests/common/pixels.h"
#include "tests/common/tempfolder.h"
#include "tests/common/windowtest.h"

#include <gtest/gtest.h>

using namespace kelvane;

namespace {

// The editors' settings in the store, "name=value" a line, sorted.
std::string stored()
{
    QSettings s(QSettings::NativeFormat, QSettings::UserScope, QString::fromLatin1(settingsname));
    QStringList lines;
    for (const QString& key : s.allKeys().filter(QRegularExpression(QStringLiteral("^[AC] "))))
        lines << key + QLatin1Char('=') + s.value(key).toString();
    lines.sort();
    return lines.join(QLatin1Char('\n')).toStdString() + "\n";
}

// Where a colour shows in an editor's text area: how many pixels, how tall, the longest row.
struct Ink {
    int count = 0, height = 0, longestrow = 0;
};
Ink ink(SourceEditor* editor, QRgb colour)
{
    const test::Picture p(editor->viewport());
    Ink out;
    for (int y = 0, top = -1; y < p.image.height(); ++y)
        for (int x = 0, run = 0; x < p.image.width(); ++x) {
            run = p.pixel(x, y) == (colour & 0xFFFFFFu) ? run + 1 : 0;
            out.longestrow = std::max(out.longestrow, static_cast<int>(run / p.ratio));
            out.count += run > 0;
            top = top < 0 && run > 0 ? y : top;
            out.height = run > 0 ? static_cast<int>((y - top + 1) / p.ratio) : out.height;
        }
    return out;
}

// Settings cleared, Editor Setup open; every window still open is closed after a test.
struct EditorSetup : test::WindowTest {
    EditorSetup()
    {
        QSettings(QSettings::NativeFormat, QSettings::UserScope, QString::fromLatin1(settingsname)).clear();
        form = open<Form04>();
    }
    ~EditorSetup() override { closeall(); }
    template <typename T>
    static T* open()
    {
        auto* w = new T;
        w->show();
        QCoreApplication::processEvents();
        return w;
    }
    static void closeall()
    {
        for (QWidget* w : QApplication::topLevelWidgets())
            w->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    SettingValue* value(const QString& control) const { return form->value(control); }
    // Clicks a control (or button) while the driver answers the input box it opens.
    void answer(QAbstractButton* control, const QString& text, bool ok = true)
    {
        driver->on<QInputDialog>([text, ok, this](QInputDialog* box) {
            prompt = box->labelText();
            box->setTextValue(text);
            ok ? box->accept() : box->reject();
        });
        control->click();
    }
    QPointer<Form04> form;
    QString prompt;
};

TEST_F(EditorSetup, EveryKindOfControlAndItsDialog)
{
    for (const QStringList& c : test::datatable("shell/numberboxes.txt")) {
        form->Command3_Click(); // each case from the defaults
        answer(value(c[0]), c[1], c[2] == "OK");
        EXPECT_EQ(prompt + " " + value(c[0])->text(), c[3] + " " + c[4])
            << c[0].toStdString() << " " << c[1].toStdString();
    }
    for (const QStringList& c : test::datatable("shell/editorthemes.txt")) {
        answer(c[0] == "A" ? form->selectthemeA() : form->selectthemeC(), c[1]);
        EXPECT_TRUE(prompt.startsWith("Select Predefined Color Theme [1-7]:\n1 - Tessaro (Default)\n") &&
                    prompt.endsWith("\n7 - White Style\n"))
            << prompt.toStdString();
        const QStringList rgb = c[3].split(QLatin1Char(' '));
        EXPECT_EQ(value(c[2])->colour(), QColor(rgb[0].toInt(), rgb[1].toInt(), rgb[2].toInt()))
            << c[0].toStdString() << " " << c[1].toStdString();
    }
    // The toggles (the keys' Space and Enter below), the colour and font dialogs and their cancels.
    value("ccolen")->click();
    value("alnen")->click();
    EXPECT_EQ(value("ccolen")->text() + value("alnen")->text() + value("clnen")->text(), "FalseFalseTrue");
    // The font dialog starts at the current font and size; its size is kept whole.
    QFont started;
    for (bool ok : {true, false}) {
        driver->on<QColorDialog>([ok](QColorDialog* d) {
            d->setCurrentColor(ok ? QColor(10, 20, 30) : QColor(200, 0, 0));
            ok ? d->accept() : d->reject();
        });
        value("ckeycol")->click();
        EXPECT_EQ(value("ckeycol")->colour(), QColor(10, 20, 30));
        EXPECT_EQ(compilereditor().keywordcolor, 10 + 256 * 20 + 65536 * 30);
        driver->on<QFontDialog>([&started, ok](QFontDialog* d) {
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
    const std::string saved = stored();
    EXPECT_EQ(saved, test::slurp(KELVANE_TEST_DATA "/shell/editorsettings.txt"));
    form = open<Form04>();
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

// A setting reaches an editor when its window opens again (font, colours, comment space, separator).
TEST_F(EditorSetup, EditorsTakeTheirSettingsWhenOpenedAgain)
{
    const auto assembler = [] {
        SourceEditor* e = open<Form6>()->edittextboxpro1();
        e->settextbytes("\tMOV A,B\n");
        QCoreApplication::processEvents();
        return e;
    };
    SourceEditor* before = assembler();
    regwrite("A Keyword Color", rgbvalue(200, 0, 200));
    regwrite("A Font Size", 20);
    EXPECT_EQ(ink(before, qRgb(200, 0, 200)).count, 0); // the open one keeps its own
    closeall();
    const Ink fresh = ink(assembler(), qRgb(200, 0, 200));
    EXPECT_GT(fresh.count, 40);
    EXPECT_GE(fresh.height, 15); // capitals of 20 points, not of 10

    regwrite("C Comment Space", 5);
    regwrite("C Procedure Separator Width", 12);
    regwrite("C Line Numbers Text Color", rgbvalue(255, 0, 128));
    regwrite("C ASM Color", rgbvalue(0, 128, 255));
    auto* editor = open<Form12>()->findChild<SourceEditor*>();
    editor->settextbytes("x = 1 ' one\nStart: y = 2\n");
    editor->formattext();
    EXPECT_EQ(editor->textbytes(), "x = 1     ' one\nStart: y = 2\n");
    QCoreApplication::processEvents();
    EXPECT_GT(ink(editor, qRgb(0, 128, 255)).count, 10); // the number literals in the ASM colour
    // One line of the number colour above "Start:", twelve characters long.
    const int twelve = QFontMetrics(editor->editorfont()).horizontalAdvance(QString(12, QLatin1Char('0')));
    EXPECT_NEAR(ink(editor, qRgb(255, 0, 128)).longestrow, twelve, 2);
}

// Whatever text the settings hold, both editors and the setup open usable: a size outside 4-200
// shows at 10, a missing font in a really fixed-pitch one, a colour past FFFFFF by its low bytes.
TEST_F(EditorSetup, AnyTextInTheSettingsStillOpensEveryEditor)
{
    for (const char* size : {"0", "5000", "abc", "-3", "3", "201"}) {
        closeall();
        const std::pair<std::string, std::string> values[] = {
            {"Font Size", size}, {"Font Name", "No Such Font Anywhere"}, {"Keyword Color", "99999999999"},
            {"Tab Size", "x"}, {"Undo Levels Number", "-7"}};
        for (const std::string prefix : {"A ", "C "})
            for (const auto& [name, value] : values)
                regwrite(prefix + name, value);
        EXPECT_EQ(open<Form04>()->value("afontname")->text(), "No Such Font Anywhere");
        for (SourceEditor* e : {open<Form6>()->edittextboxpro1(), open<Form12>()->findChild<SourceEditor*>()}) {
            EXPECT_EQ(e->editorfont().pointSize(), 10) << size;
            EXPECT_TRUE(QFontInfo(e->editorfont()).fixedPitch()) << size;
        }
    }
}

} // namespace
