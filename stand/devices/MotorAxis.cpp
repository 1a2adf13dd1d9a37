#include "stand/devices/MotorAxis.h"

#include "core/base/RunTimeError.h"

#include <cmath>

MotorAxis::MotorAxis(double value, double unitsPerSecond, bool streams, const double* speedFactor,
                     QObject* parent)
    : QObject(parent), m_value(value), m_speed(unitsPerSecond > 0 ? unitsPerSecond : 1),
      m_accel(m_speed / kDefaultRampSeconds), m_streams(streams), m_factor(speedFactor),
      m_lastReported(value) {
    m_timer.setInterval(kTickMs);
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, &MotorAxis::tick);
}

void MotorAxis::setSpeed(double unitsPerSecond) {
    if (!(unitsPerSecond > 0) || !std::isfinite(unitsPerSecond)) return;
    const double ramp = m_speed / m_accel;
    m_speed = unitsPerSecond;
    m_accel = m_speed / ramp;
}

void MotorAxis::setAcceleration(double unitsPerSecondSquared) {
    if (unitsPerSecondSquared > 0 && std::isfinite(unitsPerSecondSquared)) m_accel = unitsPerSecondSquared;
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
    m_elapsed.start();
    m_sinceReport.start();
    m_timer.start();
}

void MotorAxis::abort(int32_t error) {
    if (m_busy) finish(error);
}

void MotorAxis::stop() {
    if (!m_busy) return;
    if (m_value != m_lastReported) report();
    finish(0);
}

void MotorAxis::tick() {
    const double simulatedSeconds = m_elapsed.nsecsElapsed() / 1e9 * *m_factor;
    if (*m_factor <= 0.0) {        // clock switched to instant during the move
        if (!m_stalled && m_value != m_target) {
            m_value = m_target;
            report();
        }
        finish(m_stalled ? RunTimeError::ServiceTimeOut : 0);
        return;
    }
    if (m_stalled) {
        if (simulatedSeconds >= kStallTimeOutSeconds) finish(RunTimeError::ServiceTimeOut);
        return;
    }
    const double distance = std::abs(m_target - m_start);
    const double travelled = travelledAfter(simulatedSeconds, distance);
    if (travelled >= distance) {
        m_value = m_target;
        if (m_value != m_lastReported) report();
        finish(0);
        return;
    }
    m_value = m_start + (m_target > m_start ? travelled : -travelled);
    if (m_streams && m_sinceReport.elapsed() >= kReportMs) report();
}

void MotorAxis::report() {
    m_lastReported = m_value;
    m_sinceReport.restart();
    if (onValue) onValue(m_value);
}

void MotorAxis::finish(int32_t error) {
    m_timer.stop();
    m_busy = false;
    m_stalled = false;
    Finish done = std::move(m_done);
    m_done = nullptr;
    if (done) done(error);
}
