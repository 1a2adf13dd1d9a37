// Inventory of the stand: units, devices, limits, versions, event logs,
// camera, and the objective, filter cube and condenser tables.
#include "stand/StandEngine.h"

#include "core/base/VbConvert.h"
#include "stand/StandArgs.h"
#include "stand/StandFailures.h"

#include <algorithm>

using namespace standfail;

namespace {

const int16_t kLimitIndices[] = {1, 2, 4, 5, 6, 9, 11, 13, 14, 16, 17, 18};

QVariantList ints(const QVector<int32_t>& v) {
    QVariantList l;
    for (int32_t x : v) l << QVariant(int(x));
    return l;
}
QVariantList doubles(const QVector<double>& v) {
    QVariantList l;
    for (double x : v) l << QVariant(x);
    return l;
}

} // namespace

QVariant StandEngine::deviceStatus(const StandArgs& a, StandReply&) {
    const int16_t u = a.int16(0);
    if (u < 1 || u > StandDescription::kUnits) invalid(QStringLiteral("Unknown unit %1").arg(u));
    if (!m_d.units[u]) return 0;
    return m_dead[u] ? 2 : 1;
}

QVariant StandEngine::isMounted(const StandArgs& a, StandReply&) {
    const int16_t d = a.int16(0);
    if (d < 1 || d > StandDescription::kDevices) invalid(QStringLiteral("Unknown device %1").arg(d));
    return int(m_d.devices[d].status);
}

QVariant StandEngine::isReadOnly(const StandArgs& a, StandReply&) {
    const int16_t d = a.int16(0);
    if (d < 1 || d > StandDescription::kDevices) invalid(QStringLiteral("Unknown device %1").arg(d));
    return int(m_d.devices[d].status != 0 ? m_d.devices[d].readOnly : 0);
}

QVariant StandEngine::pathSubType(const StandArgs& a, StandReply&) {
    const int16_t d = a.int16(0);
    if (d != DeviceIndex::LightPathDrive) invalid(QStringLiteral("PathSubType is asked of device 3, not %1").arg(d));
    need(d);
    return int(m_d.pathSubType);
}

static int16_t checkedLimit(const StandArgs& a) {
    const int16_t i = a.int16(0);
    for (int16_t k : kLimitIndices)
        if (k == i) return i;
    invalid(QStringLiteral("Unknown limit index %1").arg(i));
}

QVariant StandEngine::upperLimit(const StandArgs& a, StandReply&) {
    const int16_t i = checkedLimit(a);
    return m_d.limits.value(i).upper;
}

QVariant StandEngine::lowerLimit(const StandArgs& a, StandReply&) {
    const int16_t i = checkedLimit(a);
    // Once the nosepiece has reported a new maximum, its lower limit read
    // delivers that maximum, as the stand's firmware does.
    if (i == LimitIndex::Nosepiece && m_nosepieceMaxReported) return double(m_nosepieceMax);
    return m_d.limits.value(i).lower;
}

QVariant StandEngine::step(const StandArgs& a, StandReply&) { return m_d.limits.value(checkedLimit(a)).step; }

QVariant StandEngine::version(const StandArgs& a, StandReply&) {
    const int16_t u = a.int16(0);
    if (u < 1 || u > StandDescription::kUnits) invalid(QStringLiteral("Unknown unit %1").arg(u));
    if (!m_d.units[u] || m_dead[u]) refuse(RunTimeError::ServiceFailure, QStringLiteral("Unit %1 does not answer").arg(u));
    return m_d.versions[u];
}

QVariant StandEngine::eventLog(const StandArgs& a, StandReply&) {
    const int16_t u = a.int16(0);
    const int16_t e = a.int16(1);
    if (u < 1 || u > StandDescription::kUnits) invalid(QStringLiteral("Unknown unit %1").arg(u));
    if (!m_d.units[u] || m_dead[u]) refuse(RunTimeError::ServiceFailure, QStringLiteral("Unit %1 does not answer").arg(u));
    const QStringList& log = m_d.eventLogs[u];
    // The export always reads a hundred entries; a unit that has logged fewer
    // answers the rest with an empty slot, its four-character prefix alone.
    const int slotCount = std::max<int>(StandDescription::kEventLogSlots, int(log.size()));
    if (e < 1 || e > slotCount) invalid(QStringLiteral("Unit %1 has no event log entry %2").arg(u).arg(e));
    if (e > log.size()) return StandDescription::emptyLogEntry(e);
    return log[e - 1];
}

QVariant StandEngine::isCameraPresent(const StandArgs& a, StandReply&) {
    const int16_t i = a.int16(0);
    if (i < 0) invalid(QStringLiteral("Unknown microscope index %1").arg(i));
    return m_d.camera ? 1 : 0;
}

QVariant StandEngine::cameraUnit(const StandArgs&, StandReply&) {
    if (!m_d.camera) refuse(RunTimeError::ServiceFailure, QStringLiteral("No camera is attached"));
    return int(m_d.cameraUnit);
}

QVariant StandEngine::cameraHead(const StandArgs&, StandReply&) {
    if (!m_d.camera) refuse(RunTimeError::ServiceFailure, QStringLiteral("No camera is attached"));
    return int(m_d.cameraHead);
}

// ---------------------------------------------------------------------------
// Tables as parallel arrays.
QVariant StandEngine::tableColumn(const StandArgs&, StandReply&) {
    const QString& m = m_member;
    QVector<int32_t> iv;
    QVector<double> dv;
    QStringList sv;
    if (m.startsWith(QLatin1String("Objective"))) {
        for (const StandObjective& o : m_d.objectives) {
            iv << o.number;
            if (m == QLatin1String("ObjectiveNames")) sv << o.name;
            else if (m == QLatin1String("ObjectiveSeriesNames")) sv << o.series;
            else if (m == QLatin1String("ObjectiveTypeNames")) sv << o.type;
            else if (m == QLatin1String("ObjectiveRates")) dv << o.rate;
            else if (m == QLatin1String("ObjectiveWDs")) dv << o.wd;
            else if (m == QLatin1String("ObjectiveNAs")) dv << o.na;
        }
    } else if (m.startsWith(QLatin1String("Filter"))) {
        for (const StandFilter& f : m_d.filters) {
            if (m == QLatin1String("FilterNumbers")) iv << f.number;
            else if (m == QLatin1String("FilterReikis")) iv << f.reiki;
            else if (m == QLatin1String("FilterDMs")) iv << f.dm;
            else if (m == QLatin1String("FilterKyusyus")) iv << f.kyusyu;
            else if (m == QLatin1String("FilterNames")) sv << f.name;
            else if (m == QLatin1String("FilterEXNames")) sv << f.exName;
            else if (m == QLatin1String("FilterDMNames")) sv << f.dmName;
            else if (m == QLatin1String("FilterBANames")) sv << f.baName;
        }
    } else {
        for (const StandCondenser& c : m_d.condensers) {
            iv << c.number;
            sv << c.name;
        }
    }
    if (m.endsWith(QLatin1String("Names"))) return sv;
    if (m.endsWith(QLatin1String("Rates")) || m.endsWith(QLatin1String("WDs")) || m.endsWith(QLatin1String("NAs")))
        return doubles(dv);
    return ints(iv);
}
