// The focus panel in its three modes: range marks, scale, moves by the
// scroll widget (steps, thumb drag, track click, repeat) and by the wheel,
// origin and count clear, focus positions per objective, the upper limit,
// escape, and auto focus through the camera settings.
#include "devicepanels/motion/tests/MotionRig.h"
#include "devicepanels/motion/SelCameraDlg.h"
#include "devicepanels/motion/frmSubZ.h"
#include "widgets/PanelControls.h"
#include "widgets/usrAddress.h"
#include "widgets/usrYscroll.h"

#include <QFrame>
#include <QListWidget>
#include <QPushButton>
#include <QWheelEvent>
#include <gtest/gtest.h>

namespace {
const QString kZ = QStringLiteral("frmSubZ");

frmSubZ* openIn(MotionRig& rig, const QString& caption) {
    auto* z = qobject_cast<frmSubZ*>(openMotionPanel(kZ, caption, -1));
    pumpEvents();
    return z;
}

void wheel(QWidget* w, int delta) {
    QWheelEvent e(QPointF(10, 10), w->mapToGlobal(QPointF(10, 10)), QPoint(), QPoint(0, delta), Qt::NoButton,
                  Qt::NoModifier, Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(w, &e);
    pumpEvents();
}

QString cameraStand(int unit, int head, int result = 0) {
    return writtenStand(QStringLiteral("camera-%1-%2-%3").arg(unit).arg(head).arg(result),
                        QStringLiteral(R"({"name": "Camera %1 %2", "units": ["Q7s", "HBX-A", "Z", "Tolva"],
                            "camera": {"unit": %1, "head": %2}, "autoFocus": {"result": %3}})")
                            .arg(unit).arg(head).arg(result).toUtf8());
}
} // namespace

TEST(FocusPanel, OpensFromTheDeviceButtonShowingTheReportedPosition) {
    MotionRig rig;
    rig.mic.setZDriveZPosition(2000);
    pumpEvents();
    auto* z = rig.open<frmSubZ>(kZ);
    ASSERT_NE(z, nullptr);
    EXPECT_EQ(z->windowTitle(), QStringLiteral("Z Focus Drive"));
    EXPECT_EQ(z->txtSel->Caption(), QStringLiteral("100.00 um"));
    EXPECT_DOUBLE_EQ(z->usrZscroll->Position(), 2000);
    EXPECT_TRUE(z->btnCntClear->isVisible());
    EXPECT_FALSE(z->BtnMemory->isVisible());
    EXPECT_FALSE(z->btnAFOrign->isVisible());
    EXPECT_DOUBLE_EQ(z->usrZscroll->ScaleMax(), 200000);
    EXPECT_DOUBLE_EQ(z->usrZscroll->ScaleMin(), 0);
}

TEST(FocusPanel, EqualOperatingRangeBoundsFallBackToTheWholeRange) {
    MotionRig rig;
    mainState().mZ.curScllMax = 5000;
    mainState().mZ.curScllMin = 5000;
    auto* z = rig.open<frmSubZ>(kZ);
    EXPECT_DOUBLE_EQ(z->usrZscroll->LimitMax(), 200000);
    EXPECT_DOUBLE_EQ(z->usrZscroll->LimitMin(), 0);
}

TEST(FocusPanel, ALowerBoundAtOrAboveTheUpperPutsTheLowerMarkFiveBelow) {
    MotionRig rig;
    mainState().mZ.curScllMax = 300000;   // above MAX: hi is MAX
    mainState().mZ.curScllMin = 200000;   // equal to hi
    auto* z = rig.open<frmSubZ>(kZ);
    EXPECT_DOUBLE_EQ(z->usrZscroll->LimitMax(), 200000);
    EXPECT_DOUBLE_EQ(z->usrZscroll->LimitMin(), 199995);
    mainState().mZ.curScllMax = 90000;
    mainState().mZ.curScllMin = 10000;
    z->Get_Status();
    EXPECT_DOUBLE_EQ(z->usrZscroll->LimitMax(), 90000);
    EXPECT_DOUBLE_EQ(z->usrZscroll->LimitMin(), 10000);
}

