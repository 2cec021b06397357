// The source editor of the Assembler and BASIC windows, over QScintilla: text in and out of files
// (UTF-8, or Latin-1 kept as such; line ends kept), the edit operations, find and replace all,
// line marks, keyword colouring by language mode (only what changed and what is shown is styled),
// line numbers, the wheel step and a limit on undo levels. The editor is told of a change before
// it is made only (QsciScintilla's textChanged and linesChanged don't come).
//
// Interface for a window:
//   auto* ed = new SourceEditor(this);
//   applyassemblereditor(*ed);            // properties from the "A " settings
//   ed->setlanguagemode(2); ed->clearkeywords(); ed->addkeyword("MOV"); ...
//   ed->loadfile(path, &error) / ed->savefile(path, &error)
//   ed->markline(12); ed->gotonextmark(); ed->currentline();   // lines are 1-based
// A language mode is a line styler and a line formatter (sourceeditorlanguage.h); mode 2 is the
// assembler's; another is added by SourceEditor::registerlanguage(mode, {styler, formatter}).
#pragma once
#include "shell/sourceeditorlanguage.h"

#include <Qsci/qsciscintilla.h>

#include <QColor>
#include <QString>

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <vector>

namespace kelvane {

class SourceLexer;

enum class EditorColor { background, text, keyword, string, comment, asmcode, error, linenumbersback, linenumberstext };

struct LanguageMode {
    LineStyler styler = nullptr;
    LineFormatter formatter = nullptr;
    BlockReader blocks = nullptr; // a language whose blocks indent their bodies
};

class SourceEditor : public QsciScintilla {
    Q_OBJECT
public:
    explicit SourceEditor(QWidget* parent = nullptr);
    ~SourceEditor() override;

    static void registerlanguage(int mode, LanguageMode language);

    // ---- Text. ----
    // The whole text as UTF-8 bytes (NUL bytes included).
    std::string textbytes() const;
    bool isempty() const;
    // Empties the text, the marks and the undo history; the next file is a new one (LF, UTF-8).
    void cleartext();
    // Replaces the whole text (also of a read-only editor); the undo history starts anew.
    void settextbytes(std::string_view utf8);
    // A file's text: UTF-8, or Latin-1 when it isn't valid UTF-8. Its line ends stay as they are
    // and new lines take the file's kind. False with a plain message when it can't be read.
    bool loadfile(const QString& path, QString* error = nullptr);
    // Writes the text through a temporary file, in the file's encoding (UTF-8 when a character
    // has no Latin-1 form). False with a plain message; the old file then stays.
    bool savefile(const QString& path, QString* error = nullptr);
    bool latin1() const { return latin1_; }
    bool crlf() const;

    // ---- Editing. ----
    // One undo level, refused once the editor's number of levels has been undone in a row.
    void undo() override;
    void redo() override;
    // Format Text of the language mode, one undo step; the marks stay on their lines.
    void formattext();
    QString wordatcaret() const;
    // Finds the text (any case) after the caret, wrapping at the end; selects and shows it.
    bool findtext(const QString& text);
    // Replaces every whole-word occurrence (any case) in one undo step; the count.
    int replaceall(const QString& findtext, const QString& replacetext);

    // ---- Lines and marks (1-based). ----
    void markline(int line);
    void clearmarks();
    std::vector<int> markedlines() const;
    // The caret to the first mark below the current line, wrapping to the top.
    void gotonextmark();
    int currentline() const;
    int linecount() const;
    void gotoline(int line);
    // Scrolls the line into view without moving the caret; a line beyond the end shows the end.
    void showline(int line);
    int firstvisibleline() const;
    // By the wheel step.
    void scrollup();
    void scrolldown();
    // A wheel turn of angle delta (120 a notch): whole notches scroll, the rest adds up.
    void wheelturn(int angledelta);

    // ---- Keywords and language. ----
    void clearkeywords();
    void addkeyword(const QString& word);
    const KeywordSet& keywords() const { return keywords_; }
    void setlanguagemode(int mode);
    int languagemode() const { return mode_; }
    // The style of the byte at a position, styled first if it was not yet.
    int styleat(int position);
    // How many bytes the language mode has styled since the editor was made.
    size_t styledbytes() const { return styledbytes_; }

    // ---- Appearance and behaviour. ----
    void setfontname(const QString& name);
    void setfontsize(int points);
    void setcoloringenabled(bool on);
    void setcolor(EditorColor which, const QColor& color);
    QColor color(EditorColor which) const { return colors_[static_cast<size_t>(which)]; }
    void setlinenumbersenabled(bool on);
    void settabsize(int columns);
    void setwheelstep(int lines);
    int wheelstep() const { return wheelstep_; }
    void setundolevels(int levels);
    int undolevels() const { return undolevels_; }
    bool coloringenabled() const { return coloring_; }
    QFont editorfont() const { return font_; }
    // Auto format: Enter formats the line it ends and indents the next one by the blocks of a
    // language that has them (sourceeditorauto.cpp).
    void setautoformatenabled(bool on) { autoformat_ = on; }
    bool autoformatenabled() const { return autoformat_; }
    // Auto case: a typed word that is a keyword but for its case takes the keyword's spelling
    // when it ends, outside strings and comments. Text that is loaded or pasted stays as it is.
    void setautocaseenabled(bool on) { autocase_ = on; }
    bool autocaseenabled() const { return autocase_; }
    // Comment space: the blanks that Format Text and auto format leave between a statement and
    // its comment; 0 leaves the language's own spacing.
    void setcommentspace(int blanks) { commentspace_ = std::max(0, blanks); }
    int commentspace() const { return commentspace_; }
    // Procedure separator: a thin line in the line-number text colour above each line that begins
    // with a line label, this many characters of the editor's font long; 0 draws none.
    void setprocseparatorwidth(int characters);
    int procseparatorwidth() const { return procseparator_; }
    // A line as Format Text leaves it (the language's formatter, then the comment space).
    std::string formatline(std::string_view line) const;

protected:
    bool event(QEvent* e) override;
    void keyPressEvent(QKeyEvent* e) override;
    void wheelEvent(QWheelEvent* e) override;
    void paintEvent(QPaintEvent* e) override;

private:
    friend class SourceLexer;
    void modified(int type);
    void applystyles();
    void restyle();
    void paintnow();
    void updatemargin(bool force = false);
    const LanguageMode* language() const;
    void charadded(int ch);
    void fixcase(long wordend);
    bool autoformatenter();

    SourceLexer* lexer_ = nullptr;
    KeywordSet keywords_;
    int mode_ = 0;
    bool coloring_ = true;
    bool linenumbers_ = true;
    bool latin1_ = false;
    QFont font_;
    std::array<QColor, 9> colors_{};
    int wheelstep_ = 10;
    int wheelrest_ = 0;
    int undolevels_ = 10;
    int undone_ = 0;
    bool autoformat_ = false;
    bool autocase_ = false;
    int commentspace_ = 0;
    int procseparator_ = 0;
    int margindigits_ = 0;
    size_t styledbytes_ = 0;
};

} // namespace kelvane
