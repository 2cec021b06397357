#include "shell/ui/form04.h"

#include "shell/editorsetup.h"
#include "shell/messages.h"
#include "shell/theme.h"
#include "shell/ui/shellwindows.h"

#include <QCloseEvent>
#include <QColorDialog>
#include <QFontDialog>
#include <QGridLayout>
#include <QGroupBox>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QScreen>
#include <QVBoxLayout>

#include <array>
#include <cmath>

namespace kelvane {

namespace {

using Kind = Form04::Kind;

// The rows of an editor's frame: the control's name behind its prefix letter, the caption, how
// it changes, the variable, and the range of a number. The assembler's editor has only the rows
// marked for it.
struct Row {
    const char* name;
    const char* caption;
    Kind kind;
    int32_t EditorSettings::*member;
    int low, high;
    bool assembler;
};

constexpr std::array<Row, 20> rows = {{
    {"fontname", "Font Name", Kind::fontname, nullptr, 0, 0, true},
    {"fontsize", "Font Size", Kind::fontsize, &EditorSettings::fontsize, 0, 0, true},
    {"colen", "Coloring Enabled", Kind::toggle, &EditorSettings::coloringenabled, 0, 0, true},
    {"backcol", "Background Color", Kind::colour, &EditorSettings::backgroundcolor, 0, 0, true},
    {"textcol", "Text Color", Kind::colour, &EditorSettings::textcolor, 0, 0, true},
    {"keycol", "Keyword Color", Kind::colour, &EditorSettings::keywordcolor, 0, 0, true},
    {"strcol", "String Color", Kind::colour, &EditorSettings::stringcolor, 0, 0, false},
    {"commcol", "Comment Color", Kind::colour, &EditorSettings::commentcolor, 0, 0, true},
    {"asmcol", "ASM Color", Kind::colour, &EditorSettings::asmcolor, 0, 0, false},
    {"errcol", "Error Color", Kind::colour, &EditorSettings::errorcolor, 0, 0, true},
    {"lnbackcol", "Line Numbers Background Color", Kind::colour, &EditorSettings::linenumbersbackcolor, 0, 0, true},
    {"lntextcol", "Line Numbers Text Color", Kind::colour, &EditorSettings::linenumberstextcolor, 0, 0, true},
    {"lnen", "Line Numbers Enabled", Kind::toggle, &EditorSettings::linenumbersenabled, 0, 0, true},
    {"autoformen", "Auto Format Text Enabled", Kind::toggle, &EditorSettings::autoformatenabled, 0, 0, false},
    {"autocaseen", "Auto Case Control Enabled", Kind::toggle, &EditorSettings::autocaseenabled, 0, 0, false},
    {"commspace", "Comment Space", Kind::number, &EditorSettings::commentspace, 1, 20, false},
    {"tabsize", "Tab Size", Kind::number, &EditorSettings::tabsize, 2, 8, true},
    {"procsep", "Procedure Separator Width", Kind::number, &EditorSettings::procseparatorwidth, 1, 100, false},
    {"wheelstep", "Scroll Wheel Step", Kind::number, &EditorSettings::wheelstep, 1, 30, true},
    {"undolev", "Undo Levels Number", Kind::number, &EditorSettings::undolevels, 0, 50, true},
}};

} // namespace

// ---------------------------------------------------------------------------------------------

SettingValue::SettingValue(QWidget* parent) : QAbstractButton(parent)
{
    setFocusPolicy(Qt::StrongFocus);
    setCursor(Qt::PointingHandCursor);
}

void SettingValue::showtext(const QString& text)
{
    swatch_ = false;
    setText(text);
    update();
}

void SettingValue::showcolour(const QColor& colour)
{
    swatch_ = true;
    colour_ = colour;
    setText(QString());
    update();
}

QSize SettingValue::sizeHint() const
{
    const QFontMetrics fm(font());
    return {fm.horizontalAdvance(QStringLiteral("Courier New, 88 ")) + 12, fm.height() + 6};
}

void SettingValue::paintEvent(QPaintEvent* event)
{
    (void)event;
    QPainter p(this);
    const QPalette& pal = palette();
    const QRect r = rect();
    const QColor fill = swatch_ ? colour_ : pal.color(QPalette::Base);
    p.fillRect(r, fill);
    p.setPen(mixcolor(pal.color(QPalette::Text), pal.color(QPalette::Base), 0.4));
    p.drawRect(r.adjusted(0, 0, -1, -1));
    if (!swatch_) {
        p.setPen(pal.color(QPalette::Text));
        p.drawText(r.adjusted(6, 0, -4, 0), Qt::AlignLeft | Qt::AlignVCenter, text());
    }
    if (hasFocus()) {
        // Two lines in the selection colour and the window's text colour, seen on any fill.
        p.setPen(QPen(pal.color(QPalette::Highlight), 2));
        p.drawRect(r.adjusted(1, 1, -2, -2));
        p.setPen(pal.color(QPalette::WindowText));
        p.drawRect(r.adjusted(3, 3, -4, -4));
    }
}

// ---------------------------------------------------------------------------------------------

Form04::Form04(QWidget* parent) : QWidget(parent, Qt::Window)
{
    setObjectName(QStringLiteral("Form04"));
    setWindowTitle(QStringLiteral("Editor Setup"));
    setAttribute(Qt::WA_DeleteOnClose);

    auto* outer = new QVBoxLayout(this);
    outer->setContentsMargins(12, 12, 12, 12);
    outer->setSpacing(10);
    auto* editors = new QHBoxLayout;
    editors->setSpacing(12);
    editors->addWidget(buildeditor(QStringLiteral("BASIC Compiler Editor"), "c", false, compilereditor()), 0,
                       Qt::AlignTop);
    editors->addWidget(buildeditor(QStringLiteral("Assembler Editor"), "a", true, assemblereditor()), 0,
                       Qt::AlignTop);
    outer->addLayout(editors);

    auto* bottom = new QHBoxLayout;
    Command1_ = new QPushButton(QStringLiteral("Save"), this);
    Command1_->setObjectName(QStringLiteral("Command1"));
    Command2_ = new QPushButton(QStringLiteral("Cancel"), this);
    Command2_->setObjectName(QStringLiteral("Command2"));
    Command3_ = new QPushButton(QStringLiteral("Defaults"), this);
    Command3_->setObjectName(QStringLiteral("Command3"));
    connect(Command1_, &QPushButton::clicked, this, [this] { Command1_Click(); });
    connect(Command2_, &QPushButton::clicked, this, [this] { Command2_Click(); });
    connect(Command3_, &QPushButton::clicked, this, [this] { Command3_Click(); });
    bottom->addWidget(Command3_);
    bottom->addStretch(1);
    bottom->addWidget(Command1_);
    bottom->addWidget(Command2_);
    outer->addLayout(bottom);
    for (QPushButton* b : findChildren<QPushButton*>())
        b->setAutoDefault(false);
    dialogkeys(this, Command2_);

    // Form_Load.
    loadeditorsettings();
    showeditorsettings();
    toolrouter().opened(Tool::Form04, this, this); // settheme
    adjustSize();
    if (const QScreen* screen = QGuiApplication::primaryScreen())
        move(screen->availableGeometry().center() - rect().center());
}

Form04::~Form04()
{
    if (toolrouter().window(Tool::Form04) == this)
        toolrouter().closed(Tool::Form04);
}

QGroupBox* Form04::buildeditor(const QString& caption, const char* prefix, bool assembler, EditorSettings& settings)
{
    auto* frame = new QGroupBox(caption, this);
    frame->setObjectName(QStringLiteral("%1editor").arg(QLatin1String(prefix)));
    auto* grid = new QGridLayout(frame);
    grid->setHorizontalSpacing(10);
    grid->setVerticalSpacing(3);
    int line = 0;
    for (size_t i = 0; i < rows.size(); ++i) {
        const Row& row = rows[i];
        if (assembler && !row.assembler)
            continue;
        const QString name = QLatin1String(prefix) + QLatin1String(row.name);
        auto* label = new QLabel(QString::fromLatin1(row.caption), frame);
        auto* value = new SettingValue(frame);
        value->setObjectName(name);
        value->setAccessibleName(QString::fromLatin1(row.caption));
        label->setBuddy(value);
        connect(value, &SettingValue::clicked, this, [this, name] { valueclick(name); });
        grid->addWidget(label, line, 0);
        grid->addWidget(value, line, 1);
        controls_.push_back({value, &settings, i});
        ++line;
    }
    auto* theme = new QPushButton(QStringLiteral("Select Predefined Color Theme"), frame);
    theme->setObjectName(assembler ? QStringLiteral("selectthemeA") : QStringLiteral("selectthemeC"));
    connect(theme, &QPushButton::clicked, this, [this, assembler] { themeclick(assembler); });
    grid->addWidget(theme, line, 0, 1, 2);
    grid->setRowStretch(line + 1, 1);
    (assembler ? selectthemeA_ : selectthemeC_) = theme;
    frames_.push_back(frame);
    return frame;
}

void Form04::settheme()
{
    themewindow(this);
    // The frames in the theme's frame colour with a readable text.
    const ThemeState& t = theme();
    const QColor back = themecolor(t.frameback);
    const QColor text = readabletext(back, themecolor(t.frametext));
    for (QGroupBox* f : frames_)
        setpair(f, t.frameback, text.rgb() & 0xFFFFFFu);
}

void Form04::showeditorsettings()
{
    for (const Control& c : controls_) {
        const Row& row = rows[c.row];
        const EditorSettings& s = *c.settings;
        switch (row.kind) {
        case Kind::fontname: c.value->showtext(QString::fromStdString(s.fontname)); break;
        case Kind::colour: c.value->showcolour(colorfromvalue(s.*row.member)); break;
        case Kind::toggle: c.value->showtext(booltext(s.*row.member)); break;
        case Kind::fontsize:
        case Kind::number: c.value->showtext(QString::number(s.*row.member)); break;
        }
    }
}

SettingValue* Form04::value(const QString& control) const
{
    for (const Control& c : controls_)
        if (c.value->objectName() == control)
            return c.value;
    return nullptr;
}

QPushButton* Form04::command(int n) const
{
    return n == 1 ? Command1_ : n == 2 ? Command2_ : Command3_;
}

void Form04::valueclick(const QString& control)
{
    for (const Control& c : controls_) {
        if (c.value->objectName() != control)
            continue;
        const Row& row = rows[c.row];
        EditorSettings& s = *c.settings;
        switch (row.kind) {
        case Kind::fontname:
        case Kind::fontsize: fontclick(s); break;
        case Kind::toggle: s.*row.member = s.*row.member != 0 ? 0 : -1; break;
        case Kind::colour: colourclick(s.*row.member); break;
        case Kind::number: numberclick(s.*row.member, row.low, row.high); break;
        }
        showeditorsettings();
        return;
    }
}

void Form04::fontclick(EditorSettings& s)
{
    bool ok = false;
    const QFont start(QString::fromStdString(s.fontname), s.fontsize > 0 ? s.fontsize : 10);
    const QFont chosen = QFontDialog::getFont(&ok, start, this, QStringLiteral("Font"));
    if (!ok)
        return;
    const QString name = chosen.family().trimmed();
    if (name.isEmpty())
        return;
    s.fontname = name.toStdString();
    const double points = chosen.pointSizeF() > 0 ? chosen.pointSizeF() : chosen.pointSize();
    s.fontsize = static_cast<int32_t>(std::lround(points));
}

void Form04::colourclick(int32_t& value)
{
    const QColor chosen = QColorDialog::getColor(colorfromvalue(value), this, QStringLiteral("Color"));
    if (chosen.isValid())
        value = rgbvalue(chosen.red(), chosen.green(), chosen.blue());
}

void Form04::numberclick(int32_t& value, int low, int high)
{
    bool ok = false;
    const QString prompt = QStringLiteral("Enter new value [%1-%2]:").arg(low).arg(high);
    const QString answer = inputbox(this, prompt, QString(), &ok);
    if (const auto n = rangedanswer(ok, answer, low, high))
        value = *n;
}

void Form04::themeclick(bool assembler)
{
    bool ok = false;
    const QString answer = inputbox(this, displaytext(editorthemeprompt()), QString(), &ok);
    const auto n = rangedanswer(ok, answer, 1, editorthemecount);
    if (!n)
        return;
    if (assembler)
        assemblertheme(*n);
    else
        compilertheme(*n);
    showeditorsettings();
}

void Form04::selectthemeC_Click()
{
    themeclick(false);
}

void Form04::selectthemeA_Click()
{
    themeclick(true);
}

void Form04::Command1_Click()
{
    saveeditorsettings();
    close();
}

void Form04::Command2_Click()
{
    close();
}

void Form04::Command3_Click()
{
    defaulteditorsettings();
    showeditorsettings();
}

void Form04::closeEvent(QCloseEvent* event)
{
    toolrouter().closed(Tool::Form04);
    event->accept();
}

} // namespace kelvane
