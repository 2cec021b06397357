// The languages of the source editor, on text alone: the style of every byte of a line (keyword,
// comment, string, plain), the line-by-line Format Text and, for a language with blocks, the
// indentation of their bodies. Language mode 2 is the assembler's, mode 1 BASIC; a mode is
// registered with its styler, formatter and block reader by SourceEditor::registerlanguage.
#pragma once
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace kelvane {

// Style numbers of the editor. The BASIC editor's modes use string and asm too.
enum EditorStyle : uint8_t {
    styledefault = 0,
    stylekeyword = 1,
    stylecomment = 2,
    stylestring = 3,
    styleasm = 4,
};

// The keyword list of an editor, kept in upper case with the spelling each was added in; a word
// matches in any case.
class KeywordSet {
public:
    void clear() { words_.clear(); }
    void add(std::string_view word);
    bool contains(std::string_view word) const { return form(word) != nullptr; }
    // The keyword's spelling as it was added (the first one added), or nullptr for no keyword.
    const std::string* form(std::string_view word) const;
    bool empty() const { return words_.empty(); }

private:
    struct Hash {
        using is_transparent = void;
        size_t operator()(std::string_view s) const { return std::hash<std::string_view>{}(s); }
    };
    std::unordered_map<std::string, std::string, Hash, std::equal_to<>> words_;
};

// Fills styles[0 .. line.size()) with the style of each byte of one line (no line end).
using LineStyler = void (*)(std::string_view line, const KeywordSet& keywords, uint8_t* styles);
// One line (no line end) as Format Text leaves it.
using LineFormatter = std::string (*)(std::string_view line);

// What a line does to the blocks of a language with nested bodies: it stands one level out of
// the body before it (closes a block) and/or puts the lines after it one level in (opens one).
struct LineBlocks {
    bool closes = false;
    bool opens = false;
};
using BlockReader = LineBlocks (*)(std::string_view line);

// Assembler source: a comment runs from the first ";" to the end of the line, also inside
// quotes, as the assembler reads it; a keyword is a whole word of letters, digits, "_" and ".".
void styleassemblerline(std::string_view line, const KeywordSet& keywords, uint8_t* styles);

// Assembler source: a label stays in column 1, a statement follows one tab, one blank stands
// between the mnemonic and its operands, a comment behind a statement follows one tab. Nothing
// the assembler reads changes: the line gives the same bytes and the same error as before.
std::string formatassemblerline(std::string_view line);

// BASIC source: a comment runs from an apostrophe outside a string to the end of the line, a
// string from a double quote to the next one (or the end of the line); a keyword is a whole word
// of letters, digits and "_" spelled exactly as the list spells it, the only spelling the
// compiler reads; a number literal (a word that begins with a digit, or "%" and binary digits)
// takes the ASM style.
void stylebasicline(std::string_view line, const KeywordSet& keywords, uint8_t* styles);

// BASIC source without its indentation: blanks and tabs in front and behind the code dropped,
// each run of them outside strings and comments made one blank. No token changes.
std::string formatbasicline(std::string_view line);

// BASIC blocks: While, For and an If whose line ends in Then open one; Wend, Next and Endif
// close one; Else does both. A line label in front of the statement doesn't count. Keywords in
// another case are no keywords to the compiler, and open or close nothing here either.
LineBlocks basicblocks(std::string_view line);

// Every line of a text through a formatter; line ends (CR LF, LF, a lone CR) stay as they were.
std::string formattextlines(std::string_view text, const std::function<std::string(std::string_view)>& format);

// Format Text of a language with blocks: each line through the formatter, then indented by one
// tab for each block it stands in; an empty line stays empty.
std::string formatblocktext(std::string_view text, const std::function<std::string(std::string_view)>& format,
                            BlockReader blocks);

// A line with `blanks` blanks between its statement and its comment (the first byte the styler
// gives the comment style); a line without a comment, or with nothing before it, stays as it is.
std::string spacecomment(std::string_view line, LineStyler styler, const KeywordSet& keywords, int blanks);

// A line that begins with a line label: its first word, after blanks, ends in ":" outside a
// comment or string.
bool beginswithlabel(std::string_view line, LineStyler styler, const KeywordSet& keywords);

} // namespace kelvane
