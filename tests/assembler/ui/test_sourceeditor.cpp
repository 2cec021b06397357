// The source editor: Format Text keeps what the assembler reads, colouring follows the assembler's
// reading and styles only what changed and what is shown, replace all, undo levels, marks, files
// (encodings, line ends, NUL bytes, failures), the wheel step and the "A " settings.
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

std::string joinlines(const std::vector<std::string>& lines, const char* end = "\n")
{
    std::string out;
    for (const auto& l : lines)
        out += l + end;
    return out;
}

struct Assembled {
    std::vector<int32_t> image;
    std::vector<std::pair<int32_t, std::string>> errors;
};

// One edit of its own at the end of the text, as typing there would make it.
void addatend(SourceEditor& ed, const std::string& text)
{
    ed.SendScintilla(QsciScintillaBase::SCI_DOCUMENTEND);
    ed.beginUndoAction();
    ed.SendScintilla(QsciScintillaBase::SCI_ADDTEXT, static_cast<uintptr_t>(text.size()), text.c_str());
    ed.endUndoAction();
}

Assembled assemble(const std::string& text)
{
    Assembler as;
    as.assembletext(text, 1000);
    Assembled a{as.objimage, {}};
    for (const AsmError& e : as.errors())
        a.errors.emplace_back(e.line, e.message);
    return a;
}

// Each line as typed and as Format Text leaves it.
const std::vector<std::pair<std::string, std::string>> formatcases = {
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
    {"", ""},
    {"   \t ", ""},
    {"LBL2", "LBL2"},
    {"LBL3:\t\t;c", "LBL3:\t;c"},
    {"\t  lxi   h , 'A' + 3  ", "\tlxi h , 'A' + 3"},
    {"\tDB 1,  \"xyz\" , 2", "\tDB 1,  \"xyz\" , 2"},
    {"\t.DS 4 ; EQU  ", "\t.DS 4\t; EQU  "},
    {"\tIN EQU", "\tIN EQU"},
    {"LOOP: NOP", "LOOP:\tNOP"},
    {"\tJMP\tLOOP", "\tJMP LOOP"},
};

TEST(SourceEditorFormat, EachLineAsExpected)
{
    for (const auto& [typed, formatted] : formatcases)
        EXPECT_EQ(formatassemblerline(typed), formatted) << typed;
}

