// Init (units, devices, frames, loaders) and the property-change dispatch of
// the main window, against the simulated stand.
#include "MainWindowTestSupport.h"

#include "state/FormRegistry.h"
#include "core/base/VbConvert.h"
#include "widgets/Units.h"
#include "core/settings/SettingsPaths.h"
#include "widgets/usrButton.h"
#include "widgets/usrPath_M.h"
#include "models/optics/FilterColorFile.h"
#include "models/optics/WaveColor.h"
#include "stand/SimulatedMicroscope.h"

#include <QSettings>
#include <gtest/gtest.h>

namespace {

void clearFiles() {
    QFile::remove(SettingsPaths::MainIni());
    QFile::remove(FilterColor_Path());
}

bool observeLive(MainPanel* ui, int j) { return ui->labObserve[j]->isEnabled() && ui->btnObserve[j]->isEnabled(); }

// A sub-panel stand-in with the refresh operations the dispatch calls.
class PanelProbe : public QWidget {
    Q_OBJECT
public:
    QStringList calls;
    Q_INVOKABLE void ObjChg_Set(int a) { calls << QStringLiteral("ObjChg_Set %1").arg(a); }
    Q_INVOKABLE void Origin_Chg(int a) { calls << QStringLiteral("Origin_Chg %1").arg(a); }
    Q_INVOKABLE void ZDriveValue_Set() { calls << QStringLiteral("ZDriveValue_Set"); }
    Q_INVOKABLE void LampValue_Set() { calls << QStringLiteral("LampValue_Set"); }
};

struct Connected {
    MsgBox::Recorder rec;
    MainRun run;
    frmMain* w = nullptr;
    explicit Connected(const QStringList& stands) : run(stands) {
        clearFiles();
        w = run.start();
    }
    MainPanel* ui() const { return w->ui; }
    void event(const QString& text) { w->micEvent_OnPropertyChanged(text); }
};

} // namespace

TEST(Init, FullSystemFindsEveryUnitAndShowsEveryDevice) {
    Connected c({standFile("full-system.json")});
    MainState& s = mainState();
    EXPECT_TRUE(c.rec.texts().isEmpty()) << c.rec.texts().join(QLatin1Char('|')).toStdString();
    EXPECT_TRUE(c.ui()->labSystem->Caption().startsWith(QStringLiteral(" Q7s  HBX-A  HBX-B  Z  Tolva  ")))
        << c.ui()->labSystem->Caption().toStdString();
    for (int i : {1, 2, 3, 4, 5, 6})
        EXPECT_EQ(s.MicUnit[i], 1) << i;
    EXPECT_EQ(s.MicUnit[7], 0);
    // The motorised hub takes the built-in methods off the panel; with the
    // stand present, Brightfield comes back.
    EXPECT_TRUE(observeLive(c.ui(), 1));
    for (int j = 2; j <= 6; ++j)
        EXPECT_FALSE(observeLive(c.ui(), j)) << j;
    EXPECT_FALSE(c.ui()->frmObserve->isHidden());
    EXPECT_EQ(c.ui()->labObserveU[1]->Caption(), QStringLiteral("User1"));
    for (PanelFrame* const* f : {c.ui()->frmObj, c.ui()->frmFilter, c.ui()->frmZ, c.ui()->frmXY, c.ui()->frmLamp})
        EXPECT_FALSE(f[0]->isHidden());
    EXPECT_EQ(s.mObj.SETUP(), 1);
    EXPECT_EQ(s.mZ.SETUP(), 1);
    EXPECT_EQ(s.mObjData.size(), s.mObj.MAX());
    EXPECT_EQ(s.mFColor.size(), 249);
    EXPECT_EQ(s.mZ.MAX(), static_cast<int32_t>(s.micService->UpperLimit(LimitIndex::ZDrive)));
    // The present values are on the panel after opening.
    EXPECT_TRUE(c.ui()->Zcmd[0]->Caption().endsWith(QStringLiteral(" um")));
    EXPECT_EQ(c.ui()->Zcmd[0]->Caption(), c.ui()->Zcmd[1]->Caption());
    EXPECT_TRUE(c.ui()->ObjCmd[0]->Caption().startsWith(QString::number(s.micService->NosepiecePosition()) + QStringLiteral(": ")));
    EXPECT_EQ(s.mXY.XMemoryPos(0), -1);
}

