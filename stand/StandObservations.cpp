// Observation methods: the twelve stored sets of device positions, their
// names, and the custom stop and ND values of the user methods.
#include "stand/StandEngine.h"

#include "core/base/VbConvert.h"
#include "stand/StandArgs.h"
#include "stand/StandFailures.h"

#include <algorithm>
#include <memory>

using namespace standfail;

static int16_t checkedObservation(const StandArgs& a, int i = 0) {
    const int16_t n = a.int16(i);
    if (n < 1 || n > StandDescription::kObservations)
        invalid(QStringLiteral("Observation %1 is outside 1 to 12").arg(n));
    return n;
}

QVariant StandEngine::observationMode(const StandArgs&, StandReply&) { return int(m_observation); }

QVariant StandEngine::setObservationMode(const StandArgs& a, StandReply& done) {
    const int16_t n = checkedObservation(a);
    const ObservationPositions& p = m_d.observations[n].positions;
    QVector<std::pair<Axis, double>> plan;
    int16_t lamp = -1;
    auto usable = [&](int16_t device) {
        const StandDevice& d = m_d.devices[device];
        if (d.status == 0 || (d.readOnly != 0 && device <= DeviceIndex::OpticalZoom)) return false;
        if (!unitAlive(d.unit))
            refuse(RunTimeError::ServiceFailure, QStringLiteral("%1 does not answer").arg(kDeviceText[device]));
        return true;
    };
    const int16_t objective = p.objective > 0 && usable(1) ? int16_t(p.objective) : nosepieceAddress();
    if (p.objective > 0 && usable(1)) plan.push_back({Nose, double(p.objective)});
    if (p.filter > 0 && usable(2)) plan.push_back({Filter, double(p.filter)});
    if (p.condenser > 0 && usable(4)) {
        int target = 0;
        if (p.condenser > 4) {
            target = p.condenser - 4;
        } else {
            for (int i = 0; i < m_d.condensers.size() && !target; ++i)
                if (m_d.condensers[i].kind == p.condenser) target = i + 1;
        }
        if (target > 0) plan.push_back({Cond, double(target)});
    }
    const StandObjective* ob = objective >= 1 && objective <= m_d.objectives.size() ? &m_d.objectives[objective - 1] : nullptr;
    auto stop = [&](int32_t code, int16_t device, Axis ax, int16_t limit, double objectiveValue) {
        if (code <= 0 || !usable(device)) return;
        const StandLimits l = m_d.limits.value(limit);
        double v = l.upper;
        if (code == 1) v = m_custom[device - 12][n][std::clamp<int>(objective, 0, 8)];
        else if (code == 2) v = objectiveValue;
        plan.push_back({ax, std::clamp(v, l.lower, l.upper)});
    };
    stop(p.apertureStop, 12, AS, LimitIndex::ApertureStop, ob ? ob->apertureStop : 0);
    stop(p.fieldStop, 13, FS, LimitIndex::FieldStop, ob ? ob->fieldStop : 0);
    stop(p.nd, 14, ND, LimitIndex::NDFilter, ob ? ob->nd : 100);
    if ((p.lamp == 3 || p.lamp == 4) && usable(9)) lamp = p.lamp == 3 ? 1 : 0;
    if ((p.analyzer == 3 || p.analyzer == 4) && usable(7)) plan.push_back({Analyzer, p.analyzer == 3 ? 1.0 : 0.0});
    if ((p.shutter == 3 || p.shutter == 4) && usable(8)) plan.push_back({Shutter, p.shutter == 3 ? 1.0 : 0.0});
    if (p.path >= 1 && p.path <= 3 && usable(3)) plan.push_back({Path, double(p.path)});
    if (p.zoom >= 1 && p.zoom <= 13 && usable(5)) plan.push_back({Zoom, (p.zoom + 7) / 10.0});
    for (const auto& m : plan)
        if (m_axis[m.first]->busy()) limitation(QStringLiteral("%1 is still moving").arg(kDeviceText[deviceOf(m.first)]));

    if (lamp >= 0) setLampOn(lamp);
    // The stand sequences the whole method itself; it answers when every device has arrived.
    struct Pending { int left = 1; int32_t error = 0; StandReply done; };
    auto pending = std::make_shared<Pending>();
    pending->done = std::move(done);
    auto one = [this, pending, n](int32_t error) {
        if (error && !pending->error) pending->error = error;
        if (--pending->left > 0) return;
        if (!pending->error) {
            m_observation = n;
            report("AppPresetsObservationMode", QString::number(n));
        }
        pending->done({pending->error, pending->error ? QStringLiteral("The observation method did not complete") : QString(), {}});
    };
    QSet<int16_t> stalled;
    for (const auto& m : plan)
        if (takeStall(deviceOf(m.first))) stalled.insert(deviceOf(m.first));
    for (const auto& m : plan) {
        ++pending->left;
        m_axis[m.first]->moveTo(m.second, stalled.contains(deviceOf(m.first)), one);
    }
    one(0);
    return {};
}

