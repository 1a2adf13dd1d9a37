// Start-up, choice of the microscope, shutdown and the liveness check of the
// main window, against the simulated stand with the shipped descriptions.
#include "MainWindowTestSupport.h"

#include "state/FormRegistry.h"
#include "state/clsMutex.h"
#include "core/settings/SettingsPaths.h"
#include "widgets/Units.h"
#include "widgets/usrButton.h"
#include "models/optics/FilterColorFile.h"
#include "stand/SimulatedStand.h"

#include <QSettings>
#include <gtest/gtest.h>

namespace {

const QString kNoMic = QStringLiteral("No Microscope is detected\r\nPlease restart this application or your machine.");
const QString kUsed =
    QStringLiteral("Other Application has already used this Microscope.\r\nPlease restart this application or your machine.");

bool lockHeld(const QString& selection) {
    clsMutex probe;
    return !probe.Mutex_Open(selection);
}

void clearFiles() {
    QFile::remove(SettingsPaths::MainIni());
    QFile::remove(FilterColor_Path());
    QSettings(QSettings::NativeFormat, QSettings::UserScope, QStringLiteral("Zentor"), QStringLiteral("Zentor")).clear();
}

} // namespace

TEST(Startup, FirstRunTakesEveryDefaultAndOpensTheOnlyMicroscope) {
    clearFiles();
    MsgBox::Recorder rec;
    MainRun run({standFile("full-system.json")});
    frmMain* w = run.start({}, false);
    EXPECT_EQ(w->width(), zentor::twipsToPixels(12600));
    EXPECT_EQ(w->height(), zentor::twipsToPixels(8400));
    EXPECT_EQ(w->x(), 0);
    EXPECT_EQ(w->y(), 0);
    EXPECT_EQ(w->OpenMode, 1);
    EXPECT_FALSE(mainState().MicConnected); // Form_Load does not connect
    EXPECT_TRUE(w->IsServer);
    w->show();
    pump(100);
    EXPECT_FALSE(w->FirstActivate);
    EXPECT_TRUE(mainState().MicConnected);
    EXPECT_EQ(w->windowTitle(), QStringLiteral("Zentor  [ Q7s Full System ]"));
    EXPECT_TRUE(rec.texts().isEmpty()) << rec.texts().join(QLatin1Char('|')).toStdString();
    EXPECT_TRUE(lockHeld(QStringLiteral("0")));
    EXPECT_FALSE(w->ui->btnOpen->isEnabled());
    EXPECT_TRUE(w->ui->btnClose->isEnabled());
    EXPECT_TRUE(w->ui->btnStatusRead->isEnabled());
}

TEST(Startup, GarbageOrTruncatedMainIniGivesDefaultsAndAStoredMinusOneTopGivesZero) {
    clearFiles();
    writeText(SettingsPaths::MainIni(), "[Form_Position]\r\nTop=-1\r\nLeft=abc\r\nWidth=\r\n\x01\x02garbage\r\n[Form_Pos");
    MsgBox::Recorder rec;
    MainRun run({standFile("full-system.json")});
    frmMain* w = run.start({}, false);
    EXPECT_EQ(w->y(), 0);
    EXPECT_EQ(w->x(), 0);   // "abc" reads as 0
    EXPECT_EQ(w->width(), zentor::twipsToPixels(12600));
    EXPECT_EQ(w->height(), zentor::twipsToPixels(8400));
    EXPECT_EQ(w->OpenMode, 1);
}

TEST(Startup, NoMicroscopeCreatesTheLockOfMinusOneAndSaysSoOnActivation) {
    clearFiles();
    bool heldAtMessage = false;
    MsgBox::Recorder rec([&](const MsgBox::Shown&) {
        heldAtMessage = lockHeld(QStringLiteral("-1"));
        return MsgBox::OK;
    });
    MainRun run({});
    frmMain* w = run.start();
    EXPECT_EQ(clsMutex::lockName(QStringLiteral("-1")), QStringLiteral("ZentorConnection-2D31"));
    EXPECT_EQ(w->SelectedMic, -1);
    ASSERT_EQ(rec.texts(), QStringList{kNoMic});
    EXPECT_EQ(rec.shown().first().buttons, MsgBox::OKOnly);
    EXPECT_EQ(rec.shown().first().icon, MsgBox::NoIcon);
    EXPECT_TRUE(heldAtMessage);
    EXPECT_TRUE(w->unloaded());
    EXPECT_TRUE(w->FirstActivate);
    EXPECT_FALSE(w->IsServer);
}

