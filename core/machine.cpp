#include "core/machine.h"

#include "core/execute.h"
#include "core/hexutil.h"

#include <charconv>
#include <chrono>
#include <cmath>
#include <ctime>

namespace kelvane {

void BreakpointTexts::set(int i, const std::string& t)
{
    const auto k = static_cast<size_t>(i);
    text_[k] = t;
    // hexword gives four upper-case digits, so only such a text can ever equal it.
    value_[k] = parsehexword(t);
    armed_ = false;
    for (int32_t v : value_)
        armed_ = armed_ || v >= 0;
}

void BreakpointTexts::clear()
{
    for (int i = 0; i < 10; ++i)
        set(i, "");
}

void initialisestate(MachineState& st)
{
    st.programsize = 0;
    st.mem.fill(0);
    st.ports.fill(0);
    st.Form2 = st.Form5 = st.Form6 = st.Form8 = st.Form9 = st.Form12 = st.Form16 = st.Form17 = st.Form20 =
        st.Form21 = false;
    st.breakpointaddress.clear();
    st.devenabled.fill(false);
    st.devinput.fill(false);
    st.devport.fill(0);
    st.devvalue.fill(0);
    st.termenabled = false;
    st.termport = 0;
    st.termtext.clear();
    for (auto& t : st.moduletext)
        t.clear();
    for (auto& o : st.moduleobject)
        o.reset();
}

void copytopmirror(MachineState& st)
{
    for (size_t i = 0; i < 5; ++i)
        st.mem[65536 + i] = st.mem[i];
}

void startrun(MachineState& st, MachineHooks& hooks)
{
    st.running = true;
    clean(st, hooks);
    clean1(st);
    setnextinstruction(st);
    hooks.ekran(st);
    st.commandenabled = {false, true, true, false, false, false, false, true};
    hooks.interruptbuttonschanged(st);
}

std::string stopclock(MachineState& st, float now)
{
    if (now < st.starttimer)
        st.starttimer -= 86400.0f;
    st.starttimer = now - st.starttimer;
    return elapsedtext(st.starttimer);
}

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

std::string cycletime(int32_t cycles, float clockmhz)
{
    int64_t t;
    if (cycles >= 10000000) {
        t = static_cast<int64_t>(std::trunc(static_cast<double>(cycles) * 100.0 / static_cast<double>(clockmhz)));
    } else {
        // Rounded to the nearest integer, ties to the even one (the default rounding mode).
        t = static_cast<int64_t>(
            std::nearbyint(static_cast<double>(static_cast<int64_t>(cycles) * 100) / static_cast<double>(clockmhz)));
    }
    std::string digits = std::to_string(t);
    while (digits.size() < 3)
        digits.insert(digits.begin(), '0');
    return digits.substr(0, digits.size() - 2) + "." + digits.substr(digits.size() - 2) + " \xC2\xB5s";
}

std::string clocktext(float clockmhz)
{
    char buf[32];
    const auto r = std::to_chars(buf, buf + sizeof buf, clockmhz);
    return std::string(buf, r.ptr);
}

std::string elapsedtext(float seconds)
{
    const auto s = static_cast<int64_t>(seconds);
    const auto c = static_cast<int64_t>((seconds - static_cast<float>(s)) * 100.0f);
    return std::to_string(s) + "." + std::to_string(c);
}

std::string statisticsmessage(const MachineState& st, const std::string& elapsed)
{
    return "Total number of executed instructions is " + std::to_string(st.instructioncount) + ".\r\n" + elapsed +
           " seconds elapsed.\r\nReal-time duration of the simulation is " + std::to_string(st.cyclecount) +
           " clock cycles or " + cycletime(st.cyclecount, st.clockmhz) + " at " + clocktext(st.clockmhz) + " MHz.";
}

} // namespace kelvane
