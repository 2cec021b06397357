#include "shell/sourceeditor.h"

#include "progfiles/safewrite.h"
#include "shell/sourceeditorsettings.h"

#include <Qsci/qscicommand.h>
#include <Qsci/qscicommandset.h>
#include <Qsci/qscilexercustom.h>

#include <QAccessibleWidget>
#include <QCoreApplication>
#include <QFile>
#include <QKeyEvent>
#include <QPainter>
#include <QWheelEvent>

#include <algorithm>
#include <cstring>
#include <map>

namespace kelvane {

namespace {

// Marker 0 tints a marked line, marker 1 shows it in the symbol margin.
constexpr int linemark = 0;
constexpr int marginmark = 1;
constexpr unsigned linemarkmask = 1u << linemark;
constexpr int numbermargin = 0;
constexpr int symbolmargin = 1;

std::map<int, LanguageMode>& languages()
{
    static std::map<int, LanguageMode> table = {{2, {styleassemblerline, formatassemblerline}}};
    return table;
}

size_t colorindex(EditorColor c)
{
    return static_cast<size_t>(c);
}

// The library's own accessible for its editors counts the characters from the start of the text
// at every update of the caret, so that each keystroke costs as much as the text before it. The
// editor is told to the accessibility tools as a plain editable widget instead.
QAccessibleInterface* editoraccessible(const QString& classname, QObject* object)
{
    if (classname == QLatin1String(SourceEditor::staticMetaObject.className()) && object != nullptr &&
        object->isWidgetType())
        return new QAccessibleWidget(static_cast<QWidget*>(object), QAccessible::EditableText);
    return nullptr;
}

} // namespace

// Styles the lines Scintilla asks for (what changed and what is about to be shown) through the
// language mode's line styler; the other styles' colours come from the editor.
class SourceLexer : public QsciLexerCustom {
public:
    explicit SourceLexer(SourceEditor* editor)
        : QsciLexerCustom(editor), editor_(editor)
    {
    }
    const char* language() const override { return "Kelvane"; }
    QString description(int style) const override
    {
        switch (style) {
        case styledefault: return QStringLiteral("Text");
        case stylekeyword: return QStringLiteral("Keyword");
        case stylecomment: return QStringLiteral("Comment");
        case stylestring: return QStringLiteral("String");
        case styleasm: return QStringLiteral("ASM");
        default: return {};
        }
    }

