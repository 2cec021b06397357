// Colour themes read back from the windows' pixels: the pairs of a handful of themes (typed here
// from the table of themes) on each window's named controls, the main window's frames with "Show
// Frames" on and off, all forty-six themes on every window without the style's own colours and
// with readable text where no pair is given, Change Color Theme's clicks with Select and Cancel,
// and the names the settings may hold.
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

#include "tests/common/dialogdriver.h"
#include "tests/common/pixels.h"
#include "tests/common/shot.h"
#include "tests/common/tempfolder.h"

#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <memory>
#include <string>
#include <vector>

using namespace kelvane;
using kelvane::test::Picture;

namespace {

// windowback, frameback, frametext, labelback, labeltext, valueback, valuetext, fixedback,
// fixedtext, noteback, notetext.
using Row = std::array<QRgb, 11>;
const std::map<std::string, Row> typed = {
    {"Bricks Set", {0x08529B, 0x0B73DB, 0xFFFFFF, 0xFFFF00, 0x000000, 0x217933, 0xFFFFFF, 0xB20000, 0xCAFF0B,
                    0xFFFFFF, 0x000000}},
    {"Mono Dark", {0x3A3A3A, 0x252525, 0xE2E2E2, 0xEFEFEF, 0x000000, 0x000000, 0xFFFFFF, 0x939393, 0xFFFFFF,
                   0x737373, 0xDDDDDD}},
    {"Owayke", {0x252525, 0x414141, 0x390000, 0x6A4E2D, 0x000000, 0x281A00, 0x862221, 0x32241C, 0xFF0000, 0x472400,
                0x890000}},
    {"Winamp Old", {0x494965, 0x2E2E40, 0xD3D8D8, 0xE0E8E8, 0x000000, 0x000000, 0x00FF00, 0x0000C3, 0xFFFFFF,
                    0x49496A, 0xC2C2C2}},
    {"Original Dark", {0x808080, 0x808080, 0x000000, 0xC0C0C0, 0x000000, 0xFFFFFF, 0x000000, 0xC0C0C0, 0x000000,
                       0x808080, 0x000000}},
    {"Original Lite", {0xD7E6CA, 0xE9E9DA, 0x000000, 0xE0E0E0, 0x000000, 0xFFFFFF, 0x000000, 0xFFE0C0, 0x000000,
                       0xFFC0C0, 0x000000}},
};

enum Pair { frame, label, value, fixed, note };

// The named controls of each window and the pair each one shows.
struct Named {
    const char* window;
    const char* control;
    Pair pair;
};
const Named namedcontrols[] = {
    {"Form1", "Frame1", frame},      {"Form1", "Frame6", frame},         {"Form1", "l_qa", label},
    {"Form1", "l_qinst", label},     {"Form1", "l_qf5", note},           {"Form1", "l_qf1", note},
    {"Form1", "qa", value},          {"Form1", "qpc", value},            {"Form1", "qstaza", value},
    {"Form1", "sodlabel", value},    {"Form1", "qf3", fixed},            {"Form1", "qf1", fixed},
    {"Form2", "Check1", label},      {"Form2", "Text1", value},          {"Form20", "Check1", label},
    {"Form20", "Text1", value},      {"Form5", "Frame1", frame},         {"Form5", "Option1in", frame},
    {"Form5", "Check1", label},      {"Form5", "Label1", value},         {"Form5", "Label5", value},
    {"Form5", "Label9", value},      {"Form8", "b1", frame},             {"Form8", "b10", frame},
    {"Form8", "Label2", label},      {"Form8", "Text1", label},          {"Form8", "Check2", label},
    {"Form8", "imelabela", value},   {"Form16", "Check1", label},        {"Form16", "Check2", label},
    {"Form21", "Label1", label},     {"Form21", "obj5", value},          {"Form15", "Check1", label},
    {"Form3", "Text1", value},       {"Form4", "Text1", value},          {"Form03", "Text1", value},
    {"Form10", "Check1", label},     {"Form10", "Label2", value},        {"Form10", "Text1", value},
    {"Form19", "Label1", value},     {"Form18", "Check1", label},        {"Form6", "Frame1", label},
    {"Form6", "Label1", value},      {"Form9", "Label2", label},         {"Form9", "Frame1", label},
    {"Form9", "Label1", value},      {"Form9", "poruka1", value},        {"Form17", "Frame0", frame},
    {"Form17", "Frame8", frame},     {"Form17", "polje0", frame},        {"Form17", "Check1", label},
    {"Form17", "Label1", value},     {"Form17", "Label2", value},        {"Form60", "tabla", frame},
    {"Form60", "mystatus", value},
};

QRgb backof(const Row& r, Pair p)
{
    const size_t at[] = {1, 3, 5, 7, 9};
    return r[at[p]];
}
QRgb foreof(const Row& r, Pair p)
{
    const size_t at[] = {2, 4, 6, 8, 10};
    return r[at[p]];
}

// Every window of the program open at once, the main window with a small program loaded.
struct Windows {
    test::TempFolder folder;
    std::unique_ptr<Form1> form;
    std::vector<std::unique_ptr<QDialog>> dialogs;

