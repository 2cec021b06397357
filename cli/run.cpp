// kelvane-cli run: a Start at Ultimate rate with no windows, until HLT stops it or the
// instruction limit is reached; trace rows on standard output, the statistics on standard error;
// on request the final state as JSON and its comparison with expected values.
#include "cli/clihooks.h"
#include "cli/commands.h"
#include "cli/statejson.h"
#include "core/execute.h"
#include "core/hexutil.h"
#include "core/interrupts.h"
#include "core/machine.h"
#include "progfiles/programload.h"
#include "progfiles/safewrite.h"

#include <charconv>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

namespace kelvane::cli {

namespace {

std::optional<bool> onoff(const std::string& s)
{
    if (s == "on")
        return true;
    if (s == "off")
        return false;
    return std::nullopt;
}

// A panel button pressed after the instruction that brings instructioncount to `count`.
struct Press {
    uint32_t count = 0;
    int command = 0;    // 1 RESET, 2-6 TRAP .. INTR
    int32_t answer = 1; // INTR's dialog answer
    bool fired = false;
};

// A bit device turned on as the Peripheral Devices window would: at a port, in or out, and for
// =VV with that value (an input device's value is what IN reads from its port).
struct DeviceOption {
    size_t n = 0;
    bool input = false;
    int32_t port = 0;
    int32_t value = -1;
};

struct RunOptions {
    std::string program;
    std::string format;
    std::vector<std::pair<int32_t, int32_t>> ports;
    int32_t terminal = -1;
    std::vector<Press> presses;
    std::vector<DeviceOption> devices;
    bool dumpdevices = false;
    int32_t start = 0;
    bool limited = false;
    uint64_t maxinstructions = 0;
    bool trace = false;
    bool ffdefaults = true;
    bool haltstops = true;
    float clock = 4.0f;
    std::string dumpfile;
    std::vector<MemoryRange> dumpranges;
    std::string expectfile;
};

// A port or a byte of one or two hex digits, any case; -1 when not.
int32_t hexport(const std::string& t)
{
    return parsehexbyte(uppertext(t.size() == 1 ? "0" + t : t));
}

void takeport(RunOptions& o, const std::string& v)
{
    const auto eq = v.find('=');
    const int32_t p = eq == std::string::npos ? -1 : hexport(v.substr(0, eq));
    const int32_t val = eq == std::string::npos ? -1 : hexport(v.substr(eq + 1));
    if (p < 0 || val < 0)
        badvalue("--port needs PP=VV, two hex digits each");
    o.ports.emplace_back(p, val);
}

void takeinterrupt(RunOptions& o, const std::string& v)
{
    const auto colon = v.find(':');
    if (colon == std::string::npos)
        badvalue("--interrupt needs N:NAME");
    Press pr;
    const std::string num = v.substr(0, colon);
    const auto r = std::from_chars(num.data(), num.data() + num.size(), pr.count);
    if (r.ec != std::errc() || r.ptr != num.data() + num.size() || num.empty())
        badvalue("--interrupt needs a count N, not '" + num + "'");
    const std::string name = uppertext(v.substr(colon + 1));
    static const std::pair<const char*, int> names[] = {
        {"RESET", 1}, {"TRAP", 2}, {"RST7.5", 3}, {"RST6.5", 4}, {"RST5.5", 5}};
    for (const auto& [n, cmd] : names)
        if (name == n)
            pr.command = cmd;
    if (name.size() == 5 && name.compare(0, 4, "INTR") == 0 && name[4] >= '1' && name[4] <= '8') {
        pr.command = 6;
        pr.answer = name[4] - '0';
    }
    if (pr.command == 0)
        badvalue("--interrupt: unknown button '" + v.substr(colon + 1) + "'");
    o.presses.push_back(pr);
}

// N:in|out:PP[=VV]
void takedevice(RunOptions& o, const std::string& v)
{
    DeviceOption d;
    const auto colon = v.find(':', 2);
    const std::string dir = colon == std::string::npos ? "" : v.substr(2, colon - 2);
    const std::string rest = colon == std::string::npos ? "" : v.substr(colon + 1);
    const auto eq = rest.find('=');
    d.n = v.size() > 2 && v[0] >= '1' && v[0] <= '4' && v[1] == ':' ? size_t(v[0] - '0') : 0;
    d.input = dir == "in";
    d.port = hexport(rest.substr(0, eq));
    d.value = eq == std::string::npos ? 0 : hexport(rest.substr(eq + 1));
    if (d.n == 0 || (dir != "in" && dir != "out") || d.port < 0 || d.value < 0)
        badvalue("--device needs N:in|out:PP[=VV], N 1-4, two hex digits each");
    if (eq == std::string::npos)
        d.value = -1;
    o.devices.push_back(d);
}

int run(RunOptions& o);

CommandBody setup(CLI::App& cmd)
{
    auto o = std::make_shared<RunOptions>();
    RunOptions& r = *o; // the parser's callbacks fill it before the body runs
    cmd.add_option("PROGRAM", r.program, "The program: Intel HEX when it ends in .hex, else a binary image")
        ->required()
        ->type_name("");
    singleoption(cmd, "--format", "hex|obj", "Read PROGRAM as Intel HEX or as a binary image",
                 [&r](const std::string& v) {
                     if (v != "hex" && v != "obj")
                         badvalue("--format needs hex or obj");
                     r.format = v;
                 });
    singleoption(cmd, "--start", "HHHH", "Start address (default 0000)", [&r](const std::string& v) {
        r.start = parsehexword(uppertext(v));
        if (r.start < 0)
            badvalue("--start needs four hex digits, not '" + v + "'");
    });
    singleoption(cmd, "--max-instructions", "N", "Stop after N instructions (0-4294967295)",
                 [&r](const std::string& v) {
                     uint64_t n = 0;
                     const auto res = std::from_chars(v.data(), v.data() + v.size(), n);
                     if (res.ec != std::errc() || res.ptr != v.data() + v.size() || n > 0xFFFFFFFFull)
                         badvalue("--max-instructions needs a number from 0 to 4294967295, not '" + v + "'");
                     r.limited = true;
                     r.maxinstructions = n;
                 });
    cmd.add_flag("--trace", r.trace, "Print a log row for every instruction on standard output");
    for (const auto& [name, help, target] : {std::tuple{"--ff-defaults", "Registers, flags and SP power on at FF (default on)", &r.ffdefaults},
                                            std::tuple{"--halt-stops", "HLT stops the run (default on)", &r.haltstops}}) {
        singleoption(cmd, name, "on|off", help, [name = std::string(name), target = target](const std::string& v) {
            if (!onoff(v))
                badvalue(name + " needs on or off");
            *target = *onoff(v);
        });
    }
    singleoption(cmd, "--clock", "MHZ", "Clock frequency for the statistics (default 4)", [&r](const std::string& v) {
        float mhz = 0;
        const auto res = std::from_chars(v.data(), v.data() + v.size(), mhz);
        if (res.ec != std::errc() || res.ptr != v.data() + v.size() || !(mhz > 0.0f))
            badvalue("--clock needs a positive frequency in MHz, not '" + v + "'");
        r.clock = mhz;
    });
    repeatedoption(cmd, "--port", "PP=VV", "Port PP holds VV at the start (repeatable)",
                   [&r](const std::string& v) { takeport(r, v); });
    singleoption(cmd, "--terminal", "PP", "The output terminal at port PP: its bytes on standard output",
                 [&r](const std::string& v) {
                     r.terminal = hexport(v);
                     if (r.terminal < 0)
                         badvalue("--terminal needs a port of two hex digits");
                 });
    repeatedoption(cmd, "--interrupt", "N:NAME", "Press button NAME after instruction N (repeatable)",
                   [&r](const std::string& v) { takeinterrupt(r, v); });
    repeatedoption(cmd, "--device", "N:in|out:PP[=VV]", "Turn bit device N (1-4) on at port PP (repeatable)",
                   [&r](const std::string& v) { takedevice(r, v); });
    cmd.add_flag("--dump-devices", r.dumpdevices, "Print the devices' values after the statistics");
    cmd.add_option("--dump", r.dumpfile, "After the run, write the machine's state to FILE as JSON")->type_name("FILE");
    repeatedoption(cmd, "--dump-memory", "HHHH-HHHH", "A memory range for --dump (repeatable)",
                   [&r](const std::string& v) {
                       MemoryRange range;
                       if (!parsememoryrange(v, range))
                           badvalue("--dump-memory needs HHHH-HHHH, four hex digits each, the first not above "
                                    "the second, not '" + v + "'");
                       r.dumpranges.push_back(range);
                   });
    cmd.add_option("--expect", r.expectfile, "Compare the final state with FILE (JSON); exit 1 if they differ")
        ->type_name("FILE");
    cmd.callback([&r] {
        if (!r.dumpranges.empty() && r.dumpfile.empty())
            badvalue("--dump-memory needs --dump FILE");
    });
    cmd.footer(R"(NAME: TRAP RST7.5 RST6.5 RST5.5 INTR1-INTR8 RESET

A dump is one JSON object; an --expect file has the same shape with any part left out:
  {"registers": {"A": "3C", ..., "F": "54", "SP": "FFFF", "PC": "000D"},
   "flags": {"S": 0, "Z": 1, "AC": 0, "P": 1, "CY": 0},
   "counters": {"instructions": 7, "cycles": 35},
   "memory": {"2000": "3C 00 12"},
   "terminal": "Hi"})");
    return [o] { return run(*o); };
}

// A panel press as at Step By Step rate: it acts at once, and only if the button is enabled.
void press(MachineState& st, CliHooks& hooks, const Press& p)
{
    if (!st.commandenabled[static_cast<size_t>(p.command)])
        return;
    if (p.command == 1) {
        // RESET: held and let go; the run goes on from the start address.
        const int32_t rate = st.simrate;
        st.simrate = 1;
        resetpress(st, hooks);
        resetrelease(st, hooks);
        st.simrate = rate;
        return;
    }
    hooks.intranswer = p.answer;
    const int32_t rate = st.simrate;
    st.simrate = 1;
    interruptclick(st, hooks, p.command);
    st.simrate = rate;
}

// A file named on the command line that can't be used: exit 2.
int filerefusal(const std::string& path, const std::string& message)
{
    std::fprintf(stderr, "kelvane-cli run: %s: %s\n", path.c_str(), message.c_str());
    return 2;
}

int run(RunOptions& o)
{
    // The expected values are read before the run, so that a faulty file costs no run.
    Expectation expected;
    if (!o.expectfile.empty()) {
        std::error_code ec;
        std::ifstream in(o.expectfile, std::ios::binary);
        if (!std::filesystem::is_regular_file(o.expectfile, ec) || !in.is_open())
            return filerefusal(o.expectfile, "can't open the file");
        std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        std::string error;
        if (in.bad())
            return filerefusal(o.expectfile, "can't read the file");
        if (!readexpectation(text, expected, error))
            return filerefusal(o.expectfile, error);
    }

    static MachineState st; // the one machine of the process; too large for the stack
    initialisestate(st);
    const ProgramLoadResult loaded = loadprogram(o.program, o.format, st.mem.data());
    if (loaded.status != LoadStatus::ok) {
        std::fprintf(stderr, "%s\n", loaded.message.c_str());
        return loaded.exitcode();
    }
    st.programsize = loaded.size;
    for (const auto& [p, v] : o.ports)
        st.ports[static_cast<size_t>(p)] = v;
    for (const DeviceOption& d : o.devices) {
        st.devenabled[d.n] = true;
        st.devport[d.n] = d.port;
        st.devinput[d.n] = d.input;
        st.devvalue[d.n] = d.value >= 0 ? d.value : d.input ? st.ports[static_cast<size_t>(d.port)] : 0;
        if (d.input)
            st.ports[static_cast<size_t>(d.port)] = st.devvalue[d.n];
    }
    if (o.terminal >= 0) {
        st.termenabled = true;
        st.termport = o.terminal;
    }
    st.optffdefaults = o.ffdefaults ? "ON" : "OFF";
    st.opthalt = o.haltstops ? "ON" : "OFF";
    st.optlogging = "OFF";
    st.optinprompt = "OFF";
    st.optinlog = "OFF";
    st.clockmhz = o.clock;
    st.startaddress = o.start;
    st.simrate = 6;

    CliHooks hooks(o.trace);

    // Start.
    startrun(st, hooks);
    st.starttimer = secondssincemidnight() - 0.01f;
    copytopmirror(st);
    st.refreshrequest = false;

    const auto limit = static_cast<uint32_t>(o.maxinstructions);
    if (!o.limited || limit > 0) {
        if (o.presses.empty() && !o.limited) {
            while (!st.stoprequest)
                runsteps(st, hooks, 0xFFFFFFFFu);
        } else if (o.presses.empty()) {
            // Interrupts are not pressed here, so the count moves by one per instruction.
            while (!st.stoprequest) {
                const auto count = static_cast<uint32_t>(st.instructioncount);
                if (count >= limit)
                    break;
                runsteps(st, hooks, limit - count);
            }
        } else {
            for (;;) {
                stepinstruction(st, hooks);
                // An HLT that stops the run, or the instruction limit, ends it before any button
                // can be pressed.
                if (st.stoprequest)
                    break;
                const auto count = static_cast<uint32_t>(st.instructioncount);
                if (o.limited && count >= limit)
                    break;
                for (auto& p : o.presses) {
                    if (!p.fired && p.count == count) {
                        p.fired = true;
                        press(st, hooks, p);
                    }
                }
                if (st.stoprequest)
                    break;
                if (o.limited && static_cast<uint32_t>(st.instructioncount) >= limit)
                    break;
            }
        }
    }

    // Stop.
    st.running = false;
    const std::string elapsed = stopclock(st, secondssincemidnight());
    hooks.flush();
    const std::string msg = statisticsmessage(st, elapsed);
    for (char ch : msg)
        if (ch != '\r')
            std::fputc(ch, stderr);
    std::fputc('\n', stderr);
    if (o.dumpdevices) {
        for (size_t n = 1; n <= 4; ++n) {
            if (!st.devenabled[n])
                std::fprintf(stderr, "Device %zu OFF\n", n);
            else
                std::fprintf(stderr, "Device %zu %s %sH: %sH\n", n, st.devinput[n] ? "in" : "out",
                             hexbyte(st.devport[n]).c_str(), hexbyte(st.devvalue[n]).c_str());
        }
    }
    freshenpanelvalues(st);
    if (!o.dumpfile.empty()) {
        std::string error;
        if (!writefilesafely(o.dumpfile, statejson(st, o.dumpranges), &error))
            return filerefusal(o.dumpfile, error);
    }
    if (!o.expectfile.empty()) {
        const std::vector<std::string> diffs = differences(expected, st);
        for (const std::string& line : diffs)
            std::fprintf(stderr, "%s\n", line.c_str());
        return diffs.empty() ? 0 : 1;
    }
    return 0;
}

const CliCommand reg("run", "Run a program at Ultimate rate until HLT or an instruction limit", setup);

} // namespace

} // namespace kelvane::cli
