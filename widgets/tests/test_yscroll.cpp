#include "EventSpy.h"
#include "widgets/usrYscroll.h"

#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>

namespace {

// At 64 x 300 the buttons are 20 px high, two at each end, and the thumb's
// centre travels from y 247 (ScaleMin) up to y 53 (ScaleMax), at x 17.
constexpr int kTop = 53;
constexpr int kBottom = 247;
int yOf(double f) { return int(kBottom - f * (kBottom - kTop) + 0.5); }

struct Yscroll : ::testing::Test {
    usrYscroll z;
    void SetUp() override
    {
        showAt(z, 64, 300);
        z.setScaleMin(0);
        z.setScaleMax(1000);
        z.setLimitMin(200);
        z.setLimitMax(800);
        z.setOrigin(100);
        z.setPosition(500);
        z.setResolution(1);
    }
};

} // namespace

TEST_F(Yscroll, EachStepButtonRaisesItsOwnEvent)
{
    EventSpy spy(&z);
    ASSERT_EQ(spy.kinds(), 8u);
    QTest::mouseClick(&z, Qt::LeftButton, Qt::NoModifier, QPoint(17, 10));
    EXPECT_EQ(spy.count("FastUp"), 1);
    QTest::mouseClick(&z, Qt::LeftButton, Qt::NoModifier, QPoint(17, 30));
    EXPECT_EQ(spy.count("SlowUp"), 1);
    QTest::mouseClick(&z, Qt::LeftButton, Qt::NoModifier, QPoint(17, 269));
    EXPECT_EQ(spy.count("SlowDown"), 1);
    QTest::mouseClick(&z, Qt::LeftButton, Qt::NoModifier, QPoint(17, 290));
    EXPECT_EQ(spy.count("FastDown"), 1);
    EXPECT_EQ(spy.total(), 4);
    EXPECT_DOUBLE_EQ(z.Position(), 500);
}

TEST_F(Yscroll, StepAboveTheShownScaleStillRaisesTheEvent)
{
    z.setPosition(1000);
    EventSpy spy(&z);
    QTest::mouseClick(&z, Qt::LeftButton, Qt::NoModifier, QPoint(17, 10));
    EXPECT_EQ(spy.count("FastUp"), 1);
    EXPECT_DOUBLE_EQ(z.Position(), 1000);
}

TEST_F(Yscroll, KeysStepSlowAndFast)
{
    EventSpy spy(&z);
    QTest::keyClick(&z, Qt::Key_Up);
    QTest::keyClick(&z, Qt::Key_Down);
    QTest::keyClick(&z, Qt::Key_PageUp);
    QTest::keyClick(&z, Qt::Key_PageDown);
    EXPECT_EQ(spy.count("SlowUp"), 1);
    EXPECT_EQ(spy.count("SlowDown"), 1);
    EXPECT_EQ(spy.count("FastUp"), 1);
    EXPECT_EQ(spy.count("FastDown"), 1);
}

TEST_F(Yscroll, ThumbLetGoAtANewPositionRaisesThumbReleased)
{
    double seen = -1;
    QObject::connect(&z, &usrYscroll::ThumbReleased, &z, [&] { seen = z.Position(); });
    EventSpy spy(&z);
    drag(&z, QPoint(17, yOf(0.5)), QPoint(17, yOf(0.75)));
    EXPECT_EQ(spy.count("ThumbReleased"), 1);
    EXPECT_EQ(spy.total(), 1);
    EXPECT_NEAR(seen, 750, 6);
    EXPECT_DOUBLE_EQ(seen, std::nearbyint(seen));
}

TEST_F(Yscroll, TrackClickMovesThePositionAndRaisesValueChange)
{
    double seen = -1;
    QObject::connect(&z, &usrYscroll::ValueChange, &z, [&] { seen = z.Position(); });
    EventSpy spy(&z);
    QTest::mouseClick(&z, Qt::LeftButton, Qt::NoModifier, QPoint(17, yOf(0.1)));
    EXPECT_EQ(spy.count("ValueChange"), 1);
    EXPECT_EQ(spy.total(), 1);
    EXPECT_NEAR(seen, 100, 6);
}

