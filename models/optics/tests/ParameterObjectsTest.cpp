// The parameter objects of the devices: initial values, the validators with
// their deliberate leniencies, the offset factors and the stop memories.
#include "core/base/ErrorNumberOf.h"
#include "core/base/RunTimeError.h"
#include "models/optics/clsDefAddControl.h"
#include "models/optics/clsDefBase.h"
#include "models/optics/clsDefLamp.h"
#include "models/optics/clsDefLightPath.h"
#include "models/optics/clsDefStop.h"
#include "models/optics/clsDefZoom.h"
#include "models/optics/fncDataChk.h"

#include <gtest/gtest.h>

#include <QVector>
#include <functional>

namespace {


} // namespace

// --- fncDataChk ---------------------------------------------------------------

TEST(DigitChk, EmptyTextIsNoDigitText) { EXPECT_FALSE(Digit_Chk(QString())); }

TEST(DigitChk, OnlyDigitsPass) {
    EXPECT_TRUE(Digit_Chk("0"));
    EXPECT_TRUE(Digit_Chk("0123456789"));
    EXPECT_FALSE(Digit_Chk("-1"));
    EXPECT_FALSE(Digit_Chk("+1"));
    EXPECT_FALSE(Digit_Chk("1.5"));
    EXPECT_FALSE(Digit_Chk(" 1"));
    EXPECT_FALSE(Digit_Chk("1 "));
    EXPECT_FALSE(Digit_Chk("12a"));
    EXPECT_FALSE(Digit_Chk(QString::fromUtf8("\xd9\xa3"))); // an Arabic-Indic three is no 0-9
}

TEST(CharCount, CountsOneCharacterParts) {
    EXPECT_EQ(Char_Count("470/40", "/"), 1);
    EXPECT_EQ(Char_Count("a-b-c", "-"), 2);
    EXPECT_EQ(Char_Count("abc", "/"), 0);
    EXPECT_EQ(Char_Count("", "/"), 0);
}

TEST(CharCount, LongerPartCountsRemovedCharacters) {
    // Two occurrences of a two-character part remove four characters.
    EXPECT_EQ(Char_Count("abXYcdXY", "XY"), 4);
    EXPECT_EQ(Char_Count("abc", ""), 0);
}

// --- clsDefAddControl -----------------------------------------------------------

TEST(AddControl, InitialValues) {
    clsDefAddControl c;
    EXPECT_EQ(c.Address(), 1);
    EXPECT_EQ(c.SETUP(), 0);
    EXPECT_EQ(c.MAX(), 6);
    EXPECT_EQ(c.MIN(), 0);
    EXPECT_EQ(c.STEP(), 1);
    EXPECT_EQ(c.PreADD(), 0);
    EXPECT_EQ(c.LINK(), 1);
}

TEST(AddControl, SettersStoreWithoutChecking) {
    clsDefAddControl c;
    c.setAddress(99);
    c.setSETUP(3);
    c.setMAX(-4);
    c.setMIN(20);
    c.setSTEP(7);
    c.setPreADD(5);
    c.setLINK(9);
    EXPECT_EQ(c.Address(), 99);
    EXPECT_EQ(c.SETUP(), 3);
    EXPECT_EQ(c.MAX(), -4);
    EXPECT_EQ(c.MIN(), 20);
    EXPECT_EQ(c.STEP(), 7);
    EXPECT_EQ(c.PreADD(), 5);
    EXPECT_EQ(c.LINK(), 9);
}

TEST(AddControl, TurnFromMaxWrapsToOneAboveMin) {
    clsDefAddControl c;
    c.setAddress(6);
    EXPECT_EQ(c.ADDRESS_Turn(), 1);
    c.setAddress(3);
    EXPECT_EQ(c.ADDRESS_Turn(), 4);
    EXPECT_EQ(c.Address(), 3); // answers only
    c.setMIN(2);
    c.setAddress(6);
    EXPECT_EQ(c.ADDRESS_Turn(), 3);
}

TEST(AddControl, ReverseFromOneWrapsToMax) {
    clsDefAddControl c;
    c.setAddress(1);
    EXPECT_EQ(c.Address_Reverse(), 6);
    c.setAddress(4);
    EXPECT_EQ(c.Address_Reverse(), 3);
    EXPECT_EQ(c.Address(), 4);
}

TEST(AddControl, TurnAndReverseCycleMinPlusOneToMax) {
    clsDefAddControl c;
    QVector<int> forward, backward;
    for (int i = 0; i < 7; ++i) {
        forward << c.Address();
        c.setAddress(c.ADDRESS_Turn());
    }
    EXPECT_EQ(forward, (QVector<int>{1, 2, 3, 4, 5, 6, 1}));
    c.setAddress(1);
    for (int i = 0; i < 7; ++i) {
        backward << c.Address();
        c.setAddress(c.Address_Reverse());
    }
    EXPECT_EQ(backward, (QVector<int>{1, 6, 5, 4, 3, 2, 1}));
}

