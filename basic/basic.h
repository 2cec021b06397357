// The BASIC compiler as the editor window and kelvane-cli use it: one source text in, one file
// of 8085 assembler source out, or the first error with its line; the name of the .asm beside a
// source and the keyword list of the language (for colouring and auto-case).
#pragma once
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace kelvane::basic {

class Translator;

class BasicCompiler {
public:
    BasicCompiler();
    ~BasicCompiler();
    BasicCompiler(const BasicCompiler&) = delete;
    BasicCompiler& operator=(const BasicCompiler&) = delete;

    // Compiles source (bytes, lines ending in CR LF or LF). On success writes asmpath whole
    // (through a temporary file beside it, so an older file is replaced only by a complete one)
    // and returns the success message, three lines joined by CR LF, the last one
    // "Output saved as " asmpath. On failure returns "" and leaves any older file untouched;
    // errortext then holds what to show: "Error in line 12: Syntax error." for a language
    // error, or why the file could not be written.
    std::string compilebasic(std::string_view source, const std::string& asmpath);

    // The line to show after a failure: the line of the error, 0 for none (an error past the
    // last line, such as ": Wend is missing.", or a failed write). 0 after a success.
    int32_t compileerrorline = 0;
    std::string errortext;
    bool writefailed = false; // the failure was the file, not the language

    // Compiles without writing: true and asmtext() on success, false and errortext on failure.
    bool compiletext(std::string_view source);
    // The generated source of the last successful compile: lines joined with CR LF, no CR LF
    // after the last (the file gets one), and how many lines it has.
    const std::string& asmtext() const { return asmtext_; }
    int32_t asmlinecount() const { return asmlinecount_; }

private:
    std::unique_ptr<Translator> translator_;
    std::string asmtext_;
    int32_t asmlinecount_ = 0;
};

// The .asm name for a source file's name: cut at its first "." and ".asm" added
// ("prog.bas" -> "prog.asm", "a.b.c" -> "a.asm", "prog" -> "prog.asm"). Give the name only.
std::string basicasmname(std::string_view filename);

// The keywords of the language in their one accepted spelling, in the editor's order.
const std::vector<std::string>& basickeywords();

} // namespace kelvane::basic
