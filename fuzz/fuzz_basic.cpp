// Any bytes as a BASIC source: the compile ends in a generated text that is framed as every output
// is, or in one "Error in line N: ..." whose line exists (or is one past the last); a second
// compile of the same text gives the same result.
#include "basic/basic.h"

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static kelvane::basic::BasicCompiler c;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const bool ok = c.compiletext(text);
    const std::string first = ok ? c.asmtext() : c.errortext;
    size_t lines = 1;
    for (size_t at = 0; (at = text.find('\n', at)) != std::string_view::npos && at + 1 < text.size(); ++at)
        ++lines;
    if (ok) {
        size_t count = 1;
        for (size_t at = 0; (at = first.find("\r\n", at)) != std::string::npos; at += 2)
            ++count;
        if (!first.starts_with("; Begin\r\n\tLXI H,0FF00H\r\n\tLXI SP,") ||
            !first.ends_with("\r\n; End of listing\r\n\t.END") || count != static_cast<size_t>(c.asmlinecount()) ||
            c.compileerrorline != 0)
            std::abort();
    } else {
        if (!first.starts_with("Error in line ") || first.find(": ") == std::string::npos)
            std::abort();
        const long line = std::strtol(first.c_str() + 14, nullptr, 10);
        if (line < 1 || static_cast<size_t>(line) > lines + 1 ||
            (c.compileerrorline != line && c.compileerrorline != 0))
            std::abort();
    }
    if (c.compiletext(text) != ok || (ok ? c.asmtext() : c.errortext) != first)
        std::abort();
    return 0;
}