TEST(AddControl, TurnPast32767Overflows) {
    clsDefAddControl c;
    c.setMAX(32767);
    c.setAddress(32767);
    EXPECT_EQ(errorNumber([&] { c.ADDRESS_Turn(); }), RunTimeError::Overflow);
}

TEST(AddControl, AddressCheckEmptyFalseMinPassesSignFails) {
    clsDefAddControl c;
    EXPECT_FALSE(c.ADDRESS_Check(""));
    EXPECT_TRUE(c.ADDRESS_Check("0")); // MIN itself passes, though no turn reaches it
    EXPECT_FALSE(c.ADDRESS_Check("-1"));
    EXPECT_TRUE(c.ADDRESS_Check("6"));
    EXPECT_FALSE(c.ADDRESS_Check("7"));
    EXPECT_FALSE(c.ADDRESS_Check("1.0"));
    EXPECT_TRUE(c.ADDRESS_Check("0003"));
}

TEST(AddControl, AddressCheckBeyond16BitsIsOverflow) {
    clsDefAddControl c;
    EXPECT_FALSE(c.ADDRESS_Check("32767"));
    EXPECT_EQ(errorNumber([&] { c.ADDRESS_Check("32768"); }), RunTimeError::Overflow);
}

// --- clsDefZoom -------------------------------------------------------------------

TEST(Zoom, InitialValues) {
    clsDefZoom z;
    EXPECT_EQ(z.MIN(), 0);
    EXPECT_EQ(z.MAX(), 0);
    EXPECT_EQ(z.ZOOM(), 0.8);
    EXPECT_EQ(z.Offset(), 0);
    EXPECT_EQ(z.AMOUNT(), 0);
    EXPECT_EQ(z.SETUP(), 0);
    EXPECT_EQ(z.LINK(), 0);
}

TEST(Zoom, ZoomChkComparesAsSingle) {
    clsDefZoom z;
    z.setMIN(0.8);
    z.setMAX(2.0);
    EXPECT_TRUE(z.ZOOM_Chk("0.8"));
    EXPECT_TRUE(z.ZOOM_Chk("2"));
    EXPECT_TRUE(z.ZOOM_Chk(" 1.5 ")); // no digit test before the conversion
    EXPECT_FALSE(z.ZOOM_Chk("2.1"));
    EXPECT_FALSE(z.ZOOM_Chk("0.7"));
}

TEST(Zoom, ZoomChkRoundsLimitAndValueToSingle) {
    clsDefZoom z;
    z.setMIN(0);
    // A limit a hair above the Single nearest 1.1: as Doubles 1.1 would pass
    // and 1.1000000000000003 fail; as Singles both equal the limit.
    z.setMAX(1.1);
    EXPECT_TRUE(z.ZOOM_Chk("1.1000000000000003"));
    EXPECT_TRUE(z.ZOOM_Chk("1.10000001"));
}

TEST(Zoom, ZoomChkNonNumberIsTypeMismatch) {
    clsDefZoom z;
    EXPECT_EQ(errorNumber([&] { z.ZOOM_Chk("abc"); }), RunTimeError::TypeMismatch);
    EXPECT_EQ(errorNumber([&] { z.ZOOM_Chk(""); }), RunTimeError::TypeMismatch);
}

TEST(Zoom, OffsetChkPassesEmptyAndNonDigitText) {
    clsDefZoom z;
    EXPECT_TRUE(z.Offset_Chk(""));
    EXPECT_TRUE(z.Offset_Chk("abc"));
    EXPECT_FALSE(z.Offset_Chk("10"));
    EXPECT_TRUE(z.Offset_Chk("9"));
    EXPECT_TRUE(z.Offset_Chk("0"));
    EXPECT_TRUE(z.Offset_Chk("-5"));
}

// --- clsDefStop -------------------------------------------------------------------

TEST(Stop, InitialValues) {
    clsDefStop s;
    EXPECT_EQ(s.MIN(), 2.0);
    EXPECT_EQ(s.MAX(), 30.6);
    EXPECT_EQ(s.AMOUNT(), 0.1);
    EXPECT_EQ(s.SETUP(), 0);
    EXPECT_EQ(s.Diameter(), 2.0);
    EXPECT_EQ(s.Offset(), 0);
    for (int16_t o = 0; o <= 12; ++o)
        for (int16_t a = 0; a <= 7; ++a)
            EXPECT_EQ(s.Memory_Get(o, a), 0.0);
}

