#include "tools/form5.h"

#include "core/hexutil.h"
#include "shell/messages.h"
#include "shell/theme.h"
#include "sim/machinestate.h"
#include "sim/portdialogs.h"
#include "sim/settings.h"
#include "tools/form5lamp.h"
#include "tools/form5terminal.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QFrame>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QInputDialog>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QScreen>
#include <QStyle>
#include <QTimer>
#include <QVBoxLayout>

#include <algorithm>
#include <functional>
#include <string>

namespace kelvane {

namespace {

// The board in the colours of the theme: the devices' frames and options in the frame colours,
// the captions and value texts in the value colours, the switches in the button colours (lit in
// the selection colour when on), the terminal in a sunken bezel.
const char* boardstyle = R"(
QWidget#Form5 { background: @windowback; }
QLabel[role="caption"] { background: @valueback; color: @valuetext; font-weight: bold; font-size: 10pt;
                         padding: 1px 4px; }
QLabel[role="port"] { background: @valueback; color: @valuetext; font-weight: bold; padding: 1px 4px; }
QLabel[role="port"]:disabled { color: @mix(valuetext,valueback,50); }
QGroupBox[role="device"] { color: @frametext; font-weight: bold; border: 1px solid @mix(frameback,frametext,50);
                           border-radius: 6px; margin-top: 8px; padding: 8px 6px 2px 6px; background: @frameback;
                           background-clip: margin; }
QGroupBox[role="device"]:disabled { color: @mix(frametext,frameback,50); border-color: @mix(frameback,frametext,25); }
QGroupBox[role="device"]::title { subcontrol-origin: margin; left: 10px; padding: 0 4px; }
QRadioButton[role="direction"] { color: @frametext; background: @frameback; }
QRadioButton[role="direction"]:disabled { color: @mix(frametext,frameback,50); }
QRadioButton[role="direction"]:focus { color: @highlighttext; background: @highlight; }
QLabel[role="value"] { background: @valueback; color: @valuetext; border: 2px solid @mix(valueback,black,40);
                       border-radius: 3px; font-family: "DejaVu Sans Mono"; font-size: 13pt; font-weight: bold;
                       padding: 2px 6px; }
QLabel[role="value"]:disabled { color: @mix(valuetext,valueback,50); }
QLabel[role="value"]:focus { border-color: @highlight; }
QPushButton[role="toggle"] { min-width: 50px; min-height: 24px; border-radius: 4px; font-weight: bold;
                             border: 1px solid @mix(buttonback,black,50); color: @buttontext; background: @buttonback; }
QPushButton[role="toggle"][on="true"] { color: @highlighttext; background: @highlight; }
QPushButton[role="toggle"]:focus { border: 2px solid @windowtext; }
QPushButton[role="clear"] { min-width: 60px; min-height: 22px; border-radius: 4px; color: @buttontext;
                            border: 1px solid @mix(buttonback,black,50); background: @buttonback; }
QPushButton[role="clear"]:disabled { color: @mix(buttontext,buttonback,50); }
QPushButton[role="clear"]:focus { border: 2px solid @windowtext; }
QFrame[role="bezel"] { background: @valueback; border: 3px solid @mix(valueback,black,40); border-radius: 5px; }
QFrame[role="bezel"] QScrollBar:vertical { background: @valueback; width: 12px; margin: 0; border: none; }
QFrame[role="bezel"] QScrollBar::handle:vertical { background: @mix(valueback,basetext,45); min-height: 24px;
                                                  border-radius: 4px; margin: 2px; }
QFrame[role="bezel"] QScrollBar::handle:vertical:disabled { background: @mix(valueback,basetext,20); }
QFrame[role="bezel"] QScrollBar::add-line:vertical,
QFrame[role="bezel"] QScrollBar::sub-line:vertical { height: 0; }
QFrame[role="bezel"] QScrollBar::add-page:vertical,
QFrame[role="bezel"] QScrollBar::sub-page:vertical { background: none; }
QCheckBox[role="board"] { background: @labelback; color: @labeltext; }
QCheckBox[role="board"]:focus { color: @highlighttext; background: @highlight; }
)";

// Label1 - Label4: the value text, which an input device's user clicks (or, with the focus on
// it, presses Space or Enter) to type a new value.
class ValueLabel : public QLabel {
public:
    using QLabel::QLabel;
    std::function<void()> clicked;

protected:
    void mouseReleaseEvent(QMouseEvent* event) override
    {
        if (event->button() == Qt::LeftButton && rect().contains(event->position().toPoint()) && clicked)
            clicked();
    }
    void keyPressEvent(QKeyEvent* event) override
    {
        const int k = event->key();
        if ((k == Qt::Key_Space || k == Qt::Key_Return || k == Qt::Key_Enter) && !event->isAutoRepeat() && clicked)
            clicked();
        else
            QLabel::keyPressEvent(event);
    }
};

std::string devicekey(int n, const char* rest)
{
    return "Device " + std::to_string(n) + rest;
}

bool readonoff(const std::string& name)
{
    return regread(name, "OFF") == "ON";
}

// A port number from the settings: its leading number; one outside 0-255 counts as port 0.
int32_t readport(const std::string& name)
{
    const int32_t p = leadingint(regread(name, "0"));
    return p >= 0 && p <= 255 ? p : 0;
}

QString porttext(int32_t port)
{
    return QStringLiteral("I/O port ") + QString::fromStdString(hexbyte(port)) + QLatin1Char('H');
}

void settoggle(QPushButton* b, bool on)
{
    b->setText(on ? QStringLiteral("ON") : QStringLiteral("OFF"));
    b->setProperty("on", on);
    b->style()->unpolish(b);
    b->style()->polish(b);
}

} // namespace

