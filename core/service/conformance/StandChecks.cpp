#include "core/service/conformance/StandChecks.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QThread>
#include <algorithm>
#include <cmath>

namespace {

QString num(double v) { return QString::number(v, 'g', 12); }

QString joined(const QStringList& parts) { return parts.join(QStringLiteral(", ")); }

// The limit index of each device whose values the stand bounds.
struct LimitOfDevice {
    int16_t limitIndex;
    int16_t device;
};
const LimitOfDevice kLimitsOfDevices[] = {
    {LimitIndex::Nosepiece, DeviceIndex::Nosepiece},       {LimitIndex::FilterBlockCassette, DeviceIndex::FilterBlockCassette},
    {LimitIndex::CondenserCassette, DeviceIndex::CondenserCassette}, {LimitIndex::OpticalZoom, DeviceIndex::OpticalZoom},
    {LimitIndex::EpiFieldStop, DeviceIndex::EpiFieldStop}, {LimitIndex::Lamp, DeviceIndex::Lamp},
    {LimitIndex::ZDrive, DeviceIndex::ZDrive},             {LimitIndex::XYDriveX, DeviceIndex::XYDrive},
    {LimitIndex::XYDriveY, DeviceIndex::XYDrive},          {LimitIndex::ApertureStop, DeviceIndex::ApertureStop},
    {LimitIndex::FieldStop, DeviceIndex::FieldStop},       {LimitIndex::NDFilter, DeviceIndex::NDFilter},
};

} // namespace

StandChecks::StandChecks(MicroscopeService& service, int16_t index, CheckReport& report, CheckOptions options)
    : m_svc(service), m_index(index), m_report(report), m_options(std::move(options))
{
    m_eventConnection = QObject::connect(&m_svc, &MicroscopeService::OnPropertyChanged, &m_svc,
                                         [this](const QString& text) { onEvent(text); });
}

StandChecks::~StandChecks()
{
    QObject::disconnect(m_eventConnection);
}

// --- calls --------------------------------------------------------------------------

StandChecks::Outcome<bool> StandChecks::attemptVoid(const std::function<void()>& call)
{
    return attempt<bool>([&] {
        call();
        return true;
    });
}

QString StandChecks::failureText(int32_t code, const QString& error) const
{
    if (error.startsWith(QLatin1String("org.freedesktop.DBus.Error.NoReply")) && m_options.callTimeoutMs > 0)
        return QStringLiteral("no answer within %1 s: the call never ended (%2)")
            .arg(m_options.callTimeoutMs / 1000.0).arg(error);
    return QStringLiteral("error %1: %2")
        .arg(QString::number(static_cast<uint32_t>(code), 16).toUpper(), error.isEmpty() ? QStringLiteral("(no text)") : error);
}

bool StandChecks::stopping()
{
    if (!m_stopped && (m_gone || (m_options.stopRequested && m_options.stopRequested()))) {
        m_stopped = true;
        m_report.fail(QStringLiteral("the run"), QStringLiteral("the service answers to the end"),
                      m_gone ? QStringLiteral("the service left the bus; the remaining checks were not run")
                             : QStringLiteral("stopped on request; the remaining checks were not run"));
    }
    return m_stopped;
}

// --- the run --------------------------------------------------------------------------

void StandChecks::run()
{
    if (!checkList() || !checkConnect())
        return;
    checkUnits();
    checkMounted();
    checkLimits();
    checkUnknownIndicesAreRefused();
    checkReads();
    checkTables();
    checkCamera();
    checkObservationReads();
    checkMoves();
    settle(200);
    checkEvents();
    if (m_connected && !m_gone) {
        const auto o = attemptVoid([&] { m_svc.Disconnect(); });
        m_report.check(o.ok(), QStringLiteral("Disconnect()"), QStringLiteral("no error"),
                       gotText<bool>(o, [](const bool&) { return QStringLiteral("no error"); }));
    }
}

