#include "stand/devices/MotorAxis.h"

#include "core/base/RunTimeError.h"

#include <cmath>

MotorAxis::MotorAxis(double value, double unitsPerSecond, bool streams, const double* speedFactor,
                     QObject* parent)
    : QObject(parent), m_value(value), m_speed(unitsPerSecond > 0 ? unitsPerSecond : 1),
      m_streams(streams), m_factor(speedFactor) {
    m_timer.setInterval(kTickMs);
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, &MotorAxis::tick);
}

void MotorAxis::place(double value) {
    if (m_busy || value == m_value) return;
    m_value = value;
    if (onValue) onValue(m_value);
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
            if (onValue) onValue(m_value);
        }
        finish(stalled ? RunTimeError::ServiceTimeOut : 0);
        return;
    }
    m_elapsed.start();
    m_timer.start();
}

void MotorAxis::abort(int32_t error) {
    if (m_busy) finish(error);
}

void MotorAxis::tick() {
    const double simulatedSeconds = m_elapsed.nsecsElapsed() / 1e9 * *m_factor;
    if (*m_factor <= 0.0) {        // clock switched to instant during the move
        if (!m_stalled && m_value != m_target) {
            m_value = m_target;
            if (onValue) onValue(m_value);
        }
        finish(m_stalled ? RunTimeError::ServiceTimeOut : 0);
        return;
    }
    if (m_stalled) {
        if (simulatedSeconds >= kStallTimeOutSeconds) finish(RunTimeError::ServiceTimeOut);
        return;
    }
    const double distance = std::abs(m_target - m_start);
    const double travelled = m_speed * simulatedSeconds;
    if (travelled >= distance) {
        if (m_value != m_target) {
            m_value = m_target;
            if (onValue) onValue(m_value);
        }
        finish(0);
        return;
    }
    const double next = m_start + (m_target > m_start ? travelled : -travelled);
    m_value = next;
    if (m_streams && onValue) onValue(m_value);
}

void MotorAxis::finish(int32_t error) {
    m_timer.stop();
    m_busy = false;
    m_stalled = false;
    Finish done = std::move(m_done);
    m_done = nullptr;
    if (done) done(error);
}
