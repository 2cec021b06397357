// The line model, tokens, names and literals of the language.
#include "basic/translator.h"
#include "core/hexutil.h"

namespace kelvane::basic {

namespace {

std::string_view trimmed(std::string_view s, std::string_view blanks)
{
    const size_t first = s.find_first_not_of(blanks);
    if (first == std::string_view::npos)
        return {};
    return s.substr(first, s.find_last_not_of(blanks) - first + 1);
}

// The comment (from an apostrophe outside a string) goes apart; tabs become blanks.
SourceLine cutline(std::string_view raw)
{
    SourceLine line;
    std::string code;
    bool instring = false;
    bool incomment = false;
    for (char c : trimmed(raw, " \t")) {
        if (c == '\t')
            c = ' ';
        if (c == '\'' && !instring)
            incomment = true;
        if (c == '"' && !incomment)
            instring = !instring;
        (incomment ? line.comment : code) += c;
    }
    if (!line.comment.empty())
        line.comment.insert(line.comment.begin(), ' ');
    line.statement = trimmed(code, " ");
    return line;
}

// Drops leading zeros while two or more characters remain.
std::string_view dropzeros(std::string_view s)
{
    while (s.size() >= 2 && s.front() == '0')
        s.remove_prefix(1);
    return s;
}

} // namespace

std::vector<SourceLine> splitsource(std::string_view source)
{
    std::vector<SourceLine> lines(1); // line numbers start at 1
    size_t pos = 0;
    for (;;) {
        const size_t lf = source.find('\n', pos);
        std::string_view raw = source.substr(pos, lf == std::string_view::npos ? std::string_view::npos : lf - pos);
        if (lf != std::string_view::npos && !raw.empty() && raw.back() == '\r')
            raw.remove_suffix(1);
        lines.push_back(cutline(raw));
        if (lf == std::string_view::npos || lf + 1 == source.size())
            break;
        pos = lf + 1;
    }
    return lines;
}

bool cuttokens(std::string_view line, Tokens& tokens)
{
    for (int i = 1; i <= tokencount; ++i) {
        const size_t blank = line.find(' ');
        const auto k = static_cast<size_t>(i);
        if (blank == std::string_view::npos) {
            tokens[k] = line;
            line = {};
        } else {
            tokens[k] = line.substr(0, blank);
            line.remove_prefix(blank + 1);
        }
    }
    return line.empty();
}

bool validname(std::string_view name)
{
    if (name.empty() || (name[0] != '_' && (name[0] < 'a' || name[0] > 'z')))
        return false;
    for (char c : name)
        if (c != '_' && (c < 'a' || c > 'z') && (c < '0' || c > '9'))
            return false;
    return true;
}

bool plaindecimal(std::string_view text, int32_t& value)
{
    const bool negative = !text.empty() && text[0] == '-';
    const std::string_view digits = negative ? text.substr(1) : text;
    if (digits.empty() || digits.size() > 9 || (digits[0] == '0' && (digits.size() > 1 || negative)))
        return false;
    int32_t v = 0;
    for (char c : digits) {
        if (c < '0' || c > '9')
            return false;
        v = v * 10 + (c - '0');
    }
    value = negative ? -v : v;
    return true;
}

bool Translator::parseliteral(std::string& text, int32_t type) const
{
    std::string_view rest = text;
    const bool negative = !rest.empty() && rest[0] == '-';
    if (negative)
        rest.remove_prefix(1);
    const std::string kept(rest);
    std::string work = kept;
    for (char& c : work)
        if (c >= 'a' && c <= 'z')
            c = static_cast<char>(c - 'a' + 'A');
    if (work.empty() || work == "\"\"" || work == "B" || work == "%" || work == "H" || work == "0X")
        return false;
    if (kept == "True")
        work = "1";
    else if (kept == "False")
        work = "0";
    if (const auto c = constants_.find(kept); c != constants_.end())
        work = c->second;

    int32_t value = 0;
    const std::string_view w = work;
    if (w.front() == '"' && w.back() == '"') {
        if (kept.size() != 3)
            return false;
        value = static_cast<unsigned char>(kept[1]);
    } else {
        std::string_view digits;
        int width = 0; // 4 hexadecimal or 16 binary digits; 0 for decimal
        if (w.starts_with("0X"))
            digits = w.substr(2), width = 4;
        else if (w.ends_with('H'))
            digits = w.substr(0, w.size() - 1), width = 4;
        else if (w.starts_with('%'))
            digits = w.substr(1), width = 16;
        else if (w.ends_with('B'))
            digits = w.substr(0, w.size() - 1), width = 16;
        if (width == 0) {
            if (w.find('.') != std::string_view::npos || !plaindecimal(dropzeros(w), value))
                return false;
        } else {
            digits = dropzeros(digits);
            if (digits.size() > static_cast<size_t>(width))
                return false;
            const std::string full = std::string(static_cast<size_t>(width) - digits.size(), '0') + std::string(digits);
            value = width == 4 ? parsehexword(full) : parsebinword(full);
            if (value < 0)
                return false;
        }
    }
    if (negative)
        value = -value;
    // The range of a literal in each type; a negative value stands in its two's complement.
    struct Range {
        int32_t type, low, high, wrap;
    };
    static constexpr Range ranges[] = {
        {integertype, -32768, 32767, 65536}, {shorttype, -128, 255, 256}, {booleantype, 0, 1, 0}};
    const Range* range = nullptr;
    for (const Range& r : ranges)
        if (r.type == type)
            range = &r;
    if (range == nullptr || value < range->low || value > range->high)
        return false;
    if (value < 0)
        value += range->wrap;
    text = std::to_string(value);
    return true;
}

} // namespace kelvane::basic
