#include "progfiles/programload.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>

namespace kelvane {

namespace {

std::string lowercase(std::string s)
{
    for (char& c : s)
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    return s;
}

ProgramLoadResult openfailure(const std::string& path, int err)
{
    ProgramLoadResult r;
    r.status = LoadStatus::fileerror;
    r.message = "Cannot open the file " + path;
    r.message += err != 0 ? ": " + std::string(std::strerror(err)) + "." : ".";
    return r;
}

// The file part of a path: what follows its last "/".
size_t filepartstart(const std::string& path)
{
    const size_t slash = path.find_last_of('/');
    return slash == std::string::npos ? 0 : slash + 1;
}

} // namespace

int ProgramLoadResult::exitcode() const
{
    switch (status) {
    case LoadStatus::ok:
        return 0;
    case LoadStatus::refused:
        return 1;
    case LoadStatus::fileerror:
        break;
    }
    return 2;
}

bool programformat(const std::string& format, const std::string& path, ProgramFormat& out)
{
    const std::string f = lowercase(format);
    if (f == "hex") {
        out = ProgramFormat::hex;
        return true;
    }
    if (f == "obj") {
        out = ProgramFormat::obj;
        return true;
    }
    if (!f.empty())
        return false;
    const std::string name = path.substr(filepartstart(path));
    const size_t dot = name.find_last_of('.');
    out = (dot != std::string::npos && lowercase(name.substr(dot)) == ".hex") ? ProgramFormat::hex
                                                                             : ProgramFormat::obj;
    return true;
}

ProgramLoadResult readobjfile(const std::string& path, HexBuffer& buf)
{
    std::error_code ec;
    if (std::filesystem::is_directory(path, ec))
        return openfailure(path, EISDIR);
    errno = 0;
    std::ifstream in(path, std::ios::binary);
    if (!in.is_open())
        return openfailure(path, errno);
    // One byte more than fits tells an image that is too long, also for a pipe or device.
    std::string bytes(65537, '\0');
    in.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    const std::streamsize got = in.gcount();
    if (in.bad()) {
        ProgramLoadResult r;
        r.message = "Cannot read the file " + path + ".";
        return r;
    }
    ProgramLoadResult r;
    if (got > 65536) {
        r.status = LoadStatus::refused;
        r.message = imagetoolargetext;
        return r;
    }
    if (got == 0) {
        r.status = LoadStatus::refused;
        r.message = imageemptytext;
        return r;
    }
    buf.fill(0);
    for (std::streamsize i = 0; i < got; ++i)
        buf[static_cast<size_t>(i)] = static_cast<uint8_t>(bytes[static_cast<size_t>(i)]);
    r.status = LoadStatus::ok;
    r.size = static_cast<int32_t>(got);
    return r;
}

ProgramLoadResult loadprogramfile(const std::string& path, ProgramFormat format, HexBuffer& buf)
{
    if (format == ProgramFormat::obj)
        return readobjfile(path, buf);
    const HexReadResult h = readhexfile(path, buf);
    ProgramLoadResult r;
    r.size = h.size;
    r.message = h.message;
    if (h.openfailed)
        r.status = LoadStatus::fileerror;
    else if (h.size > 0)
        r.status = LoadStatus::ok;
    else
        r.status = LoadStatus::refused;
    return r;
}

ProgramLoadResult loadprogram(const std::string& path, const std::string& format, int32_t* image)
{
    ProgramFormat f;
    if (!programformat(format, path, f)) {
        ProgramLoadResult r;
        r.status = LoadStatus::fileerror;
        r.message = "Unknown program format " + format + " (use hex or obj).";
        return r;
    }
    auto staging = std::make_unique<HexBuffer>();
    ProgramLoadResult r = loadprogramfile(path, f, *staging);
    if (r.status == LoadStatus::ok)
        std::copy(staging->begin(), staging->end(), image);
    return r;
}

int32_t lastusedaddress(const int32_t* mem)
{
    for (int32_t a = 65535; a >= 0; --a)
        if (mem[a] != 0)
            return a;
    return -1;
}

std::string savefilename(const std::string& chosen, ProgramFormat format)
{
    const size_t start = filepartstart(chosen);
    const size_t dot = chosen.find('.', start);
    std::string name = dot == std::string::npos ? chosen : chosen.substr(0, dot);
    name += format == ProgramFormat::hex ? ".hex" : ".obj";
    return name;
}

std::string kilobytetext(int32_t size)
{
    // size / 1024 is exact in a double for every size of 64K or less, so the shortest plain
    // decimal text is the exact value; it is cut, never rounded.
    const double kb = static_cast<double>(size) / 1024.0;
    char text[64];
    const auto res = std::to_chars(text, text + sizeof text, kb, std::chars_format::fixed);
    std::string s(text, res.ptr);
    if (s.size() > 1 && s[0] == '0' && s[1] == '.')
        s.erase(0, 1);
    else if (s.size() > 2 && s[0] == '-' && s[1] == '0' && s[2] == '.')
        s.erase(1, 1);
    if (s.size() > 4)
        s.resize(4);
    return s;
}

std::string loadedmessage(int32_t size)
{
    return "Operation completed.\r\nTotal " + std::to_string(size) + " (" + kilobytetext(size) + "K) bytes loaded.";
}

std::string savedmessage(int32_t size)
{
    return "Operation completed.\r\nTotal " + std::to_string(size) + " (" + kilobytetext(size) + "K) bytes saved.";
}

std::string overwritequestion(const std::string& path)
{
    return "Do you want to overwrite existing file " + path + "?";
}

MemorySaveResult savememory(const int32_t* mem, ProgramFormat format, const std::string& path)
{
    MemorySaveResult r;
    const int32_t last = lastusedaddress(mem);
    if (last < 0) {
        r.message = memoryemptytext;
        return r;
    }
    std::string error;
    const bool written = format == ProgramFormat::hex ? writehexfile(mem, last, path, &error)
                                                      : writeobjfile(mem, last, path, &error);
    if (!written) {
        r.message = error;
        return r;
    }
    r.ok = true;
    r.size = last + 1;
    r.message = savedmessage(r.size);
    return r;
}

} // namespace kelvane
