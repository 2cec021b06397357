// One running program per user: a lock on a file in the user's runtime folder, held for the life
// of the process. The kernel drops the lock when the process ends in any way, so the file that a
// crashed run leaves behind never blocks the next start.
//
// Interface for the process entry:  if (!kelvane::acquireinstancelock()) ...hand the files to the
// running one and end (app/appbus.h).
#pragma once
#include <string>

namespace kelvane {

// The lock file: the runtime folder (XDG_RUNTIME_DIR, else the temporary folder with the user id)
// followed by "kelvane.lock".
std::string instancelockpath();

// Takes the lock for this process; false only when another running instance holds it. A lock file
// that cannot be made at all does not stop the program. Calling it again after a success gives true.
bool acquireinstancelock();

enum class LockResult { acquired, busy, unavailable };

// A lock on one file, released when the object dies (or the process ends).
class InstanceLock {
public:
    InstanceLock() = default;
    ~InstanceLock();
    InstanceLock(const InstanceLock&) = delete;
    InstanceLock& operator=(const InstanceLock&) = delete;

    // acquired: this object now holds the lock on path; busy: someone else holds it;
    // unavailable: the file cannot be opened.
    LockResult acquire(const std::string& path);
    void release();
    bool held() const { return fd_ >= 0; }

private:
    int fd_ = -1;
};

} // namespace kelvane
