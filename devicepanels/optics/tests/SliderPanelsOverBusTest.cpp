// The slider panels against the real service process on a private bus: what
// the operator can ask of the zoom, ND filter, lamp and EPI field stop
// reaches the simulated stand through D-Bus, and every refusal comes back
// with its code into the panel's own message; a service that dies while a
// panel is open gives the panel's message and nothing crashes.
#include "devicepanels/optics/LampPanel.h"
#include "devicepanels/optics/StopPanel.h"
#include "devicepanels/optics/ZoomPanel.h"
#include "devicepanels/optics/tests/SliderPanelRig.h"
#include "core/service/dbus/DBusMicroscopeService.h"
#include "core/service/dbus/DBusStandControl.h"
#include "stand/service/tests/ServiceProcess.h"

#include <QDeadlineTimer>
#include <gtest/gtest.h>

namespace {

// The service process with one stand at index 1, the panel's state on it.
struct BusRig {
    ServiceProcess process;
    std::unique_ptr<DBusMicroscopeService> mic;
    std::unique_ptr<DBusStandControl> control;
    QWidget owner;
    MsgBox::Recorder boxes;
    std::map<QString, usrButton*> buttons;

    explicit BusRig(const QString& stand = shippedStand("full-system.json")) {
        if (!process.start({QStringLiteral("--speed"), QStringLiteral("0"), QStringLiteral("--stand"), stand}))
            throw std::runtime_error(process.error().toStdString());
        mic = std::make_unique<DBusMicroscopeService>();
        control = std::make_unique<DBusStandControl>(QDBusConnection::sessionBus(), process.uniqueName(), 1);
        mic->Connect(1);
        MainState& s = mainState();
        s = MainState();
        s.INI.Ini_SetPath(PanelRig::iniPath());
        s.micService = mic.get();
        s.MicConnected = true;
        s.mND.setMIN(mic->LowerLimit(LimitIndex::NDFilter));
        s.mND.setMAX(mic->UpperLimit(LimitIndex::NDFilter));
        s.mLamp.setAMOUNT(mic->Step(LimitIndex::Lamp));
        s.mZoom.setAMOUNT(mic->Step(LimitIndex::OpticalZoom));
        s.mEpiFS.setAMOUNT(mic->Step(LimitIndex::EpiFieldStop));
        // Present values of devices a stand may lack, as Init reads them.
        try { s.mND.setDiameter(mic->NDFilterTransmission()); } catch (const RunTimeError&) {}
        try { s.mZoom.setZOOM(mic->OpticalZoomZoom()); } catch (const RunTimeError&) {}
        try { s.mPath.setPATH(mic->LightPathDriveLightPath()); } catch (const RunTimeError&) {}
        owner.resize(300, 200);
        owner.move(20, 20);
        new QHBoxLayout(&owner);
        registerOpticsPanels(&owner);
        owner.show();
        pumpEvents();
    }
    ~BusRig() {
        for (QWidget* w : FormRegistry::loadedForms())
            FormRegistry::unload(FormRegistry::nameOf(w));
        SubPanels::detachAll();
        mainState().micService = nullptr;
        mainState().MicConnected = false;
        control.reset();
        mic.reset();
        process.stop();
    }

    template <typename Panel>
    Panel* open(const QString& form, SubPanels::OpensOn gesture) {
        auto* b = new usrButton(&owner);
        owner.layout()->addWidget(b);
        b->show();
        pumpEvents();
        SubPanels::attach(form, b, nullptr, gesture);
        PanelRig::click(b);
        pumpEvents(50);
        return qobject_cast<Panel*>(FormRegistry::loaded(form));
    }

    // Lets the service's events arrive until `done`.
    template <typename Pred>
    bool waitUntil(Pred done) {
        QDeadlineTimer deadline(10000);
        while (!done() && !deadline.hasExpired())
            QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        return done();
    }
};

} // namespace

TEST(SliderPanelsOverTheBus, ZoomLimitationTimeOutAndFailureReachThePanelWithTheirTexts) {
    BusRig rig;
    rig.mic->setOpticalZoomZoom(2.0);
    mainState().mZoom.setZOOM(2.0);  // as the dispatch stored it
    auto* zoom = rig.open<frmSubZoom>(QStringLiteral("frmSubZoom"), SubPanels::OpensOn::Released);
    ASSERT_NE(zoom, nullptr);
    ASSERT_TRUE(rig.waitUntil([&] { return zoom->usrScroll->Value() == 2.0; }));
    clickStepUp(zoom->usrScroll);
    rig.control->stallDevice(DeviceIndex::OpticalZoom);
    clickStepDown(zoom->usrScroll);
    rig.control->killUnit(UnitIndex::Q7s);
    PanelRig::click(zoom->btnReset);
    rig.control->clearFaults();
    EXPECT_EQ(rig.boxes.texts(),
              (QStringList{QStringLiteral("Zoom_Change Limitation"), QStringLiteral("Zoom_Change TimeOut Error"),
                           QStringLiteral("Zoom_Change Error")}));
    // And a plain change arrives through the panel's own event.
    PanelRig::click(zoom->btnReset);
    EXPECT_TRUE(rig.waitUntil([&] { return zoom->txtSel->Caption() == QStringLiteral("1 x"); }))
        << zoom->txtSel->Caption().toStdString();
}

