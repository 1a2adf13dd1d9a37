// The zoom panel: range and value, the link off the rear port, btnReset to
// the plain magnification, refusals by their codes, a zoom turned by hand,
// the link box mirrored on the main panel, the staged event report, and its
// place on disk.
#include "devicepanels/optics/ZoomPanel.h"
#include "devicepanels/optics/tests/SliderPanelRig.h"

#include <gtest/gtest.h>

namespace {
const QString kZoom = QStringLiteral("frmSubZoom");

frmSubZoom* openZoom(PanelRig& rig) {
    auto pair = rig.buttons(kZoom, SubPanels::OpensOn::Released);
    PanelRig::click(pair.first);
    pumpEvents();
    return qobject_cast<frmSubZoom*>(FormRegistry::loaded(kZoom));
}

void onPath(PanelRig& rig, int16_t path) {
    rig.mic.setLightPathDriveLightPath(path);
    mainState().mPath.setPATH(path);
}
} // namespace

TEST(ZoomPanel, OpensOnReleaseWithTheRangeOfIndexFiveAndTheStoredZoom) {
    PanelRig rig;
    mainState().mZoom.setZOOM(1.3);
    auto* zoom = openZoom(rig);
    ASSERT_NE(zoom, nullptr);
    EXPECT_EQ(zoom->windowTitle(), QStringLiteral("Zoom"));
    EXPECT_DOUBLE_EQ(zoom->usrScroll->Min(), 0.8);
    EXPECT_DOUBLE_EQ(zoom->usrScroll->Max(), 2.0);
    EXPECT_DOUBLE_EQ(zoom->usrScroll->Value(), 1.3);
    EXPECT_EQ(zoom->txtSel->Caption(), QStringLiteral("1.3 x"));
    EXPECT_FALSE(zoom->usrScroll->Locked());
    EXPECT_TRUE(zoom->chkLink->isEnabled());
}

TEST(ZoomPanel, AChangeOffTheRearPortAlwaysRunsWithTheLinkOff) {
    PanelRig rig;
    onPath(rig, 3);
    rig.mic.setOpticalZoomIsInterlockEnabled(1);
    mainState().mZoom.setLINK(1);
    onPath(rig, 1);
    auto* zoom = openZoom(rig);
    ASSERT_NE(zoom, nullptr);
    EXPECT_EQ(zoom->chkLink->Value(), 1);
    clickStepUp(zoom->usrScroll);
    EXPECT_EQ(rig.mic.OpticalZoomIsInterlockEnabled(), 0);
    EXPECT_NEAR(rig.mic.OpticalZoomZoom(), 1.1, 1e-9);
    EXPECT_EQ(mainState().mZoom.LINK(), 1) << "the flag is kept, only the interlock goes off";
    EXPECT_TRUE(rig.boxes.texts().isEmpty()) << rig.boxes.texts().join('|').toStdString();
}

TEST(ZoomPanel, OnTheRearPortTheLinkBoxIsWrittenToTheInterlock) {
    PanelRig rig;
    onPath(rig, 3);
    auto* zoom = openZoom(rig);
    ASSERT_NE(zoom, nullptr);
    zoom->chkLink->setValue(1);
    zoom->usrScroll->setValue(1.6);
    emit zoom->usrScroll->Changed();
    EXPECT_EQ(mainState().mZoom.LINK(), 1);
    EXPECT_EQ(rig.mic.OpticalZoomIsInterlockEnabled(), 1);
    EXPECT_NEAR(rig.mic.OpticalZoomZoom(), 1.6, 1e-9);
}

TEST(ZoomPanel, ResetGoesToOneEvenWhenThatIsNotTheMinimum) {
    PanelRig rig;
    rig.mic.setOpticalZoomZoom(1.8);
    auto* zoom = openZoom(rig);
    ASSERT_NE(zoom, nullptr);
    ASSERT_NE(zoom->usrScroll->Min(), 1.0);
    PanelRig::click(zoom->btnReset);
    EXPECT_DOUBLE_EQ(rig.mic.OpticalZoomZoom(), 1.0);
}

