#include "tools/form5terminal.h"

#include "shell/theme.h"

#include <QEvent>
#include <QFontDatabase>
#include <QGlyphRun>
#include <QPaintEvent>
#include <QPainter>
#include <QScrollBar>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>

namespace kelvane {

// ---------------------------------------------------------------------------------------------
// TerminalLines

void TerminalLines::reset()
{
    lines_.assign(1, Line{});
    firstrow_.assign(1, 0);
    indexed_ = 0;
    aftercr_ = false;
}

size_t TerminalLines::rowsof(const Line& l) const
{
    const auto cols = static_cast<size_t>(columns_);
    return l.length == 0 ? 1 : (l.length + cols - 1) / cols;
}

void TerminalLines::sync(const std::string& text)
{
    if (text.size() < indexed_)
        reset();
    const size_t end = text.size();
    if (end == indexed_)
        return;
    const size_t oldlast = lines_.size() - 1;
    const char* data = text.data();
    size_t i = indexed_;
    while (i < end) {
        if (aftercr_ && data[i] == '\n') {
            // The LF of a CR LF: the line that the CR opened starts after it.
            aftercr_ = false;
            lines_.back().start = ++i;
            continue;
        }
        aftercr_ = false;
        // The run of ordinary bytes up to the next line break.
        size_t j = i;
        while (j < end && data[j] != '\r' && data[j] != '\n')
            ++j;
        lines_.back().length += j - i;
        if (j < end) {
            aftercr_ = data[j] == '\r';
            lines_.push_back(Line{j + 1, 0});
            ++j;
        }
        i = j;
    }
    indexed_ = end;
    for (size_t k = oldlast + 1; k < lines_.size(); ++k)
        firstrow_.push_back(firstrow_[k - 1] + rowsof(lines_[k - 1]));
}

void TerminalLines::setcolumns(int columns)
{
    columns = std::max(1, columns);
    if (columns == columns_)
        return;
    columns_ = columns;
    rebuildrows();
}

void TerminalLines::rebuildrows()
{
    firstrow_.resize(lines_.size());
    size_t row = 0;
    for (size_t k = 0; k < lines_.size(); ++k) {
        firstrow_[k] = row;
        row += rowsof(lines_[k]);
    }
}

size_t TerminalLines::rowcount() const
{
    return firstrow_.back() + rowsof(lines_.back());
}

std::pair<size_t, size_t> TerminalLines::rowplace(size_t row) const
{
    const auto it = std::upper_bound(firstrow_.begin(), firstrow_.end(), row);
    const auto k = static_cast<size_t>(it - firstrow_.begin()) - 1;
    const size_t sub = std::min(row - firstrow_[k], rowsof(lines_[k]) - 1);
    return {k, sub * static_cast<size_t>(columns_)};
}

size_t TerminalLines::rowof(size_t linenumber, size_t offset) const
{
    const Line& l = lines_[linenumber];
    return firstrow_[linenumber] + std::min(offset / static_cast<size_t>(columns_), rowsof(l) - 1);
}

TerminalCell terminalcell(unsigned char byte)
{
    if (byte < 32)
        return {true, static_cast<char16_t>(u'@' + byte)};
    if (byte == 127)
        return {true, u'?'};
    if (byte >= 128 && byte < 160)
        return {true, static_cast<char16_t>(u'@' + (byte - 128))};
    if (byte == 0xAD)
        return {false, u'-'}; // the soft hyphen would take no room; show it
    return {false, static_cast<char16_t>(byte)};
}

// ---------------------------------------------------------------------------------------------
// TerminalPane

namespace {

constexpr int margin = 5;

struct ConsoleColours {
    QColor back, text, controlback, controltext, c1back, cursor;
};

// The console in the pane's text colours. Control bytes show in reverse: the caret letter in the
// selection's text colour on a cell of the selection colour (128-159 on a cell toward the text
// colour); switched off, everything dims toward the background.
ConsoleColours consolecolours(const QPalette& p, bool enabled)
{
    const QColor back = p.color(QPalette::Base), text = p.color(QPalette::Text);
    const QColor cell = p.color(QPalette::Highlight), celltext = p.color(QPalette::HighlightedText);
    if (enabled) {
        QColor cursor = text;
        cursor.setAlpha(170);
        return {back, text, cell, celltext, mixcolor(cell, text, 0.35), cursor};
    }
    const QColor dim = mixcolor(text, back, 0.6);
    return {back, dim, mixcolor(back, cell, 0.35), back, mixcolor(back, cell, 0.2), Qt::transparent};
}

} // namespace

TerminalPane::TerminalPane(QWidget* parent) : QAbstractScrollArea(parent)
{
    setFocusPolicy(Qt::NoFocus);
    viewport()->setFocusPolicy(Qt::NoFocus);
    viewport()->setObjectName(QStringLiteral("terminalscreen"));
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    verticalScrollBar()->setFocusPolicy(Qt::NoFocus);
    viewport()->setAutoFillBackground(false);
    setFrameShape(QFrame::NoFrame);
    setupfont();
}

void TerminalPane::setupfont()
{
    font_ = QFont(QStringLiteral("DejaVu Sans Mono"));
    font_.setStyleHint(QFont::Monospace);
    font_.setFixedPitch(true);
    font_.setPointSizeF(10);
    font_.setKerning(false);
    rawfont_ = QRawFont::fromFont(font_);
    if (!rawfont_.isValid())
        rawfont_ = QRawFont::fromFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    for (int b = 0; b < 256; ++b) {
        const TerminalCell cell = terminalcell(static_cast<unsigned char>(b));
        const QChar ch(cell.character);
        const QList<quint32> g = rawfont_.glyphIndexesForString(QString(ch));
        const quint32 index = g.isEmpty() ? 0 : g.front();
        glyph_[static_cast<size_t>(b)] = cell.control ? 0 : index;
        controlglyph_[static_cast<size_t>(b)] = cell.control ? index : 0;
    }
    const QList<quint32> m = rawfont_.glyphIndexesForString(QStringLiteral("M"));
    const QList<QPointF> adv = rawfont_.advancesForGlyphIndexes(m);
    cellwidth_ = adv.isEmpty() || adv.front().x() <= 0 ? 8.0 : adv.front().x();
    ascent_ = rawfont_.ascent();
    cellheight_ = static_cast<int>(std::ceil(rawfont_.ascent() + rawfont_.descent())) + 1;
}

void TerminalPane::settext(const std::string* text)
{
    text_ = text;
    restart();
    refresh();
}

void TerminalPane::restart()
{
    lines_.reset();
}

void TerminalPane::refresh()
{
    if (text_)
        lines_.sync(*text_);
    relayout(true);
    scrolltoend();
    viewport()->update();
}

QSize TerminalPane::cellsize() const
{
    return {static_cast<int>(std::ceil(cellwidth_)), cellheight_};
}

int TerminalPane::visiblerows() const
{
    return std::max(1, viewport()->height() / cellheight_);
}

int TerminalPane::firstrow() const
{
    return verticalScrollBar()->value();
}

bool TerminalPane::atend() const
{
    return verticalScrollBar()->value() >= verticalScrollBar()->maximum();
}

void TerminalPane::relayout(bool keepend)
{
    const int columns = std::max(1, static_cast<int>((viewport()->width() - 2 * margin) / cellwidth_));
    // A new width moves the rows: the line at the top stays at the top.
    const bool rewrap = columns != lines_.columns();
    const std::pair<size_t, size_t> top = lines_.rowplace(static_cast<size_t>(firstrow()));
    lines_.setcolumns(columns);
    const auto rows = static_cast<long long>(lines_.rowcount());
    const int maximum = static_cast<int>(std::clamp<long long>(rows - visiblerows(), 0, INT_MAX));
    QScrollBar* bar = verticalScrollBar();
    bar->setRange(0, maximum);
    bar->setPageStep(visiblerows());
    bar->setSingleStep(1);
    if (!keepend && rewrap)
        bar->setValue(static_cast<int>(std::min<size_t>(lines_.rowof(top.first, top.second), INT_MAX)));
}

void TerminalPane::scrolltoend()
{
    verticalScrollBar()->setValue(verticalScrollBar()->maximum());
}

void TerminalPane::resizeEvent(QResizeEvent* event)
{
    QAbstractScrollArea::resizeEvent(event);
    const bool wasatend = atend();
    relayout(wasatend);
    if (wasatend)
        scrolltoend();
}

void TerminalPane::changeEvent(QEvent* event)
{
    QAbstractScrollArea::changeEvent(event);
    if (event->type() == QEvent::EnabledChange || event->type() == QEvent::PaletteChange)
        viewport()->update();
}

void TerminalPane::paintEvent(QPaintEvent* event)
{
    (void)event;
    QPainter p(viewport());
    const ConsoleColours c = consolecolours(palette(), isEnabled());
    p.fillRect(viewport()->rect(), c.back);
    const std::string* text = text_;
    QList<quint32> glyphs, controls;
    QList<QPointF> places, controlplaces;
    const auto cols = static_cast<size_t>(lines_.columns());
    const size_t rows = lines_.rowcount();
    const auto first = static_cast<size_t>(firstrow());
    const size_t last = std::min(rows, first + static_cast<size_t>(visiblerows()) + 1);
    for (size_t r = first; text && r < last; ++r) {
        const auto [index, offset] = lines_.rowplace(r);
        const TerminalLines::Line& l = lines_.line(index);
        const size_t begin = l.start + offset;
        const size_t end = std::min({l.start + l.length, begin + cols, text->size()});
        const qreal y = static_cast<qreal>((r - first) * static_cast<size_t>(cellheight_));
        for (size_t i = begin; i < end; ++i) {
            const auto b = static_cast<unsigned char>((*text)[i]);
            const qreal x = margin + static_cast<qreal>(i - begin) * cellwidth_;
            if (const quint32 g = controlglyph_[b]) {
                p.fillRect(QRectF(x + 0.5, y + 1, cellwidth_ - 1, cellheight_ - 2), b >= 128 ? c.c1back : c.controlback);
                controls.append(g);
                controlplaces.append(QPointF(x, y + ascent_));
            } else if (b != ' ' && glyph_[b] != 0) {
                glyphs.append(glyph_[b]);
                places.append(QPointF(x, y + ascent_));
            }
        }
    }
    auto draw = [&](const QList<quint32>& g, const QList<QPointF>& at, const QColor& colour) {
        if (g.isEmpty())
            return;
        QGlyphRun run;
        run.setRawFont(rawfont_);
        run.setGlyphIndexes(g);
        run.setPositions(at);
        p.setPen(colour);
        p.drawGlyphRun(QPointF(0, 0), run);
    };
    draw(glyphs, places, c.text);
    draw(controls, controlplaces, c.controltext);

    // A block cursor after the last character, where the next one will stand.
    if (isEnabled() && rows > 0 && rows - 1 >= first && rows - 1 < last) {
        const TerminalLines::Line& l = lines_.line(lines_.linecount() - 1);
        const size_t col = l.length == 0 ? 0 : (l.length % cols == 0 ? cols : l.length % cols);
        if (col < cols) {
            const qreal x = margin + static_cast<qreal>(col) * cellwidth_;
            const qreal y = static_cast<qreal>((rows - 1 - first) * static_cast<size_t>(cellheight_));
            p.fillRect(QRectF(x + 0.5, y + 1, cellwidth_ - 1, cellheight_ - 2), c.cursor);
        }
    }
}

} // namespace kelvane