    void styleText(int start, int end) override
    {
        SourceEditor& ed = *editor_;
        const long length = ed.SendScintilla(QsciScintillaBase::SCI_GETLENGTH);
        const long lines = ed.SendScintilla(QsciScintillaBase::SCI_GETLINECOUNT);
        // Whole lines only: the styler reads a line from its start to its end.
        const long last = ed.SendScintilla(QsciScintillaBase::SCI_LINEFROMPOSITION, std::max(start, end - 1));
        const long stop =
            last + 1 < lines ? ed.SendScintilla(QsciScintillaBase::SCI_POSITIONFROMLINE, last + 1) : length;
        if (stop <= start)
            return;
        const auto count = static_cast<size_t>(stop - start);
        styles_.assign(count, styledefault);
        const LanguageMode* lang = ed.language();
        if (ed.coloring_ && lang != nullptr && lang->styler != nullptr) {
            const auto* text = reinterpret_cast<const char*>(
                ed.SendScintilla(QsciScintillaBase::SCI_GETRANGEPOINTER, static_cast<unsigned long>(start),
                                 static_cast<long>(count)));
            size_t i = 0;
            while (i < count) {
                const void* nl = std::memchr(text + i, '\n', count - i);
                const size_t lineend = nl != nullptr ? static_cast<size_t>(static_cast<const char*>(nl) - text) : count;
                size_t contentend = lineend;
                if (contentend > i && text[contentend - 1] == '\r')
                    --contentend;
                lang->styler(std::string_view(text + i, contentend - i), ed.keywords_, styles_.data() + i);
                i = lineend + 1;
            }
        }
        ed.styledbytes_ += count;
        startStyling(start);
        ed.SendScintilla(QsciScintillaBase::SCI_SETSTYLINGEX, static_cast<uintptr_t>(count),
                         reinterpret_cast<const char*>(styles_.data()));
    }

private:
    SourceEditor* editor_;
    std::vector<uint8_t> styles_;
};

SourceEditor::SourceEditor(QWidget* parent)
    : QsciScintilla(parent)
{
    static const bool accessible = [] {
        QAccessible::installFactory(editoraccessible);
        return true;
    }();
    (void)accessible;
    setUtf8(true);
    setEolMode(EolUnix);
    setWrapMode(WrapNone);
    setIndentationsUseTabs(true);
    setAutoIndent(false);
    setBraceMatching(NoBraceMatch);
    setFolding(NoFoldStyle);
    SendScintilla(SCI_SETSCROLLWIDTHTRACKING, 1L);
    // What is shown is styled before it is painted; the text above it (after a jump to the end
    // of a long text) is styled a little at a time while the window is idle.
    SendScintilla(SCI_SETIDLESTYLING, static_cast<unsigned long>(SC_IDLESTYLING_TOVISIBLE));
    SendScintilla(SCI_SETSCROLLWIDTH, 1L);

    // Undo and redo keys go through undo() and redo(), which keep the limit of undo levels.
    for (const auto command : {QsciCommand::Undo, QsciCommand::Redo}) {
        if (QsciCommand* cmd = standardCommands()->find(command)) {
            cmd->setKey(0);
            cmd->setAlternateKey(0);
        }
    }

    colors_[colorindex(EditorColor::background)] = Qt::white;
    colors_[colorindex(EditorColor::text)] = Qt::black;
    colors_[colorindex(EditorColor::keyword)] = QColor(0, 0, 150);
    colors_[colorindex(EditorColor::string)] = QColor(150, 0, 0);
    colors_[colorindex(EditorColor::comment)] = QColor(0, 64, 64);
    colors_[colorindex(EditorColor::asmcode)] = QColor(0, 150, 150);
    colors_[colorindex(EditorColor::error)] = QColor(255, 0, 0);
    colors_[colorindex(EditorColor::linenumbersback)] = QColor(255, 255, 220);
    colors_[colorindex(EditorColor::linenumberstext)] = QColor(80, 100, 0);
    font_ = kelvane::editorfont(QStringLiteral("Courier New"), 10);

    lexer_ = new SourceLexer(this);
    setLexer(lexer_);

    setMarginType(numbermargin, NumberMargin);
    setMarginMarkerMask(numbermargin, 0);
    setMarginType(symbolmargin, SymbolMarginColor);
    setMarginMarkerMask(symbolmargin, 1 << marginmark);
    setMarginWidth(symbolmargin, 12);
    for (int m = 2; m < 5; ++m)
        setMarginWidth(m, 0);
    markerDefine(Background, linemark);
    markerDefine(RightTriangle, marginmark);

    // Only the notices sent before a change: the library answers each notice of a change made
    // with a count of the characters from the start of the text, which would make every
    // keystroke and every replacement cost as much as the text before it.
    SendScintilla(SCI_SETMODEVENTMASK, static_cast<unsigned long>(SC_MOD_BEFOREINSERT | SC_MOD_BEFOREDELETE));
    connect(this, &QsciScintillaBase::SCN_MODIFIED, this,
            [this](int, int type, const char*, int, int, int, int, int, int, int) { modified(type); });
    connect(this, &QsciScintillaBase::SCN_UPDATEUI, this, [this](int) { updatemargin(); });
    connect(this, &QsciScintillaBase::SCN_CHARADDED, this, &SourceEditor::charadded);
    applystyles();
}

SourceEditor::~SourceEditor() = default;

void SourceEditor::registerlanguage(int mode, LanguageMode language)
{
    languages()[mode] = language;
}

const LanguageMode* SourceEditor::language() const
{
    const auto it = languages().find(mode_);
    return it == languages().end() ? nullptr : &it->second;
}

// ---- Text. ----

std::string SourceEditor::textbytes() const
{
    const long n = SendScintilla(SCI_GETLENGTH);
    const auto* p = static_cast<const char*>(SendScintillaPtrResult(SCI_GETCHARACTERPOINTER));
    return p != nullptr && n > 0 ? std::string(p, static_cast<size_t>(n)) : std::string();
}

bool SourceEditor::isempty() const
{
    return SendScintilla(SCI_GETLENGTH) == 0;
}

void SourceEditor::settextbytes(std::string_view utf8)
{
    const bool ro = isReadOnly();
    if (ro)
        SendScintilla(SCI_SETREADONLY, 0UL);
    SendScintilla(SCI_CLEARALL);
    if (!utf8.empty())
        SendScintilla(SCI_APPENDTEXT, static_cast<uintptr_t>(utf8.size()), utf8.data());
    if (ro)
        SendScintilla(SCI_SETREADONLY, 1UL);
    SendScintilla(SCI_EMPTYUNDOBUFFER);
    SendScintilla(SCI_GOTOPOS, 0UL);
    undone_ = 0;
    updatemargin();
}

void SourceEditor::cleartext()
{
    clearmarks();
    settextbytes({});
    latin1_ = false;
    setEolMode(EolUnix);
}

bool SourceEditor::crlf() const
{
    return eolMode() == EolWindows;
}

bool SourceEditor::loadfile(const QString& path, QString* error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        if (error != nullptr)
            *error = QStringLiteral("Cannot open the file %1: %2.").arg(path, file.errorString());
        return false;
    }
    const QByteArray data = file.readAll();
    if (file.error() != QFileDevice::NoError) {
        if (error != nullptr)
            *error = QStringLiteral("Cannot read the file %1: %2.").arg(path, file.errorString());
        return false;
    }
    clearmarks();
    latin1_ = !data.isValidUtf8();
    if (latin1_)
        settextbytes(QString::fromLatin1(data).toUtf8().toStdString());
    else
        settextbytes(std::string_view(data.constData(), static_cast<size_t>(data.size())));
    if (data.contains("\r\n"))
        setEolMode(EolWindows);
    else if (!data.contains('\n') && data.contains('\r'))
        setEolMode(EolMac);
    else
        setEolMode(EolUnix);
    return true;
}

