#pragma once
// The checks that any microscope service must pass, whatever stand it drives:
// they read the inventory first and judge every answer against what the
// stand itself reported (its units, its mounted devices, its limits), skip
// what the stand does not have, and move only within the reported limits,
// one step and back, putting every device where it was found. Every event
// that arrives meanwhile is judged too.
//
// zentor-conformance runs them against a service on the bus; the conformance
// suite runs them against every implementation and every shipped stand.
#include "core/service/MicroscopeService.h"
#include "core/service/conformance/CheckReport.h"
#include "core/service/conformance/DeviceTable.h"
#include "core/service/conformance/EventRules.h"

#include <QHash>
#include <QPair>
#include <QStringList>
#include <functional>
#include <optional>

struct CheckOptions {
    bool moves = true;        // move motors at all
    bool refusals = true;     // ask turret addresses beyond the turret, expecting a refusal
    // Asked once, with the plan, before the first move; none means yes.
    std::function<bool(const QString& plan)> confirmMoves;
    // Polled between checks: true ends the run (the devices are still put back).
    std::function<bool()> stopRequested;
    int eventWaitMs = 3000;   // how long an event may follow the reply of its change
    int callTimeoutMs = 0;    // the client's bound on one call, for the messages (0: none)
};

class StandChecks {
public:
    StandChecks(MicroscopeService& service, int16_t index, CheckReport& report, CheckOptions options = {});
    ~StandChecks();

    // Runs every check on microscope `index`: the list, connecting, the
    // inventory, the reads, the moves; puts every device back; disconnects.
    void run();

private:
    // The outcome of one call: its value, or the failure it threw.
    template <class T>
    struct Outcome {
        std::optional<T> value;
        int32_t code = 0;
        QString error;
        bool ok() const { return value.has_value(); }
    };
    template <class T>
    Outcome<T> attempt(const std::function<T()>& call);
    Outcome<bool> attemptVoid(const std::function<void()>& call);
    QString failureText(int32_t code, const QString& error) const;
    template <class T>
    QString gotText(const Outcome<T>& o, const std::function<QString(const T&)>& show) const;
    bool stopping();

    // stand list and connection (StandChecks.cpp)
    bool checkList();
    bool checkConnect();
    // inventory and reads (StandChecks.cpp)
    void checkUnits();
    void checkMounted();
    void checkLimits();
    void checkUnknownIndicesAreRefused();
    void checkTables();
    void checkCamera();
    void checkObservationReads();
    void checkReads();
    void checkEvents();

    // moves (StandMoves.cpp)
    void checkMoves();
    bool confirmMoves();
    void moveValueDevice(const ValueDevice& d);
    void moveToggle(const ToggleDevice& t);
    void checkModeWord(const ModeWord& m);
    void checkNdSteps();
    void checkXYMove();
    bool refusalBeyondTurret(const ValueDevice& d, double current);
    // Writes, waits for the event and reads back; true when all three agree.
    bool moveAndConfirm(const ValueDevice& d, double target, const QString& purpose);
    // The value range a device may be moved in, from its reported limits.
    std::optional<QPair<double, double>> moveRange(const ValueDevice& d);
    void putBack();
    void addRestore(const QString& what, std::function<void()> action);

    // events (StandChecks.cpp)
    void onEvent(const QString& text);
    // Waits until an event of `name` carrying `value` (within `tolerance`) has come.
    bool waitForEvent(const QString& name, double value, double tolerance);
    bool waitForEventText(const QString& text);
    QString eventsOf(const QString& name) const;
    void settle(int ms);

    bool mounted(int16_t device) const { return m_mounted.value(device) == 1; }
    bool motorised(int16_t device) const { return mounted(device) && m_readOnly.value(device) == 0; }
    double toleranceOf(const ValueDevice& d) const;

    MicroscopeService& m_svc;
    int16_t m_index;
    CheckReport& m_report;
    CheckOptions m_options;
    QMetaObject::Connection m_eventConnection;

    bool m_connected = false;
    bool m_gone = false;            // the service left the bus: nothing more is asked
    bool m_stopped = false;
    std::optional<bool> m_movesConfirmed;
    QHash<int16_t, int32_t> m_units;      // DeviceStatus by unit
    QHash<int16_t, int32_t> m_mounted;    // IsMounted by device
    QHash<int16_t, int32_t> m_readOnly;   // IsReadOnly by device (devices 1 to 5)
    QHash<int16_t, ReportedLimits> m_limits;
    std::optional<int32_t> m_zUpperLimit;
    QStringList m_events;                       // every event text, in order of arrival
    QHash<QString, bool> m_eventProblemsSeen;   // one line per kind of bad event
    QStringList m_stuck;                        // devices whose move did not end: not moved again
    QVector<QPair<QString, std::function<void()>>> m_restore;   // undo steps, in the order of the moves
};

// --- the two templates of StandChecks, used by both of its source files ---

template <class T>
inline StandChecks::Outcome<T> StandChecks::attempt(const std::function<T()>& call)
{
    Outcome<T> o;
    try {
        o.value = call();
    } catch (const RunTimeError& e) {
        o.code = e.number();
        o.error = e.description();
        if (e.number() == RunTimeError::ServiceGone)
            m_gone = true;
    } catch (const std::exception& e) {
        o.code = RunTimeError::ServiceFailure;
        o.error = QString::fromLocal8Bit(e.what());
    }
    return o;
}

template <class T>
inline QString StandChecks::gotText(const Outcome<T>& o, const std::function<QString(const T&)>& show) const
{
    return o.ok() ? show(*o.value) : failureText(o.code, o.error);
}

