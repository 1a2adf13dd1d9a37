// The light path panel: the locked manual path, the link written before
// every change, the link box read back and shown on the main panel, its own
// event object.
#include "devicepanels/optics/tests/TurretRig.h"
#include "devicepanels/optics/LightPathPanel.h"
#include "devicepanels/subpanel/MainLinks.h"
#include "widgets/PanelControls.h"
#include "widgets/usrPath.h"

#include <gtest/gtest.h>

namespace {
const QString kPath = QStringLiteral("frmSubPath");
} // namespace

TEST(LightPathPanel, OpensWithThePathInUseAndItsName) {
    TurretRig rig;
    rig.mic.setLightPathDriveLightPath(2);
    mainState().mPath.setPATH(2);
    auto* p = rig.open<frmSubPath>(kPath);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(p->windowTitle(), QStringLiteral("Light Path"));
    EXPECT_EQ(p->usrPath->PathIndex(), 2);
    EXPECT_EQ(p->txtSel->Caption(), QStringLiteral("Front P"));
    EXPECT_FALSE(p->usrPath->Locked());
    EXPECT_TRUE(p->chkLink->isEnabled());
    EXPECT_EQ(p->chkLink->text(), QStringLiteral(" Link"));
}

TEST(LightPathPanel, AManualLightPathCanBeSeenButNotChanged) {
    TurretRig rig({shippedStand("manual-path-port.json")});
    auto* p = rig.open<frmSubPath>(kPath);
    ASSERT_NE(p, nullptr);
    EXPECT_TRUE(p->usrPath->Locked());
    EXPECT_FALSE(p->chkLink->isEnabled());
    const int16_t before = rig.mic.LightPathDriveLightPath();
    QTest::mouseClick(p->usrPath, Qt::LeftButton, {}, p->usrPath->outletRect(before == 3 ? 1 : 3).center());
    EXPECT_EQ(rig.mic.LightPathDriveLightPath(), before);
    EXPECT_TRUE(rig.boxes.texts().isEmpty()) << rig.boxes.texts().join('|').toStdString();
}

TEST(LightPathPanel, WithoutAMicroscopeAPickSendsNothing) {
    TurretRig rig;
    rig.mic.setLightPathDriveLightPath(1);
    auto* p = rig.open<frmSubPath>(kPath);
    ASSERT_NE(p, nullptr);
    mainState().MicConnected = false;
    emit p->usrPath->PathPicked(3);
    PanelRig::click(p->chkLink);
    EXPECT_EQ(rig.mic.LightPathDriveLightPath(), 1);
    EXPECT_TRUE(rig.boxes.texts().isEmpty());
    mainState().MicConnected = true;
}

TEST(LightPathPanel, TheLinkIsWrittenBeforeEveryPathChange) {
    TurretRig rig;
    rig.mic.setLightPathDriveLightPath(1);
    rig.mic.setLightPathDriveIsInterlockEnabled(0);
    auto* p = rig.open<frmSubPath>(kPath);
    ASSERT_NE(p, nullptr);
    // The box changed without its click reaching the service.
    p->chkLink->setValue(1);
    EXPECT_EQ(rig.mic.LightPathDriveIsInterlockEnabled(), 0);
    QTest::mouseClick(p->usrPath, Qt::LeftButton, {}, p->usrPath->outletRect(3).center());
    EXPECT_EQ(rig.mic.LightPathDriveIsInterlockEnabled(), 1);
    EXPECT_EQ(mainState().mPath.LINK(), 1);
    EXPECT_EQ(rig.mic.LightPathDriveLightPath(), 3);
    // Its own event object shows the new path.
    EXPECT_EQ(p->usrPath->PathIndex(), 3);
    EXPECT_EQ(p->txtSel->Caption(), QStringLiteral("Rear P"));
    EXPECT_EQ(mainState().mPath.PATH(), 3);
}

TEST(LightPathPanel, TheLinkBoxWritesReadsBackAndShowsOnTheMainPanel) {
    TurretRig rig;
    int16_t mainBox = -5;
    MainLinks::setShow(MainLinks::Link::Path, [&](int16_t v) { mainBox = v; });
    rig.mic.setLightPathDriveIsInterlockEnabled(0);
    mainState().mPath.setLINK(0);
    auto* p = rig.open<frmSubPath>(kPath);
    ASSERT_NE(p, nullptr);
    PanelRig::click(p->chkLink);
    EXPECT_EQ(rig.mic.LightPathDriveIsInterlockEnabled(), 1);
    EXPECT_EQ(mainState().mPath.LINK(), 1);
    EXPECT_EQ(mainBox, 1);
    MainLinks::setShow(MainLinks::Link::Path, {});
}

TEST(LightPathPanel, FailuresShowTheirTexts) {
    TurretRig rig;
    auto* p = rig.open<frmSubPath>(kPath);
    ASSERT_NE(p, nullptr);
    rig.faults().killUnit(UnitIndex::Q7s);
    rig.faults().killUnit(UnitIndex::HBX_A);
    rig.faults().killUnit(UnitIndex::HBX_B);
    emit p->usrPath->PathPicked(2);
    PanelRig::click(p->chkLink);
    rig.faults().clearFaults();
    EXPECT_EQ(rig.boxes.texts(), (QStringList{QStringLiteral("LightPathDrive_LightPath Error"),
                                              QStringLiteral("LightPathDrive_IsInterlockEnabled Error")}));
    rig.boxes.clear();
    emit rig.mic.OnPropertyChanged(QStringLiteral("AppLightPathDriveLightPath:x"));
    ASSERT_EQ(rig.boxes.texts().size(), 1);
    EXPECT_TRUE(rig.boxes.texts().first().startsWith(QStringLiteral("Error : ")));
}

TEST(LightPathPanel, UnloadWritesTheLightPathSectionOnDisk) {
    TurretRig rig;
    auto* p = rig.open<frmSubPath>(kPath);
    ASSERT_NE(p, nullptr);
    p->move(45, 75);
    p->close();
    pumpEvents();
    EXPECT_EQ(FormRegistry::loaded(kPath), nullptr);
    const QStringList section = TurretRig::sectionOnDisk(QStringLiteral("Light Path"));
    EXPECT_TRUE(section.contains(QStringLiteral("Top=1125"))) << section.join('|').toStdString();
    EXPECT_TRUE(section.contains(QStringLiteral("Left=675"))) << section.join('|').toStdString();
}
