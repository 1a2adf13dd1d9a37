// The command line read before any application object exists, as the panel's
// start-up may do; the test is started with the arguments /C "Scope A".
#include "core/base/mdlCommon.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <gtest/gtest.h>

TEST(CommonArgsEarly, ReadsTheProgramAndItsTokensWithoutAnApplication) {
    ASSERT_EQ(QCoreApplication::instance(), nullptr);
    const QStringList args = Common_Args();
    ASSERT_GE(args.size(), 3);
    EXPECT_TRUE(QFileInfo(args[0]).isAbsolute());
    EXPECT_EQ(QFileInfo(args[0]).fileName(), QStringLiteral("CommonArgsBeforeTheApplicationExists"));
    EXPECT_EQ(args[1], QStringLiteral("/C"));
    EXPECT_EQ(args[2], QStringLiteral("Scope A"));
}
