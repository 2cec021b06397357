#include "app/handedfiles.h"

#include "core/machine.h"
#include "shell/messages.h"
#include "sim/machinestate.h"
#include "sim/programfiles_ui.h"

#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QPointer>
#include <QUrl>

#include <array>

namespace kelvane {

namespace {

constexpr int objfilterindex = 1;
constexpr int allfilesfilterindex = 3;

const std::array<HandedKind, 7> handedkinds = {{
    {".hex", HandedAs::program, hexfilterindex, Tool{}},
    {".obj", HandedAs::program, objfilterindex, Tool{}},
    {".asm", HandedAs::window, 0, Tool::Form6},
    {".bas", HandedAs::window, 0, Tool::Form12},
    {".log", HandedAs::window, 0, Tool::Form16},
    {".lst", HandedAs::listing, 0, Tool::Form8},
    {"", HandedAs::program, allfilesfilterindex, Tool{}},
}};

// The programs a listing may have been made with, in the order they are looked for.
constexpr std::array<const char*, 2> listingprograms = {".obj", ".hex"};

QWidget* mainwindow()
{
    const MainCommands& m = toolrouter().maincommands;
    return m.window ? m.window() : nullptr;
}

bool loadprogram(const QString& path, int filterindex)
{
    MachineState& st = machinestate();
    raisemainwindow();
    QWidget* form = mainwindow();
    if (st.running) {
        confirm(form, QStringLiteral("Stop the simulation before loading %1.").arg(QFileInfo(path).fileName()));
        return false;
    }
    const MainCommands& m = toolrouter().maincommands;
    const FileMenuHooks hooks = m.filemenuhooks ? m.filemenuhooks() : FileMenuHooks{};
    return loadchosenfile(st, form, hooks, path, filterindex);
}

bool openinwindow(const QString& path, Tool tool)
{
    QPointer<QWidget> window = toolrouter().show(tool);
    if (window.isNull())
        return false;
    ToolWindow* calls = toolrouter().tool(tool);
    if (calls == nullptr)
        calls = dynamic_cast<ToolWindow*>(window.data());
    return calls != nullptr && calls->openfile(path);
}

bool openlisting(const QString& path, Tool tool)
{
    const QString stem = path.left(path.size() - 4);
    for (const char* ending : listingprograms) {
        const QString program = stem + QLatin1String(ending);
        if (!QFileInfo(program).isFile())
            continue;
        if (!loadprogram(program, handedkind(program).filterindex))
            return false;
        toolrouter().show(tool);
        return true;
    }
    raisemainwindow();
    const QString stemname = QFileInfo(stem).fileName();
    confirm(mainwindow(), QStringLiteral("The listing %1 has no program %2.obj or %2.hex beside it.")
                              .arg(QFileInfo(path).fileName(), stemname));
    return false;
}

} // namespace

const HandedKind& handedkind(const QString& path)
{
    const QString name = QFileInfo(path).fileName().toLower();
    for (const HandedKind& k : handedkinds)
        if (k.ending[0] == '\0' || name.endsWith(QLatin1String(k.ending)))
            return k;
    return handedkinds.back();
}

QString handedpath(const QString& argument, const QString& folder)
{
    const QUrl url(argument);
    const QString path = url.isLocalFile() ? url.toLocalFile() : argument;
    return QDir::cleanPath(QDir(folder).absoluteFilePath(path));
}

bool openhandedfile(const QString& path)
{
    const HandedKind& kind = handedkind(path);
    switch (kind.as) {
    case HandedAs::program:
        return loadprogram(path, kind.filterindex);
    case HandedAs::window:
        return openinwindow(path, kind.tool);
    case HandedAs::listing:
        return openlisting(path, kind.tool);
    }
    return false;
}

void raisemainwindow()
{
    QWidget* form = mainwindow();
    if (form == nullptr)
        return;
    form->show();
    form->setWindowState(form->windowState() & ~Qt::WindowMinimized);
    form->raise();
    form->activateWindow();
}

HandedFiles::HandedFiles()
{
    timer_.setSingleShot(true);
    connect(&timer_, &QTimer::timeout, this, &HandedFiles::next);
}

void HandedFiles::open(const QString& path)
{
    queue_.push_back(path);
    if (!opening_)
        timer_.start(0);
}

void HandedFiles::raise()
{
    raisemainwindow();
}

void HandedFiles::next()
{
    if (opening_ || queue_.empty())
        return;
    if (QApplication::activeModalWidget() != nullptr) {
        timer_.start(200); // the file waits for the dialog
        return;
    }
    const QString path = queue_.front();
    queue_.pop_front();
    opening_ = true;
    openhandedfile(path);
    opening_ = false;
    if (!queue_.empty())
        timer_.start(0);
}

HandedFiles& handedfiles()
{
    static HandedFiles* files = new HandedFiles(); // lives as long as the process
    return *files;
}

} // namespace kelvane
