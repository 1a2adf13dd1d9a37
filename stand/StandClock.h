#pragma once
// How fast simulated time runs on a stand. Motion is timed on the owning
// thread's event loop (stand/devices/MotorWakeUps.h); the clock only says how
// long a move of the simulated motor takes in real time.
//   instant()        every move arrives at once (unit tests)
//   realTime(f)      moves take their physical time divided by f (panel, service)
class StandClock {
public:
    static StandClock instant() { return StandClock(0.0); }
    static StandClock realTime(double speedFactor = 1.0) {
        return StandClock(speedFactor > 0.0 ? speedFactor : 1.0);
    }

    bool isInstant() const { return m_factor <= 0.0; }
    // 0 for an instant clock.
    double speedFactor() const { return m_factor; }
    // Real milliseconds for a move that takes `simulatedMs` on the hardware.
    double realMs(double simulatedMs) const { return isInstant() ? 0.0 : simulatedMs / m_factor; }

private:
    explicit StandClock(double factor) : m_factor(factor) {}
    double m_factor;
};
