// Helpers of the disassembler tests: a private working folder per test and a one-call run
// that returns the result text.
#pragma once
#include "disassembler/disassembler.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <random>
#include <string>
#include <vector>

namespace kelvane::test {

class WorkFolder {
public:
    WorkFolder()
    {
        static std::mt19937_64 rng{std::random_device{}()};
        auto base = std::filesystem::temp_directory_path();
        for (;;) {
            path_ = base / ("kelvane-dis-test-" + std::to_string(rng()));
            if (std::filesystem::create_directory(path_))
                break;
        }
    }
    ~WorkFolder()
    {
        std::error_code ec;
        std::filesystem::permissions(path_, std::filesystem::perms::owner_all,
                                     std::filesystem::perm_options::add, ec);
        std::filesystem::remove_all(path_, ec);
    }
    WorkFolder(const WorkFolder&) = delete;
    WorkFolder& operator=(const WorkFolder&) = delete;
    const std::filesystem::path& path() const { return path_; }
    // Names of all entries in the folder, sorted.
    std::vector<std::string> entries() const
    {
        std::vector<std::string> names;
        for (const auto& e : std::filesystem::directory_iterator(path_))
            names.push_back(e.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }

private:
    std::filesystem::path path_;
};

// Disassembles bytes in a fresh engine working in folder and returns the result text.
inline std::string disassemblebytes(const std::vector<uint8_t>& bytes, bool sourceform,
                                    const std::filesystem::path& folder)
{
    Disassembler d;
    d.workfolder = folder;
    d.loadimage(bytes.data(), bytes.size());
    EXPECT_TRUE(d.disassemble(true, sourceform)) << d.dasmerror;
    std::string text;
    EXPECT_TRUE(d.takeresult(text));
    return text;
}

inline std::string joinrows(const std::vector<std::string>& rows)
{
    std::string s;
    for (const auto& r : rows)
        s += r + "\n";
    return s;
}

} // namespace kelvane::test
