// The condenser panel: limits and names from the parameter object and the
// table, the manual turret, its own event object and the dispatch's setter.
#include "devicepanels/optics/tests/TurretRig.h"
#include "devicepanels/optics/CondenserPanel.h"
#include "widgets/PanelControls.h"
#include "widgets/usrAddress.h"

#include <gtest/gtest.h>

namespace {
const QString kCond = QStringLiteral("frmSubCond");

QString manualCondenser() {
    return writtenStand(QStringLiteral("manual-condenser"), QByteArrayLiteral(R"({"name": "Manual condenser",
        "units": ["Q7s", "HBX-A", "Z"],
        "devices": {"Nosepiece": {}, "CondenserCassette": {"readOnly": 1}, "ZDrive": {}}})"));
}
} // namespace

TEST(CondenserPanel, OpensWithTheTablesNamesAndThePositionInPlace) {
    TurretRig rig;
    rig.mic.setCondenserCassettePosition(3);
    auto* p = rig.open<frmSubCond>(kCond);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(p->windowTitle(), QStringLiteral("Condenser"));
    EXPECT_EQ(p->txtAdd->Mode(), 1);
    EXPECT_EQ(p->txtAdd->Last(), mainState().mCon.MAX());
    EXPECT_EQ(p->txtAdd->Label(4), QStringLiteral("4 : Ph1"));
    EXPECT_EQ(p->txtSel->Caption(), QStringLiteral("3 : DIC"));
    EXPECT_TRUE(rig.boxes.texts().isEmpty()) << rig.boxes.texts().join('|').toStdString();
}

TEST(CondenserPanel, AfterADisconnectTheListIsTheFixedSevenAndAgreesWithTheReading) {
    TurretRig rig;
    rig.mic.setCondenserCassettePosition(5);
    auto* p = rig.open<frmSubCond>(kCond);
    ASSERT_NE(p, nullptr);
    ASSERT_EQ(p->txtSel->Caption(), QStringLiteral("5 : Ph2"));
    mainState().MicConnected = false;
    rig.mic.Disconnect();
    TurretRig::reactivate(rig, p);
    EXPECT_EQ(TurretRig::rows(p->txtAdd), p->fixedLabels());
    EXPECT_EQ(p->txtAdd->RowCount(), 7);
    EXPECT_EQ(p->txtSel->Caption(), p->fixedLabels().at(4));
    EXPECT_EQ(p->txtAdd->Label(5), p->txtSel->Caption());
    EXPECT_TRUE(rig.boxes.texts().isEmpty()) << rig.boxes.texts().join('|').toStdString();
}

TEST(CondenserPanel, AManualTurretIsOnlyShownAndAPickSendsNothing) {
    TurretRig rig({manualCondenser()});
    auto* p = rig.open<frmSubCond>(kCond);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(p->txtAdd->Mode(), 2);
    const int16_t before = rig.mic.CondenserCassettePosition();
    QTest::mouseClick(p->txtAdd, Qt::LeftButton, {}, p->txtAdd->rowRect(before == 2 ? 3 : 2).center());
    emit p->txtAdd->AddressPicked(before == 2 ? 3 : 2);
    EXPECT_EQ(rig.mic.CondenserCassettePosition(), before);
    EXPECT_TRUE(rig.boxes.texts().isEmpty()) << rig.boxes.texts().join('|').toStdString();
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
}

TEST(CondenserPanel, TheLimitsComeFromTheParameterObjectAndEventsOutsideThemAreIgnored) {
    TurretRig rig;
    rig.mic.setCondenserCassettePosition(2);
    mainState().mCon.setMAX(4);
    auto* p = rig.open<frmSubCond>(kCond);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(p->txtAdd->Last(), 4);
    rig.mic.setCondenserCassettePosition(5);
    EXPECT_EQ(p->txtSel->Caption(), QStringLiteral("2 : DF"));
    EXPECT_EQ(p->txtAdd->Address(), 2);
    rig.mic.setCondenserCassettePosition(4);
    EXPECT_EQ(p->txtSel->Caption(), QStringLiteral("4 : Ph1"));
    emit rig.mic.OnPropertyChanged(QStringLiteral("AppCondenserCassettePosition:-3"));
    EXPECT_EQ(p->txtAdd->Address(), 4);
    EXPECT_TRUE(rig.boxes.texts().isEmpty()) << rig.boxes.texts().join('|').toStdString();
}

TEST(CondenserPanel, TheSetterShowsThePositionTheDispatchStored) {
    TurretRig rig;
    auto* p = rig.open<frmSubCond>(kCond);
    ASSERT_NE(p, nullptr);
    mainState().mCon.setAddress(5);
    EXPECT_TRUE(FormRegistry::refresh(kCond, "CondenserChg_Set"));
    EXPECT_EQ(p->txtSel->Caption(), QStringLiteral("5 : Ph2"));
    EXPECT_EQ(p->txtAdd->Address(), 5);
    mainState().MicConnected = false;
    mainState().mCon.setAddress(1);
    p->CondenserChg_Set();
    EXPECT_EQ(p->txtSel->Caption(), QStringLiteral("5 : Ph2"));
    mainState().MicConnected = true;
}

TEST(CondenserPanel, AFailedMoveAndAFailedReadShowTheirTexts) {
    TurretRig rig;
    auto* p = rig.open<frmSubCond>(kCond);
    ASSERT_NE(p, nullptr);
    rig.faults().stallDevice(DeviceIndex::CondenserCassette);
    emit p->txtAdd->AddressPicked(4);
    EXPECT_EQ(rig.boxes.texts(), QStringList{QStringLiteral("CondenserCassette_Position Error")});
    rig.boxes.clear();
    rig.faults().killUnit(UnitIndex::Q7s);
    rig.faults().killUnit(UnitIndex::HBX_A);
    rig.faults().killUnit(UnitIndex::HBX_B);
    p->Get_Status();
    rig.faults().clearFaults();
    EXPECT_EQ(rig.boxes.texts(), QStringList{QStringLiteral("CondenserCassette_Status Read Error")});
}

TEST(CondenserPanel, UnloadWritesTheCondenserSectionOnDisk) {
    TurretRig rig;
    auto* p = rig.open<frmSubCond>(kCond);
    ASSERT_NE(p, nullptr);
    p->move(90, 30);
    FormRegistry::unload(kCond);
    const QStringList section = TurretRig::sectionOnDisk(QStringLiteral("Condenser"));
    EXPECT_TRUE(section.contains(QStringLiteral("Top=450"))) << section.join('|').toStdString();
    EXPECT_TRUE(section.contains(QStringLiteral("Left=1350"))) << section.join('|').toStdString();
}
