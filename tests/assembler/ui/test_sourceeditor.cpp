// The source editor in assembler mode: Format Text, colouring (only what is shown restyled), replace
// all, undo levels, files (encodings, line ends, NUL bytes), the wheel step and the "A " settings.
#include "assembler/assembler.h"
#include "shell/sourceeditor.h"
#include "shell/sourceeditorsettings.h"
#include "sim/settings.h"

#include "tests/common/datatable.h"
#include "tests/common/windowtest.h"

using namespace kelvane;

namespace {

using Cases = std::vector<std::pair<std::string, std::string>>;

// The pairs of a table under tests/data/sourceeditor, "\t" and "\s" written out.
Cases table(const QString& name)
{
    Cases cases;
    for (const QStringList& row : test::datatable("sourceeditor/" + name)) {
        const QStringList f = row.join('|').replace("\\t", "\t").replace("\\s", " ").split('|');
        cases.emplace_back(f.value(0).toStdString(), f.value(1).toStdString());
    }
    return cases;
}

// The first (or second) texts of the cases as the lines of one text.
std::string joined(const Cases& cases, const char* end = "\n", bool second = false)
{
    std::string out;
    for (const auto& c : cases)
        out += (second ? c.second : c.first) + end;
    return out;
}

// The image and the errors (line: message) of a source.
std::pair<std::vector<int32_t>, std::vector<std::string>> assemble(const std::string& text)
{
    Assembler as;
    as.assembletext(text, 1000);
    std::vector<std::string> errors;
    for (const AsmError& e : as.errors())
        errors.push_back(std::to_string(e.line) + ": " + e.message);
    return {as.objimage, errors};
}

TEST(SourceEditorFormat, LinesAsExpectedAndTheSourceAssemblesAlike)
{
    const Cases cases = table("format.txt");
    ASSERT_EQ(cases.size(), 18u);
    for (const auto& [typed, formatted] : cases)
        EXPECT_EQ(formatassemblerline(typed), formatted) << typed;
    for (const char* end : {"\n", "\r\n"}) {
        const std::string before = joined(cases, end);
        const std::string after = formattextlines(before, formatassemblerline);
        EXPECT_EQ(after, joined(cases, end, true)); // line ends kept
        const auto a = assemble(before);
        EXPECT_EQ(a, assemble(after));
        EXPECT_FALSE(a.second.empty()); // the cases hold errors too, which must stay the same
    }
    // In the editor: one undo step, and marks stay.
    SourceEditor ed;
    ed.setlanguagemode(2);
    ed.settextbytes("A:  NOP\n  mov a,b\n");
    ed.markline(2);
    ed.formattext();
    EXPECT_EQ(ed.textbytes(), "A:\tNOP\n\tmov a,b\n");
    EXPECT_EQ(ed.markedlines(), std::vector<int>{2});
    ed.undo();
    EXPECT_EQ(ed.textbytes(), "A:  NOP\n  mov a,b\n");
}

TEST(SourceEditorColouring, StylesFollowTheAssemblersReadingAndAKeystrokeRestylesOnlyWhatIsShown)
{
    const Cases cases = table("colouring.txt");
    ASSERT_EQ(cases.size(), 8u);
    SourceEditor ed;
    ed.setlanguagemode(2);
    for (const char* k : {"MOV", "EQU", ".EQU", "DB", ".ORG", "LXI", "MVI"})
        ed.addkeyword(QString::fromLatin1(k));
    ed.settextbytes(joined(cases));
    int pos = 0;
    for (const auto& [line, expected] : cases) {
        std::string got;
        for (size_t i = 0; i < line.size(); ++i, ++pos)
            got += ed.styleat(pos) == stylekeyword ? 'K' : ed.styleat(pos) == stylecomment ? 'C' : '.';
        EXPECT_EQ(got, expected) << line;
        ++pos; // the line end
    }
    // A keystroke restyles only what is shown.
    ed.resize(500, 300);
    ed.show();
    ed.settextbytes(QByteArray("\tMVI A,5\t; step\n").repeated(50000).toStdString());
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

TEST(SourceEditorEditing, ReplaceAllIsOneUndoStepAndUndoStopsAtTheLevels)
{
    // The text, what is replaced and by what, the count, the text after.
    for (const auto& [text, what, with, count, after] : std::vector<std::tuple<std::string, QString, QString, int, std::string>>{
             {"mov a,b\nMOV c,d\nremove\n\tmov\n", "mov", "MVI", 3, "MVI a,b\nMVI c,d\nremove\n\tMVI\n"},
             {"L: JMP L\nL2: JMP L2\n", "l", "X", 2, "X: JMP X\nL2: JMP L2\n"},
             {"nothing\n", "xyz", "a", 0, "nothing\n"}}) {
        SourceEditor ed;
        ed.settextbytes(text);
        EXPECT_EQ(ed.replaceall(what, with), count);
        EXPECT_EQ(ed.textbytes(), after);
        ed.undo();
        EXPECT_EQ(ed.textbytes(), text);
    }
    // Undo stops at the number of levels: levels, edits, edits undone. An edit of its own at the
    // end of the text, as typing there would make it:
    const auto addatend = [](SourceEditor& ed, const std::string& text) {
        ed.SendScintilla(QsciScintillaBase::SCI_DOCUMENTEND);
        ed.beginUndoAction();
        ed.SendScintilla(QsciScintillaBase::SCI_ADDTEXT, static_cast<uintptr_t>(text.size()), text.c_str());
        ed.endUndoAction();
    };
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

using SourceEditorFiles = test::WindowTest;

TEST_F(SourceEditorFiles, EncodingsLineEndsAndNulBytesRoundTrip)
{
    // The file's bytes, whether they are read as Latin-1, the editor's UTF-8 text, a new line typed at the end.
    const std::vector<std::tuple<QByteArray, bool, std::string, std::string>> cases = {
        {"\tMVI A,'\xc3\xa9'\r\n", false, "\tMVI A,'\xc3\xa9'\r\n", "\r\n"},
        {"; caf\xe9\n", true, "; caf\xc3\xa9\n", "\n"},
        {QByteArray("a\0b\x01\xff\n", 6), true, std::string("a\0b\x01\xc3\xbf\n", 7), "\n"},
        {QByteArray("x\0y", 3), false, std::string("x\0y", 3), "\n"},
    };
    for (const auto& [bytes, latin1, shown, typedline] : cases) {
        SourceEditor ed;
        ASSERT_TRUE(ed.loadfile(write("f.asm", bytes)));
        EXPECT_EQ(ed.latin1(), latin1);
        EXPECT_EQ(ed.textbytes(), shown);
        ASSERT_TRUE(ed.savefile(path("g.asm")));
        EXPECT_EQ(read("g.asm"), bytes);
        ed.SendScintilla(QsciScintillaBase::SCI_DOCUMENTEND);
        ed.SendScintilla(QsciScintillaBase::SCI_NEWLINE);
        EXPECT_EQ(ed.textbytes(), shown + typedline);
    }
}

TEST(SourceEditorScrolling, WheelNotchesScrollByTheStep)
{
    // The step, the wheel's deltas (a touchpad's add up), the first line shown after them.
    for (const auto& [step, deltas, firstline] : std::vector<std::tuple<int, std::vector<int>, int>>{
             {10, {-120}, 11}, {10, {-60, -60}, 11}, {10, {-60}, 1}, {3, {-120, -120, 120}, 4}, {5, {-240, -30, -30, -30, -30}, 16}}) {
        SourceEditor ed;
        ed.resize(400, 300);
        ed.settextbytes(std::string(500, '\n'));
        ed.setwheelstep(step);
        for (int d : deltas)
            ed.wheelturn(d);
        EXPECT_EQ(ed.firstvisibleline(), firstline) << step;
    }
}

TEST(SourceEditorSettings, TabWheelAndUndoSettingsReachTheEditor)
{
    // The defaults, then the user's (fonts and colours are the editor setup's own tests).
    for (const bool defaults : {true, false}) {
        SourceEditor ed;
        applyassemblereditor(ed);
        EXPECT_EQ(std::tuple(ed.tabWidth(), ed.wheelstep(), ed.undolevels()), defaults ? std::tuple(8, 10, 10) : std::tuple(4, 3, 0));
        for (const auto& [name, value] : Cases{{"A Tab Size", "4"}, {"A Scroll Wheel Step", "3"}, {"A Undo Levels Number", "0"}})
            regwrite(name, value);
    }
}

} // namespace
