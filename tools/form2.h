// Form2, the Memory Editor: sixteen rows of sixteen bytes of memory from the row at the top of the
// view (`toprow`, the value of `VScroll1`, 0-4080), overtyped in place, also during a run. The
// machine's redraw after an instruction only marks the table due; it is drawn at the next frame.
#pragma once
#include "tools/hexeditorwindow.h"

class QScrollBar;

namespace kelvane {

class Form2 : public HexEditorWindow {
    Q_OBJECT
public:
    Form2();

    // The router's redraw (after an instruction, Clear, Load): a snapshot at the next frame.
    void memorijaprint() override;

    QScrollBar* scrollbar() const { return VScroll1_; }
    int32_t toprow() const { return toprow_; }

protected:
    const int32_t* viewvalues() override;
    QString rowlabel(int row) const override;
    int32_t celladdress(int row, int column) const override;
    void store(int32_t address, int32_t value) override;
    bool scrollrows(int delta) override;
    void wheelEvent(QWheelEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QScrollBar* VScroll1_ = nullptr;
    int32_t toprow_ = 0;
    int wheelrest_ = 0; // wheel delta short of a notch (touchpads)
};

} // namespace kelvane