TEST(Startup, OneMicroscopeOpensWithoutDialogWhateverTheOtherTokens) {
    clearFiles();
    MsgBox::Recorder rec;
    MainRun run({standFile("full-system.json")});
    frmMain* w = run.start({QStringLiteral("/X"), QStringLiteral("Nothing"), QStringLiteral("/sim")});
    EXPECT_EQ(w->SelectedMic, 0);
    EXPECT_FALSE(mainState().SimMode); // a switch in lower case is not recognised
    EXPECT_EQ(w->windowTitle(), QStringLiteral("Zentor  [ Q7s Full System ]"));
    EXPECT_TRUE(rec.texts().isEmpty());
}

TEST(Startup, CancelledDialogCreatesTheLockOfMinusThreeAndClosesSilently) {
    clearFiles();
    MsgBox::Recorder rec;
    MainRun run({standFile("full-system.json"), standFile("readonly-nosepiece.json")});
    answerDialogLater(-3);
    frmMain* w = run.start();
    EXPECT_EQ(w->SelectedMic, -3);
    EXPECT_TRUE(rec.texts().isEmpty());
    EXPECT_TRUE(w->unloaded());
    EXPECT_EQ(clsMutex::lockName(QStringLiteral("-3")), QStringLiteral("ZentorConnection-2D33"));
}

TEST(Startup, DialogChoiceOpensTheChosenMicroscope) {
    clearFiles();
    MsgBox::Recorder rec;
    MainRun run({standFile("full-system.json"), standFile("readonly-nosepiece.json")});
    answerDialogLater(1);
    frmMain* w = run.start();
    EXPECT_EQ(w->SelectedMic, 1);
    EXPECT_EQ(w->selScope()->List1->count(), 2);
    EXPECT_EQ(w->windowTitle(), QStringLiteral("Zentor  [ Q7s Coded Nosepiece ]"));
}

TEST(Startup, SimAndCompactTogetherOpenItemZeroInTheCompactWindow) {
    clearFiles();
    MsgBox::Recorder rec;
    MainRun run({standFile("full-system.json"), standFile("readonly-nosepiece.json")});
    frmMain* w = run.start({QStringLiteral("/SIM"), QStringLiteral("/C")});
    EXPECT_TRUE(mainState().SimMode);
    EXPECT_EQ(w->ui->lstMic->count(), 1);
    EXPECT_EQ(w->ui->lstMic->item(0)->data(Qt::UserRole).toInt(), 0);
    EXPECT_EQ(w->windowTitle(), QStringLiteral("Zentor  [ ") + run.service->deviceNames().at(0) + QStringLiteral(" ]"));
    EXPECT_FALSE(w->ui->frmSub->isHidden());
    EXPECT_TRUE(w->ui->picMain->isHidden());
    EXPECT_TRUE(w->ui->labSystem->isHidden());
    EXPECT_TRUE(rec.texts().isEmpty());
    w->close();
    // /C asks for this start only: the saved start-up look stays the large one.
    const clsIniEdit ini(SettingsPaths::MainIni());
    EXPECT_EQ(ini.Ini_ReadInt(QStringLiteral("Form_Position"), QStringLiteral("Open"), -1), 1);
}

TEST(Startup, ANameOnTheCommandLineOpensTheEntryAfterIt) {
    clearFiles();
    MsgBox::Recorder rec;
    MainRun run({standFile("full-system.json"), standFile("readonly-nosepiece.json")});
    frmMain* w = run.start({QStringLiteral("Q7s Full System")});
    EXPECT_EQ(w->SelectedMic, 1);
    EXPECT_EQ(w->windowTitle(), QStringLiteral("Zentor  [ Q7s Coded Nosepiece ]"));
}

TEST(Startup, ANamePastTheEndOfTheListEndsInGetDeviceNameError) {
    clearFiles();
    MsgBox::Recorder rec;
    MainRun run({standFile("full-system.json"), standFile("readonly-nosepiece.json")});
    frmMain* w = run.start({QStringLiteral("Q7s Coded Nosepiece")});
    ASSERT_FALSE(rec.texts().isEmpty());
    EXPECT_EQ(rec.texts().first(), QStringLiteral("Get Device_Name Error"));
    EXPECT_FALSE(w->IsServer);
    EXPECT_FALSE(mainState().MicConnected);
}

TEST(Startup, SecondStartOnTheSamePositionIsRefusedAndOnAnotherAllowed) {
    clearFiles();
    {
        clsMutex other; // another panel holds list position 0
        ASSERT_TRUE(other.Mutex_Open(QStringLiteral("0")));
        MsgBox::Recorder rec;
        MainRun run({standFile("full-system.json")});
        frmMain* w = run.start();
        EXPECT_EQ(w->SelectedMic, -2);
        EXPECT_EQ(rec.texts(), QStringList{kUsed});
        EXPECT_FALSE(w->IsServer);
        EXPECT_TRUE(w->unloaded());
    }
    {
        clsMutex other;
        ASSERT_TRUE(other.Mutex_Open(QStringLiteral("1")));
        MsgBox::Recorder rec;
        MainRun run({standFile("full-system.json")});
        frmMain* w = run.start();
        EXPECT_EQ(w->SelectedMic, 0);
        EXPECT_TRUE(rec.texts().isEmpty());
        EXPECT_TRUE(mainState().MicConnected);
    }
}

