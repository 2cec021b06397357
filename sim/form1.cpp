#include "sim/form1.h"

#include "core/execute.h"
#include "core/hexutil.h"
#include "core/interrupts.h"
#include "progfiles/programload.h"
#include "shell/about.h"
#include "shell/help.h"
#include "shell/messages.h"
#include "shell/theme.h"
#include "sim/machinestate.h"
#include "sim/optionsdialogs.h"
#include "sim/portdialogs.h"
#include "sim/programfiles_ui.h"
#include "sim/settings.h"
#include "sim/toolrouter.h"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QDesktopServices>
#include <QElapsedTimer>
#include <QFontDatabase>
#include <QFrame>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QPainter>
#include <QPushButton>
#include <QStyle>
#include <QStyleOption>
#include <QThread>
#include <QTimer>
#include <QUrl>
#include <QVBoxLayout>

#include <chrono>
#include <ctime>

namespace kelvane {

namespace {

// Slots of the panel's value labels, in the order ekran writes them.
enum PanelSlot : size_t {
    sqinstrukcija,
    sqinstrukcijanext,
    sqinst,
    sqtaktvreme,
    sqa,
    sqb,
    sqc,
    sqd,
    sqe,
    sqh,
    sql,
    sqfs,
    sqfz,
    sqf5,
    sqfac,
    sqf3,
    sqfp,
    sqf1,
    sqfcy,
    sqsp,
    sqpc,
    sqf,
    sqhl,
    sslotcount
};

// The registers and flags that direct entry can change: label, frame, box width in twips,
// maximum length, and the field it writes.
struct EntryTarget {
    const char* label;
    const char* frame;
    int twips;
    int maxlength;
    int32_t MachineState::*field;
};

constexpr EntryTarget entrytargets[] = {
    {"qa", "Frame1", 480, 2, &MachineState::a},     {"qb", "Frame2", 480, 2, &MachineState::b},
    {"qc", "Frame2", 480, 2, &MachineState::c},     {"qd", "Frame2", 480, 2, &MachineState::d},
    {"qe", "Frame2", 480, 2, &MachineState::e},     {"qh", "Frame3", 480, 2, &MachineState::h},
    {"ql", "Frame3", 480, 2, &MachineState::l},     {"qfs", "Frame6", 240, 1, &MachineState::fs},
    {"qfz", "Frame6", 240, 1, &MachineState::fz},   {"qfac", "Frame6", 240, 1, &MachineState::fac},
    {"qfp", "Frame6", 240, 1, &MachineState::fp},   {"qfcy", "Frame6", 240, 1, &MachineState::fcy},
    {"qsp", "Frame5", 765, 4, &MachineState::sp},   {"qpc", "Frame5", 765, 4, &MachineState::pc},
};

const EntryTarget* findtarget(const QString& name)
{
    for (const auto& t : entrytargets)
        if (name == QLatin1String(t.label))
            return &t;
    return nullptr;
}

// The program's location: a path of any length is shown elided in the middle within the width
// the panel gives it, the whole path in its tool tip; its text never asks the window for room.
class PathLabel : public QLabel {
public:
    using QLabel::QLabel;
    void setpath(const QString& path)
    {
        setText(path);
        setToolTip(path);
        update();
    }
    QSize sizeHint() const override { return {120, QLabel::sizeHint().height()}; }
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        QStyleOption option;
        option.initFrom(this);
        style()->drawPrimitive(QStyle::PE_Widget, &option, &painter, this);
        const QRect area = contentsRect();
        const QString shown = fontMetrics().elidedText(text(), Qt::ElideMiddle, area.width());
        style()->drawItemText(&painter, area, Qt::AlignLeft | Qt::AlignVCenter, palette(), isEnabled(), shown,
                              foregroundRole());
    }
};

} // namespace

// ---------------------------------------------------------------------------------------------
// Hooks

void PanelHooks::ekran(MachineState& st)
{
    composepanelvalues(st);
    form_.ekran();
}

void PanelHooks::logrow(const MachineState& st, int32_t address)
{
    // The row is composed once: into the log's block when the file is open, and the viewer reads
    // it there; otherwise here, for the viewer alone.
    SimLog& log = form_.simlog();
    ToolRouter& router = toolrouter();
    if (log.isopen()) {
        const std::string_view row = log.row(st, address);
        if (router.viewertakes())
            router.logadd(row);
    } else if (router.viewertakes()) {
        char row[logrowmax];
        router.logadd(std::string_view(row, static_cast<size_t>(viewerrows_.put(row, st, address) - row)));
    }
}

void PanelHooks::toolrefresh(MachineState& st)
{
    toolrouter().toolrefresh(st);
}

void PanelHooks::ioprint(MachineState& st)
{
    (void)st;
    toolrouter().ioprint();
}

void PanelHooks::devicerefresh(MachineState& st, int n, int32_t value)
{
    (void)st;
    toolrouter().devicerefresh(n, value);
}

void PanelHooks::interruptbuttonschanged(MachineState& st)
{
    (void)st;
    form_.showbuttons();
}

void PanelHooks::menuspeed1(MachineState& st)
{
    (void)st;
    form_.menuspeed_Click(1);
}

void PanelHooks::pumpevents()
{
    form_.pump(1);
}

void PanelHooks::resetpause(MachineState& st)
{
    form_.resetpause(st);
}

void PanelHooks::inprompt(MachineState& st, int32_t port)
{
    form_.centralWidget()->setUpdatesEnabled(true); // the panel stays painted behind the dialog
    inentrydialog(st, port, &form_);
}

