// The operator's input as the window system delivers it (queued, as the
// display's events are), while the drives move at real speed: escape
// pressed mid-move stops the drive where it is and every other click given
// meanwhile is dropped; a step button of the focus widget held down repeats
// focus steps (Timer1) until it is let go; wheel steps over the panel and
// over the focus widget move the drive and never past the upper limit.
#include "devicepanels/motion/tests/MotionRig.h"
#include "devicepanels/motion/frmSubStage.h"
#include "devicepanels/motion/frmSubZ.h"
#include "widgets/PanelControls.h"
#include "widgets/usrButton.h"
#include "widgets/usrStage.h"
#include "widgets/usrYscroll.h"

#include <QFrame>
#include <QTimer>
#include <algorithm>
#include <QWindow>
#include <gtest/gtest.h>
#include <qpa/qwindowsysteminterface.h>

namespace {

const QString kZ = QStringLiteral("frmSubZ");
const QString kXY = QStringLiteral("frmSubStage");

struct Spot {
    QWindow* window;
    QPointF local;
    QPointF global;
};

Spot spotOf(QWidget* target, QPoint at) {
    QWidget* top = target->window();
    return {top->windowHandle(), QPointF(target->mapTo(top, at)), QPointF(target->mapToGlobal(at))};
}

void queueButton(QWidget* target, QPoint at, bool down) {
    const Spot s = spotOf(target, at);
    QWindowSystemInterface::handleMouseEvent<QWindowSystemInterface::AsynchronousDelivery>(
        s.window, s.local, s.global, down ? Qt::LeftButton : Qt::NoButton, Qt::LeftButton,
        down ? QEvent::MouseButtonPress : QEvent::MouseButtonRelease);
}

void queueClick(QWidget* target, QPoint at) {
    queueButton(target, at, true);
    queueButton(target, at, false);
}

void queueClick(QWidget* target) { queueClick(target, target->rect().center()); }

void queueWheel(QWidget* target, int delta) {
    const Spot s = spotOf(target, target->rect().center());
    // Queued as the display's events are (the default delivery).
    QWindowSystemInterface::handleWheelEvent(s.window, s.local, s.global, QPoint(), QPoint(0, delta));
}

// The centre of the slow step button, up or down (the widget's layout: two
// buttons of 20 pixels at each end, 34 wide at most).
QPoint stepButton(usrYscroll* w, bool up) {
    const int x = std::min(w->width(), 34) / 2;
    return QPoint(x, up ? 31 : w->height() - 31);
}

template <typename Pred>
bool waitFor(Pred done, int limitMs = 5000) {
    QElapsedTimer t;
    t.start();
    while (!done() && t.elapsed() < limitMs)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    return done();
}

} // namespace

TEST(EscapeMidMove, TheFocusDriveStopsShortOfTheTargetAndOtherClicksAreDropped) {
    MotionRig rig;
    rig.mic.setZDriveZPosition(2000);
    auto* z = rig.open<frmSubZ>(kZ);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(z));
    rig.service.stand(1)->control().setSpeedFactor(1.0);
    MainState& s = mainState();
    const int32_t origin = s.mZ.ORGIN();
    const int scale = z->scaleIndex();
    int32_t whenEscaped = -1;
    QObject::connect(&rig.mic, &MicroscopeService::OnPropertyChanged, z, [&](const QString& e) {
        if (e == QLatin1String("AppZDriveIsZEscape:1"))
            whenEscaped = s.mZ.Value();
    });
    bool queued = false;
    QTimer::singleShot(300, z, [&] {
        // Other controls first: the origin and the scale must not act.
        queueClick(z->btnReset);
        queueClick(z->usrButton1);
        queueClick(z->btnEscape);
        queued = true;
    });
    const int32_t target = 180000;
    z->usrZscroll->setPosition(target);
    z->usrZscroll_ThumbReleased();   // returns when the move has ended
    ASSERT_TRUE(queued) << "the move ended before the clicks were given";
    EXPECT_EQ(rig.mic.ZDriveIsZEscape(), 1);
    EXPECT_GT(whenEscaped, 2000);
    EXPECT_LT(whenEscaped, target) << "escape came only after the move";
    EXPECT_EQ(rig.mic.ZDriveZPosition(), int32_t(rig.mic.LowerLimit(LimitIndex::ZDrive)));
    EXPECT_EQ(s.mZ.ORGIN(), origin);
    EXPECT_EQ(z->scaleIndex(), scale);
    EXPECT_TRUE(z->usrZscroll->isEnabled());
    EXPECT_TRUE(rig.boxes.texts().isEmpty()) << rig.boxes.texts().join('|').toStdString();
    // Nothing replays afterwards either.
    pumpEvents(300);
    EXPECT_EQ(s.mZ.ORGIN(), origin);
    EXPECT_EQ(z->scaleIndex(), scale);
}

