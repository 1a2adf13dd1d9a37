// The focus drive model: counts to micrometres, the cut two-decimal text, the
// silent refusals of the origin and upper limit, and the focus memories.
#include "core/base/ErrorNumberOf.h"
#include "core/base/RunTimeError.h"
#include "models/motion/clsDefZControl.h"

#include <gtest/gtest.h>

#include <QLocale>
#include <cstdint>
#include <functional>

TEST(ZControl, InitialValues) {
    clsDefZControl z;
    EXPECT_EQ(z.curScllMax, 0);
    EXPECT_EQ(z.curScllMin, 0);
    EXPECT_EQ(z.UpperLimit(), 0);
    EXPECT_EQ(z.ORGIN(), 0);
    EXPECT_EQ(z.LINK(), 0);
    EXPECT_EQ(z.SETUP(), 0);
    EXPECT_EQ(z.ERROR(), 0);
    EXPECT_EQ(z.Esc(), 0);
    EXPECT_EQ(z.STEP(), 0);
    EXPECT_EQ(z.MAX(), 250000);
    EXPECT_EQ(z.MIN(), -510000);
    EXPECT_EQ(z.Value(), 0);
    EXPECT_EQ(z.SPEED(), 0);
    for (int16_t a = 1; a <= 7; ++a) {
        int32_t p = 123;
        z.FocusPos_Get(a, p);
        EXPECT_EQ(p, 0);
    }
}

TEST(ZControl, PlainSettersStoreAsGiven) {
    clsDefZControl z;
    z.curScllMax = 99;
    z.curScllMin = -99;
    z.setLINK(4);
    z.setSETUP(-1);
    z.setERROR(12);
    z.setSTEP(40);
    z.setMAX(-1000000); // no check against MIN
    z.setMIN(3);
    z.setValue(2147483647);
    z.setSPEED(7);
    EXPECT_EQ(z.curScllMax, 99);
    EXPECT_EQ(z.curScllMin, -99);
    EXPECT_EQ(z.LINK(), 4);
    EXPECT_EQ(z.SETUP(), -1);
    EXPECT_EQ(z.ERROR(), 12);
    EXPECT_EQ(z.STEP(), 40);
    EXPECT_EQ(z.MAX(), -1000000);
    EXPECT_EQ(z.MIN(), 3);
    EXPECT_EQ(z.Value(), 2147483647);
    EXPECT_EQ(z.SPEED(), 7);
}

TEST(ZControl, OrginAboveMaxIsIgnoredSilently) {
    clsDefZControl z;
    z.setORGIN(1000);
    EXPECT_EQ(z.ORGIN(), 1000);
    z.setORGIN(250001);
    EXPECT_EQ(z.ORGIN(), 1000);
    z.setORGIN(-510001);
    EXPECT_EQ(z.ORGIN(), 1000);
    z.setORGIN(250000);
    EXPECT_EQ(z.ORGIN(), 250000);
    z.setORGIN(-510000);
    EXPECT_EQ(z.ORGIN(), -510000);
    // Lifting MAX for a moment lets the origin through, as the count-clear does.
    z.setMAX(400000);
    z.setORGIN(300000);
    z.setMAX(250000);
    EXPECT_EQ(z.ORGIN(), 300000);
}

TEST(ZControl, UpperLimitOutsideRangeIsIgnoredSilently) {
    clsDefZControl z;
    z.setUpperLimit(200000);
    EXPECT_EQ(z.UpperLimit(), 200000);
    z.setUpperLimit(250001);
    EXPECT_EQ(z.UpperLimit(), 200000);
    z.setUpperLimit(-600000);
    EXPECT_EQ(z.UpperLimit(), 200000);
}

TEST(ZControl, EscWithFiveReadsOne) {
    clsDefZControl z;
    z.setEsc(5);
    EXPECT_EQ(z.Esc(), 1);
    z.setEsc(0);
    EXPECT_EQ(z.Esc(), 0);
    z.setEsc(-1);
    EXPECT_EQ(z.Esc(), 1);
}