TEST(FocusPanel, StepButtonsMoveByFocusStepsFromTheThumb) {
    MotionRig rig;
    rig.mic.setZDriveZPosition(10000);
    auto* z = rig.open<frmSubZ>(kZ);
    mainState().mZ.setSTEP(40);
    z->usrZscroll_FastUp();
    EXPECT_EQ(rig.mic.ZDriveZPosition(), 10300);
    z->usrZscroll_SlowDown();
    EXPECT_EQ(rig.mic.ZDriveZPosition(), 10200);
    EXPECT_EQ(z->txtSel->Caption(), QStringLiteral("510.00 um"));
    EXPECT_TRUE(rig.boxes.texts().isEmpty());
}

TEST(FocusPanel, APositionAtExactlyMaxIsInRangeOnlyAboveItPrompts) {
    MotionRig rig;
    rig.mic.setZUpperLimit(200000);
    auto* z = rig.open<frmSubZ>(kZ);
    MainState& s = mainState();
    s.mZ.setSTEP(40);
    s.mZ.setValue(s.mZ.MAX());
    z->usrZscroll->setPosition(s.mZ.MAX());
    z->usrZscroll_FastDown();   // in range: a move, no prompt
    EXPECT_FALSE(rig.boxes.texts().join(' ').contains("May I"));
    EXPECT_EQ(rig.mic.ZDriveZPosition(), 200000 - 300);
    rig.boxes.clear();
    s.mZ.setValue(s.mZ.MAX() + 1);
    z->usrZscroll_FastDown();
    ASSERT_EQ(rig.boxes.shown().size(), 1);
    EXPECT_EQ(rig.boxes.shown()[0].text,
              QStringLiteral("A movable range is exceeded.\r\nMay I lower the stage within the movable range?"));
    EXPECT_EQ(rig.mic.ZDriveZPosition(), 200000 - 5);
    rig.boxes.clear();
    s.mZ.setValue(s.mZ.MAX() + 1);
    z->usrZscroll_FastUp();
    EXPECT_EQ(rig.boxes.texts(), QStringList{QStringLiteral("A movable range is exceeded.")});
}

TEST(FocusPanel, AMoveAboveTheUpperLimitIsRefusedWithTheLimitationText) {
    MotionRig rig;
    rig.mic.setZUpperLimit(20000);
    rig.mic.setZDriveZPosition(19990);
    auto* z = rig.open<frmSubZ>(kZ);
    mainState().mZ.setSTEP(40);
    z->usrZscroll_FastUp();
    EXPECT_EQ(rig.boxes.texts(), QStringList{QStringLiteral("Z Focus_Change Limitation")});
    EXPECT_EQ(rig.mic.ZDriveZPosition(), 19990);
    EXPECT_EQ(z->txtSel->Caption(), QStringLiteral("999.50 um"));
}

TEST(FocusPanel, DraggingTheThumbWithTheMouseMovesTheDrive) {
    MotionRig rig;
    rig.mic.setZDriveZPosition(100000);
    auto* z = rig.open<frmSubZ>(kZ);
    QWidget* w = z->usrZscroll;
    const QPoint thumb = z->usrZscroll->thumbCentre();
    rig.mic.setZDriveZPosition(100000);
    QTest::mousePress(w, Qt::LeftButton, {}, thumb);
    QTest::mouseMove(w, thumb + QPoint(0, -10));
    QTest::mouseMove(w, thumb + QPoint(0, -20));
    QTest::mouseRelease(w, Qt::LeftButton, {}, thumb + QPoint(0, -20));
    pumpEvents();
    EXPECT_GT(rig.mic.ZDriveZPosition(), 100000);
    EXPECT_EQ(mainState().mZ.Value(), rig.mic.ZDriveZPosition());
    EXPECT_DOUBLE_EQ(z->usrZscroll->Position(), rig.mic.ZDriveZPosition());
}

