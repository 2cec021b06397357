// The driver: reading the source, both passes, the listing rows, the object image and the
// output files.
#include "assembler/asmtable.h"
#include "assembler/assembler.h"
#include "assembler/asmtext.h"
#include "core/hexutil.h"
#include "progfiles/hexfile.h"

#include <cstdio>
#include <fstream>
#include <iterator>
#include <sstream>

namespace kelvane {

using asmtext::trim;
using asmtext::upper;

namespace {

bool isregisterword(std::string_view s)
{
    if (s.size() == 1) {
        switch (asmtext::upperchar(s[0])) {
        case 'A': case 'B': case 'C': case 'D': case 'E': case 'H': case 'L': case 'M':
            return true;
        default:
            return false;
        }
    }
    if (s.size() != 2 && s.size() != 3)
        return false;
    const std::string u = upper(s);
    return u == "SP" || u == "PSW";
}

bool islistmnemonic(const std::string& m)
{
    return m == "DB" || m == ".DB" || m == ".DEFB" || m == "DEFB" || m == ".DW" || m == "DW" ||
           m == ".DEFW" || m == "DEFW";
}

bool islisttemplate(const std::string& t)
{
    return t == "DB *" || t == ".DB *" || t == ".DEFB *" || t == "DEFB *" || t == ".DW *" ||
           t == "DW *" || t == ".DEFW *" || t == "DEFW *";
}

bool isequtemplate(const std::string& t)
{
    return t == "EQU *" || t == ".EQU *";
}

// Rewrites a .DB/.DW operand list: items trimmed and joined by commas without blanks, and a
// quoted string of two or more characters opened up into one character literal per character.
std::string openlist(std::string_view list)
{
    std::string out;
    out.reserve(list.size() + 8);
    bool first = true;
    auto put = [&out, &first](std::string_view item) {
        if (!first)
            out += ',';
        first = false;
        out += item;
    };
    while (true) {
        const size_t p = list.find(',');
        const std::string_view item = trim(list.substr(0, p));
        const size_t n = item.size();
        if (n >= 4 && (item[0] == '"' || item[0] == '\'') && item[n - 1] == item[0]) {
            for (size_t k = 1; k + 1 < n; ++k) {
                const char lit[3] = {'\'', item[k], '\''};
                put(std::string_view(lit, 3));
            }
        } else {
            put(item);
        }
        if (p == std::string_view::npos)
            break;
        list.remove_prefix(p + 1);
    }
    return out;
}

// The line number as the listing prints it: the last four digits, with leading zeros.
void putlinenumber(std::string& out, int32_t i)
{
    std::string t = "000" + std::to_string(i);
    out.append(t, t.size() - 4, 4);
}

} // namespace

namespace {

// Calls put(line) for each line of the text, cut at CR LF or LF.
template <typename Put>
void eachsourceline(std::string_view text, Put&& put)
{
    size_t start = 0;
    while (start < text.size()) {
        const size_t nl = text.find('\n', start);
        const bool last = nl == std::string_view::npos;
        size_t end = last ? text.size() : nl;
        if (!last && end > start && text[end - 1] == '\r')
            --end;
        put(text.substr(start, end - start));
        if (last)
            break;
        start = nl + 1;
    }
}

} // namespace

std::vector<std::string> splitsourcelines(std::string_view text)
{
    std::vector<std::string> lines;
    eachsourceline(text, [&lines](std::string_view l) { lines.emplace_back(l); });
    return lines;
}

std::string stripline(std::string_view text)
{
    const size_t semi = text.find(';');
    if (semi != std::string_view::npos)
        text = text.substr(0, semi);
    std::string s(text);
    for (char& c : s)
        if (c == '\t')
            c = ' ';
    s.resize(asmtext::rtrim(s).size());
    return s;
}

std::string asmbasename(const std::string& name)
{
    return name.substr(0, name.find('.'));
}

Assembler::Assembler()
    : objimage(65536, 0)
{
}

void Assembler::reset()
{
    objimage.assign(65536, 0);
    errorcount = 0;
    labelcount = 0;
    linecount = 0;
    errorlinecount = 0;
    listingrow = 0;
    locationcounter = 0;
    lastaddress = -1;
    curvalue = 0;
    for (auto* v : {&asmsource, &asmerrortext, &asmtemplate, &asmoperand1, &asmoperand2, &asmcode, &labelname})
        v->clear();
    asmerrorflag.clear();
    asmaddress.clear();
    labelline.clear();
    labelvalue.clear();
    errorline.clear();
    errorrow.clear();
    labelindex.clear();
    listing.clear();
    hextext.clear();
    fileerror.clear();
    // Index 0 of every array is unused.
    labelname.emplace_back();
    labelline.push_back(0);
    labelvalue.push_back(0);
    errorline.push_back(0);
    errorrow.push_back(0);
}

void Assembler::show(const char* phase, int32_t line) const
{
    if (!showprogress || !progress)
        return;
    // The plain number-to-text conversion leaves a blank for the sign: "Line  12".
    progress(phase, line > 0 ? "Line  " + std::to_string(line) : std::string());
}

void Assembler::loadlines(std::string_view source)
{
    size_t count = 0;
    eachsourceline(source, [&count](std::string_view) { ++count; });
    asmsource.reserve(count + 1);
    asmsource.emplace_back();
    eachsourceline(source, [this](std::string_view l) { asmsource.emplace_back(l); });
    linecount = static_cast<int32_t>(count);
    const size_t n = count + 1;
    asmerrortext.assign(n, {});
    asmerrorflag.assign(n, 0);
    asmaddress.assign(n, 0);
    asmtemplate.assign(n, {});
    asmoperand1.assign(n, {});
    asmoperand2.assign(n, {});
    asmcode.assign(n, {});
}

void Assembler::pass1line(int32_t i)
{
    const auto k = static_cast<size_t>(i);
    show("Performing pass 1.", i);
    asmerrortext[k].clear();
    asmerrorflag[k] = 0;
    asmaddress[k] = locationcounter;
    asmtemplate[k].clear();
    asmoperand1[k].clear();
    asmoperand2[k].clear();
    asmcode[k].clear();
    curlabel.clear();
    curmnemonic.clear();
    curraw1.clear();
    curraw2.clear();

    std::string text = stripline(asmsource[k]);
    if (!text.empty()) {
        std::string up = upper(text);
        // An EQU statement may have its label indented.
        if (up.find(" EQU ") != std::string::npos || up.find(" .EQU ") != std::string::npos) {
            const size_t lead = up.find_first_not_of(' ');
            text.erase(0, lead);
            up.erase(0, lead);
        }
        size_t rest = 0;
        const char first = up[0];
        if ((first >= 'A' && first <= 'Z') || first == '_') {
            const size_t blank = up.find(' ');
            curlabel = up.substr(0, blank);
            rest = blank == std::string::npos ? up.size() : blank + 1;
            if (curlabel.back() == ':')
                curlabel.pop_back();
            const char* error = nullptr;
            if (curlabel.size() >= 33)
                error = "Labels can't be longer than 32 characters.";
            else if (findlabel(curlabel) != 0)
                error = "Duplicate label.";
            if (error != nullptr) {
                seterror(i, error);
                curlabel.clear();
                rest = up.size();
            } else {
                ++labelcount;
                labelindex.emplace(curlabel, labelcount);
                labelname.push_back(curlabel);
                labelline.push_back(i);
                labelvalue.push_back(novalue);
            }
        }
        const std::string_view statement = trim(std::string_view(text).substr(rest));
        if (!statement.empty()) {
            const size_t blank = statement.find(' ');
            curmnemonic = upper(statement.substr(0, blank));
            const std::string_view operands =
                blank == std::string_view::npos ? std::string_view() : trim(statement.substr(blank + 1));
            const size_t comma = operands.find(',');
            if (comma == std::string_view::npos) {
                curraw1 = operands;
            } else {
                curraw1 = trim(operands.substr(0, comma));
                curraw2 = trim(operands.substr(comma + 1));
            }
            if (islistmnemonic(curmnemonic)) {
                if (!curraw2.empty()) {
                    curraw1 += ',';
                    curraw1 += curraw2;
                    curraw2.clear();
                }
                curraw1 = openlist(curraw1);
            }
        }
    }

    // The template: the mnemonic with register words spelled out and "*" for anything else.
    curtemplate.clear();
    curoperand1.clear();
    curoperand2.clear();
    if (asmerrorflag[k] == 0) {
        curtemplate = curmnemonic;
        curoperand1 = curraw1;
        curoperand2 = curraw2;
    }
    if (!curoperand1.empty()) {
        curtemplate += ' ';
        if (curtemplate == "RST ") {
            curtemplate += upper(curoperand1);
            curoperand1.clear();
        } else if (isregisterword(curoperand1)) {
            curtemplate += upper(curoperand1);
            curoperand1.clear();
        } else {
            curtemplate += '*';
        }
        if (!curoperand2.empty()) {
            curtemplate += ',';
            if (isregisterword(curoperand2)) {
                curtemplate += upper(curoperand2);
                curoperand2.clear();
            } else {
                curtemplate += '*';
            }
        }
    }
    if (!curoperand2.empty() && curoperand1.empty()) {
        curoperand1 = std::move(curoperand2);
        curoperand2.clear();
    }
    asmtemplate[k] = curtemplate;
    asmoperand1[k] = curoperand1;
    asmoperand2[k] = curoperand2;

    if (asmerrorflag[k] == 0 && !curlabel.empty()) {
        const auto n = static_cast<size_t>(labelcount);
        if (isequtemplate(curtemplate)) {
            asmoperand2[k] = curlabel;
            const int32_t v = evalexpression(curoperand1);
            if (v < novalue)
                labelvalue[n] = v;
        } else {
            labelvalue[n] = locationcounter;
        }
    }
    if (asmerrorflag[k] == 0)
        sizeline(i);
}

void Assembler::pass2line(int32_t i)
{
    const auto k = static_cast<size_t>(i);
    show("Performing pass 2.", i);
    curtemplate = asmtemplate[k];
    curoperand1 = asmoperand1[k];
    curoperand2 = asmoperand2[k];
    locationcounter = asmaddress[k];

    if (asmerrorflag[k] == 0 && isequtemplate(curtemplate)) {
        const int32_t v = evalexpression(curoperand1);
        if (v == novalue) {
            seterror(i, "Invalid argument of the .EQU directive.");
        } else if (const int32_t n = findlabel(curoperand2); n != 0) {
            labelvalue[static_cast<size_t>(n)] = v;
        } else {
            seterror(i, "Label missing.");
        }
    }
    if (asmerrorflag[k] == 0 && !islisttemplate(curtemplate) && !curoperand1.empty()) {
        curvalue = evalexpression(curoperand1);
        if (curvalue == novalue)
            seterror(i, "Invalid argument of the instruction.");
    }
    if (asmerrorflag[k] == 0)
        encodeline(i);
}

void Assembler::buildlisting()
{
    listing.clear();
    listing.reserve(static_cast<size_t>(linecount) * 40 + 32);
    listingrow = 1;
    for (int32_t i = 1; i <= linecount; ++i) {
        const auto k = static_cast<size_t>(i);
        std::string& code = asmcode[k];
        code.append(12 - code.size() % 12, ' ');
        const size_t rows = code.size() / 12;
        if (rows <= 4) {
            for (size_t r = 0; r < rows; ++r) {
                putlinenumber(listing, i);
                listing += "   ";
                char addr[4];
                puthexword(addr, asmaddress[k] + static_cast<int32_t>(4 * r));
                listing.append(addr, 4);
                listing += ' ';
                listing.append(code, 12 * r, 12);
                if (r == 0)
                    listing += asmsource[k];
                listing += "\r\n";
                ++listingrow;
            }
        }
        if (asmerrorflag[k] != 0) {
            ++errorlinecount;
            errorline.push_back(i);
            errorrow.push_back(listingrow);
            putlinenumber(listing, i);
            listing += " Error: ";
            listing += asmerrortext[k];
            listing += "\r\n";
            ++listingrow;
        }
    }
    listing += "Number of errors = ";
    listing += std::to_string(errorcount);
    listing += "\r\n";
}

void Assembler::buildimage()
{
    lastaddress = -1;
    for (int32_t i = 1; i <= linecount; ++i) {
        const auto k = static_cast<size_t>(i);
        const std::string_view code = asmtext::rtrim(asmcode[k]);
        const size_t n = (code.size() + 1) / 3;
        for (size_t b = 0; b < n; ++b) {
            const int32_t address = asmaddress[k] + static_cast<int32_t>(b);
            // Lines are refused before their bytes can pass FFFF; this keeps the image safe anyway.
            if (address < 0 || address > 65535)
                continue;
            const int32_t v = parsehexbyte(code.substr(3 * b, 2));
            objimage[static_cast<size_t>(address)] = v < 0 ? 0 : v;
            lastaddress = address;
        }
    }
}

int32_t Assembler::assembletext(std::string_view source, int32_t status)
{
    showprogress = status != 1000;
    show("Loading source file.", 0);
    return run(source);
}

int32_t Assembler::run(std::string_view source, const std::string* base)
{
    reset();
    loadlines(source);
    for (int32_t i = 1; i <= linecount; ++i)
        pass1line(i);
    for (int32_t i = 1; i <= linecount; ++i)
        pass2line(i);

    auto writetext = [this](const std::string& path, const std::string& data) {
        std::ofstream out(path, std::ios::binary | std::ios::trunc);
        out.write(data.data(), static_cast<std::streamsize>(data.size()));
        out.close();
        if (!out && fileerror.empty())
            fileerror = "Can't write the file " + path + ".";
    };
    show("Writing LST file.", 0);
    buildlisting();
    if (base != nullptr)
        writetext(*base + ".lst", listing);
    show("Writing OBJ file.", 0);
    buildimage();
    if (base != nullptr && !writeobjfile(objimage.data(), lastaddress, *base + ".obj") && fileerror.empty())
        fileerror = "Can't write the file " + *base + ".obj.";
    if (optgeneratehex == "ON") {
        hextext = hexfiletext(objimage.data(), lastaddress);
        // The records of the HEX writer, as writehexfile writes them.
        if (base != nullptr)
            writetext(*base + ".hex", hextext);
    }
    return errorcount;
}

bool Assembler::assemblefile(const std::string& folder, const std::string& name, int32_t& status)
{
    std::string dir = folder;
    if (!dir.empty() && dir.back() != '/')
        dir += '/';
    const std::string base = dir + asmbasename(name);

    showprogress = status != 1000;
    show("Loading source file.", 0);
    std::string source;
    {
        std::ifstream in(dir + name, std::ios::binary);
        if (!in) {
            reset();
            fileerror = "Can't open the source file " + dir + name + ".";
            return false;
        }
        source.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
        if (in.bad()) {
            reset();
            fileerror = "Can't read the source file " + dir + name + ".";
            return false;
        }
    }
    status = run(source, &base);
    return fileerror.empty();
}

std::vector<AsmError> Assembler::errors() const
{
    std::vector<AsmError> out;
    for (int32_t e = 1; e <= errorlinecount; ++e) {
        const int32_t line = errorline[static_cast<size_t>(e)];
        out.push_back({line, errorrow[static_cast<size_t>(e)], asmerrortext[static_cast<size_t>(line)]});
    }
    return out;
}

Assembler& asmstate()
{
    static Assembler state;
    return state;
}

} // namespace kelvane
