// Fuzz target for the ".log" reader: any bytes as a file. Checks that every row taken is 64 bytes
// and was in the input, that a read in two pieces and the file reader give what a read at once
// gives, and that taken rows saved again read back the same.
#include "progfiles/logfile.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <unistd.h>

namespace {

void check(bool ok)
{
    if (!ok)
        std::abort();
}

bool samerows(const kelvane::LogRows& a, const kelvane::LogRows& b)
{
    if (a.size() != b.size())
        return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (a[i] != b[i])
            return false;
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    using namespace kelvane;
    const std::string_view text(reinterpret_cast<const char*>(data), size);

    LogRows rows;
    const LogReadStatus status = readlogtext(text, rows);
    check(status == LogReadStatus::done || status == LogReadStatus::corrupt);
    check(rows.size() <= size / logrowwidth);
    for (size_t i = 0; i < rows.size(); ++i) {
        check(rows[i].size() == logrowwidth);
        check(text.find(rows[i]) != std::string_view::npos);
    }

    // Cut where the first byte says: the same rows and the same answer.
    const size_t cut = size == 0 ? 0 : data[0] % (size + 1);
    LogLineSplitter splitter;
    LogRows pieces;
    const bool ok = splitter.feed(text.substr(0, cut), pieces) && splitter.feed(text.substr(cut), pieces) &&
                    splitter.finish(pieces);
    check(ok == (status == LogReadStatus::done));
    check(samerows(pieces, rows));

    // The same bytes as a file.
    static const std::string file = std::string(::access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp") +
                                    "/kelvane-fuzz-logreader-" + std::to_string(::getpid()) + ".log";
    if (FILE* f = std::fopen(file.c_str(), "wb")) {
        const bool whole = std::fwrite(data, 1, size, f) == size;
        std::fclose(f);
        if (whole) {
            LogReader reader;
            check(reader.open(file));
            LogRows fromfile;
            check(reader.readall(fromfile) == status);
            check(samerows(fromfile, rows));
        }
    }

    // What was taken, saved, reads back the same.
    if (status == LogReadStatus::done) {
        LogRows again;
        const std::string saved = logfiletext(rows);
        check(readlogtext(saved, again) == LogReadStatus::done);
        check(samerows(again, rows));
    }
    return 0;
}