bool StandChecks::checkList()
{
    const auto names = attempt<QStringList>([&] { return m_svc.GetDeviceNames(); });
    const bool listed = names.ok() && names.value->size() > m_index;
    m_report.check(listed, QStringLiteral("GetDeviceNames()"),
                   QStringLiteral("a list of names that holds index %1").arg(m_index),
                   gotText<QStringList>(names, [](const QStringList& l) {
                       return QStringLiteral("%1 name(s): \"%2\"").arg(l.size()).arg(l.join(QStringLiteral("\", \"")));
                   }));
    if (!listed)
        return false;
    const auto available = attempt<int16_t>([&] { return m_svc.IsDeviceAvailable(m_index); });
    const bool open = available.ok() && *available.value != 0;
    m_report.check(open, QStringLiteral("IsDeviceAvailable(%1)").arg(m_index), QStringLiteral("not 0"),
                   gotText<int16_t>(available, [](const int16_t& v) { return QString::number(v); }));
    const int16_t beyond = static_cast<int16_t>(names.value->size());
    const auto past = attempt<int16_t>([&] { return m_svc.IsDeviceAvailable(beyond); });
    m_report.check(past.ok() && *past.value == 0, QStringLiteral("IsDeviceAvailable(%1), past the list").arg(beyond),
                   QStringLiteral("0"), gotText<int16_t>(past, [](const int16_t& v) { return QString::number(v); }));
    const auto wrong = attemptVoid([&] { m_svc.Connect(beyond); });
    m_report.check(!wrong.ok(), QStringLiteral("Connect(%1), past the list").arg(beyond), QStringLiteral("a refusal"),
                   wrong.ok() ? QStringLiteral("it was opened") : failureText(wrong.code, wrong.error));
    if (wrong.ok())
        attemptVoid([&] { m_svc.Disconnect(); });
    return open && !stopping();
}

bool StandChecks::checkConnect()
{
    const auto o = attemptVoid([&] { m_svc.Connect(m_index); });
    m_connected = o.ok();
    m_report.check(m_connected, QStringLiteral("Connect(%1)").arg(m_index), QStringLiteral("the microscope opens"),
                   gotText<bool>(o, [](const bool&) { return QStringLiteral("opened"); }));
    settle(50);
    return m_connected && !stopping();
}

// --- inventory ---------------------------------------------------------------------------

void StandChecks::checkUnits()
{
    if (stopping())
        return;
    QStringList got;
    bool ok = true;
    for (int16_t u = 1; u <= 6; ++u) {
        const auto o = attempt<int32_t>([&] { return m_svc.DeviceStatus(u); });
        ok = ok && o.ok();
        got << QStringLiteral("%1: %2").arg(u).arg(gotText<int32_t>(o, [](const int32_t& v) { return QString::number(v); }));
        if (o.ok())
            m_units.insert(u, *o.value);
    }
    m_report.check(ok, QStringLiteral("DeviceStatus(1..6)"), QStringLiteral("an answer for each unit (1: alive)"),
                   joined(got));
    // The panel's liveness check asks these units, and closes when none is alive.
    const QVector<int16_t> watched{UnitIndex::Q7s, UnitIndex::HBX_B, UnitIndex::HBX_A, UnitIndex::E_LM_K};
    const bool watchedAlive = std::any_of(watched.begin(), watched.end(), [&](int16_t u) { return m_units.value(u) == 1; });
    m_report.check(watchedAlive, QStringLiteral("the units the panel watches"),
                   QStringLiteral("DeviceStatus 1 for the stand (1), a hub (2, 3) or the epi illuminator (6): "
                                  "without one the panel takes the service for dead"),
                   watchedAlive ? QStringLiteral("one is alive") : QStringLiteral("none is alive"));
    QStringList versions;
    bool versionsOk = true;
    int entries = 0;
    QString logFailure;
    for (int16_t u = 1; u <= 6; ++u) {
        if (m_units.value(u) != 1 || stopping())
            continue;
        const auto v = attempt<QString>([&] { return m_svc.Version(u); });
        versionsOk = versionsOk && v.ok() && !v.value->trimmed().isEmpty();
        versions << QStringLiteral("%1: %2").arg(u).arg(gotText<QString>(v, [](const QString& s) { return "\"" + s + "\""; }));
        for (int16_t e = 1; e <= 100 && logFailure.isEmpty(); ++e) {
            const auto entry = attempt<QString>([&] { return m_svc.EventLog(u, e); });
            if (entry.ok())
                ++entries;
            else
                logFailure = QStringLiteral("EventLog(%1, %2): %3").arg(u).arg(e).arg(failureText(entry.code, entry.error));
        }
    }
    if (versions.isEmpty()) {
        m_report.skip(QStringLiteral("Version and EventLog"), QStringLiteral("no unit reported itself alive"));
        return;
    }
    m_report.check(versionsOk, QStringLiteral("Version(unit) of each unit alive"), QStringLiteral("a text for each"),
                   joined(versions));
    m_report.check(logFailure.isEmpty(), QStringLiteral("EventLog(unit, 1..100) of each unit alive"),
                   QStringLiteral("an answer for each entry"),
                   logFailure.isEmpty() ? QStringLiteral("%1 entries answered").arg(entries) : logFailure);
}

