#include "tools/form16.h"

#include "progfiles/safewrite.h"
#include "shell/messages.h"
#include "shell/theme.h"
#include "sim/machinestate.h"
#include "sim/programfiles_ui.h"
#include "sim/settings.h"
#include "tools/hexgrid.h"

#include <QAction>
#include <QCheckBox>
#include <QCloseEvent>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QPointer>
#include <QScrollBar>
#include <QTableView>
#include <QTimer>
#include <QVBoxLayout>
#include <QWheelEvent>

#include <cmath>

namespace kelvane {

namespace {

constexpr const char* caption = "Simulation Log Viewer";
// A read lets events run after about this long, and the rows of a run are shown at this pace.
constexpr int framems = 16;
constexpr size_t readslice = size_t{1} << 20;

QString logdialog(QWidget* parent, bool save)
{
    QFileDialog dialog(parent, save ? QStringLiteral("Save Log File As") : QStringLiteral("Select Log File"),
                       QString::fromStdString(machinestate().lastpath));
    dialog.setObjectName(save ? QStringLiteral("CommonDialog2") : QStringLiteral("CommonDialog1"));
    dialog.setNameFilters({QStringLiteral("LOG files (*.log)"), QStringLiteral("All files (*.*)")});
    if (save) {
        dialog.setAcceptMode(QFileDialog::AcceptSave);
        dialog.setFileMode(QFileDialog::AnyFile);
        dialog.setOption(QFileDialog::DontConfirmOverwrite); // the viewer asks by itself
    } else {
        dialog.setAcceptMode(QFileDialog::AcceptOpen);
        dialog.setFileMode(QFileDialog::ExistingFile);
    }
    dialog.selectFile(QString());
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return {};
    return dialog.selectedFiles().constFirst();
}

} // namespace

Form16::Form16(QWidget* parent) : QWidget(parent, Qt::Window)
{
    setObjectName("Form16");
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(caption);
    choosefile = logdialog;
    buildwindow();
    placewindow(this, 16);
    toolrouter().opened(Tool::Form16, this, this);
    logclean();
}

Form16::~Form16()
{
    stopreading_ = true;
    if (toolrouter().window(Tool::Form16) == this)
        toolrouter().closed(Tool::Form16);
}

void Form16::settheme()
{
    themewindow(this);
    const ThemeState& t = theme();
    setpair(check1_, t.labelback, t.labeltext);
    setpair(check2_, t.labelback, t.labeltext);
}

void Form16::buildwindow()
{
    auto* menubar = new QMenuBar(this);
    menu1_ = menubar->addMenu(QStringLiteral("&File"));
    menu1_->setObjectName("menu1");
    menuopen_ = menu1_->addAction(QStringLiteral("&Open Log File"), this, &Form16::menuopen);
    menuopen_->setObjectName("menuopen");
    menusave_ = menu1_->addAction(QStringLiteral("&Save Log File"), this, &Form16::menusave);
    menusave_->setObjectName("menusave");
    menuclose_ = menu1_->addAction(QStringLiteral("&Close Log File"), this, &Form16::menuclose);
    menuclose_->setObjectName("menuclose");

    const QFont font = hexfont(); // the fixed-pitch font of the program's tables
    const QFontMetricsF metrics(font);
    const qreal advance = metrics.horizontalAdvance(QLatin1Char('0'));
    const int lineheight = static_cast<int>(std::ceil(metrics.height())) + 4;

    // The header and the 15 lines stand on one panel, the columns under the header's words.
    auto* panel = new QFrame(this);
    panel->setObjectName("panel");
    panel->setFrameShape(QFrame::StyledPanel);
    panel->setFrameShadow(QFrame::Sunken);
    panel->setBackgroundRole(QPalette::Base);
    panel->setAutoFillBackground(true);
    auto* panellayout = new QVBoxLayout(panel);
    panellayout->setContentsMargins(6, 3, 6, 4);
    panellayout->setSpacing(0);

    label1_ = new QLabel(QString::fromLatin1(logheader), panel);
    label1_->setObjectName("Label1");
    label1_->setFont(font);
    label1_->setContentsMargins(0, 0, 0, 3);
    label1_->setForegroundRole(QPalette::PlaceholderText);
    panellayout->addWidget(label1_);
    auto* rule = new QFrame(panel);
    rule->setFrameShape(QFrame::HLine);
    rule->setFrameShadow(QFrame::Plain);
    rule->setForegroundRole(QPalette::Mid);
    panellayout->addWidget(rule);

    model_ = new LogTableModel(rows_, this);
    table_ = new QTableView(panel);
    table_->setObjectName("logtable");
    table_->setModel(model_);
    table_->setItemDelegate(new LogCellDelegate(table_));
    table_->setFont(font);
    table_->setFrameShape(QFrame::NoFrame);
    table_->setShowGrid(false);
    table_->setAlternatingRowColors(true);
    table_->setSelectionMode(QAbstractItemView::NoSelection);
    table_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table_->setFocusPolicy(Qt::NoFocus);
    table_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    table_->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    table_->horizontalHeader()->hide();
    table_->verticalHeader()->hide();
    table_->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    table_->verticalHeader()->setMinimumSectionSize(1);
    table_->verticalHeader()->setDefaultSectionSize(lineheight);
    table_->horizontalHeader()->setMinimumSectionSize(1);
    // Column edges at whole pixels nearest to the character positions, so that text stays under
    // the header's words at any scale.
    int x = 0;
    for (size_t i = 0; i < logcolumns.size(); ++i) {
        const int end = static_cast<int>(std::lround((logcolumns[i].start - 1 + logcolumns[i].width) * advance));
        table_->setColumnWidth(static_cast<int>(i), end - x);
        x = end;
    }
    table_->setFixedSize(x, lineheight * loglines);
    table_->viewport()->installEventFilter(this);
    panellayout->addWidget(table_);

    pozicijav_ = new QScrollBar(Qt::Vertical, this);
    pozicijav_->setObjectName("pozicijav");
    pozicijav_->setRange(1, 1);
    pozicijav_->setSingleStep(1);
    pozicijav_->setPageStep(loglines);
    pozicijav_->setEnabled(false);
    pozicijav_->setFocusPolicy(Qt::StrongFocus);
    pozicijav_->installEventFilter(this);
    connect(pozicijav_, &QScrollBar::valueChanged, this, [this](int v) {
        if (syncing_)
            return;
        bar_.value = v;
        redraw();
    });

    check1_ = new QCheckBox(QStringLiteral("Always On Top"), this);
    check1_->setObjectName("Check1");
    check2_ = new QCheckBox(QStringLiteral("Keep Last Record In Focus"), this);
    check2_->setObjectName("Check2");
    connect(check2_, &QCheckBox::clicked, this, [this] { redraw(); });
    connectalwaysontop(16, this, check1_);

    auto* tablerow = new QHBoxLayout;
    tablerow->setSpacing(4);
    tablerow->addWidget(panel);
    tablerow->addWidget(pozicijav_);
    auto* checks = new QHBoxLayout;
    checks->setSpacing(18);
    checks->addWidget(check1_);
    checks->addWidget(check2_);
    checks->addStretch(1);

    auto* layout = new QVBoxLayout(this);
    layout->setMenuBar(menubar);
    layout->setContentsMargins(8, 6, 8, 8);
    layout->setSpacing(8);
    layout->addLayout(tablerow);
    layout->addLayout(checks);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    installEventFilter(this);

    frame_ = new QTimer(this);
    frame_->setSingleShot(true);
    frame_->setInterval(framems);
    connect(frame_, &QTimer::timeout, this, &Form16::showview);
}

QAction* Form16::action(const char* name) const
{
    for (QAction* a : {menuopen_, menusave_, menuclose_})
        if (a->objectName() == QLatin1String(name))
            return a;
    return name == QLatin1String("menu1") ? menu1_->menuAction() : nullptr;
}

// ---------------------------------------------------------------------------------------------
// Rows

bool Form16::takesrows() const
{
    return !logfileopen_ && rows_.size() < logviewerlimit;
}

void Form16::logadd(std::string_view row)
{
    if (logfileopen_ || rows_.size() >= logviewerlimit)
        return;
    rows_.append(row);
    if (rows_.size() == logviewerlimit)
        toolrouter().recompute(); // full: the machine stops composing rows for the viewer
    redrawlater();
}

void Form16::logclean()
{
    if (logfileopen_)
        return;
    rows_.clear();
    redraw();
    toolrouter().recompute();
}

void Form16::redraw()
{
    fitbar(bar_, rows_.size(), check2_->isChecked());
    frame_->stop();
    showview();
}

void Form16::redrawlater()
{
    fitbar(bar_, rows_.size(), check2_->isChecked());
    if (!frame_->isActive())
        frame_->start();
}

void Form16::showview()
{
    syncing_ = true;
    pozicijav_->setRange(1, bar_.maximum);
    pozicijav_->setValue(bar_.value);
    pozicijav_->setEnabled(bar_.enabled);
    syncing_ = false;
    const auto [first, count] = rowsonview(bar_, rows_.size());
    model_->showrows(first, count);
}

// ---------------------------------------------------------------------------------------------
// Scrolling

void Form16::wheel(int angle)
{
    wheelrest_ += angle;
    const int notches = wheelrest_ / 120;
    wheelrest_ -= notches * 120;
    if (notches == 0)
        return;
    movebar(bar_, -3 * notches); // turning the wheel towards the user goes forward
    redraw();
}

bool Form16::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::Wheel) {
        wheel(static_cast<QWheelEvent*>(event)->angleDelta().y());
        return true;
    }
    return QWidget::eventFilter(watched, event);
}

