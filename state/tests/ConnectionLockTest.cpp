#include "state/clsMutex.h"
#include "core/base/RunTimeError.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
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

// --- without XDG_RUNTIME_DIR: a folder of the user's own ---------------------------

namespace {

// Runs the test's body with XDG_RUNTIME_DIR unset and the temporary folder
// pointed at a fresh folder of the test's home; puts both back afterwards.
class NoRuntimeFolder : public ::testing::Test {
protected:
    void SetUp() override {
        m_runtime = qgetenv("XDG_RUNTIME_DIR");
        m_tmp = qgetenv("TMPDIR");
        const QByteArray home = qgetenv("ZENTOR_TEST_HOME");
        m_scratch = QString::fromLocal8Bit(home.isEmpty() ? QByteArray("/tmp") : home) +
                    QStringLiteral("/tmp-%1").arg(++s_serial);
        QDir(m_scratch).removeRecursively();
        ASSERT_TRUE(QDir().mkpath(m_scratch));
        QFile::setPermissions(m_scratch, QFileDevice::Permissions(0x7777));   // a shared /tmp, as it were
        qunsetenv("XDG_RUNTIME_DIR");
        qputenv("TMPDIR", QFile::encodeName(m_scratch));
    }
    void TearDown() override {
        qputenv("XDG_RUNTIME_DIR", m_runtime);
        if (m_tmp.isEmpty())
            qunsetenv("TMPDIR");
        else
            qputenv("TMPDIR", m_tmp);
    }
    QString privateFolder() const { return m_scratch + QStringLiteral("/zentor-%1").arg(geteuid()); }
    QString m_scratch;

private:
    QByteArray m_runtime, m_tmp;
    static int s_serial;
};
int NoRuntimeFolder::s_serial = 0;

// Another user, as root can make one: a uid nobody on this machine has.
constexpr uid_t kOtherUser = 54321;

mode_t modeOf(const QString& path) {
    struct stat st {};
    lstat(QFile::encodeName(path).constData(), &st);
    return st.st_mode & 07777;
}

} // namespace

TEST_F(NoRuntimeFolder, TheLockLivesInAPrivateFolderMadeWithMode0700) {
    EXPECT_EQ(clsMutex::lockFolder(), privateFolder());
    clsMutex m;
    EXPECT_TRUE(m.Mutex_Open("0"));
    EXPECT_TRUE(m.refusal().isEmpty());
    EXPECT_EQ(modeOf(privateFolder()), 0700u);
    EXPECT_TRUE(QFileInfo(privateFolder() + "/ZentorConnection-30").isFile());
    EXPECT_EQ(modeOf(privateFolder() + "/ZentorConnection-30"), 0600u);
    // A second holder of the same position is told it is in use, not refused.
    clsMutex again;
    EXPECT_FALSE(again.Mutex_Open("0"));
    EXPECT_TRUE(again.refusal().isEmpty());   // held, not refused
}

TEST_F(NoRuntimeFolder, AFolderOfAnotherUserIsRefusedWithAClearMessage) {
    ASSERT_EQ(mkdir(QFile::encodeName(privateFolder()).constData(), 0700), 0);
    ASSERT_EQ(chown(QFile::encodeName(privateFolder()).constData(), kOtherUser, kOtherUser), 0);
    clsMutex m;
    EXPECT_FALSE(m.Mutex_Open("0"));
    EXPECT_FALSE(m.holdsHandle());
    EXPECT_TRUE(m.refusal().contains(QStringLiteral("belongs to another user (uid 54321)"))) << m.refusal().toStdString();
    EXPECT_TRUE(m.refusal().contains(privateFolder())) << m.refusal().toStdString();
    EXPECT_FALSE(QFileInfo::exists(privateFolder() + "/ZentorConnection-30"));
}

TEST_F(NoRuntimeFolder, AFolderOpenToOthersIsRefused) {
    ASSERT_EQ(mkdir(QFile::encodeName(privateFolder()).constData(), 0700), 0);
    ASSERT_EQ(chmod(QFile::encodeName(privateFolder()).constData(), 0777), 0);
    clsMutex m;
    EXPECT_FALSE(m.Mutex_Open("0"));
    EXPECT_TRUE(m.refusal().contains(QStringLiteral("open to other users (mode 0777)"))) << m.refusal().toStdString();
}