void StandChecks::checkMounted()
{
    if (stopping())
        return;
    QStringList got;
    bool ok = true;
    for (int16_t d = 1; d <= 14; ++d) {
        const auto o = attempt<int32_t>([&] { return m_svc.IsMounted(d); });
        ok = ok && o.ok();
        got << QStringLiteral("%1: %2").arg(d).arg(gotText<int32_t>(o, [](const int32_t& v) { return QString::number(v); }));
        if (o.ok())
            m_mounted.insert(d, *o.value);
    }
    m_report.check(ok, QStringLiteral("IsMounted(1..14)"), QStringLiteral("a status word for each device (1: mounted)"),
                   joined(got));
    QStringList manual;
    bool manualOk = true;
    for (int16_t d = 1; d <= 5; ++d) {
        if (!mounted(d))
            continue;
        const auto o = attempt<int32_t>([&] { return m_svc.IsReadOnly(d); });
        manualOk = manualOk && o.ok();
        manual << QStringLiteral("%1: %2").arg(d).arg(gotText<int32_t>(o, [](const int32_t& v) { return QString::number(v); }));
        if (o.ok())
            m_readOnly.insert(d, *o.value);
    }
    if (!manual.isEmpty())
        m_report.check(manualOk, QStringLiteral("IsReadOnly(d) of the mounted devices 1 to 5"),
                       QStringLiteral("an answer for each (0: motorised)"), joined(manual));
    if (mounted(DeviceIndex::LightPathDrive) && m_readOnly.value(DeviceIndex::LightPathDrive) != 0) {
        const auto o = attempt<int16_t>([&] { return m_svc.PathSubType(DeviceIndex::LightPathDrive); });
        m_report.check(o.ok(), QStringLiteral("PathSubType(3) of the manual light path"), QStringLiteral("an answer"),
                       gotText<int16_t>(o, [](const int16_t& v) { return QString::number(v); }));
    }
    for (int16_t d = 1; d <= 14; ++d)
        if (m_mounted.contains(d) && !mounted(d))
            m_report.skip(DeviceTable::deviceName(d),
                          QStringLiteral("IsMounted(%1) answered %2: not on this stand, its checks are left out")
                              .arg(d).arg(m_mounted.value(d)));
}

