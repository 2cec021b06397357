// Form16, the Simulation Log Viewer: the rows of the running simulation (up to 450,000 of them)
// or of a ".log" file in a table of 15 lines under the header, the position bar, "Keep Last
// Record In Focus", and the File menu that opens, saves and closes ".log" files.
#pragma once
#include "progfiles/logfile.h"
#include "sim/toolrouter.h"
#include "tools/form16view.h"

#include <QString>
#include <QWidget>

#include <functional>
#include <string_view>

class QAction;
class QCheckBox;
class QLabel;
class QMenu;
class QScrollBar;
class QTableView;
class QTimer;

namespace kelvane {

class Form16 : public QWidget, public ToolWindow {
    Q_OBJECT

public:
    explicit Form16(QWidget* parent = nullptr);
    ~Form16() override;

    // The machine's calls.
    void logadd(std::string_view row) override;
    void logclean() override;
    bool takesrows() const override;
    // The form and the two check boxes in the theme's colours.
    void settheme() override;

    // A ".log" file handed to the viewer, read as the File menu's Open reads it: true when shown.
    bool openfile(const QString& path) override;

    // The File menu.
    void menuopen();
    void menusave();
    void menuclose();

    // The file dialogs: the chosen full path, or an empty text for cancel. Replaceable (tests).
    std::function<QString(QWidget* parent, bool save)> choosefile;

    size_t logcount() const { return rows_.size(); }
    const LogRows& logrows() const { return rows_; }
    bool logfileopen() const { return logfileopen_; }
    const QString& logfilename() const { return logfilename_; }
    const LogBar& bar() const { return bar_; }
    LogTableModel* model() const { return model_; }
    QScrollBar* pozicijav() const { return pozicijav_; }
    QAction* action(const char* name) const;

protected:
    void closeEvent(QCloseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void buildwindow();
    // The redraw: the bar fitted to the rows and the lines on view, now or at the next frame.
    void redraw();
    void redrawlater();
    void showview();
    void wheel(int angle);
    void setmenu1(bool enabled);
    // Reads a ".log" file into the viewer: true when it is shown whole.
    bool readlogfile(const QString& path);
    // Lets pending events run; false when the window went away meanwhile.
    bool pumpevents();

    LogRows rows_;
    LogBar bar_;
    bool logfileopen_ = false;
    QString logfilename_;
    bool stopreading_ = false; // the window closes while a file is read
    bool syncing_ = false; // the bar is being set from bar_
    int wheelrest_ = 0;    // wheel angle short of a whole notch

    QMenu* menu1_ = nullptr;
    QAction *menuopen_ = nullptr, *menusave_ = nullptr, *menuclose_ = nullptr;
    QLabel* label1_ = nullptr;
    QTableView* table_ = nullptr;
    LogTableModel* model_ = nullptr;
    QScrollBar* pozicijav_ = nullptr;
    QCheckBox *check1_ = nullptr, *check2_ = nullptr;
    QTimer* frame_ = nullptr; // the deferred redraw of rows that came during a run
};

} // namespace kelvane