TEST(Init, HbxBWithoutTheStandKeepsObservationEntriesOffAndHubEpiFalse) {
    Connected c({standFile("hbxb-without-q7s.json")});
    for (int j = 1; j <= 6; ++j)
        EXPECT_FALSE(observeLive(c.ui(), j)) << j;
    EXPECT_FALSE(c.ui()->frmObserve->isHidden());
    EXPECT_FALSE(c.w->HubEpi);
    EXPECT_TRUE(c.w->HubObserve);
    // Custom names stay as the service gives them: empty.
    EXPECT_EQ(c.ui()->labObserveU[1]->Caption(), QString());
}

TEST(Init, EpiIlluminatorWithoutTheStandKeepsOneAndFourLiveAndPlacesTheShutterOnIt) {
    Connected c({standFile("elmk-without-q7s.json")});
    EXPECT_TRUE(observeLive(c.ui(), 1));
    EXPECT_TRUE(observeLive(c.ui(), 4));
    EXPECT_FALSE(observeLive(c.ui(), 2));
    EXPECT_EQ(c.ui()->usrMainPath->ScopeType(), 4);
    // Twips land on whole pixels (15 twips each).
    EXPECT_EQ(c.ui()->frmShutter[0]->Left(), zentor::pixelsToTwips(zentor::twipsToPixels(5995)));
    EXPECT_EQ(c.ui()->frmShutter[0]->Top(), zentor::pixelsToTwips(zentor::twipsToPixels(1790)));
    EXPECT_EQ(c.ui()->frmShutter[0]->BackColor(), 0x47281F);
    EXPECT_EQ(mainState().MicUnit[7], 1);
    EXPECT_EQ(c.ui()->labSystem->Caption(), QStringLiteral(" E-LM-K "));
}

TEST(Init, MissingCondenserKeepsObservationLiveWithTheEpiIlluminatorAndOffWithout) {
    {
        Connected c({standFile("no-condenser-elmk.json")});
        EXPECT_TRUE(c.ui()->frmCondenser[0]->isHidden());
        EXPECT_TRUE(observeLive(c.ui(), 1));
        EXPECT_TRUE(observeLive(c.ui(), 4));
    }
    {
        const QString file = customStand(QStringLiteral("no-condenser"),
            R"({"name": "Q7s Hubs No Condenser", "units": ["Q7s", "HBX-B", "HBX-A", "Z"], "camera": null,
                "devices": {"Nosepiece": {}, "FilterBlockCassette": {}, "ZDrive": {}}})");
        Connected c({file});
        EXPECT_TRUE(c.rec.texts().isEmpty()) << c.rec.texts().join(QLatin1Char('|')).toStdString();
        // All off, and Brightfield back with the stand (the hub's rule).
        for (int j = 2; j <= 6; ++j)
            EXPECT_FALSE(observeLive(c.ui(), j)) << j;
        EXPECT_TRUE(observeLive(c.ui(), 1));
        EXPECT_TRUE(c.ui()->frmShutter[0]->isHidden());
    }
}

TEST(Init, ReadOnlyNosepieceForcesTheLinkBoxOn) {
    Connected c({standFile("readonly-nosepiece.json")});
    EXPECT_EQ(mainState().mObj.SETUP(), 3);
    EXPECT_EQ(c.ui()->ObjLink->Value(), 1);
    EXPECT_FALSE(c.ui()->ObjLink->isEnabled());
}

TEST(Init, CameraWithAnUnknownHeadShowsUnknownAndNoAutoFocus) {
    Connected c({standFile("camera-unknown-head.json")});
    EXPECT_EQ(c.w->CameraHeadName, QStringLiteral("Unknown"));
    EXPECT_FALSE(c.w->CameraAutoFocus);
    EXPECT_EQ(mainState().MicUnit[6], 1);
}

TEST(Init, MissingCameraIniGivesTheDefaultUnitName) {
    const QString delivered = QCoreApplication::applicationDirPath() + QStringLiteral("/Camera.ini");
    const QString aside = delivered + QStringLiteral(".aside");
    QFile::remove(SettingsPaths::CameraIni());
    QFile::rename(delivered, aside);
    {
        Connected c({standFile("full-system.json")});
        EXPECT_FALSE(QFile::exists(SettingsPaths::CameraIni()));
        EXPECT_TRUE(c.ui()->labSystem->Caption().contains(QStringLiteral(" CU-K5 ")));
        EXPECT_TRUE(c.w->CameraHeadName.isEmpty());
        EXPECT_TRUE(c.rec.texts().isEmpty());
    }
    QFile::rename(aside, delivered);
}

