#include "EventSpy.h"
#include "widgets/usrPath.h"
#include "widgets/usrPath_M.h"

#include <gtest/gtest.h>

// --- usrPath ---------------------------------------------------------------------

TEST(Path, ClickOnAnOutletRaisesPathPickedAndLeavesPathIndexToTheOwner)
{
    usrPath w;
    showAt(w, 260, 96);
    w.setPathIndex(1);
    EventSpy spy(&w);
    QTest::mouseClick(&w, Qt::LeftButton, Qt::NoModifier, w.outletRect(3).center());
    ASSERT_EQ(spy.count("PathPicked"), 1);
    EXPECT_EQ(spy.args("PathPicked").at(0).toInt(), 3);
    EXPECT_EQ(w.PathIndex(), 1);  // what the stand reports is set by the owner
    w.setPathIndex(3);
    EXPECT_EQ(spy.total(), 1);
}

TEST(Path, PickingTheActivePathStillRaisesTheEvent)
{
    usrPath w;
    showAt(w, 260, 96);
    w.setPathIndex(2);
    EventSpy spy(&w);
    QTest::mouseClick(&w, Qt::LeftButton, Qt::NoModifier, w.outletRect(2).center());
    EXPECT_EQ(spy.count("PathPicked"), 1);
}

TEST(Path, LockedPathCanBeSeenButNotChanged)
{
    usrPath w;
    showAt(w, 260, 96);
    w.setPathIndex(2);
    w.setLocked(true);
    EXPECT_TRUE(w.Locked());
    EventSpy spy(&w);
    for (int16_t i = 1; i <= 3; ++i)
        QTest::mouseClick(&w, Qt::LeftButton, Qt::NoModifier, w.outletRect(i).center());
    QTest::keyClick(&w, Qt::Key_1);
    QTest::keyClick(&w, Qt::Key_Space);
    EXPECT_EQ(spy.total(), 0);
    EXPECT_EQ(w.PathIndex(), 2);
}

TEST(Path, KeysPickByNumberOrCursor)
{
    usrPath w;
    showAt(w, 260, 96);
    EventSpy spy(&w);
    QTest::keyClick(&w, Qt::Key_2);
    QTest::keyClick(&w, Qt::Key_Right);
    QTest::keyClick(&w, Qt::Key_Return);
    QTest::keyClick(&w, Qt::Key_4);  // no fourth outlet
    ASSERT_EQ(spy.count("PathPicked"), 2);
    EXPECT_EQ(spy.args("PathPicked", 0).at(0).toInt(), 2);
    EXPECT_EQ(spy.args("PathPicked", 1).at(0).toInt(), 3);
}

TEST(Path, ClickBesideTheOutletsRaisesNothing)
{
    usrPath w;
    showAt(w, 260, 96);
    EventSpy spy(&w);
    QTest::mouseClick(&w, Qt::LeftButton, Qt::NoModifier, QPoint(3, 90));
    EXPECT_EQ(spy.total(), 0);
}

TEST(Path, SettingPropertiesFromCodeRaisesNoEvent)
{
    usrPath w;
    EventSpy spy(&w);
    ASSERT_EQ(spy.kinds(), 1u);
    for (int16_t i : {0, 1, 2, 3, 4, -1})
        w.setPathIndex(i);
    w.setLocked(true);
    w.setLocked(false);
    w.setEnabled(false);
    w.setEnabled(true);
    w.setPathCaption(1, QStringLiteral("Eyepieces"));
    w.setPathCaption(9, QStringLiteral("ignored"));
    EXPECT_EQ(spy.total(), 0);
    EXPECT_EQ(w.PathCaption(1), QStringLiteral("Eyepieces"));
    EXPECT_EQ(w.PathCaption(9), QString());
}

// --- usrPath_M ---------------------------------------------------------------------

namespace {
struct MainPath : ::testing::Test {
    usrPath_M m;
    void SetUp() override
    {
        showAt(m, 300, 232);
        m.setScopeType(1);
    }
};
} // namespace

TEST_F(MainPath, ClickOnAnOutletClosesSelectorsThenPicksThePath)
{
    std::vector<std::string> order;
    QObject::connect(&m, &usrPath_M::LostSelection, &m, [&] { order.push_back("LostSelection"); });
    QObject::connect(&m, &usrPath_M::PathPicked, &m, [&](int16_t i) {
        order.push_back("PathPicked " + std::to_string(i));
    });
    QTest::mouseClick(&m, Qt::LeftButton, Qt::NoModifier, m.outletRect(2).center());
    ASSERT_EQ(order.size(), 2u);
    EXPECT_EQ(order[0], "LostSelection");
    EXPECT_EQ(order[1], "PathPicked 2");
    EXPECT_EQ(m.PathState(), 0);  // the click does not change what is shown
}