QVariant StandEngine::observationName(const StandArgs& a, StandReply&) {
    return m_d.observations[checkedObservation(a)].name;
}

QVariant StandEngine::setObservationName(const StandArgs& a, StandReply&) {
    const int16_t n = checkedObservation(a);
    const QString name = a.text(1);
    if (n < 7) limitation(QStringLiteral("Observation %1 is built in").arg(n));
    if (name.size() > 63) limitation(QStringLiteral("The name is longer than 63 characters"));
    m_d.observations[n].name = name;
    return {};
}

QVariant StandEngine::observationPosition(const StandArgs& a, StandReply&) {
    const ObservationPositions& p = m_d.observations[checkedObservation(a)].positions;
    return QVariantList{p.lamp, p.nd, p.fieldStop, p.condenser, p.apertureStop, p.filter,
                        p.shutter, p.analyzer, p.objective, p.path, p.zoom};
}

QVariant StandEngine::setObservationPosition(const StandArgs& a, StandReply&) {
    const int16_t n = checkedObservation(a);
    const QVariantList l = a.list(1);
    if (l.size() != 11) invalid(QStringLiteral("An observation method holds 11 command codes, not %1").arg(l.size()));
    StandArgs codes(l, m_member);
    int32_t v[11];
    for (int i = 0; i < 11; ++i) v[i] = codes.int32(i);
    if (n < 7) limitation(QStringLiteral("Observation %1 is built in").arg(n));
    auto in = [](int32_t x, std::initializer_list<int32_t> allowed) {
        for (int32_t k : allowed) if (k == x) return true;
        return false;
    };
    const int nose = int(m_d.limits.value(LimitIndex::Nosepiece).upper);
    const int filt = int(m_d.limits.value(LimitIndex::FilterBlockCassette).upper);
    const int cond = int(m_d.limits.value(LimitIndex::CondenserCassette).upper);
    const struct { bool ok; const char* what; } checks[] = {
        {in(v[0], {0, 3, 4}), "lamp"},          {v[1] >= 0 && v[1] <= 2, "ND"},
        {v[2] >= 0 && v[2] <= 3, "field stop"}, {v[3] >= 0 && v[3] <= 4 + cond, "condenser"},
        {v[4] >= 0 && v[4] <= 3, "aperture stop"}, {v[5] >= 0 && v[5] <= filt, "filter"},
        {in(v[6], {-1, 0, 3, 4}), "shutter"},   {in(v[7], {-1, 0, 3, 4}), "analyzer"},
        {v[8] >= 0 && v[8] <= nose, "objective"}, {v[9] >= -1 && v[9] <= 3, "light path"},
        {v[10] >= 0 && v[10] <= 13, "zoom"}};
    for (const auto& c : checks)
        if (!c.ok) limitation(QStringLiteral("The %1 code is out of range").arg(QLatin1String(c.what)));
    m_d.observations[n].positions = {v[0], v[1], v[2], v[3], v[4], v[5], v[6], v[7], v[8], v[9], v[10]};
    return {};
}

QVariant StandEngine::customValue(const StandArgs& a, StandReply&) {
    const int16_t d = a.int16(0);
    if (d < 12 || d > 14) invalid(QStringLiteral("Custom values belong to devices 12 to 14, not %1").arg(d));
    const int16_t n = checkedObservation(a, 1);
    const int16_t address = a.int16(2);
    if (address < 0 || address > 8) invalid(QStringLiteral("Nosepiece address %1 is outside 0 to 8").arg(address));
    return m_custom[d - 12][n][address];
}

QVariant StandEngine::customObservation(const StandArgs& a, StandReply&) {
    const int16_t d = a.int16(0);
    if (d < 12 || d > 14) invalid(QStringLiteral("Custom values belong to devices 12 to 14, not %1").arg(d));
    const int16_t n = checkedObservation(a, 1);
    const int16_t address = a.int16(2);
    if (address < 0 || address > 8) invalid(QStringLiteral("Nosepiece address %1 is outside 0 to 8").arg(address));
    const double v = a.number(3);
    need(d);
    needRange(v, d == 12 ? LimitIndex::ApertureStop : d == 13 ? LimitIndex::FieldStop : LimitIndex::NDFilter);
    m_custom[d - 12][n][address] = v;
    return {};
}
