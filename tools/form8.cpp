#include "tools/form8.h"

#include "core/hexutil.h"
#include "disassembler/disassembler.h"
#include "shell/messages.h"
#include "shell/theme.h"
#include "sim/machinestate.h"
#include "sim/settings.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QFontDatabase>
#include <QFontInfo>
#include <QFrame>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QPushButton>
#include <QScrollBar>
#include <QShortcut>
#include <QTimer>
#include <QVBoxLayout>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <initializer_list>
#include <system_error>

namespace kelvane {

namespace {

constexpr const char* headertext = "Line   Addr Opcodes     Label   Instruction";
constexpr int emptyentry = 100000;
constexpr int wheelnotch = 120;
constexpr int wheellines = 3;
constexpr int paintinterval = 16; // ms between repaints of the lines while the program runs

// The listing's font: a really fixed-pitch face.
QFont listingfont()
{
    QFont f(QStringLiteral("DejaVu Sans Mono"));
    f.setPointSize(9);
    f.setStyleHint(QFont::TypeWriter);
    if (!QFontInfo(f).fixedPitch()) {
        const int size = f.pointSize();
        f = QFontDatabase::systemFont(QFontDatabase::FixedFont);
        f.setPointSize(size);
    }
    return f;
}

// A caption as the screen shows it: control characters (NUL, binary bytes) as a visible sign.
QString displayed(QString text)
{
    for (QChar& c : text)
        if (c.unicode() < 0x20 || c.unicode() == 0x7F)
            c = QChar(0xFFFD);
    return text;
}

MainCommands& commands()
{
    return toolrouter().maincommands;
}

} // namespace

// The 20 lines with their markers: the red circle of a breakpoint and the yellow arrow of the PC
// in a column at the left of each line. Paints what drawlines left in the window's state.
class ListingView : public QFrame {
public:
    explicit ListingView(Form8& owner) : owner_(owner)
    {
        setFrameStyle(QFrame::StyledPanel | QFrame::Sunken);
        setFont(listingfont());
        setFocusPolicy(Qt::StrongFocus);
        setBackgroundRole(QPalette::Base);
        setAutoFillBackground(true);
        setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    }

    int rowheight() const { return fontMetrics().lineSpacing() + 3; }
    int markerwidth() const { return 2 * rowheight() + 6; }
    // Left edge of the text within the view (the header above lines up with it).
    int textleft() const { return frameWidth() + markerwidth(); }
    int textwidth() const { return std::max(0, contentsRect().width() - markerwidth() - 4); }
    QRect rowrect(int i) const
    {
        const QRect c = contentsRect();
        return {c.left(), c.top() + i * rowheight(), c.width(), rowheight()};
    }
    QSize sizeHint() const override { return {400, Form8::rows * rowheight() + 2 * frameWidth()}; }
    QSize minimumSizeHint() const override { return {200, sizeHint().height()}; }

protected:
    void paintEvent(QPaintEvent* event) override
    {
        QFrame::paintEvent(event);
        QPainter p(this);
        p.setRenderHint(QPainter::Antialiasing);
        const int h = rowheight();
        const int base = fontMetrics().ascent() + (h - fontMetrics().height()) / 2;
        for (int i = 0; i < Form8::rows; ++i) {
            const QRect r = rowrect(i);
            if (!event->rect().intersects(r))
                continue;
            if (owner_.prekidsimbol(i))
                drawbreakpoint(p, r);
            if (owner_.pcrow_ == i)
                drawarrow(p, r);
            const QString text = owner_.linija(i);
            if (!text.isEmpty()) {
                p.setPen(palette().color(QPalette::Text));
                p.drawText(QPoint(textleft(), r.top() + base), displayed(text));
            }
        }
    }

    void mousePressEvent(QMouseEvent* event) override
    {
        if (event->button() != Qt::LeftButton)
            return QFrame::mousePressEvent(event);
        const int y = event->position().toPoint().y() - contentsRect().top();
        if (y >= 0 && y < Form8::rows * rowheight())
            owner_.linija_Click(y / rowheight());
    }

