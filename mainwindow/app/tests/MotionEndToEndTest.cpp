// End to end: the real panel in a real window (Xvfb) against the real service
// process on a private bus, the stand at real speed. The operator opens the
// focus and stage panels from the main panel and moves with the mouse: the
// focus by dragging the scroll widget's thumb, the stage by a click on the
// map and by the right-button drag. While a move runs the labels of the panel
// and of the main panel follow it; escape clicked in the middle of a move,
// with a real click of the X server's pointer, stops the stand short of the
// target. Screenshots of both panels in every mode, taken while a move runs,
// are kept in the test's home.
#include "MainWindowTestSupport.h"
#include "ServiceProcess.h"

#include "core/service/dbus/DBusMicroscopeService.h"
#include "mainwindow/mainpanel/MainPanel.h"
#include "widgets/PanelControls.h"
#include "widgets/usrButton.h"
#include "widgets/usrStage.h"
#include "widgets/usrYscroll.h"
#include "devicepanels/motion/MotionPanels.h"
#include "devicepanels/motion/frmSubStage.h"
#include "devicepanels/motion/frmSubZ.h"
#include "state/FormRegistry.h"

#include <QProcess>
#include <QTest>
#include <QTimer>
#include <gtest/gtest.h>

namespace {

template <typename Pred>
bool waitFor(Pred done, int limitMs = 30000) {
    QElapsedTimer t;
    t.start();
    while (!done() && t.elapsed() < limitMs) QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    return done();
}

void shoot(QWidget* w, const QString& name) {
    const QString dir = testHome() + QStringLiteral("/screens");
    QDir().mkpath(dir);
    EXPECT_TRUE(w->grab().save(dir + QLatin1Char('/') + name)) << name.toStdString();
}

// Samples a label every 20 ms while a blocking move runs (timers still run).
struct Sampler {
    QTimer timer;
    QStringList seen;
    explicit Sampler(std::function<QString()> read) {
        timer.setInterval(20);
        QObject::connect(&timer, &QTimer::timeout, [this, read] {
            const QString v = read();
            if (seen.isEmpty() || seen.last() != v) seen << v;
        });
        timer.start();
    }
};

// A click of the X server's pointer on the middle of `w`: the display queues
// it like the operator's, not Qt's test functions.
void realClick(QWidget* w) {
    const QPoint at = w->mapToGlobal(w->rect().center());
#ifdef ZENTOR_XDOTOOL
    QProcess::startDetached(QStringLiteral(ZENTOR_XDOTOOL),
                            {QStringLiteral("mousemove"), QString::number(at.x()), QString::number(at.y()),
                             QStringLiteral("click"), QStringLiteral("1")});
#else
    QTest::mouseClick(w, Qt::LeftButton, {}, w->rect().center());
#endif
}

// The value `read` gives when the service reports `event`.
struct AtEvent {
    int32_t value = -1;
    QMetaObject::Connection c;
    AtEvent(const QString& event, std::function<int32_t()> read) {
        c = QObject::connect(mainState().micService, &MicroscopeService::OnPropertyChanged,
                             [this, event, read](const QString& e) {
                                 if (e == event && value < 0) value = read();
                             });
    }
    ~AtEvent() { QObject::disconnect(c); }
};

} // namespace

