// The source editor: Format Text keeps what the assembler reads, colouring follows the assembler's
// reading and styles only what changed and what is shown, replace all, undo levels, files
// (encodings, line ends, NUL bytes), the wheel step and the "A " settings. Marks and failures of
// files are tried through the Assembler window.
#include "assembler/assembler.h"
#include "shell/sourceeditor.h"
#include "shell/sourceeditorsettings.h"
#include "sim/settings.h"

#include <QFile>
#include <QFontInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace kelvane;

namespace {

using Cases = std::vector<std::pair<std::string, std::string>>;

// The first (or second) texts of the cases as the lines of one text.
std::string joined(const Cases& cases, const char* end = "\n", bool second = false)
{
    std::string out;
    for (const auto& c : cases)
        out += (second ? c.second : c.first) + end;
    return out;
}

// One edit of its own at the end of the text, as typing there would make it.
void addatend(SourceEditor& ed, const std::string& text)
{
    ed.SendScintilla(QsciScintillaBase::SCI_DOCUMENTEND);
    ed.beginUndoAction();
    ed.SendScintilla(QsciScintillaBase::SCI_ADDTEXT, static_cast<uintptr_t>(text.size()), text.c_str());
    ed.endUndoAction();
}

// The image and the errors (line, message) of a source.
std::pair<std::vector<int32_t>, std::vector<std::pair<int32_t, std::string>>> assemble(const std::string& text)
{
    Assembler as;
    as.assembletext(text, 1000);
    std::vector<std::pair<int32_t, std::string>> errors;
    for (const AsmError& e : as.errors())
        errors.emplace_back(e.line, e.message);
    return {as.objimage, errors};
}

// Each line as typed and as Format Text leaves it.
const Cases formatcases = {
    {"LOOP:  MVI   A, 5   ; load", "LOOP:\tMVI A, 5\t; load"},
    {"      mov a,b", "\tmov a,b"},
    {"   X  EQU  5", "X\tEQU 5"},
    {"Y .EQU LOOP+2", "Y\t.EQU LOOP+2"},
    {".ORG 100H", "\t.ORG 100H"},
    {"NOP", "NOP"},
    {"MOV A,B", "MOV\tA,B"},
    {"; header", "; header"},
    {"    ; indented", "\t; indented"},
    {"\tDB 'a;b'", "\tDB 'a\t;b'"},
    {"START: JMP START", "START:\tJMP START"},
    {"   \t ", ""},
    {"LBL3:\t\t;c", "LBL3:\t;c"},
    {"\t  lxi   h , 'A' + 3  ", "\tlxi h , 'A' + 3"},
    {"\tDB 1,  \"xyz\" , 2", "\tDB 1,  \"xyz\" , 2"},
    {"\t.DS 4 ; EQU  ", "\t.DS 4\t; EQU  "},
    {"\tIN EQU", "\tIN EQU"},
    {"\tJMP\tLOOP", "\tJMP LOOP"},
};

TEST(SourceEditorFormat, LinesAsExpectedAndTheSourceAssemblesAlike)
{
    for (const auto& [typed, formatted] : formatcases)
        EXPECT_EQ(formatassemblerline(typed), formatted) << typed;
    for (const char* end : {"\n", "\r\n"}) {
        const std::string before = joined(formatcases, end);
        const std::string after = formattextlines(before, formatassemblerline);
        EXPECT_EQ(after, joined(formatcases, end, true)); // line ends kept
        const auto a = assemble(before);
        EXPECT_EQ(a, assemble(after));
        EXPECT_FALSE(a.second.empty()); // the cases hold errors too, which must stay the same
    }
}

TEST(SourceEditorFormat, InTheEditorOneUndoStepAndMarksStay)
{
    SourceEditor ed;
    ed.setlanguagemode(2);
    const std::string before = "A:  NOP\n  mov a,b\n";
    ed.settextbytes(before);
    ed.markline(2);
    ed.formattext();
    EXPECT_EQ(ed.textbytes(), "A:\tNOP\n\tmov a,b\n");
    EXPECT_EQ(ed.markedlines(), std::vector<int>{2});
    ed.undo();
    EXPECT_EQ(ed.textbytes(), before);
}

TEST(SourceEditorColouring, StylesFollowTheAssemblersReading)
{
    // Styles by letter: '.' text, 'K' keyword, 'C' comment.
    const Cases cases = {
        {"\tmov a,b ; c", ".KKK.....CCC"},
        {"MOV A,B", "......."}, // a label in column 1
        {"X EQU 5", "..KKK.."},
        {"\tDB 'a;b'", ".KK...CCC"}, // the comment begins inside the quotes
        {".ORG 0", "KKKK.."},
        {"\tLXI H,DB", ".KKK....."}, // only the statement's first word
        {"\tmovx a", "......."},
        {"  y  .equ 3", ".....KKKK.."},
    };
    SourceEditor ed;
    ed.setlanguagemode(2);
    for (const char* k : {"MOV", "EQU", ".EQU", "DB", ".ORG", "LXI"})
        ed.addkeyword(QString::fromLatin1(k));
    ed.settextbytes(joined(cases));
    int pos = 0;
    for (const auto& [line, expected] : cases) {
        std::string got;
        for (size_t i = 0; i < line.size(); ++i) {
            const int s = ed.styleat(pos++);
            got += s == stylekeyword ? 'K' : s == stylecomment ? 'C' : '.';
        }
        EXPECT_EQ(got, expected) << line;
        ++pos;
    }
}

TEST(SourceEditorColouring, AKeystrokeRestylesOnlyWhatIsShown)
{
    SourceEditor ed;
    ed.setlanguagemode(2);
    ed.addkeyword(QStringLiteral("MVI"));
    ed.resize(500, 300);
    ed.show();
    std::string text;
    for (int i = 0; i < 50000; ++i)
        text += "\tMVI A,5\t; step\n";
    ed.settextbytes(text);
    for (int line : {1, 25000, 50000}) {
        ed.styleat(ed.length() - 1); // all styled, as once the window has been idle
        ed.gotoline(line);
        (void)ed.grab();
        const size_t before = ed.styledbytes();
        ed.insert(QStringLiteral("x"));
        // Styled up to the end of what is shown, as the next paint does.
        const long shownend = ed.firstvisibleline() + ed.SendScintilla(QsciScintillaBase::SCI_LINESONSCREEN);
        ed.styleat(static_cast<int>(ed.SendScintilla(QsciScintillaBase::SCI_POSITIONFROMLINE, shownend - 1)));
        const size_t styled = ed.styledbytes() - before;
        EXPECT_GT(styled, 0u) << line;
        EXPECT_LT(styled, 4000u) << line; // a screenful, while the text has 850,000 bytes
    }
}

TEST(SourceEditorEditing, ReplaceAllWholeWordsAnyCaseInOneUndoStep)
{
    struct Case {
        std::string text, what, with;
        int count;
        std::string after;
    };
    for (const Case& c : {Case{"mov a,b\nMOV c,d\nremove\n\tmov\n", "mov", "MVI", 3, "MVI a,b\nMVI c,d\nremove\n\tMVI\n"},
                          Case{"L: JMP L\nL2: JMP L2\n", "l", "X", 2, "X: JMP X\nL2: JMP L2\n"},
                          Case{"nothing\n", "xyz", "a", 0, "nothing\n"}}) {
        SourceEditor ed;
        ed.settextbytes(c.text);
        EXPECT_EQ(ed.replaceall(QString::fromStdString(c.what), QString::fromStdString(c.with)), c.count);
        EXPECT_EQ(ed.textbytes(), c.after);
        ed.undo();
        EXPECT_EQ(ed.textbytes(), c.text);
    }
}

TEST(SourceEditorEditing, UndoStopsAtTheNumberOfLevels)
{
    // levels, edits, edits undone
    for (const auto& [levels, edits, undone] : std::vector<std::tuple<int, int, int>>{{2, 3, 2}, {0, 2, 0}, {10, 3, 3}}) {
        SourceEditor ed;
        ed.setundolevels(levels);
        for (int e = 0; e < edits; ++e)
            addatend(ed, std::to_string(e));
        const std::string full = ed.textbytes();
        for (int u = 0; u < edits + 2; ++u)
            ed.undo();
        const std::string left = full.substr(0, static_cast<size_t>(edits - undone));
        EXPECT_EQ(ed.textbytes(), left) << levels;
        ed.redo();
        ed.undo();
        EXPECT_EQ(ed.textbytes(), left) << levels; // a redo gives one level back
        // An edit after undoing makes the levels count from it again.
        addatend(ed, "z");
        ed.undo();
        EXPECT_EQ(ed.textbytes(), left + (levels ? "" : "z"));
    }
}

TEST(SourceEditorFiles, EncodingsLineEndsAndNulBytesRoundTrip)
{
    struct Case {
        QByteArray bytes;
        bool latin1;
        std::string shown, typedline; // the editor's UTF-8 text; a new line typed at the end
    };
    const std::vector<Case> cases = {
        {"\tMVI A,'\xc3\xa9'\r\n", false, "\tMVI A,'\xc3\xa9'\r\n", "\r\n"},
        {"; caf\xe9\n", true, "; caf\xc3\xa9\n", "\n"},
        {QByteArray("a\0b\x01\xff\n", 6), true, std::string("a\0b\x01\xc3\xbf\n", 7), "\n"},
        {QByteArray("x\0y", 3), false, std::string("x\0y", 3), "\n"},
    };
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("f.asm"));
    const QString copy = dir.filePath(QStringLiteral("g.asm"));
    for (const Case& c : cases) {
        QFile f(path);
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        f.write(c.bytes);
        f.close();
        SourceEditor ed;
        ASSERT_TRUE(ed.loadfile(path));
        EXPECT_EQ(ed.latin1(), c.latin1);
        EXPECT_EQ(ed.textbytes(), c.shown);
        ASSERT_TRUE(ed.savefile(copy));
        QFile g(copy);
        ASSERT_TRUE(g.open(QIODevice::ReadOnly));
        EXPECT_EQ(g.readAll(), c.bytes);
        ed.SendScintilla(QsciScintillaBase::SCI_DOCUMENTEND);
        ed.SendScintilla(QsciScintillaBase::SCI_NEWLINE);
        EXPECT_EQ(ed.textbytes(), c.shown + c.typedline);
    }
}

