// The disassembly engine: a linear sweep of dasmimage from address 0, the instruction decoder,
// label numbering by first reference, and the two-stage writing of the listing or of
// assembler source through an intermediate file in the working folder.
#pragma once
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace kelvane {

// The sweep reads up to two bytes past the last address of a 64K program.
inline constexpr int32_t dasmimagesize = 65536 + 3;
// Fixed names of the two files in the working folder.
inline constexpr const char* dasmresultname = "8085_disassembler_temporary_file";
inline constexpr const char* dasmintermediatename = "8085_disassembler_temporary_file2";

// Receives the phase text (poruka1) and the line text (poruka2) after each update; the window
// lets its pending events run inside it.
using DasmProgress = std::function<void(const std::string& poruka1, const std::string& poruka2)>;

struct Disassembler {
    // The program: one byte value per element, index = address. Cleared by the caller before a
    // program is put in; elements past dasmsize must be 0 for a straddling last instruction.
    std::vector<int32_t> dasmimage = std::vector<int32_t>(dasmimagesize, 0);
    int32_t dasmsize = 0;     // bytes of the program, 1 to 65536; the sweep stops here
    int32_t dasmaddress = 0;  // address in work
    std::string dasmtext;     // text of the instruction last decoded
    int32_t dasmlength = 0;   // its length, 1 to 3
    int32_t dasmlabelcount = 0;
    std::vector<int32_t> dasmlabels = std::vector<int32_t>(1, 0); // targets from index 1, by first reference

    // Where the two files live (the program's "last path" folder). Empty means the current folder.
    std::filesystem::path workfolder;
    DasmProgress progress;
    // Text of the last failure of disassemble (file could not be created, written or read).
    std::string dasmerror;

    // Sets dasmtext and dasmlength from the bytes at dasmaddress.
    void decodeinstruction(bool sourceform);
    // Four-digit label number of a target; a new target is appended to dasmlabels.
    std::string dasmlabel(int32_t address);
    // Writes the result file: the listing, or assembler source when sourceform is true.
    // Returns false when a file could not be created or written; nothing is left behind then.
    bool disassemble(bool silent, bool sourceform);
    // Reads the result file into text and deletes it. False (and the file gone) if it can't be read.
    bool takeresult(std::string& text);

    // Puts a program in: clears the image and copies the bytes (at most 65536).
    void loadimage(const uint8_t* bytes, size_t count);
    // Puts in a whole 64K memory of byte values (a HEX reader's buffer, simulated memory):
    // elements 0-65535 are copied, those behind them cleared, and dasmsize set to size.
    void loadmemory(const int32_t* values, int32_t size);

    std::filesystem::path resultpath() const { return workfolder / dasmresultname; }
    std::filesystem::path intermediatepath() const { return workfolder / dasmintermediatename; }

private:
    std::vector<int32_t> labelindex_; // address -> label number, 0 for none (speeds up dasmlabel)
    int32_t indexedcount_ = -1;       // dasmlabelcount when labelindex_ was last in step
    void syncindex();
    void resetlabels();
    bool firststage(bool silent, bool sourceform, int32_t& linecount);
    bool secondstage(bool silent, bool sourceform, int32_t linecount);
    void showprogress(bool silent, const std::string& p1, const std::string& p2);
};

// The one process-wide engine that the Disassembler window and the Breakpoints Manager share.
Disassembler& dasm();

} // namespace kelvane
