#include "shell/editorsetup.h"

#include "sim/settings.h"

namespace kelvane {

namespace {

struct EditorTheme {
    int32_t background, text, keyword, string, comment, asmcode, error, linenumbersback, linenumberstext;
};

constexpr std::array<EditorTheme, editorthemecount> editorthemes = {{
    {rgbvalue(255, 255, 255), rgbvalue(0, 0, 0), rgbvalue(0, 0, 150), rgbvalue(150, 0, 0), rgbvalue(0, 150, 0),
     rgbvalue(0, 150, 150), rgbvalue(255, 0, 0), rgbvalue(255, 255, 220), rgbvalue(80, 100, 0)},
    {rgbvalue(255, 255, 223), rgbvalue(0, 0, 0), rgbvalue(0, 102, 102), rgbvalue(255, 208, 0), rgbvalue(0, 170, 170),
     rgbvalue(146, 75, 114), rgbvalue(255, 0, 0), rgbvalue(255, 255, 215), rgbvalue(128, 128, 128)},
    {rgbvalue(255, 255, 255), rgbvalue(0, 0, 0), rgbvalue(0, 0, 250), rgbvalue(128, 0, 0), rgbvalue(0, 128, 0),
     rgbvalue(0, 0, 128), rgbvalue(255, 0, 0), rgbvalue(240, 240, 240), rgbvalue(128, 128, 128)},
    {rgbvalue(255, 255, 255), rgbvalue(0, 0, 160), rgbvalue(0, 128, 0), rgbvalue(255, 0, 0), rgbvalue(255, 128, 0),
     rgbvalue(146, 75, 114), rgbvalue(255, 0, 0), rgbvalue(240, 240, 240), rgbvalue(0, 0, 0)},
    {rgbvalue(0, 0, 0), rgbvalue(0, 128, 192), rgbvalue(204, 204, 0), rgbvalue(255, 255, 250), rgbvalue(128, 128, 128),
     rgbvalue(255, 255, 250), rgbvalue(255, 0, 0), rgbvalue(0, 0, 94), rgbvalue(128, 128, 250)},
    {rgbvalue(217, 234, 250), rgbvalue(0, 0, 0), rgbvalue(0, 0, 128), rgbvalue(100, 100, 100), rgbvalue(0, 100, 0),
     rgbvalue(146, 75, 114), rgbvalue(255, 0, 0), rgbvalue(0, 64, 128), rgbvalue(255, 255, 128)},
    {rgbvalue(255, 255, 255), rgbvalue(128, 128, 192), rgbvalue(0, 0, 128), rgbvalue(255, 128, 0), rgbvalue(0, 128, 0),
     rgbvalue(255, 0, 0), rgbvalue(255, 0, 0), rgbvalue(232, 232, 232), rgbvalue(111, 111, 111)},
}};

// The assembler's editor's comment colour in the first row.
constexpr int32_t assemblerfirstcomment = rgbvalue(0, 64, 64);

void setcolours(EditorSettings& s, const EditorTheme& t)
{
    s.backgroundcolor = t.background;
    s.textcolor = t.text;
    s.keywordcolor = t.keyword;
    s.commentcolor = t.comment;
    s.errorcolor = t.error;
    s.linenumbersbackcolor = t.linenumbersback;
    s.linenumberstextcolor = t.linenumberstext;
}

} // namespace

const std::array<const char*, editorthemecount> editorthemenames = {
    "1 - Tessaro (Default)", "2 - PureBasic",   "3 - Visual Studio", "4 - PHP Extended",
    "5 - Black Style",       "6 - Blue Style", "7 - White Style",
};

QString editorthemeprompt()
{
    QString prompt = QStringLiteral("Select Predefined Color Theme [1-7]:\r\n");
    for (const char* name : editorthemenames)
        prompt += QString::fromLatin1(name) + QStringLiteral("\r\n");
    return prompt;
}

void compilertheme(int n)
{
    if (n < 1 || n > editorthemecount)
        return;
    const EditorTheme& t = editorthemes[static_cast<size_t>(n - 1)];
    EditorSettings& c = compilereditor();
    setcolours(c, t);
    c.stringcolor = t.string;
    c.asmcolor = t.asmcode;
}

void assemblertheme(int n)
{
    if (n < 1 || n > editorthemecount)
        return;
    EditorSettings& a = assemblereditor();
    setcolours(a, editorthemes[static_cast<size_t>(n - 1)]);
    if (n == 1)
        a.commentcolor = assemblerfirstcomment;
}

QString booltext(int32_t value)
{
    return value != 0 ? QStringLiteral("True") : QStringLiteral("False");
}

std::optional<int32_t> rangedanswer(bool accepted, const QString& answer, int32_t low, int32_t high)
{
    const int32_t n = accepted ? leadingint(answer.toStdString()) : 0;
    if (n < low || n > high)
        return std::nullopt;
    return n;
}

} // namespace kelvane