TEST(Stop, OffsetChkPassesEmptyAndNonDigitText) {
    clsDefStop s;
    EXPECT_TRUE(s.Offset_Chk(""));
    EXPECT_TRUE(s.Offset_Chk("abc"));
    EXPECT_FALSE(s.Offset_Chk("10"));
    EXPECT_TRUE(s.Offset_Chk("9"));
    EXPECT_EQ(errorNumber([&] { s.Offset_Chk("40000"); }), RunTimeError::Overflow);
}

TEST(Stop, DiameterChkWithinLimits) {
    clsDefStop s;
    EXPECT_TRUE(s.Diameter_Chk("2"));
    EXPECT_TRUE(s.Diameter_Chk("30.6"));
    EXPECT_FALSE(s.Diameter_Chk("30.61"));
    EXPECT_FALSE(s.Diameter_Chk("1.99"));
    EXPECT_EQ(errorNumber([&] { s.Diameter_Chk("x"); }), RunTimeError::TypeMismatch);
}

TEST(Stop, OffsetValueTableEveryRow) {
    clsDefStop s;
    const double expected[] = {1.00, 0.95, 0.90, 0.85, 0.80, 0.75, 0.70, 0.65, 0.60, 0.55};
    for (int16_t i = 0; i <= 9; ++i)
        EXPECT_EQ(s.OffsetValue(i), expected[i]) << i;
    EXPECT_EQ(s.OffsetValue(10), 0.0);
    EXPECT_EQ(s.OffsetValue(-2), 0.0);
    EXPECT_EQ(s.OffsetValue(32767), 0.0);
}

TEST(Stop, OffsetValueMinusOneFollowsStoredOffset) {
    clsDefStop s;
    EXPECT_EQ(s.OffsetValue(-1), 1.00);
    EXPECT_EQ(s.OffsetValue(), 1.00);
    s.setOffset(4);
    EXPECT_EQ(s.OffsetValue(-1), 0.80);
    EXPECT_EQ(s.OffsetValue(), 0.80);
    s.setOffset(12);
    EXPECT_EQ(s.OffsetValue(), 0.0);
}

TEST(Stop, MemoryPutGetAndBounds) {
    clsDefStop s;
    s.Memory_Put(12, 7, 4.5);
    s.Memory_Put(0, 0, 1.25);
    EXPECT_EQ(s.Memory_Get(12, 7), 4.5);
    EXPECT_EQ(s.Memory_Get(0, 0), 1.25);
    EXPECT_EQ(s.Memory_Get(12, 6), 0.0);
    EXPECT_EQ(errorNumber([&] { s.Memory_Get(13, 0); }), RunTimeError::SubscriptOutOfRange);
    EXPECT_EQ(errorNumber([&] { s.Memory_Get(0, 8); }), RunTimeError::SubscriptOutOfRange);
    EXPECT_EQ(errorNumber([&] { s.Memory_Get(-1, 0); }), RunTimeError::SubscriptOutOfRange);
    EXPECT_EQ(errorNumber([&] { s.Memory_Put(0, -1, 1); }), RunTimeError::SubscriptOutOfRange);
    EXPECT_EQ(errorNumber([&] { s.Memory_Put(13, 7, 1); }), RunTimeError::SubscriptOutOfRange);
}

// --- clsDefLamp -------------------------------------------------------------------

TEST(Lamp, InitialValues) {
    clsDefLamp l;
    EXPECT_EQ(l.MIN(), 0);
    EXPECT_EQ(l.MAX(), 0);
    EXPECT_EQ(l.FBack(), 0);
    EXPECT_EQ(l.ONOFF(), 0);
    EXPECT_EQ(l.POWER(), 3.0);
    EXPECT_EQ(l.AMOUNT(), 0.1);
    EXPECT_EQ(l.SETUP(), 0);
    EXPECT_EQ(l.Preset(), 0);
}

TEST(Lamp, StrPowerOfFiveIsFivePointZero) {
    clsDefLamp l;
    l.setPOWER(5);
    EXPECT_EQ(l.strPOWER(), "5.0");
    l.setPOWER(3.2);
    EXPECT_EQ(l.strPOWER(), "3.2");
    EXPECT_EQ(clsDefLamp().strPOWER(), "3.0");
    l.setPOWER(0);
    EXPECT_EQ(l.strPOWER(), "0.0");
    l.setPOWER(12.25);
    EXPECT_EQ(l.strPOWER(), "12.25");
}

