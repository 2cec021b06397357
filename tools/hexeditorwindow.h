// HexEditorWindow: the window the Memory Editor and the I/O Ports Editor are made of: the header
// `Text1`, the table `tabla`, the one-cell entry box `unosbox` with its keys, "Always On Top"
// (`Check1`) and the 500 ms `Timer1`, placed and saved as window N. Form2 and Form20 say where the
// values on view live, how an entry is stored and whether the view scrolls.
#pragma once
#include "sim/toolrouter.h"
#include "tools/hexgrid.h"

#include <QPointF>
#include <QString>
#include <QWidget>

#include <cstdint>

class QCheckBox;
class QLineEdit;
class QTimer;

namespace kelvane {

class HexEditorWindow : public QWidget, public ToolWindow {
    Q_OBJECT
public:
    ~HexEditorWindow() override;

    HexGrid* grid() const { return tabla_; }
    HexHeader* header() const { return Text1_; }
    QLineEdit* entrybox() const { return unosbox_; }
    QCheckBox* ontopbox() const { return Check1_; }
    QTimer* timer() const { return Timer1_; }

    // The entry box: whether it shows, the cell it stands over (column 16 is the sliver right of
    // column F) and the address it writes (editaddress, editport).
    bool entryopen() const;
    int entryrow() const { return row_; }
    int entrycolumn() const { return column_; }
    int32_t entryaddress() const { return editaddress_; }

    // The form, Check1 and the header Text1 in the theme's colours.
    void settheme() override;

    // A mouse button let go over the table, at a point in the table's units.
    void tabla_MouseUp(QPointF units);

protected:
    HexEditorWindow(Tool tool, const QString& caption);
    // The end of loading, once the derived window's parts stand: lays out the window with
    // `besidegrid` (or nothing) right of the table, places it, announces it and draws the table.
    // `home` is the control that holds the focus while nothing is entered.
    void load(QWidget* besidegrid, QWidget* home);

    // The 256 values on view (read at every snapshot), and the label of a row of the view.
    virtual const int32_t* viewvalues() = 0;
    virtual QString rowlabel(int row) const = 0;
    // The address of a cell of the view, or -1 where there is none.
    virtual int32_t celladdress(int row, int column) const = 0;
    // Stores an entered byte and redraws.
    virtual void store(int32_t address, int32_t value) = 0;
    // Moves the view by rows; false when it cannot (the view then stays).
    virtual bool scrollrows(int delta)
    {
        (void)delta;
        return false;
    }

    void closeEvent(QCloseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void placeentry(int row, int column);
    void hideentry();
    void unosbox_Enter();
    void unosbox_Arrow(int key);

    Tool tool_;
    HexGrid* tabla_ = nullptr;
    HexHeader* Text1_ = nullptr;
    QLineEdit* unosbox_ = nullptr;
    QCheckBox* Check1_ = nullptr;
    QTimer* Timer1_ = nullptr;
    QWidget* home_ = nullptr;
    int row_ = 0, column_ = 0;
    int32_t editaddress_ = 0;
    bool hiding_ = false;
};

} // namespace kelvane
