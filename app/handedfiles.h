// Files handed to Kelvane, on its command line or by a second start over the session bus: what
// each one does by its ending, and the queue that opens them one at a time from the event loop.
// A program image loads into memory as Load Program does; an assembler or BASIC source opens in
// its window, a ".log" in the log viewer; a listing loads the program made with it beside it and
// shows the Breakpoints Manager, which follows the program in that listing.
//
// Interface for main and the bus:  handedfiles().open(handedpath(argument));  handedfiles().raise();
#pragma once
#include "sim/toolrouter.h"

#include <QObject>
#include <QString>
#include <QTimer>

#include <deque>

namespace kelvane {

enum class HandedAs { program, window, listing };

struct HandedKind {
    const char* ending; // lower case, with its dot; empty for any other ending
    HandedAs as;
    int filterindex;    // program: the Load Program filter whose format reads it (1 .obj, 2 .hex, 3 all)
    Tool tool;          // window and listing: the window that shows it (none for a program)
};

// The kind of a file by its ending, in any case; a file of any other ending loads as Load Program
// loads it under "All files": as a binary image.
const HandedKind& handedkind(const QString& path);

// The absolute path of a command-line argument: a plain path taken from `folder`, or a "file:" URL.
QString handedpath(const QString& argument, const QString& folder);

// Opens one file now; true when it was taken. A program is refused while the machine runs (Load
// Program is off then), with a message that says so.
bool openhandedfile(const QString& path);

// The main window in front: shown, restored from the task bar, raised and activated.
void raisemainwindow();

// The files waiting to be opened. A file waits while a modal dialog stands or another file is
// being opened (opening one may let events through), and opens at the next turn of the event loop.
class HandedFiles : public QObject {
    Q_OBJECT

public:
    HandedFiles();
    void open(const QString& path);
    void raise();
    size_t waiting() const { return queue_.size(); }

private:
    void next();

    std::deque<QString> queue_;
    bool opening_ = false;
    QTimer timer_;
};

HandedFiles& handedfiles();

} // namespace kelvane
