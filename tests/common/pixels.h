// Colours read back from a window as drawn, for window tests: the window grabbed once, then the
// part of it that a control covers (in the picture's device pixels), the colour most of that part
// has, whether a colour shows there, and whether a colour covers a square block anywhere.
#pragma once
#include <QColor>
#include <QImage>
#include <QPainter>
#include <QPixmap>
#include <QRect>
#include <QWidget>

#include <cstdlib>
#include <map>
#include <vector>

namespace kelvane::test {

struct Picture {
    QImage image;
    qreal ratio = 1;
    QWidget* window = nullptr;

    explicit Picture(QWidget* w) : window(w)
    {
        const QPixmap p = w->grab();
        ratio = p.devicePixelRatio();
        image = p.toImage().convertToFormat(QImage::Format_RGB32);
        image.setDevicePixelRatio(1); // everything below counts device pixels
    }
    // Where a control of the window stands in the picture.
    QRect area(const QWidget* control) const
    {
        const QRect r(control->mapTo(window, QPoint(0, 0)), control->size());
        return QRect(QPoint(qRound(r.left() * ratio), qRound(r.top() * ratio)),
                     QSize(qRound(r.width() * ratio), qRound(r.height() * ratio)))
            .intersected(image.rect());
    }
    // Leaves a control out of what follows (its area takes a colour no window has).
    void blank(const QWidget* control) { QPainter(&image).fillRect(area(control), QColor(1, 2, 3)); }
    QRgb pixel(int x, int y) const { return image.pixel(x, y) & 0xFFFFFFu; }
    // The colour that most pixels of the area have.
    QRgb dominant(const QRect& r) const
    {
        std::map<QRgb, int> counts;
        for (int y = r.top(); y <= r.bottom(); ++y)
            for (int x = r.left(); x <= r.right(); ++x)
                ++counts[pixel(x, y)];
        QRgb best = 0;
        int most = -1;
        for (const auto& [c, n] : counts)
            if (n > most) {
                most = n;
                best = c;
            }
        return best;
    }
    // Pixels of the area within `tolerance` of the colour in every channel.
    int count(const QRect& r, QRgb rgb, int tolerance = 0) const
    {
        int n = 0;
        for (int y = r.top(); y <= r.bottom(); ++y)
            for (int x = r.left(); x <= r.right(); ++x) {
                const QRgb p = pixel(x, y);
                if (std::abs(qRed(p) - qRed(rgb)) <= tolerance && std::abs(qGreen(p) - qGreen(rgb)) <= tolerance &&
                    std::abs(qBlue(p) - qBlue(rgb)) <= tolerance)
                    ++n;
            }
        return n;
    }
    // A square of side n all of this colour somewhere in the picture.
    bool hasblock(QRgb rgb, int n) const
    {
        const int w = image.width(), h = image.height();
        std::vector<int> run(static_cast<size_t>(w), 0); // same-coloured pixels above and at (x, y)
        for (int y = 0; y < h; ++y) {
            int across = 0;
            for (int x = 0; x < w; ++x) {
                int& r = run[static_cast<size_t>(x)];
                r = pixel(x, y) == rgb ? r + 1 : 0;
                across = r >= n ? across + 1 : 0;
                if (across >= n)
                    return true;
            }
        }
        return false;
    }
};

} // namespace kelvane::test
