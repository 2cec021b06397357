#include "tools/hexgrid.h"

#include <QFontDatabase>
#include <QFontInfo>
#include <QFontMetricsF>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QScreen>

#include <algorithm>
#include <cmath>

namespace kelvane {

namespace {

// "00" to "FF", made once.
const std::array<QString, 256>& bytetexts()
{
    static const std::array<QString, 256> texts = [] {
        std::array<QString, 256> t;
        for (int v = 0; v < 256; ++v)
            t[static_cast<size_t>(v)] = QStringLiteral("%1").arg(v, 2, 16, QLatin1Char('0')).toUpper();
        return t;
    }();
    return texts;
}

// The label column in a colour between the text and the background, so the bytes stand out.
QColor labelcolour(const QPalette& p)
{
    const QColor t = p.color(QPalette::Text), b = p.color(QPalette::Base);
    return QColor((t.red() * 3 + b.red() * 2) / 5, (t.green() * 3 + b.green() * 2) / 5, (t.blue() * 3 + b.blue() * 2) / 5);
}

// Every fourth row a faint band in the alternate row colour, so a row is followed across the
// table at a glance.
QColor bandcolour(const QPalette& p)
{
    return p.color(QPalette::AlternateBase);
}

constexpr int padleft = 4, padtop = 2, padbottom = 2;

} // namespace

QFont hexfont()
{
    QFont f(QStringLiteral("DejaVu Sans Mono"));
    f.setStyleHint(QFont::TypeWriter);
    f.setFixedPitch(true);
    f.setPointSize(10);
    if (!QFontInfo(f).fixedPitch()) {
        f = QFontDatabase::systemFont(QFontDatabase::FixedFont);
        f.setPointSize(10);
    }
    return f;
}

HexCell hexcellat(double x, double y)
{
    if (!(x > hexunits::address) || x >= hexunits::width || y < 0 || !(y < hexunits::height))
        return {};
    return {static_cast<int>(y / hexunits::line), static_cast<int>((x - hexunits::address) / hexunits::column)};
}

// ---------------------------------------------------------------------------------------------

HexGrid::HexGrid(Source source, RowLabel rowlabel, QWidget* parent)
    : QFrame(parent), source_(std::move(source)), rowlabel_(std::move(rowlabel))
{
    setObjectName(QStringLiteral("tabla"));
    setFrameStyle(QFrame::StyledPanel | QFrame::Sunken);
    setFocusPolicy(Qt::NoFocus);
    setBackgroundRole(QPalette::Base);
    setAutoFillBackground(true);
    setAttribute(Qt::WA_OpaquePaintEvent, false);
    setFont(hexfont());
    shown_.fill(-1);
    frame_.setSingleShot(true);
    connect(&frame_, &QTimer::timeout, this, &HexGrid::refresh);
    measure();
}

void HexGrid::measure()
{
    const QFontMetricsF fm(font());
    charwidth_ = std::max(1, static_cast<int>(std::lround(fm.horizontalAdvance(QLatin1Char('0')))));
    lineheight_ = static_cast<int>(std::ceil(fm.height() * 1.25));
    ascent_ = static_cast<int>(std::lround((lineheight_ - fm.height()) / 2 + fm.ascent()));
    // Room at the right for the entry box over the sliver right of column F (column 16).
    const int table = (hexunits::width * charwidth_ + hexunits::character - 1) / hexunits::character;
    padright_ = padleft + std::max(0, 57 * charwidth_ - table);
    updateGeometry();
}

void HexGrid::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::FontChange) {
        measure();
        labels_.fill(QString());
        shown_.fill(-1);
        markdue();
    }
    QFrame::changeEvent(event);
}

QSize HexGrid::sizeHint() const
{
    const int fw = frameWidth();
    const int table = (hexunits::width * charwidth_ + hexunits::character - 1) / hexunits::character;
    return {table + padleft + padright_ + 2 * fw, 16 * lineheight_ + padtop + padbottom + 2 * fw};
}

QPoint HexGrid::origin() const
{
    return contentsRect().topLeft() + QPoint(padleft, padtop);
}

QPointF HexGrid::tounits(QPointF p) const
{
    const QPoint o = origin();
    return {(p.x() - o.x()) * hexunits::character / charwidth_, (p.y() - o.y()) * hexunits::line / lineheight_};
}

QRect HexGrid::cellrect(int row, int column) const
{
    const QPoint o = origin();
    return {o.x() + (6 + 3 * column) * charwidth_, o.y() + row * lineheight_, 3 * charwidth_, lineheight_};
}

