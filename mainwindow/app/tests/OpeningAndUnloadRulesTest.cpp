// The rules of opening and unloading that sit between two parts of the panel:
// the operator's control limits and their warning, the three link values, the
// read of the present values at opening (cube texts, lit observation), the
// lamp switched off while the window is busy, and a status read without a
// selected microscope.
#include "MainWindowTestSupport.h"

#include "core/settings/SettingsPaths.h"
#include "widgets/usrPath_M.h"
#include "models/optics/FilterColorFile.h"

#include <QSettings>
#include <gtest/gtest.h>

namespace {

QSettings linkStore() {
    return QSettings(QSettings::NativeFormat, QSettings::UserScope, QStringLiteral("Zentor"), QStringLiteral("Zentor"));
}

void clearFiles() {
    QFile::remove(SettingsPaths::MainIni());
    QFile::remove(FilterColor_Path());
    linkStore().clear();
}

int32_t iniInt(const QString& section, const QString& key) {
    return clsIniEdit(SettingsPaths::MainIni()).Ini_ReadInt(section, key, -1);
}

const QString kZ = QStringLiteral("Z Focus Drive");
const QString kXY = QStringLiteral("XY Stage");

const QByteArray kCubes =
    R"("filters": [{"number": 1, "name": "NONE", "reiki": 0, "dm": 0, "kyusyu": 0, "ex": "", "dmName": "", "ba": ""},
                   {"number": 3, "name": " BLUE-EX470 wide ", "reiki": 100, "dm": 5, "kyusyu": 101,
                    "ex": "BP455-485", "dmName": "DM495", "ba": "LP505"}])";

} // namespace

TEST(Unload, LinksThatAreTrueAreSavedAsOne) {
    clearFiles();
    MsgBox::Recorder rec;
    MainRun run({standFile("full-system.json")});
    frmMain* w = run.start();
    ASSERT_TRUE(mainState().MicConnected);
    mainState().mObj.setLINK(-1);
    mainState().mZoom.setLINK(-1);
    // The light path keeps its link as a flag: only 1 is true, so -1 reads 0.
    mainState().mPath.setLINK(-1);
    EXPECT_EQ(mainState().mPath.LINK(), 0);
    mainState().mPath.setLINK(1);
    w->close();
    QSettings store = linkStore();
    EXPECT_EQ(store.value(QStringLiteral("LinkSetting/Obj")).toString(), QStringLiteral("1"));
    EXPECT_EQ(store.value(QStringLiteral("LinkSetting/Zoom")).toString(), QStringLiteral("1"));
    EXPECT_EQ(store.value(QStringLiteral("LinkSetting/Path")).toString(), QStringLiteral("1"));
    EXPECT_EQ(mainState().mObj.LINK(), 1);
    EXPECT_EQ(mainState().mZoom.LINK(), 1);
}

TEST(Unload, EveryRunWritesTheControlLimitsAndAnAbsentKeyTakesTheDrivesRange) {
    clearFiles();
    {
        // No key yet: the opening takes the drive's own ranges.
        MsgBox::Recorder rec;
        MainRun run({standFile("full-system.json")});
        run.start();
        MainState& s = mainState();
        ASSERT_TRUE(s.MicConnected);
        EXPECT_EQ(s.mZ.curScllMax, s.mZ.MAX());
        EXPECT_EQ(s.mZ.curScllMin, s.mZ.MIN());
        EXPECT_EQ(s.mXY.XSCLMAX(), s.mXY.XMAX());
        EXPECT_EQ(s.mXY.YSCLMIN(), s.mXY.YMIN());
        s.mZ.curScllMax = 1234;
    }
    EXPECT_EQ(iniInt(kZ, QStringLiteral("ControlMax")), 1234);
    {
        // A run that found no microscope writes what it holds: the unset
        // range 0..0, which the panels read as the drive's whole range.
        MsgBox::Recorder rec;
        MainRun run({});
        run.start();
        EXPECT_EQ(rec.texts().size(), 1);
    }
    EXPECT_EQ(iniInt(kZ, QStringLiteral("ControlMax")), 0);
    EXPECT_EQ(iniInt(kZ, QStringLiteral("ControlMin")), 0);
    EXPECT_EQ(iniInt(kXY, QStringLiteral("XControlMax")), 0);
    EXPECT_EQ(iniInt(kXY, QStringLiteral("YControlMin")), 0);
    {
        MsgBox::Recorder rec;
        MainRun run({standFile("full-system.json")});
        run.start();
        EXPECT_EQ(mainState().mZ.curScllMax, 0);
        EXPECT_EQ(mainState().mZ.curScllMin, 0);
    }
}

