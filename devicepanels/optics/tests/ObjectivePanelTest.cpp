// The nosepiece panel: the objective records, the link box and the devices
// that follow, the move with its three refusal texts, the setter the
// dispatch calls, and the place written on unload.
#include "devicepanels/optics/tests/TurretRig.h"
#include "devicepanels/subpanel/MainLinks.h"
#include "devicepanels/optics/ObjectivePanel.h"
#include "widgets/PanelControls.h"
#include "widgets/usrAddress.h"

#include <gtest/gtest.h>

namespace {
const QString kObj = QStringLiteral("frmSubObj");

frmSubObj* openObjective(TurretRig& rig) { return rig.open<frmSubObj>(kObj); }
} // namespace

TEST(ObjectivePanel, OpensWithEveryObjectivesRecordAndTheOneInPlace) {
    TurretRig rig;
    rig.mic.setNosepiecePosition(3);
    auto* p = openObjective(rig);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(p->windowTitle(), QStringLiteral("Objective"));
    EXPECT_EQ(p->txtAdd->First(), 1);
    EXPECT_EQ(p->txtAdd->Last(), 6);
    EXPECT_EQ(p->txtAdd->Label(1), QStringLiteral("1 :PL  Plan 4x/0.10"));
    EXPECT_EQ(p->txtAdd->Label(5), QStringLiteral("5 :PA  PlanApo 60x/1.35 Oil"));
    EXPECT_EQ(p->txtAdd->Address(), 3);
    EXPECT_EQ(p->txtSel->Caption(), QStringLiteral("3 :PA  PlanApo 20x/0.75"));
    EXPECT_EQ(p->txtSel->ToolTipText(), QStringLiteral("W.D. 0.6  N.A. 0.75"));
    EXPECT_EQ(p->txtAdd->Mode(), 1);
    EXPECT_TRUE(p->chkLink->isEnabled());
    EXPECT_TRUE(rig.boxes.texts().isEmpty()) << rig.boxes.texts().join('|').toStdString();
}

TEST(ObjectivePanel, TheLinkLabelsNameOnlyTheDevicesThatAreSetUp) {
    TurretRig rig;
    MainState& s = mainState();
    s.mND.setSETUP(0);
    s.mAS.setSETUP(1);
    s.mFS.setSETUP(1);
    s.mZ.setSETUP(1);
    s.mXY.setSETUP(0);
    auto* p = openObjective(rig);
    ASSERT_NE(p, nullptr);
    EXPECT_FALSE(p->NDLabel->isVisibleTo(p));
    EXPECT_TRUE(p->CondLabel->isVisibleTo(p));
    EXPECT_TRUE(p->AStopLabel->isVisibleTo(p));
    EXPECT_TRUE(p->FStopLabel->isVisibleTo(p));
    EXPECT_TRUE(p->ZLabel->isVisibleTo(p));
    EXPECT_FALSE(p->XYLabel->isVisibleTo(p));
    EXPECT_EQ(p->FStopLabel->Caption(), QStringLiteral("DIA F.Stop"));
    EXPECT_EQ(p->ZLabel->Caption(), QStringLiteral("Focus Stage"));
}

TEST(ObjectivePanel, OpeningWritesTheStoredLinkToTheService) {
    TurretRig rig;
    mainState().mObj.setLINK(1);
    rig.mic.setNosepieceIsInterlockEnabled(0);
    auto* p = openObjective(rig);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(p->chkLink->Value(), 1);
    EXPECT_NE(rig.mic.NosepieceIsInterlockEnabled(), 0);
}

TEST(ObjectivePanel, APositionOutsideFirstToLastLeavesAddressAndReadingAsTheyWere) {
    TurretRig rig;
    rig.mic.setNosepiecePosition(2);
    auto* p = openObjective(rig);
    ASSERT_NE(p, nullptr);
    const QString shown = p->txtSel->Caption();
    mainState().mObj.setMAX(4);
    rig.mic.setNosepiecePosition(5);
    p->Get_Status();
    EXPECT_EQ(p->txtAdd->Last(), 4);
    EXPECT_EQ(p->txtAdd->Address(), 2);
    EXPECT_EQ(p->txtSel->Caption(), shown);
}