void Form16::keyPressEvent(QKeyEvent* event)
{
    // The keys of the bar work wherever the focus stands in the window.
    static const struct {
        int key;
        QAbstractSlider::SliderAction action;
    } keys[] = {
        {Qt::Key_Down, QAbstractSlider::SliderSingleStepAdd}, {Qt::Key_Up, QAbstractSlider::SliderSingleStepSub},
        {Qt::Key_PageDown, QAbstractSlider::SliderPageStepAdd}, {Qt::Key_PageUp, QAbstractSlider::SliderPageStepSub},
        {Qt::Key_End, QAbstractSlider::SliderToMaximum},       {Qt::Key_Home, QAbstractSlider::SliderToMinimum},
    };
    for (const auto& k : keys) {
        if (event->key() == k.key && event->modifiers() == Qt::NoModifier) {
            pozicijav_->triggerAction(k.action);
            return;
        }
    }
    QWidget::keyPressEvent(event);
}

// ---------------------------------------------------------------------------------------------
// File menu

void Form16::setmenu1(bool enabled)
{
    menu1_->menuAction()->setEnabled(enabled);
}

bool Form16::pumpevents()
{
    QPointer<Form16> self(this);
    QCoreApplication::processEvents();
    return !self.isNull();
}

void Form16::menuclose()
{
    logfileopen_ = false;
    logfilename_.clear();
    setWindowTitle(caption);
    logclean();
}

