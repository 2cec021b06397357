// The main of every window test program: a real QApplication (offscreen unless told otherwise)
// with settings, data and runtime folders in a temporary folder, never the user's own.
#include <QApplication>
#include <QSettings>
#include <QTemporaryDir>

#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    if (qgetenv("QT_QPA_PLATFORM").isEmpty())
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QTemporaryDir folder;
    qputenv("XDG_CONFIG_HOME", folder.path().toUtf8());
    qputenv("XDG_DATA_HOME", folder.path().toUtf8());
    qputenv("XDG_RUNTIME_DIR", folder.path().toUtf8());
    // No window test reaches outside the machine: the update check asks a loopback port where
    // nothing listens, unless a test names its own server.
    qputenv("KELVANE_UPDATE_HOST", "127.0.0.1:9");
    QApplication app(argc, argv);
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, folder.path());
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, folder.path());
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
