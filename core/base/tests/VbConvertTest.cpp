// Number conversions as the operator has always seen them: rounding, overflow,
// the implicit text-to-number conversion, Val and number-to-text.
#include "core/base/VbConvert.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

int32_t errorNumberOf(void (*f)()) {
    try {
        f();
    } catch (const RunTimeError& e) {
        return e.number();
    }
    return 0;
}

} // namespace

TEST(HalfToEvenRounding, HalvesGoToTheEvenNeighbour) {
    EXPECT_EQ(vb::toInt16(2.5), 2);
    EXPECT_EQ(vb::toInt16(3.5), 4);
    EXPECT_EQ(vb::toInt16(-2.5), -2);
    EXPECT_EQ(vb::toInt16(-3.5), -4);
    EXPECT_EQ(vb::toInt16(0.5), 0);
    EXPECT_EQ(vb::toInt16(1.5), 2);
    EXPECT_EQ(vb::toInt32(2.5), 2);
    EXPECT_EQ(vb::toInt32(3.5), 4);
    EXPECT_EQ(vb::toInt32(-2.5), -2);
    EXPECT_EQ(vb::toInt16(2.4999), 2);
    EXPECT_EQ(vb::toInt16(2.5001), 3);
}

TEST(IntegerOverflow, BeyondTheRangeRaisesErrorSix) {
    EXPECT_EQ(vb::toInt16(32767.4), 32767);
    EXPECT_EQ(vb::toInt16(-32768.5), -32768); // half to even stays in range
    EXPECT_EQ(errorNumberOf([] { vb::toInt16(32767.5); }), RunTimeError::Overflow);
    EXPECT_EQ(errorNumberOf([] { vb::toInt16(-32769); }), RunTimeError::Overflow);
    EXPECT_EQ(errorNumberOf([] { vb::toInt32(2147483647.5); }), RunTimeError::Overflow);
    EXPECT_EQ(vb::toInt32(-2147483648.0), std::numeric_limits<int32_t>::min());
    EXPECT_EQ(errorNumberOf([] { vb::toInt16(std::nan("")); }), RunTimeError::Overflow);
    EXPECT_EQ(errorNumberOf([] { vb::toInt32(HUGE_VAL); }), RunTimeError::Overflow);
    EXPECT_EQ(errorNumberOf([] { vb::toSingle(1e300); }), RunTimeError::Overflow);
    EXPECT_FLOAT_EQ(vb::toSingle(1.1), 1.1f);
}

TEST(TextToNumber, NumericTextConvertsAndGarbageIsATypeMismatch) {
    EXPECT_DOUBLE_EQ(vb::textToDouble(QStringLiteral(" 12.5 ")), 12.5);
    EXPECT_DOUBLE_EQ(vb::textToDouble(QStringLiteral("-3")), -3);
    EXPECT_DOUBLE_EQ(vb::textToDouble(QStringLiteral("1e3")), 1000);
    EXPECT_DOUBLE_EQ(vb::textToDouble(QStringLiteral("&H1F")), 31);
    EXPECT_DOUBLE_EQ(vb::textToDouble(QStringLiteral("&HFFFF")), -1);
    EXPECT_EQ(errorNumberOf([] { vb::textToDouble(QStringLiteral("12abc")); }), RunTimeError::TypeMismatch);
    EXPECT_EQ(errorNumberOf([] { vb::textToDouble(QString()); }), RunTimeError::TypeMismatch);
    EXPECT_EQ(errorNumberOf([] { vb::textToDouble(QStringLiteral("inf")); }), RunTimeError::TypeMismatch);
    EXPECT_EQ(errorNumberOf([] { vb::textToInt16(QStringLiteral("40000")); }), RunTimeError::Overflow);
    EXPECT_EQ(vb::textToInt16(QStringLiteral("2.5")), 2);
    EXPECT_TRUE(vb::isNumeric(QStringLiteral("0.25")));
    EXPECT_FALSE(vb::isNumeric(QStringLiteral("abc")));
}

TEST(Val, ReadsTheLeadingNumberAndNeverFails) {
    EXPECT_DOUBLE_EQ(vb::val(QStringLiteral(" 12 34abc")), 1234);
    EXPECT_DOUBLE_EQ(vb::val(QStringLiteral("&H1F")), 31);
    EXPECT_DOUBLE_EQ(vb::val(QStringLiteral("1e3x")), 1000);
    EXPECT_DOUBLE_EQ(vb::val(QStringLiteral("abc")), 0);
    EXPECT_DOUBLE_EQ(vb::val(QString()), 0);
    EXPECT_DOUBLE_EQ(vb::val(QStringLiteral("-4.5kg")), -4.5);
    EXPECT_DOUBLE_EQ(vb::val(QStringLiteral("3e")), 3);
    EXPECT_DOUBLE_EQ(vb::val(QStringLiteral("1.2.3")), 1.2);
    EXPECT_DOUBLE_EQ(vb::val(QStringLiteral("&HFFFF")), -1);
    EXPECT_DOUBLE_EQ(vb::val(QStringLiteral("&H")), 0);
    EXPECT_DOUBLE_EQ(vb::val(QStringLiteral("1e999")), 0);
}

TEST(NumberText, FifteenSignificantDigitsNoTrailingZeros) {
    EXPECT_EQ(vb::numberText(0.1 + 0.2), QStringLiteral("0.3"));
    EXPECT_EQ(vb::numberText(1e15), QStringLiteral("1E+15"));
    EXPECT_EQ(vb::numberText(1e14), QStringLiteral("100000000000000"));
    EXPECT_EQ(vb::numberText(1e-5), QStringLiteral("1E-05"));
    EXPECT_EQ(vb::numberText(0.0001), QStringLiteral("0.0001"));
    EXPECT_EQ(vb::numberText(0), QStringLiteral("0"));
    EXPECT_EQ(vb::numberText(-2.5), QStringLiteral("-2.5"));
    EXPECT_EQ(vb::numberText(12600), QStringLiteral("12600"));
    EXPECT_EQ(vb::numberText(1.5e-7), QStringLiteral("1.5E-07"));
    EXPECT_EQ(vb::numberText(-1.25e20), QStringLiteral("-1.25E+20"));
}

TEST(SingleText, SevenSignificantDigits) {
    EXPECT_EQ(vb::singleText(1.1f), QStringLiteral("1.1"));
    EXPECT_EQ(vb::singleText(0.1f), QStringLiteral("0.1"));
    EXPECT_EQ(vb::singleText(12600.0f), QStringLiteral("12600"));
    EXPECT_EQ(vb::singleText(1e7f), QStringLiteral("1E+07"));
    EXPECT_EQ(vb::singleText(1234567.0f), QStringLiteral("1234567"));
}