TEST(FocusPanel, OriginAndCountClearShiftOnlyTheDisplay) {
    MotionRig rig;
    rig.mic.setZDriveZPosition(3000);
    auto* z = rig.open<frmSubZ>(kZ);
    PanelRig::click(z->btnReset);
    EXPECT_EQ(mainState().mZ.ORGIN(), 3000);
    EXPECT_EQ(z->txtSel->Caption(), QStringLiteral("0.00 um"));
    EXPECT_DOUBLE_EQ(z->usrZscroll->Origin(), 3000);
    PanelRig::click(z->btnCntClear);
    EXPECT_EQ(mainState().mZ.ORGIN(), 0);
    EXPECT_EQ(z->txtSel->Caption(), QStringLiteral("150.00 um"));
    EXPECT_EQ(rig.mic.ZDriveZPosition(), 3000);
}

TEST(FocusPanel, ScaleButtonsNarrowTheShownTravelAroundThePosition) {
    MotionRig rig;
    rig.mic.setZDriveZPosition(100000);
    auto* z = rig.open<frmSubZ>(kZ);
    PanelRig::click(z->usrButton2);   // 75 %
    EXPECT_EQ(z->scllText->Caption(), QStringLiteral("75%"));
    EXPECT_DOUBLE_EQ(z->usrZscroll->ScaleMax(), 175000);
    EXPECT_DOUBLE_EQ(z->usrZscroll->ScaleMin(), 25000);
    for (int i = 0; i < 6; ++i) PanelRig::click(z->usrButton2);
    EXPECT_EQ(z->scaleIndex(), 0);
    EXPECT_EQ(z->scllText->Caption(), QStringLiteral("5%"));
    EXPECT_DOUBLE_EQ(z->usrZscroll->ScaleMax(), 105000);
    for (int i = 0; i < 7; ++i) PanelRig::click(z->usrButton1);
    EXPECT_EQ(z->scaleIndex(), 5);
    // Near the bottom the window keeps its width by lifting the top.
    rig.mic.setZDriveZPosition(10000);
    pumpEvents();
    PanelRig::click(z->usrButton2);
    EXPECT_DOUBLE_EQ(z->usrZscroll->ScaleMin(), 0);
    EXPECT_DOUBLE_EQ(z->usrZscroll->ScaleMax(), 85000 + 65000);
}

TEST(FocusPanel, RangeEditingMovesNoDriveAndStoresTheMarks) {
    MotionRig rig;
    auto* z = rig.open<frmSubZ>(kZ);
    PanelRig::click(z->btnSetting);
    EXPECT_EQ(z->usrZscroll->mode(), 2);
    EXPECT_FALSE(z->btnClose->isVisible());
    z->usrZscroll->setLimitMax(120000);
    z->usrZscroll->setLimitMin(20000);
    z->usrZscroll_ValueChange();
    EXPECT_EQ(rig.mic.ZDriveZPosition(), 0);
    PanelRig::click(z->btnSetting);
    EXPECT_EQ(z->usrZscroll->mode(), 1);
    EXPECT_TRUE(z->btnClose->isVisible());
    EXPECT_EQ(mainState().mZ.curScllMax, 120000);
    EXPECT_EQ(mainState().mZ.curScllMin, 20000);
}

TEST(FocusPanel, RepeatRaisesByOneStepATickUntilStopped) {
    MotionRig rig;
    rig.mic.setZDriveZPosition(5000);
    auto* z = rig.open<frmSubZ>(kZ);
    mainState().mZ.setSTEP(40);
    z->setRepeatDirection(-1);
    EXPECT_TRUE(z->Timer1.isActive());
    QTest::qWait(500);   // a few ticks
    z->setRepeatDirection(0);
    EXPECT_FALSE(z->Timer1.isActive());
    const int32_t reached = rig.mic.ZDriveZPosition();
    EXPECT_GT(reached, 5000);
    EXPECT_EQ((reached - 5000) % 40, 0);
}