int32_t PanelHooks::intrchoice(MachineState& st)
{
    (void)st;
    form_.centralWidget()->setUpdatesEnabled(true);
    const QString prompt = "Enter the choice of instruction supplied by the peripheral device.\n"
                           "1 - RST 0\n2 - RST 1\n3 - RST 2\n4 - RST 3\n5 - RST 4\n6 - RST 5\n7 - RST 6\n8 - RST 7";
    QString shown = prompt;
    for (;;) {
        bool ok = false;
        const QString answer = inputbox(&form_, shown, QString(), &ok);
        if (ok) {
            // The answer's leading number, rounded to an integer.
            const int32_t n = leadingint(answer.toStdString());
            if (n >= 1 && n <= 8)
                return n;
        }
        shown = "Wrong entry.\n" + prompt;
    }
}

void PanelHooks::logline(const char* text)
{
    form_.simlog().line(text);
}

// ---------------------------------------------------------------------------------------------
// Construction

Form1::Form1(QWidget* parent) : QMainWindow(parent), hooks_(std::make_unique<PanelHooks>(*this))
{
    setObjectName("Form1");
    buildpanel();
    buildmenus();
    ultimatetimer_ = new QTimer(this);
    ultimatetimer_->setObjectName("ultimatetimer");
    connect(ultimatetimer_, &QTimer::timeout, this, &Form1::ultimatetimer_Timer);
    setmachinehooks(hooks_.get());
    fillmaincommands();
    toolrouter().themehook = [this] { settheme(); };
    Form_Load();
}

// Form_Load: window positions created, settings read, the stored rate, the window placed.
void Form1::Form_Load()
{
    presetpositions();
    loadtheme();
    settheme();
    loadsettings();
    placewindow(this, 1);
    setWindowTitle(titletext());
    if (QAction* a = action("menuabout"))
        a->setText("About " + titletext().trimmed());
}

void Form1::loadsettings()
{
    auto& st = machinestate();
    readoptions(st);
    for (const OptionToggle& t : optiontoggles)
        if (QAction* a = action(t.control))
            a->setChecked(st.*(t.field) == "ON");
    clean(st, *hooks_);
    menustep_->setEnabled(false);
    menustep2_->setVisible(false);
    menustop_->setEnabled(false);
    const int32_t rate = leadingint(regread("Simulation Rate"));
    if (rate >= 1 && rate <= 6)
        menuspeed_Click(rate);
    showbuttons();
    if (toolrouter().kreirajobjekte)
        toolrouter().kreirajobjekte();
}

Form1::~Form1()
{
    toolrouter().maincommands = MainCommands{};
    toolrouter().themehook = nullptr;
    setmachinehooks(nullptr);
}

void Form1::fillmaincommands()
{
    MainCommands& m = toolrouter().maincommands;
    m.menustart = [this] { menustart_Click(); };
    m.menustep = [this] { menustep_Click(); };
    m.menustop = [this] { menustop_Click(false); };
    m.menuspeed = [this](int n) { menuspeed_Click(n); };
    m.startenabled = [this] { return menustart_->isEnabled(); };
    m.stepenabled = [this] { return menustep_->isEnabled(); };
    m.stopenabled = [this] { return menustop_->isEnabled(); };
    m.interruptbutton = [this](int n) { interruptbutton_Click(n); };
    m.clickreset = [this] { clickreset(); };
    m.ekran = [this] { hooks_->ekran(machinestate()); };
    m.filemenuhooks = [this] { return filemenuhooks(); };
    m.window = [this]() -> QWidget* { return this; };
}

QLabel* Form1::label(const char* name) const
{
    return findChild<QLabel*>(QString::fromLatin1(name));
}

QAction* Form1::action(const char* name) const
{
    return findChild<QAction*>(QString::fromLatin1(name));
}