bool SourceEditor::savefile(const QString& path, QString* error)
{
    std::string bytes = textbytes();
    if (latin1_) {
        const QString text = QString::fromUtf8(bytes.data(), static_cast<qsizetype>(bytes.size()));
        // A character without a Latin-1 form turns the file into UTF-8 rather than being lost.
        if (std::all_of(text.begin(), text.end(), [](QChar c) { return c.unicode() < 256; }))
            bytes = text.toLatin1().toStdString();
        else
            latin1_ = false;
    }
    std::string message;
    if (!writefilesafely(path.toStdString(), bytes, &message)) {
        if (error != nullptr)
            *error = QString::fromStdString(message);
        return false;
    }
    return true;
}

// ---- Editing. ----

void SourceEditor::undo()
{
    if (undone_ >= undolevels_ || SendScintilla(SCI_CANUNDO) == 0)
        return;
    QsciScintilla::undo();
    ++undone_;
}

void SourceEditor::modified(int type)
{
    // An edit of the user's (not an undo or a redo) makes the levels count from it again.
    if ((type & SC_PERFORMED_USER) != 0)
        undone_ = 0;
}

void SourceEditor::redo()
{
    if (SendScintilla(SCI_CANREDO) == 0)
        return;
    QsciScintilla::redo();
    if (undone_ > 0)
        --undone_;
}

void SourceEditor::formattext()
{
    const LanguageMode* lang = language();
    if (lang == nullptr || lang->formatter == nullptr || isReadOnly())
        return;
    const std::string before = textbytes();
    const auto format = [this](std::string_view line) { return formatline(line); };
    const std::string after = lang->blocks != nullptr ? formatblocktext(before, format, lang->blocks)
                                                      : formattextlines(before, format);
    if (after == before)
        return;
    const std::vector<int> marks = markedlines();
    const int first = firstvisibleline();
    const int line = currentline();
    SendScintilla(SCI_BEGINUNDOACTION);
    SendScintilla(SCI_TARGETWHOLEDOCUMENT);
    SendScintilla(SCI_REPLACETARGET, static_cast<uintptr_t>(after.size()), after.c_str());
    SendScintilla(SCI_ENDUNDOACTION);
    clearmarks();
    for (int m : marks)
        markline(m);
    SendScintilla(SCI_SETFIRSTVISIBLELINE, static_cast<unsigned long>(first - 1));
    SendScintilla(SCI_GOTOLINE, static_cast<unsigned long>(line - 1));
}

QString SourceEditor::wordatcaret() const
{
    int line = 0;
    int index = 0;
    getCursorPosition(&line, &index);
    return wordAtLineIndex(line, index);
}

