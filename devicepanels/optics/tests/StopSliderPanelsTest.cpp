// The EPI field stop and the ND filter panels: ranges, gestures, the ND's
// clamping and service steps, memories in the custom store 14, the EPI
// stop's own events and setter, refusals, and their places on disk.
#include "devicepanels/optics/StopPanel.h"
#include "devicepanels/optics/tests/SliderPanelRig.h"

#include <QSignalSpy>
#include <gtest/gtest.h>

namespace {
const QString kEpi = QStringLiteral("frmSubEpiFS");
const QString kND = QStringLiteral("frmSubND");

frmSubEpiFS* openEpi(PanelRig& rig) {
    auto pair = rig.buttons(kEpi, SubPanels::OpensOn::Released);
    PanelRig::click(pair.first);
    pumpEvents();
    return qobject_cast<frmSubEpiFS*>(FormRegistry::loaded(kEpi));
}

QString epiAndNdAt(int status) {
    return writtenStand(QStringLiteral("epi-nd-%1").arg(status),
                        QStringLiteral(R"({"name": "Epi and ND at %1", "units": ["Q7s", "HBX-A", "Z"],
                            "devices": {"Nosepiece": {}, "EpiFieldStop": {"status": %1},
                                        "NDFilter": {"status": %1}}})")
                            .arg(status)
                            .toUtf8());
}
} // namespace

// ---- EPI field stop ---------------------------------------------------------

TEST(EpiFieldStopPanel, OpensOnReleaseWithTheServicesRangeAndValueAndNoMemoryButton) {
    PanelRig rig;
    rig.mic.setEpiFieldStopFieldStop(2.5);
    auto* epi = openEpi(rig);
    ASSERT_NE(epi, nullptr);
    EXPECT_EQ(epi->windowTitle(), QStringLiteral("EPI Field Stop"));
    EXPECT_TRUE(epi->usrScroll->isEnabled());
    EXPECT_DOUBLE_EQ(epi->usrScroll->Min(), rig.mic.LowerLimit(LimitIndex::EpiFieldStop));
    EXPECT_DOUBLE_EQ(epi->usrScroll->Max(), rig.mic.UpperLimit(LimitIndex::EpiFieldStop));
    EXPECT_DOUBLE_EQ(epi->usrScroll->Value(), 2.5);
    EXPECT_EQ(epi->txtSel->Caption(), QStringLiteral("2.5 mm"));
    EXPECT_EQ(epi->BtnMemory, nullptr);
    EXPECT_TRUE(epi->btnReset->isVisible());
}

TEST(EpiFieldStopPanel, AStatusWordOfTwoDisablesTheSliderAndEndsTheRead) {
    PanelRig rig({epiAndNdAt(2)});
    auto* epi = openEpi(rig);
    ASSERT_NE(epi, nullptr);
    EXPECT_FALSE(epi->usrScroll->isEnabled());
    EXPECT_TRUE(epi->txtSel->Caption().isEmpty());
    EXPECT_TRUE(rig.boxes.texts().isEmpty());
}

TEST(EpiFieldStopPanel, GesturesSendTheValueOrOneStepOfItsAmount) {
    PanelRig rig;
    rig.mic.setEpiFieldStopFieldStop(3);
    auto* epi = openEpi(rig);
    ASSERT_NE(epi, nullptr);
    const double step = mainState().mEpiFS.AMOUNT();
    clickStepUp(epi->usrScroll);
    EXPECT_DOUBLE_EQ(rig.mic.EpiFieldStopFieldStop(), 3 + step);
    epi->usrScroll->setValue(3);
    clickStepDown(epi->usrScroll);
    EXPECT_DOUBLE_EQ(rig.mic.EpiFieldStopFieldStop(), 3 - step);
    clickTrackLeftEnd(epi->usrScroll);
    EXPECT_NEAR(rig.mic.EpiFieldStopFieldStop(), epi->usrScroll->Value(), 1e-6);
    EXPECT_TRUE(rig.boxes.texts().isEmpty()) << rig.boxes.texts().join('|').toStdString();
}

TEST(EpiFieldStopPanel, StepUpAtMaxGoesToTheServiceWhichRefusesAndTheSliderStays) {
    PanelRig rig;
    const double max = rig.mic.UpperLimit(LimitIndex::EpiFieldStop);
    rig.mic.setEpiFieldStopFieldStop(max);
    auto* epi = openEpi(rig);
    ASSERT_NE(epi, nullptr);
    clickStepUp(epi->usrScroll);
    EXPECT_EQ(rig.boxes.texts(), QStringList{QStringLiteral("EpiFieldStop_FieldStop Error")});
    EXPECT_DOUBLE_EQ(epi->usrScroll->Value(), max);
    EXPECT_DOUBLE_EQ(rig.mic.EpiFieldStopFieldStop(), max);
}

