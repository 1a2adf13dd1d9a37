// The moving half of StandChecks: each motorised device one step within its
// reported limits and back, each two-state device to its other state and
// back, the refusals a stand owes, and a last pass that puts back whatever
// is not where it was found.
#include "core/service/conformance/StandChecks.h"

#include <QElapsedTimer>
#include <cmath>

namespace {
QString num(double v) { return QString::number(v, 'g', 12); }
} // namespace

std::optional<QPair<double, double>> StandChecks::moveRange(const ValueDevice& d)
{
    if (!d.limitIndex || !m_limits.contains(d.limitIndex))
        return std::nullopt;
    ReportedLimits l = m_limits.value(d.limitIndex);
    if (d.limitIndex == LimitIndex::Nosepiece) {
        // Addresses run from 1; once the stand has reported the highest
        // address in use (AppNosepieceMaxValue), LowerLimit(1) gives it.
        const auto inUse = attempt<double>([&] { return m_svc.LowerLimit(LimitIndex::Nosepiece); });
        l.lower = 1;
        if (inUse.ok() && *inUse.value > 1)
            l.upper = std::min(l.upper, *inUse.value);
    }
    if (d.limitIndex == LimitIndex::ZDrive && m_zUpperLimit)
        l.upper = std::min(l.upper, double(*m_zUpperLimit));
    return QPair<double, double>(l.lower, l.upper);
}

bool StandChecks::confirmMoves()
{
    if (m_movesConfirmed)
        return *m_movesConfirmed;
    QStringList devices;
    for (const ValueDevice& d : DeviceTable::valueDevices())
        if (motorised(d.device) && !devices.contains(DeviceTable::deviceName(d.device)))
            devices << DeviceTable::deviceName(d.device);
    for (const ToggleDevice& t : DeviceTable::toggles())
        if (mounted(t.device) && !t.onEvent.isEmpty() && !devices.contains(t.label))
            devices << t.label;
    const QString plan =
        QStringLiteral("The checks will now move the devices of microscope %1 (%2) by one step within the limits the "
                       "stand reported, switch its two-state devices, and put every device back where it was found.")
            .arg(m_index).arg(devices.join(QStringLiteral(", ")));
    m_movesConfirmed = !m_options.confirmMoves || m_options.confirmMoves(plan);
    return *m_movesConfirmed;
}

void StandChecks::addRestore(const QString& what, std::function<void()> action)
{
    m_restore.append({what, std::move(action)});
}

void StandChecks::checkMoves()
{
    if (stopping())
        return;
    if (!m_options.moves) {
        m_report.skip(QStringLiteral("moves"), QStringLiteral("not asked for: no device is moved"));
        return;
    }
    if (!confirmMoves()) {
        m_report.skip(QStringLiteral("moves"), QStringLiteral("declined: no device is moved"));
        return;
    }
    for (const ValueDevice& d : DeviceTable::valueDevices())
        if (mounted(d.device) && !stopping())
            moveValueDevice(d);
    checkNdSteps();
    checkXYMove();
    for (const ToggleDevice& t : DeviceTable::toggles())
        if (mounted(t.device) && !stopping())
            moveToggle(t);
    for (const ModeWord& m : DeviceTable::modeWords())
        if (mounted(m.device) && !stopping())
            checkModeWord(m);
    putBack();
}

bool StandChecks::moveAndConfirm(const ValueDevice& d, double target, const QString& purpose)
{
    const QString what = QStringLiteral("%1(%2), %3").arg(d.writeName, num(target), purpose);
    const QString expected = QStringLiteral("it answers once arrived, %1 then reads %2, event %3:%2")
                                 .arg(d.readName, num(target), d.eventName);
    QElapsedTimer took;
    took.start();
    const auto moved = attemptVoid([&] { d.write(m_svc, target); });
    if (!moved.ok()) {
        if (moved.error.startsWith(QLatin1String("org.freedesktop.DBus.Error.NoReply")))
            m_stuck << d.label;
        m_report.fail(what, expected, failureText(moved.code, moved.error));
        return false;
    }
    const double ms = took.elapsed();
    const auto now = attempt<double>([&] { return d.read(m_svc); });
    const double tolerance = toleranceOf(d);
    const bool arrived = now.ok() && std::fabs(*now.value - target) <= tolerance;
    const bool reported = waitForEvent(d.eventName, target, tolerance);
    QStringList got{QStringLiteral("answered after %1 s").arg(ms / 1000.0, 0, 'f', 2),
                    d.readName + QLatin1Char(' ') + gotText<double>(now, [](const double& v) { return num(v); })};
    got << (reported ? QStringLiteral("event %1:%2 seen").arg(d.eventName, num(target))
                     : QStringLiteral("no such event within %1 s (%2)").arg(m_options.eventWaitMs / 1000.0)
                           .arg(eventsOf(d.eventName)));
    return m_report.check(arrived && reported, what, expected, got.join(QStringLiteral("; ")));
}

