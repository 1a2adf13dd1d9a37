// End to end: the real panel in a real window (Xvfb) against the real service
// process on a private bus. The operator opens the profile editor from the
// main panel, edits a user method, sends it, selects it on the main panel,
// and the stand moves its devices one after another while the panel follows.
// Screenshots of the editor's six tabs and of the main window are kept in the
// test's home.
#include "MainWindowTestSupport.h"
#include "ServiceProcess.h"

#include "core/service/dbus/DBusMicroscopeService.h"
#include "mainwindow/mainpanel/MainPanel.h"
#include "widgets/PanelControls.h"
#include "widgets/usrButton.h"
#include "devicepanels/profiles/frmProfile.h"

#include <QComboBox>
#include <QLineEdit>
#include <QScreen>
#include <QTabBar>
#include <QTest>
#include <gtest/gtest.h>

namespace {

template <typename Pred>
bool waitFor(Pred done, int limitMs = 30000) {
    QElapsedTimer t;
    t.start();
    while (!done() && t.elapsed() < limitMs) QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    return done();
}

void click(QWidget* w) { QTest::mouseClick(w, Qt::LeftButton, Qt::NoModifier, QPoint(8, 8)); }

void pick(QComboBox* combo, int row) {
    combo->setFocus();
    combo->setCurrentIndex(row);
    emit combo->activated(row);
}

void shoot(QWidget* w, const QString& name) {
    const QString dir = testHome() + QStringLiteral("/screens");
    QDir().mkpath(dir);
    EXPECT_TRUE(w->grab().save(dir + QLatin1Char('/') + name)) << name.toStdString();
}

} // namespace

TEST(ProfileEndToEnd, AMethodEditedSentAndSelectedMovesTheStandsDevices) {
    ServiceProcess service;
    ASSERT_TRUE(service.start({QStringLiteral("--speed"), QStringLiteral("8"), QStringLiteral("--no-fiber"),
                               QStringLiteral("--state-file"), testHome() + QStringLiteral("/state/service.json")}))
        << service.error().toStdString();
    MsgBox::Recorder messages;
    // The panel's service objects are clients on the bus, as in the running program.
    ServiceSource::setMaker([]() -> std::unique_ptr<MicroscopeService> {
        return std::make_unique<DBusMicroscopeService>();
    });
    auto w = std::make_unique<frmMain>(QStringList{QStringLiteral("zentor"), QStringLiteral("/SIM")});
    w->show();
    ASSERT_TRUE(waitFor([&] { return !w->FirstActivate && mainState().MicConnected; }))
        << messages.texts().join('|').toStdString();
    MainPanel* ui = w->ui;
    ASSERT_TRUE(ui->btnProfile->isEnabled());

    // A second client watches what the stand reports.
    DBusMicroscopeService watcher;
    watcher.Connect(0);
    QStringList events;
    QObject::connect(&watcher, &MicroscopeService::OnPropertyChanged, [&](const QString& e) { events << e; });

    // Open the editor from the main panel.
    click(ui->btnProfile);
    frmProfile* f = frmProfile::loaded();
    ASSERT_NE(f, nullptr);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(f));
    for (int t = 0; t < 6; ++t) {
        f->tabProfile->setCurrentIndex(t);
        shoot(f, QStringLiteral("profile-editor-tab%1.png").arg(t + 1));
    }

    // Edit user method 2 (observation 8) and send it.
    f->tabProfile->setCurrentIndex(1);
    f->txtSel->setFocus();
    f->txtSel->selectAll();
    QTest::keyClicks(f->txtSel, QStringLiteral("GFP 40x"));
    const int16_t nose = mainState().mObj.Address() == 4 ? 2 : 4;
    pick(f->txtObj, nose);
    pick(f->txtFilter, 3);
    pick(f->txtPath, 2);
    pick(f->txtZoom, 8);
    pick(f->txtFS, 3);
    shoot(f, QStringLiteral("profile-editor-edited.png"));
    click(f->btnSend);
    EXPECT_TRUE(messages.texts().isEmpty()) << messages.texts().join('|').toStdString();
    EXPECT_EQ(ui->labObserveU[2]->Caption(), QStringLiteral("GFP 40x"));
    EXPECT_EQ(watcher.ObservationName(8), QStringLiteral("GFP 40x"));

    // Select it on the main panel: the entry lights at once and the stand moves.
    events.clear();
    w->activateWindow();
    click(ui->labObserveU[2]);
    EXPECT_TRUE(messages.texts().isEmpty()) << messages.texts().join('|').toStdString();
    EXPECT_EQ(mainState().ObservationNow, 8);
    EXPECT_TRUE(waitFor([&] { return events.contains(QStringLiteral("AppPresetsObservationMode:8")); }))
        << events.join(' ').toStdString();
    EXPECT_TRUE(waitFor([&] { return mainState().mObj.Address() == nose && mainState().mPath.PATH() == 2; }));
    EXPECT_EQ(mainState().mFilter.Address(), 3);
    EXPECT_DOUBLE_EQ(mainState().mZoom.ZOOM(), 1.5);
    EXPECT_TRUE(ui->ObjCmd[0]->Caption().startsWith(QString::number(nose))) << ui->ObjCmd[0]->Caption().toStdString();
    // The devices moved one after another, each streaming before the next.
    QStringList order;
    for (const QString& e : events) {
        const QString name = e.section(QLatin1Char(':'), 0, 0);
        if (order.isEmpty() || order.last() != name) order << name;
    }
    const QStringList expected = {"AppNosepiecePosition", "AppFilterBlockCassettePosition", "AppFieldStopFieldStop",
                                  "AppLightPathDriveLightPath", "AppOpticalZoomZoom", "AppPresetsObservationMode"};
    QStringList seen;
    for (const QString& n : order)
        if (expected.contains(n)) seen << n;
    EXPECT_EQ(seen.mid(0, 1), QStringList{"AppNosepiecePosition"}) << order.join(' ').toStdString();
    EXPECT_EQ(seen.removeDuplicates(), 0) << order.join(' ').toStdString();
    EXPECT_EQ(seen.last(), QStringLiteral("AppPresetsObservationMode"));
    EXPECT_EQ(ui->labObserveU[2]->BackColor(), MainPanel::kSelected);
    shoot(w.get(), QStringLiteral("main-window-user-method.png"));
    // The Custom Observation group, with the method just selected lit.
    click(ui->labmenu[5]);
    QTest::qWait(50);
    EXPECT_TRUE(ui->frmOther->isVisible());
    shoot(w.get(), QStringLiteral("main-window-custom-observation.png"));

    f->close();
    watcher.Disconnect();
    w->close();
    w.reset();
    service.stop();
}

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
