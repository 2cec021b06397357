#include "shell/theme.h"

#include "sim/settings.h"

#include <QApplication>
#include <QMenu>
#include <QMenuBar>
#include <QPainter>
#include <QPointer>
#include <QProxyStyle>
#include <QRegularExpression>
#include <QStyle>
#include <QStyleOption>
#include <QToolTip>
#include <QWidget>

#include <QAbstractButton>
#include <QAbstractScrollArea>
#include <QCheckBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QRadioButton>

#include <algorithm>
#include <cmath>
#include <vector>

namespace kelvane {

const std::array<ThemeRow, themecount> themetable = {{
    // name, windowback, frameback, frametext, labelback, labeltext, valueback, valuetext, fixedback,
    // fixedtext, noteback, notetext
    {"Amethyst",
     {0x5E2770, 0xB446B7, 0x5A2086, 0xFFFFFF, 0x000000, 0x4E1F56,
      0xC86FFF, 0x862E82, 0xFFFFFF, 0xF1F1F4, 0x400051}},
    {"Arctica",
     {0x919BAD, 0xE3E9F7, 0x3A303F, 0xFFFFFF, 0x000000, 0x627486,
      0xFFFFFF, 0x9AA6B3, 0x1D2E62, 0xBBC2D3, 0x000000}},
    {"Baby Jeans",
     {0x49567A, 0x333E5A, 0xFFFFDE, 0xFFFFF3, 0x000000, 0xC5AD97,
      0x2F2D39, 0xDCC1A9, 0x045C98, 0x787E8D, 0x000000}},
    {"Bitter Lemon",
     {0xA6A8BA, 0xFEFEFE, 0x969CA9, 0xF1F6F7, 0x000000, 0xC3DD5F,
      0x00050A, 0xB4C3CC, 0x1135AA, 0xD7F55E, 0x000000}},
    {"Bloods",
     {0x969696, 0xF8F8F8, 0x969696, 0xFEFEFE, 0x000000, 0xC9083D,
      0xFFFFFF, 0x7D0526, 0xFFB2A2, 0xF7F7F7, 0x000000}},
    {"Blue Martini",
     {0x63688C, 0xB0B8F7, 0x63688C, 0xFFFFDF, 0x000000, 0xBEC1D3,
      0x2B2B2B, 0xD7D7E7, 0x6B7DB3, 0xA38E77, 0xFCEDD7}},
    {"Blueberry",
     {0x7749EB, 0xC378FE, 0x50FFFF, 0xD4FFFF, 0x000000, 0x38226E,
      0x00EAFF, 0x025E72, 0xD4FFFF, 0xC278E3, 0x2E271F}},
    {"Blueberry And Cream",
     {0xA5A58B, 0xEAEAC4, 0x473373, 0xBDFFFF, 0x000000, 0x38226E,
      0x00EAFF, 0x025E72, 0xD4FFFF, 0xC278E3, 0x2E271F}},
    {"Blues",
     {0x23336F, 0x2F4697, 0xE4FFFF, 0xDCEDFF, 0x000000, 0x587DBB,
      0xFFFFFF, 0x2C3B9D, 0xBBD2FF, 0xD4E5FF, 0x072B7D}},
    {"Bricks Set",
     {0x08529B, 0x0B73DB, 0xFFFFFF, 0xFFFF00, 0x000000, 0x217933,
      0xFFFFFF, 0xB20000, 0xCAFF0B, 0xFFFFFF, 0x000000}},
    {"Bubble Gum",
     {0xE1858F, 0xFEDBDB, 0xFF417B, 0xFFFFF5, 0x000000, 0xB794D0,
      0xFFFBED, 0x8B699C, 0xFFC5DC, 0xFFF5D6, 0x000000}},
    {"Bullfrog",
     {0x779F01, 0xCFFE00, 0x78A001, 0xFFFFFF, 0x000000, 0x609F01,
      0xFFFFFF, 0x0E3200, 0xAFF601, 0xEEF5FF, 0x000000}},
    {"Citrus",
     {0x969696, 0xF7F7F7, 0x969696, 0xFEFEFE, 0x000000, 0xF98B00,
      0xFFFFFF, 0xFFE000, 0x000000, 0xF7F7F7, 0x000000}},
    {"City Night",
     {0x565C65, 0x86898F, 0x414C4D, 0xE3E3E3, 0x000000, 0x706F77,
      0xFFFFFF, 0x353634, 0xFFD92C, 0xF5F5F5, 0x000000}},
    {"Clover",
     {0x969696, 0xF0F0F0, 0x969696, 0xFEFEFE, 0x000000, 0x227751,
      0xFFFFFF, 0x37C082, 0x000000, 0xF7F7F7, 0x000000}},
    {"Coagulated",
     {0x4D0500, 0x310400, 0x947F4C, 0xBAA160, 0x000000, 0x231B1A,
      0xBAA160, 0x1F0C00, 0xA60000, 0x5F0000, 0x000000}},
    {"Copper",
     {0x666A70, 0x464A52, 0xC6AF9D, 0xE5B18B, 0x000000, 0x98590F,
      0xE8D3D3, 0x7D420D, 0xC17113, 0xC6AF9D, 0x000000}},
    {"Donatello",
     {0x709446, 0xC7FE7C, 0x66875A, 0xFFFFFF, 0x000000, 0xD06C1B,
      0xFFFFFF, 0xFF9B00, 0xFFFFFF, 0xB8EE63, 0x000000}},
    {"Dymunds",
     {0xA28B7B, 0xFEE5CA, 0xA38C7C, 0xFEFEFE, 0x000000, 0x847681,
      0xEDFFFF, 0xD5BFD0, 0x00235C, 0xFFF7E8, 0x000000}},
    {"Emerald City",
     {0x95A3A8, 0xE8FEFE, 0x74889B, 0x74FEFF, 0x000000, 0x005457,
      0xFFFFFF, 0x31A3B8, 0xFFFFFF, 0x7CDEE6, 0x000000}},
    {"Fort Knox",
     {0x767549, 0xC1BF78, 0x707752, 0xFEFEA9, 0x000000, 0x747446,
      0xFFFFDB, 0xBABA71, 0x2D3422, 0xDBDBA4, 0x000000}},
    {"Gold Rush",
     {0xB7A052, 0xFEEE7A, 0x968A57, 0xFFFFB6, 0x000000, 0x3A2C17,
      0xFFE692, 0xA57F43, 0xFFFFE2, 0xFFFFB7, 0x000000}},
    {"Grapefruit",
     {0xE2A060, 0xFEF693, 0x64385C, 0xFEFEFE, 0x000000, 0x673360,
      0xFFF0D3, 0xFFFFA2, 0x000000, 0x7B4572, 0xFCD250}},
    {"Grapes",
     {0x643D87, 0x9F61D8, 0x480064, 0xFFFEFF, 0x000000, 0x000000,
      0xDBB7FF, 0x975CCC, 0xFFFFFF, 0x722C93, 0xE1B5FC}},
    {"Halloween",
     {0x252525, 0x393939, 0xFFFA00, 0xFFCE00, 0x000000, 0xF9AD00,
      0xFFFFFF, 0xC90000, 0x000000, 0xFFC700, 0x000000}},
    {"HaXb0x",
     {0x3B3B3B, 0x252525, 0xFFFF58, 0xFBFF67, 0x000000, 0x74B920,
      0xFFFF00, 0x000000, 0xFFFFFF, 0x5A5A5A, 0xCEFC00}},
    {"Jeans",
     {0x27324B, 0x384666, 0xC1CBE6, 0xFFFFFF, 0x000000, 0x4D1730,
      0xD9F1FF, 0x6B8092, 0x65BDD4, 0xF1F1F4, 0x000000}},
    {"Love Machine",
     {0xE2007C, 0x8A004C, 0xFFFFFF, 0xFEFEFE, 0x000000, 0xB92063,
      0xFFFFFF, 0xFF33A0, 0xFFFFFF, 0xFAFAFA, 0x000000}},
    {"Mono Dark",
     {0x3A3A3A, 0x252525, 0xE2E2E2, 0xEFEFEF, 0x000000, 0x000000,
      0xFFFFFF, 0x939393, 0xFFFFFF, 0x737373, 0xDDDDDD}},
    {"Mono Lite",
     {0x868686, 0xDBDBDB, 0x969696, 0xFEFEFE, 0x000000, 0x5E5E5E,
      0xFFFFFF, 0x989898, 0xFFFFFF, 0xFAFAFA, 0x000000}},
    {"Night Vision",
     {0x3F3F3F, 0x252525, 0x50FFFF, 0xBDFFFF, 0x000000, 0x148A9A,
      0x00EAFF, 0x025E72, 0xD4FFFF, 0x737373, 0x7DE7FC}},
    {"Peachy",
     {0xFF7D59, 0xFEC78E, 0xFF6341, 0xFFE2CB, 0x000000, 0x8B513F,
      0xFFFFFF, 0xFF7F56, 0xFFF5CB, 0xFFD18C, 0xA72A1E}},
    {"Popcorn",
     {0xB5ADA3, 0xFEFEFE, 0xA78261, 0xFFFFE5, 0x000000, 0xF6DEB5,
      0x5A1700, 0x977F66, 0xFFFFFF, 0xFFF7E8, 0x6C4825}},
    {"Powerpuff!",
     {0x91C45D, 0xF3FE8B, 0x5790DF, 0x94F4FF, 0x000000, 0x4877B8,
      0x94FF70, 0x001562, 0xF1F5F5, 0x2FB5FF, 0xFCFCAC}},
    {"Owayke",
     {0x252525, 0x414141, 0x390000, 0x6A4E2D, 0x000000, 0x281A00,
      0x862221, 0x32241C, 0xFF0000, 0x472400, 0x890000}},
    {"Rain Forest",
     {0x005D11, 0x008217, 0x00CE11, 0xFFFFFF, 0x000000, 0x002506,
      0xEBFFEA, 0x2E8635, 0x3DD929, 0x79797A, 0x000000}},
    {"Raspberry Club",
     {0xAA1451, 0x6A0D38, 0xFFD42D, 0xFFD247, 0x000000, 0xD99A22,
      0xFFFFFF, 0xF0BF00, 0x9A155F, 0xA3174B, 0xF0BE2E}},
    {"Rosemary",
     {0xA68A8A, 0xFEE9E9, 0x8A8A8A, 0xFFFEFE, 0x000000, 0x8D8283,
      0xFFFFFF, 0x1A1A1A, 0xB19092, 0xFFF8FA, 0x000000}},
    {"Sunflower",
     {0xFEF37F, 0xFFA758, 0x5A7157, 0xFFFF94, 0x000000, 0xF9BF56,
      0x5A1700, 0xDD7F00, 0xFFFFFF, 0xFFE322, 0x6C4825}},
    {"Toxic",
     {0x6B7755, 0x92A273, 0xD9ED96, 0x91A404, 0x000000, 0x3A4102,
      0xE4FFD6, 0x5D6803, 0xD0FFA2, 0x738104, 0xC7F0A3}},
    {"Uranium",
     {0x748675, 0xCFF0D1, 0x434343, 0xBBDFED, 0x000000, 0x706F77,
      0x87FF00, 0x353634, 0x9FBDC9, 0x799588, 0x000000}},
    {"Varsity",
     {0x9C9690, 0xEDE4DB, 0x892322, 0xFEFEFE, 0x000000, 0x646254,
      0xFFFFDC, 0xA19D87, 0xFFC800, 0x700D10, 0xFCB80C}},
    {"Winamp New",
     {0x818997, 0xF6F6F8, 0x818997, 0xFFFFFF, 0x000000, 0x1C3D7D,
      0xFFFFFF, 0x6788C9, 0xFFFFFF, 0xF6F6F8, 0x000000}},
    {"Winamp Old",
     {0x494965, 0x2E2E40, 0xD3D8D8, 0xE0E8E8, 0x000000, 0x000000,
      0x00FF00, 0x0000C3, 0xFFFFFF, 0x49496A, 0xC2C2C2}},
    {"Original Dark",
     {0x808080, 0x808080, 0x000000, 0xC0C0C0, 0x000000, 0xFFFFFF,
      0x000000, 0xC0C0C0, 0x000000, 0x808080, 0x000000}},
    {"Original Lite",
     {0xD7E6CA, 0xE9E9DA, 0x000000, 0xE0E0E0, 0x000000, 0xFFFFFF,
      0x000000, 0xFFE0C0, 0x000000, 0xFFC0C0, 0x000000}},
}};

const std::array<const char*, themecount> themeoptions = {
    "Bitter Lemon", "Blueberry",  "Gold Rush",      "Peachy",       "Original Lite", "Winamp Old",
    "Toxic",        "Varsity",    "Winamp New",     "Blues",        "Bricks Set",    "Bubble Gum",
    "Halloween",    "Jeans",      "Uranium",        "Popcorn",      "Owayke",        "Rain Forest",
    "Arctica",      "Donatello",  "Original Dark",  "Amethyst",     "Baby Jeans",    "Bloods",
    "Blue Martini", "Blueberry And Cream", "Bullfrog", "Citrus",    "City Night",    "Clover",
    "Coagulated",   "Copper",     "Dymunds",        "Emerald City", "Fort Knox",     "Grapefruit",
    "Grapes",       "HaXb0x",     "Love Machine",   "Mono Dark",    "Mono Lite",     "Night Vision",
    "Powerpuff!",   "Raspberry Club", "Rosemary",   "Sunflower",
};

ThemeState& theme()
{
    static ThemeState state = [] {
        ThemeState s;
        static_cast<ThemeColors&>(s) = themetable.back().colors;
        return s;
    }();
    return state;
}

const ThemeColors* themecolors(const std::string& name)
{
    if (name.empty())
        return nullptr;
    for (const ThemeRow& row : themetable)
        if (name == row.name)
            return &row.colors;
    return &themetable.back().colors;
}

void loadtheme()
{
    ThemeState& t = theme();
    t.themename = regread("Color Theme", "Original Dark");
    t.themeborder = leadingint(regread("Color Theme Border", "1"));
    if (const ThemeColors* c = themecolors(t.themename))
        static_cast<ThemeColors&>(t) = *c;
}

// ---------------------------------------------------------------------------------------------
// Colours

QColor themecolor(uint32_t rgb)
{
    return QColor::fromRgb(static_cast<QRgb>(0xFF000000u | (rgb & 0xFFFFFFu)));
}

namespace {

double luminance(const QColor& c)
{
    const auto channel = [](int v) {
        const double s = v / 255.0;
        return s <= 0.04045 ? s / 12.92 : std::pow((s + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * channel(c.red()) + 0.7152 * channel(c.green()) + 0.0722 * channel(c.blue());
}

constexpr double readable = 4.5;
// Text on a surface that the style shades (a button's face runs lighter and darker around its
// colour) keeps this much, so that it stays readable everywhere on the face.
constexpr double shadedreadable = 5.5;

std::array<uint32_t, 11> rowcolors(const ThemeColors& c)
{
    return {c.windowback, c.frameback, c.frametext, c.labelback, c.labeltext, c.valueback,
            c.valuetext,  c.fixedback, c.fixedtext, c.noteback,  c.notetext};
}

} // namespace

double contrastratio(const QColor& a, const QColor& b)
{
    const double la = luminance(a), lb = luminance(b);
    return (std::max(la, lb) + 0.05) / (std::min(la, lb) + 0.05);
}

QColor mixcolor(const QColor& a, const QColor& b, double part)
{
    const auto mix = [part](int x, int y) { return static_cast<int>(std::lround(x + (y - x) * part)); };
    return QColor(mix(a.red(), b.red()), mix(a.green(), b.green()), mix(a.blue(), b.blue()));
}

QColor readabletext(const QColor& back, const QColor& preferred, double ratio)
{
    if (contrastratio(back, preferred) >= ratio)
        return preferred;
    QColor best;
    double bestratio = 0;
    for (uint32_t rgb : rowcolors(theme())) {
        const QColor c = themecolor(rgb);
        const double r = contrastratio(back, c);
        if (r > bestratio) {
            bestratio = r;
            best = c;
        }
    }
    if (bestratio >= ratio)
        return best;
    return contrastratio(back, Qt::black) >= contrastratio(back, Qt::white) ? QColor(Qt::black) : QColor(Qt::white);
}

namespace {

// A colour for text that is meant to stand back (a header, a hint) yet stays readable.
QColor quiettext(const QColor& back, const QColor& text)
{
    for (double part : {0.35, 0.25, 0.15})
        if (const QColor c = mixcolor(text, back, part); contrastratio(back, c) >= readable)
            return c;
    return text;
}

// The colours of a role pair in all three groups, the disabled text dimmed toward its background.
void setroles(QPalette& p, QPalette::ColorRole backrole, const QColor& back, QPalette::ColorRole textrole,
              const QColor& text)
{
    p.setColor(backrole, back);
    p.setColor(textrole, text);
    p.setColor(QPalette::Disabled, textrole, mixcolor(text, back, 0.5));
}

} // namespace

namespace {

// The buttons' colours: the first surface of the theme whose own text, or another colour of the
// theme, reads on it with the margin of a shaded face; else the frame colour with black or white.
std::pair<QColor, QColor> buttoncolours(const ThemeState& t)
{
    const std::pair<uint32_t, uint32_t> surfaces[] = {
        {t.frameback, t.frametext}, {t.labelback, t.labeltext}, {t.valueback, t.valuetext}, {t.noteback, t.notetext}};
    for (const auto& [b, f] : surfaces) {
        const QColor back = themecolor(b);
        const QColor text = readabletext(back, themecolor(f), shadedreadable);
        if (contrastratio(back, text) >= shadedreadable)
            return {back, text};
    }
    const QColor back = themecolor(t.frameback);
    return {back, readabletext(back, themecolor(t.frametext), shadedreadable)};
}

} // namespace

QPalette themepalette()
{
    const ThemeState& t = theme();
    const QColor window = themecolor(t.windowback), base = themecolor(t.valueback);
    const QColor highlight = themecolor(t.fixedback);
    const QColor tip = themecolor(t.noteback);
    const QColor windowtext = readabletext(window, themecolor(t.labeltext));
    const QColor text = readabletext(base, themecolor(t.valuetext));
    const auto [button, buttontext] = buttoncolours(t);

    QPalette p(button, window);
    setroles(p, QPalette::Window, window, QPalette::WindowText, windowtext);
    setroles(p, QPalette::Base, base, QPalette::Text, text);
    setroles(p, QPalette::Button, button, QPalette::ButtonText, buttontext);
    p.setColor(QPalette::AlternateBase, mixcolor(base, text, 0.07));
    p.setColor(QPalette::PlaceholderText, quiettext(base, text));
    p.setColor(QPalette::Highlight, highlight);
    p.setColor(QPalette::HighlightedText, readabletext(highlight, themecolor(t.fixedtext)));
    p.setColor(QPalette::ToolTipBase, tip);
    p.setColor(QPalette::ToolTipText, readabletext(tip, themecolor(t.notetext)));
    p.setColor(QPalette::BrightText, readabletext(button, Qt::white));
    p.setColor(QPalette::Link, readabletext(base, highlight));
    p.setColor(QPalette::LinkVisited, readabletext(base, highlight));
    return p;
}

namespace {

// The style of the themed windows, so that a control shows its colours exactly under any base
// style: a frame (group box) is filled whole, a thin line in a mix of its text and background
// colours, its caption on its background; a push button's face is flat in the button colour,
// deepened toward the text colour when hovered or pressed. Everything else is the base style's.
class ThemeStyle : public QProxyStyle {
public:
    using QProxyStyle::QProxyStyle;

    void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                       const QWidget* widget) const override
    {
        if (element != PE_PanelButtonCommand) {
            QProxyStyle::drawPrimitive(element, option, painter, widget);
            return;
        }
        const QColor text = option->palette.color(QPalette::ButtonText);
        QColor face = option->palette.color(QPalette::Button);
        const bool enabled = (option->state & State_Enabled) != 0;
        if (enabled && (option->state & (State_Sunken | State_On)))
            face = mixcolor(face, text, 0.16);
        else if (enabled && (option->state & State_MouseOver))
            face = mixcolor(face, text, 0.07);
        const auto* button = qstyleoption_cast<const QStyleOptionButton*>(option);
        const bool marked = button && (button->features & QStyleOptionButton::DefaultButton);
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        painter->setBrush(face);
        painter->setPen(QPen(mixcolor(text, face, enabled ? 0.45 : 0.7), 1));
        const QRectF r = QRectF(option->rect).adjusted(0.5, 0.5, -0.5, -0.5);
        painter->drawRoundedRect(r, 3, 3);
        if (marked && enabled) {
            // The button that Enter presses: a second line inside the first.
            painter->setBrush(Qt::NoBrush);
            painter->drawRoundedRect(r.adjusted(1, 1, -1, -1), 2, 2);
        }
        painter->restore();
    }

    void drawComplexControl(ComplexControl control, const QStyleOptionComplex* option, QPainter* painter,
                            const QWidget* widget) const override
    {
        const auto* box = qstyleoption_cast<const QStyleOptionGroupBox*>(option);
        if (control != CC_GroupBox || box == nullptr || (box->subControls & SC_GroupBoxCheckBox) != 0) {
            QProxyStyle::drawComplexControl(control, option, painter, widget);
            return;
        }
        const QColor back = box->palette.color(QPalette::Window);
        const QColor text = box->palette.color(QPalette::WindowText);
        const QRect frame = subControlRect(CC_GroupBox, option, SC_GroupBoxFrame, widget);
        const QRect label = subControlRect(CC_GroupBox, option, SC_GroupBoxLabel, widget);
        painter->save();
        if (box->subControls & SC_GroupBoxFrame) {
            painter->setRenderHint(QPainter::Antialiasing);
            painter->setPen(QPen(mixcolor(text, back, 0.55), 1));
            painter->setBrush(Qt::NoBrush);
            painter->drawRoundedRect(QRectF(frame).adjusted(0.5, 0.5, -0.5, -0.5), 3, 3);
        }
        if ((box->subControls & SC_GroupBoxLabel) && !box->text.isEmpty()) {
            painter->setRenderHint(QPainter::Antialiasing, false);
            painter->fillRect(label.adjusted(-2, 0, 2, 0), back);
            painter->setPen(text);
            painter->drawText(label, Qt::TextShowMnemonic | Qt::AlignCenter, box->text);
        }
        painter->restore();
    }
};

bool honourspalettes(const QString& name)
{
    return name == QLatin1String("fusion") || name == QLatin1String("windows");
}

// A widget lies under a style sheet: the palette of its parents does not reach it.
bool undersheet(const QWidget* w, const QWidget* window)
{
    for (; w != nullptr; w = w->parentWidget()) {
        if (!w->styleSheet().isEmpty())
            return true;
        if (w == window)
            break;
    }
    return false;
}

// The source editors keep their own colours.
bool editortext(const QWidget* w)
{
    return w->inherits("QsciScintillaBase");
}

} // namespace

QStyle* themestyle()
{
    // One style for each base the application asked for while it ran; none is deleted, since
    // windows may still use it.
    static std::vector<std::pair<QString, QStyle*>> made;
    const QStyle* app = QApplication::style();
    const QString appname = app ? app->name().toLower() : QString();
    const QString wanted = honourspalettes(appname) ? appname : QStringLiteral("fusion");
    for (const auto& [name, style] : made)
        if (name == wanted)
            return style;
    auto* style = new ThemeStyle(wanted);
    style->setParent(qApp);
    made.emplace_back(wanted, style);
    return style;
}

void themewindow(QWidget* window)
{
    if (window == nullptr)
        return;
    QStyle* style = themestyle();
    const QList<QWidget*> all = window->findChildren<QWidget*>();
    // Each widget once: the mark names the style it was given.
    const QVariant mark = QVariant::fromValue(reinterpret_cast<quintptr>(style));
    QList<QWidget*> styled = all;
    styled.append(window);
    for (QWidget* w : styled)
        if (w->property("themestyle") != mark) {
            w->setStyle(style);
            w->setProperty("themestyle", mark);
        }
    const QPalette p = themepalette();
    window->setPalette(p);
    window->setAutoFillBackground(true);
    // Popups (menus) are windows of their own and widgets under a style sheet don't inherit the
    // palette of their parents: both get it themselves. A menu bar writes its items in the button
    // text colour over the window's colour.
    QPalette bar = p;
    bar.setColor(QPalette::ButtonText, p.color(QPalette::WindowText));
    bar.setColor(QPalette::Disabled, QPalette::ButtonText, p.color(QPalette::Disabled, QPalette::WindowText));
    // A menu is shaded from its base colour: it takes the buttons' pair, which keeps the margin.
    QPalette menu = p;
    for (auto group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled}) {
        menu.setColor(group, QPalette::Base, p.color(group, QPalette::Button));
        menu.setColor(group, QPalette::Window, p.color(group, QPalette::Button));
        menu.setColor(group, QPalette::Text, p.color(group, QPalette::ButtonText));
        menu.setColor(group, QPalette::WindowText, p.color(group, QPalette::ButtonText));
    }
    // Under a sheet, labels and frames take their colours from its rules (or from their pair).
    for (QWidget* w : all) {
        if (qobject_cast<QMenuBar*>(w))
            w->setPalette(bar);
        else if (qobject_cast<QMenu*>(w))
            w->setPalette(menu);
        else if (w->isWindow())
            w->setPalette(p);
        else if (!editortext(w) && !qobject_cast<QLabel*>(w) && !qobject_cast<QGroupBox*>(w) &&
                 undersheet(w, window))
            w->setPalette(p);
    }
    QToolTip::setPalette(p);
}

void setpair(QWidget* control, uint32_t back, uint32_t fore)
{
    if (control == nullptr)
        return;
    const QColor b = themecolor(back), f = themecolor(fore);
    QPalette p; // no role of its own yet: the rest comes from the parent
    if (qobject_cast<QLineEdit*>(control) || qobject_cast<QAbstractScrollArea*>(control)) {
        setroles(p, QPalette::Base, b, QPalette::Text, f);
    } else if (qobject_cast<QCheckBox*>(control) || qobject_cast<QRadioButton*>(control)) {
        // Their background is filled in the button colour, their text drawn in the window text.
        // Filled, they are as wide as their caption, as a label is.
        setroles(p, QPalette::Window, b, QPalette::WindowText, f);
        setroles(p, QPalette::Button, b, QPalette::ButtonText, f);
        QSizePolicy policy = control->sizePolicy();
        if (policy.horizontalPolicy() != QSizePolicy::Maximum) {
            policy.setHorizontalPolicy(QSizePolicy::Maximum);
            control->setSizePolicy(policy);
        }
    } else if (qobject_cast<QAbstractButton*>(control)) {
        setroles(p, QPalette::Button, b, QPalette::ButtonText, f);
    } else {
        // Labels and frames (whose caption and line the theme's style draws in these colours).
        setroles(p, QPalette::Window, b, QPalette::WindowText, f);
    }
    if (undersheet(control, nullptr)) {
        // Nothing comes from the parents here: the open colours for the other roles.
        QPalette open = themepalette();
        for (int r = 0; r < QPalette::NColorRoles; ++r) {
            const auto role = static_cast<QPalette::ColorRole>(r);
            if (p.isBrushSet(QPalette::Active, role))
                for (auto group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled})
                    open.setBrush(group, role, p.brush(group, role));
        }
        p = open;
    }
    control->setPalette(p);
    control->setAutoFillBackground(true);
}

QString themesheet(const QString& sheet)
{
    const ThemeState& t = theme();
    const QPalette p = themepalette();
    const std::pair<const char*, QColor> names[] = {
        // Longer names first, so that @highlighttext never reads as @highlight.
        {"highlighttext", p.color(QPalette::HighlightedText)},
        {"windowback", themecolor(t.windowback)},
        {"windowtext", p.color(QPalette::WindowText)},
        {"buttonback", p.color(QPalette::Button)},
        {"buttontext", p.color(QPalette::ButtonText)},
        {"highlight", p.color(QPalette::Highlight)},
        {"basetext", p.color(QPalette::Text)},
        {"frameback", themecolor(t.frameback)},
        {"frametext", themecolor(t.frametext)},
        {"labelback", themecolor(t.labelback)},
        {"labeltext", themecolor(t.labeltext)},
        {"valueback", themecolor(t.valueback)},
        {"valuetext", themecolor(t.valuetext)},
        {"fixedback", themecolor(t.fixedback)},
        {"fixedtext", themecolor(t.fixedtext)},
        {"noteback", themecolor(t.noteback)},
        {"notetext", themecolor(t.notetext)},
        {"black", QColor(Qt::black)},
        {"white", QColor(Qt::white)},
    };
    const auto colour = [&names](QStringView name) {
        for (const auto& [n, c] : names)
            if (name == QLatin1String(n))
                return c;
        return QColor();
    };
    QString out = sheet;
    // @mix(a,b,N): N percent of the way from colour a to colour b.
    static const QRegularExpression mix(QStringLiteral("@mix\\((\\w+),\\s*(\\w+),\\s*(\\d+)\\)"));
    for (QRegularExpressionMatch m = mix.match(out); m.hasMatch(); m = mix.match(out)) {
        const QColor c = mixcolor(colour(m.capturedView(1)), colour(m.capturedView(2)), m.captured(3).toInt() / 100.0);
        out.replace(m.capturedStart(), m.capturedLength(), c.name());
    }
    for (const auto& [name, c] : names)
        out.replace(QLatin1Char('@') + QLatin1String(name), c.name());
    return out;
}

// ---------------------------------------------------------------------------------------------
// Followers

namespace {

struct Follower {
    QPointer<QWidget> window;
    std::function<void()> settheme;
};

std::vector<Follower>& followers()
{
    static std::vector<Follower> list;
    return list;
}

} // namespace

void followtheme(QWidget* window, std::function<void()> settheme)
{
    auto& list = followers();
    std::erase_if(list, [](const Follower& f) { return f.window.isNull(); });
    list.push_back({window, std::move(settheme)});
}

void themefollowers()
{
    auto& list = followers();
    std::erase_if(list, [](const Follower& f) { return f.window.isNull(); });
    const std::vector<Follower> standing = list; // a settheme may register another
    for (const Follower& f : standing)
        if (f.window && f.settheme)
            f.settheme();
}

void themetextwindow(QWidget* window, QWidget* text)
{
    const QPointer<QWidget> box = text;
    auto settheme = [window, box] {
        themewindow(window);
        setpair(box, theme().valueback, theme().valuetext);
    };
    settheme();
    followtheme(window, settheme);
}

} // namespace kelvane
