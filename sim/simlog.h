// The simulation log "log.txt" in the program's data folder: created at Start with its heading,
// one row per instruction or accepted interrupt, the "RESET" lines, the footer at Stop.
#pragma once
#include <fstream>
#include <string>

namespace kelvane {

// The local date and time as the logs write them: "2026-11-22 21:05:07".
std::string logtimestamp();

class SimLog {
public:
    // Deletes an old log in `folder` and starts a new one with its three heading lines.
    bool open(const std::string& folder);
    bool isopen() const { return out_.is_open(); }
    // One line, ended by CR LF.
    void line(const std::string& text);
    // The footer: stop time, elapsed seconds, real-time duration; then the file is closed.
    void close(const std::string& elapsed, const std::string& durationline);
    const std::string& path() const { return path_; }

private:
    std::ofstream out_;
    std::string path_;
};

} // namespace kelvane