TEST_F(MainPath, ClickAnywhereOnTheDiagramRaisesLostSelection)
{
    EventSpy spy(&m);
    QTest::mouseClick(&m, Qt::LeftButton, Qt::NoModifier, QPoint(20, 220));
    QTest::mouseClick(&m, Qt::RightButton, Qt::NoModifier, m.outletRect(1).center());
    EXPECT_EQ(spy.count("LostSelection"), 2);
    EXPECT_EQ(spy.count("PathPicked"), 0);
}

TEST_F(MainPath, EachScopeTypeOffersItsOwnOutlets)
{
    m.setScopeType(0);
    EXPECT_FALSE(m.HasOutlet(1));
    EXPECT_TRUE(m.outletRect(1).isEmpty());
    m.setScopeType(2);
    EXPECT_TRUE(m.HasOutlet(1));
    EXPECT_TRUE(m.HasOutlet(2));
    EXPECT_FALSE(m.HasOutlet(3));
    for (int32_t t : {1, 3, 4}) {
        m.setScopeType(t);
        EXPECT_TRUE(m.HasOutlet(1) && m.HasOutlet(2) && m.HasOutlet(3)) << t;
    }
    m.setScopeType(77);  // unknown: drawn as the plain stand
    EXPECT_FALSE(m.HasOutlet(1));
    m.grab();
}

TEST_F(MainPath, PlainStandHasNoPathToPick)
{
    m.setScopeType(1);
    const QPoint where = m.outletRect(1).center();
    m.setScopeType(0);
    EventSpy spy(&m);
    QTest::mouseClick(&m, Qt::LeftButton, Qt::NoModifier, where);
    EXPECT_EQ(spy.count("PathPicked"), 0);
    EXPECT_EQ(spy.count("LostSelection"), 1);
}

TEST_F(MainPath, CtrlGOnTheDiagramGivesServiceKeySeven)
{
    EventSpy spy(&m);
    QTest::keyClick(&m, Qt::Key_G, Qt::ControlModifier);
    ASSERT_GE(spy.count("ServiceKey"), 1);
    EXPECT_EQ(spy.args("ServiceKey").at(0).toInt(), 7);
}

TEST_F(MainPath, PlainCharacterGivesItsCode)
{
    EventSpy spy(&m);
    QTest::keyClick(&m, Qt::Key_A);
    ASSERT_EQ(spy.count("ServiceKey"), 1);
    EXPECT_EQ(spy.args("ServiceKey").at(0).toInt(), 'a');
}

TEST_F(MainPath, FunctionKeysGiveCodes112To123WithShift)
{
    EventSpy spy(&m);
    QTest::keyClick(&m, Qt::Key_F1);
    ASSERT_EQ(spy.count("FunctionKey"), 1);
    EXPECT_EQ(spy.args("FunctionKey", 0).at(0).toInt(), 112);
    EXPECT_EQ(spy.args("FunctionKey", 0).at(1).toInt(), 0);
    // Function keys type no character.
    EXPECT_EQ(spy.count("ServiceKey"), 0);
    spy.clear();
    // With Shift held the Shift key itself goes down first (code 16), then F12.
    QTest::keyClick(&m, Qt::Key_F12, Qt::ShiftModifier);
    const int n = spy.count("FunctionKey");
    ASSERT_GE(n, 1);
    EXPECT_EQ(spy.args("FunctionKey", n - 1).at(0).toInt(), 123);
    EXPECT_EQ(spy.args("FunctionKey", n - 1).at(1).toInt(), 1);
    EXPECT_EQ(spy.count("ServiceKey"), 0);
}

TEST_F(MainPath, EveryKeyDownIsReportedTheOwnerPicksTheFunctionKeys)
{
    EventSpy spy(&m);
    QTest::keyClick(&m, Qt::Key_A);
    QTest::keyClick(&m, Qt::Key_Escape);
    ASSERT_EQ(spy.count("FunctionKey"), 2);
    EXPECT_EQ(spy.args("FunctionKey", 0).at(0).toInt(), 65);
    EXPECT_EQ(spy.args("FunctionKey", 1).at(0).toInt(), 27);
}