    Windows()
    {
        MachineState& st = machinestate();
        initialisestate(st);
        st.apppath = folder.at("");
        st.lastpath = folder.at("");
        regwrite("Device 1", "ON");
        registerwindows();
        form = std::make_unique<Form1>();
        form->show();
        form->loadprogramfile(QString::fromStdString(folder.put("t.obj", std::string("\x31\x00\x20\x76", 4))));
        test::BoxCloser boxes; // the Breakpoints Manager tells how it makes its listing
        for (Tool t : {Tool::Form2, Tool::Form5, Tool::Form6, Tool::Form8, Tool::Form9, Tool::Form12, Tool::Form16,
                       Tool::Form17, Tool::Form20, Tool::Form21, Tool::Form15, Tool::Form04, Tool::Form60})
            toolrouter().show(t);
        showhelp(form.get());
        // The progress frames of the Assembler and the Disassembler, and the argument frame of the
        // Interactive Assembler, show only at their time.
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
    static void use(const std::string& name, int border = 1)
    {
        regwrite("Color Theme", name);
        regwrite("Color Theme Border", border);
        loadtheme();
        toolrouter().settheme();
        QCoreApplication::processEvents();
    }
    // The dialogs take the theme as they open, so they are made again after a change; About too,
    // which closes itself once another window is activated.
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
        showmessage(form.get(), QStringLiteral("Memory cleared.")); // a timed window: shown anew
        // About closes itself once another window is activated: it comes last.
        delete about.data();
        about = new AboutWindow(form.get());
        about->show();
        QCoreApplication::processEvents();
    }
    QPointer<AboutWindow> about;
};

Windows& windows()
{
    static Windows* w = new Windows; // stands for the whole program, as the windows of the desktop do
    return *w;
}

class ThemePairs : public ::testing::TestWithParam<std::string> {};

TEST_P(ThemePairs, NamedControlsShowTheirPairs)
{
    Windows& w = windows();
    Windows::use(GetParam());
    w.reopen();
    const Row& row = typed.at(GetParam());
    std::map<QString, std::unique_ptr<Picture>> pictures;
    for (const Named& n : namedcontrols) {
        QWidget* window = Windows::window(QString::fromLatin1(n.window));
        ASSERT_NE(window, nullptr) << n.window;
        auto& picture = pictures[n.window];
        if (!picture)
            picture = std::make_unique<Picture>(window);
        auto* control = window->findChild<QWidget*>(QString::fromLatin1(n.control));
        ASSERT_NE(control, nullptr) << n.window << " " << n.control;
        QRect area = picture->area(control);
        if (qobject_cast<QGroupBox*>(control)) // a frame's own colours show around its caption
            area.setHeight(control->fontMetrics().height() * picture->ratio);
        EXPECT_EQ(picture->dominant(area), backof(row, n.pair)) << n.window << " " << n.control;
        if (!control->property("text").toString().isEmpty() || !control->property("title").toString().isEmpty() ||
            !control->property("plainText").toString().isEmpty())
            EXPECT_GT(picture->count(area, foreof(row, n.pair), 24), 0) << n.window << " " << n.control;
    }
    // Every form in windowback.
    for (const char* name : {"Form2", "Form5", "Form8", "Form16", "Form17", "Form21", "Form15", "Form10", "Form18"}) {
        const Picture picture(Windows::window(QString::fromLatin1(name)));
        EXPECT_EQ(picture.pixel(1, picture.image.height() - 2), row[0]) << name;
    }
    test::saveshot(Windows::window("Form1"), QString::fromStdString("form1-" + GetParam()));
}

INSTANTIATE_TEST_SUITE_P(Themes, ThemePairs, ::testing::Values("Bricks Set", "Mono Dark", "Owayke", "Winamp Old"));

TEST(Themes, ShowFramesDrawsOrHidesTheFrameLinesAndNothingMoves)
{
    windows();
    QWidget* form = Windows::window("Form1");
    const Row& row = typed.at("Bricks Set");
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
            for (int y = area.top() + 24; y <= area.bottom() - 8; ++y)
                for (int x : {area.left(), area.left() + 1, area.right() - 1, area.right()})
                    lines[border] += picture.pixel(x, y) != row[1];
        }
    }
    EXPECT_GT(lines[1], 200);
    EXPECT_EQ(lines[0], 0);
    EXPECT_EQ(geometry[0], geometry[1]);
}