TEST(ZoomPanel, RefusalsShowTheTextOfTheirCode) {
    PanelRig rig;
    rig.mic.setOpticalZoomZoom(2.0);
    mainState().mZoom.setZOOM(2.0);  // as the dispatch stored it
    auto* zoom = openZoom(rig);
    ASSERT_NE(zoom, nullptr);
    clickStepUp(zoom->usrScroll);  // beyond 2.0
    rig.faults().stallDevice(DeviceIndex::OpticalZoom);
    clickStepDown(zoom->usrScroll);
    rig.faults().killUnit(UnitIndex::Q7s);
    PanelRig::click(zoom->btnReset);
    rig.faults().clearFaults();
    EXPECT_EQ(rig.boxes.texts(),
              (QStringList{QStringLiteral("Zoom_Change Limitation"), QStringLiteral("Zoom_Change TimeOut Error"),
                           QStringLiteral("Zoom_Change Error")}));
    EXPECT_DOUBLE_EQ(rig.mic.OpticalZoomZoom(), 2.0);
    EXPECT_DOUBLE_EQ(zoom->usrScroll->Value(), 2.0);
}

TEST(ZoomPanel, AZoomTurnedByHandIsShownAndNotCommanded) {
    PanelRig rig({writtenStand(QStringLiteral("manual-zoom"),
                               R"({"name": "Manual zoom", "units": ["Q7s", "HBX-A"],
                                   "devices": {"LightPathDrive": {}, "OpticalZoom": {"readOnly": 1}}})")});
    mainState().mZoom.setZOOM(1.0);
    auto* zoom = openZoom(rig);
    ASSERT_NE(zoom, nullptr);
    EXPECT_TRUE(zoom->usrScroll->Locked());
    EXPECT_TRUE(zoom->btnReset->Locked());
    EXPECT_FALSE(zoom->chkLink->isEnabled());
    clickStepUp(zoom->usrScroll);
    clickTrackLeftEnd(zoom->usrScroll);
    PanelRig::click(zoom->btnReset);
    EXPECT_DOUBLE_EQ(rig.mic.OpticalZoomZoom(), 1.0);
    EXPECT_TRUE(rig.boxes.texts().isEmpty()) << rig.boxes.texts().join('|').toStdString();
    // Commanded anyway, the service refuses the read-only drive.
    zoom->ZoomValue_Set(1.5);
    EXPECT_EQ(rig.boxes.texts(), QStringList{QStringLiteral("Zoom_Change Limitation")});
}

TEST(ZoomPanel, TheLinkBoxWritesReadsBackAndMirrorsTheMainPanelsBox) {
    PanelRig rig;
    MainSideStandIn main;
    auto* zoom = openZoom(rig);
    ASSERT_NE(zoom, nullptr);
    PanelRig::click(zoom->chkLink);
    EXPECT_EQ(zoom->chkLink->Value(), 1);
    EXPECT_EQ(rig.mic.OpticalZoomIsInterlockEnabled(), 1);
    EXPECT_EQ(mainState().mZoom.LINK(), 1);
    EXPECT_EQ(main.ZoomLink.Value(), 1);
    // The main panel's box is the mirror.
    main.ZoomLink.setValue(0);
    frmSubZoom::ZoomLink_Click(main.ZoomLink.Value());
    EXPECT_EQ(rig.mic.OpticalZoomIsInterlockEnabled(), 0);
    EXPECT_EQ(zoom->chkLink->Value(), 0);
    EXPECT_EQ(mainState().mZoom.LINK(), 0);
    rig.faults().killUnit(UnitIndex::Q7s);
    PanelRig::click(zoom->chkLink);
    rig.faults().clearFaults();
    EXPECT_EQ(rig.boxes.texts(), QStringList{QStringLiteral("OpticalZoom_IsInterlockEnabled Error")});
    EXPECT_EQ(mainState().mZoom.LINK(), 0);
}

TEST(ZoomPanel, TheMainBoxAloneLoadsNoPanel) {
    PanelRig rig;
    MainSideStandIn main;
    frmSubZoom::ZoomLink_Click(1);
    EXPECT_EQ(FormRegistry::loaded(kZoom), nullptr);
    EXPECT_EQ(main.ZoomLink.Value(), 1);
    EXPECT_EQ(rig.mic.OpticalZoomIsInterlockEnabled(), 1);
}

TEST(ZoomPanel, ItsOwnEventMovesSliderLabelAndObject) {
    PanelRig rig;
    onPath(rig, 3);
    auto* zoom = openZoom(rig);
    ASSERT_NE(zoom, nullptr);
    rig.mic.setOpticalZoomZoom(1.7);  // another client
    pumpEvents();
    EXPECT_DOUBLE_EQ(mainState().mZoom.ZOOM(), 1.7);
    EXPECT_DOUBLE_EQ(zoom->usrScroll->Value(), 1.7);
    EXPECT_EQ(zoom->txtSel->Caption(), QStringLiteral("1.7 x"));
}

TEST(ZoomPanel, AFailedZoomValueNamesItsStageAndThePanelKeepsRunning) {
    PanelRig rig;
    auto* zoom = openZoom(rig);
    ASSERT_NE(zoom, nullptr);
    emit rig.mic.OnPropertyChanged(QStringLiteral("AppOpticalZoomZoom:abc"));
    EXPECT_EQ(rig.boxes.texts(), QStringList{QStringLiteral("Zoom Value problemCtrlError : 13 check: 2 Val :abc")});
    rig.boxes.clear();
    emit rig.mic.OnPropertyChanged(QStringLiteral("AppOpticalZoomZoom"));
    EXPECT_EQ(rig.boxes.texts(), QStringList{QStringLiteral("Zoom Value problemCtrlError : 9 check: 2 Val :")});
    rig.boxes.clear();
    emit rig.mic.OnPropertyChanged(QStringLiteral("AppOpticalZoomZoom:1.2"));
    EXPECT_EQ(zoom->txtSel->Caption(), QStringLiteral("1.2 x"));
    EXPECT_TRUE(rig.boxes.texts().isEmpty());
}

TEST(ZoomPanel, AFailedStatusReadShowsItsText) {
    PanelRig rig;
    auto* zoom = openZoom(rig);
    ASSERT_NE(zoom, nullptr);
    // The manual word and the range fail only when the service itself is gone.
    rig.mic.Disconnect();
    zoom->Get_Status();
    EXPECT_EQ(rig.boxes.texts(), QStringList{QStringLiteral("OpticalZoom_Status Read Error")});
}

TEST(ZoomPanel, WithoutAMicroscopeNothingIsSent) {
    PanelRig rig;
    MainSideStandIn main;
    auto* zoom = openZoom(rig);
    ASSERT_NE(zoom, nullptr);
    mainState().MicConnected = false;
    clickStepUp(zoom->usrScroll);
    PanelRig::click(zoom->btnReset);
    PanelRig::click(zoom->chkLink);
    mainState().MicConnected = true;
    EXPECT_DOUBLE_EQ(rig.mic.OpticalZoomZoom(), 1.0);
    EXPECT_EQ(rig.mic.OpticalZoomIsInterlockEnabled(), 0);
    EXPECT_TRUE(rig.boxes.texts().isEmpty());
}

TEST(ZoomPanel, ItsPlaceIsWrittenToItsSectionOnDisk) {
    PanelRig rig;
    EXPECT_EQ(placeWrittenOnClose<frmSubZoom>(rig, kZoom, QStringLiteral("Zoom"), SubPanels::OpensOn::Released),
              (QStringList{QStringLiteral("Top=1125"), QStringLiteral("Left=1800")}));
}
