// The languages of the source editor, on text alone: the style of every byte of a line (keyword,
// comment, plain) and the line-by-line Format Text. Language mode 2 is the assembler's; another
// mode registers its own styler and formatter with SourceEditor::registerlanguage.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_set>

namespace kelvane {

// Style numbers of the editor. The BASIC editor's modes use string and asm too.
enum EditorStyle : uint8_t {
    styledefault = 0,
    stylekeyword = 1,
    stylecomment = 2,
    stylestring = 3,
    styleasm = 4,
};

// The keyword list of an editor, kept in upper case; a word matches in any case.
class KeywordSet {
public:
    void clear() { words_.clear(); }
    void add(std::string_view word);
    bool contains(std::string_view word) const;
    bool empty() const { return words_.empty(); }

private:
    struct Hash {
        using is_transparent = void;
        size_t operator()(std::string_view s) const { return std::hash<std::string_view>{}(s); }
    };
    std::unordered_set<std::string, Hash, std::equal_to<>> words_;
};

// Fills styles[0 .. line.size()) with the style of each byte of one line (no line end).
using LineStyler = void (*)(std::string_view line, const KeywordSet& keywords, uint8_t* styles);
// One line (no line end) as Format Text leaves it.
using LineFormatter = std::string (*)(std::string_view line);

// Assembler source: a comment runs from the first ";" to the end of the line, also inside
// quotes, as the assembler reads it; a keyword is a whole word of letters, digits, "_" and ".".
void styleassemblerline(std::string_view line, const KeywordSet& keywords, uint8_t* styles);

// Assembler source: a label stays in column 1, a statement follows one tab, one blank stands
// between the mnemonic and its operands, a comment behind a statement follows one tab. Nothing
// the assembler reads changes: the line gives the same bytes and the same error as before.
std::string formatassemblerline(std::string_view line);

// Every line of a text through a formatter; line ends (CR LF, LF, a lone CR) stay as they were.
std::string formattextlines(std::string_view text, LineFormatter format);

} // namespace kelvane
