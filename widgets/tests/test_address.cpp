#include "EventSpy.h"
#include "widgets/usrAddress.h"

#include <gtest/gtest.h>

namespace {

struct Address : ::testing::Test {
    usrAddress a;
    void SetUp() override
    {
        showAt(a, 200, 150);
        a.setFirst(1);
        a.setLast(6);
        a.setAddress(2);
    }
    QPoint row(int16_t n) { return a.rowRect(n).center(); }
};

} // namespace

TEST_F(Address, PickShowsThePositionSelectedThenRaisesAddressPicked)
{
    int16_t seenAddress = 0;
    QObject::connect(&a, &usrAddress::AddressPicked, &a, [&](int16_t) { seenAddress = a.Address(); });
    EventSpy spy(&a);
    QTest::mouseClick(&a, Qt::LeftButton, Qt::NoModifier, row(4));
    ASSERT_EQ(spy.count("AddressPicked"), 1);
    EXPECT_EQ(spy.args("AddressPicked").at(0).toInt(), 4);
    EXPECT_EQ(seenAddress, 4);
    EXPECT_EQ(a.Address(), 4);
}

TEST_F(Address, PickingThePositionAlreadySelectedStillRaisesTheEvent)
{
    EventSpy spy(&a);
    QTest::mouseClick(&a, Qt::LeftButton, Qt::NoModifier, row(2));
    QTest::mouseClick(&a, Qt::LeftButton, Qt::NoModifier, row(2));
    ASSERT_EQ(spy.count("AddressPicked"), 2);
    EXPECT_EQ(spy.args("AddressPicked", 1).at(0).toInt(), 2);
}

TEST_F(Address, FirstEqualToLastShowsOnePosition)
{
    a.setFirst(3);
    a.setLast(3);
    EXPECT_EQ(a.RowCount(), 1);
    EXPECT_FALSE(a.rowRect(3).isEmpty());
    EXPECT_TRUE(a.rowRect(2).isEmpty());
    EXPECT_TRUE(a.rowRect(4).isEmpty());
    EventSpy spy(&a);
    // Below the one row there is nothing to pick.
    QTest::mouseClick(&a, Qt::LeftButton, Qt::NoModifier, QPoint(50, 140));
    EXPECT_EQ(spy.total(), 0);
    QTest::mouseClick(&a, Qt::LeftButton, Qt::NoModifier, row(3));
    ASSERT_EQ(spy.count("AddressPicked"), 1);
    EXPECT_EQ(spy.args("AddressPicked").at(0).toInt(), 3);
}

TEST_F(Address, FirstAboveLastShowsNothingAndTakesNoPick)
{
    a.setFirst(5);
    a.setLast(2);
    EXPECT_EQ(a.RowCount(), 0);
    EventSpy spy(&a);
    QTest::mouseClick(&a, Qt::LeftButton, Qt::NoModifier, QPoint(50, 10));
    QTest::keyClick(&a, Qt::Key_Space);
    EXPECT_EQ(spy.total(), 0);
    a.grab();
}

TEST_F(Address, RowsFollowFirstAndLast)
{
    a.setFirst(0);
    a.setLast(7);
    EXPECT_EQ(a.RowCount(), 8);
    EventSpy spy(&a);
    QTest::mouseClick(&a, Qt::LeftButton, Qt::NoModifier, row(0));
    EXPECT_EQ(spy.args("AddressPicked").at(0).toInt(), 0);
}

TEST_F(Address, DisplayOnlyModeTakesNoPick)
{
    a.setMode(2);
    EventSpy spy(&a);
    QTest::mouseClick(&a, Qt::LeftButton, Qt::NoModifier, row(5));
    QTest::keyClick(&a, Qt::Key_5);
    EXPECT_EQ(spy.total(), 0);
    EXPECT_EQ(a.Address(), 2);
    a.setMode(1);
    QTest::mouseClick(&a, Qt::LeftButton, Qt::NoModifier, row(5));
    EXPECT_EQ(spy.count("AddressPicked"), 1);
}

