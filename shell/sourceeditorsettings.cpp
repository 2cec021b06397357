#include "shell/sourceeditorsettings.h"

#include "shell/sourceeditor.h"
#include "sim/settings.h"

#include <QFontDatabase>
#include <QFontInfo>

#include <array>
#include <utility>

namespace kelvane {

namespace {

constexpr const char* defaultfontname = "Courier New";
constexpr int32_t on = -1;
constexpr int32_t off = 0;
constexpr int32_t absent = INT32_MIN; // the assembler's editor has no such setting

struct Field {
    const char* name; // behind the prefix "C " or "A "
    int32_t EditorSettings::*member;
    int32_t compilerdefault;
    int32_t assemblerdefault;
};

// The numbers of both editors in the order the settings are told and applied (the font name
// comes first).
constexpr std::array<Field, 19> fields = {{
    {"Font Size", &EditorSettings::fontsize, 10, 10},
    {"Coloring Enabled", &EditorSettings::coloringenabled, on, on},
    {"Background Color", &EditorSettings::backgroundcolor, rgbvalue(255, 255, 255), rgbvalue(255, 255, 255)},
    {"Text Color", &EditorSettings::textcolor, rgbvalue(0, 0, 0), rgbvalue(0, 0, 0)},
    {"Keyword Color", &EditorSettings::keywordcolor, rgbvalue(0, 0, 150), rgbvalue(0, 0, 150)},
    {"String Color", &EditorSettings::stringcolor, rgbvalue(150, 0, 0), absent},
    {"Comment Color", &EditorSettings::commentcolor, rgbvalue(0, 150, 0), rgbvalue(0, 64, 64)},
    {"ASM Color", &EditorSettings::asmcolor, rgbvalue(0, 150, 150), absent},
    {"Error Color", &EditorSettings::errorcolor, rgbvalue(255, 0, 0), rgbvalue(255, 0, 0)},
    {"Line Numbers Background Color", &EditorSettings::linenumbersbackcolor, rgbvalue(255, 255, 220),
     rgbvalue(255, 255, 220)},
    {"Line Numbers Text Color", &EditorSettings::linenumberstextcolor, rgbvalue(80, 100, 0), rgbvalue(80, 100, 0)},
    {"Line Numbers Enabled", &EditorSettings::linenumbersenabled, on, on},
    {"Auto Format Text Enabled", &EditorSettings::autoformatenabled, on, absent},
    {"Auto Case Control Enabled", &EditorSettings::autocaseenabled, on, absent},
    {"Comment Space", &EditorSettings::commentspace, 2, absent},
    {"Tab Size", &EditorSettings::tabsize, 3, 8},
    {"Procedure Separator Width", &EditorSettings::procseparatorwidth, 50, absent},
    {"Scroll Wheel Step", &EditorSettings::wheelstep, 5, 10},
    {"Undo Levels Number", &EditorSettings::undolevels, 20, 10},
}};

struct Editor {
    const char* prefix;
    EditorSettings& settings;
    bool assembler;
};

std::array<Editor, 2> editors()
{
    return {{{"C ", compilereditor(), false}, {"A ", assemblereditor(), true}}};
}

int32_t defaultof(const Field& f, bool assembler)
{
    return assembler ? f.assemblerdefault : f.compilerdefault;
}

} // namespace

QColor colorfromvalue(int32_t value)
{
    const auto v = static_cast<uint32_t>(value);
    return QColor(static_cast<int>(v & 0xFF), static_cast<int>((v >> 8) & 0xFF), static_cast<int>((v >> 16) & 0xFF));
}

EditorSettings& compilereditor()
{
    static EditorSettings s;
    return s;
}

EditorSettings& assemblereditor()
{
    static EditorSettings s;
    return s;
}

void loadeditorsettings()
{
    for (const Editor& e : editors()) {
        e.settings.fontname = regread(std::string(e.prefix) + "Font Name", defaultfontname);
        for (const Field& f : fields) {
            const int32_t d = defaultof(f, e.assembler);
            if (d != absent)
                e.settings.*f.member = leadingint(regread(e.prefix + std::string(f.name), std::to_string(d)));
        }
    }
}

void saveeditorsettings()
{
    for (const Editor& e : editors()) {
        regwrite(std::string(e.prefix) + "Font Name", e.settings.fontname);
        for (const Field& f : fields)
            if (defaultof(f, e.assembler) != absent)
                regwrite(e.prefix + std::string(f.name), e.settings.*f.member);
    }
}

void defaulteditorsettings()
{
    for (const Editor& e : editors()) {
        e.settings.fontname = defaultfontname;
        for (const Field& f : fields)
            if (defaultof(f, e.assembler) != absent)
                e.settings.*f.member = defaultof(f, e.assembler);
    }
}

void applyassemblereditor(SourceEditor& editor)
{
    loadeditorsettings();
    const EditorSettings& a = assemblereditor();
    editor.setfontname(QString::fromStdString(a.fontname));
    editor.setfontsize(a.fontsize);
    editor.setcoloringenabled(a.coloringenabled != 0);
    editor.setcolor(EditorColor::background, colorfromvalue(a.backgroundcolor));
    editor.setcolor(EditorColor::text, colorfromvalue(a.textcolor));
    editor.setcolor(EditorColor::keyword, colorfromvalue(a.keywordcolor));
    editor.setcolor(EditorColor::comment, colorfromvalue(a.commentcolor));
    editor.setcolor(EditorColor::error, colorfromvalue(a.errorcolor));
    editor.setcolor(EditorColor::linenumbersback, colorfromvalue(a.linenumbersbackcolor));
    editor.setcolor(EditorColor::linenumberstext, colorfromvalue(a.linenumberstextcolor));
    editor.setlinenumbersenabled(a.linenumbersenabled != 0);
    editor.settabsize(a.tabsize);
    editor.setwheelstep(a.wheelstep);
    editor.setundolevels(a.undolevels);
}

void applycompilereditor(SourceEditor& editor)
{
    loadeditorsettings();
    const EditorSettings& c = compilereditor();
    editor.setfontname(QString::fromStdString(c.fontname));
    editor.setfontsize(c.fontsize);
    editor.setcoloringenabled(c.coloringenabled != 0);
    const std::pair<EditorColor, int32_t> colors[] = {
        {EditorColor::background, c.backgroundcolor},
        {EditorColor::text, c.textcolor},
        {EditorColor::keyword, c.keywordcolor},
        {EditorColor::string, c.stringcolor},
        {EditorColor::comment, c.commentcolor},
        {EditorColor::asmcode, c.asmcolor},
        {EditorColor::error, c.errorcolor},
        {EditorColor::linenumbersback, c.linenumbersbackcolor},
        {EditorColor::linenumberstext, c.linenumberstextcolor},
    };
    for (const auto& [which, value] : colors)
        editor.setcolor(which, colorfromvalue(value));
    editor.setlinenumbersenabled(c.linenumbersenabled != 0);
    editor.setautoformatenabled(c.autoformatenabled != 0);
    editor.setautocaseenabled(c.autocaseenabled != 0);
    editor.setcommentspace(c.commentspace);
    editor.settabsize(c.tabsize);
    editor.setprocseparatorwidth(c.procseparatorwidth);
    editor.setwheelstep(c.wheelstep);
    editor.setundolevels(c.undolevels);
}

QFont editorfont(const QString& family, int pointsize)
{
    const int size = pointsize >= 4 && pointsize <= 200 ? pointsize : 10;
    if (!family.isEmpty() && QFontDatabase::hasFamily(family))
        return QFont(family, size);
    QFont fixed(QStringLiteral("DejaVu Sans Mono"), size);
    fixed.setStyleHint(QFont::Monospace);
    if (QFontInfo(fixed).fixedPitch())
        return fixed;
    fixed = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    fixed.setPointSize(size);
    return fixed;
}

} // namespace kelvane
