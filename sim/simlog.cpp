#include "sim/simlog.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
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

SimLog::SimLog() : block_(new char[blocksize]) {}

SimLog::~SimLog()
{
    closefile();
}

bool SimLog::open(const std::string& folder)
{
    closefile();
    path_ = folder + "log.txt";
    std::remove(path_.c_str()); // an old log goes; a failure to delete is no matter
    fd_ = ::open(path_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd_ < 0)
        return false;
    open_ = true;
    failed_ = false;
    fill_ = 0;
    line("Simulation started at " + logtimestamp() + ".");
    line("No.    PC    Instruction     A  SZ_A_P_C  B  C  D  E  H  L  SP  ");
    line("");
    return true;
}

void SimLog::line(std::string_view text)
{
    if (!open_)
        return;
    // A line longer than a block goes out in pieces.
    while (!text.empty()) {
        if (fill_ == blocksize)
            writeblock();
        const size_t n = std::min(text.size(), blocksize - fill_);
        std::copy_n(text.data(), n, block_.get() + fill_);
        fill_ += n;
        text.remove_prefix(n);
    }
    if (fill_ > blocksize - 2)
        writeblock();
    block_[fill_++] = '\r';
    block_[fill_++] = '\n';
}

void SimLog::writeblock()
{
    if (blocksink) {
        blocksink(block_.get(), fill_);
    } else if (!failed_ && fd_ >= 0) {
        const char* p = block_.get();
        size_t left = fill_;
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
    fill_ = 0;
}

void SimLog::closefile()
{
    if (open_)
        writeblock();
    if (fd_ >= 0)
        ::close(fd_);
    fd_ = -1;
    open_ = false;
    fill_ = 0;
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
