// Intel HEX and .obj program images: the reader with its eleven refusals, the record writer,
// the checksum, and the binary image. Standard library only; messages are returned, never shown.
#pragma once
#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace kelvane {

// The reader's staging buffer: 65536 byte values in 32-bit slots, the shape of simulated memory.
using HexBuffer = std::array<int32_t, 65536>;

struct HexReadResult {
    int32_t size = 0;       // highest written address plus one; 0 when refused or empty
    int error = 0;          // 1-11 as in the reader's table, 0 none
    int32_t line = 0;       // line counter at the error
    std::string message;    // the full text to show the user when size is 0 (empty when opened fine and loaded)
    bool openfailed = false; // the file could not be opened at all (message says so in plain words)
};

// Checksum of a record body (no ":" and no checksum): hexbyte(256 - sum mod 256).
std::string hexchecksum(const std::string& body);

// Reads an Intel HEX file into buf (cleared first). path is the full path.
HexReadResult readhexfile(const std::string& path, HexBuffer& buf);
// The same on text already in memory (what the file reader uses; also for tests and fuzzing).
HexReadResult readhextext(const std::string& text, HexBuffer& buf);

// Writes image[0..last] as Intel HEX records (CR LF line ends) ending with ":00000001FF".
// Returns false when the file cannot be written.
bool writehexfile(const int32_t* image, int32_t last, const std::string& path);
// The same records as text.
std::string hexfiletext(const int32_t* image, int32_t last);
// Writes image[0..last] as raw bytes (each element's low 8 bits).
bool writeobjfile(const int32_t* image, int32_t last, const std::string& path);

// The two writers with a plain message in *error (when given) on failure. Both write to a
// temporary file in the same folder and rename it over the old one, so that a failed write
// leaves the old file as it was.
bool writehexfile(const int32_t* image, int32_t last, const std::string& path, std::string* error);
bool writeobjfile(const int32_t* image, int32_t last, const std::string& path, std::string* error);
// The bytes of image[0..last] as an .obj image (low 8 bits of each element).
std::string objimagetext(const int32_t* image, int32_t last);

} // namespace kelvane
