// The filter cube panel: its own event object, the fixed list with no
// microscope, the tool tip by cube number, the status word.
#include "devicepanels/optics/tests/TurretRig.h"
#include "devicepanels/optics/FilterCubePanel.h"
#include "widgets/PanelControls.h"
#include "widgets/usrAddress.h"

#include <QTimer>
#include <gtest/gtest.h>

namespace {
const QString kFilter = QStringLiteral("frmSubFilter");

QString cubesStand(int status) {
    return writtenStand(QStringLiteral("cubes-%1").arg(status),
                        QStringLiteral(R"({"name": "Cubes %1", "units": ["Q7s", "HBX-A", "Z"],
        "devices": {"Nosepiece": {}, "FilterBlockCassette": {"status": %1}, "ZDrive": {}},
        "filters": [{"number": 1, "name": " DAPI ", "ex": "BP360-370 ", "dmName": "DM400", "ba": " BA420"},
                    {"number": 2, "name": "GFP", "ex": "BP470", "dmName": "DM505", "ba": "BA510"},
                    {"number": 0, "name": "Empty"}]})")
                            .arg(status)
                            .toUtf8());
}
} // namespace

TEST(FilterCubePanel, OpensWithTheCubesNamesAndTheOneInPlace) {
    TurretRig rig;
    rig.mic.setFilterBlockCassettePosition(3);
    auto* p = rig.open<frmSubFilter>(kFilter);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(p->windowTitle(), QStringLiteral("Filter Cube"));
    EXPECT_EQ(p->txtAdd->First(), 1);
    EXPECT_EQ(p->txtAdd->Last(), 6);
    EXPECT_EQ(p->txtAdd->Label(2), QStringLiteral("2 : UV-EX385"));
    EXPECT_EQ(p->txtAdd->Address(), 3);
    EXPECT_EQ(p->txtSel->Caption(), QStringLiteral("3 : BLUE-EX470"));
    EXPECT_TRUE(rig.boxes.texts().isEmpty()) << rig.boxes.texts().join('|').toStdString();
}

TEST(FilterCubePanel, AfterADisconnectTheListIsTheFixedSevenAndAgreesWithTheReading) {
    TurretRig rig;
    rig.mic.setFilterBlockCassettePosition(3);
    auto* p = rig.open<frmSubFilter>(kFilter);
    ASSERT_NE(p, nullptr);
    ASSERT_EQ(TurretRig::rows(p->txtAdd).size(), 6);
    mainState().MicConnected = false;
    rig.mic.Disconnect();
    TurretRig::reactivate(rig, p);
    const QStringList fixed{"1: DIA", "2: FB-31", "3: FB-32", "4: FB-33", "5: FB-34", "6: FB-35", "7: FB-35"};
    EXPECT_EQ(TurretRig::rows(p->txtAdd), fixed);
    EXPECT_EQ(p->txtAdd->RowCount(), 7);
    EXPECT_EQ(p->txtAdd->Address(), 3);
    EXPECT_EQ(p->txtSel->Caption(), QStringLiteral("3: FB-32"));
    EXPECT_EQ(p->txtAdd->Label(p->txtAdd->Address()), p->txtSel->Caption());
    EXPECT_TRUE(rig.boxes.texts().isEmpty()) << rig.boxes.texts().join('|').toStdString();
}