TEST_F(Address, DisabledWhileAMoveRunsTakesNoSecondClick)
{
    // The owner disables the selector on entry of its handler and re-enables
    // it on exit; a click arriving in between reaches nobody.
    int picks = 0;
    QObject::connect(&a, &usrAddress::AddressPicked, &a, [&](int16_t) {
        ++picks;
        a.setEnabled(false);
        QTest::mouseClick(&a, Qt::LeftButton, Qt::NoModifier, row(6));
        a.setEnabled(true);
    });
    QTest::mouseClick(&a, Qt::LeftButton, Qt::NoModifier, row(3));
    EXPECT_EQ(picks, 1);
    EXPECT_EQ(a.Address(), 3);
}

TEST_F(Address, PressAndReleaseOnDifferentRowsPicksNothing)
{
    EventSpy spy(&a);
    QTest::mousePress(&a, Qt::LeftButton, Qt::NoModifier, row(1));
    QTest::mouseMove(&a, row(4));
    QTest::mouseRelease(&a, Qt::LeftButton, Qt::NoModifier, row(4));
    EXPECT_EQ(spy.total(), 0);
}

TEST_F(Address, KeyboardPicksByDigitOrByCursorAndSpace)
{
    EventSpy spy(&a);
    QTest::keyClick(&a, Qt::Key_5);
    ASSERT_EQ(spy.count("AddressPicked"), 1);
    EXPECT_EQ(spy.args("AddressPicked").at(0).toInt(), 5);
    QTest::keyClick(&a, Qt::Key_9);  // no position 9
    EXPECT_EQ(spy.count("AddressPicked"), 1);
    QTest::keyClick(&a, Qt::Key_Down);
    QTest::keyClick(&a, Qt::Key_Down);  // stops at Last
    EXPECT_EQ(spy.count("AddressPicked"), 1);  // moving the cursor picks nothing
    QTest::keyClick(&a, Qt::Key_Space);
    ASSERT_EQ(spy.count("AddressPicked"), 2);
    EXPECT_EQ(spy.args("AddressPicked", 1).at(0).toInt(), 6);
}

TEST_F(Address, LabelsComeFromSetLabelElseTheFixedCaptionElseTheNumber)
{
    a.setCaption1(QStringLiteral("B"));
    a.setCaption7(QStringLiteral("G"));
    a.SetLabel(QStringLiteral("1 :Plan  4x"), 1);
    EXPECT_EQ(a.Label(1), QStringLiteral("1 :Plan  4x"));
    EXPECT_EQ(a.Caption1(), QStringLiteral("B"));
    EXPECT_EQ(a.Label(7), QStringLiteral("G"));
    EXPECT_EQ(a.Label(3), QStringLiteral("3"));
    EXPECT_EQ(a.Label(12), QStringLiteral("12"));
}

TEST_F(Address, SettingPropertiesFromCodeRaisesNoEvent)
{
    EventSpy spy(&a);
    ASSERT_EQ(spy.kinds(), 1u);
    a.setAddress(5);
    a.setAddress(99);  // outside First..Last: kept, nothing selected
    EXPECT_EQ(a.Address(), 99);
    a.setMode(2);
    a.setMode(1);
    a.setFirst(2);
    a.setLast(4);
    a.setEnabled(false);
    a.setEnabled(true);
    a.setCaption3(QStringLiteral("DAPI"));
    a.setItemColor(0x5C342C);
    a.SetLabel(QStringLiteral("2 : x"), 2);
    EXPECT_EQ(spy.total(), 0);
    EXPECT_EQ(a.ItemColor(), 0x5C342C);
    a.grab();
}

TEST_F(Address, ExtremeBoundsDoNotBreakPaintingOrPicking)
{
    a.setFirst(-32768);
    a.setLast(32767);
    EXPECT_EQ(a.RowCount(), 65536);
    a.grab();
    EventSpy spy(&a);
    QTest::mouseClick(&a, Qt::LeftButton, Qt::NoModifier, row(-32768));
    ASSERT_EQ(spy.count("AddressPicked"), 1);
    EXPECT_EQ(spy.args("AddressPicked").at(0).toInt(), -32768);
}
