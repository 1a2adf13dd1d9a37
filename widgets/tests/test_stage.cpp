#include "EventSpy.h"
#include "widgets/usrStage.h"

#include <gtest/gtest.h>

namespace {

struct Stage : ::testing::Test {
    usrStage s;
    void SetUp() override
    {
        showAt(s, 250, 272);
        s.setXScaleMin(-1000);
        s.setXScaleMax(1000);
        s.setYScaleMin(-1000);
        s.setYScaleMax(1000);
        s.setXValue(0);
        s.setYValue(0);
    }
    QPoint at(double x, double y) { return s.mapPoint(x, y).toPoint(); }
};

} // namespace

TEST_F(Stage, StepButtonsAndArrowKeysRaiseStepsWithoutChangingValues)
{
    EventSpy spy(&s);
    QTest::mouseClick(&s, Qt::LeftButton, Qt::NoModifier, pt(s.xStepUpRect().center()));
    QTest::mouseClick(&s, Qt::LeftButton, Qt::NoModifier, pt(s.xStepDownRect().center()));
    QTest::mouseClick(&s, Qt::LeftButton, Qt::NoModifier, pt(s.yStepUpRect().center()));
    QTest::mouseClick(&s, Qt::LeftButton, Qt::NoModifier, pt(s.yStepDownRect().center()));
    EXPECT_EQ(spy.count("XStepUp"), 1);
    EXPECT_EQ(spy.count("XStepDown"), 1);
    EXPECT_EQ(spy.count("YStepUp"), 1);
    EXPECT_EQ(spy.count("YStepDown"), 1);
    QTest::keyClick(&s, Qt::Key_Right);
    QTest::keyClick(&s, Qt::Key_Left);
    QTest::keyClick(&s, Qt::Key_Up);
    QTest::keyClick(&s, Qt::Key_Down);
    EXPECT_EQ(spy.count("XStepUp"), 2);
    EXPECT_EQ(spy.count("XStepDown"), 2);
    EXPECT_EQ(spy.count("YStepUp"), 2);
    EXPECT_EQ(spy.count("YStepDown"), 2);
    EXPECT_DOUBLE_EQ(s.XValue(), 0);
    EXPECT_DOUBLE_EQ(s.YValue(), 0);
}

TEST_F(Stage, StepAtTheEndOfTheScaleStillRaisesTheEvent)
{
    s.setXValue(1000);
    EventSpy spy(&s);
    QTest::mouseClick(&s, Qt::LeftButton, Qt::NoModifier, pt(s.xStepUpRect().center()));
    EXPECT_EQ(spy.count("XStepUp"), 1);
}

TEST_F(Stage, ClickOnTheMapGoesToThatPoint)
{
    EventSpy spy(&s);
    QTest::mouseClick(&s, Qt::LeftButton, Qt::NoModifier, at(500, -500));
    ASSERT_EQ(spy.count("GoTo"), 1);
    EXPECT_NEAR(spy.args("GoTo").at(0).toDouble(), 500, 10);
    EXPECT_NEAR(spy.args("GoTo").at(1).toDouble(), -500, 10);
    // The widget shows the stage where the service says it is.
    EXPECT_DOUBLE_EQ(s.XValue(), 0);
    EXPECT_DOUBLE_EQ(s.YValue(), 0);
}

TEST_F(Stage, DraggingThePositionCrossGoesWhereItIsDropped)
{
    EventSpy spy(&s);
    drag(&s, at(0, 0), at(-500, 500));
    ASSERT_EQ(spy.count("GoTo"), 1);
    EXPECT_NEAR(spy.args("GoTo").at(0).toDouble(), -500, 10);
    EXPECT_NEAR(spy.args("GoTo").at(1).toDouble(), 500, 10);
}

