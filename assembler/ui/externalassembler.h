// One run of the external assembler ("Tasm Path"): a fresh private temporary folder, the source
// copied there as "00000000.asm", the program started in that folder (no shell) with "-85", "-b"
// and that file's full path, a fixed wait of 11 ticks while the windows keep working, then
// "00000000.obj" and "00000000.lst" copied to where the caller wants them. A child still running
// then is ended with everything it started, and the folder is removed.
#pragma once
#include <QString>

#include <functional>

namespace kelvane {

struct ExternalRun {
    bool started = false; // the program could be started
    bool gotobj = false;  // "00000000.obj" was there and is copied
    bool gotlst = false;  // "00000000.lst" was there and is copied
};

// The tick of the wait (200 ms); tests may shorten it.
int& externaltickms();
inline constexpr int externalticks = 11;

// `sourcepath` is copied in; the outputs go to objpath and lstpath. Window events are let through
// during the wait; `abort` ends the wait early when it says so (the window is closing).
ExternalRun runexternalassembler(const QString& program, const QString& sourcepath, const QString& objpath,
                                 const QString& lstpath, const std::function<bool()>& abort = {});

} // namespace kelvane
