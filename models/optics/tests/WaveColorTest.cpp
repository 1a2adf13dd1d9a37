// Colour coding by wavelength: the colour table and intensity factor, the
// reading of a filter's text, and what the light path drawing is told.
#include "core/base/RunTimeError.h"
#include "models/optics/WaveColor.h"

#include <gtest/gtest.h>

#include <array>

namespace {

std::array<int, 3> rgb(int16_t w) {
    int16_t r = -1, g = -1, b = -1;
    Wave_Color(w, r, g, b);
    return {r, g, b};
}

using RGB = std::array<int, 3>;

} // namespace

TEST(ActRtcRgb, ComposesBlueGreenRedWord) {
    EXPECT_EQ(act_rtcrgb(0, 0, 0), 0);
    EXPECT_EQ(act_rtcrgb(255, 0, 0), 0x0000FF);
    EXPECT_EQ(act_rtcrgb(0, 255, 0), 0x00FF00);
    EXPECT_EQ(act_rtcrgb(0, 0, 255), 0xFF0000);
    EXPECT_EQ(act_rtcrgb(1, 2, 3), 0x030201);
    EXPECT_EQ(act_rtcrgb(255, 255, 255), 16777215);
}

TEST(ActRtcRgb, ComponentsOutsideByteRangeAreHeldAtTheEnds) {
    EXPECT_EQ(act_rtcrgb(300, -4, 256), 0xFF00FF);
}

TEST(WaveFactor, ZeroComponentStaysZero) {
    EXPECT_EQ(Wave_Factor(0, 1), 0);
    EXPECT_EQ(Wave_Factor(0, 0.3), 0);
}

TEST(WaveFactor, PowerPointEightOfProduct) {
    EXPECT_EQ(Wave_Factor(1, 1), 255);
    EXPECT_EQ(Wave_Factor(1, 0.3), 97); // 255 x 0.3^0.8 = 97.3
    EXPECT_EQ(Wave_Factor(0.5, 1), 146); // 255 x 0.5^0.8 = 146.5 -> 146
    EXPECT_EQ(Wave_Factor(1, 0), 0);
}

TEST(WaveColor, FourFortyIsPureBlue) { EXPECT_EQ(rgb(440), (RGB{0, 0, 255})); }

TEST(WaveColor, ThreeEightyRedAndBlueAreNinetySeven) { EXPECT_EQ(rgb(380), (RGB{97, 0, 97})); }

TEST(WaveColor, OutsideVisibleRangeIsBlack) {
    EXPECT_EQ(rgb(781), (RGB{0, 0, 0}));
    EXPECT_EQ(rgb(379), (RGB{0, 0, 0}));
    EXPECT_EQ(rgb(0), (RGB{0, 0, 0}));
    EXPECT_EQ(rgb(-500), (RGB{0, 0, 0}));
    EXPECT_EQ(rgb(32767), (RGB{0, 0, 0}));
}

TEST(WaveColor, SevenHundredIsPureRedSevenEightyIsNinetySevenRed) {
    EXPECT_EQ(rgb(700), (RGB{255, 0, 0}));
    EXPECT_EQ(rgb(780), (RGB{97, 0, 0}));
}

TEST(WaveColor, EveryRangeAtItsEndsAndInside) {
    // violet: red falls, blue full; factor rises from 0.3 to 1 over 380..419
    EXPECT_EQ(rgb(400), (RGB{131, 0, 181}));
    EXPECT_EQ(rgb(419), (RGB{109, 0, 251}));
    EXPECT_EQ(rgb(420), (RGB{106, 0, 255}));
    EXPECT_EQ(rgb(439), (RGB{10, 0, 255}));
    // blue: green rises
    EXPECT_EQ(rgb(465), (RGB{0, 146, 255}));
    EXPECT_EQ(rgb(489), (RGB{0, 251, 255}));
    // cyan: blue falls
    EXPECT_EQ(rgb(490), (RGB{0, 255, 255}));
    EXPECT_EQ(rgb(500), (RGB{0, 255, 146}));
    EXPECT_EQ(rgb(509), (RGB{0, 255, 23}));
    // green: red rises
    EXPECT_EQ(rgb(510), (RGB{0, 255, 0}));
    EXPECT_EQ(rgb(545), (RGB{146, 255, 0}));
    EXPECT_EQ(rgb(579), (RGB{252, 255, 0}));
    // yellow to red: green falls
    EXPECT_EQ(rgb(580), (RGB{255, 255, 0}));
    EXPECT_EQ(rgb(600), (RGB{255, 190, 0}));
    EXPECT_EQ(rgb(644), (RGB{255, 9, 0}));
    // red; factor falls from 1 to 0.3 over 701..780
    EXPECT_EQ(rgb(645), (RGB{255, 0, 0}));
    EXPECT_EQ(rgb(701), (RGB{253, 0, 0}));
    EXPECT_EQ(rgb(740), (RGB{181, 0, 0}));
}

