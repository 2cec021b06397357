// Any bytes as an assembler source: both passes, the listing, the image and the HEX text must
// come through without a crash, and the image must stay inside 64K.
#include "assembler/assembler.h"

#include <cstdint>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static kelvane::Assembler a;
    a.optgeneratehex = (size > 0 && (data[0] & 1)) ? "ON" : "OFF";
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const int32_t errors = a.assembletext(text, 1000);
    if (errors != a.errorcount || errors != a.errorlinecount)
        std::abort();
    if (a.lastaddress < -1 || a.lastaddress > 65535 || a.objimage.size() != 65536)
        std::abort();
    for (int32_t i = 1; i <= a.linecount; ++i) {
        const auto k = static_cast<size_t>(i);
        if (a.asmaddress[k] < 0 || a.asmaddress[k] > 65536)
            std::abort();
        if (a.asmcode[k].size() % 12 != 0 || a.asmcode[k].size() > 48)
            std::abort();
    }
    if (a.listing.size() < 22 || a.listing.compare(a.listing.size() - 2, 2, "\r\n") != 0)
        std::abort();
    return 0;
}
