#include "assembler/ui/form6.h"

#include "assembler/assembler.h"
#include "assembler/ui/externalassembler.h"
#include "assembler/ui/sourcefiles.h"
#include "shell/messages.h"
#include "shell/printing.h"
#include "shell/sourceeditor.h"
#include "shell/sourceeditorsettings.h"
#include "sim/machinestate.h"
#include "sim/programfiles_ui.h"
#include "sim/settings.h"

#include <QApplication>
#include <QCloseEvent>
#include <QFileInfo>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QSplitter>
#include <QVBoxLayout>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>
#include <functional>

namespace kelvane {

namespace {

constexpr const char* untitledcaption = "Assembler - UNTITLED";
constexpr const char* captionprefix = "Assembler - ";

// The keywords of both panes, in the order they are given to the editors.
constexpr const char* asmkeywords[] = {
    "MOV",   "MVI",   "LXI",  "STAX", "LDAX",  "STA",  "LDA",   "SHLD", "LHLD",  "XCHG",  "PUSH", "POP",  "XTHL",
    "SPHL",  "INX",   "DCX",  "INR",  "DCR",   "ADD",  "ADI",   "ADC",  "ACI",   "DAD",   "SUB",  "SUI",  "SBB",
    "SBI",   "JMP",   "JC",   "JNC",  "JZ",    "JNZ",  "JP",    "JM",   "JPE",   "JPO",   "PCHL", "CALL", "CC",
    "CNC",   "CZ",    "CNZ",  "CP",   "CM",    "CPE",  "CPO",   "RET",  "RC",    "RNC",   "RZ",   "RNZ",  "RP",
    "RM",    "RPE",   "RPO",  "RST",  "IN",    "OUT",  "ANA",   "ANI",  "XRA",   "XRI",   "ORA",  "ORI",  "CMP",
    "CPI",   "RLC",   "RRC",  "RAL",  "RAR",   "CMA",  "STC",   "CMC",  "DAA",   "EI",    "DI",   "NOP",  "HLT",
    "RIM",   "SIM",   ".ORG", "ORG",  ".EQU",  "EQU",  ".DB",   "DB",   ".DEFB", "DEFB",  ".DW",  "DW",   ".DEFW",
    "DEFW",  ".DS",   "DS",   ".DEFS", "DEFS", ".END", "END"};
static_assert(std::size(asmkeywords) == 98);

// Default size in twips when none is stored, and the smallest the window may get.
constexpr int defaultwidthtwips = 12000;
constexpr int defaultheighttwips = 8250;
constexpr int minwidthtwips = 5000;
constexpr int minheighttwips = 6000;

// The window's menus: menu, control name, caption, standard key or key, handler. (Key sequences
// are made when the window is, once the application stands.)
struct MenuItem {
    int menu; // 0 to 3: menu1 to menu4
    const char* name;
    const char* caption;
    QKeySequence::StandardKey standard;
    QKeyCombination key;
    void (Form6::*handler)();
};
constexpr QKeySequence::StandardKey nostd = QKeySequence::UnknownKey;
constexpr QKeyCombination nokey = QKeyCombination(Qt::Key(0));

const MenuItem menuitems[] = {
    {0, "menunew", "&New", QKeySequence::New, nokey, &Form6::menunew_Click},
    {0, "menuopen", "&Open", QKeySequence::Open, nokey, &Form6::menuopen_Click},
    {0, "menusave", "&Save", QKeySequence::Save, nokey, &Form6::menusave_Click},
    {0, "menusaveas", "Save &As", nostd, QKeyCombination(Qt::CTRL | Qt::SHIFT | Qt::Key_S), &Form6::menusaveas_Click},
    {0, "menuprint", "&Print Source", QKeySequence::Print, nokey, &Form6::menuprint_Click},
    {0, "menuprint2", "Print Listing", nostd, nokey, &Form6::menuprint2_Click},
    {1, "menuundo", "&Undo", QKeySequence::Undo, nokey, &Form6::menuundo_Click},
    {1, "menucopy", "&Copy", QKeySequence::Copy, nokey, &Form6::menucopy_Click},
    {1, "menucut", "Cu&t", QKeySequence::Cut, nokey, &Form6::menucut_Click},
    {1, "menupaste", "&Paste", QKeySequence::Paste, nokey, &Form6::menupaste_Click},
    {1, "menufind", "&Find", QKeySequence::Find, nokey, &Form6::menufind_Click},
    {1, "menufindnext", "Find &Next", nostd, QKeyCombination(Qt::Key_F3), &Form6::menufindnext_Click},
    {1, "menureplace", "R&eplace All", nostd, QKeyCombination(Qt::CTRL | Qt::Key_H), &Form6::menureplace_Click},
    {1, "menuformat", "Format Text", nostd, nokey, &Form6::menuformat_Click},
    {2, "menuassemble", "&Assemble", nostd, QKeyCombination(Qt::Key_F5), &Form6::menuassemble_Click},
    {2, "menuassembletasm", "Assemble With &TASM", nostd, nokey, &Form6::menuassembletasm_Click},
    {2, "menuload", "&Load", nostd, nokey, &Form6::menuload_Click},
    {3, "menutasmpath", "TASM Path", nostd, nokey, &Form6::menutasmpath_Click},
    {3, "menusavehex", "Generate HEX File Also", nostd, nokey, &Form6::menusavehex_Click},
};

QString qs(const std::string& s)
{
    return QString::fromStdString(s);
}

QString panetext(const SourceEditor* pane)
{
    const std::string bytes = pane->textbytes();
    return QString::fromUtf8(bytes.data(), static_cast<qsizetype>(bytes.size()));
}

QString errorsmessage(int32_t count)
{
    return QStringLiteral("Assembly was not successful.\r\nYour assembler source contains %1 errors.").arg(count);
}

} // namespace

// Marks a command that lets events through: other commands wait for it, and a close asked for
// meanwhile is carried out when it ends.
class Form6::Busy {
public:
    explicit Busy(Form6& form)
        : form_(form)
    {
        form_.busy_ = true;
    }
    ~Busy()
    {
        form_.busy_ = false;
        if (form_.closepending_)
            form_.deleteLater();
    }
    Busy(const Busy&) = delete;
    Busy& operator=(const Busy&) = delete;

private:
    Form6& form_;
};

Form6::Form6()
{
    setObjectName(QStringLiteral("Form6"));
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(QString::fromLatin1(untitledcaption));
    setMinimumSize(twipstopixels(minwidthtwips), twipstopixels(minheighttwips));

    auto* holder = new QWidget(this);
    auto* grid = new QGridLayout(holder);
    grid->setContentsMargins(0, 0, 0, 0);
    razdelnik_ = new QSplitter(Qt::Horizontal, holder);
    razdelnik_->setObjectName(QStringLiteral("razdelnik"));
    razdelnik_->setChildrenCollapsible(false);
    razdelnik_->setHandleWidth(5);
    edit1_ = new SourceEditor(razdelnik_);
    edit1_->setObjectName(QStringLiteral("edittextboxpro1"));
    edit2_ = new SourceEditor(razdelnik_);
    edit2_->setObjectName(QStringLiteral("edittextboxpro2"));
    grid->addWidget(razdelnik_, 0, 0);
    razdelnik_->installEventFilter(this); // its resize keeps the percent

    frame1_ = new QGroupBox(QStringLiteral("Assembling in progress..."), holder);
    frame1_->setObjectName(QStringLiteral("Frame1"));
    frame1_->setAutoFillBackground(true);
    auto* framelayout = new QVBoxLayout(frame1_);
    label1_ = new QLabel(frame1_);
    label1_->setObjectName(QStringLiteral("Label1"));
    label2_ = new QLabel(frame1_);
    label2_->setObjectName(QStringLiteral("Label2"));
    const int labelwidth = label1_->fontMetrics().horizontalAdvance(QStringLiteral("Performing pass 2.  Line  0000000"));
    label1_->setMinimumWidth(labelwidth);
    framelayout->addWidget(label1_);
    framelayout->addWidget(label2_);
    grid->addWidget(frame1_, 0, 0, Qt::AlignCenter);
    frame1_->raise();
    frame1_->hide();
    setCentralWidget(holder);

    buildmenus();
    connect(razdelnik_, &QSplitter::splitterMoved, this, [this](int pos, int) {
        const int inner = std::max(1, razdelnik_->width() - razdelnik_->handleWidth());
        const int percent = static_cast<int>(std::lround(pos * 100.0 / inner));
        splitpercent_ = std::clamp(percent, 25, 75);
        if (percent != splitpercent_)
            placesplitter();
    });

    // Form_Load.
    MachineState& st = machinestate();
    optgeneratehex_ = regread("Generate HEX File Also", "OFF");
    action("menusavehex")->setChecked(optgeneratehex_ == "ON");
    int w = defaultwidthtwips;
    int h = defaultheighttwips;
    if (st.optsavepositions != "OFF") {
        w = leadingint(regread("Window6 Width", std::to_string(defaultwidthtwips)));
        h = leadingint(regread("Window6 Height", std::to_string(defaultheighttwips)));
        splitpercent_ = std::clamp(leadingint(regread("Window6 Position", "70")), 25, 75);
    }
    resize(std::max(twipstopixels(w), minimumWidth()), std::max(twipstopixels(h), minimumHeight()));
    placewindow(this, 6);
    toolrouter().opened(Tool::Form6, this, this);
    setup();
}

Form6::~Form6()
{
    unload();
}

void Form6::buildmenus()
{
    QMenuBar* bar = menuBar();
    const char* menunames[] = {"menu1", "menu2", "menu3", "menu4"};
    const char* captions[] = {"&File", "&Edit", "&Tools", "&Options"};
    for (int m = 0; m < 4; ++m) {
        QMenu* menu = bar->addMenu(QString::fromLatin1(captions[m]));
        menu->setObjectName(QString::fromLatin1(menunames[m]));
        menus_.push_back(menu);
    }
    for (const MenuItem& item : menuitems) {
        QAction* a = menus_[static_cast<size_t>(item.menu)]->addAction(QString::fromLatin1(item.caption));
        a->setObjectName(QString::fromLatin1(item.name));
        if (item.standard != nostd)
            a->setShortcut(item.standard);
        else if (item.key != nokey)
            a->setShortcut(QKeySequence(item.key));
        const auto handler = item.handler;
        connect(a, &QAction::triggered, this, [this, handler] {
            if (!busy_)
                (this->*handler)();
        });
        if (std::string_view(item.name) == "menuprint" || std::string_view(item.name) == "menufind" ||
            std::string_view(item.name) == "menuassembletasm")
            menus_[static_cast<size_t>(item.menu)]->addSeparator();
    }
    action("menusavehex")->setCheckable(true);
    menu5_ = bar->addAction(QStringLiteral("&Go To Next Error"));
    menu5_->setObjectName(QStringLiteral("menu5"));
    menu5_->setShortcut(QKeySequence(Qt::Key_F4));
    connect(menu5_, &QAction::triggered, this, [this] {
        if (!busy_)
            menu5_Click();
    });
    addAction(menu5_); // its key works while the item is shown
    menu5_->setVisible(false);

    // The Edit menu also on a right click and the Menu key in the source.
    edit1_->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(edit1_, &QWidget::customContextMenuRequested, this,
            [this](const QPoint& pos) { menus_[1]->popup(edit1_->viewport()->mapToGlobal(pos)); });
}

void Form6::setup()
{
    menu5_->setVisible(false);
    for (SourceEditor* pane : {edit1_, edit2_}) {
        applyassemblereditor(*pane);
        pane->cleartext();
        pane->setlanguagemode(2);
        if (pane == edit2_)
            pane->setReadOnly(true);
        pane->clearkeywords();
        for (const char* word : asmkeywords)
            pane->addkeyword(QString::fromLatin1(word));
        pane->cleartext();
        pane->installEventFilter(this);
    }
    edit2_->setFocusPolicy(Qt::ClickFocus);
    edit1_->setFocus();
}

QAction* Form6::action(const char* name) const
{
    if (std::string_view(name) == "menu5")
        return menu5_;
    return findChild<QAction*>(QString::fromLatin1(name));
}

QMenu* Form6::menu(const char* name) const
{
    return findChild<QMenu*>(QString::fromLatin1(name));
}

// ---- State. ----

void Form6::setfile(const QString& folder, const QString& name)
{
    folder_ = folder;
    filename_ = name;
    setWindowTitle(name.isEmpty() ? QString::fromLatin1(untitledcaption) : QString::fromLatin1(captionprefix) + name);
}

QString Form6::base() const
{
    return folder_ + qs(asmbasename(filename_.toStdString()));
}

void Form6::setmenus(bool enabled)
{
    for (QMenu* m : menus_)
        m->menuAction()->setEnabled(enabled);
}

void Form6::setpanes(bool enabled)
{
    edit1_->setEnabled(enabled);
    edit2_->setEnabled(enabled);
}

void Form6::pump(int times)
{
    for (int i = 0; i < times; ++i)
        QCoreApplication::processEvents();
}

bool Form6::savesource(const QString& path)
{
    QString error;
    if (edit1_->savefile(path, &error))
        return true;
    messagebox(this, error);
    return false;
}

void Form6::deleteoutputs(bool withhex)
{
    const std::string b = base().toStdString();
    deletefile(b + ".lst");
    deletefile(b + ".obj");
    if (withhex)
        deletefile(b + ".hex");
}

// ---- File. ----

void Form6::menunew_Click()
{
    setfile(QString(), QString());
    menu5_->setVisible(false);
    edit1_->cleartext();
    edit2_->cleartext();
}

void Form6::menuopen_Click()
{
    const QString path = askopenpath(this, assemblersource);
    if (!path.isEmpty())
        openpath(path);
}

bool Form6::openpath(const QString& path)
{
    const QString ending = path.right(4).toLower();
    if (ending == QLatin1String(".hex") || ending == QLatin1String(".obj") || ending == QLatin1String(".lst")) {
        confirm(this, QStringLiteral("This extension is not allowed for assembler source files."));
        return false;
    }
    // The file is read before anything changes, so an unreadable one leaves text and caption.
    QString error;
    if (!edit1_->loadfile(path, &error)) {
        messagebox(this, error);
        return false;
    }
    MachineState& st = machinestate();
    const QString name = takelastpath(st, path);
    setfile(qs(st.lastpath), name);
    menu5_->setVisible(false);
    edit2_->cleartext();
    return true;
}

void Form6::menusave_Click()
{
    if (untitled()) {
        menusaveas_Click();
        return;
    }
    menu5_->setVisible(false);
    savesource(folder_ + filename_);
}

void Form6::menusaveas_Click()
{
    const QString path = asksavepath(this, assemblersource);
    if (path.isEmpty())
        return;
    if (!savesource(path))
        return;
    const qsizetype cut = path.lastIndexOf(QLatin1Char('/')) + 1;
    setfile(path.left(cut), path.mid(cut));
    menu5_->setVisible(false);
    confirm(this, QStringLiteral("File ") + path + QStringLiteral(" saved."));
}

void Form6::printpane(SourceEditor* pane, const QString& title, const char* emptytext)
{
    if (untitled()) {
        confirm(this, QStringLiteral("Please save the file first."));
        return;
    }
    if (pane->isempty()) {
        confirm(this, QString::fromLatin1(emptytext));
        return;
    }
    Busy busy(*this);
    setmenus(false);
    pump();
    const QString text = printabletext(pane->textbytes());
    pump();
    printsource(this, title, text, [this] { pump(); });
    setmenus(true);
}

void Form6::menuprint_Click()
{
    printpane(edit1_, filename_, "The source editor is empty.");
}

void Form6::menuprint2_Click()
{
    printpane(edit2_, qs(asmbasename(filename_.toStdString())) + QStringLiteral(".lst"),
              "The listing viewer is empty.");
}

// ---- Edit. ----

void Form6::menuundo_Click()
{
    edit1_->undo();
}

void Form6::menucopy_Click()
{
    // The listing's selection when the listing has the focus (its Ctrl+C comes here).
    (edit2_->hasFocus() ? edit2_ : edit1_)->copy();
}

void Form6::menucut_Click()
{
    edit1_->cut();
}

void Form6::menupaste_Click()
{
    edit1_->paste();
}

void Form6::menuformat_Click()
{
    edit1_->formattext();
}

void Form6::menufind_Click()
{
    bool ok = false;
    const QString answer = inputbox(this, QStringLiteral("Find what:"), edit1_->wordatcaret(), &ok);
    if (!ok || answer.isEmpty())
        return;
    findtext_ = answer;
    edit1_->findtext(findtext_);
}

void Form6::menufindnext_Click()
{
    edit1_->findtext(findtext_);
}

void Form6::menureplace_Click()
{
    bool ok = false;
    const QString what = inputbox(this, QStringLiteral("Find what:"), edit1_->wordatcaret(), &ok);
    if (!ok || what.isEmpty())
        return;
    const QString with = inputbox(this, QStringLiteral("Replace with:"), QString(), &ok);
    if (!ok || with.isEmpty())
        return;
    const int count = edit1_->replaceall(what, with);
    messagebox(this, QString::number(count) + QStringLiteral(" words replaced."));
}

// ---- Tools. ----

void Form6::progress(const std::string& phase, const std::string& line)
{
    // The frame is repainted every 50 ms and at each new phase, not once a line.
    if (sincepaint_.elapsed() < 50 && phase == shownphase_)
        return;
    shownphase_ = phase;
    label1_->setText(qs(phase));
    label2_->setText(qs(line));
    sincepaint_.restart();
    pump();
}

bool Form6::readytoassemble()
{
    if (untitled()) {
        confirm(this, QStringLiteral("Please save the file first."));
        return false;
    }
    if (edit1_->isempty()) {
        confirm(this, QStringLiteral("The editor is empty."));
        return false;
    }
    return true;
}

void Form6::menuassemble_Click()
{
    if (!readytoassemble())
        return;
    Busy busy(*this);
    menu5_->setVisible(false);
    edit1_->clearmarks();
    edit2_->cleartext();
    errorline_.assign(1, 0);
    errorrow_.assign(1, 0);
    if (!savesource(folder_ + filename_))
        return;
    const bool hex = optgeneratehex_ == "ON";
    deleteoutputs(hex);

    setmenus(false);
    shownphase_.clear();
    label1_->clear();
    label2_->clear();
    frame1_->show();
    setpanes(false);
    pump(5);

    Assembler& as = asmstate();
    as.optgeneratehex = optgeneratehex_;
    as.progress = [this](const std::string& phase, const std::string& line) { progress(phase, line); };
    sincepaint_.start();
    int32_t status = 0;
    const bool written = as.assemblefile(folder_.toStdString(), filename_.toStdString(), status);
    as.progress = nullptr;
    errorline_.assign(as.errorline.begin(), as.errorline.begin() + as.errorlinecount + 1);
    errorrow_.assign(as.errorrow.begin(), as.errorrow.begin() + as.errorlinecount + 1);

    frame1_->hide();
    setpanes(true);
    edit2_->loadfile(base() + QStringLiteral(".lst"));
    edit2_->showline(1000000);
    pump();
    markerrors();
    setmenus(true);
    if (closepending_)
        return;

    if (!written) {
        deleteoutputs(hex);
        messagebox(this, qs(as.fileerror));
        return;
    }
    if (status != 0) {
        messagebox(this, errorsmessage(status));
        deleteoutputs(hex);
        menu5_->setVisible(true);
    } else {
        menu5_->setVisible(false);
    }
}

void Form6::markerrors()
{
    const size_t count = errorline_.size() - 1;
    if (count == 0)
        return;
    for (size_t k = 1; k <= count; ++k) {
        edit1_->markline(errorline_[k]);
        edit2_->markline(errorrow_[k]);
    }
    edit1_->gotoline(errorline_[1]);
    edit2_->gotoline(errorrow_[1]);
    edit1_->setFocus();
}

void Form6::menu5_Click()
{
    edit1_->gotonextmark();
    const int line = edit1_->currentline();
    const auto found = std::find(errorline_.begin() + 1, errorline_.end(), line);
    if (found != errorline_.end()) {
        edit2_->gotoline(errorrow_[static_cast<size_t>(found - errorline_.begin())]);
    } else {
        // The marks moved with an edit: the listing goes to the same line and then to its next mark.
        edit2_->gotoline(line);
        edit2_->gotonextmark();
    }
    edit1_->setFocus();
}

void Form6::menuassembletasm_Click()
{
    MachineState& st = machinestate();
    const QString tasm = qs(st.tasmpath);
    if (!QFileInfo(tasm).isFile()) {
        confirm(this, QStringLiteral("TASM assembler not found."));
        return;
    }
    if (!readytoassemble())
        return;
    Busy busy(*this);
    menu5_->setVisible(false);
    edit2_->cleartext();
    const QString source = folder_ + filename_;
    if (!savesource(source))
        return;
    deleteoutputs(false);
    const QString lst = base() + QStringLiteral(".lst");
    const QString obj = base() + QStringLiteral(".obj");

    setmenus(false);
    setpanes(false);
    pump(5);
    runexternalassembler(tasm, source, obj, lst, [this] { return closepending_; });
    setpanes(true);
    setmenus(true);
    if (closepending_)
        return;

    const QString shortbase = qs(asmbasename(filename_.toStdString()));
    if (QFileInfo::exists(obj) && QFileInfo::exists(lst)) {
        edit2_->loadfile(lst);
        const QString text = panetext(edit2_);
        edit2_->showline(1000000);
        const int32_t count = leadingint(text.mid(text.lastIndexOf(QLatin1Char('=')) + 1).trimmed().toStdString());
        if (count == 0)
            return;
        messagebox(this, errorsmessage(count));
        deleteoutputs(false);
        return;
    }
    messagebox(this, QStringLiteral("Assembly was not successful.\r\nTASM.EXE failed to generate the expected files ") +
                         shortbase + QStringLiteral(".lst and ") + shortbase + QStringLiteral(".obj!"));
    deleteoutputs(false);
}

void Form6::menutasmpath_Click()
{
    MachineState& st = machinestate();
    const QString current = qs(st.tasmpath);
    const QString chosen =
        choosefile(this, false, QStringLiteral("Please Locate TASM Assembler Executable File"),
                   {QStringLiteral("EXE files (*.exe)"), QStringLiteral("All files (*.*)")}, 1,
                   QFileInfo(current).absolutePath(), current);
    if (!chosen.isEmpty() && QFileInfo::exists(chosen)) {
        st.tasmpath = chosen.toStdString();
        regwrite("Tasm Path", st.tasmpath);
        return;
    }
    confirm(this, QStringLiteral("The file do not exist."));
}

void Form6::menusavehex_Click()
{
    QAction* a = action("menusavehex");
    optgeneratehex_ = a->isChecked() ? "ON" : "OFF";
    regwrite("Generate HEX File Also", optgeneratehex_);
}

void Form6::menuload_Click()
{
    if (untitled()) {
        confirm(this, QStringLiteral("Please assemble the file first."));
        return;
    }
    const QString obj = base() + QStringLiteral(".obj");
    const QFileInfo info(obj);
    if (!info.isFile()) {
        confirm(this, QStringLiteral("The file was not (successfully) assembled."));
        return;
    }
    MachineState& st = machinestate();
    if (st.running) {
        confirm(this, QStringLiteral("The simulation is running. Please stop the simulation first."));
        return;
    }
    if (info.size() == 0) {
        confirm(this, QStringLiteral("The size of the program file is zero."));
        return;
    }
    // The main window's load does the rest (its size limit and message, the resets, the
    // ending); the folder of the file dialogs stays where it was.
    const MainCommands& main = toolrouter().maincommands;
    const FileMenuHooks hooks = main.filemenuhooks ? main.filemenuhooks() : FileMenuHooks{};
    const std::string lastpath = st.lastpath;
    loadchosenfile(st, this, hooks, obj, 1);
    if (st.lastpath != lastpath) {
        st.lastpath = lastpath;
        regwrite("Last Path", lastpath);
    }
}

// ---- Window. ----

void Form6::placesplitter()
{
    const int inner = std::max(0, razdelnik_->width() - razdelnik_->handleWidth());
    const int left = inner * splitpercent_ / 100;
    razdelnik_->setSizes({left, inner - left});
}

void Form6::wheelEvent(QWheelEvent* event)
{
    // Over neither pane (the splitter, the frame): the pane that had the focus last scrolls.
    (activepane_ == 2 ? edit2_ : edit1_)->wheelturn(event->angleDelta().y());
    event->accept();
}

bool Form6::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == razdelnik_) {
        if (event->type() == QEvent::Resize && !isMinimized())
            placesplitter();
    } else if (event->type() == QEvent::FocusIn) {
        activepane_ = watched == edit2_ ? 2 : 1;
    }
    return QMainWindow::eventFilter(watched, event);
}

void Form6::unload()
{
    if (unloaded_)
        return;
    unloaded_ = true;
    if (isMinimized() || isMaximized())
        showNormal();
    savewindowposition(this, 6);
    regwrite("Window6 Height", pixelstotwips(height()));
    regwrite("Window6 Width", pixelstotwips(width()));
    regwrite("Window6 Position", splitpercent_);
    toolrouter().closed(Tool::Form6);
}

void Form6::closeEvent(QCloseEvent* event)
{
    unload();
    if (busy_) {
        // The command in progress ends first; the window goes when it has.
        closepending_ = true;
        hide();
        event->ignore();
        return;
    }
    event->accept();
}

} // namespace kelvane
