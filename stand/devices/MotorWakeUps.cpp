#include "stand/devices/MotorWakeUps.h"

#include <QAbstractEventDispatcher>
#include <QTimerEvent>
#include <algorithm>

namespace {
constexpr qint64 kMsNs = 1'000'000;
}

std::shared_ptr<MotorWakeUps> MotorWakeUps::forThisThread() {
    thread_local std::weak_ptr<MotorWakeUps> current;
    std::shared_ptr<MotorWakeUps> w = current.lock();
    if (!w) {
        w = std::make_shared<MotorWakeUps>();
        current = w;
    }
    return w;
}

MotorWakeUps::MotorWakeUps() { m_clock.start(); }

void MotorWakeUps::wakeAt(const void* who, qint64 atNs, Wake wake) {
    cancel(who);
    m_entries.push_back({who, atNs, std::move(wake)});
    arm();
}

void MotorWakeUps::cancel(const void* who) {
    for (Entry& e : m_firingEntries)
        if (e.who == who) e.who = nullptr;
    const auto it = std::find_if(m_entries.begin(), m_entries.end(), [who](const Entry& e) { return e.who == who; });
    if (it == m_entries.end()) return;
    m_entries.erase(it);
    arm();
}

void MotorWakeUps::arm() {
    if (m_firing == 0) armNow();
}

void MotorWakeUps::armNow() {
    if (m_entries.empty()) return stop();
    qint64 earliest = m_entries.front().atNs;
    for (const Entry& e : m_entries) earliest = std::min(earliest, e.atNs);
    // A running timer that fires within the millisecond from the earliest
    // wake-up on is what a new one would do; one whose event is being
    // delivered would not fire in a nested event loop.
    const bool delivering = std::find(m_delivering.begin(), m_delivering.end(), m_timerId) != m_delivering.end();
    if (m_timerId && !delivering && m_nextFireNs >= earliest && m_nextFireNs < earliest + kMsNs) return;
    restart(earliest);
}

void MotorWakeUps::restart(qint64 earliestNs) {
    stop();
    // The timer counts whole milliseconds: round up, so that a motor is never
    // woken before its time and woken again for nothing.
    const qint64 now = nowNs();
    const qint64 waitMs = (std::max<qint64>(0, earliestNs - now) + kMsNs - 1) / kMsNs;
    m_timerId = startTimer(int(waitMs), Qt::PreciseTimer);
    m_periodNs = waitMs * kMsNs;
    m_nextFireNs = now + m_periodNs;
    if (!m_watchingLoops) {
        if (QAbstractEventDispatcher* d = QAbstractEventDispatcher::instance()) {
            connect(d, &QAbstractEventDispatcher::aboutToBlock, this, &MotorWakeUps::nestedLoopWaits);
            m_watchingLoops = true;
        }
    }
}

void MotorWakeUps::stop() {
    if (!m_timerId) return;
    killTimer(m_timerId);
    m_timerId = 0;
}

void MotorWakeUps::timerEvent(QTimerEvent* event) {
    if (event->timerId() != m_timerId) return QObject::timerEvent(event);
    const std::shared_ptr<MotorWakeUps> keep = shared_from_this();   // the last motor may go
    // The timer repeats from when it was due (from now when it fell behind).
    const qint64 now = nowNs();
    m_nextFireNs += m_periodNs;
    if (m_nextFireNs < now) m_nextFireNs = now + m_periodNs;
    m_delivering.push_back(m_timerId);
    fire();
    m_delivering.pop_back();
    arm();   // in a nested round, the loop that waits arms it
}

void MotorWakeUps::nestedLoopWaits() {
    if (m_firing > 0) armNow();
}

void MotorWakeUps::fire() {
    // Everything due now or within the together window, taken out first: a
    // motor woken here may ask for its next wake-up, which goes to the next
    // round, and may end or cancel another motor of this round. The timer is
    // set for the next round once this one is over. A motor's callback may
    // run a nested event loop that fires again: each round works on its own
    // tail of m_firingEntries and leaves the rest alone.
    const size_t first = m_firingEntries.size();
    const qint64 limit = nowNs() + kTogetherNs;
    for (auto it = m_entries.begin(); it != m_entries.end();) {
        if (it->atNs <= limit) {
            m_firingEntries.push_back(std::move(*it));
            it = m_entries.erase(it);
        } else {
            ++it;
        }
    }
    ++m_firing;
    for (size_t i = first; i < m_firingEntries.size(); ++i) {
        if (!m_firingEntries[i].who) continue;
        m_firingEntries[i].who = nullptr;
        const Wake wake = m_firingEntries[i].wake;
        wake();
    }
    --m_firing;
    m_firingEntries.resize(first);
}
