#include "core/hexutil.h"

namespace kelvane {

namespace {
constexpr char digits[] = "0123456789ABCDEF";

int hexvalue(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}
} // namespace

char* puthexbyte(char* out, int32_t v)
{
    const auto u = static_cast<uint32_t>(v);
    *out++ = digits[(u >> 4) & 15];
    *out++ = digits[u & 15];
    return out;
}

char* puthexword(char* out, int32_t v)
{
    const auto u = static_cast<uint32_t>(v);
    *out++ = digits[(u >> 12) & 15];
    *out++ = digits[(u >> 8) & 15];
    *out++ = digits[(u >> 4) & 15];
    *out++ = digits[u & 15];
    return out;
}

std::string hexbyte(int32_t v)
{
    char buf[2];
    puthexbyte(buf, v);
    return std::string(buf, 2);
}

std::string hexword(int32_t v)
{
    char buf[4];
    puthexword(buf, v);
    return std::string(buf, 4);
}

std::string asmhexbyte(int32_t v)
{
    std::string s = hexbyte(v);
    if (s[0] > '9')
        s.insert(s.begin(), '0');
    return s;
}

std::string asmhexword(int32_t v)
{
    std::string s = hexword(v);
    if (s[0] > '9')
        s.insert(s.begin(), '0');
    return s;
}

int32_t parsehexbyte(std::string_view s)
{
    if (s.size() != 2)
        return -1;
    const int hi = hexvalue(s[0]);
    const int lo = hexvalue(s[1]);
    if (hi < 0 || lo < 0)
        return -1;
    return hi * 16 + lo;
}

int32_t parsehexword(std::string_view s)
{
    if (s.size() != 4)
        return -1;
    const int32_t hi = parsehexbyte(s.substr(0, 2));
    const int32_t lo = parsehexbyte(s.substr(2, 2));
    if (hi < 0 || lo < 0)
        return -1;
    return hi * 256 + lo;
}

int32_t parsebinword(std::string_view s)
{
    if (s.size() != 16)
        return -1;
    int32_t v = 0;
    for (char c : s) {
        if (c != '0' && c != '1')
            return -1;
        v = v * 2 + (c - '0');
    }
    return v;
}

} // namespace kelvane