void Form1::buildpanel()
{
    auto* panel = new QWidget(this);
    panel->setObjectName("panel");
    panel->setStyleSheet(panelsheet());
    setCentralWidget(panel);
    panel->installEventFilter(this);

    QFont fixed = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    fixed.setPointSizeF(std::max(fixed.pointSizeF(), 10.0) * 1.35);
    fixed.setBold(true);
    QFont widefont = fixed;
    widefont.setPointSizeF(fixed.pointSizeF() * 0.85);

    auto watch = [this](QWidget* w) { w->installEventFilter(this); };

    // A value read-out with its caption above it (the caption belongs to the label array l).
    auto value = [&](const char* name, const char* caption, int digits, QGridLayout* grid, int col,
                     size_t slot) -> QLabel* {
        auto* cap = new QLabel(caption);
        cap->setObjectName(QString("l_%1").arg(name));
        cap->setProperty("role", "caption");
        cap->setAlignment(Qt::AlignCenter);
        watch(cap);
        auto* v = new QLabel;
        v->setObjectName(name);
        v->setProperty("role", "value");
        v->setFont(fixed);
        v->setAlignment(Qt::AlignCenter);
        const QFontMetrics fm(fixed);
        v->setMinimumWidth(fm.horizontalAdvance(QString(digits, '8')) + 16);
        v->setFixedHeight(fm.height() + 8);
        watch(v);
        grid->addWidget(cap, 0, col, Qt::AlignHCenter | Qt::AlignBottom);
        grid->addWidget(v, 1, col, Qt::AlignHCenter);
        panel_[slot] = v;
        return v;
    };
    auto frame = [&](const char* name, const char* caption) {
        auto* g = new QGroupBox(caption);
        g->setObjectName(name);
        // The caption is bold and stands 8 pixels in: the frame is at least that wide.
        QFont bold = g->font();
        bold.setBold(true);
        g->setMinimumWidth(QFontMetrics(bold).horizontalAdvance(QString::fromLatin1(caption)) + 24);
        watch(g);
        auto* grid = new QGridLayout(g);
        grid->setHorizontalSpacing(8);
        grid->setVerticalSpacing(2);
        return std::pair{g, grid};
    };

    auto [f1, g1] = frame("Frame1", " Program Status Word ");
    value("qa", "A", 2, g1, 0, sqa);
    value("qf", "F", 2, g1, 1, sqf);

    auto [f2, g2] = frame("Frame2", " Main Registers ");
    value("qb", "B", 2, g2, 0, sqb);
    value("qc", "C", 2, g2, 1, sqc);
    value("qd", "D", 2, g2, 2, sqd);
    value("qe", "E", 2, g2, 3, sqe);

    auto [f3, g3] = frame("Frame3", " Data Pointer ");
    value("qh", "H", 2, g3, 0, sqh);
    value("ql", "L", 2, g3, 1, sql);
    value("qhl", "(HL)", 2, g3, 2, sqhl);

    auto [f5, g5] = frame("Frame5", " Program Counter and Stack Pointer ");
    value("qpc", "PC", 4, g5, 0, sqpc);
    value("qsp", "SP", 4, g5, 1, sqsp);

    auto [f6, g6] = frame("Frame6", " Flag Register ");
    value("qfs", "S", 1, g6, 0, sqfs);
    value("qfz", "Z", 1, g6, 1, sqfz);
    value("qf5", "5", 1, g6, 2, sqf5);
    value("qfac", "AC", 1, g6, 3, sqfac);
    value("qf3", "3", 1, g6, 4, sqf3);
    value("qfp", "P", 1, g6, 5, sqfp);
    value("qf1", "1", 1, g6, 6, sqf1);
    value("qfcy", "CY", 1, g6, 7, sqfcy);

    auto [f4, g4] = frame("Frame4", " Simulation Statistics ");
    {
        QGridLayout* grid4 = g4; // a lambda may not capture a structured binding before C++20 in every compiler
        auto counter = [&](const char* name, const char* caption, int row, size_t slot) {
            auto* cap = new QLabel(caption);
            cap->setObjectName(QString("l_%1").arg(name));
            cap->setProperty("role", "caption");
            watch(cap);
            auto* v = new QLabel;
            v->setObjectName(name);
            v->setProperty("role", "wide");
            v->setFont(widefont);
            v->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
            v->setText(QStringLiteral("-2147483648")); // sized below for the widest count
            watch(v);
            grid4->addWidget(cap, row * 2, 0);
            grid4->addWidget(v, row * 2 + 1, 0);
            panel_[slot] = v;
        };
        counter("qtaktvreme", "Clock Cycles Counter", 0, sqtaktvreme);
        counter("qinst", "Instructions Counter", 1, sqinst);
    }

    // Last and next instruction, outside the frames.
    auto* instr = new QWidget;
    instr->setObjectName("instructions");
    auto* ig = new QGridLayout(instr);
    ig->setContentsMargins(4, 10, 4, 4);
    auto wide = [&](const char* name, const char* caption, int row, size_t slot) {
        auto* cap = new QLabel(caption);
        cap->setObjectName(QString("l_%1").arg(name));
        cap->setProperty("role", "caption");
        watch(cap);
        auto* v = new QLabel;
        v->setObjectName(name);
        v->setProperty("role", "wide");
        v->setFont(widefont);
        v->setMinimumWidth(QFontMetrics(widefont).horizontalAdvance(QString(30, 'M')) + 16);
        watch(v);
        ig->addWidget(cap, row * 2, 0, Qt::AlignLeft);
        ig->addWidget(v, row * 2 + 1, 0, Qt::AlignLeft);
        if (slot < sslotcount)
            panel_[slot] = v;
        return v;
    };
    wide("qinstrukcija", "Last Instruction", 0, sqinstrukcija);
    wide("qinstrukcijanext", "Next Instruction", 1, sqinstrukcijanext);

    // The interrupt buttons; SID and SOD beside them.
    auto [f7, g7] = frame("Frame7", " Interrupt Control ");
    const char* captions[] = {"", "RESET", "TRAP", "RST 7.5", "RST 6.5", "RST 5.5", "INTR"};
    for (int i = 1; i <= 6; ++i) {
        auto* b = new QPushButton(captions[i]);
        b->setObjectName(QString("Command%1").arg(i));
        b->setFocusPolicy(Qt::StrongFocus);
        g7->addWidget(b, 0, i - 1);
        commands_[static_cast<size_t>(i)] = b;
    }
    connect(commands_[1], &QPushButton::pressed, this, &Form1::Command1_MouseDown);
    connect(commands_[1], &QPushButton::released, this, &Form1::Command1_MouseUp);
    for (int i = 2; i <= 6; ++i)
        connect(commands_[static_cast<size_t>(i)], &QPushButton::clicked, this, [this, i] { interruptbutton_Click(i); });

    auto* serial = new QWidget;
    serial->setObjectName("serial");
    auto* sl = new QVBoxLayout(serial);
    sl->setContentsMargins(4, 14, 4, 4);
    commands_[7] = new QPushButton("SID = 0");
    commands_[7]->setObjectName("Command7");
    connect(commands_[7], &QPushButton::clicked, this, &Form1::Command7_Click);
    sodlabel_ = new QLabel("SOD = 0");
    sodlabel_->setObjectName("sodlabel");
    sodlabel_->setProperty("role", "wide");
    sodlabel_->setFont(widefont);
    sodlabel_->setAlignment(Qt::AlignCenter);
    watch(sodlabel_);
    sl->addWidget(commands_[7]);
    sl->addWidget(sodlabel_);

    // Program location.
    auto* loc = new QWidget;
    auto* ll = new QHBoxLayout(loc);
    ll->setContentsMargins(4, 0, 4, 0);
    auto* loccap = new QLabel("Program Location");
    loccap->setObjectName("l_qstaza");
    loccap->setProperty("role", "caption");
    watch(loccap);
    auto* qstaza = new PathLabel;
    qstaza->setObjectName("qstaza");
    qstaza->setProperty("role", "path");
    watch(qstaza);
    ll->addWidget(loccap);
    ll->addWidget(qstaza, 1);

    auto* grid = new QGridLayout(panel);
    grid->setContentsMargins(10, 8, 10, 8);
    grid->setHorizontalSpacing(10);
    grid->setVerticalSpacing(6);
    grid->addWidget(f1, 0, 0);
    grid->addWidget(f2, 0, 1);
    grid->addWidget(f3, 0, 2);
    grid->addWidget(f5, 1, 0);
    grid->addWidget(f6, 1, 1, 1, 2);
    grid->addWidget(instr, 2, 0, 1, 2);
    grid->addWidget(f4, 2, 2);
    grid->addWidget(f7, 3, 0, 1, 2);
    grid->addWidget(serial, 3, 2);
    grid->addWidget(loc, 4, 0, 1, 3);
    grid->setSizeConstraint(QLayout::SetFixedSize);
    // The read-outs keep their size whatever they show, so a new text never relayouts the panel.
    panel->ensurePolished();
    for (QLabel* v : panel_)
        if (v) {
            v->ensurePolished();
            v->setFixedSize(v->sizeHint().expandedTo(v->minimumSize()));
            v->clear();
        }

    // Frame10 with the entry box: hidden except during an entry.
    Frame10_ = new QFrame(panel);
    Frame10_->setObjectName("Frame10");
    Frame10_->setFrameShape(QFrame::NoFrame);
    auto* fl = new QHBoxLayout(Frame10_);
    fl->setContentsMargins(0, 0, 0, 0);
    Text1_ = new QLineEdit(Frame10_);
    Text1_->setObjectName("Text1");
    Text1_->setFont(fixed);
    Text1_->setAlignment(Qt::AlignCenter);
    Text1_->setStyleSheet(entrysheet());
    Text1_->installEventFilter(this);
    fl->addWidget(Text1_);
    Frame10_->hide();
}

