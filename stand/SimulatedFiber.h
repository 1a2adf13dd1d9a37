#pragma once
// The simulated fiber illuminator server: ND wheel of six positions (two wheel
// models), shutter with timed self-reversal, lamp and the safety sensors. Its
// calls never block; timed reversal and the lamp's warm-up run on QTimers.
// Every change is reported as "<name>:<value>" with the eight names of
// FiberService.
//
// The lamp lights when the server connects and whenever every safety sensor is
// good again after a trip; it is ready (Lamp_IsReady 1) only after its
// warm-up. A sensor that trips puts it out.
#include "core/service/FiberService.h"
#include "stand/StandClock.h"

#include <QMap>
#include <QString>
#include <QStringList>
#include <QTimer>

class SimulatedFiber : public FiberService {
    Q_OBJECT
public:
    // `present` false: Connect finds nothing (Port -1) and device calls fail.
    explicit SimulatedFiber(const StandClock& clock = StandClock::realTime(), bool present = true,
                            int16_t wheelModel = 0, QObject* parent = nullptr);

    static QStringList statusNames();

    int16_t ConnectionStatus() override;
    void Connect(int32_t timeoutMs) override;
    void Disconnect() override;
    int16_t Port() override;

    int16_t NDPosition() override;
    void setNDPosition(int16_t position) override;
    int16_t NDWheelModel() override;
    int16_t ShutterIsOpened() override;
    void ShutterOpen() override;
    void ShutterClose() override;
    void ShutterOpenTimed(double seconds) override;
    void ShutterCloseTimed(double seconds) override;
    int16_t LampIsOn() override;
    void LampOn() override;
    void LampOff() override;
    int16_t Status(const QString& name) override;

    // Test hooks: a sensor changes on the illuminator (reported as an event).
    void setSensor(const QString& name, int16_t value);
    void setPresent(bool present);
    // Speed of simulated time: 0 instant, 1 real time (the warm-up, the reversal).
    void setSpeedFactor(double factor);
    bool shutterReversalPending() const { return m_reversal.isActive(); }
    bool lampWarmingUp() const { return m_warmUp.isActive(); }
    // Warm-up of the lamp on the device, before the clock's speed factor.
    static constexpr double kWarmUpMs = 3000;

private:
    void requireConnected(const char* member) const;
    void change(const QString& name, int16_t value);
    void setShutter(int16_t open);
    void startReversal(double seconds, int16_t back);
    bool sensorsGood() const;
    void lightLamp();

    StandClock m_clock;
    bool m_present;
    bool m_connected = false;
    int16_t m_wheelModel;
    QMap<QString, int16_t> m_values;
    QTimer m_reversal;
    QTimer m_warmUp;
    int16_t m_reverseTo = 0;
};
