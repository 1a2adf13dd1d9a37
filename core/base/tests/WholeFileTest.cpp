// The one write path: a file is replaced whole or left as it was.
#include "core/base/WholeFile.h"
#include "core/base/tests/PlainUserFiles.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

namespace {
QByteArray readAll(const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray("<missing>");
}
} // namespace

TEST(WholeFile, CreatesTheFolderAndTheFile) {
    QTemporaryDir dir;
    const QString path = dir.path() + QStringLiteral("/a/b/Zentor.ini");
    ASSERT_TRUE(WholeFile::write(path, "[Main]\r\nOpen=1\r\n"));
    EXPECT_EQ(readAll(path), QByteArray("[Main]\r\nOpen=1\r\n"));
}

TEST(WholeFile, ReplacesTheOldContentAndLeavesNoTemporaryFileBehind) {
    QTemporaryDir dir;
    const QString path = dir.path() + QStringLiteral("/FilterColor.txt");
    ASSERT_TRUE(WholeFile::write(path, QByteArray(4096, 'x')));
    ASSERT_TRUE(WholeFile::write(path, "short"));
    EXPECT_EQ(readAll(path), QByteArray("short"));
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden), QStringList{QStringLiteral("FilterColor.txt")});
}

TEST(WholeFile, AnEmptyContentIsAnEmptyFile) {
    QTemporaryDir dir;
    const QString path = dir.path() + QStringLiteral("/empty.txt");
    ASSERT_TRUE(WholeFile::write(path, QByteArray()));
    EXPECT_TRUE(QFile::exists(path));
    EXPECT_EQ(readAll(path), QByteArray());
}

TEST(WholeFile, AFolderThatCannotBeMadeFailsWithAReasonAndTouchesNothing) {
    QTemporaryDir dir;
    const QString blocker = dir.path() + QStringLiteral("/notAFolder");
    ASSERT_TRUE(WholeFile::write(blocker, "I am a file"));
    QString why;
    EXPECT_FALSE(WholeFile::write(blocker + QStringLiteral("/Event.txt"), "log", &why));
    EXPECT_FALSE(why.isEmpty());
    EXPECT_EQ(readAll(blocker), QByteArray("I am a file"));
}

TEST(WholeFile, AFolderInThePlaceOfTheFileIsRefusedAndKept) {
    QTemporaryDir dir;
    const QString path = dir.path() + QStringLiteral("/Setup.ini");
    ASSERT_TRUE(QDir().mkpath(path));
    QString why;
    EXPECT_FALSE(WholeFile::write(path, "x", &why));
    EXPECT_TRUE(QFileInfo(path).isDir());
}

TEST(WholeFile, NoNameIsRefused) {
    QString why;
    EXPECT_FALSE(WholeFile::write(QString(), "x", &why));
    EXPECT_FALSE(why.isEmpty());
}

namespace {
QByteArray native(const QString& path) { return QFile::encodeName(path); }
} // namespace

TEST(WholeFile, ALinkThatPointsNowhereIsNotWrittenThroughAndItsTargetNotMade) {
    QTemporaryDir dir;
    const QString planted = dir.path() + QStringLiteral("/elsewhere/authorized_keys");
    const QString path = dir.path() + QStringLiteral("/zentor-service.json");
    ASSERT_EQ(::symlink(native(planted).constData(), native(path).constData()), 0);
    QString why;
    EXPECT_FALSE(WholeFile::write(path, "{}", &why));
    EXPECT_FALSE(QFileInfo::exists(planted));
    EXPECT_FALSE(QFileInfo::exists(QFileInfo(planted).absolutePath()));
    EXPECT_TRUE(QFileInfo(path).isSymLink());
    EXPECT_TRUE(why.contains(path) && why.contains(planted) && why.contains(QStringLiteral("does not exist")))
        << why.toStdString();
}

TEST(WholeFile, ALinkToAFileWritesTheFileAndKeepsTheLink) {
    QTemporaryDir dir;
    const QString target = dir.path() + QStringLiteral("/kept/Zentor.ini");
    ASSERT_TRUE(WholeFile::write(target, "old"));
    const QString path = dir.path() + QStringLiteral("/Zentor.ini");
    ASSERT_EQ(::symlink(native(target).constData(), native(path).constData()), 0);
    ASSERT_TRUE(WholeFile::write(path, "new"));
    EXPECT_TRUE(QFileInfo(path).isSymLink());
    EXPECT_EQ(readAll(target), QByteArray("new"));
}

TEST(WholeFile, APipeADeviceOrAFolderAtThePathIsRefusedAndLeftAsItIs) {
    QTemporaryDir dir;
    const QString pipe = dir.path() + QStringLiteral("/FilterColor.txt");
    ASSERT_EQ(::mkfifo(native(pipe).constData(), 0600), 0);
    const QString device = dir.path() + QStringLiteral("/Setup.ini");
    ASSERT_EQ(::symlink("/dev/null", native(device).constData()), 0);
    const QString folder = dir.path() + QStringLiteral("/Event.txt");
    ASSERT_TRUE(QDir().mkpath(folder));
    QString why;
    EXPECT_FALSE(WholeFile::write(pipe, "x", &why));
    EXPECT_EQ(why, pipe + QStringLiteral(" is a named pipe, not a regular file; it is not replaced"));
    struct stat st {};
    ASSERT_EQ(::lstat(native(pipe).constData(), &st), 0);
    EXPECT_TRUE(S_ISFIFO(st.st_mode));
    EXPECT_FALSE(WholeFile::write(device, "x", &why));
    EXPECT_TRUE(why.contains(QStringLiteral("/dev/null, which is a character device"))) << why.toStdString();
    EXPECT_FALSE(WholeFile::write(folder, "x", &why));
    EXPECT_EQ(why, folder + QStringLiteral(" is a folder, not a regular file; it is not replaced"));
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::AllEntries | QDir::System | QDir::Hidden | QDir::NoDotAndDotDot).size(),
              3);
}

TEST(WholeFile, AReadOnlyFileOrFolderIsNotWrittenAndSaysWhy) {
    ASSERT_TRUE(testsupport::obeyFilePermissions());
    QTemporaryDir dir;
    const QString file = dir.path() + QStringLiteral("/readonly.ini");
    ASSERT_TRUE(WholeFile::write(file, "old"));
    ASSERT_EQ(::chmod(native(file).constData(), 0444), 0);
    QString why;
    EXPECT_FALSE(WholeFile::write(file, "new", &why));
    EXPECT_TRUE(why.startsWith(file)) << why.toStdString();
    EXPECT_EQ(readAll(file), QByteArray("old"));

    const QString folder = dir.path() + QStringLiteral("/closed");
    ASSERT_TRUE(WholeFile::write(folder + QStringLiteral("/state.json"), "old"));
    ASSERT_EQ(::chmod(native(folder).constData(), 0555), 0);
    EXPECT_FALSE(WholeFile::write(folder + QStringLiteral("/state.json"), "new", &why));
    EXPECT_FALSE(why.isEmpty());
    EXPECT_EQ(readAll(folder + QStringLiteral("/state.json")), QByteArray("old"));
    ::chmod(native(folder).constData(), 0755);
}