void Form1::buildmenus()
{
    auto* bar = menuBar();
    auto& st = machinestate();

    auto* menu1 = bar->addMenu("&File");
    menu1->setObjectName("menu1");
    auto fileitem = [&](const char* caption, const char* name, QKeySequence key, auto fn) {
        QAction* a = menu1->addAction(caption, key, this, fn);
        a->setObjectName(name);
    };
    fileitem("&Clear Memory", "menuclear", QKeySequence(Qt::CTRL | Qt::Key_C),
             [this] { menuclear_Click(machinestate(), this, filemenuhooks()); });
    fileitem("&Load Program", "menuload", QKeySequence(Qt::CTRL | Qt::Key_L),
             [this] { menuload_Click(machinestate(), this, filemenuhooks()); });
    fileitem("&Save Memory", "menusave", QKeySequence(Qt::CTRL | Qt::Key_S),
             [this] { menusave_Click(machinestate(), this, filemenuhooks()); });

    auto* menu2 = bar->addMenu("&Simulation");
    menu2->setObjectName("menu2");
    menustart_ = menu2->addAction("&1 Start", QKeySequence(Qt::Key_F1), this, &Form1::menustart_Click);
    menustart_->setObjectName("menustart");
    menustep_ = menu2->addAction("&2 Step", QKeySequence(Qt::Key_F2), this, &Form1::menustep_Click);
    menustep_->setObjectName("menustep");
    menustop_ = menu2->addAction("&3 Stop", QKeySequence(Qt::Key_F3), this, [this] { menustop_Click(false); });
    menustop_->setObjectName("menustop");

    auto* menu3 = bar->addMenu("&Rate");
    menu3->setObjectName("menu3");
    const char* rates[] = {"", "&1 Step By Step", "&2 Slow", "&3 Normal", "&4 Fast", "&5 Extremely Fast", "&6 Ultimate"};
    const Qt::Key keys[] = {Qt::Key_unknown, Qt::Key_F1, Qt::Key_F2, Qt::Key_F3, Qt::Key_F4, Qt::Key_F5, Qt::Key_F6};
    for (int n = 1; n <= 6; ++n) {
        auto* a = menu3->addAction(rates[n], QKeySequence(Qt::CTRL | keys[n]), this, [this, n] { menuspeed_Click(n); });
        a->setObjectName(QString("menuspeed%1").arg(n));
        a->setCheckable(true);
        menuspeed_[static_cast<size_t>(n)] = a;
    }

    // Tools: every tool window, shown modelessly, one instance each.
    auto* menu4 = bar->addMenu("&Tools");
    menu4->setObjectName("menu4");
    struct ToolItem {
        const char* caption;
        const char* name;
        Qt::Key key;
        Tool tool;
    };
    static constexpr ToolItem toolitems[] = {
        {"&Memory Editor", "menueditor", Qt::Key_M, Tool::Form2},
        {"&Disassembler", "menudisassembler", Qt::Key_D, Tool::Form9},
        {"&Peripheral Devices", "menuperipheral", Qt::Key_P, Tool::Form5},
        {"&I/O Ports Editor", "menuio", Qt::Key_I, Tool::Form20},
        {"E&xternal Modules", "menuexternal", Qt::Key_X, Tool::Form21},
        {"&Assembler", "menuassembler", Qt::Key_A, Tool::Form6},
        {"&Breakpoints Manager", "menubreak", Qt::Key_B, Tool::Form8},
        {"BASIC Compile&r", "menucompiler", Qt::Key_R, Tool::Form12},
        {"Simulation Log &Viewer", "menulogviewer", Qt::Key_V, Tool::Form16},
        {"Interactive Assembler &Editor", "menuinteractive", Qt::Key_E, Tool::Form17},
    };
    for (const ToolItem& t : toolitems) {
        const Tool tool = t.tool;
        QAction* a = menu4->addAction(t.caption, QKeySequence(Qt::CTRL | t.key), this, [this, tool] {
            dismissentry();
            if (tool == Tool::Form8 && machinestate().programsize == 0) {
                confirm(this, QStringLiteral("Please load program file first."));
                return;
            }
            toolrouter().show(tool);
        });
        a->setObjectName(t.name);
    }

    // Options: the toggles of the table with the three dialogs in their places.
    auto* menu5 = bar->addMenu("&Options");
    menu5->setObjectName("menu5");
    auto toggle = [&](size_t i) {
        const OptionToggle& t = optiontoggles[i];
        QAction* a = menu5->addAction(t.caption);
        a->setObjectName(t.control);
        a->setCheckable(true);
        a->setChecked(st.*(t.field) == "ON");
        connect(a, &QAction::triggered, this, [this, i](bool checked) {
            auto& ms = machinestate();
            toggleoption(ms, optiontoggles[i], checked);
            if (std::string_view(optiontoggles[i].control) == "menuffpowerondefaults")
                clean(ms, *hooks_);
            toolrouter().recompute(); // the refresh options decide what runs after each instruction
        });
    };
    auto dialog = [&](const char* caption, const char* name, auto fn) {
        QAction* a = menu5->addAction(caption, this, fn);
        a->setObjectName(name);
    };
    for (size_t i = 0; i < 6; ++i)
        toggle(i);
    dialog("Change Clock Frequency", "menuclock", [this] { menuclock_Click(machinestate(), this); });
    dialog("Change Starting Address", "menuaddress",
           [this] { menuaddress_Click(machinestate(), *hooks_, this); });
    for (size_t i = 6; i < optiontoggles.size(); ++i)
        toggle(i);
    dialog("Change Ultimate Rate Refresh Interval", "menuultimaterefresh",
           [this] { menuultimaterefresh_Click(machinestate(), this); });
    dialog("Editor Setup", "menueditorsetup", [] { toolrouter().show(Tool::Form04); });
    dialog("Change Color Theme", "menucolors", [] { toolrouter().show(Tool::Form15); });

    auto* menu6 = bar->addMenu("&Help");
    menu6->setObjectName("menu6");
    QAction* help = menu6->addAction("Help Topics", this, [this] { showhelp(this); });
    help->setObjectName("menuhelp");
    QAction* updates = menu6->addAction("Check For Updates", this, [] { toolrouter().show(Tool::Form60); });
    updates->setObjectName("menuupdates");
    QAction* about = menu6->addAction("About " + titletext().trimmed(), this, [this] { showabout(this); });
    about->setObjectName("menuabout");

    menustep2_ = bar->addAction("STEP");
    menustep2_->setObjectName("menustep2");
    connect(menustep2_, &QAction::triggered, this, &Form1::menustep2_Click);

    // Opening any main menu dismisses an entry in progress.
    for (QMenu* m : {menu1, menu2, menu3, menu4, menu5, menu6})
        connect(m, &QMenu::aboutToShow, this, &Form1::dismissentry);
}

