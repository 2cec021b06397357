#include "assembler/ui/form17forms.h"

#include "assembler/ui/form17listing.h"
#include "core/hexutil.h"

#include <charconv>

namespace kelvane {

namespace {

// In the descriptions, square brackets are memory, "-[SP]" a push and "[SP]+" a pop.
constexpr InstructionForm directives[] = {
    {".ORG nn", "Set the address of the code that follows ( location=nn )"},
    {".END", "End of the source ( nothing after it is assembled )"},
};

constexpr InstructionForm datatransfer[] = {
    {"MOV r, p", "Move register to register ( r=p ), Move with memory ( r=[HL], [HL]=p )"},
    {"MVI r, n", "Move immediate to register ( r=n ), Move immediate to memory ( [HL]=n )"},
    {"LXI ss, nn", "Load register pair immediate ( ss=nn )"},
    {"STAX qq", "Store A indirect ( [qq]=A )"},
    {"LDAX qq", "Load A indirect ( A=[qq] )"},
    {"STA nn", "Store A direct ( [nn]=A )"},
    {"LDA nn", "Load A direct ( A=[nn] )"},
    {"SHLD nn", "Store HL direct ( [nn]=HL )"},
    {"LHLD nn", "Load HL direct ( HL=[nn] )"},
    {"XCHG", "Exchange DE with HL ( DE<->HL )"},
    {"PUSH pp", "Push register pair onto the stack ( -[SP]=pp )"},
    {"POP pp", "Pop register pair from the stack ( pp=[SP]+ )"},
    {"XTHL", "Exchange stack top with HL ( [SP]<->HL )"},
    {"SPHL", "Load SP from HL ( SP=HL )"},
};

constexpr InstructionForm arithmetic[] = {
    {"INX ss", "Increment register pair ( ss=ss+1 )"},
    {"DCX ss", "Decrement register pair ( ss=ss-1 )"},
    {"INR r", "Increment register ( r=r+1 ), Increment memory ( [HL]=[HL]+1 )"},
    {"DCR r", "Decrement register ( r=r-1 ), Decrement memory ( [HL]=[HL]-1 )"},
    {"ADD r", "Add register to A ( A=A+r ), Add memory to A ( A=A+[HL] )"},
    {"ADI n", "Add immediate to A ( A=A+n )"},
    {"ADC r", "Add register with carry ( A=A+r+CY ), Add memory ( A=A+[HL]+CY )"},
    {"ACI n", "Add immediate with carry ( A=A+n+CY )"},
    {"DAD ss", "Add register pair to HL ( HL=HL+ss )"},
    {"SUB r", "Subtract register from A ( A=A-r ), Subtract memory from A ( A=A-[HL] )"},
    {"SUI n", "Subtract immediate from A ( A=A-n )"},
    {"SBB r", "Subtract register with borrow ( A=A-r-CY ), Subtract memory ( A=A-[HL]-CY )"},
    {"SBI n", "Subtract immediate with borrow ( A=A-n-CY )"},
    {"DAA", "Decimal adjust A ( A=BCD(A) )"},
};

constexpr InstructionForm logical[] = {
    {"ANA r", "AND register with A ( A=A AND r ), AND memory with A ( A=A AND [HL] )"},
    {"ANI n", "AND immediate with A ( A=A AND n )"},
    {"XRA r", "Exclusive OR register with A ( A=A XOR r ), with memory ( A=A XOR [HL] )"},
    {"XRI n", "Exclusive OR immediate with A ( A=A XOR n )"},
    {"ORA r", "OR register with A ( A=A OR r ), OR memory with A ( A=A OR [HL] )"},
    {"ORI n", "OR immediate with A ( A=A OR n )"},
    {"CMP r", "Compare register with A ( A-r ), Compare memory with A ( A-[HL] )"},
    {"CPI n", "Compare immediate with A ( A-n )"},
    {"RLC", "Rotate left ( A=<-A, CY=A7 )"},
    {"RRC", "Rotate right ( A=->A, CY=A0 )"},
    {"RAL", "Rotate left through carry ( A=<-{CY,A} )"},
    {"RAR", "Rotate right through carry ( A=->{CY,A} )"},
    {"CMA", "Complement A ( A=NOT A )"},
    {"STC", "Set carry ( CY=1 )"},
    {"CMC", "Complement carry ( CY=NOT CY )"},
};

constexpr InstructionForm jumps[] = {
    {"JMP nn", "Jump to nn ( PC=nn )"},
    {"JC nn", "Jump if carry to nn ( If CY=1 Then PC=nn )"},
    {"JNC nn", "Jump if no carry to nn ( If CY=0 Then PC=nn )"},
    {"JZ nn", "Jump if zero to nn ( If Z=1 Then PC=nn )"},
    {"JNZ nn", "Jump if not zero to nn ( If Z=0 Then PC=nn )"},
    {"JP nn", "Jump if plus to nn ( If S=0 Then PC=nn )"},
    {"JM nn", "Jump if minus to nn ( If S=1 Then PC=nn )"},
    {"JPE nn", "Jump if parity even to nn ( If P=1 Then PC=nn )"},
    {"JPO nn", "Jump if parity odd to nn ( If P=0 Then PC=nn )"},
    {"PCHL", "Jump to the address in HL ( PC=HL )"},
};

constexpr InstructionForm calls[] = {
    {"CALL nn", "Call nn ( -[SP]=PC, PC=nn )"},
    {"CC nn", "Call if carry to nn ( If CY=1 Then -[SP]=PC, PC=nn )"},
    {"CNC nn", "Call if no carry to nn ( If CY=0 Then -[SP]=PC, PC=nn )"},
    {"CZ nn", "Call if zero to nn ( If Z=1 Then -[SP]=PC, PC=nn )"},
    {"CNZ nn", "Call if not zero to nn ( If Z=0 Then -[SP]=PC, PC=nn )"},
    {"CP nn", "Call if plus to nn ( If S=0 Then -[SP]=PC, PC=nn )"},
    {"CM nn", "Call if minus to nn ( If S=1 Then -[SP]=PC, PC=nn )"},
    {"CPE nn", "Call if parity even to nn ( If P=1 Then -[SP]=PC, PC=nn )"},
    {"CPO nn", "Call if parity odd to nn ( If P=0 Then -[SP]=PC, PC=nn )"},
    {"RET", "Return ( PC=[SP]+ )"},
    {"RC", "Return if carry ( If CY=1 Then PC=[SP]+ )"},
    {"RNC", "Return if no carry ( If CY=0 Then PC=[SP]+ )"},
    {"RZ", "Return if zero ( If Z=1 Then PC=[SP]+ )"},
    {"RNZ", "Return if not zero ( If Z=0 Then PC=[SP]+ )"},
    {"RP", "Return if plus ( If S=0 Then PC=[SP]+ )"},
    {"RM", "Return if minus ( If S=1 Then PC=[SP]+ )"},
    {"RPE", "Return if parity even ( If P=1 Then PC=[SP]+ )"},
    {"RPO", "Return if parity odd ( If P=0 Then PC=[SP]+ )"},
};

constexpr InstructionForm special[] = {
    {"RST m", "Restart ( -[SP]=PC, PC=m*8 )"},
    {"IN n", "Input from port n ( A=port n )"},
    {"OUT n", "Output to port n ( port n=A )"},
    {"EI", "Enable interrupts ( IE=1 )"},
    {"DI", "Disable interrupts ( IE=0 )"},
    {"NOP", "No operation ( nothing changes )"},
    {"HLT", "Halt ( wait for an interrupt or RESET )"},
    {"RIM", "Read interrupt masks and serial input ( A=masks, pending, SID )"},
    {"SIM", "Set interrupt masks and serial output ( masks, SOD from A )"},
};

constexpr ListParameter listparameters[] = {
    {"r", {"B", "C", "D", "E", "H", "L", "M", "A"}},
    {"p", {"B", "C", "D", "E", "H", "L", "M", "A"}},
    {"m", {"0", "1", "2", "3", "4", "5", "6", "7"}},
    {"ss", {"B", "D", "H", "SP", "", "", "", ""}},
    {"qq", {"B", "D", "", "", "", "", "", ""}},
    {"pp", {"B", "D", "H", "PSW", "", "", "", ""}},
};

// A decimal entry: digits only, read back as the same text, not above `limit`.
std::optional<int32_t> decimalentry(std::string_view text, int32_t limit)
{
    int32_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || value < 0 || value > limit ||
        std::to_string(value) != text)
        return std::nullopt;
    return value;
}

} // namespace

