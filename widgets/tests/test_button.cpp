#include "EventSpy.h"
#include "widgets/usrButton.h"
#include <QFontMetrics>

#include <gtest/gtest.h>

namespace {

struct Button : ::testing::Test {
    usrButton b;
    void SetUp() override { showAt(b, 100, 30); }
    void click(Qt::MouseButton button = Qt::LeftButton, Qt::KeyboardModifiers mods = Qt::NoModifier)
    {
        QTest::mouseClick(&b, button, mods, QPoint(30, 10));
    }
};

} // namespace

TEST_F(Button, LatchingButtonGoesDownOnFirstPressAndRaisesPressedThenReleased)
{
    b.setLatching(true);
    b.setIndex(1);
    EventSpy spy(&b);
    QTest::mousePress(&b, Qt::LeftButton, Qt::NoModifier, QPoint(30, 10));
    EXPECT_EQ(spy.count("Pressed"), 1);
    EXPECT_EQ(spy.count("Released"), 0);
    EXPECT_TRUE(b.Latched());
    QTest::mouseRelease(&b, Qt::LeftButton, Qt::NoModifier, QPoint(30, 10));
    EXPECT_EQ(spy.count("Released"), 1);
    EXPECT_TRUE(b.Latched());
    EXPECT_EQ(spy.count("Unlatched"), 0);
    const QList<QVariant> a = spy.args("Pressed");
    EXPECT_EQ(a.at(0).toInt(), 1);       // Index
    EXPECT_EQ(a.at(1).toInt(), 1);       // left button
    EXPECT_EQ(a.at(2).toInt(), 0);       // no shift
    EXPECT_FLOAT_EQ(a.at(3).toFloat(), 450.0f);  // 30 px in twips
    EXPECT_FLOAT_EQ(a.at(4).toFloat(), 150.0f);
}

TEST_F(Button, SecondPressUnlatchesAndItsReleaseRaisesNothing)
{
    b.setLatching(true);
    click();
    EventSpy spy(&b);
    click();
    EXPECT_EQ(spy.count("Unlatched"), 1);
    EXPECT_EQ(spy.count("Pressed"), 0);
    EXPECT_EQ(spy.count("Released"), 0);
    EXPECT_FALSE(b.Latched());
    // A third press latches again.
    click();
    EXPECT_EQ(spy.count("Pressed"), 1);
    EXPECT_TRUE(b.Latched());
}

TEST_F(Button, UnlatchedCarriesTheIndex)
{
    b.setLatching(true);
    b.setIndex(1);
    click();
    EventSpy spy(&b);
    click();
    ASSERT_EQ(spy.count("Unlatched"), 1);
    EXPECT_EQ(spy.args("Unlatched").at(0).toInt(), 1);
}

TEST_F(Button, OneShotButtonComesUpByItselfAndRaisesReleased)
{
    EventSpy spy(&b);
    click(Qt::LeftButton, Qt::ShiftModifier);
    EXPECT_EQ(spy.count("Pressed"), 1);
    EXPECT_EQ(spy.count("Released"), 1);
    EXPECT_EQ(spy.count("Unlatched"), 0);
    EXPECT_FALSE(b.Latched());
    EXPECT_EQ(spy.args("Released").at(2).toInt(), 1);  // Shift
    click();
    EXPECT_EQ(spy.count("Released"), 2);
}

TEST_F(Button, RightButtonIsReportedAsTwo)
{
    EventSpy spy(&b);
    click(Qt::RightButton);
    ASSERT_EQ(spy.count("Released"), 1);
    EXPECT_EQ(spy.args("Released").at(1).toInt(), 2);
}

TEST_F(Button, ReleaseAwayFromTheButtonRaisesNoReleased)
{
    EventSpy spy(&b);
    QTest::mousePress(&b, Qt::LeftButton, Qt::NoModifier, QPoint(30, 10));
    QTest::mouseMove(&b, QPoint(300, 200));
    QTest::mouseRelease(&b, Qt::LeftButton, Qt::NoModifier, QPoint(300, 200));
    EXPECT_EQ(spy.count("Pressed"), 1);
    EXPECT_EQ(spy.count("Released"), 0);
}

TEST_F(Button, UnlatchOnAButtonThatIsUpDoesNothing)
{
    b.setLatching(true);
    EventSpy spy(&b);
    b.Unlatch();
    b.Unlatch();
    EXPECT_FALSE(b.Latched());
    EXPECT_EQ(spy.total(), 0);
    // And the next press still latches it.
    click();
    EXPECT_TRUE(b.Latched());
    EXPECT_EQ(spy.count("Pressed"), 1);
}

