// The focus drive and the stage of the simulated stand move as motors do:
// they accelerate and brake, report their position at a steady rate while
// they run, stop where they are on escape, and the auto focus searches the
// sample's sharpness by moving the drive and lands on the peak.
#include "stand/SimulatedMicroscope.h"
#include "stand/SimulatedService.h"
#include "stand/SimulatedStand.h"
#include "stand/devices/FocusSearch.h"
#include "stand/devices/MotorAxis.h"
#include "core/base/RunTimeError.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>
#include <gtest/gtest.h>

namespace {

QString shipped(const char* file) {
    return QStringLiteral(ZENTOR_STAND_DESCRIPTIONS) + QLatin1Char('/') + QLatin1String(file);
}

struct Stand {
    SimulatedService service;
    SimulatedMicroscope mic{&service};
    QStringList events;
    QVector<qint64> zTimes;
    QElapsedTimer clock;
    explicit Stand(double speed) : service(StandClock::realTime(speed), {shipped("full-system.json")}) {
        mic.Connect(1);
        clock.start();
        QObject::connect(&mic, &MicroscopeService::OnPropertyChanged, [this](const QString& e) {
            events << e;
            if (e.startsWith(QLatin1String("AppZDriveZPosition:"))) zTimes << clock.elapsed();
        });
    }
};

// Counts every timer event the application delivers while it lives.
struct TimerEvents : QObject {
    int count = 0;
    TimerEvents() { QCoreApplication::instance()->installEventFilter(this); }
    ~TimerEvents() override { QCoreApplication::instance()->removeEventFilter(this); }
    bool eventFilter(QObject*, QEvent* e) override {
        if (e->type() == QEvent::Timer) ++count;
        return false;
    }
};

int errorOf(const std::function<void()>& f) {
    try { f(); } catch (const RunTimeError& e) { return e.number(); }
    return 0;
}

} // namespace

TEST(MotorAxisProfile, AShortMoveIsATriangleALongOneCruisesAtTheSetSpeed) {
    double factor = 1;
    MotorAxis axis(0, 1000, true, &factor);
    axis.setAcceleration(10000);
    // Up to full speed takes 0.1 s and 50 units, braking the same.
    EXPECT_NEAR(axis.travelSeconds(2000), 0.1 + 1.9 + 0.1, 1e-9);
    EXPECT_NEAR(axis.travelSeconds(25), 2 * std::sqrt(25.0 / 10000), 1e-9);
    EXPECT_NEAR(axis.travelledAfter(0.05, 2000), 12.5, 1e-9);       // accelerating
    EXPECT_NEAR(axis.travelledAfter(1.0, 2000), 50 + 900, 1e-9);    // cruising
    EXPECT_NEAR(axis.travelledAfter(2.1, 2000), 2000, 1e-9);
    EXPECT_NEAR(axis.travelledAfter(2.05, 2000), 2000 - 12.5, 1e-9); // braking
}

TEST(MotorWakeUps, AMotorGoesOnReportingWhileAnotherMotorsCallbackRunsANestedLoop) {
    double factor = 1;
    MotorAxis waits(0, 1000, true, &factor), streams(0, 1000, true, &factor);
    int streamed = 0, streamedWhileNested = 0;
    bool nested = false, nestedOnce = false;
    streams.onValue = [&](double) {
        ++streamed;
        if (nested) ++streamedWhileNested;
    };
    waits.onValue = [&](double) {
        if (nestedOnce) return;
        nestedOnce = true;
        nested = true;
        QEventLoop loop;
        QTimer::singleShot(300, &loop, &QEventLoop::quit);
        loop.exec();
        nested = false;
    };
    bool wDone = false, sDone = false;
    // Half a report apart, so that the two are woken in rounds of their own.
    streams.moveTo(1000, false, [&](int32_t) { sDone = true; });
    QTimer::singleShot(20, [&] { waits.moveTo(1000, false, [&](int32_t) { wDone = true; }); });
    QElapsedTimer t;
    t.start();
    while (!(wDone && sDone) && t.elapsed() < 5000) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
    EXPECT_TRUE(wDone && sDone);
    // 300 ms at 25 reports a second: some 7 reports while the other waited.
    EXPECT_GE(streamedWhileNested, 5);
    EXPECT_EQ(streams.value(), 1000);
}

TEST(StandMotion, AFocusMoveStreamsItsPositionAtASteadyRateUntilItArrives) {
    Stand s(1.0);
    s.mic.setZDriveSpeed(9);   // fastest code: about 9000 counts a second
    s.zTimes.clear();
    s.mic.setZDriveZPosition(8000);
    EXPECT_EQ(s.mic.ZDriveZPosition(), 8000);
    ASSERT_GE(s.zTimes.size(), 10);
    // Between 20 and 50 reports a second while it runs.
    const double seconds = (s.zTimes.last() - s.zTimes.first()) / 1000.0;
    const double rate = (s.zTimes.size() - 1) / seconds;
    EXPECT_GE(rate, 20.0);
    EXPECT_LE(rate, 50.0);
    EXPECT_EQ(s.events.last(), QStringLiteral("AppZDriveZPosition:8000"));
}