// The style's own colours that no window may show in a theme without them, and the contrast of
// every text the table of themes leaves open: buttons, menu bars, and these captions.
const char* opencaptions[][2] = {{"Form8", "Label1"}, {"Form16", "Label1"}};

// The best contrast of a pixel of the control with its background (the colour most of its inside
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

TEST(Themes, EveryThemeOnEveryWindowLeavesNoStyleColourAndKeepsOpenTextReadable)
{
    Windows& w = windows();
    const QPalette standard = QApplication::style()->standardPalette();
    const QRgb defaults[] = {standard.color(QPalette::Window).rgb() & 0xFFFFFFu,
                             standard.color(QPalette::Base).rgb() & 0xFFFFFFu,
                             standard.color(QPalette::Button).rgb() & 0xFFFFFFu,
                             standard.color(QPalette::Highlight).rgb() & 0xFFFFFFu};
    for (const char* name : themeoptions) {
        Windows::use(name);
        w.reopen();
        const ThemeColors* c = themecolors(name);
        const uint32_t own[] = {c->windowback, c->frameback, c->frametext, c->labelback, c->labeltext, c->valueback,
                                c->valuetext,  c->fixedback, c->fixedtext, c->noteback,  c->notetext};
        // A menu of the main window, open.
        auto* menu = Windows::window("Form1")->findChild<QMenu*>("menu1");
        menu->popup(QPoint(0, 0));
        QCoreApplication::processEvents();
        for (QWidget* window : QApplication::topLevelWidgets()) {
            if (!window->isVisible())
                continue;
            if (window == menu)
                EXPECT_GE(textcontrast(Picture(menu), menu->rect()), 4.5) << name << " menu";
            Picture picture(window);
            test::saveshot(window, QString::fromLatin1(name) + QLatin1Char('-') + window->objectName());
            // The editors keep their own colours: their part is left out.
            for (auto* e : window->findChildren<SourceEditor*>())
                picture.blank(e);
            // ... and the Editor Setup's colour controls show the editors' colours.
            for (auto* v : window->findChildren<SettingValue*>())
                if (v->isswatch())
                    picture.blank(v);
            for (QRgb d : defaults) {
                // A colour of the theme, or one a style's shading can't tell from it, is the theme's.
                const auto near = [d](uint32_t c) {
                    return std::abs(qRed(d) - qRed(c)) <= 2 && std::abs(qGreen(d) - qGreen(c)) <= 2 &&
                           std::abs(qBlue(d) - qBlue(c)) <= 2;
                };
                if (std::any_of(std::begin(own), std::end(own), near))
                    continue;
                EXPECT_FALSE(picture.hasblock(d, 4))
                    << name << ": " << window->objectName().toStdString() << " shows " << std::hex << d;
            }
            for (auto* b : window->findChildren<QPushButton*>())
                // (a one-letter key's thin strokes never reach their full colour)
                if (b->window() == window && b->isVisible() && b->isEnabled() && b->text().size() > 1)
                    EXPECT_GE(textcontrast(picture, picture.area(b)), 4.5)
                        << name << ": " << b->objectName().toStdString() << " " << b->text().toStdString();
            for (auto* bar : window->findChildren<QMenuBar*>())
                if (bar->window() == window)
                    EXPECT_GE(textcontrast(picture, picture.area(bar)), 4.5) << name << " menu bar";
            for (const auto& [win, control] : opencaptions)
                if (window->objectName() == QLatin1String(win))
                    EXPECT_GE(textcontrast(picture, picture.area(window->findChild<QWidget*>(control))), 4.5)
                        << name << " " << win << " " << control;
        }
        menu->hide();
    }
}

// Walks of Change Color Theme: the theme it opens in, the options clicked ("" for "Show Frames"),
// how it ends, the two settings after it, and the theme the main window shows then.
struct Walk {
    const char* start;
    std::vector<const char*> clicks;
    const char* end;
    const char* name;
    int border;
    const char* shows;
};
const Walk walks[] = {
    {"Original Dark", {"Bricks Set", "Mono Dark", "Owayke"}, "Cancel", "Original Dark", 1, "Original Dark"},
    {"Bricks Set", {"Mono Dark", ""}, "Select", "Mono Dark", 0, "Mono Dark"},
    {"Mono Dark", {"", "", "Winamp Old"}, "Cancel", "Mono Dark", 1, "Mono Dark"},
    {"Winamp Old", {"Original Lite"}, "Escape", "Winamp Old", 1, "Winamp Old"},
    {"Owayke", {"Bricks Set"}, "Close", "Owayke", 1, "Owayke"},
    {"Purple Haze", {}, "Select", "Purple Haze", 1, "Original Lite"},
    {"Purple Haze", {"Winamp Old"}, "Cancel", "Purple Haze", 1, "Original Lite"},
};

