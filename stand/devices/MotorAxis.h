#pragma once
// One motor of the stand: drives a value towards a target at a fixed speed.
// With an instant clock it arrives at once; otherwise a timer on the owning
// thread advances it, reporting each intermediate value when the axis streams.
// A stalled motor does not move and fails with the time-out code after the
// stand's time-out.
#include <QElapsedTimer>
#include <QObject>
#include <QTimer>
#include <cstdint>
#include <functional>

class MotorAxis : public QObject {
    Q_OBJECT
public:
    using Finish = std::function<void(int32_t error)>;
    // Seconds of simulated time a stalled move waits before it gives up.
    static constexpr double kStallTimeOutSeconds = 5.0;
    static constexpr int kTickMs = 5;

    // `speedFactor` points at the stand's speed factor (0 instant).
    MotorAxis(double value, double unitsPerSecond, bool streams, const double* speedFactor,
              QObject* parent = nullptr);

    double value() const { return m_value; }
    bool busy() const { return m_busy; }
    double speed() const { return m_speed; }
    void setSpeed(double unitsPerSecond) { m_speed = unitsPerSecond; }
    // Sets the value without motion (used when nothing is moving).
    void place(double value);

    // Drives to `target`; `done` is called once with 0 or a failure code.
    void moveTo(double target, bool stalled, Finish done);
    // Stops a running move where it is; its `done` gets `error`.
    void abort(int32_t error);

    // Called with every new value (only the final one unless the axis streams).
    std::function<void(double)> onValue;

private:
    void tick();
    void finish(int32_t error);

    double m_value;
    double m_speed;
    bool m_streams;
    const double* m_factor;
    bool m_busy = false;
    bool m_stalled = false;
    double m_start = 0, m_target = 0;
    QElapsedTimer m_elapsed;
    QTimer m_timer;
    Finish m_done;
};