TEST(EscapeMidMove, TheStageStopsShortOfTheTargetAndOtherClicksAreDropped) {
    MotionRig rig;
    auto* p = rig.open<frmSubStage>(kXY);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(p));
    rig.service.stand(1)->control().setSpeedFactor(1.0);
    MainState& s = mainState();
    s.mXY.setXORGIN(100);
    int32_t whenEscaped = -1;
    QObject::connect(&rig.mic, &MicroscopeService::OnPropertyChanged, p, [&](const QString& e) {
        if (e == QLatin1String("AppXYZDriveIsEscape:1"))
            whenEscaped = s.mXY.XCount();
    });
    bool queued = false;
    QTimer::singleShot(300, p, [&] {
        queueClick(p->btnAbs);
        queueClick(p->btnEscape);
        queued = true;
    });
    const int32_t target = 90000;
    p->usrXYScroll_GoTo(target, 60000);
    ASSERT_TRUE(queued) << "the move ended before the clicks were given";
    EXPECT_EQ(rig.mic.XYDriveIsEscape(), 1);
    EXPECT_GT(whenEscaped, 0);
    EXPECT_LT(whenEscaped, target) << "escape came only after the move";
    EXPECT_EQ(s.mXY.XORGIN(), 100) << "the Abs click given during the move acted";
    EXPECT_TRUE(p->usrXYScroll->isEnabled());
    pumpEvents(300);
    EXPECT_EQ(s.mXY.XORGIN(), 100);
}

TEST(EscapeMidMove, WithoutAMoveTheEscapeClickActsAsAlways) {
    MotionRig rig;
    rig.mic.setZDriveZPosition(3000);
    auto* z = rig.open<frmSubZ>(kZ);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(z));
    queueClick(z->btnEscape);
    ASSERT_TRUE(waitFor([&] { return rig.mic.ZDriveIsZEscape() == 1; }));
    queueClick(z->btnEscape);
    ASSERT_TRUE(waitFor([&] { return rig.mic.ZDriveIsZEscape() == 0; }));
    EXPECT_EQ(rig.mic.ZDriveZPosition(), 3000);
}

TEST(FocusRepeat, HoldingAStepButtonRepeatsFocusStepsUntilItIsLetGo) {
    MotionRig rig;
    rig.mic.setZDriveZPosition(5000);
    auto* z = rig.open<frmSubZ>(kZ);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(z));
    mainState().mZ.setSTEP(40);
    usrYscroll* w = z->usrZscroll;
    const QPoint up = stepButton(w, true);
    queueButton(w, up, true);
    // Held past the delay: Timer1 runs upwards and the drive climbs.
    ASSERT_TRUE(waitFor([&] { return z->Timer1.isActive(); }, 3000));
    EXPECT_EQ(z->repeatDirection(), -1);
    ASSERT_TRUE(waitFor([&] { return rig.mic.ZDriveZPosition() >= 5000 + 3 * 40; }, 3000));
    queueButton(w, up, false);
    ASSERT_TRUE(waitFor([&] { return !z->Timer1.isActive(); }, 3000));
    EXPECT_EQ(z->repeatDirection(), 0);
    const int32_t reached = rig.mic.ZDriveZPosition();
    EXPECT_EQ((reached - 5000) % 40, 0) << "one focus step a tick";
    pumpEvents(400);
    EXPECT_EQ(rig.mic.ZDriveZPosition(), reached) << "the repeat went on after the release";

    // Held on a lower button it repeats downwards; a short click is one step.
    const QPoint down = stepButton(w, false);
    queueButton(w, down, true);
    ASSERT_TRUE(waitFor([&] { return z->repeatDirection() == 1; }, 3000));
    ASSERT_TRUE(waitFor([&] { return rig.mic.ZDriveZPosition() <= reached - 2 * 40; }, 3000));
    queueButton(w, down, false);
    ASSERT_TRUE(waitFor([&] { return !z->Timer1.isActive(); }, 3000));
    const int32_t after = rig.mic.ZDriveZPosition();
    queueClick(w, down);
    ASSERT_TRUE(waitFor([&] { return rig.mic.ZDriveZPosition() != after; }, 3000));
    EXPECT_FALSE(z->Timer1.isActive());
    EXPECT_TRUE(rig.boxes.texts().isEmpty()) << rig.boxes.texts().join('|').toStdString();
}

