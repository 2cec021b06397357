#include "disassembler/disassembler.h"

#include "core/hexutil.h"
#include "disassembler/opcodes.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <numeric>
#include <string_view>
#include <system_error>

namespace kelvane {

namespace {

constexpr int32_t maxprogram = 65536;
constexpr int headingrows = 5;
constexpr int16_t flagonrow = -1; // 65535 in 16 bits: the label stands on a row
constexpr int16_t flagequ = 0;    // the label needs an .EQU row

const char* const listingheading[4] = {
    "--------------------------------------------------",
    "8085 DISASSEMBLER LISTING",
    "Line   Addr Opcodes     Label   Instruction",
    "--------------------------------------------------",
};
const char* const sourceheading[4] = {
    ";-------------------------------------------------",
    ";8085 DISASSEMBLER LISTING",
    ";Label  Instruction",
    ";-------------------------------------------------",
};
const char* const listinglabelheading[4] = {
    "---------------------------------------------",
    "LIST OF LABELS",
    "Sorted by address:      Sorted by name:",
    "---------------------------------------------",
};
const char* const sourcelabelheading[4] = {
    ";--------------------------------------------",
    ";LIST OF LABELS",
    ";Sorted by address:      Sorted by name:",
    ";--------------------------------------------",
};

// The last four characters of "000" followed by the decimal number (line and label numbers).
std::string fourdigits(int32_t n)
{
    std::string s(3, '0');
    s += std::to_string(n);
    return s.substr(s.size() - 4);
}

// "L", the four-digit number, ":" (the label as it stands on a row).
std::string labeltext(int32_t n)
{
    std::string s(1, 'L');
    s += fourdigits(n);
    s += ':';
    return s;
}

struct FileCloser {
    void operator()(std::FILE* f) const { std::fclose(f); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

// Removes the file of this exact name if there is one. A directory of that name is left alone.
void removeifpresent(const std::filesystem::path& p)
{
    std::error_code ec;
    const auto st = std::filesystem::symlink_status(p, ec);
    if (ec || !std::filesystem::exists(st) || std::filesystem::is_directory(st))
        return;
    std::filesystem::remove(p, ec);
}

// Creates a new file, never opening one that exists (nor following a link to another file).
File createnew(const std::filesystem::path& p)
{
    removeifpresent(p);
    return File(std::fopen(p.string().c_str(), "wbx"));
}

bool writeall(std::FILE* f, const std::string& text)
{
    return std::fwrite(text.data(), 1, text.size(), f) == text.size();
}

bool readall(const std::filesystem::path& p, std::string& text)
{
    File f(std::fopen(p.string().c_str(), "rb"));
    if (!f)
        return false;
    text.clear();
    std::error_code ec;
    const auto size = std::filesystem::file_size(p, ec);
    if (!ec)
        text.reserve(static_cast<size_t>(size));
    char buf[65536];
    size_t n;
    while ((n = std::fread(buf, 1, sizeof buf, f.get())) > 0)
        text.append(buf, n);
    return std::ferror(f.get()) == 0;
}

// Splits text into rows at LF, dropping a CR before it.
std::vector<std::string_view> splitrows(std::string_view text)
{
    std::vector<std::string_view> rows;
    size_t start = 0;
    while (start < text.size()) {
        size_t end = text.find('\n', start);
        if (end == std::string_view::npos)
            end = text.size();
        std::string_view row = text.substr(start, end - start);
        if (!row.empty() && row.back() == '\r')
            row.remove_suffix(1);
        rows.push_back(row);
        start = end + 1;
    }
    return rows;
}

// The address in columns 8 to 11 of an intermediate row, -1 when it isn't there.
int32_t rowaddress(std::string_view row)
{
    if (row.size() < 11)
        return -1;
    return parsehexword(row.substr(7, 4));
}

void putrow(std::string& out, std::string_view row)
{
    out.append(row);
    out.push_back('\n');
}

} // namespace

Disassembler& dasm()
{
    static Disassembler instance;
    return instance;
}

void Disassembler::loadimage(const uint8_t* bytes, size_t count)
{
    std::fill(dasmimage.begin(), dasmimage.end(), 0);
    const size_t n = std::min<size_t>(count, maxprogram);
    for (size_t i = 0; i < n; ++i)
        dasmimage[i] = bytes[i];
    dasmsize = static_cast<int32_t>(n);
}

void Disassembler::loadmemory(const int32_t* values, int32_t size)
{
    std::copy(values, values + maxprogram, dasmimage.begin());
    std::fill(dasmimage.begin() + maxprogram, dasmimage.end(), 0);
    dasmsize = size;
}

void Disassembler::resetlabels()
{
    dasmlabelcount = 0;
    dasmlabels.assign(1, 0);
    labelindex_.assign(maxprogram, 0);
    indexedcount_ = 0;
}

void Disassembler::syncindex()
{
    const auto count = static_cast<size_t>(std::max(dasmlabelcount, 0));
    if (indexedcount_ == dasmlabelcount && dasmlabels.size() == count + 1 &&
        labelindex_.size() == static_cast<size_t>(maxprogram))
        return;
    // The caller changed the table: index it again, first entry of an address winning.
    if (dasmlabels.size() < count + 1)
        dasmlabels.resize(count + 1, 0);
    dasmlabels.resize(count + 1);
    labelindex_.assign(maxprogram, 0);
    for (size_t i = count; i >= 1; --i) {
        const int32_t a = dasmlabels[i];
        if (a >= 0 && a < maxprogram)
            labelindex_[static_cast<size_t>(a)] = static_cast<int32_t>(i);
    }
    indexedcount_ = dasmlabelcount;
}

std::string Disassembler::dasmlabel(int32_t address)
{
    syncindex();
    const auto slot = static_cast<size_t>(address & 0xFFFF);
    int32_t idx = address == static_cast<int32_t>(slot) ? labelindex_[slot] : 0;
    if (idx == 0) {
        ++dasmlabelcount;
        dasmlabels.push_back(address);
        idx = dasmlabelcount;
        if (address == static_cast<int32_t>(slot))
            labelindex_[slot] = idx;
        indexedcount_ = dasmlabelcount;
    }
    return fourdigits(idx);
}

void Disassembler::decodeinstruction(bool sourceform)
{
    auto byteat = [this](int64_t a) -> int32_t {
        if (a < 0 || a >= static_cast<int64_t>(dasmimage.size()))
            return 0;
        return dasmimage[static_cast<size_t>(a)] & 0xFF;
    };
    const int32_t op = byteat(dasmaddress);
    const DasmOpcode& e = dasmopcodes()[static_cast<size_t>(op)];
    dasmlength = e.length;
    const int64_t a = dasmaddress;
    switch (e.operand) {
    case DasmOperand::none:
        dasmtext = e.text;
        break;
    case DasmOperand::byte:
        dasmtext = e.text;
        dasmtext += asmhexbyte(byteat(a + 1));
        dasmtext += 'H';
        break;
    case DasmOperand::word:
        dasmtext = e.text;
        dasmtext += asmhexword(byteat(a + 1) + 256 * byteat(a + 2));
        dasmtext += 'H';
        break;
    case DasmOperand::address:
        dasmtext = e.text;
        dasmtext += dasmlabel(byteat(a + 1) + 256 * byteat(a + 2));
        break;
    case DasmOperand::undefined:
        if (sourceform) {
            dasmtext = ".DB ";
            dasmtext += asmhexbyte(op);
            dasmtext += "H ;UNRECOGNIZED";
        } else {
            dasmtext = "UNRECOGNIZED";
        }
        break;
    }
}

void Disassembler::showprogress(bool silent, const std::string& p1, const std::string& p2)
{
    if (!silent && progress)
        progress(p1, p2);
}

bool Disassembler::disassemble(bool silent, bool sourceform)
{
    dasmerror.clear();
    bool ok = false;
    try {
        int32_t linecount = 0;
        ok = firststage(silent, sourceform, linecount) && secondstage(silent, sourceform, linecount);
    } catch (...) {
        removeifpresent(intermediatepath());
        removeifpresent(resultpath());
        throw;
    }
    if (!ok) {
        removeifpresent(intermediatepath());
        removeifpresent(resultpath());
    }
    return ok;
}

bool Disassembler::firststage(bool silent, bool sourceform, int32_t& linecount)
{
    resetlabels();
    File f = createnew(intermediatepath());
    if (!f) {
        dasmerror = "Cannot create the file " + intermediatepath().string() + ".";
        return false;
    }
    std::string out;
    out.reserve(static_cast<size_t>(std::clamp(dasmsize, 1, maxprogram)) * 48 + 512);
    for (const char* h : sourceform ? sourceheading : listingheading)
        putrow(out, h);
    putrow(out, "");

    // A size beyond 64K would read past the image; the sweep never goes further than that.
    const int32_t end = std::min(dasmsize, maxprogram);
    dasmaddress = 0;
    linecount = 0;
    const std::string pass1 = "Performing pass 1.";
    do {
        ++linecount;
        if (!silent && progress)
            showprogress(silent, pass1, "Line  " + std::to_string(linecount));
        decodeinstruction(sourceform);
        out += fourdigits(linecount);
        out += "   ";
        char hex[12];
        out.append(hex, static_cast<size_t>(puthexword(hex, dasmaddress) - hex));
        out += ' ';
        size_t col = 0;
        for (int32_t k = 0; k < dasmlength; ++k) {
            if (k > 0) {
                out += ' ';
                ++col;
            }
            const int64_t a = int64_t{dasmaddress} + k;
            const int32_t b = a < static_cast<int64_t>(dasmimage.size()) ? dasmimage[static_cast<size_t>(a)] : 0;
            out.append(hex, static_cast<size_t>(puthexbyte(hex, b) - hex));
            col += 2;
        }
        out.append(12 - col + 8, ' ');
        out += dasmtext;
        out += '\n';
        dasmaddress += dasmlength;
    } while (dasmaddress < end);

    if (!writeall(f.get(), out) || std::fclose(f.release()) != 0) {
        dasmerror = "Cannot write the file " + intermediatepath().string() + ".";
        return false;
    }
    return true;
}

bool Disassembler::secondstage(bool silent, bool sourceform, int32_t linecount)
{
    showprogress(silent, "Preparing listing.", "");
    const auto count = static_cast<size_t>(dasmlabelcount);

    // Places 1..count in order of address; the text keeps the number of the first reference.
    std::vector<int32_t> sortedaddress(count + 1, 0);
    std::vector<std::string> sortedtext(count + 1);
    std::vector<int16_t> flag(count + 1, 0);
    if (count > 0) {
        std::vector<int32_t> order(count);
        std::iota(order.begin(), order.end(), 1);
        std::sort(order.begin(), order.end(), [this](int32_t x, int32_t y) {
            return dasmlabels[static_cast<size_t>(x)] < dasmlabels[static_cast<size_t>(y)];
        });
        for (size_t r = 1; r <= count; ++r) {
            const int32_t i = order[r - 1];
            sortedaddress[r] = dasmlabels[static_cast<size_t>(i)];
            sortedtext[r] = labeltext(i);
            flag[r] = flagonrow;
        }
    }

    std::string intermediate;
    if (!readall(intermediatepath(), intermediate)) {
        dasmerror = "Cannot read the file " + intermediatepath().string() + ".";
        return false;
    }
    const std::vector<std::string_view> all = splitrows(intermediate);
    const size_t rowsend = std::min(all.size(), static_cast<size_t>(headingrows + linecount));

    // Source form: a label that no row carries gets an .EQU. The pointer moves one place a row at most.
    if (sourceform && count > 0) {
        size_t p = 1;
        for (size_t k = headingrows; k < rowsend && p <= count; ++k) {
            const int32_t a = rowaddress(all[k]);
            if (a == sortedaddress[p]) {
                ++p;
            } else if (a > sortedaddress[p]) {
                flag[p] = flagequ;
                ++p;
            }
        }
        for (; p <= count; ++p)
            flag[p] = flagequ;
    }

    File f = createnew(resultpath());
    if (!f) {
        dasmerror = "Cannot create the file " + resultpath().string() + ".";
        return false;
    }
    std::string out;
    out.reserve(intermediate.size() + count * 48 + 512);
    for (size_t k = 0; k < std::min<size_t>(headingrows, all.size()); ++k)
        putrow(out, all[k]);

    if (sourceform && count > 0) {
        bool any = false;
        for (size_t j = 1; j <= count; ++j)
            if (flag[j] == flagequ) {
                putrow(out, sortedtext[j] + "  .EQU " + asmhexword(sortedaddress[j]) + "H");
                any = true;
            }
        if (any)
            putrow(out, "");
    }

    size_t p = 1;
    for (size_t k = headingrows; k < rowsend; ++k) {
        const std::string_view row = all[k];
        const std::string* label = nullptr;
        if (count > 0) {
            const int32_t a = rowaddress(row);
            if (a == sortedaddress[p]) {
                label = &sortedtext[p];
                if (p < count)
                    ++p;
            }
            if (p < count && a > sortedaddress[p])
                ++p;
        }
        // The label text takes the six columns from 25; the form decides where the row starts.
        const size_t from = sourceform ? 24 : 0;
        if (label && row.size() >= 30) {
            out.append(row.substr(from, 24 - from));
            out.append(*label);
            out.append(row.substr(30));
            out.push_back('\n');
        } else if (label) {
            // A row too short to hold the label (not one the sweep writes): pad it first.
            std::string padded(row.substr(0, std::min<size_t>(row.size(), 24)));
            padded.resize(24, ' ');
            padded += *label;
            putrow(out, std::string_view(padded).substr(from));
        } else {
            putrow(out, row.size() > from ? row.substr(from) : std::string_view());
        }
    }

    if (count > 0) {
        putrow(out, "");
        for (const char* h : sourceform ? sourcelabelheading : listinglabelheading)
            putrow(out, h);
        putrow(out, "");
        for (size_t j = 1; j <= count; ++j) {
            if (sourceform)
                out += ';';
            out += sortedtext[j];
            out += "  ";
            out += hexword(sortedaddress[j]);
            out.append(12, ' ');
            out += labeltext(static_cast<int32_t>(j));
            out += "  ";
            out += hexword(dasmlabels[j]);
            out += '\n';
        }
    }

    if (!writeall(f.get(), out) || std::fclose(f.release()) != 0) {
        dasmerror = "Cannot write the file " + resultpath().string() + ".";
        return false;
    }
    removeifpresent(intermediatepath());
    return true;
}

bool Disassembler::takeresult(std::string& text)
{
    const bool ok = readall(resultpath(), text);
    removeifpresent(resultpath());
    if (!ok)
        text.clear();
    return ok;
}

} // namespace kelvane
