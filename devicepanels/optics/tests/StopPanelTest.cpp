// The two stops with memories: status words, range, origin and memories per
// user observation method and objective, the value setters and messages.
#include "devicepanels/optics/tests/PanelRig.h"
#include "devicepanels/optics/StopPanel.h"
#include "widgets/PanelControls.h"
#include "widgets/usrXscroll.h"

#include <gtest/gtest.h>

namespace {
const QString kAp = QStringLiteral("frmSubAp");
const QString kFS = QStringLiteral("frmSubFS");

QString stopsAt(int status) {
    return writtenStand(QStringLiteral("stops-%1").arg(status),
                        QStringLiteral(R"({"name": "Stops at %1", "units": ["Q7s", "HBX-A", "Z"],
                            "devices": {"Nosepiece": {}, "ApertureStop": {"status": %1},
                                        "FieldStop": {"status": %1}}})")
                            .arg(status)
                            .toUtf8());
}
} // namespace

TEST(StopPanels, OpenShowsTheServicesRangeValueAndUnit) {
    PanelRig rig;
    rig.mic.setApertureStopApertureStop(2.5);
    auto* ap = rig.open<frmSubAp>(kAp);
    ASSERT_NE(ap, nullptr);
    EXPECT_TRUE(ap->usrScroll->isEnabled());
    EXPECT_DOUBLE_EQ(ap->usrScroll->Min(), rig.mic.LowerLimit(LimitIndex::ApertureStop));
    EXPECT_DOUBLE_EQ(ap->usrScroll->Max(), rig.mic.UpperLimit(LimitIndex::ApertureStop));
    EXPECT_DOUBLE_EQ(ap->usrScroll->Value(), 2.5);
    EXPECT_EQ(ap->txtSel->Caption(), QStringLiteral("2.5 mm"));
    rig.mic.setFieldStopFieldStop(3);
    auto* fs = rig.open<frmSubFS>(kFS);
    ASSERT_NE(fs, nullptr);
    EXPECT_EQ(fs->txtSel->Caption(), QStringLiteral("3 mm"));
    EXPECT_EQ(fs->windowTitle(), QStringLiteral("DIA Field Stop"));
}

TEST(StopPanels, StatusWordTwoDisablesTheApertureStopButEnablesTheFieldStop) {
    PanelRig rig({stopsAt(2)});
    auto* ap = rig.open<frmSubAp>(kAp);
    auto* fs = rig.open<frmSubFS>(kFS);
    ASSERT_TRUE(ap && fs);
    EXPECT_FALSE(ap->usrScroll->isEnabled());
    // Get_Status stopped there: nothing else was filled in.
    EXPECT_TRUE(ap->txtSel->Caption().isEmpty());
    EXPECT_TRUE(fs->usrScroll->isEnabled());
    EXPECT_FALSE(fs->txtSel->Caption().isEmpty());
}

TEST(StopPanels, BuiltInMethodsHideTheMemoryButtonsAndPutTheOriginAtMin) {
    PanelRig rig;
    mainState().ObservationNow = 1;
    auto* ap = rig.open<frmSubAp>(kAp);
    ASSERT_NE(ap, nullptr);
    EXPECT_FALSE(ap->BtnMemory->isVisible());
    EXPECT_FALSE(ap->btnReset->isVisible());
    EXPECT_DOUBLE_EQ(ap->usrScroll->Origin(), mainState().mAS.MIN());
}

TEST(StopPanels, AUserMethodShowsTheMemoryButtonsAndTheOriginAtTheObjectivesMemory) {
    PanelRig rig;
    MainState& s = mainState();
    s.ObservationNow = 8;
    s.mObj.setAddress(3);
    s.mAS.Memory_Put(8, 3, 12);
    auto* ap = rig.open<frmSubAp>(kAp);
    ASSERT_NE(ap, nullptr);
    EXPECT_TRUE(ap->BtnMemory->isVisible());
    EXPECT_TRUE(ap->btnReset->isVisible());
    // Shown after the panel was laid out without them: the window makes room.
    for (QWidget* b : {static_cast<QWidget*>(ap->BtnMemory), static_cast<QWidget*>(ap->btnReset)})
        EXPECT_TRUE(ap->rect().contains(b->geometry())) << b->objectName().toStdString();
    QDir().mkpath(testHome() + QStringLiteral("/screens"));
    EXPECT_TRUE(ap->grab().save(testHome() + QStringLiteral("/screens/aperture-stop-user-method.png")));
    EXPECT_DOUBLE_EQ(ap->usrScroll->Origin(), 12.0);
    // The dispatch moves the origin with the objective.
    s.mAS.Memory_Put(8, 4, 6);
    ap->Origin_Chg(4);
    EXPECT_DOUBLE_EQ(ap->usrScroll->Origin(), 6.0);
}