TEST_F(MainPath, OperationsChangeTheDrawingAndRaiseNothing)
{
    EventSpy spy(&m);
    ASSERT_EQ(spy.kinds(), 5u);   // PathPicked, ServiceKey, FunctionKey, LostSelection, ColorPicked
    m.ShowLampOn();
    EXPECT_NE(m.LampState(), 0);
    EXPECT_TRUE(m.DiaLit());
    m.ShowDiaOff();
    EXPECT_FALSE(m.DiaLit());
    EXPECT_NE(m.LampState(), 0);  // the lamp mark stays; only the branch darkens
    m.ShowLampOff();
    EXPECT_EQ(m.LampState(), 0);
    m.setLampState(2);
    EXPECT_TRUE(m.DiaLit());
    m.ShowShutterOpen();
    EXPECT_TRUE(m.ShutterOpen());
    m.ShowShutterClose();
    EXPECT_FALSE(m.ShutterOpen());
    m.ShowAnalyzerIn();
    EXPECT_TRUE(m.AnalyzerIn());
    m.ShowAnalyzerOut();
    EXPECT_FALSE(m.AnalyzerIn());
    m.ShowObserve(1);
    EXPECT_EQ(m.Observe(), 1);
    m.setExColor(0xFF6A00);
    m.setBaColor(0x40FF60);
    EXPECT_TRUE(m.HasExColor());
    EXPECT_EQ(m.BaColor(), 0x40FF60);
    m.ClearExColor();
    EXPECT_FALSE(m.HasExColor());
    EXPECT_TRUE(m.HasBaColor());
    m.ClearBaColor();
    EXPECT_FALSE(m.HasBaColor());
    for (int32_t t : {0, 1, 2, 4})
        m.setScopeType(t);
    m.setPathState(3);
    EXPECT_EQ(spy.total(), 0);
    m.grab();
}

TEST_F(MainPath, TheTwoResetsTogetherClearTheDrawing)
{
    m.ShowLampOn();
    m.ShowShutterOpen();
    m.ShowAnalyzerIn();
    m.ShowObserve(1);
    m.setPathState(2);
    m.setExColor(0x00FF00);
    m.setBaColor(0x0000FF);
    EventSpy spy(&m);
    m.ShowReset1();
    EXPECT_EQ(m.LampState(), 0);
    EXPECT_FALSE(m.DiaLit());
    EXPECT_FALSE(m.ShutterOpen());
    EXPECT_FALSE(m.AnalyzerIn());
    EXPECT_EQ(m.PathState(), 2);  // the outlet is the second reset's part
    m.ShowReset2();
    EXPECT_EQ(m.PathState(), 0);
    EXPECT_EQ(m.Observe(), 0);
    EXPECT_FALSE(m.HasExColor());
    EXPECT_FALSE(m.HasBaColor());
    EXPECT_EQ(m.ScopeType(), 1);
    EXPECT_EQ(spy.total(), 0);
}

TEST_F(MainPath, SetUpValuesStartAtZero)
{
    usrPath_M fresh;
    EXPECT_EQ(fresh.ScopeType(), 0);
    EXPECT_EQ(fresh.PathState(), 0);
    EXPECT_EQ(fresh.LampState(), 0);
}

TEST_F(MainPath, DisabledDiagramTakesNoGesture)
{
    m.setEnabled(false);
    EventSpy spy(&m);
    QTest::mouseClick(&m, Qt::LeftButton, Qt::NoModifier, m.outletRect(1).center());
    QTest::keyClick(&m, Qt::Key_F3);
    EXPECT_EQ(spy.total(), 0);
}

TEST_F(MainPath, EveryOutletCaptionIsWholeAtSmallAndLargeSizes)
{
    EXPECT_EQ(usrPath_M::OutletCaption(1), QStringLiteral("BINO"));
    EXPECT_EQ(usrPath_M::OutletCaption(2), QStringLiteral("FRONT"));
    EXPECT_EQ(usrPath_M::OutletCaption(3), QStringLiteral("REAR"));
    for (QSize size : {QSize(300, 232), QSize(150, 116), QSize(600, 464)}) {
        m.resize(size);
        for (int16_t outlet = 1; outlet <= 3; ++outlet)
            EXPECT_TRUE(m.OutletCaptionFits(outlet)) << outlet << " at " << size.width();
    }
    // Drawing it raises nothing.
    EventSpy spy(&m);
    m.grab();
    EXPECT_EQ(spy.total(), 0);
}
