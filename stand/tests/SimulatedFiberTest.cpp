#include "stand/SimulatedFiber.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <gtest/gtest.h>

namespace {

struct Fiber {
    explicit Fiber(bool present = true, int16_t model = 0) : f(StandClock::realTime(1000), present, model) {
        QObject::connect(&f, &FiberService::OnPropertyChanged, [this](const QString& m) { events << m; });
    }
    void runFor(int ms) {
        QElapsedTimer t;
        t.start();
        while (t.elapsed() < ms) QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    }
    SimulatedFiber f;
    QStringList events;
};

TEST(SimulatedFiber, AbsentIlluminatorHasPortMinusOneAndCallsFail) {
    Fiber x(false);
    x.f.Connect(500);
    EXPECT_EQ(x.f.Port(), -1);
    EXPECT_EQ(x.f.ConnectionStatus(), 0);
    EXPECT_THROW(x.f.NDPosition(), RunTimeError);
}

TEST(SimulatedFiber, NdWheelHasSixPositionsAndReportsChanges) {
    Fiber x(true, 1);
    x.f.Connect(500);
    EXPECT_NE(x.f.Port(), -1);
    EXPECT_EQ(x.f.NDWheelModel(), 1);
    x.f.setNDPosition(6);
    x.f.setNDPosition(6);
    EXPECT_EQ(x.events, QStringList{"ND_Position:6"});
    EXPECT_THROW(x.f.setNDPosition(0), RunTimeError);
    EXPECT_THROW(x.f.setNDPosition(7), RunTimeError);
    EXPECT_EQ(x.f.NDPosition(), 6);
}

TEST(SimulatedFiber, TimedShutterReversesByItself) {
    Fiber x;
    x.f.Connect(500);
    x.f.ShutterOpenTimed(2.0);   // 2 s at a thousand times speed
    EXPECT_EQ(x.f.ShutterIsOpened(), 1);
    EXPECT_TRUE(x.f.shutterReversalPending());
    x.runFor(100);
    EXPECT_EQ(x.f.ShutterIsOpened(), 0);
    EXPECT_EQ(x.events, (QStringList{"Shutter_IsOpened:1", "Shutter_IsOpened:0"}));
    x.f.ShutterCloseTimed(1.0);
    x.f.ShutterClose();          // a plain command cancels the reversal
    x.runFor(50);
    EXPECT_EQ(x.f.ShutterIsOpened(), 0);
    EXPECT_THROW(x.f.ShutterOpenTimed(-1), RunTimeError);
}

TEST(SimulatedFiber, ATrippedSensorPutsTheLampOutAndHoldsItOff) {
    Fiber x;
    x.f.Connect(500);
    x.f.LampOn();
    EXPECT_EQ(x.f.LampIsOn(), 1);
    x.f.setSensor("HeatSensitive_Status", 0);
    EXPECT_EQ(x.f.LampIsOn(), 0);
    EXPECT_TRUE(x.events.contains("HeatSensitive_Status:0"));
    EXPECT_TRUE(x.events.contains("Lamp_IsOn:0"));
    EXPECT_THROW(x.f.LampOn(), RunTimeError);
    EXPECT_EQ(x.f.Status("HeatSensitive_Status"), 0);
    EXPECT_THROW(x.f.Status("Bogus"), RunTimeError);
    EXPECT_EQ(SimulatedFiber::statusNames().size(), 8);
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
