#include "shell/sourceeditorlanguage.h"

#include <algorithm>
#include <vector>

namespace kelvane {

namespace {

char upperchar(char c)
{
    return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c;
}

bool isblank(char c)
{
    return c == ' ' || c == '\t';
}

bool iswordchar(char c)
{
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_' || c == '.';
}

// Where the assembler finds the parts of a line: the code ends at the first ";", a label stands
// in column 1 (or anywhere in front of an EQU), the mnemonic is the statement's first word.
// Blanks and tabs are the same to it. Every span is [begin, end) of the line; empty when absent.
struct AsmLineParts {
    size_t codeend = 0;
    size_t labelbegin = 0, labelend = 0;
    size_t mnemonicbegin = 0, mnemonicend = 0;
    size_t operandsbegin = 0, operandsend = 0;
};

size_t skipblanks(std::string_view s, size_t i, size_t end)
{
    while (i < end && isblank(s[i]))
        ++i;
    return i;
}

size_t skipword(std::string_view s, size_t i, size_t end)
{
    while (i < end && !isblank(s[i]))
        ++i;
    return i;
}

// " EQU " or " .EQU " with blanks on both sides, in any case, inside [0, end).
bool hasequ(std::string_view s, size_t end)
{
    for (const std::string_view word : {std::string_view("EQU"), std::string_view(".EQU")}) {
        for (size_t i = 1; i + word.size() < end; ++i) {
            if (!isblank(s[i - 1]) || !isblank(s[i + word.size()]))
                continue;
            bool same = true;
            for (size_t k = 0; k < word.size() && same; ++k)
                same = upperchar(s[i + k]) == word[k];
            if (same)
                return true;
        }
    }
    return false;
}

AsmLineParts splitline(std::string_view line)
{
    AsmLineParts p;
    size_t end = std::min(line.find(';'), line.size());
    p.codeend = end;
    while (end > 0 && isblank(line[end - 1]))
        --end;
    size_t begin = hasequ(line, end) ? skipblanks(line, 0, end) : 0;
    if (begin < end) {
        const char first = upperchar(line[begin]);
        if ((first >= 'A' && first <= 'Z') || first == '_') {
            p.labelbegin = begin;
            p.labelend = skipword(line, begin, end);
            begin = p.labelend;
        }
    }
    begin = skipblanks(line, begin, end);
    p.mnemonicbegin = begin;
    p.mnemonicend = skipword(line, begin, end);
    p.operandsbegin = skipblanks(line, p.mnemonicend, end);
    p.operandsend = std::max(p.operandsbegin, end);
    return p;
}

} // namespace

void KeywordSet::add(std::string_view word)
{
    std::string up(word);
    for (char& c : up)
        c = upperchar(c);
    words_.try_emplace(std::move(up), word);
}

const std::string* KeywordSet::form(std::string_view word) const
{
    char buf[16];
    if (word.empty() || word.size() > sizeof buf)
        return nullptr;
    for (size_t i = 0; i < word.size(); ++i)
        buf[i] = upperchar(word[i]);
    const auto it = words_.find(std::string_view(buf, word.size()));
    return it == words_.end() ? nullptr : &it->second;
}

void styleassemblerline(std::string_view line, const KeywordSet& keywords, uint8_t* styles)
{
    std::fill(styles, styles + line.size(), styledefault);
    const AsmLineParts p = splitline(line);
    std::fill(styles + p.codeend, styles + line.size(), stylecomment);
    // Only the statement's first word is read as a mnemonic or directive; the same word in
    // column 1 is a label.
    const std::string_view mnemonic = line.substr(p.mnemonicbegin, p.mnemonicend - p.mnemonicbegin);
    if (std::all_of(mnemonic.begin(), mnemonic.end(), iswordchar) && keywords.contains(mnemonic))
        std::fill(styles + p.mnemonicbegin, styles + p.mnemonicend, stylekeyword);
}

std::string formatassemblerline(std::string_view line)
{
    const AsmLineParts p = splitline(line);
    std::string out;
    out.reserve(line.size() + 2);
    out.append(line.substr(p.labelbegin, p.labelend - p.labelbegin));
    if (p.mnemonicend > p.mnemonicbegin) {
        out += '\t';
        out.append(line.substr(p.mnemonicbegin, p.mnemonicend - p.mnemonicbegin));
        if (p.operandsend > p.operandsbegin) {
            out += ' ';
            out.append(line.substr(p.operandsbegin, p.operandsend - p.operandsbegin));
        }
    }
    if (p.codeend < line.size()) {
        // A comment keeps its text; it follows one tab unless it stood in column 1.
        if (!out.empty() || p.codeend > 0)
            out += '\t';
        out.append(line.substr(p.codeend));
    }
    return out;
}

std::string formattextlines(std::string_view text, const std::function<std::string(std::string_view)>& format)
{
    std::string out;
    out.reserve(text.size() + text.size() / 16);
    size_t start = 0;
    while (start < text.size()) {
        const size_t nl = text.find('\n', start);
        const bool last = nl == std::string_view::npos;
        size_t end = last ? text.size() : nl;
        if (!last && end > start && text[end - 1] == '\r')
            --end;
        out += format(text.substr(start, end - start));
        if (last)
            break;
        out.append(text.substr(end, nl + 1 - end));
        start = nl + 1;
    }
    return out;
}

std::string formatblocktext(std::string_view text, const std::function<std::string(std::string_view)>& format,
                            BlockReader blocks)
{
    int level = 0;
    return formattextlines(text, [&level, &format, blocks](std::string_view line) {
        std::string body = format(line);
        if (body.empty())
            return body;
        const LineBlocks b = blocks(body);
        if (b.closes && level > 0)
            --level;
        std::string out(static_cast<size_t>(level), '\t');
        out += body;
        if (b.opens)
            ++level;
        return out;
    });
}

namespace {

std::vector<uint8_t> linestyles(std::string_view line, LineStyler styler, const KeywordSet& keywords)
{
    std::vector<uint8_t> styles(line.size(), styledefault);
    if (styler != nullptr && !line.empty())
        styler(line, keywords, styles.data());
    return styles;
}

bool blank(char c)
{
    return c == ' ' || c == '\t';
}

} // namespace

std::string spacecomment(std::string_view line, LineStyler styler, const KeywordSet& keywords, int blanks)
{
    const std::vector<uint8_t> styles = linestyles(line, styler, keywords);
    const auto comment = std::find(styles.begin(), styles.end(), stylecomment);
    if (comment == styles.end())
        return std::string(line);
    const auto at = static_cast<size_t>(comment - styles.begin());
    size_t end = at;
    while (end > 0 && blank(line[end - 1]))
        --end;
    if (end == 0)
        return std::string(line);
    std::string out(line.substr(0, end));
    out.append(static_cast<size_t>(std::max(0, blanks)), ' ');
    out.append(line.substr(at));
    return out;
}

bool beginswithlabel(std::string_view line, LineStyler styler, const KeywordSet& keywords)
{
    size_t start = 0;
    while (start < line.size() && blank(line[start]))
        ++start;
    size_t end = start;
    while (end < line.size() && !blank(line[end]))
        ++end;
    if (end == start || line[end - 1] != ':')
        return false;
    const std::vector<uint8_t> styles = linestyles(line, styler, keywords);
    return styles[end - 1] != stylecomment && styles[end - 1] != stylestring;
}

} // namespace kelvane
