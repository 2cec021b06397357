// The colour themes of the windows: the table of the forty-six themes, the current theme
// (`themename`, `themeborder` and its eleven colours, filled by loadtheme from "Color Theme" and
// "Color Theme Border"), and how a window puts the colours on its controls so that they show
// under any Qt style.
//
// Interface for a window's settheme():
//   themewindow(this);                         the form in windowback, everything the theme leaves
//                                              open (buttons, menus, scroll bars, selections,
//                                              tool tips, panes) in the theme's own readable colours
//   setpair(Check1, theme().labelback, theme().labeltext);   a control's back and fore colour
//   setStyleSheet(themesheet("QLabel { background: @valueback; color: @valuetext; }"));
//                                              a window drawn by a style sheet names the colours
// Windows without a window-open flag that stand while the theme changes (About, Help, the timed
// message window) register with followtheme(window, fn); the router calls them after the others.
#pragma once
#include <QColor>
#include <QPalette>
#include <QString>

#include <array>
#include <cstdint>
#include <functional>
#include <string>

class QStyle;
class QWidget;

namespace kelvane {

// The eleven colours of a theme, each 0xRRGGBB.
struct ThemeColors {
    uint32_t windowback, frameback, frametext, labelback, labeltext, valueback, valuetext, fixedback, fixedtext,
        noteback, notetext;
};

struct ThemeRow {
    const char* name;
    ThemeColors colors;
};

inline constexpr size_t themecount = 46;
// The themes in the order loadtheme compares their names; the last, "Original Lite", is the
// fallback of an unknown name.
extern const std::array<ThemeRow, themecount> themetable;
// The captions of Form15's options `opcija(0)` to `opcija(45)`.
extern const std::array<const char*, themecount> themeoptions;

// The current theme. The colours start as the fallback row's.
struct ThemeState : ThemeColors {
    std::string themename;
    int32_t themeborder = 1;
};
ThemeState& theme();

// Reads "Color Theme" (default "Original Dark") and "Color Theme Border" (default "1") into
// themename and themeborder and fills the colours from the table: the first row of that name;
// an empty name keeps the colours; any other name gets the fallback row's.
void loadtheme();
// The colours of a name as loadtheme finds them (nullptr for an empty name).
const ThemeColors* themecolors(const std::string& name);

QColor themecolor(uint32_t rgb);
// The contrast ratio of two colours (1 to 21) by their relative luminance.
double contrastratio(const QColor& a, const QColor& b);
// A text colour for a background: `preferred` when it reaches the ratio, else the colour of the
// theme with the best contrast when that reaches it, else black or white, whichever contrasts more.
QColor readabletext(const QColor& back, const QColor& preferred, double ratio = 4.5);
// a + (b - a) * part, channel by channel.
QColor mixcolor(const QColor& a, const QColor& b, double part);

// The palette of the current theme for everything a window's own pairs leave open.
QPalette themepalette();
// The style the windows draw with: the application's when it honours palettes, else Fusion.
QStyle* themestyle();
// The form in windowback with the open colours of themepalette on it and its menus, drawn by
// themestyle.
void themewindow(QWidget* window);
// A control's back and fore colour, for the roles its kind paints with (a frame's title, a
// label's text, a text box's text, a button's caption); the background is filled.
void setpair(QWidget* control, uint32_t back, uint32_t fore);
// A style sheet with the theme's colours put for @windowback ... @notetext, the open colours
// @windowtext (text on windowback), @buttonback, @buttontext, @highlight, @highlighttext,
// @basetext (text on valueback), @black, @white, and @mix(a,b,N) for the colour N percent of the
// way from a to b (named without their @).
QString themesheet(const QString& sheet);

// Windows without a window-open flag that follow a change while they stand.
void followtheme(QWidget* window, std::function<void()> settheme);
// The settheme of every standing follower.
void themefollowers();
// A window of one text box (About, Help, the timed message window): the form and the box in the
// value colours, now and after every change while the window stands.
void themetextwindow(QWidget* window, QWidget* text);

} // namespace kelvane
