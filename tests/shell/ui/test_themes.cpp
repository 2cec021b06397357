// Colour themes read back from the windows' pixels: the pairs of a handful of themes (typed from
// the table of themes into tests/data/shell/themes.txt) on each window's named controls, the main
// window's frames with "Show Frames" on and off, all forty-six themes on every window without the
// style's own colours and with readable text where no pair is given, and walks of Change Color
// Theme with Select and Cancel, by mouse and by keys, over the names the settings may hold.
#include "app/windows.h"
#include "shell/about.h"
#include "shell/help.h"
#include "shell/messages.h"
#include "shell/sourceeditor.h"
#include "shell/theme.h"
#include "shell/ui/form04.h"
#include "shell/ui/form15.h"
#include "sim/form1.h"
#include "sim/machinestate.h"
#include "sim/portdialogs.h"
#include "sim/settings.h"
#include "sim/toolrouter.h"

#include <QTest>
#include <QtWidgets>

#include "tests/common/datatable.h"
#include "tests/common/dialogdriver.h"
#include "tests/common/keys.h"
#include "tests/common/pixels.h"
#include "tests/common/shot.h"
#include "tests/common/tempfolder.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>

using namespace kelvane;
using kelvane::test::Picture;

namespace {

// The eleven colours of each typed theme, in the order of the table.
std::map<QString, std::vector<QRgb>> typedthemes()
{
    std::map<QString, std::vector<QRgb>> themes;
    for (const QStringList& row : test::datatable("shell/themes.txt"))
        for (qsizetype i = 1; i < row.size(); ++i)
            themes[row[0]].push_back(row[i].toUInt(nullptr, 16));
    return themes;
}
const std::map<QString, std::vector<QRgb>> typed = typedthemes();

// A pair's back and fore colour in a typed row (frame, label, value, fixed, note).
std::pair<QRgb, QRgb> pairof(const std::vector<QRgb>& row, const QString& pair)
{
    const QStringList pairs = {"frame", "label", "value", "fixed", "note"};
    const auto at = static_cast<size_t>(1 + 2 * pairs.indexOf(pair));
    return {row[at], row[at + 1]};
}

// Every window of the program open at once, the main window with a small program loaded.
struct Windows {
    test::TempFolder folder;
    std::unique_ptr<Form1> form;
    std::vector<std::unique_ptr<QDialog>> dialogs;
    QPointer<AboutWindow> about;