TEST(FilterCubePanel, ADisconnectInTheMiddleOfAMoveEndsThePickQuietlyAndTheListGoesFixed) {
    TurretRig rig({shippedStand("full-system.json")}, StandClock::realTime(4));
    rig.mic.setFilterBlockCassettePosition(1);
    auto* p = rig.open<frmSubFilter>(kFilter);
    ASSERT_NE(p, nullptr);
    bool disabledDuringMove = false;
    QTimer::singleShot(5, p, [&] {
        disabledDuringMove = !p->txtAdd->isEnabled();
        mainState().MicConnected = false;
        rig.mic.Disconnect();
    });
    QTest::mouseClick(p->txtAdd, Qt::LeftButton, {}, p->txtAdd->rowRect(6).center());
    pumpEvents();
    EXPECT_TRUE(disabledDuringMove);
    EXPECT_TRUE(p->txtAdd->isEnabled());
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
    // Whatever the move's end, a pick now sends nothing and shows nothing.
    rig.boxes.clear();
    QTest::mouseClick(p->txtAdd, Qt::LeftButton, {}, p->txtAdd->rowRect(2).center());
    EXPECT_TRUE(rig.boxes.texts().isEmpty()) << rig.boxes.texts().join('|').toStdString();
    TurretRig::reactivate(rig, p);
    EXPECT_EQ(p->txtAdd->RowCount(), 7);
    EXPECT_EQ(p->txtAdd->Label(p->txtAdd->Address()), p->txtSel->Caption());
}

TEST(FilterCubePanel, WithNoMicroscopeAllSevenLabelsShowAndPickingSendsNothing) {
    TurretRig rig;
    mainState().MicConnected = false;
    const int16_t before = rig.mic.FilterBlockCassettePosition();
    auto* p = rig.open<frmSubFilter>(kFilter);
    ASSERT_NE(p, nullptr);
    const QStringList expected{"1: DIA", "2: FB-31", "3: FB-32", "4: FB-33", "5: FB-34", "6: FB-35", "7: FB-35"};
    const QStringList shown{p->txtAdd->Caption1(), p->txtAdd->Caption2(), p->txtAdd->Caption3(),
                            p->txtAdd->Caption4(), p->txtAdd->Caption5(), p->txtAdd->Caption6(),
                            p->txtAdd->Caption7()};
    EXPECT_EQ(shown, expected);
    EXPECT_EQ(p->txtAdd->RowCount(), 7);
    EXPECT_EQ(p->txtSel->Caption(), QStringLiteral("1: DIA"));
    QTest::mouseClick(p->txtAdd, Qt::LeftButton, {}, p->txtAdd->rowRect(5).center());
    emit p->txtAdd->AddressPicked(6);
    EXPECT_EQ(rig.mic.FilterBlockCassettePosition(), before);
    EXPECT_TRUE(rig.boxes.texts().isEmpty()) << rig.boxes.texts().join('|').toStdString();
    mainState().MicConnected = true;
}

TEST(FilterCubePanel, ACubeNumberedTwoOrMoreShowsItsNameAndNoToolTip) {
    TurretRig rig({cubesStand(1)});
    rig.mic.setFilterBlockCassettePosition(2);
    auto* p = rig.open<frmSubFilter>(kFilter);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(p->txtSel->Caption(), QStringLiteral("2 : GFP"));
    EXPECT_TRUE(p->txtSel->ToolTipText().isEmpty());
    // Numbers 0 and 1 name the three filters, trimmed.
    rig.mic.setFilterBlockCassettePosition(1);
    EXPECT_EQ(p->txtSel->Caption(), QStringLiteral("1 : DAPI"));
    EXPECT_EQ(p->txtSel->ToolTipText(), QStringLiteral("EX: BP360-370,  DM: DM400,  BA: BA420"));
}

TEST(FilterCubePanel, AStatusWordOtherThanOneLeavesThePanelAsItWas) {
    TurretRig rig({cubesStand(2)});
    auto* p = rig.open<frmSubFilter>(kFilter);
    ASSERT_NE(p, nullptr);
    EXPECT_TRUE(p->txtSel->Caption().isEmpty());
    EXPECT_EQ(p->txtAdd->Label(2), QStringLiteral("2: FB-31")) << "the fixed labels it was made with";
    EXPECT_EQ(p->txtAdd->Last(), 7) << "the design's list, untouched";
    EXPECT_TRUE(rig.boxes.texts().isEmpty()) << rig.boxes.texts().join('|').toStdString();
}

