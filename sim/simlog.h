// The simulation log "log.txt" in the program's data folder: created at Start with its heading,
// one row per instruction or accepted interrupt, the "RESET" lines, the footer at Stop. The run
// only takes each row's values into a block; a writer thread of the log turns full blocks into
// text and writes it out 1 MiB at a time, in order, so a row costs the run a few copies.
#pragma once
#include "core/execute.h"

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>

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
    // One row of the machine as it stands (only while the log is open).
    void row(const MachineState& st, int32_t address)
    {
        if (current_->fill == entrycount)
            handover();
        Entry& e = current_->entries[current_->fill++];
        takelogrow(e.values, st, address);
        e.linelength = -1;
    }
    // One line, ended by CR LF (only while the log is open).
    void line(std::string_view text);
    // The footer: stop time, elapsed seconds, real-time duration; then the file is closed.
    void close(const std::string& elapsed, const std::string& durationline);
    const std::string& path() const { return path_; }

    // Where the text goes instead of the file, 1 MiB at a time, from the writer thread
    // (benchmarks and tests); empty: the file.
    std::function<void(const char* data, size_t size)> blocksink;

private:
    struct Entry {
        LogRowValues values;
        int32_t linelength; // -1: a row; otherwise a line whose bytes stand in the block's text
    };
    // Blocks of 16 MiB of values: the run hands one over every few milliseconds, not every few
    // hundred microseconds, so the threads seldom wait on each other. Made at the first open.
    static constexpr size_t entrycount = 16 * blocksize / sizeof(Entry);
    struct Block {
        std::unique_ptr<Entry[]> entries;
        size_t fill = 0;
        std::string text;
    };

    void handover();  // the current block to the writer; the run goes on in the other one
    void writerloop();
    void format(const Block& b);
    void puttext(std::string_view text); // into the text block, CR LF after it
    void writeout();  // the text block to the file (or the sink)
    void closefile();

    Block blocks_[2];
    Block* current_ = &blocks_[0];
    bool open_ = false;

    std::thread writer_;
    std::thread remover_; // deletes the old log beside the run (a big file takes a while)
    std::mutex mutex_;
    std::condition_variable changed_;
    const Block* queued_ = nullptr; // handed over, not yet written
    bool stopping_ = false;

    // Owned by the writer thread while it runs, by the caller otherwise.
    std::unique_ptr<char[]> out_;
    size_t outfill_ = 0;
    int fd_ = -1;
    bool failed_ = false; // a write failed (a full disk): the rest of the run is dropped
    std::string path_;
};

} // namespace kelvane
