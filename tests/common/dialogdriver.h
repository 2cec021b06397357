// Helpers for window tests that answer dialogs from a timer: the window in front (the modal one,
// or a shown dialog of the asked type that waits without being modal), and a closer of message
// boxes that keeps their texts and titles.
#pragma once
#include <QApplication>
#include <QMessageBox>
#include <QString>
#include <QTimer>
#include <QWidget>

#include <vector>

namespace kelvane::test {

// The modal window in front; failing that, a shown top-level window of type T.
template <typename T>
QWidget* frontwindow()
{
    if (QWidget* w = QApplication::activeModalWidget())
        return w;
    for (QWidget* top : QApplication::topLevelWidgets())
        if (top->isVisible() && qobject_cast<T*>(top) != nullptr)
            return top;
    return nullptr;
}

// Closes every message box that comes up while it lives and keeps their texts and titles.
class BoxCloser {
public:
    BoxCloser()
    {
        QObject::connect(&timer_, &QTimer::timeout, [this] {
            if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
                texts.push_back(box->text());
                titles.push_back(box->windowTitle());
                box->accept();
            }
        });
        timer_.start(10);
    }
    std::vector<QString> texts, titles;

private:
    QTimer timer_;
};

} // namespace kelvane::test
