#include "EventSpy.h"
#include "widgets/usrXscroll.h"

#include <gtest/gtest.h>

namespace {

// At 220 x 30 the step buttons are 26 px squares at both ends and the thumb's
// centre travels from x 35 (Min) to x 185 (Max).
constexpr int kLeft = 35;
constexpr int kRight = 185;
const QPoint kMinus(12, 15);
const QPoint kPlus(207, 15);

int xOf(double f) { return int(kLeft + f * (kRight - kLeft)); }

struct Xscroll : ::testing::Test {
    usrXscroll s;
    void SetUp() override
    {
        showAt(s, 220, 30);
        s.setMin(0);
        s.setMax(100);
        s.setValue(50);
        s.setResolution(1);
    }
};

} // namespace

TEST_F(Xscroll, StepUpAtMaxStillRaisesTheEventAndLeavesValue)
{
    s.setValue(100);
    EventSpy spy(&s);
    QTest::mouseClick(&s, Qt::LeftButton, Qt::NoModifier, kPlus);
    EXPECT_EQ(spy.count("StepUp"), 1);
    EXPECT_EQ(spy.total(), 1);
    EXPECT_DOUBLE_EQ(s.Value(), 100);
}

TEST_F(Xscroll, StepDownAtMinStillRaisesTheEventAndLeavesValue)
{
    s.setValue(0);
    EventSpy spy(&s);
    QTest::mouseClick(&s, Qt::LeftButton, Qt::NoModifier, kMinus);
    EXPECT_EQ(spy.count("StepDown"), 1);
    EXPECT_EQ(spy.total(), 1);
    EXPECT_DOUBLE_EQ(s.Value(), 0);
}

TEST_F(Xscroll, StepButtonReleasedAwayRaisesNothing)
{
    EventSpy spy(&s);
    QTest::mousePress(&s, Qt::LeftButton, Qt::NoModifier, kPlus);
    QTest::mouseMove(&s, QPoint(100, 15));
    QTest::mouseRelease(&s, Qt::LeftButton, Qt::NoModifier, QPoint(100, 15));
    EXPECT_EQ(spy.total(), 0);
    EXPECT_DOUBLE_EQ(s.Value(), 50);
}

TEST_F(Xscroll, TrackClickSetsValueBeforeTheEvent)
{
    double seen = -1;
    QObject::connect(&s, &usrXscroll::TrackClicked, &s, [&] { seen = s.Value(); });
    EventSpy spy(&s);
    QTest::mouseClick(&s, Qt::LeftButton, Qt::NoModifier, QPoint(xOf(0.2), 15));
    EXPECT_EQ(spy.count("TrackClicked"), 1);
    EXPECT_EQ(spy.total(), 1);
    EXPECT_DOUBLE_EQ(seen, 20);
    EXPECT_DOUBLE_EQ(s.Value(), 20);
}

TEST_F(Xscroll, ThumbReleasedAtANewValueRaisesChanged)
{
    double seen = -1;
    QObject::connect(&s, &usrXscroll::Changed, &s, [&] { seen = s.Value(); });
    EventSpy spy(&s);
    drag(&s, QPoint(xOf(0.5), 15), QPoint(xOf(0.8), 15));
    EXPECT_EQ(spy.count("Changed"), 1);
    EXPECT_EQ(spy.total(), 1);
    EXPECT_DOUBLE_EQ(seen, 80);
}

TEST_F(Xscroll, ThumbLetGoWhereItWasRaisesNothing)
{
    EventSpy spy(&s);
    drag(&s, QPoint(xOf(0.5), 15), QPoint(xOf(0.5), 15));
    EXPECT_EQ(spy.total(), 0);
}

TEST_F(Xscroll, DragPastTheEndStopsAtMaxAndMin)
{
    drag(&s, QPoint(xOf(0.5), 15), QPoint(400, 15));
    EXPECT_DOUBLE_EQ(s.Value(), 100);
    drag(&s, QPoint(xOf(1.0), 15), QPoint(-300, 15));
    EXPECT_DOUBLE_EQ(s.Value(), 0);
}

TEST_F(Xscroll, GestureValuesSnapToTheResolution)
{
    s.setMin(0.8);
    s.setMax(28);
    s.setValue(0.8);
    s.setResolution(0.1);
    QTest::mouseClick(&s, Qt::LeftButton, Qt::NoModifier, QPoint(xOf(0.5), 15));
    const double v = s.Value();
    EXPECT_NEAR(v, 14.4, 0.15);
    EXPECT_DOUBLE_EQ(v * 10, std::nearbyint(v * 10));
}

TEST_F(Xscroll, ValueOutsideMinMaxFromCodeIsKeptUncorrected)
{
    EventSpy spy(&s);
    s.setValue(250);
    EXPECT_DOUBLE_EQ(s.Value(), 250);
    s.setValue(-7.5);
    EXPECT_DOUBLE_EQ(s.Value(), -7.5);
    EXPECT_EQ(spy.total(), 0);
    s.grab();  // paints without trouble
}