TEST(FocusPanel, EscapeTogglesTheDriveAndItsPicture) {
    MotionRig rig;
    rig.mic.setZDriveZPosition(30000);
    auto* z = rig.open<frmSubZ>(kZ);
    const QImage down = z->imgEscape[0].toImage();
    PanelRig::click(z->btnEscape);
    EXPECT_EQ(rig.mic.ZDriveIsZEscape(), 1);
    EXPECT_EQ(rig.mic.ZDriveZPosition(), 0);
    EXPECT_EQ(mainState().mZ.Esc(), 1);
    EXPECT_NE(z->btnEscape->grab().toImage(), QImage());
    PanelRig::click(z->btnEscape);
    EXPECT_EQ(rig.mic.ZDriveIsZEscape(), 0);
    EXPECT_EQ(rig.mic.ZDriveZPosition(), 30000);
    EXPECT_NE(down, z->imgEscape[1].toImage());
}

TEST(FocusPanel, TheWheelStepsTwoAndAHalfFocusStepsOnlyWithTheMouseInside) {
    MotionRig rig;
    rig.mic.setZDriveZPosition(8000);
    auto* z = rig.open<frmSubZ>(kZ);
    mainState().mZ.setSTEP(40);
    z->activateWindow();
    // The mouse is elsewhere: the panel has the focus, but nothing moves.
    QTest::mouseMove(&rig.owner, QPoint(5, 5));
    wheel(z, -120);
    EXPECT_EQ(rig.mic.ZDriveZPosition(), 8000);
    QTest::mouseMove(z->frmAF, QPoint(20, 20));
    pumpEvents();
    ASSERT_TRUE(frmSubZ::insidePanel());
    wheel(z, -120);
    EXPECT_EQ(rig.mic.ZDriveZPosition(), 7900);
    wheel(z, 960);   // a big turn is still one step
    EXPECT_EQ(rig.mic.ZDriveZPosition(), 8000);
    wheel(z, 15);   // a small delta is a whole step too
    EXPECT_EQ(rig.mic.ZDriveZPosition(), 8100);
}

TEST(FocusPanel, TheWheelBeyondTheUpperLimitMovesNothingAndSaysNothing) {
    MotionRig rig;
    rig.mic.setZUpperLimit(8050);
    rig.mic.setZDriveZPosition(8000);
    auto* z = rig.open<frmSubZ>(kZ);
    mainState().mZ.setSTEP(40);
    QTest::mouseMove(z->frmAF, QPoint(20, 20));
    wheel(z, 120);
    EXPECT_EQ(rig.mic.ZDriveZPosition(), 8000);
    EXPECT_TRUE(rig.boxes.texts().isEmpty());
}

TEST(FocusPanel, FocusSettingRemembersThePositionOfTheObjective) {
    MotionRig rig;
    rig.mic.setZDriveZPosition(12000);
    auto* z = openIn(rig, frmSubZ::kFocusSetting);
    ASSERT_NE(z, nullptr);
    EXPECT_EQ(z->windowTitle(), QStringLiteral("Focus Setting"));
    EXPECT_TRUE(z->usrAdd->isVisible());
    EXPECT_TRUE(z->BtnMemory->isVisible());
    EXPECT_FALSE(z->btnReset->isVisible());
    const int16_t a = mainState().mObj.Address();
    PanelRig::click(z->BtnMemory);
    int32_t p = 0;
    mainState().mZ.FocusPos_Get(a, p);
    EXPECT_EQ(p, 12000);
    EXPECT_EQ(z->usrAdd->Label(a), QStringLiteral("%1 : 600 um").arg(a));
    EXPECT_TRUE(rig.boxes.texts().isEmpty());
    // Ctrl+Enter (character 10) shows the drive's own go-to button.
    QTest::keyClick(z, Qt::Key_Return, Qt::ControlModifier);
    QKeyEvent lf(QEvent::KeyPress, Qt::Key_J, Qt::ControlModifier, QStringLiteral("\n"));
    QCoreApplication::sendEvent(z, &lf);
    EXPECT_TRUE(z->btnAFOrign->isVisible());
}

