// The small entry dialogs of the port path: Form10 "IN Instruction Entry Dialog" (the value an IN
// reads, with "Switch To Step By Step Rate"), Form19 "HEX Value Entry Dialog" (the value of an
// input device) and Form18 "ASCII Keyboard" (71 keys, "Small Letters").
//
// Interface (each shows its dialog modally and leaves the answer in st.invalue, 0 for none):
//   inentrydialog(st, port, parent)   for MachineHooks::inprompt; the check box toggles st.switchtostep
//   hexvaluedialog(st, parent)        for the device panel
//   asciikeyboard(st, parent)         the keyboard alone (the two dialogs open it by their button)
#pragma once
#include "core/machine.h"

#include <QDialog>

#include <array>
#include <cstdint>

class QCheckBox;
class QLabel;
class QLineEdit;
class QPushButton;

namespace kelvane {

inline constexpr int keyboardkeys = 71;
// The caption of each key of the ASCII Keyboard by index.
extern const std::array<const char*, keyboardkeys> keycaptions;
// The code a key with this caption gives, or -1 when it gives none (the doubled ampersand).
int32_t keycode(const QString& caption);

// The value of an entry: one character gets a "0" in front, the text is upper-cased and must be
// two hex digits. -1 for a wrong entry.
int32_t entryvalue(const QString& text);

// What Form10 and Form19 share: Text1, Command1 "Enter", Command2 "Keyboard".
class EntryDialog : public QDialog {
    Q_OBJECT
public:
    QLineEdit* text1() const { return text1_; }
    QPushButton* command1() const { return command1_; }
    QPushButton* command2() const { return command2_; }

    // Enter: a good value goes to invalue and the dialog closes; otherwise "Wrong entry." and it stays.
    void enterclicked();
    // Keyboard: the ASCII Keyboard's key as two hex digits in Text1, and the focus on Enter.
    void keyboardclicked();

protected:
    EntryDialog(MachineState& st, QWidget* parent);
    MachineState& st_;
    QLineEdit* text1_ = nullptr;
    QPushButton* command1_ = nullptr;
    QPushButton* command2_ = nullptr;
};

// Form10.
class InEntryDialog : public EntryDialog {
    Q_OBJECT
public:
    InEntryDialog(MachineState& st, int32_t port, QWidget* parent = nullptr);
    QLabel* label1() const { return label1_; }
    QLabel* label2() const { return label2_; }
    QCheckBox* check1() const { return check1_; }

private:
    QLabel* label1_ = nullptr;
    QLabel* label2_ = nullptr;
    QCheckBox* check1_ = nullptr;
};

// Form19.
class HexValueDialog : public EntryDialog {
    Q_OBJECT
public:
    explicit HexValueDialog(MachineState& st, QWidget* parent = nullptr);
    QLabel* label1() const { return label1_; }

private:
    QLabel* label1_ = nullptr;
};

// Form18.
class AsciiKeyboard : public QDialog {
    Q_OBJECT
public:
    explicit AsciiKeyboard(MachineState& st, QWidget* parent = nullptr);
    QPushButton* key(int index) const { return keys_[static_cast<size_t>(index)]; }
    QCheckBox* check1() const { return check1_; }
    QPushButton* command1() const { return command1_; }

    void keyclicked(int index);
    // Upper- or lower-cases the letter keys by the box and stores the box's state.
    void check1clicked();

private:
    MachineState& st_;
    std::array<QPushButton*, keyboardkeys> keys_{};
    QCheckBox* check1_ = nullptr;
    QPushButton* command1_ = nullptr;
    int smallletters_ = 0;
};

void inentrydialog(MachineState& st, int32_t port, QWidget* parent);
void hexvaluedialog(MachineState& st, QWidget* parent);
void asciikeyboard(MachineState& st, QWidget* parent);

} // namespace kelvane
