#include "sim/programfiles_ui.h"

#include "core/execute.h"
#include "progfiles/programload.h"
#include "shell/messages.h"
#include "sim/machinestate.h"
#include "sim/settings.h"

#include <QCoreApplication>
#include <QFileDialog>
#include <QFileInfo>

#include <algorithm>
#include <memory>

namespace kelvane {

QStringList programfilters()
{
    return {QStringLiteral("Binary OBJ files (*.obj)"), QStringLiteral("Intel HEX files (*.hex)"),
            QStringLiteral("All files (*.*)")};
}

namespace {

// The filter each dialog had when it last closed; the next use starts with it.
int loadfilterindex = 1;
int savefilterindex = 1;

QString qtfiledialog(QWidget* parent, bool save, const QString& folder, int& filterindex)
{
    QFileDialog dialog(parent, QString::fromLatin1(save ? savedialogtitle : loaddialogtitle), folder);
    const QStringList filters = programfilters();
    dialog.setNameFilters(filters);
    int& remembered = save ? savefilterindex : loadfilterindex;
    dialog.selectNameFilter(filters.value(std::clamp(remembered, 1, 3) - 1));
    if (save) {
        dialog.setAcceptMode(QFileDialog::AcceptSave);
        dialog.setFileMode(QFileDialog::AnyFile);
        dialog.setOption(QFileDialog::DontConfirmOverwrite); // the program asks by itself
    } else {
        dialog.setAcceptMode(QFileDialog::AcceptOpen);
        dialog.setFileMode(QFileDialog::ExistingFile);
    }
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return {};
    filterindex = static_cast<int>(filters.indexOf(dialog.selectedNameFilter())) + 1;
    if (filterindex < 1)
        filterindex = 1;
    remembered = filterindex;
    return dialog.selectedFiles().constFirst();
}

void setqstaza(const FileMenuHooks& h, const QString& text)
{
    if (h.setqstaza)
        h.setqstaza(text);
}

void runclean(MachineState& st, const FileMenuHooks& h)
{
    if (h.clean)
        h.clean();
    else
        clean(st, machinehooks());
}

void enablemenus(const FileMenuHooks& h, bool on)
{
    if (h.enablemenus)
        h.enablemenus(on);
}

void pump(const FileMenuHooks& h)
{
    if (h.pumpevents)
        h.pumpevents();
    else
        QCoreApplication::processEvents();
}

// The tools that follow memory, and the breakpoints, after memory changed under them.
void followmemory(MachineState& st, const FileMenuHooks& h)
{
    if (st.optrefreshmemory == "ON" && st.Form2 && h.memorijaprint)
        h.memorijaprint();
    if (st.Form8 && h.unloadbreakpoints)
        h.unloadbreakpoints();
    st.breakpointaddress.clear();
}

void copyintomemory(MachineState& st, const HexBuffer& buf)
{
    std::copy(buf.begin(), buf.end(), st.mem.begin());
}

// What every successful load does last.
void loadended(MachineState& st, QWidget* parent, const FileMenuHooks& h, int32_t size)
{
    runclean(st, h);
    followmemory(st, h);
    confirm(parent, loadedmessage(size));
    st.programsize = size;
}

} // namespace

QString takelastpath(MachineState& st, const QString& path)
{
    const qsizetype cut = path.lastIndexOf(QLatin1Char('/'));
    st.lastpath = path.left(cut + 1).toStdString();
    regwrite("Last Path", st.lastpath);
    return path.mid(cut + 1);
}

void menuclear_Click(MachineState& st, QWidget* parent, const FileMenuHooks& hooks)
{
    (void)parent;
    std::fill(st.mem.begin(), st.mem.begin() + 65536, 0);
    st.programsize = 0;
    setqstaza(hooks, QString());
    runclean(st, hooks);
    followmemory(st, hooks);
}

bool loadchosenfile(MachineState& st, QWidget* parent, const FileMenuHooks& hooks, const QString& path, int filterindex)
{
    if (path.isEmpty())
        return false;
    takelastpath(st, path);
    const std::string file = path.toStdString();
    auto buf = std::make_unique<HexBuffer>();

    if (filterindex == hexfilterindex) {
        enablemenus(hooks, false);
        pump(hooks);
        const HexReadResult r = readhexfile(file, *buf);
        bool loaded = false;
        if (r.size > 0) {
            setqstaza(hooks, path);
            pump(hooks);
            copyintomemory(st, *buf);
            loadended(st, parent, hooks, r.size);
            loaded = true;
        } else {
            // The reader's refusals and a file that cannot be opened: always a box.
            messagebox(parent, r.message);
        }
        enablemenus(hooks, true);
        return loaded;
    }

    // A binary image, read whole into the staging buffer before memory is touched.
    const ProgramLoadResult r = readobjfile(file, *buf);
    if (r.status == LoadStatus::refused) {
        confirm(parent, r.message);
        return false;
    }
    if (r.status != LoadStatus::ok) {
        messagebox(parent, r.message);
        return false;
    }
    setqstaza(hooks, path);
    enablemenus(hooks, false);
    pump(hooks);
    copyintomemory(st, *buf);
    loadended(st, parent, hooks, r.size);
    enablemenus(hooks, true);
    return true;
}

bool menuload_Click(MachineState& st, QWidget* parent, const FileMenuHooks& hooks)
{
    int filterindex = loadfilterindex;
    const QString folder = QString::fromStdString(st.lastpath);
    const QString path = hooks.choosefile ? hooks.choosefile(parent, false, folder, filterindex)
                                          : qtfiledialog(parent, false, folder, filterindex);
    return loadchosenfile(st, parent, hooks, path, filterindex);
}

bool savechosenfile(MachineState& st, QWidget* parent, const FileMenuHooks& hooks, const QString& path, int filterindex)
{
    if (path.isEmpty())
        return false;
    takelastpath(st, path);
    const ProgramFormat format = filterindex == hexfilterindex ? ProgramFormat::hex : ProgramFormat::obj;
    const std::string target = savefilename(path.toStdString(), format);
    const QString qtarget = QString::fromStdString(target);

    if (QFileInfo::exists(qtarget)) {
        const QString question = QString::fromStdString(overwritequestion(target));
        const bool yes = hooks.askoverwrite ? hooks.askoverwrite(parent, question) : askyesno(parent, question);
        if (!yes)
            return false;
        // The old file is replaced by the complete new one only; a failed write keeps it.
    }

    enablemenus(hooks, false);
    pump(hooks);
    const MemorySaveResult r = savememory(st.mem.data(), format, target);
    if (r.ok) {
        setqstaza(hooks, qtarget);
        st.programsize = r.size;
        confirm(parent, r.message);
    } else {
        messagebox(parent, r.message);
    }
    enablemenus(hooks, true);
    return r.ok;
}

bool menusave_Click(MachineState& st, QWidget* parent, const FileMenuHooks& hooks)
{
    if (lastusedaddress(st.mem.data()) < 0) {
        confirm(parent, QString::fromLatin1(memoryemptytext));
        return false;
    }
    int filterindex = savefilterindex;
    const QString folder = QString::fromStdString(st.lastpath);
    const QString path = hooks.choosefile ? hooks.choosefile(parent, true, folder, filterindex)
                                          : qtfiledialog(parent, true, folder, filterindex);
    return savechosenfile(st, parent, hooks, path, filterindex);
}

} // namespace kelvane