void StandChecks::checkLimits()
{
    if (stopping())
        return;
    for (const LimitOfDevice& l : kLimitsOfDevices) {
        if (!mounted(l.device) || stopping())
            continue;
        const auto upper = attempt<double>([&] { return m_svc.UpperLimit(l.limitIndex); });
        const auto lower = attempt<double>([&] { return m_svc.LowerLimit(l.limitIndex); });
        const auto step = attempt<double>([&] { return m_svc.Step(l.limitIndex); });
        const QString what = QStringLiteral("UpperLimit, LowerLimit, Step(%1) of the %2")
                                 .arg(l.limitIndex).arg(DeviceTable::deviceName(l.device));
        if (!upper.ok() || !lower.ok() || !step.ok()) {
            const auto& bad = !upper.ok() ? upper : !lower.ok() ? lower : step;
            m_report.fail(what, QStringLiteral("three numbers"), failureText(bad.code, bad.error));
            continue;
        }
        const double hi = *upper.value, lo = *lower.value, st = *step.value;
        const QString got = QStringLiteral("%1, %2, %3").arg(num(hi), num(lo), num(st));
        const bool finite = std::isfinite(hi) && std::isfinite(lo) && std::isfinite(st);
        if (l.limitIndex == LimitIndex::Nosepiece) {
            // The nosepiece's LowerLimit is 1, or the highest address in use
            // once the stand has reported one (AppNosepieceMaxValue).
            const bool ok = finite && lo >= 1 && lo <= hi && st > 0;
            m_report.check(ok, what,
                           QStringLiteral("1 <= LowerLimit <= UpperLimit (LowerLimit 1, or the highest address in use), "
                                          "Step > 0"),
                           got);
            if (ok)
                m_limits.insert(l.limitIndex, ReportedLimits{1, hi, st});
            continue;
        }
        const bool ok = finite && lo <= hi && st > 0;
        m_report.check(ok, what, QStringLiteral("LowerLimit <= UpperLimit, Step > 0"), got);
        if (ok)
            m_limits.insert(l.limitIndex, ReportedLimits{lo, hi, st});
    }
    if (mounted(DeviceIndex::ZDrive) && m_limits.contains(LimitIndex::ZDrive) && !stopping()) {
        const ReportedLimits z = m_limits.value(LimitIndex::ZDrive);
        const auto o = attempt<int32_t>([&] { return m_svc.ZUpperLimit(); });
        const bool ok = o.ok() && *o.value >= z.lower && *o.value <= z.upper;
        m_report.check(ok, QStringLiteral("ZUpperLimit()"),
                       QStringLiteral("a count within the Z limits %1 to %2").arg(num(z.lower), num(z.upper)),
                       gotText<int32_t>(o, [](const int32_t& v) { return QString::number(v); }));
        if (o.ok())
            m_zUpperLimit = *o.value;
    }
}

void StandChecks::checkUnknownIndicesAreRefused()
{
    if (stopping())
        return;
    struct Probe {
        QString call;
        std::function<void()> run;
    };
    const QVector<Probe> probes = {
        {QStringLiteral("DeviceStatus(0)"), [&] { m_svc.DeviceStatus(0); }},
        {QStringLiteral("DeviceStatus(7)"), [&] { m_svc.DeviceStatus(7); }},
        {QStringLiteral("IsMounted(0)"), [&] { m_svc.IsMounted(0); }},
        {QStringLiteral("IsMounted(15)"), [&] { m_svc.IsMounted(15); }},
        {QStringLiteral("UpperLimit(3), no limit index"), [&] { m_svc.UpperLimit(3); }},
        {QStringLiteral("Step(19), no limit index"), [&] { m_svc.Step(19); }},
        {QStringLiteral("Version(9)"), [&] { m_svc.Version(9); }},
    };
    for (const Probe& p : probes) {
        if (stopping())
            return;
        const auto o = attemptVoid(p.run);
        m_report.check(!o.ok(), p.call, QStringLiteral("a refusal (80070057 for an unknown index)"),
                       o.ok() ? QStringLiteral("an answer") : failureText(o.code, o.error));
    }
}

// --- reads ---------------------------------------------------------------------------------