TEST(WaveColor, WaveRgbIsTheComposedWord) {
    EXPECT_EQ(Wave_RGB(440), 0xFF0000);
    EXPECT_EQ(Wave_RGB(700), 0x0000FF);
    EXPECT_EQ(Wave_RGB(600), act_rtcrgb(255, 190, 0));
}

TEST(WaveRead, PassBandGivesEndsAndMiddle) {
    const WaveReading r = Wave_Read(5, "EX465-495");
    EXPECT_EQ(r.kind, WaveReading::Catalogue);
    EXPECT_TRUE(r.hasStrip);
    EXPECT_EQ(r.left, 465);
    EXPECT_EQ(r.right, 495);
    EXPECT_EQ(r.wavelength, 480);
}

TEST(WaveRead, PassBandMiddleRoundsHalfToEven) {
    EXPECT_EQ(Wave_Read(5, "EX465-496").wavelength, 480); // 480.5
    EXPECT_EQ(Wave_Read(5, "EX467-496").wavelength, 482); // 481.5
    // The last three characters make the upper end.
    const WaveReading r = Wave_Read(5, "BA510-560");
    EXPECT_EQ(r.right, 560);
}

TEST(WaveRead, EdgeFilterPassesFiftyAbove) {
    const WaveReading r = Wave_Read(20, "BA520");
    EXPECT_EQ(r.kind, WaveReading::Catalogue);
    EXPECT_TRUE(r.hasStrip);
    EXPECT_EQ(r.wavelength, 520);
    EXPECT_EQ(r.left, 520);
    EXPECT_EQ(r.right, 570);
}

TEST(WaveRead, CentreAndWidthGivesTwentyFiveEitherSide) {
    const WaveReading r = Wave_Read(5, "EX470/40");
    EXPECT_EQ(r.kind, WaveReading::Catalogue);
    EXPECT_TRUE(r.hasStrip);
    EXPECT_EQ(r.wavelength, 470);
    EXPECT_EQ(r.left, 445);
    EXPECT_EQ(r.right, 495);
}

TEST(WaveRead, BlanksAroundTheTextAreTrimmed) {
    const WaveReading r = Wave_Read(5, "  EX470/40  ");
    EXPECT_EQ(r.wavelength, 470);
    EXPECT_EQ(r.left, 445);
}

TEST(WaveRead, TwoCharactersOrFewerGiveFiveHundredAndNoStrip) {
    for (const char* text : {"EX", "E", "", "   "}) {
        const WaveReading r = Wave_Read(5, QString::fromLatin1(text));
        EXPECT_EQ(r.kind, WaveReading::Catalogue) << text;
        EXPECT_EQ(r.wavelength, 500) << text;
        EXPECT_FALSE(r.hasStrip) << text;
    }
}

TEST(WaveRead, TextWithoutNumberGivesFiveHundredAndNoStrip) {
    const WaveReading r = Wave_Read(5, "EXwide band");
    EXPECT_EQ(r.wavelength, 500);
    EXPECT_FALSE(r.hasStrip);
}

TEST(WaveRead, NumberPartThatDoesNotConvertFailsToCaller) {
    EXPECT_THROW(Wave_Read(5, "EXabc-495"), RunTimeError);
    EXPECT_THROW(Wave_Read(5, "EXab/40"), RunTimeError);
    try {
        Wave_Read(5, "EX4x5/40");
        FAIL();
    } catch (const RunTimeError& e) {
        EXPECT_EQ(e.number(), RunTimeError::TypeMismatch);
    }
    try {
        Wave_Read(5, "BA99999");
        FAIL();
    } catch (const RunTimeError& e) {
        EXPECT_EQ(e.number(), RunTimeError::Overflow);
    }
}