bool SourceEditor::findtext(const QString& text)
{
    if (text.isEmpty())
        return false;
    return findFirst(text, false, false, false, true, true, -1, -1, true);
}

int SourceEditor::replaceall(const QString& findtext, const QString& replacetext)
{
    const QByteArray what = findtext.toUtf8();
    const QByteArray with = replacetext.toUtf8();
    if (what.isEmpty() || isReadOnly())
        return 0;
    int count = 0;
    SendScintilla(SCI_SETSEARCHFLAGS, static_cast<unsigned long>(SCFIND_WHOLEWORD));
    SendScintilla(SCI_BEGINUNDOACTION);
    long from = 0;
    for (;;) {
        const long length = SendScintilla(SCI_GETLENGTH);
        SendScintilla(SCI_SETTARGETRANGE, static_cast<unsigned long>(from), length);
        if (SendScintilla(SCI_SEARCHINTARGET, static_cast<uintptr_t>(what.size()), what.constData()) < 0)
            break;
        SendScintilla(SCI_REPLACETARGET, static_cast<uintptr_t>(with.size()), with.constData());
        from = SendScintilla(SCI_GETTARGETEND);
        ++count;
    }
    SendScintilla(SCI_ENDUNDOACTION);
    return count;
}

// ---- Lines and marks. ----

void SourceEditor::markline(int line)
{
    if (line < 1 || line > linecount())
        return;
    markerAdd(line - 1, linemark);
    markerAdd(line - 1, marginmark);
}

void SourceEditor::clearmarks()
{
    markerDeleteAll(linemark);
    markerDeleteAll(marginmark);
}

std::vector<int> SourceEditor::markedlines() const
{
    std::vector<int> out;
    for (int l = markerFindNext(0, linemarkmask); l >= 0; l = markerFindNext(l + 1, linemarkmask))
        out.push_back(l + 1);
    return out;
}

void SourceEditor::gotonextmark()
{
    int next = markerFindNext(currentline(), linemarkmask); // the line below the caret (0-based)
    if (next < 0)
        next = markerFindNext(0, linemarkmask);
    if (next >= 0)
        gotoline(next + 1);
}

int SourceEditor::currentline() const
{
    return static_cast<int>(SendScintilla(SCI_LINEFROMPOSITION, SendScintilla(SCI_GETCURRENTPOS))) + 1;
}

int SourceEditor::linecount() const
{
    return static_cast<int>(SendScintilla(SCI_GETLINECOUNT));
}

int SourceEditor::firstvisibleline() const
{
    return static_cast<int>(SendScintilla(SCI_GETFIRSTVISIBLELINE)) + 1;
}

void SourceEditor::gotoline(int line)
{
    const int l = std::clamp(line, 1, linecount()) - 1;
    const int first = firstvisibleline() - 1;
    const int onscreen = std::max(1, static_cast<int>(SendScintilla(SCI_LINESONSCREEN)));
    if (l < first || l >= first + onscreen)
        SendScintilla(SCI_SETFIRSTVISIBLELINE, static_cast<unsigned long>(std::max(0, l - onscreen / 2)));
    SendScintilla(SCI_GOTOLINE, static_cast<unsigned long>(l));
}

void SourceEditor::showline(int line)
{
    const int l = std::clamp(line, 1, linecount()) - 1;
    const int first = firstvisibleline() - 1;
    const int onscreen = std::max(1, static_cast<int>(SendScintilla(SCI_LINESONSCREEN)));
    if (l < first || l >= first + onscreen)
        SendScintilla(SCI_SETFIRSTVISIBLELINE, static_cast<unsigned long>(std::max(0, l - onscreen + 1)));
}

void SourceEditor::scrollup()
{
    SendScintilla(SCI_LINESCROLL, 0UL, static_cast<long>(-wheelstep_));
}

void SourceEditor::scrolldown()
{
    SendScintilla(SCI_LINESCROLL, 0UL, static_cast<long>(wheelstep_));
}

void SourceEditor::wheelturn(int angledelta)
{
    wheelrest_ += angledelta;
    for (; wheelrest_ >= 120; wheelrest_ -= 120)
        scrollup();
    for (; wheelrest_ <= -120; wheelrest_ += 120)
        scrolldown();
}