void StandChecks::checkReads()
{
    for (const ValueDevice& d : DeviceTable::valueDevices()) {
        if (!mounted(d.device) || stopping())
            continue;
        const auto o = attempt<double>([&] { return d.read(m_svc); });
        const auto range = moveRange(d);
        const bool inside = o.ok() && (!range || (*o.value >= range->first - toleranceOf(d) &&
                                                  *o.value <= range->second + toleranceOf(d)));
        m_report.check(inside, d.readName + QStringLiteral("()"),
                       range ? QStringLiteral("a value within the limits %1 to %2 the stand reported")
                                   .arg(num(range->first), num(range->second))
                             : QStringLiteral("a value"),
                       gotText<double>(o, [](const double& v) { return num(v); }));
    }
    for (const ToggleDevice& t : DeviceTable::toggles()) {
        if (!mounted(t.device) || stopping())
            continue;
        const bool flag = t.onEvent.isEmpty();   // an interlock: any word, not 0 is on
        const auto o = attempt<int16_t>([&] { return t.read(m_svc); });
        m_report.check(o.ok() && (flag || *o.value == 0 || *o.value == 1), t.readName + QStringLiteral("()"),
                       flag ? QStringLiteral("a flag") : QStringLiteral("0 or 1"),
                       gotText<int16_t>(o, [](const int16_t& v) { return QString::number(v); }));
    }
    struct Flag {
        int16_t device;
        QString name;
        std::function<int16_t()> read;
    };
    const QVector<Flag> flags = {
        {DeviceIndex::Lamp, QStringLiteral("LampIsPreset()"), [&] { return m_svc.LampIsPreset(); }},
        {DeviceIndex::ZDrive, QStringLiteral("ZDriveIsZEscape()"), [&] { return m_svc.ZDriveIsZEscape(); }},
        {DeviceIndex::XYDrive, QStringLiteral("XYDriveIsEscape()"), [&] { return m_svc.XYDriveIsEscape(); }},
    };
    for (const Flag& f : flags) {
        if (!mounted(f.device) || stopping())
            continue;
        const auto o = attempt<int16_t>(f.read);
        m_report.check(o.ok(), f.name, QStringLiteral("a flag"),
                       gotText<int16_t>(o, [](const int16_t& v) { return QString::number(v); }));
    }
}

void StandChecks::checkTables()
{
    struct Table {
        int16_t device;
        int16_t limitIndex;
        QString label;
        QVector<QPair<QString, std::function<int()>>> arrays;
    };
    const QVector<Table> tables = {
        {DeviceIndex::Nosepiece, LimitIndex::Nosepiece, QStringLiteral("objective table"),
         {{QStringLiteral("ObjectiveNumbers"), [&] { return int(m_svc.ObjectiveNumbers().size()); }},
          {QStringLiteral("ObjectiveNames"), [&] { return int(m_svc.ObjectiveNames().size()); }},
          {QStringLiteral("ObjectiveSeriesNames"), [&] { return int(m_svc.ObjectiveSeriesNames().size()); }},
          {QStringLiteral("ObjectiveTypeNames"), [&] { return int(m_svc.ObjectiveTypeNames().size()); }},
          {QStringLiteral("ObjectiveRates"), [&] { return int(m_svc.ObjectiveRates().size()); }},
          {QStringLiteral("ObjectiveWDs"), [&] { return int(m_svc.ObjectiveWDs().size()); }},
          {QStringLiteral("ObjectiveNAs"), [&] { return int(m_svc.ObjectiveNAs().size()); }}}},
        {DeviceIndex::FilterBlockCassette, LimitIndex::FilterBlockCassette, QStringLiteral("filter cube table"),
         {{QStringLiteral("FilterNumbers"), [&] { return int(m_svc.FilterNumbers().size()); }},
          {QStringLiteral("FilterNames"), [&] { return int(m_svc.FilterNames().size()); }},
          {QStringLiteral("FilterReikis"), [&] { return int(m_svc.FilterReikis().size()); }},
          {QStringLiteral("FilterDMs"), [&] { return int(m_svc.FilterDMs().size()); }},
          {QStringLiteral("FilterKyusyus"), [&] { return int(m_svc.FilterKyusyus().size()); }},
          {QStringLiteral("FilterEXNames"), [&] { return int(m_svc.FilterEXNames().size()); }},
          {QStringLiteral("FilterDMNames"), [&] { return int(m_svc.FilterDMNames().size()); }},
          {QStringLiteral("FilterBANames"), [&] { return int(m_svc.FilterBANames().size()); }}}},
        {DeviceIndex::CondenserCassette, LimitIndex::CondenserCassette, QStringLiteral("condenser table"),
         {{QStringLiteral("CondenserNumbers"), [&] { return int(m_svc.CondenserNumbers().size()); }},
          {QStringLiteral("CondenserNames"), [&] { return int(m_svc.CondenserNames().size()); }}}},
    };
    for (const Table& t : tables) {
        if (!mounted(t.device) || !m_limits.contains(t.limitIndex) || stopping())
            continue;
        const int positions = int(m_limits.value(t.limitIndex).upper);
        QStringList got;
        bool ok = true;
        for (const auto& array : t.arrays) {
            const auto o = attempt<int>(array.second);
            ok = ok && o.ok() && *o.value == positions;
            got << array.first + QStringLiteral(" ") +
                       gotText<int>(o, [](const int& n) { return QStringLiteral("%1 element(s)").arg(n); });
        }
        m_report.check(ok, QStringLiteral("the %1").arg(t.label),
                       QStringLiteral("%1 element(s) in each array, one per position (UpperLimit(%2))")
                           .arg(positions).arg(t.limitIndex),
                       joined(got));
    }
}