void StandChecks::moveValueDevice(const ValueDevice& d)
{
    const auto start = attempt<double>([&] { return d.read(m_svc); });
    if (!start.ok())
        return;   // the read check has said why
    const double found = *start.value;
    if (d.readOnlyAsked && m_readOnly.value(d.device) != 0) {
        // A manual device reports its position and refuses to be moved.
        const double other = found == 1 ? 2 : 1;
        const auto refused = attemptVoid([&] { d.write(m_svc, other); });
        const bool limitation = !refused.ok() && RunTimeError(refused.code, QString()).isLimitation();
        const auto after = attempt<double>([&] { return d.read(m_svc); });
        m_report.check(limitation && after.ok() && *after.value == found,
                       QStringLiteral("%1(%2) on the manual %3").arg(d.writeName, num(other), d.label),
                       QStringLiteral("a refusal 800404BE, and %1 still %2").arg(d.readName, num(found)),
                       (refused.ok() ? QStringLiteral("no refusal") : failureText(refused.code, refused.error)) +
                           QStringLiteral("; %1 %2").arg(d.readName, gotText<double>(after, [](const double& v) { return num(v); })));
        return;
    }
    if (!d.limitIndex) {
        // No limits to choose another value within: the current one is written back.
        const auto same = attemptVoid([&] { d.write(m_svc, found); });
        m_report.check(same.ok(), QStringLiteral("%1(%2), the value it has").arg(d.writeName, num(found)),
                       QStringLiteral("no error"),
                       gotText<bool>(same, [](const bool&) { return QStringLiteral("no error"); }));
        return;
    }
    const auto range = moveRange(d);
    if (!range)
        return;   // the limits check has said why
    const double step = d.whole ? std::max(1.0, std::round(m_limits.value(d.limitIndex).step))
                                : m_limits.value(d.limitIndex).step;
    double target = found + step <= range->second ? found + step : found - step;
    if (target < range->first || target > range->second) {
        m_report.skip(QStringLiteral("moving the %1").arg(d.label),
                      QStringLiteral("no room for one step of %1 within %2 to %3").arg(num(step), num(range->first),
                                                                                      num(range->second)));
        return;
    }
    if (m_stuck.contains(d.label)) {
        m_report.skip(QStringLiteral("moving the %1").arg(d.label), QStringLiteral("a move of it did not end before"));
        return;
    }
    addRestore(d.label, [this, d, found] { d.write(m_svc, found); });
    const bool moved = moveAndConfirm(d, target, QStringLiteral("one step"));
    if (moved && d.turret && m_options.refusals)
        refusalBeyondTurret(d, target);
    if (!m_stuck.contains(d.label) && !stopping())
        moveAndConfirm(d, found, QStringLiteral("back to where it was found"));
}

bool StandChecks::refusalBeyondTurret(const ValueDevice& d, double current)
{
    const double beyond = m_limits.value(d.limitIndex).upper + 1;
    const int before = m_events.size();
    const auto o = attemptVoid([&] { d.write(m_svc, beyond); });
    const bool limitation = !o.ok() && RunTimeError(o.code, QString()).isLimitation();
    settle(100);
    QStringList reported;
    for (int i = before; i < m_events.size(); ++i)
        if (EventRules::nameOf(m_events[i]) == d.eventName)
            reported << m_events[i];
    const auto after = attempt<double>([&] { return d.read(m_svc); });
    const bool unchanged = after.ok() && *after.value == current;
    QStringList got{o.ok() ? QStringLiteral("no refusal") : failureText(o.code, o.error),
                    d.readName + QLatin1Char(' ') + gotText<double>(after, [](const double& v) { return num(v); })};
    if (!reported.isEmpty())
        got << QStringLiteral("events %1").arg(reported.join(QLatin1Char(' ')));
    return m_report.check(limitation && unchanged && reported.isEmpty(),
                          QStringLiteral("%1(%2), beyond the turret's %3 places").arg(d.writeName, num(beyond),
                                                                                      num(beyond - 1)),
                          QStringLiteral("a refusal 800404BE, %1 still %2, no event").arg(d.readName, num(current)),
                          got.join(QStringLiteral("; ")));
}