TEST(SliderPanelsOverTheBus, TheZoomInterlockHoldsOnlyOnTheRearPort) {
    BusRig rig;
    MainSideStandIn main;
    auto* zoom = rig.open<frmSubZoom>(QStringLiteral("frmSubZoom"), SubPanels::OpensOn::Released);
    ASSERT_NE(zoom, nullptr);
    PanelRig::click(zoom->chkLink);
    EXPECT_EQ(rig.mic->OpticalZoomIsInterlockEnabled(), 1);
    EXPECT_EQ(main.ZoomLink.Value(), 1);
    // Off the rear port the change runs with the interlock off.
    rig.mic->setLightPathDriveLightPath(1);
    mainState().mPath.setPATH(1);
    zoom->ZoomValue_Set(1.4);
    EXPECT_DOUBLE_EQ(rig.mic->OpticalZoomZoom(), 1.4);
    EXPECT_EQ(rig.mic->OpticalZoomIsInterlockEnabled(), 0);
    EXPECT_TRUE(rig.boxes.texts().isEmpty()) << rig.boxes.texts().join('|').toStdString();
}

TEST(SliderPanelsOverTheBus, AManualZoomIsLockedAndRefusedByTheService) {
    const QString stand = writtenStand(QStringLiteral("bus-manual-zoom"),
                                       R"({"name": "Manual zoom", "units": ["Q7s", "HBX-A"],
                                           "devices": {"LightPathDrive": {}, "OpticalZoom": {"readOnly": 1}}})");
    BusRig rig(stand);
    auto* zoom = rig.open<frmSubZoom>(QStringLiteral("frmSubZoom"), SubPanels::OpensOn::Released);
    ASSERT_NE(zoom, nullptr);
    EXPECT_TRUE(zoom->usrScroll->Locked());
    EXPECT_FALSE(zoom->chkLink->isEnabled());
    zoom->ZoomValue_Set(1.5);
    EXPECT_EQ(rig.boxes.texts(), QStringList{QStringLiteral("Zoom_Change Limitation")});
}

TEST(SliderPanelsOverTheBus, NDStepsOfTheServicesSizeAndTheCustomStoreFourteen) {
    BusRig rig;
    MainState& s = mainState();
    s.ObservationNow = 10;
    s.mObj.setAddress(3);
    rig.mic->setNDFilterTransmission(50);
    s.mND.setDiameter(50);
    auto* nd = rig.open<frmSubND>(QStringLiteral("frmSubND"), SubPanels::OpensOn::Pressed);
    ASSERT_NE(nd, nullptr);
    clickStepUp(nd->usrScroll);
    EXPECT_DOUBLE_EQ(rig.mic->NDFilterTransmission(), 50 + rig.mic->Step(LimitIndex::NDFilter));
    PanelRig::click(nd->BtnMemory);
    EXPECT_DOUBLE_EQ(rig.mic->CustomValue(DeviceIndex::NDFilter, 10, 3), 50);
    rig.mic->setNDFilterTransmission(rig.mic->UpperLimit(LimitIndex::NDFilter));
    clickStepUp(nd->usrScroll);
    EXPECT_EQ(rig.boxes.texts(), QStringList{QStringLiteral("NDFilter_Transmission Error")});
}

TEST(SliderPanelsOverTheBus, LampOnVoltageAndPresetFollowTheServicesEvents) {
    BusRig rig;
    rig.mic->LampOff();
    auto* lamp = rig.open<frmSubLamp>(QStringLiteral("frmSubLamp"), SubPanels::OpensOn::Pressed);
    ASSERT_NE(lamp, nullptr);
    PanelRig::click(lamp->btnOn);
    ASSERT_TRUE(rig.waitUntil([&] { return lamp->usrScroll->Style() == 2; }));
    lamp->usrScroll->setValue(4);
    emit lamp->usrScroll->Changed();
    EXPECT_TRUE(rig.waitUntil([&] { return lamp->txtSel->Caption() == QStringLiteral("4 V"); }))
        << lamp->txtSel->Caption().toStdString();
    PanelRig::click(lamp->btnReset);
    EXPECT_TRUE(rig.waitUntil([&] { return lamp->txtSel->Caption() == QStringLiteral("Preset"); }));
    EXPECT_TRUE(rig.boxes.texts().isEmpty()) << rig.boxes.texts().join('|').toStdString();
}

TEST(SliderPanelsOverTheBus, AServiceThatDiesWhileThePanelsAreOpenGivesTheirMessages) {
    BusRig rig;
    auto* epi = rig.open<frmSubEpiFS>(QStringLiteral("frmSubEpiFS"), SubPanels::OpensOn::Released);
    auto* lamp = rig.open<frmSubLamp>(QStringLiteral("frmSubLamp"), SubPanels::OpensOn::Pressed);
    ASSERT_TRUE(epi && lamp);
    const QString shown = epi->txtSel->Caption();
    rig.process.kill();
    clickStepUp(epi->usrScroll);
    PanelRig::click(lamp->btnOn);
    EXPECT_EQ(rig.boxes.texts(),
              (QStringList{QStringLiteral("EpiFieldStop_FieldStop Error"), QStringLiteral("Lamp_ON/OFF Error")}));
    EXPECT_EQ(epi->txtSel->Caption(), shown);
    EXPECT_TRUE(epi->isVisible());
}