// ---------------------------------------------------------------------------------------------
// Event pump, messages, settings

void Form1::pump(int n)
{
    // The first pass takes everything the window system has for us (input, timers, paints); the
    // further passes deliver what the handlers of the first one posted, without asking the window
    // system again, which is what made repeated passes cost a system call each.
    if (n <= 0)
        return;
    QCoreApplication::processEvents(QEventLoop::AllEvents);
    for (int i = 1; i < n; ++i)
        QCoreApplication::sendPostedEvents();
}

void Form1::tell(const std::string& text)
{
    if (messagesink) {
        messagesink(text);
        return;
    }
    confirm(this, text);
}

void Form1::saverate()
{
    regwrite("Simulation Rate", machinestate().simrate);
}

int Form1::ultimateinterval()
{
    // Read afresh at each use; a value outside 1-2000 put into the store by hand counts as the default.
    const int32_t ms = leadingint(regread("Ultimate Timer"));
    return ms >= 1 && ms <= 2000 ? ms : 500;
}

void Form1::startultimatetimer()
{
    ultimatetimer_->start(ultimateinterval());
    machinestate().refreshrequest = false;
}

std::string Form1::loadprogramfile(const QString& path)
{
    auto& st = machinestate();
    std::vector<int32_t> image(65536, 0);
    const ProgramLoadResult r = loadprogram(path.toStdString(), "", image.data());
    if (r.status != LoadStatus::ok)
        return r.message.empty() ? "The file could not be read." : r.message;
    std::copy(image.begin(), image.end(), st.mem.begin());
    st.programsize = r.size;
    setprogramlocation(path);
    clean(st, *hooks_);
    return {};
}

void Form1::setprogramlocation(const QString& path)
{
    static_cast<PathLabel*>(label("qstaza"))->setpath(path);
}

FileMenuHooks Form1::filemenuhooks()
{
    FileMenuHooks h;
    h.setqstaza = [this](const QString& path) { setprogramlocation(path); };
    h.clean = [this] { clean(machinestate(), *hooks_); };
    h.enablemenus = [this](bool on) {
        for (QMenu* m : menuBar()->findChildren<QMenu*>(QString(), Qt::FindDirectChildrenOnly))
            m->menuAction()->setEnabled(on);
    };
    h.pumpevents = [this] { pump(1); };
    h.memorijaprint = [] { toolrouter().memorijaprint(); };
    h.unloadbreakpoints = [] { toolrouter().unloadbreakpoints(); };
    return h;
}

// ---------------------------------------------------------------------------------------------
// The panel

void Form1::setpanel(QLabel* lab, size_t slot, const std::string& text)
{
    if (shown_[slot] == text)
        return;
    shown_[slot] = text;
    lab->setText(QString::fromStdString(text));
}