int32_t askport(QWidget* parent)
{
    bool ok = false;
    const QString answer =
        QInputDialog::getText(parent, titletext(), QStringLiteral("Enter I/O port number for this device [00-FF]."),
                              QLineEdit::Normal, QString(), &ok);
    // A cancelled box answers with an empty text; both give -1 and nothing is said.
    if (!ok || answer.isEmpty())
        return -1;
    const int32_t port = entryvalue(answer);
    if (port == -1)
        confirm(parent, QStringLiteral("Wrong entry."));
    return port;
}

Form5::Form5(QWidget* parent) : QWidget(parent)
{
    setObjectName(QStringLiteral("Form5"));
    setWindowTitle(QStringLiteral("Peripheral Devices"));
    setAttribute(Qt::WA_DeleteOnClose);
    setStyleSheet(themesheet(QString::fromLatin1(boardstyle)));
    painttimer_ = new QTimer(this);
    painttimer_->setSingleShot(true);
    connect(painttimer_, &QTimer::timeout, this, &Form5::flush);
    build();
    adjustSize();
    placewindow(this, 5);
    toolrouter().opened(Tool::Form5, this, this);
    loaddevices();
}

Form5::~Form5()
{
    if (toolrouter().window(Tool::Form5) == this)
        toolrouter().closed(Tool::Form5);
}

// ---------------------------------------------------------------------------------------------
// Construction

void Form5::build()
{
    auto* grid = new QGridLayout(this);
    grid->setContentsMargins(12, 10, 12, 10);
    grid->setHorizontalSpacing(16);
    grid->setVerticalSpacing(6);
    auto* column = new QVBoxLayout;
    column->setSpacing(4);
    for (int n = 1; n <= 4; ++n)
        column->addWidget(builddevice(n));
    column->addStretch(1);
    grid->addLayout(column, 0, 0);
    grid->addWidget(buildterminal(), 0, 1);
    grid->setColumnStretch(1, 1);

    check1_ = new QCheckBox(QStringLiteral("Always On Top"), this);
    check1_->setObjectName(QStringLiteral("Check1"));
    check1_->setProperty("role", "board");
    grid->addWidget(check1_, 1, 0, 1, 2, Qt::AlignLeft);
    connectalwaysontop(5, this, check1_);
}

