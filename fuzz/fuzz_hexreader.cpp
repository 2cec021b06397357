// Fuzz target for the Intel HEX reader: any bytes as a file. Checks that the reader stays inside
// its buffer, that its result is consistent, that the file reader agrees with the text reader, and
// that what it accepted writes back and reads the same.
#include "progfiles/hexfile.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <unistd.h>

namespace {

void check(bool ok)
{
    if (!ok)
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static auto buf = std::make_unique<kelvane::HexBuffer>();
    static auto again = std::make_unique<kelvane::HexBuffer>();
    const std::string text(reinterpret_cast<const char*>(data), size);

    const kelvane::HexReadResult r = kelvane::readhextext(text, *buf);
    check(r.size >= 0 && r.size <= 65536);
    check(r.error >= 0 && r.error <= 11);
    check(!r.openfailed);
    check((r.size > 0) == r.message.empty());
    check(r.size == 0 || r.error == 0);
    for (int32_t v : *buf)
        check(v >= 0 && v <= 255);
    (void)kelvane::hexchecksum(text);

    // The same bytes as a file through the file reader, which reads line by line.
    static const std::string file = std::string(::access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp") +
                                    "/kelvane-fuzz-hexreader-" + std::to_string(::getpid()) + ".hex";
    if (FILE* f = std::fopen(file.c_str(), "wb")) {
        const bool whole = std::fwrite(data, 1, size, f) == size;
        std::fclose(f);
        if (whole) {
            const kelvane::HexReadResult fr = kelvane::readhexfile(file, *again);
            check(fr.size == r.size && fr.error == r.error && fr.line == r.line && fr.message == r.message);
            check(*again == *buf);
        }
    }

    if (r.size > 0) {
        for (size_t a = static_cast<size_t>(r.size); a < buf->size(); ++a)
            check((*buf)[a] == 0);
        check(r.line >= 1);
        // The highest address written holds what the file said; everything reads back the same.
        const std::string written = kelvane::hexfiletext(buf->data(), r.size - 1);
        const kelvane::HexReadResult back = kelvane::readhextext(written, *again);
        check(back.error == 0);
        check(*again == *buf);
        check(back.size <= r.size);
        check(back.size == r.size || (*buf)[static_cast<size_t>(r.size - 1)] == 0);
    }
    return 0;
}
