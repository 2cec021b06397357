// One round lamp of a bit device (devNbit(b) of the Peripheral Devices window): its colour is the
// bit's state, read back when the bit is toggled; drawn as a small LED with the bit's number under
// it. A press by mouse or Space is reported to the window, which decides what it does.
#pragma once
#include <QAbstractButton>
#include <QColor>

namespace kelvane {

inline constexpr QRgb lampoff = 0x808080;
inline constexpr QRgb lampon = 0x80FF80;

class Lamp : public QAbstractButton {
    Q_OBJECT
public:
    Lamp(int bit, QWidget* parent = nullptr);
    int bit() const { return bit_; }
    QColor colour() const { return colour_; }
    void setcolour(QRgb rgb);
    bool lit() const { return colour_.rgb() == (lampon | 0xFF000000u); }
    // The colour of the printed bit number.
    void setlabelcolour(const QColor& c) { labelcolour_ = c; }
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;
    // The whole cell answers a press, so a click anywhere over the lamp's column hits its bit.
    bool hitButton(const QPoint& pos) const override { return rect().contains(pos); }

private:
    int bit_;
    QColor colour_{QColor::fromRgb(lampoff)};
    QColor labelcolour_{Qt::white};
};

} // namespace kelvane