TEST(SourceEditorScrolling, WheelNotchesScrollByTheStep)
{
    struct Case {
        int step;
        std::vector<int> deltas;
        int firstline;
    };
    for (const Case& c : {Case{10, {-120}, 11}, Case{10, {-60, -60}, 11}, // touchpad deltas add up
                          Case{10, {-60}, 1}, Case{3, {-120, -120, 120}, 4}, Case{5, {-240, -30, -30, -30, -30}, 16}}) {
        SourceEditor ed;
        ed.resize(400, 300);
        ed.settextbytes(std::string(500, '\n'));
        ed.setwheelstep(c.step);
        for (int d : c.deltas)
            ed.wheelturn(d);
        EXPECT_EQ(ed.firstvisibleline(), c.firstline) << c.step;
    }
}

TEST(SourceEditorSettings, TheAssemblersSettingsReachTheEditor)
{
    SourceEditor ed;
    applyassemblereditor(ed); // the defaults, written as they are read
    EXPECT_EQ(ed.tabWidth(), 8);
    EXPECT_EQ(ed.wheelstep(), 10);
    EXPECT_EQ(ed.undolevels(), 10);
    EXPECT_EQ(ed.color(EditorColor::comment), QColor(0, 64, 64));
    EXPECT_TRUE(QFontInfo(ed.editorfont()).fixedPitch()); // "Courier New" is missing here
    for (const auto& [name, value] : Cases{{"A Tab Size", "4"}, {"A Scroll Wheel Step", "3"},
                                           {"A Undo Levels Number", "0"}, {"A Keyword Color", "197121"}})
        regwrite(name, value);
    applyassemblereditor(ed);
    EXPECT_EQ(ed.tabWidth(), 4);
    EXPECT_EQ(ed.wheelstep(), 3);
    EXPECT_EQ(ed.undolevels(), 0);
    EXPECT_EQ(ed.color(EditorColor::keyword), QColor(1, 2, 3));
}

} // namespace
