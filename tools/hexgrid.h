// The byte table of the Memory Editor and the I/O Ports Editor: HexGrid (`tabla`), sixteen rows of
// an address label and sixteen two-digit cells in a fixed-pitch font, drawn from a snapshot of the
// values on view, and HexHeader (`Text1`), the column digits lined up over the cells.
//
// A redraw takes the snapshot and repaints only the cells that changed: refresh() at once,
// markdue() at the next frame (cheap enough to be called after every instruction).
// Positions inside the table are also given in the editors' units: a character is 105 wide and a
// line 225 high, so the address column is 630 wide, a byte column 315 and the table 5715 x 3600.
#pragma once
#include <QElapsedTimer>
#include <QFrame>
#include <QPointF>
#include <QRect>
#include <QString>
#include <QTimer>

#include <array>
#include <cstdint>
#include <functional>

namespace kelvane {

namespace hexunits {
inline constexpr int character = 105;
inline constexpr int column = 315;
inline constexpr int line = 225;
inline constexpr int address = 630;
inline constexpr int width = 5715;
inline constexpr int height = 3600;
} // namespace hexunits

// The font of both editors' tables, header and entry box.
QFont hexfont();

// A cell of the table: row 0-15 and column 0-16, where column 16 is the sliver right of column F
// (the next row's first byte); row -1 for no cell.
struct HexCell {
    int row = -1, column = -1;
    bool valid() const { return row >= 0; }
    bool operator==(const HexCell&) const = default;
};

// The cell under a point given in units: none on the address column (up to and including 630),
// below the last row, or outside the table.
HexCell hexcellat(double x, double y);

class HexGrid : public QFrame {
    Q_OBJECT
public:
    // The 256 values on view, asked for at every snapshot; the label of a row of the view.
    using Source = std::function<const int32_t*()>;
    using RowLabel = std::function<QString(int row)>;

    HexGrid(Source source, RowLabel rowlabel, QWidget* parent);

    // Takes the snapshot now and repaints the cells that changed.
    void refresh();
    // Asks for a snapshot at the next frame; further calls before it cost one test.
    void markdue()
    {
        if (!due_) {
            due_ = true;
            scheduleframe();
        }
    }
    bool due() const { return due_; }

    // What the table shows: the value of a cell (0-255) and the label of a row in the last snapshot.
    int32_t shownvalue(int cell) const { return shown_[static_cast<size_t>(cell)]; }
    QString shownlabel(int row) const { return labels_[static_cast<size_t>(row)]; }
    // Paint events the table has had (each one draws only the cells asked for).
    long paints() const { return paints_; }

    // Pixels within the table to units and back; the rectangle of a cell (column 0-16) in pixels.
    QPointF tounits(QPointF pixels) const;
    QRect cellrect(int row, int column) const;
    // Where the entry box over a cell stands: the cell's width, centred on its two digits.
    QRect entryrect(int row, int column) const { return cellrect(row, column).translated(-charwidth_ / 2, 0); }
    // A character's width and a line's height in pixels.
    int characterwidth() const { return charwidth_; }
    int lineheight() const { return lineheight_; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

signals:
    // The mouse button was released at this point (in units).
    void released(QPointF units);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void scheduleframe();
    void measure();
    QRect labelrect(int row) const;
    // The top left corner of the table's first character.
    QPoint origin() const;

    Source source_;
    RowLabel rowlabel_;
    std::array<int32_t, 256> shown_{};
    std::array<QString, 16> labels_{};
    bool due_ = false;
    QTimer frame_;
    QElapsedTimer sinceframe_;
    long paints_ = 0;
    int charwidth_ = 8, lineheight_ = 16, ascent_ = 12, padright_ = 4;
};

// The header over the table: " 0  1  2 ... F", each digit over the second digit of its column.
class HexHeader : public QWidget {
    Q_OBJECT
public:
    explicit HexHeader(const HexGrid* grid, QWidget* parent);
    static QString headertext();
    QString text() const { return headertext(); }
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const HexGrid* grid_;
};

} // namespace kelvane
