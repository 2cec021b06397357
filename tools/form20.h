// Form20, the I/O Ports Editor: the 256 ports in sixteen rows, overtyped in place, also during a
// run. An entry on the port of an enabled input device is that device's new value as well.
#pragma once
#include "tools/hexeditorwindow.h"

namespace kelvane {

class Form20 : public HexEditorWindow {
    Q_OBJECT
public:
    Form20();

    // The router's redraw (after an instruction, IN, OUT, a device): a snapshot at the next frame.
    void ioprint() override;

protected:
    const int32_t* viewvalues() override;
    QString rowlabel(int row) const override;
    int32_t celladdress(int row, int column) const override;
    void store(int32_t address, int32_t value) override;
};

} // namespace kelvane