QWidget* Form5::builddevice(int n)
{
    Device& d = devices_[idx(n)];
    const QString num = QString::number(n);
    auto* row = new QWidget(this);
    auto* h = new QHBoxLayout(row);
    h->setContentsMargins(0, 0, 0, 0);
    h->setSpacing(10);

    auto* side = new QVBoxLayout;
    side->setSpacing(4);
    side->addStretch(1);
    d.caption = new QLabel(QStringLiteral("Device ") + num, row);
    d.caption->setObjectName(QStringLiteral("Label") + QString::number(n + 4));
    d.caption->setProperty("role", "caption");
    d.command = new QPushButton(QStringLiteral("OFF"), row);
    d.command->setObjectName(QStringLiteral("Command") + num);
    d.command->setProperty("role", "toggle");
    d.command->setProperty("on", false);
    d.command->setAccessibleName(QStringLiteral("Device ") + num + QStringLiteral(" power"));
    connect(d.command, &QPushButton::clicked, this, [this, n] { commandclick(n); });
    side->addWidget(d.caption, 0, Qt::AlignHCenter);
    side->addWidget(d.command, 0, Qt::AlignHCenter);
    side->addStretch(1);
    h->addLayout(side);

    d.frame = new QGroupBox(QStringLiteral("I/O port"), row);
    d.frame->setObjectName(QStringLiteral("Frame") + num);
    d.frame->setProperty("role", "device");
    d.frame->setEnabled(false);
    auto* fh = new QHBoxLayout(d.frame);
    fh->setContentsMargins(8, 4, 8, 2);
    fh->setSpacing(0);
    auto* options = new QVBoxLayout;
    options->setSpacing(2);
    d.optionin = new QRadioButton(QStringLiteral("In"), d.frame);
    d.optionin->setObjectName(QStringLiteral("Option") + num + QStringLiteral("in"));
    d.optionout = new QRadioButton(QStringLiteral("Out"), d.frame);
    d.optionout->setObjectName(QStringLiteral("Option") + num + QStringLiteral("out"));
    for (QRadioButton* o : {d.optionin, d.optionout}) {
        // The window keeps the pair exclusive itself, so that Tab reaches each of the two.
        o->setAutoExclusive(false);
        o->setProperty("role", "direction");
        options->addWidget(o);
    }
    d.optionout->setChecked(true);
    connect(d.optionin, &QRadioButton::clicked, this, [this, n] { optioninclick(n); });
    connect(d.optionout, &QRadioButton::clicked, this, [this, n] { optionoutclick(n); });
    fh->addLayout(options);
    fh->addSpacing(10);
    for (int b = 7; b >= 0; --b) {
        auto* lamp = new Lamp(b, d.frame);
        lamp->setObjectName(QStringLiteral("dev%1bit%2").arg(n).arg(b));
        connect(lamp, &Lamp::pressed, this, [this, n, b] { lamppress(n, b); });
        d.lamps[static_cast<size_t>(b)] = lamp;
        fh->addWidget(lamp);
    }
    fh->addSpacing(10);
    auto* value = new ValueLabel(QStringLiteral("00H"), d.frame);
    value->setObjectName(QStringLiteral("Label") + num);
    value->setProperty("role", "value");
    value->setFocusPolicy(Qt::StrongFocus);
    value->setAlignment(Qt::AlignCenter);
    value->setMinimumWidth(value->fontMetrics().horizontalAdvance(QStringLiteral("FFH")) + 24);
    value->clicked = [this, n] { labelclick(n); };
    d.value = value;
    fh->addWidget(value, 0, Qt::AlignVCenter);
    h->addWidget(d.frame, 1);
    return row;
}

QWidget* Form5::buildterminal()
{
    auto* box = new QWidget(this);
    auto* v = new QVBoxLayout(box);
    v->setContentsMargins(0, 0, 0, 0);
    v->setSpacing(6);
    auto* top = new QHBoxLayout;
    top->setSpacing(10);
    label9_ = new QLabel(QStringLiteral("Output Terminal"), box);
    label9_->setObjectName(QStringLiteral("Label9"));
    label9_->setProperty("role", "caption");
    command5_ = new QPushButton(QStringLiteral("OFF"), box);
    command5_->setObjectName(QStringLiteral("Command5"));
    command5_->setProperty("role", "toggle");
    command5_->setProperty("on", false);
    command5_->setAccessibleName(QStringLiteral("Terminal power"));
    connect(command5_, &QPushButton::clicked, this, [this] { commandclick(5); });
    label10_ = new QLabel(QStringLiteral("I/O port"), box);
    label10_->setObjectName(QStringLiteral("Label10"));
    label10_->setProperty("role", "port");
    command6_ = new QPushButton(QStringLiteral("Clear"), box);
    command6_->setObjectName(QStringLiteral("Command6"));
    command6_->setProperty("role", "clear");
    command6_->setEnabled(false);
    connect(command6_, &QPushButton::clicked, this, &Form5::command6click);
    top->addWidget(label9_);
    top->addWidget(command5_);
    top->addWidget(label10_);
    top->addStretch(1);
    top->addWidget(command6_);
    v->addLayout(top);

    auto* bezel = new QFrame(box);
    bezel->setProperty("role", "bezel");
    auto* bv = new QVBoxLayout(bezel);
    bv->setContentsMargins(4, 4, 2, 4);
    terminal_ = new TerminalPane(bezel);
    terminal_->setObjectName(QStringLiteral("RichTextBox1"));
    terminal_->setEnabled(false);
    terminal_->settext(&machinestate().termtext);
    const QSize cell = terminal_->cellsize();
    terminal_->setMinimumSize(cell.width() * 48, cell.height() * 12);
    bv->addWidget(terminal_);
    v->addWidget(bezel, 1);
    return box;
}

