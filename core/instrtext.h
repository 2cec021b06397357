// Instruction texts: `instructiontext` of three bytes, and InstrText, the form in which the
// machine keeps `lastinstruction` and `nextinstruction`: the bytes read, turned into words on demand.
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace kelvane {

// The text of the instruction that opcode, byte1, byte2 begin ("JMP 0A000H", "UNRECOGNIZED").
std::string instructiontext(int32_t opcode, int32_t byte1, int32_t byte2);

// The text an executed instruction leaves in `lastinstruction`: as instructiontext, except
// that "CZ " shows its address through hexword ("CZ A000H").
std::string executedtext(int32_t opcode, int32_t byte1, int32_t byte2);

// A text held either as a fixed word ("TRAP", "RESET", "") or as the three bytes of an
// instruction. The bytes are the ones the instruction read when the text was set, so a CALL
// whose push overwrites its own operand still shows the target it read first.
class InstrText {
public:
    enum class Kind : uint8_t { word, executed, next };

    InstrText() = default;
    InstrText(const char* w) { setword(w); }

    void setword(const char* w)
    {
        kind_ = Kind::word;
        word_ = w;
    }
    void setexecuted(int32_t op, int32_t b1, int32_t b2)
    {
        kind_ = Kind::executed;
        op_ = op;
        b1_ = b1;
        b2_ = b2;
    }
    void setnext(int32_t op, int32_t b1, int32_t b2)
    {
        kind_ = Kind::next;
        op_ = op;
        b1_ = b1;
        b2_ = b2;
    }
    InstrText& operator=(const char* w)
    {
        setword(w);
        return *this;
    }

    std::string str() const;
    // The text left-aligned in a field of 16 characters filled with blanks, written into `out`
    // without allocating; returns the end. A word longer than 16 runs on (cut at fieldmax).
    static constexpr size_t fieldmax = 32;
    char* putfield(char* out) const;
    bool empty() const { return kind_ == Kind::word && word_[0] == '\0'; }
    // True when the text is that of an executed opcode (HLT is 0x76).
    bool isexecuted(int32_t opcode) const { return kind_ == Kind::executed && (op_ & 0xFF) == opcode; }
    bool operator==(std::string_view s) const { return str() == s; }
    // The same text held the same way: a word by its address, an instruction by kind and bytes.
    bool sameas(const InstrText& o) const
    {
        return kind_ == o.kind_ && (kind_ == Kind::word ? word_ == o.word_ : op_ == o.op_ && b1_ == o.b1_ && b2_ == o.b2_);
    }
    bool isword() const { return kind_ == Kind::word; }
    int32_t opcode() const { return op_ & 0xFF; }

private:
    Kind kind_ = Kind::word;
    const char* word_ = "";
    int32_t op_ = 0, b1_ = 0, b2_ = 0;
};

} // namespace kelvane