TEST(ObjectivePanel, PickingTheCurrentAddressStillSendsTheCommand) {
    TurretRig rig;
    rig.mic.setNosepiecePosition(2);
    auto* p = openObjective(rig);
    ASSERT_NE(p, nullptr);
    // A stalled nosepiece times out only if the move is really asked for.
    rig.faults().stallDevice(DeviceIndex::Nosepiece);
    emit p->txtAdd->AddressPicked(2);
    rig.faults().clearFaults();
    EXPECT_EQ(rig.boxes.texts(), QStringList{QStringLiteral("Position_Change TimeOut Error")});
    EXPECT_TRUE(p->txtAdd->isEnabled());
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
}

TEST(ObjectivePanel, APickMovesTheNosepieceAndTheReadingWaitsForTheSetter) {
    TurretRig rig;
    rig.mic.setNosepiecePosition(1);
    auto* p = openObjective(rig);
    ASSERT_NE(p, nullptr);
    PanelRig::click(p->txtAdd);  // focus, nothing else
    const QRect row = p->txtAdd->rowRect(4);
    ASSERT_FALSE(row.isEmpty());
    QTest::mouseClick(p->txtAdd, Qt::LeftButton, {}, row.center());
    pumpEvents();
    EXPECT_EQ(rig.mic.NosepiecePosition(), 4);
    EXPECT_EQ(p->txtSel->Caption(), QStringLiteral("1 :PL  Plan 4x/0.10")) << "no event has been dispatched yet";
    // The dispatch stores the position and calls the setter: one blank here.
    EXPECT_TRUE(FormRegistry::refresh(kObj, "ObjChg_Set", 4));
    EXPECT_EQ(p->txtSel->Caption(), QStringLiteral("4 :PA PlanApo 40x/0.95"));
    EXPECT_EQ(p->txtAdd->Address(), 4);
    EXPECT_EQ(p->txtSel->ToolTipText(), QStringLiteral("W.D. 0.18  N.A. 0.95"));
}

TEST(ObjectivePanel, WithModeTwoAPickSendsNothingAndTheHourglassIsGoneAfterwards) {
    TurretRig rig({shippedStand("readonly-nosepiece.json")});
    auto* p = openObjective(rig);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(p->txtAdd->Mode(), 2);
    EXPECT_EQ(p->chkLink->Value(), 1);
    EXPECT_FALSE(p->chkLink->isEnabled());
    const int16_t before = rig.mic.NosepiecePosition();
    const int16_t other = before == 3 ? 4 : 3;
    emit p->txtAdd->AddressPicked(other);
    EXPECT_EQ(rig.mic.NosepiecePosition(), before);
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
    EXPECT_TRUE(p->txtAdd->isEnabled());
    EXPECT_TRUE(rig.boxes.texts().isEmpty()) << rig.boxes.texts().join('|').toStdString();
}

TEST(ObjectivePanel, AnAddressWithNoObjectiveShowsItsTextButNoToolTip) {
    TurretRig rig;
    rig.mic.setNosepiecePosition(6);
    auto* p = openObjective(rig);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(p->txtAdd->Address(), 6);
    EXPECT_EQ(p->txtSel->Caption(), QStringLiteral("6 :  "));
    EXPECT_TRUE(p->txtSel->ToolTipText().isEmpty());
}

TEST(ObjectivePanel, RefusalsShowLimitationTimeOutOrErrorAndChangeNothing) {
    TurretRig rig;
    rig.mic.setNosepiecePosition(2);
    auto* p = openObjective(rig);
    ASSERT_NE(p, nullptr);
    // The interlock: with the link on, the focus above its upper limit holds the nosepiece.
    rig.mic.setNosepieceIsInterlockEnabled(1);
    rig.mic.setZDriveZPosition(150000);
    rig.mic.setZUpperLimit(100000);
    emit p->txtAdd->AddressPicked(3);
    EXPECT_EQ(rig.mic.NosepiecePosition(), 2);
    rig.mic.setZUpperLimit(180000);
    rig.faults().stallDevice(DeviceIndex::Nosepiece);
    emit p->txtAdd->AddressPicked(3);
    rig.faults().killUnit(UnitIndex::Q7s);
    emit p->txtAdd->AddressPicked(3);
    rig.faults().clearFaults();
    EXPECT_EQ(rig.boxes.texts(), (QStringList{QStringLiteral("Position_Change Limitation"),
                                              QStringLiteral("Position_Change TimeOut Error"),
                                              QStringLiteral("Position_Change Error")}));
    EXPECT_EQ(p->txtSel->Caption(), QStringLiteral("2 :PA  PlanApo 10x/0.40"));
    EXPECT_TRUE(p->txtAdd->isEnabled());
}