TEST_F(NoRuntimeFolder, ALockFileOfAnotherUserIsRefused) {
    ASSERT_EQ(mkdir(QFile::encodeName(privateFolder()).constData(), 0700), 0);
    const QByteArray lock = QFile::encodeName(privateFolder() + "/ZentorConnection-30");
    const int fd = open(lock.constData(), O_CREAT | O_RDWR, 0600);
    ASSERT_GE(fd, 0);
    close(fd);
    ASSERT_EQ(chown(lock.constData(), kOtherUser, kOtherUser), 0);
    clsMutex m;
    EXPECT_FALSE(m.Mutex_Open("0"));
    EXPECT_FALSE(m.holdsHandle());
    EXPECT_TRUE(m.refusal().contains(QStringLiteral("ZentorConnection-30 belongs to another user (uid 54321)")))
        << m.refusal().toStdString();
    // Another position, whose file is ours, is still usable.
    clsMutex other;
    EXPECT_TRUE(other.Mutex_Open("1"));
}

TEST_F(NoRuntimeFolder, ASymbolicLinkAsTheLockIsNotFollowed) {
    ASSERT_EQ(mkdir(QFile::encodeName(privateFolder()).constData(), 0700), 0);
    const QString target = m_scratch + QStringLiteral("/planted-target");
    const QString lock = privateFolder() + QStringLiteral("/ZentorConnection-30");
    ASSERT_EQ(symlink(QFile::encodeName(target).constData(), QFile::encodeName(lock).constData()), 0);
    clsMutex m;
    EXPECT_FALSE(m.Mutex_Open("0"));
    EXPECT_TRUE(m.refusal().contains(QStringLiteral("is a symbolic link"))) << m.refusal().toStdString();
    EXPECT_FALSE(QFileInfo::exists(target)) << "the panel created a file where the link points";
}

TEST_F(NoRuntimeFolder, ASymbolicLinkAsTheFolderIsNotFollowed) {
    const QString elsewhere = m_scratch + QStringLiteral("/elsewhere");
    ASSERT_TRUE(QDir().mkpath(elsewhere));
    QFile::setPermissions(elsewhere, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    ASSERT_EQ(symlink(QFile::encodeName(elsewhere).constData(), QFile::encodeName(privateFolder()).constData()), 0);
    clsMutex m;
    EXPECT_FALSE(m.Mutex_Open("0"));
    EXPECT_TRUE(m.refusal().contains(QStringLiteral("is a symbolic link"))) << m.refusal().toStdString();
    EXPECT_FALSE(QFileInfo::exists(elsewhere + "/ZentorConnection-30"));
}

TEST(ConnectionLock, ALinkPlantedInTheRuntimeFolderIsNotFollowed) {
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    const QString target = runtime + QStringLiteral("/planted-elsewhere");
    const QString lock = clsMutex::lockPath(QStringLiteral("ZentorConnection-3939"));
    QFile::remove(lock);
    ASSERT_EQ(symlink(QFile::encodeName(target).constData(), QFile::encodeName(lock).constData()), 0);
    clsMutex m;
    EXPECT_FALSE(m.Mutex_Open("99"));
    EXPECT_FALSE(m.refusal().isEmpty());
    EXPECT_FALSE(QFileInfo::exists(target));
}

TEST(ConnectionLock, TheLockIsNotInheritedByStartedPrograms) {
    clsMutex m;
    ASSERT_TRUE(m.Mutex_Open("6"));
    // A started program sees no descriptor of the lock file.
    const QString script = qEnvironmentVariable("ZENTOR_TEST_HOME", QStringLiteral("/tmp")) +
                           QStringLiteral("/list-descriptors.sh");
    QFile f(script);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
    f.write("for f in /proc/$$/fd/*; do readlink \"$f\"; done | grep -q ZentorConnection-36 && exit 1\nexit 0\n");
    f.close();
    EXPECT_EQ(system(("sh " + QFile::encodeName(script)).constData()), 0);
}