TEST(Init, ReopeningASmallerSystemUnloadsPanelsOfDevicesGoneAndKeepsTheOthers) {
    clearFiles();
    MsgBox::Recorder rec;
    MainRun run({standFile("full-system.json"), standFile("elmk-without-q7s.json")});
    answerDialogLater(0);
    frmMain* w = run.start();
    ASSERT_TRUE(mainState().MicConnected);
    auto* zoom = new PanelProbe;
    auto* obj = new PanelProbe;
    FormRegistry::add(QStringLiteral("frmSubZoom"), zoom);
    FormRegistry::add(QStringLiteral("frmSubObj"), obj);
    w->ui->lstMic->setCurrentRow(1); // the E-LM-K system: a nosepiece, no zoom
    EXPECT_EQ(w->windowTitle(), QStringLiteral("Zentor  [ E-LM-K System ]"));
    EXPECT_EQ(FormRegistry::loaded(QStringLiteral("frmSubZoom")), nullptr);
    EXPECT_EQ(FormRegistry::loaded(QStringLiteral("frmSubObj")), obj);
    EXPECT_TRUE(w->ui->frmZoom[0]->isHidden());
    EXPECT_FALSE(w->ui->frmObj[0]->isHidden());
    EXPECT_EQ(mainState().MicUnit[1], 0);
    delete obj;
}

TEST(Init, AnErrorInADeviceStepReportsItsNumber) {
    // The stand answers the Z drive's limits, but its zUpperLimit read fails
    // once the controller unit is gone.
    const QString file = customStand(QStringLiteral("z-dead"),
        R"({"name": "Z Dead", "units": ["Q7s", "Z"], "camera": null, "devices": {"Nosepiece": {}, "ZDrive": {}}})");
    clearFiles();
    MsgBox::Recorder rec;
    MainRun run({file});
    frmMain* w = run.start({}, false);
    run.service->stand(1)->control().killUnit(UnitIndex::ZController);
    w->show();
    pump(200);
    ASSERT_FALSE(rec.texts().isEmpty());
    EXPECT_EQ(rec.texts().first(), QStringLiteral("Init Error 13"));
    // The opening goes on with a partly built panel.
    EXPECT_TRUE(mainState().MicConnected);
    EXPECT_FALSE(w->OpenInProgress);
}

// ---------------------------------------------------------------------------
// Dispatch

TEST(Dispatch, AnEventDuringInitChangesNothing) {
    Connected c({standFile("full-system.json")});
    const QString before = c.ui()->Zcmd[0]->Caption();
    const int32_t value = mainState().mZ.Value();
    c.w->OpenInProgress = true;
    c.event(QStringLiteral("AppZDriveZPosition:123456"));
    c.event(QStringLiteral("garbage without colon"));
    c.w->OpenInProgress = false;
    EXPECT_EQ(mainState().mZ.Value(), value);
    EXPECT_EQ(c.ui()->Zcmd[0]->Caption(), before);
    EXPECT_TRUE(c.rec.texts().isEmpty());
}

TEST(Dispatch, NosepieceOutsideOneToSixIsReportedAndNotStored) {
    Connected c({standFile("full-system.json")});
    c.event(QStringLiteral("AppNosepiecePosition:2"));
    EXPECT_EQ(mainState().mObj.Address(), 2);
    c.event(QStringLiteral("AppNosepiecePosition:0"));
    c.event(QStringLiteral("AppNosepiecePosition:7"));
    EXPECT_EQ(c.rec.texts(), (QStringList{QStringLiteral("Nosepiece Address : 0"), QStringLiteral("Nosepiece Address : 7")}));
    EXPECT_EQ(mainState().mObj.Address(), 2);
}

