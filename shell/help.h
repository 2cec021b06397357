// The Help Topics window (Form4): a fixed manual of the program in a read-only text, walking
// through the File, Simulation, Rate, Tools and Options menus and the limits of the assembler.
//
// Interface: showhelp(parent) from the Help menu (one window, shown modelessly); helptext() is
// the manual; HelpWindow::menubar() takes the "&Print" item when printing comes.
#pragma once
#include <QMainWindow>
#include <QString>

class QPlainTextEdit;

namespace kelvane {

QString helptext();

class HelpWindow : public QMainWindow {
    Q_OBJECT
public:
    explicit HelpWindow(QWidget* parent = nullptr);
    QPlainTextEdit* textbox() const { return text1_; }

private:
    QPlainTextEdit* text1_ = nullptr;
};

HelpWindow* showhelp(QWidget* parent);

} // namespace kelvane
