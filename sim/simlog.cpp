#include "sim/simlog.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kelvane {

std::string logtimestamp()
{
    const std::time_t now = std::time(nullptr);
    std::tm tmv{};
    localtime_r(&now, &tmv);
    char stamp[32];
    std::strftime(stamp, sizeof stamp, "%Y-%m-%d %H:%M:%S", &tmv);
    return stamp;
}

SimLog::~SimLog()
{
    closefile();
    if (remover_.joinable())
        remover_.join();
}

bool SimLog::open(const std::string& folder)
{
    closefile();
    path_ = folder + "log.txt";
    // An old log goes; a failure to delete is no matter. Moved aside at once and deleted by a
    // thread of its own: a log of gigabytes takes a good part of a second to delete.
    if (remover_.joinable())
        remover_.join();
    const std::string old = folder + ".log.txt.old";
    struct stat info {};
    if (::lstat(path_.c_str(), &info) == 0 && S_ISREG(info.st_mode) && std::rename(path_.c_str(), old.c_str()) == 0)
        remover_ = std::thread([old] { std::remove(old.c_str()); });
    else
        std::remove(path_.c_str());
    fd_ = ::open(path_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd_ < 0)
        return false;
    failed_ = false;
    for (auto& b : blocks_)
        if (!b)
            b = std::make_unique<char[]>(blocksize);
    handed_ = written_ = 0;
    stopping_ = false;
    setblock(blocks_[0].get());
    puttext("Simulation started at " + logtimestamp() + ".");
    puttext("No.    PC    Instruction     A  SZ_A_P_C  B  C  D  E  H  L  SP  ");
    puttext("");
    writer_ = std::thread(&SimLog::writerloop, this);
    open_ = true;
    return true;
}

void SimLog::line(std::string_view text)
{
    if (open_)
        puttext(text);
}

void SimLog::setblock(char* b)
{
    current_ = b;
    block_.at = b;
    block_.end = b == nullptr ? nullptr : b + blocksize - (logrowmax + 2) + 1;
}

void SimLog::puttext(std::string_view text)
{
    // A line longer than a block goes out in pieces.
    const auto left = [this] { return blocksize - static_cast<size_t>(block_.at - current_); };
    while (!text.empty()) {
        if (left() == 0)
            handover();
        const size_t n = std::min(text.size(), left());
        block_.at = std::copy_n(text.data(), n, block_.at);
        text.remove_prefix(n);
    }
    if (left() < 2)
        handover();
    *block_.at++ = '\r';
    *block_.at++ = '\n';
}

void SimLog::handover()
{
    {
        std::unique_lock lock(mutex_);
        sizes_[handed_ % blockcount] = static_cast<size_t>(block_.at - current_);
        ++handed_;
        // The next block is free once the writer is done with what it held a round ago.
        changed_.notify_all();
        changed_.wait(lock, [this] { return handed_ - written_ < blockcount; });
    }
    setblock(blocks_[handed_ % blockcount].get());
}

void SimLog::writerloop()
{
    std::unique_lock lock(mutex_);
    for (;;) {
        changed_.wait(lock, [this] { return written_ < handed_ || stopping_; });
        if (written_ == handed_)
            return; // stopping, and everything handed over is written
        const size_t i = written_ % blockcount;
        lock.unlock();
        writeout(blocks_[i].get(), sizes_[i]);
        lock.lock();
        ++written_;
        changed_.notify_all();
    }
}

void SimLog::writeout(const char* data, size_t size)
{
    if (blocksink) {
        blocksink(data, size);
        return;
    }
    while (size > 0 && !failed_ && fd_ >= 0) {
        const ssize_t n = ::write(fd_, data, size);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0) {
            failed_ = true; // a full disk or a lost device: the run goes on, unlogged
            break;
        }
        data += n;
        size -= static_cast<size_t>(n);
    }
}

void SimLog::closefile()
{
    if (open_) {
        if (block_.at != current_)
            handover();
        {
            std::lock_guard lock(mutex_);
            stopping_ = true;
        }
        changed_.notify_all();
        writer_.join();
        open_ = false;
    }
    if (fd_ >= 0)
        ::close(fd_);
    fd_ = -1;
    setblock(nullptr);
}

void SimLog::close(const std::string& elapsed, const std::string& durationline)
{
    if (!open_)
        return;
    line("Simulation stopped at " + logtimestamp() + ".");
    line(elapsed + " seconds elapsed.");
    line(durationline);
    closefile();
}

} // namespace kelvane