TEST_F(Yscroll, InRangeEditingTheThumbStaysAndTheMarksMove)
{
    z.setmode(2);
    EventSpy spy(&z);
    // A drag starting on the thumb moves nothing.
    drag(&z, QPoint(17, yOf(0.5)), QPoint(17, yOf(0.6)));
    EXPECT_DOUBLE_EQ(z.Position(), 500);
    EXPECT_EQ(spy.total(), 0);
    // The upper mark follows the hand.
    drag(&z, QPoint(17, yOf(0.8)), QPoint(17, yOf(0.9)));
    EXPECT_NEAR(z.LimitMax(), 900, 6);
    EXPECT_EQ(spy.count("ValueChange"), 1);
    // The lower mark cannot be dragged above the upper one.
    drag(&z, QPoint(17, yOf(0.2)), QPoint(17, yOf(1.0)));
    EXPECT_LE(z.LimitMin(), z.LimitMax());
    EXPECT_EQ(spy.count("ValueChange"), 2);
    EXPECT_DOUBLE_EQ(z.Position(), 500);
    EXPECT_EQ(spy.count("ThumbReleased"), 0);
}

TEST_F(Yscroll, AStepButtonHeldDownIsAHoldAndItsReleaseNoStep)
{
    EventSpy spy(&z);
    QTest::mousePress(&z, Qt::LeftButton, Qt::NoModifier, QPoint(17, 30));
    QTest::qWait(usrYscroll::kHoldDelayMs + 200);
    EXPECT_EQ(spy.count("StepHeld"), 1);
    EXPECT_TRUE(z.Holding());
    QTest::mouseRelease(&z, Qt::LeftButton, Qt::NoModifier, QPoint(17, 30));
    EXPECT_EQ(spy.count("StepHoldEnded"), 1);
    EXPECT_EQ(spy.count("SlowUp"), 0);
    EXPECT_FALSE(z.Holding());
    // A lower button held: down; leaving it ends the hold.
    QSignalSpy held(&z, &usrYscroll::StepHeld);
    QTest::mousePress(&z, Qt::LeftButton, Qt::NoModifier, QPoint(17, 290));
    QTest::qWait(usrYscroll::kHoldDelayMs + 200);
    ASSERT_EQ(held.count(), 1);
    EXPECT_FALSE(held.at(0).at(0).toBool());
    QTest::mouseMove(&z, QPoint(17, 150));
    EXPECT_EQ(spy.count("StepHoldEnded"), 2);
    QTest::mouseRelease(&z, Qt::LeftButton, Qt::NoModifier, QPoint(17, 290));
    EXPECT_EQ(spy.count("FastDown"), 0);
    EXPECT_EQ(spy.count("StepHoldEnded"), 2);
}

TEST_F(Yscroll, AShortClickIsAStepAndNoHoldAndDisablingEndsAHold)
{
    EventSpy spy(&z);
    QTest::mouseClick(&z, Qt::LeftButton, Qt::NoModifier, QPoint(17, 30));
    QTest::qWait(usrYscroll::kHoldDelayMs + 200);
    EXPECT_EQ(spy.count("SlowUp"), 1);
    EXPECT_EQ(spy.count("StepHeld"), 0);
    QTest::mousePress(&z, Qt::LeftButton, Qt::NoModifier, QPoint(17, 30));
    QTest::qWait(usrYscroll::kHoldDelayMs + 200);
    ASSERT_EQ(spy.count("StepHeld"), 1);
    z.setEnabled(false);
    EXPECT_EQ(spy.count("StepHoldEnded"), 1);
    z.setEnabled(true);
    QTest::mouseRelease(&z, Qt::LeftButton, Qt::NoModifier, QPoint(17, 30));
    EXPECT_EQ(spy.count("SlowUp"), 1);
}

TEST_F(Yscroll, DisabledSliderTakesNoGesture)
{
    z.setEnabled(false);
    EXPECT_FALSE(z.Enabled());
    EventSpy spy(&z);
    QTest::mouseClick(&z, Qt::LeftButton, Qt::NoModifier, QPoint(17, 10));
    QTest::mouseClick(&z, Qt::LeftButton, Qt::NoModifier, QPoint(17, yOf(0.1)));
    QTest::keyClick(&z, Qt::Key_Up);
    EXPECT_EQ(spy.total(), 0);
}

TEST_F(Yscroll, SettingPropertiesFromCodeRaisesNoEvent)
{
    EventSpy spy(&z);
    z.setOrigin(0);
    z.setLimitMin(-5);
    z.setLimitMax(40000);
    z.setScaleMin(-100);
    z.setScaleMax(40000);
    z.setPosition(123456);  // outside the shown scale: kept as it is
    z.setmode(2);
    z.setmode(1);
    z.setEnabled(false);
    z.setEnabled(true);
    EXPECT_EQ(spy.total(), 0);
    EXPECT_DOUBLE_EQ(z.Position(), 123456);
    EXPECT_EQ(z.mode(), 1);
    z.grab();
}
