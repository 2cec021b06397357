#include "sim/simlog.h"

#include <cstdio>
#include <ctime>

namespace kelvane {

std::string logtimestamp()
{
    const std::time_t now = std::time(nullptr);
    std::tm tmv{};
    localtime_r(&now, &tmv);
    char stamp[32];
    std::strftime(stamp, sizeof stamp, "%Y-%m-%d %H:%M:%S", &tmv);
    return stamp;
}

bool SimLog::open(const std::string& folder)
{
    if (out_.is_open())
        out_.close();
    path_ = folder + "log.txt";
    std::remove(path_.c_str()); // an old log goes; a failure to delete is no matter
    out_.open(path_, std::ios::binary | std::ios::trunc);
    if (!out_)
        return false;
    line("Simulation started at " + logtimestamp() + ".");
    line("No.    PC    Instruction     A  SZ_A_P_C  B  C  D  E  H  L  SP  ");
    line("");
    return true;
}

void SimLog::line(const std::string& text)
{
    if (!out_.is_open())
        return;
    out_ << text << "\r\n";
}

void SimLog::close(const std::string& elapsed, const std::string& durationline)
{
    if (!out_.is_open())
        return;
    line("Simulation stopped at " + logtimestamp() + ".");
    line(elapsed + " seconds elapsed.");
    line(durationline);
    out_.close();
}

} // namespace kelvane
