// What an operator ran into: a stand without an epi shutter, a condenser
// table that cannot be read, a failed opening, the activation check while its
// own reads let further activations in.
#include "MainWindowTestSupport.h"

#include "core/settings/SettingsPaths.h"
#include "mainwindow/mainpanel/MainPanel.h"
#include "models/optics/FilterColorFile.h"
#include "state/FormRegistry.h"
#include "widgets/usrButton.h"

#include <QCursor>
#include <QGuiApplication>
#include <QMessageBox>
#include <QSettings>
#include <QTest>
#include <QWindow>
#include <gtest/gtest.h>

namespace {

void clearFiles() {
    QFile::remove(SettingsPaths::MainIni());
    QFile::remove(FilterColor_Path());
    QSettings(QSettings::NativeFormat, QSettings::UserScope, QStringLiteral("Zentor"), QStringLiteral("Zentor")).clear();
}

QString joined(const MsgBox::Recorder& rec) { return rec.texts().join(QLatin1Char('|')); }

TEST(StandWithoutEpiShutter, OpensQuietlyShowsTheFocusAndSwitchesTheLampOffQuietly) {
    for (const char* file : {"manual-path-binocular.json", "manual-path-port.json"}) {
        SCOPED_TRACE(file);
        clearFiles();
        MsgBox::Recorder rec;
        MainRun run({standFile(file)});
        frmMain* w = run.start();
        ASSERT_TRUE(mainState().MicConnected);
        ASSERT_EQ(mainState().micService->IsMounted(DeviceIndex::EpiShutter), 0);
        ASSERT_EQ(mainState().micService->IsMounted(DeviceIndex::Lamp), 1);
        EXPECT_TRUE(rec.texts().isEmpty()) << joined(rec).toStdString();
        // The read at opening went on past the lamp to the focus.
        EXPECT_TRUE(w->ui->Zcmd[0]->Caption().endsWith(QStringLiteral(" um"))) << w->ui->Zcmd[0]->Caption().toStdString();
        mainState().micService->LampOn();
        pump(50);
        mainState().micService->LampOff();
        pump(50);
        w->micEvent_OnPropertyChanged(QStringLiteral("AppLampIsOn:0"));
        EXPECT_TRUE(rec.texts().isEmpty()) << joined(rec).toStdString();
        EXPECT_EQ(w->ui->LampCmd[0]->Caption(), QString());
    }
}

TEST(Init, ACondenserTableThatCannotBeReadIsInitsFailureOfStepTwo) {
    clearFiles();
    // A condenser number past what a 16-bit number holds: the table's read overflows.
    const QString file = customStand(QStringLiteral("condenser-overflow"),
        R"({"name": "Condenser Overflow", "units": ["Q7s"], "camera": null,
            "devices": {"CondenserCassette": {}, "ZDrive": {}},
            "condensers": [{"number": 1, "name": "BF"}, {"number": 70000, "name": "DF"}]})");
    MsgBox::Recorder rec;
    MainRun run({file});
    run.start();
    ASSERT_FALSE(rec.texts().isEmpty());
    EXPECT_EQ(rec.texts().first(), QStringLiteral("Init Error 2")) << joined(rec).toStdString();
    EXPECT_FALSE(rec.texts().contains(QStringLiteral("CondenserData Error")));
    EXPECT_TRUE(mainState().MicConnected);
}

TEST(Opening, AFailedOpeningKeepsTheHourglassOnTheDeafPanel) {
    clearFiles();
    MsgBox::Recorder rec;
    MainRun run({standFile("full-system.json")});
    frmMain* w = run.start();
    ASSERT_TRUE(mainState().MicConnected);
    ASSERT_EQ(QGuiApplication::overrideCursor(), nullptr);
    // An entry whose microscope the service does not have.
    w->ui->lstMic->currentItem()->setData(Qt::UserRole, 99);
    w->btnOpen_Click();
    EXPECT_EQ(rec.texts(), QStringList{QStringLiteral("Device_Connect Error")});
    EXPECT_TRUE(w->OpenInProgress);
    EXPECT_FALSE(w->isEnabled());
    const QCursor* cursor = QGuiApplication::overrideCursor();
    ASSERT_NE(cursor, nullptr);
    EXPECT_EQ(cursor->shape(), Qt::WaitCursor);
    while (QGuiApplication::overrideCursor())
        QGuiApplication::restoreOverrideCursor();
}

