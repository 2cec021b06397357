// The simulation log "log.txt" in the program's data folder: created at Start with its heading,
// one row per instruction or accepted interrupt, the "RESET" lines, the footer at Stop. Rows are
// composed straight into a 1 MiB block that goes to the file when full, never a call per row.
#pragma once
#include "core/execute.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace kelvane {

// The local date and time as the logs write them: "2026-11-22 21:05:07".
std::string logtimestamp();

class SimLog {
public:
    static constexpr size_t blocksize = size_t{1} << 20;

    SimLog();
    ~SimLog(); // a log still open (the program quit during a run) keeps what was written
    SimLog(const SimLog&) = delete;
    SimLog& operator=(const SimLog&) = delete;

    // Deletes an old log in `folder` and starts a new one with its three heading lines. False
    // when the file can't be created: the run goes on without it.
    bool open(const std::string& folder);
    bool isopen() const { return open_; }
    // One line, ended by CR LF (only while the log is open).
    void line(std::string_view text);
    // A row is composed in place: rowspace() gives room for logrowmax characters (in the block
    // while the log is open, otherwise a scratch row), endrow() ends it with CR LF. The row stays
    // readable until the next rowspace().
    char* rowspace()
    {
        if (!open_)
            return scratch_;
        if (fill_ > blocksize - (logrowmax + 2))
            writeblock();
        return block_.get() + fill_;
    }
    void endrow(char* end)
    {
        if (!open_)
            return;
        end[0] = '\r';
        end[1] = '\n';
        fill_ = static_cast<size_t>(end + 2 - block_.get());
    }
    // The footer: stop time, elapsed seconds, real-time duration; then the file is closed.
    void close(const std::string& elapsed, const std::string& durationline);
    const std::string& path() const { return path_; }

    // Where full blocks go instead of the file (benchmarks and tests); empty: the file.
    std::function<void(const char* data, size_t size)> blocksink;

private:
    void writeblock();
    void closefile();

    std::unique_ptr<char[]> block_;
    size_t fill_ = 0;
    int fd_ = -1;
    bool open_ = false;
    bool failed_ = false; // a write failed (a full disk): the rest of the run is dropped
    std::string path_;
    char scratch_[logrowmax + 2];
};

} // namespace kelvane
