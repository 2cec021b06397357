#include "progfiles/hexfile.h"

#include "core/hexutil.h"
#include "progfiles/safewrite.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>
#include <string_view>

namespace kelvane {

namespace {

// The reader's refusals, by error number. Each text follows "Line number N".
constexpr std::string_view errortexts[12] = {
    "",
    ": The record does not begin with ':' simbol.",
    ": The record is too short.",
    ": Invalid 'checksum' field in the record.",
    ": Invalid 'record type' field in the record.",
    ": Invalid '04 type' record.",
    ": Invalid 'number of bytes' field in the record.",
    ": Invalid 'address' field in the record.",
    ": The record does not contain the specified number of bytes.",
    ": Invalid data byte in the record.",
    ": Address out of range.",
    ": Invalid '02 type' record.",
};

constexpr std::string_view errorheading = "Input program file in Intel Hex Format contains errors.";
constexpr std::string_view nodatatext = "Input program file in Intel Hex Format contains no data.";

// Sum of the valid pairs of a record body, an invalid pair counting -1, and its checksum byte.
int32_t checksumvalue(std::string_view body)
{
    int32_t sum = 0;
    for (size_t i = 0; i + 1 < body.size(); i += 2)
        sum += parsehexbyte(body.substr(i, 2));
    // (256 - sum mod 256) taken to its low byte; the same for either sign of the remainder.
    return static_cast<int32_t>((256u - (static_cast<uint32_t>(sum) & 255u)) & 255u);
}

bool istrailingblank(char c)
{
    return c == ' ' || c == '\t' || c == '\r';
}

// The state of one read: fed line by line, it stops at the end record or the first error.
class HexReader {
public:
    explicit HexReader(HexBuffer& buf) : buf_(buf) { buf_.fill(0); }

    // Takes one physical line without its LF; false when reading must stop.
    bool feed(std::string_view line)
    {
        ++linecount_;
        while (!line.empty() && istrailingblank(line.back()))
            line.remove_suffix(1);
        if (line.empty() || line.front() == ';')
            return true;
        if (line.front() != ':')
            return fail(1);
        if (line.size() < 11)
            return fail(2);

        const std::string_view body = line.substr(1);
        const std::string_view sumtext = body.substr(body.size() - 2);
        const std::string_view summed = body.substr(0, body.size() - 2);
        const int32_t want = checksumvalue(summed);
        if (parsehexbyte(sumtext) != want)
            return fail(3);

        const int32_t count = parsehexbyte(body.substr(0, 2));
        const int32_t address = parsehexword(body.substr(2, 4));
        const int32_t type = parsehexbyte(body.substr(6, 2));
        const std::string_view data = summed.substr(8);

        switch (type) {
        case 0x01:
            return false; // end of file: nothing after it is looked at
        case 0x05:
            return true; // start linear address: of no use to an 8085
        case 0x04: {
            const int32_t value = parsehexword(data);
            if (data.size() != 4 || value < 0 || address != 0)
                return fail(5);
            linear_ = value;
            return true;
        }
        case 0x02: {
            const int32_t value = parsehexword(data);
            if (data.size() != 4 || value < 0 || data.back() != '0' || address != 0)
                return fail(11);
            segment_ = value;
            return true;
        }
        case 0x00:
            return storedata(count, address, data);
        default:
            return fail(4);
        }
    }

    HexReadResult finish() const
    {
        HexReadResult r;
        r.line = linecount_;
        if (error_ != 0) {
            r.error = error_;
            r.message = std::string(errorheading) + "\r\nLine number " + std::to_string(linecount_) +
                        std::string(errortexts[error_]);
            return r;
        }
        if (highest_ == 0) {
            r.message = std::string(nodatatext);
            return r;
        }
        r.size = highest_;
        return r;
    }

private:
    bool fail(int error)
    {
        error_ = error;
        return false;
    }

    bool storedata(int32_t count, int32_t address, std::string_view data)
    {
        if (data.empty())
            return true; // a data record without data is skipped, whatever its count says
        if (count < 0)
            return fail(6);
        if (address < 0)
            return fail(7);
        if (data.size() != static_cast<size_t>(count) * 2)
            return fail(8);
        // Linear part times 65536 plus segment times 16 plus offset, worked out wide so that
        // nothing wraps: every address above 64K is refused.
        int64_t at = ((static_cast<int64_t>(linear_) << 12) + segment_) * 16 + address;
        for (size_t i = 0; i < data.size(); i += 2) {
            if (at < 0 || at > 65535)
                return fail(10);
            const int32_t value = parsehexbyte(data.substr(i, 2));
            if (value < 0)
                return fail(9);
            buf_[static_cast<size_t>(at)] = value;
            ++at;
            if (at > highest_)
                highest_ = static_cast<int32_t>(at);
        }
        return true;
    }

