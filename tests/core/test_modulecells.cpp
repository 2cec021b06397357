// The cells of readio and writeio: one pair shared by the modules of one IN or OUT, in slot order,
// a failed call leaving them as they were, and the IN going on with its own port.
#include "machine_test.h"

#include <gtest/gtest.h>

#include <optional>
#include <stdexcept>
#include <utility>
#include <vector>

namespace {

using Cells = std::pair<int32_t, int32_t>;
constexpr int32_t leave = -2; // the module hands a cell back as it came

struct CellModule : kelvane::ModuleObject {
    Cells answer{leave, leave};
    bool fails = false;
    std::vector<Cells> seen;
    int refreshes = 0;
    void objectinit() override {}
    void objectrefresh() override { ++refreshes; }
    void objectterm() override {}
    void readio(int32_t& p, int32_t& v) override { take(p, v); }
    void writeio(int32_t& p, int32_t& v) override { take(p, v); }
    void take(int32_t& p, int32_t& v)
    {
        seen.emplace_back(p, v);
        if (answer.first != leave)
            p = answer.first;
        if (answer.second != leave)
            v = answer.second;
        if (fails)
            throw std::runtime_error("module failed");
    }
};

struct ModuleCase {
    const char* what;
    bool out;                     // OUT 10H with A = 41H, else IN 10H with 5AH in the port
    std::vector<Cells> answers;   // slots 1, 2, ... in order
    int failing;                  // the slot whose call fails after changing the cells, or 0
    std::vector<Cells> seen;      // what each slot was told
    int32_t a, port10;            // A and ports[10H] after the instruction
};

const ModuleCase cases[] = {
    {"none supplies", false, {{leave, leave}}, 0, {{0x10, -1}}, 0x5A, 0x5A},
    {"the second wins", false, {{leave, 0x11}, {leave, 0x22}}, 0, {{0x10, -1}, {0x10, 0x11}}, 0x22, 0x22},
    {"-1 goes on", false, {{leave, 0x11}, {leave, -1}}, 0, {{0x10, -1}, {0x10, 0x11}}, 0x5A, 0x5A},
    {"300 as it is", false, {{leave, 300}, {leave, leave}}, 0, {{0x10, -1}, {0x10, 300}}, 300, 300},
    {"port cell passed on", false, {{0x99, 0x07}, {leave, leave}}, 0, {{0x10, -1}, {0x99, 0x07}}, 0x07, 0x07},
    {"failed call", false, {{0x99, 0x07}, {leave, leave}}, 1, {{0x10, -1}, {0x10, -1}}, 0x5A, 0x5A},
    {"out cells passed on", true, {{0x99, 0x42}, {leave, leave}, {leave, 7}}, 0,
     {{0x10, 0x41}, {0x99, 0x42}, {0x99, 0x42}}, 0x41, 0x41},
    {"out after a failure", true, {{0x99, 0x42}, {leave, leave}}, 1, {{0x10, 0x41}, {0x10, 0x41}}, 0x41, 0x41},
};

class ModuleCells : public ::testing::TestWithParam<std::pair<ModuleCase, bool>> {};

TEST_P(ModuleCells, SharedInSlotOrder)
{
    const auto& [c, refreshing] = GetParam();
    kelvane::test::Machine m({c.out ? 0xD3 : 0xDB, 0x10});
    m.st.a = 0x41;
    m.st.ports[0x10] = 0x5A;
    (refreshing ? m.hooks.modulesactive : m.hooks.modulesio) = true;
    std::vector<std::shared_ptr<CellModule>> modules;
    for (size_t i = 0; i < c.answers.size(); ++i) {
        auto mod = std::make_shared<CellModule>();
        mod->answer = c.answers[i];
        mod->fails = static_cast<int>(i) + 1 == c.failing;
        m.st.moduletext[i] = "cells.module";
        m.st.moduleobject[i] = mod;
        modules.push_back(mod);
    }
    m.st.moduletext[4] = "OFF"; // an object under "OFF" is never called
    m.st.moduleobject[4] = std::make_shared<CellModule>();
    m.step();
    SCOPED_TRACE(c.what);
    for (size_t i = 0; i < c.seen.size(); ++i) {
        ASSERT_EQ(modules[i]->seen.size(), 1u) << "slot " << i + 1;
        EXPECT_EQ(modules[i]->seen[0], c.seen[i]) << "slot " << i + 1;
        EXPECT_EQ(modules[i]->refreshes, refreshing ? 1 : 0);
    }
    EXPECT_TRUE(static_cast<CellModule&>(*m.st.moduleobject[4]).seen.empty());
    EXPECT_EQ(m.st.a, c.a);
    EXPECT_EQ(m.st.ports[0x10], c.port10);
    EXPECT_EQ(m.st.ports[0x99], 0); // the IN or OUT keeps its own port
}

std::vector<std::pair<ModuleCase, bool>> allcases()
{
    std::vector<std::pair<ModuleCase, bool>> v;
    for (const ModuleCase& c : cases)
        for (bool refreshing : {false, true})
            v.emplace_back(c, refreshing);
    return v;
}

INSTANTIATE_TEST_SUITE_P(Ports, ModuleCells, ::testing::ValuesIn(allcases()));

} // namespace
