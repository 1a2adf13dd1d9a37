// The one read path: a regular file is read whole and within a bound; a pipe,
// a device, a folder or a file beyond the bound is refused at once with its
// path and the reason, never waited on or read without end.
#include "core/base/FileRead.h"
#include "core/base/tests/PlainUserFiles.h"

#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

void put(const QString& path, const QByteArray& bytes) {
    QFile f(path);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
    f.write(bytes);
}

QByteArray native(const QString& path) { return QFile::encodeName(path); }

} // namespace

TEST(FileRead, ARegularFileIsReadWhole) {
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("Zentor.ini"));
    put(path, "[Form_Position]\r\nTop=15\r\n");
    const FileRead::Result r = FileRead::read(path);
    ASSERT_TRUE(r.read()) << r.message().toStdString();
    EXPECT_EQ(r.bytes, QByteArray("[Form_Position]\r\nTop=15\r\n"));
}

TEST(FileRead, AnEmptyFileIsReadAsEmpty) {
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("empty"));
    put(path, QByteArray());
    const FileRead::Result r = FileRead::read(path);
    EXPECT_TRUE(r.read());
    EXPECT_TRUE(r.bytes.isEmpty());
}

TEST(FileRead, NothingThereAndALinkThatPointsNowhereAreMissing) {
    QTemporaryDir dir;
    EXPECT_TRUE(FileRead::read(dir.filePath(QStringLiteral("absent"))).missing());
    const QString link = dir.filePath(QStringLiteral("dangling"));
    ASSERT_EQ(::symlink(native(dir.filePath(QStringLiteral("nowhere"))).constData(), native(link).constData()), 0);
    EXPECT_TRUE(FileRead::read(link).missing());
    EXPECT_TRUE(FileRead::read(QString()).missing());
}

TEST(FileRead, ANamedPipeIsRefusedAtOnceWithoutWaitingForAWriter) {
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("FilterColor.txt"));
    ASSERT_EQ(::mkfifo(native(path).constData(), 0600), 0);
    const FileRead::Result r = FileRead::read(path);
    ASSERT_TRUE(r.refused());
    EXPECT_EQ(r.refusal, FileRead::Refusal::NotRegular);
    EXPECT_EQ(r.why, QStringLiteral("it is a named pipe, not a regular file"));
    EXPECT_TRUE(r.message().startsWith(path + QStringLiteral(": "))) << r.message().toStdString();
}

TEST(FileRead, ALinkToAnEndlessDeviceIsRefusedNamingWhereItLeads) {
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("Camera.ini"));
    ASSERT_EQ(::symlink("/dev/zero", native(path).constData()), 0);
    const FileRead::Result r = FileRead::read(path);
    ASSERT_TRUE(r.refused());
    EXPECT_EQ(r.refusal, FileRead::Refusal::NotRegular);
    EXPECT_EQ(r.why, QStringLiteral("it is a link to /dev/zero, which is a character device, not a regular file"));
    EXPECT_TRUE(r.bytes.isEmpty());
}

TEST(FileRead, AFolderIsRefused) {
    QTemporaryDir dir;
    const FileRead::Result r = FileRead::read(dir.path());
    ASSERT_TRUE(r.refused());
    EXPECT_EQ(r.why, QStringLiteral("it is a folder, not a regular file"));
}

TEST(FileRead, AFileBeyondTheBoundIsRefusedAndNotRead) {
    QTemporaryDir dir;
    const QString small = dir.filePath(QStringLiteral("small"));
    put(small, QByteArray(101, 'x'));
    EXPECT_TRUE(FileRead::read(small, 101).read());
    const FileRead::Result over = FileRead::read(small, 100);
    ASSERT_TRUE(over.refused());
    EXPECT_EQ(over.refusal, FileRead::Refusal::TooLarge);
    EXPECT_TRUE(over.bytes.isEmpty());

    // A sparse file of 64 GiB costs nothing to make and would exhaust memory to read.
    const QString huge = dir.filePath(QStringLiteral("zentor-service.json"));
    const int fd = ::open(native(huge).constData(), O_WRONLY | O_CREAT, 0600);
    ASSERT_GE(fd, 0);
    ASSERT_EQ(::ftruncate(fd, qint64(64) << 30), 0);
    ::close(fd);
    const FileRead::Result r = FileRead::read(huge);
    ASSERT_TRUE(r.refused());
    EXPECT_EQ(r.refusal, FileRead::Refusal::TooLarge);
    EXPECT_TRUE(r.why.contains(QStringLiteral("larger than 16777216 bytes"))) << r.why.toStdString();
}

TEST(FileRead, AFileTheUserMayNotReadIsRefusedWithTheSystemsReason) {
    ASSERT_TRUE(testsupport::obeyFilePermissions());
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("Setup.ini"));
    put(path, "[JoyPad]\r\n");
    ASSERT_EQ(::chmod(native(path).constData(), 0), 0);
    const FileRead::Result r = FileRead::read(path);
    ASSERT_TRUE(r.refused());
    EXPECT_EQ(r.refusal, FileRead::Refusal::Unreadable);
    EXPECT_TRUE(r.why.startsWith(QStringLiteral("it cannot be read ("))) << r.why.toStdString();
}

TEST(FileRead, InspectLooksWithoutOpening) {
    QTemporaryDir dir;
    const QString pipe = dir.filePath(QStringLiteral("Zentor.conf"));
    ASSERT_EQ(::mkfifo(native(pipe).constData(), 0600), 0);
    EXPECT_TRUE(FileRead::inspect(pipe).refused());
    const QString file = dir.filePath(QStringLiteral("plain"));
    put(file, "x");
    EXPECT_TRUE(FileRead::inspect(file).read());
    EXPECT_TRUE(FileRead::inspect(dir.filePath(QStringLiteral("absent"))).missing());
}