void StandChecks::checkCamera()
{
    if (stopping())
        return;
    const auto present = attempt<int16_t>([&] { return m_svc.IsCameraPresent(m_index); });
    m_report.check(present.ok(), QStringLiteral("IsCameraPresent(%1)").arg(m_index), QStringLiteral("an answer"),
                   gotText<int16_t>(present, [](const int16_t& v) { return QString::number(v); }));
    if (!present.ok() || *present.value == 0) {
        m_report.skip(QStringLiteral("camera"), QStringLiteral("no camera reported"));
        return;
    }
    const auto unit = attempt<int16_t>([&] { return m_svc.CameraUnit(); });
    const auto head = attempt<int16_t>([&] { return m_svc.CameraHead(); });
    const auto show = [](const int16_t& v) { return QString::number(v); };
    m_report.check(unit.ok() && head.ok(), QStringLiteral("CameraUnit(), CameraHead()"), QStringLiteral("two numbers"),
                   gotText<int16_t>(unit, show) + QStringLiteral(", ") + gotText<int16_t>(head, show));
    m_report.skip(QStringLiteral("ZDriveAutoFocus()"), QStringLiteral("not run: the focus search drives the focus over its range"));
}

void StandChecks::checkObservationReads()
{
    if (stopping())
        return;
    // Observation methods live in the stand, a hub or the epi illuminator.
    if (m_units.value(UnitIndex::Q7s) != 1 && m_units.value(UnitIndex::HBX_B) != 1 &&
        m_units.value(UnitIndex::E_LM_K) != 1) {
        m_report.skip(QStringLiteral("observation methods"),
                      QStringLiteral("no unit that keeps them (1, 2 or 6) reported itself alive"));
        return;
    }
    const auto mode = attempt<int16_t>([&] { return m_svc.PresetsObservationMode(); });
    m_report.check(mode.ok() && *mode.value >= 0 && *mode.value <= 12, QStringLiteral("PresetsObservationMode()"),
                   QStringLiteral("0 to 12"), gotText<int16_t>(mode, [](const int16_t& v) { return QString::number(v); }));
    QString failure;
    for (int16_t n = 1; n <= 12 && failure.isEmpty(); ++n) {
        const auto name = attempt<QString>([&] { return m_svc.ObservationName(n); });
        if (!name.ok())
            failure = QStringLiteral("ObservationName(%1): %2").arg(n).arg(failureText(name.code, name.error));
        const auto positions = attempt<ObservationPositions>([&] { return m_svc.ObservationPosition(n); });
        if (failure.isEmpty() && !positions.ok())
            failure = QStringLiteral("ObservationPosition(%1): %2").arg(n).arg(failureText(positions.code, positions.error));
    }
    m_report.check(failure.isEmpty(), QStringLiteral("ObservationName(1..12), ObservationPosition(1..12)"),
                   QStringLiteral("a name and eleven codes for each"), failure.isEmpty() ? QStringLiteral("all answered") : failure);
    for (int16_t device : {DeviceIndex::ApertureStop, DeviceIndex::FieldStop, DeviceIndex::NDFilter}) {
        if (!mounted(device) || stopping())
            continue;
        const auto v = attempt<double>([&] { return m_svc.CustomValue(device, 7, 1); });
        m_report.check(v.ok(), QStringLiteral("CustomValue(%1, 7, 1)").arg(device), QStringLiteral("a number"),
                       gotText<double>(v, [](const double& x) { return num(x); }));
    }
    m_report.skip(QStringLiteral("setPresetsObservationMode and the stored methods"),
                  QStringLiteral("not run: applying a method moves many devices at once, and storing one changes "
                                 "what the stand keeps"));
}