TEST(EpiFieldStopPanel, ResetIsThereAndUsableAndDoesNothing) {
    PanelRig rig;
    rig.mic.setEpiFieldStopFieldStop(4);
    auto* epi = openEpi(rig);
    ASSERT_NE(epi, nullptr);
    // Present and usable, not greyed: the click reaches it and it does nothing.
    EXPECT_TRUE(epi->btnReset->isVisible());
    EXPECT_TRUE(epi->btnReset->isEnabled());
    QSignalSpy released(epi->btnReset, &usrButton::Released);
    epi->usrScroll->setOrigin(1);
    PanelRig::click(epi->btnReset);
    pumpEvents();
    EXPECT_EQ(released.count(), 1);
    EXPECT_DOUBLE_EQ(rig.mic.EpiFieldStopFieldStop(), 4);
    EXPECT_TRUE(rig.boxes.texts().isEmpty());
}

TEST(EpiFieldStopPanel, ItsOwnEventMovesSliderLabelAndObject) {
    PanelRig rig;
    auto* epi = openEpi(rig);
    ASSERT_NE(epi, nullptr);
    rig.mic.setEpiFieldStopFieldStop(1.5);  // another client moved it
    pumpEvents();
    EXPECT_DOUBLE_EQ(mainState().mEpiFS.Diameter(), 1.5);
    EXPECT_DOUBLE_EQ(epi->usrScroll->Value(), 1.5);
    EXPECT_EQ(epi->txtSel->Caption(), QStringLiteral("1.5 mm"));
    emit rig.mic.OnPropertyChanged(QStringLiteral("AppEpiFieldStopFieldStop:wide"));
    EXPECT_EQ(rig.boxes.texts(), QStringList{QStringLiteral("EpiFieldStop_OnPropertyChanged")});
    EXPECT_EQ(epi->txtSel->Caption(), QStringLiteral("1.5 mm"));
    rig.boxes.clear();
    emit rig.mic.OnPropertyChanged(QStringLiteral("AppNDFilterTransmission:30"));
    EXPECT_TRUE(rig.boxes.texts().isEmpty());
}

TEST(EpiFieldStopPanel, TheSetterReadsTheServiceAndWritesBothMainLabels) {
    PanelRig rig;
    MainSideStandIn main;
    auto* epi = openEpi(rig);
    ASSERT_NE(epi, nullptr);
    rig.mic.setEpiFieldStopFieldStop(3.5);
    mainState().mEpiFS.setDiameter(0);
    epi->EpiFStopValue_Set();
    EXPECT_DOUBLE_EQ(mainState().mEpiFS.Diameter(), 3.5);
    EXPECT_EQ(epi->txtSel->Caption(), QStringLiteral("3.5 mm"));
    EXPECT_EQ(main.HBXField[0].Caption(), QStringLiteral("3.5 mm"));
    EXPECT_EQ(main.HBXField[1].Caption(), QStringLiteral("3.5 mm"));
}

TEST(EpiFieldStopPanel, AFailedStatusReadShowsItsText) {
    PanelRig rig;
    rig.faults().killUnit(UnitIndex::HBX_A);
    auto* epi = openEpi(rig);
    rig.faults().clearFaults();
    ASSERT_NE(epi, nullptr);
    EXPECT_TRUE(rig.boxes.texts().contains(QStringLiteral("EpiFieldStop_Status Get")))
        << rig.boxes.texts().join('|').toStdString();
}

TEST(EpiFieldStopPanel, ItsPlaceIsWrittenToItsSectionOnDisk) {
    PanelRig rig;
    EXPECT_EQ(placeWrittenOnClose<frmSubEpiFS>(rig, kEpi, QStringLiteral("EPI Field Stop"),
                                               SubPanels::OpensOn::Released),
              (QStringList{QStringLiteral("Top=1125"), QStringLiteral("Left=1800")}));
}

// ---- ND filter ----------------------------------------------------------------

