#pragma once
// The one timer of the motors of a thread. A running motor says when it next
// has something to do (a position report, the end of its move, a stall's
// time-out); the thread wakes once for every motor that is due then, so two
// axes moving together cost one wake-up per report, and motors at rest cost
// none. Times are nanoseconds on the timer's own monotonic clock.
//
// The timer repeats: a streaming motor asks for its next report one period
// after the last, which is when the timer fires again anyway, so it is left
// running (no timer taken down and set up again each report) and is stopped
// when no motor waits.
#include <QElapsedTimer>
#include <QObject>
#include <functional>
#include <memory>
#include <vector>

class MotorWakeUps : public QObject, public std::enable_shared_from_this<MotorWakeUps> {
public:
    using Wake = std::function<void()>;
    // Motors due within this much of the earliest one are woken with it.
    static constexpr qint64 kTogetherNs = 2'000'000;

    // The instance of the calling thread; it lives while a motor holds it.
    static std::shared_ptr<MotorWakeUps> forThisThread();

    qint64 nowNs() const { return m_clock.nsecsElapsed(); }
    // `who` is woken at `atNs` (or at once when that has passed), replacing
    // any wake-up it had asked for before.
    void wakeAt(const void* who, qint64 atNs, Wake wake);
    void cancel(const void* who);

    MotorWakeUps();

protected:
    void timerEvent(QTimerEvent* event) override;

private:
    struct Entry {
        const void* who;
        qint64 atNs;
        Wake wake;
    };
    void fire();
    // Sets the timer for the earliest wake-up (left to fire() while it runs).
    void arm();
    void armNow();
    void restart(qint64 earliestNs);
    void stop();
    // A motor's callback has started an event loop of its own, in which the
    // timer being delivered would never fire again: a fresh one takes over.
    void nestedLoopWaits();

    QElapsedTimer m_clock;
    int m_timerId = 0;
    qint64 m_periodNs = 0;
    qint64 m_nextFireNs = 0;   // when the running timer fires next
    int m_firing = 0;          // rounds of fire() on the stack
    std::vector<int> m_delivering;   // timers whose event is on the stack
    bool m_watchingLoops = false;
    std::vector<Entry> m_entries;
    std::vector<Entry> m_firingEntries;   // taken out by fire(); a cancelled one is cleared
};
