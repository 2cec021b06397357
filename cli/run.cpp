// kelvane-cli run: a Start at Ultimate rate with no windows, until HLT stops it or the
// instruction limit is reached; trace rows on standard output, the statistics on standard error.
#include "cli/clihooks.h"
#include "cli/commands.h"
#include "core/execute.h"
#include "core/hexutil.h"
#include "core/interrupts.h"
#include "core/machine.h"
#include "progfiles/programload.h"

#include <charconv>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kelvane::cli {

namespace {

constexpr const char* runusage =
    "PROGRAM [--format hex|obj] [--start HHHH] [--max-instructions N] [--trace] [--ff-defaults on|off]\n"
    "                      [--halt-stops on|off] [--clock MHZ] [--port PP=VV]... [--terminal PP]\n"
    "                      [--interrupt N:NAME]...   (NAME: TRAP RST7.5 RST6.5 RST5.5 INTR1-INTR8 RESET)\n"
    "                      [--device N:in|out:PP[=VV]]... [--dump-devices]   (N: device 1-4)";

int usageerror(const std::string& msg)
{
    std::fprintf(stderr, "kelvane-cli run: %s\nusage: kelvane-cli run %s\n", msg.c_str(), runusage);
    return 2;
}

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
};

// Returns an error text, or empty when the options are good.
std::string parseoptions(const std::vector<std::string>& args, RunOptions& o)
{
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& a = args[i];
        auto value = [&](std::string& out) -> bool {
            if (i + 1 >= args.size())
                return false;
            out = args[++i];
            return true;
        };
        std::string v;
        auto upper = [](std::string t) {
            for (auto& ch : t)
                ch = static_cast<char>(std::toupper(static_cast<unsigned char>(ch)));
            return t;
        };
        auto hexport = [&](const std::string& t) { return parsehexbyte(upper(t.size() == 1 ? "0" + t : t)); };
        if (a == "--format") {
            if (!value(v) || (v != "hex" && v != "obj"))
                return "--format needs hex or obj";
            o.format = v;
        } else if (a == "--port") {
            const auto eq = value(v) ? v.find('=') : std::string::npos;
            const int32_t p = eq == std::string::npos ? -1 : hexport(v.substr(0, eq));
            const int32_t val = eq == std::string::npos ? -1 : hexport(v.substr(eq + 1));
            if (p < 0 || val < 0)
                return "--port needs PP=VV, two hex digits each";
            o.ports.emplace_back(p, val);
        } else if (a == "--terminal") {
            o.terminal = value(v) ? hexport(v) : -1;
            if (o.terminal < 0)
                return "--terminal needs a port of two hex digits";
        } else if (a == "--interrupt") {
            const auto colon = value(v) ? v.find(':') : std::string::npos;
            if (colon == std::string::npos)
                return "--interrupt needs N:NAME";
            Press pr;
            const std::string num = v.substr(0, colon);
            const auto r = std::from_chars(num.data(), num.data() + num.size(), pr.count);
            if (r.ec != std::errc() || r.ptr != num.data() + num.size() || num.empty())
                return "--interrupt needs a count N, not '" + num + "'";
            const std::string name = upper(v.substr(colon + 1));
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
                return "--interrupt: unknown button '" + v.substr(colon + 1) + "'";
            o.presses.push_back(pr);
        } else if (a == "--device") {
            // N:in|out:PP[=VV]
            DeviceOption d;
            const bool given = value(v);
            const auto colon = v.find(':', 2);
            const std::string dir = colon == std::string::npos ? "" : v.substr(2, colon - 2);
            const std::string rest = colon == std::string::npos ? "" : v.substr(colon + 1);
            const auto eq = rest.find('=');
            d.n = given && v.size() > 2 && v[0] >= '1' && v[0] <= '4' && v[1] == ':' ? size_t(v[0] - '0') : 0;
            d.input = dir == "in";
            d.port = hexport(rest.substr(0, eq));
            d.value = eq == std::string::npos ? 0 : hexport(rest.substr(eq + 1));
            if (d.n == 0 || (dir != "in" && dir != "out") || d.port < 0 || d.value < 0)
                return "--device needs N:in|out:PP[=VV], N 1-4, two hex digits each";
            if (eq == std::string::npos)
                d.value = -1;
            o.devices.push_back(d);
        } else if (a == "--dump-devices") {
            o.dumpdevices = true;
        } else if (a == "--trace") {
            o.trace = true;
        } else if (a == "--start") {
            if (!value(v))
                return "--start needs four hex digits";
            for (auto& ch : v)
                ch = static_cast<char>(std::toupper(static_cast<unsigned char>(ch)));
            o.start = parsehexword(v);
            if (o.start < 0)
                return "--start needs four hex digits, not '" + args[i] + "'";
        } else if (a == "--max-instructions") {
            if (!value(v))
                return "--max-instructions needs a number";
            uint64_t n = 0;
            const auto r = std::from_chars(v.data(), v.data() + v.size(), n);
            if (r.ec != std::errc() || r.ptr != v.data() + v.size() || n > 0xFFFFFFFFull)
                return "--max-instructions needs a number from 0 to 4294967295, not '" + v + "'";
            o.limited = true;
            o.maxinstructions = n;
        } else if (a == "--ff-defaults" || a == "--halt-stops") {
            if (!value(v) || !onoff(v))
                return a + " needs on or off";
            (a == "--ff-defaults" ? o.ffdefaults : o.haltstops) = *onoff(v);
        } else if (a == "--clock") {
            if (!value(v))
                return "--clock needs a frequency in MHz";
            float mhz = 0;
            const auto r = std::from_chars(v.data(), v.data() + v.size(), mhz);
            if (r.ec != std::errc() || r.ptr != v.data() + v.size() || !(mhz > 0.0f))
                return "--clock needs a positive frequency in MHz, not '" + v + "'";
            o.clock = mhz;
        } else if (!a.empty() && a[0] == '-') {
            return "unknown option '" + a + "'";
        } else if (o.program.empty()) {
            o.program = a;
        } else {
            return "only one PROGRAM may be given";
        }
    }
    if (o.program.empty())
        return "PROGRAM is missing";
    return {};
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

int run(const std::vector<std::string>& args)
{
    RunOptions o;
    if (auto err = parseoptions(args, o); !err.empty())
        return usageerror(err);

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
    return 0;
}

const CliCommand reg("run", runusage, run);

} // namespace

} // namespace kelvane::cli
