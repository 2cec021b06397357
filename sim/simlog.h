// The simulation log "log.txt" in the program's data folder: created at Start with its heading,
// one row per instruction or accepted interrupt, the "RESET" lines, the footer at Stop. The run
// writes each row's text into a ring of 1 MiB blocks; a writer thread of the log writes full
// blocks out in order, so the run never waits on the disk while a block is free.
#pragma once
#include "core/execute.h"

#include <array>
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
    // Blocks in the ring: enough for the writer to fall behind for a while (a slow write of
    // the kernel) before the run waits.
    static constexpr size_t blockcount = 8;

    SimLog() = default;
    ~SimLog(); // a log still open (the program quit during a run) keeps what was written
    SimLog(const SimLog&) = delete;
    SimLog& operator=(const SimLog&) = delete;

    // Deletes an old log in `folder` and starts a new one with its three heading lines. False
    // when the file can't be created: the run goes on without it.
    bool open(const std::string& folder);
    bool isopen() const { return open_; }
    // One row of the machine as it stands (only while the log is open); returns the row's text,
    // valid until the next call.
    std::string_view row(const MachineState& st, int32_t address)
    {
        if (!block_.room())
            handover();
        char* start = block_.at;
        block_.put(st, address);
        return {start, static_cast<size_t>(block_.at - 2 - start)};
    }
    // The block the run may write rows into itself while the log is open (see MachineHooks).
    LogBlock& block() { return block_; }
    // One line, ended by CR LF (only while the log is open).
    void line(std::string_view text);
    // The footer: stop time, elapsed seconds, real-time duration; then the file is closed.
    void close(const std::string& elapsed, const std::string& durationline);
    const std::string& path() const { return path_; }

    // Where the text goes instead of the file, 1 MiB at a time, from the writer thread
    // (benchmarks and tests); empty: the file.
    std::function<void(const char* data, size_t size)> blocksink;

private:
    void puttext(std::string_view text); // into the current block, CR LF after it
    void handover();                     // the current block to the writer; the run takes the next free one
    void setblock(char* b);              // the run fills block b from its start
    void writerloop();
    void writeout(const char* data, size_t size); // to the file (or the sink)
    void closefile();

    // The ring, made at the first open. Blocks [written_, handed_) wait for the writer; the run
    // fills block handed_ % blockcount.
    std::array<std::unique_ptr<char[]>, blockcount> blocks_;
    std::array<size_t, blockcount> sizes_{};
    char* current_ = nullptr; // the block being filled, up to block_.at
    LogBlock block_;
    bool open_ = false;

    std::thread writer_;
    std::thread remover_; // deletes the old log beside the run (a big file takes a while)
    std::mutex mutex_;
    std::condition_variable changed_;
    size_t handed_ = 0, written_ = 0;
    bool stopping_ = false;

    // Owned by the writer thread while it runs, by the caller otherwise.
    int fd_ = -1;
    bool failed_ = false; // a write failed (a full disk): the rest of the run is dropped
    std::string path_;
};

} // namespace kelvane
