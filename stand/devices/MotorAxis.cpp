#include "stand/devices/MotorAxis.h"

#include "core/base/RunTimeError.h"
#include "stand/devices/MotorWakeUps.h"

#include <cmath>

MotorAxis::MotorAxis(double value, double unitsPerSecond, bool streams, const double* speedFactor,
                     QObject* parent)
    : QObject(parent), m_value(value), m_speed(unitsPerSecond > 0 ? unitsPerSecond : 1),
      m_accel(m_speed / kDefaultRampSeconds), m_streams(streams), m_factor(speedFactor),
      m_lastReported(value), m_wakeUps(MotorWakeUps::forThisThread()) {}

MotorAxis::~MotorAxis() { m_wakeUps->cancel(this); }

void MotorAxis::setSpeed(double unitsPerSecond) {
    if (!(unitsPerSecond > 0) || !std::isfinite(unitsPerSecond)) return;
    const double ramp = m_speed / m_accel;
    m_speed = unitsPerSecond;
    m_accel = m_speed / ramp;
    if (m_busy) schedule();   // the end of the running move has moved
}

void MotorAxis::setAcceleration(double unitsPerSecondSquared) {
    if (!(unitsPerSecondSquared > 0) || !std::isfinite(unitsPerSecondSquared)) return;
    m_accel = unitsPerSecondSquared;
    if (m_busy) schedule();
}

void MotorAxis::place(double value) {
    if (m_busy || value == m_value) return;
    m_value = value;
    report();
}

double MotorAxis::travelSeconds(double distance) const {
    const double rampDistance = m_speed * m_speed / m_accel;   // up and down together
    if (distance <= rampDistance) return 2.0 * std::sqrt(distance / m_accel);
    return 2.0 * m_speed / m_accel + (distance - rampDistance) / m_speed;
}

double MotorAxis::travelledAfter(double t, double distance) const {
    const double total = travelSeconds(distance);
    if (t >= total) return distance;
    if (t <= 0) return 0;
    const double rampDistance = m_speed * m_speed / m_accel;
    const double peak = distance <= rampDistance ? std::sqrt(distance * m_accel) : m_speed;
    const double rampTime = peak / m_accel;
    if (t < rampTime) return 0.5 * m_accel * t * t;                      // accelerating
    const double cruiseEnd = total - rampTime;
    if (t <= cruiseEnd) return 0.5 * peak * rampTime + peak * (t - rampTime);   // cruising
    const double left = total - t;                                        // braking
    return distance - 0.5 * m_accel * left * left;
}

double MotorAxis::simulatedSeconds(qint64 nowNs) const {
    return m_simulatedBase + double(nowNs - m_baseNs) / 1e9 * m_pace;
}

double MotorAxis::positionAfter(double seconds) const {
    const double distance = std::abs(m_target - m_start);
    const double travelled = travelledAfter(seconds, distance);
    if (travelled >= distance) return m_target;
    return m_start + (m_target > m_start ? travelled : -travelled);
}

double MotorAxis::value() const {
    if (!m_busy || m_stalled || m_pace <= 0.0) return m_value;
    return positionAfter(simulatedSeconds(m_wakeUps->nowNs()));
}

void MotorAxis::moveTo(double target, bool stalled, Finish done) {
    m_done = std::move(done);
    m_busy = true;
    m_stalled = stalled;
    m_start = m_value;
    m_target = target;
    if (*m_factor <= 0.0) {        // instant clock
        if (!stalled && target != m_value) {
            m_value = target;
            report();
        }
        finish(stalled ? RunTimeError::ServiceTimeOut : 0);
        return;
    }
    m_simulatedBase = 0;
    m_baseNs = m_wakeUps->nowNs();
    m_pace = *m_factor;
    m_nextReportNs = m_baseNs + qint64(kReportMs) * 1'000'000;
    schedule();
}

void MotorAxis::speedFactorChanged() {
    if (!m_busy || *m_factor == m_pace) return;
    const qint64 now = m_wakeUps->nowNs();
    m_simulatedBase = simulatedSeconds(now);
    m_baseNs = now;
    m_pace = *m_factor;
    schedule();   // an instant clock arrives at once
}

void MotorAxis::schedule() {
    if (m_pace <= 0.0) {
        m_wakeUps->wakeAt(this, m_wakeUps->nowNs(), [this] { arrive(); });
        return;
    }
    const double total = m_stalled ? kStallTimeOutSeconds : travelSeconds(std::abs(m_target - m_start));
    const double left = std::max(0.0, total - m_simulatedBase);
    const qint64 endNs = m_baseNs + qint64(std::ceil(left / m_pace * 1e9));
    const qint64 at = m_streams && !m_stalled ? std::min(endNs, m_nextReportNs) : endNs;
    m_wakeUps->wakeAt(this, at, [this] { wake(); });
}

void MotorAxis::wake() {
    const qint64 now = m_wakeUps->nowNs();
    const double seconds = simulatedSeconds(now);
    // (A wake-up on the end's nanosecond may compute a hair short of it.)
    const double total = m_stalled ? kStallTimeOutSeconds : travelSeconds(std::abs(m_target - m_start));
    if (seconds + 1e-9 >= total) return arrive();
    if (m_stalled) return schedule();
    m_value = positionAfter(seconds);
    if (m_streams && m_nextReportNs <= now + MotorWakeUps::kTogetherNs) {
        report();
        // The reports keep their beat; one that fell behind (a busy machine)
        // is not made up for.
        const qint64 period = qint64(kReportMs) * 1'000'000;
        do m_nextReportNs += period;
        while (m_nextReportNs <= now);
    }
    schedule();
}

// The end of a move: at its target, or for a stalled motor its time-out.
void MotorAxis::arrive() {
    if (!m_stalled && m_value != m_target) m_value = m_target;
    if (!m_stalled && m_value != m_lastReported) report();
    finish(m_stalled ? RunTimeError::ServiceTimeOut : 0);
}

void MotorAxis::abort(int32_t error) {
    if (!m_busy) return;
    m_value = value();
    finish(error);
}

void MotorAxis::stop() {
    if (!m_busy) return;
    m_value = value();
    if (m_value != m_lastReported) report();
    finish(0);
}

void MotorAxis::report() {
    m_lastReported = m_value;
    if (onValue) onValue(m_value);
}

void MotorAxis::finish(int32_t error) {
    m_wakeUps->cancel(this);
    m_busy = false;
    m_stalled = false;
    Finish done = std::move(m_done);
    m_done = nullptr;
    if (done) done(error);
}
