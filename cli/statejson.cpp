// The dump and the expect file of kelvane-cli run, over nlohmann::json.
#include "cli/statejson.h"

#include "core/hexutil.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstring>
#include <map>
#include <string_view>
#include <vector>

namespace kelvane::cli {

namespace {

using json = nlohmann::ordered_json; // an expect file's values are checked in its own order

// A value of the machine that a dump shows and an expect file may ask for; registers are hex
// texts of `digits` digits, flags and counters numbers.
struct Field {
    const char* name;
    int32_t MachineState::* member;
    int digits = 0;
};

enum class Kind { hex, bit, count };

// The parts of a dump that are named values, in the order the dump writes them.
struct FieldPart {
    const char* part;
    const char* noun;
    Kind kind;
    std::vector<Field> fields;
};

const std::vector<FieldPart>& fieldparts()
{
    using M = MachineState;
    static const std::vector<FieldPart> parts = {
        {"registers", "register", Kind::hex,
         {{"A", &M::a, 2}, {"B", &M::b, 2}, {"C", &M::c, 2}, {"D", &M::d, 2}, {"E", &M::e, 2}, {"H", &M::h, 2},
          {"L", &M::l, 2}, {"F", &M::f, 2}, {"SP", &M::sp, 4}, {"PC", &M::pc, 4}}},
        {"flags", "flag", Kind::bit, {{"S", &M::fs}, {"Z", &M::fz}, {"AC", &M::fac}, {"P", &M::fp}, {"CY", &M::fcy}}},
        {"counters", "counter", Kind::count, {{"instructions", &M::instructioncount}, {"cycles", &M::cyclecount}}},
    };
    return parts;
}

std::string hextext(int64_t v, int digits)
{
    return digits == 4 ? hexword(static_cast<int32_t>(v)) : hexbyte(static_cast<int32_t>(v));
}

// The terminal's bytes as text: each byte is the character of the same code (ISO 8859-1).
std::string latin1toutf8(const std::string& bytes)
{
    std::string out;
    for (unsigned char b : bytes) {
        if (b < 0x80) {
            out += static_cast<char>(b);
        } else {
            out += static_cast<char>(0xC0 | (b >> 6));
            out += static_cast<char>(0x80 | (b & 0x3F));
        }
    }
    return out;
}

// The reverse; false when the text holds a character past U+00FF. The text is valid UTF-8 (the
// JSON reader checked it).
bool utf8tolatin1(const std::string& text, std::string& out)
{
    out.clear();
    for (size_t i = 0; i < text.size(); ++i) {
        const auto b = static_cast<unsigned char>(text[i]);
        if (b < 0x80) {
            out += static_cast<char>(b);
        } else if ((b == 0xC2 || b == 0xC3) && i + 1 < text.size()) {
            out += static_cast<char>(((b & 0x03) << 6) | (static_cast<unsigned char>(text[++i]) & 0x3F));
        } else {
            return false;
        }
    }
    return true;
}

// Hex digits with an optional trailing H, any case ("3C", "0ffffh"); -1 when not.
int64_t parsehextext(std::string_view s)
{
    if (!s.empty() && (s.back() == 'H' || s.back() == 'h'))
        s.remove_suffix(1);
    uint32_t v = 0;
    if (s.empty() || s.size() > 8)
        return -1;
    const auto r = std::from_chars(s.data(), s.data() + s.size(), v, 16);
    return r.ec == std::errc() && r.ptr == s.data() + s.size() ? int64_t(v) : -1;
}

// A byte or word in an expect file: a JSON number or a hex text; -1 when neither or past max.
int64_t hexvalue(const json& v, int64_t max)
{
    int64_t n = -1;
    if (v.is_number_unsigned())
        n = static_cast<int64_t>(std::min<uint64_t>(v.get<uint64_t>(), uint64_t(max) + 1));
    else if (v.is_string())
        n = parsehextext(v.get_ref<const std::string&>());
    return n >= 0 && n <= max ? n : -1;
}

bool sameletters(std::string_view a, std::string_view b)
{
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return std::toupper(static_cast<unsigned char>(x)) == std::toupper(static_cast<unsigned char>(y));
           });
}