TEST(StandMotion, AMovingAxisWakesOnlyToReportAndToArrive) {
    Stand s(1.0);
    s.mic.setZDriveSpeed(9);
    s.zTimes.clear();
    TimerEvents timers;
    s.mic.setZDriveZPosition(6000);
    ASSERT_GE(s.zTimes.size(), 10);
    // One wake-up a report (the last is the arrival); none for motion alone.
    EXPECT_LE(timers.count, s.zTimes.size() + 1);
    // Both stage axes of one move report in the same wake-ups.
    s.events.clear();
    timers.count = 0;
    s.mic.XYDriveMove(int32_t(s.mic.XYDriveXPosition()) + 20000, int32_t(s.mic.XYDriveYPosition()) + 20000);
    const int xReports = int(s.events.filter(QStringLiteral("AppXYDriveXPosition:")).size());
    ASSERT_GE(xReports, 10);
    EXPECT_LE(timers.count, xReports + 1);
    // At rest nothing wakes.
    timers.count = 0;
    QElapsedTimer t;
    t.start();
    while (t.elapsed() < 300) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
    EXPECT_EQ(timers.count, 0);
}

TEST(StandMotion, AMoveGoesOnAtANewSpeedFactorAndArrivesAtOnceWhenTheClockBecomesInstant) {
    Stand s(1.0);
    QTimer::singleShot(150, [&] { s.service.stand(1)->control().setSpeedFactor(1000); });
    QElapsedTimer t;
    t.start();
    s.mic.setZDriveZPosition(150000);   // some 40 s at real speed
    EXPECT_LT(t.elapsed(), 20000);
    EXPECT_EQ(s.mic.ZDriveZPosition(), 150000);
    EXPECT_EQ(s.events.last(), QStringLiteral("AppZDriveZPosition:150000"));
    // Positions went on from where the drive was: never back down.
    int32_t last = -1;
    for (const QString& e : s.events.filter(QStringLiteral("AppZDriveZPosition:"))) {
        const int32_t z = e.section(QLatin1Char(':'), 1).toInt();
        EXPECT_GE(z, last);
        last = z;
    }
    s.service.stand(1)->control().setSpeedFactor(1);
    QTimer::singleShot(150, [&] { s.service.stand(1)->control().setSpeedFactor(0); });
    s.mic.setZDriveZPosition(0);
    EXPECT_EQ(s.mic.ZDriveZPosition(), 0);
    EXPECT_EQ(s.events.last(), QStringLiteral("AppZDriveZPosition:0"));
}

TEST(StandMotion, AMoveToWhereTheDriveStandsEndsWithoutAnEvent) {
    Stand s(1.0);
    const int32_t z = s.mic.ZDriveZPosition();
    s.events.clear();
    s.mic.setZDriveZPosition(z);
    EXPECT_EQ(s.mic.ZDriveZPosition(), z);
    EXPECT_TRUE(s.events.filter(QStringLiteral("AppZDriveZPosition:")).isEmpty());
}

TEST(StandMotion, AMoveAskedForWhileTheDriveRunsIsRefusedAndTheFirstArrives) {
    Stand s(5.0);
    int secondError = -1;
    int32_t midway = -1;
    // Another client asks for a move while this one runs.
    QTimer::singleShot(100, [&] {
        midway = s.mic.ZDriveZPosition();
        secondError = errorOf([&] { s.mic.setZDriveZPosition(1000); });
    });
    EXPECT_EQ(errorOf([&] { s.mic.setZDriveZPosition(40000); }), 0);
    EXPECT_NE(secondError, 0);
    EXPECT_GT(midway, 0);
    EXPECT_LT(midway, 40000);
    EXPECT_EQ(s.mic.ZDriveZPosition(), 40000);
    EXPECT_EQ(s.events.last(), QStringLiteral("AppZDriveZPosition:40000"));
}

