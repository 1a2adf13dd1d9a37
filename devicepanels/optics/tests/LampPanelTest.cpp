// The lamp panel: the label rule over on/off, voltage and preset, the
// slider's look, btnOn, the preset button, its own events, the setter that
// writes the main panel's labels, refusals, and its place on disk.
#include "devicepanels/optics/LampPanel.h"
#include "devicepanels/optics/tests/SliderPanelRig.h"

#include <gtest/gtest.h>

namespace {
const QString kLamp = QStringLiteral("frmSubLamp");

QString lampStand(const QString& name, const QString& state) {
    return writtenStand(name, QStringLiteral(R"({"name": "Lamp %1", "units": ["Q7s", "HBX-A", "Z"],
                            "devices": {"Nosepiece": {}, "Lamp": {}}, "state": %2})")
                                  .arg(name, state)
                                  .toUtf8());
}

frmSubLamp* openLampOn(PanelRig& rig, double volts) {
    rig.mic.LampOn();
    rig.mic.setLampControlVoltage(volts);
    mainState().mLamp.setONOFF(1);
    mainState().mLamp.setPreset(0);
    return rig.open<frmSubLamp>(kLamp);
}
} // namespace

TEST(LampPanel, ALitLampShowsItsVoltageOnAGlowingSlider) {
    PanelRig rig;
    auto* lamp = openLampOn(rig, 4.5);
    ASSERT_NE(lamp, nullptr);
    EXPECT_EQ(lamp->windowTitle(), QStringLiteral("Lamp"));
    EXPECT_DOUBLE_EQ(lamp->usrScroll->Min(), rig.mic.LowerLimit(LimitIndex::Lamp));
    EXPECT_DOUBLE_EQ(lamp->usrScroll->Max(), rig.mic.UpperLimit(LimitIndex::Lamp));
    EXPECT_DOUBLE_EQ(lamp->usrScroll->Value(), 4.5);
    EXPECT_EQ(lamp->txtSel->Caption(), QStringLiteral("4.5 V"));
    EXPECT_EQ(lamp->usrScroll->BarColor(), 0xFFD0C0);
    EXPECT_EQ(lamp->usrScroll->Style(), 2);
    EXPECT_TRUE(lamp->frmLamp->isEnabled());
    EXPECT_EQ(lamp->btnOn->Caption(), QStringLiteral("Switch Off"));
    // Kept to look at beside the dark lamp of the picture test.
    QDir().mkpath(testHome() + QStringLiteral("/screens"));
    EXPECT_TRUE(lamp->grab().save(testHome() + QStringLiteral("/screens/frmSubLamp-lit.png")));
}

TEST(LampPanel, ADarkLampShowsNoLabelADarkSliderAndADisabledFrame) {
    PanelRig rig;
    rig.mic.LampOff();
    auto* lamp = rig.open<frmSubLamp>(kLamp);
    ASSERT_NE(lamp, nullptr);
    EXPECT_TRUE(lamp->txtSel->Caption().isEmpty());
    EXPECT_EQ(lamp->usrScroll->BarColor(), 0x241410);
    EXPECT_EQ(lamp->usrScroll->Style(), 0);
    EXPECT_FALSE(lamp->frmLamp->isEnabled());
}

TEST(LampPanel, OnPresetTheLabelReadsPreset) {
    PanelRig rig;
    rig.mic.LampOn();
    rig.mic.LampPreset();
    auto* lamp = rig.open<frmSubLamp>(kLamp);
    ASSERT_NE(lamp, nullptr);
    EXPECT_EQ(lamp->txtSel->Caption(), QStringLiteral("Preset"));
}

TEST(LampPanel, AStatusWordOtherThanOneDisablesTheSliderAndEndsTheRead) {
    PanelRig rig({writtenStand(QStringLiteral("lamp-status-2"),
                               R"({"name": "Lamp 2", "units": ["Q7s"], "devices": {"Lamp": {"status": 2}}})")});
    auto* lamp = rig.open<frmSubLamp>(kLamp);
    ASSERT_NE(lamp, nullptr);
    EXPECT_FALSE(lamp->usrScroll->isEnabled());
    EXPECT_TRUE(lamp->txtSel->Caption().isEmpty());
}