void Form1::ekran()
{
    auto& st = machinestate();
    setpanel(panel_[sqinstrukcija], sqinstrukcija, st.lastinstruction.str());
    setpanel(panel_[sqinstrukcijanext], sqinstrukcijanext, st.nextinstruction.str());
    setpanel(panel_[sqinst], sqinst, std::to_string(st.instructioncount));
    setpanel(panel_[sqtaktvreme], sqtaktvreme, std::to_string(st.cyclecount));
    pump(5);
    const int32_t regs[] = {st.a, st.b, st.c, st.d, st.e, st.h, st.l};
    for (size_t i = 0; i < 7; ++i)
        setpanel(panel_[sqa + i], sqa + i, hexbyte(regs[i]));
    const int32_t flags[] = {st.fs, st.fz, st.f5, st.fac, st.f3, st.fp, st.f1, st.fcy};
    for (size_t i = 0; i < 8; ++i)
        setpanel(panel_[sqfs + i], sqfs + i, std::to_string(flags[i]));
    setpanel(panel_[sqsp], sqsp, hexword(st.sp));
    setpanel(panel_[sqpc], sqpc, hexword(st.pc));
    composepanelvalues(st);
    setpanel(panel_[sqf], sqf, hexbyte(st.f));
    setpanel(panel_[sqhl], sqhl, hexbyte(st.hlvalue));
    const QString sid = QStringLiteral("SID = %1").arg(st.sid);
    if (commands_[7]->text() != sid)
        commands_[7]->setText(sid);
    const QString sod = QStringLiteral("SOD = %1").arg(st.sod);
    if (sodlabel_->text() != sod)
        sodlabel_->setText(sod);
    pump(5);
}

bool Form1::entryopen() const
{
    return Frame10_->isVisible();
}

void Form1::panelclick(const QString& name)
{
    const EntryTarget* t = findtarget(name);
    if (!t) {
        dismissentry();
        return;
    }
    const auto& st = machinestate();
    // Only in the Stepping state: rate 1, a run in progress, no instruction under way.
    if (st.simrate != 1 || menustart_->isEnabled() || loopactive_)
        return;
    openentry(findChild<QLabel*>(t->label), findChild<QGroupBox*>(t->frame), t->twips, t->maxlength);
    editedregister_ = t->label;
}

void Form1::openentry(QLabel* target, QGroupBox* frame, int twips, int maxlength)
{
    (void)frame; // the label's place within its frame plus the frame's place: mapped at once
    QWidget* panel = centralWidget();
    const QPoint at = target->mapTo(panel, QPoint(0, 0));
    const int width = std::max(twips / 15, target->width());
    // The box sits over the label, 20 twips higher.
    Frame10_->setGeometry(at.x() + (target->width() - width) / 2, at.y() - 1, width, target->height() + 2);
    Text1_->setMaxLength(maxlength);
    Frame10_->raise();
    Frame10_->show();
    Text1_->setFocus(Qt::OtherFocusReason);
    Text1_->clear();
}

void Form1::dismissentry()
{
    if (!Frame10_)
        return;
    if (Frame10_->isVisible())
        Frame10_->hide();
    Text1_->clear();
}

void Form1::Text1_KeyPress(int key)
{
    if (key == 13) {
        commitentry();
        Frame10_->hide();
        Text1_->clear();
    } else if (key == 27) {
        Frame10_->hide();
        Text1_->clear();
    }
}

void Form1::commitentry()
{
    auto& st = machinestate();
    const EntryTarget* t = findtarget(editedregister_);
    if (!t || st.simrate != 1 || menustart_->isEnabled() || loopactive_)
        return;
    std::string text = Text1_->text().toUpper().toStdString();
    if (t->maxlength == 4) {
        if (text.size() < 4)
            text.insert(0, 4 - text.size(), '0');
        const int32_t v = parsehexword(text);
        if (v == -1)
            return;
        st.*(t->field) = v;
    } else {
        if (text.size() < 2)
            text.insert(0, 2 - text.size(), '0');
        const int32_t v = parsehexbyte(text);
        if (v == -1)
            return;
        if (t->maxlength == 1 && v > 1)
            return;
        st.*(t->field) = v;
    }
    hooks_->ekran(st);
}

bool Form1::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == Text1_) {
        if (event->type() == QEvent::KeyPress) {
            const int k = static_cast<QKeyEvent*>(event)->key();
            if (k == Qt::Key_Return || k == Qt::Key_Enter) {
                Text1_KeyPress(13);
                return true;
            }
            if (k == Qt::Key_Escape) {
                Text1_KeyPress(27);
                return true;
            }
        } else if (event->type() == QEvent::FocusOut) {
            // Text1_LostFocus; a switch to another application's window is not a loss of focus
            // within the panel, and the entry is still there on return.
            if (static_cast<QFocusEvent*>(event)->reason() != Qt::ActiveWindowFocusReason)
                dismissentry();
        }
        return QMainWindow::eventFilter(watched, event);
    }
    if (event->type() == QEvent::MouseButtonPress) {
        // The press is taken here: a label ignores it, and passed on it would reach the label's
        // frame and the panel, whose clicks dismiss the box that this one has just opened.
        panelclick(watched->objectName());
        return true;
    }
    return QMainWindow::eventFilter(watched, event);
}

// ---------------------------------------------------------------------------------------------
// Buttons

void Form1::showbuttons()
{
    const auto& en = machinestate().commandenabled;
    for (size_t i = 1; i <= 7; ++i)
        if (commands_[i]->isEnabled() != en[i])
            commands_[i]->setEnabled(en[i]);
}

void Form1::interruptbutton_Click(int command)
{
    dismissentry();
    auto& st = machinestate();
    if (!st.commandenabled[static_cast<size_t>(command)])
        return;
    if (loopactive_ && st.simrate == 1) {
        // A Step is under way: the after-work of its instruction serves the press.
        bool* pending[] = {&st.pendingtrap, &st.pendingrst75, &st.pendingrst65, &st.pendingrst55, &st.pendingintr};
        *pending[command - 2] = true;
        return;
    }
    interruptclick(st, *hooks_, command);
}

