// The output terminal's pane (RichTextBox1 of the Peripheral Devices window): a fixed-pitch console
// that shows a text it does not own (the machine's termtext), indexed by line as it grows, wrapped
// at the pane's width and painted a visible row at a time, so megabytes of text cost no copy.
#pragma once
#include <QAbstractScrollArea>
#include <QColor>
#include <QFont>
#include <QRawFont>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace kelvane {

// The line structure of a growing byte text. CR ends a line, so does LF, and CR LF ends one line;
// every other byte is one cell of a line. Rows are lines wrapped at a number of columns.
class TerminalLines {
public:
    struct Line {
        size_t start = 0;
        size_t length = 0;
    };

    // Forgets everything indexed: the next sync reads the text from its beginning.
    void reset();
    // Indexes the bytes of `text` past those already seen. A text shorter than what was seen
    // was emptied in between and is read anew.
    void sync(const std::string& text);
    size_t indexed() const { return indexed_; }

    size_t linecount() const { return lines_.size(); }
    const Line& line(size_t i) const { return lines_[i]; }

    void setcolumns(int columns);
    int columns() const { return columns_; }
    size_t rowcount() const;
    // The line of a row and the offset of the row's first byte within the line.
    std::pair<size_t, size_t> rowplace(size_t row) const;
    // The row of a byte offset within a line.
    size_t rowof(size_t linenumber, size_t offset) const;

private:
    size_t rowsof(const Line& l) const;
    void rebuildrows();

    std::vector<Line> lines_{Line{}};
    std::vector<size_t> firstrow_{0}; // first row of each line
    size_t indexed_ = 0;
    bool aftercr_ = false; // the last byte seen was a CR: an LF now belongs to it
    int columns_ = 80;
};

// How a byte shows in the console: a glyph of its Latin-1 character, or a control byte drawn as
// its caret letter in a small dark cell (0-31, 127 and 128-159).
struct TerminalCell {
    bool control = false;
    char16_t character = u' ';
};
TerminalCell terminalcell(unsigned char byte);

class TerminalPane : public QAbstractScrollArea {
    Q_OBJECT
public:
    explicit TerminalPane(QWidget* parent = nullptr);

    // The text shown; it must outlive the pane. Read again at each refresh.
    void settext(const std::string* text);
    // Shows what was added to the text since the last refresh (or all of it after an emptying)
    // and scrolls to the end, as a caret put at the end of the text would.
    void refresh();
    // The text was replaced: the next refresh reads it from its beginning.
    void restart();

    const TerminalLines& lines() const { return lines_; }
    int firstrow() const;
    int visiblerows() const;
    // True when the last row of the text is in view.
    bool atend() const;
    QSize cellsize() const;

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void setupfont();
    void relayout(bool keepend);
    void scrolltoend();

    const std::string* text_ = nullptr;
    TerminalLines lines_;
    QFont font_;
    QRawFont rawfont_;
    std::array<quint32, 256> glyph_{};      // glyph of each byte's character
    std::array<quint32, 256> controlglyph_{}; // glyph of each control byte's caret letter
    qreal cellwidth_ = 8;
    int cellheight_ = 16;
    qreal ascent_ = 12;
};

} // namespace kelvane
