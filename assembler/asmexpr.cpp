// Expressions: literals, labels, "$" and one binary operator found by a plain text search.
#include "assembler/assembler.h"
#include "assembler/asmtext.h"
#include "core/hexutil.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace kelvane {

using asmtext::trim;
using asmtext::upper;

namespace {

// Drops leading "0" characters while more than one character is left.
void dropzeros(std::string& u)
{
    size_t n = 0;
    while (u.size() - n > 1 && u[n] == '0')
        ++n;
    u.erase(0, n);
}

// The decimal prefix of a text as a number: sign, digits, point, digits, exponent (E or D).
double decimalprefix(const std::string& u)
{
    std::string t;
    size_t i = 0;
    if (i < u.size() && (u[i] == '+' || u[i] == '-'))
        t += u[i++];
    bool digits = false;
    while (i < u.size() && u[i] >= '0' && u[i] <= '9') {
        t += u[i++];
        digits = true;
    }
    if (i < u.size() && u[i] == '.') {
        t += u[i++];
        while (i < u.size() && u[i] >= '0' && u[i] <= '9') {
            t += u[i++];
            digits = true;
        }
    }
    if (!digits)
        return 0.0;
    if (i < u.size() && (u[i] == 'E' || u[i] == 'D')) {
        size_t j = i + 1;
        std::string e = "E";
        if (j < u.size() && (u[j] == '+' || u[j] == '-'))
            e += u[j++];
        bool expdigits = false;
        while (j < u.size() && u[j] >= '0' && u[j] <= '9') {
            e += u[j++];
            expdigits = true;
        }
        if (expdigits)
            t += e;
    }
    return std::strtod(t.c_str(), nullptr);
}

// A number as the plain conversion to text writes it: up to 15 significant digits, no zero
// before the point (".5"), an exponent form for very large and very small values ("1E-05").
std::string numbertext(double x)
{
    if (x == 0.0 || !std::isfinite(x))
        return "0";
    char buf[64];
    std::snprintf(buf, sizeof buf, "%.15G", x);
    std::string s = buf;
    if (s.rfind("0.", 0) == 0)
        s.erase(0, 1);
    else if (s.rfind("-0.", 0) == 0)
        s.erase(1, 1);
    return s;
}

int32_t fitted(long long v)
{
    if (v < INT32_MIN || v > INT32_MAX)
        return novalue;
    return static_cast<int32_t>(v);
}

} // namespace

int32_t parsenumber(std::string_view s)
{
    std::string u = upper(s);
    bool negative = false;
    if (!u.empty() && u[0] == '-')
        negative = true;
    if (!u.empty() && (u[0] == '+' || u[0] == '-'))
        u.erase(0, 1);

    long long value = 0;
    if (u.size() == 3 && ((u[0] == '\'' && u[2] == '\'') || (u[0] == '"' && u[2] == '"'))) {
        // The character is taken from the text as given, sign included: a signed literal
        // therefore reads its own opening quote mark.
        value = static_cast<unsigned char>(s[1]);
    } else if (!u.empty() && u.back() == 'H') {
        u.pop_back();
        if (!u.empty() && u[0] >= 'A' && u[0] <= 'F')
            return novalue;
        dropzeros(u);
        if (u.size() > 4)
            return novalue;
        std::string t = "000" + u;
        if (t.size() > 4)
            t.erase(0, t.size() - 4);
        const int32_t v = parsehexword(t);
        if (v < 0)
            return novalue;
        value = v;
    } else if (!u.empty() && u.back() == 'B') {
        u.pop_back();
        dropzeros(u);
        if (u.size() > 16)
            return novalue;
        std::string t = std::string(15, '0') + u;
        if (t.size() > 16)
            t.erase(0, t.size() - 16);
        const int32_t v = parsebinword(t);
        if (v < 0)
            return novalue;
        value = v;
    } else {
        dropzeros(u);
        // Plain digits read back as themselves; any character the number-to-text conversion
        // never writes means the text can't be a number.
        bool digitsonly = !u.empty();
        for (char c : u) {
            if (c < '0' || c > '9') {
                digitsonly = false;
                if (c != '.' && c != 'E' && c != '+' && c != '-')
                    return novalue;
            }
        }
        if (digitsonly && u.size() <= 9) {
            value = std::stoll(u);
            if (value >= 65536)
                return novalue;
            if (negative)
                value = -value;
            return static_cast<int32_t>(value);
        }
        const double x = decimalprefix(u);
        if (numbertext(x) != u)
            return novalue;
        const double r = std::nearbyint(x);
        if (!(r < 65536.0) || r < -2147483648.0)
            return novalue;
        value = static_cast<long long>(r);
    }
    if (negative)
        value = -value;
    return fitted(value);
}

int32_t Assembler::findlabel(std::string_view text) const
{
    // No label is longer than 32 characters, so a longer text can't be one.
    if (text.empty() || text.size() > 32)
        return 0;
    char buf[32];
    for (size_t k = 0; k < text.size(); ++k)
        buf[k] = asmtext::upperchar(text[k]);
    auto it = labelindex.find(std::string_view(buf, text.size()));
    return it == labelindex.end() ? 0 : it->second;
}

int32_t Assembler::findsignedlabel(std::string_view text) const
{
    if (!text.empty() && (text[0] == '-' || text[0] == '+'))
        text.remove_prefix(1);
    return findlabel(text);
}

int32_t Assembler::evalexpression(std::string_view s) const
{
    if (const int32_t i = findsignedlabel(s); i >= 1) {
        const int32_t v = labelvalue[static_cast<size_t>(i)];
        if (s[0] == '-')
            return static_cast<int32_t>(0u - static_cast<uint32_t>(v));
        return v;
    }
    if (const int32_t v = parsenumber(s); v < novalue)
        return v;

    char op = 0;
    std::string_view a;
    std::string_view b;
    for (char c : {'+', '-', '*', '/'}) {
        const size_t p = s.find(c);
        if (p != std::string_view::npos && p >= 1 && p + 1 < s.size()) {
            op = c;
            a = trim(s.substr(0, p));
            b = trim(s.substr(p + 1));
            break;
        }
    }
    if (op == 0 && s == "$") {
        a = "$";
        b = "0";
        op = '+';
    }
    std::string here;
    if (a == "$") {
        here = std::to_string(locationcounter);
        a = here;
    }
    if (a.empty() || b.empty())
        return novalue;

    auto termvalue = [this](std::string_view t) {
        if (const int32_t k = findlabel(t); k >= 1)
            return labelvalue[static_cast<size_t>(k)];
        return parsenumber(t);
    };
    const int32_t va = termvalue(a);
    const int32_t vb = termvalue(b);
    if (va >= novalue || vb >= novalue)
        return novalue;

    const auto ua = static_cast<uint32_t>(va);
    const auto ub = static_cast<uint32_t>(vb);
    switch (op) {
    case '+':
        return static_cast<int32_t>(ua + ub);
    case '-':
        return static_cast<int32_t>(ua - ub);
    case '*':
        return static_cast<int32_t>(ua * ub);
    default: {
        // A division by 0 has no value.
        if (vb == 0)
            return novalue;
        const double r = std::nearbyint(static_cast<double>(va) / static_cast<double>(vb));
        if (r < -2147483648.0 || r > 2147483647.0)
            return novalue;
        return static_cast<int32_t>(r);
    }
    }
}

} // namespace kelvane
