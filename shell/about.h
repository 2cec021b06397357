// The About window (Form3, "About Kelvane"): the program's title, version, the disclaimer of
// warranty and the web site in one read-only text. It has no button and closes itself as soon as
// it is deactivated, so a click on any other window closes it.
//
// Interface: showabout(parent) from the Help menu; abouttext() is the text it shows.
#pragma once
#include "shell/website.h"

#include <QString>
#include <QWidget>

class QPlainTextEdit;

namespace kelvane {

QString abouttext();

class AboutWindow : public QWidget {
    Q_OBJECT
public:
    explicit AboutWindow(QWidget* parent = nullptr);
    QPlainTextEdit* textbox() const { return text1_; }

protected:
    void changeEvent(QEvent* event) override;

private:
    QPlainTextEdit* text1_ = nullptr;
    bool wasactive_ = false;
};

// Shows the About window (one at a time) and returns it.
AboutWindow* showabout(QWidget* parent);

} // namespace kelvane