TEST(WaveRead, CodesDecideTheKind) {
    EXPECT_EQ(Wave_Read(0, "EX470/40").kind, WaveReading::NoFilter);
    EXPECT_EQ(Wave_Read(1, "EX470/40").kind, WaveReading::NoFilter);
    EXPECT_EQ(Wave_Read(2, "EX470/40").kind, WaveReading::Catalogue);
    EXPECT_EQ(Wave_Read(240, "EX470/40").kind, WaveReading::Catalogue);
    EXPECT_EQ(Wave_Read(241, "EX470/40").kind, WaveReading::UserDefined);
    EXPECT_EQ(Wave_Read(249, "EX470/40").kind, WaveReading::UserDefined);
    EXPECT_EQ(Wave_Read(250, "EX470/40").kind, WaveReading::Untouched);
    EXPECT_EQ(Wave_Read(-1, "EX470/40").kind, WaveReading::Untouched);
    // Only catalogue filters read their text, so a broken text elsewhere is harmless.
    EXPECT_NO_THROW(Wave_Read(241, "EXabc-def"));
    EXPECT_NO_THROW(Wave_Read(0, "EXabc-def"));
}

TEST(PartColor, NoFilterClearsAndHidesStrip) {
    const PartColour c = Part_Color(Wave_Read(1, "EX470/40"), 1, 255);
    EXPECT_EQ(c.action, PartColour::Clear);
    EXPECT_FALSE(c.stripVisible);
}

TEST(PartColor, CatalogueDerivesColourUnlessChosen) {
    const PartColour derived = Part_Color(Wave_Read(5, "EX465-495"), 0, 255);
    EXPECT_EQ(derived.action, PartColour::Show);
    EXPECT_EQ(derived.colour, Wave_RGB(480));
    EXPECT_TRUE(derived.stripVisible);
    const PartColour chosen = Part_Color(Wave_Read(5, "EX465-495"), 1, 255);
    EXPECT_EQ(chosen.action, PartColour::Show);
    EXPECT_EQ(chosen.colour, 255);
    EXPECT_TRUE(chosen.stripVisible);
}

TEST(PartColor, CancelledDialogColourShowsAsStored) {
    const PartColour c = Part_Color(Wave_Read(5, "EX465-495"), 1, -1);
    EXPECT_EQ(c.action, PartColour::Show);
    EXPECT_EQ(c.colour, -1);
}

TEST(PartColor, WithoutWavelengthFiveHundredIsUsed) {
    const PartColour c = Part_Color(Wave_Read(5, "EX"), 0, 0);
    EXPECT_EQ(c.action, PartColour::Show);
    EXPECT_EQ(c.colour, Wave_RGB(500));
}

TEST(PartColor, UserDefinedShowsOnlyAChosenColourNeverTheStrip) {
    const PartColour unset = Part_Color(Wave_Read(245, "EX470/40"), 0, 255);
    EXPECT_EQ(unset.action, PartColour::Clear);
    EXPECT_FALSE(unset.stripVisible);
    const PartColour set = Part_Color(Wave_Read(245, "EX470/40"), 1, 255);
    EXPECT_EQ(set.action, PartColour::Show);
    EXPECT_EQ(set.colour, 255);
    EXPECT_FALSE(set.stripVisible);
}

TEST(PartColor, ReikiTwoFiftyLeavesTheDisplayUntouched) {
    const PartColour c = Part_Color(Wave_Read(250, "EX470/40"), 1, 255);
    EXPECT_EQ(c.action, PartColour::Untouched);
}

TEST(Strip, EndsAreTheWavelengthColours) {
    int32_t left = 0, right = 0;
    Strip_Set(445, 495, left, right);
    EXPECT_EQ(left, act_rtcrgb(0, 40, 255));
    EXPECT_EQ(right, act_rtcrgb(0, 255, 203));
}

TEST(Strip, LineColourStepsLinearlyAndRoundsHalfToEven) {
    const int32_t black = 0, red = 0x0000FF, white = 0xFFFFFF;
    EXPECT_EQ(Strip_LineColor(black, red, 10, 0), black);
    EXPECT_EQ(Strip_LineColor(black, red, 10, 10), red);
    EXPECT_EQ(Strip_LineColor(black, red, 10, 5), 128);  // 127.5
    EXPECT_EQ(Strip_LineColor(black, red, 10, 3), 76);   // 76.5
    EXPECT_EQ(Strip_LineColor(white, black, 255, 55), act_rtcrgb(200, 200, 200));
    EXPECT_EQ(Strip_LineColor(act_rtcrgb(10, 20, 30), act_rtcrgb(30, 20, 10), 20, 10),
              act_rtcrgb(20, 20, 20));
}

TEST(Strip, NoWidthDrawsNothingAndAnswersTheLeftColour) {
    EXPECT_EQ(Strip_LineColor(0x123456, 0xFFFFFF, 0, 3), 0x123456);
    EXPECT_EQ(Strip_LineColor(0x123456, 0xFFFFFF, -5, 3), 0x123456);
}