TEST(Lamp, RangeChkCannotFailOnDigitText) {
    clsDefLamp l;
    EXPECT_TRUE(l.Range_chk("5000"));
    EXPECT_FALSE(l.Range_chk("5.0"));
    EXPECT_TRUE(l.Range_chk("0"));
    EXPECT_TRUE(l.Range_chk("99"));
    EXPECT_FALSE(l.Range_chk(""));
    EXPECT_FALSE(l.Range_chk("-3"));
    EXPECT_EQ(errorNumber([&] { l.Range_chk("32768"); }), RunTimeError::Overflow);
}

TEST(Lamp, PowerCheckCharacterTestThenSingleRange) {
    clsDefLamp l;
    l.setMIN(0.5);
    l.setMAX(12);
    EXPECT_FALSE(l.Power_Check(""));
    EXPECT_FALSE(l.Power_Check("-1"));
    EXPECT_FALSE(l.Power_Check("1,5"));
    EXPECT_FALSE(l.Power_Check(" 3"));
    EXPECT_TRUE(l.Power_Check("3.5"));
    EXPECT_TRUE(l.Power_Check("12"));
    EXPECT_TRUE(l.Power_Check("0.5"));
    EXPECT_FALSE(l.Power_Check("12.1"));
    EXPECT_FALSE(l.Power_Check("0.4"));
}

TEST(Lamp, PowerCheckOneTwoThreePassesCharactersThenFailsConversion) {
    clsDefLamp l;
    l.setMAX(12);
    EXPECT_EQ(errorNumber([&] { l.Power_Check("1.2.3"); }), RunTimeError::TypeMismatch);
    EXPECT_EQ(errorNumber([&] { l.Power_Check("."); }), RunTimeError::TypeMismatch);
}

TEST(Lamp, PowerCheckLimitRoundedToSingle) {
    clsDefLamp l;
    l.setMAX(30.6); // as a Single 30.6 is 30.6000004
    EXPECT_TRUE(l.Power_Check("30.6"));
    EXPECT_TRUE(l.Power_Check("30.6000001"));
}

// --- clsDefLightPath --------------------------------------------------------------

TEST(LightPath, InitialValues) {
    clsDefLightPath p;
    EXPECT_EQ(p.SETUP(), 0);
    EXPECT_EQ(p.PATH(), 1);
    EXPECT_EQ(p.LINK(), 0);
}

TEST(LightPath, LinkWrittenWithTwoReadsBackZero) {
    clsDefLightPath p;
    p.setLINK(1);
    EXPECT_EQ(p.LINK(), 1);
    p.setLINK(2);
    EXPECT_EQ(p.LINK(), 0);
    p.setLINK(-1);
    EXPECT_EQ(p.LINK(), 0);
}

TEST(LightPath, PathChkOneToThree) {
    clsDefLightPath p;
    EXPECT_FALSE(p.Path_Chk(""));
    EXPECT_FALSE(p.Path_Chk("0"));
    EXPECT_TRUE(p.Path_Chk("1"));
    EXPECT_TRUE(p.Path_Chk("3"));
    EXPECT_FALSE(p.Path_Chk("4"));
    EXPECT_FALSE(p.Path_Chk("a"));
}

TEST(LightPath, OffsetChkPassesEmptyAndNonDigitText) {
    clsDefLightPath p;
    EXPECT_TRUE(p.Offset_Chk(""));
    EXPECT_TRUE(p.Offset_Chk("abc"));
    EXPECT_FALSE(p.Offset_Chk("10"));
    EXPECT_TRUE(p.Offset_Chk("9"));
}

TEST(LightPath, PathNameEveryPort) {
    clsDefLightPath p;
    const char* names[] = {"Unknown", "Binocular", "Front P", "Rear P"};
    for (int16_t i = 0; i <= 3; ++i) {
        p.setPATH(i);
        EXPECT_EQ(p.PathName_Get(), QString::fromLatin1(names[i]));
    }
    p.setPATH(4);
    EXPECT_EQ(p.PathName_Get(), QString());
    p.setPATH(-1);
    EXPECT_EQ(p.PathName_Get(), QString());
}

// --- clsDefBase -------------------------------------------------------------------

TEST(Base, SetDataCopyCompare) {
    clsDefBase a, b;
    EXPECT_EQ(a.Number(), 0);
    EXPECT_EQ(a.Name(), QString());
    a.SetData(3, "DIC");
    EXPECT_FALSE(b.Compare(a));
    b.Copy(a);
    EXPECT_EQ(b.Number(), 3);
    EXPECT_EQ(b.Name(), "DIC");
    EXPECT_TRUE(b.Compare(a));
    b.setName("dic");
    EXPECT_FALSE(b.Compare(a)); // case counts
    b.setName("DIC");
    b.setNumber(4);
    EXPECT_FALSE(b.Compare(a));
}
