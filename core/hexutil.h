// The shared number and text helpers of the whole program: two- and four-digit hex texts,
// the assembler's leading-zero forms, and the strict parsers that return -1 on any fault.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>

namespace kelvane {

// Two upper-case digits of the low byte: 256 gives "00", -1 gives "FF".
std::string hexbyte(int32_t v);
// Four upper-case digits of the low 16 bits.
std::string hexword(int32_t v);
// hexbyte/hexword with a "0" in front when the first digit is a letter (10 -> "0A", 171 -> "0AB").
std::string asmhexbyte(int32_t v);
std::string asmhexword(int32_t v);
// Exactly two upper-case hex digits, else -1 ("ab" gives -1).
int32_t parsehexbyte(std::string_view s);
// Exactly four upper-case hex digits, else -1.
int32_t parsehexword(std::string_view s);
// Exactly sixteen characters of "0"/"1", most significant first, else -1.
int32_t parsebinword(std::string_view s);

// Writers into a caller's buffer, for hot paths that must not allocate. Return the end pointer.
char* puthexbyte(char* out, int32_t v);
char* puthexword(char* out, int32_t v);

} // namespace kelvane