TEST(FilterCubePanel, ItsOwnEventObjectFollowsTheTurretAndIgnoresValuesOutsideTheList) {
    TurretRig rig;
    rig.mic.setFilterBlockCassettePosition(1);
    auto* p = rig.open<frmSubFilter>(kFilter);
    ASSERT_NE(p, nullptr);
    rig.mic.setFilterBlockCassettePosition(4);
    EXPECT_EQ(p->txtSel->Caption(), QStringLiteral("4 : GREEN-EX545"));
    EXPECT_EQ(p->txtAdd->Address(), 4);
    emit rig.mic.OnPropertyChanged(QStringLiteral("AppFilterBlockCassettePosition:9"));
    emit rig.mic.OnPropertyChanged(QStringLiteral("AppFilterBlockCassettePosition:0"));
    EXPECT_EQ(p->txtSel->Caption(), QStringLiteral("4 : GREEN-EX545"));
    EXPECT_EQ(p->txtAdd->Address(), 4);
    EXPECT_TRUE(rig.boxes.texts().isEmpty());
    emit rig.mic.OnPropertyChanged(QStringLiteral("AppFilterBlockCassettePosition:abc"));
    ASSERT_EQ(rig.boxes.texts().size(), 1);
    EXPECT_TRUE(rig.boxes.texts().first().startsWith(QStringLiteral("Error : ")));
}

TEST(FilterCubePanel, APickMovesTheTurretAndAFailureHasOneText) {
    TurretRig rig;
    rig.mic.setFilterBlockCassettePosition(1);
    auto* p = rig.open<frmSubFilter>(kFilter);
    ASSERT_NE(p, nullptr);
    QTest::mouseClick(p->txtAdd, Qt::LeftButton, {}, p->txtAdd->rowRect(5).center());
    pumpEvents();
    EXPECT_EQ(rig.mic.FilterBlockCassettePosition(), 5);
    EXPECT_EQ(p->txtSel->Caption(), QStringLiteral("5 : RED-EX620"));
    // No limitation or time-out texts here.
    rig.faults().stallDevice(DeviceIndex::FilterBlockCassette);
    emit p->txtAdd->AddressPicked(2);
    emit p->txtAdd->AddressPicked(9);
    rig.faults().clearFaults();
    EXPECT_EQ(rig.boxes.texts(), (QStringList{QStringLiteral("FilterBlockCassette_Position Change Error"),
                                              QStringLiteral("FilterBlockCassette_Position Change Error")}));
    EXPECT_TRUE(p->txtAdd->isEnabled());
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
}

TEST(FilterCubePanel, AFailedStatusReadShowsItsText) {
    TurretRig rig;
    rig.faults().killUnit(UnitIndex::HBX_A);
    rig.faults().killUnit(UnitIndex::Q7s);
    rig.faults().killUnit(UnitIndex::HBX_B);
    auto* p = rig.open<frmSubFilter>(kFilter);
    rig.faults().clearFaults();
    ASSERT_NE(p, nullptr);
    EXPECT_TRUE(rig.boxes.texts().contains(QStringLiteral("FilterBlockCassette_Status Read Error")))
        << rig.boxes.texts().join('|').toStdString();
}

TEST(FilterCubePanel, UnloadWritesTheFilterCubeSectionOnDisk) {
    TurretRig rig;
    auto* p = rig.open<frmSubFilter>(kFilter);
    ASSERT_NE(p, nullptr);
    p->move(60, 40);
    PanelRig::click(p->btnClose);
    pumpEvents();
    const QStringList section = TurretRig::sectionOnDisk(QStringLiteral("Filter Cube"));
    EXPECT_TRUE(section.contains(QStringLiteral("Top=600"))) << section.join('|').toStdString();
    EXPECT_TRUE(section.contains(QStringLiteral("Left=900"))) << section.join('|').toStdString();
}