TEST(StopPanels, ADisabledStopOffersNeitherMemoryNorResetEvenInAUserMethod) {
    // Status 0 greys both stops; the read ends there and never shows the buttons.
    PanelRig rig({stopsAt(0)});
    MainState& s = mainState();
    s.ObservationNow = 8;
    s.mObj.setAddress(3);
    s.mAS.Memory_Put(8, 3, 12);
    auto* ap = rig.open<frmSubAp>(kAp);
    auto* fs = rig.open<frmSubFS>(kFS);
    ASSERT_TRUE(ap && fs);
    for (StopPanel* stop : {static_cast<StopPanel*>(ap), static_cast<StopPanel*>(fs)}) {
        EXPECT_TRUE(stop->isVisible());
        EXPECT_FALSE(stop->usrScroll->isEnabled()) << stop->formName().toStdString();
        EXPECT_FALSE(stop->BtnMemory->isVisible()) << stop->formName().toStdString();
        EXPECT_FALSE(stop->btnReset->isVisible()) << stop->formName().toStdString();
    }
    // Tab walks the greyed panel's controls: neither button is among them.
    ap->activateWindow();
    pumpEvents();
    for (int i = 0; i < 4; ++i) {
        QWidget* focus = QApplication::focusWidget();
        EXPECT_NE(focus, ap->BtnMemory);
        EXPECT_NE(focus, ap->btnReset);
        if (focus)
            QTest::keyClick(focus, Qt::Key_Tab);
    }
    EXPECT_DOUBLE_EQ(s.mAS.Memory_Get(8, 3), 12);
    EXPECT_TRUE(rig.boxes.texts().isEmpty()) << rig.boxes.texts().join('|').toStdString();
    // Kept to look at (build/testhome/panels_stop_tests/screens).
    QDir().mkpath(testHome() + QStringLiteral("/screens"));
    EXPECT_TRUE(ap->grab().save(testHome() + QStringLiteral("/screens/greyed-aperture-stop.png")));
}

TEST(StopPanels, ABuiltInMethodOnAGreyedApertureStopShowsNoButtonsWhileTheUsableFieldStopHidesThem) {
    // Status 2: the aperture stop (needs 1) is greyed, the field stop (needs
    // not 0) usable; in method 1 neither offers Memory or Reset.
    PanelRig rig({stopsAt(2)});
    mainState().ObservationNow = 1;
    auto* ap = rig.open<frmSubAp>(kAp);
    auto* fs = rig.open<frmSubFS>(kFS);
    ASSERT_TRUE(ap && fs);
    EXPECT_FALSE(ap->usrScroll->isEnabled());
    EXPECT_FALSE(ap->BtnMemory->isVisible());
    EXPECT_FALSE(ap->btnReset->isVisible());
    EXPECT_TRUE(fs->usrScroll->isEnabled());
    EXPECT_FALSE(fs->BtnMemory->isVisible());
    EXPECT_FALSE(fs->btnReset->isVisible());
}

TEST(StopPanels, AMemoryOutsideThePresentLimitsPutsTheOriginAtMin) {
    PanelRig rig;
    MainState& s = mainState();
    s.ObservationNow = 7;
    s.mObj.setAddress(2);
    s.mAS.Memory_Put(7, 2, 999);
    auto* ap = rig.open<frmSubAp>(kAp);
    ASSERT_NE(ap, nullptr);
    EXPECT_DOUBLE_EQ(ap->usrScroll->Origin(), ap->usrScroll->Min());
}

TEST(StopPanels, GesturesSendTheValueOrOneStepAndTheSliderWaitsForTheEvent) {
    PanelRig rig;
    rig.mic.setApertureStopApertureStop(10);
    auto* ap = rig.open<frmSubAp>(kAp);
    ASSERT_NE(ap, nullptr);
    const double step = mainState().mAS.AMOUNT();
    emit ap->usrScroll->StepUp();
    EXPECT_DOUBLE_EQ(rig.mic.ApertureStopApertureStop(), 10 + step);
    // No event has reached the slider (no dispatch here): it still reads 10.
    EXPECT_DOUBLE_EQ(ap->usrScroll->Value(), 10);
    emit ap->usrScroll->StepDown();
    EXPECT_DOUBLE_EQ(rig.mic.ApertureStopApertureStop(), 10 - step);
    ap->usrScroll->setValue(4);
    emit ap->usrScroll->Changed();
    EXPECT_DOUBLE_EQ(rig.mic.ApertureStopApertureStop(), 4);
    ap->usrScroll->setValue(5);
    emit ap->usrScroll->TrackClicked();
    EXPECT_DOUBLE_EQ(rig.mic.ApertureStopApertureStop(), 5);
}

