#include "tools/form16view.h"

#include <QPainter>

#include <algorithm>
#include <climits>

namespace kelvane {

void fitbar(LogBar& bar, size_t count, bool keeplast)
{
    if (count < static_cast<size_t>(loglines) + 1) {
        bar = LogBar{};
        return;
    }
    bar.enabled = true;
    if (count <= linemodelimit) {
        bar.maximum = static_cast<int>(count) - (loglines - 1);
    } else {
        const size_t pages = std::min<size_t>((count + loglines - 1) / loglines, INT_MAX);
        bar.maximum = static_cast<int>(pages);
    }
    bar.value = std::clamp(bar.value, 1, bar.maximum);
    if (keeplast)
        bar.value = bar.maximum;
}

std::pair<size_t, size_t> rowsonview(const LogBar& bar, size_t count)
{
    const auto lines = static_cast<size_t>(loglines);
    if (count <= lines)
        return {0, count};
    const auto step = static_cast<size_t>(bar.value - 1);
    const size_t first = count <= linemodelimit ? step : step * lines;
    if (first >= count)
        return {first, 0};
    return {first, std::min(lines, count - first)};
}

void movebar(LogBar& bar, int steps)
{
    const long long v = static_cast<long long>(bar.value) + steps;
    bar.value = static_cast<int>(std::clamp<long long>(v, 1, bar.maximum));
}

QString logslice(std::string_view row, const LogColumn& column)
{
    const auto start = static_cast<size_t>(column.start - 1);
    if (start >= row.size())
        return {};
    const std::string_view cut = row.substr(start, static_cast<size_t>(column.length));
    QString text(static_cast<qsizetype>(cut.size()), Qt::Uninitialized);
    for (size_t i = 0; i < cut.size(); ++i) {
        const auto ch = static_cast<unsigned char>(cut[i]);
        const bool control = ch < 0x20 || (ch >= 0x7F && ch < 0xA0);
        text[static_cast<qsizetype>(i)] = QChar(control ? ' ' : static_cast<char16_t>(ch));
    }
    return text;
}

LogTableModel::LogTableModel(const LogRows& rows, QObject* parent) : QAbstractTableModel(parent), rows_(rows) {}

int LogTableModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : loglines;
}

int LogTableModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(logcolumns.size());
}

QString LogTableModel::text(int line, int column) const
{
    if (line < 0 || static_cast<size_t>(line) >= shown_ || column < 0 || column >= columnCount())
        return {};
    return logslice(rows_[first_ + static_cast<size_t>(line)], logcolumns[static_cast<size_t>(column)]);
}

QVariant LogTableModel::data(const QModelIndex& index, int role) const
{
    if (role != Qt::DisplayRole || !index.isValid())
        return {};
    return text(index.row(), index.column());
}

void LogTableModel::showrows(size_t first, size_t count)
{
    first_ = first;
    shown_ = std::min(count, static_cast<size_t>(loglines));
    emit dataChanged(index(0, 0), index(loglines - 1, columnCount() - 1), {Qt::DisplayRole});
}

void LogCellDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    const QString text = index.data(Qt::DisplayRole).toString();
    painter->save();
    painter->setFont(option.font);
    painter->setPen(option.palette.color(QPalette::Text));
    const QRect r = option.rect;
    painter->drawText(r, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, text);
    const int last = static_cast<int>(logcolumns.size()) - 1;
    if (index.column() < last) {
        // The rule stands in the middle of the blank that ends the column.
        const qreal advance = QFontMetricsF(option.font).horizontalAdvance(QLatin1Char('0'));
        const qreal x = r.right() + 1 - advance / 2.0;
        QColor rule = option.palette.color(QPalette::Text);
        rule.setAlpha(40);
        painter->setPen(QPen(rule, 0));
        painter->drawLine(QPointF(x, r.top()), QPointF(x, r.bottom() + 1));
    }
    painter->restore();
}

} // namespace kelvane
