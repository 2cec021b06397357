// The File menu of the main window: "&Clear Memory", "&Load Program" and "&Save Memory" with their
// file dialogs, the choice of format by the dialog's filter, the overwrite question, the messages
// and the resets a load or clear does (registers, Memory Editor, Breakpoints Manager, breakpoints).
//
// Interface for Form1: fill a FileMenuHooks once with what the window provides, then one call per
// menu item:  menuclear_Click(st, this, hooks);  menuload_Click(st, this, hooks);  menusave_Click(...)
// Hooks left empty fall back to plain behaviour (clean on the machine hooks, no menus, no label).
#pragma once
#include "core/machine.h"

#include <QString>
#include <QStringList>

#include <functional>

class QWidget;

namespace kelvane {

// The two dialogs' titles and filters; filter index 1 is a binary image, 2 Intel HEX, 3 all files
// (read and written as a binary image).
inline constexpr const char* loaddialogtitle = "Select Program File";
inline constexpr const char* savedialogtitle = "Save Memory As";
QStringList programfilters();
inline constexpr int hexfilterindex = 2;

struct FileMenuHooks {
    // The panel's program location label (qstaza).
    std::function<void(const QString&)> setqstaza;
    // Form1's clean: registers to their power-on values and the panel redrawn. Default: clean on
    // the state with machinehooks().
    std::function<void()> clean;
    // Enables or disables the six top-level menus menu1 to menu6.
    std::function<void(bool)> enablemenus;
    // Lets pending window events run. Default: QCoreApplication::processEvents.
    std::function<void()> pumpevents;
    // The Memory Editor redraws (called only when it is open and "Refresh Memory Editor" is "ON").
    std::function<void()> memorijaprint;
    // The Breakpoints Manager unloads (called only when it is open).
    std::function<void()> unloadbreakpoints;
    // The file dialog: returns the chosen full path or an empty text for cancel, and sets
    // filterindex (1-3). Default: the Qt file dialog at lastpath with the title and filters above.
    std::function<QString(QWidget* parent, bool save, const QString& folder, int& filterindex)> choosefile;
    // The overwrite question (Yes is true). Default: a Yes/No box with the program's title.
    std::function<bool(QWidget* parent, const QString& question)> askoverwrite;
};

void menuclear_Click(MachineState& st, QWidget* parent, const FileMenuHooks& hooks);
// True when a program was loaded.
bool menuload_Click(MachineState& st, QWidget* parent, const FileMenuHooks& hooks);
// True when memory was saved.
bool menusave_Click(MachineState& st, QWidget* parent, const FileMenuHooks& hooks);

// The steps after the dialog returned `path` with `filterindex`.
bool loadchosenfile(MachineState& st, QWidget* parent, const FileMenuHooks& hooks, const QString& path, int filterindex);
bool savechosenfile(MachineState& st, QWidget* parent, const FileMenuHooks& hooks, const QString& path, int filterindex);

// Splits a chosen path at its last separator: the folder (with the separator) becomes lastpath
// and is written to "Last Path" at once. Returns the file's name.
QString takelastpath(MachineState& st, const QString& path);

} // namespace kelvane
