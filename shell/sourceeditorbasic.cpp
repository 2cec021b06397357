// Language mode 1 of the source editor, BASIC: colouring, Format Text and the blocks that indent.
#include "shell/sourceeditorlanguage.h"

#include <algorithm>
#include <vector>

namespace kelvane {

namespace {

bool isblank(char c)
{
    return c == ' ' || c == '\t';
}

bool iswordchar(char c)
{
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_';
}

// Where the comment begins: the first apostrophe outside a string, or the line's end.
size_t commentstart(std::string_view line)
{
    bool instring = false;
    for (size_t i = 0; i < line.size(); ++i) {
        if (line[i] == '"')
            instring = !instring;
        else if (line[i] == '\'' && !instring)
            return i;
    }
    return line.size();
}

} // namespace

void stylebasicline(std::string_view line, const KeywordSet& keywords, uint8_t* styles)
{
    std::fill(styles, styles + line.size(), styledefault);
    size_t i = 0;
    while (i < line.size()) {
        const char c = line[i];
        if (c == '\'') {
            std::fill(styles + i, styles + line.size(), stylecomment);
            return;
        }
        if (c == '"') {
            const size_t close = line.find('"', i + 1);
            const size_t end = close == std::string_view::npos ? line.size() : close + 1;
            std::fill(styles + i, styles + end, stylestring);
            i = end;
            continue;
        }
        // A number literal (decimal, 0X.. or ..H hexadecimal, %.. or ..B binary) in the ASM colour.
        const bool binary = c == '%' && i + 1 < line.size() && (line[i + 1] == '0' || line[i + 1] == '1');
        if (!iswordchar(c) && !binary) {
            ++i;
            continue;
        }
        size_t end = binary ? i + 1 : i;
        while (end < line.size() && iswordchar(line[end]))
            ++end;
        const std::string_view word = line.substr(i, end - i);
        const std::string* form = keywords.form(word);
        if (binary || (c >= '0' && c <= '9'))
            std::fill(styles + i, styles + end, styleasm);
        else if (form != nullptr && *form == word)
            std::fill(styles + i, styles + end, stylekeyword);
        i = end;
    }
}

std::string formatbasicline(std::string_view line)
{
    const size_t comment = commentstart(line);
    std::string out;
    out.reserve(line.size());
    bool instring = false;
    bool pendingblank = false;
    for (size_t i = 0; i < comment; ++i) {
        const char c = line[i];
        if (!instring && isblank(c)) {
            pendingblank = !out.empty();
            continue;
        }
        if (pendingblank)
            out += ' ';
        pendingblank = false;
        if (c == '"')
            instring = !instring;
        out += c;
    }
    if (comment < line.size()) {
        if (!out.empty())
            out += ' ';
        out.append(line.substr(comment));
    }
    return out;
}

LineBlocks basicblocks(std::string_view line)
{
    std::vector<std::string_view> tokens;
    const std::string_view code = line.substr(0, commentstart(line));
    for (size_t i = 0; i < code.size();) {
        if (isblank(code[i])) {
            ++i;
            continue;
        }
        size_t end = i;
        while (end < code.size() && !isblank(code[end]))
            ++end;
        tokens.push_back(code.substr(i, end - i));
        i = end;
    }
    if (tokens.size() > 1 && tokens.front().size() > 1 && tokens.front().back() == ':')
        tokens.erase(tokens.begin());
    if (tokens.empty())
        return {};
    const std::string_view first = tokens.front();
    if (first == "While" || first == "For")
        return {false, true};
    if (first == "If")
        return {false, tokens.back() == "Then"};
    if (first == "Else")
        return {true, true};
    if (first == "Wend" || first == "Next" || first == "Endif")
        return {true, false};
    return {};
}

} // namespace kelvane