TEST(Startup, UnloadWritesGeometryLimitsMemoriesLinksAndColoursAndTheNextOpeningReadsThemBack) {
    clearFiles();
    {
        MsgBox::Recorder rec;
        MainRun run({standFile("full-system.json")});
        frmMain* w = run.start();
        MainState& s = mainState();
        s.mZ.curScllMax = 1234;
        s.mZ.curScllMin = -55;
        s.mXY.setXMemoryPos(2, 777);
        s.mObj.setLINK(-1);
        s.mZoom.setLINK(0);
        w->move(zentor::twipsToPixels(300), zentor::twipsToPixels(450));
        w->close();
        EXPECT_TRUE(w->unloaded());
        EXPECT_TRUE(rec.texts().isEmpty()) << rec.texts().join(QLatin1Char('|')).toStdString();
    }
    const clsIniEdit ini(SettingsPaths::MainIni());
    EXPECT_EQ(ini.Ini_ReadInt(QStringLiteral("Form_Position"), QStringLiteral("Open"), -1), 1);
    EXPECT_NE(ini.Ini_ReadInt(QStringLiteral("Form_Position"), QStringLiteral("Width"), -1), -1);
    EXPECT_NE(ini.Ini_ReadInt(QStringLiteral("Form_Position"), QStringLiteral("Menu"), -1), -1);
    EXPECT_EQ(ini.Ini_ReadInt(QStringLiteral("Z Focus Drive"), QStringLiteral("ControlMax"), -1), 1234);
    EXPECT_EQ(ini.Ini_ReadInt(QStringLiteral("Z Focus Drive"), QStringLiteral("ControlMin"), -1), -55);
    EXPECT_NE(ini.Ini_ReadInt(QStringLiteral("XY Stage"), QStringLiteral("XControlMax"), -2), -2);
    EXPECT_EQ(ini.Ini_ReadInt(QStringLiteral("XY Stage"), QStringLiteral("Memory_X2"), -1), 777);
    EXPECT_EQ(ini.Ini_ReadStr(QStringLiteral("Zentor  [ Q7s Full System ]"), QStringLiteral("Show"), QString()),
              QStringLiteral("True"));
    QSettings store(QSettings::NativeFormat, QSettings::UserScope, QStringLiteral("Zentor"), QStringLiteral("Zentor"));
    EXPECT_EQ(store.value(QStringLiteral("LinkSetting/Obj")).toString(), QStringLiteral("1"));
    EXPECT_EQ(store.value(QStringLiteral("LinkSetting/Zoom")).toString(), QStringLiteral("0"));
    const QByteArray colours = readText(FilterColor_Path());
    EXPECT_TRUE(colours.startsWith("1,16777215,16777215,0,0\r\n2,16777215,16777215,0,0\r\n"));
    EXPECT_EQ(colours.count('\n'), 249);

    // The next opening reads them back.
    {
        MsgBox::Recorder rec;
        MainRun run({standFile("full-system.json")});
        run.start();
        EXPECT_EQ(mainState().mZ.curScllMax, 1234);
        EXPECT_EQ(mainState().mXY.XMemoryPos(2), 777);
        EXPECT_EQ(mainState().mObj.LINK(), 1);
    }
}

TEST(Startup, NotConnectedAtUnloadLeavesTheColourFileUntouched) {
    clearFiles();
    writeText(FilterColor_Path(), "sentinel");
    MsgBox::Recorder rec;
    MainRun run({standFile("full-system.json")});
    frmMain* w = run.start();
    w->btnClose_Click();
    EXPECT_FALSE(mainState().MicConnected);
    w->close();
    EXPECT_EQ(readText(FilterColor_Path()), QByteArray("sentinel"));
}

TEST(Startup, SavingWhileMinimisedWritesTheRestoredGeometry) {
    clearFiles();
    MsgBox::Recorder rec;
    MainRun run({standFile("full-system.json")});
    frmMain* w = run.start();
    const int width = w->width();
    w->showMinimized();
    pump(50);
    w->close();
    const clsIniEdit ini(SettingsPaths::MainIni());
    EXPECT_EQ(ini.Ini_ReadInt(QStringLiteral("Form_Position"), QStringLiteral("Width"), -1), zentor::pixelsToTwips(width));
}

