// Form12, the BASIC editor window: one source editor in BASIC mode filling the window, the File,
// Edit and Tools menus (Edit also on a right click), files kept in the window's own folder, and
// Compile with its error box, caret and error mark.
#pragma once
#include "shell/sourceeditorwindow.h"
#include "sim/toolrouter.h"

#include <QMainWindow>
#include <QString>

#include <vector>

class QAction;
class QMenu;

namespace kelvane {

class SourceEditor;

class Form12 : public QMainWindow, public ToolWindow {
    Q_OBJECT
public:
    Form12();
    ~Form12() override;

    // ---- Menus. ----
    void menunew_Click();
    void menuopen_Click();
    void menusave_Click();
    void menusaveas_Click();
    void menuprint_Click();
    void menuundo_Click();
    void menucopy_Click();
    void menucut_Click();
    void menupaste_Click();
    void menufind_Click();
    void menufindnext_Click();
    void menureplace_Click();
    void menudefinition_Click();
    void menuformat_Click();
    void menucompile_Click();

    // Open without the dialog: false (text and caption kept) when the file can't be read.
    bool openpath(const QString& path);
    bool openfile(const QString& path) override { return openpath(path); }
    // The form and its menus in the theme's colours; the editor keeps the colours of its settings.
    void settheme() override;

    SourceEditor* edittextboxpro1() const { return edit1_; }
    QAction* action(const char* name) const;
    QMenu* menu(const char* name) const;

    // The file: its folder (with a trailing "/") and name; both empty while untitled.
    QString folder() const { return folder_; }
    QString filename() const { return filename_; }
    bool untitled() const { return filename_.isEmpty(); }
    // True while a compile or a print lets events through.
    bool busy() const { return command_.busy(); }

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void buildmenus();
    void setup();
    void setfile(const QString& folder, const QString& name);
    void setmenus(bool enabled);
    bool savesource(const QString& path);
    QString ask(const QString& prompt, const QString& offered);
    bool hasfileandtext();
    void unload();

    SourceEditor* edit1_ = nullptr;
    std::vector<QMenu*> menus_; // menu1 to menu3
    QString folder_, filename_;
    QString findtext_;
    WindowCommand command_;
    bool unloaded_ = false;
};

} // namespace kelvane
