// The instruction forms of the Interactive Assembler Editor and how a form becomes an instruction:
// the seven groups with their forms and descriptions, the choices of each listed parameter, the
// keypad's keys, the next parameter left in a caption, and the keypad entry with its ACCEPT rules.
// A caption is its own template: its lower-case letters are the parameters still to be chosen.
#pragma once
#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace kelvane {

class Form17Listing;

struct InstructionForm {
    const char* caption;     // "MOV r, p": the option button's text and the instruction's template
    const char* description; // the text beside the button
};

struct FormGroup {
    const char* name; // the group's item of Combo1 and its frame's caption
    std::span<const InstructionForm> forms;
};

// The groups in the order of Combo1's items after "Select Group" (Frame0 to Frame6). The forms of
// all groups in this order are the option buttons polje(0) to polje(81).
extern const std::array<FormGroup, 7> formgroups;
inline constexpr int formcount = 82;
// The caption of Combo1's first item.
inline constexpr const char* selectgroupitem = "Select Group";

// A parameter chosen from a list (the sel buttons): its name and the captions of sel(0) to
// sel(7), empty for a button that isn't used.
struct ListParameter {
    const char* name;
    std::array<const char*, 8> choices;
};
// The list of a parameter name ("r", "p", "m", "ss", "qq", "pp"), nullptr for any other.
const ListParameter* listparameter(std::string_view name);

// The first parameter still in an instruction's text: its lower-case letters and commas, less a
// leading comma, up to the next comma. Empty when the instruction is complete.
std::string firstparameter(std::string_view lininst);
// Every occurrence of `what` in `text` replaced by `by`.
std::string replaceall(std::string_view text, std::string_view what, std::string_view by);

// The keypad of numbers and labels: but(0) to but(22), with no button 16.
inline constexpr int keycount = 23;
inline constexpr int keyletterA = 10, keyL = 17, keyhex = 18, keydec = 19, keylab = 20, keyclr = 21, keyaccept = 22;
extern const std::array<const char*, keycount> keypadcaptions; // "" for index 16

enum NumberMode : int { hexmode = 0, decmode = 1, labelmode = 2 };

// The text typed on the keypad (arg3) and the way it is read (numbermode).
struct KeypadEntry {
    std::string arg3;
    int numbermode = hexmode;
    // One key other than ACCEPT: digits append while there are fewer than five characters;
    // letters drop a leading "L", append likewise and force hexadecimal; "L" toggles the label
    // prefix and its mode; HEX, DEC, LAB set the mode; CLR empties the text.
    void press(int index);
};

// ACCEPT of an entry for the parameter "n" or "nn": the text that replaces the parameter, or
// nothing when the entry is refused (then nothing may change). Hexadecimal pads to 2 or 4 digits
// and gives the assembler's form with "H"; decimal must read back as the same text; a label
// (only for "nn") must be one of the rows' labels, whose row goes to *labelrow.
std::optional<std::string> acceptentry(std::string_view parameter, const KeypadEntry& entry,
                                       const Form17Listing& listing, int32_t* labelrow);

} // namespace kelvane
