// Form5 "Peripheral Devices": four eight-bit devices tied to I/O ports (an output device shows what
// OUT sends there, an input device holds the value IN reads) and the Output Terminal that shows
// the bytes sent to its port. Their state lives in MachineState and outlasts the window.
//
// Interface: opened through toolrouter().show(Tool::Form5); the machine reaches it through
// ToolWindow::devicerefresh (refresh1-refresh4 for n 1-4, refresh5 for 5). During a run at rates 5
// and 6 the lamps, value texts and terminal repaint at the display's pace; flush() shows the
// pending state at once.
#pragma once
#include "sim/toolrouter.h"

#include <QWidget>

#include <array>
#include <cstdint>

class QCheckBox;
class QGroupBox;
class QLabel;
class QPushButton;
class QRadioButton;
class QTimer;

namespace kelvane {

class Lamp;
class TerminalPane;

// The device port prompt: -1 for an empty or cancelled answer (nothing told), and for a wrong
// entry after "Wrong entry." was confirmed; otherwise the port 0-255.
int32_t askport(QWidget* parent);

class Form5 : public QWidget, public ToolWindow {
    Q_OBJECT
public:
    explicit Form5(QWidget* parent = nullptr);
    ~Form5() override;

    // refresh1 - refresh4 (n 1-4) and refresh5.
    void refresh(int n);
    void refresh5();
    void devicerefresh(int n, int32_t value) override;
    void settheme() override;
    // Shows whatever a deferred repaint still owes.
    void flush();

    // Handlers. n is the device 1-4; commandclick(5) is the terminal's toggle.
    void commandclick(int n);
    void command6click();
    void optioninclick(int n);
    void optionoutclick(int n);
    void labelclick(int n);
    void lamppress(int n, int bit);

    QGroupBox* frame(int n) const { return devices_[idx(n)].frame; }
    QPushButton* command(int n) const;
    QRadioButton* optionin(int n) const { return devices_[idx(n)].optionin; }
    QRadioButton* optionout(int n) const { return devices_[idx(n)].optionout; }
    Lamp* lamp(int n, int bit) const { return devices_[idx(n)].lamps[static_cast<size_t>(bit)]; }
    QLabel* label(int n) const; // Label1 - Label10
    TerminalPane* terminal() const { return terminal_; }
    QPushButton* command6() const { return command6_; }
    QCheckBox* check1() const { return check1_; }

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    struct Device {
        QLabel* caption = nullptr; // Label5 - Label8
        QPushButton* command = nullptr;
        QGroupBox* frame = nullptr;
        QRadioButton* optionin = nullptr;
        QRadioButton* optionout = nullptr;
        std::array<Lamp*, 8> lamps{};
        QLabel* value = nullptr; // Label1 - Label4
    };
    static size_t idx(int n) { return static_cast<size_t>(n - 1); }

    void build();
    QWidget* builddevice(int n);
    QWidget* buildterminal();
    void loaddevices();
    void savedevices();
    void showdevice(int n);
    void showdirection(int n);
    void showterminalstate();
    void showdevicevalue(int n);
    bool deferring() const;
    void schedule(unsigned bits);

    std::array<Device, 4> devices_{};
    QLabel* label9_ = nullptr;
    QPushButton* command5_ = nullptr;
    QLabel* label10_ = nullptr;
    TerminalPane* terminal_ = nullptr;
    QPushButton* command6_ = nullptr;
    QCheckBox* check1_ = nullptr;
    QTimer* painttimer_ = nullptr;
    unsigned pending_ = 0; // bit n: device n (5: the terminal) waits for its repaint
    bool scheduled_ = false; // the repaint timer runs
};

} // namespace kelvane
