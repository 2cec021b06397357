// Answers dialogs from a timer while it lives, for window tests: every message box that comes up
// is closed and its text and title kept; on<T>(fn) hands the next window of type T in front (the
// modal one, or a shown one that waits without being modal, as the IN prompt does) to fn, once.
#pragma once
#include <QApplication>
#include <QMessageBox>
#include <QString>
#include <QTimer>
#include <QWidget>

#include <deque>
#include <functional>
#include <vector>

namespace kelvane::test {

class DialogDriver {
public:
    DialogDriver()
    {
        QObject::connect(&timer_, &QTimer::timeout, [this] { poll(); });
        timer_.start(10);
    }
    template <typename T>
    void on(std::function<void(T*)> fn)
    {
        pending_.push_back([fn](QWidget* w) {
            T* t = qobject_cast<T*>(w);
            if (t == nullptr)
                for (QWidget* top : QApplication::topLevelWidgets())
                    if (top->isVisible() && (t = qobject_cast<T*>(top)) != nullptr)
                        break;
            if (t != nullptr)
                fn(t);
            return t != nullptr;
        });
    }
    std::vector<QString> texts, titles; // of the message boxes
    int answered = 0;                   // windows handed to on<T>() functions

private:
    void poll()
    {
        QWidget* modal = QApplication::activeModalWidget();
        if (auto* box = qobject_cast<QMessageBox*>(modal)) {
            texts.push_back(box->text());
            titles.push_back(box->windowTitle());
            box->accept();
            return;
        }
        if (pending_.empty())
            return;
        auto next = std::move(pending_.front());
        pending_.pop_front();
        if (next(modal))
            ++answered;
        else
            pending_.push_front(std::move(next));
    }
    std::deque<std::function<bool(QWidget*)>> pending_;
    QTimer timer_;
};

// A driver that only closes message boxes.
using BoxCloser = DialogDriver;

} // namespace kelvane::test