TEST(LampPanel, AVoltageEventWhileTheLampIsOffChangesNeitherPowerNorSliderAndClearsTheLabel) {
    PanelRig rig;
    auto* lamp = openLampOn(rig, 5);
    ASSERT_NE(lamp, nullptr);
    rig.mic.LampOff();
    pumpEvents();
    EXPECT_EQ(mainState().mLamp.ONOFF(), 0);
    const double power = mainState().mLamp.POWER();
    lamp->txtSel->setCaption(QStringLiteral("stale"));
    rig.mic.setLampControlVoltage(7);
    pumpEvents();
    EXPECT_DOUBLE_EQ(mainState().mLamp.POWER(), power);
    EXPECT_DOUBLE_EQ(lamp->usrScroll->Value(), 5);
    EXPECT_TRUE(lamp->txtSel->Caption().isEmpty());
    EXPECT_EQ(lamp->usrScroll->Style(), 0);
}

TEST(LampPanel, AfterPresetGoesOffTheLabelStaysPresetUntilTheNextVoltage) {
    PanelRig rig;
    auto* lamp = openLampOn(rig, 5);
    ASSERT_NE(lamp, nullptr);
    PanelRig::click(lamp->btnReset);  // preset
    pumpEvents();
    EXPECT_EQ(lamp->txtSel->Caption(), QStringLiteral("Preset"));
    EXPECT_EQ(mainState().mLamp.Preset(), 1);
    emit rig.mic.OnPropertyChanged(QStringLiteral("AppLampIsPreset:0"));
    EXPECT_EQ(mainState().mLamp.Preset(), 0);
    EXPECT_EQ(lamp->txtSel->Caption(), QStringLiteral("Preset"));
    emit rig.mic.OnPropertyChanged(QStringLiteral("AppLampControlVoltage:3.2"));
    EXPECT_EQ(lamp->txtSel->Caption(), QStringLiteral("3.2 V"));
    EXPECT_DOUBLE_EQ(lamp->usrScroll->Value(), 3.2);
}

TEST(LampPanel, OnWithAStatusOfTwoSwitchesOn) {
    PanelRig rig({lampStand(QStringLiteral("lamp-on-2"), QStringLiteral(R"({"lampOn": 2})"))});
    auto* lamp = rig.open<frmSubLamp>(kLamp);
    ASSERT_NE(lamp, nullptr);
    ASSERT_EQ(rig.mic.LampIsOn(), 2);
    PanelRig::click(lamp->btnOn);
    pumpEvents();
    EXPECT_EQ(rig.mic.LampIsOn(), 1);
    EXPECT_TRUE(lamp->frmLamp->isEnabled());
}

TEST(LampPanel, OnSwitchesALitLampOffAndTheLookFollowsTheEvent) {
    PanelRig rig;
    auto* lamp = openLampOn(rig, 6);
    ASSERT_NE(lamp, nullptr);
    PanelRig::click(lamp->btnOn);
    pumpEvents();
    EXPECT_EQ(rig.mic.LampIsOn(), 0);
    EXPECT_FALSE(lamp->frmLamp->isEnabled());
    EXPECT_EQ(lamp->usrScroll->BarColor(), 0x241410);
    EXPECT_TRUE(lamp->txtSel->Caption().isEmpty());
    PanelRig::click(lamp->btnOn);
    pumpEvents();
    EXPECT_EQ(rig.mic.LampIsOn(), 1);
    EXPECT_EQ(lamp->usrScroll->Style(), 2);
}

TEST(LampPanel, GesturesSendTheVoltageOrOneStepAndRefusalsShowTheirText) {
    PanelRig rig;
    auto* lamp = openLampOn(rig, 6);
    ASSERT_NE(lamp, nullptr);
    const double step = mainState().mLamp.AMOUNT();
    clickStepUp(lamp->usrScroll);
    EXPECT_DOUBLE_EQ(rig.mic.LampControlVoltage(), 6 + step);
    pumpEvents();
    clickStepDown(lamp->usrScroll);
    EXPECT_DOUBLE_EQ(rig.mic.LampControlVoltage(), 6);
    const double max = rig.mic.UpperLimit(LimitIndex::Lamp);
    rig.mic.setLampControlVoltage(max);
    pumpEvents();
    clickStepUp(lamp->usrScroll);
    EXPECT_EQ(rig.boxes.texts(), QStringList{QStringLiteral("Lamp_ControlVoltage Error")});
    EXPECT_DOUBLE_EQ(lamp->usrScroll->Value(), max);
}

