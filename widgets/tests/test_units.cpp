#include "widgets/Units.h"

#include <gtest/gtest.h>

using namespace zentor;

TEST(Units, TwipsToPixelsAtFifteenAPixel)
{
    EXPECT_EQ(twipsToPixels(1500), 100);
    EXPECT_EQ(twipsToPixels(3950), 263);  // 263.33 rounds down
    EXPECT_EQ(twipsToPixels(7), 0);
    EXPECT_EQ(twipsToPixels(8), 1);
    EXPECT_EQ(twipsToPixels(-1500), -100);
    EXPECT_EQ(pixelsToTwips(100), 1500);
}

TEST(Units, TwipsToPixelsSurvivesNonsense)
{
    EXPECT_EQ(twipsToPixels(std::nan("")), 0);
    EXPECT_EQ(twipsToPixels(1e300), 1000000000);
    EXPECT_EQ(twipsToPixels(-1e300), -1000000000);
}

TEST(Units, ColourWordHasRedInTheLowByte)
{
    const QColor lampOn = colorFromBgr(0xFFD0C0);
    EXPECT_EQ(lampOn.red(), 0xC0);
    EXPECT_EQ(lampOn.green(), 0xD0);
    EXPECT_EQ(lampOn.blue(), 0xFF);
    EXPECT_EQ(bgrFromColor(QColor(0xE6, 0xBE, 0x28)), 0x28BEE6);
    EXPECT_EQ(bgrFromColor(colorFromBgr(0x241410)), 0x241410);
}

TEST(Units, CancelledColourMinusOneReadsAsWhite)
{
    const QColor c = colorFromBgr(-1);
    EXPECT_EQ(c, QColor(255, 255, 255));
}

TEST(Units, MouseButtonAndShiftCodes)
{
    EXPECT_EQ(mouseButtonCode(Qt::LeftButton), 1);
    EXPECT_EQ(mouseButtonCode(Qt::RightButton), 2);
    EXPECT_EQ(mouseButtonCode(Qt::MiddleButton), 4);
    EXPECT_EQ(mouseButtonsCode(Qt::LeftButton | Qt::RightButton), 3);
    EXPECT_EQ(shiftCode(Qt::NoModifier), 0);
    EXPECT_EQ(shiftCode(Qt::ShiftModifier), 1);
    EXPECT_EQ(shiftCode(Qt::ControlModifier), 2);
    EXPECT_EQ(shiftCode(Qt::AltModifier), 4);
    EXPECT_EQ(shiftCode(Qt::ShiftModifier | Qt::AltModifier), 5);
}