const std::array<FormGroup, 7> formgroups = {{
    {"Assembler Directives", directives},
    {"Data Transfer Group", datatransfer},
    {"Arithmetic Group", arithmetic},
    {"Logical Group", logical},
    {"Jump Group", jumps},
    {"Call and Return Group", calls},
    {"Special Function Group", special},
}};

const std::array<const char*, keycount> keypadcaptions = {
    "0", "1", "2", "3", "4", "5", "6", "7", "8", "9", "A", "B", "C", "D", "E", "F",
    "",  "L", "HEX", "DEC", "LAB", "CLR", "ACCEPT"};

const ListParameter* listparameter(std::string_view name)
{
    for (const ListParameter& p : listparameters)
        if (name == p.name)
            return &p;
    return nullptr;
}

std::string firstparameter(std::string_view lininst)
{
    std::string t;
    for (const char c : lininst)
        if ((c >= 'a' && c <= 'z') || c == ',')
            t += c;
    if (!t.empty() && t.front() == ',')
        t.erase(0, 1);
    if (const size_t comma = t.find(','); comma != std::string::npos)
        t.resize(comma);
    return t;
}

std::string replaceall(std::string_view text, std::string_view what, std::string_view by)
{
    std::string out;
    size_t from = 0;
    for (size_t at; !what.empty() && (at = text.find(what, from)) != std::string_view::npos; from = at + what.size())
        out.append(text.substr(from, at - from)).append(by);
    out.append(text.substr(from));
    return out;
}