    Windows()
    {
        MachineState& st = machinestate();
        initialisestate(st);
        st.apppath = st.lastpath = folder.at("");
        regwrite("Device 1", "ON");
        registerwindows();
        form = std::make_unique<Form1>();
        form->show();
        form->loadprogramfile(QString::fromStdString(folder.put("t.obj", std::string("\x31\x00\x20\x76", 4))));
        test::BoxCloser boxes; // the Breakpoints Manager tells how it makes its listing
        for (Tool t : {Tool::Form2, Tool::Form5, Tool::Form6, Tool::Form8, Tool::Form9, Tool::Form12, Tool::Form16,
                       Tool::Form17, Tool::Form20, Tool::Form21, Tool::Form04, Tool::Form60})
            toolrouter().show(t);
        showhelp(form.get());
        // Frames that show only at their time: progress, and two forms of the Interactive Assembler.
        for (const char* w : {"Form6", "Form9"})
            window(w)->findChild<QWidget*>("Frame1")->show();
        for (const char* f : {"Frame0", "Frame8"})
            window("Form17")->findChild<QWidget*>(f)->show();
        reopen();
    }
    static QWidget* window(const QString& name)
    {
        for (QWidget* w : QApplication::topLevelWidgets())
            if (w->objectName() == name && w->isVisible())
                return w;
        return nullptr;
    }
    // A theme as Form15 puts it: the settings, loadtheme, every window.
    static void use(const QString& name, int border = 1)
    {
        regwrite("Color Theme", name.toStdString());
        regwrite("Color Theme Border", border);
        loadtheme();
        toolrouter().settheme();
        QCoreApplication::processEvents();
    }
    // The dialogs take the theme as they open; the timed message window and About (which closes
    // itself once another window is activated, so it comes last) may have gone: all anew.
    void reopen()
    {
        MachineState& st = machinestate();
        dialogs.clear();
        dialogs.emplace_back(new InEntryDialog(st, 0x20, form.get()));
        dialogs.emplace_back(new HexValueDialog(st, form.get()));
        dialogs.emplace_back(new AsciiKeyboard(st, form.get()));
        for (auto& d : dialogs)
            d->show();
        toolrouter().show(Tool::Form15);
        showmessage(form.get(), QStringLiteral("Memory cleared."));
        delete about.data();
        (about = new AboutWindow(form.get()))->show();
        QCoreApplication::processEvents();
    }
};

Windows& windows()
{
    static auto* w = new Windows; // stands for the whole program, as the desktop's windows do
    return *w;
}

// The pairs of pairs.txt in a theme on every window, read from their pictures.
void checkpairs(const QString& name, const std::string& style)
{
    Windows& w = windows();
    Windows::use(name);
    w.reopen();
    const std::vector<QRgb>& row = typed.at(name);
    std::map<QString, std::unique_ptr<Picture>> pictures;
    for (const QStringList& named : test::datatable("shell/pairs.txt")) {
        const std::string where = (name + ", " + named[0] + " " + named[1]).toStdString() + style;
        QWidget* window = Windows::window(named[0]);
        ASSERT_NE(window, nullptr) << where;
        auto& picture = pictures[named[0]];
        if (!picture)
            picture = std::make_unique<Picture>(window);
        auto* control = window->findChild<QWidget*>(named[1]);
        ASSERT_NE(control, nullptr) << where;
        QRect area = picture->area(control);
        if (qobject_cast<QGroupBox*>(control)) // a frame's own colours show around its caption
            area.setHeight(control->fontMetrics().height() * picture->ratio);
        const auto [back, fore] = pairof(row, named[2]);
        EXPECT_EQ(picture->dominant(area), back) << where;
        const bool text = !(control->property("text").toString() + control->property("title").toString() +
                            control->property("plainText").toString())
                               .isEmpty();
        if (text)
            EXPECT_GT(picture->count(area, fore, 24), 0) << where;
    }
    for (const char* form : {"Form2", "Form5", "Form8", "Form16", "Form17", "Form21", "Form15", "Form10", "Form18"})
        EXPECT_EQ(pictures.at(form)->pixel(1, pictures.at(form)->image.height() - 2), row[0]) << form << style;
    test::saveshot(Windows::window("Form1"), QStringLiteral("form1-") + name);
}

class ThemePairs : public ::testing::TestWithParam<const char*> {};

TEST_P(ThemePairs, NamedControlsShowTheirPairs)
{
    checkpairs(GetParam(), "");
}

INSTANTIATE_TEST_SUITE_P(Themes, ThemePairs, ::testing::Values("Bricks Set", "Mono Dark", "Owayke", "Winamp Old"));

// A style that draws everything in its own standard colours, whatever a palette says.
class PaletteBlindStyle : public QProxyStyle {
public:
    PaletteBlindStyle() : QProxyStyle(QStringLiteral("fusion")) {}
    void drawPrimitive(PrimitiveElement e, const QStyleOption* o, QPainter* p, const QWidget* w) const override
    {
        QProxyStyle::drawPrimitive(e, blind(o).get(), p, w);
    }
    void drawControl(ControlElement e, const QStyleOption* o, QPainter* p, const QWidget* w) const override
    {
        QProxyStyle::drawControl(e, blind(o).get(), p, w);
    }

private:
    std::unique_ptr<QStyleOption> blind(const QStyleOption* o) const
    {
        auto copy = std::make_unique<QStyleOption>(*o);
        copy->palette = standardPalette();
        return copy;
    }
};

// Under another style that honours palettes, and under one that ignores them, the pairs show.
TEST(Themes, PairsShowUnderAnyStyle)
{
    windows();
    const QString before = QApplication::style()->name();
    QApplication::setStyle(QStringLiteral("windows"));
    checkpairs("Bricks Set", " (windows)");
    QApplication::setStyle(new PaletteBlindStyle);
    checkpairs("Mono Dark", " (a style blind to palettes)");
    QApplication::setStyle(before);
}

TEST(Themes, ShowFramesDrawsOrHidesTheFrameLinesAndNothingMoves)
{
    windows();
    QWidget* form = Windows::window("Form1");
    const QRgb frameback = typed.at("Bricks Set")[1];
    std::vector<QRect> geometry[2];
    int lines[2] = {0, 0};
    for (int border : {1, 0}) {
        Windows::use("Bricks Set", border);
        const Picture picture(form);
        for (QWidget* c : form->findChildren<QWidget*>())
            geometry[border].push_back(c->geometry());
        // Down the left and right edges of each frame, below its caption and clear of its rounded
        // corners: anything that is not the frame's colour.
        for (int n = 1; n <= 7; ++n) {
            const QRect area = picture.area(form->findChild<QWidget*>(QStringLiteral("Frame%1").arg(n)));
            const int r = qRound(picture.ratio);
            for (int y = area.top() + 24 * r; y <= area.bottom() - 8 * r; ++y)
                for (int x : {area.left(), area.left() + r, area.right() - r, area.right()})
                    lines[border] += picture.pixel(x, y) != frameback;
        }
    }
    EXPECT_GT(lines[1], 200);
    EXPECT_EQ(lines[0], 0);
    EXPECT_EQ(geometry[0], geometry[1]);
}

// The best contrast of a pixel of an area with its background (the colour most of its inside
// has, a style's margins left out).
double textcontrast(const Picture& p, const QRect& area)
{
    const QColor back = QColor::fromRgb(p.dominant(area.adjusted(4, 4, -4, -4)));
    double best = 1;
    for (int y = area.top(); y <= area.bottom(); ++y)
        for (int x = area.left(); x <= area.right(); ++x)
            best = std::max(best, contrastratio(back, QColor::fromRgb(p.pixel(x, y))));
    return best;
}

// No window shows the style's own window, base, button or highlight colour in a theme without
// it, and every text the table of themes leaves open (buttons, menu bars, an open menu, the
// listing headers) reads at 4.5:1 or more.
TEST(Themes, EveryThemeOnEveryWindowLeavesNoStyleColourAndKeepsOpenTextReadable)
{
    Windows& w = windows();
    const QPalette standard = QApplication::style()->standardPalette();
    std::vector<QRgb> defaults;
    for (auto role : {QPalette::Window, QPalette::Base, QPalette::Button, QPalette::Highlight})
        defaults.push_back(standard.color(role).rgb() & 0xFFFFFFu);
    for (const char* name : themeoptions) {
        Windows::use(name);
        w.reopen();
        const ThemeColors* c = themecolors(name);
        const uint32_t own[] = {c->windowback, c->frameback, c->frametext, c->labelback, c->labeltext, c->valueback,
                                c->valuetext,  c->fixedback, c->fixedtext, c->noteback,  c->notetext};
        auto* menu = Windows::window("Form1")->findChild<QMenu*>("menu1");
        menu->popup(QPoint(0, 0));
        QCoreApplication::processEvents();
        for (QWidget* window : QApplication::topLevelWidgets()) {
            if (!window->isVisible())
                continue;
            Picture picture(window);
            const std::string where = std::string(name) + ": " + window->objectName().toStdString();
            // The editors and the Editor Setup's colour controls show the editors' own colours.
            for (auto* e : window->findChildren<SourceEditor*>())
                picture.blank(e);
            for (auto* v : window->findChildren<SettingValue*>())
                if (v->isswatch())
                    picture.blank(v);
            for (QRgb d : defaults) {
                // A colour of the theme, or one a style's shading can't tell from it, is the theme's.
                const auto near = [d](uint32_t t) {
                    const int apart = std::abs(qRed(d) - qRed(t)) + std::abs(qGreen(d) - qGreen(t));
                    return apart + std::abs(qBlue(d) - qBlue(t)) <= 6;
                };
                if (std::none_of(std::begin(own), std::end(own), near))
                    EXPECT_FALSE(picture.hasblock(d, 4 * qRound(picture.ratio))) << where << " shows " << std::hex << d;
            }
            std::vector<QWidget*> open;
            for (auto* b : window->findChildren<QPushButton*>()) // a one-letter key's strokes are too thin
                if (b->window() == window && b->isVisible() && b->isEnabled() && b->text().size() > 1)
                    open.push_back(b);
            for (auto* bar : window->findChildren<QMenuBar*>())
                open.push_back(bar);
            for (const char* header : {"Form8", "Form16"})
                if (window->objectName() == QLatin1String(header))
                    open.push_back(window->findChild<QWidget*>("Label1"));
            if (window == menu)
                open.push_back(menu);
            for (QWidget* o : open)
                EXPECT_GE(textcontrast(picture, picture.area(o)), 4.5) << where << " " << o->objectName().toStdString();
        }
        menu->hide();
    }
}

QRgb mainwindowcolour()
{
    const Picture p(Windows::window("Form1"));
    return p.pixel(2, p.image.height() - 3);
}

// Every control of Change Color Theme is a stop of Tab; the walks of walks.txt by mouse and keys.
TEST(ChangeColorTheme, WalksOfClicksAndKeysEndingInSelectOrCancel)
{
    windows();
    for (const QStringList& walk : test::datatable("shell/walks.txt")) {
        const std::string where = (walk[0] + " / " + walk[1] + " / " + walk[2]).toStdString();
        if (QWidget* open = toolrouter().window(Tool::Form15)) // one that stood: its Cancel first
            open->close();
        Windows::use(walk[0]);
        QPointer<Form15> form = static_cast<Form15*>(toolrouter().show(Tool::Form15));
        std::map<QString, QRadioButton*> options;
        int marked = 0;
        for (int i = 0; i < static_cast<int>(themecount); ++i) {
            options[form->opcija(i)->text()] = form->opcija(i);
            marked += form->opcija(i)->isChecked() ? (form->opcija(i)->text() == walk[0] ? 1 : 100) : 0;
        }
        EXPECT_EQ(marked, typed.count(walk[0]) ? 1 : 0) << where; // none for a name no theme has
        for (const QString& step : walk[1].split(QLatin1Char(','), Qt::SkipEmptyParts)) {
            const QString option = step.section(QLatin1Char(':'), -1).trimmed();
            if (option == "frames") {
                form->check1()->click();
                EXPECT_EQ(regread("Color Theme Border"), form->check1()->isChecked() ? "1" : "0") << where;
                continue;
            }
            if (step.contains(QLatin1Char(':')))
                QTest::keyClick(options[option], step.startsWith("space") ? Qt::Key_Space : Qt::Key_Return);
            else
                options[option]->click();
            EXPECT_EQ(regread("Color Theme"), option.toStdString()) << where; // each step is written
            EXPECT_EQ(mainwindowcolour(), typed.at(option)[0]) << where << " " << option.toStdString();
        }
        if (walk[2] == "Select")
            form->command1()->click();
        else if (walk[2] == "Cancel")
            form->command2()->click();
        else if (walk[2] == "enter:Cancel")
            QTest::keyClick(form->command2(), Qt::Key_Return);
        else if (walk[2] == "Escape")
            QTest::keyClick(form, Qt::Key_Escape);
        else
            form->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        EXPECT_TRUE(form.isNull()) << where;
        EXPECT_EQ(regread("Color Theme"), walk[3].toStdString()) << where;
        EXPECT_EQ(regread("Color Theme Border"), walk[4].toStdString()) << where;
        EXPECT_EQ(theme().themename, walk[3].toStdString()) << where;
        EXPECT_EQ(mainwindowcolour(), typed.at(walk[5])[0]) << where;
    }
    auto* form = static_cast<Form15*>(toolrouter().show(Tool::Form15));
    EXPECT_EQ(form->opcija(0)->text() + form->opcija(20)->text() + form->opcija(45)->text(),
              "Bitter LemonOriginal DarkSunflower");
    EXPECT_EQ(test::tabstops(form->opcija(0)), static_cast<int>(themecount) + 3);
    form->close();
}

} // namespace
