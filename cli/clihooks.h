// The headless runner's side of the machine hooks: trace rows and terminal bytes go to one
// buffered standard output in execution order; the panel refresh only composes f and hlvalue.
#pragma once
#include "core/execute.h"
#include "core/hooks.h"

#include <cstdio>
#include <string>

namespace kelvane::cli {

class CliHooks : public MachineHooks {
public:
    explicit CliHooks(bool trace) { wantlog = trace; }
    ~CliHooks() override { flush(); }

    void logrow(const MachineState& st, int32_t address) override
    {
        char row[logrowmax + 1];
        char* end = rows_.put(row, st, address);
        *end++ = '\n';
        out_.append(row, end);
        maybeflush();
    }
    void logline(const char* text) override
    {
        if (wantlog) {
            out_ += text;
            out_ += '\n';
            maybeflush();
        }
    }
    // The output terminal took a byte: it goes out at the moment it arrives.
    void devicerefresh(MachineState& st, int n, int32_t value) override
    {
        (void)st;
        if (n == 5) {
            out_ += static_cast<char>(value & 0xFF);
            maybeflush();
        }
    }
    int32_t intrchoice(MachineState& st) override
    {
        (void)st;
        return intranswer;
    }
    int32_t intranswer = 1; // the INTR dialog's answer for the press in progress
    void flush()
    {
        if (!out_.empty()) {
            std::fwrite(out_.data(), 1, out_.size(), stdout);
            out_.clear();
        }
        std::fflush(stdout);
    }

private:
    LogRowComposer rows_;
    void maybeflush()
    {
        if (out_.size() >= (1u << 16))
            flush();
    }
    std::string out_;
};

} // namespace kelvane::cli