TEST_F(Button, UnlatchLetsALatchedButtonUpWithoutAnyEventAndIsIdempotent)
{
    b.setLatching(true);
    click();
    ASSERT_TRUE(b.Latched());
    EventSpy spy(&b);
    b.Unlatch();
    EXPECT_FALSE(b.Latched());
    b.Unlatch();
    EXPECT_FALSE(b.Latched());
    EXPECT_EQ(spy.total(), 0);
    // After Unlatch the next press is a first press again: Pressed, not Unlatched.
    click();
    EXPECT_EQ(spy.count("Pressed"), 1);
    EXPECT_EQ(spy.count("Unlatched"), 0);
}

TEST_F(Button, TwinButtonsUnlatchEachOtherAsThePanelsDo)
{
    usrButton twin;
    showAt(twin, 100, 30);
    b.setLatching(true);
    twin.setLatching(true);
    twin.setIndex(1);
    // The owner's Pressed handler lets the other twin up.
    QObject::connect(&b, &usrButton::Pressed, &twin, &usrButton::Unlatch);
    QObject::connect(&twin, &usrButton::Pressed, &b, &usrButton::Unlatch);
    QTest::mouseClick(&twin, Qt::LeftButton, Qt::NoModifier, QPoint(10, 10));
    EXPECT_TRUE(twin.Latched());
    click();
    EXPECT_TRUE(b.Latched());
    EXPECT_FALSE(twin.Latched());
}

TEST_F(Button, DisabledButtonIsInert)
{
    b.setLatching(true);
    b.setEnabled(false);
    EXPECT_FALSE(b.Enabled());
    EventSpy spy(&b);
    click();
    QTest::keyClick(&b, Qt::Key_Space);
    EXPECT_EQ(spy.total(), 0);
    EXPECT_FALSE(b.Latched());
}

TEST_F(Button, LockedButtonIsDisplayOnly)
{
    b.setLatching(true);
    b.setLocked(true);
    EXPECT_TRUE(b.Locked());
    EventSpy spy(&b);
    click();
    EXPECT_EQ(spy.total(), 0);
    EXPECT_FALSE(b.Latched());
    b.setLocked(false);
    click();
    EXPECT_EQ(spy.count("Pressed"), 1);
}

TEST_F(Button, SpaceBarPressesAndReleases)
{
    b.setLatching(true);
    EventSpy spy(&b);
    QTest::keyPress(&b, Qt::Key_Space);
    EXPECT_EQ(spy.count("Pressed"), 1);
    QTest::keyRelease(&b, Qt::Key_Space);
    EXPECT_EQ(spy.count("Released"), 1);
    QTest::keyClick(&b, Qt::Key_Space);
    EXPECT_EQ(spy.count("Unlatched"), 1);
    EXPECT_EQ(spy.count("Released"), 1);
}

TEST_F(Button, DisablingInTheMiddleOfAPressForgetsTheGesture)
{
    // A handler may disable the button while it runs (a long move).
    QObject::connect(&b, &usrButton::Pressed, &b, [this] { b.setEnabled(false); });
    EventSpy spy(&b);
    QTest::mousePress(&b, Qt::LeftButton, Qt::NoModifier, QPoint(30, 10));
    b.setEnabled(true);
    QTest::mouseRelease(&b, Qt::LeftButton, Qt::NoModifier, QPoint(30, 10));
    EXPECT_EQ(spy.count("Pressed"), 1);
    EXPECT_EQ(spy.count("Released"), 0);
}

TEST_F(Button, LeftAndTopAreInTwips)
{
    usrButton child(&b);
    child.setLeft(1500);
    child.setTop(300);
    EXPECT_EQ(child.x(), 100);
    EXPECT_EQ(child.y(), 20);
    EXPECT_EQ(child.Left(), 1500);
    EXPECT_EQ(child.Top(), 300);
}

TEST_F(Button, SettingPropertiesFromCodeRaisesNoEvent)
{
    EventSpy spy(&b);
    ASSERT_EQ(spy.kinds(), 3u);
    b.setLatching(true);
    b.setLocked(true);
    b.setLocked(false);
    b.setEnabled(false);
    b.setEnabled(true);
    b.setVisible(false);
    EXPECT_FALSE(b.Visible());
    b.setVisible(true);
    EXPECT_TRUE(b.Visible());
    b.setLeft(300);
    b.setCaption(QStringLiteral("Close"));
    b.setIndex(1);
    b.Unlatch();
    b.setLatching(false);
    EXPECT_EQ(spy.total(), 0);
}

TEST(ButtonCaption, ACaptionFitsOnlyWhereTheFaceHoldsIt)
{
    usrButton b;
    b.setCaption(QStringLiteral("EpiFS"));
    showAt(b, 100, 30);
    EXPECT_TRUE(b.CaptionFits());
    b.resize(20, 30);
    EXPECT_FALSE(b.CaptionFits());
    // A low face (the compact lines) still holds a caption of one line.
    b.resize(100, QFontMetrics(b.font()).height());
    EXPECT_TRUE(b.CaptionFits());
    b.resize(100, QFontMetrics(b.font()).height() - 3);
    EXPECT_FALSE(b.CaptionFits());
}
