#include "tools/form5lamp.h"

#include <QPainter>
#include <QRadialGradient>

namespace kelvane {

namespace {

constexpr qreal diameter = 18;
constexpr qreal lampcentre = 13; // from the top of the cell

} // namespace

Lamp::Lamp(int bit, QWidget* parent) : QAbstractButton(parent), bit_(bit)
{
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setAccessibleName(QStringLiteral("Bit %1").arg(bit));
}

QSize Lamp::sizeHint() const
{
    return {28, 40};
}

void Lamp::setcolour(QRgb rgb)
{
    const QColor c = QColor::fromRgb(rgb);
    if (c == colour_)
        return;
    colour_ = c;
    update();
}

void Lamp::paintEvent(QPaintEvent* event)
{
    (void)event;
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    if (!isEnabled())
        p.setOpacity(0.55);
    const QPointF c(width() / 2.0, lampcentre);
    const qreal r = diameter / 2;
    const bool on = lit();

    if (on) {
        // The light spilling round the lamp.
        QRadialGradient glow(c, r * 1.75);
        glow.setColorAt(0.45, QColor(128, 255, 128, 120));
        glow.setColorAt(1.0, QColor(128, 255, 128, 0));
        p.setPen(Qt::NoPen);
        p.setBrush(glow);
        p.drawEllipse(c, r * 1.75, r * 1.75);
    }
    // The bezel.
    p.setPen(QPen(QColor(0x0c, 0x12, 0x0e), 1.0));
    p.setBrush(QColor(0x2a, 0x30, 0x2c));
    p.drawEllipse(c, r + 2, r + 2);
    // The lens: the lamp's colour, lighter where the light strikes it and darker at its rim.
    QRadialGradient lens(c + QPointF(-r * 0.3, -r * 0.35), r * 1.25);
    lens.setColorAt(0.0, colour_.lighter(on ? 135 : 130));
    lens.setColorAt(0.55, colour_);
    lens.setColorAt(1.0, colour_.darker(on ? 150 : 170));
    p.setPen(QPen(colour_.darker(220), 0.8));
    p.setBrush(lens);
    p.drawEllipse(c, r, r);
    // A small reflection.
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(255, 255, 255, on ? 170 : 110));
    p.drawEllipse(c + QPointF(-r * 0.32, -r * 0.38), r * 0.32, r * 0.22);

    if (hasFocus()) {
        QPen ring(QColor(0xff, 0xd3, 0x4d), 1.6);
        ring.setStyle(Qt::DotLine);
        p.setPen(ring);
        p.setBrush(Qt::NoBrush);
        p.drawEllipse(c, r + 4.5, r + 4.5);
    }

    // The bit's number, as printed on the board under the lamp.
    QFont f = font();
    f.setPointSizeF(7.5);
    f.setBold(true);
    p.setFont(f);
    p.setPen(labelcolour_);
    p.drawText(QRectF(0, lampcentre + r + 4, width(), height() - (lampcentre + r + 4)), Qt::AlignHCenter | Qt::AlignTop,
               QString::number(bit_));
}

} // namespace kelvane
