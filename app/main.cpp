// The process entry of the desktop program: the command line (help, version, files to open), one
// instance per user with a second start handing its files to the running one over the session
// bus, the program's data folder, the machine state, the title and version, and the main window.
#include "app/appbus.h"
#include "app/handedfiles.h"
#include "app/windows.h"
#include "core/machine.h"
#include "sim/form1.h"
#include "sim/instancelock.h"
#include "sim/machinestate.h"
#include "sim/settings.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QIcon>

#include <optional>

namespace {

// The desktop entry and the icon the package installs.
constexpr const char* desktopname = "org.example.kelvane";
constexpr const char* iconname = "kelvane";

void describe(QCommandLineParser& parser)
{
    parser.setApplicationDescription(QStringLiteral(
        "Kelvane, a development and teaching environment for the Intel 8085.\n"
        "\n"
        "Each FILE opens as its ending says: a program image (.hex, .obj) loads into memory as\n"
        "Load Program does, an assembler source (.asm) opens in the Assembler, a BASIC source\n"
        "(.bas) in the BASIC Compiler, a simulation log (.log) in the log viewer, and a listing\n"
        "(.lst) loads the program beside it and shows it in the Breakpoints Manager. Any other\n"
        "file loads as a binary image. While Kelvane runs, a second start hands its files to the\n"
        "running window, or brings that window to the front."));
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addPositionalArgument(QStringLiteral("FILE"), QStringLiteral("A file to open."),
                                 QStringLiteral("[FILE...]"));
}

// Help and version are read before the window system starts, so that they answer without a
// display. They end the process.
void answerinformation(int argc, char** argv)
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    QCommandLineParser parser;
    describe(parser);
    parser.parse(arguments); // Qt's own options (-platform ...) are not known here
    const bool help = parser.isSet(QStringLiteral("help"));
    const bool all = parser.isSet(QStringLiteral("help-all"));
    const bool version = parser.isSet(QStringLiteral("version"));
    if (!help && !all && !version)
        return;
    QCoreApplication core(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("kelvane"));
    QCoreApplication::setApplicationVersion(QString::fromLatin1(kelvane::versiontext));
    if (version)
        parser.showVersion();
    if (help)
        parser.showHelp(0);
    parser.process(core); // --help-all, with Qt's options
}

} // namespace

int main(int argc, char** argv)
{
    answerinformation(argc, argv);
    QApplication app(argc, argv);
    QApplication::setApplicationName(kelvane::settingsname);
    QApplication::setApplicationVersion(kelvane::versiontext);
    QApplication::setDesktopFileName(QString::fromLatin1(desktopname));
    QApplication::setWindowIcon(QIcon::fromTheme(QString::fromLatin1(iconname)));
    QCommandLineParser parser;
    describe(parser);
    parser.process(app);
    QStringList files;
    for (const QString& argument : parser.positionalArguments())
        files << kelvane::handedpath(argument, QDir::currentPath());

    // One Kelvane per user: a second start hands its files to the running one and ends.
    if (!kelvane::acquireinstancelock()) {
        if (const std::optional<int> status = kelvane::handtorunning(files))
            return *status;
    }

    auto& st = kelvane::machinestate();
    st.apppath = kelvane::apppath();
    kelvane::initialisestate(st);
    kelvane::registerwindows();

    kelvane::Form1 form;
    form.show();
    kelvane::AppBus bus;
    bus.publish();
    for (const QString& file : files)
        kelvane::handedfiles().open(file);
    return QApplication::exec();
}
