// What the source editor does as the user types: auto case of a keyword when its word ends, and
// auto format of the line that Enter ends with the indentation of the next one.
#include "shell/sourceeditor.h"

#include <algorithm>
#include <vector>

namespace kelvane {

namespace {

bool iswordbyte(char c)
{
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_';
}

// The bytes [from, to) of the text.
std::string textrange(const SourceEditor& ed, long from, long to)
{
    if (to <= from)
        return {};
    const auto* p = reinterpret_cast<const char*>(ed.SendScintilla(QsciScintillaBase::SCI_GETRANGEPOINTER,
                                                                   static_cast<unsigned long>(from), to - from));
    return p != nullptr ? std::string(p, static_cast<size_t>(to - from)) : std::string();
}

} // namespace

void SourceEditor::charadded(int ch)
{
    if (!autocase_ || (ch >= 0 && ch < 128 && iswordbyte(static_cast<char>(ch))))
        return;
    // The word that the character ends stands before it.
    const long caret = SendScintilla(SCI_GETCURRENTPOS);
    fixcase(SendScintilla(SCI_POSITIONBEFORE, static_cast<unsigned long>(caret)));
}

void SourceEditor::fixcase(long wordend)
{
    const long line = SendScintilla(SCI_LINEFROMPOSITION, static_cast<unsigned long>(wordend));
    const long start = SendScintilla(SCI_POSITIONFROMLINE, static_cast<unsigned long>(line));
    const std::string head = textrange(*this, start, wordend);
    size_t wordstart = head.size();
    while (wordstart > 0 && iswordbyte(head[wordstart - 1]))
        --wordstart;
    const std::string_view word = std::string_view(head).substr(wordstart);
    const std::string* form = keywords_.form(word);
    if (form == nullptr || *form == word)
        return;
    // Not inside a string or a comment of the language.
    if (const LanguageMode* lang = language(); lang != nullptr && lang->styler != nullptr) {
        std::vector<uint8_t> styles(head.size());
        lang->styler(head, keywords_, styles.data());
        if (styles[wordstart] == stylestring || styles[wordstart] == stylecomment)
            return;
    }
    SendScintilla(SCI_BEGINUNDOACTION);
    SendScintilla(SCI_SETTARGETRANGE, static_cast<unsigned long>(start + static_cast<long>(wordstart)), wordend);
    SendScintilla(SCI_REPLACETARGET, static_cast<uintptr_t>(form->size()), form->c_str());
    SendScintilla(SCI_ENDUNDOACTION);
}

bool SourceEditor::autoformatenter()
{
    const LanguageMode* lang = language();
    if (!autoformat_ || isReadOnly() || lang == nullptr || lang->blocks == nullptr || lang->formatter == nullptr)
        return false;
    SendScintilla(SCI_BEGINUNDOACTION);
    if (SendScintilla(SCI_GETSELECTIONEMPTY) == 0)
        SendScintilla(SCI_REPLACESEL, static_cast<unsigned long>(0), "");
    const long caret = SendScintilla(SCI_GETCURRENTPOS);
    if (autocase_)
        fixcase(caret);
    const long line = SendScintilla(SCI_LINEFROMPOSITION, static_cast<unsigned long>(caret));
    const long start = SendScintilla(SCI_POSITIONFROMLINE, static_cast<unsigned long>(line));
    const long end = SendScintilla(SCI_GETLINEENDPOSITION, static_cast<unsigned long>(line));

    // The level the line stands at: that of the nearest line above with text, one in if it opens
    // a block.
    int level = 0;
    const int tab = std::max(1, tabWidth());
    for (long l = line - 1; l >= 0; --l) {
        const long from = SendScintilla(SCI_POSITIONFROMLINE, static_cast<unsigned long>(l));
        const long to = SendScintilla(SCI_GETLINEENDPOSITION, static_cast<unsigned long>(l));
        const std::string body = formatline(textrange(*this, from, to));
        if (body.empty())
            continue;
        level = static_cast<int>(SendScintilla(SCI_GETLINEINDENTATION, static_cast<unsigned long>(l))) / tab +
                (lang->blocks(body).opens ? 1 : 0);
        break;
    }
    // A line with text is placed by what it does itself; the next line follows it.
    const auto place = [&lang](const std::string& body, int& at) {
        if (body.empty())
            return std::string();
        const LineBlocks b = lang->blocks(body);
        if (b.closes && at > 0)
            --at;
        std::string out(static_cast<size_t>(at), '\t');
        out += body;
        if (b.opens)
            ++at;
        return out;
    };
    const std::string head = place(formatline(textrange(*this, start, caret)), level);
    const std::string tailbody = formatline(textrange(*this, caret, end));
    int tailat = level;
    if (!tailbody.empty() && lang->blocks(tailbody).closes && tailat > 0)
        --tailat;
    const std::string eol = crlf() ? "\r\n" : (eolMode() == EolMac ? "\r" : "\n");
    const std::string indent(static_cast<size_t>(tailat), '\t');
    const std::string replacement = head + eol + indent + tailbody;
    SendScintilla(SCI_SETTARGETRANGE, static_cast<unsigned long>(start), end);
    SendScintilla(SCI_REPLACETARGET, static_cast<uintptr_t>(replacement.size()), replacement.c_str());
    SendScintilla(SCI_GOTOPOS, static_cast<unsigned long>(start + static_cast<long>(head.size() + eol.size() + indent.size())));
    SendScintilla(SCI_ENDUNDOACTION);
    return true;
}

} // namespace kelvane