TEST(CheckServer, AStandThatStoppedGivesOneMessageAndAnOrderlyExitEvenWithFurtherActivations) {
    clearFiles();
    int boxes = 0;
    frmMain* window = nullptr;
    MsgBox::Recorder rec([&](const MsgBox::Shown&) {
        ++boxes;
        // The box itself brings further activations.
        QEvent deact(QEvent::WindowDeactivate), act(QEvent::WindowActivate);
        QCoreApplication::sendEvent(window, &deact);
        QCoreApplication::sendEvent(window, &act);
        return MsgBox::OK;
    });
    MainRun run({standFile("full-system.json")});
    window = run.start();
    ASSERT_TRUE(mainState().MicConnected);
    for (int16_t u : {UnitIndex::Q7s, UnitIndex::HBX_A, UnitIndex::HBX_B, UnitIndex::E_LM_K})
        run.service->stand(1)->control().killUnit(u);
    QEvent deact(QEvent::WindowDeactivate), act(QEvent::WindowActivate);
    QCoreApplication::sendEvent(window, &deact);
    QCoreApplication::sendEvent(window, &act);
    QCoreApplication::sendEvent(window, &deact);
    QCoreApplication::sendEvent(window, &act);
    EXPECT_EQ(boxes, 1);
    ASSERT_FALSE(rec.texts().isEmpty());
    EXPECT_EQ(rec.texts().first(), QStringLiteral("Q7s.exe Error Please Restart this application."));
    EXPECT_TRUE(window->unloaded());
    EXPECT_FALSE(window->IsServer);
    const clsIniEdit ini(SettingsPaths::MainIni());
    EXPECT_NE(ini.Ini_ReadInt(QStringLiteral("Form_Position"), QStringLiteral("Width"), -1), -1);
}

TEST(CheckServer, AServiceThatFailsGivesServerError) {
    clearFiles();
    MsgBox::Recorder rec;
    MainRun run({standFile("full-system.json")});
    frmMain* w = run.start();
    w->MicHold()->Disconnect(); // every call of the holding object now fails
    QEvent deact(QEvent::WindowDeactivate), act(QEvent::WindowActivate);
    QCoreApplication::sendEvent(w, &deact);
    QCoreApplication::sendEvent(w, &act);
    ASSERT_FALSE(rec.texts().isEmpty());
    EXPECT_EQ(rec.texts().first(), QStringLiteral("Server Error Please Restart this application."));
    EXPECT_TRUE(w->unloaded());
}

TEST(CheckServer, AliveStandPassesAndAnActiveWindowIsCheckedOncePerRegainedFocus) {
    clearFiles();
    MsgBox::Recorder rec;
    MainRun run({standFile("full-system.json")});
    frmMain* w = run.start();
    QEvent act(QEvent::WindowActivate);
    QCoreApplication::sendEvent(w, &act);
    QCoreApplication::sendEvent(w, &act);
    EXPECT_TRUE(rec.texts().isEmpty());
    EXPECT_FALSE(w->unloaded());
    // Still active: a second activation message without losing the focus is
    // no new check, so a stand that dies meanwhile is noticed only later.
    for (int16_t u : {UnitIndex::Q7s, UnitIndex::HBX_A, UnitIndex::HBX_B})
        run.service->stand(1)->control().killUnit(u);
    QCoreApplication::sendEvent(w, &act);
    EXPECT_TRUE(rec.texts().isEmpty());
}

TEST(StatusRead, InSimModeTheListKeepsOneEntryAndTheMicroscopeIsReopened) {
    clearFiles();
    MsgBox::Recorder rec;
    MainRun run({standFile("full-system.json"), standFile("readonly-nosepiece.json")});
    frmMain* w = run.start({QStringLiteral("/SIM")});
    ASSERT_TRUE(mainState().MicConnected);
    mainState().mZ.setValue(-1);
    w->btnStatus_Read();
    EXPECT_EQ(w->ui->lstMic->count(), 1);
    EXPECT_TRUE(mainState().MicConnected);
    EXPECT_NE(mainState().mZ.Value(), -1); // read afresh at the reopening
    EXPECT_TRUE(rec.texts().isEmpty()) << rec.texts().join(QLatin1Char('|')).toStdString();
}

TEST(StatusRead, AMicroscopeGoneFromTheListEndsTheRead) {
    clearFiles();
    MsgBox::Recorder rec;
    MainRun run({standFile("full-system.json"), standFile("readonly-nosepiece.json")});
    answerDialogLater(1);
    frmMain* w = run.start();
    ASSERT_EQ(w->ui->lstMic->currentRow(), 1);
    // The service now offers the /SIM list only: the remembered row is past its end.
    w->RequestedMic = 46;
    w->btnStatus_Read();
    EXPECT_EQ(w->ui->lstMic->count(), 1);
    // The read ends in the click's trap, which has no message of its own:
    // nothing is selected and nothing reopened.
    EXPECT_EQ(w->ui->lstMic->currentRow(), -1);
    EXPECT_TRUE(rec.texts().isEmpty()) << rec.texts().join(QLatin1Char('|')).toStdString();
}