TEST_F(Stage, MouseEventsUseTheWidgetsOwnCoordinatesCentredOn1005)
{
    EventSpy spy(&s);
    const QPoint centre = pt(s.mapRect().center());
    QTest::mousePress(&s, Qt::RightButton, Qt::NoModifier, centre);
    ASSERT_EQ(spy.count("MouseDown"), 1);
    const QList<QVariant> d = spy.args("MouseDown");
    EXPECT_EQ(d.at(0).toInt(), 2);
    EXPECT_EQ(d.at(1).toInt(), 0);
    EXPECT_NEAR(d.at(2).toFloat(), 1005, 10);
    EXPECT_NEAR(d.at(3).toFloat(), 1005, 10);
    QTest::mouseMove(&s, centre + QPoint(0, -55));  // a quarter of the map up
    ASSERT_GE(spy.count("MouseMove"), 1);
    const QList<QVariant> m = spy.args("MouseMove", spy.count("MouseMove") - 1);
    EXPECT_EQ(m.at(0).toInt(), 2);  // the right button is held
    EXPECT_NEAR(m.at(3).toFloat(), 1005 - 502.5, 12);
    QTest::mouseRelease(&s, Qt::RightButton, Qt::NoModifier, centre);
    EXPECT_EQ(spy.count("MouseUp"), 1);
    // A right press is no click to go.
    EXPECT_EQ(spy.count("GoTo"), 0);
}

TEST_F(Stage, MouseDownCarriesTheShiftState)
{
    EventSpy spy(&s);
    QTest::mouseClick(&s, Qt::RightButton, Qt::ShiftModifier, at(200, 200));
    ASSERT_EQ(spy.count("MouseDown"), 1);
    EXPECT_EQ(spy.args("MouseDown").at(1).toInt(), 1);
}

TEST_F(Stage, XThumbLetGoRaisesXChanged)
{
    const QRectF xr = s.xRulerRect();
    EventSpy spy(&s);
    // The thumb is at the middle of the ruler for X = 0.
    drag(&s, QPoint(int(xr.center().x()), int(xr.center().y())),
         QPoint(int(xr.center().x() + 40), int(xr.center().y())));
    EXPECT_EQ(spy.count("XChanged"), 1);
    EXPECT_EQ(spy.count("YChanged"), 0);
    EXPECT_GT(s.XValue(), 0);
    EXPECT_DOUBLE_EQ(s.XValue(), std::nearbyint(s.XValue()));
}

TEST_F(Stage, YThumbLetGoRaisesYChanged)
{
    const QRectF yr = s.yRulerRect();
    EventSpy spy(&s);
    drag(&s, QPoint(int(yr.center().x()), int(yr.center().y())),
         QPoint(int(yr.center().x()), int(yr.center().y() - 40)));
    EXPECT_EQ(spy.count("YChanged"), 1);
    EXPECT_GT(s.YValue(), 0);
}

TEST_F(Stage, InRangeEditingADragDrawsTheRangeRectangle)
{
    s.setmode(2);
    EventSpy spy(&s);
    drag(&s, at(-500, 500), at(250, -250));
    EXPECT_EQ(spy.count("RangeChanged"), 1);
    EXPECT_EQ(spy.count("GoTo"), 0);
    EXPECT_NEAR(s.XLimitMin(), -500, 10);
    EXPECT_NEAR(s.XLimitMax(), 250, 10);
    EXPECT_NEAR(s.YLimitMin(), -250, 10);
    EXPECT_NEAR(s.YLimitMax(), 500, 10);
}

TEST_F(Stage, EmptyMemoryStoresThePresentPositionFilledMemoryGoesThere)
{
    s.setXValue(120);
    s.setYValue(-340);
    EventSpy spy(&s);
    QTest::mouseClick(&s, Qt::LeftButton, Qt::NoModifier, pt(s.memoryRect(2).center()));
    ASSERT_EQ(spy.count("MemoryStored"), 1);
    EXPECT_EQ(spy.args("MemoryStored").at(0).toInt(), 2);
    EXPECT_EQ(spy.args("MemoryStored").at(1).toInt(), 120);
    EXPECT_EQ(spy.args("MemoryStored").at(2).toInt(), -340);
    EXPECT_EQ(s.XMemoryPos(2), 120);
    EXPECT_EQ(s.YMemoryPos(2), -340);
    s.setXValue(0);
    s.setYValue(0);
    QTest::mouseClick(&s, Qt::LeftButton, Qt::NoModifier, pt(s.memoryRect(2).center()));
    ASSERT_EQ(spy.count("GoTo"), 1);
    EXPECT_DOUBLE_EQ(spy.args("GoTo").at(0).toDouble(), 120);
    EXPECT_DOUBLE_EQ(spy.args("GoTo").at(1).toDouble(), -340);
    // Shift stores over a filled memory.
    QTest::mouseClick(&s, Qt::LeftButton, Qt::ShiftModifier, pt(s.memoryRect(2).center()));
    EXPECT_EQ(spy.count("MemoryStored"), 2);
    EXPECT_EQ(s.XMemoryPos(2), 0);
}