void Form1::Command7_Click()
{
    dismissentry();
    auto& st = machinestate();
    sidclick(st);
    commands_[7]->setText(QStringLiteral("SID = %1").arg(st.sid));
    commands_[1]->setFocus();
}

void Form1::Command1_MouseDown()
{
    dismissentry();
    auto& st = machinestate();
    if (!st.commandenabled[1])
        return;
    menustep_->setEnabled(false);
    menustep2_->setVisible(false);
    st.resetinprogress = true;
    releasepending_ = false;
    pump(1);
    if (st.simrate == 1 && !loopactive_) {
        clean(st, *hooks_);
        setinterruptbuttons(st, *hooks_, false);
    }
}

void Form1::Command1_MouseUp()
{
    auto& st = machinestate();
    if (!st.resetinprogress || st.resetrequest)
        return;
    if (!st.running) {
        // The run was stopped while RESET was held: nothing is left to restart.
        st.resetinprogress = false;
        return;
    }
    if (loopactive_) {
        // The loop has not yet seen the press: it carries out the release when it ends.
        releasepending_ = true;
        return;
    }
    resetrelease();
    resumeafterreset();
}

// After a RESET: a Stop asked for meanwhile is carried out; otherwise the loop runs on at a
// running rate (at Step By Step the release has enabled Step).
void Form1::resumeafterreset()
{
    auto& st = machinestate();
    if (!st.running || loopactive_)
        return;
    if (st.stoprequest)
        menustop_Click(true);
    else if (st.simrate != 1)
        runloop();
}

void Form1::resetpause(MachineState& st)
{
    commands_[1]->setEnabled(false);
    pump(1);
    QThread::msleep(500);
    commands_[1]->setEnabled(st.commandenabled[1]);
}

// Steps 1-7 of letting RESET go (the machine's side); the caller decides between Step commands
// and the loop.
void Form1::resetrelease()
{
    auto& st = machinestate();
    kelvane::resetrelease(st, *hooks_);
    if (st.simrate == 1 && st.running) {
        menustep_->setEnabled(true);
        menustep2_->setVisible(true);
    }
}

void Form1::clickreset()
{
    auto& st = machinestate();
    if (!st.resetrequest && st.simrate != 1 && loopactive_) {
        st.resetrequest = true;
        st.resetinprogress = true;
        pump(1);
        return;
    }
    st.resetrequest = false;
    st.resetinprogress = false;
    menustep_->setEnabled(false);
    menustep2_->setVisible(false);
    setinterruptbuttons(st, *hooks_, false);
    clean(st, *hooks_);
    pump(1);
    clean(st, *hooks_);
    resetrelease();
    resumeafterreset();
}

// ---------------------------------------------------------------------------------------------
// Start, Step, Stop

void Form1::setrunmenus(bool run)
{
    menustart_->setEnabled(!run);
    menustop_->setEnabled(run);
    for (const char* name : {"menuffpowerondefaults", "menuload", "menuclear", "menusave", "menuenablelogging",
                             "menuclock", "menuaddress", "menuinlog"})
        if (QAction* a = action(name))
            a->setEnabled(!run);
}

void Form1::menustart_Click()
{
    auto& st = machinestate();
    if (st.running || loopactive_)
        return;
    dismissentry();
    startrun(st, *hooks_);
    showbuttons();
    setrunmenus(true);
    pump(1);
    st.starttimer = secondssincemidnight() - 0.01f;
    if (st.optlogging == "ON") {
        log_.open(st.apppath);
        toolrouter().setlogfile(log_.isopen() ? &log_.block() : nullptr);
    }
    if (st.Form16)
        toolrouter().logclean();
    copytopmirror(st);
    for (size_t i = 0; i < 5; ++i) {
        if (st.moduletext[i] != "OFF" && st.moduleobject[i]) {
            try {
                st.moduleobject[i]->objectinit();
            } catch (...) {
            }
        }
    }
    if (!st.running)
        return; // stopped from inside the pump above
    if (st.simrate == 1) {
        menustep_->setEnabled(true);
        menustep2_->setVisible(true);
    } else {
        if (st.simrate == 6)
            startultimatetimer();
        runloop();
    }
}

void Form1::menustep_Click()
{
    // One Step at a time: a second Step command that arrives while the first is under way is dropped.
    if (loopactive_ || !menustep_->isEnabled())
        return;
    dismissentry();
    runloop();
}

void Form1::menustep2_Click()
{
    menustep_Click();
}

void Form1::waitrate(int passes)
{
    auto& st = machinestate();
    for (int i = 0; i < passes; ++i) {
        if (st.simrate == 1 || st.stoprequest || st.resetinprogress || quitting_)
            return;
        QThread::msleep(5);
        pump(1);
    }
}

// Rate 6: instructions back to back for a time slice, then the event queue. Every instruction
// still ends with its after-work; the panel follows on the timer's flag.
void Form1::ultimateslice()
{
    auto& st = machinestate();
    MachineHooks& hk = *hooks_;
    using clock = std::chrono::steady_clock;
    const auto deadline = clock::now() + std::chrono::milliseconds(12);
    // The tool windows show what the machine holds at their next paint, which comes only in the
    // pump below: within the slice they are told once, after its last instruction, not after each.
    // The router works the flag out again afterwards.
    hk.toolsopen = false;
    for (;;) {
        // runsteps ends early after an instruction that leaves the Ultimate rate, Stop or RESET.
        if (runsteps(st, hk, 2048) < 2048 || st.simrate != 6 || st.stoprequest || st.resetinprogress)
            break;
        if (toolrouter().callwaiting.load(std::memory_order_relaxed))
            break; // an automation call waits: the pump below answers it
        if (clock::now() >= deadline)
            break;
    }
    toolrouter().recompute();
    if (hk.toolsopen)
        hk.toolrefresh(st);
    pump(1);
}

