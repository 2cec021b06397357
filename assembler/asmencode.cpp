// Sizing (pass 1) and encoding (pass 2) of the line in work by its template, the operand
// range checks and the .DB/.DW lists.
#include "assembler/asmtable.h"
#include "assembler/assembler.h"
#include "assembler/asmtext.h"
#include "core/hexutil.h"

namespace kelvane {

namespace {

constexpr const char* msgunrecognized = "Unrecognized instruction.";
constexpr const char* msgargument = "Invalid argument of the instruction.";
constexpr const char* msgorg = "Invalid argument of the .ORG directive.";
constexpr const char* msgds = "Invalid argument of the .DS directive.";
constexpr const char* msgdb = "Invalid argument of the .DB directive.";
constexpr const char* msgdw = "Invalid argument of the .DW directive.";
// Bytes can't be placed above the 64K address space; the line is refused and takes no space.
constexpr const char* msgpastend = "Code can't go past address FFFF.";

int32_t countitems(std::string_view list, int32_t limit)
{
    int32_t n = 1;
    for (char c : list)
        if (c == ',')
            ++n;
    return n > limit ? 0 : n;
}

// The next item of a list: up to the first comma, or the rest on the last item.
std::string_view nextitem(std::string_view& list, bool last)
{
    std::string_view item = list;
    if (!last) {
        const size_t p = list.find(',');
        if (p != std::string_view::npos) {
            item = list.substr(0, p);
            list.remove_prefix(p + 1);
            return asmtext::trim(item);
        }
    }
    list = {};
    return asmtext::trim(item);
}

} // namespace

int32_t countbytes(std::string_view list)
{
    return countitems(list, 16);
}

int32_t countwords(std::string_view list)
{
    return countitems(list, 8);
}

void Assembler::seterror(int32_t i, const char* message)
{
    const auto k = static_cast<size_t>(i);
    asmerrortext[k] = message;
    asmerrorflag[k] = 65535;
    ++errorcount;
}

bool Assembler::checkbyte(int32_t& value, int32_t i)
{
    if (value < -128 || value > 255) {
        seterror(i, msgargument);
        value = 0;
        return false;
    }
    if (value < 0)
        value += 256;
    return true;
}

bool Assembler::checkword(int32_t& value, int32_t i)
{
    if (value < -32768 || value > 65535) {
        seterror(i, msgargument);
        value = 0;
        return false;
    }
    if (value < 0)
        value += 65536;
    return true;
}

bool Assembler::checkaddress(int32_t& value, int32_t i)
{
    if (value < 0 || value > 65535) {
        seterror(i, msgargument);
        value = 0;
        return false;
    }
    return true;
}

void Assembler::sizeline(int32_t i)
{
    if (curtemplate.empty())
        return;
    const AsmTemplate* t = findtemplate(curtemplate);
    if (t == nullptr) {
        seterror(i, msgunrecognized);
        return;
    }
    int32_t bytes = 0;
    switch (t->directive) {
    case Directive::org: {
        const int32_t v = evalexpression(curoperand1);
        if (v < 0 || v > 65535)
            seterror(i, msgorg);
        else
            locationcounter = v;
        return;
    }
    case Directive::ds: {
        const int32_t v = evalexpression(curoperand1);
        if (v < 0 || static_cast<int64_t>(locationcounter) + v > 65535)
            seterror(i, msgds);
        else
            locationcounter += v;
        return;
    }
    case Directive::equ:
    case Directive::end:
        return;
    case Directive::db:
        bytes = countbytes(curoperand1);
        break;
    case Directive::dw:
        bytes = 2 * countwords(curoperand1);
        break;
    case Directive::none:
        bytes = t->size;
        break;
    }
    if (locationcounter + bytes > 65536) {
        seterror(i, msgpastend);
        return;
    }
    locationcounter += bytes;
}

std::string Assembler::encodebytes(std::string_view list, int32_t i)
{
    const int32_t n = countbytes(list);
    std::string text;
    if (n > 0) {
        text.reserve(static_cast<size_t>(n) * 3);
        for (int32_t k = 0; k < n; ++k) {
            int32_t v = evalexpression(nextitem(list, k == n - 1));
            if (v > 255 || v < -128) {
                text.clear();
                break;
            }
            if (v < 0)
                v += 256;
            if (k > 0)
                text += ' ';
            text += hexbyte(v);
            if (k == n - 1)
                return text;
        }
    }
    seterror(i, msgdb);
    return {};
}

std::string Assembler::encodewords(std::string_view list, int32_t i)
{
    const int32_t n = countwords(list);
    std::string text;
    if (n > 0) {
        text.reserve(static_cast<size_t>(n) * 6);
        for (int32_t k = 0; k < n; ++k) {
            int32_t v = evalexpression(nextitem(list, k == n - 1));
            if (v > 65535 || v < -32768) {
                text.clear();
                break;
            }
            if (v < 0)
                v += 65536;
            if (k > 0)
                text += ' ';
            text += hexbyte(v % 256);
            text += ' ';
            text += hexbyte(v / 256);
            if (k == n - 1)
                return text;
        }
    }
    seterror(i, msgdw);
    return {};
}

void Assembler::encodeline(int32_t i)
{
    const auto k = static_cast<size_t>(i);
    if (curtemplate.empty()) {
        asmcode[k].clear();
        return;
    }
    const AsmTemplate* t = findtemplate(curtemplate);
    if (t == nullptr) {
        seterror(i, msgunrecognized);
        return;
    }
    std::string text;
    switch (t->directive) {
    case Directive::db:
        text = encodebytes(curoperand1, i);
        break;
    case Directive::dw:
        text = encodewords(curoperand1, i);
        break;
    case Directive::org:
    case Directive::equ:
    case Directive::ds:
    case Directive::end:
        break;
    case Directive::none: {
        text = hexbyte(t->opcode);
        if (t->operandclass == OperandClass::none)
            break;
        int32_t v = curvalue;
        bool good = true;
        switch (t->operandclass) {
        case OperandClass::byte:
            good = checkbyte(v, i);
            break;
        case OperandClass::word:
            good = checkword(v, i);
            break;
        case OperandClass::address:
            good = checkaddress(v, i);
            break;
        case OperandClass::none:
            break;
        }
        curvalue = v;
        if (!good)
            return;
        if (t->size == 2) {
            text += ' ';
            text += hexbyte(v);
        } else {
            text += ' ';
            text += hexbyte(v % 256);
            text += ' ';
            text += hexbyte(v / 256);
        }
        break;
    }
    }
    if (asmerrorflag[k] == 0)
        asmcode[k] = std::move(text);
}

} // namespace kelvane
