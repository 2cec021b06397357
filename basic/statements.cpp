// The control statements and Print: While, Wend, If, Else, Endif, For, Next, Goto, Gosub, Return,
// End. Every structure is built from generated labels, each standing on its own "NOP".
#include "basic/translator.h"
#include "core/hexutil.h"

namespace kelvane::basic {

namespace {

std::string_view trimblanks(std::string_view s)
{
    while (!s.empty() && s.front() == ' ')
        s.remove_prefix(1);
    while (!s.empty() && s.back() == ' ')
        s.remove_suffix(1);
    return s;
}

} // namespace

bool Translator::jumpop(const char* instruction)
{
    const auto target = linelabels_.find(tokens_[2]);
    if (target == linelabels_.end())
        return fail(": Incorrect line label name.");
    emitcode(instruction + target->second);
    return true;
}

bool Translator::gotoop()
{
    return jumpop("JMP ");
}

bool Translator::gosubop()
{
    return jumpop("CALL ");
}

bool Translator::returnop()
{
    emitcode("RET");
    return true;
}

bool Translator::endop()
{
    emitcode("HLT");
    return true;
}

bool Translator::booleanargument(const std::string& x)
{
    const int32_t type = vartype(x);
    return type == notype || type == booleantype || fail(": Argument must be boolean data type.");
}

// The bit-7 test of a Boolean: to target when it is clear, or when it is set after Not.
bool Translator::booleanbranch(const std::string& x, bool negated, const std::string& target)
{
    if (!booleanload(x))
        return false;
    emitcode("MOV A,L");
    emitcode("RLC");
    emitcode((negated ? "JC " : "JNC ") + target);
    return true;
}

// While x and While Not x: x must be a Boolean or a literal.
bool Translator::whileop()
{
    const bool negated = !tokens_[3].empty(); // "While Not x" has a third token, "While x" none
    const std::string& x = tokens_[negated ? 3 : 2];
    if (!booleanargument(x))
        return false;
    std::string top = codelabel();
    std::string exit = codelabel();
    whilestack_.push_back({top, exit});
    emitlabelled(top, "NOP");
    return booleanbranch(x, negated, exit);
}

bool Translator::wendop()
{
    if (whilestack_.empty())
        return fail(": Wend without While.");
    emitcode("JMP " + whilestack_.back().top);
    emitlabelled(whilestack_.back().exit, "NOP");
    whilestack_.pop_back();
    return true;
}

// If x Then and If Not x Then.
bool Translator::ifop()
{
    const bool negated = tokens_[3] != "Then"; // "If x Then" is tried first, so "If Not Then" tests "Not"
    const std::string& x = tokens_[negated ? 3 : 2];
    if (!booleanargument(x))
        return false;
    ifstack_.push_back({codelabel(), {}, false});
    return booleanbranch(x, negated, ifstack_.back().elselabel) && thenclause(negated ? 5 : 4);
}

// What stands after Then: nothing opens a block; a label name, or Goto and a name, makes the
// one-line form, which jumps and closes the entry at once.
bool Translator::thenclause(int k)
{
    const auto at = [this](int i) -> const std::string& { return tokens_[static_cast<size_t>(i)]; };
    if (at(k).empty())
        return true;
    auto target = linelabels_.end();
    if (at(k + 1).empty())
        target = linelabels_.find(at(k));
    else if (at(k) == "Goto" && at(k + 2).empty())
        target = linelabels_.find(at(k + 1));
    if (target == linelabels_.end())
        return fail(": Incorrect line label name.");
    emitcode("JMP " + target->second);
    emitlabelled(ifstack_.back().elselabel, "NOP");
    ifstack_.pop_back();
    return true;
}

bool Translator::elseop()
{
    if (ifstack_.empty())
        return fail(": Else without If.");
    IfEntry& entry = ifstack_.back();
    if (entry.elseseen)
        return fail(": Duplicate Else.");
    entry.endlabel = codelabel();
    entry.elseseen = true;
    emitcode("JMP " + entry.endlabel);
    emitlabelled(entry.elselabel, "NOP");
    return true;
}

bool Translator::endifop()
{
    if (ifstack_.empty())
        return fail(": Endif without If.");
    const IfEntry& entry = ifstack_.back();
    emitlabelled(entry.elseseen ? entry.endlabel : entry.elselabel, "NOP");
    ifstack_.pop_back();
    return true;
}

bool Translator::forop()
{
    if (tokens_[8].empty())
        tokens_[8] = "1";
    const std::string& variable = tokens_[2];
    const std::string& step = tokens_[8];
    const auto integeroperand = [this](size_t k) {
        return vartype(tokens_[k]) == notype || vartype(tokens_[k]) == integertype;
    };
    if (vartype(variable) != integertype || !integeroperand(4) || !integeroperand(6) || !integeroperand(8))
        return fail(": Variables in For statement must be integers.");
    if (!pushed(integeraddr(variable)) || !popped(integerload(tokens_[4])))
        return false;
    wordstore();
    std::string top = codelabel();
    std::string exit = codelabel();
    forstack_.push_back({top, exit, variable, step});
    emitlabelled(top, "NOP");
    routineused_[4] = true;
    if (!pushed(integerload(variable)) || !popped(integerload(tokens_[6])))
        return false;
    // The direction of the test follows the step's text alone.
    emitcode(step.starts_with('-') ? "CALL C004" : "CALL C006");
    emitcode("MOV A,H");
    emitcode("ORA L");
    emitcode("JZ " + exit);
    return true;
}

bool Translator::nextop()
{
    if (forstack_.empty())
        return fail(": Next without For.");
    const ForEntry& entry = forstack_.back();
    const std::string& variable = tokens_[2];
    if (variable != entry.variable)
        return fail(": Incorrect argument.");
    if (!pushed(integeraddr(variable)) || !integerload(variable))
        return false;
    if (entry.step == "1" || entry.step == "-1") {
        emitcode("POP D");
        emitcode(entry.step == "1" ? "INX H" : "DCX H");
    } else {
        const bool down = entry.step.starts_with('-');
        if (!pushed(true) || !popped(integerload(down ? entry.step.substr(1) : entry.step)))
            return false;
        if (down) {
            routineused_[1] = true;
            emitcode("CALL S001");
        } else {
            emitcode("DAD D");
        }
        emitcode("POP D");
    }
    wordstore();
    emitcode("JMP " + entry.top);
    emitlabelled(entry.exit, "NOP");
    forstack_.pop_back();
    return true;
}

bool Translator::printop()
{
    if (!porttext(tokens_[2].substr(0, tokens_[2].size() - 1), port_))
        return false;

    std::string joined;
    for (size_t k = 3; k <= tokencount; ++k) {
        joined += tokens_[k];
        joined += ' ';
    }
    std::string_view list = trimblanks(joined);
    while (!list.empty()) {
        std::string_view item;
        const size_t quote = list.front() == '"' ? list.find('"', 1) : std::string_view::npos;
        size_t comma = std::string_view::npos;
        if (quote != std::string_view::npos) {
            item = list.substr(0, quote + 1);
            list = trimblanks(list.substr(quote + 1));
            if (list.starts_with(','))
                list = trimblanks(list.substr(1));
        } else if ((comma = list.find(',')) == std::string_view::npos) {
            item = list;
            list = {};
        } else {
            item = list.substr(0, comma);
            list = trimblanks(list.substr(comma + 1));
        }
        if (!printitem(std::string(item)))
            return false;
    }
    return true;
}

bool Translator::printitem(const std::string& item)
{
    const std::string out = "OUT " + port_;
    if (item == "CrLf" || item == "Lf") {
        if (item == "CrLf") {
            emitcode("MVI A,0DH");
            emitcode(out);
        }
        emitcode("MVI A,0AH");
        emitcode(out);
        return true;
    }
    if (item.size() >= 2 && item.front() == '"' && item.back() == '"') {
        for (size_t i = 1; i + 1 < item.size(); ++i) {
            emitcode("MVI A," + asmhexbyte(static_cast<unsigned char>(item[i])) + "H");
            emitcode(out);
        }
        return true;
    }
    return printvalue(item);
}

} // namespace kelvane::basic
