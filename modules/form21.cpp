#include "modules/form21.h"

#include "modules/modulehost.h"
#include "shell/messages.h"
#include "shell/theme.h"
#include "sim/machinestate.h"
#include "sim/settings.h"

#include <QCloseEvent>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>

namespace kelvane {

namespace {

const char* formstyle = R"(
QLabel[role="value"] { background: @valueback; color: @valuetext; border: 1px solid @mix(valueback,valuetext,45);
                       padding: 2px 6px; font-family: "DejaVu Sans Mono"; }
QPushButton { min-width: 56px; }
)";

} // namespace

Form21::Form21(QWidget* parent) : QWidget(parent, Qt::Window)
{
    setObjectName(QStringLiteral("Form21"));
    setWindowTitle(QStringLiteral("External Modules"));
    setAttribute(Qt::WA_DeleteOnClose);
    setStyleSheet(themesheet(QString::fromLatin1(formstyle)));
    auto* grid = new QGridLayout(this);
    grid->setHorizontalSpacing(8);
    grid->setVerticalSpacing(8);
    grid->setContentsMargins(14, 14, 14, 14);
    const int valuewidth = fontMetrics().horizontalAdvance(QString(36, QLatin1Char('M')));
    for (int i = 0; i < 5; ++i) {
        const int n = i + 1;
        auto* caption = new QLabel(QStringLiteral("External Module %1:").arg(n));
        caption->setObjectName(QStringLiteral("Label%1").arg(n));
        obj_[i] = new QLabel;
        obj_[i]->setObjectName(QStringLiteral("obj%1").arg(n));
        obj_[i]->setProperty("role", "value");
        obj_[i]->setMinimumWidth(valuewidth);
        obj_[i]->setTextFormat(Qt::PlainText);
        obj_[i]->setTextInteractionFlags(Qt::TextSelectableByMouse);
        set_[i] = new QPushButton(QStringLiteral("SET"));
        set_[i]->setObjectName(QStringLiteral("set%1").arg(n));
        del_[i] = new QPushButton(QStringLiteral("DEL"));
        del_[i]->setObjectName(QStringLiteral("del%1").arg(n));
        connect(set_[i], &QPushButton::clicked, this, [this, n] { setclick(n); });
        connect(del_[i], &QPushButton::clicked, this, [this, n] { delclick(n); });
        grid->addWidget(caption, i, 0);
        grid->addWidget(obj_[i], i, 1);
        grid->addWidget(set_[i], i, 2);
        grid->addWidget(del_[i], i, 3);
    }
    grid->setColumnStretch(1, 1);
    auto* command1 = new QPushButton(QStringLiteral("Close"));
    command1->setObjectName(QStringLiteral("Command1"));
    connect(command1, &QPushButton::clicked, this, &Form21::Command1_Click);
    auto* row = new QHBoxLayout;
    row->setContentsMargins(0, 6, 0, 0);
    row->addStretch(1);
    row->addWidget(command1);
    grid->addLayout(row, 5, 0, 1, 4);
    adjustSize();
    setMinimumSize(size());
    placewindow(this, 21);
    toolrouter().opened(Tool::Form21, this, this);
    showmodules();
}

Form21::~Form21()
{
    if (toolrouter().window(Tool::Form21) == this)
        toolrouter().closed(Tool::Form21);
}

void Form21::settheme()
{
    // The sheet first: the open colours then reach the widgets under it.
    setStyleSheet(themesheet(QString::fromLatin1(formstyle)));
    themewindow(this);
    const ThemeState& t = theme();
    for (int n = 1; n <= 5; ++n)
        setpair(findChild<QLabel*>(QStringLiteral("Label%1").arg(n)), t.labelback, t.labeltext);
}

void Form21::showmodules()
{
    const auto& st = machinestate();
    for (size_t i = 0; i < 5; ++i) {
        const bool used = st.moduletext[i] != "OFF";
        set_[i]->setEnabled(!used);
        del_[i]->setEnabled(used);
        obj_[i]->setText(used ? QString::fromStdString(st.moduletext[i]) : QString());
    }
}

void Form21::setclick(int n)
{
    bool ok = false;
    const QString prompt =
        QStringLiteral("Please enter external module reference in the form:\r\nApplicationName.ObjectName");
    const QString answer = inputbox(this, displaytext(prompt), QString(), &ok);
    if (answer.isEmpty())
        return;
    if (!answer.contains(QLatin1Char('.'))) {
        confirm(this, QStringLiteral("Dot character '.' is required."));
        return;
    }
    machinestate().moduletext[static_cast<size_t>(n - 1)] = answer.toStdString();
    showmodules();
}

void Form21::delclick(int n)
{
    machinestate().moduletext[static_cast<size_t>(n - 1)] = "OFF";
    showmodules();
}

void Form21::Command1_Click()
{
    const auto& st = machinestate();
    for (size_t i = 0; i < 5; ++i)
        regwrite("External Module " + std::to_string(i + 1), st.moduletext[i]);
    kreirajobjekte(this);
    close();
}

void Form21::closeEvent(QCloseEvent* event)
{
    if (isMinimized() || isMaximized())
        showNormal();
    savewindowposition(this, 21);
    toolrouter().closed(Tool::Form21);
    event->accept();
}

} // namespace kelvane