TEST(FocusPanel, UpperLimitSettingLiftsTheLimitAndClosingDoesNotRestoreIt) {
    MotionRig rig;
    const int32_t before = rig.mic.ZUpperLimit();
    auto* z = openIn(rig, frmSubZ::kUpperLimitSetting);
    ASSERT_NE(z, nullptr);
    EXPECT_EQ(rig.boxes.texts(), QStringList{QStringLiteral("Z upper limit was canceled. Please take care and set up.")});
    EXPECT_EQ(rig.boxes.shown()[0].icon, MsgBox::Exclamation);
    EXPECT_EQ(z->savedUpperLimit(), before);
    EXPECT_EQ(rig.mic.ZUpperLimit(), 40000);
    EXPECT_DOUBLE_EQ(z->usrZscroll->LimitMax(), 40000);
    PanelRig::click(z->btnClose);
    pumpEvents();
    EXPECT_EQ(FormRegistry::loaded(kZ), nullptr);
    EXPECT_EQ(rig.mic.ZUpperLimit(), 40000);
    // Its place is not kept: only the normal mode keeps one.
    EXPECT_EQ(rig.iniValue("UpperLimit Setting", "Top"), QStringLiteral("<absent>"));
}

TEST(FocusPanel, AFractionalMagnificationTakesTheSpeedOfItsRowAndAGapTakesFour) {
    const QString stand = writtenStand(QStringLiteral("fractional-objectives"), R"({"name": "Low powers",
        "units": ["Q7s", "HBX-A", "Z"], "camera": null,
        "objectives": [
          {"number": 11, "name": "Plan 1.25x", "series": "PL", "type": "Plan", "rate": 1.25, "wd": 5.1, "na": 0.04, "apertureStop": 0, "fieldStop": 0, "nd": 100},
          {"number": 12, "name": "Plan 2.5x", "series": "PL", "type": "Plan", "rate": 2.5, "wd": 8.8, "na": 0.075, "apertureStop": 0, "fieldStop": 0, "nd": 100},
          {"number": 13, "name": "Odd 20.5x", "series": "PL", "type": "Plan", "rate": 20.5, "wd": 1, "na": 0.5, "apertureStop": 0, "fieldStop": 0, "nd": 100},
          {"number": 14, "name": "Plan 100x", "series": "PL", "type": "Plan", "rate": 100, "wd": 0.1, "na": 1.4, "apertureStop": 0, "fieldStop": 0, "nd": 100}]})");
    MotionRig rig({stand});
    auto* z = rig.open<frmSubZ>(kZ);
    ASSERT_NE(z, nullptr);
    const auto speedAt = [&](int16_t address) {
        rig.mic.setNosepiecePosition(address);
        pumpEvents();
        return rig.service.stand(1)->focusSpeedCode();
    };
    EXPECT_EQ(speedAt(2), 2);   // 2.5x
    EXPECT_EQ(speedAt(4), 6);   // 100x
    EXPECT_EQ(speedAt(1), 2);   // 1.25x
    EXPECT_EQ(speedAt(3), 4);   // 20.5x, between the rows
    EXPECT_TRUE(rig.boxes.texts().isEmpty()) << rig.boxes.texts().join('|').toStdString();
}

TEST(FocusPanel, UpperLimitSettingWarnsAndLiftsTheLimitOnEachActivation) {
    MotionRig rig;
    const QString warning = QStringLiteral("Z upper limit was canceled. Please take care and set up.");
    auto* z = openIn(rig, frmSubZ::kUpperLimitSetting);
    ASSERT_NE(z, nullptr);
    z->activateWindow();
    pumpEvents();
    const int first = int(rig.boxes.texts().size());
    ASSERT_GE(first, 1);
    rig.mic.setZUpperLimit(150000);   // changed meanwhile, by another client
    rig.owner.activateWindow();
    pumpEvents();
    z->activateWindow();
    pumpEvents();
    ASSERT_EQ(rig.boxes.texts().size(), first + 1);
    EXPECT_EQ(rig.boxes.texts().last(), warning);
    EXPECT_EQ(rig.mic.ZUpperLimit(), 40000);
    EXPECT_EQ(z->savedUpperLimit(), 150000);
}

