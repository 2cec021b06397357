// Form8, the Breakpoints Manager: the loaded program's listing 20 lines at a time, up to ten
// breakpoints set by clicking lines, the PC's line marked and held in view during a run, and the
// function keys that reach the main window's Start, Step, Stop and rates.
#pragma once
#include "sim/toolrouter.h"
#include "tools/form8listing.h"

#include <QElapsedTimer>
#include <QString>
#include <QWidget>

#include <array>
#include <cstdint>

class QCheckBox;
class QLabel;
class QPushButton;
class QScrollBar;
class QTimer;

namespace kelvane {

class ListingView;

class Form8 : public QWidget, public ToolWindow {
    Q_OBJECT

public:
    static constexpr int rows = 20;
    // Width limits of the window in pixels (8100 and 15000 twips).
    static constexpr int minwidth = 540, maxwidth = 1000;

    explicit Form8(QWidget* parent = nullptr);
    ~Form8() override;

    // Brings the lines and markers up to date and decides whether the PC's line must be brought
    // into view. Cheap when nothing changed: the router calls it after every instruction.
    void drawlines() override;
    // The form, b1 to b10, Label2, Text1, the check boxes and imelabela in the theme's colours.
    void settheme() override;

    void loadlisting();
    void sortbreakpoints();
    void linija_Click(int i);
    void Command1_Click();
    void Check2_Click(bool checked);
    void Timer1_Timer();
    // One wheel message: delta in eighths of a degree (120 a notch), touchpad parts add up.
    void wheel(int delta);

    // What the window shows, for the view and for tests.
    QString linija(int i) const;      // caption of line i of the 20
    bool prekidsimbol(int i) const;   // the red circle at line i
    int pcsimbol() const { return pcrow_; } // the line of the yellow arrow, -1 when hidden
    QString prekidlabela(int i) const;
    QString imelabela() const;
    QScrollBar* vscrollbar1() const { return vscrollbar1_; }
    // The bar's value and maximum; setbarvalue does what a change of the bar does.
    int barvalue() const { return bar_; }
    int barmaximum() const { return barmaximum_; }
    void setbarvalue(int value);
    QCheckBox* Check1() const { return Check1_; }
    QCheckBox* Check2() const { return Check2_; }
    QPushButton* Command1() const { return Command1_; }
    QWidget* lineview() const;
    int linewidth() const { return linewidth_; }
    int listingcount() const { return listing_.count(); }
    bool listingready() const { return listingready_; }
    int holdpc() const { return holdpc_; }
    const ListingLines& listing() const { return listing_; }
    // The line row i occupies in the view's coordinates (for clicks and for tests).
    QRect linerect(int i) const;

protected:
    void closeEvent(QCloseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    friend class ListingView;
    void buildcontrols();
    void Form_Load();
    void Form_Unload();
    void pumpevents(int n);
    // Finds or makes the listing file; returns its full path, or an empty text when there is none.
    QString findlisting();
    QString makelisting(const QString& folder, const QString& name);
    void readlisting(const QString& path);
    void showlocation(const QString& path); // imelabela, shortened in the middle to fit
    void vscrollbar1_Change(int value);
    void setlinewidth();
    void readpoints();
    void placerows();
    void requestpaint();
    void flush();
    void functionkey(int key, Qt::KeyboardModifiers mods);

    ListingLines listing_;
    bool listingready_ = false;
    int holdpc_ = 1;
    int linewidth_ = 0;
    int loadheight_ = 0;
    bool closing_ = false;

    // The view's state as drawlines left it. bar_ is the value of vscrollbar1: the control shows
    // it at the next repaint, so that following the PC costs no widget work per instruction.
    int bar_ = 1;
    int barmaximum_ = 1;
    int shown_ = 0;           // lines on view: the smaller of listingcount and 20
    std::array<int32_t, 10> points_{}; // breakpointaddress as numbers, -1 for empty
    // The row on view of each address's last code line there, -1 elsewhere: the arrow's row in one
    // step per instruction. placedaddress_ keeps the entries set, to clear them at the next change.
    MachineState& st_;
    std::array<int32_t, rows> placedaddress_{};
    std::array<int8_t, 65536> rowat_;
    int pcrow_ = -1;
    int32_t lastpc_ = -1;
    bool lastrunning_ = false;
    bool changed_ = true;     // something besides the PC changed since the last drawlines

    // Repaints at the display's pace.
    QElapsedTimer sincepaint_;
    bool paintdue_ = false;
    QTimer* painttimer_ = nullptr;

    ListingView* view_ = nullptr;
    QLabel* Label1_ = nullptr;
    QLabel* Label2_ = nullptr;
    QLabel* imelabela_ = nullptr;
    QLabel* Text1_ = nullptr;
    std::array<QLabel*, 10> b_{};
    std::array<QLabel*, 10> prekidlabela_{};
    QPushButton* Command1_ = nullptr;
    QCheckBox* Check1_ = nullptr;
    QCheckBox* Check2_ = nullptr;
    QScrollBar* vscrollbar1_ = nullptr;
    QTimer* Timer1_ = nullptr;
    int wheelrest_ = 0;
    QString location_;
};

} // namespace kelvane
