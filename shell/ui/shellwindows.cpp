#include "shell/ui/shellwindows.h"

#include "shell/ui/form04.h"
#include "shell/ui/form15.h"
#include "sim/toolrouter.h"

#include <QAbstractButton>
#include <QKeyEvent>

namespace kelvane {

namespace {

class DialogKeys : public QObject {
public:
    DialogKeys(QWidget* window, QAbstractButton* cancel) : QObject(window), cancel_(cancel) {}

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() != QEvent::KeyPress)
            return QObject::eventFilter(watched, event);
        const int key = static_cast<QKeyEvent*>(event)->key();
        auto* button = qobject_cast<QAbstractButton*>(watched);
        if (button && (key == Qt::Key_Return || key == Qt::Key_Enter) && button->isEnabled()) {
            button->click();
            return true;
        }
        if (key == Qt::Key_Escape && cancel_) {
            cancel_->click();
            return true;
        }
        return QObject::eventFilter(watched, event);
    }

private:
    QAbstractButton* cancel_;
};

} // namespace

void registershellwindows(ToolRouter& router)
{
    router.setfactory(Tool::Form15, [] { return new Form15; });
    router.setfactory(Tool::Form04, [] { return new Form04; });
}

void applytheme()
{
    toolrouter().settheme();
}

void dialogkeys(QWidget* window, QAbstractButton* cancel)
{
    auto* filter = new DialogKeys(window, cancel);
    window->installEventFilter(filter);
    for (QAbstractButton* b : window->findChildren<QAbstractButton*>())
        b->installEventFilter(filter);
}

} // namespace kelvane