TEST(StopPanels, StepUpAtMaxGoesToTheServiceWhichRefusesAndTheSliderStays) {
    PanelRig rig;
    const double max = rig.mic.UpperLimit(LimitIndex::ApertureStop);
    rig.mic.setApertureStopApertureStop(max);
    auto* ap = rig.open<frmSubAp>(kAp);
    ASSERT_NE(ap, nullptr);
    emit ap->usrScroll->StepUp();
    EXPECT_EQ(rig.boxes.texts(), QStringList{QStringLiteral("ApertureStop_ApertureStop Error")});
    EXPECT_DOUBLE_EQ(ap->usrScroll->Value(), max);
    EXPECT_DOUBLE_EQ(rig.mic.ApertureStopApertureStop(), max);
}

TEST(StopPanels, ResetSendsTheOrigin) {
    PanelRig rig;
    MainState& s = mainState();
    s.ObservationNow = 9;
    s.mObj.setAddress(1);
    s.mFS.Memory_Put(9, 1, 7);
    auto* fs = rig.open<frmSubFS>(kFS);
    ASSERT_NE(fs, nullptr);
    PanelRig::click(fs->btnReset);
    EXPECT_DOUBLE_EQ(rig.mic.FieldStopFieldStop(), 7);
}

TEST(StopPanels, MemoryInAUserMethodStoresLocallyAndInTheServiceAndMovesTheOrigin) {
    PanelRig rig;
    MainState& s = mainState();
    s.ObservationNow = 10;
    s.mObj.setAddress(5);
    s.mAS.setDiameter(8.5);
    auto* ap = rig.open<frmSubAp>(kAp);
    ASSERT_NE(ap, nullptr);
    PanelRig::click(ap->BtnMemory);
    EXPECT_DOUBLE_EQ(s.mAS.Memory_Get(10, 5), 8.5);
    EXPECT_DOUBLE_EQ(rig.mic.CustomValue(DeviceIndex::ApertureStop, 10, 5), 8.5);
    EXPECT_DOUBLE_EQ(ap->usrScroll->Origin(), 8.0) << "the origin reads the memory as a whole number";
    EXPECT_TRUE(rig.boxes.texts().isEmpty());
}

TEST(StopPanels, MemoryInABuiltInMethodStaysLocal) {
    PanelRig rig;
    MainState& s = mainState();
    s.ObservationNow = 2;
    s.mObj.setAddress(1);
    s.mFS.setDiameter(4);
    auto* fs = rig.open<frmSubFS>(kFS);
    ASSERT_NE(fs, nullptr);
    fs->BtnMemory->show();
    PanelRig::click(fs->BtnMemory);
    EXPECT_DOUBLE_EQ(s.mFS.Memory_Get(2, 1), 4);
    EXPECT_DOUBLE_EQ(fs->usrScroll->Origin(), fs->usrScroll->Min());
}

TEST(StopPanels, AFailedCustomStoreShowsItsOwnText) {
    PanelRig rig;
    MainState& s = mainState();
    s.ObservationNow = 11;
    s.mObj.setAddress(1);
    auto* fs = rig.open<frmSubFS>(kFS);
    ASSERT_NE(fs, nullptr);
    rig.faults().killUnit(UnitIndex::Q7s);
    PanelRig::click(fs->BtnMemory);
    rig.faults().clearFaults();
    EXPECT_EQ(rig.boxes.texts(), QStringList{QStringLiteral("ObservationMethod_FieldStop CustomValue Error")});
}

TEST(StopPanels, TheSetterShowsTheStoredDiameterOnlyWhileConnected) {
    PanelRig rig;
    auto* ap = rig.open<frmSubAp>(kAp);
    ASSERT_NE(ap, nullptr);
    mainState().mAS.setDiameter(3);
    EXPECT_TRUE(FormRegistry::refresh(kAp, "AStopValue_Set"));
    EXPECT_EQ(ap->txtSel->Caption(), QStringLiteral("3 mm"));
    mainState().MicConnected = false;
    mainState().mAS.setDiameter(6);
    ap->AStopValue_Set();
    EXPECT_EQ(ap->txtSel->Caption(), QStringLiteral("3 mm"));
    mainState().MicConnected = true;
}

TEST(StopPanels, AFailedStatusReadShowsTheStatusText) {
    PanelRig rig;
    rig.faults().killUnit(UnitIndex::Q7s);
    auto* fs = rig.open<frmSubFS>(kFS);
    rig.faults().clearFaults();
    ASSERT_NE(fs, nullptr);
    EXPECT_TRUE(rig.boxes.texts().contains(QStringLiteral("FieldStop_Status Read Error")))
        << rig.boxes.texts().join('|').toStdString();
}
