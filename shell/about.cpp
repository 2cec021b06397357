#include "shell/about.h"

#include "shell/messages.h"
#include "shell/theme.h"
#include "sim/settings.h"

#include <QEvent>
#include <QPlainTextEdit>
#include <QPointer>
#include <QVBoxLayout>

namespace kelvane {

QString abouttext()
{
    QString t = titletext().trimmed() + QStringLiteral(" v") + QString::fromLatin1(versiontext) + QStringLiteral("\n\n");
    t += QStringLiteral(
        "This program is provided \"as is\", without warranty of any kind,\n"
        "express or implied, including but not limited to the warranties of\n"
        "merchantability, fitness for a particular purpose and noninfringement.\n"
        "In no event shall the authors be liable for any claim, damages or\n"
        "other liability arising from, out of or in connection with the program\n"
        "or the use or other dealings in the program.\n\n");
    t += QStringLiteral("Web site: ") + QString::fromLatin1(websitename);
    return t;
}

AboutWindow::AboutWindow(QWidget* parent)
    : QWidget(parent, Qt::Dialog | Qt::WindowCloseButtonHint)
{
    setObjectName(QStringLiteral("Form3"));
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(QStringLiteral("About ") + titletext());
    text1_ = new QPlainTextEdit(this);
    text1_->setObjectName(QStringLiteral("Text1"));
    text1_->setReadOnly(true);
    text1_->setLineWrapMode(QPlainTextEdit::NoWrap);
    text1_->setPlainText(abouttext());
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(8, 8, 8, 8);
    layout->addWidget(text1_);
    const QFontMetrics fm(text1_->font());
    int width = 0;
    const QStringList lines = abouttext().split(QLatin1Char('\n'));
    for (const QString& line : lines)
        width = std::max(width, fm.horizontalAdvance(line));
    resize(width + 60, fm.lineSpacing() * (static_cast<int>(lines.size()) + 2) + 30);
    themetextwindow(this, text1_);
}

void AboutWindow::changeEvent(QEvent* event)
{
    QWidget::changeEvent(event);
    if (event->type() != QEvent::ActivationChange)
        return;
    if (isActiveWindow())
        wasactive_ = true;
    else if (wasactive_)
        close();
}

AboutWindow* showabout(QWidget* parent)
{
    static QPointer<AboutWindow> current;
    if (!current)
        current = new AboutWindow(parent);
    current->show();
    current->raise();
    current->activateWindow();
    return current;
}

} // namespace kelvane
