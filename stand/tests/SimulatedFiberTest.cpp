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
    x.events.clear();   // the lamp's own events at connection
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
    x.runFor(20);       // the lamp warms up
    x.events.clear();
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

TEST(SimulatedFiber, TheLampLightsAtConnectAndIsReadyOnlyAfterItsWarmUp) {
    Fiber x;
    x.f.Connect(500);
    EXPECT_EQ(x.f.LampIsOn(), 1);
    EXPECT_EQ(x.f.Status("Lamp_IsReady"), 0);
    EXPECT_TRUE(x.f.lampWarmingUp());
    x.runFor(100);   // 3 s of warm-up at a thousand times speed
    EXPECT_EQ(x.f.Status("Lamp_IsReady"), 1);
    EXPECT_EQ(x.events, (QStringList{"Lamp_IsOn:1", "Lamp_IsReady:0", "Lamp_IsReady:1"}));
}

TEST(SimulatedFiber, ARecoveredSensorLightsTheLampAgainWithAFreshWarmUp) {
    Fiber x;
    x.f.Connect(500);
    x.runFor(50);
    x.events.clear();
    x.f.setSensor("LampCoolingFun_Status", 0);
    EXPECT_EQ(x.events, (QStringList{"LampCoolingFun_Status:0", "Lamp_IsOn:0", "Lamp_IsReady:0"}));
    x.f.setSensor("PowerCoolingFun_Status", 0);
    x.f.setSensor("LampCoolingFun_Status", 1);
    EXPECT_EQ(x.f.LampIsOn(), 0);   // the other fan still stands
    x.events.clear();
    x.f.setSensor("PowerCoolingFun_Status", 1);
    EXPECT_EQ(x.events, (QStringList{"PowerCoolingFun_Status:1", "Lamp_IsOn:1", "Lamp_IsReady:0"}));
    x.runFor(50);
    EXPECT_EQ(x.events.last(), QStringLiteral("Lamp_IsReady:1"));
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