// ---- Keywords and language. ----

void SourceEditor::restyle()
{
    // Styling is redone as the text is shown again.
    SendScintilla(SCI_STARTSTYLING, 0UL);
    viewport()->update();
}

void SourceEditor::clearkeywords()
{
    keywords_.clear();
    restyle();
}

void SourceEditor::addkeyword(const QString& word)
{
    keywords_.add(word.toStdString());
    restyle();
}

void SourceEditor::setlanguagemode(int mode)
{
    mode_ = mode;
    restyle();
}

int SourceEditor::styleat(int position)
{
    // Styled on from where styling stands (colouring from 0 would style the whole text anew).
    const long styled = SendScintilla(SCI_GETENDSTYLED);
    if (position >= styled)
        SendScintilla(SCI_COLOURISE, static_cast<unsigned long>(styled), static_cast<long>(position + 1));
    return static_cast<int>(SendScintilla(SCI_GETSTYLEAT, static_cast<unsigned long>(position)));
}

// ---- Appearance and behaviour. ----

void SourceEditor::setfontname(const QString& name)
{
    font_ = kelvane::editorfont(name, font_.pointSize());
    applystyles();
}

void SourceEditor::setfontsize(int points)
{
    // A size no one could read or that would fill the screen with a character shows at 10.
    font_.setPointSize(points >= 4 && points <= 200 ? points : 10);
    applystyles();
}

void SourceEditor::setcoloringenabled(bool on)
{
    coloring_ = on;
    applystyles();
}

void SourceEditor::setcolor(EditorColor which, const QColor& color)
{
    colors_[colorindex(which)] = color;
    applystyles();
}

void SourceEditor::setlinenumbersenabled(bool on)
{
    linenumbers_ = on;
    updatemargin(true);
}

void SourceEditor::settabsize(int columns)
{
    setTabWidth(std::max(1, columns));
}

void SourceEditor::setwheelstep(int lines)
{
    wheelstep_ = std::max(1, lines);
}

void SourceEditor::setprocseparatorwidth(int characters)
{
    procseparator_ = std::max(0, characters);
    viewport()->update();
}

std::string SourceEditor::formatline(std::string_view line) const
{
    const LanguageMode* lang = language();
    if (lang == nullptr || lang->formatter == nullptr)
        return std::string(line);
    std::string out = lang->formatter(line);
    if (commentspace_ > 0 && lang->styler != nullptr)
        out = spacecomment(out, lang->styler, keywords_, commentspace_);
    return out;
}

void SourceEditor::paintEvent(QPaintEvent* e)
{
    QsciScintilla::paintEvent(e);
    const LanguageMode* lang = language();
    if (procseparator_ <= 0 || lang == nullptr || lang->styler == nullptr)
        return;
    // The separators over the text, never over the margins.
    int margins = 0;
    for (unsigned long m = 0; m < 5; ++m)
        margins += static_cast<int>(SendScintilla(SCI_GETMARGINWIDTHN, m));
    QPainter p(viewport());
    p.setClipRect(QRect(margins, 0, viewport()->width() - margins, viewport()->height()));
    p.setPen(QPen(color(EditorColor::linenumberstext), 1));
    const std::string characters(static_cast<size_t>(procseparator_), '0');
    const int length =
        static_cast<int>(SendScintilla(SCI_TEXTWIDTH, static_cast<unsigned long>(styledefault), characters.c_str()));
    const long first = SendScintilla(SCI_GETFIRSTVISIBLELINE);
    const long last = std::min(SendScintilla(SCI_GETLINECOUNT), first + SendScintilla(SCI_LINESONSCREEN) + 1);
    for (long l = first; l < last; ++l) {
        QByteArray bytes = text(static_cast<int>(l)).toUtf8();
        while (bytes.endsWith('\n') || bytes.endsWith('\r'))
            bytes.chop(1);
        if (!beginswithlabel(std::string_view(bytes.constData(), static_cast<size_t>(bytes.size())), lang->styler,
                             keywords_))
            continue;
        const long start = SendScintilla(SCI_POSITIONFROMLINE, static_cast<unsigned long>(l));
        const int x = static_cast<int>(SendScintilla(SCI_POINTXFROMPOSITION, 0UL, start));
        const int y = static_cast<int>(SendScintilla(SCI_POINTYFROMPOSITION, 0UL, start));
        p.drawLine(x, y, x + length - 1, y);
    }
}

