// The one write path: a file is replaced whole or left as it was.
#include "core/base/WholeFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <gtest/gtest.h>

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