// A holding object whose status reads let window activations in, as a
// blocking call's loop does.
class ActivatingMicroscope : public SimulatedMicroscope {
public:
    using SimulatedMicroscope::SimulatedMicroscope;
    static inline bool armed = false;
    int32_t DeviceStatus(int16_t unit) override {
        if (armed && frmMain::instance()) {
            QEvent deact(QEvent::WindowDeactivate), act(QEvent::WindowActivate);
            QCoreApplication::sendEvent(frmMain::instance(), &deact);
            QCoreApplication::sendEvent(frmMain::instance(), &act);
        }
        return SimulatedMicroscope::DeviceStatus(unit);
    }
};

TEST(CheckServer, ActivationsDuringItsOwnReadsStartNoSecondCheck) {
    clearFiles();
    MsgBox::Recorder rec;
    MainRun run({standFile("full-system.json")});
    SimulatedService* shared = run.service.get();
    ServiceSource::setMaker([shared]() -> std::unique_ptr<MicroscopeService> {
        return std::make_unique<ActivatingMicroscope>(shared);
    });
    frmMain* w = run.start();
    ASSERT_TRUE(w->IsServer);
    for (int16_t u : {UnitIndex::Q7s, UnitIndex::HBX_A, UnitIndex::HBX_B, UnitIndex::E_LM_K})
        run.service->stand(1)->control().killUnit(u);
    ActivatingMicroscope::armed = true;
    QEvent deact(QEvent::WindowDeactivate), act(QEvent::WindowActivate);
    QCoreApplication::sendEvent(w, &deact);
    QCoreApplication::sendEvent(w, &act);
    ActivatingMicroscope::armed = false;
    EXPECT_EQ(rec.texts(), QStringList{QStringLiteral("Q7s.exe Error Please Restart this application.")});
    EXPECT_TRUE(w->unloaded());
}

TEST(Menu, SwitchingTheMicroscopeFromTheConnectionListLeavesOneSectionDrawn) {
    clearFiles();
    MsgBox::Recorder rec;
    MainRun run({standFile("full-system.json"), standFile("readonly-nosepiece.json")});
    answerDialogLater(0);
    frmMain* w = run.start();
    ASSERT_TRUE(mainState().MicConnected);
    MainPanel* ui = w->ui;
    ui->btnmenu_Click(1);
    ui->lstMic->setCurrentRow(1);
    pump(50);
    ASSERT_TRUE(mainState().MicConnected);
    ASSERT_EQ(w->windowTitle(), QStringLiteral("Zentor  [ ") + ui->lstMic->item(1)->text() + QStringLiteral(" ]"));
    int drawn = 0;
    for (PanelFrame* section : {ui->frmConnect, ui->frmSetting, ui->frmInfo, ui->frmObserve, ui->frmOther})
        drawn += section->isVisibleTo(ui->frmMenu) ? 1 : 0;
    EXPECT_EQ(drawn, 1);
    EXPECT_TRUE(ui->frmConnect->isVisibleTo(ui->frmMenu));
    EXPECT_EQ(ui->MenuSelect, 1);
    // The observation methods open from their entry as before.
    ui->btnmenu_Click(4);
    EXPECT_TRUE(ui->frmObserve->isVisibleTo(ui->frmMenu));
    EXPECT_FALSE(ui->frmConnect->isVisibleTo(ui->frmMenu));
    EXPECT_TRUE(rec.texts().isEmpty()) << joined(rec).toStdString();
}

// Closes whatever box is still up after `ms`, so that a test of code that
// waits on a box fails instead of hanging; counts what it had to close.
struct BoxWatchdog {
    int closed = 0;
    QTimer timer;
    explicit BoxWatchdog(int ms) {
        timer.setInterval(ms);
        QObject::connect(&timer, &QTimer::timeout, [this] {
            while (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
                ++closed;
                box->done(QMessageBox::Ok);
                QCoreApplication::processEvents();
                if (QApplication::activeModalWidget() == box)
                    break;
            }
        });
        timer.start();
    }
};

