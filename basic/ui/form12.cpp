#include "basic/ui/form12.h"

#include "assembler/ui/sourcefiles.h"
#include "basic/basic.h"
#include "shell/messages.h"
#include "shell/printing.h"
#include "shell/sourceeditor.h"
#include "shell/sourceeditorsettings.h"
#include "shell/theme.h"
#include "sim/machinestate.h"
#include "sim/programfiles_ui.h"
#include "sim/settings.h"

#include <QCloseEvent>
#include <QCoreApplication>
#include <QFile>
#include <QMenu>
#include <QMenuBar>


namespace kelvane {

namespace {

constexpr const char* untitledcaption = "BASIC Compiler - UNTITLED";
constexpr const char* captionprefix = "BASIC Compiler - ";
constexpr int basicmode = 1;

// Size in twips when none is stored, and the smallest the window may get.
constexpr int defaultwidthtwips = 10500;
constexpr int defaultheighttwips = 8250;
constexpr int minwidthtwips = 5000;
constexpr int minheighttwips = 6000;

constexpr QKeySequence::StandardKey nostd = QKeySequence::UnknownKey;
constexpr QKeyCombination nokey = menunokey;

const MenuItem<Form12> menuitems[] = {
    {0, "menunew", "&New", QKeySequence::New, nokey, &Form12::menunew_Click},
    {0, "menuopen", "&Open", QKeySequence::Open, nokey, &Form12::menuopen_Click},
    {0, "menusave", "&Save", QKeySequence::Save, nokey, &Form12::menusave_Click},
    {0, "menusaveas", "Save &As", nostd, QKeyCombination(Qt::CTRL | Qt::SHIFT | Qt::Key_S), &Form12::menusaveas_Click,
     true},
    {0, "menuprint", "&Print", QKeySequence::Print, nokey, &Form12::menuprint_Click},
    {1, "menuundo", "&Undo", QKeySequence::Undo, nokey, &Form12::menuundo_Click, true},
    {1, "menucopy", "&Copy", QKeySequence::Copy, nokey, &Form12::menucopy_Click},
    {1, "menucut", "Cu&t", QKeySequence::Cut, nokey, &Form12::menucut_Click},
    {1, "menupaste", "&Paste", QKeySequence::Paste, nokey, &Form12::menupaste_Click, true},
    {1, "menufind", "&Find", QKeySequence::Find, nokey, &Form12::menufind_Click},
    {1, "menufindnext", "Find &Next", nostd, QKeyCombination(Qt::Key_F3), &Form12::menufindnext_Click},
    {1, "menureplace", "R&eplace All", nostd, QKeyCombination(Qt::CTRL | Qt::Key_H), &Form12::menureplace_Click},
    {1, "menudefinition", "&Definition", nostd, nokey, &Form12::menudefinition_Click, true},
    {1, "menuformat", "Format Text", nostd, nokey, &Form12::menuformat_Click},
    {2, "menucompile", "&Compile", nostd, QKeyCombination(Qt::Key_F5), &Form12::menucompile_Click},
};

void pump()
{
    QCoreApplication::processEvents();
}

// Language mode 1, registered once for every BASIC editor.
void registerbasic()
{
    static const bool registered = [] {
        SourceEditor::registerlanguage(basicmode, {stylebasicline, formatbasicline, basicblocks});
        return true;
    }();
    (void)registered;
}

} // namespace

Form12::Form12()
{
    registerbasic();
    setObjectName(QStringLiteral("Form12"));
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(QString::fromLatin1(untitledcaption));
    setMinimumSize(twipstopixels(minwidthtwips), twipstopixels(minheighttwips));
    edit1_ = new SourceEditor(this);
    edit1_->setObjectName(QStringLiteral("edittextboxpro1"));
    setCentralWidget(edit1_);
    buildmenus();

    // Form_Load.
    placesourcewindow(this, 12, defaultwidthtwips, defaultheighttwips);
    toolrouter().opened(Tool::Form12, this, this);
    setup();
}

Form12::~Form12()
{
    unload();
}

void Form12::settheme()
{
    themewindow(this);
}

void Form12::buildmenus()
{
    menus_ = kelvane::buildmenus(this, {"&File", "&Edit", "&Tools"}, menuitems, command_);
    // The Edit menu also on a right click and the Menu key.
    edit1_->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(edit1_, &QWidget::customContextMenuRequested, this,
            [this](const QPoint& pos) { menus_[1]->popup(edit1_->viewport()->mapToGlobal(pos)); });
}

void Form12::setup()
{
    applycompilereditor(*edit1_);
    edit1_->cleartext();
    edit1_->setlanguagemode(basicmode);
    edit1_->clearkeywords();
    for (const std::string& word : basic::basickeywords())
        edit1_->addkeyword(QString::fromStdString(word));
    edit1_->cleartext();
    edit1_->setFocus();
}

QAction* Form12::action(const char* name) const
{
    return findChild<QAction*>(QString::fromLatin1(name));
}

QMenu* Form12::menu(const char* name) const
{
    return findChild<QMenu*>(QString::fromLatin1(name));
}

void Form12::setfile(const QString& folder, const QString& name)
{
    folder_ = folder;
    filename_ = name;
    setWindowTitle(name.isEmpty() ? QString::fromLatin1(untitledcaption) : QString::fromLatin1(captionprefix) + name);
}

void Form12::setmenus(bool enabled)
{
    for (QMenu* m : menus_)
        m->menuAction()->setEnabled(enabled);
}

bool Form12::savesource(const QString& path)
{
    QString error;
    if (edit1_->savefile(path, &error))
        return true;
    messagebox(this, error);
    return false;
}

// ---- File. ----

void Form12::menunew_Click()
{
    setfile(QString(), QString());
    edit1_->cleartext();
}

void Form12::menuopen_Click()
{
    const QString path = askopenpath(this, basicsource);
    if (!path.isEmpty())
        openpath(path);
}

bool Form12::openpath(const QString& path)
{
    // Read before anything changes: a file that can't be read leaves text and caption.
    QString error;
    if (!edit1_->loadfile(path, &error)) {
        messagebox(this, error);
        return false;
    }
    const QString name = takelastpath(machinestate(), path);
    setfile(path.left(path.size() - name.size()), name);
    return true;
}

void Form12::menusave_Click()
{
    if (untitled())
        menusaveas_Click();
    else
        savesource(folder_ + filename_);
}

void Form12::menusaveas_Click()
{
    const QString path = asksavepath(this, basicsource);
    if (path.isEmpty() || !savesource(path))
        return;
    const qsizetype cut = path.lastIndexOf(QLatin1Char('/')) + 1;
    setfile(path.left(cut), path.mid(cut));
    confirm(this, QStringLiteral("File ") + path + QStringLiteral(" saved."));
}

// Print and Compile need a file and some text.
bool Form12::hasfileandtext()
{
    if (untitled())
        confirm(this, QStringLiteral("Please save the file first."));
    else if (edit1_->isempty())
        confirm(this, QStringLiteral("The editor is empty."));
    return !untitled() && !edit1_->isempty();
}

void Form12::menuprint_Click()
{
    if (!hasfileandtext())
        return;
    const std::string bytes = edit1_->textbytes();
    command_.begin();
    setmenus(false);
    printsource(this, filename_,
                printabletext(QString::fromUtf8(bytes.data(), static_cast<qsizetype>(bytes.size()))), pump);
    setmenus(true);
    command_.end(this);
}

// ---- Edit. ----

void Form12::menuundo_Click()
{
    edit1_->undo();
}

void Form12::menucopy_Click()
{
    edit1_->copy();
}

void Form12::menucut_Click()
{
    edit1_->cut();
}

void Form12::menupaste_Click()
{
    edit1_->paste();
}

void Form12::menuformat_Click()
{
    edit1_->formattext();
}

QString Form12::ask(const QString& prompt, const QString& offered)
{
    bool ok = false;
    const QString answer = inputbox(this, prompt, offered, &ok);
    return ok ? answer : QString();
}

void Form12::menufind_Click()
{
    const QString answer = ask(QStringLiteral("Find what:"), edit1_->wordatcaret());
    if (answer.isEmpty())
        return;
    findtext_ = answer;
    edit1_->findtext(findtext_);
}

void Form12::menufindnext_Click()
{
    edit1_->findtext(findtext_);
}

void Form12::menureplace_Click()
{
    const QString what = ask(QStringLiteral("Find what:"), edit1_->wordatcaret());
    if (what.isEmpty())
        return;
    const QString with = ask(QStringLiteral("Replace with:"), what);
    if (with.isEmpty())
        return;
    const int count = edit1_->replaceall(what, with);
    messagebox(this, QString::number(count) + QStringLiteral(" words replaced."));
}

void Form12::menudefinition_Click()
{
    const QString word = edit1_->wordatcaret();
    if (word.isEmpty())
        return;
    // Each search starts where the one before left the caret: the last one found stays selected.
    for (const QString& text : {word + QLatin1Char(':'), QStringLiteral("Symbol ") + word,
                                QStringLiteral("Const ") + word, QStringLiteral("Dim ") + word})
        edit1_->findtext(text);
}

// ---- Tools. ----

void Form12::menucompile_Click()
{
    if (!hasfileandtext())
        return;
    command_.begin();
    edit1_->clearmarks();
    setmenus(false);
    pump();
    edit1_->setEnabled(false);
    pump();

    // The source is saved unasked, and the bytes on disk are the bytes compiled.
    const QString path = folder_ + filename_;
    std::string source;
    bool saved = savesource(path);
    if (saved) {
        QFile file(path);
        saved = file.open(QIODevice::ReadOnly);
        const QByteArray bytes = file.readAll();
        source.assign(bytes.constData(), static_cast<size_t>(bytes.size()));
        if (!saved || file.error() != QFileDevice::NoError) {
            saved = false;
            messagebox(this, QStringLiteral("Cannot read the file %1: %2.").arg(path, file.errorString()));
        }
    }
    std::string result;
    basic::BasicCompiler compiler;
    if (saved) {
        const std::string asmpath = (folder_ + QString::fromStdString(basic::basicasmname(filename_.toStdString())))
                                        .toStdString();
        result = compiler.compilebasic(source, asmpath);
        // The error box comes while the window is still disabled, before the caret moves.
        if (result.empty())
            messagebox(this, compiler.errortext);
    }

    edit1_->setEnabled(true);
    pump();
    if (compiler.compileerrorline != 0) {
        edit1_->gotoline(compiler.compileerrorline);
        edit1_->markline(compiler.compileerrorline);
    }
    setmenus(true);
    edit1_->setFocus();
    command_.end(this);
    if (!result.empty() && !command_.closepending())
        confirm(this, result);
}

// ---- Window. ----

void Form12::unload()
{
    if (unloaded_)
        return;
    unloaded_ = true;
    savesourcewindow(this, 12);
    toolrouter().closed(Tool::Form12);
}

void Form12::closeEvent(QCloseEvent* event)
{
    unload();
    if (!command_.holdclose(this, event))
        event->accept();
}

} // namespace kelvane