TEST(FocusRepeat, AHeldRepeatStopsAtTheUpperLimitWithTheLimitationText) {
    MotionRig rig;
    rig.mic.setZUpperLimit(5100);
    rig.mic.setZDriveZPosition(5000);
    auto* z = rig.open<frmSubZ>(kZ);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(z));
    mainState().mZ.setSTEP(40);
    const QPoint up = stepButton(z->usrZscroll, true);
    queueButton(z->usrZscroll, up, true);
    ASSERT_TRUE(waitFor([&] { return !rig.boxes.texts().isEmpty(); }, 5000));
    EXPECT_EQ(rig.boxes.texts(), QStringList{QStringLiteral("Z Focus_Change Limitation")});
    EXPECT_FALSE(z->Timer1.isActive());
    EXPECT_LE(rig.mic.ZDriveZPosition(), 5100);
    queueButton(z->usrZscroll, up, false);
    pumpEvents(300);
    EXPECT_LE(rig.mic.ZDriveZPosition(), 5100);
}

TEST(FocusWheel, WheelStepsOverThePanelAndOverTheFocusWidgetMoveTheDriveByTwoAndAHalfSteps) {
    MotionRig rig;
    rig.mic.setZDriveZPosition(8000);
    auto* z = rig.open<frmSubZ>(kZ);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(z));
    mainState().mZ.setSTEP(40);
    // The pointer comes in over the panel's controls.
    QTest::mouseMove(z->frmAF, QPoint(z->frmAF->width() - 10, z->frmAF->height() - 10));
    pumpEvents();
    ASSERT_TRUE(frmSubZ::insidePanel());
    queueWheel(z->frmAF, -120);
    ASSERT_TRUE(waitFor([&] { return rig.mic.ZDriveZPosition() == 7900; }));
    queueWheel(z->usrZscroll, 120);
    ASSERT_TRUE(waitFor([&] { return rig.mic.ZDriveZPosition() == 8000; }));
    queueWheel(z->usrZscroll, 120);
    ASSERT_TRUE(waitFor([&] { return rig.mic.ZDriveZPosition() == 8100; }));
    queueWheel(z->txtSel, -480);   // one message, one step, whatever its size
    ASSERT_TRUE(waitFor([&] { return rig.mic.ZDriveZPosition() == 8000; }));
    EXPECT_TRUE(rig.boxes.texts().isEmpty()) << rig.boxes.texts().join('|').toStdString();
}

TEST(FocusWheel, WheelStepsNeverTakeTheDrivePastTheUpperLimit) {
    MotionRig rig;
    rig.mic.setZUpperLimit(8250);
    rig.mic.setZDriveZPosition(8000);
    auto* z = rig.open<frmSubZ>(kZ);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(z));
    mainState().mZ.setSTEP(40);
    QTest::mouseMove(z->frmAF, QPoint(z->frmAF->width() - 10, z->frmAF->height() - 10));
    pumpEvents();
    ASSERT_TRUE(frmSubZ::insidePanel());
    // Two steps fit below the limit (8100, 8200); the turns after them are refused.
    for (int i = 0; i < 6; ++i) {
        queueWheel(i % 2 ? static_cast<QWidget*>(z->usrZscroll) : z->frmAF, 120);
        pumpEvents(60);
        EXPECT_LE(rig.mic.ZDriveZPosition(), 8250) << "turn " << i;
    }
    EXPECT_EQ(rig.mic.ZDriveZPosition(), 8200);
    EXPECT_EQ(mainState().mZ.Value(), 8200);
    // The drive's limit answers; the wheel says nothing.
    EXPECT_TRUE(rig.boxes.texts().isEmpty()) << rig.boxes.texts().join('|').toStdString();
}
