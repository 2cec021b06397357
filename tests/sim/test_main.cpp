// The test program of the windows: a real QApplication (offscreen) and settings kept in a
// temporary folder, never the user's own.
#include <QApplication>
#include <QSettings>
#include <QTemporaryDir>

#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", qgetenv("QT_QPA_PLATFORM").isEmpty() ? "offscreen" : qgetenv("QT_QPA_PLATFORM"));
    QTemporaryDir settingsdir;
    qputenv("XDG_CONFIG_HOME", settingsdir.path().toUtf8());
    qputenv("XDG_DATA_HOME", settingsdir.path().toUtf8());
    QApplication app(argc, argv);
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, settingsdir.path());
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, settingsdir.path());
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
