// Pictures of every window of the program and of the dialogs it owns, in the colour themes named
// on the command line: kelvane_screenshots FOLDER PROGRAM THEME... writes FOLDER/THEME/NAME@Sx.png
// (S the device pixel ratio: run with QT_SCALE_FACTOR=2 for the scale-2 set). The settings live
// in a temporary folder, never the user's own. scripts/screenshots.sh runs it under Xvfb.
#include "app/windows.h"
#include "core/machine.h"
#include "shell/about.h"
#include "shell/help.h"
#include "shell/messages.h"
#include "shell/theme.h"
#include "sim/form1.h"
#include "sim/machinestate.h"
#include "sim/portdialogs.h"
#include "sim/settings.h"
#include "sim/toolrouter.h"

#include <QApplication>
#include <QDir>
#include <QMessageBox>
#include <QPixmap>
#include <QSettings>
#include <QTemporaryDir>
#include <QTimer>

#include <cstdio>
#include <functional>

namespace {

using namespace kelvane;

QString folder;

void settle()
{
    for (int i = 0; i < 5; ++i)
        QCoreApplication::processEvents();
}

void shoot(QWidget* window, const QString& name)
{
    if (window == nullptr) {
        std::fprintf(stderr, "no window for %s\n", qPrintable(name));
        return;
    }
    settle();
    const QPixmap picture = window->grab();
    const QString path = folder + QLatin1Char('/') + name + QStringLiteral("@") +
                         QString::number(picture.devicePixelRatio()) + QStringLiteral("x.png");
    if (!picture.save(path))
        std::fprintf(stderr, "cannot write %s\n", qPrintable(path));
}

// A dialog that waits for its answer (the form of that name): shot once it is up, then closed, so
// that `open` returns. The picture is named after the form.
void shootmodal(const char* form, const char* name, const std::function<void()>& open)
{
    QTimer::singleShot(300, [name = QString::fromLatin1(form) + name, form = QString::fromLatin1(form)] {
        QWidget* dialog = nullptr;
        for (QWidget* w : QApplication::topLevelWidgets())
            if (w->isVisible() && w->objectName() == form)
                dialog = w;
        shoot(dialog, name);
        if (dialog)
            dialog->close();
    });
    open();
}

struct RouterWindow {
    const char* name;
    Tool tool;
};

constexpr RouterWindow routerwindows[] = {
    {"Form2-memory-editor", Tool::Form2},       {"Form5-peripheral-devices", Tool::Form5},
    {"Form6-assembler", Tool::Form6},           {"Form8-breakpoints-manager", Tool::Form8},
    {"Form9-disassembler", Tool::Form9},        {"Form12-basic-compiler", Tool::Form12},
    {"Form16-log-viewer", Tool::Form16},        {"Form17-interactive-assembler", Tool::Form17},
    {"Form20-io-ports-editor", Tool::Form20},   {"Form21-external-modules", Tool::Form21},
    {"Form15-change-color-theme", Tool::Form15}, {"Form04-editor-setup", Tool::Form04},
    {"Form60-check-for-updates", Tool::Form60},
};

} // namespace

int main(int argc, char** argv)
{
    if (argc < 4) {
        std::fprintf(stderr, "usage: kelvane_screenshots FOLDER PROGRAM THEME...\n");
        return 2;
    }
    QTemporaryDir settings;
    qputenv("XDG_CONFIG_HOME", settings.path().toUtf8());
    qputenv("XDG_DATA_HOME", settings.path().toUtf8());
    QApplication app(argc, argv);
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, settings.path());
    const QString root = QString::fromLocal8Bit(argv[1]);

    auto& st = machinestate();
    st.apppath = apppath();
    initialisestate(st);
    registerwindows();
    // Two devices on, one of them an input, and the terminal on, so both looks of a device show.
    regwrite("Device 1", "ON");
    regwrite("Device 2", "ON");
    regwrite("Device 2 Input", "ON");
    regwrite("Device 5", "ON");

    // Messages a window gives on its way (the Breakpoints Manager's about its listing) are answered.
    QTimer boxes;
    QObject::connect(&boxes, &QTimer::timeout, [] {
        if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget()))
            box->accept();
    });
    boxes.start(50);

    Form1 form;
    form.show();
    if (const std::string error = form.loadprogramfile(QString::fromLocal8Bit(argv[2])); !error.empty())
        std::fprintf(stderr, "%s\n", error.c_str());
    st.termtext = "Output Terminal\r\nHELLO, WORLD\r\n";

    for (int i = 3; i < argc; ++i) {
        const QString themename = QString::fromLocal8Bit(argv[i]);
        folder = root + QLatin1Char('/') + QString(themename).replace(QLatin1Char(' '), QLatin1Char('-'));
        QDir().mkpath(folder);
        regwrite("Color Theme", themename.toStdString());
        loadtheme();
        toolrouter().settheme();
        shoot(&form, QStringLiteral("Form1-main"));
        for (const RouterWindow& w : routerwindows) {
            QWidget* window = toolrouter().show(w.tool);
            shoot(window, QString::fromLatin1(w.name));
            if (window)
                window->close(); // Form15 closes as a Cancel: the theme stays
            settle();
        }
        QWidget* about = showabout(&form);
        shoot(about, QStringLiteral("Form3-about"));
        about->close();
        QWidget* help = showhelp(&form);
        shoot(help, QStringLiteral("Form4-help"));
        help->close();
        showmessage(&form, QStringLiteral("Memory cleared."));
        shoot(MessageWindow::current(), QStringLiteral("Form03-confirmation"));
        if (MessageWindow::current())
            MessageWindow::current()->close();
        shootmodal("Form10", "-in-entry", [&] { inentrydialog(st, 0x20, &form); });
        shootmodal("Form19", "-hex-value-entry", [&] { hexvaluedialog(st, &form); });
        shootmodal("Form18", "-ascii-keyboard", [&] { asciikeyboard(st, &form); });
        std::printf("%s\n", qPrintable(folder));
    }
    form.close();
    return 0;
}