// A fault in an expect file, caught by readexpectation.
struct Refusal {
    std::string text;
};

void readfields(const FieldPart& part, const json& values, Expectation& out)
{
    if (!values.is_object())
        throw Refusal{std::string("\"") + part.part + "\" must be an object of names and values"};
    for (const auto& item : values.items()) {
        const std::string& name = item.key();
        const json& v = item.value();
        const auto f = std::find_if(part.fields.begin(), part.fields.end(),
                                    [&](const Field& x) { return sameletters(x.name, name); });
        if (f == part.fields.end())
            throw Refusal{std::string("unknown ") + part.noun + " '" + name + "'"};
        ExpectedValue e;
        e.label = std::string(part.noun) + " " + f->name;
        e.field = f->member;
        e.digits = f->digits;
        if (part.kind == Kind::hex) {
            e.mask = e.digits == 4 ? 0xFFFF : 0xFF;
            e.value = hexvalue(v, e.mask);
            if (e.value < 0)
                throw Refusal{e.label + ": " + v.dump() + " is not a value from 0 to " + hextext(e.mask, e.digits) +
                              "H"};
        } else if (part.kind == Kind::bit) {
            e.value = v.is_boolean() ? int64_t(v.get<bool>()) : v.is_number_unsigned() ? hexvalue(v, 1) : -1;
            if (e.value < 0)
                throw Refusal{e.label + ": " + v.dump() + " is not 0 or 1"};
        } else {
            if (!v.is_number_integer() || v.get<int64_t>() < INT32_MIN || v.get<int64_t>() > INT32_MAX)
                throw Refusal{e.label + ": " + v.dump() + " is not a count"};
            e.value = v.get<int64_t>();
        }
        out.values.push_back(e);
    }
}

// "memory": {"2000": "3C 00 12", "2010": 255, "2020": [1, "2H"]}: bytes from each address on.
void readmemory(const json& values, Expectation& out)
{
    if (!values.is_object())
        throw Refusal{"\"memory\" must be an object of addresses and bytes"};
    for (const auto& [key, v] : values.items()) {
        const int64_t address = parsehextext(key);
        if (address < 0)
            throw Refusal{"memory: '" + key + "' is not a hex address"};
        if (address > 0xFFFF)
            throw Refusal{"memory: the address " + key + " is past FFFF"};
        std::vector<json> bytes;
        if (v.is_string()) {
            const std::string& s = v.get_ref<const std::string&>();
            for (size_t at = s.find_first_not_of(" \t"); at != std::string::npos; at = s.find_first_not_of(" \t", at)) {
                const size_t end = std::min(s.find_first_of(" \t", at), s.size());
                bytes.emplace_back(s.substr(at, end - at));
                at = end;
            }
        } else if (v.is_array()) {
            bytes.assign(v.begin(), v.end());
        } else {
            bytes.push_back(v);
        }
        if (bytes.empty())
            throw Refusal{"memory " + hexword(static_cast<int32_t>(address)) + "H: no bytes given"};
        if (address + static_cast<int64_t>(bytes.size()) - 1 > 0xFFFF)
            throw Refusal{"memory " + hexword(static_cast<int32_t>(address)) + "H: " + std::to_string(bytes.size()) +
                          " bytes run past FFFF"};
        for (size_t i = 0; i < bytes.size(); ++i) {
            ExpectedValue e;
            e.address = static_cast<int32_t>(address + static_cast<int64_t>(i));
            e.label = "memory " + hexword(e.address) + "H";
            e.mask = 0xFF;
            e.digits = 2;
            e.value = hexvalue(bytes[i], 0xFF);
            if (e.value < 0)
                throw Refusal{e.label + ": " + bytes[i].dump() + " is not a byte"};
            out.values.push_back(e);
        }
    }
}

std::string quoted(const std::string& bytes)
{
    return json(latin1toutf8(bytes)).dump();
}

} // namespace

