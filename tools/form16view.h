// The table of the Simulation Log Viewer: the twelve columns cut from each row, the position bar's
// line and page modes, and the model of the 15 lines on view, which reads the rows in place.
#pragma once
#include "progfiles/logfile.h"

#include <QAbstractTableModel>
#include <QStyledItemDelegate>

#include <array>
#include <cstddef>
#include <utility>

namespace kelvane {

// Rows the viewer keeps during runs; a file may hold any number.
inline constexpr size_t logviewerlimit = 450000;
inline constexpr int loglines = 15;
// Up to this many rows the bar moves by rows, beyond it by pages of 15.
inline constexpr size_t linemodelimit = 30000;

// A column: its control name, where its slice of the row starts (1-based), how many characters
// it shows and how many it stands over (to the next column's start).
struct LogColumn {
    const char* name;
    int start, length, width;
};
inline constexpr std::array<LogColumn, 12> logcolumns = {{
    {"lin1", 1, 6, 7},    {"lin2", 8, 5, 6},    {"lin3", 14, 15, 16}, {"lin4", 30, 2, 3},
    {"lin5", 33, 9, 10},  {"lin6", 43, 2, 3},   {"lin7", 46, 2, 3},   {"lin8", 49, 2, 3},
    {"lin9", 52, 2, 3},   {"lin10", 55, 2, 3},  {"lin11", 58, 2, 3},  {"lin12", 61, 4, 5},
}};

inline constexpr const char* logheader = "No.    PC    Instruction     A  SZ_A_P_C  B  C  D  E  H  L  SP  ";

// The position bar as the viewer means it (the widget follows it at the next paint).
struct LogBar {
    bool enabled = false;
    int maximum = 1;
    int value = 1;
};

// Brings the bar in line with `count` rows: reset below 16 rows; the count less 14 as maximum
// up to linemodelimit rows, pages of 15 beyond it (the value brought down to the last page when
// above it); the last position when `keeplast`.
void fitbar(LogBar& bar, size_t count, bool keeplast);
// The rows on view for the bar: the first (counted from 0) and how many of them (0-15).
std::pair<size_t, size_t> rowsonview(const LogBar& bar, size_t count);
// The bar moved by `steps` (a wheel notch is 3), held within 1 and the maximum.
void movebar(LogBar& bar, int steps);

// A slice of a row as the column shows it: bytes as Latin-1, control characters as blanks.
QString logslice(std::string_view row, const LogColumn& column);

// The 15 lines on view, 12 columns each. It reads the rows where they are kept.
class LogTableModel : public QAbstractTableModel {
public:
    LogTableModel(const LogRows& rows, QObject* parent);
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    // Lines 0 to count-1 show the rows from `first` on, the others are empty.
    void showrows(size_t first, size_t count);
    QString text(int line, int column) const;

private:
    const LogRows& rows_;
    size_t first_ = 0, shown_ = 0;
};

// Paints a cell as fixed-pitch text at the column's start, with a faint rule in the blank
// between two columns.
class LogCellDelegate : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;
    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
};

} // namespace kelvane
