// kelvane-cli run: a Start at Ultimate rate with no windows, until HLT stops it or the
// instruction limit is reached; trace rows on standard output, the statistics on standard error.
#include "cli/clihooks.h"
#include "cli/commands.h"
#include "core/execute.h"
#include "core/hexutil.h"
#include "core/interrupts.h"
#include "core/machine.h"

#include <charconv>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kelvane::cli {

namespace {

constexpr const char* runusage = "PROGRAM [--start HHHH] [--max-instructions N] [--trace] [--ff-defaults on|off] "
                                 "[--halt-stops on|off] [--clock MHZ]";

float secondssincemidnight()
{
    const auto now = std::chrono::system_clock::now();
    const std::time_t t = std::chrono::system_clock::to_time_t(now);
    std::tm tmv{};
    localtime_r(&t, &tmv);
    const auto micros =
        std::chrono::duration_cast<std::chrono::microseconds>(now.time_since_epoch()).count() % 1000000;
    return static_cast<float>(tmv.tm_hour * 3600 + tmv.tm_min * 60 + tmv.tm_sec) +
           static_cast<float>(micros) / 1e6f;
}

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

struct RunOptions {
    std::string program;
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
        if (a == "--trace") {
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

// A binary image from address 0; refused if empty or over 64K.
std::string loadimage(const std::string& path, MachineState& st)
{
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return "cannot open '" + path + "'";
    std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (bytes.size() > 65536)
        return "The size of the selected file is greater than 64K.";
    if (bytes.empty())
        return "The size of the selected file is zero.";
    std::fill(st.mem.begin(), st.mem.begin() + 65536, 0);
    for (size_t i = 0; i < bytes.size(); ++i)
        st.mem[i] = static_cast<unsigned char>(bytes[i]);
    st.programsize = static_cast<int32_t>(bytes.size());
    return {};
}

int run(const std::vector<std::string>& args)
{
    RunOptions o;
    if (auto err = parseoptions(args, o); !err.empty())
        return usageerror(err);

    static MachineState st; // the one machine of the process; too large for the stack
    initialisestate(st);
    if (auto err = loadimage(o.program, st); !err.empty()) {
        std::fprintf(stderr, "kelvane-cli run: %s\n", err.c_str());
        return 2;
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
    st.running = true;
    clean(st, hooks);
    clean1(st);
    setnextinstruction(st);
    hooks.ekran(st);
    st.commandenabled = {false, true, true, false, false, false, false, true};
    st.starttimer = secondssincemidnight() - 0.01f;
    copytopmirror(st);
    st.refreshrequest = false;

    const auto limit = static_cast<uint32_t>(o.maxinstructions);
    if (!o.limited || limit > 0) {
        for (;;) {
            stepinstruction(st, hooks);
            if (st.stoprequest)
                break;
            if (o.limited && static_cast<uint32_t>(st.instructioncount) >= limit)
                break;
        }
    }

    // Stop.
    st.running = false;
    const float now = secondssincemidnight();
    if (now < st.starttimer)
        st.starttimer -= 86400.0f;
    st.starttimer = now - st.starttimer;
    hooks.flush();
    const std::string msg = statisticsmessage(st, elapsedtext(st.starttimer));
    for (char ch : msg)
        if (ch != '\r')
            std::fputc(ch, stderr);
    std::fputc('\n', stderr);
    return 0;
}

const CliCommand reg("run", runusage, run);

} // namespace

} // namespace kelvane::cli