TEST(LampPanel, TheSetterReadsTheVoltageAndWritesTheMainPanelsLabels) {
    PanelRig rig;
    MainSideStandIn main;
    auto* lamp = openLampOn(rig, 5.5);
    ASSERT_NE(lamp, nullptr);
    mainState().mLamp.setPOWER(0);
    mainState().mLamp.setPreset(0);
    lamp->LampValue_Set();
    EXPECT_DOUBLE_EQ(mainState().mLamp.POWER(), 5.5);
    EXPECT_EQ(lamp->txtSel->Caption(), QStringLiteral("5.5 V"));
    EXPECT_EQ(main.LampCmd[0].Caption(), QStringLiteral("5.5 V"));
    EXPECT_EQ(main.LampCmd[1].Caption(), QStringLiteral("5.5 V"));
    mainState().mLamp.setPreset(1);
    lamp->LampValue_Set();
    EXPECT_EQ(lamp->txtSel->Caption(), QStringLiteral("Preset"));
    EXPECT_EQ(main.LampCmd[1].Caption(), QStringLiteral("Preset"));
}

TEST(LampPanel, WithThePanelClosedTheMainLabelsAreWrittenAndNothingIsLoaded) {
    PanelRig rig;
    MainSideStandIn main;
    rig.mic.LampOn();
    rig.mic.setLampControlVoltage(8);
    mainState().mLamp.setPreset(0);
    EXPECT_EQ(frmSubLamp::ShowLampOnMainPanel(), QStringLiteral("8 V"));
    EXPECT_EQ(main.LampCmd[0].Caption(), QStringLiteral("8 V"));
    EXPECT_EQ(FormRegistry::loaded(kLamp), nullptr);
}

TEST(LampPanel, FailuresShowTheirTextsAndNothingCrashes) {
    PanelRig rig;
    auto* lamp = openLampOn(rig, 5);
    ASSERT_NE(lamp, nullptr);
    rig.faults().killUnit(UnitIndex::Q7s);
    PanelRig::click(lamp->btnOn);
    PanelRig::click(lamp->btnReset);
    emit lamp->usrScroll->Changed();
    lamp->Get_Status();
    emit rig.mic.OnPropertyChanged(QStringLiteral("AppLampControlVoltage:bright"));
    rig.faults().clearFaults();
    EXPECT_EQ(rig.boxes.texts(),
              (QStringList{QStringLiteral("Lamp_ON/OFF Error"), QStringLiteral("Lamp_Preset Error"),
                           QStringLiteral("Lamp_ControlVoltage Error"), QStringLiteral("Lamp_Status Read Error"),
                           QStringLiteral("Error : Type mismatch")}));
}

TEST(LampPanel, WithoutAMicroscopeNothingIsSent) {
    PanelRig rig;
    auto* lamp = openLampOn(rig, 5);
    ASSERT_NE(lamp, nullptr);
    mainState().MicConnected = false;
    PanelRig::click(lamp->btnOn);
    PanelRig::click(lamp->btnReset);
    clickStepUp(lamp->usrScroll);
    mainState().MicConnected = true;
    EXPECT_EQ(rig.mic.LampIsOn(), 1);
    EXPECT_DOUBLE_EQ(rig.mic.LampControlVoltage(), 5);
    EXPECT_TRUE(rig.boxes.texts().isEmpty());
}

TEST(LampPanel, ItsPlaceIsWrittenToItsSectionOnDisk) {
    PanelRig rig;
    EXPECT_EQ(placeWrittenOnClose<frmSubLamp>(rig, kLamp, QStringLiteral("Lamp"), SubPanels::OpensOn::Pressed),
              (QStringList{QStringLiteral("Top=1125"), QStringLiteral("Left=1800")}));
}
