// What the Editor Setup window changes, apart from the window: the seven predefined colour themes
// of the two editors (compilertheme, assemblertheme), how the window shows a value, and how an
// answer of its number boxes is read against the box's range.
#pragma once
#include "shell/sourceeditorsettings.h"

#include <QString>

#include <array>
#include <cstdint>
#include <optional>

namespace kelvane {

inline constexpr int editorthemecount = 7;
// "1 - Tessaro (Default)" ... "7 - White Style".
extern const std::array<const char*, editorthemecount> editorthemenames;
// The prompt of the theme box: its question and the seven names, each line ended by CR LF.
QString editorthemeprompt();

// For n from 1 to 7: the colour settings of the row (the assembler's editor has no string and no
// ASM colour, and its first row's comment colour differs). Any other n changes nothing.
void compilertheme(int n);
void assemblertheme(int n);

// A boolean setting as the window shows it: "True" for any value but 0, else "False".
QString booltext(int32_t value);

// The answer of a number box ("Enter new value [low-high]:"): the leading number of the text (0
// for a cancelled or empty box) when it lies within the range, else nothing.
std::optional<int32_t> rangedanswer(bool accepted, const QString& answer, int32_t low, int32_t high);

} // namespace kelvane