TEST(NDFilterPanel, LimitsAndValueComeFromTheParameterObject) {
    PanelRig rig;
    MainState& s = mainState();
    s.mND.setMIN(10);
    s.mND.setMAX(90);
    s.mND.setDiameter(40);
    auto* nd = rig.open<frmSubND>(kND);
    ASSERT_NE(nd, nullptr);
    EXPECT_EQ(nd->windowTitle(), QStringLiteral("ND Filter"));
    EXPECT_DOUBLE_EQ(nd->usrScroll->Min(), 10);
    EXPECT_DOUBLE_EQ(nd->usrScroll->Max(), 90);
    EXPECT_DOUBLE_EQ(nd->usrScroll->Value(), 40);
    EXPECT_EQ(nd->txtSel->Caption(), QStringLiteral("40 %"));
}

TEST(NDFilterPanel, ADisabledSliderStillGetsItsValue) {
    PanelRig rig({epiAndNdAt(0)});
    mainState().mND.setDiameter(25);
    auto* nd = rig.open<frmSubND>(kND);
    ASSERT_NE(nd, nullptr);
    EXPECT_FALSE(nd->usrScroll->isEnabled());
    EXPECT_EQ(nd->txtSel->Caption(), QStringLiteral("25 %"));
}

TEST(NDFilterPanel, AStatusWordOfTwoEnablesTheSlider) {
    PanelRig rig({epiAndNdAt(2)});
    auto* nd = rig.open<frmSubND>(kND);
    ASSERT_NE(nd, nullptr);
    EXPECT_TRUE(nd->usrScroll->isEnabled());
}

TEST(NDFilterPanel, ADragBelowMinSendsMinNotTheDraggedValue) {
    PanelRig rig;
    mainState().mND.setDiameter(80);
    auto* nd = rig.open<frmSubND>(kND);
    ASSERT_NE(nd, nullptr);
    ASSERT_DOUBLE_EQ(nd->usrScroll->Min(), 0);
    // The filter is limited above the slider's bottom after the panel opened.
    mainState().mND.setMIN(30);
    clickTrackLeftEnd(nd->usrScroll);
    ASSERT_LT(nd->usrScroll->Value(), 30);
    EXPECT_TRUE(rig.boxes.texts().isEmpty()) << rig.boxes.texts().join('|').toStdString();
    EXPECT_DOUBLE_EQ(rig.mic.NDFilterTransmission(), 30);
    nd->usrScroll->setValue(130);
    emit nd->usrScroll->Changed();
    EXPECT_DOUBLE_EQ(rig.mic.NDFilterTransmission(), mainState().mND.MAX());
}

TEST(NDFilterPanel, ValuesAtMinAndMaxAreSentAsTheyStand) {
    PanelRig rig;
    MainState& s = mainState();
    s.mND.setMIN(20);
    s.mND.setMAX(80);
    auto* nd = rig.open<frmSubND>(kND);
    ASSERT_NE(nd, nullptr);
    nd->usrScroll->setValue(20);
    emit nd->usrScroll->Changed();
    EXPECT_DOUBLE_EQ(rig.mic.NDFilterTransmission(), 20);
    nd->usrScroll->setValue(80);
    emit nd->usrScroll->TrackClicked();
    EXPECT_DOUBLE_EQ(rig.mic.NDFilterTransmission(), 80);
}

TEST(NDFilterPanel, StepButtonsUseTheServicesOwnStepAlsoAtALimit) {
    PanelRig rig;
    const double serviceStep = rig.mic.Step(LimitIndex::NDFilter);
    mainState().mND.setAMOUNT(1);  // the panel's own amount plays no part
    rig.mic.setNDFilterTransmission(50);
    auto* nd = rig.open<frmSubND>(kND);
    ASSERT_NE(nd, nullptr);
    clickStepUp(nd->usrScroll);
    EXPECT_DOUBLE_EQ(rig.mic.NDFilterTransmission(), 50 + serviceStep);
    clickStepDown(nd->usrScroll);
    clickStepDown(nd->usrScroll);
    EXPECT_DOUBLE_EQ(rig.mic.NDFilterTransmission(), 50 - serviceStep);
    EXPECT_TRUE(rig.boxes.texts().isEmpty());
    // At the top the service answers the step itself: it refuses.
    rig.mic.setNDFilterTransmission(rig.mic.UpperLimit(LimitIndex::NDFilter));
    nd->usrScroll->setValue(rig.mic.UpperLimit(LimitIndex::NDFilter));
    clickStepUp(nd->usrScroll);
    EXPECT_EQ(rig.boxes.texts(), QStringList{QStringLiteral("NDFilter_Transmission Error")});
    clickStepDown(nd->usrScroll);
    EXPECT_DOUBLE_EQ(rig.mic.NDFilterTransmission(), rig.mic.UpperLimit(LimitIndex::NDFilter) - serviceStep);
}

