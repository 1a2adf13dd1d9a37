// The stage model: both axes in half micrometres, memories and offsets with
// their out-of-range answers, and the checks of typed counts.
#include "core/base/ErrorNumberOf.h"
#include "core/base/RunTimeError.h"
#include "models/motion/clsDefXYControl.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>

TEST(XYControl, InitialValues) {
    clsDefXYControl xy;
    for (int16_t i = 0; i <= 4; ++i) {
        EXPECT_EQ(xy.XMemoryPos(i), -1);
        EXPECT_EQ(xy.YMemoryPos(i), -1);
    }
    for (int16_t i = 1; i <= 7; ++i) {
        EXPECT_EQ(xy.XOffset(i), 0);
        EXPECT_EQ(xy.YOffset(i), 0);
    }
    EXPECT_EQ(xy.XSCLMAX(), 0);
    EXPECT_EQ(xy.XSCLMIN(), 0);
    EXPECT_EQ(xy.YSCLMAX(), 0);
    EXPECT_EQ(xy.YSCLMIN(), 0);
    EXPECT_EQ(xy.XORGIN(), 0);
    EXPECT_EQ(xy.YORGIN(), 0);
    EXPECT_EQ(xy.XSTEP(), 0);
    EXPECT_EQ(xy.YSTEP(), 0);
    EXPECT_EQ(xy.XMAX(), 0);
    EXPECT_EQ(xy.XMIN(), 0);
    EXPECT_EQ(xy.YMAX(), 0);
    EXPECT_EQ(xy.YMIN(), 0);
    EXPECT_EQ(xy.SETUP(), 0);
    EXPECT_EQ(xy.ERROR(), 0);
    EXPECT_EQ(xy.XCount(), 0);
    EXPECT_EQ(xy.YCount(), 0);
    EXPECT_EQ(xy.SPEED(), 0);
}

TEST(XYControl, SettersNeverReject) {
    clsDefXYControl xy;
    xy.setXSCLMAX(1);
    xy.setXSCLMIN(2);
    xy.setYSCLMAX(3);
    xy.setYSCLMIN(4);
    xy.setXORGIN(-5);
    xy.setYORGIN(900000);
    xy.setXSTEP(7);
    xy.setYSTEP(8);
    xy.setXMAX(9);
    xy.setXMIN(10);
    xy.setYMAX(11);
    xy.setYMIN(12);
    xy.setSETUP(13);
    xy.setERROR(14);
    xy.setXCount(-15);
    xy.setYCount(2000000);
    xy.setSPEED(17);
    EXPECT_EQ(xy.XSCLMAX(), 1);
    EXPECT_EQ(xy.XSCLMIN(), 2);
    EXPECT_EQ(xy.YSCLMAX(), 3);
    EXPECT_EQ(xy.YSCLMIN(), 4);
    EXPECT_EQ(xy.XORGIN(), -5);
    EXPECT_EQ(xy.YORGIN(), 900000);
    EXPECT_EQ(xy.XSTEP(), 7);
    EXPECT_EQ(xy.YSTEP(), 8);
    EXPECT_EQ(xy.XMAX(), 9);
    EXPECT_EQ(xy.XMIN(), 10);
    EXPECT_EQ(xy.YMAX(), 11);
    EXPECT_EQ(xy.YMIN(), 12);
    EXPECT_EQ(xy.SETUP(), 13);
    EXPECT_EQ(xy.ERROR(), 14);
    EXPECT_EQ(xy.XCount(), -15);
    EXPECT_EQ(xy.YCount(), 2000000);
    EXPECT_EQ(xy.SPEED(), 17);
}

TEST(XYControl, MemoryPosFiveReadsZeroNotMinusOne) {
    clsDefXYControl xy;
    EXPECT_EQ(xy.XMemoryPos(5), 0);
    EXPECT_EQ(xy.YMemoryPos(5), 0);
    EXPECT_EQ(xy.XMemoryPos(-1), 0);
    xy.setXMemoryPos(5, 77);
    xy.setYMemoryPos(-1, 77);
    EXPECT_EQ(xy.XMemoryPos(5), 0);
    EXPECT_EQ(xy.YMemoryPos(-1), 0);
    for (int16_t i = 0; i <= 4; ++i) {
        xy.setXMemoryPos(i, 100 + i);
        xy.setYMemoryPos(i, 200 + i);
    }
    for (int16_t i = 0; i <= 4; ++i) {
        EXPECT_EQ(xy.XMemoryPos(i), 100 + i);
        EXPECT_EQ(xy.YMemoryPos(i), 200 + i);
    }
}

