// The two-pass assembler: source lines and their per-line state, the label table, expressions,
// sizing and encoding by template, the listing, the object image and the .lst/.obj/.hex outputs.
// One Assembler object holds the state of the last assembly until the next one starts.
#pragma once
#include "core/machine.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace kelvane {

// novalue (core/machine.h) marks "no value": an operand that can't be worked out, a label not yet known.

// Receives the progress texts: the phase ("Performing pass 1.") and the line ("Line  12" or "").
using AsmProgress = std::function<void(const std::string& phase, const std::string& line)>;

// Cuts the source text into lines at CR LF or LF; a final line end adds no empty line.
std::vector<std::string> splitsourcelines(std::string_view text);

// Cuts at the first ";", turns each tab into one blank and drops trailing blanks.
std::string stripline(std::string_view text);

// One literal with an optional sign: decimal, hex (H), binary (B), character; novalue if none.
int32_t parsenumber(std::string_view s);

// Items of a .DB/.DW list (one more than its commas), 0 past 16 bytes or 8 words.
int32_t countbytes(std::string_view list);
int32_t countwords(std::string_view list);

// Base name of all outputs: the name up to its first ".".
std::string asmbasename(const std::string& name);

// One error of the last assembly: its source line, its row in the listing and its message.
struct AsmError {
    int32_t line = 0;
    int32_t row = 0;
    std::string message;
};

class Assembler {
public:
    Assembler();

    // ---- Per-line state, index 1 to linecount (element 0 unused). ----
    std::vector<std::string> asmsource;    // the line as read
    std::vector<std::string> asmerrortext; // its error message, empty if none
    std::vector<uint16_t> asmerrorflag;    // 0, or 65535 when the line has an error
    std::vector<int32_t> asmaddress;       // location counter when pass 1 reached the line
    std::vector<std::string> asmtemplate;  // normalised statement such as "MVI A,*"
    std::vector<std::string> asmoperand1;  // the operand text behind the "*"
    std::vector<std::string> asmoperand2;  // a second operand left over, or an EQU's label
    std::vector<std::string> asmcode;      // bytes as "3E 05"; padded to rows by the listing

    // ---- Label table, index 1 to labelcount, in order of definition. ----
    std::vector<std::string> labelname;
    std::vector<int32_t> labelline;
    std::vector<int32_t> labelvalue;

    int32_t linecount = 0;
    int32_t errorcount = 0;
    int32_t labelcount = 0;
    int32_t locationcounter = 0;
    int32_t listingrow = 0;
    int32_t lastaddress = -1;

    // One entry per error in source order (index 1 to errorlinecount): source line, listing row.
    int32_t errorlinecount = 0;
    std::vector<int32_t> errorline;
    std::vector<int32_t> errorrow;

    // The program image, 65536 byte values, cleared at the start of each assembly.
    std::vector<int32_t> objimage;

    // The line in work.
    std::string curlabel, curmnemonic, curraw1, curraw2;
    std::string curtemplate, curoperand1, curoperand2;
    int32_t curvalue = 0;

    // "ON" writes BASE.hex too.
    std::string optgeneratehex = "OFF";
    // Progress receiver; empty means no progress texts.
    AsmProgress progress;

    // The listing text of the last assembly, rows ending in CR LF (what BASE.lst holds).
    std::string listing;
    // The .hex text when optgeneratehex is "ON" (what BASE.hex holds), else empty.
    std::string hextext;
    // Set by assemblefile when the source can't be read or an output can't be written.
    std::string fileerror;

    // ---- Expressions. ----
    int32_t findlabel(std::string_view text) const;
    int32_t findsignedlabel(std::string_view text) const;
    int32_t evalexpression(std::string_view s) const;

    // ---- Sizing and encoding of the line in work. ----
    void sizeline(int32_t i);
    void encodeline(int32_t i);
    bool checkbyte(int32_t& value, int32_t i);
    bool checkword(int32_t& value, int32_t i);
    bool checkaddress(int32_t& value, int32_t i);
    std::string encodebytes(std::string_view list, int32_t i);
    std::string encodewords(std::string_view list, int32_t i);

    // ---- Driver. ----
    // Everything but the files: lines, both passes, listing text and object image.
    // status 1000 suppresses the progress texts. Returns errorcount.
    int32_t assembletext(std::string_view source, int32_t status = 0);
    // Reads folder + name, assembles it and writes BASE.lst, BASE.obj and (with optgeneratehex
    // "ON") BASE.hex into folder. On return status holds errorcount. Returns false, with
    // fileerror set, when the source can't be read or an output can't be written.
    bool assemblefile(const std::string& folder, const std::string& name, int32_t& status);

    // The errors of the last assembly in source order, in the assembler's own words.
    std::vector<AsmError> errors() const;

private:
    void reset();
    int32_t run(std::string_view source, const std::string* base = nullptr);
    void loadlines(std::string_view source);
    void pass1line(int32_t i);
    void pass2line(int32_t i);
    void seterror(int32_t i, const char* message);
    void buildlisting();
    void buildimage();
    void show(const char* phase, int32_t line) const;

    struct TextHash {
        using is_transparent = void;
        size_t operator()(std::string_view s) const { return std::hash<std::string_view>{}(s); }
    };
    std::unordered_map<std::string, int32_t, TextHash, std::equal_to<>> labelindex;
    bool showprogress = false;
};

// The process-wide assembler whose state the Assembler window and the Breakpoints Manager read
// after an assembly (error lines and rows, listing).
Assembler& asmstate();

} // namespace kelvane