TEST(ZControl, FormatCountAtOriginAndOneTwoThreeCountsAway) {
    clsDefZControl z;
    z.setORGIN(1000);
    z.setValue(1000);
    EXPECT_EQ(z.Format_Count(), "0.00");
    z.setValue(1001);
    EXPECT_EQ(z.Format_Count(), "0.05");
    z.setValue(1003);
    EXPECT_EQ(z.Format_Count(), "0.15"); // 15 significant digits: no binary noise
    z.setValue(999);
    EXPECT_EQ(z.Format_Count(), "-0.05");
}

TEST(ZControl, FormatCountCutsNeverRounds) {
    clsDefZControl z;
    z.setValue(250); // 12.5
    EXPECT_EQ(z.Format_Count(), "12.50");
    z.setValue(240); // 12
    EXPECT_EQ(z.Format_Count(), "12.00");
    z.setValue(-510000);
    EXPECT_EQ(z.Format_Count(), "-25500.00");
    z.setValue(7);
    EXPECT_EQ(z.Format_Count(), "0.35");
    // A third decimal is cut, not rounded.
    EXPECT_EQ(clsDefZControl::Format_CountText("1.239"), "1.23");
    EXPECT_EQ(clsDefZControl::Format_CountText("-0.999"), "-0.99");
}

TEST(ZControl, FormatCountWithCommaSeparatorGivesWholeTextAndDotZeroZero) {
    // The cut looks for a literal ".": a number text written with a decimal
    // comma has none, and gets ".00" after all of it.
    EXPECT_EQ(clsDefZControl::Format_CountText("12,5"), "12,5.00");
    EXPECT_EQ(clsDefZControl::Format_CountText("-0,05"), "-0,05.00");
    // This system writes its numbers with "." whatever the locale.
    const QLocale before;
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    clsDefZControl z;
    z.setValue(250);
    EXPECT_EQ(z.Format_Count(), "12.50");
    QLocale::setDefault(before);
}

TEST(ZControl, CountUmIsRelativeToOriginAndOverflowsAs32Bit) {
    clsDefZControl z;
    z.setORGIN(-100);
    z.setValue(100);
    EXPECT_DOUBLE_EQ(z.Count_um(), 10.0);
    z.setValue(INT32_MAX);
    EXPECT_EQ(errorNumber([&] { z.Count_um(); }), RunTimeError::Overflow);
    EXPECT_EQ(errorNumber([&] { z.Format_Count(); }), RunTimeError::Overflow);
}

TEST(ZControl, CountUmSetterMultipliesAndIgnoresOrigin) {
    clsDefZControl z;
    z.setORGIN(1000);
    z.setCount_um(100); // 100 x 0.05 = 5 counts, not 100 / 0.05
    EXPECT_EQ(z.Value(), 5);
    z.setCount_um(50); // 2.5 rounds half to even
    EXPECT_EQ(z.Value(), 2);
    z.setCount_um(70); // 3.5
    EXPECT_EQ(z.Value(), 4);
    EXPECT_EQ(errorNumber([&] { z.setCount_um(1e12); }), RunTimeError::Overflow);
}

TEST(ZControl, Count9bRightAlignsAndKeepsMinusInFirstColumn) {
    clsDefZControl z;
    z.setValue(0);
    EXPECT_EQ(z.Count_9b(), "        0");
    z.setValue(12345);
    EXPECT_EQ(z.Count_9b(), "    12345");
    z.setValue(-12345);
    EXPECT_EQ(z.Count_9b(), "-   12345");
    z.setValue(-510000);
    EXPECT_EQ(z.Count_9b(), "-  510000");
    z.setValue(1234567890); // longer than the field: the last nine digits
    EXPECT_EQ(z.Count_9b(), "234567890");
    z.setValue(-123456789);
    EXPECT_EQ(z.Count_9b(), "-23456789");
    z.setORGIN(100);
    z.setValue(5);
    EXPECT_EQ(z.Count_9b(), "        5"); // not relative to the origin
    z.setValue(INT32_MIN);
    EXPECT_EQ(errorNumber([&] { z.Count_9b(); }), RunTimeError::Overflow);
}