TEST(Dispatch, ObjectiveTextsOnBothPanels) {
    Connected c({standFile("full-system.json")});
    MainState& s = mainState();
    s.mObjData[0].setNumber(0);
    c.event(QStringLiteral("AppNosepiecePosition:1"));
    const clsDefLens& d1 = s.mObjData[0];
    EXPECT_EQ(c.ui()->ObjCmd[0]->Caption(),
              QStringLiteral("1: ") + d1.SeriesName().trimmed() + QStringLiteral("  ") + d1.Name().trimmed());
    EXPECT_EQ(c.ui()->ObjCmd[1]->Caption(), QStringLiteral("1 : ---"));
    EXPECT_TRUE(c.ui()->ObjCmd[0]->ToolTipText().isEmpty());
    c.event(QStringLiteral("AppNosepiecePosition:2"));
    const clsDefLens& d = s.mObjData[1];
    ASSERT_NE(d.Number(), 0);
    EXPECT_EQ(c.ui()->ObjCmd[1]->Caption(), QStringLiteral("2 : ") + vb::singleText(d.Rate()) + QStringLiteral("x"));
    EXPECT_EQ(c.ui()->ObjCmd[0]->ToolTipText(),
              QStringLiteral("W.D. ") + vb::singleText(d.WD()) + QStringLiteral("  N.A. ") + vb::singleText(d.NA()));
    EXPECT_TRUE(c.ui()->ObjCmd[1]->ToolTipText().startsWith(QStringLiteral("2 : ") + d.SeriesName().trimmed()));
}

TEST(Dispatch, CondenserAndFilterZeroDoNothingAtAll) {
    Connected c({standFile("full-system.json")});
    MainState& s = mainState();
    c.event(QStringLiteral("AppCondenserCassettePosition:2"));
    c.event(QStringLiteral("AppFilterBlockCassettePosition:2"));
    const QString con = c.ui()->CONcmd[0]->Caption(), fil = c.ui()->FilterCmd[0]->Caption();
    EXPECT_EQ(con, QStringLiteral("2 : ") + s.mConData[1].Name());
    c.event(QStringLiteral("AppCondenserCassettePosition:0"));
    c.event(QStringLiteral("AppFilterBlockCassettePosition:0"));
    EXPECT_EQ(s.mCon.Address(), 2);
    EXPECT_EQ(s.mFilter.Address(), 2);
    EXPECT_EQ(c.ui()->CONcmd[0]->Caption(), con);
    EXPECT_EQ(c.ui()->FilterCmd[0]->Caption(), fil);
    EXPECT_TRUE(c.rec.texts().isEmpty());
}

TEST(Dispatch, FilterCubeTextsAndColours) {
    const QString file = customStand(QStringLiteral("cubes"),
        R"({"name": "Cubes", "units": ["Q7s"], "camera": null, "devices": {"FilterBlockCassette": {}},
            "filters": [{"number": 1, "name": "NONE", "reiki": 0, "dm": 0, "kyusyu": 0, "ex": "", "dmName": "", "ba": ""},
                        {"number": 3, "name": "BLUE-EX470 wide", "reiki": 100, "dm": 5, "kyusyu": 101,
                         "ex": "BP455-485", "dmName": "DM495", "ba": "LP505"},
                        {"number": 0, "name": "", "reiki": 0, "dm": 0, "kyusyu": 0, "ex": "", "dmName": "", "ba": ""}]})");
    Connected c({file});
    c.event(QStringLiteral("AppFilterBlockCassettePosition:2"));
    EXPECT_EQ(c.ui()->FilterCmd[0]->Caption(), QStringLiteral("2 : BLUE-EX470 wide"));
    EXPECT_EQ(c.ui()->FilterCmd[1]->Caption(), QStringLiteral("2: BLUE-EX470"));
    const QString tip = QStringLiteral("EX: BP455-485,  DM: DM495,  BA: LP505");
    EXPECT_EQ(c.ui()->FilterCmd[0]->ToolTipText(), tip);
    // The event's compact tip is the main one after a blank (the read at
    // opening puts the name before it).
    EXPECT_EQ(c.ui()->FilterCmd[1]->ToolTipText(), QStringLiteral(" ") + tip);
    EXPECT_EQ(c.ui()->usrMainPath->ExColor(), Wave_RGB(470));
    EXPECT_EQ(c.ui()->usrMainPath->BaColor(), Wave_RGB(505));
    // Position 1 holds no usable cube: colours and tips cleared.
    c.event(QStringLiteral("AppFilterBlockCassettePosition:1"));
    EXPECT_TRUE(c.ui()->FilterCmd[0]->ToolTipText().isEmpty());
    EXPECT_TRUE(c.rec.texts().isEmpty()) << c.rec.texts().join(QLatin1Char('|')).toStdString();
    // A position the table does not have is a failure of the branch.
    c.event(QStringLiteral("AppFilterBlockCassettePosition:9"));
    EXPECT_EQ(c.rec.texts(), QStringList{QStringLiteral("Error : AppFilterBlockCassettePosition:9  check: Split problem")});
}