QPushButton* Form5::command(int n) const
{
    return n == 5 ? command5_ : devices_[idx(n)].command;
}

QLabel* Form5::label(int n) const
{
    if (n >= 1 && n <= 4)
        return devices_[idx(n)].value;
    if (n >= 5 && n <= 8)
        return devices_[idx(n - 4)].caption;
    return n == 9 ? label9_ : label10_;
}

void Form5::settheme()
{
    // The sheet first: the open colours then reach the widgets under it.
    setStyleSheet(themesheet(QString::fromLatin1(boardstyle)));
    themewindow(this);
    const QColor print = themecolor(theme().frametext); // the bit numbers stand on the frames
    for (const Device& d : devices_)
        for (Lamp* lamp : d.lamps)
            lamp->setlabelcolour(print);
}

// ---------------------------------------------------------------------------------------------
// Load and unload

void Form5::loaddevices()
{
    MachineState& st = machinestate();
    for (int n = 1; n <= 4; ++n) {
        const auto i = static_cast<size_t>(n);
        st.devenabled[i] = readonoff(devicekey(n, ""));
        st.devinput[i] = readonoff(devicekey(n, " Input"));
        st.devport[i] = readport(devicekey(n, " Port Number"));
    }
    st.termenabled = readonoff("Device 5");
    st.termport = readport("Device 5 Port Number");

    for (int n = 1; n <= 4; ++n) {
        const auto i = static_cast<size_t>(n);
        showdevice(n);
        if (!st.devenabled[i]) {
            showdevicevalue(n);
            continue;
        }
        if (st.devinput[i])
            st.devvalue[i] = st.ports[static_cast<size_t>(st.devport[i])];
        refresh(n);
    }
    showterminalstate();
    terminal_->restart();
    refresh5();
}

void Form5::savedevices()
{
    const MachineState& st = machinestate();
    auto onoff = [](bool b) { return std::string(b ? "ON" : "OFF"); };
    for (int n = 1; n <= 4; ++n)
        regwrite(devicekey(n, ""), onoff(st.devenabled[static_cast<size_t>(n)]));
    for (int n = 1; n <= 4; ++n)
        regwrite(devicekey(n, " Input"), onoff(st.devinput[static_cast<size_t>(n)]));
    for (int n = 1; n <= 4; ++n)
        regwrite(devicekey(n, " Port Number"), st.devport[static_cast<size_t>(n)]);
    regwrite("Device 5", onoff(st.termenabled));
    regwrite("Device 5 Port Number", st.termport);
}

void Form5::closeEvent(QCloseEvent* event)
{
    if (isMinimized() || isMaximized())
        showNormal();
    savewindowposition(this, 5);
    savedevices();
    painttimer_->stop();
    scheduled_ = false;
    toolrouter().closed(Tool::Form5);
    event->accept();
}

// ---------------------------------------------------------------------------------------------
// What the controls show

void Form5::showdevice(int n)
{
    const MachineState& st = machinestate();
    const auto i = static_cast<size_t>(n);
    const Device& d = devices_[idx(n)];
    const bool on = st.devenabled[i];
    d.frame->setEnabled(on);
    d.frame->setTitle(on ? porttext(st.devport[i]) : QStringLiteral("I/O port"));
    settoggle(d.command, on);
    showdirection(n);
}

// The selected option, and what invites a click: an input device's lamps and value text.
void Form5::showdirection(int n)
{
    const Device& d = devices_[idx(n)];
    const bool input = machinestate().devinput[static_cast<size_t>(n)];
    d.optionin->setChecked(input);
    d.optionout->setChecked(!input);
    const Qt::CursorShape cursor = input ? Qt::PointingHandCursor : Qt::ArrowCursor;
    for (Lamp* lamp : d.lamps) {
        lamp->setCursor(cursor);
        lamp->setToolTip(input ? QStringLiteral("Click or press Space to switch bit %1").arg(lamp->bit()) : QString());
    }
    d.value->setCursor(cursor);
    d.value->setToolTip(input ? QStringLiteral("Click to enter the value") : QString());
}

void Form5::showterminalstate()
{
    const MachineState& st = machinestate();
    terminal_->setEnabled(st.termenabled);
    command6_->setEnabled(st.termenabled);
    settoggle(command5_, st.termenabled);
    label10_->setText(st.termenabled ? porttext(st.termport) : QStringLiteral("I/O port"));
}

