#include "shell/messages.h"

#include "shell/theme.h"
#include "sim/machinestate.h"
#include "sim/settings.h"

#include <QApplication>
#include <QCheckBox>
#include <QEvent>
#include <QFontMetrics>
#include <QGridLayout>
#include <QInputDialog>
#include <QMessageBox>
#include <QMouseEvent>
#include <QPainter>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QStringList>
#include <QTimer>

#include <algorithm>
#include <array>

namespace kelvane {

QString titletext()
{
    return QString::fromLatin1(programtitle);
}

QString displaytext(const QString& text)
{
    QString out = text;
    out.replace(QLatin1String("\r\n"), QLatin1String("\n"));
    return out;
}

int titlebarwidth(const QString& title)
{
    // The window manager writes the title in its own, often bold and larger, font beside its
    // buttons: the title is measured in the bold font a size up, with room for four buttons.
    QFont font = QApplication::font();
    font.setBold(true);
    font.setPointSizeF(font.pointSizeF() * 1.15);
    return QFontMetrics(font).horizontalAdvance(title) + 4 * 24 + 24;
}

namespace {

// A message box as wide as its title needs; the box sizes itself to its layout, so the width
// goes in as a row of the layout.
void fittitle(QMessageBox& box)
{
    if (auto* grid = qobject_cast<QGridLayout*>(box.layout()))
        grid->addItem(new QSpacerItem(titlebarwidth(box.windowTitle()), 0, QSizePolicy::Fixed, QSizePolicy::Minimum),
                      grid->rowCount(), 0, 1, grid->columnCount());
}

} // namespace

void messagebox(QWidget* form, const QString& text)
{
    QMessageBox box(QMessageBox::NoIcon, titletext(), displaytext(text), QMessageBox::Ok, form);
    fittitle(box);
    box.exec();
}

void messagebox(QWidget* form, const std::string& text)
{
    messagebox(form, QString::fromStdString(text));
}

bool askyesno(QWidget* form, const QString& text)
{
    QMessageBox box(QMessageBox::NoIcon, titletext(), displaytext(text), QMessageBox::Yes | QMessageBox::No, form);
    box.setDefaultButton(QMessageBox::Yes);
    fittitle(box);
    return box.exec() == QMessageBox::Yes;
}

QString inputbox(QWidget* form, const QString& prompt, const QString& value, bool* ok)
{
    QInputDialog box(form);
    box.setWindowTitle(titletext());
    box.setLabelText(prompt);
    box.setTextValue(value);
    box.setMinimumWidth(titlebarwidth(titletext()));
    const bool accepted = box.exec() == QDialog::Accepted;
    if (ok != nullptr)
        *ok = accepted;
    return accepted ? box.textValue() : QString();
}

void confirm(QWidget* form, const QString& text)
{
    if (machinestate().optconfirm == "ON")
        messagebox(form, text);
    else
        showmessage(form, text);
}

void confirm(QWidget* form, const std::string& text)
{
    confirm(form, QString::fromStdString(text));
}

// ---------------------------------------------------------------------------------------------
// Form03

namespace {
MessageWindow* currentwindow = nullptr;
constexpr int maxlines = 7;
constexpr int tickms = 500;
} // namespace

int messageheighttwips(int lines)
{
    static constexpr std::array<int, maxlines> heights{255, 435, 675, 855, 1035, 1215, 1395};
    if (lines < 1 || lines > maxlines)
        return 0;
    return heights[static_cast<size_t>(lines - 1)];
}

std::optional<int> messageduration(bool accepted, const QString& answer)
{
    if (!accepted)
        return std::nullopt;
    const int32_t n = leadingint(answer.toStdString());
    if (n == 0)
        return std::nullopt;
    return std::clamp<int32_t>(n, 2, 10);
}

MessageWindow* MessageWindow::current()
{
    return currentwindow;
}

MessageWindow::MessageWindow()
    : QWidget(nullptr, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint)
{
    setWindowTitle(QStringLiteral("Confirmation"));
    setAttribute(Qt::WA_DeleteOnClose);
    setAttribute(Qt::WA_ShowWithoutActivating);
    setObjectName(QStringLiteral("Form03"));
    setAutoFillBackground(true);

    text1_ = new QPlainTextEdit(this);
    text1_->setObjectName(QStringLiteral("Text1"));
    text1_->setReadOnly(true);
    text1_->setFrameShape(QFrame::NoFrame);
    text1_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    text1_->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    text1_->setLineWrapMode(QPlainTextEdit::NoWrap);
    text1_->document()->setDocumentMargin(1);
    text1_->viewport()->installEventFilter(this);
    text1_->installEventFilter(this);
    text1_->setToolTip(QStringLiteral("Click to change how long these messages stay."));

    // Only takes the focus, so that the text never keeps a caret.
    command1_ = new QPushButton(this);
    command1_->setObjectName(QStringLiteral("Command1"));
    command1_->setGeometry(-20, -20, 1, 1);

    timer1_ = new QTimer(this);
    timer1_->setInterval(tickms);
    connect(timer1_, &QTimer::timeout, this, &MessageWindow::tick);

    // Form_Load.
    messageticks_ = 0;
    messagelimit_ = leadingint(regread("Message Duration", "4"));
    currentwindow = this;
    themetextwindow(this, text1_);
}

MessageWindow::~MessageWindow()
{
    if (currentwindow == this)
        currentwindow = nullptr;
}

void MessageWindow::display(QWidget* form, const QString& text)
{
    form_ = form;
    const QStringList lines = text.split(QLatin1String("\r\n"));

    // The widest of the first seven lines, plus 300 twips.
    const QFontMetrics metrics(text1_->font());
    int measure = 0;
    for (int i = 0; i < lines.size() && i < maxlines; ++i)
        measure = std::max(measure, metrics.horizontalAdvance(lines[i]) + twipstopixels(300));

    messageticks_ = 0;

    QRect place = form != nullptr ? form->frameGeometry() : QRect(0, 0, 0, 0);
    int width = std::max(place.width(), measure);
    const int textwidth = width - twipstopixels(120);

    // The height by the number of lines; more than seven keep the height they had. A height the
    // font cannot show is raised to what the lines need.
    const int count = static_cast<int>(text.count(QLatin1String("\r\n"))) + 1;
    int textheight = text1_->height();
    if (const int twips = messageheighttwips(count); twips > 0) {
        const int needed = count * metrics.lineSpacing() + 2 * static_cast<int>(text1_->document()->documentMargin()) + 2;
        textheight = std::max(twipstopixels(twips), needed);
    }

    text1_->setGeometry(twipstopixels(60), twipstopixels(60), textwidth, textheight);
    setFixedSize(width, textheight + twipstopixels(120));
    move(place.left(), place.top() + place.height());

    text1_->setPlainText(displaytext(text));
    text1_->moveCursor(QTextCursor::Start);
    timer1_->start();
    show();
    raise();
    if (form != nullptr) {
        form->activateWindow();
        form->setFocus();
    }
}

QString MessageWindow::text() const
{
    QString t = text1_->toPlainText();
    t.replace(QLatin1Char('\n'), QLatin1String("\r\n"));
    return t;
}

void MessageWindow::tick()
{
    ++messageticks_;
    if (messageticks_ < messagelimit_)
        return;
    messageticks_ = 0;
    if (asking_) {
        closepending_ = true;
        return;
    }
    timer1_->stop();
    currentwindow = nullptr;
    close();
}

void MessageWindow::askduration()
{
    asking_ = true;
    QPointer<MessageWindow> self(this);
    bool ok = false;
    const QString answer = inputbox(form_ ? form_.data() : this,
                                    QStringLiteral("Enter new info message display duration [2-10 seconds]."),
                                    QString::number(messagelimit_), &ok);
    if (!self)
        return;
    asking_ = false;
    if (const auto n = messageduration(ok, answer)) {
        messagelimit_ = *n;
        regwrite("Message Duration", *n);
    }
    if (closepending_) {
        closepending_ = false;
        timer1_->stop();
        currentwindow = nullptr;
        close();
    }
}

bool MessageWindow::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == text1_->viewport() && event->type() == QEvent::MouseButtonPress) {
        QTimer::singleShot(0, this, &MessageWindow::askduration);
        return true;
    }
    if (watched == text1_ && event->type() == QEvent::FocusIn) {
        // The window is shown again and the focus passes on to the button; the timer goes on.
        show();
        command1_->setFocus();
        return false;
    }
    return QWidget::eventFilter(watched, event);
}

