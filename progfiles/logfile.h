// Simulation log rows in memory and in ".log" files: LogRows keeps rows as finished text in one
// block; LogReader reads a ".log" file a slice at a time (a line ends at CR LF, LF or CR, and
// every line must be 64 bytes long); logfiletext gives the rows back as a ".log" file's bytes.
#pragma once
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace kelvane {

// The width of a log row and of every line of a ".log" file.
inline constexpr size_t logrowwidth = 64;

class LogRows {
public:
    size_t size() const { return count_; }
    bool empty() const { return count_ == 0; }
    void clear();
    void append(std::string_view row);
    // Row i, counted from 0.
    std::string_view operator[](size_t i) const
    {
        if (starts_.empty())
            return std::string_view(text_).substr(i * logrowwidth, logrowwidth);
        const size_t end = i + 1 < count_ ? starts_[i + 1] : text_.size();
        return std::string_view(text_).substr(starts_[i], end - starts_[i]);
    }

private:
    std::string text_;
    size_t count_ = 0;
    // Where each row starts; empty while every row is logrowwidth wide (the usual case).
    std::vector<size_t> starts_;
};

// The rows as a ".log" file: each one followed by CR LF.
std::string logfiletext(const LogRows& rows);

enum class LogReadStatus { more, done, corrupt, failed };

// Splits bytes into lines and keeps the good ones. Feed it the file's bytes in any pieces, then
// finish(): the result does not depend on where the pieces were cut.
class LogLineSplitter {
public:
    // False at the first line of another width than 64 (rows before it are kept).
    bool feed(std::string_view bytes, LogRows& rows);
    // The last line, when the bytes end without a line end. False when it is not 64 bytes wide.
    bool finish(LogRows& rows);

private:
    char line_[logrowwidth];
    size_t length_ = 0;   // bytes of the current line seen so far
    bool aftercr_ = false; // the last piece ended in CR: a LF at the start of the next one belongs to it
};

// The whole text of a ".log" file at once: done or corrupt.
LogReadStatus readlogtext(std::string_view text, LogRows& rows);

// A ".log" file read a slice at a time, so that a window can let events run between slices.
// The file is closed at the end, at the first bad line, at an error and by the destructor.
class LogReader {
public:
    LogReader();
    ~LogReader();
    LogReader(const LogReader&) = delete;
    LogReader& operator=(const LogReader&) = delete;

    // Opens the file; false with a plain reason in error() when it can't be read: missing, no
    // permission, or not a plain file (a folder, a FIFO, a device: never waited on).
    bool open(const std::string& path);
    // Reads about `budget` bytes on, appending the good rows. `more` until the end (`done`), the
    // first line of another width (`corrupt`) or a read error (`failed`, with error()).
    LogReadStatus read(LogRows& rows, size_t budget);
    // Reads to the end at once.
    LogReadStatus readall(LogRows& rows);
    const std::string& error() const { return error_; }
    void close();

private:
    int fd_ = -1;
    std::unique_ptr<char[]> buffer_;
    LogLineSplitter splitter_;
    std::string error_;
};

} // namespace kelvane
