// The debug trace: one "text,date and time" line per call, appended to
// debugZentor.txt below the application data folder.
#include "core/base/FolderPath.h"
#include "core/base/mdlCommon.h"
#include "core/base/RunTimeError.h"

#include <QDir>
#include <QDate>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <gtest/gtest.h>

namespace {

QString dataFolder() { return QString::fromLocal8Bit(qgetenv("XDG_DATA_HOME")); }

QByteArray readAll(const QString& path) {
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly))
        return QByteArray();
    return f.readAll();
}

class DebugTrace : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_FALSE(dataFolder().isEmpty());
        QDir(dataFolder() + QStringLiteral("/Korvu")).removeRecursively();
    }
    void makeFolder() { ASSERT_TRUE(QDir().mkpath(dataFolder() + QStringLiteral("/Korvu/Shared/Data"))); }
};

} // namespace

TEST_F(DebugTrace, LivesInTheSharedDataFolderBelowAppData) {
    EXPECT_EQ(Folder_Get(kFolderAppData), dataFolder());
    EXPECT_EQ(Common_LogPath(), dataFolder() + QStringLiteral("/Korvu/Shared/Data/debugZentor.txt"));
}

TEST_F(DebugTrace, TwoCallsLeaveTwoLinesInCallOrder) {
    makeFolder();
    Common_Log(QStringLiteral("first"));
    Common_Log(QStringLiteral("second"));
    const QList<QByteArray> lines = readAll(Common_LogPath()).split('\n');
    ASSERT_EQ(lines.size(), 3); // two lines and nothing after the last line end
    EXPECT_TRUE(lines[0].startsWith("first,"));
    EXPECT_TRUE(lines[1].startsWith("second,"));
    EXPECT_TRUE(lines[2].isEmpty());
}

TEST_F(DebugTrace, EachLineIsTextCommaDateAndTimeEndingInCrLf) {
    makeFolder();
    Common_Log(QStringLiteral("Z move"));
    const QByteArray all = readAll(Common_LogPath());
    ASSERT_TRUE(all.endsWith("\r\n"));
    const QString line = QString::fromUtf8(all.left(all.size() - 2));
    ASSERT_TRUE(line.startsWith(QStringLiteral("Z move,")));
    // the date in the locale's short form, a blank, then the time with seconds
    const QString stamp = line.mid(7);
    EXPECT_TRUE(QRegularExpression(QStringLiteral("^\\S.* \\d\\d:\\d\\d:\\d\\d$")).match(stamp).hasMatch())
        << stamp.toStdString();
    EXPECT_TRUE(stamp.contains(QString::number(QDate::currentDate().day())) ||
                stamp.contains(QString::number(QDate::currentDate().addDays(-1).day())));
}

TEST_F(DebugTrace, ATextWithACommaIsNotQuoted) {
    makeFolder();
    Common_Log(QStringLiteral("a,b \"c\""));
    const QByteArray all = readAll(Common_LogPath());
    EXPECT_TRUE(all.startsWith("a,b \"c\","));
}

TEST_F(DebugTrace, TheFileGrowsAcrossRunsAndKeepsWhatWasThere) {
    makeFolder();
    {
        QFile f(Common_LogPath());
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        f.write("earlier,1/1/24 00:00:00\r\n");
    }
    Common_Log(QStringLiteral("later"));
    const QByteArray all = readAll(Common_LogPath());
    EXPECT_TRUE(all.startsWith("earlier,1/1/24 00:00:00\r\nlater,"));
}

// The trace has no trap of its own: a missing folder fails the open, and the
// caller's trap gets the error. Nothing is created on the way.
TEST_F(DebugTrace, AMissingFolderFailsToTheCaller) {
    try {
        Common_Log(QStringLiteral("nowhere"));
        FAIL() << "no error";
    } catch (const RunTimeError& e) {
        EXPECT_EQ(e.number(), RunTimeError::PathNotFound);
    }
    EXPECT_FALSE(QFile::exists(Common_LogPath()));
    EXPECT_FALSE(QDir(dataFolder() + QStringLiteral("/Korvu")).exists());
}

TEST_F(DebugTrace, AnUnwritableFileFailsToTheCaller) {
    makeFolder();
    // A folder where the file should be: it can never be opened for append.
    ASSERT_TRUE(QDir().mkpath(Common_LogPath()));
    EXPECT_THROW(Common_Log(QStringLiteral("blocked")), RunTimeError);
    EXPECT_TRUE(QFileInfo(Common_LogPath()).isDir());
}
