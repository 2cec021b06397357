// Keys in window tests: how many stops the Tab key makes in a window, from a control round to it.
#pragma once
#include <QTest>
#include <QWidget>

namespace kelvane::test {

inline int tabstops(QWidget* from, int most = 200)
{
    from->window()->activateWindow();
    from->setFocus();
    QWidget* at = from;
    for (int stops = 1; stops <= most; ++stops) {
        QTest::keyClick(at, Qt::Key_Tab);
        at = from->window()->focusWidget();
        if (at == from || at == nullptr)
            return at == from ? stops : -1;
    }
    return -1;
}

} // namespace kelvane::test