TEST(StandMotion, EscapeStopsAMoveWhereItIsAndTheDriveGoesDown) {
    Stand s(1.0);
    int32_t stoppedAt = 0;
    bool moveDone = false;
    // A second client (the joystick's escape) presses escape while the move runs.
    QTimer::singleShot(300, [&] {
        stoppedAt = s.mic.ZDriveZPosition();
        s.mic.setZDriveIsZEscape(1);
    });
    EXPECT_EQ(errorOf([&] { s.mic.setZDriveZPosition(150000); moveDone = true; }), 0);
    EXPECT_TRUE(moveDone);
    EXPECT_GT(stoppedAt, 0);
    EXPECT_LT(stoppedAt, 150000);
    EXPECT_EQ(s.mic.ZDriveIsZEscape(), 1);
    EXPECT_FALSE(s.events.contains(QStringLiteral("AppZDriveZPosition:150000")));
    // Escaped: the drive stands at the bottom of its travel, at rest.
    EXPECT_EQ(s.mic.ZDriveZPosition(), int32_t(s.mic.LowerLimit(11)));
    s.events.clear();
    QElapsedTimer t;
    t.start();
    while (t.elapsed() < 200) QCoreApplication::processEvents();
    EXPECT_TRUE(s.events.isEmpty());
}

TEST(StandMotion, StageEscapeStopsTheStageMidMove) {
    Stand s(5.0);
    int32_t stoppedAt = 0;
    QTimer::singleShot(100, [&] {
        stoppedAt = s.mic.XYDriveXPosition();
        s.mic.setXYDriveIsEscape(1);
    });
    s.mic.XYDriveMove(90000, 60000);
    EXPECT_GT(stoppedAt, 0);
    EXPECT_LT(stoppedAt, 90000);
    EXPECT_FALSE(s.events.contains(QStringLiteral("AppXYDriveXPosition:90000")));
    EXPECT_EQ(s.mic.XYDriveIsEscape(), 1);
}

TEST(StandMotion, AStalledFocusTimesOutAndMovesNothing) {
    Stand s(100.0);
    s.service.stand(1)->control().stallDevice(10);
    const int32_t before = s.mic.ZDriveZPosition();
    EXPECT_EQ(errorOf([&] { s.mic.setZDriveZPosition(before + 5000); }) & 0xFFF, 0x4B7);
    EXPECT_EQ(s.mic.ZDriveZPosition(), before);
}

TEST(StandMotion, MovesPastTheLimitsAreRefusedAndNothingMoves) {
    Stand s(0.0 + 1000);
    const int32_t upper = s.mic.ZUpperLimit();
    EXPECT_EQ(errorOf([&] { s.mic.setZDriveZPosition(upper + 1); }) & 0xFFF, 0x4BE);
    EXPECT_EQ(errorOf([&] { s.mic.setXYDriveXPosition(int32_t(s.mic.UpperLimit(13)) + 1); }) & 0xFFF, 0x4BE);
    EXPECT_EQ(s.mic.ZDriveZPosition(), 0);
}

TEST(FocusSearchOnTheSample, TheSearchStepsThroughTheCurveAndLandsOnThePeak) {
    double factor = 0;   // instant moves: the search's path is what is checked
    MotorAxis axis(0, 4000, true, &factor);
    QVector<double> visited;
    axis.onValue = [&](double v) { visited << v; };
    FocusSample sample;
    sample.best = 73411;
    sample.depth = 60;
    int32_t result = -1;
    FocusSearch::run(&axis, sample, 0, 200000, [&](int32_t e) { result = e; });
    EXPECT_EQ(result, 0);
    EXPECT_EQ(axis.value(), 73411);
    // It took many probing moves, not one jump.
    EXPECT_GT(visited.size(), 10);
}

TEST(FocusSearchOnTheSample, APeakBeyondTheUsableTravelFailsTheSearch) {
    double factor = 0;
    MotorAxis axis(1000, 4000, true, &factor);
    FocusSample sample;
    sample.best = 150000;
    int32_t result = -1;
    FocusSearch::run(&axis, sample, 0, 40000, [&](int32_t e) { result = e; });
    EXPECT_EQ(result & 0xFFF, 0x4BE);
}

TEST(StandAutoFocus, TheBestFocusMovesWithTheObjectiveAndTheSearchTakesTime) {
    Stand s(20.0);
    QElapsedTimer t;
    t.start();
    EXPECT_EQ(s.mic.ZDriveAutoFocus(), 0);
    const int32_t first = s.mic.ZDriveZPosition();
    EXPECT_GT(t.elapsed(), 300);
    s.mic.setNosepiecePosition(3);
    EXPECT_EQ(s.mic.ZDriveAutoFocus(), 0);
    EXPECT_EQ(s.mic.ZDriveZPosition(), first + 2 * 600);
}

TEST(StandAutoFocus, AnUpperLimitBelowTheSampleMakesTheSearchFail) {
    Stand s(1000.0);
    s.mic.setZUpperLimit(40000);   // the sample's focus lies at 100000
    EXPECT_EQ(errorOf([&] { s.mic.ZDriveAutoFocus(); }) & 0xFFF, 0x4BE);
    EXPECT_LE(s.mic.ZDriveZPosition(), 40000);
}

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
