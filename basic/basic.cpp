// The compile driver: the error text with its line, the success message and the .asm file.
#include "basic/basic.h"
#include "basic/translator.h"
#include "progfiles/safewrite.h"

namespace kelvane::basic {

BasicCompiler::BasicCompiler() : translator_(std::make_unique<Translator>()) {}

BasicCompiler::~BasicCompiler() = default;

bool BasicCompiler::compiletext(std::string_view source)
{
    asmtext_.clear();
    asmlinecount_ = 0;
    errortext.clear();
    writefailed = false;
    Translator& t = *translator_;
    const bool ok = t.translate(source);
    compileerrorline = t.compileerrorline;
    if (!ok) {
        errortext = "Error in line " + std::to_string(t.errorline) + t.errormessage;
        return false;
    }
    asmtext_ = t.output();
    asmlinecount_ = t.outputlines();
    return true;
}

std::string BasicCompiler::compilebasic(std::string_view source, const std::string& asmpath)
{
    if (!compiletext(source))
        return {};
    std::string error;
    asmtext_ += "\r\n";
    const bool written = writefilesafely(asmpath, asmtext_, &error);
    asmtext_.resize(asmtext_.size() - 2);
    if (!written) {
        errortext = error;
        writefailed = true;
        return {};
    }
    return "The compilation process was successful.\r\nTotal " + std::to_string(asmlinecount_) +
           " lines of assembler source generated.\r\nOutput saved as " + asmpath;
}

std::string basicasmname(std::string_view filename)
{
    return std::string(filename.substr(0, filename.find('.'))) + ".asm";
}

const std::vector<std::string>& basickeywords()
{
    static const std::vector<std::string> keywords = {
        "Dim",  "As",   "Integer", "Short", "Boolean", "True",  "False", "Not",   "Or",     "And",
        "Xor",  "While", "Wend",   "If",    "Then",    "Else",  "Endif", "For",   "To",     "Step",
        "Next", "Goto", "Mod",     "Print", "CrLf",    "Lf",    "Put",   "Get",   "Nor",    "Nand",
        "Nxor", "Poke", "Peek",    "Gosub", "Return",  "End",   "Const", "SetBit", "ResetBit",
    };
    return keywords;
}

} // namespace kelvane::basic
