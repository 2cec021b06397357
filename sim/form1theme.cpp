// The main window in the current theme's colours: the form, the seven frames and their captions,
// the labels above the read-outs (`l`), the read-outs themselves, and the flag bits that have no
// function in their own pairs. The read-outs keep the sunken look of an instrument's displays,
// their edges shaded from the frame's colour.
#include "shell/theme.h"
#include "sim/form1.h"

#include <QLineEdit>

namespace kelvane {

namespace {

// The bevels and the frame line as shades of the frame colour; with themeborder 0 the line takes
// the frame colour itself, so that nothing moves.
QString panelshades(QString sheet)
{
    const ThemeState& t = theme();
    sheet.replace(QLatin1String("@frameline"),
                  t.themeborder != 0 ? QLatin1String("@mix(frameback,frametext,55)") : QLatin1String("@frameback"));
    sheet.replace(QLatin1String("@shadow"), QLatin1String("@mix(frameback,black,55)"));
    sheet.replace(QLatin1String("@lit"), QLatin1String("@mix(frameback,white,45)"));
    return themesheet(sheet);
}

} // namespace

QString Form1::panelsheet()
{
    return panelshades(QStringLiteral(R"(
QWidget#panel { background: @windowback; }
QGroupBox { background: @frameback; background-clip: margin; color: @frametext; font-weight: bold;
            border: 1px solid @frameline; border-radius: 4px; margin-top: 10px; padding: 6px 4px 4px 4px; }
QGroupBox::title { subcontrol-origin: margin; left: 8px; padding: 0 2px; }
QLabel[role="caption"] { background: @labelback; color: @labeltext; padding: 0 3px; }
/* l(17), l(19), l(21) and the value fields under them: the flag bits that have no function */
QLabel#l_qf5, QLabel#l_qf3, QLabel#l_qf1 { background: @noteback; color: @notetext; }
QLabel[role="value"] { background: @valueback; color: @valuetext; border: 2px solid @shadow;
                       border-right-color: @lit; border-bottom-color: @lit; padding: 1px 5px; }
QLabel#qf5, QLabel#qf3, QLabel#qf1 { background: @fixedback; color: @fixedtext; }
QLabel[role="wide"] { background: @valueback; color: @valuetext; border: 2px solid @shadow;
                      border-right-color: @lit; border-bottom-color: @lit; padding: 1px 6px; }
QLabel[role="path"] { background: @valueback; color: @valuetext; padding: 1px 4px; }
QPushButton { min-width: 64px; min-height: 26px; }
)"));
}

QString Form1::entrysheet()
{
    return themesheet(QStringLiteral(
        "QLineEdit { background: @valueback; color: @basetext; border: 2px solid @highlight; padding: 0; }"));
}

void Form1::settheme()
{
    // The sheets first: the open colours then reach the widgets under them (buttons, menus).
    centralWidget()->setStyleSheet(panelsheet());
    entrybox()->setStyleSheet(entrysheet());
    themewindow(this);
}

} // namespace kelvane
