// The Options menu: the table of its toggles with their settings, and its three dialogs "Change
// Clock Frequency", "Change Starting Address" and "Change Ultimate Rate Refresh Interval", each of
// which asks, checks, stores the setting and tells the user as the program's messages do.
//
// Interface for Form1 (one call per menu item; st is the machine, hooks the window's hooks):
//   menuclock_Click(st, parent)                 true when clockmhz changed
//   menuaddress_Click(st, hooks, parent)        true when startaddress changed (clean has run)
//   menuultimaterefresh_Click(st, parent)       true when "Ultimate Timer" changed
//   toggleoption(st, optiontoggles[i], checked) a toggle: the field and its setting follow the mark
// The apply* functions are the same without the input box, for tests and automation.
#pragma once
#include "core/hooks.h"
#include "core/machine.h"

#include <QString>

#include <array>
#include <string>

class QWidget;

namespace kelvane {

// One toggle of the Options menu: its caption, its control, its setting and its field.
struct OptionToggle {
    const char* caption;
    const char* control;
    const char* setting;
    std::string MachineState::*field;
};
extern const std::array<OptionToggle, 9> optiontoggles;

// Sets the toggle's field to "ON" or "OFF" by the new check mark and writes the setting. The
// caller runs clean after "FF Power On Defaults".
void toggleoption(MachineState& st, const OptionToggle& toggle, bool checked);

// The texts of the three dialogs.
inline constexpr const char* clockprompt = "Enter new clock frequency [MHz].";
inline constexpr const char* addressprompt = "Enter new starting address for the simulation [0000-FFFF].";
inline constexpr const char* ultimateprompt = "Enter new value for the Ultimate rate\nrefresh interval [ms].";
inline constexpr const char* wrongaddresstext = "Wrong entry!";
inline constexpr const char* stopfirsttext = "Please stop the simulation first.";
inline constexpr const char* ultimaterangetext = "Allowed range 1-2000.";

// The answer of the clock box (accepted false for a cancelled box): only a number above 0 is
// stored in clockmhz and in "Clock Frequency". True when stored.
bool applyclockanswer(MachineState& st, bool accepted, const QString& answer);

// The answer of the address box. Empty: nothing. Otherwise zeros in front up to four characters,
// upper-cased, and a good hex word becomes startaddress (decimal text to "Starting Address") and
// clean runs. Returns the message to show ("Wrong entry!") or an empty text.
QString applyaddressanswer(MachineState& st, MachineHooks& hooks, const QString& answer, bool* changed = nullptr);

// The answer of the Ultimate box: its number rounded; 1-2000 goes to "Ultimate Timer", anything
// else (a cancelled box too) is "Allowed range 1-2000.". Returns the message or an empty text.
QString applyultimateanswer(bool accepted, const QString& answer, bool* changed = nullptr);

bool menuclock_Click(MachineState& st, QWidget* parent);
bool menuaddress_Click(MachineState& st, MachineHooks& hooks, QWidget* parent);
bool menuultimaterefresh_Click(MachineState& st, QWidget* parent);

} // namespace kelvane
