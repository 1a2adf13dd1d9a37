// The window-free common helpers: the command line, the trailing slash and the
// forgiving number conversion. The test is started with the arguments
// /SIM "two words" /c.
#include "core/base/mdlCommon.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <gtest/gtest.h>

TEST(CommonArgs, ElementZeroIsTheFullPathOfTheProgram) {
    const QStringList args = Common_Args();
    ASSERT_FALSE(args.isEmpty());
    EXPECT_TRUE(QFileInfo(args[0]).isAbsolute());
    EXPECT_EQ(QFileInfo(args[0]).canonicalFilePath(),
              QFileInfo(QCoreApplication::applicationFilePath()).canonicalFilePath());
}

TEST(CommonArgs, TokensFollowInOrderAsGiven) {
    const QStringList args = Common_Args();
    ASSERT_EQ(args.size(), 4);
    EXPECT_EQ(args[1], QStringLiteral("/SIM"));
    EXPECT_EQ(args[2], QStringLiteral("two words"));
    EXPECT_EQ(args[3], QStringLiteral("/c")); // kept as given; callers compare case-sensitively
}

TEST(CommonSlash, AddsASlashUnlessThereIsOne) {
    EXPECT_EQ(Common_Slash(QStringLiteral("/opt/zentor")), QStringLiteral("/opt/zentor/"));
    EXPECT_EQ(Common_Slash(QStringLiteral("/opt/zentor/")), QStringLiteral("/opt/zentor/"));
    EXPECT_EQ(Common_Slash(QString()), QStringLiteral("/"));
    EXPECT_EQ(Common_Slash(QStringLiteral("/")), QStringLiteral("/"));
}

TEST(CommonVal, ConvertsNumericText) {
    EXPECT_DOUBLE_EQ(Common_Val(QStringLiteral("12.5")), 12.5);
    EXPECT_DOUBLE_EQ(Common_Val(QStringLiteral(" -3 ")), -3);
    EXPECT_DOUBLE_EQ(Common_Val(QStringLiteral("1E3")), 1000);
    EXPECT_DOUBLE_EQ(Common_Val(QStringLiteral("&H1F")), 31);
}

TEST(CommonVal, AFailedConversionGivesZero) {
    EXPECT_DOUBLE_EQ(Common_Val(QStringLiteral("12abc")), 0);
    EXPECT_DOUBLE_EQ(Common_Val(QStringLiteral("abc")), 0);
    EXPECT_DOUBLE_EQ(Common_Val(QString()), 0);
    EXPECT_DOUBLE_EQ(Common_Val(QStringLiteral("1e999")), 0);
    EXPECT_DOUBLE_EQ(Common_Val(QStringLiteral("&HZZ")), 0);
}

// Run on its own, without arguments (see CMakeLists).
TEST(CommonArgsAlone, AnEmptyCommandTailGivesElementZeroOnly) {
    const QStringList args = Common_Args();
    ASSERT_EQ(args.size(), 1);
    EXPECT_EQ(QFileInfo(args[0]).canonicalFilePath(),
              QFileInfo(QCoreApplication::applicationFilePath()).canonicalFilePath());
}