TEST(ZControl, CountMinAndCountMaxOverflow) {
    clsDefZControl z;
    EXPECT_EQ(errorNumber([&] { z.COUNTMin(); }), RunTimeError::Overflow);
    EXPECT_EQ(errorNumber([&] { z.COUNTMax(); }), RunTimeError::Overflow);
}

TEST(ZControl, CountCheckUsesLiteralBoundsAndDigitTest) {
    clsDefZControl z;
    z.setMAX(10);
    EXPECT_TRUE(z.Count_Check("250000"));
    EXPECT_FALSE(z.Count_Check("250001"));
    EXPECT_TRUE(z.Count_Check("0"));
    EXPECT_FALSE(z.Count_Check("-1")); // the sign fails the digit test
    EXPECT_FALSE(z.Count_Check(""));
    EXPECT_FALSE(z.Count_Check("1.5"));
    EXPECT_EQ(errorNumber([&] { z.Count_Check("9999999999"); }), RunTimeError::Overflow);
}

TEST(ZControl, RevoLimitSpeedAndErrorChecks) {
    clsDefZControl z;
    EXPECT_TRUE(z.RevoLIMIT_Check("0"));
    EXPECT_TRUE(z.RevoLIMIT_Check("1"));
    EXPECT_FALSE(z.RevoLIMIT_Check("01"));
    EXPECT_FALSE(z.RevoLIMIT_Check("2"));
    EXPECT_FALSE(z.RevoLIMIT_Check(""));
    EXPECT_TRUE(z.SPEED_Chk("0"));
    EXPECT_TRUE(z.SPEED_Chk("2"));
    EXPECT_FALSE(z.SPEED_Chk("3"));
    EXPECT_FALSE(z.SPEED_Chk("x"));
    EXPECT_FALSE(z.ERROR_Check("0"));
    EXPECT_TRUE(z.ERROR_Check("1"));
    EXPECT_TRUE(z.ERROR_Check("9"));
    EXPECT_FALSE(z.ERROR_Check("10"));
    EXPECT_EQ(errorNumber([&] { z.SPEED_Chk("40000"); }), RunTimeError::Overflow);
}

TEST(ZControl, CountUpAndDownAreCheckedWithoutRange) {
    clsDefZControl z;
    z.Count_UP(300000);
    EXPECT_EQ(z.Value(), 300000); // beyond MAX: no range check
    z.Count_DOWN(1000000);
    EXPECT_EQ(z.Value(), -700000);
    z.setValue(INT32_MAX);
    EXPECT_EQ(errorNumber([&] { z.Count_UP(1); }), RunTimeError::Overflow);
    EXPECT_EQ(z.Value(), INT32_MAX);
    z.setValue(INT32_MIN);
    EXPECT_EQ(errorNumber([&] { z.Count_DOWN(1); }), RunTimeError::Overflow);
}

TEST(ZControl, FocusPositionsForAddressesOneToSeven) {
    clsDefZControl z;
    for (int16_t a = 1; a <= 7; ++a)
        z.FocusPos_Put(a, a * 1000);
    z.FocusPos_Put(3, clsDefZControl::kNoFocusPosition);
    for (int16_t a = 1; a <= 7; ++a) {
        int32_t p = 0;
        z.FocusPos_Get(a, p);
        EXPECT_EQ(p, a == 3 ? -900000 : a * 1000);
    }
}

TEST(ZControl, FocusPosGetEightLeavesArgumentAsItWas) {
    clsDefZControl z;
    z.FocusPos_Put(8, 555);
    z.FocusPos_Put(0, 555);
    int32_t p = 42;
    z.FocusPos_Get(8, p);
    EXPECT_EQ(p, 42);
    z.FocusPos_Get(0, p);
    EXPECT_EQ(p, 42);
    z.FocusPos_Get(-1, p);
    EXPECT_EQ(p, 42);
    for (int16_t a = 1; a <= 7; ++a) {
        z.FocusPos_Get(a, p);
        EXPECT_EQ(p, 0);
    }
}
