#include "tools/form2.h"

#include "core/hexutil.h"
#include "sim/machinestate.h"

#include <QCheckBox>
#include <QScrollBar>
#include <QWheelEvent>

#include <algorithm>

namespace kelvane {

namespace {
constexpr int lastrow = 4080; // the view's top row on the last page: FF00
}

Form2::Form2() : HexEditorWindow(Tool::Form2, QStringLiteral("Memory Editor"))
{
    setObjectName(QStringLiteral("Form2"));
    VScroll1_ = new QScrollBar(Qt::Vertical, this);
    VScroll1_->setObjectName(QStringLiteral("VScroll1"));
    VScroll1_->setRange(0, lastrow);
    VScroll1_->setSingleStep(1);
    VScroll1_->setPageStep(16);
    VScroll1_->setFocusPolicy(Qt::StrongFocus);
    VScroll1_->installEventFilter(this);
    grid()->installEventFilter(this);
    // A change of value redraws at once, also while the thumb is dragged.
    connect(VScroll1_, &QScrollBar::valueChanged, grid(), &HexGrid::refresh);
    setTabOrder(VScroll1_, ontopbox());
    load(VScroll1_, VScroll1_);
}

void Form2::memorijaprint()
{
    grid()->markdue();
}

const int32_t* Form2::viewvalues()
{
    toprow_ = VScroll1_->value();
    return machinestate().mem.data() + static_cast<size_t>(toprow_) * 16;
}

QString Form2::rowlabel(int row) const
{
    return QString::fromStdString(hexword((toprow_ + row) * 16)) + QStringLiteral(": ");
}

int32_t Form2::celladdress(int row, int column) const
{
    // Column 16 is the next row's first byte; on the last page that is 65536, a spare element.
    return (toprow_ + row) * 16 + column;
}

void Form2::store(int32_t address, int32_t value)
{
    machinestate().mem[static_cast<size_t>(address)] = value;
    grid()->refresh();
}

bool Form2::scrollrows(int delta)
{
    const int32_t next = toprow_ + delta;
    if (next < 0 || next > lastrow)
        return false;
    VScroll1_->setValue(VScroll1_->value() + delta);
    grid()->refresh();
    return true;
}

void Form2::wheelEvent(QWheelEvent* event)
{
    // A notch (120) moves the view by 3 rows; smaller deltas (touchpads) add up to notches, as
    // long as they keep their direction.
    const int delta = event->angleDelta().y();
    if ((delta > 0) != (wheelrest_ > 0))
        wheelrest_ = 0;
    wheelrest_ += delta;
    int rows = 0;
    for (; wheelrest_ >= 120; wheelrest_ -= 120)
        rows -= 3;
    for (; wheelrest_ <= -120; wheelrest_ += 120)
        rows += 3;
    if (rows != 0)
        VScroll1_->setValue(std::clamp(VScroll1_->value() + rows, VScroll1_->minimum(), VScroll1_->maximum()));
    event->accept();
}

bool Form2::eventFilter(QObject* watched, QEvent* event)
{
    // The wheel over the table or the bar moves the view by the window's steps.
    if ((watched == VScroll1_ || watched == grid()) && event->type() == QEvent::Wheel) {
        wheelEvent(static_cast<QWheelEvent*>(event));
        return true;
    }
    return HexEditorWindow::eventFilter(watched, event);
}

} // namespace kelvane
