// Form9, the Disassembler window: a program file loaded into a memory of the window's own, its
// disassembly as a listing or as assembler source in a read-only plain-text pane, the progress
// frame during a run, and the pane saved or printed. Its engine is its own too.
#pragma once
#include "disassembler/disassembler.h"
#include "progfiles/hexfile.h"
#include "shell/sourceeditorwindow.h"
#include "sim/toolrouter.h"

#include <QElapsedTimer>
#include <QMainWindow>
#include <QString>

#include <memory>
#include <string>
#include <vector>

class QAction;
class QGroupBox;
class QLabel;
class QMenu;
class QPlainTextEdit;

namespace kelvane {

class Form9 : public QMainWindow, public ToolWindow {
    Q_OBJECT
public:
    Form9();
    ~Form9() override;

    // ---- Menus. ----
    void menuopen_Click();
    void menusave_Click();
    void menuprint_Click();
    void menudisassemble_Click();
    void menunoopcodes_Click();

    // Load Program after its dialog: the path and the filter index (1 binary image, 2 Intel
    // HEX, 3 all files, read as a binary image). True when the program was taken.
    bool loadprogram(const QString& path, int filterindex);
    // The form, Label2 and Frame1 in the label colours, Label1 and the messages in the value colours.
    void settheme() override;

    QLabel* label1() const { return label1_; }
    QLabel* label2() const { return label2_; }
    QPlainTextEdit* richtextbox1() const { return text1_; }
    QGroupBox* frame1() const { return frame1_; }
    QLabel* poruka1() const { return poruka1_; }
    QLabel* poruka2() const { return poruka2_; }
    QAction* action(const char* name) const;
    QMenu* menu(const char* name) const;

    const std::string& listingnoopcodes() const { return listingnoopcodes_; }
    // The program of the window: its bytes (65536) and size; size 0 before a load.
    const HexBuffer& program() const { return *program_; }
    int32_t programsize() const { return programsize_; }
    // True while a load, a disassembly or a print lets events through.
    bool busy() const { return command_.busy(); }

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void buildmenus();
    void setmenus(bool enabled);
    void pump();
    void progress(const std::string& phase, const std::string& line);
    bool rundisassembler(const std::string& folder, std::string& text);
    void unload();

    QLabel* label1_ = nullptr;
    QLabel* label2_ = nullptr;
    QPlainTextEdit* text1_ = nullptr;
    QGroupBox* frame1_ = nullptr;
    QLabel* poruka1_ = nullptr;
    QLabel* poruka2_ = nullptr;
    std::vector<QMenu*> menus_; // menu1 to menu3

    std::unique_ptr<HexBuffer> program_;
    int32_t programsize_ = 0;
    Disassembler engine_;
    std::string listingnoopcodes_ = "OFF";
    int loadfilter_ = 1;

    QElapsedTimer sincepaint_;
    std::string shownphase_;
    WindowCommand command_;
    bool unloaded_ = false;
};

} // namespace kelvane
