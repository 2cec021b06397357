// The compile driver's passes: labels and the form of declarations first, then every line through
// the table of statement forms, the frame of the output and the writers of its lines.
#include "basic/translator.h"
#include "core/hexutil.h"

namespace kelvane::basic {

namespace {

// How a statement form tests one token slot.
enum class Test : uint8_t { none, is, oneof, empty, filled, endscomma, call };

struct Condition {
    uint8_t slot = 0;
    Test test = Test::none;
    std::string_view text;
};

constexpr std::string_view typenames = "Integer|Short|Boolean";
constexpr std::string_view arithmeticops = "-|+|*|/|Mod";
constexpr std::string_view logicops = "And|Or|Xor|Nor|Nand|Nxor";
constexpr std::string_view testops = "<>|=|>|>=|<|<=";

bool oneof(std::string_view token, std::string_view list)
{
    for (;;) {
        const size_t bar = list.find('|');
        if (token == list.substr(0, bar))
            return true;
        if (bar == std::string_view::npos)
            return false;
        list.remove_prefix(bar + 1);
    }
}

bool holds(const Tokens& t, const Condition& c)
{
    const std::string& s = t[c.slot];
    switch (c.test) {
    case Test::none:
        return true;
    case Test::is:
        return s == c.text;
    case Test::oneof:
        return oneof(s, c.text);
    case Test::empty:
        return s.empty();
    case Test::filled:
        return !s.empty();
    case Test::endscomma:
        return s.ends_with(',');
    case Test::call: // "Peek(" ... ")"
        return s.starts_with(c.text) && s.size() > c.text.size() && s.back() == ')';
    }
    return false;
}

constexpr Condition declarationform[] = {
    {1, Test::is, "Dim"}, {3, Test::is, "As"}, {4, Test::oneof, typenames}, {5, Test::empty, {}}};

template <size_t N>
bool matches(const Tokens& t, const Condition (&form)[N])
{
    for (const Condition& c : form)
        if (!holds(t, c))
            return false;
    return true;
}

int32_t typecode(std::string_view name)
{
    return name == "Integer" ? integertype : name == "Short" ? shorttype : name == "Boolean" ? booleantype : notype;
}

} // namespace

bool Translator::translate(std::string_view source)
{
    reset();
    lines_ = splitsource(source);
    if (!scanlabels() || !translatelines()) {
        errorline = currentline_;
        compileerrorline = currentline_ < static_cast<int32_t>(lines_.size()) ? currentline_ : 0;
        return false;
    }
    return true;
}

void Translator::reset()
{
    *this = Translator();
}

std::string Translator::output() const
{
    std::string text;
    text.reserve(body_.size() + 64);
    for (const std::string& line : head_) {
        text += line;
        text += "\r\n";
    }
    text += body_;
    if (text.ends_with("\r\n"))
        text.resize(text.size() - 2);
    return text;
}

std::string Translator::codelabel()
{
    ++labelcounter_;
    const std::string digits = "000" + std::to_string(labelcounter_);
    return "L" + digits.substr(digits.size() - 4);
}

bool Translator::fail(const char* message)
{
    errormessage = message;
    return false;
}

void Translator::emitline(std::string_view text)
{
    body_ += text;
    body_ += "\r\n";
    ++bodylines_;
}

void Translator::emitlabelled(std::string_view label, std::string_view text)
{
    body_ += label;
    body_ += ":\t";
    emitline(text);
}

void Translator::emitcode(std::string_view text)
{
    body_ += '\t';
    emitline(text);
}

void Translator::emitfirst(std::string text)
{
    head_.insert(head_.begin(), std::move(text));
}

bool Translator::scanlabels()
{
    for (currentline_ = 1; currentline_ < static_cast<int32_t>(lines_.size()); ++currentline_) {
        SourceLine& line = lines_[static_cast<size_t>(currentline_)];
        if (!cuttokens(line.statement, tokens_))
            return fail(": Line too long.");
        if (matches(tokens_, declarationform)) {
            if (!checkdeclaration(false))
                return false;
            continue;
        }
        const std::string& first = tokens_[1];
        if (!first.ends_with(':'))
            continue;
        if (first == ":")
            return fail(": Label name missing.");
        std::string name = first.substr(0, first.size() - 1);
        if (!validname(name))
            return fail(": Incorrect line label name.");
        if (linelabels_.contains(name))
            return fail(": Line label name already used.");
        line.label = codelabel();
        linelabels_.emplace(name, line.label);
        // The statement goes on behind the colon and one blank.
        line.statement = line.statement.size() > name.size() + 2 ? line.statement.substr(name.size() + 2) : "";
        line.labelname = std::move(name);
    }
    return true;
}

bool Translator::translatelines()
{
    for (currentline_ = 1; currentline_ < static_cast<int32_t>(lines_.size()); ++currentline_) {
        const SourceLine& line = lines_[static_cast<size_t>(currentline_)];
        std::string note = "; " + std::to_string(currentline_) + ": ";
        if (!line.label.empty())
            note += line.labelname + ": ";
        note += line.statement;
        note += line.comment;
        emitline(note);
        if (!line.label.empty())
            emitlabelled(line.label, "NOP");
        cuttokens(line.statement, tokens_); // never too long: the first pass saw the longer line
        if (!(this->*statementhandler())())
            return false;
    }
    if (!whilestack_.empty())
        return fail(": Wend is missing.");
    if (!forstack_.empty())
        return fail(": Next is missing.");
    if (!ifstack_.empty())
        return fail(": Endif is missing.");
    writeframe();
    return true;
}

Translator::Handler Translator::statementhandler() const
{
    struct Form {
        Condition test[6];
        Handler handler;
    };
    using T = Test;
    // Tried in this order; the first form whose tests all hold decides.
    static const Form forms[] = {
        {{{1, T::is, "Dim"}, {3, T::is, "As"}, {4, T::oneof, typenames}, {5, T::empty, {}}}, &Translator::dimop},
        {{{1, T::is, "Const"}, {3, T::is, "="}, {4, T::filled, {}}, {5, T::empty, {}}}, &Translator::constop},
        {{{2, T::is, "="}, {3, T::call, "Peek("}, {4, T::empty, {}}}, &Translator::peekop},
        {{{1, T::is, "Poke"}, {2, T::endscomma, {}}, {3, T::filled, {}}, {4, T::empty, {}}}, &Translator::pokeop},
        {{{2, T::is, "="}, {3, T::call, "Get("}, {4, T::empty, {}}}, &Translator::getop},
        {{{1, T::is, "Put"}, {2, T::endscomma, {}}, {3, T::filled, {}}, {4, T::empty, {}}}, &Translator::putop},
        {{{1, T::is, "SetBit"}, {2, T::endscomma, {}}, {3, T::filled, {}}, {4, T::empty, {}}}, &Translator::setbitop},
        {{{1, T::is, "ResetBit"}, {2, T::endscomma, {}}, {3, T::filled, {}}, {4, T::empty, {}}},
         &Translator::resetbitop},
        {{{2, T::is, "="}, {3, T::filled, {}}, {4, T::empty, {}}}, &Translator::assignop},
        {{{2, T::is, "="}, {4, T::oneof, arithmeticops}, {5, T::filled, {}}, {6, T::empty, {}}}, &Translator::arithop},
        {{{2, T::is, "="}, {3, T::is, "Not"}, {4, T::filled, {}}, {5, T::empty, {}}}, &Translator::notop},
        {{{2, T::is, "="}, {4, T::oneof, logicops}, {5, T::filled, {}}, {6, T::empty, {}}}, &Translator::logicop},
        {{{1, T::is, "While"}, {2, T::filled, {}}, {3, T::empty, {}}}, &Translator::whileop},
        {{{1, T::is, "While"}, {2, T::is, "Not"}, {3, T::filled, {}}, {4, T::empty, {}}}, &Translator::whileop},
        {{{1, T::is, "While"}, {3, T::oneof, testops}, {4, T::filled, {}}, {5, T::empty, {}}}, &Translator::whiletest},
        {{{1, T::is, "Wend"}, {2, T::empty, {}}}, &Translator::wendop},
        {{{1, T::is, "Goto"}, {2, T::filled, {}}, {3, T::empty, {}}}, &Translator::gotoop},
        {{{1, T::is, "Gosub"}, {2, T::filled, {}}, {3, T::empty, {}}}, &Translator::gosubop},
        {{{1, T::is, "Return"}, {2, T::empty, {}}}, &Translator::returnop},
        {{{1, T::is, "End"}, {2, T::empty, {}}}, &Translator::endop},
        {{{1, T::is, "If"}, {3, T::is, "Then"}}, &Translator::ifop},
        {{{1, T::is, "If"}, {2, T::is, "Not"}, {4, T::is, "Then"}}, &Translator::ifop},
        {{{1, T::is, "If"}, {3, T::oneof, testops}, {5, T::is, "Then"}}, &Translator::iftest},
        {{{1, T::is, "Else"}, {2, T::empty, {}}}, &Translator::elseop},
        {{{1, T::is, "Endif"}, {2, T::empty, {}}}, &Translator::endifop},
        {{{1, T::is, "For"}, {3, T::is, "="}, {5, T::is, "To"}, {6, T::filled, {}}, {7, T::empty, {}}},
         &Translator::forop},
        {{{1, T::is, "For"}, {3, T::is, "="}, {5, T::is, "To"}, {7, T::is, "Step"}, {8, T::filled, {}},
          {9, T::empty, {}}},
         &Translator::forop},
        {{{1, T::is, "Next"}, {2, T::filled, {}}, {3, T::empty, {}}}, &Translator::nextop},
        {{{1, T::is, "Print"}, {2, T::endscomma, {}}, {3, T::filled, {}}}, &Translator::printop},
        {{{1, T::empty, {}}}, &Translator::emptyop},
    };
    for (const Form& f : forms)
        if (matches(tokens_, f.test))
            return f.handler;
    return &Translator::syntaxerror;
}

// Checks token 2 of a declaration; when enter is set (second pass) also that the name is new and
// fits under the data top, then enters the variable and writes its address.
bool Translator::checkdeclaration(bool enter)
{
    const std::string& token = tokens_[2];
    const int32_t type = typecode(tokens_[4]);
    int64_t bytes = type == integertype ? 2 : 1;
    std::string name = token;
    const char* message = ": Incorrect variable name.";
    bool good = true;
    if (token.find_first_of("()") != std::string::npos) {
        message = ": Incorrect array declaration.";
        const size_t open = token.find('(');
        int32_t size = 0;
        good = open != std::string::npos && token.back() == ')' &&
               plaindecimal(std::string_view(token).substr(open + 1, token.size() - open - 2), size) && size > 0;
        name = token.substr(0, std::min(open, token.size()));
        bytes *= size;
    }
    good = good && validname(name);
    if (!enter || !good)
        return good || fail(message);
    if (variables_.contains(name) || memoryused + bytes > datatop)
        return fail(message);
    memoryused += static_cast<int32_t>(bytes);
    const int32_t offset = -memoryused;
    variables_.emplace(name, Variable{offset, type});
    emitline(";       The address of '" + name + "' is " + std::to_string(offset) + " (" + hexword(datatop + offset) +
             "H)");
    return true;
}

bool Translator::dimop()
{
    return checkdeclaration(true);
}

bool Translator::constop()
{
    const std::string& name = tokens_[2];
    if (!validname(name))
        return fail(": Incorrect constant name.");
    if (constants_.contains(name))
        return fail(": Duplicate constant name.");
    std::string value = tokens_[4];
    if (!parseliteral(value, integertype))
        return fail(": Incorrect constant value.");
    emitline(";       The value of '" + name + "' is " + value);
    constants_.emplace(name, std::move(value));
    return true;
}

bool Translator::emptyop()
{
    return true;
}

bool Translator::syntaxerror()
{
    return fail(": Syntax error.");
}

int32_t Translator::varoffset(std::string_view name) const
{
    const auto v = variables_.find(std::string(name));
    return v == variables_.end() ? 0 : v->second.offset;
}

int32_t Translator::vartype(std::string_view name) const
{
    const auto v = variables_.find(std::string(name.substr(0, name.find('('))));
    return v == variables_.end() ? notype : v->second.type;
}

void Translator::writeframe()
{
    emitfirst("\tLXI SP," + asmhexword(datatop - memoryused) + "H");
    emitfirst("\tLXI H," + asmhexword(datatop) + "H");
    emitfirst("; Begin");
    emitline("; End of program");
    emitcode("HLT");
    emitroutines();
    emitline("; End of listing");
    emitcode(".END");
}

} // namespace kelvane::basic
