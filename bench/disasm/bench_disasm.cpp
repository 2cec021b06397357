// Times whole disassembler runs (sweep, both files, result taken and deleted) on 64K images:
// random bytes, all one-byte rows (the most rows), and all jumps to distinct targets (the most
// labels). Prints the best and the median wall time of the repetitions for each form, and the
// median processor time (which a busy machine disturbs less).
#include "disassembler/disassembler.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

using namespace kelvane;

namespace {

struct Image {
    const char* name;
    std::vector<uint8_t> bytes;
};

std::vector<Image> images()
{
    std::vector<Image> all;
    std::mt19937 rng(8085);
    std::vector<uint8_t> random(65536);
    for (auto& b : random)
        b = static_cast<uint8_t>(rng());
    all.push_back({"random 64K", random});
    all.push_back({"64K of NOP (65536 rows)", std::vector<uint8_t>(65536, 0)});
    std::vector<uint8_t> jumps(65536, 0);
    for (size_t a = 0; a + 2 < jumps.size(); a += 3) {
        // JMP to a distinct, scattered target: 21845 labels, most inside instructions.
        const uint32_t target = static_cast<uint32_t>((a * 7919u) & 0xFFFF);
        jumps[a] = 0xC3;
        jumps[a + 1] = static_cast<uint8_t>(target & 0xFF);
        jumps[a + 2] = static_cast<uint8_t>(target >> 8);
    }
    all.push_back({"64K of JMP (21845 labels)", jumps});
    return all;
}

} // namespace

int main(int argc, char** argv)
{
    const int reps = argc > 1 ? std::max(1, std::atoi(argv[1])) : 20;
    const auto folder = std::filesystem::temp_directory_path() / ("kelvane-bench-disasm-" + std::to_string(std::random_device{}()));
    std::filesystem::create_directory(folder);
    int status = 0;
    std::printf("%-28s %-8s %10s %10s %10s %10s\n", "image", "form", "best ms", "median ms", "cpu ms", "bytes out");
    for (const Image& img : images()) {
        for (bool sourceform : {false, true}) {
            std::vector<double> ms;
            std::vector<double> cpu;
            size_t outsize = 0;
            for (int r = 0; r < reps; ++r) {
                Disassembler d;
                d.workfolder = folder;
                d.loadimage(img.bytes.data(), img.bytes.size());
                const std::clock_t c0 = std::clock();
                const auto t0 = std::chrono::steady_clock::now();
                std::string text;
                const bool ok = d.disassemble(true, sourceform) && d.takeresult(text);
                const auto t1 = std::chrono::steady_clock::now();
                const std::clock_t c1 = std::clock();
                if (!ok) {
                    std::fprintf(stderr, "run failed: %s\n", d.dasmerror.c_str());
                    status = 1;
                    break;
                }
                outsize = text.size();
                ms.push_back(std::chrono::duration<double, std::milli>(t1 - t0).count());
                cpu.push_back(1000.0 * static_cast<double>(c1 - c0) / CLOCKS_PER_SEC);
            }
            if (ms.empty())
                continue;
            std::sort(ms.begin(), ms.end());
            std::sort(cpu.begin(), cpu.end());
            std::printf("%-28s %-8s %10.2f %10.2f %10.2f %10zu\n", img.name, sourceform ? "source" : "listing",
                        ms.front(), ms[ms.size() / 2], cpu[cpu.size() / 2], outsize);
        }
    }
    std::error_code ec;
    std::filesystem::remove_all(folder, ec);
    return status;
}