TEST(Dispatch, UnknownNamesAreIgnoredAndATextWithoutColonIsASplitProblem) {
    Connected c({standFile("full-system.json")});
    c.event(QStringLiteral("AppSomethingElse:5"));
    EXPECT_TRUE(c.rec.texts().isEmpty());
    c.event(QStringLiteral("AppZDriveZPosition"));
    EXPECT_EQ(c.rec.texts(), QStringList{QStringLiteral("Error : AppZDriveZPosition  check: Split problem")});
    c.rec.clear();
    c.event(QStringLiteral("AppXYDriveXPosition:12x"));
    EXPECT_EQ(c.rec.texts(), QStringList{QStringLiteral("Error : AppXYDriveXPosition:12x  check: Split problem")});
    c.rec.clear();
    c.event(QStringLiteral("AppNosepiecePosition:99999"));
    EXPECT_EQ(c.rec.texts(), QStringList{QStringLiteral("Error : AppNosepiecePosition:99999  check: Split problem")});
}

TEST(Dispatch, LampVoltageIsNeitherStoredNorShownWhileTheLampIsOffOrOnPreset) {
    Connected c({standFile("full-system.json")});
    MainState& s = mainState();
    c.event(QStringLiteral("AppLampIsOn:0"));
    const double before = s.mLamp.POWER();
    c.event(QStringLiteral("AppLampControlVoltage:5"));
    EXPECT_DOUBLE_EQ(s.mLamp.POWER(), before);
    EXPECT_EQ(c.ui()->LampCmd[0]->Caption(), QString());
    EXPECT_EQ(c.ui()->LampCmd[1]->Caption(), QString());
    // Coming on, the lamp's voltage is read from the service.
    c.event(QStringLiteral("AppLampIsOn:1"));
    EXPECT_DOUBLE_EQ(s.mLamp.POWER(), s.micService->LampControlVoltage());
    const double onPower = s.mLamp.POWER();
    c.event(QStringLiteral("AppLampIsPreset:1"));
    c.event(QStringLiteral("AppLampControlVoltage:6"));
    EXPECT_DOUBLE_EQ(s.mLamp.POWER(), onPower);
    EXPECT_EQ(c.ui()->LampCmd[1]->Caption(), QStringLiteral("Preset"));
    c.event(QStringLiteral("AppLampIsPreset:0"));
    c.event(QStringLiteral("AppLampControlVoltage:5.5"));
    EXPECT_DOUBLE_EQ(s.mLamp.POWER(), 5.5);
    EXPECT_EQ(c.ui()->LampCmd[0]->Caption(), QStringLiteral("5.5 V"));
    EXPECT_EQ(c.ui()->usrMainPath->LampState(), 2);
    EXPECT_TRUE(c.rec.texts().isEmpty());
}

TEST(Dispatch, ZoomStagesAndItsErrorTexts) {
    Connected c({standFile("full-system.json")});
    c.event(QStringLiteral("AppOpticalZoomZoom:1.5"));
    EXPECT_EQ(c.ui()->ZoomCmd[0]->Caption(), QStringLiteral("1.5 x"));
    EXPECT_EQ(c.ui()->ZoomCmd[1]->Caption(), QStringLiteral("1.5 x"));
    EXPECT_EQ(c.ui()->imgClick->Left(), (1.5 - 0.8) * 10 * 135 + c.ui()->ZoomScaleLeft - 60);
    EXPECT_EQ(c.ui()->img1->Left(), c.ui()->imgClick->Left());
    c.event(QStringLiteral("AppOpticalZoomZoom:abc"));
    EXPECT_EQ(c.rec.texts(), QStringList{QStringLiteral("Error : AppOpticalZoomZoom:abc  check: Zoom Value problem  abc")});
    c.rec.clear();
    c.event(QStringLiteral("AppOpticalZoomZoom:1E+300"));
    EXPECT_EQ(c.rec.texts(), QStringList{QStringLiteral("Error : AppOpticalZoomZoom:1E+300  check: Zoom Value problem  1E+300")});
}

