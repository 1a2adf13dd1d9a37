// Observation methods: the twelve stored sets of device positions, their
// names, and the custom stop and ND values of the user methods.
#include "stand/StandEngine.h"

#include "core/base/VbConvert.h"
#include "stand/StandArgs.h"
#include "stand/StandFailures.h"

#include <algorithm>
#include <cmath>
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
    // One step of the method: an axis and its target; the lamp switch is a
    // step without an axis (LampSwitch) whose target is 1 on, 0 off.
    constexpr Axis LampSwitch = AxisCount;
    QVector<std::pair<Axis, double>> plan;
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
    if ((p.lamp == 3 || p.lamp == 4) && usable(9)) plan.push_back({LampSwitch, p.lamp == 3 ? 1.0 : 0.0});
    if ((p.analyzer == 3 || p.analyzer == 4) && usable(7)) plan.push_back({Analyzer, p.analyzer == 3 ? 1.0 : 0.0});
    if ((p.shutter == 3 || p.shutter == 4) && usable(8)) plan.push_back({Shutter, p.shutter == 3 ? 1.0 : 0.0});
    if (p.path >= 1 && p.path <= 3 && usable(3)) plan.push_back({Path, double(p.path)});
    if (p.zoom >= 1 && p.zoom <= 13 && usable(5)) plan.push_back({Zoom, (p.zoom + 7) / 10.0});
    for (const auto& m : plan)
        if (m.first != LampSwitch && m_axis[m.first]->busy())
            limitation(QStringLiteral("%1 is still moving").arg(kDeviceText[deviceOf(m.first)]));

    // The stand carries the method out itself, one device after another in
    // the order above, each reporting as it moves; it answers when the last
    // has arrived, or at the first that fails.
    struct Sequence {
        QVector<std::pair<Axis, double>> plan;
        QSet<int16_t> stalled;
        StandReply done;
        std::function<void(int)> next;
    };
    auto seq = std::make_shared<Sequence>();
    seq->plan = plan;
    seq->done = std::move(done);
    for (const auto& m : plan)
        if (m.first != LampSwitch && takeStall(deviceOf(m.first))) seq->stalled.insert(deviceOf(m.first));
    std::weak_ptr<Sequence> weak = seq;
    seq->next = [this, weak, n](int i) {
        const std::shared_ptr<Sequence> s = weak.lock();
        if (!s) return;
        auto finish = [&](int32_t error, const QString& text) {
            if (!error) {
                m_observation = n;
                report("AppPresetsObservationMode", QString::number(n));
            }
            StandReply reply = std::move(s->done);
            reply({error, text, {}});
        };
        for (; i < s->plan.size(); ++i) {
            const auto [axis, target] = s->plan[i];
            if (axis == LampSwitch) {
                setLampOn(int16_t(target));
                continue;
            }
            if (m_axis[axis]->busy()) {
                finish(RunTimeError::ServiceLimitation,
                       QStringLiteral("%1 was moved by another caller").arg(kDeviceText[deviceOf(axis)]));
                return;
            }
            auto keep = s;      // the sequence lives while a motor runs for it
            m_axis[axis]->moveTo(target, s->stalled.contains(deviceOf(axis)), [keep, i, this](int32_t error) {
                if (error) {
                    StandReply reply = std::move(keep->done);
                    reply({error, QStringLiteral("The observation method did not complete"), {}});
                    return;
                }
                if (keep->next) keep->next(i + 1);
            });
            return;
        }
        finish(0, QString());
    };
    seq->next(0);      // the first motor's callback keeps the sequence alive
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
    const StandUserMethods before = userMethods();
    m_d.observations[n].name = name;
    userMethodsChanged(before);
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
    const ObservationPositions p{v[0], v[1], v[2], v[3], v[4], v[5], v[6], v[7], v[8], v[9], v[10]};
    const QString problem = positionsProblem(p);
    if (!problem.isEmpty()) limitation(problem);
    const StandUserMethods before = userMethods();
    m_d.observations[n].positions = p;
    userMethodsChanged(before);
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
    const StandUserMethods before = userMethods();
    m_custom[d - 12][n][address] = v;
    if (n >= StandUserMethods::kFirst) userMethodsChanged(before);
    return {};
}

