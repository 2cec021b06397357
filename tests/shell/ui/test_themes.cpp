// Colour themes read back from the windows' pixels: every theme on every window, typed pairs on named
// controls under any style, "Show Frames", and walks of Change Color Theme by mouse and keys.
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

using namespace kelvane;

namespace {

// The eleven colours of each typed theme: the window's, then back and fore of frame, label, value,
// fixed and note.
const std::map<QString, std::vector<QRgb>> typed = [] {
    std::map<QString, std::vector<QRgb>> themes;
    for (const QStringList& row : test::datatable("shell/themes.txt"))
        for (qsizetype i = 1; i < row.size(); ++i)
            themes[row[0]].push_back(row[i].toUInt(nullptr, 16));
    return themes;
}();

QWidget* window(const QString& name)
{
    for (QWidget* w : QApplication::topLevelWidgets())
        if (w->objectName() == name && w->isVisible())
            return w;
    return nullptr;
}

// A theme as Form15 puts it: the settings, loadtheme, every window.
void use(const QString& name, int border = 1)
{
    regwrite("Color Theme", name.toStdString());
    regwrite("Color Theme Border", border);
    loadtheme();
    toolrouter().settheme();
    QCoreApplication::processEvents();
}

// Every window of the program open at once (and never deleted, as the desktop's), the main window
// with a small program loaded. The dialogs take the theme as they open, and the timed message window
// and About (which closes itself once another window is activated, so it comes last) may have gone.
void reopen()
{
    static Form1* form = [] {
        static test::TempFolder folder;
        initialisestate(machinestate());
        machinestate().apppath = machinestate().lastpath = folder.at("");
        regwrite("Device 1", "ON");
        registerwindows();
        auto* f = new Form1;
        f->show();
        f->loadprogramfile(QString::fromStdString(folder.put("t.obj", std::string("\x31\x00\x20\x76", 4))));
        test::BoxCloser boxes; // the Breakpoints Manager tells how it makes its listing
        for (Tool t : flaggedtools)
            toolrouter().show(t);
        toolrouter().show(Tool::Form04);
        toolrouter().show(Tool::Form60);
        showhelp(f);
        // Frames that show only at their time: progress, and two forms of the Interactive Assembler.
        for (const char* w : {"Form6", "Form9"})
            window(w)->findChild<QWidget*>("Frame1")->show();
        for (const char* frame : {"Frame0", "Frame8"})
            window("Form17")->findChild<QWidget*>(frame)->show();
        return f;
    }();
    static auto& dialogs = *new std::vector<std::unique_ptr<QDialog>>;
    static auto& about = *new QPointer<AboutWindow>;
    dialogs.clear();
    for (QDialog* d : std::initializer_list<QDialog*>{new InEntryDialog(machinestate(), 0x20, form),
                                                      new HexValueDialog(machinestate(), form),
                                                      new AsciiKeyboard(machinestate(), form)})
        dialogs.emplace_back(d)->show();
    toolrouter().show(Tool::Form15);
    showmessage(form, QStringLiteral("Memory cleared."));
    delete about.data();
    (about = new AboutWindow(form))->show();
    QCoreApplication::processEvents();
}

// A style that draws everything in its own standard colours, whatever a palette says.
struct PaletteBlindStyle : QProxyStyle {
    PaletteBlindStyle() : QProxyStyle(QStringLiteral("fusion")) {}
    void drawPrimitive(PrimitiveElement e, const QStyleOption* o, QPainter* p, const QWidget* w) const override
    {
        const QPalette own = std::exchange(const_cast<QStyleOption*>(o)->palette, standardPalette());
        QProxyStyle::drawPrimitive(e, o, p, w);
        const_cast<QStyleOption*>(o)->palette = own;
    }
    void drawControl(ControlElement e, const QStyleOption* o, QPainter* p, const QWidget* w) const override
    {
        const QPalette own = std::exchange(const_cast<QStyleOption*>(o)->palette, standardPalette());
        QProxyStyle::drawControl(e, o, p, w);
        const_cast<QStyleOption*>(o)->palette = own;
    }
};

// Every theme on every window, then two typed ones under a style that honours palettes and one that
// ignores them: a typed theme shows the pairs of pairs.txt; under the program's style no window shows
// the style's own colours where the theme has none, and every text the table of themes leaves open
// (buttons, menu bars, an open menu, listing headers) reads at 4.5:1 against its background.
TEST(Themes, EveryThemeOnEveryWindow)
{
    const QString before = QApplication::style()->name();
    std::vector<std::pair<const char*, QStyle*>> runs;
    for (const char* name : themeoptions)
        runs.emplace_back(name, nullptr);
    runs.insert(runs.end(), {{"Bricks Set", QStyleFactory::create("windows")}, {"Mono Dark", new PaletteBlindStyle}});
    reopen();
    auto* menu = window("Form1")->findChild<QMenu*>("menu1");
    const std::vector<QStringList> pairs = test::datatable("shell/pairs.txt");
    for (const auto& [name, style] : runs) {
        menu->hide();
        if (style)
            QApplication::setStyle(style);
        use(name);
        reopen();
        menu->popup(QPoint(0, 0));
        QCoreApplication::processEvents();
        const std::string under = std::string(name) + " under " + QApplication::style()->name().toStdString();
        std::map<QWidget*, test::Picture> pictures;
        for (QWidget* top : QApplication::topLevelWidgets())
            if (top->isVisible())
                pictures.emplace(top, top);
        if (const auto row = typed.find(name); row != typed.end()) {
            for (const QStringList& named : pairs) {
                const std::string where = under + ": " + (named[0] + " " + named[1]).toStdString();
                QWidget* form = window(named[0]);
                auto* control = form ? form->findChild<QWidget*>(named[1]) : nullptr;
                ASSERT_NE(control, nullptr) << where;
                const test::Picture& picture = pictures.at(form);
                QRect area = picture.area(control);
                if (qobject_cast<QGroupBox*>(control)) // a frame's own colours show around its caption
                    area.setHeight(control->fontMetrics().height() * picture.ratio);
                const QStringList kinds = {"frame", "label", "value", "fixed", "note"};
                const auto at = static_cast<size_t>(1 + 2 * kinds.indexOf(named[2]));
                EXPECT_EQ(picture.dominant(area), row->second[at]) << where;
                const QString text = control->property("text").toString() + control->property("title").toString();
                if (!(text + control->property("plainText").toString()).isEmpty())
                    EXPECT_GT(picture.count(area, row->second[at + 1], 24), 0) << where;
            }
            // The window colour at the edge of the windows without a control there.
            for (const char* form :
                 {"Form2", "Form5", "Form8", "Form16", "Form17", "Form21", "Form15", "Form10", "Form18"}) {
                const test::Picture& edge = pictures.at(window(form));
                EXPECT_EQ(edge.pixel(1, edge.image.height() - 2), row->second[0]) << under << " " << form;
            }
            if (!style)
                test::saveshot(window("Form1"), QStringLiteral("form1-") + name);
        }
        if (style)
            continue;
        const ThemeColors* c = themecolors(name);
        const uint32_t own[] = {c->windowback, c->frameback, c->frametext, c->labelback, c->labeltext, c->valueback,
                                c->valuetext,  c->fixedback, c->fixedtext, c->noteback,  c->notetext};
        for (auto& [top, picture] : pictures) {
            const std::string where = under + ": " + top->objectName().toStdString();
            // The editors and the Editor Setup's colour controls show the editors' own colours.
            for (auto* e : top->findChildren<SourceEditor*>())
                picture.blank(e);
            for (auto* v : top->findChildren<SettingValue*>())
                if (v->isswatch())
                    picture.blank(v);
            for (auto role : {QPalette::Window, QPalette::Base, QPalette::Button, QPalette::Highlight}) {
                const QRgb d = QApplication::style()->standardPalette().color(role).rgb() & 0xFFFFFFu;
                // A colour of the theme, or one a style's shading can't tell from it, is the theme's.
                const auto near = [d](uint32_t t) {
                    const int apart = std::abs(qRed(d) - qRed(t)) + std::abs(qGreen(d) - qGreen(t));
                    return apart + std::abs(qBlue(d) - qBlue(t)) <= 6;
                };
                if (std::none_of(std::begin(own), std::end(own), near))
                    EXPECT_FALSE(picture.hasblock(d, 4 * qRound(picture.ratio))) << where << " shows " << std::hex << d;
            }
            std::vector<QWidget*> open;
            if (top == menu)
                open.push_back(menu);
            for (auto* b : top->findChildren<QPushButton*>()) // a one-letter key's strokes are too thin
                if (b->window() == top && b->isVisible() && b->isEnabled() && b->text().size() > 1)
                    open.push_back(b);
            for (auto* bar : top->findChildren<QMenuBar*>())
                open.push_back(bar);
            if (top->objectName() == QLatin1String("Form8") || top->objectName() == QLatin1String("Form16"))
                open.push_back(top->findChild<QWidget*>("Label1"));
            for (QWidget* o : open) {
                const QRect area = picture.area(o);
                const QColor back = QColor::fromRgb(picture.dominant(area.adjusted(4, 4, -4, -4)));
                double best = 1;
                for (int y = area.top(); y <= area.bottom(); ++y)
                    for (int x = area.left(); x <= area.right(); ++x)
                        best = std::max(best, contrastratio(back, QColor::fromRgb(picture.pixel(x, y))));
                EXPECT_GE(best, 4.5) << where << " " << o->objectName().toStdString() << " " << best;
            }
        }
    }
    menu->hide();
    QApplication::setStyle(before);
}

TEST(Themes, ShowFramesDrawsOrHidesTheFrameLinesAndNothingMoves)
{
    reopen();
    QWidget* form = window("Form1");
    std::vector<QRect> geometry[2];
    int lines[2] = {0, 0};
    for (int border : {1, 0}) {
        use("Bricks Set", border);
        const test::Picture picture(form);
        for (QWidget* c : form->findChildren<QWidget*>())
            geometry[border].push_back(c->geometry());
        // Down the left and right edges of each frame, below its caption and clear of its rounded corners:
        // anything that is not the frame's colour.
        for (int n = 1; n <= 7; ++n) {
            const QRect area = picture.area(form->findChild<QWidget*>(QStringLiteral("Frame%1").arg(n)));
            const int r = qRound(picture.ratio);
            for (int y = area.top() + 24 * r; y <= area.bottom() - 8 * r; ++y)
                for (int x : {area.left(), area.left() + r, area.right() - r, area.right()})
                    lines[border] += picture.pixel(x, y) != typed.at("Bricks Set")[1];
        }
    }
    EXPECT_GT(lines[1], 200);
    EXPECT_EQ(lines[0], 0);
    EXPECT_EQ(geometry[0], geometry[1]);
}

// Every control of Change Color Theme is a stop of Tab; the walks of walks.txt by mouse and keys.
TEST(ChangeColorTheme, WalksOfClicksAndKeysEndingInSelectOrCancel)
{
    reopen();
    const auto mainwindowcolour = [] {
        const test::Picture p(window("Form1"));
        return p.pixel(2, p.image.height() - 3);
    };
    for (const QStringList& walk : test::datatable("shell/walks.txt")) {
        const std::string where = (walk[0] + " / " + walk[1] + " / " + walk[2]).toStdString();
        if (QWidget* open = toolrouter().window(Tool::Form15)) // one that stood: its Cancel first
            open->close();
        use(walk[0]);
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
        const std::map<QString, std::function<void()>> endings = {
            {"Select", [&] { form->command1()->click(); }}, {"Cancel", [&] { form->command2()->click(); }},
            {"enter:Cancel", [&] { QTest::keyClick(form->command2(), Qt::Key_Return); }},
            {"Escape", [&] { QTest::keyClick(form, Qt::Key_Escape); }}, {"Close", [&] { form->close(); }}};
        endings.at(walk[2])();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        EXPECT_TRUE(form.isNull()) << where;
        const std::string got = regread("Color Theme") + "|" + regread("Color Theme Border") + "|" + theme().themename;
        EXPECT_EQ(got, (walk[3] + "|" + walk[4] + "|" + walk[3]).toStdString()) << where;
        EXPECT_EQ(mainwindowcolour(), typed.at(walk[5])[0]) << where;
    }
    auto* form = static_cast<Form15*>(toolrouter().show(Tool::Form15));
    EXPECT_EQ(form->opcija(0)->text() + form->opcija(20)->text() + form->opcija(45)->text(),
              "Bitter LemonOriginal DarkSunflower");
    EXPECT_EQ(test::tabstops(form->opcija(0)), static_cast<int>(themecount) + 3);
    form->close();
}

} // namespace
