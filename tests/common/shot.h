// Screenshots from window tests: saveshot(window, "form2-editing") writes the window as drawn to
// $KELVANE_SHOTS/form2-editing@<scale>x.png when KELVANE_SHOTS is set, and does nothing otherwise.
// Run a test program with QT_SCALE_FACTOR=2 for the scale-2 pictures.
#pragma once
#include <QDir>
#include <QGuiApplication>
#include <QPixmap>
#include <QString>
#include <QWidget>

namespace kelvane::test {

inline void saveshot(QWidget* window, const QString& name)
{
    const QString folder = qEnvironmentVariable("KELVANE_SHOTS");
    if (folder.isEmpty() || !window)
        return;
    QDir().mkpath(folder);
    QCoreApplication::processEvents();
    const QPixmap picture = window->grab();
    const QString scale = QString::number(picture.devicePixelRatio());
    picture.save(folder + "/" + name + "@" + scale + "x.png");
}

} // namespace kelvane::test
