#include "state/clsMutex.h"
#include "core/base/RunTimeError.h"

#include <gtest/gtest.h>

#include <QFile>
#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

TEST(ConnectionLock, NameIsHexOfEachCharacter) {
    EXPECT_EQ(clsMutex::lockName("0"), "ZentorConnection-30");
    EXPECT_EQ(clsMutex::lockName("1"), "ZentorConnection-31");
    EXPECT_EQ(clsMutex::lockName("12"), "ZentorConnection-3132");
    EXPECT_EQ(clsMutex::lockName("-1"), "ZentorConnection-2D31");
    EXPECT_EQ(clsMutex::lockName("-3"), "ZentorConnection-2D33");
}

TEST(ConnectionLock, LivesInTheRuntimeFolder) {
    const QString path = clsMutex::lockPath("ZentorConnection-30");
    EXPECT_TRUE(path.startsWith(qEnvironmentVariable("XDG_RUNTIME_DIR"))) << path.toStdString();
}

TEST(ConnectionLock, FirstOpenHoldsAndCreatesTheFile) {
    clsMutex m;
    EXPECT_TRUE(m.Mutex_Open("7"));
    EXPECT_TRUE(QFile::exists(clsMutex::lockPath("ZentorConnection-37")));
}

TEST(ConnectionLock, OpeningTwiceOnOneObjectRaisesError55) {
    clsMutex m;
    m.Mutex_Open("8");
    try {
        m.Mutex_Open("9");
        FAIL() << "no error";
    } catch (const RunTimeError& e) {
        EXPECT_EQ(e.number(), 55);
    }
}

// Another process holds position 0 until told to go; meanwhile this process is
// refused position 0 but may take position 1.
TEST(ConnectionLock, SecondHolderOfTheSamePositionIsRefusedAnotherPositionIsAllowed) {
    int ready[2];
    ASSERT_EQ(pipe(ready), 0);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        clsMutex held;
        const bool ok = held.Mutex_Open("0");
        char c = ok ? '1' : '0';
        (void)!write(ready[1], &c, 1);
        pause(); // until killed
        _exit(0);
    }
    char c = 0;
    ASSERT_EQ(read(ready[0], &c, 1), 1);
    EXPECT_EQ(c, '1');

    clsMutex same;
    EXPECT_FALSE(same.Mutex_Open("0"));
    clsMutex other;
    EXPECT_TRUE(other.Mutex_Open("1"));

    // A crashed holder leaves no stale lock.
    kill(child, SIGKILL);
    int status = 0;
    waitpid(child, &status, 0);
    clsMutex after;
    EXPECT_TRUE(after.Mutex_Open("0"));
}

TEST(ConnectionLock, ClosingReleasesForTheNextHolder) {
    {
        clsMutex first;
        EXPECT_TRUE(first.Mutex_Open("5"));
        first.Mutex_Close();
        EXPECT_FALSE(first.holdsHandle());
    }
    clsMutex second;
    EXPECT_TRUE(second.Mutex_Open("5"));
}
