#include "assembler/ui/sourcefiles.h"

#include "progfiles/programload.h"
#include "shell/messages.h"
#include "sim/machinestate.h"
#include "sim/programfiles_ui.h"

#include <QFileDialog>
#include <QFileInfo>
#include <QFileSystemModel>

#include <algorithm>

namespace kelvane {

namespace {

// The dialog's model hides names without a dot under the pattern "*.*"; here that filter lists
// every file, as its text promises.
void listallfiles(QFileDialog& dialog)
{
    auto apply = [&dialog](const QString& filter) {
        if (!filter.contains(QStringLiteral("(*.*)")))
            return;
        if (auto* model = dialog.findChild<QFileSystemModel*>())
            model->setNameFilters({QStringLiteral("*")});
    };
    QObject::connect(&dialog, &QFileDialog::filterSelected, &dialog, apply);
    apply(dialog.selectedNameFilter());
}

} // namespace

QStringList SourceFileKind::filterlist() const
{
    return {QString::fromLatin1(filters[0]), QString::fromLatin1(filters[1])};
}

QString choosefile(QWidget* parent, bool save, const QString& title, const QStringList& filters, int firstfilter,
                   const QString& folder, const QString& name, int* chosenfilter)
{
    QFileDialog dialog(parent, title, folder);
    dialog.setOption(QFileDialog::DontUseNativeDialog);
    dialog.setNameFilters(filters);
    dialog.selectNameFilter(filters.value(firstfilter));
    if (save) {
        dialog.setAcceptMode(QFileDialog::AcceptSave);
        dialog.setFileMode(QFileDialog::AnyFile);
        dialog.setOption(QFileDialog::DontConfirmOverwrite); // the program asks by itself
    } else {
        dialog.setAcceptMode(QFileDialog::AcceptOpen);
        dialog.setFileMode(QFileDialog::ExistingFile);
    }
    if (!name.isEmpty())
        dialog.selectFile(name);
    listallfiles(dialog);
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return {};
    if (chosenfilter != nullptr)
        *chosenfilter = static_cast<int>(std::max<qsizetype>(0, filters.indexOf(dialog.selectedNameFilter())));
    return dialog.selectedFiles().constFirst();
}

QString sourcesavename(const QString& chosen, const QString& extension)
{
    const qsizetype filepart = chosen.lastIndexOf(QLatin1Char('/')) + 1;
    const qsizetype dot = chosen.indexOf(QLatin1Char('.'), filepart);
    return (dot < 0 ? chosen : chosen.left(dot)) + extension;
}

QString asksavepath(QWidget* parent, const SourceFileKind& kind)
{
    MachineState& st = machinestate();
    const QString chosen = choosefile(parent, true, QString::fromLatin1(kind.savetitle), kind.filterlist(),
                                      kind.firstfilter, QString::fromStdString(st.lastpath));
    if (chosen.isEmpty())
        return {};
    takelastpath(st, chosen);
    const QString path = sourcesavename(chosen, QString::fromLatin1(kind.extension));
    if (QFileInfo::exists(path) && !askyesno(parent, QString::fromStdString(overwritequestion(path.toStdString()))))
        return {};
    return path;
}

QString askopenpath(QWidget* parent, const SourceFileKind& kind)
{
    return choosefile(parent, false, QString::fromLatin1(kind.opentitle), kind.filterlist(), kind.firstfilter,
                      QString::fromStdString(machinestate().lastpath));
}

} // namespace kelvane