    void keyPressEvent(QKeyEvent* event) override
    {
        const int value = owner_.barvalue();
        switch (event->key()) {
        case Qt::Key_Up: owner_.setbarvalue(value - 1); break;
        case Qt::Key_Down: owner_.setbarvalue(value + 1); break;
        case Qt::Key_PageUp: owner_.setbarvalue(value - (Form8::rows - 1)); break;
        case Qt::Key_PageDown: owner_.setbarvalue(value + Form8::rows - 1); break;
        case Qt::Key_Home: owner_.setbarvalue(1); break;
        case Qt::Key_End: owner_.setbarvalue(owner_.barmaximum()); break;
        default: QFrame::keyPressEvent(event); break;
        }
    }

    void resizeEvent(QResizeEvent* event) override
    {
        QFrame::resizeEvent(event);
        owner_.setlinewidth();
    }

private:
    // A red circle centred in the first marker cell of the row.
    void drawbreakpoint(QPainter& p, const QRect& r) const
    {
        const double d = rowheight() - 5.0;
        const QRectF circle(r.left() + 3.5, r.top() + 2.5, d, d);
        p.setPen(QPen(QColor(0x80, 0x00, 0x00), 1.0));
        p.setBrush(QColor(0xE0, 0x10, 0x10));
        p.drawEllipse(circle);
    }

    // A yellow arrow pointing at the text, in the second marker cell.
    void drawarrow(QPainter& p, const QRect& r) const
    {
        const double h = rowheight();
        const double x0 = r.left() + h + 2.5, x1 = x0 + h - 1.0;
        const double top = r.top() + 2.5, bottom = r.top() + h - 2.5, mid = (top + bottom) / 2.0;
        const double shaft = (bottom - top) / 4.0, head = x1 - (bottom - top) / 2.0 - 1.0;
        QPainterPath arrow;
        arrow.moveTo(x0, mid - shaft);
        arrow.lineTo(head, mid - shaft);
        arrow.lineTo(head, top);
        arrow.lineTo(x1, mid);
        arrow.lineTo(head, bottom);
        arrow.lineTo(head, mid + shaft);
        arrow.lineTo(x0, mid + shaft);
        arrow.closeSubpath();
        p.setPen(QPen(QColor(0x70, 0x58, 0x00), 1.0));
        p.setBrush(QColor(0xFF, 0xD8, 0x00));
        p.drawPath(arrow);
    }