void Form5::showdevicevalue(int n)
{
    const int32_t value = machinestate().devvalue[static_cast<size_t>(n)];
    const Device& d = devices_[idx(n)];
    d.value->setText(QString::fromStdString(hexbyte(value)) + QLatin1Char('H'));
    // Bit by bit from the top: a bit is lit when its weight still fits in what is left.
    int32_t v = value;
    for (int b = 7; b >= 0; --b) {
        const int32_t weight = 1 << b;
        if (weight > v) {
            d.lamps[static_cast<size_t>(b)]->setcolour(lampoff);
        } else {
            d.lamps[static_cast<size_t>(b)]->setcolour(lampon);
            v -= weight;
        }
    }
}

// ---------------------------------------------------------------------------------------------
// refresh1 - refresh5

bool Form5::deferring() const
{
    const MachineState& st = machinestate();
    return st.running && st.simrate >= 5;
}

void Form5::schedule(unsigned bits)
{
    pending_ |= bits;
    if (!deferring()) {
        flush();
        return;
    }
    if (!scheduled_) {
        // One repaint per frame of the display; until then a device's byte only marks it due.
        scheduled_ = true;
        const QScreen* s = screen();
        const double hz = s ? s->refreshRate() : 60.0;
        painttimer_->start(std::clamp(static_cast<int>(1000.0 / (hz > 0 ? hz : 60.0)), 8, 40));
    }
}

void Form5::flush()
{
    painttimer_->stop();
    scheduled_ = false;
    const unsigned bits = pending_;
    pending_ = 0;
    for (int n = 1; n <= 4; ++n)
        if (bits & (1u << n))
            showdevicevalue(n);
    if (bits & (1u << 5))
        terminal_->refresh();
}

// The events waiting while a device shows its value run at the run loop's next pump, which
// follows every instruction at the slow rates and ends every time slice at the fast ones.
void Form5::refresh(int n)
{
    MachineState& st = machinestate();
    const auto i = static_cast<size_t>(n);
    if (st.devinput[i]) {
        st.ports[static_cast<size_t>(st.devport[i])] = st.devvalue[i];
        if (st.optrefreshmemory == "ON" && st.Form20)
            toolrouter().ioprint();
    }
    schedule(1u << n);
}

void Form5::refresh5()
{
    schedule(1u << 5);
}

void Form5::devicerefresh(int n, int32_t value)
{
    (void)value;
    if (n >= 1 && n <= 4)
        refresh(n);
    else if (n == 5)
        refresh5();
}

// ---------------------------------------------------------------------------------------------
// Handlers

void Form5::commandclick(int n)
{
    MachineState& st = machinestate();
    if (n == 5) {
        if (!st.termenabled) {
            const int32_t port = askport(this);
            if (port == -1)
                return;
            st.termport = port;
            st.termenabled = true;
        } else {
            st.termenabled = false;
            st.termport = 0;
            st.termtext.clear();
            terminal_->restart();
            refresh5();
        }
        showterminalstate();
        return;
    }
    const auto i = static_cast<size_t>(n);
    if (!st.devenabled[i]) {
        const int32_t port = askport(this);
        if (port == -1)
            return;
        st.devport[i] = port;
        st.devenabled[i] = true;
    } else {
        st.devenabled[i] = false;
        optionoutclick(n);
        st.devport[i] = 0;
        st.devvalue[i] = 0;
        refresh(n);
    }
    showdevice(n);
}

void Form5::command6click()
{
    machinestate().termtext.clear();
    // Bytes that arrive before the deferred repaint belong to the new text.
    terminal_->restart();
    refresh5();
}

void Form5::optioninclick(int n)
{
    MachineState& st = machinestate();
    const auto i = static_cast<size_t>(n);
    st.devinput[i] = true;
    showdirection(n);
    st.devvalue[i] = st.ports[static_cast<size_t>(st.devport[i])];
    refresh(n);
}

void Form5::optionoutclick(int n)
{
    machinestate().devinput[static_cast<size_t>(n)] = false;
    showdirection(n);
}

void Form5::labelclick(int n)
{
    MachineState& st = machinestate();
    const auto i = static_cast<size_t>(n);
    if (!st.devinput[i])
        return;
    hexvaluedialog(st, this);
    // A cancelled entry leaves 0, which the device takes like an entered 0.
    st.devvalue[i] = st.invalue;
    st.invalue = 0;
    refresh(n);
}

void Form5::lamppress(int n, int bit)
{
    MachineState& st = machinestate();
    const auto i = static_cast<size_t>(n);
    if (!st.devinput[i])
        return;
    flush(); // the lamps must show the value they are read from
    const int32_t weight = 1 << bit;
    if (lamp(n, bit)->lit())
        st.devvalue[i] -= weight;
    else
        st.devvalue[i] += weight;
    refresh(n);
}

} // namespace kelvane