void MessageWindow::paintEvent(QPaintEvent* event)
{
    QWidget::paintEvent(event);
    // The window has no frame of the window system: a thin line marks its edge.
    QPainter painter(this);
    painter.setPen(palette().color(QPalette::Dark));
    painter.drawRect(rect().adjusted(0, 0, -1, -1));
}

void showmessage(QWidget* form, const QString& text)
{
    MessageWindow* w = MessageWindow::current();
    if (w == nullptr)
        w = new MessageWindow();
    w->display(form, text);
}

void showmessage(QWidget* form, const std::string& text)
{
    showmessage(form, QString::fromStdString(text));
}

// ---------------------------------------------------------------------------------------------
// Always On Top

namespace {

struct TopEntry {
    int formnumber;
    QPointer<QWidget> window;
    QPointer<QCheckBox> check;
};

std::array<TopEntry, 6>& toplist()
{
    static std::array<TopEntry, 6> list{{{2, {}, {}}, {5, {}, {}}, {8, {}, {}}, {16, {}, {}}, {17, {}, {}}, {20, {}, {}}}};
    return list;
}

bool windowopen(int formnumber)
{
    const MachineState& st = machinestate();
    switch (formnumber) {
    case 2: return st.Form2;
    case 5: return st.Form5;
    case 8: return st.Form8;
    case 16: return st.Form16;
    case 17: return st.Form17;
    case 20: return st.Form20;
    default: return false;
    }
}

void settopflag(QWidget* window, bool on)
{
    if (window == nullptr || window->windowFlags().testFlag(Qt::WindowStaysOnTopHint) == on)
        return;
    const bool visible = window->isVisible();
    window->setWindowFlag(Qt::WindowStaysOnTopHint, on);
    if (visible)
        window->show(); // a change of flags hides the window
}

} // namespace

void maketopmost(QWidget* window)
{
    settopflag(window, true);
    if (window != nullptr && window->isVisible())
        window->raise();
}

void makenottopmost(QWidget* window)
{
    settopflag(window, false);
    for (TopEntry& e : toplist()) {
        if (!e.window || e.window == window || !windowopen(e.formnumber))
            continue;
        if (e.check && e.check->isChecked())
            maketopmost(e.window);
    }
}

bool istopmost(const QWidget* window)
{
    return window != nullptr && window->windowFlags().testFlag(Qt::WindowStaysOnTopHint);
}

void connectalwaysontop(int formnumber, QWidget* window, QCheckBox* check)
{
    for (TopEntry& e : toplist()) {
        if (e.formnumber != formnumber)
            continue;
        e.window = window;
        e.check = check;
    }
    if (check == nullptr || window == nullptr)
        return;
    QObject::connect(check, &QCheckBox::toggled, window, [window](bool checked) {
        if (checked)
            maketopmost(window);
        else
            makenottopmost(window);
    });
}

} // namespace kelvane