void Form16::menuopen()
{
    menuclose();
    const QString path = choosefile(this, false);
    if (!path.isEmpty())
        readlogfile(path);
}

bool Form16::openfile(const QString& path)
{
    // Taken as the File menu would take it: not while a file is read or saved.
    if (!menu1_->menuAction()->isEnabled())
        return false;
    menuclose();
    return readlogfile(path);
}

bool Form16::readlogfile(const QString& path)
{
    const QString name = takelastpath(machinestate(), path);
    logfileopen_ = true;
    logfilename_ = name;
    setWindowTitle(QStringLiteral("Simulation Log Viewer - ") + name);
    toolrouter().recompute();
    setmenu1(false);
    stopreading_ = false;
    if (!pumpevents() || stopreading_)
        return false; // the window is gone or closing

    LogReader reader; // closed on every way out
    auto refuse = [&](const std::string& reason) {
        messagebox(this, QStringLiteral("The log file %1 can't be read: %2.").arg(name, QString::fromStdString(reason)));
        menuclose();
        setmenu1(true);
    };
    if (!reader.open(QFile::encodeName(path).toStdString())) {
        refuse(reader.error());
        return false;
    }
    QElapsedTimer slice;
    slice.start();
    LogReadStatus status;
    while ((status = reader.read(rows_, readslice)) == LogReadStatus::more) {
        if (slice.elapsed() >= framems) {
            if (!pumpevents())
                return false; // the window is gone
            if (stopreading_)
                break;
            slice.restart();
        }
    }
    if (stopreading_)
        return false; // the window is closing
    switch (status) {
    case LogReadStatus::done:
        setmenu1(true);
        redraw();
        return true;
    case LogReadStatus::corrupt:
        confirm(this, QStringLiteral("The log file is corrupted."));
        menuclose(); // the File menu stays off until the viewer is opened afresh
        break;
    case LogReadStatus::failed:
    case LogReadStatus::more:
        refuse(reader.error());
        break;
    }
    return false;
}

void Form16::menusave()
{
    if (rows_.empty()) {
        confirm(this, QStringLiteral("Simulation Log Viewer is empty."));
        return;
    }
    const QString path = choosefile(this, true);
    if (path.isEmpty())
        return;
    MachineState& st = machinestate();
    QString name = takelastpath(st, path);
    if (const qsizetype dot = name.indexOf(QLatin1Char('.')); dot >= 0)
        name.truncate(dot);
    const QString full = QString::fromStdString(st.lastpath) + name + QStringLiteral(".log");
    if (QFileInfo::exists(full) && !askyesno(this, "Do you want to overwrite existing file " + full + "?"))
        return;
    setmenu1(false);
    if (!pumpevents())
        return;
    std::string error;
    if (!writefilesafely(QFile::encodeName(full).toStdString(), logfiletext(rows_), &error))
        messagebox(this, QString::fromStdString(error));
    setmenu1(true);
}

void Form16::closeEvent(QCloseEvent* event)
{
    stopreading_ = true;
    frame_->stop();
    if (isMinimized() || isMaximized())
        showNormal();
    savewindowposition(this, 16);
    toolrouter().closed(Tool::Form16);
    QWidget::closeEvent(event);
}

} // namespace kelvane
