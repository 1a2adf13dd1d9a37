#pragma once
// The one timer of the motors of a thread. A running motor says when it next
// has something to do (a position report, the end of its move, a stall's
// time-out); the thread wakes once for every motor that is due then, so two
// axes moving together cost one wake-up per report, and motors at rest cost
// none. Times are nanoseconds on the timer's own monotonic clock.
#include <QElapsedTimer>
#include <QObject>
#include <QTimer>
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

private:
    struct Entry {
        const void* who;
        qint64 atNs;
        Wake wake;
    };
    void fire();
    void arm();

    QElapsedTimer m_clock;
    QTimer m_timer;
    std::vector<Entry> m_entries;
    std::vector<Entry> m_firing;   // taken out by fire(); a cancelled one is cleared
};