TEST(MotionEndToEnd, FocusAndStageFollowTheMouseStreamTheirPositionsAndStopOnEscape) {
    ServiceProcess service;
    ASSERT_TRUE(service.start({QStringLiteral("--speed"), QStringLiteral("1"), QStringLiteral("--no-fiber"),
                               QStringLiteral("--state-file"), testHome() + QStringLiteral("/state/service.json")}))
        << service.error().toStdString();
    MsgBox::Recorder messages;
    ServiceSource::setMaker([]() -> std::unique_ptr<MicroscopeService> {
        return std::make_unique<DBusMicroscopeService>();
    });
    auto w = std::make_unique<frmMain>(QStringList{QStringLiteral("zentor"), QStringLiteral("/SIM")});
    w->show();
    ASSERT_TRUE(waitFor([&] { return !w->FirstActivate && mainState().MicConnected; }))
        << messages.texts().join('|').toStdString();
    MainPanel* ui = w->ui;

    DBusMicroscopeService watcher;
    watcher.Connect(0);

    // ---- the focus panel, from the main panel's Z button ----------------------
    QTest::mouseClick(ui->btnZ[0], Qt::LeftButton, {}, QPoint(8, 8));
    auto* z = qobject_cast<frmSubZ*>(FormRegistry::loaded(QStringLiteral("frmSubZ")));
    ASSERT_NE(z, nullptr);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(z));
    z->activateWindow();
    QTest::qWait(100);
    const int32_t z0 = watcher.ZDriveZPosition();

    // Drag the thumb up with the mouse; the release commands the drive.
    const QPoint thumb = z->usrZscroll->thumbCentre();
    ASSERT_FALSE(thumb.isNull());
    Sampler zLabels([&] { return ui->Zcmd[0]->Caption(); });
    Sampler zPanel([&] { return z->txtSel->Caption(); });
    QTimer::singleShot(300, [&] { shoot(z, QStringLiteral("focus-drive-moving.png")); });
    QTest::mousePress(z->usrZscroll, Qt::LeftButton, {}, thumb);
    QTest::mouseMove(z->usrZscroll, thumb + QPoint(0, -3));
    QTest::mouseMove(z->usrZscroll, thumb + QPoint(0, -6));
    QTest::mouseRelease(z->usrZscroll, Qt::LeftButton, {}, thumb + QPoint(0, -6));   // returns when the move ends
    const int32_t z1 = watcher.ZDriveZPosition();
    EXPECT_GT(z1, z0 + 1000);
    EXPECT_GE(zLabels.seen.size(), 5) << zLabels.seen.join('|').toStdString();
    EXPECT_GE(zPanel.seen.size(), 5) << zPanel.seen.join('|').toStdString();
    zLabels.timer.stop();
    zPanel.timer.stop();
    EXPECT_EQ(mainState().mZ.Value(), z1);
    EXPECT_EQ(z->txtSel->Caption(), mainState().mZ.Format_Count() + QStringLiteral(" um"));

    // Escape clicked in the middle of a long move: the click reaches the
    // stand while the move runs, the drive stops where it is and goes down.
    int32_t whenPressed = 0;
    QTimer::singleShot(500, [&] {
        whenPressed = mainState().mZ.Value();
        realClick(z->btnEscape);
    });
    const int32_t zTarget = z1 + 120000 > 180000 ? 180000 : z1 + 120000;
    AtEvent zEscaped(QStringLiteral("AppZDriveIsZEscape:1"), [] { return mainState().mZ.Value(); });
    z->usrZscroll->setPosition(zTarget);
    z->usrZscroll_ThumbReleased();
    EXPECT_GT(whenPressed, z1);
    EXPECT_EQ(watcher.ZDriveIsZEscape(), 1);
    EXPECT_GT(zEscaped.value, z1) << "escape did not reach the stand during the move";
    EXPECT_LT(zEscaped.value, zTarget) << "escape reached the stand only after the move";
    const int32_t parked = watcher.ZDriveZPosition();
    QTest::qWait(300);
    EXPECT_EQ(watcher.ZDriveZPosition(), parked) << "the drive still moves after escape";
    EXPECT_EQ(parked, int32_t(watcher.LowerLimit(LimitIndex::ZDrive)));
    QTest::mouseClick(z->btnEscape, Qt::LeftButton, {}, QPoint(8, 8));   // back up
    EXPECT_EQ(watcher.ZDriveIsZEscape(), 0);
    shoot(z, QStringLiteral("focus-drive.png"));

    // The Setting menu's entries open the two setting modes.
    openMotionPanel(QStringLiteral("frmSubZ"), QStringLiteral("Focus Setting"), -1);
    QTest::qWait(150);
    z->Get_Status();
    EXPECT_EQ(z->windowTitle(), QStringLiteral("Focus Setting"));
    shoot(z, QStringLiteral("focus-setting.png"));
    openMotionPanel(QStringLiteral("frmSubZ"), QStringLiteral("UpperLimit Setting"), -1);
    QTest::qWait(150);
    z->Get_Status();
    EXPECT_EQ(z->windowTitle(), QStringLiteral("UpperLimit Setting"));
    shoot(z, QStringLiteral("upper-limit-setting.png"));
    messages.clear();

    // ---- the stage panel, from the main panel's XY button ----------------------
    QTest::mouseClick(ui->btnXY[0], Qt::LeftButton, {}, QPoint(8, 8));
    auto* xy = qobject_cast<frmSubStage*>(FormRegistry::loaded(QStringLiteral("frmSubStage")));
    ASSERT_NE(xy, nullptr);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(xy));
    xy->activateWindow();
    QTest::qWait(100);
    usrStage* map = xy->usrXYScroll;

    // A click on the map: the stage runs there, the labels streaming.
    Sampler xLabels([&] { return ui->Xcmd[0]->Caption(); });
    Sampler xPanel([&] { return xy->Text1->Caption(); });
    QTimer::singleShot(400, [&] { shoot(xy, QStringLiteral("xy-stage-moving.png")); });
    QTest::mouseClick(map, Qt::LeftButton, {}, map->mapPoint(40000, 30000).toPoint());
    EXPECT_NEAR(watcher.XYDriveXPosition(), 40000, 1500);
    EXPECT_NEAR(watcher.XYDriveYPosition(), 30000, 1500);
    EXPECT_GE(xLabels.seen.size(), 5) << xLabels.seen.join('|').toStdString();
    EXPECT_GE(xPanel.seen.size(), 5) << xPanel.seen.join('|').toStdString();
    xLabels.timer.stop();
    xPanel.timer.stop();

    // The right-button drag: a right click starts it, the pointer off centre runs the stage.
    const int32_t xBefore = watcher.XYDriveXPosition();
    const QPointF centre = map->mapRect().center();
    QTest::mouseClick(map, Qt::RightButton, {}, centre.toPoint());
    ASSERT_TRUE(xy->Timer1.isActive());
    QTest::mouseMove(map, (centre - QPointF(map->mapRect().width() * 0.35, 0)).toPoint());
    QTest::qWait(800);
    QTest::mouseClick(map, Qt::RightButton, {}, (centre - QPointF(map->mapRect().width() * 0.35, 0)).toPoint());
    EXPECT_FALSE(xy->Timer1.isActive());
    QTest::qWait(200);
    EXPECT_NE(watcher.XYDriveXPosition(), xBefore);

    // Escape clicked in the middle of a move to the far corner.
    int32_t xPressed = 0;
    QTimer::singleShot(400, [&] {
        xPressed = mainState().mXY.XCount();
        realClick(xy->btnEscape);
    });
    const int32_t xStart = mainState().mXY.XCount();
    AtEvent xyEscaped(QStringLiteral("AppXYZDriveIsEscape:1"), [] { return mainState().mXY.XCount(); });
    xy->usrXYScroll_GoTo(-90000, -60000);
    EXPECT_NE(xPressed, -90000);
    EXPECT_EQ(watcher.XYDriveIsEscape(), 1);
    EXPECT_LT(xyEscaped.value, xStart) << "escape did not reach the stand during the move";
    EXPECT_GT(xyEscaped.value, -90000) << "escape reached the stand only after the move";
    const int32_t xParked = watcher.XYDriveXPosition();
    QTest::qWait(300);
    EXPECT_EQ(watcher.XYDriveXPosition(), xParked) << "the stage still moves after escape";
    QTest::mouseClick(xy->btnEscape, Qt::LeftButton, {}, QPoint(8, 8));
    shoot(xy, QStringLiteral("xy-stage.png"));
    openMotionPanel(QStringLiteral("frmSubStage"), QStringLiteral("XY Setting"), -1);
    QTest::qWait(150);
    xy->Get_Status();
    shoot(xy, QStringLiteral("xy-setting.png"));
    shoot(w.get(), QStringLiteral("main-window-after-moves.png"));
    EXPECT_TRUE(messages.texts().isEmpty()) << messages.texts().join('|').toStdString();

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