TEST(XYControl, OffsetsForAddressesOneToSeven) {
    clsDefXYControl xy;
    for (int16_t i = 1; i <= 7; ++i) {
        xy.setXOffset(i, i * 10);
        xy.setYOffset(i, -i * 10);
    }
    xy.setXOffset(0, 5);
    xy.setYOffset(8, 5);
    for (int16_t i = 1; i <= 7; ++i) {
        EXPECT_EQ(xy.XOffset(i), i * 10);
        EXPECT_EQ(xy.YOffset(i), -i * 10);
    }
    EXPECT_EQ(xy.XOffset(0), 0);
    EXPECT_EQ(xy.YOffset(8), 0);
}

TEST(XYControl, CountUmIsHalfMicronsFromOrigin) {
    clsDefXYControl xy;
    xy.setXORGIN(100);
    xy.setXCount(110);
    xy.setYORGIN(-3);
    xy.setYCount(0);
    EXPECT_DOUBLE_EQ(xy.XCount_um(), 5.0);
    EXPECT_DOUBLE_EQ(xy.YCount_um(), 1.5);
    xy.setXCount(INT32_MIN);
    EXPECT_EQ(errorNumber([&] { xy.XCount_um(); }), RunTimeError::Overflow);
    xy.setYORGIN(INT32_MIN);
    xy.setYCount(1);
    EXPECT_EQ(errorNumber([&] { xy.YCount_um(); }), RunTimeError::Overflow);
}

TEST(XYControl, FormatCountAlwaysOneDecimal) {
    clsDefXYControl xy;
    xy.setXORGIN(40);
    xy.setXCount(41);
    EXPECT_EQ(xy.Format_XCount(), "0.5");
    xy.setXCount(42);
    EXPECT_EQ(xy.Format_XCount(), "1.0");
    xy.setXCount(40);
    EXPECT_EQ(xy.Format_XCount(), "0.0");
    xy.setXCount(39);
    EXPECT_EQ(xy.Format_XCount(), "-0.5");
    xy.setYCount(780000);
    EXPECT_EQ(xy.Format_YCount(), "390000.0");
    xy.setYCount(-3);
    EXPECT_EQ(xy.Format_YCount(), "-1.5");
}

TEST(XYControl, CountMaxima) {
    clsDefXYControl xy;
    EXPECT_EQ(xy.XCOUNTMax(), 780000);
    EXPECT_EQ(xy.YCOUNTMax(), 260000);
}

TEST(XYControl, CountChecks) {
    clsDefXYControl xy;
    EXPECT_TRUE(xy.XCount_Chk("780000"));
    EXPECT_FALSE(xy.XCount_Chk("780001"));
    EXPECT_TRUE(xy.YCount_Chk("260000"));
    EXPECT_FALSE(xy.YCount_Chk("260001"));
    EXPECT_FALSE(xy.XCount_Chk("-1"));
    EXPECT_TRUE(xy.XCount_Chk("0"));
    EXPECT_FALSE(xy.XCount_Chk(""));
    EXPECT_EQ(errorNumber([&] { xy.XCount_Chk("99999999999"); }), RunTimeError::Overflow);
}

TEST(XYControl, SpeedAndErrorChecks) {
    clsDefXYControl xy;
    EXPECT_TRUE(xy.SPEED_Chk("0"));
    EXPECT_TRUE(xy.SPEED_Chk("2"));
    EXPECT_FALSE(xy.SPEED_Chk("3"));
    EXPECT_TRUE(xy.ERROR_Chk("0")); // starts at 0, unlike the focus drive's
    EXPECT_TRUE(xy.ERROR_Chk("9"));
    EXPECT_FALSE(xy.ERROR_Chk("10"));
    EXPECT_FALSE(xy.ERROR_Chk("-1"));
}

TEST(XYControl, AllChkAppliesTheFourChecksInOrder) {
    clsDefXYControl xy;
    EXPECT_TRUE(xy.ALL_chk("780000,260000,2,0"));
    EXPECT_FALSE(xy.ALL_chk("780001,0,0,0"));
    EXPECT_FALSE(xy.ALL_chk("0,260001,0,0"));
    EXPECT_FALSE(xy.ALL_chk("0,0,3,0"));
    EXPECT_FALSE(xy.ALL_chk("0,0,0,10"));
    EXPECT_TRUE(xy.ALL_chk("1,2,1,5,extra"));
    // Stops at the first failure: the overflowing later field is never converted.
    EXPECT_FALSE(xy.ALL_chk("x,99999999999,0,0"));
}

TEST(XYControl, AllChkWithFewerThanFourFieldsIsBoundsError) {
    clsDefXYControl xy;
    EXPECT_EQ(errorNumber([&] { xy.ALL_chk("1,2,1"); }), RunTimeError::SubscriptOutOfRange);
    EXPECT_EQ(errorNumber([&] { xy.ALL_chk(""); }), RunTimeError::SubscriptOutOfRange);
    EXPECT_EQ(errorNumber([&] { xy.ALL_chk("x"); }), RunTimeError::SubscriptOutOfRange);
}
