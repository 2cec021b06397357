#include "tools/form8listing.h"

#include "core/hexutil.h"

#include <algorithm>

namespace kelvane {

namespace {

constexpr int32_t addresses = 65536;

// Length of the valid UTF-8 sequence at s[i], or 0 when the byte there does not start one.
size_t utf8length(std::string_view s, size_t i)
{
    const auto b0 = static_cast<unsigned char>(s[i]);
    if (b0 < 0x80)
        return 1;
    size_t n = 0;
    unsigned char lo = 0x80, hi = 0xBF; // allowed range of the second byte
    if (b0 >= 0xC2 && b0 <= 0xDF) {
        n = 2;
    } else if (b0 >= 0xE0 && b0 <= 0xEF) {
        n = 3;
        if (b0 == 0xE0)
            lo = 0xA0; // no overlong forms
        if (b0 == 0xED)
            hi = 0x9F; // no surrogates
    } else if (b0 >= 0xF0 && b0 <= 0xF4) {
        n = 4;
        if (b0 == 0xF0)
            lo = 0x90;
        if (b0 == 0xF4)
            hi = 0x8F; // nothing above U+10FFFF
    } else {
        return 0;
    }
    if (i + n > s.size())
        return 0;
    for (size_t k = 1; k < n; ++k) {
        const auto b = static_cast<unsigned char>(s[i + k]);
        if (b < (k == 1 ? lo : 0x80) || b > (k == 1 ? hi : 0xBF))
            return 0;
    }
    return n;
}

// Appends one raw line to out as UTF-8 with its tabs expanded; a byte that is not part of a valid
// UTF-8 sequence stands for the Latin-1 character of that value.
void appendexpanded(std::string& out, std::string_view raw)
{
    size_t column = 0; // characters written so far
    size_t i = 0;
    while (i < raw.size()) {
        // A run of plain ASCII goes over as it stands.
        size_t run = i;
        while (run < raw.size() && static_cast<unsigned char>(raw[run]) < 0x80 && raw[run] != '\t')
            ++run;
        out.append(raw.substr(i, run - i));
        column += run - i;
        i = run;
        if (i >= raw.size())
            break;
        if (raw[i] == '\t') {
            out.append(8 - column % 8, ' ');
            column += 8 - column % 8;
            ++i;
            continue;
        }
        const size_t n = utf8length(raw, i);
        if (n > 0) {
            out.append(raw.substr(i, n));
            i += n;
        } else {
            const auto b = static_cast<unsigned char>(raw[i]);
            out.push_back(static_cast<char>(0xC0 | (b >> 6)));
            out.push_back(static_cast<char>(0x80 | (b & 0x3F)));
            ++i;
        }
        ++column;
    }
}

// Byte offset of character position `chars` (0-based) in a valid UTF-8 line, or npos past its end.
size_t characteroffset(std::string_view line, size_t chars)
{
    size_t i = 0;
    for (size_t k = 0; k < chars; ++k) {
        if (i >= line.size())
            return std::string_view::npos;
        const auto b = static_cast<unsigned char>(line[i]);
        i += b < 0x80 ? 1 : b < 0xE0 ? 2 : b < 0xF0 ? 3 : 4;
    }
    return i <= line.size() ? i : std::string_view::npos;
}

// The characters from position `from` (1-based), `count` of them, when they are all single bytes.
std::string_view field(std::string_view line, size_t from, size_t count)
{
    const size_t at = characteroffset(line, from - 1);
    if (at == std::string_view::npos || at + count > line.size())
        return {};
    return line.substr(at, count);
}

} // namespace

std::string expandtabs(std::string_view line)
{
    std::string out;
    out.reserve(line.size());
    appendexpanded(out, line);
    return out;
}

std::string_view firstcharacters(std::string_view line, int count)
{
    if (count <= 0)
        return {};
    const size_t at = characteroffset(line, static_cast<size_t>(count));
    return at == std::string_view::npos ? line : line.substr(0, at);
}

LineFields linefields(std::string_view line)
{
    LineFields f;
    // A character that is more than one byte can't be a hex digit: parsing the bytes of the
    // field then fails as parsing its characters would.
    f.address = parsehexword(field(line, 8, 4));
    f.codebyte = parsehexbyte(field(line, 13, 2));
    return f;
}

void ListingLines::clear()
{
    text_.clear();
    text_.shrink_to_fit();
    begin_.assign(1, 0);
    codeaddress_.assign(1, -1);
    firstline_.clear();
}

void ListingLines::assign(std::string_view bytes)
{
    clear();
    text_.reserve(bytes.size() + bytes.size() / 8);
    size_t start = 0;
    while (start < bytes.size()) {
        size_t end = bytes.find_first_of("\r\n", start);
        if (end == std::string_view::npos)
            end = bytes.size();
        appendexpanded(text_, bytes.substr(start, end - start));
        begin_.push_back(text_.size());
        if (end == bytes.size())
            break;
        start = end + 1;
        if (bytes[end] == '\r' && start < bytes.size() && bytes[start] == '\n')
            ++start; // CR LF
    }

    const int32_t n = count();
    codeaddress_.assign(static_cast<size_t>(n) + 1, -1);
    firstline_.assign(addresses, 0);
    for (int32_t k = 1; k <= n; ++k) {
        const LineFields f = linefields(line(k));
        if (f.address < 0)
            continue;
        auto& first = firstline_[static_cast<size_t>(f.address)];
        if (first == 0)
            first = k;
        if (f.codeline())
            codeaddress_[static_cast<size_t>(k)] = f.address;
    }
}

std::string_view ListingLines::line(int32_t n) const
{
    if (n < 1 || n > count())
        return {};
    const size_t b = begin_[static_cast<size_t>(n) - 1];
    return std::string_view(text_).substr(b, begin_[static_cast<size_t>(n)] - b);
}

int32_t ListingLines::firstline(int32_t address) const
{
    if (address < 0 || address >= addresses || firstline_.empty())
        return 0;
    return firstline_[static_cast<size_t>(address)];
}

} // namespace kelvane