TEST(SourceEditorFormat, TheSourceAssemblesAlikeBeforeAndAfter)
{
    std::vector<std::string> typed;
    for (const auto& c : formatcases)
        typed.push_back(c.first);
    for (const char* end : {"\n", "\r\n"}) {
        const std::string before = joinlines(typed, end);
        const std::string after = formattextlines(before, formatassemblerline);
        const Assembled a = assemble(before);
        const Assembled b = assemble(after);
        EXPECT_EQ(a.image, b.image);
        EXPECT_EQ(a.errors, b.errors);
        EXPECT_FALSE(a.errors.empty()); // the cases hold errors too, which must stay the same
        EXPECT_EQ(std::count(after.begin(), after.end(), '\n'), static_cast<long>(typed.size()));
        if (std::string(end) == "\r\n")
            EXPECT_EQ(std::count(after.begin(), after.end(), '\r'), static_cast<long>(typed.size()));
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

// Styles by letter: '.' text, 'K' keyword, 'C' comment.
const std::vector<std::pair<std::string, std::string>> stylecases = {
    {"\tmov a,b ; c", ".KKK.....CCC"},
    {"MOV A,B", "......."},           // a label in column 1
    {"X EQU 5", "..KKK.."},
    {"\tDB 'a;b'", ".KK...CCC"},       // the comment begins inside the quotes
    {".ORG 0", "KKKK.."},
    {"\tLXI H,DB", ".KKK....."},       // only the statement's first word
    {"; MOV", "CCCCC"},
    {"\tmovx a", "......."},
    {"  y  .equ 3", ".....KKKK.."},
};

TEST(SourceEditorColouring, StylesFollowTheAssemblersReading)
{
    SourceEditor ed;
    ed.setlanguagemode(2);
    for (const char* k : {"MOV", "EQU", ".EQU", "DB", ".ORG", "LXI"})
        ed.addkeyword(QString::fromLatin1(k));
    std::vector<std::string> lines;
    for (const auto& c : stylecases)
        lines.push_back(c.first);
    ed.settextbytes(joinlines(lines));
    int pos = 0;
    for (const auto& [line, expected] : stylecases) {
        std::string got;
        for (size_t i = 0; i < line.size(); ++i) {
            const int s = ed.styleat(pos + static_cast<int>(i));
            got += s == stylekeyword ? 'K' : s == stylecomment ? 'C' : '.';
        }
        EXPECT_EQ(got, expected) << line;
        pos += static_cast<int>(line.size()) + 1;
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
    ed.gotoline(25000);
    (void)ed.grab();
    for (int line : {1, 25000, 50000}) {
        ed.gotoline(line);
        (void)ed.grab();
        const size_t before = ed.styledbytes();
        ed.insert(QStringLiteral("x"));
        (void)ed.grab();
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
    const std::vector<Case> cases = {
        {"mov a,b\nMOV c,d\nremove\n\tmov\n", "mov", "MVI", 3, "MVI a,b\nMVI c,d\nremove\n\tMVI\n"},
        {"LOOP: JMP LOOP\nLOOP2: JMP LOOP2\n", "loop", "L1", 2, "L1: JMP L1\nLOOP2: JMP LOOP2\n"},
        {"nothing here\n", "xyz", "a", 0, "nothing here\n"},
    };
    for (const Case& c : cases) {
        SourceEditor ed;
        ed.settextbytes(c.text);
        EXPECT_EQ(ed.replaceall(QString::fromStdString(c.what), QString::fromStdString(c.with)), c.count) << c.text;
        EXPECT_EQ(ed.textbytes(), c.after);
        ed.undo();
        EXPECT_EQ(ed.textbytes(), c.text);
    }
}

TEST(SourceEditorEditing, UndoStopsAtTheNumberOfLevels)
{
    struct Case {
        int levels, edits, undone;
    };
    for (const Case c : {Case{2, 3, 2}, Case{0, 2, 0}, Case{10, 3, 3}}) {
        SourceEditor ed;
        ed.setundolevels(c.levels);
        ed.settextbytes("");
        for (int e = 0; e < c.edits; ++e)
            addatend(ed, std::to_string(e));
        const std::string full = ed.textbytes();
        for (int u = 0; u < c.edits + 2; ++u)
            ed.undo();
        EXPECT_EQ(ed.textbytes(), full.substr(0, static_cast<size_t>(c.edits - c.undone))) << c.levels;
        // An edit after undoing makes the levels count from it again.
        addatend(ed, "z");
        ed.undo();
        EXPECT_EQ(ed.textbytes(), full.substr(0, static_cast<size_t>(c.edits - c.undone)) + (c.levels ? "" : "z"));
    }
}

TEST(SourceEditorMarks, NextMarkWrapsAndMarksFollowTheirLines)
{
    SourceEditor ed;
    std::string text;
    for (int i = 1; i <= 12; ++i)
        text += "line\n";
    ed.settextbytes(text);
    for (int l : {3, 7, 10, 99})
        ed.markline(l);
    EXPECT_EQ(ed.markedlines(), (std::vector<int>{3, 7, 10}));
    std::vector<int> visited;
    for (int i = 0; i < 4; ++i) {
        ed.gotonextmark();
        visited.push_back(ed.currentline());
    }
    EXPECT_EQ(visited, (std::vector<int>{3, 7, 10, 3}));
    ed.setCursorPosition(0, 0);
    ed.insert(QStringLiteral("new\nnew\n"));
    EXPECT_EQ(ed.markedlines(), (std::vector<int>{5, 9, 12}));
    ed.clearmarks();
    EXPECT_TRUE(ed.markedlines().empty());
}

TEST(SourceEditorFiles, EncodingsAndLineEndsRoundTrip)
{
    struct Case {
        QByteArray bytes;
        bool latin1, crlf;
        std::string shown; // the editor's UTF-8 text
    };
    const std::vector<Case> cases = {
        {"\tMVI A,'\xc3\xa9'\r\n", false, true, "\tMVI A,'\xc3\xa9'\r\n"},
        {"; caf\xe9\n", true, false, "; caf\xc3\xa9\n"},
        {QByteArray("a\0b\x01\xff\n", 6), true, false, std::string("a\0b\x01\xc3\xbf\n", 7)},
        {QByteArray("x\0y", 3), false, false, std::string("x\0y", 3)},
    };
    QTemporaryDir dir;
    for (const Case& c : cases) {
        const QString path = dir.filePath(QStringLiteral("f.asm"));
        QFile f(path);
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        f.write(c.bytes);
        f.close();
        SourceEditor ed;
        ASSERT_TRUE(ed.loadfile(path));
        EXPECT_EQ(ed.latin1(), c.latin1);
        EXPECT_EQ(ed.crlf(), c.crlf);
        EXPECT_EQ(ed.textbytes(), c.shown);
        const QString copy = dir.filePath(QStringLiteral("g.asm"));
        ASSERT_TRUE(ed.savefile(copy));
        QFile g(copy);
        ASSERT_TRUE(g.open(QIODevice::ReadOnly));
        EXPECT_EQ(g.readAll(), c.bytes);
    }
}

TEST(SourceEditorFiles, NewLinesTakeTheFilesKind)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("crlf.asm"));
    QFile f(path);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    f.write("\tNOP\r\n");
    f.close();
    SourceEditor ed;
    ASSERT_TRUE(ed.loadfile(path));
    ed.SendScintilla(QsciScintillaBase::SCI_DOCUMENTEND);
    ed.SendScintilla(QsciScintillaBase::SCI_NEWLINE);
    EXPECT_EQ(ed.textbytes(), "\tNOP\r\n\r\n");
    ed.cleartext();
    ed.SendScintilla(QsciScintillaBase::SCI_NEWLINE);
    EXPECT_EQ(ed.textbytes(), "\n");
}

TEST(SourceEditorFiles, FailuresLeaveTheTextAndSayWhy)
{
    QTemporaryDir dir;
    SourceEditor ed;
    ed.settextbytes("keep\n");
    QString error;
    EXPECT_FALSE(ed.loadfile(dir.filePath(QStringLiteral("missing.asm")), &error));
    EXPECT_TRUE(error.contains(QStringLiteral("missing.asm")));
    error.clear();
    EXPECT_FALSE(ed.savefile(dir.filePath(QStringLiteral("nofolder/x.asm")), &error));
    EXPECT_TRUE(error.contains(QStringLiteral("x.asm")));
    EXPECT_EQ(ed.textbytes(), "keep\n");
}

TEST(SourceEditorScrolling, WheelNotchesScrollByTheStep)
{
    struct Case {
        int step;
        std::vector<int> deltas;
        int firstline;
    };
    const std::vector<Case> cases = {
        {10, {-120}, 11},
        {10, {-60, -60}, 11},     // touchpad deltas add up to a notch
        {10, {-60}, 1},
        {3, {-120, -120, 120}, 4},
        {5, {-240, -30, -30, -30, -30}, 16},
    };
    for (const Case& c : cases) {
        SourceEditor ed;
        ed.resize(400, 300);
        std::string text;
        for (int i = 0; i < 500; ++i)
            text += "x\n";
        ed.settextbytes(text);
        ed.setwheelstep(c.step);
        for (int d : c.deltas)
            ed.wheelturn(d);
        EXPECT_EQ(ed.firstvisibleline(), c.firstline) << c.step;
    }
}

TEST(SourceEditorSettings, AssemblerSettingsAndDefaults)
{
    regwrite("A Tab Size", "8");
    regwrite("A Scroll Wheel Step", "10");
    regwrite("A Undo Levels Number", "10");
    regwrite("A Comment Color", std::to_string(rgbvalue(0, 64, 64)));
    regwrite("A Font Name", "Courier New");
    SourceEditor ed;
    applyassemblereditor(ed);
    EXPECT_EQ(ed.tabWidth(), 8);
    EXPECT_EQ(ed.wheelstep(), 10);
    EXPECT_EQ(ed.undolevels(), 10);
    EXPECT_EQ(ed.color(EditorColor::comment), QColor(0, 64, 64));
    EXPECT_TRUE(QFontInfo(ed.editorfont()).fixedPitch());

    regwrite("A Tab Size", "4");
    regwrite("A Scroll Wheel Step", "3");
    regwrite("A Undo Levels Number", "0");
    regwrite("A Keyword Color", std::to_string(rgbvalue(1, 2, 3)));
    applyassemblereditor(ed);
    EXPECT_EQ(ed.tabWidth(), 4);
    EXPECT_EQ(ed.wheelstep(), 3);
    EXPECT_EQ(ed.undolevels(), 0);
    EXPECT_EQ(ed.color(EditorColor::keyword), QColor(1, 2, 3));
}

TEST(SourceEditorSettings, DefaultsOfBothEditors)
{
    defaulteditorsettings();
    const EditorSettings& a = assemblereditor();
    const EditorSettings& c = compilereditor();
    EXPECT_EQ(a.tabsize, 8);
    EXPECT_EQ(a.wheelstep, 10);
    EXPECT_EQ(a.undolevels, 10);
    EXPECT_EQ(a.commentcolor, rgbvalue(0, 64, 64));
    EXPECT_EQ(c.tabsize, 3);
    EXPECT_EQ(c.wheelstep, 5);
    EXPECT_EQ(c.undolevels, 20);
    EXPECT_EQ(c.commentcolor, rgbvalue(0, 150, 0));
    EXPECT_EQ(c.stringcolor, rgbvalue(150, 0, 0));
    EXPECT_EQ(a.fontname, "Courier New");
}

} // namespace
