// Form6, the Assembler window: the source editor and the read-only listing side by side with a
// splitter, the File, Edit, Tools and Options menus and Go To Next Error, the built-in assembly
// with its progress frame and error marks, the external assembler, Load into memory, printing.
// The window keeps its file's folder and name; the caption shows the name.
#pragma once
#include "sim/toolrouter.h"

#include <QElapsedTimer>
#include <QMainWindow>
#include <QString>

#include <cstdint>
#include <string>
#include <vector>

class QAction;
class QGroupBox;
class QLabel;
class QMenu;
class QSplitter;

namespace kelvane {

class SourceEditor;

class Form6 : public QMainWindow, public ToolWindow {
    Q_OBJECT
public:
    Form6();
    ~Form6() override;

    // ---- Menus. ----
    void menunew_Click();
    void menuopen_Click();
    void menusave_Click();
    void menusaveas_Click();
    void menuprint_Click();
    void menuprint2_Click();
    void menuundo_Click();
    void menucopy_Click();
    void menucut_Click();
    void menupaste_Click();
    void menuformat_Click();
    void menufind_Click();
    void menufindnext_Click();
    void menureplace_Click();
    void menuassemble_Click();
    void menuassembletasm_Click();
    void menuload_Click();
    void menutasmpath_Click();
    void menusavehex_Click();
    void menu5_Click();

    // Open without the dialog (also a file handed to the window): false when refused or unreadable.
    bool openpath(const QString& path);
    bool openfile(const QString& path) override { return openpath(path); }
    // The form, Frame1 and its labels in the theme's colours; the editors keep their own.
    void settheme() override;

    SourceEditor* edittextboxpro1() const { return edit1_; }
    SourceEditor* edittextboxpro2() const { return edit2_; }
    QAction* action(const char* name) const;
    QMenu* menu(const char* name) const;
    QGroupBox* frame1() const { return frame1_; }
    QLabel* label1() const { return label1_; }
    QLabel* label2() const { return label2_; }
    QSplitter* razdelnik() const { return razdelnik_; }

    // The file: its folder (with a trailing "/") and name; both empty while untitled.
    QString folder() const { return folder_; }
    QString filename() const { return filename_; }
    bool untitled() const { return filename_.isEmpty(); }
    int splitpercent() const { return splitpercent_; }
    int activepane() const { return activepane_; }
    // True while an assembly, the external assembler's wait or a print runs.
    bool busy() const { return busy_; }

protected:
    void closeEvent(QCloseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    class Busy;
    void buildmenus();
    void setup();
    void setfile(const QString& folder, const QString& name);
    // The refusals both assemblers share: an untitled window, an empty source.
    bool readytoassemble();
    void placesplitter();
    void setmenus(bool enabled);
    void setpanes(bool enabled);
    void pump(int times = 1);
    bool savesource(const QString& path);
    void progress(const std::string& phase, const std::string& line);
    void markerrors();
    void deleteoutputs(bool withhex);
    void printpane(SourceEditor* pane, const QString& title, const char* emptytext);
    QString base() const;
    void unload();

    SourceEditor* edit1_ = nullptr;
    SourceEditor* edit2_ = nullptr;
    QSplitter* razdelnik_ = nullptr;
    QGroupBox* frame1_ = nullptr;
    QLabel* label1_ = nullptr;
    QLabel* label2_ = nullptr;
    QAction* menu5_ = nullptr;
    std::vector<QMenu*> menus_; // menu1 to menu4

    QString folder_, filename_;
    QString findtext_;
    std::string optgeneratehex_ = "OFF";
    int splitpercent_ = 70;
    int activepane_ = 1;
    // The error lines and listing rows of this window's last assembly (index 0 unused).
    std::vector<int32_t> errorline_, errorrow_;

    bool busy_ = false;
    bool closepending_ = false;
    bool unloaded_ = false;
    QElapsedTimer sincepaint_;
    std::string shownphase_;
};

} // namespace kelvane
