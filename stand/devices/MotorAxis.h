#pragma once
// One motor of the stand: drives a value towards a target as a stepper
// controller does, accelerating at a set rate up to a set speed, cruising,
// and braking into the target (a short move never reaches full speed). With
// an instant clock it arrives at once. Otherwise its position is worked out
// from the time since the move began whenever it is asked for, and the
// thread wakes only when the motor has something to do: a streaming axis
// (focus, stage) reports its position at a steady rate while it runs, as the
// stand's controller does, and always its final position; every move ends
// at its time. A stalled motor does not move and fails with the time-out
// code after the stand's time-out. A move can be stopped where it is.
#include <QObject>
#include <cstdint>
#include <functional>
#include <memory>

class MotorWakeUps;

class MotorAxis : public QObject {
    Q_OBJECT
public:
    using Finish = std::function<void(int32_t error)>;
    // Seconds of simulated time a stalled move waits before it gives up.
    static constexpr double kStallTimeOutSeconds = 5.0;
    // A streaming axis reports its position every this many real
    // milliseconds while it runs: 25 reports a second.
    static constexpr int kReportMs = 40;
    // Seconds from standstill to full speed when no acceleration is given.
    static constexpr double kDefaultRampSeconds = 0.15;

    // `speedFactor` points at the stand's speed factor (0 instant).
    MotorAxis(double value, double unitsPerSecond, bool streams, const double* speedFactor,
              QObject* parent = nullptr);
    ~MotorAxis() override;

    // Where the motor is now (mid-move: where the time since it began puts it).
    double value() const;
    bool busy() const { return m_busy; }
    double speed() const { return m_speed; }
    // A new speed keeps the ramp time: the acceleration follows the speed.
    void setSpeed(double unitsPerSecond);
    double acceleration() const { return m_accel; }
    void setAcceleration(double unitsPerSecondSquared);
    // Sets the value without motion (used when nothing is moving).
    void place(double value);

    // Drives to `target`; `done` is called once with 0 or a failure code.
    void moveTo(double target, bool stalled, Finish done);
    // Ends a running move at once; its `done` gets `error`.
    void abort(int32_t error);
    // Stops a running move where the motor is now; the move counts as done
    // (its `done` gets 0) and the position reached is reported.
    void stop();
    // The stand's speed factor has changed: a running move goes on from where
    // it is at the new pace (arriving at once when the clock became instant).
    void speedFactorChanged();

    // Simulated seconds a move of `distance` takes with this speed and
    // acceleration (a triangle when it is too short to reach full speed).
    double travelSeconds(double distance) const;
    // Distance covered `seconds` into a move of `distance`.
    double travelledAfter(double seconds, double distance) const;

    // Called with every reported value.
    std::function<void(double)> onValue;

private:
    // Simulated seconds of the running move at `nowNs`.
    double simulatedSeconds(qint64 nowNs) const;
    double positionAfter(double simulatedSeconds) const;
    // Asks for the next wake-up: the next report or the end, whichever is first.
    void schedule();
    void wake();
    void arrive();
    void finish(int32_t error);
    void report();

    double m_value;
    double m_speed;
    double m_accel;
    bool m_streams;
    const double* m_factor;
    bool m_busy = false;
    bool m_stalled = false;
    double m_start = 0, m_target = 0;
    double m_lastReported;
    // The move's simulated time is m_simulatedBase at m_baseNs, running at
    // m_pace (the speed factor then) since.
    double m_simulatedBase = 0;
    qint64 m_baseNs = 0;
    double m_pace = 1;
    qint64 m_nextReportNs = 0;
    std::shared_ptr<MotorWakeUps> m_wakeUps;
    Finish m_done;
};