TEST(FocusPanel, UpperLimitMemorySetsTheLimitAtThePositionOrRefusesBelowTheLower) {
    MotionRig rig;
    auto* z = openIn(rig, frmSubZ::kUpperLimitSetting);
    rig.boxes.clear();
    PanelRig::click(z->BtnMemory);   // at 0, the lower limit
    EXPECT_EQ(rig.boxes.texts(), QStringList{QStringLiteral("Upper Limit lower than Lower Limit.")});
    rig.mic.setZDriveZPosition(30000);
    pumpEvents();
    rig.boxes.clear();
    PanelRig::click(z->BtnMemory);
    EXPECT_TRUE(rig.boxes.texts().isEmpty());
    EXPECT_EQ(rig.mic.ZUpperLimit(), 30000);
    EXPECT_DOUBLE_EQ(z->usrZscroll->LimitMax(), 30000);
}

TEST(AutoFocus, RunsTheSearchAndShowsCompleteForOneTimerInterval) {
    MotionRig rig;
    auto* z = rig.open<frmSubZ>(kZ);
    ASSERT_TRUE(z->btnAF->isVisible());
    PanelRig::click(z->btnAF);
    EXPECT_EQ(rig.mic.ZDriveZPosition(), 100000);
    EXPECT_EQ(mainState().mZ.Value(), 100000);
    EXPECT_TRUE(rig.boxes.texts().isEmpty());
    EXPECT_TRUE(z->txtAF_Comp->isVisible());
    EXPECT_FALSE(z->txtSel->isVisible());
    EXPECT_TRUE(z->AFTimer.isActive());
    EXPECT_FALSE(z->btnAF->Latched());
    z->AFTimer_Timer();
    EXPECT_FALSE(z->txtAF_Comp->isVisible());
    EXPECT_TRUE(z->txtSel->isVisible());
    EXPECT_EQ(z->txtSel->Caption(), QStringLiteral("5000.00 um"));
}

TEST(AutoFocus, LowContrastIsACompletedFocusThatUpdatesThePositionFirst) {
    MotionRig rig({cameraStand(1, 1, 1)});
    auto* z = rig.open<frmSubZ>(kZ);
    QString shownWith;
    MsgBox::Recorder rec([&](const MsgBox::Shown&) {
        shownWith = z->txtSel->Caption();
        return MsgBox::OK;
    });
    z->btnAF_Click();
    ASSERT_EQ(rec.shown().size(), 1);
    EXPECT_EQ(rec.shown()[0].text, QStringLiteral("Complete Low Contrast"));
    EXPECT_EQ(rec.shown()[0].title, QStringLiteral("Auto Focus"));
    EXPECT_TRUE(rec.shown()[0].systemModal);
    EXPECT_EQ(shownWith, QStringLiteral("5000.00 um"));
    EXPECT_EQ(mainState().mZ.Value(), 100000);
}

TEST(AutoFocus, EveryResultCodeHasItsText) {
    for (auto [code, text] : {std::pair<int, const char*>{50, "Warning Exposure Over"},
                              {51, "Warning Exposure Under"}, {0x2A7, "Error 2A7"}}) {
        MotionRig rig({cameraStand(1, 1, code)});
        auto* z = rig.open<frmSubZ>(kZ);
        z->btnAF_Click();
        EXPECT_EQ(rig.boxes.texts(), QStringList{QString::fromLatin1(text)});
    }
}

TEST(AutoFocus, AHeadWithoutAutoFocusHidesTheButtonAndRefusesIt) {
    MotionRig rig({cameraStand(1, 3)});   // head 3: DH-M1, CameraAF 0
    auto* z = rig.open<frmSubZ>(kZ);
    EXPECT_EQ(z->labCamera->Caption(), QStringLiteral("DH-M1"));
    EXPECT_FALSE(z->btnAF->isVisible());
    z->btnAF_Click();
    EXPECT_EQ(rig.boxes.texts(), QStringList{QStringLiteral("AF cannot be done in the camera.")});
    EXPECT_EQ(rig.mic.ZDriveZPosition(), 0);
}