TEST(Dispatch, PositionsStopsAndEscapeOnBothTwins) {
    Connected c({standFile("full-system.json")});
    MainState& s = mainState();
    s.mZ.setORGIN(0);
    c.event(QStringLiteral("AppZDriveZPosition:21"));
    EXPECT_EQ(c.ui()->Zcmd[0]->Caption(), QStringLiteral("1.05 um"));
    EXPECT_EQ(c.ui()->Zcmd[1]->Caption(), QStringLiteral("1.05 um"));
    c.event(QStringLiteral("AppXYDriveXPosition:3"));
    c.event(QStringLiteral("AppXYDriveYPosition:-4"));
    EXPECT_EQ(c.ui()->Xcmd[1]->Caption(), QStringLiteral("1.5 um"));
    EXPECT_EQ(c.ui()->Ycmd[0]->Caption(), QStringLiteral("-2.0 um"));
    c.event(QStringLiteral("AppFieldStopFieldStop:2.5"));
    c.event(QStringLiteral("AppNDFilterTransmission:25"));
    c.event(QStringLiteral("AppApertureStopApertureStop:3"));
    c.event(QStringLiteral("AppEpiFieldStopFieldStop:1.25"));
    EXPECT_EQ(c.ui()->FieldS[1]->Caption(), QStringLiteral("2.5 mm"));
    EXPECT_EQ(c.ui()->NDcmd[0]->Caption(), QStringLiteral("25 %"));
    EXPECT_EQ(c.ui()->APcmd[1]->Caption(), QStringLiteral("3 mm"));
    EXPECT_EQ(c.ui()->HBXField[0]->Caption(), QStringLiteral("1.25 mm"));
    c.event(QStringLiteral("AppZDriveIsZEscape:5"));
    EXPECT_EQ(s.mZ.Esc(), 1);
    c.event(QStringLiteral("AppXYZDriveIsEscape:0"));
    EXPECT_EQ(s.mZ.Esc(), 0);
    c.event(QStringLiteral("AppAnalyzerIsInserted:2"));
    EXPECT_EQ(c.ui()->AnaCmd[1]->Caption(), QStringLiteral("OUT"));
    c.event(QStringLiteral("AppAnalyzerIsInserted:0"));
    EXPECT_EQ(c.ui()->AnaCmd[1]->Caption(), QStringLiteral("IN"));
    c.event(QStringLiteral("AppEpiShutterIsOpened:1"));
    EXPECT_EQ(c.ui()->ShutterCmd[1]->Caption(), QStringLiteral("OPEN"));
    c.event(QStringLiteral("AppLightPathDriveLightPath:2"));
    EXPECT_EQ(c.ui()->LightPathCmd[0]->Caption(), QStringLiteral("Front P"));
    EXPECT_EQ(c.ui()->usrMainPath->PathState(), 2);
    c.event(QStringLiteral("AppNosepieceMaxValue:whatever"));
    EXPECT_EQ(s.mObj.MAX(), static_cast<int16_t>(s.micService->LowerLimit(LimitIndex::Nosepiece)));
    EXPECT_TRUE(c.rec.texts().isEmpty()) << c.rec.texts().join(QLatin1Char('|')).toStdString();
}

TEST(Dispatch, ObservationModeIsMarkedOnlyWhereTheHardwareOffersIt) {
    {
        Connected c({standFile("full-system.json")});
        c.event(QStringLiteral("AppPresetsObservationMode:2"));
        EXPECT_EQ(mainState().ObservationNow, 2);
        EXPECT_EQ(c.w->ObservationIndex, 2);
        EXPECT_EQ(c.ui()->btnObserve[2]->BackColor(), 0x28BEE6);
        c.event(QStringLiteral("AppPresetsObservationMode:9"));
        EXPECT_NE(c.ui()->btnObserve[2]->BackColor(), 0x28BEE6);
        // An event delivering 0 reads the mode from the service.
        c.event(QStringLiteral("AppPresetsObservationMode:0"));
        EXPECT_EQ(mainState().ObservationNow, mainState().micService->PresetsObservationMode());
    }
    {
        Connected c({standFile("elmk-without-q7s.json")});
        c.event(QStringLiteral("AppPresetsObservationMode:2"));
        for (int i = 1; i <= 7; ++i)
            EXPECT_NE(c.ui()->btnObserve[i]->BackColor(), 0x28BEE6) << i;
        c.event(QStringLiteral("AppPresetsObservationMode:4"));
        EXPECT_EQ(c.ui()->btnObserve[4]->BackColor(), 0x28BEE6);
    }
}

