// The process entry of the desktop program: one instance per user, the program's data folder,
// the machine state, the title and version, and the main window. A program file named on the
// command line is placed in memory as a load would place it.
#include "app/windows.h"
#include "core/machine.h"
#include "sim/form1.h"
#include "sim/instancelock.h"
#include "sim/machinestate.h"
#include "sim/settings.h"

#include <QApplication>

int main(int argc, char** argv)
{
    // A second start while one runs ends at once, with no message.
    if (!kelvane::acquireinstancelock())
        return 0;
    QApplication app(argc, argv);
    QApplication::setApplicationName(kelvane::settingsname);
    QApplication::setApplicationVersion(kelvane::versiontext);

    auto& st = kelvane::machinestate();
    st.apppath = kelvane::apppath();
    kelvane::initialisestate(st);
    kelvane::registerwindows();

    kelvane::Form1 form;
    form.show();
    const QStringList args = QApplication::arguments();
    if (args.size() > 1)
        form.loadprogramfile(args.at(1));
    return QApplication::exec();
}
