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

SimLog::SimLog() : out_(new char[blocksize]) {}

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
    outfill_ = 0;
    puttext("Simulation started at " + logtimestamp() + ".");
    puttext("No.    PC    Instruction     A  SZ_A_P_C  B  C  D  E  H  L  SP  ");
    puttext("");
    for (Block& b : blocks_) {
        if (!b.entries)
            b.entries = std::make_unique<Entry[]>(entrycount);
        b.fill = 0;
        b.text.clear();
    }
    current_ = &blocks_[0];
    queued_ = nullptr;
    stopping_ = false;
    writer_ = std::thread(&SimLog::writerloop, this);
    open_ = true;
    return true;
}

void SimLog::line(std::string_view text)
{
    if (!open_)
        return;
    if (current_->fill == entrycount)
        handover();
    Entry& e = current_->entries[current_->fill++];
    e.linelength = static_cast<int32_t>(text.size());
    current_->text.append(text);
}

void SimLog::handover()
{
    {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return queued_ == nullptr; });
        queued_ = current_;
    }
    changed_.notify_all();
    // The writer is done with the other block: it was the one queued before.
    current_ = current_ == &blocks_[0] ? &blocks_[1] : &blocks_[0];
    current_->fill = 0;
    current_->text.clear();
}

void SimLog::writerloop()
{
    std::unique_lock lock(mutex_);
    for (;;) {
        changed_.wait(lock, [this] { return queued_ != nullptr || stopping_; });
        if (queued_ == nullptr)
            return; // stopping, and everything handed over is written
        const Block* b = queued_;
        lock.unlock();
        format(*b);
        lock.lock();
        queued_ = nullptr;
        changed_.notify_all();
    }
}

void SimLog::format(const Block& b)
{
    size_t textat = 0;
    for (size_t i = 0; i < b.fill; ++i) {
        const Entry& e = b.entries[i];
        if (e.linelength >= 0) {
            const auto n = static_cast<size_t>(e.linelength);
            puttext(std::string_view(b.text).substr(textat, n));
            textat += n;
            continue;
        }
        if (outfill_ > blocksize - (logrowmax + 2))
            writeout();
        char* end = putlogrow(out_.get() + outfill_, e.values);
        end[0] = '\r';
        end[1] = '\n';
        outfill_ = static_cast<size_t>(end + 2 - out_.get());
    }
}

void SimLog::puttext(std::string_view text)
{
    // A line longer than a block goes out in pieces.
    while (!text.empty()) {
        if (outfill_ == blocksize)
            writeout();
        const size_t n = std::min(text.size(), blocksize - outfill_);
        std::copy_n(text.data(), n, out_.get() + outfill_);
        outfill_ += n;
        text.remove_prefix(n);
    }
    if (outfill_ > blocksize - 2)
        writeout();
    out_[outfill_++] = '\r';
    out_[outfill_++] = '\n';
}

void SimLog::writeout()
{
    if (blocksink) {
        blocksink(out_.get(), outfill_);
    } else if (!failed_ && fd_ >= 0) {
        const char* p = out_.get();
        size_t left = outfill_;
        while (left > 0) {
            const ssize_t n = ::write(fd_, p, left);
            if (n < 0 && errno == EINTR)
                continue;
            if (n <= 0) {
                failed_ = true; // a full disk or a lost device: the run goes on, unlogged
                break;
            }
            p += n;
            left -= static_cast<size_t>(n);
        }
    }
    outfill_ = 0;
}

void SimLog::closefile()
{
    if (open_) {
        if (current_->fill > 0)
            handover();
        {
            std::lock_guard lock(mutex_);
            stopping_ = true;
        }
        changed_.notify_all();
        writer_.join();
        open_ = false;
    }
    if (fd_ >= 0) {
        writeout();
        ::close(fd_);
    }
    fd_ = -1;
    outfill_ = 0;
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