TEST(AutoFocus, AHeadNamedInSeveralSectionsCountsIfAnyOfThemCanFocus) {
    MotionRig rig({cameraStand(0, 0)});   // unit 0 is a CU-K5: the operator names the head
    const int row = SelCameraDlg::headRows().indexOf(QStringLiteral("DH-F1"));
    ASSERT_GT(row, 0);
    mainState().INI.Ini_Write(QStringLiteral("Select Camera"), QStringLiteral("Camera No"), QString::number(row));
    auto* z = rig.open<frmSubZ>(kZ);
    EXPECT_EQ(z->labCamera->Caption(), QStringLiteral("DH-F1"));
    EXPECT_TRUE(z->btnAF->isVisible());
    z->btnAF_Click();
    EXPECT_TRUE(rig.boxes.texts().isEmpty());
    EXPECT_EQ(rig.mic.ZDriveZPosition(), 100000);
}

TEST(AutoFocus, TheSearchFailingBelowTheUpperLimitGivesAClearMessage) {
    MotionRig rig;
    rig.mic.setZUpperLimit(30000);
    auto* z = rig.open<frmSubZ>(kZ);
    z->btnAF_Click();
    EXPECT_EQ(rig.boxes.texts(), QStringList{QStringLiteral("ZDrive_AutoFocus Limitation")});
    EXPECT_LE(rig.mic.ZDriveZPosition(), 30000);
    EXPECT_TRUE(z->frmAF->isEnabled());
}

TEST(AutoFocus, TheCameraDialogListsEachHeadOnceAndAcceptsOnlyTheReportedHead) {
    MotionRig rig;   // the full system reports unit 1 and head 2 (DH-C2)
    SelCameraDlg dlg;
    const QStringList rows = SelCameraDlg::headRows();
    EXPECT_EQ(rows.first(), QStringLiteral("Unknown"));
    EXPECT_EQ(rows.count(QStringLiteral("DH-F1")), 1);
    EXPECT_EQ(dlg.List1->count(), rows.size());
    EXPECT_FALSE(dlg.OKButton->isEnabled());
    dlg.List1->setCurrentRow(rows.indexOf(QStringLiteral("DH-C2")));
    EXPECT_TRUE(dlg.OKButton->isEnabled());
    dlg.List1->setCurrentRow(rows.indexOf(QStringLiteral("DH-C1")));
    EXPECT_FALSE(dlg.OKButton->isEnabled());
}

TEST(AutoFocus, ACameraIniOfGarbageLeavesNoAutoFocusAndNoCrash) {
    MotionRig rig;
    const QString path = testHome() + QStringLiteral("/garbage-camera.ini");
    QFile f(path);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    f.write("\x01\x02[[[\n=CameraAF\n[2]\nCameraAF=yes\nCameraHead\n\xff\xfe");
    f.close();
    mainState().CameraINI.Ini_SetPath(path);
    auto* z = rig.open<frmSubZ>(kZ);
    // The unit's name is missing, so it counts as one that cannot report its
    // head; no section names the head shown with auto focus 1.
    EXPECT_EQ(z->labCamera->Caption(), QStringLiteral("Unknown"));
    z->btnAF_Click();
    EXPECT_EQ(rig.boxes.texts(), QStringList{QStringLiteral("AF cannot be done in the camera.")});
}

TEST(FocusPanel, PicturesOfEveryModeAreKept) {
    MotionRig rig;
    rig.mic.setZDriveZPosition(64000);
    const QString dir = testHome() + QStringLiteral("/screens");
    QDir().mkpath(dir);
    for (const QString& mode : {frmSubZ::kFocusDrive, frmSubZ::kFocusSetting, frmSubZ::kUpperLimitSetting}) {
        auto* z = openIn(rig, mode);
        ASSERT_NE(z, nullptr);
        z->Get_Status();
        EXPECT_TRUE(z->grab().save(dir + QLatin1Char('/') + mode + QStringLiteral(".png")));
    }
}
