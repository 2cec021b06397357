// The settings of the two source editors: the "C " set of the BASIC compiler's editor and the "A "
// set of the Assembler's, as one table of names and defaults, read and written through the
// settings store; applyassemblereditor and applycompilereditor hand a set to an editor. Also the
// font rule of the editors and the printer: a family that is missing gives way to a really
// fixed-pitch one.
#pragma once
#include <QColor>
#include <QFont>
#include <QString>

#include <cstdint>
#include <string>

namespace kelvane {

class SourceEditor;

// A colour as the settings keep it: red + 256 * green + 65536 * blue.
constexpr int32_t rgbvalue(int r, int g, int b)
{
    return r + 256 * g + 65536 * b;
}
QColor colorfromvalue(int32_t value);

// One editor's settings. Booleans are kept as the settings write them: -1 (on) or 0 (off).
struct EditorSettings {
    std::string fontname;
    int32_t fontsize = 10;
    int32_t coloringenabled = -1;
    int32_t backgroundcolor = 0, textcolor = 0, keywordcolor = 0, stringcolor = 0, commentcolor = 0, asmcolor = 0,
            errorcolor = 0, linenumbersbackcolor = 0, linenumberstextcolor = 0;
    int32_t linenumbersenabled = -1, autoformatenabled = -1, autocaseenabled = -1;
    int32_t commentspace = 2, tabsize = 8, procseparatorwidth = 50, wheelstep = 10, undolevels = 10;
};

// The process-wide variables of both editors.
EditorSettings& compilereditor();
EditorSettings& assemblereditor();

// Reads all thirty-four settings, a missing one created with its default.
void loadeditorsettings();
// Writes all thirty-four.
void saveeditorsettings();
// Sets both editors' variables to the defaults without writing.
void defaulteditorsettings();

// loadeditorsettings, then the fourteen "A " properties on the editor, in their order.
void applyassemblereditor(SourceEditor& editor);
// loadeditorsettings, then the twenty "C " properties on the editor, in their order.
void applycompilereditor(SourceEditor& editor);

// The family at the size in points if it is installed; otherwise a font that is really
// fixed-pitch ("DejaVu Sans Mono" here, or the system's fixed font). A size outside 4-200 is 10.
QFont editorfont(const QString& family, int pointsize);

} // namespace kelvane
