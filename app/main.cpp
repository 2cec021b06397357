// The process entry of the desktop program: the program's data folder, the machine state,
// and the main window. A program file named on the command line is placed in memory.
#include "core/machine.h"
#include "sim/form1.h"
#include "sim/machinestate.h"

#include <QApplication>
#include <QDir>
#include <QStandardPaths>

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    QApplication::setApplicationName("Kelvane");
    QApplication::setApplicationVersion("2.55");

    auto& st = kelvane::machinestate();
    kelvane::initialisestate(st);
    // apppath: the per-user data folder of the program, created when missing, with a separator.
    const QString data = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
    QDir().mkpath(data);
    st.apppath = QDir::toNativeSeparators(data + "/").toStdString();
    st.lastpath = st.apppath;

    kelvane::Form1 form;
    form.show();
    const QStringList args = QApplication::arguments();
    if (args.size() > 1)
        form.loadprogramfile(args.at(1));
    return QApplication::exec();
}
