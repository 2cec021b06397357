// The single-instance lock: a second holder is refused, a released or crashed holder frees it, a
// lock file left behind does not block, and the program's own lock lives in the runtime folder.
#include "sim/instancelock.h"

#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

#include <fstream>
#include <sys/wait.h>
#include <unistd.h>

using namespace kelvane;

TEST(InstanceLock, OneHolderAtATimeUntilItLetsGoOrDies)
{
    QTemporaryDir dir;
    const std::string path = dir.filePath(QStringLiteral("kelvane.lock")).toStdString(), other = path + ".2";
    std::ofstream(path) << "12345\n"; // a file left behind does not block
    auto first = std::make_unique<InstanceLock>();
    EXPECT_EQ(first->acquire(path), LockResult::acquired);
    InstanceLock second, third, nowhere;
    EXPECT_EQ(second.acquire(path), LockResult::busy);
    EXPECT_FALSE(second.held());
    first.reset();
    EXPECT_EQ(second.acquire(path), LockResult::acquired);
    // A folder that cannot hold the file is not a busy lock.
    EXPECT_EQ(nowhere.acquire("/nonexistent-folder-for-kelvane/kelvane.lock"), LockResult::unavailable);
    // A process that holds it and is killed, as a crash would end it, frees it.
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        InstanceLock lock;
        while (lock.acquire(other) != LockResult::acquired)
            usleep(1000);
        pause();
        _exit(0);
    }
    EXPECT_TRUE(QTest::qWaitFor([&] { return InstanceLock().acquire(other) == LockResult::busy; }, 5000));
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    EXPECT_EQ(third.acquire(other), LockResult::acquired);
    // The program's own, held again in the same process.
    EXPECT_EQ(instancelockpath(), qgetenv("XDG_RUNTIME_DIR").toStdString() + "/kelvane.lock");
    EXPECT_TRUE(acquireinstancelock());
    EXPECT_TRUE(acquireinstancelock());
    EXPECT_EQ(InstanceLock().acquire(instancelockpath()), LockResult::busy);
}