TEST_F(Xscroll, EnabledReadsBackWhatWasWritten)
{
    s.setEnabled(false);
    EXPECT_FALSE(s.Enabled());
    s.setEnabled(true);
    EXPECT_TRUE(s.Enabled());
}

TEST_F(Xscroll, DisabledSliderTakesNoGesture)
{
    s.setEnabled(false);
    EventSpy spy(&s);
    QTest::mouseClick(&s, Qt::LeftButton, Qt::NoModifier, kPlus);
    QTest::mouseClick(&s, Qt::LeftButton, Qt::NoModifier, QPoint(xOf(0.1), 15));
    QTest::keyClick(&s, Qt::Key_Right);
    EXPECT_EQ(spy.total(), 0);
    EXPECT_DOUBLE_EQ(s.Value(), 50);
}

TEST_F(Xscroll, ArrowKeysStepWithoutChangingValue)
{
    EventSpy spy(&s);
    QTest::keyClick(&s, Qt::Key_Right);
    QTest::keyClick(&s, Qt::Key_Up);
    QTest::keyClick(&s, Qt::Key_Left);
    EXPECT_EQ(spy.count("StepUp"), 2);
    EXPECT_EQ(spy.count("StepDown"), 1);
    EXPECT_DOUBLE_EQ(s.Value(), 50);
}

TEST_F(Xscroll, SettingPropertiesFromCodeRaisesNoEvent)
{
    EventSpy spy(&s);
    ASSERT_EQ(spy.kinds(), 4u);
    s.setMin(-5);
    s.setMax(500);
    s.setValue(12.5);
    s.setOrigin(3);
    s.setStyle(2);
    s.setBarColor(0xFFD0C0);
    s.setStyle(0);
    s.setBarColor(0x241410);
    s.setEnabled(false);
    s.setEnabled(true);
    EXPECT_EQ(spy.total(), 0);
    EXPECT_DOUBLE_EQ(s.Origin(), 3);
    EXPECT_EQ(s.Style(), 0);
    EXPECT_EQ(s.BarColor(), 0x241410);
}

TEST_F(Xscroll, EmptyOrReversedRangeDoesNotBreakGestures)
{
    s.setMin(5);
    s.setMax(5);
    QTest::mouseClick(&s, Qt::LeftButton, Qt::NoModifier, QPoint(xOf(0.7), 15));
    EXPECT_DOUBLE_EQ(s.Value(), 5);
    s.setMin(10);
    s.setMax(2);
    QTest::mouseClick(&s, Qt::LeftButton, Qt::NoModifier, QPoint(xOf(0.7), 15));
    EXPECT_DOUBLE_EQ(s.Value(), 10);
    s.setMax(std::nan(""));
    QTest::mouseClick(&s, Qt::LeftButton, Qt::NoModifier, QPoint(xOf(0.7), 15));
    s.grab();
}

TEST(Scroll, LockedZoomSliderOnlyShows)
{
    usrScroll z;
    showAt(z, 220, 30);
    z.setMin(0.8);
    z.setMax(4);
    z.setValue(2);
    z.setLocked(true);
    EXPECT_TRUE(z.Locked());
    EventSpy spy(&z);
    QTest::mouseClick(&z, Qt::LeftButton, Qt::NoModifier, kPlus);
    QTest::mouseClick(&z, Qt::LeftButton, Qt::NoModifier, QPoint(xOf(0.9), 15));
    QTest::keyClick(&z, Qt::Key_Left);
    EXPECT_EQ(spy.total(), 0);
    EXPECT_DOUBLE_EQ(z.Value(), 2);
    z.setLocked(false);
    QTest::mouseClick(&z, Qt::LeftButton, Qt::NoModifier, kPlus);
    EXPECT_EQ(spy.count("StepUp"), 1);
}

TEST(Scroll, HasTheSameFourEvents)
{
    usrScroll z;
    showAt(z, 220, 30);
    z.setMin(0);
    z.setMax(10);
    z.setValue(5);
    z.setResolution(1);
    EventSpy spy(&z);
    EXPECT_EQ(spy.kinds(), 4u);
    QTest::mouseClick(&z, Qt::LeftButton, Qt::NoModifier, kMinus);
    QTest::mouseClick(&z, Qt::LeftButton, Qt::NoModifier, kPlus);
    QTest::mouseClick(&z, Qt::LeftButton, Qt::NoModifier, QPoint(xOf(0.2), 15));
    drag(&z, QPoint(xOf(0.2), 15), QPoint(xOf(0.9), 15));
    EXPECT_EQ(spy.count("StepDown"), 1);
    EXPECT_EQ(spy.count("StepUp"), 1);
    EXPECT_EQ(spy.count("TrackClicked"), 1);
    EXPECT_EQ(spy.count("Changed"), 1);
    EXPECT_DOUBLE_EQ(z.Value(), 9);
}

TEST(Scroll, SettingPropertiesFromCodeRaisesNoEvent)
{
    usrScroll z;
    EventSpy spy(&z);
    z.setMin(1);
    z.setMax(4);
    z.setValue(3.5);
    z.setLocked(true);
    z.setLocked(false);
    EXPECT_EQ(spy.total(), 0);
}
