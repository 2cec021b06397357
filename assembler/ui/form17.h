// Form17, the Interactive Assembler Editor: an instruction built by clicks (a group, a form, then
// each parameter from a list or on the keypad), rows with ready-made labels shown 20 at a time,
// Append, Update, Delete Line, Insert Line, and Save Listing to an assembler source file.
#pragma once
#include "assembler/ui/form17forms.h"
#include "assembler/ui/form17listing.h"
#include "sim/toolrouter.h"

#include <QLabel>
#include <QWidget>

#include <array>
#include <cstdint>
#include <vector>

class QCheckBox;
class QComboBox;
class QGroupBox;
class QHBoxLayout;
class QVBoxLayout;
class QPushButton;
class QRadioButton;
class QScrollBar;

namespace kelvane {

// One cell of the rows (adr or inst): a click picks its row while a row is awaited, and then
// the cells take the keyboard focus, which they show.
class Form17Cell : public QLabel {
    Q_OBJECT
public:
    explicit Form17Cell(QWidget* parent);
signals:
    void picked();

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
};

class Form17 : public QWidget, public ToolWindow {
    Q_OBJECT
public:
    static constexpr int rows = 20;
    static constexpr uint16_t pending = 65535;

    Form17();
    ~Form17() override;

    // Colours of the theme (Frame0 to Frame8, Check1, Label1, Label2).
    void settheme() override;

    // ---- Handlers. ----
    void Combo1_Click();
    void polje_Click(int index);
    void sel_Click(int index);
    void but_Click(int index);
    void command_append_Click();
    void command_update_Click();
    void command_cancel_Click();
    void command_delete_Click();
    void command_insert_Click();
    void command_add_Click();
    void command_clear_Click();
    void command_save_Click();
    // A click on adr(i) or inst(i).
    void applytorow(int i);
    // One wheel message: delta in eighths of a degree (120 a notch), touchpad parts add up.
    void wheel(int delta);

    void resetlisting();
    void drawlisting();

    // ---- What the window holds and shows. ----
    const Form17Listing& listing() const { return listing_; }
    const KeypadEntry& entry() const { return entry_; }
    uint16_t pendingdelete() const { return pendingdelete_; }
    uint16_t pendinginsert() const { return pendinginsert_; }
    uint16_t pendingupdate() const { return pendingupdate_; }
    QString lininsttext() const { return lininst_->text(); }

    QComboBox* Combo1() const { return Combo1_; }
    QGroupBox* Frame(int i) const { return frames_[static_cast<size_t>(i)]; }
    QRadioButton* polje(int i) const { return polje_[static_cast<size_t>(i)]; }
    QLabel* lininst() const { return lininst_; }
    QLabel* arg() const { return arg_; }
    QRadioButton* sel(int i) const { return sel_[static_cast<size_t>(i)]; }
    QLabel* arg2() const { return arg2_; }
    QLabel* arg3() const { return arg3_; }
    QPushButton* but(int i) const { return but_[static_cast<size_t>(i)]; }
    Form17Cell* adr(int i) const { return adr_[static_cast<size_t>(i)]; }
    Form17Cell* inst(int i) const { return inst_[static_cast<size_t>(i)]; }
    QScrollBar* pozicijav() const { return pozicijav_; }
    QPushButton* command_append() const { return command_append_; }
    QPushButton* command_update() const { return command_update_; }
    QPushButton* command_cancel() const { return command_cancel_; }
    QPushButton* command_delete() const { return command_delete_; }
    QPushButton* command_insert() const { return command_insert_; }
    QPushButton* command_add() const { return command_add_; }
    QPushButton* command_clear() const { return command_clear_; }
    QPushButton* command_save() const { return command_save_; }
    QLabel* Text1() const { return Text1_; }
    QCheckBox* Check1() const { return Check1_; }

protected:
    void closeEvent(QCloseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void buildcontrols();
    QWidget* buildforms();
    QWidget* buildrows();
    // A frame that asks for an argument: the caption, "Argument:" and the parameter's name.
    struct ArgumentFrame {
        QGroupBox* frame;
        QVBoxLayout* layout;
        QHBoxLayout* namerow;
    };
    ArgumentFrame argumentframe(const char* name, const char* labelname, QLabel*& label);
    QGroupBox* buildframe7();
    QGroupBox* buildframe8();
    void nextargument();
    void showmode();
    void selectgroup(int index);
    void awaitrow(uint16_t& flag, QWidget* after);
    void setcellsfocusable(bool on);
    void enablelisting(bool on);
    void showinstructionbuttons(bool on);
    bool rowkey(int cell, int key);
    void focuscell(int cell);
    void unload();

    Form17Listing listing_;
    KeypadEntry entry_;
    uint16_t pendingdelete_ = 0, pendinginsert_ = 0, pendingupdate_ = 0;
    bool scrolltoend_ = false;
    bool drawing_ = false;
    bool unloaded_ = false;
    int wheelrest_ = 0;
    QWidget* afterrow_ = nullptr; // where the focus goes when the awaited row is picked

    QComboBox* Combo1_ = nullptr;
    std::array<QGroupBox*, 9> frames_{}; // Frame0 to Frame8
    std::vector<QRadioButton*> polje_;
    QLabel* lininst_ = nullptr;
    QLabel* arg_ = nullptr;
    std::array<QRadioButton*, 8> sel_{};
    QLabel* arg2_ = nullptr;
    QLabel* arg3_ = nullptr;
    std::array<QPushButton*, keycount> but_{}; // no but(16)
    std::array<Form17Cell*, rows> adr_{}, inst_{};
    QScrollBar* pozicijav_ = nullptr;
    QPushButton* command_append_ = nullptr;
    QPushButton* command_update_ = nullptr;
    QPushButton* command_cancel_ = nullptr;
    QPushButton* command_delete_ = nullptr;
    QPushButton* command_insert_ = nullptr;
    QPushButton* command_add_ = nullptr;
    QPushButton* command_clear_ = nullptr;
    QPushButton* command_save_ = nullptr;
    QLabel* Text1_ = nullptr;
    QCheckBox* Check1_ = nullptr;
    QLabel* Label1_ = nullptr;
    QLabel* Label2_ = nullptr;
    QLabel* hint_ = nullptr;
};

} // namespace kelvane
