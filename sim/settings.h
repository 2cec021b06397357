// The settings store: regread/regwrite over the per-user QSettings "Kelvane", the table of every
// value name this program owns with its default, the leading-number conversion used for all
// numbers read from settings and answers, the program's folder (apppath) and window positions.
//
// Interface for the windows:
//   regread("Enable Logging", "OFF")   -> the stored text; a missing value is created with the default
//   regread("Enable Logging")          -> the same with the default from settingstable
//   regwrite("Simulation Rate", "4")   /  regwrite("Starting Address", 26)  (numbers as decimal text)
//   leadingnumber(" 12abc") == 12      the one conversion of a text to its leading number (0 if none)
//   readoptions(st)                    reads "Last Path" .. "Starting Address" into the state, in order
//   presetpositions()                  reads every window position so that the defaults exist
//   placewindow(w, 2) / savewindowposition(w, 2)   "Window2 Left"/"Window2 Top" in twips (client area)
#pragma once
#include "core/machine.h"

#include <cstdint>
#include <string>
#include <string_view>

class QWidget;

namespace kelvane {

// The title of the program, the caption of the main window and of message boxes.
inline constexpr const char* programtitle = "Kelvane                  ";
inline constexpr const char* versiontext = "2.55";
// The name of the settings store (QSettings organisation, per-user scope).
inline constexpr const char* settingsname = "Kelvane";
// A stored text of this length or longer does not fit the reader's buffer and reads as missing.
inline constexpr size_t settingslimit = 255;

// One value of the store and its default. A default that begins with "<apppath>" stands for the
// program's folder followed by the rest of the text.
struct SettingDefault {
    const char* name;
    const char* text;
};

// Every value name owned by start-up and the options, in the order loadsettings reads them, then
// the rest (rate timer, keyboard, modules, message duration, window positions).
extern const SettingDefault settingstable[];
extern const size_t settingscount;

// The default of a value of the table (with apppath filled in); empty for a name not in it.
std::string settingdefault(std::string_view name);

std::string regread(const std::string& name, const std::string& defaulttext);
std::string regread(const std::string& name); // default from settingstable
void regwrite(const std::string& name, const std::string& text);
void regwrite(const std::string& name, int32_t number);

// The leading number of a text: blanks at the front skipped, then an optional sign, digits, an
// optional decimal point with digits and an optional exponent; the longest such number is taken.
// 0 when the text does not begin with a number.
double leadingnumber(std::string_view text);
// The same, rounded to the nearest integer (halves to even) and kept in the 32-bit range.
int32_t leadingint(std::string_view text);

// The program's writable per-user data folder (log.txt, io.txt), created if missing, with a
// trailing separator.
std::string apppath();

// Reads the option values into the state in the order of the table, from "Last Path" to
// "Show Confirmations", then "Clock Frequency" and "Starting Address" (leading-number conversion).
// Sets apppath first. The caller sets the menu check marks from the option texts.
void readoptions(MachineState& st);

// Reads "Window1 Left/Top" and the pair of every tool window, creating the defaults.
void presetpositions();

// Places a window from "WindowN Left"/"WindowN Top" (twips, 15 to a pixel) unless the option
// optsavepositions of the machine state is "OFF", in which case it is centred on its screen.
// The point is the corner of the client area (below the title bar), the one savewindowposition
// writes, so that a window comes back exactly where it was closed.
void placewindow(QWidget* window, int number);
// Writes the position of the window's client area to "WindowN Left"/"WindowN Top" in twips
// (whatever "Save Positions" says).
void savewindowposition(QWidget* window, int number);

// Pixels and twips at 15 twips to a pixel.
constexpr int twipstopixels(int twips) { return twips / 15; }
constexpr int pixelstotwips(int pixels) { return pixels * 15; }

// Deletes a file, ignoring every error (a read-only file too).
void deletefile(const std::string& path);

} // namespace kelvane