void StandChecks::checkNdSteps()
{
    if (!motorised(DeviceIndex::NDFilter) || !m_limits.contains(LimitIndex::NDFilter) || stopping())
        return;
    const ReportedLimits l = m_limits.value(LimitIndex::NDFilter);
    const auto start = attempt<double>([&] { return m_svc.NDFilterTransmission(); });
    if (!start.ok())
        return;
    const double found = *start.value;
    const bool upFirst = found + l.step <= l.upper;
    struct StepCall {
        QString name;
        std::function<void()> run;
        double sign;
    };
    const StepCall up{QStringLiteral("NDFilterStepUp()"), [&] { m_svc.NDFilterStepUp(); }, 1};
    const StepCall down{QStringLiteral("NDFilterStepDown()"), [&] { m_svc.NDFilterStepDown(); }, -1};
    double expected = found;
    for (const StepCall& s : upFirst ? QVector<StepCall>{up, down} : QVector<StepCall>{down, up}) {
        expected += s.sign * l.step;
        const auto o = attemptVoid(s.run);
        const auto now = attempt<double>([&] { return m_svc.NDFilterTransmission(); });
        const bool ok = o.ok() && now.ok() && std::fabs(*now.value - expected) <= l.step / 2;
        m_report.check(ok, s.name, QStringLiteral("NDFilterTransmission then %1 (one Step(18) of %2)").arg(num(expected), num(l.step)),
                       o.ok() ? QStringLiteral("NDFilterTransmission %1").arg(gotText<double>(now, [](const double& v) { return num(v); }))
                              : failureText(o.code, o.error));
        if (!ok)
            return;
    }
}

void StandChecks::checkXYMove()
{
    if (!motorised(DeviceIndex::XYDrive) || stopping() || m_stuck.contains(QStringLiteral("stage X")) ||
        m_stuck.contains(QStringLiteral("stage Y")))
        return;
    const ValueDevice* axes[2] = {nullptr, nullptr};
    for (const ValueDevice& d : DeviceTable::valueDevices())
        if (d.device == DeviceIndex::XYDrive)
            axes[d.limitIndex == LimitIndex::XYDriveX ? 0 : 1] = &d;
    double found[2], target[2];
    for (int a = 0; a < 2; ++a) {
        const auto range = moveRange(*axes[a]);
        const auto now = attempt<double>([&] { return axes[a]->read(m_svc); });
        if (!range || !now.ok())
            return;
        found[a] = *now.value;
        const double step = std::max(1.0, std::round(m_limits.value(axes[a]->limitIndex).step));
        target[a] = found[a] + step <= range->second ? found[a] + step : found[a] - step;
    }
    for (const auto& to : {QPair<double, double>(target[0], target[1]), QPair<double, double>(found[0], found[1])}) {
        const QString what = QStringLiteral("XYDriveMove(%1, %2)").arg(num(to.first), num(to.second));
        const auto o = attemptVoid([&] { m_svc.XYDriveMove(int32_t(to.first), int32_t(to.second)); });
        if (!o.ok()) {
            m_report.fail(what, QStringLiteral("both axes arrive"), failureText(o.code, o.error));
            return;
        }
        const auto x = attempt<double>([&] { return axes[0]->read(m_svc); });
        const auto y = attempt<double>([&] { return axes[1]->read(m_svc); });
        const bool arrived = x.ok() && y.ok() && *x.value == to.first && *y.value == to.second;
        const bool reported = waitForEvent(axes[0]->eventName, to.first, 0.5) && waitForEvent(axes[1]->eventName, to.second, 0.5);
        const auto show = [](const double& v) { return num(v); };
        m_report.check(arrived && reported, what,
                       QStringLiteral("it answers once both axes arrived, the reads and the events give them"),
                       QStringLiteral("X %1, Y %2; %3").arg(gotText<double>(x, show), gotText<double>(y, show),
                                                            reported ? QStringLiteral("events seen")
                                                                     : eventsOf(axes[0]->eventName) + QLatin1Char(' ') +
                                                                           eventsOf(axes[1]->eventName)));
        if (!(arrived && reported))
            return;
    }
}