TEST(CloseOnSignal, AServiceThatIsGoneDoesNotHoldTheCloseOnItsBox) {
    clearFiles();
    MainRun run({standFile("full-system.json")});
    frmMain* w = nullptr;
    {
        MsgBox::Recorder rec;
        w = run.start();
    }
    ASSERT_TRUE(mainState().MicConnected);
    // The service is gone: every call of the panel's object fails.
    mainState().micService->Disconnect();
    BoxWatchdog watchdog(3000);
    w->closeOnSignal();
    EXPECT_TRUE(w->unloaded());
    EXPECT_FALSE(w->isVisible());
    EXPECT_EQ(watchdog.closed, 0) << "the close waited on a box";
    // What was set is saved as at any other close.
    const clsIniEdit ini(SettingsPaths::MainIni());
    EXPECT_NE(ini.Ini_ReadInt(QStringLiteral("Form_Position"), QStringLiteral("Width"), -1), -1);
    MsgBox::setUnattended(false);
}

TEST(CloseOnSignal, ABoxAlreadyUpIsDismissedAndTheWindowCloses) {
    clearFiles();
    MainRun run({standFile("full-system.json")});
    frmMain* w = nullptr;
    {
        MsgBox::Recorder rec;
        w = run.start();
    }
    BoxWatchdog watchdog(3000);
    bool signalled = false;
    QTimer::singleShot(100, w, [&] {
        signalled = QApplication::activeModalWidget() != nullptr;
        w->closeOnSignal();
    });
    const MsgBox::Answer answer = MsgBox::show(QStringLiteral("Device_disconnect error"));
    EXPECT_TRUE(signalled) << "no box was up when the signal came";
    EXPECT_EQ(answer, MsgBox::OK);
    EXPECT_EQ(watchdog.closed, 0) << "the box waited for an answer";
    EXPECT_TRUE(w->unloaded());
    MsgBox::setUnattended(false);
}

TEST(MessageBox, OpensAboveAnOpenDevicePanel) {
    clearFiles();
    MainRun run({standFile("full-system.json")});
    frmMain* w = nullptr;
    {
        MsgBox::Recorder rec;
        w = run.start();
    }
    QWidget* panel = nullptr;
    {
        MsgBox::Recorder rec;
        auto* button = w->ui->btnObj[0];
        QTest::mouseClick(button, Qt::LeftButton, {}, button->rect().center());
        for (int i = 0; i < 150 && !(panel && panel->isVisible()); ++i) {
            pump(20);
            panel = FormRegistry::loaded(QStringLiteral("frmSubObj"));
        }
    }
    ASSERT_NE(panel, nullptr) << "no device panel opened";
    ASSERT_TRUE(panel->windowHandle()->flags().testFlag(Qt::WindowStaysOnTopHint));
    bool onTop = false;
    QTimer::singleShot(100, w, [&] {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (!box)
            return;
        onTop = box->windowHandle()->flags().testFlag(Qt::WindowStaysOnTopHint);
        box->done(QMessageBox::Ok);
    });
    BoxWatchdog watchdog(3000);
    MsgBox::show(QStringLiteral("Position_Change Error"));
    EXPECT_TRUE(onTop) << "the box can open beneath the panel";
}

TEST(MessageBox, StandsDarkOverTheCentreOfTheWindow) {
    clearFiles();
    MainRun run({standFile("full-system.json")});
    frmMain* w = nullptr;
    {
        MsgBox::Recorder rec;
        w = run.start();
    }
    w->move(100, 80);
    pump(50);
    QColor window, text;
    QPoint centre;
    QTimer::singleShot(100, w, [&] {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (!box)
            return;
        window = box->palette().color(QPalette::Window);
        text = box->palette().color(QPalette::WindowText);
        centre = box->frameGeometry().center();
        box->done(QMessageBox::Ok);
    });
    BoxWatchdog watchdog(3000);
    MsgBox::show(QStringLiteral("Position_Change Error"));
    ASSERT_TRUE(window.isValid()) << "no box was shown";
    EXPECT_LT(window.lightness(), 80);
    EXPECT_GT(text.lightness(), 160);
    const QPoint mainCentre = w->frameGeometry().center();
    EXPECT_LE((centre - mainCentre).manhattanLength(), 4)
        << centre.x() << "," << centre.y() << " vs " << mainCentre.x() << "," << mainCentre.y();
}

} // namespace