QString StandEngine::positionsProblem(const ObservationPositions& p) const {
    auto in = [](int32_t x, std::initializer_list<int32_t> allowed) {
        for (int32_t k : allowed) if (k == x) return true;
        return false;
    };
    const int nose = int(m_d.limits.value(LimitIndex::Nosepiece).upper);
    const int filt = int(m_d.limits.value(LimitIndex::FilterBlockCassette).upper);
    const int cond = int(m_d.limits.value(LimitIndex::CondenserCassette).upper);
    const struct { bool ok; const char* what; } checks[] = {
        {in(p.lamp, {0, 3, 4}), "lamp"},                 {p.nd >= 0 && p.nd <= 2, "ND"},
        {p.fieldStop >= 0 && p.fieldStop <= 3, "field stop"}, {p.condenser >= 0 && p.condenser <= 4 + cond, "condenser"},
        {p.apertureStop >= 0 && p.apertureStop <= 3, "aperture stop"}, {p.filter >= 0 && p.filter <= filt, "filter"},
        {in(p.shutter, {-1, 0, 3, 4}), "shutter"},       {in(p.analyzer, {-1, 0, 3, 4}), "analyzer"},
        {p.objective >= 0 && p.objective <= nose, "objective"}, {p.path >= -1 && p.path <= 3, "light path"},
        {p.zoom >= 0 && p.zoom <= 13, "zoom"}};
    for (const auto& c : checks)
        if (!c.ok) return QStringLiteral("The %1 code is out of range").arg(QLatin1String(c.what));
    return {};
}

QString StandEngine::customProblem(int16_t device, double value) const {
    if (!std::isfinite(value)) return QStringLiteral("A custom value is no number");
    // 0 is what a value never set holds.
    if (m_d.devices[device].status == 0 || value == 0) return {};
    const StandLimits l = m_d.limits.value(device == 12 ? LimitIndex::ApertureStop
                                           : device == 13 ? LimitIndex::FieldStop : LimitIndex::NDFilter);
    if (value < l.lower || value > l.upper)
        return QStringLiteral("The custom %1 value %2 is outside %3 to %4")
            .arg(kDeviceText[device]).arg(value).arg(l.lower).arg(l.upper);
    return {};
}

StandUserMethods StandEngine::userMethods() const {
    StandUserMethods m;
    for (int i = 0; i < StandUserMethods::kCount; ++i) {
        m.methods[i] = m_d.observations[StandUserMethods::kFirst + i];
        for (int d = 0; d < 3; ++d)
            for (int a = 0; a < StandUserMethods::kAddresses; ++a)
                m.custom[d][i][a] = m_custom[d][StandUserMethods::kFirst + i][a];
    }
    return m;
}

QString StandEngine::restoreUserMethods(const StandUserMethods& m) {
    for (int i = 0; i < StandUserMethods::kCount; ++i) {
        const int n = StandUserMethods::kFirst + i;
        if (m.methods[i].name.size() > 63) return QStringLiteral("The name of observation %1 is too long").arg(n);
        const QString problem = positionsProblem(m.methods[i].positions);
        if (!problem.isEmpty()) return QStringLiteral("Observation %1: %2").arg(n).arg(problem);
        for (int d = 0; d < 3; ++d)
            for (double v : m.custom[d][i]) {
                const QString bad = customProblem(int16_t(12 + d), v);
                if (!bad.isEmpty()) return QStringLiteral("Observation %1: %2").arg(n).arg(bad);
            }
    }
    for (int i = 0; i < StandUserMethods::kCount; ++i) {
        m_d.observations[StandUserMethods::kFirst + i] = m.methods[i];
        for (int d = 0; d < 3; ++d)
            for (int a = 0; a < StandUserMethods::kAddresses; ++a)
                m_custom[d][StandUserMethods::kFirst + i][a] = m.custom[d][i][a];
    }
    return {};
}

void StandEngine::userMethodsChanged(const StandUserMethods& before) {
    if (!keepUserMethods) return;
    const QString notKept = keepUserMethods(userMethods());
    if (notKept.isEmpty()) return;
    restoreUserMethods(before);
    refuse(RunTimeError::ServiceNotKept, notKept);
}
