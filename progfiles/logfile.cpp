#include "progfiles/logfile.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kelvane {

namespace {

constexpr size_t readchunk = size_t{1} << 20;
// Capacity kept by clear(): a run's worth of rows; more (a big file shown) is given back.
constexpr size_t keptcapacity = size_t{64} << 20;

std::string notplainfile(mode_t mode)
{
    return S_ISDIR(mode) ? "it is a folder" : "it is not a plain file";
}

} // namespace

void LogRows::clear()
{
    if (text_.capacity() > keptcapacity)
        std::string().swap(text_);
    else
        text_.clear();
    std::vector<size_t>().swap(starts_);
    count_ = 0;
}

void LogRows::append(std::string_view row)
{
    if (starts_.empty()) {
        if (row.size() == logrowwidth) {
            text_.append(row);
            ++count_;
            return;
        }
        // The first row of another width: from here on every row keeps its start.
        starts_.reserve(count_ + 1);
        for (size_t i = 0; i < count_; ++i)
            starts_.push_back(i * logrowwidth);
    }
    starts_.push_back(text_.size());
    text_.append(row);
    ++count_;
}

std::string logfiletext(const LogRows& rows)
{
    std::string text;
    text.reserve(rows.size() * (logrowwidth + 2));
    for (size_t i = 0; i < rows.size(); ++i) {
        text += rows[i];
        text += "\r\n";
    }
    return text;
}

bool LogLineSplitter::feed(std::string_view bytes, LogRows& rows)
{
    const char* p = bytes.data();
    const char* const e = p + bytes.size();
    if (aftercr_ && p < e) {
        if (*p == '\n')
            ++p;
        aftercr_ = false;
    }
    while (p < e) {
        const char* q = p;
        while (q < e && *q != '\r' && *q != '\n')
            ++q;
        const auto n = static_cast<size_t>(q - p);
        if (length_ + n > logrowwidth)
            return false; // too long, whatever follows
        if (q == e) { // the line goes on in the next piece
            std::memcpy(line_ + length_, p, n);
            length_ += n;
            return true;
        }
        if (length_ + n != logrowwidth)
            return false;
        if (length_ == 0) {
            rows.append(std::string_view(p, n));
        } else {
            std::memcpy(line_ + length_, p, n);
            rows.append(std::string_view(line_, logrowwidth));
            length_ = 0;
        }
        if (*q++ == '\r') {
            if (q == e)
                aftercr_ = true;
            else if (*q == '\n')
                ++q;
        }
        p = q;
    }
    return true;
}

bool LogLineSplitter::finish(LogRows& rows)
{
    if (length_ == 0)
        return true;
    if (length_ != logrowwidth)
        return false;
    rows.append(std::string_view(line_, logrowwidth));
    length_ = 0;
    return true;
}

LogReadStatus readlogtext(std::string_view text, LogRows& rows)
{
    LogLineSplitter splitter;
    return splitter.feed(text, rows) && splitter.finish(rows) ? LogReadStatus::done : LogReadStatus::corrupt;
}

LogReader::LogReader() : buffer_(new char[readchunk]) {}

LogReader::~LogReader()
{
    close();
}

void LogReader::close()
{
    if (fd_ >= 0)
        ::close(fd_);
    fd_ = -1;
}

bool LogReader::open(const std::string& path)
{
    close();
    splitter_ = LogLineSplitter();
    error_.clear();
    // Anything but a plain file is refused before it is opened, so that nothing waits on it.
    struct stat sb {};
    if (::stat(path.c_str(), &sb) != 0) {
        error_ = std::strerror(errno);
        return false;
    }
    if (!S_ISREG(sb.st_mode)) {
        error_ = notplainfile(sb.st_mode);
        return false;
    }
    fd_ = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (fd_ < 0) {
        error_ = std::strerror(errno);
        return false;
    }
    // The name may have been replaced between the two looks.
    if (::fstat(fd_, &sb) != 0 || !S_ISREG(sb.st_mode)) {
        error_ = notplainfile(sb.st_mode);
        close();
        return false;
    }
    return true;
}

LogReadStatus LogReader::read(LogRows& rows, size_t budget)
{
    if (fd_ < 0) {
        if (error_.empty())
            error_ = "the file is not open";
        return LogReadStatus::failed;
    }
    size_t used = 0;
    do {
        const ssize_t n = ::read(fd_, buffer_.get(), readchunk);
        if (n < 0) {
            if (errno == EINTR)
                continue;
            error_ = std::strerror(errno);
            close();
            return LogReadStatus::failed;
        }
        if (n == 0) {
            close();
            return splitter_.finish(rows) ? LogReadStatus::done : LogReadStatus::corrupt;
        }
        if (!splitter_.feed(std::string_view(buffer_.get(), static_cast<size_t>(n)), rows)) {
            close();
            return LogReadStatus::corrupt;
        }
        used += static_cast<size_t>(n);
    } while (used < budget);
    return LogReadStatus::more;
}

LogReadStatus LogReader::readall(LogRows& rows)
{
    LogReadStatus status;
    do
        status = read(rows, readchunk);
    while (status == LogReadStatus::more);
    return status;
}

} // namespace kelvane
