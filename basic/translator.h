// The compiler's engine: the line model and tokens, literals, the variable, constant and label
// tables, both passes, the statement and operand generators and the runtime routines. One
// Translator keeps the state of its last compile; each compile starts from a clean state.
#pragma once
#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace kelvane::basic {

// Type codes; 0 means "no such variable" wherever a type is looked up.
enum : int32_t { notype = 0, integertype = 1, shorttype = 2, booleantype = 3 };

// Variables lie downward from here; the byte at datatop itself is never used.
constexpr int32_t datatop = 0xFF00;

// Token slots 1 to 20 of a line (slot 0 unused); slots not reached are empty.
constexpr int tokencount = 20;
using Tokens = std::array<std::string, tokencount + 1>;

// One source line after the line model: the code without its comment and, once the first pass
// has seen a line label, without the label; the comment with its apostrophe and one blank in
// front; the generated label and the label's name (both empty without a label).
struct SourceLine {
    std::string statement;
    std::string comment;
    std::string label;
    std::string labelname;
};

// Cuts the source at CR LF or LF (a final line end adds no empty line), trims blanks and tabs
// at both ends, turns tabs into blanks and separates the comment, outside strings.
std::vector<SourceLine> splitsource(std::string_view source);

// Cuts a line at each single blank into slots 1 to 20; false when text remains after slot 20.
bool cuttokens(std::string_view line, Tokens& tokens);

// "_" or a-z first, then only "_", a-z and 0-9; the empty name is refused.
bool validname(std::string_view name);

// The value of a text that is the plain decimal form of a whole number ("0", "17", "-4"; not
// "007", "+4", "-0"); false otherwise or when it lies outside +/-999,999,999.
bool plaindecimal(std::string_view text, int32_t& value);

class Translator {
public:
    // Resets the state and runs both passes. True on success (output() and outputlines() hold the
    // result); false with errorline, errormessage and compileerrorline set.
    bool translate(std::string_view source);

    std::string output() const; // lines joined with CR LF, no CR LF after the last
    int32_t outputlines() const { return static_cast<int32_t>(head_.size()) + bodylines_; }

    int32_t errorline = 0;     // the line the message names (one past the last for "is missing")
    std::string errormessage;  // ": Syntax error." and the like
    int32_t compileerrorline = 0;

    // Literals: on success the text becomes the value in plain decimal (a negative value in its
    // two's complement for the type). Reads the constants declared so far.
    bool parseliteral(std::string& text, int32_t type) const;

    // Tables as the second pass has filled them so far.
    int32_t varoffset(std::string_view name) const; // exact name; 0 when none
    int32_t vartype(std::string_view name) const;   // name cut at its first "("; 0 when none
    int32_t memoryused = 0;

private:
    struct Variable {
        int32_t offset;
        int32_t type;
    };
    struct WhileEntry {
        std::string top, exit;
    };
    struct ForEntry {
        std::string top, exit, variable, step;
    };
    struct IfEntry {
        std::string elselabel, endlabel;
        bool elseseen = false;
    };
    using Handler = bool (Translator::*)();
    struct Generator;

    void reset();
    std::string codelabel();
    bool fail(const char* message);

    // Writers.
    void emitline(std::string_view text);
    void emitlabelled(std::string_view label, std::string_view text);
    void emitcode(std::string_view text);
    void emitfirst(std::string text);

    // Passes.
    bool scanlabels();
    bool translatelines();
    bool checkdeclaration(bool enter);
    Handler statementhandler() const;
    void writeframe();

    // Statements.
    bool dimop();
    bool constop();
    bool peekop();
    bool pokeop();
    bool getop();
    bool putop();
    bool setbitop();
    bool resetbitop();
    bool bitop(bool set);
    bool assignop();
    bool arithop();
    bool notop();
    bool logicop();
    bool whileop();
    bool whiletest();
    bool wendop();
    bool gotoop();
    bool gosubop();
    bool jumpop(const char* instruction);
    bool returnop();
    bool endop();
    bool ifop();
    bool iftest();
    bool booleanargument(const std::string& x);
    bool booleanbranch(const std::string& x, bool negated, const std::string& target);
    bool thenclause(int k);
    bool elseop();
    bool endifop();
    bool forop();
    bool nextop();
    bool printop();
    bool emptyop();
    bool syntaxerror();

    // Operands.
    bool operand(const std::string& token, const Generator& g);
    bool integeraddr(const std::string& token);
    bool integerload(const std::string& token);
    bool shortaddr(const std::string& token);
    bool shortload(const std::string& token);
    bool booleanaddr(const std::string& token);
    bool booleanload(const std::string& token);
    bool loadbytype(int32_t type, const std::string& token);
    bool pushed(bool generated);
    bool popped(bool generated);
    void storebytype(int32_t type);
    void storebyte(int32_t type);
    bool twooperands(int32_t d);
    bool addrbytype(int32_t type, const std::string& token);
    int32_t testtype();
    bool comparison(int32_t type, const std::string& target);
    bool porttext(std::string text, std::string& port);
    bool printitem(const std::string& item);
    bool printvalue(const std::string& item);
    void digitblock(std::string& endlabel);
    void wordload();
    void wordstore();

    // Runtime routines.
    void emitroutines();

    // Source lines, index 1 to lines_.size() - 1.
    std::vector<SourceLine> lines_;
    std::unordered_map<std::string, std::string> linelabels_; // name -> generated label
    std::unordered_map<std::string, Variable> variables_;
    std::unordered_map<std::string, std::string> constants_; // name -> value text
    std::vector<WhileEntry> whilestack_;
    std::vector<ForEntry> forstack_;
    std::vector<IfEntry> ifstack_;
    std::array<bool, 31> routineused_{}; // 1 subtraction, 2 multiplication, 3 division, 4 comparison
    int32_t labelcounter_ = 0;
    int32_t currentline_ = 0;
    Tokens tokens_;
    std::string port_; // the Print statement's port, as written after "OUT "

    std::vector<std::string> head_; // lines that emitfirst put in front
    std::string body_;              // every other line, each followed by CR LF
    int32_t bodylines_ = 0;
};

} // namespace kelvane::basic