void StandChecks::moveToggle(const ToggleDevice& t)
{
    const auto start = attempt<int16_t>([&] { return t.read(m_svc); });
    if (!start.ok())
        return;
    const bool wasOn = *start.value != 0;
    addRestore(t.label, [this, t, wasOn] { wasOn ? t.on(m_svc) : t.off(m_svc); });
    for (bool on : {!wasOn, wasOn}) {
        const QString call = on ? t.onName : t.offName;
        const QString event = on ? t.onEvent : t.offEvent;
        const auto o = attemptVoid([&] { on ? t.on(m_svc) : t.off(m_svc); });
        if (!o.ok()) {
            m_report.fail(call, QStringLiteral("no error"), failureText(o.code, o.error));
            return;
        }
        const auto now = attempt<int16_t>([&] { return t.read(m_svc); });
        const bool state = now.ok() && (*now.value != 0) == on;
        const bool reported = event.isEmpty() || waitForEventText(event);
        QString expected = QStringLiteral("%1 then %2").arg(t.readName, on ? QStringLiteral("not 0") : QStringLiteral("0"));
        if (!event.isEmpty())
            expected += QStringLiteral(", event %1").arg(event);
        QString got = t.readName + QLatin1Char(' ') + gotText<int16_t>(now, [](const int16_t& v) { return QString::number(v); });
        if (!event.isEmpty())
            got += reported ? QStringLiteral("; event seen") : QStringLiteral("; ") + eventsOf(EventRules::nameOf(event));
        if (!m_report.check(state && reported, call, expected, got))
            return;
    }
}

void StandChecks::checkModeWord(const ModeWord& m)
{
    const auto start = attempt<int16_t>([&] { return m.read(m_svc); });
    const auto show = [](const int16_t& v) { return QString::number(v); };
    if (!start.ok()) {
        m_report.fail(m.readName + QStringLiteral("()"), QStringLiteral("a mode word"), failureText(start.code, start.error));
        return;
    }
    const int16_t word = *start.value;
    const auto o = attemptVoid([&] { m.write(m_svc, word); });
    const auto now = attempt<int16_t>([&] { return m.read(m_svc); });
    m_report.check(o.ok() && now.ok() && *now.value == word, QStringLiteral("%1(%2), the word it has").arg(m.writeName).arg(word),
                   QStringLiteral("no error, %1 then %2").arg(m.readName).arg(word),
                   o.ok() ? m.readName + QLatin1Char(' ') + gotText<int16_t>(now, show) : failureText(o.code, o.error));
}

void StandChecks::putBack()
{
    // Whatever a check left changed (a move that failed halfway, a turret
    // whose change moved another device) goes back, in the order the devices
    // were moved: the turrets before the drives they may have shifted. A
    // device whose move never ended is left alone.
    QStringList failures;
    for (int i = 0; i < m_restore.size(); ++i) {
        if (m_gone)
            break;
        if (m_stuck.contains(m_restore[i].first)) {
            failures << QStringLiteral("%1: left alone, its move did not end").arg(m_restore[i].first);
            continue;
        }
        const auto o = attemptVoid(m_restore[i].second);
        if (!o.ok())
            failures << QStringLiteral("%1: %2").arg(m_restore[i].first, failureText(o.code, o.error));
    }
    const QStringList names = [&] {
        QStringList l;
        for (const auto& r : m_restore)
            if (!l.contains(r.first))
                l << r.first;
        return l;
    }();
    m_restore.clear();
    if (names.isEmpty())
        return;
    m_report.check(failures.isEmpty(), QStringLiteral("putting back %1").arg(names.join(QStringLiteral(", "))),
                   QStringLiteral("every device where it was found"),
                   failures.isEmpty() ? QStringLiteral("done") : failures.join(QStringLiteral("; ")));
}
