// Messages of the program: the one function through which every result and refusal reaches the
// user (confirm), the timed message window Form03 with its duration dialog, plain message boxes
// with the program's title, and the Always On Top service of the six tool windows.
//
// Interface:
//   confirm(form, text)      a message box with OK and the title when optconfirm is "ON", otherwise
//                            showmessage(form, text). Texts may divide lines by CR LF.
//   messagebox(form, text)   always the box (reader errors, "Wrong entry.", file errors)
//   askyesno(form, text)     a Yes/No box with the title; true on Yes
//   inputbox(form, prompt, value, &ok)  the input box with the title
//   (every box with the title is wide enough for the title bar to show it whole)
//   showmessage(form, text)  the timed window under `form` (MessageWindow::current() while it stands)
//   connectalwaysontop(n, window, check)  for the tool windows Form2, 5, 8, 16, 17 and 20: the
//                            check box "Always On Top" keeps the window above the others.
#pragma once
#include <QPointer>
#include <QString>
#include <QWidget>

#include <optional>
#include <string>

class QCheckBox;
class QPlainTextEdit;
class QPushButton;
class QTimer;

namespace kelvane {

void confirm(QWidget* form, const QString& text);
void confirm(QWidget* form, const std::string& text);
void messagebox(QWidget* form, const QString& text);
void messagebox(QWidget* form, const std::string& text);
bool askyesno(QWidget* form, const QString& text);
// The input box with the title: the answer, and *ok false (empty answer) when cancelled.
QString inputbox(QWidget* form, const QString& prompt, const QString& value, bool* ok);
// The width a window needs for the window manager to show `title` whole beside its buttons.
int titlebarwidth(const QString& title);

// The program's title as Qt text (also the heading of every message box).
QString titletext();
// A text with CR LF (or LF) line ends as the widgets show it (LF only).
QString displaytext(const QString& text);

void showmessage(QWidget* form, const QString& text);
void showmessage(QWidget* form, const std::string& text);

// The height of the message text box in twips for 1-7 lines; 0 for any other count.
int messageheighttwips(int lines);
// The new "Message Duration" for an answer of the duration dialog: nothing for a cancelled box or
// an answer that reads as 0, else the number kept within 2-10.
std::optional<int> messageduration(bool accepted, const QString& answer);

// Form03 "Confirmation": a window without buttons that stands under its caller and goes away by
// itself after "Message Duration" ticks of 500 ms. A click on its text asks for a new duration.
class MessageWindow : public QWidget {
    Q_OBJECT
public:
    // The window while it stands, else nullptr.
    static MessageWindow* current();

    void display(QWidget* form, const QString& text);
    QString text() const;
    QPlainTextEdit* textbox() const { return text1_; }
    int messagelimit() const { return messagelimit_; }
    int messageticks() const { return messageticks_; }
    // One tick of the 500 ms timer (the timer calls it; tests may too).
    void tick();
    // The duration dialog of a click on the text.
    void askduration();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    MessageWindow();
    ~MessageWindow() override;
    friend void showmessage(QWidget* form, const QString& text);

    QPlainTextEdit* text1_ = nullptr;
    QPushButton* command1_ = nullptr;
    QTimer* timer1_ = nullptr;
    QPointer<QWidget> form_;
    int messagelimit_ = 4;
    int messageticks_ = 0;
    bool asking_ = false;
    bool closepending_ = false;
};

// Always On Top.
void maketopmost(QWidget* window);
void makenottopmost(QWidget* window);
bool istopmost(const QWidget* window);
// Registers a tool window (form number 2, 5, 8, 16, 17 or 20) with its "Always On Top" check box
// and connects the box: set calls maketopmost, clear calls makenottopmost, which then puts the
// other open windows whose box is set back on top, in the order 2, 5, 8, 16, 17, 20.
void connectalwaysontop(int formnumber, QWidget* window, QCheckBox* check);

} // namespace kelvane
