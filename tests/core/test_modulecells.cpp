// The cells of readio and writeio: one pair shared by the modules of one IN or OUT in slot order,
// a failed call leaving them as they were, and the IN or OUT keeping its own port.
#include "machine_test.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

using Cells = std::pair<int32_t, int32_t>;
constexpr int32_t leave = -2;         // a cell handed back as it came
constexpr Cells fails = {-3, -3};     // both cells changed, then the call fails

struct CellModule : kelvane::ModuleObject {
    explicit CellModule(Cells a) : answer(a) {}
    Cells answer;
    std::vector<Cells> seen;
    void objectinit() override {}
    void objectrefresh() override {}
    void objectterm() override {}
    void readio(int32_t& p, int32_t& v) override { take(p, v); }
    void writeio(int32_t& p, int32_t& v) override { take(p, v); }
    void take(int32_t& p, int32_t& v)
    {
        seen.emplace_back(p, v);
        p = answer.first == leave ? p : answer.first;
        v = answer.second == leave ? v : answer.second;
        if (answer == fails)
            throw std::runtime_error("module failed");
    }
};

struct CellCase {
    bool out;                   // OUT 10H with A = 41H, else IN 10H with 5AH in the port
    std::vector<Cells> answers; // of slots 1, 2, ...
    std::vector<Cells> seen;    // what each slot was told
    int32_t a;                  // A and port 10H afterwards
};

const CellCase cellcases[] = {
    {false, {{leave, 0x11}, {leave, 0x22}}, {{0x10, -1}, {0x10, 0x11}}, 0x22}, // the second wins
    {false, {{leave, 0x11}, {leave, -1}}, {{0x10, -1}, {0x10, 0x11}}, 0x5A},   // -1 lets the IN go on
    {false, {{leave, 300}}, {{0x10, -1}}, 300},                                // taken as it is
    {false, {{0x99, 0x07}, {leave, leave}}, {{0x10, -1}, {0x99, 0x07}}, 0x07}, // the port cell passed on
    {false, {fails, {leave, leave}}, {{0x10, -1}, {0x10, -1}}, 0x5A},
    {true, {{0x99, 0x42}, fails, {leave, leave}}, {{0x10, 0x41}, {0x99, 0x42}, {0x99, 0x42}}, 0x41},
};

TEST(Ports, ModuleCellsShared)
{
    for (const CellCase& c : cellcases) {
        kelvane::test::Machine m({c.out ? 0xD3 : 0xDB, 0x10});
        m.st.a = 0x41;
        m.st.ports[0x10] = 0x5A;
        m.hooks.modulesio = true; // IN and OUT reach modules that do not answer objectrefresh
        std::vector<std::shared_ptr<CellModule>> modules;
        for (size_t i = 0; i < c.answers.size(); ++i) {
            modules.push_back(std::make_shared<CellModule>(c.answers[i]));
            m.st.moduletext[i] = "cells.module";
            m.st.moduleobject[i] = modules.back();
        }
        auto off = std::make_shared<CellModule>(Cells{leave, leave});
        m.st.moduletext[4] = "OFF"; // an object under "OFF" is never called
        m.st.moduleobject[4] = off;
        m.step();
        for (size_t i = 0; i < c.seen.size(); ++i)
            EXPECT_EQ(modules[i]->seen, std::vector<Cells>{c.seen[i]}) << "case " << &c - cellcases << " slot " << i;
        EXPECT_TRUE(off->seen.empty());
        EXPECT_EQ(m.st.a, c.a);
        EXPECT_EQ(m.st.ports[0x10], c.a);
        EXPECT_EQ(m.st.ports[0x99], 0);
    }
}

} // namespace
