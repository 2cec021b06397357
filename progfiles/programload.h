// Program load and memory save without windows: choosing the format, the binary-image rules
// with their refusals, the load used by kelvane-cli run/disasm, and the texts of the File menu.
#pragma once
#include "progfiles/hexfile.h"

#include <cstdint>
#include <string>

namespace kelvane {

enum class ProgramFormat { hex, obj };

enum class LoadStatus {
    ok,        // loaded
    fileerror, // the file could not be opened or read, or the format name is unknown
    refused,   // read, but refused: a reader error, "contains no data.", or an image of the wrong size
};

struct ProgramLoadResult {
    LoadStatus status = LoadStatus::fileerror;
    int32_t size = 0;    // highest address + 1 for Intel HEX, the file length for an image
    std::string message; // what to tell the user when status is not ok; empty on success
    // The exit status of a command-line load: 0 loaded, 1 refused, 2 file or usage error.
    int exitcode() const;
};

constexpr const char* imagetoolargetext = "The size of the selected file is greater than 64K.";
constexpr const char* imageemptytext = "The size of the selected file is zero.";
constexpr const char* memoryemptytext = "The memory is empty.";

// The format of a program file: "hex" or "obj" as given, or "" to decide by the name, where
// ".hex" in any case is Intel HEX and every other name a binary image. False for other texts.
bool programformat(const std::string& format, const std::string& path, ProgramFormat& out);

// Reads a binary image into buf (cleared first): byte n to address n. Refused when the file is
// empty or longer than 65536 bytes.
ProgramLoadResult readobjfile(const std::string& path, HexBuffer& buf);

// Reads a program file of the given format into the staging buffer buf.
ProgramLoadResult loadprogramfile(const std::string& path, ProgramFormat format, HexBuffer& buf);

// Loads the program at path into image (65536 elements) for the command line: format is "hex",
// "obj" or "" (by extension). image is replaced whole on success and left untouched otherwise.
ProgramLoadResult loadprogram(const std::string& path, const std::string& format, int32_t* image);

// The highest address 0-65535 whose byte is not 0, searching down from 65535; -1 when none.
int32_t lastusedaddress(const int32_t* mem);

// The name a save goes to: the chosen name cut before the first "." of its file part, with
// ".hex" or ".obj" added. The user's own extension never survives.
std::string savefilename(const std::string& chosen, ProgramFormat format);

// size / 1024 as plain decimal text cut (not rounded) to four characters: 4098 gives "4.00",
// 512 gives ".5", 1024 gives "1".
std::string kilobytetext(int32_t size);
// "Operation completed." CR LF "Total N (KK) bytes loaded." / "... saved."
std::string loadedmessage(int32_t size);
std::string savedmessage(int32_t size);
// "Do you want to overwrite existing file PATH?"
std::string overwritequestion(const std::string& path);

struct MemorySaveResult {
    bool ok = false;
    int32_t size = 0;    // last saved address + 1, the new program size; 0 when nothing was saved
    std::string message; // the confirmation on success, else "The memory is empty." or the write error
};

// Saves mem[0..last used address] to exactly path as Intel HEX or an image. The old file at path
// is replaced only by a complete new one.
MemorySaveResult savememory(const int32_t* mem, ProgramFormat format, const std::string& path);

} // namespace kelvane