TEST(Dispatch, TheObservationEventLightsAnEntryByTheSameStepsAsTheStatusRead) {
    // The stand and both hubs, but no condenser: the status read lights no
    // built-in method, and neither does the event.
    const QString file = customStand(QStringLiteral("no-condenser-event"),
        R"({"name": "Q7s Hubs No Condenser", "units": ["Q7s", "HBX-B", "HBX-A", "Z"], "camera": null,
            "devices": {"Nosepiece": {}, "FilterBlockCassette": {}, "ZDrive": {}}})");
    Connected c({file});
    ASSERT_EQ(mainState().mCon.SETUP(), 0);
    ASSERT_EQ(mainState().mObj.SETUP(), 1);
    c.event(QStringLiteral("AppPresetsObservationMode:9"));
    EXPECT_EQ(c.ui()->labObserveU[3]->BackColor(), 0x28BEE6);
    EXPECT_EQ(c.ui()->ObservationShown, 9);
    for (int mode : {1, 2, 4}) {
        c.event(QStringLiteral("AppPresetsObservationMode:%1").arg(mode));
        EXPECT_EQ(mainState().ObservationNow, mode);
        for (int i = 1; i <= 7; ++i)
            EXPECT_NE(c.ui()->btnObserve[i]->BackColor(), 0x28BEE6) << mode << " " << i;
        EXPECT_NE(c.ui()->labObserveU[3]->BackColor(), 0x28BEE6) << mode;
        // Nothing lit: the entry shown keeps its value.
        EXPECT_EQ(c.ui()->ObservationShown, 9) << mode;
    }
}

TEST(Dispatch, AnOpenSubPanelIsRefreshedAClosedOneIsNeitherTouchedNorLoaded) {
    Connected c({standFile("full-system.json")});
    int created = 0;
    FormRegistry::setCreator(QStringLiteral("frmSubZ"), [&] {
        ++created;
        return new PanelProbe;
    });
    c.event(QStringLiteral("AppZDriveZPosition:40"));
    EXPECT_EQ(created, 0);
    EXPECT_EQ(FormRegistry::loaded(QStringLiteral("frmSubZ")), nullptr);

    auto* obj = new PanelProbe;
    FormRegistry::add(QStringLiteral("frmSubObj"), obj);
    c.event(QStringLiteral("AppNosepiecePosition:3"));
    EXPECT_TRUE(obj->calls.isEmpty()); // loaded but not visible
    obj->show();
    c.event(QStringLiteral("AppNosepiecePosition:4"));
    EXPECT_EQ(obj->calls, QStringList{QStringLiteral("ObjChg_Set 4")});
    delete obj;
    FormRegistry::setCreator(QStringLiteral("frmSubZ"), {});
}

TEST(Dispatch, AServiceThatDiedBetweenTwoCallsGivesTheMessageAndLosesNothingSaved) {
    Connected c({standFile("full-system.json")});
    mainState().mZ.curScllMax = 4321;
    mainState().micService->Disconnect(); // gone behind the panel's back
    c.event(QStringLiteral("AppNosepieceMaxValue:1"));
    EXPECT_EQ(c.rec.texts(), QStringList{QStringLiteral("Error : AppNosepieceMaxValue:1  check: Split problem")});
    c.rec.clear();
    c.w->close();
    EXPECT_EQ(c.rec.texts(), QStringList{QStringLiteral("Device_disconnect error")});
    const clsIniEdit ini(SettingsPaths::MainIni());
    EXPECT_EQ(ini.Ini_ReadInt(QStringLiteral("Z Focus Drive"), QStringLiteral("ControlMax"), -1), 4321);
    EXPECT_NE(ini.Ini_ReadInt(QStringLiteral("Form_Position"), QStringLiteral("Width"), -1), -1);
    EXPECT_EQ(readText(FilterColor_Path()).count('\n'), 249);
}

#include "InventoryDispatchTest.moc"
