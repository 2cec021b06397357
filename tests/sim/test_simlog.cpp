// The log file's writer: a disk that fills up in the middle of a run (a file size limit stands in
// for it) keeps what fitted, in order, and neither the run nor the close waits or fails.
#include "core/execute.h"
#include "sim/simlog.h"

#include <gtest/gtest.h>

#include <QTemporaryDir>

#include <csignal>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <sys/resource.h>

using namespace kelvane;

TEST(SimLog, AFullDiskKeepsWhatFittedAndTheRunGoesOn)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const std::string folder = dir.path().toStdString() + "/";
    constexpr rlim_t limit = 3 * SimLog::blocksize + 12345; // the disk is full inside the fourth block

    rlimit old{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &old), 0);
    const auto oldsignal = std::signal(SIGXFSZ, SIG_IGN); // a write past the limit fails instead
    rlimit small = old;
    small.rlim_cur = limit;
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);

    auto st = std::make_unique<MachineState>();
    std::string rows;
    SimLog log;
    ASSERT_TRUE(log.open(folder));
    for (int32_t i = 1; i <= 200000; ++i) { // about 13 MB of rows
        st->instructioncount = i;
        st->a = i & 0xFF;
        st->lastinstruction.setexecuted(0x3C, 0, 0);
        char row[logrowmax];
        rows.append(row, putlogrow(row, *st, i & 0xFFFF)).append("\r\n");
        log.row(*st, i & 0xFFFF);
        if (i % 50000 == 0) {
            log.line("RESET");
            rows += "RESET\r\n";
        }
    }
    log.close("1.00", "Real-time duration: 1 s.");

    setrlimit(RLIMIT_FSIZE, &old);
    std::signal(SIGXFSZ, oldsignal);

    std::ifstream in(log.path(), std::ios::binary);
    const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    ASSERT_EQ(text.size(), limit);
    const auto heading = text.find("SP  \r\n\r\n");
    ASSERT_NE(heading, std::string::npos);
    const std::string written = text.substr(heading + 8);
    EXPECT_EQ(written, rows.substr(0, written.size()));
}
