#include "disassembler/ui/form9.h"

#include "assembler/ui/sourcefiles.h"
#include "progfiles/programload.h"
#include "progfiles/safewrite.h"
#include "shell/messages.h"
#include "shell/printing.h"
#include "shell/sourceeditorsettings.h"
#include "shell/theme.h"
#include "sim/machinestate.h"
#include "sim/programfiles_ui.h"
#include "sim/settings.h"

#include <QCloseEvent>
#include <QCoreApplication>
#include <QFontMetricsF>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QVBoxLayout>


namespace kelvane {

namespace {

// Size in twips when none is stored, and the smallest the window may get.
constexpr int defaultwidthtwips = 9600;
constexpr int defaultheighttwips = 7200;
constexpr int minwidthtwips = 5000;
constexpr int minheighttwips = 4000;

// The two ways of saving the pane, by the option at the moment of saving.
constexpr SourceFileKind listingfile = {
    "Save Disassembler Listing As", "", {"Listing LST files (*.lst)", "All files (*.*)"}, ".lst"};
constexpr SourceFileKind sourcefile = {
    "Save Disassembler Listing As Assembler Source", "", {"Assembler ASM files (*.asm)", "All files (*.*)"}, ".asm"};

const MenuItem<Form9> menuitems[] = {
    {0, "menuopen", "&Load Program", QKeySequence::Open, menunokey, &Form9::menuopen_Click},
    {0, "menusave", "&Save Listing", QKeySequence::Save, menunokey, &Form9::menusave_Click},
    {0, "menuprint", "&Print", QKeySequence::Print, menunokey, &Form9::menuprint_Click},
    {1, "menudisassemble", "&Disassemble", QKeySequence::UnknownKey, QKeyCombination(Qt::Key_F5),
     &Form9::menudisassemble_Click},
    {2, "menunoopcodes", "Listing Without Opcodes", QKeySequence::UnknownKey, menunokey, &Form9::menunoopcodes_Click},
};

QString qs(const std::string& s)
{
    return QString::fromStdString(s);
}

} // namespace

Form9::Form9()
    : program_(std::make_unique<HexBuffer>())
{
    program_->fill(0);
    setObjectName(QStringLiteral("Form9"));
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(QStringLiteral("Disassembler"));
    setMinimumSize(twipstopixels(minwidthtwips), twipstopixels(minheighttwips));

    auto* holder = new QWidget(this);
    auto* column = new QVBoxLayout(holder);
    column->setContentsMargins(6, 6, 6, 6);
    column->setSpacing(6);
    auto* top = new QHBoxLayout;
    label2_ = new QLabel(QStringLiteral("Loaded program"), holder);
    label2_->setObjectName(QStringLiteral("Label2"));
    label1_ = new QLabel(holder);
    label1_->setObjectName(QStringLiteral("Label1"));
    label1_->setFrameShape(QFrame::Panel);
    label1_->setFrameShadow(QFrame::Sunken);
    label1_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    label1_->setMinimumWidth(1);
    label1_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    top->addWidget(label2_);
    top->addWidget(label1_, 1);
    column->addLayout(top);

    auto* panearea = new QWidget(holder);
    auto* grid = new QGridLayout(panearea);
    grid->setContentsMargins(0, 0, 0, 0);
    text1_ = new QPlainTextEdit(panearea);
    text1_->setObjectName(QStringLiteral("RichTextBox1"));
    text1_->setReadOnly(true);
    text1_->setLineWrapMode(QPlainTextEdit::NoWrap);
    text1_->setWordWrapMode(QTextOption::NoWrap);
    text1_->setFont(editorfont(QStringLiteral("Courier New"), 10));
    text1_->setTabStopDistance(8 * QFontMetricsF(text1_->font()).horizontalAdvance(QLatin1Char(' ')));
    text1_->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    grid->addWidget(text1_, 0, 0);

    frame1_ = new QGroupBox(QStringLiteral("Disassembling in progress..."), panearea);
    frame1_->setObjectName(QStringLiteral("Frame1"));
    frame1_->setAutoFillBackground(true);
    auto* framelayout = new QVBoxLayout(frame1_);
    poruka1_ = new QLabel(frame1_);
    poruka1_->setObjectName(QStringLiteral("poruka1"));
    poruka2_ = new QLabel(frame1_);
    poruka2_->setObjectName(QStringLiteral("poruka2"));
    poruka1_->setMinimumWidth(poruka1_->fontMetrics().horizontalAdvance(QStringLiteral("Performing pass 1.  Line  0000000")));
    framelayout->addWidget(poruka1_);
    framelayout->addWidget(poruka2_);
    grid->addWidget(frame1_, 0, 0, Qt::AlignCenter);
    frame1_->raise();
    frame1_->hide();
    column->addWidget(panearea, 1);
    setCentralWidget(holder);
    buildmenus();

    // Form_Load.
    placesourcewindow(this, 9, defaultwidthtwips, defaultheighttwips);
    toolrouter().opened(Tool::Form9, this, this);
    listingnoopcodes_ = regread("Listing Without Opcodes", "OFF");
    action("menunoopcodes")->setChecked(listingnoopcodes_ == "ON");
}

Form9::~Form9()
{
    unload();
}

void Form9::buildmenus()
{
    menus_ = kelvane::buildmenus(this, {"&File", "&Tools", "&Options"}, menuitems, command_);
    action("menunoopcodes")->setCheckable(true);
}

QAction* Form9::action(const char* name) const
{
    return findChild<QAction*>(QString::fromLatin1(name));
}

QMenu* Form9::menu(const char* name) const
{
    return findChild<QMenu*>(QString::fromLatin1(name));
}

void Form9::setmenus(bool enabled)
{
    for (QMenu* m : menus_)
        m->menuAction()->setEnabled(enabled);
}

void Form9::pump()
{
    // Paints and timers, but no clicks or keys: no other command, and so no other disassembly,
    // begins inside this window's run.
    QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
}

// ---- File. ----

void Form9::settheme()
{
    themewindow(this);
    const ThemeState& t = theme();
    setpair(label2_, t.labelback, t.labeltext);
    setpair(frame1_, t.labelback, t.labeltext);
    for (QLabel* l : {label1_, poruka1_, poruka2_})
        setpair(l, t.valueback, t.valuetext);
}

void Form9::menuopen_Click()
{
    MachineState& st = machinestate();
    int chosen = loadfilter_ - 1;
    const QString path = choosefile(this, false, QString::fromLatin1(loaddialogtitle), programfilters(),
                                    loadfilter_ - 1, qs(st.lastpath), QString(), &chosen);
    if (path.isEmpty())
        return;
    loadfilter_ = chosen + 1;
    loadprogram(path, loadfilter_);
}

bool Form9::loadprogram(const QString& path, int filterindex)
{
    MachineState& st = machinestate();
    takelastpath(st, path);
    const std::string file = path.toStdString();
    auto buf = std::make_unique<HexBuffer>();
    command_.begin();
    int32_t size = 0;
    if (filterindex == hexfilterindex) {
        setmenus(false);
        pump();
        const HexReadResult r = readhexfile(file, *buf);
        size = r.size;
        if (size <= 0)
            messagebox(this, r.message); // the reader's refusal, or why the file can't be read
    } else {
        const ProgramLoadResult r = readobjfile(file, *buf);
        if (r.status == LoadStatus::ok) {
            setmenus(false);
            pump();
            size = r.size;
        } else if (r.status == LoadStatus::refused) {
            confirm(this, r.message);
        } else {
            messagebox(this, r.message);
        }
    }
    if (size > 0) {
        label1_->setText(path);
        label1_->setToolTip(path);
        program_.swap(buf);
        programsize_ = size;
        text1_->clear();
        confirm(this, loadedmessage(size));
    }
    setmenus(true);
    command_.end(this);
    return size > 0;
}

void Form9::menusave_Click()
{
    if (text1_->document()->isEmpty()) {
        confirm(this, QStringLiteral("There is no listing to save."));
        return;
    }
    const QString path = asksavepath(this, listingnoopcodes_ == "OFF" ? listingfile : sourcefile);
    if (path.isEmpty())
        return;
    std::string error;
    if (!writefilesafely(path.toStdString(), text1_->toPlainText().toStdString(), &error)) {
        messagebox(this, error);
        return;
    }
    confirm(this, QStringLiteral("File ") + path + QStringLiteral(" saved."));
}

void Form9::menuprint_Click()
{
    if (text1_->document()->isEmpty()) {
        confirm(this, QStringLiteral("The viewer is empty."));
        return;
    }
    const QString path = label1_->text();
    const QString name = path.mid(path.lastIndexOf(QLatin1Char('/')) + 1);
    command_.begin();
    setmenus(false);
    printsource(this, name, printabletext(text1_->toPlainText()), [this] { pump(); });
    setmenus(true);
    command_.end(this);
}

// ---- Tools and options. ----

void Form9::progress(const std::string& phase, const std::string& line)
{
    // The frame is repainted at most every 50 ms, not once a line; a new phase shows at the next
    // repaint.
    if (sincepaint_.elapsed() < 50) {
        if (phase != shownphase_) {
            shownphase_ = phase;
            poruka1_->setText(qs(phase));
            poruka2_->setText(qs(line));
        }
        return;
    }
    shownphase_ = phase;
    poruka1_->setText(qs(phase));
    poruka2_->setText(qs(line));
    pump();
    sincepaint_.restart();
}

bool Form9::rundisassembler(const std::string& folder, std::string& text)
{
    // The window's own program goes into its own engine at each run.
    engine_.loadmemory(program_->data(), programsize_);
    engine_.workfolder = std::filesystem::path(folder);
    return engine_.disassemble(false, listingnoopcodes_ == "ON") && engine_.takeresult(text);
}

void Form9::menudisassemble_Click()
{
    if (label1_->text().isEmpty()) {
        confirm(this, QStringLiteral("Please load program file first."));
        return;
    }
    command_.begin();
    setmenus(false);
    text1_->clear();
    shownphase_.clear();
    poruka1_->clear();
    poruka2_->clear();
    frame1_->show();
    pump();
    sincepaint_.start();

    engine_.progress = [this](const std::string& phase, const std::string& line) { progress(phase, line); };
    std::string text;
    // Where the folder of the files can't be written, the user's own data folder serves.
    bool done = rundisassembler(machinestate().lastpath, text);
    if (!done)
        done = rundisassembler(apppath(), text);
    engine_.progress = nullptr;
    if (done)
        text1_->setPlainText(QString::fromLatin1(text.data(), static_cast<qsizetype>(text.size())));
    frame1_->hide();
    poruka1_->clear();
    poruka2_->clear();
    setmenus(true);
    command_.end(this);
    if (!done && !command_.closepending())
        messagebox(this, engine_.dasmerror);
}

void Form9::menunoopcodes_Click()
{
    listingnoopcodes_ = action("menunoopcodes")->isChecked() ? "ON" : "OFF";
    regwrite("Listing Without Opcodes", listingnoopcodes_);
}

// ---- Window. ----

void Form9::unload()
{
    if (unloaded_)
        return;
    unloaded_ = true;
    savesourcewindow(this, 9);
    toolrouter().closed(Tool::Form9);
}

void Form9::closeEvent(QCloseEvent* event)
{
    unload();
    if (!command_.holdclose(this, event))
        event->accept();
}

} // namespace kelvane