void SourceEditor::setundolevels(int levels)
{
    undolevels_ = std::max(0, levels);
    SendScintilla(SCI_SETUNDOCOLLECTION, undolevels_ > 0 ? 1UL : 0UL);
    if (undolevels_ == 0)
        SendScintilla(SCI_EMPTYUNDOBUFFER);
}

void SourceEditor::applystyles()
{
    const QColor back = color(EditorColor::background);
    const QColor text = color(EditorColor::text);
    const std::array<std::pair<int, EditorColor>, 5> styles = {{{styledefault, EditorColor::text},
                                                                {stylekeyword, EditorColor::keyword},
                                                                {stylecomment, EditorColor::comment},
                                                                {stylestring, EditorColor::string},
                                                                {styleasm, EditorColor::asmcode}}};
    lexer_->setDefaultFont(font_);
    lexer_->setDefaultColor(text);
    lexer_->setDefaultPaper(back);
    for (const auto& [style, which] : styles) {
        lexer_->setFont(font_, style);
        lexer_->setPaper(back, style);
        lexer_->setColor(coloring_ ? color(which) : text, style);
    }
    SendScintilla(SCI_STYLESETBACK, static_cast<unsigned long>(STYLE_DEFAULT), back);
    SendScintilla(SCI_STYLESETFORE, static_cast<unsigned long>(STYLE_DEFAULT), text);
    setCaretForegroundColor(text);
    setMarginsFont(font_);
    setMarginsBackgroundColor(color(EditorColor::linenumbersback));
    setMarginsForegroundColor(color(EditorColor::linenumberstext));
    setMarginBackgroundColor(symbolmargin, color(EditorColor::linenumbersback));
    const QColor error = color(EditorColor::error);
    // The marked line gets a tint of the error colour, so that its text stays readable.
    const auto mix = [](int e, int b) { return (e * 3 + b * 7) / 10; };
    setMarkerBackgroundColor(QColor(mix(error.red(), back.red()), mix(error.green(), back.green()),
                                    mix(error.blue(), back.blue())),
                             linemark);
    setMarkerBackgroundColor(error, marginmark);
    setMarkerForegroundColor(error, marginmark);
    updatemargin(true);
}

void SourceEditor::updatemargin(bool force)
{
    int digits = 1;
    for (int n = linecount(); n >= 10; n /= 10)
        ++digits;
    digits = std::max(digits, 3);
    if (!force && digits == margindigits_)
        return;
    margindigits_ = digits;
    if (linenumbers_)
        setMarginWidth(numbermargin, QString(digits + 1, QLatin1Char('9')));
    else
        setMarginWidth(numbermargin, 0);
}

// ---- Events. ----

bool SourceEditor::event(QEvent* e)
{
    if (e->type() == QEvent::ShortcutOverride) {
        const auto* key = static_cast<QKeyEvent*>(e);
        if (key->matches(QKeySequence::Undo) || key->matches(QKeySequence::Redo)) {
            e->accept();
            return true;
        }
    }
    return QsciScintilla::event(e);
}

void SourceEditor::keyPressEvent(QKeyEvent* e)
{
    if (e->matches(QKeySequence::Undo) || e->matches(QKeySequence::Redo)) {
        if (e->matches(QKeySequence::Undo))
            undo();
        else
            redo();
        e->accept();
        return;
    }
    if ((e->key() == Qt::Key_Return || e->key() == Qt::Key_Enter) &&
        (e->modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier && autoformatenter()) {
        e->accept();
        return;
    }
    QsciScintilla::keyPressEvent(e);
    paintnow();
}

void SourceEditor::paintnow()
{
    // What a key or the wheel changed is painted at once, not at the next pass of an event pump
    // that runs between slices of a fast run.
    if (QWidget* w = window())
        QCoreApplication::sendPostedEvents(w, QEvent::UpdateRequest);
}

void SourceEditor::wheelEvent(QWheelEvent* e)
{
    const int dy = e->angleDelta().y();
    if ((e->modifiers() & Qt::ControlModifier) != 0 || dy == 0) {
        QsciScintilla::wheelEvent(e);
        return;
    }
    wheelturn(dy);
    e->accept();
    paintnow();
}

} // namespace kelvane
