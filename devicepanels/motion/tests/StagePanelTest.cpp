// The stage panel in its two modes: origins, steps scaled by the objective,
// click to go, the right-button drag run by Timer1 (dead zone, speed by
// distance, never past the travel), memories, offsets per objective, escape,
// and positions streaming in while the stage runs.
#include "devicepanels/motion/tests/MotionRig.h"
#include "devicepanels/motion/frmSubStage.h"
#include "widgets/PanelControls.h"
#include "widgets/usrAddress.h"
#include "widgets/usrStage.h"

#include <gtest/gtest.h>

namespace {
const QString kXY = QStringLiteral("frmSubStage");
}

TEST(StagePanel, OpensWithTheReportedPositionAndTheStepOfTheObjective) {
    MotionRig rig;
    rig.mic.XYDriveMove(1001, -400);
    pumpEvents();
    auto* p = rig.open<frmSubStage>(kXY);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(p->windowTitle(), QStringLiteral("XY Stage"));
    EXPECT_EQ(p->Text1->Caption(), QStringLiteral("X 500.5 um"));
    EXPECT_EQ(p->Text2->Caption(), QStringLiteral("Y -200.0 um"));
    EXPECT_DOUBLE_EQ(p->usrXYScroll->XValue(), 1001);
    // The first objective of the full system is a 4x: step -200/4, level 1.
    EXPECT_EQ(mainState().mXY.XSTEP(), -50);
    EXPECT_EQ(p->txtStep->Caption(), QStringLiteral("1"));
    EXPECT_TRUE(p->btnAbs->isVisible());
}

TEST(StagePanel, AbsShowsThePlainCountTimesAHalfAndOriginsShiftOnlyTheDisplay) {
    MotionRig rig;
    rig.mic.XYDriveMove(3000, 1000);
    pumpEvents();
    auto* p = rig.open<frmSubStage>(kXY);
    PanelRig::click(p->btnXReset);
    PanelRig::click(p->btnYReset);
    EXPECT_EQ(p->Text1->Caption(), QStringLiteral("X 0.0 um"));
    EXPECT_EQ(p->Text2->Caption(), QStringLiteral("Y 0.0 um"));
    PanelRig::click(p->btnAbs);
    EXPECT_EQ(p->Text1->Caption(), QStringLiteral("X 1500.0 um"));
    EXPECT_EQ(p->Text2->Caption(), QStringLiteral("Y 500.0 um"));
    EXPECT_EQ(rig.mic.XYDriveXPosition(), 3000);
}

TEST(StagePanel, AClickOnTheMapGoesThereInOneMove) {
    MotionRig rig;
    auto* p = rig.open<frmSubStage>(kXY);
    usrStage* w = p->usrXYScroll;
    const QPointF target = w->mapPoint(40000, -20000);
    QTest::mouseClick(w, Qt::LeftButton, {}, target.toPoint());
    pumpEvents();
    EXPECT_NEAR(rig.mic.XYDriveXPosition(), 40000, 1200);
    EXPECT_NEAR(rig.mic.XYDriveYPosition(), -20000, 1200);
    EXPECT_EQ(mainState().mXY.XCount(), rig.mic.XYDriveXPosition());
    EXPECT_TRUE(rig.boxes.texts().isEmpty());
}

TEST(StagePanel, TheRightButtonDragRunsTheStageFasterTheFartherFromTheCentre) {
    MotionRig rig;
    auto* p = rig.open<frmSubStage>(kXY);
    p->usrXYScroll_MouseDown(2, 0, 1005, 1005);
    EXPECT_TRUE(p->Timer1.isActive());
    EXPECT_EQ(rig.mic.XYDriveMode(), 1);
    EXPECT_FALSE(p->btnSetting->isVisible());
    // Within the dead zone nothing moves.
    p->usrXYScroll_MouseMove(2, 0, 1100, 1005);
    EXPECT_EQ(p->dX(), -10);
    p->Timer1_Timer();
    EXPECT_EQ(rig.mic.XYDriveXPosition(), 0);
    // Far to the right: a short interval, X moves by dX x XSTEP / level.
    p->usrXYScroll_MouseMove(2, 0, 1805, 1005);
    EXPECT_EQ(p->dX(), -80);
    EXPECT_EQ(p->Timer1.interval(), 5);
    p->Timer1_Timer();
    EXPECT_EQ(rig.mic.XYDriveXPosition(), -80 * 50);
    p->usrXYScroll_MouseMove(2, 0, 1205, 1005);
    EXPECT_EQ(p->Timer1.interval(), 20);
    p->usrXYScroll_MouseDown(2, 0, 1205, 1005);   // the second right click ends the drag
    EXPECT_FALSE(p->Timer1.isActive());
    EXPECT_TRUE(p->btnSetting->isVisible());
    EXPECT_EQ(rig.mic.XYDriveMode(), 0);
}

TEST(StagePanel, ADragPastTheTravelStopsTheStageAtItsEndWithoutARefusal) {
    MotionRig rig;
    rig.mic.XYDriveMove(-99000, 0);
    pumpEvents();
    auto* p = rig.open<frmSubStage>(kXY);
    p->usrXYScroll_MouseDown(2, 0, 1005, 1005);
    p->usrXYScroll_MouseMove(2, 0, 2010, 1005);
    for (int i = 0; i < 5; ++i) {
        p->Timer1_Timer();
        pumpEvents(1);
    }
    EXPECT_EQ(rig.mic.XYDriveXPosition(), int32_t(rig.mic.LowerLimit(LimitIndex::XYDriveX)));
    EXPECT_TRUE(rig.boxes.texts().isEmpty());
    p->usrXYScroll_MouseDown(2, 0, 2010, 1005);
}