TEST(NDFilterPanel, MemoryGoesToTheCustomStoreFourteenAndResetSendsIt) {
    PanelRig rig;
    MainState& s = mainState();
    s.ObservationNow = 9;
    s.mObj.setAddress(2);
    s.mND.setDiameter(60);
    auto* nd = rig.open<frmSubND>(kND);
    ASSERT_NE(nd, nullptr);
    EXPECT_TRUE(nd->BtnMemory->isVisible());
    PanelRig::click(nd->BtnMemory);
    EXPECT_DOUBLE_EQ(s.mND.Memory_Get(9, 2), 60);
    EXPECT_DOUBLE_EQ(rig.mic.CustomValue(DeviceIndex::NDFilter, 9, 2), 60);
    EXPECT_DOUBLE_EQ(rig.mic.CustomValue(DeviceIndex::ApertureStop, 9, 2), 0);
    EXPECT_DOUBLE_EQ(nd->usrScroll->Origin(), 60);
    rig.mic.setNDFilterTransmission(10);
    PanelRig::click(nd->btnReset);
    EXPECT_DOUBLE_EQ(rig.mic.NDFilterTransmission(), 60);
    EXPECT_TRUE(rig.boxes.texts().isEmpty()) << rig.boxes.texts().join('|').toStdString();
}

TEST(NDFilterPanel, FailuresOfMemoryResetAndStatusShowTheirTexts) {
    PanelRig rig;
    MainState& s = mainState();
    s.ObservationNow = 7;
    s.mObj.setAddress(1);
    auto* nd = rig.open<frmSubND>(kND);
    ASSERT_NE(nd, nullptr);
    rig.faults().killUnit(UnitIndex::HBX_A);
    rig.faults().killUnit(UnitIndex::Q7s);
    PanelRig::click(nd->BtnMemory);
    PanelRig::click(nd->btnReset);
    emit nd->usrScroll->Changed();
    EXPECT_EQ(rig.boxes.texts(), (QStringList{QStringLiteral("NDFilter_CustomValue Set Error"),
                                              QStringLiteral("NDFilter_CustomValue Read Error"),
                                              QStringLiteral("NDFilter_Transmission Error")}));
    rig.faults().clearFaults();
    // The status word fails only when the service itself is gone.
    rig.boxes.clear();
    rig.mic.Disconnect();
    nd->Get_Status();
    EXPECT_EQ(rig.boxes.texts(), QStringList{QStringLiteral("NDFilter_Status Read Error")});
}

TEST(NDFilterPanel, TheSetterShowsTheStoredTransmissionAndTheOriginFollowsTheObjective) {
    PanelRig rig;
    MainState& s = mainState();
    s.ObservationNow = 8;
    s.mObj.setAddress(1);
    s.mND.Memory_Put(8, 3, 70);
    auto* nd = rig.open<frmSubND>(kND);
    ASSERT_NE(nd, nullptr);
    s.mND.setDiameter(35);
    EXPECT_TRUE(FormRegistry::refresh(kND, "NDValue_Set"));
    EXPECT_EQ(nd->txtSel->Caption(), QStringLiteral("35 %"));
    EXPECT_DOUBLE_EQ(nd->usrScroll->Value(), 35);
    EXPECT_TRUE(FormRegistry::refresh(kND, "Origin_Chg", 3));
    EXPECT_DOUBLE_EQ(nd->usrScroll->Origin(), 70);
}

TEST(NDFilterPanel, WithoutAMicroscopeNothingIsSent) {
    PanelRig rig;
    rig.mic.setNDFilterTransmission(50);
    auto* nd = rig.open<frmSubND>(kND);
    ASSERT_NE(nd, nullptr);
    mainState().MicConnected = false;
    clickStepUp(nd->usrScroll);
    clickTrackLeftEnd(nd->usrScroll);
    nd->btnReset->show();
    PanelRig::click(nd->btnReset);
    mainState().MicConnected = true;
    EXPECT_DOUBLE_EQ(rig.mic.NDFilterTransmission(), 50);
    EXPECT_TRUE(rig.boxes.texts().isEmpty());
}

TEST(NDFilterPanel, ItsPlaceIsWrittenToItsSectionOnDisk) {
    PanelRig rig;
    EXPECT_EQ(placeWrittenOnClose<frmSubND>(rig, kND, QStringLiteral("ND Filter"), SubPanels::OpensOn::Pressed),
              (QStringList{QStringLiteral("Top=1125"), QStringLiteral("Left=1800")}));
}