TEST(Init, TheZWarningComparesTheLowerControlLimitThisRunHoldsWithTheDrivesUpperLimit) {
    clearFiles();
    const QString file = customStand(QStringLiteral("z-limit"),
        R"({"name": "Z Limit", "units": ["Q7s", "Z"], "camera": null,
            "devices": {"Nosepiece": {}, "ZDrive": {}},
            "limits": {"ZDrive": {"lower": -510000, "upper": 250000, "step": 20}},
            "zUpperLimit": 100000})");
    writeText(SettingsPaths::MainIni(), "[Z Focus Drive]\r\nControlMin=150000\r\nControlMax=200000\r\n");
    MsgBox::Recorder rec;
    MainRun run({file});
    frmMain* w = run.start();
    // The first opening of the run compares the lower limit held so far (0).
    ASSERT_TRUE(mainState().MicConnected);
    EXPECT_TRUE(rec.texts().isEmpty()) << rec.texts().join(QLatin1Char('|')).toStdString();
    EXPECT_EQ(mainState().mZ.curScllMin, 150000);
    // Opened again, the operator's 150000 lies above the drive's 100000.
    w->btnClose_Click();
    w->btnOpen_Click();
    ASSERT_EQ(rec.texts(), QStringList{QStringLiteral("Upper Limit lower than Lower Limit.")});
    EXPECT_EQ(rec.shown().first().icon, MsgBox::Exclamation);
    EXPECT_EQ(rec.shown().first().buttons, MsgBox::OKOnly);
    EXPECT_TRUE(mainState().MicConnected);
    EXPECT_FALSE(w->OpenInProgress);
}

TEST(Opening, TheCubeIsShownInTheFormOfTheReadAndTheEventKeepsItsOwn) {
    clearFiles();
    const QString file = customStand(QStringLiteral("cube-read"),
        R"({"name": "Cube Read", "units": ["Q7s"], "camera": null, "devices": {"FilterBlockCassette": {}},
            "state": {"filter": 2}, )" + kCubes + "}");
    MsgBox::Recorder rec;
    MainRun run({file});
    frmMain* w = run.start();
    ASSERT_TRUE(rec.texts().isEmpty()) << rec.texts().join(QLatin1Char('|')).toStdString();
    const QString tip = QStringLiteral("EX: BP455-485,  DM: DM495,  BA: LP505");
    EXPECT_EQ(w->ui->FilterCmd[0]->Caption(), QStringLiteral("2: BLUE-EX470 wide"));
    EXPECT_EQ(w->ui->FilterCmd[1]->Caption(), QStringLiteral("2 : BLUE-EX470 wide"));
    EXPECT_EQ(w->ui->FilterCmd[0]->ToolTipText(), tip);
    EXPECT_EQ(w->ui->FilterCmd[1]->ToolTipText(), QStringLiteral("BLUE-EX470 wide ") + tip);
    EXPECT_TRUE(w->ui->usrMainPath->HasExColor());
    w->micEvent_OnPropertyChanged(QStringLiteral("AppFilterBlockCassettePosition:2"));
    EXPECT_EQ(w->ui->FilterCmd[0]->Caption(), QStringLiteral("2 :  BLUE-EX470 wide "));
    EXPECT_EQ(w->ui->FilterCmd[1]->Caption(), QStringLiteral("2: BLUE-EX470"));
    EXPECT_EQ(w->ui->FilterCmd[1]->ToolTipText(), QStringLiteral(" ") + tip);
}