TEST(ObjectivePanel, TheLinkBoxWritesReadsBackAndShowsOnTheMainPanel) {
    TurretRig rig;
    int16_t mainBox = -5;
    MainLinks::setShow(MainLinks::Link::Obj, [&](int16_t v) { mainBox = v; });
    mainState().mObj.setLINK(0);
    auto* p = openObjective(rig);
    ASSERT_NE(p, nullptr);
    PanelRig::click(p->chkLink);
    EXPECT_EQ(rig.mic.NosepieceIsInterlockEnabled(), 1);
    EXPECT_EQ(mainState().mObj.LINK(), 1);
    EXPECT_EQ(mainBox, 1);
    PanelRig::click(p->chkLink);
    EXPECT_EQ(rig.mic.NosepieceIsInterlockEnabled(), 0);
    EXPECT_EQ(mainBox, 0);
    MainLinks::setShow(MainLinks::Link::Obj, {});
}

TEST(ObjectivePanel, AFailedLinkWriteShowsItsText) {
    TurretRig rig;
    auto* p = openObjective(rig);
    ASSERT_NE(p, nullptr);
    rig.faults().killUnit(UnitIndex::Q7s);
    PanelRig::click(p->chkLink);
    rig.faults().clearFaults();
    EXPECT_EQ(rig.boxes.texts(), QStringList{QStringLiteral("Nosepiece_IsInterlockEnabled Error")});
}

TEST(ObjectivePanel, WithUnitSevenTheLinkIsHeldOn) {
    TurretRig rig;
    mainState().MicUnit[7] = 1;
    mainState().mObj.setLINK(0);
    auto* p = openObjective(rig);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(p->chkLink->Value(), 1);
    EXPECT_FALSE(p->chkLink->isEnabled());
    EXPECT_EQ(p->txtAdd->Mode(), 1);
}

TEST(ObjectivePanel, AFailedStatusReadAndAFailedSetterShowTheirTexts) {
    TurretRig rig;
    rig.faults().killUnit(UnitIndex::Q7s);
    auto* p = openObjective(rig);
    rig.faults().clearFaults();
    ASSERT_NE(p, nullptr);
    EXPECT_TRUE(rig.boxes.texts().contains(QStringLiteral("Objective_Status Get Error")))
        << rig.boxes.texts().join('|').toStdString();
    rig.boxes.clear();
    p->ObjChg_Set(9);
    EXPECT_EQ(rig.boxes.texts(), QStringList{QStringLiteral("Objective_Position Read Error")});
}

TEST(ObjectivePanel, WithoutAMicroscopeItShowsTheSixFixedLabelsAndDoesNothing) {
    TurretRig rig;
    mainState().MicConnected = false;
    auto* p = openObjective(rig);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(p->txtAdd->Caption1(), QStringLiteral("1:Gral Obj 2x"));
    EXPECT_EQ(p->txtAdd->Caption6(), QStringLiteral("6:Gral Obj 60x C"));
    EXPECT_EQ(p->txtAdd->Label(5), QStringLiteral("5:Gral Obj 40x C"));
    const int16_t before = rig.mic.NosepiecePosition();
    emit p->txtAdd->AddressPicked(before == 5 ? 4 : 5);
    PanelRig::click(p->chkLink);
    p->ObjChg_Set(3);
    EXPECT_EQ(rig.mic.NosepiecePosition(), before);
    EXPECT_TRUE(rig.boxes.texts().isEmpty());
    mainState().MicConnected = true;
}

TEST(ObjectivePanel, UnloadWritesTopAndLeftToTheObjectiveSectionOnDisk) {
    TurretRig rig;
    auto* p = openObjective(rig);
    ASSERT_NE(p, nullptr);
    p->move(300, 120);
    PanelRig::click(p->btnClose);
    pumpEvents();
    EXPECT_EQ(FormRegistry::loaded(kObj), nullptr);
    EXPECT_FALSE(FormRegistry::refresh(kObj, "ObjChg_Set", 2)) << "a closed panel's setter loads nothing";
    EXPECT_EQ(FormRegistry::loaded(kObj), nullptr);
    const QStringList section = TurretRig::sectionOnDisk(QStringLiteral("Objective"));
    EXPECT_TRUE(section.contains(QStringLiteral("Top=1800"))) << section.join('|').toStdString();
    EXPECT_TRUE(section.contains(QStringLiteral("Left=4500"))) << section.join('|').toStdString();
}
