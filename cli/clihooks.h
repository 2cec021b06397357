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
        out_ += formatlogrow(st, address);
        out_ += '\n';
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
    void write(char c)
    {
        out_ += c;
        maybeflush();
    }
    void flush()
    {
        if (!out_.empty()) {
            std::fwrite(out_.data(), 1, out_.size(), stdout);
            out_.clear();
        }
        std::fflush(stdout);
    }

private:
    void maybeflush()
    {
        if (out_.size() >= (1u << 16))
            flush();
    }
    std::string out_;
};

} // namespace kelvane::cli
