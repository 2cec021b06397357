#include "shell/ui/form15.h"

#include "shell/ui/shellwindows.h"
#include "sim/settings.h"

#include <QApplication>
#include <QCheckBox>
#include <QCloseEvent>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QPushButton>
#include <QRadioButton>
#include <QScreen>
#include <QVBoxLayout>

namespace kelvane {

namespace {

constexpr int optionrows = 12; // the options stand in columns of twelve

} // namespace

Form15::Form15(QWidget* parent) : QWidget(parent, Qt::Window)
{
    setObjectName(QStringLiteral("Form15"));
    setWindowTitle(QStringLiteral("Change Color Theme"));
    setAttribute(Qt::WA_DeleteOnClose);

    auto* outer = new QVBoxLayout(this);
    outer->setContentsMargins(12, 12, 12, 12);
    outer->setSpacing(10);
    auto* grid = new QGridLayout;
    grid->setHorizontalSpacing(6);
    grid->setVerticalSpacing(3);
    for (size_t i = 0; i < themecount; ++i) {
        auto* o = new QRadioButton(QString::fromLatin1(themeoptions[i]), this);
        o->setObjectName(QStringLiteral("opcija%1").arg(i));
        // Each option is a stop of the Tab key; the window keeps the one mark itself.
        o->setAutoExclusive(false);
        o->setFocusPolicy(Qt::StrongFocus);
        const int index = static_cast<int>(i);
        connect(o, &QRadioButton::clicked, this, [this, index] { opcija_Click(index); });
        grid->addWidget(o, index % optionrows, index / optionrows);
        opcija_[i] = o;
    }
    outer->addLayout(grid);

    auto* bottom = new QHBoxLayout;
    Check1_ = new QCheckBox(QStringLiteral("Show Frames"), this);
    Check1_->setObjectName(QStringLiteral("Check1"));
    connect(Check1_, &QCheckBox::clicked, this, [this] { Check1_Click(); });
    Command1_ = new QPushButton(QStringLiteral("Select"), this);
    Command1_->setObjectName(QStringLiteral("Command1"));
    Command1_->setAutoDefault(false);
    connect(Command1_, &QPushButton::clicked, this, [this] { Command1_Click(); });
    Command2_ = new QPushButton(QStringLiteral("Cancel"), this);
    Command2_->setObjectName(QStringLiteral("Command2"));
    Command2_->setAutoDefault(false);
    connect(Command2_, &QPushButton::clicked, this, [this] { Command2_Click(); });
    bottom->addWidget(Check1_);
    bottom->addStretch(1);
    bottom->addWidget(Command1_);
    bottom->addWidget(Command2_);
    outer->addLayout(bottom);
    dialogkeys(this, Command2_);

    // Form_Load.
    const ThemeState& t = theme();
    oldname_ = t.themename;
    oldborder_ = t.themeborder;
    toolrouter().opened(Tool::Form15, this, this); // settheme
    marktheme();
    adjustSize();
    if (const QScreen* screen = QGuiApplication::primaryScreen())
        move(screen->availableGeometry().center() - rect().center());
}

Form15::~Form15()
{
    if (toolrouter().window(Tool::Form15) == this)
        toolrouter().closed(Tool::Form15);
}

void Form15::settheme()
{
    themewindow(this);
    const ThemeState& t = theme();
    setpair(Check1_, t.labelback, t.labeltext);
    marktheme(); // the options' colours are the theme's too
}

void Form15::marktheme()
{
    const ThemeState& t = theme();
    for (QRadioButton* o : opcija_) {
        const bool current = o->text().toStdString() == t.themename;
        if (current)
            setpair(o, t.valueback, t.valuetext);
        else
            setpair(o, t.labelback, t.labeltext);
        o->setChecked(current);
    }
    Check1_->setChecked(t.themeborder != 0);
}

void Form15::opcija_Click(int index)
{
    ThemeState& t = theme();
    t.themename = opcija(index)->text().toStdString();
    regwrite("Color Theme", t.themename);
    loadtheme();
    settheme();
    marktheme();
    applytheme();
}

void Form15::Check1_Click()
{
    ThemeState& t = theme();
    t.themeborder = Check1_->isChecked() ? 1 : 0;
    regwrite("Color Theme Border", t.themeborder);
    loadtheme();
    settheme();
    marktheme();
    applytheme();
}

void Form15::Command1_Click()
{
    finish();
}

void Form15::Command2_Click()
{
    ThemeState& t = theme();
    t.themename = oldname_;
    t.themeborder = oldborder_;
    finish();
}

// Select and Cancel: the window goes away, the theme in themename and themeborder is written and
// shown on every window.
void Form15::finish()
{
    if (finishing_)
        return;
    finishing_ = true;
    hide();
    QCoreApplication::processEvents();
    const ThemeState& t = theme();
    regwrite("Color Theme", t.themename);
    regwrite("Color Theme Border", t.themeborder);
    loadtheme();
    applytheme();
    close();
}

void Form15::closeEvent(QCloseEvent* event)
{
    // The window's close button and Esc are a Cancel.
    if (!finishing_)
        Command2_Click();
    toolrouter().closed(Tool::Form15);
    event->accept();
}

} // namespace kelvane