TEST_F(Stage, MemoryOfMinusOneOnOneAxisIsAStoredPosition)
{
    s.setXMemoryPos(0, -1);
    s.setYMemoryPos(0, 25);
    EventSpy spy(&s);
    QTest::mouseClick(&s, Qt::LeftButton, Qt::NoModifier, pt(s.memoryRect(0).center()));
    ASSERT_EQ(spy.count("GoTo"), 1);
    EXPECT_DOUBLE_EQ(spy.args("GoTo").at(0).toDouble(), -1);
}

TEST_F(Stage, MemoryOutsideZeroToFourReadsZeroAndIgnoresWrites)
{
    EXPECT_EQ(s.XMemoryPos(0), -1);
    EXPECT_EQ(s.XMemoryPos(5), 0);
    EXPECT_EQ(s.YMemoryPos(-1), 0);
    s.setXMemoryPos(5, 77);
    s.setYMemoryPos(-1, 77);
    EXPECT_EQ(s.XMemoryPos(5), 0);
    EXPECT_EQ(s.YMemoryPos(-1), 0);
}

TEST_F(Stage, MousePointer99IsTheDragPointer)
{
    s.setMousePointer(99);
    EXPECT_EQ(s.MousePointer(), 99);
    EXPECT_EQ(s.cursor().shape(), Qt::SizeAllCursor);
    s.setMousePointer(0);
    EXPECT_EQ(s.cursor().shape(), Qt::ArrowCursor);
}

TEST_F(Stage, DisabledStageTakesNoGesture)
{
    s.setEnabled(false);
    EXPECT_FALSE(s.Enabled());
    EventSpy spy(&s);
    QTest::mouseClick(&s, Qt::LeftButton, Qt::NoModifier, at(300, 300));
    QTest::mouseClick(&s, Qt::LeftButton, Qt::NoModifier, pt(s.memoryRect(1).center()));
    QTest::mouseClick(&s, Qt::LeftButton, Qt::NoModifier, pt(s.xStepUpRect().center()));
    QTest::keyClick(&s, Qt::Key_Up);
    EXPECT_EQ(spy.count("GoTo"), 0);
    EXPECT_EQ(spy.count("MemoryStored"), 0);
    EXPECT_EQ(spy.count("XStepUp"), 0);
    EXPECT_EQ(spy.count("YStepUp"), 0);
    EXPECT_EQ(spy.count("MouseDown"), 0);
}

TEST_F(Stage, SettingPropertiesFromCodeRaisesNoEvent)
{
    EventSpy spy(&s);
    s.setXValue(5e6);  // far outside the shown scale: kept as it is
    s.setYValue(-5e6);
    s.setXOrigin(10);
    s.setYOrigin(-10);
    s.setXScaleMin(-200);
    s.setXScaleMax(200);
    s.setYScaleMin(-300);
    s.setYScaleMax(300);
    s.setXLimitMin(-100);
    s.setXLimitMax(100);
    s.setYLimitMin(-150);
    s.setYLimitMax(150);
    s.setmode(2);
    s.setmode(1);
    s.setMousePointer(99);
    s.setXMemoryPos(3, 4);
    s.setYMemoryPos(3, 5);
    s.setEnabled(false);
    s.setEnabled(true);
    EXPECT_EQ(spy.total(), 0);
    EXPECT_DOUBLE_EQ(s.XValue(), 5e6);
    s.grab();
}

TEST_F(Stage, EmptyScaleDoesNotBreakGestures)
{
    s.setXScaleMin(5);
    s.setXScaleMax(5);
    s.setYScaleMin(9);
    s.setYScaleMax(1);
    EventSpy spy(&s);
    QTest::mouseClick(&s, Qt::LeftButton, Qt::NoModifier, pt(s.mapRect().center() + QPointF(30, 30)));
    ASSERT_EQ(spy.count("GoTo"), 1);
    EXPECT_DOUBLE_EQ(spy.args("GoTo").at(0).toDouble(), 5);
    EXPECT_DOUBLE_EQ(spy.args("GoTo").at(1).toDouble(), 9);
    s.grab();
}
