// Form1, the main window: the front panel of the simulated 8085 (ekran and direct entry of the
// registers), the Simulation and Rate menus, and the run loop with its six rates, Start, Step,
// Stop, RESET and the interrupt buttons. All of it runs on the interface thread.
#pragma once
#include "core/hooks.h"
#include "core/machine.h"
#include "sim/programfiles_ui.h"
#include "sim/simlog.h"

#include <QMainWindow>
#include <QString>

#include <array>
#include <functional>
#include <memory>
#include <string>

class QAction;
class QFrame;
class QGroupBox;
class QLabel;
class QLineEdit;
class QMenu;
class QPushButton;
class QTimer;

namespace kelvane {

class Form1;

// The machine's hooks as the main window answers them.
class PanelHooks : public MachineHooks {
public:
    explicit PanelHooks(Form1& form) : form_(form) {}
    void ekran(MachineState& st) override;
    void logrow(const MachineState& st, int32_t address) override;
    void interruptbuttonschanged(MachineState& st) override;
    void menuspeed1(MachineState& st) override;
    void pumpevents() override;
    void resetpause(MachineState& st) override;
    void inprompt(MachineState& st, int32_t port) override;
    int32_t intrchoice(MachineState& st) override;
    void logline(const char* text) override;
    void toolrefresh(MachineState& st) override;
    void ioprint(MachineState& st) override;
    void devicerefresh(MachineState& st, int n, int32_t value) override;

private:
    Form1& form_;
    LogRowComposer viewerrows_; // the viewer's rows while no log file is open
};

class Form1 : public QMainWindow {
    Q_OBJECT

public:
    explicit Form1(QWidget* parent = nullptr);
    ~Form1() override;

    // Simulation menu and the loop.
    void menustart_Click();
    void menustep_Click();
    void menustep2_Click();
    // A Stop from the menu; the loop calls it again with fromloop once it has ended.
    void menustop_Click(bool fromloop = false);
    void runloop();
    void applyrate();
    // menuspeed1_Click ... menuspeed6_Click.
    void menuspeed_Click(int n);
    void ultimatetimer_Timer();

    // The panel.
    void ekran();
    // The colours of the current theme on the form, its frames, labels and value fields.
    void settheme();
    // A click on a panel element by its control name: a register label opens the entry box,
    // everything else dismisses it.
    void panelclick(const QString& name);
    // Text1_KeyPress for Enter (13) and Esc (27).
    void Text1_KeyPress(int key);
    void dismissentry();
    bool entryopen() const;
    QString editedregister() const { return editedregister_; }

    // The interrupt control frame.
    void Command1_MouseDown();
    void Command1_MouseUp();
    void clickreset();
    void interruptbutton_Click(int command);
    void Command7_Click();
    // Shows st.commandenabled on the seven buttons.
    void showbuttons();

    // Event pump: n passes over the pending events.
    void pump(int n);
    // RESET let go: the button stays disabled for half a second while the panel shows the reset state.
    void resetpause(MachineState& st);

    // True while runloop is between its first instruction and its end.
    bool loopactive() const { return loopactive_; }

    // The program's result messages (the statistics at Stop) go through here.
    void tell(const std::string& text);
    // Tests replace the message window by a function that receives the text.
    std::function<void(const std::string&)> messagesink;
    // ... and the opening of the log in the desktop's text viewer.
    std::function<void(const QString&)> viewersink;

    // Where the log of the run is kept.
    SimLog& simlog() { return log_; }

    // A program placed in memory from the command line until the File menu comes:
    // Intel HEX (.hex) or a binary image; returns an empty text or the refusal.
    std::string loadprogramfile(const QString& path);
    // The "Program Location" read-out: the path, elided in the middle, whole in the tool tip.
    void setprogramlocation(const QString& path);

    QLabel* label(const char* name) const;
    QAction* action(const char* name) const;
    QPushButton* command(int n) const { return commands_[static_cast<size_t>(n)]; }
    QLineEdit* entrybox() const { return Text1_; }
    QFrame* entryframe() const { return Frame10_; }
    QTimer* ultimatetimer() const { return ultimatetimer_; }
    MachineHooks& hooks() { return *hooks_; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    void Form_Load();
    void loadsettings();
    // The panel's style sheet and the entry box's, in the current theme's colours.
    static QString panelsheet();
    static QString entrysheet();
    FileMenuHooks filemenuhooks();
    void fillmaincommands();
    void buildpanel();
    void buildmenus();
    void setrunmenus(bool running);
    void saverate();
    int ultimateinterval();
    void startultimatetimer();
    void ultimateslice();
    void waitrate(int passes);
    void openentry(QLabel* target, QGroupBox* frame, int twips, int maxlength);
    void commitentry();
    void setpanel(QLabel* label, size_t slot, const std::string& text);
    void resetrelease();
    void resumeafterreset();

    std::unique_ptr<PanelHooks> hooks_;
    SimLog log_;

    QAction* menustart_ = nullptr;
    QAction* menustep_ = nullptr;
    QAction* menustop_ = nullptr;
    QAction* menustep2_ = nullptr;
    std::array<QAction*, 7> menuspeed_{};
    QTimer* ultimatetimer_ = nullptr;

    QFrame* Frame10_ = nullptr;
    QLineEdit* Text1_ = nullptr;
    QString editedregister_;

    std::array<QPushButton*, 8> commands_{};
    QLabel* sodlabel_ = nullptr;

    // The panel's labels in the order ekran fills them, with the last text each one showed.
    std::array<QLabel*, 24> panel_{};
    std::array<std::string, 24> shown_{};

    bool loopactive_ = false;
    bool releasepending_ = false;
    bool quitting_ = false;
};

} // namespace kelvane
