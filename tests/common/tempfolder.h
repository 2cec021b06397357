// A private folder for one test, removed with everything in it; files put into it and read
// back whole; the names it holds.
#pragma once
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <unistd.h>

namespace kelvane::test {

inline std::string slurp(const std::filesystem::path& p)
{
    std::ifstream in(p, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

struct TempFolder {
    std::filesystem::path path;
    TempFolder()
    {
        static int made = 0;
        const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
        path = std::filesystem::temp_directory_path() /
               ("kelvane-test-" + std::to_string(::getpid()) + "-" + (test ? test->name() : "x") + "-" +
                std::to_string(++made));
        std::filesystem::remove_all(path);
        std::filesystem::create_directories(path);
    }
    ~TempFolder()
    {
        std::error_code ec;
        std::filesystem::remove_all(path, ec);
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;
    std::string at(const std::string& name) const { return (path / name).string(); }
    // Writes a file of these bytes into the folder and returns its path.
    std::string put(const std::string& name, const std::string& bytes) const
    {
        std::ofstream(path / name, std::ios::binary) << bytes;
        return at(name);
    }
    // Names of all entries, sorted.
    std::vector<std::string> entries() const
    {
        std::vector<std::string> names;
        for (const auto& e : std::filesystem::directory_iterator(path))
            names.push_back(e.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }
};

} // namespace kelvane::test