// --- events ---------------------------------------------------------------------------------

void StandChecks::onEvent(const QString& text)
{
    m_events << text;
    const QString problem = EventRules::problem(text, m_limits);
    if (problem.isEmpty())
        return;
    // One line per name and kind of fault, not one per event of a stream.
    const QString key = EventRules::nameOf(text) + QLatin1Char('|') + problem.section(QLatin1Char(' '), 0, 1);
    if (m_eventProblemsSeen.contains(key))
        return;
    m_eventProblemsSeen.insert(key, true);
    m_report.fail(QStringLiteral("event \"%1\"").arg(text.left(200)),
                  QStringLiteral("\"<name>:<value>\", a name the panel knows and a value within the reported limits"),
                  problem);
}

void StandChecks::settle(int ms)
{
    QElapsedTimer t;
    t.start();
    while (t.elapsed() < ms) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        QThread::usleep(500);
    }
}

bool StandChecks::waitForEvent(const QString& name, double value, double tolerance)
{
    const auto seen = [&] {
        for (int i = m_events.size() - 1; i >= 0; --i) {
            if (EventRules::nameOf(m_events[i]) != name)
                continue;
            bool ok = false;
            const double v = EventRules::valueOf(m_events[i]).toDouble(&ok);
            return ok && std::fabs(v - value) <= tolerance;
        }
        return false;
    };
    QElapsedTimer t;
    t.start();
    while (!seen() && t.elapsed() < m_options.eventWaitMs) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        QThread::usleep(500);
    }
    return seen();
}

bool StandChecks::waitForEventText(const QString& text)
{
    QElapsedTimer t;
    t.start();
    while (!m_events.contains(text) && t.elapsed() < m_options.eventWaitMs) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        QThread::usleep(500);
    }
    return m_events.contains(text);
}

QString StandChecks::eventsOf(const QString& name) const
{
    QStringList of;
    for (const QString& e : m_events)
        if (EventRules::nameOf(e) == name)
            of << e;
    if (of.isEmpty())
        return QStringLiteral("no %1 event").arg(name);
    if (of.size() > 6)
        of = of.mid(of.size() - 6);
    return QStringLiteral("events %1").arg(of.join(QLatin1Char(' ')));
}

void StandChecks::checkEvents()
{
    const bool clean = m_eventProblemsSeen.isEmpty();
    m_report.check(clean, QStringLiteral("every OnPropertyChanged text of the run"),
                   QStringLiteral("\"<name>:<value>\" with a name the panel knows and a value within the reported limits"),
                   clean ? QStringLiteral("%1 event(s), all well formed").arg(m_events.size())
                         : QStringLiteral("%1 kind(s) of faulty event among %2, each named above")
                               .arg(m_eventProblemsSeen.size()).arg(m_events.size()));
}

double StandChecks::toleranceOf(const ValueDevice& d) const
{
    if (d.whole)
        return 0.5;
    const double step = m_limits.value(d.limitIndex).step;
    return std::max(step / 2, 1e-9);
}