bool parsememoryrange(const std::string& text, MemoryRange& out)
{
    if (text.size() != 9 || text[4] != '-')
        return false;
    std::string upper = text;
    std::transform(upper.begin(), upper.end(), upper.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    out.first = parsehexword(std::string_view(upper).substr(0, 4));
    out.last = parsehexword(std::string_view(upper).substr(5));
    return out.first >= 0 && out.last >= out.first;
}

std::string statejson(const MachineState& st, const std::vector<MemoryRange>& ranges)
{
    json j;
    for (const FieldPart& part : fieldparts()) {
        auto& o = j[part.part] = json::object();
        for (const Field& f : part.fields) {
            if (f.digits > 0)
                o[f.name] = hextext(st.*f.member, f.digits);
            else
                o[f.name] = st.*f.member;
        }
    }
    // Ranges that begin at one address share its key: the longest of them is written.
    std::map<int32_t, int32_t> longest;
    for (const MemoryRange& r : ranges)
        longest[r.first] = std::max(longest.count(r.first) ? longest[r.first] : r.last, r.last);
    auto& memory = j["memory"] = json::object();
    for (const auto& [first, last] : longest) {
        std::string bytes;
        for (int32_t a = first; a <= last; ++a)
            bytes += (a == first ? "" : " ") + hexbyte(st.mem[static_cast<size_t>(a)]);
        memory[hexword(first)] = bytes;
    }
    j["terminal"] = latin1toutf8(st.termtext);
    return j.dump(2) + "\n";
}

bool readexpectation(const std::string& text, Expectation& out, std::string& error)
{
    out = Expectation{};
    try {
        const json j = json::parse(text);
        if (!j.is_object())
            throw Refusal{"the file must hold one JSON object"};
        for (const auto& item : j.items()) {
            const std::string& key = item.key();
            const json& v = item.value();
            const auto part = std::find_if(fieldparts().begin(), fieldparts().end(),
                                           [&](const FieldPart& p) { return key == p.part; });
            if (part != fieldparts().end()) {
                readfields(*part, v, out);
            } else if (key == "memory") {
                readmemory(v, out);
            } else if (key == "terminal") {
                if (!v.is_string() || !utf8tolatin1(v.get_ref<const std::string&>(), out.terminal))
                    throw Refusal{"\"terminal\" must be a text of characters U+0000-U+00FF"};
                out.hasterminal = true;
                out.terminalat = out.values.size();
            } else {
                throw Refusal{"unknown part '" + key + "' (registers, flags, counters, memory and terminal are known)"};
            }
        }
    } catch (const json::parse_error& e) {
        // "[json.exception.parse_error.101] parse error at line 1, column 2: ..." without its tag.
        const char* what = e.what();
        const char* tagend = std::strstr(what, "] ");
        error = std::string("not JSON: ") + (tagend ? tagend + 2 : what);
        return false;
    } catch (const Refusal& r) {
        error = r.text;
        return false;
    }
    return true;
}

std::vector<std::string> differences(const Expectation& expected, const MachineState& st)
{
    std::vector<std::string> out;
    auto terminal = [&] {
        if (!expected.hasterminal || expected.terminal == st.termtext)
            return;
        const auto mine = std::mismatch(expected.terminal.begin(), expected.terminal.end(), st.termtext.begin(),
                                        st.termtext.end()).first;
        out.push_back("terminal: expected " + quoted(expected.terminal) + ", got " + quoted(st.termtext) +
                      " (they differ from character " + std::to_string(mine - expected.terminal.begin() + 1) + ")");
    };
    for (size_t i = 0; i < expected.values.size(); ++i) {
        if (i == expected.terminalat)
            terminal();
        const ExpectedValue& e = expected.values[i];
        int64_t got = e.field ? st.*e.field : st.mem[static_cast<size_t>(e.address)];
        if (e.mask >= 0)
            got &= e.mask;
        if (got == e.value)
            continue;
        auto show = [&](int64_t v) { return e.digits ? hextext(v, e.digits) + "H" : std::to_string(v); };
        out.push_back(e.label + ": expected " + show(e.value) + ", got " + show(got));
    }
    if (expected.terminalat >= expected.values.size())
        terminal();
    return out;
}

} // namespace kelvane::cli
