// Kelvane's own name on the session bus, ikelvane.app: the running program publishes the object
// /app (interface ikelvane.app) with openfile(s), which opens a file as the command line would,
// and raise(), which brings the main window to the front. A second start hands its files over
// through it instead of starting again.
//
// Interface for main:
//   in the running program, once the main window stands:   AppBus bus; bus.publish();
//   in a start that finds the lock taken:   if (auto status = handtorunning(files)) return *status;
#pragma once
#include <QObject>
#include <QString>
#include <QStringList>

#include <optional>

namespace kelvane {

inline constexpr const char* appbusname = "ikelvane.app";
inline constexpr const char* appbuspath = "/app";
inline constexpr const char* appbusinterface = "ikelvane.app";

class AppBus : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "ikelvane.app")

public:
    // Publishes the object and takes the name: false without a session bus, or when another
    // process has the name.
    bool publish();

public Q_SLOTS:
    // The file waits in handedfiles() and opens at the next turn of the event loop, so the
    // caller has its answer at once.
    void openfile(const QString& path);
    void raise();
};

// A start that found another Kelvane holding the lock: hands each file of `files` to it (removing
// it from the list), or asks it to raise its window when there are none, and gives the exit
// status. While nobody answers on the bus the other one is starting or ending: this start waits
// up to `patiencems` for its name, and gives nothing when the other one ends and leaves the lock
// to this start, which then goes on as the running program with the files not yet handed.
std::optional<int> handtorunning(QStringList& files, int patiencems = 10000);

} // namespace kelvane