    Form8& owner_;
};

// ---------------------------------------------------------------------------------------------

Form8::Form8(QWidget* parent) : QWidget(parent, Qt::Window), st_(machinestate())
{
    placedaddress_.fill(-1);
    rowat_.fill(-1);
    setAttribute(Qt::WA_DeleteOnClose);
    setObjectName(QStringLiteral("Form8"));
    setWindowTitle(QStringLiteral("Breakpoints Manager"));
    buildcontrols();
    Form_Load();
}

Form8::~Form8()
{
    if (!closing_)
        Form_Unload();
}

void Form8::buildcontrols()
{
    const QFont fixed = listingfont();
    auto* outer = new QVBoxLayout(this);
    outer->setContentsMargins(8, 8, 8, 8);
    outer->setSpacing(6);

    // The listing: header, 20 lines with their markers, the bar at the right edge.
    view_ = new ListingView(*this);
    view_->setObjectName(QStringLiteral("linija"));
    Label1_ = new QLabel(QString::fromLatin1(headertext));
    Label1_->setObjectName(QStringLiteral("Label1"));
    Label1_->setFont(fixed);
    Label1_->setContentsMargins(view_->textleft(), 0, 0, 0);
    Label1_->setTextFormat(Qt::PlainText);
    Label1_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    outer->addWidget(Label1_);

    vscrollbar1_ = new QScrollBar(Qt::Vertical);
    vscrollbar1_->setObjectName(QStringLiteral("vscrollbar1"));
    vscrollbar1_->setRange(1, 1);
    vscrollbar1_->setPageStep(rows);
    vscrollbar1_->setEnabled(false);
    connect(vscrollbar1_, &QScrollBar::valueChanged, this, [this](int value) { vscrollbar1_Change(value); });
    vscrollbar1_->installEventFilter(this);
    auto* lines = new QHBoxLayout;
    lines->setSpacing(2);
    lines->addWidget(view_, 1);
    lines->addWidget(vscrollbar1_);
    outer->addLayout(lines);

    // Where the listing came from.
    auto* where = new QHBoxLayout;
    Label2_ = new QLabel(QStringLiteral("Listing location"));
    Label2_->setObjectName(QStringLiteral("Label2"));
    imelabela_ = new QLabel;
    imelabela_->setObjectName(QStringLiteral("imelabela"));
    imelabela_->setFrameStyle(QFrame::StyledPanel | QFrame::Sunken);
    imelabela_->setTextFormat(Qt::PlainText);
    imelabela_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    where->addWidget(Label2_);
    where->addWidget(imelabela_, 1);
    outer->addLayout(where);

    // The defined breakpoints, two rows of five, and the commands beside them.
    auto* bottom = new QHBoxLayout;
    auto* list = new QVBoxLayout;
    list->setSpacing(4);
    Text1_ = new QLabel(QStringLiteral("Defined Breakpoints"));
    Text1_->setObjectName(QStringLiteral("Text1"));
    Text1_->setFrameStyle(QFrame::StyledPanel | QFrame::Plain);
    Text1_->setAlignment(Qt::AlignCenter);
    Text1_->setFocusPolicy(Qt::NoFocus);
    list->addWidget(Text1_);
    auto* grid = new QGridLayout;
    grid->setHorizontalSpacing(4);
    grid->setVerticalSpacing(4);
    const int entrywidth = QFontMetrics(fixed).horizontalAdvance(QStringLiteral("00000")) + 8;
    for (int i = 0; i < 10; ++i) {
        auto* number = new QLabel(QString::number(i + 1));
        number->setObjectName(QStringLiteral("b%1").arg(i + 1));
        number->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
        auto* entry = new QLabel;
        entry->setObjectName(QStringLiteral("prekidlabela%1").arg(i));
        entry->setFont(fixed);
        entry->setFrameStyle(QFrame::StyledPanel | QFrame::Sunken);
        entry->setAlignment(Qt::AlignCenter);
        entry->setFixedWidth(entrywidth);
        entry->setBackgroundRole(QPalette::Base);
        entry->setAutoFillBackground(true);
        b_[static_cast<size_t>(i)] = number;
        prekidlabela_[static_cast<size_t>(i)] = entry;
        const int row = i / 5, column = (i % 5) * 2;
        grid->addWidget(number, row, column);
        grid->addWidget(entry, row, column + 1);
    }
    list->addLayout(grid);
    bottom->addLayout(list);
    bottom->addStretch(1);

    auto* controls = new QVBoxLayout;
    controls->setSpacing(4);
    Command1_ = new QPushButton(QStringLiteral("Clear All Breakpoints"));
    Command1_->setObjectName(QStringLiteral("Command1"));
    connect(Command1_, &QPushButton::clicked, this, [this] { Command1_Click(); });
    Check1_ = new QCheckBox(QStringLiteral("Always On Top"));
    Check1_->setObjectName(QStringLiteral("Check1"));
    connectalwaysontop(8, this, Check1_);
    Check2_ = new QCheckBox(QStringLiteral("Hold PC In Focus"));
    Check2_->setObjectName(QStringLiteral("Check2"));
    connect(Check2_, &QCheckBox::clicked, this, [this](bool on) { Check2_Click(on); });
    controls->addWidget(Command1_);
    controls->addWidget(Check1_);
    controls->addWidget(Check2_);
    controls->addStretch(1);
    bottom->addLayout(controls);
    outer->addLayout(bottom);

    Timer1_ = new QTimer(this);
    Timer1_->setObjectName(QStringLiteral("Timer1"));
    Timer1_->setInterval(500);
    connect(Timer1_, &QTimer::timeout, this, [this] { Timer1_Timer(); });

    painttimer_ = new QTimer(this);
    painttimer_->setSingleShot(true);
    connect(painttimer_, &QTimer::timeout, this, [this] { flush(); });

    // The window sees the function keys before its controls do.
    auto key = [this](QKeySequence sequence, Qt::KeyboardModifiers mods, int k) {
        auto* s = new QShortcut(sequence, this);
        s->setContext(Qt::WindowShortcut);
        connect(s, &QShortcut::activated, this, [this, k, mods] { functionkey(k, mods); });
    };
    key(QKeySequence(Qt::Key_F1), Qt::NoModifier, Qt::Key_F1);
    key(QKeySequence(Qt::Key_F2), Qt::NoModifier, Qt::Key_F2);
    key(QKeySequence(Qt::Key_F3), Qt::NoModifier, Qt::Key_F3);
    const Qt::Key speeds[] = {Qt::Key_F1, Qt::Key_F2, Qt::Key_F3, Qt::Key_F4, Qt::Key_F5, Qt::Key_F6};
    for (Qt::Key k : speeds)
        key(QKeySequence(Qt::CTRL | k), Qt::ControlModifier, k);

    setTabOrder(view_, Command1_);
    setTabOrder(Command1_, Check1_);
    setTabOrder(Check1_, Check2_);
}

void Form8::functionkey(int key, Qt::KeyboardModifiers mods)
{
    MainCommands& m = commands();
    if (!m.startenabled)
        return; // no main window
    if (mods & Qt::ControlModifier) {
        if (m.menuspeed)
            m.menuspeed(key - Qt::Key_F1 + 1);
        return;
    }
    const bool start = m.startenabled();
    if (key == Qt::Key_F1 && start && m.menustart)
        m.menustart();
    else if (key == Qt::Key_F2 && !start && m.stepenabled && m.stepenabled() && m.menustep)
        m.menustep();
    else if (key == Qt::Key_F3 && !start && m.menustop)
        m.menustop();
}

void Form8::settheme()
{
    themewindow(this);
    const ThemeState& t = theme();
    for (QLabel* b : b_)
        setpair(b, t.frameback, t.frametext);
    for (QWidget* w : std::initializer_list<QWidget*>{Label2_, Text1_, Check1_, Check2_})
        setpair(w, t.labelback, t.labeltext);
    setpair(imelabela_, t.valueback, t.valuetext);
}

// ---------------------------------------------------------------------------------------------
// Load and unload

void Form8::Form_Load()
{
    settheme();
    listingready_ = false;
    holdpc_ = leadingint(regread("Hold PC In Focus", "1")) != 0 ? 1 : 0;
    Check2_->setChecked(holdpc_ == 1);

    // The height is that of the controls and stays; the width is the user's, within limits.
    ensurePolished();
    const QSize natural = sizeHint();
    loadheight_ = natural.height();
    setFixedHeight(loadheight_);
    setMinimumWidth(minwidth);
    setMaximumWidth(maxwidth);
    int width = std::clamp(std::max(natural.width(), 700), minwidth, maxwidth);
    if (machinestate().optsavepositions != "OFF")
        width = twipstopixels(leadingint(regread("Window8 Width", std::to_string(pixelstotwips(width)))));
    resize(std::clamp(width, minwidth, maxwidth), loadheight_);
    placewindow(this, 8);

    toolrouter().opened(Tool::Form8, this, this);
    Timer1_->start();
    loadlisting();
}

void Form8::Form_Unload()
{
    closing_ = true;
    Timer1_->stop();
    painttimer_->stop();
    if (isMinimized() || isMaximized())
        showNormal();
    savewindowposition(this, 8);
    regwrite("Window8 Width", pixelstotwips(width()));
    if (toolrouter().window(Tool::Form8) == this)
        toolrouter().closed(Tool::Form8);
}

void Form8::closeEvent(QCloseEvent* event)
{
    if (!closing_)
        Form_Unload();
    event->accept();
}

void Form8::pumpevents(int n)
{
    for (int i = 0; i < n; ++i)
        QCoreApplication::processEvents();
}

// ---------------------------------------------------------------------------------------------
// The listing

void Form8::loadlisting()
{
    show();
    barmaximum_ = 1;
    vscrollbar1_->setMaximum(1);
    vscrollbar1_->setEnabled(false);
    showlocation(QString());
    for (QLabel* l : prekidlabela_)
        l->clear();
    listing_.clear();
    shown_ = 0;
    pcrow_ = -1;
    changed_ = true;
    view_->update();
    pumpevents(5);
    if (closing_)
        return;

    const QString path = findlisting();
    if (closing_)
        return;
    if (!path.isEmpty()) {
        showlocation(path);
        readlisting(path);
    }

    shown_ = std::min(listing_.count(), rows);
    barmaximum_ = listing_.count() < rows + 1 ? 1 : listing_.count() - (rows - 1);
    vscrollbar1_->setMaximum(barmaximum_);
    vscrollbar1_->setEnabled(listing_.count() >= rows + 1);
    bar_ = vscrollbar1_->value();
    sortbreakpoints();
    drawlines();
    listingready_ = true;
}

QString Form8::findlisting()
{
    const MachineState& st = st_;
    QString program;
    if (QWidget* main = commands().window ? commands().window() : nullptr)
        if (auto* qstaza = main->findChild<QLabel*>(QStringLiteral("qstaza")))
            program = qstaza->text();
    QString name = QFileInfo(program).fileName();
    if (const qsizetype dot = name.indexOf(QLatin1Char('.')); dot >= 0)
        name.truncate(dot);
    name += QStringLiteral(".lst");
    const QString folder = QString::fromStdString(st.lastpath);

    // The name as it stands, then the same name in any case.
    const QString exact = folder + name;
    if (QFileInfo(exact).isFile())
        return exact;
    const QDir dir(folder.isEmpty() ? QStringLiteral(".") : folder);
    for (const QString& entry : dir.entryList(QDir::Files | QDir::Hidden | QDir::System, QDir::Name))
        if (entry.compare(name, Qt::CaseInsensitive) == 0)
            return folder + entry;

    messagebox(this, QStringLiteral("Breakpoints Manager could not find corresponding listing file \r\n") + folder +
                         name + QStringLiteral(" created by assembler.\r\n") +
                         QStringLiteral("The listing file will be created by Kelvane disassembler.\r\n") +
                         QStringLiteral("Please, be patient."));
    if (closing_)
        return {};
    QString made = makelisting(folder, name);
    if (made.isEmpty()) // the program's folder can't be written: the user's own data folder
        made = makelisting(QString::fromStdString(apppath()), name);
    if (made.isEmpty())
        messagebox(this, QStringLiteral("The listing file ") + name + QStringLiteral(" could not be created."));
    return made;
}

QString Form8::makelisting(const QString& folder, const QString& name)
{
    const MachineState& st = st_;
    Disassembler engine; // a run of its own: the Disassembler window's program stays as it is
    engine.workfolder = std::filesystem::path(folder.toStdString());
    const int32_t size = std::clamp(st.programsize, 1, 65536);
    std::copy(st.mem.begin(), st.mem.begin() + size, engine.dasmimage.begin());
    engine.dasmsize = size;
    if (!engine.disassemble(true, false))
        return {};
    const std::filesystem::path target = engine.workfolder / name.toStdString();
    std::error_code ec;
    std::filesystem::rename(engine.resultpath(), target, ec);
    if (ec) {
        std::filesystem::remove(engine.resultpath(), ec);
        return {};
    }
    return folder + name;
}

void Form8::readlisting(const QString& path)
{
    QFile file(path);
    QByteArray bytes;
    bool ok = file.open(QIODevice::ReadOnly);
    if (ok) {
        bytes = file.readAll();
        ok = file.error() == QFileDevice::NoError;
    }
    if (!ok) {
        messagebox(this, QStringLiteral("The listing file ") + path + QStringLiteral(" could not be read."));
        return;
    }
    listing_.assign(std::string_view(bytes.constData(), static_cast<size_t>(bytes.size())));
}

// ---------------------------------------------------------------------------------------------
// Lines and markers

void Form8::readpoints()
{
    const BreakpointTexts& points = st_.breakpointaddress;
    for (int k = 0; k < 10; ++k)
        points_[static_cast<size_t>(k)] = parsehexword(points[k]);
    changed_ = true;
}

void Form8::placerows()
{
    changed_ = false;
    for (int32_t& a : placedaddress_) {
        if (a >= 0)
            rowat_[static_cast<size_t>(a)] = -1;
        a = -1;
    }
    // A caption shorter than 14 characters holds no code byte; a later line of the same address wins.
    if (linewidth_ < 14)
        return;
    for (int i = 0; i < shown_; ++i) {
        const int32_t a = listing_.codeaddress(bar_ + i);
        placedaddress_[static_cast<size_t>(i)] = a;
        if (a >= 0)
            rowat_[static_cast<size_t>(a)] = static_cast<int8_t>(i);
    }
}

void Form8::drawlines()
{
    const int32_t pc = st_.pc;
    const bool running = st_.running;
    if (!changed_ && pc == lastpc_ && running == lastrunning_)
        return; // nothing it depends on has changed since the last call
    if (changed_)
        placerows();
    lastpc_ = pc;
    lastrunning_ = running;

    // The arrow stands at the last line on view whose code address is the PC.
    const int row = static_cast<uint32_t>(pc) < 65536u ? rowat_[static_cast<size_t>(pc)] : -1;
    pcrow_ = row;

    // Keeping the PC in view during a run: outside lines 2-17 the PC's first line becomes the fourth.
    if ((row < 2 || row > rows - 3) && running && holdpc_ == 1) {
        if (const int32_t line = listing_.firstline(pc); line > 0) {
            const int value = std::clamp(line - 3, 1, barmaximum_);
            if (value != bar_) {
                bar_ = value; // the bar's change redraws
                changed_ = true;
                drawlines();
                return;
            }
        }
    }
    if (!paintdue_)
        requestpaint();
}

void Form8::requestpaint()
{
    paintdue_ = true;
    const qint64 since = sincepaint_.isValid() ? sincepaint_.elapsed() : paintinterval;
    if (since >= paintinterval)
        flush();
    else
        painttimer_->start(static_cast<int>(paintinterval - since));
}

void Form8::flush()
{
    paintdue_ = false;
    sincepaint_.start();
    if (vscrollbar1_->value() != bar_) {
        const QSignalBlocker quiet(vscrollbar1_);
        vscrollbar1_->setValue(bar_);
    }
    view_->update();
}

void Form8::setbarvalue(int value)
{
    value = std::clamp(value, 1, barmaximum_);
    if (value != vscrollbar1_->value()) {
        const QSignalBlocker quiet(vscrollbar1_);
        vscrollbar1_->setValue(value);
    }
    vscrollbar1_Change(value);
}

void Form8::vscrollbar1_Change(int value)
{
    if (value == bar_)
        return;
    bar_ = value;
    changed_ = true;
    if (listingready_)
        drawlines();
}

void Form8::setlinewidth()
{
    const double character = QFontMetricsF(view_->font()).horizontalAdvance(QLatin1Char('0'));
    const int width = std::max(0, static_cast<int>(std::floor(view_->textwidth() / character)) - 1);
    if (width == linewidth_)
        return;
    linewidth_ = width;
    changed_ = true;
    if (listingready_)
        drawlines();
}

QString Form8::linija(int i) const
{
    if (i < 0 || i >= shown_)
        return {};
    const std::string_view caption = firstcharacters(listing_.line(bar_ + i), linewidth_);
    return QString::fromUtf8(caption.data(), static_cast<qsizetype>(caption.size()));
}

bool Form8::prekidsimbol(int i) const
{
    if (i < 0 || i >= shown_ || linewidth_ < 14)
        return false;
    const int32_t address = listing_.codeaddress(bar_ + i);
    return address >= 0 && std::find(points_.begin(), points_.end(), address) != points_.end();
}

QString Form8::prekidlabela(int i) const
{
    return prekidlabela_[static_cast<size_t>(i)]->text();
}

QString Form8::imelabela() const
{
    return location_;
}

void Form8::showlocation(const QString& path)
{
    location_ = path;
    imelabela_->setToolTip(path);
    const int room = std::max(0, imelabela_->contentsRect().width() - 4);
    imelabela_->setText(imelabela_->fontMetrics().elidedText(path, Qt::ElideMiddle, room));
}

QWidget* Form8::lineview() const
{
    return view_;
}

QRect Form8::linerect(int i) const
{
    return view_->rowrect(i);
}

// ---------------------------------------------------------------------------------------------
// Breakpoints

void Form8::sortbreakpoints()
{
    BreakpointTexts& points = st_.breakpointaddress;
    std::array<int32_t, 10> values{};
    for (int i = 0; i < 10; ++i)
        values[static_cast<size_t>(i)] = points[i].empty() ? emptyentry : parsehexword(points[i]);
    std::sort(values.begin(), values.end());
    for (int i = 0; i < 10; ++i) {
        const int32_t v = values[static_cast<size_t>(i)];
        points.set(i, v == emptyentry ? std::string() : hexword(v));
        prekidlabela_[static_cast<size_t>(i)]->setText(QString::fromStdString(points[i]));
    }
    readpoints();
}

void Form8::linija_Click(int i)
{
    if (i < 0 || i >= shown_)
        return;
    const std::string_view caption = firstcharacters(listing_.line(bar_ + i), linewidth_);
    const LineFields f = linefields(caption);
    if (!f.codeline())
        return;
    BreakpointTexts& points = st_.breakpointaddress;
    const std::string text = hexword(f.address);
    int at = -1;
    for (int k = 0; k < 10 && at < 0; ++k)
        if (points[k] == text)
            at = k;
    if (at >= 0) {
        points.set(at, std::string());
    } else {
        int empty = -1;
        for (int k = 0; k < 10 && empty < 0; ++k)
            if (points[k].empty())
                empty = k;
        if (empty >= 0)
            points.set(empty, text);
        else
            confirm(this, QStringLiteral("You can not define more than 10 breakpoints."));
    }
    sortbreakpoints();
    drawlines();
}

void Form8::Command1_Click()
{
    st_.breakpointaddress.clear();
    sortbreakpoints();
    drawlines();
}

void Form8::Check2_Click(bool checked)
{
    holdpc_ = checked ? 1 : 0;
    regwrite("Hold PC In Focus", holdpc_);
    changed_ = true;
    if (listingready_)
        drawlines();
}

void Form8::Timer1_Timer()
{
    if (listingready_)
        drawlines();
}

// ---------------------------------------------------------------------------------------------
// Wheel, resize

void Form8::wheel(int delta)
{
    wheelrest_ += delta;
    const int notches = wheelrest_ / wheelnotch;
    if (notches == 0)
        return;
    wheelrest_ -= notches * wheelnotch;
    setbarvalue(bar_ - notches * wheellines);
}

bool Form8::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == vscrollbar1_ && event->type() == QEvent::Wheel) {
        wheelEvent(static_cast<QWheelEvent*>(event));
        return true;
    }
    return QWidget::eventFilter(watched, event);
}

void Form8::wheelEvent(QWheelEvent* event)
{
    wheel(event->angleDelta().y());
    event->accept();
}

void Form8::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    if (isMinimized())
        return;
    showlocation(location_);
    // The lines follow the view's own resize (setlinewidth); here only the limits are kept.
    if (loadheight_ > 0 && (height() != loadheight_ || width() < minwidth || width() > maxwidth))
        resize(std::clamp(width(), minwidth, maxwidth), loadheight_);
}

} // namespace kelvane