void Form1::runloop()
{
    auto& st = machinestate();
    if (loopactive_ || !st.running)
        return;
    dismissentry();
    for (;;) {
        loopactive_ = true;
        QWidget* panel = centralWidget();
        QElapsedTimer sincepaint;
        sincepaint.start();
        for (;;) {
            if (st.simrate == 6) {
                // Rate 5 may have left the panel's painting off when the rate changed in its pumps.
                if (!panel->updatesEnabled())
                    panel->setUpdatesEnabled(true);
                ultimateslice();
            } else if (st.simrate == 5) {
                // Every instruction refreshes the panel's texts; the screen shows them at the
                // display's pace rather than painting each one.
                stepinstruction(st, *hooks_);
                const bool frame = sincepaint.elapsed() >= 16;
                if (frame) {
                    panel->setUpdatesEnabled(true);
                    sincepaint.restart();
                }
                pump(5);
                if (frame)
                    panel->setUpdatesEnabled(false);
                pump(5);
            } else {
                panel->setUpdatesEnabled(true);
                stepinstruction(st, *hooks_);
                pump(5);
                if (st.simrate == 2)
                    waitrate(140);
                if (st.simrate == 3)
                    waitrate(24);
                if (st.simrate == 4)
                    waitrate(5);
                pump(5);
            }
            if (st.simrate == 1 || st.stoprequest || st.resetinprogress || quitting_ || !st.running)
                break;
        }
        loopactive_ = false;
        panel->setUpdatesEnabled(true);
        if (quitting_)
            return;
        hooks_->ekran(st);
        if (st.stoprequest) {
            menustop_Click(true);
            return;
        }
        if (st.resetinprogress) {
            clean(st, *hooks_);
            setinterruptbuttons(st, *hooks_, false);
            if (st.resetrequest) {
                releasepending_ = false;
                clickreset();
                return;
            }
            if (releasepending_) {
                // RESET was pressed and let go while the loop ran: carry out the release now.
                releasepending_ = false;
                resetrelease();
                if (st.running && st.stoprequest) {
                    menustop_Click(true);
                    return;
                }
                if (st.running && st.simrate != 1)
                    continue;
            }
        }
        if (st.running && st.simrate == 1) {
            menustep_->setEnabled(true);
            menustep2_->setVisible(true);
        }
        return;
    }
}

void Form1::menustop_Click(bool fromloop)
{
    auto& st = machinestate();
    if (!st.running)
        return; // already stopped: a second Stop while the loop was winding down
    dismissentry();
    if (!fromloop && (loopactive_ || (!st.stoprequest && st.simrate != 1))) {
        // The loop ends at its next test and calls this handler again.
        st.stoprequest = true;
        pump(1);
        return;
    }
    st.running = false;
    const std::string elapsed = stopclock(st, secondssincemidnight());

    for (size_t i = 1; i <= 7; ++i)
        st.commandenabled[i] = false;
    showbuttons();
    setrunmenus(false);
    menustep_->setEnabled(false);
    menustep2_->setVisible(false);

    const std::string message = statisticsmessage(st, elapsed);
    const bool logged = st.optlogging == "ON" && log_.isopen();
    toolrouter().setlogfile(nullptr);
    if (log_.isopen()) {
        const auto cut = message.rfind("\r\n");
        log_.close(elapsed, cut == std::string::npos ? message : message.substr(cut + 2));
    }
    if (st.optinlog == "ON" && st.iologwritten)
        appendiolog(st, "\r\n\r\n");
    tell(message);
    if (logged) {
        const QString path = QString::fromStdString(log_.path());
        if (viewersink)
            viewersink(path);
        else
            QDesktopServices::openUrl(QUrl::fromLocalFile(path));
    }
    ultimatetimer_->stop();
}

// ---------------------------------------------------------------------------------------------
// Rates

void Form1::menuspeed_Click(int n)
{
    for (int i = 1; i <= 6; ++i)
        menuspeed_[static_cast<size_t>(i)]->setChecked(i == n);
    machinestate().simrate = n;
    applyrate();
}

void Form1::applyrate()
{
    auto& st = machinestate();
    saverate();
    if (!menustop_->isEnabled())
        return;
    if (st.simrate == 6)
        startultimatetimer();
    if (st.simrate == 1) {
        menustep_->setEnabled(true);
        menustep2_->setVisible(true);
    }
    if (st.simrate != 1 && menustep_->isEnabled()) {
        menustep_->setEnabled(false);
        menustep2_->setVisible(false);
        // From Step By Step to a running rate: the loop starts here, inside the menu's handler,
        // unless a Step is under way, whose loop now simply goes on at the new rate.
        if (!loopactive_)
            runloop();
    }
}

void Form1::ultimatetimer_Timer()
{
    machinestate().refreshrequest = true;
}

void Form1::closeEvent(QCloseEvent* event)
{
    // Form_Unload: the position is written whatever "Save Positions" says, from the normal state.
    if (isMinimized() || isMaximized())
        showNormal();
    savewindowposition(this, 1);
    auto& st = machinestate();
    toolrouter().unloadall();
    for (size_t i = 0; i < 5; ++i) {
        if (st.moduletext[i] != "OFF" && st.moduleobject[i]) {
            try {
                st.moduleobject[i]->objectterm();
            } catch (...) {
            }
        }
    }
    // Ending the program during a run: the loop stops at once, without the statistics.
    if (loopactive_) {
        quitting_ = true;
        machinestate().stoprequest = true;
    }
    event->accept();
    // The process ends with the main window, whatever other windows still stand.
    QCoreApplication::quit();
}

} // namespace kelvane
