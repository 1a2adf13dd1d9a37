#include "stand/devices/MotorWakeUps.h"

#include <algorithm>

std::shared_ptr<MotorWakeUps> MotorWakeUps::forThisThread() {
    thread_local std::weak_ptr<MotorWakeUps> current;
    std::shared_ptr<MotorWakeUps> w = current.lock();
    if (!w) {
        w = std::make_shared<MotorWakeUps>();
        current = w;
    }
    return w;
}

MotorWakeUps::MotorWakeUps() {
    m_clock.start();
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, &MotorWakeUps::fire);
}

void MotorWakeUps::wakeAt(const void* who, qint64 atNs, Wake wake) {
    cancel(who);
    m_entries.push_back({who, atNs, std::move(wake)});
    arm();
}

void MotorWakeUps::cancel(const void* who) {
    for (Entry& e : m_firing)
        if (e.who == who) e.who = nullptr;
    const auto it = std::find_if(m_entries.begin(), m_entries.end(), [who](const Entry& e) { return e.who == who; });
    if (it == m_entries.end()) return;
    m_entries.erase(it);
    arm();
}

void MotorWakeUps::arm() {
    if (m_entries.empty()) {
        m_timer.stop();
        return;
    }
    qint64 earliest = m_entries.front().atNs;
    for (const Entry& e : m_entries) earliest = std::min(earliest, e.atNs);
    // The timer counts whole milliseconds: round up, so that a motor is never
    // woken before its time and woken again for nothing.
    const qint64 waitNs = std::max<qint64>(0, earliest - nowNs());
    m_timer.start(int((waitNs + 999'999) / 1'000'000));
}

void MotorWakeUps::fire() {
    // Everything due now or within the together window, taken out first: a
    // motor woken here may ask for its next wake-up, which goes to the next
    // round of the timer, and may end or cancel another motor of this round.
    // A motor's callback may run a nested event loop that fires again: each
    // round works on its own tail of m_firing and leaves the rest alone.
    const std::shared_ptr<MotorWakeUps> keep = shared_from_this();
    const size_t first = m_firing.size();
    const qint64 limit = nowNs() + kTogetherNs;
    for (auto it = m_entries.begin(); it != m_entries.end();) {
        if (it->atNs <= limit) {
            m_firing.push_back(std::move(*it));
            it = m_entries.erase(it);
        } else {
            ++it;
        }
    }
    arm();
    for (size_t i = first; i < m_firing.size(); ++i) {
        if (!m_firing[i].who) continue;
        m_firing[i].who = nullptr;
        const Wake wake = m_firing[i].wake;
        wake();
    }
    m_firing.resize(first);
}
