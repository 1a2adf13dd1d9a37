// The stage panel in its two modes: origins, steps scaled by the objective,
// click to go, a left press that commands the stage where the map shows it,
// the right-button drag run by Timer1 (dead zone, speed by distance, the raw
// target sent and refused past the travel), memories, offsets per objective,
// escape, and positions streaming in while the stage runs.
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

namespace {
// The widget point of the map's own coordinates (0 to 2010, 1005 the centre).
QPoint mapUnits(usrStage* w, double x, double y) {
    const QRectF m = w->mapRect();
    return QPointF(m.left() + x / 2010 * m.width(), m.top() + y / 2010 * m.height()).toPoint();
}
} // namespace

TEST(StagePanel, ADragFarPastTheTravelSendsTheRawTargetAndTheDrivesRefusalEndsIt) {
    MotionRig rig;
    const int32_t low = int32_t(rig.mic.LowerLimit(LimitIndex::XYDriveX));
    rig.mic.XYDriveMove(low + 1000, 0);
    pumpEvents();
    auto* p = rig.open<frmSubStage>(kXY);
    usrStage* w = p->usrXYScroll;
    const int16_t mode = rig.mic.XYDriveMode();
    // A right press on the map starts the drag; the pointer then goes to the
    // map's right edge, the fastest drag, asking 5000 counts a tick.
    QTest::mousePress(w, Qt::RightButton, {}, mapUnits(w, 1005, 1005));
    QTest::mouseRelease(w, Qt::RightButton, {}, mapUnits(w, 1005, 1005));
    ASSERT_TRUE(p->Timer1.isActive());
    const QPointF edge(mapUnits(w, 2005, 1005));
    QMouseEvent far(QEvent::MouseMove, edge, w->mapToGlobal(edge), Qt::NoButton, Qt::RightButton, Qt::NoModifier);
    QCoreApplication::sendEvent(w, &far);
    EXPECT_EQ(p->dX(), -100);
    // The first tick asks for a target below the travel; the drive refuses.
    QTest::qWait(60);
    pumpEvents();
    EXPECT_EQ(rig.boxes.texts(), QStringList{QStringLiteral("XYDrive_XPosition Limitation")});
    EXPECT_EQ(rig.mic.XYDriveXPosition(), low + 1000);
    // The refusal ends the drag as a second right press would.
    EXPECT_FALSE(p->Timer1.isActive());
    EXPECT_TRUE(p->btnSetting->isVisible());
    EXPECT_EQ(rig.mic.XYDriveMode(), mode);
}

TEST(StagePanel, ALeftPressOnTheMapCommandsAMoveWhichAnEscapedStageRefuses) {
    MotionRig rig;
    auto* p = rig.open<frmSubStage>(kXY);
    usrStage* w = p->usrXYScroll;
    rig.mic.setXYDriveIsEscape(1);
    pumpEvents();
    // The press alone sends XYDrive.Move to where the map shows the stage;
    // the escaped stage refuses it with its limitation.
    QTest::mousePress(w, Qt::LeftButton, {}, mapUnits(w, 500, 500));
    pumpEvents();
    EXPECT_EQ(rig.boxes.texts(), QStringList{QStringLiteral("XYDrive_Move Limitation")});
    QTest::mouseRelease(w, Qt::LeftButton, {}, mapUnits(w, 500, 500));
    pumpEvents();
    rig.mic.setXYDriveIsEscape(0);
    pumpEvents();
    rig.boxes.clear();
    // Not escaped, the press moves nothing: the stage is where the map shows it.
    const int32_t x = rig.mic.XYDriveXPosition();
    QTest::mousePress(w, Qt::LeftButton, {}, mapUnits(w, 500, 500));
    pumpEvents();
    EXPECT_EQ(rig.mic.XYDriveXPosition(), x);
    EXPECT_TRUE(rig.boxes.texts().isEmpty()) << rig.boxes.texts().join('|').toStdString();
    QTest::mouseRelease(w, Qt::LeftButton, {}, mapUnits(w, 500, 500));
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

TEST(StagePanel, AnOffsetAtOneEndOfTheTravelReadsAgainstAnOriginAtTheOther) {
    MotionRig rig;
    const int32_t xMin = int32_t(rig.mic.LowerLimit(LimitIndex::XYDriveX));
    const int32_t xMax = int32_t(rig.mic.UpperLimit(LimitIndex::XYDriveX));
    const int32_t yMin = int32_t(rig.mic.LowerLimit(LimitIndex::XYDriveY));
    const int32_t yMax = int32_t(rig.mic.UpperLimit(LimitIndex::XYDriveY));
    mainState().mXY.setXORGIN(xMin);
    mainState().mXY.setYORGIN(yMax);
    rig.mic.XYDriveMove(xMax, yMin);
    pumpEvents();
    auto* p = qobject_cast<frmSubStage*>(openMotionPanel(kXY, frmSubStage::kSetting, -1));
    pumpEvents();
    ASSERT_NE(p, nullptr);
    const int16_t a = mainState().mObj.Address();
    PanelRig::click(p->BtnMemory);
    EXPECT_EQ(p->usrAdd->Label(a), QStringLiteral("%1 :  X : %2  Y :%3")
                                       .arg(a)
                                       .arg(vb::numberText((double(xMax) - xMin) * 0.5))
                                       .arg(vb::numberText((double(yMin) - yMax) * 0.5)));
    EXPECT_EQ(p->Text1->Caption(), QStringLiteral("X ") + mainState().mXY.Format_XCount() + QStringLiteral(" um"));
    EXPECT_TRUE(rig.boxes.texts().isEmpty()) << rig.boxes.texts().join('|').toStdString();
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