    HexBuffer& buf_;
    int32_t linecount_ = 0;
    int error_ = 0;
    int32_t highest_ = 0;
    int32_t linear_ = 0;
    int32_t segment_ = 0;
};

// The records of image[0..last] as text; last is kept inside the 64K image.
std::string recordstext(const int32_t* image, int32_t last)
{
    std::string out;
    if (last > 65535)
        last = 65535;
    if (image != nullptr && last >= 0)
        out.reserve(static_cast<size_t>(last / 16 + 1) * 45 + 13);
    char line[64];
    for (int32_t start = 0; image != nullptr && start <= last; start += 16) {
        const int32_t n = (last - start + 1 < 16) ? last - start + 1 : 16;
        char body[48];
        char* p = puthexbyte(body, n);
        p = puthexword(p, start);
        *p++ = '0';
        *p++ = '0';
        char* datastart = p;
        for (int32_t i = 0; i < n; ++i)
            p = puthexbyte(p, image[start + i]);
        // A full chunk of zero bytes gets no record; a short chunk is always written.
        if (n == 16 && std::string_view(datastart, static_cast<size_t>(p - datastart)).find_first_not_of('0') ==
                           std::string_view::npos)
            continue;
        const std::string_view bodytext(body, static_cast<size_t>(p - body));
        char* q = line;
        *q++ = ':';
        std::memcpy(q, body, bodytext.size());
        q += bodytext.size();
        q = puthexbyte(q, checksumvalue(bodytext));
        *q++ = '\r';
        *q++ = '\n';
        out.append(line, static_cast<size_t>(q - line));
    }
    out += ":00000001FF\r\n";
    return out;
}

} // namespace

std::string hexchecksum(const std::string& body)
{
    return hexbyte(checksumvalue(body));
}

HexReadResult readhextext(const std::string& text, HexBuffer& buf)
{
    HexReader reader(buf);
    const std::string_view all(text);
    size_t pos = 0;
    while (pos < all.size()) {
        const size_t end = all.find('\n', pos);
        const std::string_view line =
            all.substr(pos, end == std::string_view::npos ? std::string_view::npos : end - pos);
        if (!reader.feed(line))
            break;
        if (end == std::string_view::npos)
            break;
        pos = end + 1;
    }
    return reader.finish();
}

HexReadResult readhexfile(const std::string& path, HexBuffer& buf)
{
    std::error_code ec;
    std::ifstream in;
    errno = 0;
    if (!std::filesystem::is_directory(path, ec))
        in.open(path, std::ios::binary);
    if (!in.is_open()) {
        const int err = errno;
        buf.fill(0);
        HexReadResult r;
        r.openfailed = true;
        r.message = "Cannot open the file " + path;
        if (std::filesystem::is_directory(path, ec))
            r.message += ": it is a folder.";
        else if (err != 0)
            r.message += ": " + std::string(std::strerror(err)) + ".";
        else
            r.message += ".";
        return r;
    }
    HexReader reader(buf);
    std::string line;
    // Line by line, so that whatever follows the end record is never read in. Only a line that
    // begins with ":" can be a record and is kept whole; of any other line its first characters
    // decide, so that a comment or a binary file is never held in memory.
    for (;;) {
        const int c = in.peek();
        if (c == std::char_traits<char>::eof())
            break;
        bool more = true;
        if (c == ':') {
            std::getline(in, line);
            more = reader.feed(line);
        } else if (c == ';') {
            in.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
            more = reader.feed(";");
        } else if (c == '\n' || istrailingblank(static_cast<char>(c))) {
            // Blanks alone make an empty line; a blank and then anything else is no record.
            int d = in.get();
            while (d != '\n' && d != std::char_traits<char>::eof() && istrailingblank(static_cast<char>(d)))
                d = in.get();
            more = reader.feed(d == '\n' || d == std::char_traits<char>::eof() ? "" : " ?");
        } else {
            more = reader.feed(std::string(1, static_cast<char>(c)));
        }
        if (!more)
            break;
    }
    return reader.finish();
}

std::string hexfiletext(const int32_t* image, int32_t last)
{
    return recordstext(image, last);
}

bool writehexfile(const int32_t* image, int32_t last, const std::string& path)
{
    return writehexfile(image, last, path, nullptr);
}

bool writehexfile(const int32_t* image, int32_t last, const std::string& path, std::string* error)
{
    return writefilesafely(path, recordstext(image, last), error);
}

std::string objimagetext(const int32_t* image, int32_t last)
{
    std::string out;
    if (last > 65535)
        last = 65535;
    if (image == nullptr || last < 0)
        return out;
    out.resize(static_cast<size_t>(last) + 1);
    for (int32_t i = 0; i <= last; ++i)
        out[static_cast<size_t>(i)] = static_cast<char>(static_cast<uint8_t>(image[i] & 255));
    return out;
}

bool writeobjfile(const int32_t* image, int32_t last, const std::string& path)
{
    return writeobjfile(image, last, path, nullptr);
}

bool writeobjfile(const int32_t* image, int32_t last, const std::string& path, std::string* error)
{
    return writefilesafely(path, objimagetext(image, last), error);
}

} // namespace kelvane