TEST(StagePanel, RulerStepsMoveOneAxisByTheStep) {
    MotionRig rig;
    auto* p = rig.open<frmSubStage>(kXY);
    emit p->usrXYScroll->XStepUp();
    EXPECT_EQ(rig.mic.XYDriveXPosition(), -50);
    emit p->usrXYScroll->YStepDown();
    EXPECT_EQ(rig.mic.XYDriveYPosition(), 50);
}

TEST(StagePanel, MemoriesAreStoredAndWrittenBackIncludingMinusOne) {
    MotionRig rig;
    auto* p = rig.open<frmSubStage>(kXY);
    emit p->usrXYScroll->MemoryStored(1, 1234, -1);
    EXPECT_EQ(mainState().mXY.XMemoryPos(1), 1234);
    EXPECT_EQ(mainState().mXY.YMemoryPos(1), -1);
    PanelRig::click(p->btnClose);
    pumpEvents();
    EXPECT_EQ(rig.iniValue("XY Stage", "Memory_X1"), QStringLiteral("1234"));
    EXPECT_EQ(rig.iniValue("XY Stage", "Memory_Y1"), QStringLiteral("-1"));
    EXPECT_EQ(rig.iniValue("XY Stage", "Memory_X0"), QStringLiteral("-1"));
}

TEST(StagePanel, XYSettingRemembersTheStagePositionOfTheObjective) {
    MotionRig rig;
    rig.mic.XYDriveMove(2000, 600);
    pumpEvents();
    auto* p = qobject_cast<frmSubStage*>(openMotionPanel(kXY, frmSubStage::kSetting, -1));
    pumpEvents();
    ASSERT_NE(p, nullptr);
    EXPECT_TRUE(p->frmSettingVer->isVisible());
    EXPECT_FALSE(p->btnAbs->isVisible());
    const int16_t a = mainState().mObj.Address();
    PanelRig::click(p->BtnMemory);
    EXPECT_EQ(mainState().mXY.XOffset(a), 2000);
    EXPECT_EQ(mainState().mXY.YOffset(a), 600);
    EXPECT_EQ(p->usrAdd->Label(a), QStringLiteral("%1 :  X : 1000  Y :300").arg(a));
    PanelRig::click(p->btnClose);
    pumpEvents();
    EXPECT_EQ(rig.iniValue("XY Setting", "Top"), QStringLiteral("<absent>"));
}

TEST(StagePanel, EscapeTogglesTheStage) {
    MotionRig rig;
    rig.mic.XYDriveMove(500, 500);
    auto* p = rig.open<frmSubStage>(kXY);
    PanelRig::click(p->btnEscape);
    EXPECT_EQ(rig.mic.XYDriveIsEscape(), 1);
    PanelRig::click(p->btnEscape);
    EXPECT_EQ(rig.mic.XYDriveIsEscape(), 0);
    EXPECT_EQ(rig.mic.XYDriveXPosition(), 500);
}

TEST(StagePanel, PositionsStreamIntoThePanelWhileTheStageRuns) {
    MotionRig rig;
    rig.service.stand(1)->control().setSpeedFactor(1.0);
    auto* p = rig.open<frmSubStage>(kXY);
    QStringList seen;
    QObject::connect(&rig.mic, &MicroscopeService::OnPropertyChanged, p, [&](const QString& e) {
        if (e.startsWith(QLatin1String("AppXYDriveXPosition"))) seen << p->Text1->Caption();
    });
    rig.mic.XYDriveMove(20000, 0);
    EXPECT_GE(seen.size(), 5);
    EXPECT_EQ(seen.last(), QStringLiteral("X 10000.0 um"));
    EXPECT_EQ(p->Text1->Caption(), QStringLiteral("X 10000.0 um"));
}

TEST(StagePanel, AServiceThatDiesDuringAMoveGivesTheMessageAndThePanelStaysUsable) {
    MotionRig rig;
    auto* p = rig.open<frmSubStage>(kXY);
    rig.faults().killUnit(UnitIndex::Tolva);
    p->moveX(1000);
    EXPECT_EQ(rig.boxes.texts(), QStringList{QStringLiteral("XYDrive_XPosition Error")});
    EXPECT_TRUE(p->usrXYScroll->isEnabled());
    rig.faults().reviveUnit(UnitIndex::Tolva);
    rig.boxes.clear();
    p->moveX(1000);
    EXPECT_EQ(rig.mic.XYDriveXPosition(), 1000);
}

TEST(StagePanel, PicturesOfBothModesAreKept) {
    MotionRig rig;
    rig.mic.XYDriveMove(30000, -20000);
    pumpEvents();
    const QString dir = testHome() + QStringLiteral("/screens");
    QDir().mkpath(dir);
    for (const QString& mode : {frmSubStage::kStage, frmSubStage::kSetting}) {
        auto* p = qobject_cast<frmSubStage*>(openMotionPanel(kXY, mode, -1));
        pumpEvents();
        ASSERT_NE(p, nullptr);
        p->Get_Status();
        EXPECT_TRUE(p->grab().save(dir + QLatin1Char('/') + mode + QStringLiteral(".png")));
    }
}