QRgb mainwindowcolour()
{
    const Picture p(Windows::window("Form1"));
    return p.pixel(2, p.image.height() - 3);
}

TEST(ChangeColorTheme, ClicksPreviewAndSelectOrCancelDecides)
{
    windows();
    for (const Walk& walk : walks) {
        const std::string where = std::string(walk.start) + " -> " + walk.end;
        if (QWidget* open = toolrouter().window(Tool::Form15)) // one that stood: its Cancel first
            open->close();
        Windows::use(walk.start);
        QPointer<Form15> form = static_cast<Form15*>(toolrouter().show(Tool::Form15));
        ASSERT_TRUE(form);
        // The option of the theme is marked, none for a name no theme has.
        int marked = 0;
        for (int i = 0; i < static_cast<int>(themecount); ++i)
            marked += form->opcija(i)->isChecked() && form->opcija(i)->text() == walk.start ? 1
                      : form->opcija(i)->isChecked()                                     ? 100
                                                                                         : 0;
        EXPECT_EQ(marked, typed.count(walk.start) ? 1 : 0) << where;
        for (const char* click : walk.clicks) {
            if (*click == 0) {
                form->check1()->click();
                EXPECT_EQ(regread("Color Theme Border"), form->check1()->isChecked() ? "1" : "0") << where;
                continue;
            }
            for (int i = 0; i < static_cast<int>(themecount); ++i)
                if (form->opcija(i)->text() == QLatin1String(click))
                    form->opcija(i)->click();
            QCoreApplication::processEvents();
            EXPECT_EQ(regread("Color Theme"), click) << where; // each click is written at once
            EXPECT_EQ(mainwindowcolour(), typed.at(click)[0]) << where << " " << click;
        }
        const std::string end = walk.end;
        if (end == "Select")
            form->command1()->click();
        else if (end == "Cancel")
            form->command2()->click();
        else if (end == "Escape")
            QTest::keyClick(form, Qt::Key_Escape);
        else
            form->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        EXPECT_TRUE(form.isNull()) << where;
        EXPECT_EQ(regread("Color Theme"), walk.name) << where;
        EXPECT_EQ(regread("Color Theme Border"), std::to_string(walk.border)) << where;
        EXPECT_EQ(theme().themename, walk.name) << where;
        EXPECT_EQ(mainwindowcolour(), typed.at(walk.shows)[0]) << where;
    }
}

TEST(ChangeColorTheme, OptionsInOrderEachAStopOfTabThatSpaceAndEnterClick)
{
    windows();
    if (QWidget* open = toolrouter().window(Tool::Form15))
        open->close();
    Windows::use("Original Dark");
    QPointer<Form15> form = static_cast<Form15*>(toolrouter().show(Tool::Form15));
    EXPECT_EQ(form->opcija(0)->text(), "Bitter Lemon");
    EXPECT_EQ(form->opcija(20)->text(), "Original Dark");
    EXPECT_EQ(form->opcija(45)->text(), "Sunflower");
    form->opcija(0)->setFocus();
    int stops = 0;
    for (QWidget* w = form->focusWidget(); stops < 60; ++stops) {
        QTest::keyClick(w, Qt::Key_Tab);
        w = form->focusWidget();
        if (w == form->opcija(0))
            break;
    }
    EXPECT_EQ(stops + 1, static_cast<int>(themecount) + 3);
    QTest::keyClick(form->opcija(10), Qt::Key_Space);
    EXPECT_EQ(theme().themename, "Bricks Set");
    QTest::keyClick(form->opcija(39), Qt::Key_Return);
    EXPECT_EQ(theme().themename, "Mono Dark");
    QTest::keyClick(form->command2(), Qt::Key_Return);
    EXPECT_EQ(theme().themename, "Original Dark");
}

// What the settings may hold: the colours of the first row of that name, those of "Original
// Lite" for any other name (the name itself kept), and no change for an empty name.
TEST(LoadTheme, NamesTheSettingsMayHold)
{
    windows();
    struct Case {
        const char* setting;
        const char* shows;
    };
    const Case cases[] = {{"Winamp Old", "Winamp Old"}, {"winamp old", "Original Lite"}, {"", "Original Lite"},
                          {"Mono Dark", "Mono Dark"},   {"", "Mono Dark"},               {"Mono Dark ", "Original Lite"}};
    for (const Case& c : cases) {
        regwrite("Color Theme", c.setting);
        loadtheme();
        EXPECT_EQ(theme().themename, c.setting);
        const Row& row = typed.at(c.shows);
        const ThemeState& t = theme();
        EXPECT_EQ((Row{t.windowback, t.frameback, t.frametext, t.labelback, t.labeltext, t.valueback, t.valuetext,
                       t.fixedback, t.fixedtext, t.noteback, t.notetext}),
                  row)
            << "\"" << c.setting << "\"";
    }
}

} // namespace
