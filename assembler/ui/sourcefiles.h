// The file dialogs and save rules of the source windows (Assembler, Interactive Assembler, BASIC):
// Qt's own file dialog at lastpath with the window's filters, where "All files (*.*)" lists every
// file, with a dot or without; the Save As name cut at the first "." of the file's name with the
// window's extension added; the overwrite question.
//
// Interface for a window:
//   const QString path = asksavepath(this, assemblersource);   // empty: cancelled or No
//   ... save, then set the caption ...
//   const QString open = askopenpath(this, assemblersource);
#pragma once
#include <QString>
#include <QStringList>

class QWidget;

namespace kelvane {

// A kind of source file: its dialogs' titles, filters ("Text (*.ext)"), the extension a save
// always gets, and the filter selected first (0-based).
struct SourceFileKind {
    const char* savetitle;
    const char* opentitle;
    const char* filters[2];
    const char* extension;
    int firstfilter = 0;
    QStringList filterlist() const;
};

inline constexpr SourceFileKind assemblersource = {
    "Save Assembler Source As",
    "Open Assembler Source File",
    {"Assembler ASM files (*.asm)", "All files (*.*)"},
    ".asm",
};

inline constexpr SourceFileKind basicsource = {
    "Save BASIC Source As",
    "Open BASIC Source File",
    {"Basic BAS files (*.bas)", "All files (*.*)"},
    ".bas",
};

// Qt's file dialog (never the desktop's) at `folder` with `name` in it; "" when cancelled. The
// filter in use when it closed (0-based) goes to *chosenfilter when given.
QString choosefile(QWidget* parent, bool save, const QString& title, const QStringList& filters, int firstfilter,
                   const QString& folder, const QString& name = QString(), int* chosenfilter = nullptr);

// The name a source is saved under: cut before the first "." of the file's name, never of a
// folder, and the extension added.
QString sourcesavename(const QString& chosen, const QString& extension);

// Save As up to the write: the dialog at lastpath; the chosen folder becomes lastpath ("Last
// Path" written at once); the name is cut and takes the kind's extension; an existing file is
// asked about ("Do you want to overwrite existing file PATH?"). The full path to save to, or ""
// when the dialog was cancelled or the answer was No.
QString asksavepath(QWidget* parent, const SourceFileKind& kind);

// The Open dialog at lastpath; "" when cancelled. The caller takes lastpath from the result.
QString askopenpath(QWidget* parent, const SourceFileKind& kind);

} // namespace kelvane