TEST(Opening, WithoutCondenserOnlyBrightfieldAndFluorescenceLightWithTheEpiIlluminator) {
    const auto stand = [](int observation) {
        return customStand(QStringLiteral("elmk-obs%1").arg(observation),
            QByteArray(R"({"name": "Epi", "units": ["Q7s", "E-LM-K"], "camera": null,
                "devices": {"Nosepiece": {}, "FilterBlockCassette": {}}, "state": {"observation": )") +
                QByteArray::number(observation) + "}}");
    };
    clearFiles();
    {
        MsgBox::Recorder rec;
        MainRun run({stand(4)});
        frmMain* w = run.start();
        EXPECT_EQ(mainState().mObj.SETUP(), 1);
        EXPECT_EQ(mainState().mCon.SETUP(), 0);
        EXPECT_EQ(mainState().ObservationNow, 4);
        EXPECT_EQ(w->ui->btnObserve[4]->BackColor(), MainPanel::kSelected);
        EXPECT_EQ(w->ui->ObservationShown, 4);
        // On a stand with the epi illuminator an empty user name stays empty.
        EXPECT_EQ(w->ui->labObserveU[1]->Caption(), QString());
    }
    {
        MsgBox::Recorder rec;
        MainRun run({stand(2)});
        frmMain* w = run.start();
        EXPECT_EQ(mainState().ObservationNow, 2);
        for (int i = 1; i <= 7; ++i)
            EXPECT_NE(w->ui->btnObserve[i]->BackColor(), MainPanel::kSelected) << i;
        EXPECT_EQ(w->ui->ObservationShown, 0);
    }
}

TEST(Dispatch, LampOffWhileTheWindowIsBusyStillShowsAClosedShutter) {
    clearFiles();
    MsgBox::Recorder rec;
    MainRun run({standFile("full-system.json")});
    frmMain* w = run.start();
    ASSERT_EQ(mainState().micService->EpiShutterIsOpened(), 0);
    w->ui->usrMainPath->ShowShutterOpen();
    w->setEnabled(false); // as during a blocking device call
    w->micEvent_OnPropertyChanged(QStringLiteral("AppLampIsOn:0"));
    w->setEnabled(true);
    EXPECT_FALSE(w->ui->usrMainPath->ShutterOpen());
    EXPECT_EQ(w->ui->usrMainPath->LampState(), 0);
    EXPECT_TRUE(rec.texts().isEmpty()) << rec.texts().join(QLatin1Char('|')).toStdString();
}

TEST(StatusRead, WithoutASelectedMicroscopeTheListIsReadAndNothingIsOpened) {
    clearFiles();
    MsgBox::Recorder rec;
    MainRun run({standFile("full-system.json"), standFile("readonly-nosepiece.json")});
    answerDialogLater(0);
    frmMain* w = run.start();
    ASSERT_TRUE(mainState().MicConnected);
    w->btnClose_Click();
    {
        const QSignalBlocker block(w->ui->lstMic);
        w->ui->lstMic->setCurrentRow(-1);
    }
    w->btnStatus_Read();
    EXPECT_EQ(w->ui->lstMic->count(), 2);
    EXPECT_EQ(w->ui->lstMic->currentRow(), -1);
    EXPECT_FALSE(mainState().MicConnected);
    EXPECT_TRUE(rec.texts().isEmpty()) << rec.texts().join(QLatin1Char('|')).toStdString();
}

// Counts the close events a window receives: a closed last window ends the
// application's event loop, a hidden one does not.
class CloseCounter : public QObject {
public:
    int closes = 0;
    bool eventFilter(QObject*, QEvent* e) override {
        if (e->type() == QEvent::Close)
            ++closes;
        return false;
    }
};

TEST(Unload, ARefusalAtStartClosesTheWindowSoThatTheProgramEnds) {
    clearFiles();
    // Earlier windows of this test program closed without an event loop to
    // end; keep the application's own quitting out of the count.
    QGuiApplication::setQuitOnLastWindowClosed(false);
    MsgBox::Recorder rec;
    MainRun run({});
    frmMain* w = run.start({}, false);
    CloseCounter counter;
    w->installEventFilter(&counter);
    w->show();
    // The refusal closes the window from the event loop; a loaded machine may
    // take a while to get there.
    QElapsedTimer waited;
    waited.start();
    while ((w->isVisible() || counter.closes == 0) && waited.elapsed() < 10000)
        pump(20);
    EXPECT_EQ(rec.texts().size(), 1);
    EXPECT_TRUE(w->unloaded());
    EXPECT_FALSE(w->isVisible());
    EXPECT_EQ(counter.closes, 1);
    w->removeEventFilter(&counter);
    QGuiApplication::setQuitOnLastWindowClosed(true);
}

TEST(BadInput, AShortColourFileIsReportedAndItsLinesAreWrittenBackAtUnload) {
    clearFiles();
    const QByteArray lines = "1,255,65280,1,1\r\n2,16777215,16777215,0,0\r\n3,16777215,16777215,0,0\r\n";
    writeText(FilterColor_Path(), lines);
    MsgBox::Recorder rec;
    MainRun run({standFile("full-system.json")});
    frmMain* w = run.start();
    ASSERT_FALSE(rec.texts().isEmpty());
    EXPECT_EQ(rec.texts().first(), QStringLiteral("FilterCube Init Error"));
    EXPECT_TRUE(mainState().MicConnected);
    EXPECT_EQ(mainState().mFColor.size(), 3);
    // A cube event now finds no table: the dispatch's own message, no crash.
    rec.clear();
    w->micEvent_OnPropertyChanged(QStringLiteral("AppFilterBlockCassettePosition:1"));
    EXPECT_EQ(rec.texts(), QStringList{QStringLiteral("Error : AppFilterBlockCassettePosition:1  check: Split problem")});
    w->close();
    EXPECT_EQ(readText(FilterColor_Path()), lines);
}

TEST(BadInput, ExtremeNumbersInTheMainIniStillGiveAWindowThatOpensAndSaves) {
    clearFiles();
    writeText(SettingsPaths::MainIni(),
              "[Form_Position]\r\nTop=-99999999\r\nLeft=99999999999\r\nWidth=2147483647\r\nHeight=-5\r\n"
              "Menu=-300\r\nOpen=7\r\n[Z Focus Drive]\r\nControlMax=zz\r\nControlMin=-1\r\n");
    MsgBox::Recorder rec;
    MainRun run({standFile("full-system.json")});
    frmMain* w = run.start();
    EXPECT_EQ(w->OpenMode, 7);
    EXPECT_TRUE(w->ui->frmSub->isHidden()); // only 2 asks for the compact window
    EXPECT_TRUE(mainState().MicConnected);
    EXPECT_EQ(mainState().mZ.curScllMax, 0);               // "zz" reads as 0
    EXPECT_EQ(mainState().mZ.curScllMin, mainState().mZ.MIN()); // -1: the drive's own
    w->close();
    EXPECT_TRUE(w->unloaded());
    EXPECT_GT(iniInt(QStringLiteral("Form_Position"), QStringLiteral("Width")), 0);
    EXPECT_EQ(iniInt(QStringLiteral("Form_Position"), QStringLiteral("Open")), 7) << "written back as read";
}