void KeypadEntry::press(int index)
{
    const bool prefixed = !arg3.empty() && arg3.front() == 'L';
    if (index >= 0 && index <= 9) {
        if (arg3.size() < 5)
            arg3 += static_cast<char>('0' + index);
    } else if (index >= keyletterA && index < keyletterA + 6) {
        if (prefixed)
            arg3.erase(0, 1);
        if (arg3.size() < 5)
            arg3 += static_cast<char>('A' + index - keyletterA);
        numbermode = hexmode;
    } else if (index == keyL) {
        if (prefixed) {
            arg3.erase(0, 1);
            numbermode = hexmode;
        } else {
            arg3.insert(0, 1, 'L');
            numbermode = labelmode;
        }
    } else if (index == keyhex || index == keydec || index == keylab) {
        numbermode = index - keyhex;
    } else if (index == keyclr) {
        arg3.clear();
    }
}

std::optional<std::string> acceptentry(std::string_view parameter, const KeypadEntry& entry,
                                       const Form17Listing& listing, int32_t* labelrow)
{
    const std::string& text = entry.arg3;
    if (text.empty())
        return std::nullopt;
    const bool word = parameter == "nn";
    switch (entry.numbermode) {
    case hexmode: {
        const size_t digits = word ? 4 : 2;
        const std::string padded = text.size() < digits ? std::string(digits - text.size(), '0') + text : text;
        const int32_t value = word ? parsehexword(padded) : parsehexbyte(padded);
        if (value < 0)
            return std::nullopt;
        return (word ? asmhexword(value) : asmhexbyte(value)) + "H";
    }
    case decmode:
        if (!decimalentry(text, word ? 65535 : 255))
            return std::nullopt;
        return text;
    default: {
        const int32_t row = word ? listing.findlabel(text) : 0;
        if (row == 0)
            return std::nullopt;
        if (labelrow != nullptr)
            *labelrow = row;
        return text;
    }
    }
}

} // namespace kelvane