QRect HexGrid::labelrect(int row) const
{
    const QPoint o = origin();
    return {o.x(), o.y() + row * lineheight_, 6 * charwidth_, lineheight_};
}

void HexGrid::scheduleframe()
{
    // No more often than the display shows frames.
    qreal hz = screen() ? screen()->refreshRate() : 60.0;
    hz = std::clamp<qreal>(hz, 24.0, 240.0);
    const auto period = static_cast<qint64>(std::ceil(1000.0 / hz));
    const qint64 since = sinceframe_.isValid() ? sinceframe_.elapsed() : period;
    frame_.start(static_cast<int>(std::max<qint64>(0, period - since)));
}

void HexGrid::refresh()
{
    due_ = false;
    frame_.stop();
    sinceframe_.start();
    const int32_t* values = source_();
    for (int r = 0; r < 16; ++r) {
        const auto row = static_cast<size_t>(r);
        QString label = rowlabel_(r);
        if (label != labels_[row]) {
            labels_[row] = std::move(label);
            update(labelrect(r));
        }
        // One repaint rectangle per row, from its first changed cell to its last.
        int first = -1, last = -1;
        for (int c = 0; c < 16; ++c) {
            const auto i = row * 16 + static_cast<size_t>(c);
            const int32_t v = values[i] & 0xFF;
            if (v != shown_[i]) {
                shown_[i] = v;
                if (first < 0)
                    first = c;
                last = c;
            }
        }
        if (first >= 0)
            update(cellrect(r, first).united(cellrect(r, last)));
    }
}

void HexGrid::paintEvent(QPaintEvent* event)
{
    ++paints_;
    QFrame::paintEvent(event);
    QPainter p(this);
    const QRegion& region = event->region();
    const QPalette& pal = palette();
    const QColor band = bandcolour(pal);
    const QRect inner = contentsRect().adjusted(0, padtop, 0, -padbottom);
    for (int r = 0; r < 16; ++r) {
        if ((r / 4) % 2 == 1) {
            const QRect strip(inner.left(), inner.top() + r * lineheight_, inner.width(), lineheight_);
            if (region.intersects(strip))
                p.fillRect(strip, band);
        }
    }
    const auto& texts = bytetexts();
    p.setPen(labelcolour(pal));
    for (int r = 0; r < 16; ++r) {
        const QRect lr = labelrect(r);
        if (region.intersects(lr))
            p.drawText(lr.left(), lr.top() + ascent_, labels_[static_cast<size_t>(r)]);
    }
    p.setPen(pal.color(QPalette::Text));
    for (int r = 0; r < 16; ++r) {
        for (int c = 0; c < 16; ++c) {
            const int32_t v = shown_[static_cast<size_t>(r * 16 + c)];
            const QRect cr = cellrect(r, c);
            if (v >= 0 && region.intersects(cr))
                p.drawText(cr.left(), cr.top() + ascent_, texts[static_cast<size_t>(v)]);
        }
    }
}

void HexGrid::mouseReleaseEvent(QMouseEvent* event)
{
    emit released(tounits(event->position()));
    QFrame::mouseReleaseEvent(event);
}

// ---------------------------------------------------------------------------------------------

HexHeader::HexHeader(const HexGrid* grid, QWidget* parent) : QWidget(parent), grid_(grid)
{
    setObjectName(QStringLiteral("Text1"));
    setFocusPolicy(Qt::NoFocus);
    setFont(hexfont());
}

QString HexHeader::headertext()
{
    return QStringLiteral(" 0  1  2  3  4  5  6  7  8  9  A  B  C  D  E  F");
}

QSize HexHeader::sizeHint() const
{
    return {grid_->sizeHint().width(), grid_->lineheight()};
}

void HexHeader::paintEvent(QPaintEvent* event)
{
    (void)event;
    QPainter p(this);
    p.setPen(palette().color(QPalette::WindowText));
    // Each character over the grid's characters, half a character to the left, so that the digit
    // of a column stands centred over the cell's two digits.
    const int left = grid_->x() - x() + grid_->cellrect(0, 0).left() - grid_->characterwidth() / 2;
    const QFontMetrics fm(font());
    const int base = (height() - fm.height()) / 2 + fm.ascent();
    const QString text = headertext();
    for (qsizetype i = 0; i < text.size(); ++i)
        if (text[i] != QLatin1Char(' '))
            p.drawText(left + static_cast<int>(i) * grid_->characterwidth(), base, QString(text[i]));
}

} // namespace kelvane
