// The rows of the Interactive Assembler Editor: each row's ready-made label, its instruction and
// whether an instruction refers to its label; the labels made so far; the row operations and the
// assembler source a save writes. Standard library only.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kelvane {

class Form17Listing {
public:
    static constexpr int firstrows = 30; // rows of a new listing
    static constexpr int addedrows = 10; // rows of one Add Lines
    static constexpr uint16_t labelled = 65535;

    Form17Listing() { resetlisting(); }

    // Rows 1 to rowcount (element 0 of each array is not used).
    int32_t rowcount = 0;
    std::vector<std::string> rowlabel, rowtext;
    std::vector<uint16_t> rowlabelled;
    // The number of the last label made; it only grows until the listing starts again.
    int32_t labelserial = 0;

    // Starts again: no rows, no labels made, then the first 30 rows.
    void resetlisting();
    // The next label: "L" and the last four digits of the serial, from L0001 on.
    std::string newlabel();
    // A new row at the end with a new label and this text.
    void addrow(std::string_view text);
    // The last row with an instruction, 0 when there is none.
    int32_t lasttextrow() const;
    // Delete Line: the rows after `row` move up one place, with their labels and marks; the
    // only row left just loses its text.
    void deleterow(int32_t row);
    // Insert Line: a new empty row with a new label at `row`, the rows from there move down.
    void insertrow(int32_t row);
    // The first row whose label is `label`, 0 when none is.
    int32_t findlabel(std::string_view label) const;
    // The assembler source of the rows up to the last instruction: a referred label in the first
    // column, instructions behind a tab, empty rows dropped, ".END" added unless the last
    // instruction is one. Lines end in LF. Empty when no row has an instruction.
    std::string sourcetext() const;
};

} // namespace kelvane
