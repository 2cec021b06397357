// Operands and the one-operator statements: the six generators that bring a token's address or
// value into HL, assignment with conversion, arithmetic, logic, Not, the bit, port and memory
// statements, the two-operand tests of If and While, and the decimal output of Print.
#include "basic/translator.h"
#include "core/hexutil.h"

#include <initializer_list>

namespace kelvane::basic {

namespace {

using Lines = std::initializer_list<const char*>;

const Lines wordloadlines = {"MOV A,M", "INX H", "MOV H,M", "MOV L,A"};
const Lines wordstorelines = {"MOV A,L", "STAX D", "INX D", "MOV A,H", "STAX D"};
const Lines shortextendlines = {"MOV A,M", "MOV L,A", "RLC", "SBB A", "MOV H,A"};
const Lines booleanfetchlines = {"MOV A,M", "MOV L,A"};

std::string lxih(int32_t value)
{
    return "LXI H," + asmhexword(value) + "H";
}

struct OperatorLines {
    std::string_view op;
    Lines lines;
    int flag; // the routine it calls, 0 for none
};

const OperatorLines arithmetic[] = {
    {"+", {"DAD D"}, 0},
    {"-", {"CALL S001"}, 1},
    {"*", {"CALL M001"}, 2},
    {"/", {"CALL D001"}, 3},
    {"Mod", {"CALL D001", "XCHG"}, 3},
};

const OperatorLines logic[] = {
    {"Or", {"ORA L"}, 0},         {"And", {"ANA L"}, 0},         {"Xor", {"XRA L"}, 0},
    {"Nor", {"ORA L", "CMA"}, 0}, {"Nand", {"ANA L", "CMA"}, 0}, {"Nxor", {"XRA L", "CMA"}, 0},
};

const OperatorLines comparisons[] = {
    {"=", {"CALL C001"}, 4}, {"<>", {"CALL C002"}, 4}, {">", {"CALL C003"}, 4},
    {">=", {"CALL C004"}, 4}, {"<", {"CALL C005"}, 4}, {"<=", {"CALL C006"}, 4},
};

template <size_t N>
const OperatorLines& lookup(const OperatorLines (&table)[N], std::string_view op)
{
    for (const OperatorLines& o : table)
        if (o.op == op)
            return o;
    return table[0]; // the statement's form admits only the operators of its table
}

std::string inner(const std::string& call) // "Get(5)" -> "5"
{
    const size_t open = call.find('(');
    return call.substr(open + 1, call.size() - open - 2);
}

std::string withoutcomma(const std::string& token)
{
    return token.substr(0, token.size() - 1);
}

} // namespace

// One generator: the size of an element, the fragment that fetches the value (none for an
// address) and the type in which a literal is read (0: literals are no operand).
struct Translator::Generator {
    int32_t scale;
    const Lines* fragment;
    int32_t literaltype;
};

bool Translator::operand(const std::string& token, const Generator& g)
{
    if (token.find_first_of("()") != std::string::npos) {
        const size_t open = token.find('(');
        if (open == std::string::npos || token.back() != ')')
            return fail(": Incorrect argument.");
        const int32_t base = varoffset(std::string_view(token).substr(0, open));
        const std::string_view index = std::string_view(token).substr(open + 1, token.size() - open - 2);
        if (varoffset(index) < 0) {
            if (vartype(index) != integertype)
                return fail(": Array index must be integer data type.");
            emitcode(lxih(datatop + base));
            emitcode("PUSH H");
            emitcode(lxih(datatop + varoffset(index)));
            wordload();
            if (g.scale == 2)
                emitcode("DAD H");
            emitcode("POP D");
            emitcode("DAD D");
        } else {
            int32_t n = 0;
            if (!plaindecimal(index, n) || n < 0 || int64_t{base} + int64_t{n} * g.scale >= 0)
                return fail(": Incorrect argument.");
            emitcode(lxih(datatop + base + n * g.scale));
        }
    } else if (g.literaltype == notype || varoffset(token) < 0) {
        emitcode(lxih(datatop + varoffset(token)));
    } else {
        std::string text = token;
        if (!parseliteral(text, g.literaltype))
            return fail(": Incorrect argument.");
        const int32_t value = std::stoi(text);
        if (g.literaltype == booleantype)
            emitcode(value == 1 ? "MVI L,0FFH" : "MVI L,00H");
        else
            emitcode(lxih(g.literaltype == shorttype && value > 127 ? value + 0xFF00 : value));
        return true;
    }
    if (g.fragment != nullptr)
        for (const char* line : *g.fragment)
            emitcode(line);
    return true;
}

bool Translator::integeraddr(const std::string& token)
{
    return operand(token, {2, nullptr, notype});
}

bool Translator::integerload(const std::string& token)
{
    return operand(token, {2, &wordloadlines, integertype});
}

bool Translator::shortaddr(const std::string& token)
{
    return operand(token, {1, nullptr, notype});
}

bool Translator::shortload(const std::string& token)
{
    return operand(token, {1, &shortextendlines, shorttype});
}

bool Translator::booleanaddr(const std::string& token)
{
    return operand(token, {1, nullptr, notype});
}

bool Translator::booleanload(const std::string& token)
{
    return operand(token, {1, &booleanfetchlines, booleantype});
}

bool Translator::loadbytype(int32_t type, const std::string& token)
{
    return type == integertype ? integerload(token) : type == shorttype ? shortload(token) : booleanload(token);
}

bool Translator::addrbytype(int32_t type, const std::string& token)
{
    return type == integertype ? integeraddr(token) : type == shorttype ? shortaddr(token) : booleanaddr(token);
}

void Translator::wordload()
{
    for (const char* line : wordloadlines)
        emitcode(line);
}

void Translator::wordstore()
{
    for (const char* line : wordstorelines)
        emitcode(line);
}

bool Translator::pushed(bool generated)
{
    if (generated)
        emitcode("PUSH H");
    return generated;
}

bool Translator::popped(bool generated)
{
    if (generated)
        emitcode("POP D");
    return generated;
}

// The byte in A to the address on the stack: into an Integer without its sign extended.
void Translator::storebyte(int32_t type)
{
    if (type == integertype) {
        emitcode("MOV L,A");
        emitcode("MVI H,00H");
    }
    emitcode("POP D");
    if (type == integertype)
        wordstore();
    else
        emitcode("STAX D");
}

// The value in HL to the address in DE: a word for an Integer, the low byte otherwise.
void Translator::storebytype(int32_t type)
{
    if (type == integertype) {
        wordstore();
    } else {
        emitcode("MOV A,L");
        emitcode("STAX D");
    }
}

// x = y, converting between Integer and Short.
bool Translator::assignop()
{
    const std::string& x = tokens_[1];
    const std::string& y = tokens_[3];
    const int32_t d = vartype(x);
    const int32_t s = vartype(y);
    if (d == notype)
        return fail(": Incorrect argument.");
    if (s != notype && s != d && (s == booleantype || d == booleantype))
        return fail(": Boolean variables can not be used in data type conversions.");
    if (!pushed(addrbytype(d, x)) || !popped(loadbytype(s == notype ? d : s, y)))
        return false;
    storebytype(d);
    return true;
}

// x = a op b of arithmetic and logic: the arguments' types, then the address of x on the stack,
// a in DE and b in HL.
bool Translator::twooperands(int32_t d)
{
    if (vartype(tokens_[3]) != notype && vartype(tokens_[3]) != d)
        return fail(": The first argument must be of the same type as result.");
    if (vartype(tokens_[5]) != notype && vartype(tokens_[5]) != d)
        return fail(": The second argument must be of the same type as result.");
    return pushed(addrbytype(d, tokens_[1])) && pushed(loadbytype(d, tokens_[3])) && popped(loadbytype(d, tokens_[5]));
}

// At 16 bits; a Short result is stored as its low byte.
bool Translator::arithop()
{
    const int32_t d = vartype(tokens_[1]);
    if (d == notype)
        return fail(": The result of arithmetic operation must be a valid variable.");
    if (d == booleantype)
        return fail(": The result of arithmetic operation can not be a boolean variable.");
    if (!twooperands(d))
        return false;
    const OperatorLines& op = lookup(arithmetic, tokens_[4]);
    for (const char* line : op.lines)
        emitcode(line);
    if (op.flag != 0)
        routineused_[static_cast<size_t>(op.flag)] = true;
    emitcode("POP D");
    storebytype(d);
    return true;
}

bool Translator::logicop()
{
    const int32_t d = vartype(tokens_[1]);
    if (d != shorttype && d != booleantype)
        return fail(": The result of logic operation must be boolean or short data type.");
    if (!twooperands(d))
        return false;
    emitcode("MOV A,E");
    for (const char* line : lookup(logic, tokens_[4]).lines)
        emitcode(line);
    emitcode("POP D");
    emitcode("STAX D");
    return true;
}

bool Translator::notop()
{
    const std::string& x = tokens_[1];
    const int32_t d = vartype(x);
    if (d != shorttype && d != booleantype)
        return fail(": The result of NOT operation must be boolean or short data type.");
    if (vartype(tokens_[4]) != notype && vartype(tokens_[4]) != d)
        return fail(": The argument of NOT operation must be of the same type as result.");
    if (!pushed(addrbytype(d, x)) || !popped(loadbytype(d, tokens_[4])))
        return false;
    for (const char* line : {"MOV A,L", "CMA", "STAX D"})
        emitcode(line);
    return true;
}

bool Translator::setbitop()
{
    return bitop(true);
}

bool Translator::resetbitop()
{
    return bitop(false);
}

bool Translator::bitop(bool set)
{
    const std::string x = withoutcomma(tokens_[2]);
    std::string bit = tokens_[3];
    if (!parseliteral(bit, shorttype) || std::stoi(bit) > 7)
        return fail(": Incorrect bit number.");
    if (vartype(x) != shorttype)
        return fail(": The first argument of SetBit statement must be short data type variable.");
    if (!shortaddr(x))
        return false;
    const int32_t mask = 1 << std::stoi(bit);
    emitcode("MOV A,M");
    emitcode((set ? "ORI " : "ANI ") + asmhexbyte(set ? mask : 255 - mask) + "H");
    emitcode("MOV M,A");
    return true;
}

// A port as written after "IN " and "OUT ": "0FEH".
bool Translator::porttext(std::string text, std::string& port)
{
    if (!parseliteral(text, shorttype))
        return fail(": Incorrect port number.");
    port = asmhexbyte(std::stoi(text)) + "H";
    return true;
}

bool Translator::putop()
{
    std::string port;
    if (!porttext(withoutcomma(tokens_[2]), port))
        return false;
    const std::string& v = tokens_[3];
    switch (vartype(v)) {
    case notype: {
        std::string value = v;
        if (!parseliteral(value, shorttype))
            return fail(": Incorrect argument.");
        emitcode("MVI A," + asmhexbyte(std::stoi(value)) + "H");
        break;
    }
    case booleantype:
        return fail(": Boolean data type is not allowed in this statement.");
    default:
        if (!loadbytype(vartype(v), v))
            return false;
        emitcode("MOV A,L");
    }
    emitcode("OUT " + port);
    return true;
}

bool Translator::getop()
{
    std::string port;
    if (!porttext(inner(tokens_[3]), port))
        return false;
    const std::string& x = tokens_[1];
    const int32_t d = vartype(x);
    if (d == notype)
        return fail(": Incorrect argument.");
    if (d == booleantype)
        return fail(": Boolean data type is not allowed in this statement.");
    if (!pushed(addrbytype(d, x)))
        return false;
    emitcode("IN " + port);
    storebyte(d);
    return true;
}

// A byte read into an Integer is not sign extended; an address given by a Short is.
bool Translator::peekop()
{
    const std::string& x = tokens_[1];
    const std::string address = inner(tokens_[3]);
    const int32_t d = vartype(x);
    const int32_t a = vartype(address);
    if ((d != integertype && d != shorttype) || a == booleantype)
        return fail(": Incorrect argument.");
    if (!pushed(addrbytype(d, x)) || !loadbytype(a == shorttype ? a : integertype, address))
        return false;
    emitcode("MOV A,M");
    storebyte(d);
    return true;
}

bool Translator::pokeop()
{
    const std::string address = withoutcomma(tokens_[2]);
    const std::string& v = tokens_[3];
    const int32_t a = vartype(address);
    const int32_t t = vartype(v);
    if (a == booleantype || t == booleantype)
        return fail(": Incorrect argument.");
    if (!pushed(loadbytype(a == shorttype ? a : integertype, address)) ||
        !loadbytype(t == shorttype ? t : integertype, v))
        return false;
    for (const char* line : {"MOV A,L", "POP D", "STAX D"})
        emitcode(line);
    return true;
}

// a op b in If (to the else label) and While (to the exit label).
bool Translator::iftest()
{
    const int32_t type = testtype();
    if (type == notype)
        return false;
    ifstack_.push_back({codelabel(), {}, false});
    return comparison(type, ifstack_.back().elselabel) && thenclause(6);
}

bool Translator::whiletest()
{
    const int32_t type = testtype();
    if (type == notype)
        return false;
    std::string top = codelabel();
    std::string exit = codelabel();
    whilestack_.push_back({top, exit});
    emitlabelled(top, "NOP");
    return comparison(type, exit);
}

// The type of a two-operand test: that of whichever operand is a variable.
int32_t Translator::testtype()
{
    const int32_t a = vartype(tokens_[2]);
    const int32_t b = vartype(tokens_[4]);
    if (a == notype && b == notype) {
        fail(": There has to be at least one variable in the test expression.");
        return notype;
    }
    if (a != notype && b != notype && a != b) {
        fail(": Arguments in test expression must be of the same type.");
        return notype;
    }
    return a != notype ? a : b;
}

bool Translator::comparison(int32_t type, const std::string& target)
{
    const std::string& op = tokens_[3];
    if (type == booleantype) {
        if (op != "=" && op != "<>")
            return fail(": Operand not allowed for boolean data type.");
        if (!pushed(booleanload(tokens_[2])) || !popped(booleanload(tokens_[4])))
            return false;
        emitcode("MOV A,E");
        emitcode("SUB L");
        emitcode((op == "=" ? "JNZ " : "JZ ") + target);
        return true;
    }
    routineused_[4] = true;
    if (!pushed(loadbytype(type, tokens_[2])) || !popped(loadbytype(type, tokens_[4])))
        return false;
    emitcode(*lookup(comparisons, op).lines.begin());
    emitcode("MOV A,H");
    emitcode("ORA L");
    emitcode("JZ " + target);
    return true;
}

// The digit of one power of ten (in HL) of the remainder in DE; leading zeros are skipped.
void Translator::digitblock(std::string& endlabel)
{
    const std::string skip = codelabel();
    endlabel = codelabel();
    for (const char* line : {"PUSH B", "CALL D001", "POP B", "MOV A,L", "CPI 00H"})
        emitcode(line);
    emitcode("JZ " + skip);
    emitcode("MVI B,30H");
    emitlabelled(skip, "ADD B");
    emitcode("JZ " + endlabel);
    emitcode("OUT " + port_);
}

bool Translator::printvalue(const std::string& item)
{
    const int32_t type = vartype(item);
    const std::string out = "OUT " + port_;
    if (type == notype)
        return fail(": Incorrect argument.");
    if (type == booleantype) {
        const std::string zero = codelabel();
        const std::string end = codelabel();
        if (!booleanload(item))
            return false;
        for (const std::string& line : {std::string("MOV A,L"), std::string("RLC"), "JNC " + zero,
                                        std::string("MVI A,31H"), out, "JMP " + end})
            emitcode(line);
        emitlabelled(zero, "MVI A,30H");
        emitcode(out);
        emitlabelled(end, "NOP");
        return true;
    }
    routineused_[3] = true;
    const bool integer = type == integertype;
    if (!loadbytype(type, item))
        return false;
    const std::string positive = codelabel();
    emitcode(integer ? "MOV A,H" : "MOV A,L");
    emitcode("RLC");
    emitcode("JNC " + positive);
    emitcode("MVI A,2DH");
    emitcode(out);
    // The minus sign is out; the value is made positive.
    const Lines integernegate = {"MOV A,H", "CMA", "MOV H,A", "MOV A,L", "CMA", "MOV L,A", "INX H"};
    const Lines shortnegate = {"MOV A,L", "CMA", "MOV L,A", "INR L", "MVI H,00H"};
    for (const char* line : integer ? integernegate : shortnegate)
        emitcode(line);
    emitlabelled(positive, "MVI B,00H");
    emitcode("XCHG");
    const Lines integerpowers = {"LXI H,2710H", "LXI H,03E8H", "LXI H,0064H", "LXI H,000AH"};
    const Lines shortpowers = {"LXI H,0064H", "LXI H,000AH"};
    std::string end;
    for (const char* power : integer ? integerpowers : shortpowers) {
        if (end.empty())
            emitcode(power);
        else
            emitlabelled(end, power);
        digitblock(end);
    }
    emitlabelled(end, "XCHG");
    for (const char* line : {"MOV A,L", "MVI B,30H", "ADD B"})
        emitcode(line);
    emitcode(out);
    return true;
}

} // namespace kelvane::basic
