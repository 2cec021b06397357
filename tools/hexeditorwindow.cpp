#include "tools/hexeditorwindow.h"

#include "shell/messages.h"
#include "shell/theme.h"
#include "sim/portdialogs.h"
#include "sim/settings.h"

#include <QApplication>
#include <QCheckBox>
#include <QCloseEvent>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLineEdit>
#include <QTimer>
#include <QVBoxLayout>

namespace kelvane {

namespace {

// The box over its cell: a frame and a tint of the selection colour.
QString entrysheet()
{
    return themesheet(QStringLiteral("QLineEdit#unosbox { border: 1px solid @highlight; color: @basetext;"
                                     " background: @mix(valueback,highlight,14); padding: 0px; }"));
}

} // namespace

HexEditorWindow::HexEditorWindow(Tool tool, const QString& caption) : tool_(tool)
{
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(caption);
    setWindowFlag(Qt::MSWindowsFixedSizeDialogHint);

    // Every snapshot is a redraw done: the router may ask for the next one.
    const auto snapshot = [this] {
        toolrouter().redrawn(tool_);
        return viewvalues();
    };
    tabla_ = new HexGrid(snapshot, [this](int row) { return rowlabel(row); }, this);
    Text1_ = new HexHeader(tabla_, this);
    connect(tabla_, &HexGrid::released, this, &HexEditorWindow::tabla_MouseUp);

    unosbox_ = new QLineEdit(this);
    unosbox_->setObjectName(QStringLiteral("unosbox"));
    unosbox_->setFont(hexfont());
    unosbox_->setMaxLength(2);
    unosbox_->setAlignment(Qt::AlignCenter);
    unosbox_->setFrame(false);
    unosbox_->setContextMenuPolicy(Qt::NoContextMenu);
    unosbox_->setTextMargins(0, 0, 0, 0);
    unosbox_->setStyleSheet(entrysheet());
    unosbox_->hide();
    unosbox_->installEventFilter(this);

    Check1_ = new QCheckBox(QStringLiteral("Always On Top"), this);
    Check1_->setObjectName(QStringLiteral("Check1"));

    Timer1_ = new QTimer(this);
    Timer1_->setObjectName(QStringLiteral("Timer1"));
    Timer1_->setInterval(500);
    connect(Timer1_, &QTimer::timeout, tabla_, &HexGrid::refresh);
}

HexEditorWindow::~HexEditorWindow()
{
    // A window deleted without being closed still clears its open flag.
    if (toolrouter().window(tool_) == this)
        toolrouter().closed(tool_);
}

void HexEditorWindow::load(QWidget* besidegrid, QWidget* home)
{
    home_ = home;
    auto* outer = new QVBoxLayout(this);
    outer->setContentsMargins(10, 8, 10, 8);
    outer->setSpacing(2);
    auto* top = new QHBoxLayout;
    top->setSpacing(0);
    top->addWidget(Text1_);
    top->addStretch(1);
    outer->addLayout(top);
    auto* middle = new QHBoxLayout;
    middle->setSpacing(2);
    middle->addWidget(tabla_);
    if (besidegrid)
        middle->addWidget(besidegrid);
    outer->addLayout(middle);
    outer->addSpacing(4);
    outer->addWidget(Check1_);
    outer->setSizeConstraint(QLayout::SetFixedSize);

    const int number = static_cast<int>(tool_);
    connectalwaysontop(number, this, Check1_);
    adjustSize();
    placewindow(this, number);
    toolrouter().opened(tool_, this, this);
    tabla_->refresh();
    Timer1_->start();
    home_->setFocus();
}

void HexEditorWindow::settheme()
{
    unosbox_->setStyleSheet(entrysheet());
    themewindow(this);
    const ThemeState& t = theme();
    setpair(Check1_, t.labelback, t.labeltext);
    setpair(Text1_, t.valueback, t.valuetext);
}

bool HexEditorWindow::entryopen() const
{
    return !unosbox_->isHidden();
}

void HexEditorWindow::closeEvent(QCloseEvent* event)
{
    if (isMinimized() || isMaximized())
        showNormal();
    savewindowposition(this, static_cast<int>(tool_));
    Timer1_->stop();
    toolrouter().closed(tool_);
    QWidget::closeEvent(event);
}

// ---------------------------------------------------------------------------------------------
// The entry box

void HexEditorWindow::tabla_MouseUp(QPointF units)
{
    const HexCell cell = hexcellat(units.x(), units.y());
    if (!cell.valid() || celladdress(cell.row, cell.column) < 0)
        return;
    placeentry(cell.row, cell.column);
}

void HexEditorWindow::placeentry(int row, int column)
{
    row_ = row;
    column_ = column;
    editaddress_ = celladdress(row, column);
    QRect r = tabla_->entryrect(row, column);
    r.moveTopLeft(tabla_->mapTo(this, r.topLeft()));
    unosbox_->setGeometry(r);
    unosbox_->clear();
    unosbox_->show();
    unosbox_->raise();
    unosbox_->setFocus(Qt::OtherFocusReason);
}

void HexEditorWindow::hideentry()
{
    if (hiding_)
        return;
    hiding_ = true;
    // The focus goes home first, so that the box's going does not hand it to some other control.
    if (unosbox_->hasFocus())
        home_->setFocus(Qt::OtherFocusReason);
    unosbox_->hide();
    unosbox_->clear();
    hiding_ = false;
}

void HexEditorWindow::unosbox_Enter()
{
    // An empty box stands for 00; bad digits end the entry without a word.
    const QString text = unosbox_->text();
    const int32_t value = text.isEmpty() ? 0 : entryvalue(text);
    if (value < 0) {
        hideentry();
        return;
    }
    store(editaddress_, value);
    int row = row_, column = column_;
    if (column < 15) {
        ++column;
    } else if (row < 15) {
        ++row;
        column = 0;
    } else if (scrollrows(1)) {
        column = 0;
    } else {
        row = 0;
        column = 0;
    }
    placeentry(row, column);
}

void HexEditorWindow::unosbox_Arrow(int key)
{
    int row = row_, column = column_;
    switch (key) {
    case Qt::Key_Left:
        if (column >= 1)
            --column;
        break;
    case Qt::Key_Right:
        if (column < 15)
            ++column;
        break;
    case Qt::Key_Up:
        if (row > 0)
            --row;
        else
            scrollrows(-1);
        break;
    case Qt::Key_Down:
        if (row < 15)
            ++row;
        else
            scrollrows(1);
        break;
    default: return;
    }
    // A cell without an address (past the last port) is an edge: the box stays.
    if (celladdress(row, column) < 0) {
        row = row_;
        column = column_;
    }
    placeentry(row, column);
}

bool HexEditorWindow::eventFilter(QObject* watched, QEvent* event)
{
    if (watched != unosbox_)
        return QWidget::eventFilter(watched, event);
    const auto arrow = [](int k) {
        return k == Qt::Key_Left || k == Qt::Key_Right || k == Qt::Key_Up || k == Qt::Key_Down;
    };
    switch (event->type()) {
    case QEvent::KeyPress: {
        const auto* ke = static_cast<QKeyEvent*>(event);
        const int k = ke->key();
        if (k == Qt::Key_Return || k == Qt::Key_Enter) {
            // Every press, auto-repeat too: holding Enter fills cell after cell with zeros.
            unosbox_Enter();
            return true;
        }
        if (k == Qt::Key_Escape) {
            hideentry();
            return true;
        }
        // Arrows act when let go; the press must not move the box's cursor.
        return arrow(k);
    }
    case QEvent::KeyRelease: {
        const auto* ke = static_cast<QKeyEvent*>(event);
        if (!arrow(ke->key()))
            return false;
        if (!ke->isAutoRepeat())
            unosbox_Arrow(ke->key());
        return true;
    }
    case QEvent::FocusOut: {
        // The focus gone to another control or window of the program ends the entry; a switch to
        // another application leaves it open for the return.
        const auto reason = static_cast<QFocusEvent*>(event)->reason();
        if (reason != Qt::ActiveWindowFocusReason || QApplication::activeWindow() != nullptr)
            hideentry();
        return false;
    }
    default: return false;
    }
}

void HexEditorWindow::keyPressEvent(QKeyEvent* event)
{
    // Enter while no entry is open starts one over the first cell on view.
    if ((event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) && !entryopen()) {
        placeentry(0, 0);
        return;
    }
    QWidget::keyPressEvent(event);
}

void HexEditorWindow::mousePressEvent(QMouseEvent* event)
{
    // A click on the form itself (the header, the table's margins) hands the focus home.
    home_->setFocus(Qt::MouseFocusReason);
    QWidget::mousePressEvent(event);
}

} // namespace kelvane
