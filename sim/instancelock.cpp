#include "sim/instancelock.h"

#include <QDir>
#include <QStandardPaths>

#include <cerrno>
#include <fcntl.h>
#include <string>
#include <sys/file.h>
#include <unistd.h>

namespace kelvane {

std::string instancelockpath()
{
    QString folder = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    if (folder.isEmpty()) {
        folder = QDir::tempPath() + QStringLiteral("/kelvane-") + QString::number(::getuid());
        QDir().mkpath(folder);
    }
    return (QDir(folder).filePath(QStringLiteral("kelvane.lock"))).toStdString();
}

InstanceLock::~InstanceLock()
{
    release();
}

LockResult InstanceLock::acquire(const std::string& path)
{
    if (fd_ >= 0)
        return LockResult::acquired;
    const int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (fd < 0)
        return LockResult::unavailable;
    int rc;
    do {
        rc = ::flock(fd, LOCK_EX | LOCK_NB);
    } while (rc != 0 && errno == EINTR);
    if (rc != 0) {
        const bool busy = errno == EWOULDBLOCK;
        ::close(fd);
        return busy ? LockResult::busy : LockResult::unavailable;
    }
    // The process id in the file helps a person who looks; the lock itself is what counts.
    if (::ftruncate(fd, 0) == 0) {
        const std::string pid = std::to_string(::getpid()) + "\n";
        [[maybe_unused]] const ssize_t n = ::write(fd, pid.data(), pid.size());
    }
    fd_ = fd;
    return LockResult::acquired;
}

void InstanceLock::release()
{
    if (fd_ < 0)
        return;
    ::flock(fd_, LOCK_UN);
    ::close(fd_);
    fd_ = -1;
}

bool acquireinstancelock()
{
    static InstanceLock* lock = new InstanceLock(); // held until the process ends
    return lock->acquire(instancelockpath()) != LockResult::busy;
}

} // namespace kelvane
